// This file contains the calendar grid of prepared data and the running index of cyclic periods.
#include "engine/series/time_grid.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "support/text.h"
#include "support/time.h"

namespace engine {
namespace {

constexpr std::int64_t kDay = support::kSecondsPerDay;
constexpr std::array<const char*, 8> kIntervalNames = {"SECOND", "MINUTE", "HOUR", "DAY",
                                                       "WEEK",   "MONTH",  "QUARTER", "YEAR"};

std::int64_t FloorDiv(std::int64_t a, std::int64_t b) {
  std::int64_t q = a / b;
  return (a % b != 0 && ((a < 0) != (b < 0))) ? q - 1 : q;
}

std::int64_t Whole(double t) { return static_cast<std::int64_t>(std::floor(t)); }

bool SubDaily(Interval interval) { return interval <= Interval::kHour; }

std::int64_t UnitSeconds(Interval interval) {
  switch (interval) {
    case Interval::kSecond: return 1;
    case Interval::kMinute: return 60;
    case Interval::kHour: return 3600;
    case Interval::kDay: return kDay;
    case Interval::kWeek: return 7 * kDay;
    default: return 0;  // calendar months
  }
}

int MonthsOf(Interval interval) {
  switch (interval) {
    case Interval::kMonth: return 1;
    case Interval::kQuarter: return 3;
    case Interval::kYear: return 12;
    default: return 0;
  }
}

// Adds whole months to a time, keeping the time of day and clamping the day of the month.
std::int64_t AddMonths(std::int64_t t, std::int64_t months) {
  support::CivilTime civil = support::FromSeconds(t);
  std::int64_t month_index = civil.year * 12 + (civil.month - 1) + months;
  civil.year = FloorDiv(month_index, 12);
  civil.month = static_cast<int>(month_index - civil.year * 12) + 1;
  civil.day = std::min(civil.day, support::DaysInMonth(civil.year, civil.month));
  return support::ToSeconds(civil);
}

}  // namespace

std::optional<Interval> IntervalFromName(std::string_view name) {
  for (std::size_t i = 0; i < kIntervalNames.size(); ++i) {
    if (name == kIntervalNames[i]) return static_cast<Interval>(i);
  }
  return std::nullopt;
}

const char* IntervalName(Interval interval) {
  return kIntervalNames[static_cast<std::size_t>(interval)];
}

double NominalSeconds(Interval interval) {
  const int months = MonthsOf(interval);
  if (months > 0) return months * 30.436875 * kDay;
  return static_cast<double>(UnitSeconds(interval));
}

std::optional<int> WeekdayFromName(std::string_view name) {
  const std::string upper = support::ToUpperAscii(name);
  for (int day = 0; day < 7; ++day) {
    const std::string full = support::ToUpperAscii(support::WeekdayName(day));
    if (upper == full || upper == full.substr(0, 3)) return day;
  }
  return std::nullopt;
}

double TimeGrid::DayOf(double t) const {
  const std::int64_t seconds = Whole(t);
  const std::int64_t window_end = start_hour + hours_per_day;
  if (one_day_for_cross_day && window_end > 24) {
    // Hours before the end of a window that began the evening before belong to that day.
    const std::int64_t hour = (seconds - FloorDiv(seconds, kDay) * kDay) / 3600;
    if (hour < window_end - 24) return static_cast<double>((FloorDiv(seconds, kDay) - 1) * kDay);
  }
  return static_cast<double>(FloorDiv(seconds, kDay) * kDay);
}

double TimeGrid::Floor(double t) const {
  const std::int64_t seconds = Whole(t);
  const int months = MonthsOf(interval);
  if (months > 0) {
    support::CivilTime civil = support::FromSeconds(seconds);
    const std::int64_t index = civil.year * 12 + (civil.month - 1);
    const std::int64_t first = FloorDiv(index, months) * months;
    civil = support::CivilTime{};
    civil.year = FloorDiv(first, 12);
    civil.month = static_cast<int>(first - civil.year * 12) + 1;
    return static_cast<double>(support::ToSeconds(civil));
  }
  if (interval == Interval::kWeek) {
    const std::int64_t day = FloorDiv(seconds, kDay);
    const int back = (support::Weekday(day) - start_day_of_week + 7) % 7;
    return static_cast<double>((day - back) * kDay);
  }
  const std::int64_t unit = UnitSeconds(interval);
  return static_cast<double>(FloorDiv(seconds, unit) * unit);
}

bool TimeGrid::IsValid(double t) const {
  if (interval > Interval::kDay) return true;
  const std::int64_t seconds = Whole(t);
  if (SubDaily(interval) && hours_per_day < 24) {
    const std::int64_t hour = (seconds - FloorDiv(seconds, kDay) * kDay) / 3600;
    if ((hour - start_hour + 24) % 24 >= hours_per_day) return false;
  }
  if (days_per_week >= 7) return true;
  const std::int64_t day = Whole(SubDaily(interval) ? DayOf(t) : t) / kDay;
  return (support::Weekday(day) - start_day_of_week + 7) % 7 < days_per_week;
}

double TimeGrid::FirstValidFrom(double t) const {
  double point = t;
  // A window starts at most 7 days later; each jump reaches a day or a window start.
  for (int guard = 0; guard < 32 && !IsValid(point); ++guard) {
    const std::int64_t seconds = Whole(point);
    const std::int64_t day_start = FloorDiv(seconds, kDay) * kDay;
    if (SubDaily(interval)) {
      std::int64_t window = day_start + static_cast<std::int64_t>(start_hour) * 3600;
      if (window <= seconds) window += kDay;
      const std::int64_t hour = (seconds - day_start) / 3600;
      // Inside the hour window but on an invalid day: go to the next day's window.
      if (hours_per_day >= 24 || (hour - start_hour + 24) % 24 < hours_per_day) {
        window = std::max(window, day_start + kDay + static_cast<std::int64_t>(start_hour) * 3600);
      }
      point = static_cast<double>(window);
    } else {
      point = static_cast<double>(day_start + kDay);
    }
  }
  return point;
}

double TimeGrid::Next(double t) const {
  const int months = MonthsOf(interval);
  if (months > 0) return static_cast<double>(AddMonths(Whole(t), months * std::max(increment, 1)));
  double point = t;
  const double unit = static_cast<double>(UnitSeconds(interval));
  for (int step = 0; step < std::max(increment, 1); ++step) point = FirstValidFrom(point + unit);
  return point;
}

double TimeGrid::Previous(double t) const {
  const int months = MonthsOf(interval);
  if (months > 0) {
    return static_cast<double>(AddMonths(Whole(t), -months * std::max(increment, 1)));
  }
  const std::int64_t unit = UnitSeconds(interval);
  std::int64_t point = Whole(t);
  for (int step = 0; step < std::max(increment, 1); ++step) {
    point -= unit;
    if (IsValid(static_cast<double>(point))) continue;
    if (!SubDaily(interval)) {
      for (int guard = 0; guard < 8 && !IsValid(static_cast<double>(point)); ++guard) point -= kDay;
      continue;
    }
    // The last unit of the latest window that ends before `point`.
    const std::int64_t window_end = static_cast<std::int64_t>(start_hour + hours_per_day) * 3600;
    for (std::int64_t day = FloorDiv(point, kDay), guard = 0; guard < 16; --day, ++guard) {
      const std::int64_t candidate = day * kDay + window_end - unit;
      if (candidate <= point && IsValid(static_cast<double>(candidate))) {
        point = candidate;
        break;
      }
    }
  }
  return static_cast<double>(point);
}

double NextTimePoint(double t, Interval interval, int increment) {
  TimeGrid grid;
  grid.interval = interval;
  grid.increment = increment;
  return grid.Next(t);
}

std::optional<std::int64_t> CyclicAxis::Index(std::span<const std::int64_t> values) const {
  if (values.size() != fields.size() || values.empty()) return std::nullopt;
  std::int64_t index = values[0];
  for (std::size_t i = 1; i < values.size(); ++i) {
    const std::int64_t length = i - 1 < lengths.size() ? lengths[i - 1] : 1;
    const std::int64_t offset = i - 1 < offsets.size() ? offsets[i - 1] : 1;
    const std::int64_t position = values[i] - offset;
    if (length < 1 || position < 0 || position >= length) return std::nullopt;
    index = index * length + position;
  }
  return index;
}

std::vector<std::int64_t> CyclicAxis::Values(std::int64_t index) const {
  std::vector<std::int64_t> values(fields.size(), 0);
  if (fields.empty()) return values;
  for (std::size_t i = fields.size() - 1; i > 0; --i) {
    const std::int64_t length = std::max<std::int64_t>(i - 1 < lengths.size() ? lengths[i - 1] : 1, 1);
    const std::int64_t offset = i - 1 < offsets.size() ? offsets[i - 1] : 1;
    const std::int64_t upper = FloorDiv(index, length);
    values[i] = index - upper * length + offset;
    index = upper;
  }
  values[0] = index;
  return values;
}

CyclicAxis CyclicAxis::Truncated(std::size_t keep) const {
  CyclicAxis axis;
  keep = std::min(keep, fields.size());
  axis.fields.assign(fields.begin(), fields.begin() + static_cast<std::ptrdiff_t>(keep));
  const std::size_t links = keep == 0 ? 0 : keep - 1;
  axis.lengths.assign(lengths.begin(),
                      lengths.begin() + static_cast<std::ptrdiff_t>(std::min(links, lengths.size())));
  axis.offsets.assign(offsets.begin(),
                      offsets.begin() + static_cast<std::ptrdiff_t>(std::min(links, offsets.size())));
  return axis;
}

std::int64_t CyclicAxis::UnitsPer(std::size_t keep) const {
  std::int64_t units = 1;
  for (std::size_t i = keep == 0 ? 0 : keep - 1; i + 1 < fields.size() && i < lengths.size(); ++i) {
    units *= std::max<std::int64_t>(lengths[i], 1);
  }
  return units;
}

}  // namespace engine
