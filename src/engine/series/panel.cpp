// This file contains the series panel over prepared data and the result table built from it.
#include "engine/series/panel.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>

#include "support/time.h"

namespace engine {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

support::Error Fail(std::string message) { return support::Error{std::move(message)}; }

std::vector<std::int64_t> IntList(const support::Json& output, const char* key) {
  std::vector<std::int64_t> list;
  if (const auto* member = support::FindMember(output, key); member && member->is_array()) {
    for (const auto& element : *member) {
      if (element.is_number()) list.push_back(static_cast<std::int64_t>(element.get<double>()));
    }
  }
  return list;
}

}  // namespace

double PanelAxis::Advance(double point, std::int64_t steps) const {
  if (IsCyclic()) return point + static_cast<double>(steps);
  for (; steps > 0; --steps) point = grid.Next(point);
  for (; steps < 0; ++steps) point = grid.Previous(point);
  return point;
}

std::vector<std::int64_t> PanelAxis::CyclicValues(double point) const {
  if (!IsCyclic()) return {};
  return cyclic.Values(static_cast<std::int64_t>(std::llround(point)));
}

support::Result<PanelAxis> AxisFromOutput(const support::Json& output) {
  PanelAxis axis;
  if (!output.is_object()) return Fail("the preparation output is not an object");
  axis.time_format = support::GetString(output, "timeFormat");
  const support::Json* variable = support::FindMember(output, "timeVariable");
  if (axis.time_format.empty() || variable == nullptr) {
    return Fail("the preparation output lacks 'timeFormat' or 'timeVariable'");
  }
  if (axis.IsCyclic()) {
    axis.cyclic.fields = support::GetStringList(output, "cyclicFieldList");
    axis.cyclic.lengths = IntList(output, "cycPeriodList");
    axis.cyclic.offsets = IntList(output, "cycOffsetList");
    if (axis.cyclic.fields.empty() || !variable->is_object()) {
      return Fail("the cyclic time of the preparation output has no fields");
    }
    if (axis.cyclic.lengths.size() + 1 < axis.cyclic.fields.size()) {
      return Fail("'cycPeriodList' of the preparation output is too short");
    }
    axis.cyclic.offsets.resize(axis.cyclic.fields.size() - 1, 1);
    std::vector<std::vector<std::int64_t>> columns;
    for (const std::string& field : axis.cyclic.fields) {
      columns.push_back(IntList(*variable, field.c_str()));
      if (columns.back().size() != columns.front().size()) {
        return Fail("the time points of '" + field + "' differ in number from the others");
      }
    }
    std::vector<std::int64_t> values(columns.size());
    for (std::size_t t = 0; t < columns.front().size(); ++t) {
      for (std::size_t f = 0; f < columns.size(); ++f) values[f] = columns[f][t];
      auto index = axis.cyclic.Index(values);
      if (!index) return Fail("time point " + std::to_string(t + 1) + " lies outside its cycle");
      axis.points.push_back(static_cast<double>(*index));
    }
    return axis;
  }
  auto interval = IntervalFromName(support::GetString(output, "interval"));
  if (!interval) return Fail("the preparation output names no known 'interval'");
  axis.time_field = support::GetString(output, "timeField");
  axis.grid.interval = *interval;
  axis.grid.increment = static_cast<int>(std::max<std::int64_t>(support::GetInt(output, "increment", 1), 1));
  axis.grid.days_per_week = static_cast<int>(support::GetInt(output, "daysPerWeek", 7));
  axis.grid.start_day_of_week =
      WeekdayFromName(support::GetString(output, "startDayOfWeek", "SUNDAY")).value_or(0);
  axis.grid.hours_per_day = static_cast<int>(support::GetInt(output, "hoursPerDay", 24));
  axis.grid.start_hour = static_cast<int>(support::GetInt(output, "startHourOfDay", 0));
  axis.grid.one_day_for_cross_day = support::GetBool(output, "oneDayForHoursCrossDay", true);
  if (!variable->is_array()) return Fail("'timeVariable' of the preparation output is no array");
  const double scale = axis.time_format == "date" ? static_cast<double>(support::kSecondsPerDay) : 1.0;
  for (const auto& element : *variable) {
    if (!element.is_number()) return Fail("'timeVariable' holds a value that is no number");
    axis.points.push_back(element.get<double>() * scale);
  }
  return axis;
}

