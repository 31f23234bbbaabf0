// Tests of the shared text utilities: number text round trips, UTF-8 validation, positions.
#include "support/text.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <random>

#include <gtest/gtest.h>

namespace support {
namespace {

TEST(FormatNumber, ShortestExactText) {
  EXPECT_EQ(FormatNumber(1.0), "1");
  EXPECT_EQ(FormatNumber(0.25), "0.25");
  EXPECT_EQ(FormatNumber(-3.5), "-3.5");
  EXPECT_EQ(FormatNumber(0.1), "0.1");
  EXPECT_EQ(FormatNumber(1.0 / 3.0), "0.3333333333333333");
  EXPECT_EQ(FormatNumber(100.0), "100");
  EXPECT_EQ(FormatNumber(1e6), "1000000");
  EXPECT_EQ(FormatNumber(123.456), "123.456");
  EXPECT_EQ(FormatNumber(1e20), "100000000000000000000");
  EXPECT_EQ(FormatNumber(1e21), "1e+21");
  EXPECT_EQ(FormatNumber(1.5e300), "1.5e+300");
  EXPECT_EQ(FormatNumber(0.000001), "0.000001");
  EXPECT_EQ(FormatNumber(1e-7), "1e-7");
  EXPECT_EQ(FormatNumber(-2.5e-10), "-2.5e-10");
  EXPECT_EQ(FormatNumber(0.0), "0");
  EXPECT_EQ(FormatNumber(-0.0), "0");
  EXPECT_EQ(FormatNumber(std::numeric_limits<double>::quiet_NaN()), "NaN");
  EXPECT_EQ(FormatNumber(std::numeric_limits<double>::infinity()), "Infinity");
  EXPECT_EQ(FormatNumber(-std::numeric_limits<double>::infinity()), "-Infinity");
}

TEST(FormatNumber, ReadsBackExactly) {
  std::mt19937_64 generator(42);
  std::uniform_int_distribution<std::uint64_t> bits;
  int checked = 0;
  while (checked < 20000) {
    std::uint64_t raw = bits(generator);
    double value;
    std::memcpy(&value, &raw, sizeof value);
    if (!std::isfinite(value)) continue;
    std::optional<double> back = ParseNumber(FormatNumber(value));
    ASSERT_TRUE(back.has_value()) << FormatNumber(value);
    ASSERT_EQ(*back, value) << FormatNumber(value);
    ++checked;
  }
  for (double value : {5e-324, std::numeric_limits<double>::max(), 9007199254740993.0, 0.3}) {
    EXPECT_EQ(ParseNumber(FormatNumber(value)), value);
  }
  EXPECT_TRUE(std::isnan(*ParseNumber(FormatNumber(std::nan("")))));
  EXPECT_EQ(ParseNumber("-Infinity"), -std::numeric_limits<double>::infinity());
}

TEST(ParseNumber, RejectsWhatIsNotWhollyANumber) {
  EXPECT_EQ(ParseNumber("12"), 12.0);
  EXPECT_EQ(ParseNumber("-0.5e3"), -500.0);
  EXPECT_FALSE(ParseNumber(""));
  EXPECT_FALSE(ParseNumber(" 1"));
  EXPECT_FALSE(ParseNumber("1 "));
  EXPECT_FALSE(ParseNumber("+1"));
  EXPECT_FALSE(ParseNumber("1,5"));
  EXPECT_FALSE(ParseNumber("abc"));
  EXPECT_FALSE(ParseNumber("1e400"));
}

TEST(TextUtilities, CaseTrimSplitJoin) {
  EXPECT_EQ(ToUpperAscii("tcm Model é"), "TCM MODEL é");
  EXPECT_EQ(ToLowerAscii("TCM Model É"), "tcm model É");
  EXPECT_TRUE(EqualsIgnoreCase("BestFit", "BESTFIT"));
  EXPECT_FALSE(EqualsIgnoreCase("BESTFIT", "BESTFIT "));
  EXPECT_FALSE(EqualsIgnoreCase("a", "b"));

  EXPECT_EQ(Trim(" \t a b \r\n"), "a b");
  EXPECT_EQ(Trim(" \t\n "), "");

  EXPECT_EQ(Split("a,,b", ','), (std::vector<std::string>{"a", "", "b"}));
  EXPECT_EQ(Split("", ','), (std::vector<std::string>{""}));
  EXPECT_EQ(Split("a,", ','), (std::vector<std::string>{"a", ""}));
  EXPECT_EQ(SplitTrimmed(" a , ,b ,", ','), (std::vector<std::string>{"a", "b"}));

  EXPECT_EQ(Join({"region", "store", "sales"}, "-"), "region-store-sales");
  EXPECT_EQ(Join({}, "-"), "");
  EXPECT_EQ(Join(Split("x|y||z", '|'), "|"), "x|y||z");
}

TEST(Utf8, FindsTheFirstIllFormedByte) {
  EXPECT_TRUE(IsValidUtf8("plain ascii"));
  EXPECT_TRUE(IsValidUtf8("\xC3\xA9t\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80"));  // été € 😀
  EXPECT_EQ(FindInvalidUtf8("ab\xFF"), 2u);              // byte that never occurs
  EXPECT_EQ(FindInvalidUtf8("a\xC3"), 1u);               // truncated sequence
  EXPECT_EQ(FindInvalidUtf8("a\xC0\xAF"), 1u);           // overlong '/'
  EXPECT_EQ(FindInvalidUtf8("\xE0\x80\xAF"), 0u);        // overlong, three bytes
  EXPECT_EQ(FindInvalidUtf8("ok\xED\xA0\x80"), 2u);      // surrogate U+D800
  EXPECT_EQ(FindInvalidUtf8("\xF4\x90\x80\x80"), 0u);    // past U+10FFFF
  EXPECT_EQ(FindInvalidUtf8("\xE2\x82"), 0u);            // cut before the end
  EXPECT_EQ(FindInvalidUtf8("\xE2\x28\xA1"), 0u);        // bad continuation
  EXPECT_EQ(FindInvalidUtf8("\xF4\x8F\xBF\xBF"), std::string_view::npos);  // U+10FFFF itself
}

TEST(PositionAt, CountsLinesAndCharacters) {
  std::string_view text = "ab\n\xC3\xA9x\ny";
  EXPECT_EQ(PositionAt(text, 0).line, 1);
  EXPECT_EQ(PositionAt(text, 0).column, 1);
  EXPECT_EQ(PositionAt(text, 2).column, 3);  // the newline itself
  EXPECT_EQ(PositionAt(text, 3).line, 2);
  EXPECT_EQ(PositionAt(text, 3).column, 1);
  EXPECT_EQ(PositionAt(text, 5).column, 2);  // 'x' after the two-byte é
  EXPECT_EQ(PositionAt(text, 7).line, 3);
  EXPECT_EQ(PositionAt(text, 100).line, 3);
  EXPECT_EQ(PositionAt(text, 100).column, 2);
}

}  // namespace
}  // namespace support
