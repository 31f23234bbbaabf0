// This file contains time conversions: calendar arithmetic, and date texts to and from seconds.
//
// The "local time" rule. A time value is the number of seconds since 1970-01-01 00:00:00 of the
// same wall clock: the calendar fields of a date are counted as if they were UTC, so no time zone
// and no daylight-saving shift ever moves a date. Every day has 86400 seconds, a date's value is
// its day count since 1970-01-01 times 86400, and a time of day adds its seconds. The calendar is
// the proleptic Gregorian one, in both directions from 1970 (negative values are earlier).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace support {

inline constexpr int64_t kSecondsPerDay = 86400;

// The fields of a wall-clock time. Months and days count from 1, the rest from 0.
struct CivilTime {
  int64_t year = 1970;
  int month = 1;
  int day = 1;
  int hour = 0;
  int minute = 0;
  int second = 0;
};

bool IsLeapYear(int64_t year);
// Days of a month; 0 for a month outside 1..12.
int DaysInMonth(int64_t year, int month);
int DaysInYear(int64_t year);
bool IsValidDate(int64_t year, int month, int day);
// Days from 1970-01-01 to a valid date (negative before it).
int64_t DaysFromCivil(int64_t year, int month, int day);
// The date of a day count.
void CivilFromDays(int64_t days, int64_t& year, int& month, int& day);
// Seconds of valid fields, and the fields of any seconds (floor division before 1970).
int64_t ToSeconds(const CivilTime& time);
CivilTime FromSeconds(int64_t seconds);
// Day of the week of a day count: 0 Sunday .. 6 Saturday.
int Weekday(int64_t days);
// Day of the year, 1..366.
int DayOfYear(int64_t year, int month, int day);

// ISO 8601 week: weeks start on Monday; week 1 holds the year's first Thursday.
struct IsoWeek {
  int64_t year = 1970;
  int week = 1;
  int weekday = 1;  // 1 Monday .. 7 Sunday
};
IsoWeek IsoWeekOf(int64_t year, int month, int day);
// Day count of an ISO week date; nullopt when the week is outside the ISO year or the weekday
// outside 1..7.
std::optional<int64_t> DaysFromIsoWeek(int64_t iso_year, int week, int weekday);

// English names: months 1..12, weekdays 0 Sunday .. 6 Saturday; out of range gives "".
const char* MonthName(int month);
const char* MonthAbbrev(int month);
const char* WeekdayName(int weekday);
const char* WeekdayAbbrev(int weekday);
// Month of a full or three-letter English name, any case; 0 when it names none.
int MonthFromName(std::string_view name);

// Parses `text` as laid out by a strftime-style `format`. Directives: %Y year (1 to 4 digits),
// %y two-digit year (69..99 are 19xx, 00..68 are 20xx), %m month, %d and %e day, %H hour,
// %M minute, %S second, %j day of the year, %b %h %B month name (abbreviated or full, any case),
// %a %A weekday name (read and not checked), %F = %Y-%m-%d, %T = %H:%M:%S, %R = %H:%M,
// %G %V %u ISO year, week and weekday, %% a percent sign. Numbers take up to their usual count
// of digits; a blank in the format matches any run of blanks, also none; other characters match
// themselves. Fields not given default to 1970-01-01 00:00:00, so a format of only a time of day
// gives the seconds of that time. nullopt when the text does not follow the format, when
// something is left over (but trailing blanks), or when the fields name no real date or time.
std::optional<int64_t> ParseTime(const std::string& text, const std::string& format);

// Formats seconds with the directives above (%e pads with a blank, %y prints the year modulo
// 100, %Y at least four digits); an unknown directive is copied as it stands.
std::string FormatTime(int64_t seconds, const std::string& format);

// An ISO 8601 date or date-time: "yyyy-mm-dd", then optionally "T" or one blank and "hh:mm",
// ":ss", and a fraction ".f..." of up to 9 digits; a final "Z" is accepted and changes nothing
// (the local-time rule).
struct IsoDateTime {
  int64_t seconds = 0;      // whole seconds
  double fraction = 0.0;    // 0 <= fraction < 1
  bool has_time = false;    // a time of day was written
  bool has_seconds = false;  // the time had seconds
  int fraction_digits = 0;
};
// nullopt when the text is not such a form or names no real date or time.
std::optional<IsoDateTime> ParseIso8601(std::string_view text);
std::string FormatIsoDate(int64_t seconds);                              // "2015-03-01"
std::string FormatIsoDateTime(int64_t seconds, char separator = ' ');  // "2015-03-01 10:20:30"

}  // namespace support
