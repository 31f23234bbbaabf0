// Tests of the series panel over prepared data, the result table with future rows, the way back
// of scored data, and the convertor of time specifications.
#include <gtest/gtest.h>

#include "engine/series/panel.h"
#include "prep_fixture.h"

namespace engine {
namespace {

using testing::Day;
using testing::SameValues;
using testing::TableBuilder;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

class Panel : public testing::PrepFixture {
 protected:
  // Two stores over January to March 2024, two metrics; store 2 has no cost in February.
  void PrepareMonths() {
    WriteInput(TableBuilder{}
                   .Numbers("store", {1, 1, 1, 2, 2, 2}, Storage::kInteger)
                   .Numbers("t", {Day(2024, 1, 1), Day(2024, 2, 1), Day(2024, 3, 1), Day(2024, 1, 1),
                                  Day(2024, 2, 1), Day(2024, 3, 1)})
                   .Numbers("sales", {1, 2, 3, 10, 20, 30})
                   .Numbers("cost", {5, 6, 7, 50, kNaN, 70})
                   .table);
    ASSERT_TRUE(RunTsdp(R"({"dimFieldList":["store"],"metricFieldList":["sales","cost"],
        "dateTimeField":"t","inputInterval":"MONTH","missingImputType":"NONE"})"))
        << AllMessages();
  }
};

TEST_F(Panel, BuildsValuesAndWritesResultsWithFutureRows) {
  PrepareMonths();
  const Table prepared = Output();
  const support::Json output = Record()["output"];
  auto panel = BuildSeriesPanel(prepared, output);
  ASSERT_TRUE(panel.ok()) << panel.message();
  ASSERT_EQ(panel->TimeCount(), 3u);
  ASSERT_EQ(panel->series.size(), 4u);
  EXPECT_EQ(panel->combinations, 2u);
  EXPECT_EQ(panel->series[3].id, "2-2");
  EXPECT_EQ(panel->series[3].dims, std::vector<std::string>{"2"});
  EXPECT_EQ(panel->Find("2-1"), 2);
  EXPECT_EQ(panel->times[2], Day(2024, 3, 1));
  EXPECT_DOUBLE_EQ(panel->values(1, 2), 20);
  EXPECT_TRUE(std::isnan(panel->values(1, 3)));
  EXPECT_EQ(panel->axis.Advance(panel->times[2], 2), Day(2024, 5, 1));
  EXPECT_EQ(panel->axis.Advance(panel->times[0], -1), Day(2023, 12, 1));

  // Predictions: series s at row r is 100 s + r.
  Eigen::MatrixXd predicted(5, 4);
  for (int r = 0; r < 5; ++r) {
    for (int s = 0; s < 4; ++s) predicted(r, s) = 100.0 * s + r;
  }
  auto table = MakeResultTable(prepared, *panel, {{"_predicted", predicted}}, 2);
  ASSERT_TRUE(table.ok()) << table.message();
  ASSERT_EQ(table->RowCount(), 10u);
  EXPECT_TRUE(SameValues(Values(*table, "t"),
                         {Day(2024, 1, 1), Day(2024, 2, 1), Day(2024, 3, 1), Day(2024, 4, 1),
                          Day(2024, 5, 1), Day(2024, 1, 1), Day(2024, 2, 1), Day(2024, 3, 1),
                          Day(2024, 4, 1), Day(2024, 5, 1)}));
  EXPECT_TRUE(SameValues(Values(*table, "store"), {1, 1, 1, 1, 1, 2, 2, 2, 2, 2}));
  EXPECT_TRUE(SameValues(Values(*table, "$FutureFlag"), {0, 0, 0, 1, 1, 0, 0, 0, 1, 1}));
  EXPECT_TRUE(SameValues(Values(*table, "sales"), {1, 2, 3, kNaN, kNaN, 10, 20, 30, kNaN, kNaN}));
  EXPECT_TRUE(SameValues(Values(*table, "cost_predicted"), {100, 101, 102, 103, 104, 300, 301, 302, 303, 304}));
  EXPECT_TRUE(SameValues(Values(*table, "$casecount"), {1, 2, 3, kNaN, kNaN, 4, 5, 6, kNaN, kNaN}));
  EXPECT_FALSE(MakeResultTable(prepared, *panel, {{"_LCI", Eigen::MatrixXd(3, 4)}}, 2).ok());

  // Scored data come back as cases, then the future rows, flagged.
  ASSERT_TRUE(WriteAsbfWithModel(Path("scored.asbf"), Path("scored.xml"), *table).ok());
  ASSERT_TRUE(RunRtsdp(true, "scored")) << AllMessages();
  const Table reversed = Output("reversed");
  EXPECT_TRUE(SameValues(Values(reversed, "$casecount"), {1, 2, 3, 4, 5, 6, kNaN, kNaN, kNaN, kNaN}));
  EXPECT_TRUE(SameValues(Values(reversed, "$FutureFlag"), {0, 0, 0, 0, 0, 0, 1, 1, 1, 1}));
  EXPECT_TRUE(SameValues(Values(reversed, "sales_predicted"),
                         {0, 1, 2, 200, 201, 202, 3, 4, 203, 204}));
}

TEST_F(Panel, RejectsATableOfAnotherShape) {
  PrepareMonths();
  Table prepared = Output();
  const support::Json output = Record()["output"];
  Table shorter = prepared;
  for (Column& column : shorter.columns) {
    Column cut(column.storage());
    for (std::size_t row = 0; row < 5; ++row) cut.AppendFrom(column, row);
    column = std::move(cut);
  }
  EXPECT_FALSE(BuildSeriesPanel(shorter, output).ok());
  support::Json broken = output;
  broken["metricFieldList"] = support::Json::parse(R"(["sales","profit"])");
  EXPECT_FALSE(BuildSeriesPanel(prepared, broken).ok());
}

TEST_F(Panel, ConvertorGivesTimePointsFromTheLastObservation) {
  PrepareMonths();
  const auto convert = [&](const std::string& api) {
    return Run("val inConf = [{\"name\":\"JSON\",\"uri\":\"" + Uri("prep.zip") +
               "\"}]\nval outConf = [{\"export\":false,\"name\":\"JSON\",\"uri\":\"" +
               Uri("points.zip") + "\"}]\nval apiConf = " + api +
               "\ntsdp:convertor(apiConf,inConf,outConf)");
  };
  ASSERT_TRUE(convert(R"({"apiType":"NEWEST","startIndex":-1,"endIndex":2})")) << AllMessages();
  support::Json points = Archive("points.zip", "TIME_POINTS.json");
  EXPECT_EQ(points["referIndexFromLastObservation"], support::Json::parse("[-1,0,1,2]"));
  ASSERT_EQ(points["timePoints"].size(), 4u);
  EXPECT_EQ(points["timePoints"][0], static_cast<std::int64_t>(Day(2024, 2, 1)));
  EXPECT_EQ(points["timePoints"][3], static_cast<std::int64_t>(Day(2024, 5, 1)));

  ASSERT_TRUE(convert(R"({"apiType":"TIME","stdStartTime":)" +
                      std::to_string(static_cast<std::int64_t>(Day(2024, 3, 15))) +
                      R"(,"stdEndTime":)" + std::to_string(static_cast<std::int64_t>(Day(2024, 5, 2))) +
                      "}"))
      << AllMessages();
  points = Archive("points.zip", "TIME_POINTS.json");
  EXPECT_EQ(points["referIndexFromLastObservation"], support::Json::parse("[0,1,2]"));
  EXPECT_EQ(points["timePoints"][0], static_cast<std::int64_t>(Day(2024, 3, 1)));

  EXPECT_FALSE(convert(R"({"apiType":"TIME","stdStartTime":0,"stdEndTime":1})"));
  EXPECT_TRUE(HasMessage(Severity::kError, "before the first time point"));
  EXPECT_FALSE(convert(R"({"apiType":"LATEST"})"));
}

TEST_F(Panel, ConvertorOnCyclicTime) {
  WriteInput(TableBuilder{}
                 .Numbers("year", {2020, 2020, 2020, 2020}, Storage::kInteger)
                 .Numbers("quarter", {1, 2, 3, 4}, Storage::kInteger)
                 .Numbers("x", {1, 2, 3, 4}).table);
  ASSERT_TRUE(RunTsdp(R"({"metricFieldList":["x"],"cyclicFieldList":["year","quarter"],
      "cycPeriodList":[4],"cycOffsetList":[1]})"))
      << AllMessages();
  ASSERT_TRUE(Run("val inConf = [{\"name\":\"JSON\",\"uri\":\"" + Uri("prep.zip") +
                  "\"}]\nval outConf = [{\"name\":\"JSON\",\"uri\":\"" + Uri("points.zip") +
                  "\"}]\nval apiConf = {\"apiType\":\"TIME\",\"nonStdStartTime\":[2020,4],"
                  "\"nonStdEndTime\":[2021,2]}\ntsdp:convertor(apiConf,inConf,outConf)"))
      << AllMessages();
  const support::Json points = Archive("points.zip", "TIME_POINTS.json");
  EXPECT_EQ(points["referIndexFromLastObservation"], support::Json::parse("[0,1,2]"));
  EXPECT_EQ(points["timePoints"], support::Json::parse("[[2020,4],[2021,1],[2021,2]]"));
}

}  // namespace
}  // namespace engine
