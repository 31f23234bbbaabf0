// Tests of the common time rules: interval compatibility, date specifications and date texts.
#include "tcm/common/intervals.h"

#include <array>
#include <climits>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "host/data/date_definition.h"
#include "host/messages/parser_message.h"
#include "tcm/common/date_text.h"
#include "tcm/tcm_test_util.h"

namespace {

constexpr int kKinds = 15;  // the 14 intervals and 14, what an unknown name reads as

TimeIntervalKind Kind(int value) { return static_cast<TimeIntervalKind>(value); }

std::string PairName(int input, int analysis) {
  return std::to_string(input) + "->" + std::to_string(analysis);
}

// What a calendar time type allows with a step of one unit. Row: input; column: analysis, in the
// numeric order AUTODETECT IRREGULAR DURATION SECOND MINUTE HOUR DAY WEEK MONTH QUARTER YEAR
// USEINPUT CYCLE IGNORE (X), then 14 (?).
//                                                           AIDsmhdwMQYUCX?
constexpr std::array<const char*, kKinds> kCalendarTable = {"111111111111111",   // AUTODETECT
                                                            "000111111111010",   // IRREGULAR
                                                            "000011000001010",   // DURATION
                                                            "000111111111010",   // SECOND
                                                            "000111111111010",   // MINUTE
                                                            "000011111111010",   // HOUR
                                                            "000001111111010",   // DAY
                                                            "000000110011010",   // WEEK
                                                            "000000101111010",   // MONTH
                                                            "000000001111010",   // QUARTER
                                                            "000000001111010",   // YEAR
                                                            "111111111111111",   // USEINPUT
                                                            "111111111111111",   // CYCLE
                                                            "111111111111111",   // IGNORE
                                                            "111111111111111"};  // 14
// The DURATION row for a unit of hours and of minutes: the unit itself is left out.
constexpr const char* kDurationOfHours = "000010000001010";
constexpr const char* kDurationOfMinutes = "000101000001010";

bool NumericOrder(int input, int analysis) {
  return input == 13 || analysis == 13 || analysis >= input;
}

TEST(IntervalsCompatible, CalendarTypesFollowTheTableBothWays) {
  for (const char* type : {"DATETIMEVAR", "ISO8601"}) {
    for (int increment : {1, 0, -3}) {  // below 2 the step never decides
      for (int a = 0; a < kKinds; ++a) {
        for (int b = 0; b < kKinds; ++b) {
          // Each pair is asked in both directions, so a table that is wrongly symmetric fails.
          EXPECT_EQ(IntervalsCompatible(Kind(a), Kind(b), type, "", increment),
                    kCalendarTable[a][b] == '1')
              << type << " " << PairName(a, b) << " increment " << increment;
          EXPECT_EQ(IntervalsCompatible(Kind(b), Kind(a), type, "DAY", increment),
                    kCalendarTable[b][a] == '1')
              << type << " " << PairName(b, a) << " increment " << increment;
        }
      }
    }
    for (int b = 0; b < kKinds; ++b) {
      EXPECT_EQ(IntervalsCompatible(TimeIntervalKind::DURATION, Kind(b), type, "HOUR", 1),
                kDurationOfHours[b] == '1')
          << type << " hours -> " << b;
      EXPECT_EQ(IntervalsCompatible(TimeIntervalKind::DURATION, Kind(b), type, "MINUTE", 1),
                kDurationOfMinutes[b] == '1')
          << type << " minutes -> " << b;
      // The unit is compared as the syntax stores it, upper case.
      EXPECT_EQ(IntervalsCompatible(TimeIntervalKind::DURATION, Kind(b), type, "hour", 1),
                kCalendarTable[2][b] == '1')
          << type << " lower-case unit -> " << b;
    }
  }
}

TEST(IntervalsCompatible, OtherTimeTypesUseTheNumericOrder) {
  // "datetimevar" is not the calendar type: the comparison is exact.
  for (const char* type : {"DATESPEC", "CYCLICPERIODS", "NONE", "", "datetimevar"}) {
    for (int a = 0; a < kKinds; ++a) {
      for (int b = 0; b < kKinds; ++b) {
        EXPECT_EQ(IntervalsCompatible(Kind(a), Kind(b), type, "HOUR", 1), NumericOrder(a, b))
            << type << " " << PairName(a, b);
      }
    }
  }
  // USEINPUT lies above everything, so it passes only by its number here.
  EXPECT_TRUE(
      IntervalsCompatible(TimeIntervalKind::YEAR, TimeIntervalKind::USEINPUT, "NONE", "", 1));
  EXPECT_FALSE(
      IntervalsCompatible(TimeIntervalKind::CYCLE, TimeIntervalKind::USEINPUT, "NONE", "", 1));
}

TEST(IntervalsCompatible, StepsOfSeveralUnitsOnlyAggregate) {
  const std::set<int> stepped = {3, 4, 5, 6, 8, 10};  // SECOND to YEAR but WEEK and QUARTER
  for (const char* type : {"DATETIMEVAR", "ISO8601", "DATESPEC", "NONE"}) {
    const bool calendar = std::string(type) == "DATETIMEVAR" || std::string(type) == "ISO8601";
    for (int increment : {2, 3, 12, INT32_MAX}) {
      for (int a = 0; a < kKinds; ++a) {
        for (int b = 0; b < kKinds; ++b) {
          bool expected = false;
          if (a == 13 || b == 13) {
            expected = true;
          } else if (stepped.count(a) != 0 || !calendar) {
            expected = b >= a;
          } else {
            expected = kCalendarTable[a][b] == '1';
          }
          EXPECT_EQ(IntervalsCompatible(Kind(a), Kind(b), type, "", increment), expected)
              << type << " " << PairName(a, b) << " increment " << increment;
        }
      }
    }
  }

  using K = TimeIntervalKind;
  // Every third month may become quarters, but no longer days, which a step of one allows.
  EXPECT_TRUE(IntervalsCompatible(K::MONTH, K::QUARTER, "DATETIMEVAR", "", 3));
  EXPECT_FALSE(IntervalsCompatible(K::MONTH, K::DAY, "DATETIMEVAR", "", 3));
  EXPECT_TRUE(IntervalsCompatible(K::MONTH, K::DAY, "DATETIMEVAR", "", 1));
  // Stepped inputs answer by number, and USEINPUT lies above all of them.
  EXPECT_TRUE(IntervalsCompatible(K::DAY, K::USEINPUT, "DATETIMEVAR", "", 2));
  // WEEK and QUARTER keep the table whatever the step.
  EXPECT_TRUE(IntervalsCompatible(K::WEEK, K::DAY, "DATETIMEVAR", "", 2));
  EXPECT_FALSE(IntervalsCompatible(K::WEEK, K::MONTH, "DATETIMEVAR", "", 2));
  EXPECT_FALSE(IntervalsCompatible(K::WEEK, K::QUARTER, "ISO8601", "", 4));
  EXPECT_TRUE(IntervalsCompatible(K::QUARTER, K::MONTH, "ISO8601", "", 2));
  // Until the data have shown the interval, everything is allowed.
  for (int b = 0; b < kKinds; ++b) {
    EXPECT_TRUE(IntervalsCompatible(K::AUTODETECT, Kind(b), "DATETIMEVAR", "", 5)) << b;
  }
}

TimeVariableSpec DateSpec(const std::string& period, std::vector<std::string> cycles) {
  TimeVariableSpec spec;
  spec.periodVar = period;
  for (auto& name : cycles) {
    CycleVariable cycle;
    cycle.name = std::move(name);
    spec.cycleVars.push_back(cycle);
  }
  return spec;
}

TEST(DateSpecs, MonthUnderQuarterUnderYearOrCycle) {
  EXPECT_TRUE(IsDateSpecYearQuarterMonth(DateSpec("MONTH_", {"YEAR_", "QUARTER_"})));
  EXPECT_FALSE(IsDateSpecCycleQuarterMonth(DateSpec("MONTH_", {"YEAR_", "QUARTER_"})));
  EXPECT_TRUE(IsDateSpecCycleQuarterMonth(DateSpec("MONTH_", {"CYCLE_", "QUARTER_"})));
  EXPECT_FALSE(IsDateSpecYearQuarterMonth(DateSpec("MONTH_", {"CYCLE_", "QUARTER_"})));

  const std::vector<TimeVariableSpec> neither = {
      DateSpec("MONTH_", {"QUARTER_", "YEAR_"}),       // order matters
      DateSpec("MONTH_", {"YEAR_"}),                   // exactly two cycles
      DateSpec("MONTH_", {"YEAR_", "QUARTER_", "X"}),  // no more
      DateSpec("MONTH_", {"CYCLE_", "YEAR_", "QUARTER_"}),
      DateSpec("DAY_", {"YEAR_", "QUARTER_"}),    // the period is the month
      DateSpec("month_", {"YEAR_", "QUARTER_"}),  // names compare exactly
      DateSpec("MONTH_", {"year_", "QUARTER_"}),
      DateSpec("MONTH_", {}),
  };
  for (const auto& spec : neither) {
    EXPECT_FALSE(IsDateSpecYearQuarterMonth(spec)) << spec.periodVar << spec.cycleVars.size();
    EXPECT_FALSE(IsDateSpecCycleQuarterMonth(spec)) << spec.periodVar << spec.cycleVars.size();
  }
}

TEST(DateFormats, DateAndTimeTypesOnly) {
  const std::set<int> dates = {20, 21, 22, 23, 24, 25, 28, 29, 30, 38, 39, 42, 43};
  for (int type = -2; type <= 80; ++type) {
    EXPECT_EQ(IsDateFormat(type), dates.count(type) != 0) << type;
  }
  EXPECT_FALSE(IsDateFormat(INT_MIN));
  EXPECT_FALSE(IsDateFormat(INT_MAX));
}

std::shared_ptr<host::Dataset> DatedDataset(std::vector<host::DictDatePart> parts) {
  auto dataset = tcm_test::MakeDataset({{"sales"}, {"YEARS"}}, 6);
  ParserMessage messages;
  EXPECT_TRUE(host::ApplyDateDefinition(parts, "test.dict.json", *dataset, messages));
  EXPECT_TRUE(messages.Raised().empty());
  return dataset;
}

TEST(DateVariableNames, TheWholeTableOnlyWithADateDefinition) {
  const std::vector<std::string> table = {"YEAR_", "QUARTER_", "MONTH_",  "WEEK_",
                                          "DAY_",  "HOUR_",    "MINUTE_", "SECOND_"};
  const std::vector<std::string> others = {"sales",  "YEARS", "DATE_",  "CYCLE_", "year_",
                                           "Month_", "YEAR",  " YEAR_", "YEAR_ ", ""};

  // Without a definition nothing is a date variable, not even a variable of such a name.
  auto plain = tcm_test::MakeDataset({{"YEAR_"}, {"MONTH_"}, {"sales"}}, 3);
  ProcedureDataSource plain_source(plain);
  for (const auto& name : table) EXPECT_FALSE(IsDateVariableName(plain_source, name)) << name;
  ProcedureDataSource no_data(nullptr);
  EXPECT_FALSE(IsDateVariableName(no_data, "YEAR_"));

  using host::DateComponent;
  auto dated = DatedDataset(
      {{1, DateComponent::kYear, 2015, std::nullopt}, {2, DateComponent::kMonth, 3, std::nullopt}});
  ProcedureDataSource dated_source(dated);
  ASSERT_GT(dated_source.GetTrendsInfo().GetNDateVars(), 0);
  // Every name of the table counts, also the ones this definition did not make: the table is
  // the rule, not the dataset's variables. Names past the first entry must get an answer too.
  for (const auto& name : table) EXPECT_TRUE(IsDateVariableName(dated_source, name)) << name;
  for (const auto& name : others) EXPECT_FALSE(IsDateVariableName(dated_source, name)) << name;

  auto cyclic = DatedDataset({{1, DateComponent::kCycle, 1, std::nullopt},
                              {2, DateComponent::kQuarter, 1, std::nullopt},
                              {3, DateComponent::kMonth, 1, std::nullopt}});
  ProcedureDataSource cyclic_source(cyclic);
  EXPECT_TRUE(IsDateVariableName(cyclic_source, "MONTH_"));
  EXPECT_FALSE(IsDateVariableName(cyclic_source, "CYCLE_"));
}

struct TextCase {
  std::string text;
  bool ok;
  std::string normalised;
  int kind;
};

TEST(TimeText, NormalisesDatesTimesAndBoth) {
  const std::vector<TextCase> cases = {
      // Digits alone: an hour of one or two digits, a year of four.
      {"9", true, "09:00:00", kTimeKind},
      {"0", true, "00:00:00", kTimeKind},
      {"07", true, "07:00:00", kTimeKind},
      {"23", true, "23:00:00", kTimeKind},
      {"24", false, "", 0},
      {"99", false, "", 0},
      {"2010", true, "2010-00-00 00:00:00", kDateKind},
      {"201", false, "", 0},
      {"20100", false, "", 0},
      // Dates, which start at midnight.
      {"2010-1", true, "2010-01-01 00:00:00", kDateKind},
      {"2010-13", false, "", 0},
      {"2010-0", false, "", 0},
      {"2010-12-31", true, "2010-12-31 00:00:00", kDateKind},
      {"2010-1-5", true, "2010-01-05 00:00:00", kDateKind},
      {"2015-02-31", true, "2015-02-31 00:00:00", kDateKind},  // the calendar is checked later
      {"2010-01-32", false, "", 0},
      {"2010-01-00", false, "", 0},
      {"2010-001-01", false, "", 0},
      {"2010-01-", false, "", 0},
      {"2010-", false, "", 0},
      {"2010--01", false, "", 0},
      {"2010-01-15-3", false, "", 0},
      {"10-01-01", false, "", 0},
      {"-2010-01", false, "", 0},
      // Times: the hour is left as written.
      {"7:5", true, "7:05:00", kTimeKind},
      {"07:05:09", true, "07:05:09", kTimeKind},
      {"25:00", true, "25:00:00", kTimeKind},
      {"7:60", false, "", 0},
      {"7:05:60", false, "", 0},
      {"7:005", false, "", 0},
      {"7:05:", false, "", 0},
      {"7::05", false, "", 0},
      {"7:05:09:01", false, "", 0},
      // A time that is only a final colon holds no time: accepted, and nothing to show.
      {"7:", true, "", kTimeKind},
      // Date and time.
      {"2010-01-15 7:5", true, "2010-01-15 7:05:00", kDateTimeKind},
      {"2010-1-5 13:14:15", true, "2010-01-05 13:14:15", kDateTimeKind},
      {"2010-01-15 7:", true, "2010-01-15 ", kDateTimeKind},
      {"2010-01-15 ", true, "2010-01-15 ", kDateTimeKind},
      {"2010-01-15 7:61", false, "", 0},
      {"2010-13-15 7:05", false, "", 0},
      {" 2010-01-15", false, "", 0},
      {"2010 7:05", false, "", 0},
      {"", false, "", 0},
  };
  for (const auto& c : cases) {
    std::string normalised = "unchanged";
    int kind = -1;
    ParserMessage messages;
    const bool ok = ParseTimeText(c.text, normalised, kind, &messages, "OPTIONS");
    EXPECT_EQ(ok, c.ok) << "'" << c.text << "'";
    if (ok) {
      EXPECT_EQ(normalised, c.normalised) << "'" << c.text << "'";
      EXPECT_EQ(kind, c.kind) << "'" << c.text << "'";
    }
    // Only a character that cannot occur in a date is reported here.
    EXPECT_TRUE(messages.Raised().empty()) << "'" << c.text << "'";
  }
}

TEST(TimeText, ForeignCharactersAreReported) {
  const std::vector<std::string> texts = {"2010/01/01",
                                          "2010-01-01T10:00",
                                          "12.5",
                                          "x",
                                          "2010-01-01\t9",
                                          std::string("20\0"
                                                      "10",
                                                      4),
                                          "+9"};
  for (const std::string& text : texts) {
    std::string normalised;
    int kind = 0;
    ParserMessage messages;
    EXPECT_FALSE(ParseTimeText(text, normalised, kind, &messages, "BUILDOPTIONS")) << text;
    ASSERT_EQ(messages.Raised().size(), 1u) << text;
    EXPECT_EQ(messages.Raised()[0].source, "SyntaxErrorInParam");
    EXPECT_EQ(messages.Raised()[0].args, (std::vector<std::string>{text, "TIMES", "BUILDOPTIONS"}));
    // Without a message sink the answer is the same and nothing breaks.
    EXPECT_FALSE(ParseTimeText(text, normalised, kind, nullptr, "BUILDOPTIONS")) << text;
  }
}

TEST(TimeText, NormaliseTimeLeavesTheOutputWithoutAMinute) {
  for (const std::string text : {"", "7", "7:", "2010"}) {
    std::string out = "kept";
    EXPECT_TRUE(NormaliseTime(text, out)) << text;
    EXPECT_EQ(out, "kept") << text;
  }
  std::string out = "kept";
  EXPECT_FALSE(NormaliseTime("7:5:", out));
  EXPECT_EQ(out, "kept");
  EXPECT_FALSE(NormaliseDate("2010", out));
  EXPECT_FALSE(NormaliseDate("abcd-01-01", out));
  EXPECT_EQ(out, "kept");
  EXPECT_TRUE(NormaliseDate("1999-9-9", out));
  EXPECT_EQ(out, "1999-09-09");
}

TEST(TimeText, GarbageNeverBreaksIt) {
  const std::string alphabet = "0129:- x/";
  // Every text of up to five characters from an alphabet of the allowed characters and a few
  // others: whatever the answer, an accepted text is one of the three layouts.
  std::vector<std::string> texts = {""};
  for (int length = 1; length <= 5; ++length) {
    std::vector<std::string> longer;
    for (const auto& text : texts) {
      if (static_cast<int>(text.size()) != length - 1) continue;
      for (char c : alphabet) longer.push_back(text + c);
    }
    texts.insert(texts.end(), longer.begin(), longer.end());
  }
  for (const auto& text : texts) {
    std::string normalised;
    int kind = 0;
    ParserMessage messages;
    if (!ParseTimeText(text, normalised, kind, &messages, "OPTIONS")) continue;
    EXPECT_TRUE(kind == kDateKind || kind == kTimeKind || kind == kDateTimeKind) << text;
    EXPECT_EQ(normalised.find_first_not_of("0123456789:- "), std::string::npos) << text;
    EXPECT_TRUE(messages.Raised().empty()) << text;
  }
}

TEST(FormatTime, ThreeKindsOfTheWallClock) {
  // 2015-03-01 09:05:07 counted on the wall clock from 1970-01-01 00:00:00.
  const int64_t value = 16495LL * 86400 + 9 * 3600 + 5 * 60 + 7;
  EXPECT_EQ(FormatTime(value, kTimeKind), "09:05:07");
  EXPECT_EQ(FormatTime(value, kDateKind), "2015-03-01");
  EXPECT_EQ(FormatTime(value, kDateTimeKind), "2015-03-01 09:05:07");
  // A packed variable format, or any other kind, shows both.
  EXPECT_EQ(FormatTime(value, 0), "2015-03-01 09:05:07");
  EXPECT_EQ(FormatTime(value, 0x00140B00), "2015-03-01 09:05:07");

  EXPECT_EQ(FormatTime(0, kDateTimeKind), "1970-01-01 00:00:00");
  EXPECT_EQ(FormatTime(0, kTimeKind), "00:00:00");
  EXPECT_EQ(FormatTime(-1, kDateTimeKind), "1969-12-31 23:59:59");
  EXPECT_EQ(FormatTime(-1, kTimeKind), "23:59:59");
  EXPECT_EQ(FormatTime(951782400, kDateKind), "2000-02-29");
  // The last second that fits four year digits, and the first that does not.
  EXPECT_EQ(FormatTime(253402300799LL, kDateTimeKind), "9999-12-31 23:59:59");
  EXPECT_EQ(FormatTime(253402300800LL, kDateTimeKind), "");
  EXPECT_EQ(FormatTime(-62167219200LL, kDateKind), "0000-01-01");
  EXPECT_EQ(FormatTime(-62167219201LL, kDateKind), "");
  for (int64_t huge : {INT64_MAX, INT64_MIN, INT64_MIN + 1, INT64_MAX / 86400 * 86400}) {
    for (int kind : {kDateKind, kTimeKind, kDateTimeKind}) {
      EXPECT_EQ(FormatTime(huge, kind), "") << huge << " " << kind;
    }
  }
}

}  // namespace
