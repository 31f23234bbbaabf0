// This file contains the time axis of prepared data: calendar intervals, the grid step with its
// valid days of the week and hours of the day, and the running index of cyclic periods.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace engine {

enum class Interval { kSecond, kMinute, kHour, kDay, kWeek, kMonth, kQuarter, kYear };

// "SECOND" .. "YEAR"; nullopt for any other text.
std::optional<Interval> IntervalFromName(std::string_view name);
const char* IntervalName(Interval interval);
// The typical length of one unit in seconds (a month counts 30.436875 days); used only to tell
// a coarser interval from a finer one.
double NominalSeconds(Interval interval);
// Day of the week of an English day name ("MONDAY", "MON", any case): 0 Sunday .. 6 Saturday.
std::optional<int> WeekdayFromName(std::string_view name);

// A regular grid of time points in seconds (support/time.h's wall-clock rule). A point is the
// start of its period: the hour, the day, the week beginning on `start_day_of_week`, the first
// of the month, quarter or year. Only days within `days_per_week` days from the start day, and
// only hours within `hours_per_day` hours from `start_hour` (for intervals of an hour and
// finer), lie on the grid. With `one_day_for_cross_day`, hours of a window that crosses
// midnight belong to the day on which the window began.
struct TimeGrid {
  Interval interval = Interval::kDay;
  int increment = 1;
  int days_per_week = 7;
  int start_day_of_week = 0;
  int hours_per_day = 24;
  int start_hour = 0;
  bool one_day_for_cross_day = true;

  // The start of the unit period (one unit, whatever the increment) that holds `t`.
  double Floor(double t) const;
  // The day (seconds of its 00:00) to which `t` belongs, by the window rule above.
  double DayOf(double t) const;
  // True when the unit period starting at `t` is on a valid day and hour.
  bool IsValid(double t) const;
  // The first valid unit start at or after `t` (a unit start).
  double FirstValidFrom(double t) const;
  // The grid point `increment` valid units after the point `t`.
  double Next(double t) const;
  // The grid point `increment` valid units before the point `t`.
  double Previous(double t) const;
};

// The grid step helper: the point `increment` units of `interval` after `t` on the full
// calendar (every day and hour valid); MONTH, QUARTER and YEAR keep the day of the month,
// clamped to the month's last day.
double NextTimePoint(double t, Interval interval, int increment = 1);

// Cyclic periods: fields from the top level (unbounded) down to the period field. lengths[i]
// is the number of units of field i+1 in one unit of field i; offsets[i] the first value of
// field i+1 within its cycle. The running index orders all periods: the top value, then each
// lower value counted from its offset.
struct CyclicAxis {
  std::vector<std::string> fields;
  std::vector<std::int64_t> lengths;  // fields.size() - 1 entries
  std::vector<std::int64_t> offsets;  // fields.size() - 1 entries

  // nullopt when the number of values is wrong or a value lies outside its cycle.
  std::optional<std::int64_t> Index(std::span<const std::int64_t> values) const;
  // The field values of a running index.
  std::vector<std::int64_t> Values(std::int64_t index) const;
  // The axis of the top `keep` fields: the periods below are merged into their cycle.
  CyclicAxis Truncated(std::size_t keep) const;
  // How many running indexes of this axis make one index of Truncated(keep).
  std::int64_t UnitsPer(std::size_t keep) const;
};

}  // namespace engine
