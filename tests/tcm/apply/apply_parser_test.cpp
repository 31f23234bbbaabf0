// Tests of TCM APPLY's reading through command text against model systems written here: the
// check of the file, the settings it carries, OPTIONS read by the model's time type,
// SERIESFILTER against the model's metrics, and the paths of OUTFILE.
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/temp_file.h"
#include "support/zip_archive.h"
#include "tcm/apply/tcm_apply_parser.h"
#include "tcm/tcm_test_util.h"

namespace {

using Result = tcm_test::ParseResult<TCMApplySpec>;
using Members = std::map<std::string, std::string>;

// Settings as the preparation writes them (compact, so that the text read back is the same).
std::string Settings(const std::string& dims, const std::string& metrics, const std::string& time,
                     const std::string& cyclic) {
  return "{\"dimFieldList\":[" + dims + "],\"metricFieldList\":[" + metrics +
         "],\"dateTimeField\":\"" + time + "\",\"cyclicFieldList\":[" + cyclic +
         "],\"aggreLevel\":0,\"interpolation\":{\"method\":\"LINT\"}}";
}

// The engine's layout: a coded field per dimension with its base, and the metric names as labels.
Members ModelMembers(const std::string& settings, const std::vector<std::string>& metrics) {
  std::string model =
      "<StatXML><DataModel><Field name=\"region\" storage=\"integer\" base=\"$base_region\">"
      "<Category value=\"1\" code=\"1\" label=\"E\"/></Field><Field name=\"$base_region\" "
      "storage=\"string\"><Category value=\"E\" code=\"1\" label=\"E\"/></Field>"
      "<Field name=\"metricField\" storage=\"integer\">";
  for (std::size_t i = 0; i < metrics.size(); ++i) {
    const std::string code = std::to_string(i + 1);
    model += "<Category value=\"" + code + "\" code=\"" + code + "\" label=\"" + metrics[i] + "\"/>";
  }
  model += "</Field></DataModel><Parameter name=\"maxLag\"/></StatXML>";
  return {{"StatXML.xml", model},
          {"TCMGraph.json", "{\"targets\":[]}"},
          {"TSDPOutput.json", "{\"settings\":" + settings + ",\"output\":{}}"}};
}

const std::string kDateSettings = Settings("\"region\"", "\"sales\",\"price\"", "day", "");

// Dictionary: 0 region, 1 day, 2 sales, 3 price, 4 cost, 5 note, 6 stamp, 7 year, 8 month.
std::shared_ptr<host::Dataset> Shop() {
  return tcm_test::MakeDataset({{"region", 8, "A8"},
                                {"day", 0, "DATE11"},
                                {"sales"},
                                {"price"},
                                {"cost"},
                                {"note", 8, "A8"},
                                {"stamp", 20, "A20"},
                                {"year", 0, "F4.0"},
                                {"month", 0, "F2.0"}});
}

class ApplyParser : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    auto dir = support::TempDir::Create("apply_parser");
    ASSERT_TRUE(dir.ok());
    dir_.emplace(std::move(*dir));
    const std::vector<std::string> both{"sales", "price"};
    Write("date", ModelMembers(kDateSettings, both));
    Write("iso", ModelMembers(Settings("\"region\"", "\"sales\"", "stamp", ""), both));
    Write("cyclic", ModelMembers(Settings("\"\"", "\"sales\"", "", "\"year\",\"month\""), both));
    Write("dated", ModelMembers(Settings("\"\"", "\"sales\"", "", "\"YEAR_\",\"MONTH_\""), both));
    Write("cases", ModelMembers(Settings("\"\"", "\"sales\"", "", "\"$casecount\""), both));
    Write("other", ModelMembers(Settings("\"store\"", "\"sales\"", "day", ""), both));
    Write("damaged", ModelMembers("[1]", both));
    Members graphless = ModelMembers(kDateSettings, both);
    graphless.erase("TCMGraph.json");
    Write("graphless", graphless);
    std::ofstream(Path("text")) << "not an archive";
  }
  static void TearDownTestSuite() { dir_.reset(); }

  static std::string Path(const std::string& name) { return (dir_->path() / name).string(); }
  static void Write(const std::string& name, const Members& members) {
    support::ZipArchiveWriter writer;
    for (const auto& [member, text] : members) ASSERT_TRUE(writer.AddText(member, text).ok());
    ASSERT_TRUE(writer.WriteTo(Path(name)).ok());
  }
  // TCM APPLY on the model `name` with the rest of the command.
  static Result Apply(const std::string& name, const std::string& rest,
                      std::shared_ptr<host::Dataset> dataset = Shop()) {
    return tcm_test::Parse<TCMApplySpec, TCMApplyParser>(
        "TCM APPLY /MODELSYSTEM FILE='" + Path(name) + "' " + rest + ".", std::move(dataset),
        "TCM APPLY", "Temporal Causal Model Forecasting");
  }

  static std::optional<support::TempDir> dir_;
};
std::optional<support::TempDir> ApplyParser::dir_;

