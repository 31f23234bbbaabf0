// Tests of TCM APPLY against model systems written here: its reading of command text (the file,
// the saved settings, OPTIONS by the model's time type, SERIESFILTER against the model's metrics,
// the paths of OUTFILE), and its check on the converted data through the engine.
#include <fstream>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "host/bridge/app_host.h"
#include "support/temp_file.h"
#include "support/time.h"
#include "support/zip_archive.h"
#include "tcm/apply/check_prepared_data.h"
#include "tcm/apply/tcm_apply_parser.h"
#include "tcm/run_frame.h"
#include "tcm/stages/tsdp_runner.h"
#include "tcm/tcm_test_util.h"

namespace {

using Result = tcm_test::ParseResult<TCMApplySpec>;

// Settings as the preparation writes them (compact, so that the text read back is the same).
std::string Settings(const std::string& dims, const std::string& time, const std::string& cyclic) {
  return "{\"dimFieldList\":[" + dims + "],\"metricFieldList\":[\"sales\",\"price\"]," +
         "\"dateTimeField\":\"" + time + "\",\"cyclicFieldList\":[" + cyclic +
         "],\"interpolation\":{\"method\":\"LINT\"}}";
}
const std::string kDateSettings = Settings("\"region\"", "day", "");

// Dictionary: 0 region, 1 day, 2 sales, 3 price, 4 cost, 5 stamp, 6 year, 7 month; daily rows
// for two regions when `cases` is given.
std::shared_ptr<host::Dataset> Shop(int cases = 0) {
  auto data = tcm_test::MakeDataset({{"region", 8, "A8"}, {"day", 0, "DATE11"}, {"sales"},
                                     {"price"}, {"cost"}, {"stamp", 20, "A20"},
                                     {"year", 0, "F4.0"}, {"month", 0, "F2.0"}},
                                    cases);
  const double start = static_cast<double>(support::DaysFromCivil(2020, 1, 1)) * 86400.0;
  for (int i = 0; i < cases; ++i) {
    data->SetText(i, 0, i % 2 == 0 ? "E" : "W");
    data->SetNumber(i, 1, start + (i / 2) * 86400.0);
    data->SetNumber(i, 2, 100 + i);
    data->SetNumber(i, 3, 10 + i % 7);
  }
  return data;
}

class ApplyTest : public ::testing::Test, protected tcm_test::RunFrame {
 protected:
  static void SetUpTestSuite() {
    auto dir = support::TempDir::Create("apply");
    ASSERT_TRUE(dir.ok());
    dir_.emplace(std::move(dir.value()));
    Write("date", kDateSettings);
    Write("iso", Settings("\"region\"", "stamp", ""));
    Write("cyclic", Settings("\"\"", "", "\"year\",\"month\""));
    Write("dated", Settings("\"\"", "", "\"YEAR_\",\"MONTH_\""));
    Write("cases", Settings("\"\"", "", "\"$casecount\""));
    Write("other", Settings("\"store\"", "day", ""));
    Write("damaged", "[1]");
    Write("graphless", kDateSettings, false);
    std::ofstream(Path("text")) << "not an archive";
  }
  static void TearDownTestSuite() { dir_.reset(); }

  static std::string Path(const std::string& name) { return (dir_->path() / name).string(); }
  // The engine's layout, with the metric names as labels of metricField's codes.
  static void Write(const std::string& name, const std::string& settings, bool graph = true) {
    support::ZipArchiveWriter writer;
    ASSERT_TRUE(writer
                    .AddText("StatXML.xml",
                             "<StatXML><DataModel><Field name=\"metricField\" storage=\"integer\">"
                             "<Category value=\"1\" code=\"1\" label=\"sales\"/><Category "
                             "value=\"2\" code=\"2\" label=\"price\"/></Field></DataModel></StatXML>")
                    .ok());
    if (graph) {
      ASSERT_TRUE(writer.AddText("TCMGraph.json", "{}").ok());
    }
    ASSERT_TRUE(writer.AddText("TSDPOutput.json", "{\"settings\":" + settings + "}").ok());
    ASSERT_TRUE(writer.WriteTo(Path(name)).ok());
  }
  static Result Apply(const std::string& name, const std::string& rest,
                      std::shared_ptr<host::Dataset> dataset = Shop()) {
    return tcm_test::Parse<TCMApplySpec, TCMApplyParser>(
        "TCM APPLY /MODELSYSTEM FILE='" + Path(name) + "' " + rest + ".", std::move(dataset),
        "TCM APPLY", "Temporal Causal Model Forecasting");
  }

