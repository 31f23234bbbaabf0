// This file contains the descriptive pass: categories, field statistics and interval detection.
#include "engine/job/descriptive.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <set>
#include <unordered_map>

#include "engine/data/table.h"
#include "support/json_util.h"
#include "support/text.h"
#include "support/time.h"
#include "support/xml_util.h"

namespace engine {
namespace {

// Share of the gaps that the winning step must cover for the data to count as regular.
constexpr double kRegularShare = 0.8;

struct FieldStats {
  std::size_t valid = 0;
  std::size_t missing = 0;
  std::size_t distinct = 0;
  bool exceeded = false;
};

// The existing label of a value: numbers match by value (so "1.0" labels 1), texts by bytes.
std::string LabelFor(const Field& field, const std::string& value, std::optional<double> number) {
  for (const Category& category : field.categories) {
    if (category.label.empty()) continue;
    if (number) {
      auto existing = support::ParseNumber(category.value);
      if (existing && *existing == *number) return category.label;
    } else if (category.value == value) {
      return category.label;
    }
  }
  return {};
}

// Fills the categories of `field` from `column` and counts its values. Distinct values are
// ordered numerically for numbers and by bytes for texts (std::string compares bytes unsigned).
FieldStats Categorize(const Column& column, int max_categories, Field& field) {
  FieldStats stats;
  std::set<double> numbers;
  std::set<std::string> texts;
  const bool is_text = column.storage() == Storage::kString;
  for (std::size_t row = 0; row < column.size(); ++row) {
    if (column.IsMissing(row)) {
      ++stats.missing;
      continue;
    }
    ++stats.valid;
    if (is_text) {
      texts.insert(column.Text(row));
    } else {
      const double value = column.AsNumber(row);
      numbers.insert(value == 0.0 ? 0.0 : value);  // -0 and 0 are one category
    }
  }
  stats.distinct = is_text ? texts.size() : numbers.size();
  stats.exceeded = stats.distinct > static_cast<std::size_t>(std::max(max_categories, 0));
  std::vector<Category> categories;
  if (!stats.exceeded) {
    int code = 0;
    if (is_text) {
      for (const std::string& text : texts) {
        categories.push_back({text, ++code, LabelFor(field, text, std::nullopt)});
      }
    } else {
      for (double number : numbers) {
        std::string text = support::FormatNumber(number);
        std::string label = LabelFor(field, text, number);
        categories.push_back({std::move(text), ++code, std::move(label)});
      }
    }
  }
  field.categories = std::move(categories);
  return stats;
}

std::string StatXml(const std::vector<std::string>& names, const std::vector<FieldStats>& stats) {
  pugi::xml_document document;
  pugi::xml_node root = document.append_child("FieldSummaries");
  for (std::size_t i = 0; i < names.size(); ++i) {
    pugi::xml_node summary = root.append_child("FieldSummary");
    summary.append_attribute("fieldName").set_value(names[i].c_str());
    pugi::xml_node distribution = summary.append_child("DistributionSummary");
    distribution.append_attribute("maxCatsExceeded")
        .set_value(stats[i].exceeded ? "true" : "false");
    distribution.append_attribute("categoryCount")
        .set_value(static_cast<unsigned long long>(stats[i].distinct));
    distribution.append_attribute("validCount")
        .set_value(static_cast<unsigned long long>(stats[i].valid));
    distribution.append_attribute("missingCount")
        .set_value(static_cast<unsigned long long>(stats[i].missing));
  }
  return support::WriteXml(document, true);
}

// The interval rule. Within each series (one combination of the dimension values, a missing
// value counting as a value of its own) the distinct time values are sorted, and every gap
// between neighbours is classed as one step: exactly 1 s SECOND, 60 s MINUTE, 3600 s HOUR,
// 86400 s DAY, 7 days WEEK; 3 days from a Friday to a Monday is also DAY (a five-day business
// week); a gap at the same time of day, on the same day of month (or on the last day of both
// months), 1, 3 or 12 calendar months apart is MONTH, QUARTER or YEAR. The gaps of all series
// are pooled; the step with the most gaps wins when it covers at least 80% of them, which leaves
// room for a few holes. Anything else, or no gap at all, is IRREGULAR.
enum class Step { kSecond, kMinute, kHour, kDay, kWeek, kMonth, kQuarter, kYear, kOther };
constexpr std::array<const char*, 8> kStepNames = {"SECOND", "MINUTE", "HOUR", "DAY",
                                                   "WEEK",   "MONTH",  "QUARTER", "YEAR"};

bool IsMonthEnd(const support::CivilTime& t) {
  return t.day == support::DaysInMonth(t.year, t.month);
}

Step ClassifyGap(std::int64_t from, std::int64_t to) {
  const std::int64_t gap = to - from;
  switch (gap) {
    case 1: return Step::kSecond;
    case 60: return Step::kMinute;
    case 3600: return Step::kHour;
    case support::kSecondsPerDay: return Step::kDay;
    case 7 * support::kSecondsPerDay: return Step::kWeek;
    default: break;
  }
  const auto floor_day = [](std::int64_t seconds) {
    std::int64_t days = seconds / support::kSecondsPerDay;
    return seconds % support::kSecondsPerDay < 0 ? days - 1 : days;
  };
  if (gap == 3 * support::kSecondsPerDay && support::Weekday(floor_day(from)) == 5 &&
      support::Weekday(floor_day(to)) == 1) {
    return Step::kDay;
  }
  if (gap < 28 * support::kSecondsPerDay) return Step::kOther;
  const support::CivilTime a = support::FromSeconds(from);
  const support::CivilTime b = support::FromSeconds(to);
  if (a.hour != b.hour || a.minute != b.minute || a.second != b.second) return Step::kOther;
  if (a.day != b.day && !(IsMonthEnd(a) && IsMonthEnd(b))) return Step::kOther;
  const std::int64_t months = (b.year - a.year) * 12 + (b.month - a.month);
  if (months == 1) return Step::kMonth;
  if (months == 3) return Step::kQuarter;
  if (months == 12) return Step::kYear;
  return Step::kOther;
}

// A key of the row's dimension values that tells series apart: per dimension a missing mark, or
// a present mark with the value's bytes (length-prefixed texts, the bits of a number).
std::string SeriesKey(const Table& table, const std::vector<std::size_t>& dims, std::size_t row) {
  std::string key;
  for (std::size_t index : dims) {
    const Column& column = table.columns[index];
    if (column.IsMissing(row)) {
      key.push_back('\0');
      continue;
    }
    key.push_back('\1');
    if (column.storage() == Storage::kString) {
      const std::string& text = column.Text(row);
      const std::uint64_t length = text.size();
      key.append(reinterpret_cast<const char*>(&length), sizeof length);
      key.append(text);
    } else {
      double value = column.AsNumber(row);
      if (value == 0.0) value = 0.0;
      key.append(reinterpret_cast<const char*>(&value), sizeof value);
    }
  }
  return key;
}

std::string DetectInterval(const Table& table, std::size_t time_index,
                           const std::vector<std::size_t>& dims) {
  const Column& times = table.columns[time_index];
  if (times.storage() == Storage::kString) return "IRREGULAR";
  std::unordered_map<std::string, std::vector<std::int64_t>> series;
  for (std::size_t row = 0; row < times.size(); ++row) {
    if (times.IsMissing(row)) continue;
    const double value = times.AsNumber(row);
    // Beyond this no calendar is meaningful; such a value cannot be a date.
    if (!std::isfinite(value) || std::fabs(value) > 1e15) continue;
    series[SeriesKey(table, dims, row)].push_back(std::llround(value));
  }
  std::array<std::size_t, kStepNames.size()> counts{};
  std::size_t gaps = 0;
  for (auto& [key, values] : series) {
    std::sort(values.begin(), values.end());
    values.erase(std::unique(values.begin(), values.end()), values.end());
    for (std::size_t i = 1; i < values.size(); ++i) {
      ++gaps;
      const Step step = ClassifyGap(values[i - 1], values[i]);
      if (step != Step::kOther) ++counts[static_cast<std::size_t>(step)];
    }
  }
  if (gaps == 0) return "IRREGULAR";
  const auto best = std::max_element(counts.begin(), counts.end());
  if (static_cast<double>(*best) < kRegularShare * static_cast<double>(gaps)) return "IRREGULAR";
  return kStepNames[static_cast<std::size_t>(best - counts.begin())];
}

}  // namespace

bool Describe(const Table& table, const DescriptiveRequest& request, DescriptiveResult& result,
              std::string& error) {
  result = DescriptiveResult{};
  if (!table.IsConsistent()) {
    error = "the table to describe is inconsistent: its columns do not match its data model";
    return false;
  }
  // Each name once, in the order first given.
  std::vector<std::string> names;
  std::vector<std::size_t> indexes;
  for (const std::string& name : request.fields) {
    auto index = table.model.Find(name);
    if (!index) {
      error = "the field '" + name + "' is not in the data";
      return false;
    }
    if (std::find(indexes.begin(), indexes.end(), *index) != indexes.end()) continue;
    names.push_back(name);
    indexes.push_back(*index);
  }
  std::vector<std::size_t> time_indexes;
  for (const std::string& name : request.time_fields) {
    auto index = table.model.Find(name);
    if (!index) {
      error = "the time field '" + name + "' is not in the data";
      return false;
    }
    time_indexes.push_back(*index);
  }

  DataModel model = table.model;
  std::vector<FieldStats> stats;
  for (std::size_t index : indexes) {
    stats.push_back(Categorize(table.columns[index], request.max_categories, model.fields[index]));
  }
  result.data_model_xml = DataModelToXml(model);
  result.stat_xml = StatXml(names, stats);

  if (time_indexes.empty()) return true;
  support::OrderedJson intervals = support::OrderedJson::array();
  for (std::size_t i = 0; i < time_indexes.size(); ++i) {
    std::string interval = "IRREGULAR";
    // Period numbers have no calendar, so no interval can be read from them.
    if (request.is_date_time) {
      std::vector<std::size_t> dims;
      for (std::size_t index : indexes) {
        if (std::find(time_indexes.begin(), time_indexes.end(), index) == time_indexes.end()) {
          dims.push_back(index);
        }
      }
      interval = DetectInterval(table, time_indexes[i], dims);
    }
    support::OrderedJson entry = support::OrderedJson::object();
    entry["timeField"] = request.time_fields[i];
    entry["timeInterval"] = interval;
    intervals.push_back(std::move(entry));
  }
  support::OrderedJson document = support::OrderedJson::object();
  document["intervalResults"] = std::move(intervals);
  auto text = support::DumpJson(document, support::JsonStyle::kCompact);
  if (!text) {
    error = "the interval findings cannot be written: " + text.message();
    return false;
  }
  result.interval_json = std::move(*text);
  return true;
}

}  // namespace engine
