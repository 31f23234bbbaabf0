// Golden tests of the model flows' configurations for TCM MODEL commands read from their text:
// tcmModelConfig with the expansion of field lists into series, summaryConf and scoreConf; and
// the scenario command's tcmScoreConf and arScoreConf.
#include "tcm/stages/model_confs.h"

#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "support/temp_file.h"
#include "support/zip_archive.h"
#include "tcm/analysis/tcm_anly_spec.h"
#include "tcm/stages/outlier_records.h"
#include "tcm/model/tcm_model_parser.h"
#include "tcm/tcm_test_util.h"

namespace {

std::shared_ptr<host::Dataset> Shop() {
  return tcm_test::MakeDataset({{"region", 8, "A8"},
                                {"store", 0, "F8.0", host::Measure::kNominal},
                                {"day", 0, "DATE11"},
                                {"sales"},
                                {"price"},
                                {"cost"}});
}

TCMModelValidSpecs Model(const std::string& text) {
  auto parsed = tcm_test::Parse<TCMModelValidSpecs, TCMModelParser>(
      "TCM MODEL /DATASETTINGS DIMENSIONS=region store TIMETYPE=DATETIMEVAR TIMEVAR=day " + text +
          ".",
      Shop(), "TCM MODEL", "Temporal Causal Modeling");
  EXPECT_TRUE(parsed.ok) << text << ": " << parsed.Describe();
  return parsed.spec;
}

TEST(ModelConfs, ModelConfigExpandsFieldsOverFiltersOfTheRecordAndTheData) {
  // The first record filters no dimension: region takes the data filter's values, store "".
  // The second filters store itself and adds to the same group's lists.
  TCMModelValidSpecs spec =
      Model("/DATAFILTER DIMVALUES=region(INCLUDE=North South) "
            "/BUILDOPTIONS LAGS=3 MAXINPUTS=4 TOLERANCE=0.01 CILEVEL=90 "
            "/FIELDSGROUP /FIELDS TARGETS=sales INPUTS=price "
            "/FIELDS TARGETS=cost FORCE=price DIMVALUES=store(INCLUDE=1 2) EXCLUDEDINPUTS=sales "
            "/FIELDSGROUP /FIELDS TARGETS=price");
  EXPECT_EQ(TcmModelConfig(spec, spec.fieldsGroups),
            "{\"targetPredictorList\":["
            "{\"targetList\":[[\"North\",\"\",\"sales\"],[\"South\",\"\",\"sales\"],"
            "[\"North\",\"1\",\"cost\"],[\"North\",\"2\",\"cost\"],[\"South\",\"1\",\"cost\"],"
            "[\"South\",\"2\",\"cost\"]],"
            "\"predictorIncludeList\":[[\"North\",\"1\",\"price\"],[\"North\",\"2\",\"price\"],"
            "[\"South\",\"1\",\"price\"],[\"South\",\"2\",\"price\"]],"
            "\"predictorCandidateList\":[[\"North\",\"\",\"price\"],[\"South\",\"\",\"price\"]],"
            "\"predictorExcludeList\":[[\"North\",\"1\",\"sales\"],[\"North\",\"2\",\"sales\"],"
            "[\"South\",\"1\",\"sales\"],[\"South\",\"2\",\"sales\"]]},"
            "{\"targetList\":[[\"North\",\"\",\"price\"],[\"South\",\"\",\"price\"]]}],"
            "\"maxLag\":{\"source\":\"SETTING\",\"value\":3},"
            "\"maxNumberOfPredictor\":{\"useDefault\":false,\"value\":4},"
            "\"epsilon\":0.01,\"confidenceLevel\":0.9,\"exportCovarianceMatrix\":false,"
            "\"modelsPerJob\":100}");

  // Defaults, and no groups at all gives no configuration.
  TCMModelValidSpecs plain = Model("/FIELDSGROUP /FIELDS TARGETS=sales");
  EXPECT_EQ(TcmModelConfig(plain, plain.fieldsGroups),
            "{\"targetPredictorList\":[{\"targetList\":[[\"\",\"\",\"sales\"]]}],"
            "\"maxLag\":{\"source\":\"USE_DEFAULT\"},\"maxNumberOfPredictor\":{\"useDefault\":"
            "true},\"epsilon\":0.001,\"confidenceLevel\":0.95,\"exportCovarianceMatrix\":false,"
            "\"modelsPerJob\":100}");
  EXPECT_EQ(TcmModelConfig(plain, {}), "");
}

TEST(ModelConfs, ExpansionWithoutDimensionsAndWithRepeatedValues) {
  using Names = std::vector<QuorVarName>;
  const Names dimensions{QuorVarName("region"), QuorVarName("store")};
  EXPECT_EQ(ExpandSeriesArrays(Names{QuorVarName("sales"), QuorVarName("cost")}, {}, nullptr, {}),
            (std::vector<SeriesArray>{{"sales"}, {"cost"}}));
  // Two filters on one dimension give one list, each value once, and the record's filter hides
  // the data filter on that dimension only; names match whatever their case.
  DimFilterSet data;
  data.filters = {{"Region", {"North"}, true}, {"store", {"5"}, true}};
  const std::vector<DimValueFilter> own = {{"STORE", {"1", "2"}, true},
                                           {"store", {"2", "3"}, true}};
  EXPECT_EQ(ExpandSeriesArrays(Names{QuorVarName("sales")}, own, &data, dimensions),
            (std::vector<SeriesArray>{
                {"North", "1", "sales"}, {"North", "2", "sales"}, {"North", "3", "sales"}}));
  EXPECT_TRUE(ExpandSeriesArrays({}, own, &data, dimensions).empty());
}

TEST(ModelConfs, SummaryTakesNForPercentToo) {
  EXPECT_EQ(SummaryConf(Model("/TARGETFILTER DISPLAY=BESTFIT(N=7 FITSTAT=rsquare) "
                              "/FIELDSGROUP /FIELDS TARGETS=sales")),
            "{\"fitStat\":\"RSQUARE\",\"topType\":\"N\",\"value\":7}");
  EXPECT_EQ(SummaryConf(Model("/TARGETFILTER DISPLAY=BESTFIT(PCT=20) "
                              "/FIELDSGROUP /FIELDS TARGETS=sales")),
            "{\"fitStat\":\"RMSPE\",\"topType\":\"PCT\",\"value\":10}");
}

TEST(ModelConfs, ScoreConfChoosesItsTargetsAndItsIntervals) {
  const std::vector<SeriesArray> ranked = {{"North", "1", "sales"}};
  // Best fit targets with LCL asked for: the ranked list, intervals on, no residuals.
  TCMModelValidSpecs best =
      Model("/BUILDOPTIONS FORECASTPERIODS=6 /SAVE CL(LCLROOT=Lo UCLROOT=Hi) /FIELDSGROUP /FIELDS "
            "TARGETS=sales");
  ASSERT_TRUE(ScoreNeedsTargetList(best, false));
  EXPECT_EQ(ScoreConf(best, true, true, false, false, ranked),
            "{\"fieldSetting\":{\"fieldType\":\"INCLUDED_TARGET_LIST\",\"fieldNameList\":"
            "{\"seriesIDList\":[[\"North\",\"1\",\"sales\"]]}},"
            "\"forecast\":{\"doForecast\":true,\"forecastSpan\":6,\"forecastInterval\":true},"
            "\"fit\":{\"doFit\":true,\"fitInterval\":true,\"fitResidual\":false},"
            "\"confidenceLevel\":0.95,\"isOutputInputData\":true,\"isDataEncoded\":true}");
  // A selection that found nothing ends the composition.
  EXPECT_EQ(ScoreConf(best, true, true, false, false, {}), "");
  // The output pass scores all targets with every interval and residual.
  EXPECT_FALSE(ScoreNeedsTargetList(best, true));
  EXPECT_EQ(ScoreConf(best, false, true, false, true, {}),
            "{\"fieldSetting\":{\"fieldType\":\"EXCLUDED_TARGET_LIST\",\"fieldNameList\":"
            "{\"seriesIDList\":[]}},\"forecast\":{\"doForecast\":false},"
            "\"fit\":{\"doFit\":true,\"fitInterval\":true,\"fitResidual\":true},"
            "\"confidenceLevel\":0.95,\"isOutputInputData\":true,\"isDataEncoded\":true}");

  // TARGETS(ALL) in SAVE scores all targets even under best fit; without CL no interval;
  // re-estimation writes its flag and no input-data flag.
  TCMModelValidSpecs all =
      Model("/TARGETFILTER DISPLAY=BESTFIT(N=3) /BUILDOPTIONS FORECASTPERIODS=2 "
            "/SAVE TARGETS(ALL) NRESIDUAL /FIELDSGROUP /FIELDS TARGETS=sales");
  ASSERT_EQ(all.targetFilter.display, "BESTFIT");
  EXPECT_FALSE(ScoreNeedsTargetList(all, false));
  EXPECT_EQ(ScoreConf(all, true, true, true, false, {}),
            "{\"fieldSetting\":{\"fieldType\":\"EXCLUDED_TARGET_LIST\",\"fieldNameList\":"
            "{\"seriesIDList\":[]}},"
            "\"forecast\":{\"doForecast\":true,\"forecastSpan\":2,\"forecastInterval\":false},"
            "\"fit\":{\"doFit\":true,\"fitInterval\":false,\"fitResidual\":true},"
            "\"re-estimate\":true,\"confidenceLevel\":0.95,\"isDataEncoded\":true}");
}

TEST(ModelConfs, ScoreConfWithoutForecastPeriodsOrSelection) {
  // No forecast periods: the forecast object is the flag alone, whatever SAVE asks; without
  // fit there is no fit object.
  TCMModelValidSpecs spec = Model(
      "/TARGETFILTER DISPLAY=ALLTARGETS /SAVE CL PREDICTED /FIELDSGROUP /FIELDS TARGETS=sales");
  ASSERT_EQ(spec.buildOptions.forecastPeriods, 0);
  EXPECT_FALSE(ScoreNeedsTargetList(spec, false));
  EXPECT_EQ(ScoreConf(spec, spec.buildOptions.forecastPeriods > 0, false, false, false, {}),
            "{\"fieldSetting\":{\"fieldType\":\"EXCLUDED_TARGET_LIST\",\"fieldNameList\":"
            "{\"seriesIDList\":[]}},\"forecast\":{\"doForecast\":false},"
            "\"confidenceLevel\":0.95,\"isOutputInputData\":true,\"isDataEncoded\":true}");
  // Targets without inputs is a selection too; TARGETS(FILTERED) is no "ALL".
  TCMModelValidSpecs alone = Model(
      "/TARGETFILTER DISPLAY=TARGETSNOINPUTS /BUILDOPTIONS CILEVEL=99 /SAVE TARGETS(FILTERED) "
      "/FIELDSGROUP /FIELDS TARGETS=sales");
  EXPECT_TRUE(ScoreNeedsTargetList(alone, false));
  EXPECT_EQ(ScoreConf(alone, false, true, false, false, {{"", "", "sales"}}),
            "{\"fieldSetting\":{\"fieldType\":\"INCLUDED_TARGET_LIST\",\"fieldNameList\":"
            "{\"seriesIDList\":[[\"\",\"\",\"sales\"]]}},\"forecast\":{\"doForecast\":false},"
            "\"fit\":{\"doFit\":true,\"fitInterval\":false,\"fitResidual\":false},"
            "\"confidenceLevel\":0.99,\"isOutputInputData\":true,\"isDataEncoded\":true}");
}

TEST(ModelConfs, ScenarioScoreConfs) {
  TCMAnlySpec spec;
  spec.targetSeriesKeys = {{"East", "sales"}, {"West", "sales"}};
  spec.arSeriesKeys = {{"West", "cost"}};
  spec.buildOptions.forecastPeriods = 4;
  spec.buildOptions.ciLevel = 90;
  EXPECT_EQ(TcmScoreConf(spec, false),
            "{\"fieldSetting\":{\"fieldType\":\"INCLUDED_TARGET_LIST\",\"fieldNameList\":"
            "{\"seriesIDList\":[[\"East\",\"sales\"],[\"West\",\"sales\"]]}},"
            "\"forecast\":{\"doForecast\":true,\"forecastSpan\":4},\"confidenceLevel\":0.9,"
            "\"isOutputInputData\":true,\"isDataEncoded\":true,\"fit\":{\"doFit\":true}}");
  // The output pass names no series; PREDICTEDCI asks for forecast intervals.
  spec.buildOptions.predictedCI = true;
  EXPECT_EQ(TcmScoreConf(spec, true),
            "{\"fieldSetting\":{\"fieldType\":\"INCLUDED_TARGET_LIST\",\"fieldNameList\":"
            "{\"seriesIDList\":[]}},\"forecast\":{\"doForecast\":true,\"forecastSpan\":4,"
            "\"forecastInterval\":true},\"confidenceLevel\":0.9,\"isOutputInputData\":true,"
            "\"isDataEncoded\":true,\"fit\":{\"doFit\":true}}");
  EXPECT_EQ(ArScoreConf(spec),
            "{\"fieldSetting\":{\"fieldNameList\":{\"seriesIDList\":[[\"West\",\"cost\"]]}},"
            "\"forecast\":{\"forecastSpan\":4},\"outputOriginalValue\":true,"
            "\"isDataEncoded\":true}");
  // No forecast periods: the flag alone, and no interval even with PREDICTEDCI.
  spec.buildOptions.forecastPeriods = 0;
  EXPECT_NE(TcmScoreConf(spec, false).find("\"forecast\":{\"doForecast\":false},"),
            std::string::npos);
}

// One scenario run's configuration, on a date-time axis and on a cyclic one: the furthest time
// is PREDICTTHRU's when given, the targets the maximum or every list of the scenario's ID (none
// when no list has it), and intervals are named only when asked for.
TEST(ModelConfs, ScenarioRunConfs) {
  TCMAnlySpec spec;
  spec.buildOptions.maxTargets = 7;
  spec.buildOptions.maxLevels = 2;
  spec.buildOptions.ciLevel = 90;
  spec.scenarioPeriod.startTime = 100, spec.scenarioPeriod.endTime = 200, spec.scenarioPeriod.thruTime = 300;
  spec.scenarioPeriod.startPeriods = {2024, 1}, spec.scenarioPeriod.endPeriods = {2024, 3};
  spec.scenarioPeriod.thruPeriods = {2024, 6};
  spec.targetLists = {{"East_B", {}, {}, {{"East", "B", "sales"}}},
                      {"other", {}, {}, {{"West", "A", "sales"}}},
                      {"east_b", {}, {}, {{"East", "B", "returns"}}}};
  ScenarioSpec scenario{"S1", "", "ads", "", true, true, {1.5, 2}, {}, {"East", "B", "ads"}};
  struct Case {
    const char *time_type;
    bool thru, predicted_ci;
    const char *list;  // nullptr: automatic effects
    std::string expected;
  } cases[] = {
      {"DATETIMEVAR", false, false, nullptr,
       R"({"rootTimeSeries":["East","B","ads"],"stdStartTime":100,"stdEndTime":200,)"
       R"("substitutedValues":[1.5,2.0],"stdFurthestTime":200,"maxTargetsNum":7,"youngestGeneration":2,)"
       R"("isDataEncoded":true,"isRawValues":true,"confidenceLevel":0.9,"scenarioID":"S1"})"},
      {"CYCLICPERIODS", true, true, "EAST_B",
       R"({"rootTimeSeries":["East","B","ads"],"nonStdStartTime":[2024,1],"nonStdEndTime":[2024,3],)"
       R"("substitutedValues":[1.5,2.0],"nonStdFurthestTime":[2024,6],)"
       R"("targetTimeSeries":[["East","B","sales"],["East","B","returns"]],"youngestGeneration":2,)"
       R"("isDataEncoded":true,"isRawValues":true,"isConfidenceIntervals":true,"confidenceLevel":0.9,)"
       R"("scenarioID":"S1"})"},
      {"DATETIMEVAR", true, false, "nowhere", ""},
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(c.time_type);
    spec.timeType = c.time_type;
    spec.scenarioPeriod.hasPredictThru = c.thru;
    spec.buildOptions.predictedCI = c.predicted_ci;
    scenario.automaticEffects = c.list == nullptr;
    scenario.targetListId = c.list == nullptr ? "" : c.list;
    const std::string conf = TcmSAConf(spec, scenario);
    if (!c.expected.empty()) {
      EXPECT_EQ(conf, c.expected);
    } else {
      EXPECT_NE(conf.find(R"("stdFurthestTime":300,"targetTimeSeries":[],)"), std::string::npos) << conf;
    }
  }
}

TEST(ModelConfs, SeriesFilterKeysUseTheirOwnFiltersOnly) {
  TCMModelValidSpecs spec = Model("/DATAFILTER DIMVALUES=region(INCLUDE=North) "
                                  "/SERIESFILTER FIELDS=sales price DIMVALUES=store(INCLUDE=3) "
                                  "/SERIESFILTER FIELDS=cost DIMVALUES=region(INCLUDE=East West) "
                                  "/FIELDSGROUP /FIELDS TARGETS=sales price cost");
  EXPECT_EQ(
      SeriesFilterKeyList(spec),
      (std::vector<SeriesArray>{
          {"", "3", "price"}, {"", "3", "sales"}, {"East", "", "cost"}, {"West", "", "cost"}}));
}

TEST(ModelConfs, OutlierAndRootCauseConfigurations) {
  TCMModelValidSpecs spec =
      Model("/BUILDOPTIONS OUTLIERTHRESH=99 /SERIESFILTER FIELDS=sales DIMVALUES=store(INCLUDE=1) "
            "/FILTEREDOUTPUT INCLUDE=TARGETS OUTLIER_ROOTCAUSES=YES(LEVELS=1) "
            "/FILTEREDOUTPUT INCLUDE=SERIES OUTLIER_ROOTCAUSES=YES(LEVELS=4) "
            "/FIELDSGROUP /FIELDS TARGETS=sales");
  const std::vector<SeriesArray> keys = SeriesFilterKeyList(spec);
  EXPECT_EQ(TcmODConf(spec, false, keys), "{\"threshold\":0.99,\"isDataEncoded\":true}");
  EXPECT_EQ(TcmODConf(spec, true, keys),
            "{\"targetTimeSeries\":[[\"\",\"1\",\"sales\"]],\"threshold\":0.99,"
            "\"isDataEncoded\":true}");
  EXPECT_EQ(TcmODConf(spec, true, {}), "");  // no series to look at ends the sequence
  // The generations come from the first record for series, not from the one for targets.
  EXPECT_EQ(TcmRCAConf(spec, {"East", "1", "sales"}),
            "{\"targetTimeSeries\":[\"East\",\"1\",\"sales\"],\"autoOutlierDetection\":true,"
            "\"outlierDetection\":{\"threshold\":0.99},\"oldestGeneration\":4,"
            "\"isDataEncoded\":true}");
  std::erase_if(spec.filteredOutputs,
                [](const FilteredOutputSpec& output) { return output.include == "SERIES"; });
  ASSERT_EQ(spec.filteredOutputs.size(), 1u);
  EXPECT_EQ(TcmRCAConf(spec, {"East", "1", "sales"}).find("oldestGeneration"), std::string::npos);
}

TEST(ModelConfs, OutlierRecordsAndTheSeriesThatFiltersChoose) {
  // The archive of a detection: 40 series with outliers and one member that is no JSON result.
  auto dir = support::TempDir::Create("outliers");
  ASSERT_TRUE(dir.ok());
  const std::string archive = (dir->path() / "od.zip").string();
  support::ZipArchiveWriter writer;
  ASSERT_TRUE(writer.AddText("readme.txt", "not a result").ok());
  for (int i = 0; i < 40; ++i) {
    const std::string series = "[\"East\",\"" + std::to_string(i) + "\",\"sales\"]";
    ASSERT_TRUE(writer.AddText("s" + std::to_string(i) + ".result.json",
                               "{\"outlierDetection\":{\"analysisSettings\":{\"targetTimeSeries\":" +
                                   series + "}}}").ok());
  }
  ASSERT_TRUE(writer.WriteTo(archive).ok());
  std::vector<OutlierRecord> records;
  ASSERT_TRUE(ReadOutlierRecords(archive, records));
  ASSERT_EQ(records.size(), kMaxOutlierRecords);
  EXPECT_EQ(records[0].key, "s0");
  EXPECT_EQ(records[29].series, (SeriesKey{"East", "29", "sales"}));
  // A member naming no series makes the read fail; no archive at all asks nothing.
  support::ZipArchiveWriter empty;
  ASSERT_TRUE(empty.AddText("x.json", "{\"outlierDetection\":{}}").ok());
  ASSERT_TRUE(empty.WriteTo(archive).ok());
  records.clear();
  EXPECT_FALSE(ReadOutlierRecords(archive, records));
  EXPECT_TRUE(ReadOutlierRecords("", records));
  // No series with outliers: an archive of no member, or none written.
  EXPECT_TRUE(ReadOutlierRecords((dir->path() / "none.zip").string(), records));
  support::ZipArchiveWriter none;
  (void)none.WriteTo((dir->path() / "none.zip").string());
  EXPECT_TRUE(ReadOutlierRecords((dir->path() / "none.zip").string(), records));
  EXPECT_TRUE(records.empty());
  std::ofstream((dir->path() / "text.zip").string()) << "not an archive";
  EXPECT_FALSE(ReadOutlierRecords((dir->path() / "text.zip").string(), records));

  // store is numeric: "1.00" is store 1. region is text.
  const TCMModelValidSpecs spec =
      Model("/SERIESFILTER FIELDS=cost /SERIESFILTER FIELDS=sales "
            "DIMVALUES=store(INCLUDE=1 2) region(EXCLUDE=West) "
            "/FIELDSGROUP /FIELDS TARGETS=sales cost");
  const auto numeric = [](const std::string& field) { return field == "store"; };
  const struct {
    SeriesKey key;
    bool chosen;
  } cases[] = {
      {{"East", "1.00", "sales"}, true},
      {{"East", "3", "sales"}, false},
      {{"West", "1", "sales"}, false},   // excluded region
      {{"West", "9", "cost"}, true},     // the first filter takes every cost series
      {{"East", "1", "price"}, false},   // a metric no filter names
      {{"1", "sales"}, false},           // a key that does not fit the dimensions
  };
  std::vector<OutlierRecord> outliers;
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.key));
    EXPECT_EQ(SeriesFilterChooses(spec, c.key, numeric), c.chosen);
    outliers.push_back({"k", nullptr, c.key});
  }
  EXPECT_EQ(SelectRootCauseRecords(spec, outliers, numeric).size(), 2u);
}

} // namespace
