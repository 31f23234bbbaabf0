// This file contains interval detection and the placing of cases on the analysis grid.
#include "engine/prep/time_axis.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "support/text.h"
#include "support/time.h"

namespace engine {
namespace {

// More grid points than this is taken for a mistaken interval, not for data.
constexpr double kMaxGridPoints = 20e6;
constexpr double kRegularShare = 0.8;
constexpr std::int64_t kDay = support::kSecondsPerDay;

std::int64_t FloorDay(std::int64_t seconds) {
  return seconds / kDay - (seconds % kDay < 0 ? 1 : 0);
}

bool MonthEnd(const support::CivilTime& t) { return t.day == support::DaysInMonth(t.year, t.month); }

// One gap between neighbouring distinct times, classed as a step of an interval.
std::optional<Interval> ClassifyGap(std::int64_t from, std::int64_t to) {
  const std::int64_t gap = to - from;
  if (gap == 1) return Interval::kSecond;
  if (gap == 60) return Interval::kMinute;
  if (gap == 3600) return Interval::kHour;
  if (gap == kDay) return Interval::kDay;
  if (gap == 7 * kDay) return Interval::kWeek;
  // Friday to Monday is one step of a five-day week.
  if (gap == 3 * kDay && support::Weekday(FloorDay(from)) == 5 &&
      support::Weekday(FloorDay(to)) == 1) {
    return Interval::kDay;
  }
  if (gap < 28 * kDay) return std::nullopt;
  const support::CivilTime a = support::FromSeconds(from);
  const support::CivilTime b = support::FromSeconds(to);
  if (a.hour != b.hour || a.minute != b.minute || a.second != b.second) return std::nullopt;
  if (a.day != b.day && !(MonthEnd(a) && MonthEnd(b))) return std::nullopt;
  const std::int64_t months = (b.year - a.year) * 12 + (b.month - a.month);
  if (months == 1) return Interval::kMonth;
  if (months == 3) return Interval::kQuarter;
  if (months == 12) return Interval::kYear;
  return std::nullopt;
}

// A grid from `first` to `last` (both grid points) by Next; false when it would be too long.
bool BuildGrid(const TimeGrid& grid, double first, double last, std::vector<double>& points) {
  const double estimate =
      (last - first) / (NominalSeconds(grid.interval) * std::max(grid.increment, 1)) + 1;
  if (estimate > kMaxGridPoints) return false;
  points.clear();
  for (double point = first; point <= last; point = grid.Next(point)) {
    points.push_back(point);
    if (static_cast<double>(points.size()) > 2 * kMaxGridPoints) return false;
  }
  return true;
}

std::int64_t IndexIn(const std::vector<double>& points, double value) {
  auto it = std::upper_bound(points.begin(), points.end(), value);
  return static_cast<std::int64_t>(it - points.begin()) - 1;
}

std::vector<Reduce> Methods(const TsdpOptions& options, bool group) {
  std::vector<Reduce> methods;
  for (const std::string& metric : options.metrics) {
    methods.push_back(group ? options.GroupOf(metric) : options.AggregationOf(metric));
  }
  return methods;
}

// A period of the analysis interval stands for all the cases of its input points, so no row of
// aggregated data is one case.
void ForgetCases(Cells& cells) {
  cells.merged = true;
  std::fill(cells.case_number.begin(), cells.case_number.end(), -1);
}

bool PlaceCyclic(const CaseSet& cases, const TsdpOptions& options, const CyclicAxis& full_axis,
                 AnalysisAxis& axis, Cells& cells) {
  axis.cyclic = true;
  axis.input_interval = "CYCLIC_PERIOD";
  const std::size_t fields = full_axis.fields.size();
  const std::size_t keep = fields - static_cast<std::size_t>(options.aggre_level.value_or(0));
  axis.cyclic_axis = full_axis.Truncated(keep);
  std::vector<std::int64_t> point(cases.time.size());
  std::int64_t low = INT64_MAX;
  for (std::size_t i = 0; i < point.size(); ++i) {
    point[i] = static_cast<std::int64_t>(cases.time[i]);
    low = std::min(low, point[i]);
  }
  for (auto& p : point) p -= low;
  cells = GroupCells(cases.combo, point, cases.case_number, cases.values, Methods(options, true));
  std::int64_t in_high = 0;
  for (std::int64_t p : cells.point) in_high = std::max(in_high, p);
  const std::int64_t units = full_axis.UnitsPer(keep);
  const auto floor_div = [](std::int64_t a, std::int64_t b) {
    return a / b - ((a % b != 0 && a < 0) ? 1 : 0);
  };
  const std::int64_t out_low = floor_div(low, units);
  std::vector<std::int64_t> map(static_cast<std::size_t>(in_high + 1));
  for (std::int64_t p = 0; p <= in_high; ++p) map[static_cast<std::size_t>(p)] = floor_div(p + low, units) - out_low;
  if (units > 1) {
    cells = AggregateCells(cells, map, Methods(options, false));
    ForgetCases(cells);
  }
  const std::int64_t out_high = map.empty() ? 0 : map.back();
  for (std::int64_t p = 0; p <= (units > 1 ? out_high : in_high); ++p) {
    axis.points.push_back(static_cast<double>((units > 1 ? out_low : low) + p));
  }
  return true;
}

}  // namespace

std::optional<Interval> DetectInterval(const CaseSet& cases) {
  std::vector<std::vector<std::int64_t>> times(cases.combos.size());
  for (std::size_t i = 0; i < cases.time.size(); ++i) {
    times[cases.combo[i]].push_back(std::llround(cases.time[i]));
  }
  std::array<std::size_t, 8> counts{};
  std::size_t gaps = 0;
  for (auto& values : times) {
    std::sort(values.begin(), values.end());
    values.erase(std::unique(values.begin(), values.end()), values.end());
    for (std::size_t i = 1; i < values.size(); ++i) {
      ++gaps;
      if (auto step = ClassifyGap(values[i - 1], values[i])) ++counts[static_cast<std::size_t>(*step)];
    }
  }
  if (gaps == 0) return std::nullopt;
  const auto best = std::max_element(counts.begin(), counts.end());
  if (static_cast<double>(*best) < kRegularShare * static_cast<double>(gaps)) return std::nullopt;
  return static_cast<Interval>(best - counts.begin());
}

bool PlaceOnGrid(const CaseSet& cases, const TsdpOptions& options, const CyclicAxis& full_axis,
                 const std::string& place, MessageQueue& messages, AnalysisAxis& axis,
                 Cells& cells) {
  axis = AnalysisAxis{};
  if (options.IsCyclic()) return PlaceCyclic(cases, options, full_axis, axis, cells);

  TimeGrid base;
  base.days_per_week = options.days_per_week;
  base.start_day_of_week = WeekdayFromName(options.start_day_of_week).value_or(0);
  base.hours_per_day = options.hours_per_day;
  base.start_hour = options.start_hour;
  base.one_day_for_cross_day = options.one_day_for_cross_day;

  // The input interval: given, or found from the data.
  const std::optional<Interval> detected = DetectInterval(cases);
  std::optional<Interval> input = IntervalFromName(options.input_interval);
  if (input) {
    const double given = NominalSeconds(*input) * options.increment;
    if (detected && std::fabs(NominalSeconds(*detected) / given - 1.0) > 0.1) {
      messages.Warning(place + "the input interval " + options.input_interval +
                       (options.increment > 1 ? " (increment " + std::to_string(options.increment) + ")" : "") +
                       " does not fit the data, whose times are " + IntervalName(*detected) +
                       " apart");
    }
  } else {
    input = detected;
  }
  axis.input_interval = input ? IntervalName(*input) : "IRREGULAR";

  std::optional<Interval> output = IntervalFromName(options.output_interval);
  if (!output) output = input;
  if (!output) {
    return messages.Error(place + "the times of the data have no regular interval; an analysis "
                                  "interval is needed");
  }
  TimeGrid in_grid = base;
  if (input) {
    in_grid.interval = *input;
    in_grid.increment = options.increment;
  }
  TimeGrid out_grid = base;
  out_grid.interval = *output;
  out_grid.increment = input && *input == *output ? options.increment : 1;

  // Input points: unit starts on valid days and hours, or the distinct times when irregular.
  std::vector<double> in_points;
  std::vector<std::int64_t> point(cases.time.size(), -1);
  std::vector<double> floored(cases.time.size());
  std::size_t off_grid = 0;
  for (std::size_t i = 0; i < cases.time.size(); ++i) {
    floored[i] = input ? in_grid.Floor(cases.time[i]) : cases.time[i];
    if (input && !in_grid.IsValid(floored[i])) {
      floored[i] = std::nan("");
      ++off_grid;
    }
  }
  if (off_grid > 0) {
    messages.Warning(place + std::to_string(off_grid) + " cases fall outside the valid days of "
                     "the week or hours of the day and are left out");
  }
  double low = INFINITY, high = -INFINITY;
  for (double value : floored) {
    if (std::isnan(value)) continue;
    low = std::min(low, value);
    high = std::max(high, value);
  }
  if (!(low <= high)) return messages.Error(place + "no case is left on the time grid");
  if (input) {
    if (!BuildGrid(in_grid, low, high, in_points)) {
      return messages.Error(place + "the input interval " + std::string(IntervalName(*input)) +
                            " is far too fine for the time span of the data");
    }
  } else {
    for (double value : floored) {
      if (!std::isnan(value)) in_points.push_back(value);
    }
    std::sort(in_points.begin(), in_points.end());
    in_points.erase(std::unique(in_points.begin(), in_points.end()), in_points.end());
  }
  std::vector<std::uint32_t> combo;
  std::vector<std::int32_t> numbers;
  std::vector<std::vector<double>> values(cases.values.size());
  const bool all_on_grid = off_grid == 0;
  for (std::size_t i = 0; i < cases.time.size(); ++i) {
    if (std::isnan(floored[i])) continue;
    point[i] = IndexIn(in_points, floored[i]);
  }
  if (all_on_grid) {
    cells = GroupCells(cases.combo, point, cases.case_number, cases.values, Methods(options, true));
  } else {
    std::vector<std::int64_t> kept_point;
    for (std::size_t i = 0; i < cases.time.size(); ++i) {
      if (point[i] < 0) continue;
      combo.push_back(cases.combo[i]);
      kept_point.push_back(point[i]);
      numbers.push_back(cases.case_number[i]);
      for (std::size_t m = 0; m < values.size(); ++m) values[m].push_back(cases.values[m][i]);
    }
    cells = GroupCells(combo, kept_point, numbers, values, Methods(options, true));
  }

  const bool same = input && *input == *output;
  if (same) {
    axis.grid = in_grid;
    axis.points = std::move(in_points);
    return true;
  }
  axis.grid = out_grid;
  const bool coarser = !input || NominalSeconds(*output) >= NominalSeconds(*input) * in_grid.increment;
  if (coarser) {
    // Each input point goes to the analysis period that holds it.
    const bool by_day = input && *input <= Interval::kHour && *output >= Interval::kDay;
    std::vector<double> target(in_points.size());
    for (std::size_t p = 0; p < in_points.size(); ++p) {
      target[p] = out_grid.Floor(by_day ? in_grid.DayOf(in_points[p]) : in_points[p]);
    }
    double out_low = INFINITY, out_high = -INFINITY;
    for (double value : target) {
      out_low = std::min(out_low, value);
      out_high = std::max(out_high, value);
    }
    out_low = out_grid.FirstValidFrom(out_low);
    if (!BuildGrid(out_grid, out_low, out_high, axis.points)) {
      return messages.Error(place + "the analysis interval is far too fine for the data");
    }
    std::vector<std::int64_t> map(in_points.size(), -1);
    for (std::size_t p = 0; p < in_points.size(); ++p) {
      const std::int64_t index = IndexIn(axis.points, target[p]);
      if (index >= 0 && axis.points[static_cast<std::size_t>(index)] == target[p]) map[p] = index;
    }
    // Input points on periods that the analysis grid leaves out (a day off the week) are dropped.
    Cells kept;
    kept.values.resize(cells.values.size());
    kept.merged = cells.merged;
    std::size_t dropped = 0;
    for (std::size_t i = 0; i < cells.size(); ++i) {
      if (map[static_cast<std::size_t>(cells.point[i])] < 0) {
        ++dropped;
        continue;
      }
      kept.combo.push_back(cells.combo[i]);
      kept.point.push_back(cells.point[i]);
      kept.case_number.push_back(cells.case_number[i]);
      for (std::size_t m = 0; m < cells.values.size(); ++m) kept.values[m].push_back(cells.values[m][i]);
    }
    if (dropped > 0) {
      messages.Warning(place + std::to_string(dropped) + " time points of the input fall on no "
                       "period of the analysis interval and are left out");
    }
    for (auto& m : map) m = std::max<std::int64_t>(m, 0);
    cells = AggregateCells(kept, map, Methods(options, false));
    ForgetCases(cells);
    return true;
  }
  // Distribution: each input point spreads over the analysis points within it.
  const double first = out_grid.FirstValidFrom(out_grid.Floor(in_points.front()));
  const double end = in_grid.Next(in_points.back());
  std::vector<double> grid;
  if (!BuildGrid(out_grid, first, end, grid)) {
    return messages.Error(place + "the analysis interval is far too fine for the time span of "
                                  "the data");
  }
  while (!grid.empty() && grid.back() >= end) grid.pop_back();
  std::vector<std::int64_t> bounds(in_points.size() + 1);
  for (std::size_t p = 0; p < in_points.size(); ++p) {
    bounds[p] = std::lower_bound(grid.begin(), grid.end(), in_points[p]) - grid.begin();
  }
  bounds.back() = static_cast<std::int64_t>(grid.size());
  std::vector<Spread> spreads;
  for (const std::string& metric : options.metrics) spreads.push_back(options.DistributionOf(metric));
  cells = DistributeCells(cells, bounds, spreads);
  axis.points = std::move(grid);
  return true;
}

}  // namespace engine