std::ptrdiff_t SeriesPanel::Find(const std::string& id) const {
  for (std::size_t i = 0; i < series.size(); ++i) {
    if (series[i].id == id) return static_cast<std::ptrdiff_t>(i);
  }
  return -1;
}

support::Result<SeriesPanel> BuildSeriesPanel(const Table& prepared, const support::Json& output) {
  auto axis = AxisFromOutput(output);
  if (!axis) return axis.error();
  SeriesPanel panel;
  panel.axis = std::move(*axis);
  panel.times = panel.axis.points;
  panel.dim_fields = support::GetStringList(output, "dimFieldList");
  panel.metric_fields = support::GetStringList(output, "metricFieldList");
  const std::size_t time_count = panel.times.size();
  const std::size_t rows = prepared.RowCount();
  if (time_count == 0) {
    if (rows != 0) return Fail("the prepared data have rows but the preparation has no time point");
  } else if (rows % time_count != 0) {
    return Fail("the prepared data have " + std::to_string(rows) + " rows, not a multiple of " +
                std::to_string(time_count) + " time points");
  }
  panel.combinations = time_count == 0 ? 0 : rows / time_count;
  std::vector<const Column*> metric_columns;
  for (const std::string& metric : panel.metric_fields) {
    auto index = prepared.model.Find(metric);
    if (!index) return Fail("the metric field '" + metric + "' is not in the prepared data");
    metric_columns.push_back(&prepared.columns[*index]);
  }
  const support::Json* series = support::FindMember(output, "series");
  if (series != nullptr && series->is_array()) {
    for (const auto& entry : *series) {
      SeriesInfo info;
      info.id = support::GetString(entry, "id");
      info.dims = support::GetStringList(entry, "dims");
      info.metric = support::GetString(entry, "metric");
      const std::int64_t combination = support::GetInt(entry, "combination", -1);
      auto metric = std::find(panel.metric_fields.begin(), panel.metric_fields.end(), info.metric);
      if (metric == panel.metric_fields.end()) {
        return Fail("the series '" + info.id + "' names an unknown metric");
      }
      if (combination < 0 || static_cast<std::size_t>(combination) >= panel.combinations) {
        return Fail("the series '" + info.id + "' has no block of rows in the prepared data");
      }
      info.combination = static_cast<std::size_t>(combination);
      info.metric_index = static_cast<std::size_t>(metric - panel.metric_fields.begin());
      panel.series.push_back(std::move(info));
    }
  }
  panel.values.resize(static_cast<Eigen::Index>(time_count),
                      static_cast<Eigen::Index>(panel.series.size()));
  for (std::size_t s = 0; s < panel.series.size(); ++s) {
    const Column& column = *metric_columns[panel.series[s].metric_index];
    const std::size_t first = panel.series[s].combination * time_count;
    for (std::size_t t = 0; t < time_count; ++t) {
      const double value = column.AsNumber(first + t);
      panel.values(static_cast<Eigen::Index>(t), static_cast<Eigen::Index>(s)) =
          value == kSystemMissing ? kNaN : value;
    }
  }
  return panel;
}