std::string Times(const std::string& qualifiers) {
  return "/OPTIONS ESTIMATIONPERIOD=TIMES(" + qualifiers + ") ";
}

TEST_F(ApplyParser, FaultsEndTheReadingWithTheirMessage) {
  struct Case {
    std::string model;
    std::string rest;
    std::string source;
    std::vector<std::string> args;
  };
  const std::string self = Path("date");
  const std::vector<Case> faults = {
      {"text", "", "INVALID_MODEL_KEY", {}},
      {"graphless", "", "INVALID_MODEL_KEY", {}},
      {"damaged", "", "INVALID_MODEL_KEY", {}},
      {"other", "", "VariableNotInDict", {"store"}},
      {"date", "/SERIESFILTER FIELDS=cost", "InvalidParamValue", {"cost", "FIELDS", "SERIESFILTER"}},
      {"date", "/SERIESFILTER FIELDS=ALL", "InvalidParamOption", {"ALL", "FIELDS", "SERIESFILTER"}},
      {"date", "/SERIESFILTER FIELDS=sales TO", "SyntaxErrorInParam", {"TO", "FIELDS", "FIELDS"}},
      {"cyclic", Times("START='2015-01-01' FORMAT=ISO8601"), "ParamNeedIntegerList",
       {"TIMES", "OPTIONS"}},
      {"date", Times("START=2015 END=2016"), "ParamNeedEuroDate", {"TIMES", "OPTIONS"}},
      {"date", Times("FORMAT=ISO8601"), "SyntaxErrorInParam",
       {"TIMES", "ESTIMATIONPERIOD", "OPTIONS"}},
      {"date", Times("START='2015-06-01' END='2015-03-01' FORMAT=ISO8601"), "InvalidParamValue",
       {"2015-03-01", "END", "OPTIONS"}},
      {"date", Times("START='2015-03-01'"), "ParamNeedParam", {"FORMAT", "TIMES"}},
      {"cases", Times("FORMAT=VARIABLE"), "ParamNeedInteger", {"TIMES", "OPTIONS"}},
      {"cases", Times("START=1"), "SyntaxErrorInParam", {"1", "ESTIMATIONPERIOD", "OPTIONS"}},
      {"cases", Times("START=soon"), "SyntaxErrorInParam", {"soon", "TIMES", "OPTIONS"}},
      {"cyclic", Times("START=2015 END=2016"), "INCOMPATIBLE_SPEC_KEY", {}},
      {"date", "/OUTFILE MODELSYSTEM='" + self + "'", "FileTwoSubCom",
       {self, "MODELSYSTEM", "OUTFILE"}},
      {"date", "/OPTIONS REESTIMATE=YES /OUTFILE MODELSYSTEM='" + self + "'", "FileTwoSubCom",
       {self, "MODELSYSTEM", "OUTFILE"}},
  };
  for (const Case& c : faults) {
    const Result r = Apply(c.model, c.rest);
    EXPECT_FALSE(r.ok) << c.model << " " << c.rest;
    EXPECT_TRUE(r.Has(c.source, c.args)) << c.model << " " << c.rest << ": " << r.Describe();
    // The first fault ends the walk: one error, whatever comes after it.
    EXPECT_EQ(r.messages.size(), 1u) << c.model << " " << c.rest << ": " << r.Describe();
  }
}

