// Golden tests of what the output flows ask the engine for: the series selection with its limit
// of 30, the artefact lists, outputConf, sortConfig, the depths and the top model count, with
// specs read from command text.
#include "tcm/output/output_confs.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "host/bridge/app_host.h"
#include "tcm/flows/flow_scripts.h"
#include "tcm/flows/ts_json_conf.h"
#include "tcm/model/tcm_model_parser.h"
#include "tcm/model/tcm_model_spec.h"
#include "tcm/tcm_test_util.h"

namespace {

std::shared_ptr<host::Dataset> Data() {
  return tcm_test::MakeDataset({{"sales"},
                                {"price"},
                                {"promo"},
                                {"region", 8, "A8"},
                                {"day", 0, "DATE11"},
                                {"period", 0, "F8.0"},
                                {"week", 0, "F8.0"},
                                {"year", 0, "F8.0"}});
}

TCMModelValidSpecs Model(const std::string& middle) {
  auto parsed = tcm_test::Parse<TCMModelValidSpecs, TCMModelParser>(
      "TCM MODEL /DATASETTINGS DIMENSIONS=region TIMETYPE=DATETIMEVAR TIMEVAR=day " + middle +
          " /FIELDSGROUP /FIELDS TARGETS=sales INPUTS=price promo.",
      Data(), "TCM MODEL", "Temporal Causal Modeling");
  EXPECT_TRUE(parsed.ok) << parsed.Describe();
  return parsed.spec;
}

// A data model with a string dimension of `regions` values and an integer one.
CFMetaData Metadata(int regions) {
  CFMetaData metadata;
  CFField region("region", CFStorage::kString);
  for (int i = 0; i < regions; ++i)
    region.AddValue(CFValue(CFDatum::String("R" + std::to_string(i)), i));
  metadata.AddField(region);
  CFField store("store", CFStorage::kInteger);
  store.AddValue(CFValue(CFDatum::Integer(1), 0));
  store.AddValue(CFValue(CFDatum::Integer(2), 1));
  metadata.AddField(store);
  return metadata;
}

std::vector<SeriesKey> Numbered(const std::string& metric, int count) {
  std::vector<SeriesKey> keys;
  for (int i = 0; i < count; ++i) keys.push_back({"R" + std::to_string(i), metric});
  return keys;
}

TEST(SeriesSelection, EmptyValuesMultiplyOutDimensionByDimension) {
  const CFMetaData metadata = Metadata(2);
  const std::vector<std::string> dims{"region", "store"};
  EXPECT_EQ(SelectSingleSeries({{"", "", "sales"}, {"R1", "", "price"}}, &metadata, dims),
            (std::vector<SeriesKey>{{"R0", "1", "sales"},
                                    {"R0", "2", "sales"},
                                    {"R1", "1", "sales"},
                                    {"R1", "2", "sales"},
                                    {"R1", "1", "price"},
                                    {"R1", "2", "price"}}));
  // Without dimensions keys stand as they are; a dimension without a field gives nothing.
  EXPECT_EQ(SelectSingleSeries({{"", "sales"}}, nullptr, {}),
            (std::vector<SeriesKey>{{"", "sales"}}));
  EXPECT_TRUE(SelectSingleSeries({{"", "sales"}}, &metadata, {"city"}).empty());
  EXPECT_EQ(SelectSingleSeries({{"R0", "sales"}}, nullptr, {"region"}),
            (std::vector<SeriesKey>{{"R0", "sales"}}));
}

TEST(SeriesSelection, ThirtyPlacesSingleSeriesFirst) {
  const CFMetaData metadata = Metadata(12);
  // 12 + 12 leave room, the third key overruns it and is cut; the fourth is never expanded.
  const auto single = SelectSingleSeries({{"", "sales"}, {"", "price"}, {"", "promo"}, {"R0", "x"}},
                                         &metadata, {"region"});
  ASSERT_EQ(single.size(), 30u);
  EXPECT_EQ(single[23], (SeriesKey{"R11", "price"}));
  EXPECT_EQ(single[29], (SeriesKey{"R5", "promo"}));

  // 30 single series leave no detail target; 29 leave one, and a single series is skipped.
  EXPECT_TRUE(SelectDetailTargets(Numbered("stock", 5), single).empty());
  std::vector<SeriesKey> twentyNine(single.begin(), single.begin() + 29);
  EXPECT_EQ(SelectDetailTargets({{"R0", "sales"}, {"R3", "stock"}, {"R4", "stock"}}, twentyNine),
            (std::vector<SeriesKey>{{"R3", "stock"}}));
  EXPECT_EQ(SelectDetailTargets(Numbered("stock", 40), {}).size(), 30u);
}

TEST(OutputConfs, TargetsAndSeriesArtefactsFromTheCommand) {
  CFAppHost::getInstance().setLocale("en_US");
  TCMModelValidSpecs spec =
      Model("/BUILDOPTIONS FORECASTPERIODS=3 /SYSTEMOUTPUT MODELFIT=rsquare AIC OUTLIERPLOT=YES "
            "/FILTEREDOUTPUT INCLUDE=TARGETS NETWORKGRAPH=NO PRINT=MODELFIT OUTLIERS FORECASTS "
            "PLOT=SERIESPLOT IMPACTDIAGRAMS=CAUSES(2) "
            "/FILTEREDOUTPUT INCLUDE=SERIES PRINT=MODELEFFECTS PARAMETERS PLOT=TOPINPUTS "
            "NRESIDUAL");
  const std::vector<SeriesKey> detail{{"East", "sales"}};
  EXPECT_EQ(OutputConfText(spec, TargetsArtifacts(spec, detail, 1), false),
            "{\"artifacts\":[{\"name\":\"review.modelSpecificationsTable\"},"
            "{\"name\":\"review.temporalInformationTable\"},"
            "{\"name\":\"review.OverallModelQualityHistogram\",\"modelQuality\":"
            "[\"r-Squared\",\"AIC\"]},"
            "{\"name\":\"review.overallModelQualityDotplot\",\"modelQuality\":"
            "[\"r-Squared\",\"AIC\"]},"
            "{\"name\":\"review.transformationsTable\"},"
            "{\"name\":\"evaluation.outlierDistributionHistogram\"},"
            "{\"name\":\"evaluation.outlierDistributionDotplot\"},"
            "{\"name\":\"interpretation.modelFitStatisticsTable\"},"
            "{\"name\":\"interpretation.seriesWithOutliersTable\"},"
            "{\"name\":\"action.forecastedValuesForModel\",\"target\":[[\"East\",\"sales\"]]},"
            "{\"name\":\"evaluation.observedAndPredicted\",\"target\":[[\"East\",\"sales\"]]},"
            "{\"name\":\"interpretation.ImpactDiagramCauses\",\"target\":[[\"East\",\"sales\"]],"
            "\"level\":2}],"
            "\"locale\":\"en_US\",\"timeFormat\":\"hh:mm:ss\",\"dateFormat\":\"yyyy-MM-dd\","
            "\"forecasted\":3,\"isEncoded\":false}");
  // With all 30 places taken by single series the targets ask for no per-series artefact.
  const auto full = TargetsArtifacts(spec, {}, 30);
  EXPECT_EQ(full.back().name, "interpretation.seriesWithOutliersTable");

  // The series flow: only the SERIES record, with the network graph's three artefacts, and an
  // empty target list is still written.
  EXPECT_EQ(OutputConfText(spec, SeriesArtifacts(spec, {}), false),
            "{\"artifacts\":[{\"name\":\"interpretation.overallModelSystem\"},"
            "{\"name\":\"interpretation.modelFitStatisticsTable\"},"
            "{\"name\":\"interpretation.seriesWithOutliersTable\"},"
            "{\"name\":\"evaluation.testOfModelEffectsForTarget\",\"target\":[]},"
            "{\"name\":\"interpretation.parameterEstimatesForTarget\",\"target\":[]},"
            "{\"name\":\"interpretation.topInputsforTarget\",\"target\":[]},"
            "{\"name\":\"evaluation.residualsbyTimeforTarget\",\"target\":[]}],"
            "\"locale\":\"en_US\",\"timeFormat\":\"hh:mm:ss\",\"dateFormat\":\"yyyy-MM-dd\","
            "\"forecasted\":3,\"isEncoded\":false}");
  EXPECT_TRUE(TargetsAskOutlierTable(spec));
}

TEST(OutputConfs, QualityForecastsAndTopModelRules) {
  CFAppHost::getInstance().setLocale("en_US");
  // NONE first: no quality plots whatever follows; no forecast periods: FORECASTS asks nothing.
  TCMModelValidSpecs spec =
      Model("/SYSTEMOUTPUT MODELFIT=none TRANSFORMATIONS=NO "
            "/FILTEREDOUTPUT INCLUDE=BOTH NETWORKGRAPH=NO PRINT=FORECASTS");
  spec.modelFit.push_back("RMSE");  // the syntax refuses this; the rule still must hold
  const auto artifacts = TargetsArtifacts(spec, {{"East", "sales"}}, 0);
  ASSERT_EQ(artifacts.size(), 2u);
  EXPECT_EQ(artifacts[1].name, "review.temporalInformationTable");
  EXPECT_FALSE(TargetsAskOutlierTable(spec));

  // The top model count or percentage stands only in the outlier table flow, "forecasted" always.
  spec = Model("/TARGETFILTER DISPLAY=BESTFIT(PCT=20)");
  EXPECT_EQ(OutputConfText(spec, OutlierTableArtifacts(), true),
            "{\"artifacts\":[{\"name\":\"interpretation.seriesWithOutliersTable\"}],"
            "\"locale\":\"en_US\",\"timeFormat\":\"hh:mm:ss\",\"dateFormat\":\"yyyy-MM-dd\","
            "\"forecasted\":0,\"topModelPercent\":20,\"isEncoded\":false}");
  EXPECT_EQ(OutputConfText(spec, RootCauseArtifacts(), false),
            "{\"artifacts\":[{\"name\":\"action.outlierRootCauseAnalysisforSeries\"},"
            "{\"name\":\"action.outliers\"}],"
            "\"locale\":\"en_US\",\"timeFormat\":\"hh:mm:ss\",\"dateFormat\":\"yyyy-MM-dd\","
            "\"forecasted\":0,\"isEncoded\":false}");
  // (10 * 20 + 5) / 100 = 2; with PCT=10 it is 1, not 10: the base is n and 5 is added.
  EXPECT_EQ(TopModelsValue(spec.targetFilter), 2);
  spec.targetFilter.pct = 10;
  EXPECT_EQ(TopModelsValue(spec.targetFilter), 1);

  spec = Model("/TARGETFILTER DISPLAY=BESTFIT(N=7)");
  EXPECT_NE(OutputConfText(spec, OutlierTableArtifacts(), true).find("\"topModel\":7,"),
            std::string::npos);
  EXPECT_EQ(TopModelsValue(spec.targetFilter), 7);
  spec = Model("/TARGETFILTER DISPLAY=ALLTARGETS");
  EXPECT_EQ(OutputConfText(spec, OutlierTableArtifacts(), true).find("topModel"),
            std::string::npos);
}

TEST(OutputConfs, SortConfigDateTimeAndCyclic) {
  const TCMModelValidSpecs dated = Model("");
  EXPECT_EQ(SortConfigText(dated),
            "{\"sortFields\":[{\"direction\":\"ascending\",\"name\":\"day\"}]}");

  auto parsed = tcm_test::Parse<TCMModelValidSpecs, TCMModelParser>(
      "TCM MODEL /DATASETTINGS TIMETYPE=CYCLICPERIODS TIMEVAR=period(TYPE=PERIOD) "
      "week(TYPE=CYCLE LEVEL=1 LENGTH=7) year(TYPE=CYCLE LEVEL=2 LENGTH=52) "
      "/FIELDSGROUP /FIELDS TARGETS=sales INPUTS=price.",
      Data(), "TCM MODEL", "Temporal Causal Modeling");
  ASSERT_TRUE(parsed.ok) << parsed.Describe();
  EXPECT_EQ(SortConfigText(parsed.spec),
            "{\"sortFields\":[{\"direction\":\"ascending\",\"name\":\"year\"},"
            "{\"direction\":\"ascending\",\"name\":\"week\"},"
            "{\"direction\":\"ascending\",\"name\":\"period\"}]}");
}

TEST(OutputConfs, DepthsFirstRecordOfEachKindDecides) {
  TCMModelValidSpecs spec;
  spec.filteredOutputs.clear();
  FilteredOutputSpec first;
  first.include = "TARGETS";
  first.impactDiagrams = true;
  first.causes = true;
  first.causeLevels = 2;
  first.effects = false;  // off gives depth 0, not -1
  first.rootCauseLevels = 4;
  first.sigLevel = 0.1;
  FilteredOutputSpec second = first;
  second.causeLevels = 5;
  second.sigLevel = 0.2;
  spec.filteredOutputs = {first, second};
  OutputDepths depths = WorkOutDepths(spec);
  EXPECT_EQ(depths.targetCauses, 2);
  EXPECT_EQ(depths.targetEffects, 0);
  EXPECT_EQ(depths.targetLevels, 4);
  EXPECT_EQ(depths.seriesCauses, -1);
  EXPECT_EQ(depths.seriesLevels, -1);
  EXPECT_DOUBLE_EQ(depths.sigLevel, 0.1);

  // A SERIES record first: sigLevel comes from it, the targets' depths from the TARGETS one.
  FilteredOutputSpec series;
  series.include = "SERIES";
  series.causes = false;
  series.effects = true;
  series.effectLevels = 6;
  series.rootCauseLevels = 1;
  series.sigLevel = 0.01;
  spec.filteredOutputs = {series, second};
  depths = WorkOutDepths(spec);
  EXPECT_EQ(depths.targetCauses, 5);
  EXPECT_EQ(depths.seriesCauses, 0);
  EXPECT_EQ(depths.seriesEffects, 6);
  EXPECT_EQ(depths.seriesLevels, 1);
  EXPECT_DOUBLE_EQ(depths.sigLevel, 0.01);
  EXPECT_EQ(JoinSeriesKey({"East", "1", "sales"}), "East-1-sales");
}

// The targets flow of a command as the engine gets it.
TEST(OutputConfs, TargetsScriptOfACommand) {
  CFAppHost::getInstance().setLocale("en_US");
  const TCMModelValidSpecs spec = Model("/FILTEREDOUTPUT INCLUDE=TARGETS PLOT=TOPINPUTS");
  ASSimpleContainer stat_json("tcmStatJson", "/run/stat.zip");
  OutputFlowInputs inputs{std::string("/run/quality.zip"), "/run/model.zip",
                          std::string("/run/od.zip")};
  const std::string conf =
      OutputConfText(spec, TargetsArtifacts(spec, {{"East", "sales"}, {"West", "sales"}}, 0),
                     false);
  EXPECT_EQ(
      TargetsOutputFlowScript(TSJsonConf::ReaderBlock("/run/out", "/run/out.xml", ""), conf,
                              inputs, SortConfigText(spec), stat_json),
      "val readerConf = {\"filesystem\":{\"dataModel\":\"file:////run/out.xml\",\"locations\":"
      "[{\"path\":\"file:////run/out\",\"parser\":{\"name\":\"asbf\"}}]}}\n"
      "val outputConf = {\"artifacts\":[{\"name\":\"review.modelSpecificationsTable\"},"
      "{\"name\":\"review.temporalInformationTable\"},"
      "{\"name\":\"review.OverallModelQualityHistogram\",\"modelQuality\":[\"RMSPE\"]},"
      "{\"name\":\"review.overallModelQualityDotplot\",\"modelQuality\":[\"RMSPE\"]},"
      "{\"name\":\"review.transformationsTable\"},"
      "{\"name\":\"interpretation.overallModelSystem\"},"
      "{\"name\":\"interpretation.modelFitStatisticsTable\"},"
      "{\"name\":\"interpretation.seriesWithOutliersTable\"},"
      "{\"name\":\"interpretation.topInputsforTarget\",\"target\":[[\"East\",\"sales\"],"
      "[\"West\",\"sales\"]]}],"
      "\"locale\":\"en_US\",\"timeFormat\":\"hh:mm:ss\",\"dateFormat\":\"yyyy-MM-dd\","
      "\"forecasted\":0,\"isEncoded\":false}\n"
      "val inputCons = [{\"name\":\"TSDP\",\"uri\":\"file:///run/quality.zip\"},"
      "{\"name\":\"TCM\",\"uri\":\"file:///run/model.zip\"},"
      "{\"name\":\"TCMOD\",\"uri\":\"file:///run/od.zip\"}]\n"
      "val outputCons = [{\"export\":true,\"name\":\"tcmStatJson\",\"uri\":"
      "\"file:///run/stat.zip\"}]\n"
      "val sortConfig = {\"sortFields\":[{\"direction\":\"ascending\",\"name\":\"day\"}]}\n"
      "read(readerConf)->sort(sortConfig)->"
      "OutputComponent:TCMOutputComponent(outputConf,inputCons,outputCons)");
}

}  // namespace
