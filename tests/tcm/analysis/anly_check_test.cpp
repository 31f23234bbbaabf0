// Tests of TCM ANALYSIS's check on the converted data, over model systems that TCM MODEL builds
// here: daily over region (4 values) and shelf (3), and cyclic without dimensions. The command's
// settings object is filled as its readers fill it; the engine converts the periods.
#include <cmath>
#include <map>
#include <optional>

#include <gtest/gtest.h>

#include "host/bridge/app_host.h"
#include "host/bridge/zip_reader.h"
#include "host/frame/command_processor.h"
#include "host/output/text_renderer.h"
#include "support/temp_file.h"
#include "tcm/analysis/check_prepared_data.h"
#include "tcm/apply/model_settings.h"
#include "tcm/files/model_system_file.h"
#include "tcm/frame/command_context.h"
#include "tcm/frame/entries.h"
#include "tcm/run_frame.h"
#include "tcm/stages/tsdp_runner.h"
#include "tcm/tcm_test_util.h"

namespace {

using Keys = std::vector<SeriesKey>;
const std::vector<std::string> kRegions = {"East", "North", "South", "West"},
                               kShelves = {"A", "B", "C"};
int64_t Day(int month, int day) {
  return tcm_test::Seconds(2020, month, day);
}

// 30 days from 2020-01-01 for 4 regions and 3 shelves, also counted as years of 4 periods;
// yesterday's ads (noise) drive sales.
std::shared_ptr<host::Dataset> Data() {
  auto data = tcm_test::MakeDataset({{"region", 8, "A8"},
                                     {"shelf", 8, "A8"},
                                     {"day", 0, "DATE11"},
                                     {"year", 0, "F8.0"},
                                     {"period", 0, "F8.0"},
                                     {"sales"},
                                     {"ads"}},
                                    360);
  for (int i = 0; i < 360; ++i) {
    const int series = i % 12, time = i / 12;
    const auto ads = [series](int t) {
      const double noise = std::sin(t * 12.9898 + series * 78.233) * 43758.5453;
      return 20 + series + 5 * (noise - std::floor(noise));
    };
    data->SetText(i, 0, kRegions[series / 3]);
    data->SetText(i, 1, kShelves[series % 3]);
    const double values[] = {static_cast<double>(Day(1, 1 + time)), 1.0 + time / 4, 1.0 + time % 4,
                             50 + 3 * ads(time - 1) + std::sin(i * 0.7), ads(time)};
    for (int column = 2; column < 7; ++column)
      data->SetNumber(i, column, values[column - 2]);
  }
  return data;
}

ScenarioSpec Actual(std::vector<std::string> dims, std::size_t count) {
  ScenarioSpec scenario{"s", "", "ads", "", true, true, std::vector<double>(count, 1.0), {}, {}};
  if (!dims.empty())
    scenario.dimValues = {{"region", {dims[0]}}, {"shelf", {dims[1]}}};
  return scenario;
}
ScenarioGroupSpec Group(std::vector<DimValueFilter> filters) {
  return ScenarioGroupSpec{"P", "ex", "ads", "", true, std::move(filters), {}};
}
// Start, end and, when given, PREDICTTHRU: offsets, or seconds when `dated`.
ScenarioPeriodSpec Period(std::vector<int64_t> v, bool dated = false) {
  ScenarioPeriodSpec period;
  period.relative = !dated, period.hasPredictThru = v.size() > 2;
  period.startTime = v[0], period.endTime = v[1], period.thruTime = v.back();
  period.startPeriods = {static_cast<int32_t>(v[0])},
  period.endPeriods = {static_cast<int32_t>(v[1])};
  period.thruPeriods = {static_cast<int32_t>(v.back())};
  return period;
}

class AnalysisCheckTest : public ::testing::Test, protected tcm_test::RunFrame {
 protected:
  static void SetUpTestSuite() {
    dir_.emplace(std::move(support::TempDir::Create("anlycheck").value()));
    for (const bool shop : {true, false}) {
      host::OutputDocument document;
      host::Session session;
      session.document = &document;
      session.active_dataset = Data();
      host::CommandProcessor processor(session);
      RegisterTCMEntries(processor);
      const std::string time = shop ? "DIMENSIONS=region shelf TIMETYPE=DATETIMEVAR TIMEVAR=day"
                                    : "TIMETYPE=CYCLICPERIODS TIMEVAR=period(TYPE=PERIOD) "
                                      "year(TYPE=CYCLE LEVEL=1 LENGTH=4)";
      const auto outcomes =
          processor.RunSyntax("TCM MODEL /DATASETTINGS " + time +
                                  " /BUILDOPTIONS LAGS=2 /FIELDSGROUP /FIELDS "
                                  "TARGETS=sales INPUTS=ads /OUTFILE MODELSYSTEM='" +
                                  Path(shop) + "'.\n",
                              "m");
      ASSERT_FALSE(outcomes.at(0).had_error) << host::RenderText(document);
    }
  }
  static void TearDownTestSuite() { dir_.reset(); }
  static std::string Path(bool shop) {
    return (dir_->path() / (shop ? "shop" : "cyclic")).string();
  }

