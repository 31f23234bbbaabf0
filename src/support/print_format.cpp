// This file contains print formats: their integer codes, their texts ("F8.2", "DATE11"), and the
// printing and reading of values in them.
#include "support/print_format.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <vector>

#include "support/number_text.h"
#include "support/time.h"

namespace support {
namespace {

// How decimals are bounded: numeric formats up to 16 and within the width; time formats up to 6
// once the width holds the seconds; the rest take none.
enum class Decimals { kNone, kNumeric, kTime };

struct FormatSpec {
  int type;
  const char* name;
  int min_width;
  int max_width;
  int default_width;
  int default_decimals;
  Decimals decimals;
  int fixed_chars;  // numeric: characters beside digits that a width must leave room for;
                    // time: the width from which seconds show
};

constexpr std::array<FormatSpec, 23> kSpecs = {{
    {fmt::kA, "A", 1, 32767, 8, 0, Decimals::kNone, 0},
    {fmt::kAHex, "AHEX", 2, 65534, 16, 0, Decimals::kNone, 0},
    {fmt::kComma, "COMMA", 1, 40, 8, 2, Decimals::kNumeric, 1},
    {fmt::kDollar, "DOLLAR", 2, 40, 8, 2, Decimals::kNumeric, 2},
    {fmt::kF, "F", 1, 40, 8, 2, Decimals::kNumeric, 1},
    {fmt::kE, "E", 6, 40, 10, 3, Decimals::kNumeric, 7},
    {fmt::kDate, "DATE", 9, 40, 11, 0, Decimals::kNone, 0},
    {fmt::kTime, "TIME", 5, 40, 8, 0, Decimals::kTime, 8},
    {fmt::kDateTime, "DATETIME", 17, 40, 20, 0, Decimals::kTime, 20},
    {fmt::kADate, "ADATE", 8, 40, 10, 0, Decimals::kNone, 0},
    {fmt::kJDate, "JDATE", 5, 40, 7, 0, Decimals::kNone, 0},
    {fmt::kDTime, "DTIME", 8, 40, 11, 0, Decimals::kTime, 11},
    {fmt::kWkDay, "WKDAY", 2, 40, 9, 0, Decimals::kNone, 0},
    {fmt::kMonth, "MONTH", 3, 40, 9, 0, Decimals::kNone, 0},
    {fmt::kMoYr, "MOYR", 6, 40, 8, 0, Decimals::kNone, 0},
    {fmt::kQYr, "QYR", 6, 40, 8, 0, Decimals::kNone, 0},
    {fmt::kWkYr, "WKYR", 8, 40, 10, 0, Decimals::kNone, 0},
    {fmt::kPct, "PCT", 2, 40, 8, 2, Decimals::kNumeric, 2},
    {fmt::kDot, "DOT", 1, 40, 8, 2, Decimals::kNumeric, 1},
    {fmt::kEDate, "EDATE", 8, 40, 10, 0, Decimals::kNone, 0},
    {fmt::kSDate, "SDATE", 8, 40, 10, 0, Decimals::kNone, 0},
    {fmt::kYmdHms, "YMDHMS", 16, 40, 19, 0, Decimals::kTime, 19},
    {fmt::kMTime, "MTIME", 5, 40, 5, 0, Decimals::kTime, 5},
}};

// Dates beyond this many seconds from 1970 (about 31 million years) are not printed: the day
// arithmetic stays far inside int64.
constexpr double kMaxDateSeconds = 1e15;

const FormatSpec* FindSpec(int type) {
  for (const auto& spec : kSpecs) {
    if (spec.type == type) return &spec;
  }
  return nullptr;
}

char Upper(char c) { return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c; }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsAlpha(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

std::string UpperText(std::string_view text) {
  std::string out(text);
  for (char& c : out) c = Upper(c);
  return out;
}

std::string_view Trim(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
  return text;
}

int MaxDecimals(const FormatSpec& spec, int width) {
  switch (spec.decimals) {
  case Decimals::kNone: return 0;
  case Decimals::kNumeric: return std::clamp(width - spec.fixed_chars, 0, 16);
  case Decimals::kTime: return std::clamp(width - spec.fixed_chars - 1, 0, 6);
  }
  return 0;
}

// ---- printing ----

void AppendPadded(std::string& out, int64_t value, int digits) {
  char buffer[32];
  if (value < 0) {
    out += '-';
    value = -value;
  }
  const int n =
      std::snprintf(buffer, sizeof buffer, "%0*lld", digits, static_cast<long long>(value));
  out.append(buffer, static_cast<size_t>(n));
}

void AppendYear(std::string& out, int64_t year, bool four_digits) {
  if (four_digits) {
    AppendPadded(out, year, 4);
  } else {
    AppendPadded(out, ((year % 100) + 100) % 100, 2);
  }
}

std::string Stars(int width) { return std::string(static_cast<size_t>(std::max(width, 1)), '*'); }

// Fixed notation with `decimals`, optionally grouped by thousands.
std::string Fixed(double value, int decimals, char group, char point) {
  std::vector<char> buffer(400);
  int n = std::snprintf(buffer.data(), buffer.size(), "%.*f", decimals, value);
  if (n < 0) return {};
  if (static_cast<size_t>(n) >= buffer.size()) {
    buffer.resize(static_cast<size_t>(n) + 1);
    n = std::snprintf(buffer.data(), buffer.size(), "%.*f", decimals, value);
  }
  std::string text(buffer.data(), static_cast<size_t>(n));
  // "-0.00" is zero.
  if (text[0] == '-' && text.find_first_not_of("-0.") == std::string::npos) text.erase(0, 1);
  const size_t sign = text[0] == '-' ? 1 : 0;
  size_t dot = text.find('.');
  if (dot == std::string::npos) dot = text.size();
  if (point != '.' && dot < text.size()) text[dot] = point;
  if (group != 0) {
    for (size_t i = dot; i > sign + 3; i -= 3) text.insert(i - 3, 1, group);
  }
  return text;
}

std::string Scientific(double value, int decimals) {
  char buffer[64];
  const int n = std::snprintf(buffer, sizeof buffer, "%.*E", decimals, value);
  return std::string(buffer, static_cast<size_t>(std::max(n, 0)));
}

std::string FormatPlainNumber(double value, const PrintFormat& f) {
  const int width = f.width;
  if (f.type == fmt::kE) {
    for (int d = f.decimals; d >= 0; --d) {
      std::string text = Scientific(value, d);
      if (static_cast<int>(text.size()) <= width) return text;
    }
    return Stars(width);
  }
  const char group = f.type == fmt::kComma || f.type == fmt::kDollar ? ','
                     : f.type == fmt::kDot                           ? '.'
                                                                     : 0;
  const char point = f.type == fmt::kDot ? ',' : '.';
  auto decorate = [&](std::string digits) {
    if (f.type == fmt::kDollar) {
      digits.insert(digits[0] == '-' ? 1 : 0, "$");
    } else if (f.type == fmt::kPct) {
      digits += '%';
    }
    return digits;
  };
  // Grouping goes first, then decimals, then fixed notation altogether.
  std::string text = decorate(Fixed(value, f.decimals, group, point));
  if (static_cast<int>(text.size()) <= width) return text;
  for (int d = f.decimals; d >= 0; --d) {
    text = decorate(Fixed(value, d, 0, point));
    if (static_cast<int>(text.size()) <= width) return text;
  }
  for (int d = std::min(16, width); d >= 0; --d) {
    text = decorate(Scientific(value, d));
    if (static_cast<int>(text.size()) <= width) return text;
  }
  return Stars(width);
}

// Whole seconds and a fraction in units of 10^-decimals, the fraction rounded and carried.
void SplitSeconds(double value, int decimals, int64_t& whole, int64_t& units) {
  double floor_value = std::floor(value);
  double scale = 1.0;
  for (int i = 0; i < decimals; ++i) scale *= 10.0;
  units = std::llround((value - floor_value) * scale);
  if (static_cast<double>(units) >= scale) {
    floor_value += 1.0;
    units = 0;
  }
  whole = static_cast<int64_t>(floor_value);
}

// "hh:mm", "hh:mm:ss" or "hh:mm:ss.ff" of seconds within a day or a duration.
void AppendClock(std::string& out, int64_t hours, int64_t seconds_in_hour, int64_t units,
                 bool show_seconds, int decimals) {
  AppendPadded(out, hours, 2);
  out += ':';
  AppendPadded(out, seconds_in_hour / 60, 2);
  if (!show_seconds) return;
  out += ':';
  AppendPadded(out, seconds_in_hour % 60, 2);
  if (decimals > 0) {
    out += '.';
    AppendPadded(out, units, decimals);
  }
}

std::string UpperName(const char* name, int width) {
  std::string text = UpperText(name);
  if (static_cast<int>(text.size()) > width) text.resize(static_cast<size_t>(width));
  return text;
}

std::string FormatDuration(double value, const PrintFormat& f) {
  const FormatSpec& spec = *FindSpec(f.type);
  const bool show_seconds = f.width >= spec.fixed_chars;
  const int decimals = show_seconds ? f.decimals : 0;
  int64_t whole = 0;
  int64_t units = 0;
  SplitSeconds(std::fabs(value), decimals, whole, units);
  std::string out;
  if (value < 0 && (whole != 0 || units != 0)) out += '-';
  if (f.type == fmt::kMTime) {
    AppendPadded(out, whole / 60, 2);
    out += ':';
    AppendPadded(out, whole % 60, 2);
    if (decimals > 0) {
      out += '.';
      AppendPadded(out, units, decimals);
    }
  } else if (f.type == fmt::kDTime) {
    AppendPadded(out, whole / support::kSecondsPerDay, 2);
    out += ' ';
    const int64_t in_day = whole % support::kSecondsPerDay;
    AppendClock(out, in_day / 3600, in_day % 3600, units, show_seconds, decimals);
  } else {
    AppendClock(out, whole / 3600, whole % 3600, units, show_seconds, decimals);
  }
  return out;
}

std::string FormatDateValue(double value, const PrintFormat& f) {
  if (std::fabs(value) > kMaxDateSeconds) return Stars(f.width);
  const FormatSpec& spec = *FindSpec(f.type);
  const bool has_clock = f.type == fmt::kDateTime || f.type == fmt::kYmdHms;
  const bool show_seconds = has_clock && f.width >= spec.fixed_chars;
  const int decimals = show_seconds ? f.decimals : 0;
  int64_t whole = 0;
  int64_t units = 0;
  SplitSeconds(value, has_clock ? decimals : 0, whole, units);
  if (!has_clock) {
    whole = static_cast<int64_t>(std::floor(value));  // a date shows the day it lies in
    units = 0;
  }
  const support::CivilTime t = support::FromSeconds(whole);
  const int64_t in_day = t.hour * 3600 + t.minute * 60 + t.second;
  std::string out;
  switch (f.type) {
  case fmt::kDate:
  case fmt::kDateTime:
    AppendPadded(out, t.day, 2);
    out += '-';
    out += UpperText(support::MonthAbbrev(t.month));
    out += '-';
    AppendYear(out, t.year, f.type == fmt::kDateTime || f.width >= 11);
    if (f.type == fmt::kDateTime) {
      out += ' ';
      AppendClock(out, t.hour, in_day % 3600, units, show_seconds, decimals);
    }
    break;
  case fmt::kYmdHms:
    AppendPadded(out, t.year, 4);
    out += '-';
    AppendPadded(out, t.month, 2);
    out += '-';
    AppendPadded(out, t.day, 2);
    out += ' ';
    AppendClock(out, t.hour, in_day % 3600, units, show_seconds, decimals);
    break;
  case fmt::kADate:
    AppendPadded(out, t.month, 2);
    out += '/';
    AppendPadded(out, t.day, 2);
    out += '/';
    AppendYear(out, t.year, f.width >= 10);
    break;
  case fmt::kEDate:
    AppendPadded(out, t.day, 2);
    out += '.';
    AppendPadded(out, t.month, 2);
    out += '.';
    AppendYear(out, t.year, f.width >= 10);
    break;
  case fmt::kSDate:
    AppendYear(out, t.year, f.width >= 10);
    out += '/';
    AppendPadded(out, t.month, 2);
    out += '/';
    AppendPadded(out, t.day, 2);
    break;
  case fmt::kJDate:
    AppendYear(out, t.year, f.width >= 7);
    AppendPadded(out, support::DayOfYear(t.year, t.month, t.day), 3);
    break;
  case fmt::kMoYr:
    out += UpperText(support::MonthAbbrev(t.month));
    out += ' ';
    AppendYear(out, t.year, f.width >= 8);
    break;
  case fmt::kQYr:
    out += static_cast<char>('0' + (t.month - 1) / 3 + 1);
    out += " Q ";
    AppendYear(out, t.year, f.width >= 8);
    break;
  case fmt::kWkYr:
    AppendPadded(out, (support::DayOfYear(t.year, t.month, t.day) - 1) / 7 + 1, 2);
    out += " WK ";
    AppendYear(out, t.year, f.width >= 10);
    break;
  default: break;
  }
  return out;
}

// ---- reading ----

// A date text cut into runs of digits and runs of letters; everything else separates.
std::vector<std::string_view> DateTokens(std::string_view text) {
  std::vector<std::string_view> tokens;
  size_t i = 0;
  while (i < text.size()) {
    if (IsDigit(text[i]) || IsAlpha(text[i])) {
      const bool digits = IsDigit(text[i]);
      size_t j = i;
      while (j < text.size() && (digits ? IsDigit(text[j]) : IsAlpha(text[j]))) ++j;
      tokens.push_back(text.substr(i, j - i));
      i = j;
    } else {
      ++i;
    }
  }
  return tokens;
}

bool AllDigits(std::string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), IsDigit);
}

std::optional<int64_t> ToInteger(std::string_view digits, size_t max_digits = 9) {
  if (!AllDigits(digits) || digits.size() > max_digits) return std::nullopt;
  int64_t value = 0;
  for (char c : digits) value = value * 10 + (c - '0');
  return value;
}

std::optional<int64_t> YearOf(std::string_view token) {
  const auto value = ToInteger(token, 6);
  if (!value) return std::nullopt;
  return token.size() <= 2 ? (*value < 69 ? 2000 + *value : 1900 + *value) : *value;
}

std::optional<int> MonthOf(std::string_view token) {
  if (AllDigits(token)) {
    const auto value = ToInteger(token, 2);
    if (!value || *value < 1 || *value > 12) return std::nullopt;
    return static_cast<int>(*value);
  }
  const int month = support::MonthFromName(token);
  return month == 0 ? std::nullopt : std::optional<int>(month);
}

std::optional<double> DateSeconds(std::optional<int64_t> year, std::optional<int> month,
                                  std::optional<int64_t> day) {
  if (!year || !month || !day || *day > 31) return std::nullopt;
  if (!support::IsValidDate(*year, *month, static_cast<int>(*day))) return std::nullopt;
  return static_cast<double>(support::DaysFromCivil(*year, *month, static_cast<int>(*day)) *
                             support::kSecondsPerDay);
}

// "ss" or "ss.f...", seconds below 60 with an optional fraction (point or comma).
std::optional<double> ParseSecondsField(std::string_view text) {
  const size_t point = text.find_first_of(".,");
  const auto whole = ToInteger(text.substr(0, std::min(point, text.size())), 2);
  if (!whole || *whole > 59) return std::nullopt;
  double seconds = static_cast<double>(*whole);
  if (point != std::string_view::npos) {
    const std::string_view fraction = text.substr(point + 1);
    const auto digits = ToInteger(fraction, 9);
    if (!digits) return std::nullopt;
    seconds += static_cast<double>(*digits) / std::pow(10.0, static_cast<double>(fraction.size()));
  }
  return seconds;
}

// "[-]m:ss[.f]": minutes without bound.
std::optional<double> ParseMinutesSeconds(std::string_view text) {
  text = Trim(text);
  bool negative = false;
  if (!text.empty() && (text[0] == '-' || text[0] == '+')) {
    negative = text[0] == '-';
    text.remove_prefix(1);
  }
  const size_t colon = text.find(':');
  if (colon == std::string_view::npos) return std::nullopt;
  const auto minutes = ToInteger(text.substr(0, colon), 12);
  const auto seconds = ParseSecondsField(text.substr(colon + 1));
  if (!minutes || !seconds) return std::nullopt;
  const double total = static_cast<double>(*minutes) * 60.0 + *seconds;
  return negative ? -total : total;
}

// "[-]h:mm[:ss[.f]]"; hours up to `max_hours` (negative: no bound); a sign when allowed.
std::optional<double> ParseClock(std::string_view text, int64_t max_hours, bool allow_sign) {
  text = Trim(text);
  bool negative = false;
  if (allow_sign && !text.empty() && (text[0] == '-' || text[0] == '+')) {
    negative = text[0] == '-';
    text.remove_prefix(1);
  }
  const size_t colon = text.find(':');
  if (colon == std::string_view::npos) return std::nullopt;
  const auto hours = ToInteger(text.substr(0, colon), 12);
  std::string_view rest = text.substr(colon + 1);
  const size_t colon2 = rest.find(':');
  const auto minutes = ToInteger(rest.substr(0, std::min(colon2, rest.size())), 2);
  if (!hours || !minutes || *minutes > 59) return std::nullopt;
  if (max_hours >= 0 && *hours > max_hours) return std::nullopt;
  double seconds = 0.0;
  if (colon2 != std::string_view::npos) {
    const auto parsed = ParseSecondsField(rest.substr(colon2 + 1));
    if (!parsed) return std::nullopt;
    seconds = *parsed;
  }
  const double total =
      static_cast<double>(*hours) * 3600.0 + static_cast<double>(*minutes) * 60.0 + seconds;
  return negative ? -total : total;
}

// Splits "date time" at the blank (or 'T') before the clock; the time part may be empty.
void SplitDateTime(std::string_view text, std::string_view& date, std::string_view& time) {
  const size_t colon = text.find(':');
  if (colon == std::string_view::npos) {
    date = text;
    time = {};
    return;
  }
  size_t cut = text.find_last_of(" T", colon);
  if (cut == std::string_view::npos) cut = 0;
  date = text.substr(0, cut);
  time = text.substr(cut == 0 ? 0 : cut + 1);
}

std::optional<double> ParseNamedOrNumber(std::string_view text, int count, int min_prefix,
                                         const char* (*name_of)(int), int first) {
  double number = 0.0;
  if (ReadNumberText(text, number)) {
    if (number != std::floor(number) || number < 1 || number > count) return std::nullopt;
    return number;
  }
  const std::string upper = UpperText(text);
  if (static_cast<int>(upper.size()) < min_prefix) return std::nullopt;
  int found = 0;
  for (int i = 0; i < count; ++i) {
    const std::string name = UpperText(name_of(i + first));
    if (name.compare(0, upper.size(), upper) == 0 && upper.size() <= name.size()) {
      if (found != 0) return std::nullopt;  // ambiguous
      found = i + 1;
    }
  }
  return found == 0 ? std::nullopt : std::optional<double>(found);
}

std::optional<double> ParseDateText(std::string_view text, const PrintFormat& f) {
  if (f.type == fmt::kWkDay) return ParseNamedOrNumber(text, 7, 2, support::WeekdayName, 0);
  if (f.type == fmt::kMonth) return ParseNamedOrNumber(text, 12, 3, support::MonthName, 1);
  if (f.type == fmt::kTime) return ParseClock(text, -1, true);
  if (f.type == fmt::kMTime) return ParseMinutesSeconds(text);
  if (f.type == fmt::kDTime) {
    std::string_view body = Trim(text);
    bool negative = false;
    if (!body.empty() && body[0] == '-') {
      negative = true;
      body.remove_prefix(1);
    }
    const size_t blank = body.find(' ');
    double days = 0.0;
    std::string_view clock = body;
    if (blank != std::string_view::npos) {
      const auto d = ToInteger(body.substr(0, blank), 9);
      if (!d) return std::nullopt;
      days = static_cast<double>(*d);
      clock = body.substr(blank + 1);
    }
    const auto seconds = ParseClock(clock, blank != std::string_view::npos ? 23 : -1, false);
    if (!seconds) return std::nullopt;
    const double total = days * support::kSecondsPerDay + *seconds;
    return negative ? -total : total;
  }

  // Calendar formats take ISO 8601 texts too.
  if (const auto iso = support::ParseIso8601(text)) {
    return static_cast<double>(iso->seconds) + iso->fraction;
  }
  std::string_view date_part = Trim(text);
  std::string_view time_part;
  double clock = 0.0;
  if (f.type == fmt::kDateTime || f.type == fmt::kYmdHms) {
    SplitDateTime(date_part, date_part, time_part);
    if (!time_part.empty()) {
      const auto parsed = ParseClock(time_part, 23, false);
      if (!parsed) return std::nullopt;
      clock = *parsed;
    }
  }
  const std::vector<std::string_view> t = DateTokens(date_part);
  std::optional<double> date;
  switch (f.type) {
  case fmt::kDate:
  case fmt::kDateTime:
    if (t.size() == 3) date = DateSeconds(YearOf(t[2]), MonthOf(t[1]), ToInteger(t[0], 2));
    break;
  case fmt::kADate:
    if (t.size() == 3) date = DateSeconds(YearOf(t[2]), MonthOf(t[0]), ToInteger(t[1], 2));
    break;
  case fmt::kEDate:
    if (t.size() == 3) date = DateSeconds(YearOf(t[2]), MonthOf(t[1]), ToInteger(t[0], 2));
    break;
  case fmt::kSDate:
  case fmt::kYmdHms:
    if (t.size() == 3) date = DateSeconds(YearOf(t[0]), MonthOf(t[1]), ToInteger(t[2], 2));
    break;
  case fmt::kJDate:
    if (t.size() == 1 && AllDigits(t[0]) && (t[0].size() == 5 || t[0].size() == 7)) {
      const size_t year_digits = t[0].size() - 3;
      const auto year = YearOf(t[0].substr(0, year_digits));
      const auto yday = ToInteger(t[0].substr(year_digits));
      if (year && yday && *yday >= 1 && *yday <= support::DaysInYear(*year)) {
        date = static_cast<double>((support::DaysFromCivil(*year, 1, 1) + *yday - 1) *
                                   support::kSecondsPerDay);
      }
    }
    break;
  case fmt::kMoYr:
    if (t.size() == 2) date = DateSeconds(YearOf(t[1]), MonthOf(t[0]), 1);
    break;
  case fmt::kQYr:
    if (t.size() == 3 && UpperText(t[1]) == "Q") {
      const auto quarter = ToInteger(t[0], 1);
      if (quarter && *quarter >= 1 && *quarter <= 4) {
        date = DateSeconds(YearOf(t[2]), static_cast<int>(*quarter) * 3 - 2, 1);
      }
    }
    break;
  case fmt::kWkYr:
    if (t.size() == 3 && UpperText(t[1]) == "WK") {
      const auto week = ToInteger(t[0], 2);
      const auto year = YearOf(t[2]);
      if (week && year && *week >= 1 && *week <= 53) {
        const int64_t day = support::DaysFromCivil(*year, 1, 1) + (*week - 1) * 7;
        int64_t y = 0;
        int m = 0;
        int d = 0;
        support::CivilFromDays(day, y, m, d);
        if (y == *year) date = static_cast<double>(day * support::kSecondsPerDay);
      }
    }
    break;
  default: break;
  }
  if (!date) return std::nullopt;
  return *date + clock;
}

}  // namespace

