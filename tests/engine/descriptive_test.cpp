// Tests of the descriptive pass: interval detection per series, categories with codes and labels,
// the category limit, the statistics XML, and the descriptive job over an input stream.
#include <gtest/gtest.h>

#include <random>

#include "engine/job/descriptive.h"
#include "engine/job/job.h"
#include "support/json_util.h"
#include "support/time.h"
#include "support/xml_util.h"

namespace engine {
namespace {

std::int64_t Day(int y, int m, int d) {
  return support::DaysFromCivil(y, m, d) * support::kSecondsPerDay;
}

// Rows of (series name, time value); an empty name is a missing dimension value.
using Rows = std::vector<std::pair<std::string, double>>;

Table SeriesTable(const Rows& rows) {
  Column region(Storage::kString);
  Column time(Storage::kReal);
  for (const auto& [name, value] : rows) {
    if (name.empty()) {
      region.AppendMissing();
    } else {
      region.AppendText(name);
    }
    time.AppendReal(value);
  }
  Table table;
  table.AddColumn({"region", Storage::kString, "nominal", "", "", "", {}}, std::move(region));
  table.AddColumn({"t", Storage::kReal, "", "", "", "", {}}, std::move(time));
  return table;
}

// The interval detected for `t`, with `region` as the dimension unless `pooled`.
std::string Interval(const Rows& rows, bool pooled = false, bool is_date_time = true) {
  DescriptiveRequest request;
  if (!pooled) request.fields = {"region"};
  request.time_fields = {"t"};
  request.is_date_time = is_date_time;
  DescriptiveResult result;
  std::string error;
  EXPECT_TRUE(Describe(SeriesTable(rows), request, result, error)) << error;
  auto json = support::ParseJson(result.interval_json);
  EXPECT_TRUE(json.ok()) << result.interval_json;
  if (!json.ok()) return "";
  const auto& entry = (*json)["intervalResults"][0];
  EXPECT_EQ(entry["timeField"], "t");
  return entry["timeInterval"].get<std::string>();
}

// `count` values from `start`, each `step` seconds apart, for every named series.
Rows Regular(const std::vector<std::string>& names, std::int64_t start, std::int64_t step,
             int count) {
  Rows rows;
  for (const std::string& name : names) {
    for (int i = 0; i < count; ++i) rows.emplace_back(name, double(start + i * step));
  }
  return rows;
}

// Dates stepping by `months` calendar months from a day of month.
Rows Monthly(const std::string& name, int year, int month, int day, int months, int count) {
  Rows rows;
  for (int i = 0; i < count; ++i) {
    const int index = (month - 1) + i * months;
    rows.emplace_back(name, double(Day(year + index / 12, index % 12 + 1, day)));
  }
  return rows;
}

TEST(DescriptiveInterval, RegularSteps) {
  const std::int64_t d = support::kSecondsPerDay;
  // Series start half a day apart: pooled, the gaps are 12 hours; per series they are days.
  Rows daily = Regular({"east"}, Day(2020, 1, 1), d, 30);
  Rows west = Regular({"west"}, Day(2020, 1, 5) + d / 2, d, 30);
  daily.insert(daily.end(), west.begin(), west.end());
  daily.emplace_back("", double(Day(2020, 3, 1)));  // a series of one value adds no gap
  daily.emplace_back("east", daily[3].second);       // repeated values count once
  daily.emplace_back("east", -1e300);                // system-missing-like values are skipped
  std::shuffle(daily.begin(), daily.end(), std::mt19937(7));
  EXPECT_EQ(Interval(daily), "DAY");
  EXPECT_EQ(Interval(daily, /*pooled=*/true), "IRREGULAR");

  EXPECT_EQ(Interval(Regular({"a", "b"}, Day(2019, 12, 30), 7 * d, 20)), "WEEK");
  EXPECT_EQ(Interval(Regular({"a"}, Day(2020, 2, 28), 3600, 100)), "HOUR");
  EXPECT_EQ(Interval(Regular({"a"}, Day(2020, 2, 28) + 30, 60, 100)), "MINUTE");
  EXPECT_EQ(Interval(Regular({"a"}, Day(2020, 2, 28), 1, 100)), "SECOND");

  // Months of 28 to 31 days, across a leap February; and month ends.
  Rows monthly = Monthly("a", 2019, 11, 15, 1, 20);
  Rows other = Monthly("b", 2019, 6, 1, 1, 20);
  monthly.insert(monthly.end(), other.begin(), other.end());
  EXPECT_EQ(Interval(monthly), "MONTH");
  Rows ends;
  for (int m = 1; m <= 12; ++m) {
    ends.emplace_back("a", double(Day(2020, m, support::DaysInMonth(2020, m))));
  }
  EXPECT_EQ(Interval(ends), "MONTH");
  EXPECT_EQ(Interval(Monthly("a", 2018, 1, 1, 3, 12)), "QUARTER");
  EXPECT_EQ(Interval(Monthly("a", 2018, 2, 10, 3, 12)), "QUARTER");
  EXPECT_EQ(Interval(Monthly("a", 1995, 1, 1, 12, 20)), "YEAR");
}

TEST(DescriptiveInterval, BusinessDaysIrregularAndPeriods) {
  // Four weeks of Monday to Friday (2020-01-06 is a Monday) with two holidays: 13 one-day gaps,
  // 3 weekend gaps and 2 two-day gaps. Only the weekend rule lifts the day share past 80%.
  Rows business;
  for (int day = 0; day < 28; ++day) {
    const std::int64_t t = Day(2020, 1, 6) + day * support::kSecondsPerDay;
    const int weekday = support::Weekday(t / support::kSecondsPerDay);
    if (weekday == 0 || weekday == 6 || day == 9 || day == 16) continue;
    business.emplace_back("a", double(t));
  }
  ASSERT_EQ(business.size(), 18u);
  EXPECT_EQ(Interval(business), "DAY");
  // Three-day gaps that are not weekends are no business week.
  EXPECT_EQ(Interval(Regular({"a"}, Day(2020, 1, 6), 3 * support::kSecondsPerDay, 20)),
            "IRREGULAR");

  std::mt19937 random(11);
  std::uniform_int_distribution<std::int64_t> gap(1, 10 * support::kSecondsPerDay);
  Rows irregular;
  for (const char* name : {"a", "b", "c"}) {
    std::int64_t t = Day(2020, 1, 1);
    for (int i = 0; i < 40; ++i) irregular.emplace_back(name, double(t += gap(random)));
  }
  EXPECT_EQ(Interval(irregular), "IRREGULAR");
  // Daily with too many holes: 6 of 10 gaps are days.
  Rows holes = Regular({"a"}, Day(2020, 1, 1), support::kSecondsPerDay, 7);
  for (int i = 0; i < 4; ++i) holes.emplace_back("a", double(Day(2020, 2, 2 + 3 * i)));
  EXPECT_EQ(Interval(holes), "IRREGULAR");
  // One distinct value, and no value at all.
  EXPECT_EQ(Interval({{"a", double(Day(2020, 1, 1))}, {"b", double(Day(2020, 1, 1))}}),
            "IRREGULAR");
  EXPECT_EQ(Interval({{"a", -1e300}}), "IRREGULAR");
  // Period numbers have no calendar.
  EXPECT_EQ(Interval(Regular({"a"}, 1, 1, 50), false, /*is_date_time=*/false), "IRREGULAR");
}

TEST(Descriptive, CategoriesLimitsAndStatistics) {
  Column units(Storage::kReal);
  for (double v : {3.0, 1.0, 2.0, 1.0, -0.0, 0.0}) units.AppendReal(v);
  units.AppendMissing();
  Column name(Storage::kString);
  for (const char* v : {"b", "a", "B", "a", "", "c", "b"}) {
    if (*v) {
      name.AppendText(v);
    } else {
      name.AppendMissing();
    }
  }
  Table table;
  // An old label of 2 written as "2.0", and a stale category that the data no longer have.
  table.AddColumn({"a&b <units>", Storage::kReal, "nominal", "", "", "",
                   {{"2.0", 7, "two"}, {"9", 1, "nine"}}},
                  std::move(units));
  table.AddColumn({"name", Storage::kString, "nominal", "", "", "", {{"a", 5, "Alpha"}}},
                  std::move(name));

  DescriptiveRequest request;
  request.fields = {"a&b <units>", "name", "name"};
  request.max_categories = 4;  // units has 4 distinct values, name has 4
  DescriptiveResult result;
  std::string error;
  ASSERT_TRUE(Describe(table, request, result, error)) << error;
  EXPECT_TRUE(result.interval_json.empty());
  auto model = DataModelFromXml(result.data_model_xml);
  ASSERT_TRUE(model.ok()) << model.message();
  const std::vector<Category> unit_categories = {
      {"0", 1, ""}, {"1", 2, ""}, {"2", 3, "two"}, {"3", 4, ""}};
  EXPECT_EQ(model->fields[0].categories, unit_categories);
  // Texts in byte order: upper case first.
  const std::vector<Category> name_categories = {
      {"B", 1, ""}, {"a", 2, "Alpha"}, {"b", 3, ""}, {"c", 4, ""}};
  EXPECT_EQ(model->fields[1].categories, name_categories);
  EXPECT_EQ(model->fields[1].measurement, "nominal");

  auto stats = support::ParseXml(result.stat_xml);
  ASSERT_TRUE(stats.ok()) << result.stat_xml;
  auto summaries = support::FindElements(*stats, "FieldSummaries/FieldSummary");
  ASSERT_EQ(summaries.size(), 2u);  // a field named twice is summarised once
  EXPECT_EQ(support::Attribute(summaries[0], "fieldName"), "a&b <units>");
  pugi::xml_node units_summary = support::Child(summaries[0], "DistributionSummary");
  EXPECT_EQ(support::Attribute(units_summary, "maxCatsExceeded"), "false");
  EXPECT_EQ(support::AttributeInt(units_summary, "categoryCount", -1), 4);
  EXPECT_EQ(support::AttributeInt(units_summary, "validCount", -1), 6);
  EXPECT_EQ(support::AttributeInt(units_summary, "missingCount", -1), 1);

  // One below the count: both fields exceed and keep no categories.
  request.max_categories = 3;
  ASSERT_TRUE(Describe(table, request, result, error)) << error;
  model = DataModelFromXml(result.data_model_xml);
  ASSERT_TRUE(model.ok());
  EXPECT_TRUE(model->fields[0].categories.empty());
  EXPECT_TRUE(model->fields[1].categories.empty());
  stats = support::ParseXml(result.stat_xml);
  ASSERT_TRUE(stats.ok());
  summaries = support::FindElements(*stats, "FieldSummaries/FieldSummary");
  ASSERT_EQ(summaries.size(), 2u);
  pugi::xml_node name_summary = support::Child(summaries[1], "DistributionSummary");
  EXPECT_EQ(support::Attribute(summaries[1], "fieldName"), "name");
  EXPECT_EQ(support::Attribute(name_summary, "maxCatsExceeded"), "true");
  EXPECT_EQ(support::AttributeInt(name_summary, "validCount", -1), 6);
  EXPECT_EQ(support::AttributeInt(name_summary, "missingCount", -1), 1);

  // A missing field is named, and nothing of a result is left.
  request.fields = {"name", "nope"};
  EXPECT_FALSE(Describe(table, request, result, error));
  EXPECT_NE(error.find("'nope'"), std::string::npos);
  EXPECT_TRUE(result.stat_xml.empty());
  request.fields = {"name"};
  request.time_fields = {"when"};
  EXPECT_FALSE(Describe(table, request, result, error));
  EXPECT_NE(error.find("'when'"), std::string::npos);
}

// An input stream of a text dimension and a real date per row.
class DatedStream : public InputStream {
 public:
  explicit DatedStream(Rows rows) : rows_(std::move(rows)) {}
  std::string Name() const override { return "_activeTCMDataset_"; }
  std::string DataModelXml() const override {
    DataModel model;
    model.fields.push_back({"region", Storage::kString, "nominal", "", "", "", {}});
    model.fields.push_back({"day", Storage::kReal, "", "", "", "", {}});
    return DataModelToXml(model);
  }
  bool Next() override { return ++row_ < static_cast<long>(rows_.size()); }
  bool Value(std::size_t index, const void** data, std::size_t* length) override {
    if (row_ < 0 || row_ >= static_cast<long>(rows_.size()) || index > 1) return false;
    if (index == 0) {
      *data = rows_[row_].first.data();
      *length = rows_[row_].first.size();
    } else {
      *data = &rows_[row_].second;
      *length = 8;
    }
    return true;
  }