TEST_F(ApplyParser, DefaultsAndWhatTheModelSystemGives) {
  const Result r = Apply("date", "");
  ASSERT_TRUE(r.ok) << r.Describe();
  const TCMApplySpec& s = r.spec;
  EXPECT_EQ(s.inputModelPath, Path("date"));
  EXPECT_EQ(s.modelSettingsJson, kDateSettings);
  ASSERT_EQ(s.dimensions.size(), 1u);
  EXPECT_EQ(s.dimensions[0].GetName(), "region");
  EXPECT_EQ(s.timeType, "DATETIMEVAR");
  EXPECT_EQ(s.timeVars.timeVar, "day");
  EXPECT_EQ(r.used, (std::vector<int32_t>{0, 1, 2, 3}));
  const BuildOptionsSpec& o = s.buildOptions;
  EXPECT_EQ(o.estimationPeriod, "MODEL");
  EXPECT_FALSE(o.reestimate);
  EXPECT_EQ(o.observationOffset, 0);
  EXPECT_EQ(o.observationNumber, 1000);
  EXPECT_EQ(o.forecastPeriods, 0);
  EXPECT_EQ(o.outlierThreshold, 95);
  EXPECT_DOUBLE_EQ(o.ciLevel, 95.0);
  EXPECT_EQ(o.dateFormat, -1);
  EXPECT_EQ(s.targetFilter.display, "BESTFIT");
  EXPECT_EQ(s.targetFilter.n, 10);
  EXPECT_TRUE(s.targetFilter.useN);
  EXPECT_EQ(s.modelFit, std::vector<std::string>{"RMSPE"});
  EXPECT_TRUE(s.transformations);
  EXPECT_FALSE(s.outlierPlot);
  EXPECT_TRUE(s.filteredOutputs.empty());
  EXPECT_TRUE(s.modelSystemPath.empty());
  EXPECT_EQ(s.password, "NONE");

  // The time type by the saved time field or cycle fields, and by the dataset's date variables.
  struct Case {
    std::string model;
    bool dated;
    std::string timeType;
    std::string timeVar;
    std::string periodVar;
    std::vector<std::string> cycles;
  };
  const std::vector<Case> kinds = {
      {"iso", false, "ISO8601", "stamp", "", {}},
      {"cases", false, "NONE", "", "$casecount", {}},
      {"cyclic", false, "CYCLICPERIODS", "", "month", {"year"}},
      {"dated", true, "DATESPEC", "", "MONTH_", {"YEAR_"}},
  };
  for (const Case& c : kinds) {
    const Result k = Apply(c.model, "", c.dated ? tcm_test::WithMonthlyDates(Shop()) : Shop());
    ASSERT_TRUE(k.ok) << c.model << ": " << k.Describe();
    EXPECT_EQ(k.spec.timeType, c.timeType) << c.model;
    EXPECT_EQ(k.spec.timeVars.timeVar, c.timeVar) << c.model;
    EXPECT_EQ(k.spec.timeVars.periodVar, c.periodVar) << c.model;
    std::vector<std::string> cycles;
    for (const CycleVariable& cycle : k.spec.timeVars.cycleVars) {
      cycles.push_back(cycle.name);
      EXPECT_EQ(cycle.length, 1) << c.model;
    }
    EXPECT_EQ(cycles, c.cycles) << c.model;
    EXPECT_EQ(k.spec.dimensions.empty(), c.model != "iso") << c.model;
  }
}

