// Tests of the tsdp:tsdp and rtsdp:rtsdp stages run as whole scripts: grouping, aggregation,
// distribution, valid days and hours, cyclic periods, imputation, dropping, selection, filters,
// the output records, and the way back to the cases.
#include <gtest/gtest.h>

#include "prep_fixture.h"

namespace engine {
namespace {

using testing::Day;
using testing::SameValues;
using testing::TableBuilder;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

class Tsdp : public testing::PrepFixture {};

std::string Methods(const std::string& key) {
  return "\"" + key + R"(":{"s":"SUM","m":"MEAN","o":"MODE","lo":"MIN","hi":"MAX"})";
}

TEST_F(Tsdp, GroupsCasesOfOneDayByEachMethod) {
  // Two cases on Jan 1 (1 and 3), one on Jan 2 (5).
  const std::vector<double> v = {1, 3, 5};
  WriteInput(TableBuilder{}
                 .Numbers("t", {Day(2024, 1, 1, 8), Day(2024, 1, 1, 17), Day(2024, 1, 2)})
                 .Numbers("s", v).Numbers("m", v).Numbers("o", v).Numbers("lo", v).Numbers("hi", v)
                 .table);
  ASSERT_TRUE(RunTsdp(R"({"metricFieldList":["s","m","o","lo","hi"],"dateTimeField":"t",)" +
                      Methods("groupType") + R"(,"inputInterval":"DAY"})"))
      << AllMessages();
  const Table prepared = Output();
  EXPECT_TRUE(SameValues(Values(prepared, "t"), {Day(2024, 1, 1), Day(2024, 1, 2)}));
  EXPECT_TRUE(SameValues(Values(prepared, "s"), {4, 5}));
  EXPECT_TRUE(SameValues(Values(prepared, "m"), {2, 5}));
  EXPECT_TRUE(SameValues(Values(prepared, "o"), {1, 5}));
  EXPECT_TRUE(SameValues(Values(prepared, "lo"), {1, 5}));
  EXPECT_TRUE(SameValues(Values(prepared, "hi"), {3, 5}));
  // Only the row of one case keeps its case number.
  EXPECT_TRUE(SameValues(Values(prepared, "$casecount"), {kNaN, 3}));
  const support::Json output = Record()["output"];
  EXPECT_EQ(output["timeFormat"], "date");
  EXPECT_EQ(output["timeVariable"], support::Json::parse("[19723, 19724]"));
  EXPECT_EQ(output["rowsAreCases"], false);
  EXPECT_EQ(output["series"][0]["id"], "1");
  EXPECT_EQ(output["series"][4]["id"], "5");
  EXPECT_EQ(Record()["settings"]["groupType"]["o"], "MODE");
}

TEST_F(Tsdp, AggregatesDailyCasesToWeeksByEachMethod) {
  // 2024-01-01 is a Monday; two weeks of days with values 1 2 2 4 5 6 7 and 8 .. 14.
  std::vector<double> times, v;
  for (int d = 1; d <= 14; ++d) {
    times.push_back(Day(2024, 1, d));
    v.push_back(d == 3 ? 2 : d);
  }
  WriteInput(TableBuilder{}.Numbers("t", times).Numbers("s", v).Numbers("m", v).Numbers("o", v)
                 .Numbers("lo", v).Numbers("hi", v).table);
  ASSERT_TRUE(RunTsdp(R"({"metricFieldList":["s","m","o","lo","hi"],"dateTimeField":"t",)" +
                      Methods("aggregationType") +
                      R"(,"inputInterval":"DAY","outputInterval":"WEEK","startDayOfWeek":"MONDAY"})"))
      << AllMessages();
  const Table prepared = Output();
  EXPECT_TRUE(SameValues(Values(prepared, "t"), {Day(2024, 1, 1), Day(2024, 1, 8)}));
  EXPECT_TRUE(SameValues(Values(prepared, "s"), {27, 77}));
  EXPECT_TRUE(SameValues(Values(prepared, "m"), {27.0 / 7, 11}));
  EXPECT_TRUE(SameValues(Values(prepared, "o"), {2, 8}));
  EXPECT_TRUE(SameValues(Values(prepared, "lo"), {1, 8}));
  EXPECT_TRUE(SameValues(Values(prepared, "hi"), {7, 14}));
  EXPECT_TRUE(SameValues(Values(prepared, "$casecount"), {kNaN, kNaN}));
  EXPECT_EQ(Record()["output"]["interval"], "WEEK");

  // Weeks from Sunday cut the same days differently: Jan 1..6, then Jan 7..13, then Jan 14.
  ASSERT_TRUE(RunTsdp(R"({"metricFieldList":["s"],"dateTimeField":"t","inputInterval":"DAY",
                          "outputInterval":"WEEK","startDayOfWeek":"SUNDAY"})"));
  EXPECT_TRUE(SameValues(Values(Output(), "s"), {20, 70, 14}));
}

TEST_F(Tsdp, DistributesMonthsToDays) {
  WriteInput(TableBuilder{}
                 .Numbers("t", {Day(2024, 1, 1), Day(2024, 2, 1)})
                 .Numbers("spread", {31, 58}).Numbers("repeat", {31, 58}).table);
  ASSERT_TRUE(RunTsdp(R"({"metricFieldList":["spread","repeat"],"dateTimeField":"t",
      "inputInterval":"MONTH","outputInterval":"DAY","distributionType":{"repeat":"MEAN"}})"))
      << AllMessages();
  const Table prepared = Output();
  ASSERT_EQ(prepared.RowCount(), 60u);  // 31 days of January, 29 of February 2024
  const auto spread = Values(prepared, "spread");
  const auto repeat = Values(prepared, "repeat");
  const auto times = Values(prepared, "t");
  EXPECT_EQ(times[0], Day(2024, 1, 1));
  EXPECT_EQ(times[59], Day(2024, 2, 29));
  EXPECT_DOUBLE_EQ(spread[0], 1);
  EXPECT_DOUBLE_EQ(spread[30], 1);
  EXPECT_DOUBLE_EQ(spread[31], 2);
  EXPECT_DOUBLE_EQ(repeat[30], 31);
  EXPECT_DOUBLE_EQ(repeat[59], 58);
  EXPECT_EQ(Record()["output"]["rowsAreCases"], false);
}

TEST_F(Tsdp, FiveDayWeekAndEightHourDay) {
  // Two weeks of days from Monday: weekends fall outside a five-day week.
  std::vector<double> times, v;
  for (int d = 1; d <= 14; ++d) {
    times.push_back(Day(2024, 1, d));
    v.push_back(d);
  }
  WriteInput(TableBuilder{}.Numbers("t", times).Numbers("x", v).table);
  ASSERT_TRUE(RunTsdp(R"({"metricFieldList":["x"],"dateTimeField":"t","inputInterval":"DAY",
      "numOfDaysPerWeek":5,"startDayOfWeek":"MONDAY"})"));
  EXPECT_TRUE(SameValues(Values(Output(), "x"), {1, 2, 3, 4, 5, 8, 9, 10, 11, 12}));
  EXPECT_TRUE(HasMessage(Severity::kWarning, "4 cases fall outside the valid days"));

  // Every hour of two days; only 09:00 to 16:00 are on the grid, and days sum their eight hours.
  times.clear();
  v.clear();
  for (int h = 0; h < 48; ++h) {
    times.push_back(Day(2024, 1, 2) + h * 3600.0);
    v.push_back(h < 24 ? 1 : 2);
  }
  WriteInput(TableBuilder{}.Numbers("t", times).Numbers("x", v).table);
  ASSERT_TRUE(RunTsdp(R"({"metricFieldList":["x"],"dateTimeField":"t","inputInterval":"HOUR",
      "numOfHoursPerDay":8,"startHourOfDay":9})"));
  const auto hours = Values(Output(), "t");
  ASSERT_EQ(hours.size(), 16u);
  EXPECT_EQ(hours[7], Day(2024, 1, 2, 16));
  EXPECT_EQ(hours[8], Day(2024, 1, 3, 9));
  EXPECT_EQ(Record()["output"]["timeFormat"], "datetime");
  ASSERT_TRUE(RunTsdp(R"({"metricFieldList":["x"],"dateTimeField":"t","inputInterval":"HOUR",
      "numOfHoursPerDay":8,"startHourOfDay":9,"outputInterval":"DAY"})"));
  EXPECT_TRUE(SameValues(Values(Output(), "x"), {8, 16}));
  EXPECT_TRUE(HasMessage(Severity::kWarning, "32 cases fall outside"));
}

TEST_F(Tsdp, DetectsTheInputIntervalAndWarnsWhenTheGivenOneDoesNotFit) {
  // Months with April missing: six of seven gaps are one month, enough to call it MONTH.
  std::vector<double> times, v;
  for (int month : {1, 2, 3, 5, 6, 7, 8, 9}) {
    times.push_back(Day(2024, month, 1));
    v.push_back(month);
  }
  WriteInput(TableBuilder{}.Numbers("t", times).Numbers("x", v).table);
  ASSERT_TRUE(RunTsdp(R"({"metricFieldList":["x"],"dateTimeField":"t","inputInterval":"UNKNOWN"})"))
      << AllMessages();
  EXPECT_EQ(Record()["output"]["interval"], "MONTH");
  EXPECT_TRUE(SameValues(Values(Output(), "x"), {1, 2, 3, 4, 5, 6, 7, 8, 9}));  // April interpolated
  EXPECT_EQ(Record()["output"]["series"][0]["imputed"], 1);
  EXPECT_FALSE(HasMessage(Severity::kWarning, "does not fit"));
  ASSERT_TRUE(RunTsdp(R"({"metricFieldList":["x"],"dateTimeField":"t","inputInterval":"WEEK",
      "outputInterval":"MONTH"})"));
  EXPECT_TRUE(HasMessage(Severity::kWarning, "does not fit the data, whose times are MONTH apart"));
}

TEST_F(Tsdp, CyclicPeriodsWithAndWithoutAggregationLevel) {
  // Years of four quarters; 2020 Q3 has no case.
  WriteInput(TableBuilder{}
                 .Numbers("year", {2020, 2020, 2020, 2021, 2021, 2021, 2021}, Storage::kInteger)
                 .Numbers("quarter", {1, 2, 4, 1, 2, 3, 4}, Storage::kInteger)
                 .Numbers("x", {1, 2, 4, 5, 6, 7, 8}).table);
  const std::string base = R"({"metricFieldList":["x"],"cyclicFieldList":["year","quarter"],
      "cycPeriodList":[4],"cycOffsetList":[1],"inputInterval":"CYCLIC_PERIOD",
      "outputInterval":"CYCLIC_PERIOD")";
  ASSERT_TRUE(RunTsdp(base + "}")) << AllMessages();
  Table prepared = Output();
  EXPECT_TRUE(SameValues(Values(prepared, "quarter"), {1, 2, 3, 4, 1, 2, 3, 4}));
  EXPECT_TRUE(SameValues(Values(prepared, "x"), {1, 2, 3, 4, 5, 6, 7, 8}));
  EXPECT_EQ(prepared.model.fields[prepared.model.Find("year").value()].storage, Storage::kInteger);
  support::Json output = Record()["output"];
  EXPECT_EQ(output["timeFormat"], "CYCLIC_PERIOD");
  EXPECT_EQ(output["timeVariable"]["year"], support::Json::parse("[2020,2020,2020,2020,2021,2021,2021,2021]"));
  EXPECT_EQ(Record()["settings"]["aggreLevel"], 0);