bool IsDateFormat(int type) {
  if (type == fmt::kWkDay || type == fmt::kMonth) return false;
  return (type >= 20 && type <= 30) || type == 38 || type == 39 || type == 42 || type == 43;
}

bool IsStringFormat(int type) { return type == fmt::kA || type == fmt::kAHex; }

bool IsTimeFormat(int type) {
  const FormatSpec* spec = FindSpec(type);
  return spec != nullptr && spec->decimals == Decimals::kTime;
}

bool IsKnownFormat(int type) { return FindSpec(type) != nullptr; }

const char* FormatName(int type) {
  const FormatSpec* spec = FindSpec(type);
  return spec == nullptr ? "" : spec->name;
}

int FormatTypeFromName(std::string_view name) {
  const std::string upper = UpperText(Trim(name));
  for (const auto& spec : kSpecs) {
    if (upper == spec.name) return spec.type;
  }
  return 0;
}

FormatCheck CheckFormat(const PrintFormat& format) {
  FormatCheck check;
  const FormatSpec* spec = FindSpec(format.type);
  if (spec == nullptr) {
    check.problem = FormatProblem::kUnknownName;
    return check;
  }
  if (format.width < spec->min_width || format.width > spec->max_width ||
      (format.type == fmt::kAHex && format.width % 2 != 0)) {
    check.problem = FormatProblem::kBadWidth;
    check.low = spec->min_width;
    check.high = spec->max_width;
    return check;
  }
  const int max_decimals = MaxDecimals(*spec, format.width);
  if (format.decimals < 0 || format.decimals > max_decimals) {
    check.problem = FormatProblem::kBadDecimals;
    check.low = 0;
    check.high = max_decimals;
    return check;
  }
  check.format = format;
  return check;
}

