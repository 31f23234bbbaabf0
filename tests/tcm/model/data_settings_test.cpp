// Tests of the DATASETTINGS reader of TCM MODEL, driven through command text: reading order,
// time axes (time variables, cyclic periods, date variables), intervals and data methods.
#include <gtest/gtest.h>

#include <optional>

#include "host/data/date_definition.h"
#include "host/output/rv.h"
#include "tcm/model/tcm_model_parser.h"
#include "tcm/tcm_test_util.h"

namespace {

using host::DateComponent;
using host::Measure;
using Result = tcm_test::ParseResult<TCMModelValidSpecs>;

// sales 0, region 1, store 2, city 3, day 4, stamp 5, period 6, week 7, year 8, label 9.
std::shared_ptr<host::Dataset> Plain() {
  return tcm_test::MakeDataset({{"sales"},
                                {"region", 8, "A8"},
                                {"store", 0, "F8.0", Measure::kOrdinal},
                                {"city", 8, "A8"},
                                {"day", 0, "DATE11"},
                                {"stamp", 20, "A20"},
                                {"period", 0, "F8.0"},
                                {"week", 0, "F8.0"},
                                {"year", 0, "F8.0"},
                                {"label", 8, "A8"}});
}

// sales 0, region 1, then the date variables in the order given (highest first).
std::shared_ptr<host::Dataset> WithDates(std::vector<DateComponent> components) {
  auto dataset = tcm_test::MakeDataset({{"sales"}, {"region", 8, "A8"}}, 30);
  std::vector<host::DictDatePart> parts;
  for (DateComponent component : components) {
    host::DictDatePart part;
    part.component = component;
    if (component == DateComponent::kYear)
      part.start = 2015;
    parts.push_back(part);
  }
  ParserMessage messages;
  EXPECT_TRUE(host::ApplyDateDefinition(parts, "test", *dataset, messages));
  return dataset;
}

Result Settings(const std::string& settings, std::shared_ptr<host::Dataset> dataset,
                const std::string& more = "") {
  const std::string text = "TCM MODEL " + (settings.empty() ? "" : "/DATASETTINGS " + settings) +
                           more + " /FIELDSGROUP /FIELDS TARGETS=sales.";
  return tcm_test::Parse<TCMModelValidSpecs, TCMModelParser>(text, dataset, "TCM MODEL",
                                                             "Temporal Causal Modeling");
}

bool Uses(const Result& r, int index) {
  return std::find(r.used.begin(), r.used.end(), index) != r.used.end();
}

const char* kDateTime = "TIMETYPE=DATETIMEVAR TIMEVAR=day ";
const char* kCyclic = "TIMETYPE=CYCLICPERIODS ";

TEST(DataSettings, ReadingOrderDoesNotFollowWritingOrder) {
  const auto a =
      Settings("TIMETYPE=CYCLICPERIODS TIMEVAR=period(TYPE=PERIOD) week(TYPE=CYCLE LEVEL=1 "
               "LENGTH=7) year(TYPE=CYCLE LEVEL=2 LENGTH=52) ANALYSISINTERVAL=CYCLE(LEVEL=2)",
               Plain());
  const auto b =
      Settings("ANALYSISINTERVAL=CYCLE(LEVEL=2) TIMEVAR=period(TYPE=PERIOD) week(TYPE=CYCLE "
               "LEVEL=1 LENGTH=7) year(TYPE=CYCLE LEVEL=2 LENGTH=52) TIMETYPE=CYCLICPERIODS",
               Plain());
  ASSERT_TRUE(a.ok) << a.Describe();
  ASSERT_TRUE(b.ok) << b.Describe();
  EXPECT_EQ(b.spec.analysisInterval, TimeIntervalKind::CYCLE);
  EXPECT_EQ(b.spec.cycleLevel, 2);
  EXPECT_EQ(b.spec.timeVars.cycleVars.size(), 2u);
  EXPECT_EQ(a.used, b.used);

  // The level is checked against cycle variables that are read first, wherever written.
  const auto c =
      Settings("ANALYSISINTERVAL=CYCLE(LEVEL=2) TIMEVAR=period(TYPE=PERIOD) week(TYPE=CYCLE "
               "LEVEL=1 LENGTH=7) TIMETYPE=CYCLICPERIODS",
               Plain());
  EXPECT_FALSE(c.ok);
  EXPECT_TRUE(c.Has("WRONG_MODELINTERVAL_KEY")) << c.Describe();

  // A fault of a late step written first does not hide the fault of an early step.
  const auto d = Settings("GROUP=NOMETHOD TIMETYPE=NONE DIMENSIONS=region", Plain());
  EXPECT_FALSE(d.ok);
  EXPECT_TRUE(d.Has("NO_DIMENSIONS_KEY")) << d.Describe();
  EXPECT_FALSE(d.Has("InvalidParamValue")) << d.Describe();
}

TEST(DataSettings, DimensionsFailAtTheirStepAndListByDictionaryPosition) {
  // TIMETYPE=NONE: the list is read (step 1), then refused at step 3.
  const auto none = Settings("TIMETYPE=NONE DIMENSIONS=region", Plain());
  EXPECT_FALSE(none.ok);
  EXPECT_TRUE(none.Has("NO_DIMENSIONS_KEY")) << none.Describe();
  EXPECT_EQ(none.spec.dimensions.size(), 1u);
  // Date variables: refused at step 1 before the list is looked at.
  const auto dated = Settings("DIMENSIONS=nosuch TIMETYPE=NONE", WithDates({DateComponent::kYear}));
  EXPECT_FALSE(dated.ok);
  EXPECT_TRUE(dated.Has("NO_DIMENSIONS_KEY")) << dated.Describe();
  EXPECT_FALSE(dated.Has("VariableNotInDict"));
  EXPECT_FALSE(dated.Has("DATE_SPEC_EFFECT_KEY"));
  EXPECT_TRUE(dated.spec.dimensions.empty());

  // TO runs by dictionary position over either type; the result is the set's, without repeats.
  const auto range = Settings(std::string(kDateTime) + "DIMENSIONS=region TO CITY store", Plain());
  ASSERT_TRUE(range.ok) << range.Describe();
  ASSERT_EQ(range.spec.dimensions.size(), 3u);
  EXPECT_EQ(range.spec.dimensions[0].GetName(), "city");
  EXPECT_EQ(range.spec.dimensions[1].GetName(), "region");
  EXPECT_EQ(range.spec.dimensions[2].GetName(), "store");
  EXPECT_TRUE(Uses(range, 1) && Uses(range, 2) && Uses(range, 3) && Uses(range, 4));

  const std::vector<std::pair<std::string, std::vector<std::string>>> faults = {
      {"DIMENSIONS=nosuch", {"VariableNotInDict", "nosuch", "DIMENSIONS", "DIMENSIONS"}},
      {"DIMENSIONS=region TO nosuch", {"VariableNotInDict", "nosuch", "DIMENSIONS", "FIELDS"}},
      {"DIMENSIONS=region 5", {"InvalidVarName", "5", "DIMENSIONS", "FIELDS"}},
      {"DIMENSIONS=ALL", {"InvalidVarName", "ALL", "DIMENSIONS", "FIELDS"}},
      {"DIMENSIONS=region TO", {"SyntaxErrorInParam", "TO", "DIMENSIONS", "FIELDS"}},
      {"DIMENSIONS=TO city", {"SyntaxErrorInParam", "TO", "DIMENSIONS", "FIELDS"}},
      {"DIMENSIONS=region TO 7", {"InvalidVarName", "7", "DIMENSIONS", "FIELDS"}},
      // sales is a scale variable: no categories to split series by.
      {"DIMENSIONS=region sales", {"NeedDepVarCat", "sales", "DIMENSIONS", "DATASETTINGS"}},
  };
  for (const auto& [text, expected] : faults) {
    const auto r = Settings(std::string(kDateTime) + text, Plain());
    EXPECT_FALSE(r.ok) << text;
    EXPECT_TRUE(r.Has(expected[0], {expected.begin() + 1, expected.end()}))
        << text << ": " << r.Describe();
  }
}

TEST(DataSettings, TimeVariableOfDateTimeAndIsoTypes) {
  const auto date = Settings("TIMETYPE=DATETIMEVAR TIMEVAR=DAY", Plain());
  ASSERT_TRUE(date.ok) << date.Describe();
  EXPECT_EQ(date.spec.timeType, "DATETIMEVAR");
  EXPECT_EQ(date.spec.timeVars.timeVar, "day");
  EXPECT_TRUE(date.spec.timeVars.periodVar.empty());
  EXPECT_EQ(date.spec.inputInterval.interval, TimeIntervalKind::AUTODETECT);
  EXPECT_EQ(date.spec.analysisInterval, TimeIntervalKind::USEINPUT);
  EXPECT_TRUE(Uses(date, 4));

  const auto iso = Settings("TIMETYPE=ISO8601 TIMEVAR=stamp", Plain());
  ASSERT_TRUE(iso.ok) << iso.Describe();
  EXPECT_EQ(iso.spec.timeVars.timeVar, "stamp");
  EXPECT_TRUE(Uses(iso, 5));
  EXPECT_TRUE(Settings("TIMETYPE=ISO8601 TIMEVAR=day", Plain()).ok)
      << "a date format serves ISO too";

  const std::vector<std::pair<std::string, std::vector<std::string>>> faults = {
      {"TIMETYPE=DATETIMEVAR TIMEVAR=stamp", {"INVALID_TIMEVAR_FORMAT_KEY", "stamp"}},
      {"TIMETYPE=DATETIMEVAR TIMEVAR=sales", {"INVALID_TIMEVAR_FORMAT_KEY", "sales"}},
      {"TIMETYPE=ISO8601 TIMEVAR=sales", {"INVALID_ISOVAR_KEY", "sales"}},
      {"TIMETYPE=ISO8601 TIMEVAR=nosuch",
       {"VariableNotInDict", "nosuch", "TIMEVAR", "DATASETTINGS"}},
      {"TIMETYPE=DATETIMEVAR", {"ParamNeedParam", "TIMEVAR", "TIMETYPE", "DATETIMEVAR"}},
      {"TIMEVAR=day", {"ParamRequiredForSubCom", "TIMETYPE", "DATASETTINGS"}},
      {"TIMETYPE=DATETIMEVAR TIMEVAR=day stamp",
       {"IgnoredParamOtherParamValue", "TIMEVAR", "TIMETYPE", "DATETIMEVAR", "DATASETTINGS"}},
      {"TIMETYPE=DATETIMEVAR TIMEVAR=5", {"InvalidVarName", "5", "TIMEVAR", "DATASETTINGS"}},
      {"TIMETYPE=DATETIMEVAR TIMEVAR=day INPUTINTERVAL=IRREGULAR", {"USEINPUT_IRREGULAR_KEY"}},
      {"TIMETYPE=DATETIMEVAR TIMEVAR=day INPUTINTERVAL=MONTH(INCREMENT=3) ANALYSISINTERVAL=DAY",
       {"MISMATCHING_INTERVAL_KEY", "DAY", "MONTH"}},
  };
  for (const auto& [text, expected] : faults) {
    const auto r = Settings(text, Plain());
    EXPECT_FALSE(r.ok) << text;
    EXPECT_TRUE(r.Has(expected[0], {expected.begin() + 1, expected.end()}))
        << text << ": " << r.Describe();
  }

  // NONE: the case number is the time; a TIMEVAR is only a warning.
  const auto none = Settings("TIMETYPE=NONE TIMEVAR=day ANALYSISINTERVAL=YEAR", Plain());
  ASSERT_TRUE(none.ok) << none.Describe();
  EXPECT_TRUE(none.Has("IgnoredParam", {"TIMEVAR", "DATASETTINGS"}));
  EXPECT_EQ(none.spec.timeVars.periodVar, "$casecount");
  EXPECT_TRUE(none.spec.timeVars.timeVar.empty());
  EXPECT_EQ(none.spec.inputInterval.interval, TimeIntervalKind::IGNORE);
  EXPECT_EQ(none.spec.analysisInterval, TimeIntervalKind::IGNORE);
  EXPECT_FALSE(Uses(none, 4));
}

TEST(DataSettings, CyclicPeriodsReadTriplesAndSortCyclesHighestFirst) {
  const auto r =
      Settings(std::string(kCyclic) +
                   "TIMEVAR=period(TYPE=PERIOD INCREMENT=2 START=5) week(TYPE=CYCLE LEVEL=1 "
                   "LENGTH=7) YEAR(LENGTH=52 START=3 LEVEL=2 TYPE=CYCLE)",
               Plain());
  ASSERT_TRUE(r.ok) << r.Describe();
  const TimeVariableSpec& t = r.spec.timeVars;
  EXPECT_EQ(t.periodVar, "period");
  EXPECT_EQ(t.periodIncrement, 2);
  EXPECT_EQ(t.periodStart, 5);
  ASSERT_EQ(t.cycleVars.size(), 2u);
  EXPECT_EQ(t.cycleVars[0].name, "year");
  EXPECT_EQ(t.cycleVars[0].level, 2);
  EXPECT_EQ(t.cycleVars[0].length, 52);
  EXPECT_EQ(t.cycleVars[0].start, 3);
  EXPECT_EQ(t.cycleVars[1].name, "week");
  EXPECT_EQ(t.cycleVars[1].start, 1);
  EXPECT_EQ(r.spec.inputInterval.interval, TimeIntervalKind::IGNORE);
  EXPECT_EQ(r.spec.analysisInterval, TimeIntervalKind::USEINPUT);
  EXPECT_TRUE(Uses(r, 6) && Uses(r, 7) && Uses(r, 8));

  // A period variable alone has nothing to aggregate to: 13 whatever was written.
  const auto alone =
      Settings(std::string(kCyclic) + "TIMEVAR=period(TYPE=PERIOD) ANALYSISINTERVAL=YEAR", Plain());
  ASSERT_TRUE(alone.ok) << alone.Describe();
  EXPECT_EQ(alone.spec.analysisInterval, TimeIntervalKind::IGNORE);
  EXPECT_TRUE(alone.spec.timeVars.cycleVars.empty());

  const std::string week = " week(TYPE=CYCLE LEVEL=1 LENGTH=7)";
  const std::vector<std::pair<std::string, std::vector<std::string>>> faults = {
      {"TIMEVAR=period", {"PERIOD_VAR_REQUIRED_KEY"}},
      {"TIMEVAR=period(TYPE=CYCLE)", {"PERIOD_VAR_REQUIRED_KEY"}},
      {"TIMEVAR=period week", {"PERIOD_VAR_REQUIRED_KEY"}},
      {"TIMEVAR=period(INCREMENT=1)", {"ParamRequiredForSubCom", "TYPE", "DATASETTINGS"}},
      {"TIMEVAR=period(TYPE=PERIOD TYPE=PERIOD)", {"ParamRepeated", "TYPE", "DATASETTINGS"}},
      {"TIMEVAR=period(TYPE=PERIOD START=1 START=2)",
       {"ParamRepeated", "INCREMENT", "DATASETTINGS"}},
      {"TIMEVAR=period(TYPE=PERIOD INCREMENT=x)", {"ParamNeedInteger", "INCREMENT"}},
      {"TIMEVAR=period(TYPE=PERIOD LEVEL=1)", {"InvalidParam", "LEVEL", "DATASETTINGS"}},
      {"TIMEVAR=period(TYPE=PERIOD INCREMENT)", {"SyntaxErrorInParam"}},
      {"TIMEVAR=region(TYPE=PERIOD)", {"INVALID_TIMEVAR_KEY", "region"}},
      {"TIMEVAR=period(TYPE=PERIOD) label(TYPE=CYCLE LEVEL=1 LENGTH=2)",
       {"INVALID_TIMEVAR_KEY", "label"}},
      {"TIMEVAR=period(TYPE=PERIOD) nosuch(TYPE=CYCLE LEVEL=1 LENGTH=2)",
       {"VariableNotInDict", "nosuch", "TIMEVAR"}},
      {"TIMEVAR=period(TYPE=PERIOD)" + week + week, {"VarNameRepeated", "week"}},
      {"TIMEVAR=period(TYPE=PERIOD) period(TYPE=CYCLE LEVEL=1 LENGTH=2)",
       {"VarNameRepeated", "period"}},
      {"TIMEVAR=period(TYPE=PERIOD) week(TYPE=CYCLE LEVEL=1)",
       {"ParamNeedParam", "LENGTH", "TYPE", "TIMEVAR"}},
      {"TIMEVAR=period(TYPE=PERIOD) week(LEVEL=1 LENGTH=7)",
       {"ParamNeedParam", "TYPE", "TYPE", "TIMEVAR"}},
      {"TIMEVAR=period(TYPE=PERIOD) week(TYPE=CYCLE LENGTH=7)",
       {"ParamNeedParam", "LEVEL", "TYPE", "TIMEVAR"}},
      {"TIMEVAR=period(TYPE=PERIOD) week(TYPE=CYCLE LEVEL=0 LENGTH=7)",
       {"InvalidParamValue", "0", "LEVEL", "DATASETTINGS"}},
      {"TIMEVAR=period(TYPE=PERIOD) week(TYPE=CYCLE LEVEL=1 LENGTH=7 INCREMENT=2)",
       {"SyntaxErrorInParam", "INCREMENT", "TIMEVAR"}},
      {"TIMEVAR=period(TYPE=PERIOD) week", {"SyntaxErrorInParam"}},
      {"TIMEVAR=period(TYPE=PERIOD)" + week + " ANALYSISINTERVAL=CYCLE(LEVEL=2)",
       {"WRONG_MODELINTERVAL_KEY"}},
      {"TIMEVAR=period(TYPE=PERIOD)" + week + " INPUTINTERVAL=DAY", {"NO_INPUTINTERVAL_KEY"}},
  };
  for (const auto& [text, expected] : faults) {
    const auto f = Settings(std::string(kCyclic) + text, Plain());
    EXPECT_FALSE(f.ok) << text;
    EXPECT_TRUE(f.Has(expected[0], {expected.begin() + 1, expected.end()}))
        << text << ": " << f.Describe();
  }
}

TEST(DataSettings, InputIntervalQualifiersAndTheHoursOfADay) {
  const auto hour = Settings(std::string(kDateTime) +
                                 "INPUTINTERVAL=HOUR(INCREMENT=2 HRSDAY=12 DAYSTART=6 DAYSWK=5 "
                                 "WKSTART=MON)",
                             Plain());
  ASSERT_TRUE(hour.ok) << hour.Describe();
  const InputIntervalSpec& in = hour.spec.inputInterval;
  EXPECT_EQ(in.interval, TimeIntervalKind::HOUR);
  EXPECT_EQ(in.increment, 2);
  EXPECT_EQ(in.hoursPerDay, 12);
  EXPECT_EQ(in.dayStart, 6);
  EXPECT_EQ(in.daysPerWeek, 5);
  EXPECT_EQ(in.weekStart, "MON");

  const auto tooMany =
      Settings(std::string(kDateTime) + "INPUTINTERVAL=HOUR(INCREMENT=2 HRSDAY=13)", Plain());
  EXPECT_FALSE(tooMany.ok);
  EXPECT_TRUE(tooMany.Has("INVALID_HRSDAY_KEY")) << tooMany.Describe();

  const auto zero = Settings(std::string(kDateTime) + "INPUTINTERVAL=HOUR(INCREMENT=0)", Plain());
  EXPECT_FALSE(zero.ok);
  EXPECT_TRUE(zero.Has("InvalidParamValue", {"0", "INCREMENT", "DATASETTINGS"})) << zero.Describe();
  const auto negative =
      Settings(std::string(kDateTime) + "INPUTINTERVAL=HOUR(INCREMENT=-3)", Plain());
  EXPECT_FALSE(negative.ok);
  EXPECT_TRUE(negative.Has("INVALID_HRSDAY_KEY")) << negative.Describe();
  // Only HOUR ties the hours of a day to INCREMENT.
  EXPECT_TRUE(
      Settings(std::string(kDateTime) + "INPUTINTERVAL=MINUTE(INCREMENT=0 HRSDAY=24)", Plain()).ok);

  const auto day =
      Settings(std::string(kDateTime) + "INPUTINTERVAL=DAY(WKSTART=TUE DAYSWK=6)", Plain());
  ASSERT_TRUE(day.ok) << day.Describe();
  EXPECT_EQ(day.spec.inputInterval.interval, TimeIntervalKind::DAY);
  EXPECT_EQ(day.spec.inputInterval.daysPerWeek, 6);
  EXPECT_EQ(day.spec.inputInterval.weekStart, "TUE");
  EXPECT_EQ(day.spec.inputInterval.increment, 1);

  const auto duration =
      Settings(std::string(kDateTime) + "INPUTINTERVAL=DURATION(INTERVAL=MINUTE INCREMENT=15) "
                                        "ANALYSISINTERVAL=HOUR",
               Plain());
  ASSERT_TRUE(duration.ok) << duration.Describe();
  EXPECT_EQ(duration.spec.inputInterval.interval, TimeIntervalKind::DURATION);
  EXPECT_EQ(duration.spec.inputInterval.durationUnit, "MINUTE");
  EXPECT_EQ(duration.spec.inputInterval.increment, 15);
  EXPECT_EQ(duration.spec.analysisInterval, TimeIntervalKind::HOUR);

  const auto quarter = Settings(std::string(kDateTime) + "INPUTINTERVAL=QUARTER", Plain());
  ASSERT_TRUE(quarter.ok) << quarter.Describe();
  EXPECT_EQ(quarter.spec.inputInterval.interval, TimeIntervalKind::QUARTER);
}

TEST(DataSettings, DateSpecificationLevelsLengthsAndAnalysisIntervals) {
  // Dataset: sales 0, region 1, YEAR_ 2, QUARTER_ 3, MONTH_ 4, DATE_ 5.
  const auto ymq = [] {
    return WithDates({DateComponent::kYear, DateComponent::kQuarter, DateComponent::kMonth});
  };
  const auto r = Settings("MAXMISSING=30", ymq());
  ASSERT_TRUE(r.ok) << r.Describe();
  const TimeVariableSpec& t = r.spec.timeVars;
  EXPECT_EQ(r.spec.timeType, "DATESPEC");
  EXPECT_EQ(t.periodVar, "MONTH_");
  ASSERT_EQ(t.cycleVars.size(), 2u);
  EXPECT_EQ(t.cycleVars[0].name, "YEAR_");
  EXPECT_EQ(t.cycleVars[0].level, 2);
  EXPECT_EQ(t.cycleVars[0].length, 4); // quarters in a year
  EXPECT_EQ(t.cycleVars[0].start, 1);
  EXPECT_EQ(t.cycleVars[1].name, "QUARTER_");
  EXPECT_EQ(t.cycleVars[1].level, 1);
  EXPECT_EQ(t.cycleVars[1].length, 3); // months in a quarter
  EXPECT_EQ(r.spec.inputInterval.interval, TimeIntervalKind::IGNORE);
  EXPECT_TRUE(Uses(r, 2) && Uses(r, 3) && Uses(r, 4));
  EXPECT_FALSE(Uses(r, 5));

  // Without DATASETTINGS the date variables give the same time axis.
  const auto absent = Settings("", ymq());
  ASSERT_TRUE(absent.ok) << absent.Describe();
  EXPECT_EQ(absent.spec.timeVars.periodVar, "MONTH_");
  EXPECT_EQ(absent.spec.timeVars.cycleVars.size(), 2u);
  EXPECT_EQ(absent.spec.inputInterval.interval, TimeIntervalKind::IGNORE);
  const auto required = Settings("", Plain());
  EXPECT_FALSE(required.ok);
  EXPECT_TRUE(required.Has("SubComRequired", {"DATASETTINGS"})) << required.Describe();

  for (const char* interval : {"YEAR", "USEINPUT"}) {
    const auto ok = Settings(std::string("ANALYSISINTERVAL=") + interval, ymq());
    EXPECT_TRUE(ok.ok) << interval << ": " << ok.Describe();
  }
  for (const char* interval : {"QUARTER", "MONTH", "DAY"}) {
    const auto wrong = Settings(std::string("ANALYSISINTERVAL=") + interval, ymq());
    EXPECT_FALSE(wrong.ok) << interval;
    EXPECT_TRUE(wrong.Has("WRONG_MODELINTERVAL_KEY")) << interval << ": " << wrong.Describe();
  }
  const auto cqm = [] {
    return WithDates({DateComponent::kCycle, DateComponent::kQuarter, DateComponent::kMonth});
  };
  EXPECT_TRUE(Settings("ANALYSISINTERVAL=CYCLE(LEVEL=1)", cqm()).ok);
  EXPECT_TRUE(Settings("ANALYSISINTERVAL=YEAR", cqm()).Has("WRONG_MODELINTERVAL_KEY"));

  const auto single = Settings("MAXMISSING=30", WithDates({DateComponent::kYear}));
  ASSERT_TRUE(single.ok) << single.Describe();
  EXPECT_EQ(single.spec.timeVars.periodVar, "YEAR_");
  EXPECT_TRUE(single.spec.timeVars.cycleVars.empty());

  // Week and day: a day's cycle is the week of 7.
  const auto wd = Settings("MAXMISSING=30", WithDates({DateComponent::kWeek, DateComponent::kDay}));
  ASSERT_TRUE(wd.ok) << wd.Describe();
  ASSERT_EQ(wd.spec.timeVars.cycleVars.size(), 1u);
  EXPECT_EQ(wd.spec.timeVars.cycleVars[0].length, 7);
  EXPECT_EQ(wd.spec.timeVars.cycleVars[0].level, 1);

  for (const char* text : {"TIMETYPE=NONE", "TIMEVAR=MONTH_", "INPUTINTERVAL=MONTH"}) {
    const auto refused = Settings(text, ymq());
    EXPECT_FALSE(refused.ok) << text;
    EXPECT_TRUE(refused.Has("DATE_SPEC_EFFECT_KEY")) << text << ": " << refused.Describe();
  }
}

TEST(DataSettings, MethodListsWithOverrides) {
  const auto same = Settings(std::string(kDateTime) + "GROUP=SUM sales(SUM)", Plain());
  ASSERT_TRUE(same.ok) << same.Describe();
  EXPECT_TRUE(same.Has("IGNORE_VAR_KEY", {"sales", "GROUP"})) << same.Describe();
  EXPECT_TRUE(same.spec.groupOverrides.empty());

  const auto only = Settings(std::string(kDateTime) + "GROUP=SALES(mean)", Plain());
  ASSERT_TRUE(only.ok) << only.Describe();
  EXPECT_EQ(only.spec.group, "SUM");
  ASSERT_EQ(only.spec.groupOverrides.size(), 1u);
  EXPECT_EQ(only.spec.groupOverrides[0], FieldMethod("sales", "MEAN"));
  EXPECT_FALSE(only.Has("IGNORE_VAR_KEY"));

  const auto mixed = Settings(std::string(kDateTime) +
                                  "AGGREGATE=max sales(MIN) week(MAX) year(MAX) DISTRIBUTE=MEAN "
                                  "period(SUM)",
                              Plain());
  ASSERT_TRUE(mixed.ok) << mixed.Describe();
  EXPECT_EQ(mixed.spec.aggregate, "MAX");
  ASSERT_EQ(mixed.spec.aggregateOverrides.size(), 1u);
  EXPECT_EQ(mixed.spec.aggregateOverrides[0], FieldMethod("sales", "MIN"));
  EXPECT_TRUE(mixed.Has("IGNORE_VAR_KEY", {"week year", "AGGREGATE"})) << mixed.Describe();
  EXPECT_EQ(mixed.spec.distribute, "MEAN");
  ASSERT_EQ(mixed.spec.distributeOverrides.size(), 1u);
  EXPECT_EQ(mixed.spec.distributeOverrides[0], FieldMethod("period", "SUM"));
  EXPECT_EQ(mixed.spec.group, "SUM");

  const std::vector<std::pair<std::string, std::vector<std::string>>> faults = {
      {"GROUP=MEDIAN", {"InvalidParamValue", "MEDIAN", "GROUP", "DATASETTINGS"}},
      {"GROUP=5", {"SyntaxErrorInParam", "5", "GROUP", "DATASETTINGS"}},
      {"GROUP=SUM sales MEAN", {"InvalidParamValue", "sales MEAN", "GROUP", "DATASETTINGS"}},
      {"GROUP=sales(MEDIAN)", {"InvalidParamValue", "MEDIAN", "DISTRIBUTE", "DATASETTINGS"}},
      {"AGGREGATE=SUM sales(X)", {"InvalidParamValue", "X", "DISTRIBUTE", "DATASETTINGS"}},
      {"DISTRIBUTE=MODE", {"InvalidParamValue", "MODE", "DISTRIBUTE", "DATASETTINGS"}},
      {"DISTRIBUTE=SUM sales(MAX)", {"InvalidParamValue", "MAX", "DISTRIBUTE", "DATASETTINGS"}},
      {"GROUP=SUM nosuch(MEAN)", {"VariableNotInDict", "nosuch", "GROUP", "DATASETTINGS"}},
      {"GROUP=SUM 5(MEAN)", {"InvalidVarName", "5", "GROUP", "DATASETTINGS"}},
      {"GROUP=SUM sales MEAN MIN MAX", {"SyntaxErrorInParam", "MEAN", "GROUP", "DATASETTINGS"}},
  };
  for (const auto& [text, expected] : faults) {
    const auto r = Settings(std::string(kDateTime) + text, Plain());
    EXPECT_FALSE(r.ok) << text;
    EXPECT_TRUE(r.Has(expected[0], {expected.begin() + 1, expected.end()}))
        << text << ": " << r.Describe();
  }
}

TEST(DataSettings, InterpolateMissingValuesAndLimits) {
  const auto plain =
      Settings(std::string(kDateTime) + "INTERPOLATE=KMEAN USERMISSING=INCLUDE CROSSDAYHRS=INCLUDE "
                                        "MAXMISSING=40 MAXDIMVALUES=500",
               Plain());
  ASSERT_TRUE(plain.ok) << plain.Describe();
  EXPECT_EQ(plain.spec.interpolate, "KMEAN");
  EXPECT_EQ(plain.spec.interpolateSpan, 2);
  EXPECT_FALSE(plain.spec.excludeUserMissing);
  EXPECT_FALSE(plain.spec.excludeCrossDayHours);
  EXPECT_EQ(plain.spec.maxMissing, 40);
  EXPECT_EQ(plain.spec.maxDimValues, 500);

  const auto span =
      Settings(std::string(kDateTime) + "INTERPOLATE=KMEDIAN(5) USERMISSING=EXCLUDE", Plain());
  ASSERT_TRUE(span.ok) << span.Describe();
  EXPECT_EQ(span.spec.interpolate, "KMEDIAN");
  EXPECT_EQ(span.spec.interpolateSpan, 5);
  EXPECT_TRUE(span.spec.excludeUserMissing);

  const auto loose = Settings(std::string(kDateTime) + "INTERPOLATE=KMEAN 3", Plain());
  EXPECT_FALSE(loose.ok);
  EXPECT_TRUE(loose.Has("InvalidParamOption", {"KMEAN 3", "INTERPOLATE", "DATASETTINGS"}))
      << loose.Describe();
}

// The debug display over what the reader filled: every time axis and interval is shown.
TEST(DataSettings, DebugDisplayShowsWhatWasRead) {
  std::vector<Result> results = {
      Settings(std::string(kCyclic) +
                   "TIMEVAR=period(TYPE=PERIOD) week(TYPE=CYCLE LEVEL=1 LENGTH=7) "
                   "ANALYSISINTERVAL=CYCLE(LEVEL=1) GROUP=sales(MEAN) "
                   "INTERPOLATE=KMEAN(4)",
               Plain()),
      Settings(std::string(kDateTime) + "DIMENSIONS=region INPUTINTERVAL=DURATION(INTERVAL=HOUR)",
               Plain()),
      Settings("MAXMISSING=30", WithDates({DateComponent::kYear, DateComponent::kQuarter})),
  };
  for (const auto& r : results) {
    ASSERT_TRUE(r.ok) << r.Describe();
    host::OutputDocument document;
    host::Session session;
    session.document = &document;
    host::SessionScope scope(session);
    {
      RvProcedure procedure("Temporal Causal Modeling", 10);
      r.spec.displayValidSpec();
    }
    std::string all;
    for (const auto& child : document.root.children.at(0)->children) {
      for (const auto& line : child->lines)
        all += line + "\n";
    }
    EXPECT_NE(all.find("DATASETTINGS /TIMETYPE"), std::string::npos);
    EXPECT_NE(all.find(r.spec.timeType), std::string::npos) << all;
    for (const auto& cycle : r.spec.timeVars.cycleVars) {
      EXPECT_NE(all.find(cycle.name), std::string::npos) << all;
    }
  }
}

// Malformed settings of every kind: each is refused with a message or read, never a crash.
TEST(DataSettings, GarbageNeverCrashes) {
  const std::vector<std::string> garbage = {
      "TIMETYPE=CYCLICPERIODS TIMEVAR=period(",
      "TIMETYPE=CYCLICPERIODS TIMEVAR=period()",
      "TIMETYPE=CYCLICPERIODS TIMEVAR=period(TYPE)",
      "TIMETYPE=CYCLICPERIODS TIMEVAR=period(TYPE=)",
      "TIMETYPE=CYCLICPERIODS TIMEVAR=period(=PERIOD)",
      "TIMETYPE=CYCLICPERIODS TIMEVAR=period(TYPE=PERIOD) (",
      "TIMETYPE=CYCLICPERIODS TIMEVAR=period(TYPE=PERIOD) week(",
      "TIMETYPE=CYCLICPERIODS TIMEVAR=period(TYPE=PERIOD) week()",
      "TIMETYPE=CYCLICPERIODS TIMEVAR=period(TYPE=PERIOD) week(TYPE=CYCLE LEVEL=1 LENGTH=7",
      "TIMETYPE=CYCLICPERIODS TIMEVAR=period(TYPE=PERIOD) week(TYPE=CYCLE LEVEL=99999999999)",
      "TIMETYPE=CYCLICPERIODS TIMEVAR=period(TYPE=PERIOD)) week",
      "TIMETYPE=CYCLICPERIODS TIMEVAR='period'",
      "TIMETYPE=CYCLICPERIODS TIMEVAR=ALL",
      "TIMETYPE=CYCLICPERIODS TIMEVAR=",
      "TIMETYPE=DATETIMEVAR TIMEVAR=day INPUTINTERVAL=",
      "TIMETYPE=DATETIMEVAR TIMEVAR=day INPUTINTERVAL=HOUR(INCREMENT=)",
      "TIMETYPE=DATETIMEVAR TIMEVAR=day INPUTINTERVAL=DURATION",
      "TIMETYPE=DATETIMEVAR TIMEVAR=day INPUTINTERVAL=DURATION(INCREMENT=2 INTERVAL=HOUR)",
      "TIMETYPE=DATETIMEVAR TIMEVAR=day INPUTINTERVAL=HOUR(INCREMENT=-2147483648)",
      "TIMETYPE=DATETIMEVAR TIMEVAR=day ANALYSISINTERVAL=CYCLE",
      "TIMETYPE=DATETIMEVAR TIMEVAR=day ANALYSISINTERVAL=CYCLE(LEVEL=x)",
      "TIMETYPE=DATETIMEVAR TIMEVAR=day ANALYSISINTERVAL=(",
      "TIMETYPE=DATETIMEVAR TIMEVAR=day GROUP=",
      "TIMETYPE=DATETIMEVAR TIMEVAR=day GROUP=(",
      "TIMETYPE=DATETIMEVAR TIMEVAR=day GROUP=( ) ( )",
      "TIMETYPE=DATETIMEVAR TIMEVAR=day GROUP=sales(MEAN)(",
      "TIMETYPE=DATETIMEVAR TIMEVAR=day GROUP=sales(MEAN sales(MEAN))",
      "TIMETYPE=DATETIMEVAR TIMEVAR=day GROUP=SUM sales() week(MIN)",
      "TIMETYPE=DATETIMEVAR TIMEVAR=day INTERPOLATE=KMEAN(",
      "TIMETYPE=DATETIMEVAR TIMEVAR=day INTERPOLATE=KMEAN(x)",
      "TIMETYPE=DATETIMEVAR TIMEVAR=day INTERPOLATE=(3)",
      "TIMETYPE=DATETIMEVAR TIMEVAR=day USERMISSING=(",
      "TIMETYPE=DATETIMEVAR TIMEVAR=day MAXMISSING=ALL",
      "TIMETYPE=DATETIMEVAR TIMEVAR=day DIMENSIONS=",
      "TIMETYPE=DATETIMEVAR TIMEVAR=day DIMENSIONS=( region )",
      "TIMETYPE=DATETIMEVAR TIMEVAR=day DIMENSIONS=label TO region",
      "TIMETYPE=DATETIMEVAR TIMEVAR=day DIMENSIONS=TO TO TO",
      "TIMETYPE=",
      "TIMETYPE=NONE TIMEVAR=( ( ) )",
      "MAXDIMVALUES=x",
      "= = =",
      "( ) /",
  };
  for (const auto& text : garbage) {
    for (const auto& dataset :
         {Plain(), WithDates({DateComponent::kYear, DateComponent::kMonth})}) {
      const auto r = Settings(text, dataset);
      if (!r.ok) {
        bool error = false;
        for (const auto& message : r.messages) {
          error = error || message.severity == host::Severity::Error ||
                  message.source == "IgnoredParamOtherParamValue";
        }
        EXPECT_TRUE(error) << text << ": refused without an error: " << r.Describe();
      }
    }
  }
}

} // namespace