  // Reads the command on the date model over daily data, converts them and runs the data check;
  // once per test.
  bool Check(const std::string& rest) {
    session_.document = &document_;
    session_.active_dataset = Shop(40);
    scope_ = std::make_unique<host::SessionScope>(session_);
    CFAppHost::getInstance().setLocale("en_US");
    const Result parsed = Apply("date", rest, session_.active_dataset);
    EXPECT_TRUE(parsed.ok) << parsed.Describe();
    spec_ = parsed.spec;
    Open(session_.active_dataset, parsed.used, "Temporal Causal Model Forecasting");
    context_.emplace();
    tsdp_.emplace(spec_, *runner_, *iterator_, spec_.modelSettingsJson.c_str());
    EXPECT_TRUE(tsdp_->ConvertTimeStrings());
    return CheckPreparedData(spec_, *runner_, *tsdp_, *source_, context_->GetParserMessage(),
                             nullptr);
  }
  // How often the check raised that message (with these arguments, when given).
  int Raised(const std::string& source, const std::vector<std::string>& args = {}) {
    int count = 0;
    for (const auto& message : context_->GetParserMessage().Raised()) {
      count += message.source == source && (args.empty() || message.args == args);
    }
    return count;
  }

  static std::optional<support::TempDir> dir_;
  TCMApplySpec spec_;
  std::optional<CommandContext> context_;
  std::optional<TSDPRunner> tsdp_;
};
std::optional<support::TempDir> ApplyTest::dir_;

std::string Times(const std::string& qualifiers) {
  return "/OPTIONS ESTIMATIONPERIOD=TIMES(" + qualifiers + ") ";
}

TEST_F(ApplyTest, FaultsEndTheReadingWithTheirMessage) {
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
    // The first fault ends the walk: nothing is reported after it.
    EXPECT_EQ(r.messages.size(), 1u) << c.model << " " << c.rest << ": " << r.Describe();
  }
}

TEST_F(ApplyTest, WhatTheModelSystemGives) {
  const Result r = Apply("date", "");
  ASSERT_TRUE(r.ok) << r.Describe();
  EXPECT_EQ(r.spec.modelSettingsJson, kDateSettings);
  ASSERT_EQ(r.spec.dimensions.size(), 1u);
  EXPECT_EQ(r.spec.dimensions[0].GetName(), "region");
  EXPECT_EQ(r.spec.timeType, "DATETIMEVAR");
  EXPECT_EQ(r.spec.timeVars.timeVar, "day");
  EXPECT_EQ(r.used, (std::vector<int32_t>{0, 1, 2, 3}));
  EXPECT_EQ(r.spec.buildOptions.estimationPeriod, "MODEL");
  EXPECT_TRUE(r.spec.modelSystemPath.empty());

  struct Case {
    std::string model;
    std::string timeType;
    std::string timeVar;
    std::string periodVar;
    std::vector<std::string> cycles;
  };
  const std::vector<Case> kinds = {
      {"iso", "ISO8601", "stamp", "", {}},
      {"cases", "NONE", "", "$casecount", {}},
      {"cyclic", "CYCLICPERIODS", "", "month", {"year"}},
      {"dated", "DATESPEC", "", "MONTH_", {"YEAR_"}},
  };
  for (const Case& c : kinds) {
    const Result k =
        Apply(c.model, "", c.model == "dated" ? tcm_test::WithMonthlyDates(Shop()) : Shop());
    ASSERT_TRUE(k.ok) << c.model << ": " << k.Describe();
    EXPECT_EQ(k.spec.timeType, c.timeType) << c.model;
    EXPECT_EQ(k.spec.timeVars.timeVar, c.timeVar) << c.model;
    EXPECT_EQ(k.spec.timeVars.periodVar, c.periodVar) << c.model;
    std::vector<std::string> cycles;
    for (const CycleVariable& cycle : k.spec.timeVars.cycleVars) cycles.push_back(cycle.name);
    EXPECT_EQ(cycles, c.cycles) << c.model;
  }
}