  ASSERT_TRUE(RunTsdp(base + R"(,"aggreLevel":1,"aggregationType":{"x":"SUM"}})")) << AllMessages();
  prepared = Output();
  EXPECT_FALSE(prepared.model.Find("quarter").has_value());
  EXPECT_TRUE(SameValues(Values(prepared, "year"), {2020, 2021}));
  EXPECT_TRUE(SameValues(Values(prepared, "x"), {7, 26}));
  output = Record()["output"];
  EXPECT_EQ(output["timeVariable"], support::Json::parse(R"({"year":[2020,2021]})"));
  EXPECT_EQ(output["cyclicFieldList"], support::Json::parse(R"(["year"])"));
}

TEST_F(Tsdp, TimeTypeNoneKeepsOneRowPerCaseAndComesBack) {
  WriteInput(TableBuilder{}.Numbers("x", {4, kNaN, 6}).Numbers("$casecount", {1, 2, 3}, Storage::kInteger).table);
  ASSERT_TRUE(RunTsdp(R"({"metricFieldList":["x"],"cyclicFieldList":["$casecount"],
      "cycPeriodList":[],"inputInterval":"CYCLIC_PERIOD","outputInterval":"CYCLIC_PERIOD"})"))
      << AllMessages();
  const Table prepared = Output();
  ASSERT_EQ(prepared.columns.size(), 2u);  // the time is the case number itself
  EXPECT_TRUE(SameValues(Values(prepared, "$casecount"), {1, 2, 3}));
  EXPECT_TRUE(SameValues(Values(prepared, "x"), {4, 5, 6}));
  EXPECT_EQ(Record()["output"]["timeVariable"], support::Json::parse(R"({"$casecount":[1,2,3]})"));
  ASSERT_TRUE(RunRtsdp(true)) << AllMessages();
  const Table reversed = Output("reversed");
  EXPECT_TRUE(SameValues(Values(reversed, "$casecount"), {1, 2, 3}));
  EXPECT_TRUE(SameValues(Values(reversed, "$FutureFlag"), {0, 0, 0}));
}

