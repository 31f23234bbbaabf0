// This file contains the preparation pipeline: cases, grid, estimation period, missing values,
// and the prepared table with its output record and quality report.
#include "engine/prep/prepare.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "engine/prep/cases.h"
#include "engine/prep/cells.h"
#include "engine/prep/time_axis.h"
#include "engine/series/panel.h"
#include "support/progress.h"
#include "support/text.h"
#include "support/time.h"

namespace engine {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
// Dropped series named one by one in messages; the rest are counted.
constexpr std::size_t kNamedDrops = 20;

struct SeriesRecord {
  std::string id;
  std::size_t combo = 0;
  std::size_t metric = 0;
  std::int64_t first = -1;  // window index of the first and last observed value
  std::int64_t last = -1;
  std::size_t points = 0;   // observed values
  std::size_t missing = 0;
  std::size_t imputed = 0;
  std::string reason;       // empty when kept
};

CyclicAxis FullAxis(const TsdpOptions& options) {
  CyclicAxis axis;
  axis.fields = options.cyclic_fields;
  axis.lengths = options.cyc_periods;
  axis.offsets = options.cyc_offsets;
  return axis;
}

// The time of a window point in the form of timeVariable: day numbers, seconds, or the values
// of the kept cyclic fields.
support::OrderedJson TimeValue(const AnalysisAxis& axis, bool by_days, double point) {
  if (axis.cyclic) return axis.cyclic_axis.Values(static_cast<std::int64_t>(point));
  if (by_days) return point / static_cast<double>(support::kSecondsPerDay);
  return point;
}

std::string FormatShare(double share) {
  return support::FormatNumber(std::round(share * 10000.0) / 10000.0);
}

bool TimeBounds(const TsdpOptions& options, const AnalysisAxis& axis, const std::string& place,
                MessageQueue& messages, double& start, double& end) {
  start = -INFINITY;
  end = INFINITY;
  if (!axis.cyclic) {
    if (options.std_start) start = static_cast<double>(*options.std_start);
    if (options.std_end) end = static_cast<double>(*options.std_end);
    return true;
  }
  const std::size_t fields = axis.cyclic_axis.fields.size();
  const auto read = [&](const std::vector<std::int64_t>& values, const char* key, double& bound) {
    if (values.empty()) return true;
    if (values.size() != fields) {
      return messages.Error(place + "'" + key + "' must have " + std::to_string(fields) +
                            " values, one for each cyclic field kept");
    }
    auto index = axis.cyclic_axis.Index(values);
    if (!index) return messages.Error(place + "'" + key + "' names a period outside its cycle");
    bound = static_cast<double>(*index);
    return true;
  };
  return read(options.non_std_start, "nonStdStartTime", start) &&
         read(options.non_std_end, "nonStdEndTime", end);
}

}  // namespace

bool SelectPeriod(Selection selection, std::size_t count, const std::vector<double>& points,
                  double start, double end, std::int64_t kept_values, std::int64_t offset,
                  std::size_t& first, std::size_t& last) {
  if (count == 0) return false;
  const auto n = static_cast<std::int64_t>(count);
  std::int64_t lo = 0, hi = n - 1;
  const std::int64_t keep = kept_values > 0 ? kept_values : n;
  switch (selection) {
    case Selection::kNone: break;
    case Selection::kTime: {
      // The point whose period holds `start`, through the last point not after `end`.
      lo = static_cast<std::int64_t>(std::upper_bound(points.begin(), points.end(), start) -
                                     points.begin()) - 1;
      lo = std::max<std::int64_t>(lo, 0);
      hi = static_cast<std::int64_t>(std::upper_bound(points.begin(), points.end(), end) -
                                     points.begin()) - 1;
      if (start > points.back()) return false;
      break;
    }
    case Selection::kNewest:
      hi = n - 1 - offset;
      lo = std::max<std::int64_t>(0, hi - keep + 1);
      break;
    case Selection::kOldest:
      lo = offset;
      hi = std::min(n - 1, lo + keep - 1);
      break;
  }
  if (hi < lo || hi < 0 || lo >= n) return false;
  first = static_cast<std::size_t>(lo);
  last = static_cast<std::size_t>(hi);
  return true;
}