 private:
  Rows rows_;
  long row_ = -1;
};

TEST(Descriptive, JobOverAnInputStream) {
  const std::string script =
      "val readerConf = {\"dataSource\":\"_activeTCMDataset_\",\"readErrorThreshold\":-1}\n"
      "read(readerConf)";
  Job job;
  ASSERT_TRUE(job.Prepare(script)) << job.Messages().front().text;
  job.AddInputIterator(std::make_shared<DatedStream>(
      Regular({"north", "east"}, Day(2021, 3, 1), 7 * support::kSecondsPerDay, 10)));
  DescriptiveRequest request;
  request.fields = {"region"};
  request.time_fields = {"day"};
  request.is_date_time = true;
  DescriptiveResult result;
  ASSERT_TRUE(job.ExecuteDescriptive(request, result)) << job.Messages().front().text;
  EXPECT_EQ(result.interval_json,
            R"({"intervalResults":[{"timeField":"day","timeInterval":"WEEK"}]})");
  auto model = DataModelFromXml(result.data_model_xml);
  ASSERT_TRUE(model.ok());
  ASSERT_EQ(model->fields.size(), 3u);  // with the reader's $casecount
  const std::vector<Category> regions = {{"east", 1, ""}, {"north", 2, ""}};
  EXPECT_EQ(model->fields[0].categories, regions);
  EXPECT_TRUE(job.Messages().empty());

  // A field the data lack: false, and the message names it.
  job.AddInputIterator(std::make_shared<DatedStream>(Rows{{"north", double(Day(2021, 3, 1))}}));
  request.fields = {"region", "city"};
  EXPECT_FALSE(job.ExecuteDescriptive(request, result));
  ASSERT_EQ(job.Messages().size(), 1u);
  EXPECT_EQ(job.Messages()[0].severity, Severity::kError);
  EXPECT_NE(job.Messages()[0].text.find("'city'"), std::string::npos);
  EXPECT_TRUE(result.data_model_xml.empty());

  // An unprepared job reports and does not throw.
  Job idle;
  EXPECT_FALSE(idle.ExecuteDescriptive(request, result));
  ASSERT_EQ(idle.Messages().size(), 1u);
  EXPECT_NE(idle.Messages()[0].text.find("not prepared"), std::string::npos);
}

}  // namespace
}  // namespace engine