FormatCheck ParseFormat(std::string_view text) {
  text = Trim(text);
  size_t i = 0;
  while (i < text.size() && IsAlpha(text[i])) ++i;
  const int type = FormatTypeFromName(text.substr(0, i));
  FormatCheck check;
  if (i == 0) {
    check.problem = FormatProblem::kSyntax;
    return check;
  }
  if (type == 0) {
    check.problem = FormatProblem::kUnknownName;
    return check;
  }
  PrintFormat format = DefaultFormat(type);
  if (i < text.size()) {
    const size_t width_start = i;
    while (i < text.size() && IsDigit(text[i])) ++i;
    const auto width = ToInteger(text.substr(width_start, i - width_start), 6);
    if (!width) {
      check.problem = FormatProblem::kSyntax;
      return check;
    }
    format.width = static_cast<int>(*width);
    format.decimals = 0;
    if (i < text.size()) {
      if (text[i] != '.') {
        check.problem = FormatProblem::kSyntax;
        return check;
      }
      const auto decimals = ToInteger(text.substr(i + 1), 3);
      if (!decimals) {
        check.problem = FormatProblem::kSyntax;
        return check;
      }
      format.decimals = static_cast<int>(*decimals);
    }
  }
  return CheckFormat(format);
}

PrintFormat DefaultFormat(int type) {
  const FormatSpec* spec = FindSpec(type);
  if (spec == nullptr) return PrintFormat{};
  return PrintFormat{spec->type, spec->default_width, spec->default_decimals};
}