  // Reads the model settings and the graph as the reader does, then checks over the model's data.
  bool Check(bool shop, TCMAnlySpec& spec) {
    session_.document = &document_;
    session_.active_dataset = Data();
    scope_ = std::make_unique<host::SessionScope>(session_);
    CFAppHost::getInstance().setLocale("en_US");
    source_ = std::make_unique<ProcedureDataSource>(session_.active_dataset);
    spec.inputModelPath = Path(shop);
    spec.modelTimePoints = 30;
    std::set<int32_t> used;
    ParserMessage& messages = context_.emplace().GetParserMessage();
    EXPECT_TRUE(ReadModelSettings(spec.inputModelPath, spec, spec.modelSettingsJson, used, *source_,
                                  messages));
    ZipReader reader(spec.inputModelPath);
    EXPECT_TRUE(reader.GotoFile("TCMGraph.json") && reader.ExportString(spec.graphJson));
    Open(session_.active_dataset, {used.begin(), used.end()}, "Temporal Causal Model Scenarios");
    tsdp_.emplace(spec, *runner_, *iterator_, spec.modelSettingsJson.c_str());
    EXPECT_TRUE(tsdp_->ConvertTimeStrings());
    return CheckPreparedData(spec, *runner_, *tsdp_, *source_, messages, nullptr);
  }
  // "source(arg,...)" of each message the check raised.
  std::string Raised() {
    std::string text;
    for (const auto& message : context_->GetParserMessage().Raised()) {
      text += message.source + "(";
      for (const std::string& arg : message.args)
        text += arg.empty() ? "" : arg + ",";
      text += ")";
    }
    return text;
  }

  static inline std::optional<support::TempDir> dir_;
  std::optional<CommandContext> context_;
  std::optional<TSDPRunner> tsdp_;
};

TEST_F(AnalysisCheckTest, ExpansionPeriodsAndFaults) {
  struct Case {
    std::string what;
    ScenarioPeriodSpec period;
    std::vector<ScenarioSpec> scenarios;
    std::vector<ScenarioGroupSpec> groups;
    std::vector<TargetListSpec> lists;
    bool passes;
    std::string raised;
    // forecastPeriods, scenarioLength, scenarioStartIndex, then start, end and thru of the
    // period: times, or the cyclic values one list after the other
    std::vector<int64_t> numbers;
    std::vector<std::string> ids; // of the groups' members
    Keys keys;                    // of the first target list
  };
  const TargetListSpec list{
      "", {QuorVarName("sales"), QuorVarName("ads")}, {{"region", {"West"}}}, {}};
  ScenarioPeriodSpec cyclic = Period({0, 0, 0}, true);
  cyclic.startPeriods = {7, 4}, cyclic.endPeriods = {8, 3}, cyclic.thruPeriods = {9, 1};
  const std::vector<std::string> all = {"P_East_A",  "P_East_B",  "P_East_C",  "P_North_A",
                                        "P_North_B", "P_North_C", "P_South_A", "P_South_B",
                                        "P_South_C", "P_West_A",  "P_West_B",  "P_West_C"};
  // clang-format off
  const std::vector<Case> cases = {
      {"relative, PREDICTTHRU from END; a group over all values; a list of two fields",
       Period({1, 3, 2}), {Actual({"East", "B"}, 3)}, {Group({})}, {list}, true, "",
       {3, 3, 31, Day(1, 31), Day(2, 3), Day(2, 5)}, all,
       {{"West", "A", "sales"}, {"West", "B", "sales"}, {"West", "C", "sales"},
        {"West", "A", "ads"}, {"West", "B", "ads"}, {"West", "C", "ads"}}},
      {"dates reaching back", Period({Day(1, 29), Day(2, 1), Day(2, 4)}, true),
       {Actual({"East", "B"}, 4)}, {Group({{"shelf", {"C"}}, {"region", {"West", "North"}}})}, {},
       true, "", {2, 4, 29, Day(1, 29), Day(2, 2), Day(2, 4)}, {"P_West_C", "P_North_C"}, {}},
      {"a period that ends in the data forecasts nothing", Period({-3, -1}), {},
       {Group({{"region", {"East"}}, {"shelf", {"A"}}})}, {}, true, "",
       {0, 3, 27, Day(1, 27), Day(1, 30)}, {"P_East_A"}, {}},
      {"cyclic", cyclic, {Actual({}, 4)}, {}, {}, true, "", {1, 4, 28, 7, 4, 8, 4, 9, 1}, {}, {}},
      {"the second scenario's values miss one", Period({1, 3}),
       {Actual({"East", "A"}, 3), Actual({"West", "C"}, 2)}, {}, {}, false,
       "INVALID_VAL_NUM_KEY(SCENARIO 2,3,2,)", {3, 3}, {}, {}},
      {"no scenario", Period({1, 3}), {}, {}, {list}, false,
       "SubComRequired(SCENARIO, SCENARIOGROUP,)", {}, {}, {}},
      {"an unknown value is reported; the period decides, nothing is expanded", Period({1, 2}),
       {Actual({"Nowhere", "A"}, 2)}, {Group({})}, {}, true,
       "INVALID_DIM_VAL_KEY(SCENARIO 0,Nowhere,region,)", {2, 2, 31}, {}, {}},
      // The engine says why, in the output.
      {"the engine cannot place the start", Period({-40, 1}), {Actual({"East", "A"}, 2)}, {}, {},
       false, "", {}, {}, {}},
  };
  // clang-format on
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    const bool shop = c.what != "cyclic";
    TCMAnlySpec spec;
    spec.scenarioPeriod = c.period, spec.scenarios = c.scenarios;
    spec.scenarioGroups = c.groups, spec.targetLists = c.lists;
    EXPECT_EQ(Check(shop, spec), c.passes);
    EXPECT_EQ(Raised(), c.raised);
    const ScenarioPeriodSpec& period = spec.scenarioPeriod;
    std::vector<int64_t> numbers = {spec.buildOptions.forecastPeriods, spec.scenarioLength,
                                    spec.scenarioStartIndex};
    if (shop)
      numbers.insert(numbers.end(), {period.startTime, period.endTime, period.thruTime});
    for (const auto* list : {&period.startPeriods, &period.endPeriods, &period.thruPeriods})
      numbers.insert(numbers.end(), shop ? list->end() : list->begin(), list->end());
    numbers.resize(c.numbers.size());
    EXPECT_EQ(numbers, c.numbers);
    std::vector<std::string> ids;
    for (const ScenarioGroupSpec& group : spec.scenarioGroups) {
      for (const ScenarioSpec& member : group.scenarios)
        ids.push_back(member.id);
    }
    EXPECT_EQ(ids, c.ids);
    EXPECT_EQ(spec.targetLists.empty() ? Keys{} : spec.targetLists[0].seriesKeys, c.keys);
  }
}

