// Tests that the documented examples of TCM MODEL (the user's guide and the bundled retail
// example) are read into the command's settings as intended.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "host/data/dataset_io.h"
#include "tcm/common/date_text.h"
#include "tcm/model/tcm_model_parser.h"
#include "tcm_test_util.h"

namespace {

using tcm_test::MakeDataset;

tcm_test::ParseResult<TCMModelValidSpecs> Model(const std::string& text,
                                                std::shared_ptr<host::Dataset> dataset) {
  return tcm_test::Parse<TCMModelValidSpecs, TCMModelParser>(text, std::move(dataset), "TCM MODEL",
                                                             "Temporal Causal Modeling");
}

std::vector<std::string> Names(const std::vector<QuorVarName>& names) {
  std::vector<std::string> out;
  for (const auto& name : names) out.push_back(name.GetName());
  return out;
}

using Strings = std::vector<std::string>;

TEST(ModelExamples, TheFullExampleOfTheGuide) {
  const auto dataset = MakeDataset({{"region", 8, "A8"},
                                    {"product", 8, "A8"},
                                    {"day", 0, "DATE11"},
                                    {"price"},
                                    {"promo"},
                                    {"ads"},
                                    {"visits"},
                                    {"sales"},
                                    {"note", 20, "A20"}});
  const auto r = Model(
      "TCM MODEL\n"
      "  /DATASETTINGS DIMENSIONS=region product TIMETYPE=DATETIMEVAR TIMEVAR=day\n"
      "     INPUTINTERVAL=DAY(DAYSWK=5 WKSTART=MON) ANALYSISINTERVAL=WEEK\n"
      "     GROUP=SUM price(MEAN) AGGREGATE=MEAN DISTRIBUTE=SUM INTERPOLATE=KMEAN(3)\n"
      "     USERMISSING=EXCLUDE MAXMISSING=25 CROSSDAYHRS=EXCLUDE\n"
      "  /DATAFILTER DIMVALUES=region(INCLUDE=East West) product(EXCLUDE='A 1')\n"
      "  /BUILDOPTIONS ESTIMATIONPERIOD=TIMES(START='2015-01-01' END='2016-12-31' "
      "FORMAT=ISO8601)\n"
      "     FORECASTPERIODS=12 CILEVEL=95 MAXINPUTS=DEFAULT LAGS=AUTO TOLERANCE=0.001 "
      "OUTLIERTHRESH=95\n"
      "  /TARGETFILTER DISPLAY=BESTFIT(N=10 FITSTAT=RMSPE)\n"
      "  /SERIESFILTER FIELDS=sales DIMVALUES=region(INCLUDE=East)\n"
      "  /FILTEREDOUTPUT INCLUDE=TARGETS NETWORKGRAPH=YES(SIGLEVEL=0.05) PRINT=MODELFIT OUTLIERS\n"
      "     PLOT=SERIESPLOT TOPINPUTS IMPACTDIAGRAMS=CAUSES(3) EFFECTS(2)\n"
      "     OUTLIER_ROOTCAUSES=YES(LEVELS=3 DISPLAY=BOTH)\n"
      "  /SYSTEMOUTPUT MODELFIT=RMSPE RSQUARE TRANSFORMATIONS=YES OUTLIERPLOT=NO\n"
      "  /SAVE TARGETS(FILTERED) PREDICTED(Pred) CL(LCLROOT=Lcl UCLROOT=Ucl) NRESIDUAL "
      "FORECASTFLAG\n"
      "  /OUTFILE MODELSYSTEM='*/retail.tcm' DATA='*/scored.csv'\n"
      "  /PASSPROTECT PASSWORD='secret' ENCRYPTEDPW=NO\n"
      "  /FIELDSGROUP\n"
      "  /FIELDS TARGETS=sales INPUTS=price promo TO visits FORCE=promo\n"
      "  /FIELDSGROUP\n"
      "  /FIELDS TARGETS=ALL DIMVALUES=region(INCLUDE=West).\n",
      dataset);
  ASSERT_TRUE(r.ok) << r.Describe();
  const TCMModelValidSpecs& spec = r.spec;
  EXPECT_EQ(Names(spec.dimensions), (Strings{"product", "region"}));  // read through a set
  EXPECT_EQ(spec.timeType, "DATETIMEVAR");
  EXPECT_EQ(spec.timeVars.timeVar, "day");
  EXPECT_EQ(spec.inputInterval.interval, TimeIntervalKind::DAY);
  EXPECT_EQ(spec.inputInterval.daysPerWeek, 5);
  EXPECT_EQ(spec.inputInterval.weekStart, "MON");
  EXPECT_EQ(spec.analysisInterval, TimeIntervalKind::WEEK);
  EXPECT_EQ(spec.group, "SUM");
  EXPECT_EQ(spec.groupOverrides, (std::vector<FieldMethod>{{"price", "MEAN"}}));
  EXPECT_EQ(spec.aggregate, "MEAN");
  EXPECT_EQ(spec.interpolate, "KMEAN");
  EXPECT_EQ(spec.interpolateSpan, 3);
  ASSERT_EQ(spec.dataFilter.filters.size(), 2u);
  EXPECT_EQ(spec.dataFilter.filters[1].values, Strings{"A 1"});
  EXPECT_FALSE(spec.dataFilter.filters[1].include);

  const BuildOptionsSpec& build = spec.buildOptions;
  EXPECT_EQ(build.estimationPeriod, "TIMES");
  EXPECT_EQ(build.dateFormat, 1);
  EXPECT_EQ(FormatTime(build.startTime, kDateKind), "2015-01-01");
  EXPECT_EQ(FormatTime(build.endTime, kDateKind), "2016-12-31");
  EXPECT_EQ(build.forecastPeriods, 12);
  EXPECT_TRUE(build.maxInputsDefault);
  EXPECT_TRUE(build.lagsAuto);

  EXPECT_EQ(spec.targetFilter.display, "BESTFIT");
  ASSERT_EQ(spec.seriesFilters.size(), 1u);
  EXPECT_EQ(Names(spec.seriesFilters[0].fields), Strings{"sales"});
  ASSERT_EQ(spec.filteredOutputs.size(), 1u);
  const FilteredOutputSpec& output = spec.filteredOutputs[0];
  EXPECT_EQ(output.include, "TARGETS");
  EXPECT_TRUE(output.causes && output.effects);
  EXPECT_EQ(output.causeLevels, 3);
  EXPECT_EQ(output.effectLevels, 2);
  EXPECT_TRUE(output.rootCauses);
  EXPECT_EQ(output.rootCauseDisplay, "BOTH");
  EXPECT_EQ(spec.modelFit, (Strings{"RMSPE", "RSQUARE"}));
  ASSERT_EQ(spec.saveEntries.size(), 6u);
  SaveEntry entry;
  ASSERT_TRUE(spec.FindSaveEntry("UCLROOT", entry));
  EXPECT_EQ(entry.rootName, "Ucl");
  ASSERT_TRUE(spec.FindSaveEntry("NRESIDUAL", entry));
  EXPECT_EQ(entry.rootName, "NResidual");
  EXPECT_EQ(spec.password, "secret");
  EXPECT_TRUE(spec.outData.IsInit() && spec.outData.IsFile());
  EXPECT_NE(spec.modelSystemPath.find("retail.tcm"), std::string::npos);

  ASSERT_EQ(spec.fieldsGroups.size(), 2u);
  const FieldsSpec& first = spec.fieldsGroups[0].fields.at(0);
  EXPECT_EQ(Names(first.targets), Strings{"sales"});
  EXPECT_EQ(Names(first.inputs), (Strings{"ads", "price", "promo", "visits"}));
  EXPECT_EQ(Names(first.force), Strings{"promo"});
  const FieldsSpec& second = spec.fieldsGroups[1].fields.at(0);
  EXPECT_EQ(Names(second.targets), (Strings{"ads", "price", "promo", "sales", "visits"}));
  // Slots that the later steps ask.
  EXPECT_TRUE(spec.needsScoring());
  EXPECT_TRUE(spec.needsOutlierDetection());
  EXPECT_FALSE(spec.needsRootCause());  // the only record shows targets
}

TEST(ModelExamples, CyclicPeriods) {
  const auto r = Model(
      "TCM MODEL /DATASETTINGS TIMETYPE=CYCLICPERIODS\n"
      "     TIMEVAR=period(TYPE=PERIOD INCREMENT=1 START=1) year(TYPE=CYCLE LEVEL=1 LENGTH=12)\n"
      "     ANALYSISINTERVAL=CYCLE(LEVEL=1)\n"
      "  /FIELDSGROUP /FIELDS TARGETS=y INPUTS=x1 x2.\n",
      MakeDataset({{"period"}, {"year"}, {"y"}, {"x1"}, {"x2"}}));
  ASSERT_TRUE(r.ok) << r.Describe();
  EXPECT_EQ(r.spec.timeVars.periodVar, "period");
  ASSERT_EQ(r.spec.timeVars.cycleVars.size(), 1u);
  EXPECT_EQ(r.spec.timeVars.cycleVars[0].name, "year");
  EXPECT_EQ(r.spec.timeVars.cycleVars[0].length, 12);
  EXPECT_EQ(r.spec.analysisInterval, TimeIntervalKind::CYCLE);
  EXPECT_EQ(r.spec.cycleLevel, 1);
  EXPECT_EQ(r.spec.inputInterval.interval, TimeIntervalKind::IGNORE);
  EXPECT_EQ(r.used, (std::vector<int32_t>{0, 1, 2, 3, 4}));
}

TEST(ModelExamples, TheBundledRetailExample) {
  const std::string root = TCM_SOURCE_DIR;
  ParserMessage load_messages;
  const auto dataset = host::LoadDataset(root + "/examples/retail/sales.csv", "", load_messages);
  ASSERT_NE(dataset, nullptr);
  std::ifstream file(root + "/examples/retail/retail.tcm");
  std::stringstream text;
  text << file.rdbuf();
  // The file opens with a comment command; the model command is what follows it.
  const std::string syntax = text.str().substr(text.str().find("TCM MODEL"));
  const auto r = Model(syntax, dataset);
  ASSERT_TRUE(r.ok) << r.Describe();
  EXPECT_EQ(Names(r.spec.dimensions), (Strings{"product", "region"}));
  EXPECT_EQ(r.spec.buildOptions.lags, 7);
  EXPECT_EQ(r.spec.buildOptions.forecastPeriods, 14);
  ASSERT_EQ(r.spec.fieldsGroups.size(), 1u);
  EXPECT_EQ(Names(r.spec.fieldsGroups[0].fields[0].targets),
            (Strings{"returns", "sales", "visits"}));
  EXPECT_EQ(r.spec.seriesFilters.size(), 2u);
  ASSERT_EQ(r.spec.filteredOutputs.size(), 2u);
  EXPECT_EQ(r.spec.filteredOutputs[0].include, "SERIES");  // the record written last comes first
  EXPECT_TRUE(r.spec.needsRootCause());
  EXPECT_TRUE(r.spec.needsNResidual());
}

}  // namespace