std::string FormatText(const PrintFormat& format) {
  const FormatSpec* spec = FindSpec(format.type);
  std::string text = spec == nullptr ? "F" : spec->name;
  text += std::to_string(format.width);
  const bool numeric = spec != nullptr && spec->decimals == Decimals::kNumeric;
  if (numeric || (spec != nullptr && spec->decimals == Decimals::kTime && format.decimals > 0)) {
    text += '.';
    text += std::to_string(format.decimals);
  }
  return text;
}

std::string FormatNumber(double value, const PrintFormat& format) {
  if (!std::isfinite(value) || value == std::numeric_limits<double>::lowest()) return {};
  switch (format.type) {
  case fmt::kF:
  case fmt::kComma:
  case fmt::kDot:
  case fmt::kDollar:
  case fmt::kPct:
  case fmt::kE: return FormatPlainNumber(value, format);
  case fmt::kWkDay: {
    const double day = std::floor(value);
    if (day < 1 || day > 7) return {};
    return UpperName(support::WeekdayName(static_cast<int>(day) - 1), format.width);
  }
  case fmt::kMonth: {
    const double month = std::floor(value);
    if (month < 1 || month > 12) return {};
    return UpperName(support::MonthName(static_cast<int>(month)), format.width);
  }
  case fmt::kTime:
  case fmt::kDTime:
  case fmt::kMTime:
    if (std::fabs(value) > kMaxDateSeconds) return Stars(format.width);
    return FormatDuration(value, format);
  default:
    if (IsDateFormat(format.type)) return FormatDateValue(value, format);
    return ShortestNumberText(value);
  }
}