// What expressions read: keys by the scenario's values, sorted by what the model forecasts.
TEST_F(AnalysisCheckTest, ExpressionInputs) {
  TCMAnlySpec spec;
  spec.scenarioPeriod = Period({1, 2});
  spec.scenarios = {Actual({"North", "C"}, 2), Actual({"North", "C"}, 0)};
  spec.scenarios[1].isActual = false;
  spec.scenarios[1].expression = "ex";
  spec.scenarioGroups = {Group({{"region", {"South"}}, {"shelf", {"A"}}}),
                         Group({{"region", {"West"}}, {"shelf", {"B"}}})};
  spec.scenarioGroups[1].expression = "EX"; // another case finds no expression
  spec.expressionFields["EX"] = ExpressionSpec{"ex", {"sales", "ads", "price"}};
  spec.usedExpressions = {"ex"};
  spec.fieldRefCount = 3;
  ASSERT_TRUE(Check(true, spec)) << Raised();
  EXPECT_EQ(spec.scenarios[0].seriesKey, (SeriesKey{"North", "C", "ads"}));
  // clang-format off
  EXPECT_EQ(spec.expressionSeriesKeys,
            (Keys{{"North", "C", "sales"}, {"North", "C", "ads"}, {"North", "C", "price"},
                  {"South", "A", "sales"}, {"South", "A", "ads"}, {"South", "A", "price"}}));
  // clang-format on
  // price is in no model: neither list has it.
  EXPECT_EQ(spec.targetSeriesKeys, (Keys{{"North", "C", "sales"}, {"South", "A", "sales"}}));
  EXPECT_EQ(spec.arSeriesKeys, (Keys{{"North", "C", "ads"}, {"South", "A", "ads"}}));
  // The graph's ID of a key: the codes of its values, then of its metric.
  CFMetaData metaData;
  ASSERT_TRUE(ExtractDataModel(Path(true), metaData));
  for (const auto& [key, text] :
       std::map<SeriesKey, std::string>{{{"North", "C", "sales"}, "2-3-2"},
                                        {{"West", "A", "ads"}, "4-1-1"},
                                        {{"North", "sales"}, ""},
                                        {{"North", "D", "sales"}, ""},
                                        {{"North", "C", "price"}, ""}})
    EXPECT_EQ(SeriesKeyText(key, {"region", "shelf"}, metaData), text);
}

} // namespace
