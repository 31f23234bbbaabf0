// This file contains time conversions: calendar arithmetic, and date texts to and from seconds.
#include "support/time.h"

#include <array>
#include <cstdio>

namespace support {
namespace {

constexpr std::array<const char*, 12> kMonthNames = {
    "January", "February", "March",     "April",   "May",      "June",
    "July",    "August",   "September", "October", "November", "December"};
constexpr std::array<const char*, 12> kMonthAbbrevs = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                       "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
constexpr std::array<const char*, 7> kWeekdayNames = {
    "Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday"};
constexpr std::array<const char*, 7> kWeekdayAbbrevs = {"Sun", "Mon", "Tue", "Wed",
                                                        "Thu", "Fri", "Sat"};

int64_t FloorDiv(int64_t a, int64_t b) {
  int64_t q = a / b;
  if ((a % b != 0) && ((a < 0) != (b < 0))) --q;
  return q;
}

char Lower(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsBlank(char c) { return c == ' ' || c == '\t'; }
bool IsAlpha(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

bool EqualsIgnoreCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (Lower(a[i]) != Lower(b[i])) return false;
  }
  return true;
}

// Reads 1..max_digits digits at `pos`; false when there is none.
bool ReadNumber(std::string_view text, size_t& pos, int max_digits, int64_t& value) {
  size_t start = pos;
  value = 0;
  while (pos < text.size() && IsDigit(text[pos]) && static_cast<int>(pos - start) < max_digits) {
    value = value * 10 + (text[pos] - '0');
    ++pos;
  }
  return pos > start;
}

// Reads a run of letters and matches it against full names, then abbreviations; -1 if none.
template <size_t N>
int ReadName(std::string_view text, size_t& pos, const std::array<const char*, N>& full,
             const std::array<const char*, N>& abbrevs) {
  size_t end = pos;
  while (end < text.size() && IsAlpha(text[end])) ++end;
  const std::string_view word = text.substr(pos, end - pos);
  for (size_t i = 0; i < N; ++i) {
    if (EqualsIgnoreCase(word, full[i]) || EqualsIgnoreCase(word, abbrevs[i])) {
      pos = end;
      return static_cast<int>(i);
    }
  }
  return -1;
}

int64_t TwoDigitYear(int64_t yy) { return yy < 69 ? 2000 + yy : 1900 + yy; }

// Fields collected while parsing; -1 marks a field not given.
struct ParsedFields {
  int64_t year = -1;
  int64_t month = -1;
  int64_t day = -1;
  int64_t hour = -1;
  int64_t minute = -1;
  int64_t second = -1;
  int64_t yday = -1;
  int64_t iso_year = -1;
  int64_t iso_week = -1;
  int64_t iso_weekday = -1;
};

bool ParseDirective(char directive, std::string_view text, size_t& pos, ParsedFields& f);

// Walks a format over the text; expansions (%F, %T, %R) recurse through here.
bool ParseWith(std::string_view format, std::string_view text, size_t& pos, ParsedFields& f) {
  for (size_t i = 0; i < format.size(); ++i) {
    const char c = format[i];
    if (c == '%' && i + 1 < format.size()) {
      const char directive = format[++i];
      if (!ParseDirective(directive, text, pos, f)) return false;
    } else if (IsBlank(c)) {
      while (pos < text.size() && IsBlank(text[pos])) ++pos;
    } else {
      if (pos >= text.size() || Lower(text[pos]) != Lower(c)) return false;
      ++pos;
    }
  }
  return true;
}

bool ParseDirective(char directive, std::string_view text, size_t& pos, ParsedFields& f) {
  int64_t value = 0;
  switch (directive) {
  case 'Y': return ReadNumber(text, pos, 4, f.year);
  case 'y':
    if (!ReadNumber(text, pos, 2, value)) return false;
    f.year = TwoDigitYear(value);
    return true;
  case 'm': return ReadNumber(text, pos, 2, f.month);
  case 'e':
    while (pos < text.size() && IsBlank(text[pos])) ++pos;
    return ReadNumber(text, pos, 2, f.day);
  case 'd': return ReadNumber(text, pos, 2, f.day);
  case 'H': return ReadNumber(text, pos, 2, f.hour);
  case 'M': return ReadNumber(text, pos, 2, f.minute);
  case 'S': return ReadNumber(text, pos, 2, f.second);
  case 'j': return ReadNumber(text, pos, 3, f.yday);
  case 'G': return ReadNumber(text, pos, 4, f.iso_year);
  case 'V': return ReadNumber(text, pos, 2, f.iso_week);
  case 'u': return ReadNumber(text, pos, 1, f.iso_weekday);
  case 'b':
  case 'h':
  case 'B': {
    const int month = ReadName(text, pos, kMonthNames, kMonthAbbrevs);
    if (month < 0) return false;
    f.month = month + 1;
    return true;
  }
  case 'a':
  case 'A': return ReadName(text, pos, kWeekdayNames, kWeekdayAbbrevs) >= 0;
  case 'F': return ParseWith("%Y-%m-%d", text, pos, f);
  case 'T': return ParseWith("%H:%M:%S", text, pos, f);
  case 'R': return ParseWith("%H:%M", text, pos, f);
  case '%':
    if (pos >= text.size() || text[pos] != '%') return false;
    ++pos;
    return true;
  default: return false;  // an unknown directive cannot be matched
  }
}

void AppendNumber(std::string& out, int64_t value, int width, char pad = '0') {
  char buffer[32];
  if (value < 0) {
    out += '-';
    value = -value;
  }
  const int n = std::snprintf(buffer, sizeof buffer, "%lld", static_cast<long long>(value));
  for (int i = n; i < width; ++i) out += pad;
  out.append(buffer, static_cast<size_t>(n));
}

}  // namespace

bool IsLeapYear(int64_t year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

int DaysInMonth(int64_t year, int month) {
  static constexpr std::array<int, 12> kDays = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  if (month < 1 || month > 12) return 0;
  return month == 2 && IsLeapYear(year) ? 29 : kDays[static_cast<size_t>(month - 1)];
}

int DaysInYear(int64_t year) { return IsLeapYear(year) ? 366 : 365; }

bool IsValidDate(int64_t year, int month, int day) {
  return month >= 1 && month <= 12 && day >= 1 && day <= DaysInMonth(year, month);
}

// Days from civil and back: the era-based algorithm, exact over the whole int64 range of years
// that the callers use (a 400-year era has exactly 146097 days).
int64_t DaysFromCivil(int64_t year, int month, int day) {
  year -= month <= 2 ? 1 : 0;
  const int64_t era = FloorDiv(year, 400);
  const int64_t yoe = year - era * 400;
  const int64_t doy = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
  const int64_t doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + doe - 719468;
}

void CivilFromDays(int64_t days, int64_t& year, int& month, int& day) {
  days += 719468;
  const int64_t era = FloorDiv(days, 146097);
  const int64_t doe = days - era * 146097;
  const int64_t yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  const int64_t doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const int64_t mp = (5 * doy + 2) / 153;
  day = static_cast<int>(doy - (153 * mp + 2) / 5 + 1);
  month = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
  year = yoe + era * 400 + (month <= 2 ? 1 : 0);
}

int64_t ToSeconds(const CivilTime& time) {
  return DaysFromCivil(time.year, time.month, time.day) * kSecondsPerDay + time.hour * 3600 +
         time.minute * 60 + time.second;
}

CivilTime FromSeconds(int64_t seconds) {
  CivilTime time;
  const int64_t days = FloorDiv(seconds, kSecondsPerDay);
  int64_t rest = seconds - days * kSecondsPerDay;
  CivilFromDays(days, time.year, time.month, time.day);
  time.hour = static_cast<int>(rest / 3600);
  rest %= 3600;
  time.minute = static_cast<int>(rest / 60);
  time.second = static_cast<int>(rest % 60);
  return time;
}

int Weekday(int64_t days) {
  // 1970-01-01 was a Thursday (4).
  const int64_t w = (days + 4) % 7;
  return static_cast<int>(w < 0 ? w + 7 : w);
}

int DayOfYear(int64_t year, int month, int day) {
  return static_cast<int>(DaysFromCivil(year, month, day) - DaysFromCivil(year, 1, 1) + 1);
}

IsoWeek IsoWeekOf(int64_t year, int month, int day) {
  const int64_t days = DaysFromCivil(year, month, day);
  const int wd = Weekday(days);
  const int iso_wd = wd == 0 ? 7 : wd;
  // The week belongs to the ISO year of its Thursday.
  const int64_t thursday = days + (4 - iso_wd);
  int64_t t_year = 0;
  int t_month = 0;
  int t_day = 0;
  CivilFromDays(thursday, t_year, t_month, t_day);
  IsoWeek result;
  result.year = t_year;
  result.week = (DayOfYear(t_year, t_month, t_day) - 1) / 7 + 1;
  result.weekday = iso_wd;
  return result;
}

std::optional<int64_t> DaysFromIsoWeek(int64_t iso_year, int week, int weekday) {
  if (weekday < 1 || weekday > 7 || week < 1) return std::nullopt;
  const int64_t jan4 = DaysFromCivil(iso_year, 1, 4);
  const int jan4_wd = Weekday(jan4) == 0 ? 7 : Weekday(jan4);
  const int64_t week1_monday = jan4 - (jan4_wd - 1);
  const int weeks_in_year = IsoWeekOf(iso_year, 12, 28).week;  // Dec 28 lies in the last week
  if (week > weeks_in_year) return std::nullopt;
  return week1_monday + (week - 1) * 7 + (weekday - 1);
}

const char* MonthName(int month) {
  return month >= 1 && month <= 12 ? kMonthNames[static_cast<size_t>(month - 1)] : "";
}
const char* MonthAbbrev(int month) {
  return month >= 1 && month <= 12 ? kMonthAbbrevs[static_cast<size_t>(month - 1)] : "";
}
const char* WeekdayName(int weekday) {
  return weekday >= 0 && weekday <= 6 ? kWeekdayNames[static_cast<size_t>(weekday)] : "";
}
const char* WeekdayAbbrev(int weekday) {
  return weekday >= 0 && weekday <= 6 ? kWeekdayAbbrevs[static_cast<size_t>(weekday)] : "";
}

int MonthFromName(std::string_view name) {
  for (size_t i = 0; i < 12; ++i) {
    if (EqualsIgnoreCase(name, kMonthNames[i]) || EqualsIgnoreCase(name, kMonthAbbrevs[i])) {
      return static_cast<int>(i + 1);
    }
  }
  return 0;
}

std::optional<int64_t> ParseTime(const std::string& text, const std::string& format) {
  ParsedFields f;
  size_t pos = 0;
  if (!ParseWith(format, text, pos, f)) return std::nullopt;
  while (pos < text.size() && IsBlank(text[pos])) ++pos;
  if (pos != text.size()) return std::nullopt;

  int64_t days = 0;
  if (f.iso_year >= 0 || f.iso_week >= 0) {
    if (f.iso_year < 0 || f.iso_week < 0) return std::nullopt;
    const auto iso = DaysFromIsoWeek(f.iso_year, static_cast<int>(f.iso_week),
                                     f.iso_weekday < 0 ? 1 : static_cast<int>(f.iso_weekday));
    if (!iso) return std::nullopt;
    days = *iso;
  } else {
    const int64_t year = f.year < 0 ? 1970 : f.year;
    if (f.yday >= 0 && f.month < 0 && f.day < 0) {
      if (f.yday < 1 || f.yday > DaysInYear(year)) return std::nullopt;
      days = DaysFromCivil(year, 1, 1) + f.yday - 1;
    } else {
      const int month = f.month < 0 ? 1 : static_cast<int>(f.month);
      const int day = f.day < 0 ? 1 : static_cast<int>(f.day);
      if (f.month > 12 || f.day > 31 || !IsValidDate(year, month, day)) return std::nullopt;
      days = DaysFromCivil(year, month, day);
      if (f.yday >= 0 && f.yday != DayOfYear(year, month, day)) return std::nullopt;
    }
  }
  const int64_t hour = f.hour < 0 ? 0 : f.hour;
  const int64_t minute = f.minute < 0 ? 0 : f.minute;
  const int64_t second = f.second < 0 ? 0 : f.second;
  if (hour > 23 || minute > 59 || second > 59) return std::nullopt;
  return days * kSecondsPerDay + hour * 3600 + minute * 60 + second;
}

std::string FormatTime(int64_t seconds, const std::string& format) {
  const CivilTime t = FromSeconds(seconds);
  const int64_t days = DaysFromCivil(t.year, t.month, t.day);
  std::string out;
  for (size_t i = 0; i < format.size(); ++i) {
    if (format[i] != '%' || i + 1 >= format.size()) {
      out += format[i];
      continue;
    }
    const char directive = format[++i];
    switch (directive) {
    case 'Y': AppendNumber(out, t.year, 4); break;
    case 'y': AppendNumber(out, ((t.year % 100) + 100) % 100, 2); break;
    case 'm': AppendNumber(out, t.month, 2); break;
    case 'd': AppendNumber(out, t.day, 2); break;
    case 'e': AppendNumber(out, t.day, 2, ' '); break;
    case 'H': AppendNumber(out, t.hour, 2); break;
    case 'M': AppendNumber(out, t.minute, 2); break;
    case 'S': AppendNumber(out, t.second, 2); break;
    case 'j': AppendNumber(out, DayOfYear(t.year, t.month, t.day), 3); break;
    case 'b':
    case 'h': out += MonthAbbrev(t.month); break;
    case 'B': out += MonthName(t.month); break;
    case 'a': out += WeekdayAbbrev(Weekday(days)); break;
    case 'A': out += WeekdayName(Weekday(days)); break;
    case 'F': out += FormatTime(seconds, "%Y-%m-%d"); break;
    case 'T': out += FormatTime(seconds, "%H:%M:%S"); break;
    case 'R': out += FormatTime(seconds, "%H:%M"); break;
    case 'G': AppendNumber(out, IsoWeekOf(t.year, t.month, t.day).year, 4); break;
    case 'V': AppendNumber(out, IsoWeekOf(t.year, t.month, t.day).week, 2); break;
    case 'u': AppendNumber(out, IsoWeekOf(t.year, t.month, t.day).weekday, 1); break;
    case '%': out += '%'; break;
    default:
      out += '%';
      out += directive;
      break;
    }
  }
  return out;
}

std::optional<IsoDateTime> ParseIso8601(std::string_view text) {
  while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
  size_t pos = 0;
  int64_t year = 0;
  int64_t month = 0;
  int64_t day = 0;
  // The year takes exactly four digits so that "20150301"-like numbers never pass as dates.
  const size_t year_start = pos;
  if (!ReadNumber(text, pos, 4, year) || pos - year_start != 4) return std::nullopt;
  if (pos >= text.size() || text[pos++] != '-') return std::nullopt;
  if (!ReadNumber(text, pos, 2, month)) return std::nullopt;
  if (pos >= text.size() || text[pos++] != '-') return std::nullopt;
  if (!ReadNumber(text, pos, 2, day)) return std::nullopt;
  if (!IsValidDate(year, static_cast<int>(month), static_cast<int>(day))) return std::nullopt;

  IsoDateTime result;
  int64_t hour = 0;
  int64_t minute = 0;
  int64_t second = 0;
  if (pos < text.size()) {
    if (text[pos] == 'T' || text[pos] == 't') {
      ++pos;
    } else if (IsBlank(text[pos])) {
      while (pos < text.size() && IsBlank(text[pos])) ++pos;
    } else {
      return std::nullopt;
    }
    size_t start = pos;
    if (!ReadNumber(text, pos, 2, hour)) return std::nullopt;
    if (pos >= text.size() || text[pos++] != ':') return std::nullopt;
    start = pos;
    if (!ReadNumber(text, pos, 2, minute) || pos - start != 2) return std::nullopt;
    result.has_time = true;
    if (pos < text.size() && text[pos] == ':') {
      ++pos;
      start = pos;
      if (!ReadNumber(text, pos, 2, second) || pos - start != 2) return std::nullopt;
      result.has_seconds = true;
      if (pos < text.size() && (text[pos] == '.' || text[pos] == ',')) {
        ++pos;
        start = pos;
        int64_t digits = 0;
        if (!ReadNumber(text, pos, 9, digits)) return std::nullopt;
        result.fraction_digits = static_cast<int>(pos - start);
        double scale = 1.0;
        for (int i = 0; i < result.fraction_digits; ++i) scale *= 10.0;
        result.fraction = static_cast<double>(digits) / scale;
      }
    }
    if (pos < text.size() && (text[pos] == 'Z' || text[pos] == 'z')) ++pos;
    if (pos != text.size()) return std::nullopt;
    if (hour > 23 || minute > 59 || second > 59) return std::nullopt;
  }
  result.seconds = DaysFromCivil(year, static_cast<int>(month), static_cast<int>(day)) *
                       kSecondsPerDay +
                   hour * 3600 + minute * 60 + second;
  return result;
}

std::string FormatIsoDate(int64_t seconds) { return FormatTime(seconds, "%Y-%m-%d"); }

std::string FormatIsoDateTime(int64_t seconds, char separator) {
  return FormatTime(seconds, std::string("%Y-%m-%d") + separator + "%H:%M:%S");
}

}  // namespace support
