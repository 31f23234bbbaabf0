// Tests of the time conversions: calendar arithmetic, strftime-style texts and ISO 8601.
#include "support/time.h"

#include <gtest/gtest.h>

namespace support {
namespace {

TEST(TimeTest, CalendarArithmeticAcrossMonthAndLeapYearBoundaries) {
  EXPECT_EQ(DaysFromCivil(1970, 1, 1), 0);
  EXPECT_EQ(DaysFromCivil(1969, 12, 31), -1);
  EXPECT_EQ(DaysFromCivil(2000, 3, 1) - DaysFromCivil(2000, 2, 28), 2);  // 2000 is leap
  EXPECT_EQ(DaysFromCivil(1900, 3, 1) - DaysFromCivil(1900, 2, 28), 1);  // 1900 is not
  EXPECT_EQ(DaysFromCivil(2016, 1, 1) - DaysFromCivil(2015, 1, 1), 365);
  EXPECT_EQ(DaysFromCivil(2017, 1, 1) - DaysFromCivil(2016, 1, 1), 366);
  EXPECT_EQ(DaysInMonth(2024, 2), 29);
  EXPECT_EQ(DaysInMonth(2023, 2), 28);
  EXPECT_EQ(DaysInMonth(2023, 13), 0);
  EXPECT_FALSE(IsValidDate(2023, 2, 29));
  EXPECT_TRUE(IsValidDate(2024, 2, 29));

  // Every day from 1600 to 2400 goes to its count and back.
  int64_t expected = DaysFromCivil(1600, 1, 1);
  for (int64_t year = 1600; year < 2400; ++year) {
    for (int month = 1; month <= 12; ++month) {
      for (int day = 1; day <= DaysInMonth(year, month); ++day) {
        ASSERT_EQ(DaysFromCivil(year, month, day), expected) << year << "-" << month << "-" << day;
        int64_t y = 0;
        int m = 0;
        int d = 0;
        CivilFromDays(expected, y, m, d);
        ASSERT_EQ(y, year);
        ASSERT_EQ(m, month);
        ASSERT_EQ(d, day);
        ++expected;
      }
    }
  }
}

TEST(TimeTest, SecondsFollowTheWallClockWithoutZoneShifts) {
  // The night of a European daylight-saving change has 24 hours like any other.
  const int64_t before = ToSeconds({2021, 3, 28, 0, 0, 0});
  const int64_t after = ToSeconds({2021, 3, 29, 0, 0, 0});
  EXPECT_EQ(after - before, 86400);
  EXPECT_EQ(ToSeconds({2015, 3, 1, 10, 20, 30}), 1425205230);
  const CivilTime t = FromSeconds(-1);
  EXPECT_EQ(t.year, 1969);
  EXPECT_EQ(t.month, 12);
  EXPECT_EQ(t.day, 31);
  EXPECT_EQ(t.hour, 23);
  EXPECT_EQ(t.second, 59);
  EXPECT_EQ(Weekday(0), 4);                                  // Thursday
  EXPECT_EQ(Weekday(DaysFromCivil(1969, 12, 28)), 0);        // Sunday
  EXPECT_EQ(DayOfYear(2024, 12, 31), 366);
}

TEST(TimeTest, IsoWeeksAtYearEnds) {
  // 2021-01-03 (Sunday) still belongs to week 53 of 2020; 2024-12-30 to week 1 of 2025.
  IsoWeek w = IsoWeekOf(2021, 1, 3);
  EXPECT_EQ(w.year, 2020);
  EXPECT_EQ(w.week, 53);
  EXPECT_EQ(w.weekday, 7);
  w = IsoWeekOf(2024, 12, 30);
  EXPECT_EQ(w.year, 2025);
  EXPECT_EQ(w.week, 1);
  EXPECT_EQ(DaysFromIsoWeek(2025, 1, 1), DaysFromCivil(2024, 12, 30));
  EXPECT_FALSE(DaysFromIsoWeek(2021, 53, 1).has_value());  // 2021 has 52 weeks
}

TEST(TimeTest, ParseAndFormatWithFormats) {
  EXPECT_EQ(ParseTime("2015-03-01 10:20:30", "%Y-%m-%d %H:%M:%S"), 1425205230);
  EXPECT_EQ(ParseTime("01/Mar/2015", "%d/%b/%Y"), ToSeconds({2015, 3, 1}));
  EXPECT_EQ(ParseTime("1 MARCH 15", "%d %B %y"), ToSeconds({2015, 3, 1}));
  EXPECT_EQ(ParseTime("Sun 2015-060", "%a %Y-%j"), ToSeconds({2015, 3, 1}));
  EXPECT_EQ(ParseTime("2016-060", "%Y-%j"), ToSeconds({2016, 2, 29}));
  EXPECT_EQ(ParseTime("2020-W53-7", "%G-W%V-%u"), ToSeconds({2021, 1, 3}));
  EXPECT_EQ(ParseTime("70", "%y"), ToSeconds({1970, 1, 1}));
  EXPECT_EQ(ParseTime("68", "%y"), ToSeconds({2068, 1, 1}));
  EXPECT_EQ(ParseTime("08:30", "%H:%M"), 8 * 3600 + 30 * 60);  // a time of day alone
  EXPECT_EQ(ParseTime("2015-03-01  ", "%F"), ToSeconds({2015, 3, 1}));
  // Not a real date, a field out of range, text left over, text missing.
  EXPECT_FALSE(ParseTime("2015-02-29", "%Y-%m-%d").has_value());
  EXPECT_FALSE(ParseTime("2015-13-01", "%Y-%m-%d").has_value());
  EXPECT_FALSE(ParseTime("24:00", "%H:%M").has_value());
  EXPECT_FALSE(ParseTime("2015-03-01x", "%Y-%m-%d").has_value());
  EXPECT_FALSE(ParseTime("2015-03", "%Y-%m-%d").has_value());
  EXPECT_FALSE(ParseTime("2015-366", "%Y-%j").has_value());

  const int64_t t = ToSeconds({2015, 3, 1, 9, 5, 7});
  EXPECT_EQ(FormatTime(t, "%Y-%m-%d %H:%M:%S"), "2015-03-01 09:05:07");
  EXPECT_EQ(FormatTime(t, "%a %A %b %B %e %j %y"), "Sun Sunday Mar March  1 060 15");
  EXPECT_EQ(FormatTime(t, "%F %T %% %G-W%V-%u"), "2015-03-01 09:05:07 % 2015-W09-7");
  EXPECT_EQ(FormatTime(ToSeconds({987, 1, 2}), "%Y"), "0987");
  // Every format that prints all fields reads its own text back.
  for (const char* format : {"%Y-%m-%d %H:%M:%S", "%d %b %Y %T", "%Y%j %H%M%S", "%G-W%V-%u %T"}) {
    for (int64_t s : {int64_t{0}, int64_t{-86401}, int64_t{951782400}, int64_t{4102444799}}) {
      EXPECT_EQ(ParseTime(FormatTime(s, format), format), s) << format << " " << s;
    }
  }
}

TEST(TimeTest, Iso8601DatesAndDateTimes) {
  auto parsed = ParseIso8601("2016-02-29");
  ASSERT_TRUE(parsed.has_value());
  EXPECT_EQ(parsed->seconds, ToSeconds({2016, 2, 29}));
  EXPECT_FALSE(parsed->has_time);

  parsed = ParseIso8601("2016-02-29T23:59");
  ASSERT_TRUE(parsed.has_value());
  EXPECT_TRUE(parsed->has_time);
  EXPECT_FALSE(parsed->has_seconds);
  EXPECT_EQ(parsed->seconds, ToSeconds({2016, 2, 29, 23, 59, 0}));

  parsed = ParseIso8601(" 2015-3-1 10:20:30.25Z ");
  ASSERT_TRUE(parsed.has_value());
  EXPECT_EQ(parsed->seconds, 1425205230);
  EXPECT_DOUBLE_EQ(parsed->fraction, 0.25);
  EXPECT_EQ(parsed->fraction_digits, 2);

  for (const char* bad : {"2015-02-29", "2015-01-32", "15-01-01", "2015-01-01 24:00",
                          "2015-01-01T10", "2015-01-01 10:5", "20150101", "2015-01-01 10:00+01:00",
                          ""}) {
    EXPECT_FALSE(ParseIso8601(bad).has_value()) << bad;
  }
  EXPECT_EQ(FormatIsoDate(ToSeconds({2015, 3, 1, 10})), "2015-03-01");
  EXPECT_EQ(FormatIsoDateTime(1425205230, 'T'), "2015-03-01T10:20:30");
}

}  // namespace
}  // namespace support