TEST_F(Tsdp, MissingThresholdDropsASeriesWithAMessage) {
  // Two regions over four days: east misses one day (0.25), west two (0.5).
  WriteInput(TableBuilder{}
                 .Texts("region", {"east", "east", "east", "west", "west"})
                 .Numbers("t", {Day(2024, 1, 1), Day(2024, 1, 2), Day(2024, 1, 4), Day(2024, 1, 1),
                                Day(2024, 1, 4)})
                 .Numbers("x", {1, 2, 4, 10, 40}).table);
  ASSERT_TRUE(RunTsdp(R"({"dimFieldList":["region"],"metricFieldList":["x"],"dateTimeField":"t",
      "inputInterval":"DAY","missingValueHandlingThreshold":0.3,"exportQuality":true})", true))
      << AllMessages();
  const Table prepared = Output();
  EXPECT_TRUE(SameValues(Values(prepared, "x"), {1, 2, 3, 4, 10, kNaN, kNaN, 40}));
  const support::Json output = Record()["output"];
  ASSERT_EQ(output["series"].size(), 1u);
  EXPECT_EQ(output["series"][0]["id"], "1-1");
  EXPECT_EQ(output["series"][0]["missing"], 1);
  ASSERT_EQ(output["dropped"].size(), 1u);
  EXPECT_EQ(output["dropped"][0]["id"], "2-1");
  EXPECT_EQ(output["dropped"][0]["dims"], support::Json::parse(R"(["west"])"));
  EXPECT_TRUE(HasMessage(Severity::kWarning, "the series '2-1' is left out: the missing share 0.5 "
                                             "exceeds the threshold 0.3"));
  const support::Json quality = Archive("quality.zip", "TSDPQuality.json");
  ASSERT_EQ(quality["series"].size(), 2u);
  EXPECT_EQ(quality["series"][0]["imputed"], 1);
  EXPECT_EQ(quality["series"][1]["dropped"], true);
  EXPECT_EQ(quality["series"][1]["firstTime"], 19723);
  EXPECT_EQ(quality["series"][1]["lastTime"], 19726);
  // The dimension carries its categories, coded in value order.
  const Field& region = prepared.model.fields[0];
  ASSERT_EQ(region.categories.size(), 2u);
  EXPECT_EQ(region.categories[1].value, "west");
  EXPECT_EQ(region.categories[1].code, 2);
}