TEST_F(ApplyParser, AWholeCommandInAnyOrder) {
  const std::string data = Path("scored.csv");
  const std::string out = Path("updated.zip");
  const Result r = Apply(
      "date", "/OUTFILE MODELSYSTEM='" + out + "' DATA='" + data +
                  "' /PASSPROTECT PASSWORD='secret' /SAVE PREDICTED(Fit) /SYSTEMOUTPUT "
                  "MODELFIT=RMSE AIC /FILTEREDOUTPUT INCLUDE=TARGETS /SERIESFILTER FIELDS=price "
                  "TO sales DIMVALUES=region(INCLUDE=E) /TARGETFILTER DISPLAY=ALLTARGETS "
                  "/OPTIONS REESTIMATE=YES FORECASTPERIODS=6 CILEVEL=90 OUTLIERTHRESH=99 "
                  "ESTIMATIONPERIOD=TIMES(END='2015-06-30' FORMAT=ISO8601)");
  ASSERT_TRUE(r.ok) << r.Describe();
  const TCMApplySpec& s = r.spec;
  EXPECT_TRUE(s.buildOptions.reestimate);
  EXPECT_EQ(s.buildOptions.estimationPeriod, "TIMES");
  EXPECT_EQ(s.buildOptions.startTime, 0);  // an end alone passes
  EXPECT_NE(s.buildOptions.endTime, 0);
  EXPECT_EQ(s.buildOptions.forecastPeriods, 6);
  EXPECT_DOUBLE_EQ(s.buildOptions.ciLevel, 90.0);
  EXPECT_EQ(s.buildOptions.outlierThreshold, 99);
  EXPECT_EQ(s.targetFilter.display, "ALLTARGETS");
  ASSERT_EQ(s.seriesFilters.size(), 1u);
  // A range written backwards takes both ends.
  ASSERT_EQ(s.seriesFilters[0].fields.size(), 2u);
  ASSERT_EQ(s.seriesFilters[0].filters.size(), 1u);
  EXPECT_EQ(s.seriesFilters[0].filters[0].values, std::vector<std::string>{"E"});
  ASSERT_EQ(s.filteredOutputs.size(), 1u);
  EXPECT_EQ(s.filteredOutputs[0].include, "TARGETS");
  EXPECT_EQ(s.modelFit, (std::vector<std::string>{"RMSE", "AIC"}));
  ASSERT_EQ(s.saveEntries.size(), 1u);
  EXPECT_EQ(s.saveEntries[0].rootName, "Fit");
  EXPECT_EQ(s.modelSystemPath, out);
  EXPECT_EQ(s.password, "secret");
  EXPECT_TRUE(s.outData.IsFile());

  // Periods on a model with one cycle field: two integers at each end, not ordered here.
  const Result periods = Apply("cyclic", Times("START=2016 1 END=2015 12"));
  ASSERT_TRUE(periods.ok) << periods.Describe();
  EXPECT_EQ(periods.spec.buildOptions.startPeriods, (std::vector<int32_t>{2016, 1}));
  EXPECT_EQ(periods.spec.buildOptions.endPeriods, (std::vector<int32_t>{2015, 12}));

  const Result window =
      Apply("date", "/OPTIONS ESTIMATIONPERIOD=OBSERVATIONS(TYPE=oldest OFFSET=2 NUMBER=50)");
  ASSERT_TRUE(window.ok) << window.Describe();
  EXPECT_EQ(window.spec.buildOptions.estimationPeriod, "OBSERVATIONS");
  EXPECT_EQ(window.spec.buildOptions.observationType, "OLDEST");
  EXPECT_EQ(window.spec.buildOptions.observationOffset, 2);
  EXPECT_EQ(window.spec.buildOptions.observationNumber, 50);
}

TEST_F(ApplyParser, ModelFitNoneWithOthersIsReportedAndReadingGoesOn) {
  const Result r = Apply("date", "/SYSTEMOUTPUT MODELFIT=NONE RMSE OUTLIERPLOT=YES /SAVE PREDICTED");
  EXPECT_TRUE(r.ok) << r.Describe();
  EXPECT_TRUE(r.Has("ParamExclAnyOther", {"NONE", "MODELFIT"})) << r.Describe();
  EXPECT_TRUE(r.spec.outlierPlot);
  EXPECT_EQ(r.spec.saveEntries.size(), 1u);
}

TEST_F(ApplyParser, WhereTheModelSystemGoes) {
  const std::string data = "/OUTFILE DATA='" + Path("d.csv") + "'";
  // Without re-estimation the model read is the run's; with it, only OUTFILE names one.
  EXPECT_EQ(Apply("date", data).spec.modelSystemPath, Path("date"));
  EXPECT_TRUE(Apply("date", "/OPTIONS REESTIMATE=YES " + data).spec.modelSystemPath.empty());
  EXPECT_TRUE(Apply("date", "").spec.modelSystemPath.empty());
}

}  // namespace