bool Prepare(const Table& input, const TsdpOptions& options, const std::string& place,
             MessageQueue& messages, PreparedData& result) {
  result = PreparedData{};
  result.settings = SettingsJson(options);
  const CyclicAxis full_axis = FullAxis(options);
  CaseSet cases;
  if (!ReadCases(input, options, full_axis, place, messages, cases)) return false;
  AnalysisAxis axis;
  Cells cells;
  if (!PlaceOnGrid(cases, options, full_axis, place, messages, axis, cells)) return false;

  // Dense values: per metric a combination-major matrix over all grid points.
  const std::size_t combos = cases.combos.size();
  const std::size_t grid = axis.points.size();
  const std::size_t metrics = options.metrics.size();
  if (static_cast<double>(combos) * static_cast<double>(grid) * static_cast<double>(metrics + 1) > 4e8) {
    return messages.Error(place + "the prepared data would hold " + std::to_string(combos) +
                          " combinations by " + std::to_string(grid) +
                          " time points, more than memory allows");
  }
  std::vector<std::vector<double>> dense(metrics, std::vector<double>(combos * grid, kNaN));
  std::vector<std::int32_t> numbers(combos * grid, -1);
  for (std::size_t i = 0; i < cells.size(); ++i) {
    const std::size_t at = cells.combo[i] * grid + static_cast<std::size_t>(cells.point[i]);
    for (std::size_t m = 0; m < metrics; ++m) dense[m][at] = cells.values[m][i];
    numbers[at] = cells.case_number[i];
  }

  // The estimation period.
  double start = 0, end = 0;
  if (!TimeBounds(options, axis, place, messages, start, end)) return false;
  std::size_t first = 0, last = grid - 1;
  if (!SelectPeriod(options.selection, grid, axis.points, start, end, options.kept_values,
                    options.offset, first, last)) {
    messages.Warning(place + "the estimation period holds no time point of the data; all " +
                     std::to_string(grid) + " time points are kept");
    first = 0;
    last = grid - 1;
  }
  const std::size_t window = last - first + 1;

  // Series: missing share, dropping, imputation.
  std::vector<SeriesRecord> records;
  std::size_t drops = 0;
  support::ProgressTotal(combos * metrics);
  for (std::size_t c = 0; c < combos; ++c) {
    for (std::size_t m = 0; m < metrics; ++m) {
      support::ProgressStep();
      SeriesRecord record;
      record.combo = c;
      record.metric = m;
      std::vector<std::string> pieces;
      for (std::size_t d = 0; d < options.dims.size(); ++d) {
        pieces.push_back(options.encode_series_id ? std::to_string(cases.combos[c].codes[d])
                                                  : cases.combos[c].texts[d]);
      }
      pieces.push_back(options.encode_series_id ? std::to_string(m + 1) : options.metrics[m]);
      record.id = support::Join(pieces, "-");
      std::span<double> values(dense[m].data() + c * grid + first, window);
      for (std::size_t t = 0; t < window; ++t) {
        if (std::isnan(values[t])) continue;
        ++record.points;
        if (record.first < 0) record.first = static_cast<std::int64_t>(t);
        record.last = static_cast<std::int64_t>(t);
      }
      record.missing = window - record.points;
      const double share = static_cast<double>(record.missing) / static_cast<double>(window);
      if (record.points == 0) {
        record.reason = "the series has no valid value in the estimation period";
      } else if (share > options.missing_threshold) {
        record.reason = "the missing share " + FormatShare(share) + " exceeds the threshold " +
                        FormatShare(options.missing_threshold);
      } else {
        record.imputed = Impute(options.imputation,
                                options.imputation == Imputation::kKMedian ? options.k_median
                                                                           : options.k_mean,
                                values);
      }
      if (!record.reason.empty() && drops++ < kNamedDrops) {
        messages.Warning(place + "the series '" + record.id + "' is left out: " + record.reason);
      }
      records.push_back(std::move(record));
    }
  }
  if (drops > kNamedDrops) {
    messages.Warning(place + std::to_string(drops - kNamedDrops) + " more series are left out");
  }

  // The prepared table.
  Table& table = result.table;
  const std::size_t rows = combos * window;
  for (std::size_t d = 0; d < options.dims.size(); ++d) {
    const Column& source = input.columns[cases.dim_columns[d]];
    Column column(source.storage());
    column.Reserve(rows);
    for (std::size_t c = 0; c < combos; ++c) {
      for (std::size_t t = 0; t < window; ++t) column.AppendFrom(source, cases.combos[c].row);
    }
    table.AddColumn(cases.dim_fields[d], std::move(column));
  }
  const auto time_field = [&](std::size_t column_index, Storage storage) {
    Field field = input.model.fields[column_index];
    field.storage = storage;
    field.categories.clear();
    field.base.clear();
    return field;
  };
  bool time_is_casecount = false;
  if (axis.cyclic) {
    for (std::size_t f = 0; f < axis.cyclic_axis.fields.size(); ++f) {
      Column column(Storage::kInteger);
      column.Reserve(rows);
      for (std::size_t c = 0; c < combos; ++c) {
        for (std::size_t t = first; t <= last; ++t) {
          const auto values = axis.cyclic_axis.Values(static_cast<std::int64_t>(axis.points[t]));
          column.AppendInt(static_cast<std::int32_t>(values[f]));
        }
      }
      time_is_casecount = time_is_casecount || axis.cyclic_axis.fields[f] == kCaseCountField;
      table.AddColumn(time_field(cases.time_columns[f], Storage::kInteger), std::move(column));
    }
  } else {
    Column column(Storage::kReal);
    column.Reserve(rows);
    for (std::size_t c = 0; c < combos; ++c) {
      for (std::size_t t = first; t <= last; ++t) column.AppendReal(axis.points[t]);
    }
    table.AddColumn(time_field(cases.time_columns[0], Storage::kReal), std::move(column));
  }
  for (std::size_t m = 0; m < metrics; ++m) {
    Column column(Storage::kReal);
    column.Reserve(rows);
    for (std::size_t c = 0; c < combos; ++c) {
      for (std::size_t t = first; t <= last; ++t) column.AppendReal(dense[m][c * grid + t]);
    }
    Field field = time_field(cases.metric_columns[m], Storage::kReal);
    if (field.measurement.empty()) field.measurement = "continuous";
    table.AddColumn(std::move(field), std::move(column));
  }
  if (!time_is_casecount) {
    Column column(Storage::kInteger);
    column.Reserve(rows);
    for (std::size_t c = 0; c < combos; ++c) {
      for (std::size_t t = first; t <= last; ++t) {
        const std::int32_t number = numbers[c * grid + t];
        if (number > 0) {
          column.AppendInt(number);
        } else {
          column.AppendMissing();
        }
      }
    }
    Field field;
    field.name = kCaseCountField;
    field.storage = Storage::kInteger;
    field.measurement = "continuous";
    table.AddColumn(std::move(field), std::move(column));
  }

  // The output record.
  using support::OrderedJson;
  const bool by_days = !axis.cyclic && axis.grid.interval >= Interval::kDay;
  OrderedJson& output = result.output;
  output = OrderedJson::object();
  output["timeFormat"] = axis.cyclic ? "CYCLIC_PERIOD" : (by_days ? "date" : "datetime");
  if (axis.cyclic) {
    OrderedJson variable = OrderedJson::object();
    for (std::size_t f = 0; f < axis.cyclic_axis.fields.size(); ++f) {
      OrderedJson list = OrderedJson::array();
      for (std::size_t t = first; t <= last; ++t) {
        list.push_back(axis.cyclic_axis.Values(static_cast<std::int64_t>(axis.points[t]))[f]);
      }
      variable[axis.cyclic_axis.fields[f]] = std::move(list);
    }
    output["timeVariable"] = std::move(variable);
  } else {
    OrderedJson list = OrderedJson::array();
    for (std::size_t t = first; t <= last; ++t) list.push_back(TimeValue(axis, by_days, axis.points[t]));
    output["timeVariable"] = std::move(list);
  }
  output["timeField"] = options.time_field;
  output["interval"] = axis.cyclic ? "CYCLIC_PERIOD" : IntervalName(axis.grid.interval);
  output["increment"] = axis.cyclic ? 1 : axis.grid.increment;
  output["inputInterval"] = axis.input_interval;
  output["daysPerWeek"] = axis.grid.days_per_week;
  output["startDayOfWeek"] = support::ToUpperAscii(support::WeekdayName(axis.grid.start_day_of_week));
  output["hoursPerDay"] = axis.grid.hours_per_day;
  output["startHourOfDay"] = axis.grid.start_hour;
  output["oneDayForHoursCrossDay"] = axis.grid.one_day_for_cross_day;
  if (axis.cyclic) {
    output["cyclicFieldList"] = axis.cyclic_axis.fields;
    output["cycPeriodList"] = axis.cyclic_axis.lengths;
    output["cycOffsetList"] = axis.cyclic_axis.offsets;
    output["aggreLevel"] = options.aggre_level.value_or(0);
  }
  output["dimFieldList"] = options.dims;
  output["metricFieldList"] = options.metrics;
  output["timePoints"] = window;
  output["combinations"] = combos;
  output["rowsAreCases"] = !cells.merged;
  OrderedJson series = OrderedJson::array();
  OrderedJson dropped = OrderedJson::array();
  OrderedJson quality = OrderedJson::array();
  for (const SeriesRecord& record : records) {
    OrderedJson entry = OrderedJson::object();
    entry["id"] = record.id;
    entry["dims"] = cases.combos[record.combo].texts;
    entry["metric"] = options.metrics[record.metric];
    entry["combination"] = record.combo;
    OrderedJson report = entry;
    if (record.reason.empty()) {
      entry["first"] = record.first;
      entry["last"] = record.last;
      entry["points"] = record.points;
      entry["missing"] = record.missing;
      entry["imputed"] = record.imputed;
      series.push_back(std::move(entry));
    } else {
      entry["reason"] = record.reason;
      dropped.push_back(std::move(entry));
    }
    if (!options.export_quality) continue;
    if (record.points > 0) {
      report["firstTime"] = TimeValue(axis, by_days, axis.points[first + static_cast<std::size_t>(record.first)]);
      report["lastTime"] = TimeValue(axis, by_days, axis.points[first + static_cast<std::size_t>(record.last)]);
    } else {
      report["firstTime"] = nullptr;
      report["lastTime"] = nullptr;
    }
    report["points"] = record.points;
    report["missing"] = record.missing;
    report["imputed"] = record.imputed;
    report["dropped"] = !record.reason.empty();
    report["reason"] = record.reason;
    quality.push_back(std::move(report));
  }
  output["series"] = std::move(series);
  output["dropped"] = std::move(dropped);
  // The input's own fields, so the reverse stage can give the data their form back.
  DataModel fields;
  for (std::size_t index : cases.dim_columns) fields.fields.push_back(input.model.fields[index]);
  for (std::size_t index : cases.time_columns) fields.fields.push_back(input.model.fields[index]);
  for (std::size_t index : cases.metric_columns) fields.fields.push_back(input.model.fields[index]);
  output["inputFields"] = DataModelToXml(fields);

  if (options.export_quality) {
    OrderedJson& report = result.quality;
    report = OrderedJson::object();
    report["casesRead"] = input.RowCount();
    report["casesPrepared"] = cases.time.size();
    report["casesWithoutTime"] = cases.without_time;
    report["casesOutsideCycle"] = cases.outside_cycle;
    report["timeFormat"] = output["timeFormat"];
    report["interval"] = output["interval"];
    report["inputInterval"] = axis.input_interval;
    report["timePoints"] = window;
    report["firstTime"] = TimeValue(axis, by_days, axis.points[first]);
    report["lastTime"] = TimeValue(axis, by_days, axis.points[last]);
    report["imputation"] = ImputationName(options.imputation);
    report["missingValueHandlingThreshold"] = options.missing_threshold;
    report["series"] = std::move(quality);
  }
  return true;
}

}  // namespace engine