TEST_F(Tsdp, EstimationPeriodByTimeAndByCount) {
  std::vector<double> times, v;
  for (int d = 1; d <= 10; ++d) {
    times.push_back(Day(2024, 1, d));
    v.push_back(d);
  }
  WriteInput(TableBuilder{}.Numbers("t", times).Numbers("x", v).table);
  const std::string base = R"({"metricFieldList":["x"],"dateTimeField":"t","inputInterval":"DAY",)";
  ASSERT_TRUE(RunTsdp(base + R"("valuesSelStrategy":"TIME","stdStartTime":)" +
                      std::to_string(static_cast<long long>(Day(2024, 1, 4, 10))) +
                      R"(,"stdEndTime":)" + std::to_string(static_cast<long long>(Day(2024, 1, 6))) + "}"));
  EXPECT_TRUE(SameValues(Values(Output(), "x"), {4, 5, 6}));
  EXPECT_EQ(Record()["output"]["timeVariable"], support::Json::parse("[19726,19727,19728]"));
  ASSERT_TRUE(RunTsdp(base + R"("valuesSelStrategy":"NEWEST","numOfKeptValues":3,"offset":1})"));
  EXPECT_TRUE(SameValues(Values(Output(), "x"), {7, 8, 9}));
  ASSERT_TRUE(RunTsdp(base + R"("valuesSelStrategy":"OLDEST","numOfKeptValues":2,"offset":2})"));
  EXPECT_TRUE(SameValues(Values(Output(), "x"), {3, 4}));
  // A period beyond the data keeps everything, with a warning.
  ASSERT_TRUE(RunTsdp(base + R"("valuesSelStrategy":"TIME","stdStartTime":1900000000})"));
  EXPECT_EQ(Output().RowCount(), 10u);
  EXPECT_TRUE(HasMessage(Severity::kWarning, "the estimation period holds no time point"));
}