TEST_F(ApplyTest, AWholeCommandInAnyOrder) {
  const std::string out = Path("updated.zip");
  const Result r = Apply(
      "date", "/OUTFILE MODELSYSTEM='" + out + "' DATA='" + Path("scored.csv") +
                  "' /PASSPROTECT PASSWORD='secret' /SYSTEMOUTPUT MODELFIT=NONE RMSE "
                  "OUTLIERPLOT=YES /SERIESFILTER FIELDS=price TO sales DIMVALUES=region(INCLUDE=E) "
                  "/OPTIONS REESTIMATE=YES FORECASTPERIODS=6 OUTLIERTHRESH=99 "
                  "ESTIMATIONPERIOD=TIMES(END='2015-06-30' FORMAT=ISO8601)");
  ASSERT_TRUE(r.ok) << r.Describe();
  // NONE with others is reported, and reading goes on.
  EXPECT_TRUE(r.Has("ParamExclAnyOther", {"NONE", "MODELFIT"})) << r.Describe();
  EXPECT_TRUE(r.spec.outlierPlot);
  EXPECT_TRUE(r.spec.buildOptions.reestimate);
  EXPECT_EQ(r.spec.buildOptions.startTime, 0);  // an end alone passes
  EXPECT_NE(r.spec.buildOptions.endTime, 0);
  EXPECT_EQ(r.spec.buildOptions.outlierThreshold, 99);
  ASSERT_EQ(r.spec.seriesFilters.size(), 1u);
  EXPECT_EQ(r.spec.seriesFilters[0].fields.size(), 2u);  // a range written backwards
  EXPECT_EQ(r.spec.modelSystemPath, out);
  EXPECT_TRUE(r.spec.outData.IsFile());

  // Two integers at each end on a model with one cycle field, not ordered here.
  const Result periods = Apply("cyclic", Times("START=2016 1 END=2015 12"));
  ASSERT_TRUE(periods.ok) << periods.Describe();
  EXPECT_EQ(periods.spec.buildOptions.endPeriods, (std::vector<int32_t>{2015, 12}));

  // Without re-estimation the model read is the run's; with it, only OUTFILE names one.
  const std::string data = "/OUTFILE DATA='" + Path("d.csv") + "'";
  EXPECT_EQ(Apply("date", data).spec.modelSystemPath, Path("date"));
  EXPECT_TRUE(Apply("date", "/OPTIONS REESTIMATE=YES " + data).spec.modelSystemPath.empty());
}

// The data check: one run each, over daily data for two regions.
TEST_F(ApplyTest, DataCheckFindsTheIntervalAndSettlesSeriesFilters) {
  ASSERT_TRUE(Check("/SERIESFILTER FIELDS=sales DIMVALUES=region(INCLUDE=E)"));
  EXPECT_EQ(spec_.inputInterval.interval, TimeIntervalKind::DAY);
  EXPECT_EQ(Raised("NO_RCA_KEY"), 0);
}

TEST_F(ApplyTest, DataCheckRefusesAValueTheDataLack) {
  EXPECT_FALSE(Check("/SERIESFILTER FIELDS=sales /SERIESFILTER FIELDS=sales "
                     "DIMVALUES=region(INCLUDE=North)"));
  EXPECT_EQ(Raised("INVALID_DIM_VAL_KEY", {"SERIESFILTER 1", "North", "region"}), 1);
}

TEST_F(ApplyTest, DataCheckWarnsOfRootCausesWithoutSeriesFilter) {
  // Only the record that includes series warns; the check still passes.
  EXPECT_TRUE(Check("/FILTEREDOUTPUT INCLUDE=SERIES OUTLIER_ROOTCAUSES=YES "
                    "/FILTEREDOUTPUT INCLUDE=TARGETS OUTLIER_ROOTCAUSES=YES"));
  EXPECT_EQ(spec_.filteredOutputs.size(), 2u);
  EXPECT_EQ(Raised("NO_RCA_KEY"), 1);
}

}  // namespace
