// Tests of print formats and number texts: every code read, printed and read back.
#include "host/data/print_format.h"

#include <gtest/gtest.h>

#include <cmath>

#include "host/data/dataset.h"
#include "host/data/number_text.h"
#include "support/time.h"

namespace host {
namespace {

double At(int64_t year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
  return static_cast<double>(support::ToSeconds({year, month, day, hour, minute, second}));
}

struct FormatCase {
  const char* text;
  int code;
  double value;
  const char* printed;
};

TEST(PrintFormatTest, EveryCodeReadsPrintsAndReadsBack) {
  const FormatCase cases[] = {
      {"F8.2", 5, 1234.5, "1234.50"},
      {"COMMA9.2", 3, 1234.5, "1,234.50"},
      {"DOLLAR10.2", 4, -1234.5, "-$1,234.50"},
      {"PCT6.1", 31, 12.5, "12.5%"},
      {"DOT9.2", 32, 1234.5, "1.234,50"},
      {"E10.3", 17, 1250, "1.250E+03"},
      {"DATE11", 20, At(2015, 3, 1), "01-MAR-2015"},
      {"DATE9", 20, At(2015, 3, 1), "01-MAR-15"},
      {"TIME8", 21, 3725, "01:02:05"},
      {"TIME5", 21, 3720, "01:02"},
      {"TIME11.2", 21, 3725.25, "01:02:05.25"},
      {"TIME8", 21, -3725, "-01:02:05"},
      {"DATETIME20", 22, At(2015, 3, 1, 10, 20, 30), "01-MAR-2015 10:20:30"},
      {"DATETIME17", 22, At(2015, 3, 1, 10, 20), "01-MAR-2015 10:20"},
      {"DATETIME23.2", 22, At(2015, 3, 1, 10, 20, 30) + 0.25, "01-MAR-2015 10:20:30.25"},
      {"ADATE10", 23, At(2015, 3, 1), "03/01/2015"},
      {"ADATE8", 23, At(2015, 3, 1), "03/01/15"},
      {"JDATE7", 24, At(2015, 3, 1), "2015060"},
      {"JDATE5", 24, At(2016, 12, 31), "16366"},
      {"DTIME11", 25, 2 * 86400 + 3725, "02 01:02:05"},
      {"DTIME14.2", 25, 2 * 86400 + 3725.5, "02 01:02:05.50"},
      {"WKDAY9", 26, 1, "SUNDAY"},
      {"WKDAY3", 26, 3, "TUE"},
      {"MONTH9", 27, 3, "MARCH"},
      {"MONTH3", 27, 9, "SEP"},
      {"MOYR8", 28, At(2015, 3, 1), "MAR 2015"},
      {"MOYR6", 28, At(2015, 3, 1), "MAR 15"},
      {"QYR8", 29, At(2015, 4, 1), "2 Q 2015"},
      {"QYR6", 29, At(2015, 1, 1), "1 Q 15"},
      {"WKYR10", 30, At(2015, 1, 8), "02 WK 2015"},
      {"WKYR8", 30, At(2015, 12, 31), "53 WK 15"},
      {"EDATE10", 38, At(2015, 3, 1), "01.03.2015"},
      {"EDATE8", 38, At(2015, 3, 1), "01.03.15"},
      {"SDATE10", 39, At(2015, 3, 1), "2015/03/01"},
      {"SDATE8", 39, At(2015, 3, 1), "15/03/01"},
      {"YMDHMS19", 42, At(2015, 3, 1, 10, 20, 30), "2015-03-01 10:20:30"},
      {"YMDHMS16", 42, At(2015, 3, 1, 10, 20), "2015-03-01 10:20"},
      {"YMDHMS22.2", 42, At(1969, 12, 31, 23, 59, 59) + 0.5, "1969-12-31 23:59:59.50"},
      {"MTIME5", 43, 125, "02:05"},
      {"MTIME8.2", 43, 125.5, "02:05.50"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    const FormatCheck check = ParseFormat(c.text);
    ASSERT_TRUE(check.format.has_value());
    EXPECT_EQ(check.format->type, c.code);
    EXPECT_EQ(FormatText(*check.format), c.text);
    EXPECT_EQ(FormatNumber(c.value, *check.format), c.printed);
    const auto back = ParseFormatted(c.printed, *check.format);
    ASSERT_TRUE(back.has_value());
    EXPECT_DOUBLE_EQ(*back, c.value);
  }
  // The string formats and names alone with their default widths.
  EXPECT_EQ(ParseFormat("a10").format, (PrintFormat{1, 10, 0}));
  EXPECT_EQ(ParseFormat(" AHEX20 ").format, (PrintFormat{2, 20, 0}));
  EXPECT_EQ(ParseFormat("DATE").format, (PrintFormat{20, 11, 0}));
  EXPECT_EQ(ParseFormat("F").format, (PrintFormat{5, 8, 2}));
  EXPECT_EQ(FormatText(PrintFormat{5, 8, 0}), "F8.0");
}

TEST(PrintFormatTest, DateFormatCodes) {
  for (int code = 0; code <= 50; ++code) {
    const bool date = (code >= 20 && code <= 25) || (code >= 28 && code <= 30) || code == 38 ||
                      code == 39 || code == 42 || code == 43;
    EXPECT_EQ(IsDateFormat(code), date) << code;
    if (date) {
      EXPECT_STRNE(FormatName(code), "") << code;
    }
  }
  EXPECT_TRUE(IsStringFormat(1));
  EXPECT_TRUE(IsStringFormat(2));
  EXPECT_FALSE(IsStringFormat(5));
  EXPECT_EQ(FormatTypeFromName("wkday"), 26);
  EXPECT_EQ(FormatTypeFromName("MONTH"), 27);
}

TEST(PrintFormatTest, BadFormatTextsSayWhatIsWrong) {
  EXPECT_EQ(ParseFormat("X8").problem, FormatProblem::kUnknownName);
  EXPECT_EQ(ParseFormat("8.2").problem, FormatProblem::kSyntax);
  EXPECT_EQ(ParseFormat("F8.x").problem, FormatProblem::kSyntax);
  EXPECT_EQ(ParseFormat("F8,2").problem, FormatProblem::kSyntax);
  FormatCheck check = ParseFormat("DATE8");
  EXPECT_EQ(check.problem, FormatProblem::kBadWidth);
  EXPECT_EQ(check.low, 9);
  EXPECT_EQ(check.high, 40);
  EXPECT_EQ(ParseFormat("F41").problem, FormatProblem::kBadWidth);
  EXPECT_EQ(ParseFormat("AHEX5").problem, FormatProblem::kBadWidth);
  check = ParseFormat("F8.8");
  EXPECT_EQ(check.problem, FormatProblem::kBadDecimals);
  EXPECT_EQ(check.high, 7);
  EXPECT_EQ(ParseFormat("DATE11.2").problem, FormatProblem::kBadDecimals);
  EXPECT_EQ(ParseFormat("TIME8.2").problem, FormatProblem::kBadDecimals);  // needs TIME11.2
}

TEST(PrintFormatTest, PrintingEdges) {
  const PrintFormat f62{fmt::kF, 6, 2};
  EXPECT_EQ(FormatNumber(12345.678, f62), "12346");        // decimals give way first
  EXPECT_EQ(FormatNumber(12345.678, {fmt::kF, 4, 2}), "****");
  EXPECT_EQ(FormatNumber(1.5e20, {fmt::kF, 8, 2}), "1.50E+20");
  EXPECT_EQ(FormatNumber(-0.001, {fmt::kF, 8, 2}), "0.00");
  EXPECT_EQ(FormatNumber(1234567, {fmt::kComma, 8, 0}), "1234567");  // grouping gives way
  EXPECT_EQ(FormatNumber(kSysMiss, {fmt::kF, 8, 2}), "");
  EXPECT_EQ(FormatNumber(NAN, {fmt::kDate, 11, 0}), "");
  EXPECT_EQ(FormatNumber(1e300, {fmt::kDate, 11, 0}), "***********");
  EXPECT_EQ(FormatNumber(8, {fmt::kWkDay, 9, 0}), "");
  // A date shows the day its value lies in, also before 1970.
  EXPECT_EQ(FormatNumber(At(1969, 12, 31, 23), {fmt::kDate, 11, 0}), "31-DEC-1969");
  // Rounding to the shown seconds carries into the minute.
  EXPECT_EQ(FormatNumber(59.996, {fmt::kTime, 11, 2}), "00:01:00.00");
}

TEST(PrintFormatTest, ReadingIsLenientWhereTextsVary) {
  const PrintFormat date{fmt::kDate, 11, 0};
  EXPECT_EQ(ParseFormatted("1-mar-2015", date), At(2015, 3, 1));
  EXPECT_EQ(ParseFormatted("01 March 2015", date), At(2015, 3, 1));
  EXPECT_EQ(ParseFormatted("2015-03-01", date), At(2015, 3, 1));  // ISO always reads
  EXPECT_EQ(ParseFormatted("01-MAR-68", date), At(2068, 3, 1));
  EXPECT_EQ(ParseFormatted("01-MAR-69", date), At(1969, 3, 1));
  EXPECT_FALSE(ParseFormatted("29-FEB-2015", date).has_value());
  EXPECT_FALSE(ParseFormatted("01-XYZ-2015", date).has_value());
  EXPECT_FALSE(ParseFormatted("01-MAR-2015 10:00", date).has_value());
  EXPECT_EQ(ParseFormatted("3/1/2015", {fmt::kADate, 10, 0}), At(2015, 3, 1));
  EXPECT_EQ(ParseFormatted("01-MAR-2015", {fmt::kDateTime, 20, 0}), At(2015, 3, 1));
  EXPECT_FALSE(ParseFormatted("01-MAR-2015 25:00", {fmt::kDateTime, 20, 0}).has_value());
  EXPECT_EQ(ParseFormatted("tu", {fmt::kWkDay, 9, 0}), 3);
  EXPECT_FALSE(ParseFormatted("T", {fmt::kWkDay, 9, 0}).has_value());
  EXPECT_FALSE(ParseFormatted("8", {fmt::kWkDay, 9, 0}).has_value());
  EXPECT_EQ(ParseFormatted("sep", {fmt::kMonth, 9, 0}), 9);
  EXPECT_EQ(ParseFormatted("12", {fmt::kMonth, 9, 0}), 12);
  EXPECT_EQ(ParseFormatted("$1,234.50", {fmt::kDollar, 10, 2}), 1234.5);
  EXPECT_EQ(ParseFormatted("3,5", {fmt::kF, 8, 2}, ','), 3.5);
  EXPECT_FALSE(ParseFormatted("3,5", {fmt::kF, 8, 2}).has_value());
  EXPECT_FALSE(ParseFormatted("abc", {fmt::kF, 8, 2}).has_value());
  EXPECT_EQ(FromHexText("4142"), "AB");
  EXPECT_EQ(HexText("AB"), "4142");
  EXPECT_FALSE(FromHexText("414").has_value());
  EXPECT_FALSE(FromHexText("41G2").has_value());
}

TEST(NumberTextTest, ShortestExactFormAndStrictReading) {
  EXPECT_EQ(ShortestNumberText(1.0), "1");
  EXPECT_EQ(ShortestNumberText(0.25), "0.25");
  EXPECT_EQ(ShortestNumberText(0.1), "0.1");
  EXPECT_EQ(ShortestNumberText(-3.5), "-3.5");
  EXPECT_EQ(ShortestNumberText(-0.0), "0");
  EXPECT_EQ(ShortestNumberText(1e20), "1e+20");
  EXPECT_EQ(ShortestNumberText(kSysMiss), "");
  for (double x : {1.0 / 3.0, 2.0 / 3.0, 1e-7, 123456789.123, -1e300, 5e-324}) {
    double back = 0.0;
    ASSERT_TRUE(ReadNumberText(ShortestNumberText(x), back)) << x;
    EXPECT_EQ(back, x);
  }
  double v = 0.0;
  for (const char* good : {" 1.5 ", "+2", ".5", "5.", "1e5", "1E-3", "-0"}) {
    EXPECT_TRUE(ReadNumberText(good, v)) << good;
  }
  for (const char* bad : {"", " ", "-", "1.2.3", "1e", "inf", "nan", "0x10", "1,5", "1e999", "1 2"}) {
    EXPECT_FALSE(ReadNumberText(bad, v)) << bad;
  }
  ASSERT_TRUE(ReadNumberText("1,5", v, ','));
  EXPECT_EQ(v, 1.5);
  EXPECT_EQ(DecimalsWritten("2.50"), 2);
  EXPECT_EQ(DecimalsWritten("1.5e-3"), 4);
  EXPECT_EQ(DecimalsWritten("1e5"), 0);
  EXPECT_EQ(DecimalsWritten("12"), 0);
}

}  // namespace
}  // namespace host