TEST_F(Tsdp, SeriesFilterKeepsListedValuesOrFails) {
  WriteInput(TableBuilder{}
                 .Texts("region", {"west", "east", "north", "east"})
                 .Numbers("store", {2, 1, 1, 2}, Storage::kInteger)
                 .Numbers("t", {Day(2024, 1, 1), Day(2024, 1, 1), Day(2024, 1, 1), Day(2024, 1, 2)})
                 .Numbers("x", {1, 2, 3, 4}).table);
  ASSERT_TRUE(RunTsdp(R"({"dimFieldList":["region","store"],"metricFieldList":["x"],
      "dateTimeField":"t","inputInterval":"DAY","missingImputType":"NONE",
      "seriesFilterList":[[{"dimension":"region","values":["east","north"]}]]})"))
      << AllMessages();
  const Table prepared = Output();
  // Combinations east-1, east-2, north-1 over two days.
  ASSERT_EQ(prepared.RowCount(), 6u);
  EXPECT_TRUE(SameValues(Values(prepared, "x"), {2, kNaN, kNaN, 4, 3, kNaN}));
  const support::Json series = Record()["output"]["series"];
  ASSERT_EQ(series.size(), 3u);
  EXPECT_EQ(series[1]["id"], "1-2-1");
  EXPECT_EQ(series[2]["dims"], support::Json::parse(R"(["north","1"])"));
  ASSERT_FALSE(RunTsdp(R"({"dimFieldList":["region"],"metricFieldList":["x"],"dateTimeField":"t",
      "seriesFilterList":[[{"dimension":"region","values":["south"]}]]})"));
  EXPECT_TRUE(HasMessage(Severity::kError, "the series filter leaves no data"));
  ASSERT_FALSE(RunTsdp(R"({"dimFieldList":["region"],"metricFieldList":["nothing"],"dateTimeField":"t"})"));
  EXPECT_TRUE(HasMessage(Severity::kError, "the metric field 'nothing' is not in the data"));
}

TEST_F(Tsdp, RoundTripGivesEveryCaseItsRowBack) {
  // Cases out of order, two regions, a gap on Jan 3 for east; case numbers follow the rows.
  WriteInput(TableBuilder{}
                 .Texts("region", {"west", "east", "west", "east", "west", "east"})
                 .Numbers("t", {Day(2024, 1, 2), Day(2024, 1, 4), Day(2024, 1, 1), Day(2024, 1, 1),
                                Day(2024, 1, 3), Day(2024, 1, 2)})
                 .Numbers("x", {20, 4, 10, 1, 30, 2}, Storage::kInteger)
                 .Numbers("$casecount", {1, 2, 3, 4, 5, 6}, Storage::kInteger)
                 .table);
  ASSERT_TRUE(RunTsdp(R"({"dimFieldList":["region"],"metricFieldList":["x"],"dateTimeField":"t",
      "inputInterval":"DAY"})"))
      << AllMessages();
  const Table prepared = Output();
  EXPECT_TRUE(SameValues(Values(prepared, "$casecount"), {4, 6, kNaN, 2, 3, 1, 5, kNaN}));
  EXPECT_EQ(Record()["output"]["rowsAreCases"], true);
  ASSERT_TRUE(RunRtsdp(true)) << AllMessages();
  const Table reversed = Output("reversed");
  EXPECT_TRUE(SameValues(Values(reversed, "$casecount"), {1, 2, 3, 4, 5, 6}));
  EXPECT_TRUE(SameValues(Values(reversed, "x"), {20, 4, 10, 1, 30, 2}));
  EXPECT_TRUE(SameValues(Values(reversed, "t"), {Day(2024, 1, 2), Day(2024, 1, 4), Day(2024, 1, 1),
                                                 Day(2024, 1, 1), Day(2024, 1, 3), Day(2024, 1, 2)}));
  EXPECT_TRUE(SameValues(Values(reversed, "$FutureFlag"), {0, 0, 0, 0, 0, 0}));
  // The dimension is the input's field again, without the prepared codes.
  EXPECT_TRUE(reversed.model.fields[0].categories.empty());
  ASSERT_TRUE(RunRtsdp(false));
  EXPECT_FALSE(Output("reversed").model.Find("$FutureFlag").has_value());
}

}  // namespace
}  // namespace engine