support::Result<Table> MakeResultTable(const Table& prepared, const SeriesPanel& panel,
                                       const std::vector<ResultColumn>& results,
                                       std::int64_t horizon) {
  const std::size_t time_count = panel.TimeCount();
  const std::size_t future = static_cast<std::size_t>(std::max<std::int64_t>(horizon, 0));
  const std::size_t length = time_count + future;
  if (prepared.RowCount() != panel.combinations * time_count) {
    return Fail("the prepared data do not have the panel's shape");
  }
  for (const auto& [suffix, matrix] : results) {
    if (static_cast<std::size_t>(matrix.rows()) != length ||
        static_cast<std::size_t>(matrix.cols()) != panel.series.size()) {
      return Fail("the results '" + suffix + "' are " + std::to_string(matrix.rows()) + " x " +
                  std::to_string(matrix.cols()) + ", not " + std::to_string(length) + " x " +
                  std::to_string(panel.series.size()));
    }
  }
  // Series by (combination, metric), -1 where the preparation kept none.
  std::vector<std::ptrdiff_t> series_at(panel.combinations * panel.metric_fields.size(), -1);
  for (std::size_t s = 0; s < panel.series.size(); ++s) {
    const SeriesInfo& info = panel.series[s];
    series_at[info.combination * panel.metric_fields.size() + info.metric_index] =
        static_cast<std::ptrdiff_t>(s);
  }
  // What each column of the template holds on a future row.
  enum class Role { kMissing, kRepeat, kTime, kCyclic, kFlag };
  std::vector<Role> roles(prepared.columns.size(), Role::kMissing);
  std::vector<std::size_t> cyclic_position(prepared.columns.size(), 0);
  for (std::size_t c = 0; c < prepared.columns.size(); ++c) {
    const std::string& name = prepared.model.fields[c].name;
    if (std::find(panel.dim_fields.begin(), panel.dim_fields.end(), name) != panel.dim_fields.end()) {
      roles[c] = Role::kRepeat;
    } else if (!panel.axis.IsCyclic() && name == panel.axis.time_field) {
      roles[c] = Role::kTime;
    } else if (name == kFutureFlagField) {
      roles[c] = Role::kFlag;
    }
    const auto& fields = panel.axis.cyclic.fields;
    if (auto it = std::find(fields.begin(), fields.end(), name);
        panel.axis.IsCyclic() && it != fields.end()) {
      roles[c] = Role::kCyclic;
      cyclic_position[c] = static_cast<std::size_t>(it - fields.begin());
    }
  }
  Table table;
  table.model = prepared.model;
  for (const Column& column : prepared.columns) table.columns.emplace_back(column.storage());
  const bool has_flag = std::find(roles.begin(), roles.end(), Role::kFlag) != roles.end();
  Column flag(Storage::kInteger);
  std::vector<double> future_points(future);
  if (time_count > 0 && future > 0) {
    double point = panel.times.back();
    for (std::size_t h = 0; h < future; ++h) future_points[h] = point = panel.axis.Advance(point, 1);
  }
  for (std::size_t block = 0; block < panel.combinations; ++block) {
    const std::size_t first = block * time_count;
    for (std::size_t c = 0; c < prepared.columns.size(); ++c) {
      Column& out = table.columns[c];
      const Column& in = prepared.columns[c];
      for (std::size_t t = 0; t < time_count; ++t) {
        if (roles[c] == Role::kFlag) {
          out.AppendInt(0);
        } else {
          out.AppendFrom(in, first + t);
        }
      }
      for (std::size_t h = 0; h < future; ++h) {
        switch (roles[c]) {
          case Role::kRepeat: out.AppendFrom(in, first); break;
          case Role::kTime: out.AppendReal(future_points[h]); break;
          case Role::kCyclic: {
            const auto values = panel.axis.CyclicValues(future_points[h]);
            out.AppendReal(static_cast<double>(values[cyclic_position[c]]));
            break;
          }
          case Role::kFlag: out.AppendInt(1); break;
          case Role::kMissing: out.AppendMissing(); break;
        }
      }
    }
    if (!has_flag) {
      for (std::size_t r = 0; r < length; ++r) flag.AppendInt(r < time_count ? 0 : 1);
    }
  }
  if (!has_flag) {
    Field field;
    field.name = kFutureFlagField;
    field.storage = Storage::kInteger;
    field.measurement = "nominal";
    table.AddColumn(std::move(field), std::move(flag));
  }
  for (std::size_t m = 0; m < panel.metric_fields.size(); ++m) {
    for (const auto& [suffix, matrix] : results) {
      Column column(Storage::kReal);
      column.Reserve(panel.combinations * length);
      for (std::size_t block = 0; block < panel.combinations; ++block) {
        const std::ptrdiff_t s = series_at[block * panel.metric_fields.size() + m];
        for (std::size_t r = 0; r < length; ++r) {
          if (s < 0) {
            column.AppendMissing();
          } else {
            column.AppendReal(matrix(static_cast<Eigen::Index>(r), static_cast<Eigen::Index>(s)));
          }
        }
      }
      Field field;
      field.name = panel.metric_fields[m] + suffix;
      field.storage = Storage::kReal;
      field.measurement = "continuous";
      table.AddColumn(std::move(field), std::move(column));
    }
  }
  return table;
}

}  // namespace engine