std::optional<double> ParseFormatted(std::string_view text, const PrintFormat& format,
                                     char decimal_point) {
  text = Trim(text);
  if (text.empty()) return std::nullopt;
  double value = 0.0;
  std::string cleaned;
  switch (format.type) {
  case fmt::kF:
  case fmt::kE:
    if (!ReadNumberText(text, value, decimal_point)) return std::nullopt;
    return value;
  case fmt::kComma:
  case fmt::kDollar:
  case fmt::kPct:
    for (char c : text) {
      if (c == ',' || (c == '$' && format.type == fmt::kDollar)) continue;
      cleaned += c;
    }
    if (format.type == fmt::kPct && !cleaned.empty() && cleaned.back() == '%') cleaned.pop_back();
    if (!ReadNumberText(cleaned, value)) return std::nullopt;
    return value;
  case fmt::kDot:
    for (char c : text) {
      if (c != '.') cleaned += c;
    }
    if (!ReadNumberText(cleaned, value, ',')) return std::nullopt;
    return value;
  default:
    if (IsDateFormat(format.type) || format.type == fmt::kWkDay || format.type == fmt::kMonth) {
      return ParseDateText(text, format);
    }
    return std::nullopt;
  }
}

std::string HexText(std::string_view bytes) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string out;
  out.reserve(bytes.size() * 2);
  for (unsigned char c : bytes) {
    out += kDigits[c >> 4];
    out += kDigits[c & 0x0F];
  }
  return out;
}

std::optional<std::string> FromHexText(std::string_view text) {
  if (text.size() % 2 != 0) return std::nullopt;
  auto nibble = [](char c) -> int {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
  };
  std::string out;
  out.reserve(text.size() / 2);
  for (size_t i = 0; i < text.size(); i += 2) {
    const int high = nibble(text[i]);
    const int low = nibble(text[i + 1]);
    if (high < 0 || low < 0) return std::nullopt;
    out += static_cast<char>(high * 16 + low);
  }
  return out;
}

}  // namespace support
