// Tests of the preparation's parts: the calendar grid, cyclic indexes, reduction methods,
// imputation, the estimation period and the options record.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "engine/prep/cells.h"
#include "engine/prep/options.h"
#include "engine/prep/prepare.h"
#include "engine/series/time_grid.h"
#include "prep_fixture.h"

namespace engine {
namespace {

using testing::Day;
using testing::SameValues;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

TEST(TimeGrid, CalendarStepsWeeksAndWindows) {
  // Month steps keep the day of the month, clamped to the month's end.
  EXPECT_EQ(NextTimePoint(Day(2024, 1, 31), Interval::kMonth), Day(2024, 2, 29));
  EXPECT_EQ(NextTimePoint(Day(2024, 11, 15), Interval::kQuarter), Day(2025, 2, 15));
  EXPECT_EQ(NextTimePoint(Day(2023, 3, 1), Interval::kYear, 2), Day(2025, 3, 1));
  EXPECT_EQ(NextTimePoint(Day(2024, 3, 1, 23), Interval::kHour, 2), Day(2024, 3, 2, 1));

  TimeGrid week;
  week.interval = Interval::kWeek;
  week.start_day_of_week = 1;  // Monday; 2024-01-04 is a Thursday
  EXPECT_EQ(week.Floor(Day(2024, 1, 4, 13)), Day(2024, 1, 1));
  EXPECT_EQ(week.Floor(Day(2024, 1, 1)), Day(2024, 1, 1));
  TimeGrid quarter;
  quarter.interval = Interval::kQuarter;
  EXPECT_EQ(quarter.Floor(Day(2024, 6, 30, 5)), Day(2024, 4, 1));

  // A five-day week from Monday: Friday is followed by Monday.
  TimeGrid business;
  business.interval = Interval::kDay;
  business.days_per_week = 5;
  business.start_day_of_week = 1;
  EXPECT_FALSE(business.IsValid(Day(2024, 1, 6)));
  EXPECT_EQ(business.Next(Day(2024, 1, 5)), Day(2024, 1, 8));
  EXPECT_EQ(business.Previous(Day(2024, 1, 8)), Day(2024, 1, 5));

  // An eight-hour day from 09:00.
  TimeGrid shift;
  shift.interval = Interval::kHour;
  shift.hours_per_day = 8;
  shift.start_hour = 9;
  EXPECT_TRUE(shift.IsValid(Day(2024, 1, 2, 16)));
  EXPECT_FALSE(shift.IsValid(Day(2024, 1, 2, 17)));
  EXPECT_EQ(shift.Next(Day(2024, 1, 2, 16)), Day(2024, 1, 3, 9));
  EXPECT_EQ(shift.Previous(Day(2024, 1, 3, 9)), Day(2024, 1, 2, 16));

  // A night shift 20:00 to 04:00: its early hours belong to the day it began, unless not asked.
  TimeGrid night;
  night.interval = Interval::kHour;
  night.hours_per_day = 8;
  night.start_hour = 20;
  EXPECT_EQ(night.DayOf(Day(2024, 1, 3, 2)), Day(2024, 1, 2));
  EXPECT_EQ(night.Next(Day(2024, 1, 3, 3)), Day(2024, 1, 3, 20));
  night.one_day_for_cross_day = false;
  EXPECT_EQ(night.DayOf(Day(2024, 1, 3, 2)), Day(2024, 1, 3));
}

TEST(CyclicAxis, RunningIndexAndTruncation) {
  CyclicAxis axis;
  axis.fields = {"year", "quarter", "month"};
  axis.lengths = {4, 3};
  axis.offsets = {1, 1};
  const std::vector<std::int64_t> values = {2020, 3, 2};
  const auto index = axis.Index(values);
  ASSERT_TRUE(index.has_value());
  EXPECT_EQ(*index, (2020 * 4 + 2) * 3 + 1);
  EXPECT_EQ(axis.Values(*index), values);
  EXPECT_EQ(axis.Values(*index + 2), (std::vector<std::int64_t>{2020, 4, 1}));
  const std::vector<std::int64_t> outside = {2020, 5, 1};
  EXPECT_FALSE(axis.Index(outside).has_value());
  EXPECT_EQ(axis.UnitsPer(2), 3);
  EXPECT_EQ(axis.UnitsPer(1), 12);
  EXPECT_EQ(axis.Truncated(2).fields, (std::vector<std::string>{"year", "quarter"}));
  EXPECT_EQ(axis.Truncated(2).lengths, (std::vector<std::int64_t>{4}));
}

TEST(Cells, ReduceMethodsSkipMissing) {
  std::vector<double> values = {3, kNaN, 1, 3, 2, 1};
  auto reduce = [&](Reduce method) {
    std::vector<double> copy = values;
    return ReduceValues(method, copy);
  };
  EXPECT_DOUBLE_EQ(reduce(Reduce::kSum), 10);
  EXPECT_DOUBLE_EQ(reduce(Reduce::kMean), 2);
  EXPECT_DOUBLE_EQ(reduce(Reduce::kMode), 1);  // 1 and 3 twice each: the smaller
  EXPECT_DOUBLE_EQ(reduce(Reduce::kMin), 1);
  EXPECT_DOUBLE_EQ(reduce(Reduce::kMax), 3);
  std::vector<double> none = {kNaN, kNaN};
  EXPECT_TRUE(std::isnan(ReduceValues(Reduce::kSum, none)));
}

TEST(Cells, EveryImputationMethodOnASeriesWithGaps) {
  const std::vector<double> gaps = {kNaN, 2, kNaN, kNaN, 8, kNaN};
  auto impute = [&](Imputation method, int k, std::vector<double> series, std::size_t& count) {
    count = Impute(method, k, series);
    return series;
  };
  std::size_t count = 0;
  EXPECT_TRUE(SameValues(impute(Imputation::kLinearInterp, 1, gaps, count), {2, 2, 4, 6, 8, 8}));
  EXPECT_EQ(count, 4u);
  EXPECT_TRUE(SameValues(impute(Imputation::kSeriesMean, 1, gaps, count), {5, 2, 5, 5, 8, 5}));
  EXPECT_TRUE(SameValues(impute(Imputation::kKMean, 1, gaps, count), {2, 2, 5, 5, 8, 8}));
  EXPECT_TRUE(SameValues(impute(Imputation::kLinearTrend, 1, gaps, count), {0, 2, 4, 6, 8, 10}));
  EXPECT_TRUE(SameValues(impute(Imputation::kNone, 1, gaps, count), gaps));
  EXPECT_EQ(count, 0u);
  // Two neighbours each side: at t=4 the values 3, 10 before and 4, 6 after.
  const std::vector<double> longer = {1, kNaN, 3, 10, kNaN, 4, 6};
  EXPECT_TRUE(SameValues(impute(Imputation::kKMedian, 2, longer, count), {1, 3, 3, 10, 5, 4, 6}));
  EXPECT_TRUE(SameValues(impute(Imputation::kKMean, 2, longer, count),
                         {1, 14.0 / 3, 3, 10, 5.75, 4, 6}));
  // Nothing to fill from.
  EXPECT_TRUE(SameValues(impute(Imputation::kLinearInterp, 1, {kNaN, kNaN}, count), {kNaN, kNaN}));
  EXPECT_EQ(count, 0u);
}

TEST(Cells, DistributionSplitsOrRepeats) {
  Cells cells;
  cells.combo = {0, 0};
  cells.point = {0, 1};
  cells.case_number = {1, 2};
  cells.values = {{30, 6}, {30, 6}};
  // Point 0 covers three finer points, point 1 one.
  const Cells out = DistributeCells(cells, {0, 3, 4}, {Spread::kSum, Spread::kMean});
  EXPECT_EQ(out.point, (std::vector<std::int64_t>{0, 1, 2, 3}));
  EXPECT_TRUE(SameValues(out.values[0], {10, 10, 10, 6}));
  EXPECT_TRUE(SameValues(out.values[1], {30, 30, 30, 6}));
  EXPECT_EQ(out.case_number, (std::vector<std::int32_t>{-1, -1, -1, 2}));
  EXPECT_TRUE(out.merged);
}

TEST(Selection, EachStrategyOnTenPoints) {
  std::vector<double> points;
  for (int d = 1; d <= 10; ++d) points.push_back(Day(2024, 1, d));
  std::size_t first = 0, last = 0;
  ASSERT_TRUE(SelectPeriod(Selection::kNone, 10, points, 0, 0, 0, 0, first, last));
  EXPECT_EQ(first, 0u);
  EXPECT_EQ(last, 9u);
  ASSERT_TRUE(SelectPeriod(Selection::kNewest, 10, points, 0, 0, 3, 1, first, last));
  EXPECT_EQ(first, 6u);
  EXPECT_EQ(last, 8u);
  ASSERT_TRUE(SelectPeriod(Selection::kOldest, 10, points, 0, 0, 2, 2, first, last));
  EXPECT_EQ(first, 2u);
  EXPECT_EQ(last, 3u);
  // A start inside the period of day 4 keeps day 4.
  ASSERT_TRUE(SelectPeriod(Selection::kTime, 10, points, Day(2024, 1, 4, 10), Day(2024, 1, 6), 0,
                           0, first, last));
  EXPECT_EQ(first, 3u);
  EXPECT_EQ(last, 5u);
  EXPECT_FALSE(SelectPeriod(Selection::kTime, 10, points, Day(2024, 2, 1), INFINITY, 0, 0, first, last));
  EXPECT_FALSE(SelectPeriod(Selection::kNewest, 10, points, 0, 0, 3, 10, first, last));
  EXPECT_FALSE(SelectPeriod(Selection::kOldest, 10, points, 0, 0, 3, 10, first, last));
}

TEST(Options, DefaultsSettingsRoundTripAndFaults) {
  MessageQueue messages;
  TsdpOptions options;
  auto conf = support::ParseJson(R"({"metricFieldList":["a","b"],"dateTimeField":"t",
      "groupType":{"a":"MEAN"},"distributionType":{"b":"MEAN"},"inputInterval":"HOUR",
      "numOfValidPointsPerDay":4,"increments":6,"startDayOfWeek":"TUESDAY",
      "missingImputType":"K_MEDIAN","kMedianParam":3,"missingValueHandlingThreshold":0.25,
      "valuesSelStrategy":"TIME","stdStartTime":86400})");
  ASSERT_TRUE(conf.ok());
  ASSERT_TRUE(ReadTsdpOptions(*conf, "", messages, options));
  EXPECT_EQ(options.GroupOf("a"), Reduce::kMean);
  EXPECT_EQ(options.GroupOf("b"), Reduce::kSum);
  EXPECT_EQ(options.DistributionOf("b"), Spread::kMean);
  EXPECT_EQ(options.hours_per_day, 24);  // four points of six hours
  EXPECT_EQ(options.imputation, Imputation::kKMedian);
  EXPECT_EQ(options.std_start, 86400);
  // The settings record reads back into the same options.
  const support::OrderedJson settings = SettingsJson(options);
  EXPECT_EQ(settings["groupType"]["b"], "SUM");
  EXPECT_EQ(settings["startDayOfWeek"], "TUESDAY");
  TsdpOptions again;
  ASSERT_TRUE(ReadTsdpOptions(support::Json::parse(settings.dump()), "", messages, again));
  EXPECT_EQ(SettingsJson(again), settings);

  const auto fails = [&](const std::string& text, const std::string& part) {
    MessageQueue queue;
    TsdpOptions ignored;
    auto json = support::ParseJson(text);
    EXPECT_TRUE(json.ok());
    EXPECT_FALSE(ReadTsdpOptions(*json, "", queue, ignored)) << text;
    return !queue.all().empty() && queue.all()[0].text.find(part) != std::string::npos;
  };
  EXPECT_TRUE(fails(R"({"metricFieldList":["a"],"dateTimeField":"t","groupType":{"a":"MEDIAN"}})",
                    "unknown method"));
  EXPECT_TRUE(fails(R"({"metricFieldList":["a"]})", "names the time"));
  EXPECT_TRUE(fails(R"({"metricFieldList":["a"],"cyclicFieldList":["y","p"]})", "cycPeriodList"));
  EXPECT_TRUE(fails(R"({"metricFieldList":["a"],"dateTimeField":"t","inputInterval":"FORTNIGHT"})",
                    "inputInterval"));
  EXPECT_TRUE(fails(R"({"metricFieldList":["a"],"dateTimeField":"t","missingValueHandlingThreshold":2})",
                    "missingValueHandlingThreshold"));
}

}  // namespace
}  // namespace engine
