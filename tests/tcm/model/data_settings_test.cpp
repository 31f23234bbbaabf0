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

// sales 0, region 1, YEAR_ 2, QUARTER_ 3, MONTH_ 4, DATE_ 5; and with CYCLE_ for YEAR_.
std::shared_ptr<host::Dataset> Ymq() {
  return WithDates({DateComponent::kYear, DateComponent::kQuarter, DateComponent::kMonth});
}
std::shared_ptr<host::Dataset> Cqm() {
  return WithDates({DateComponent::kCycle, DateComponent::kQuarter, DateComponent::kMonth});
}
std::shared_ptr<host::Dataset> Years() { return WithDates({DateComponent::kYear}); }

Result Settings(const std::string& settings, std::shared_ptr<host::Dataset> dataset = Plain()) {
  const std::string text = "TCM MODEL " + (settings.empty() ? "" : "/DATASETTINGS " + settings) +
                           " /FIELDSGROUP /FIELDS TARGETS=sales.";
  return tcm_test::Parse<TCMModelValidSpecs, TCMModelParser>(text, dataset, "TCM MODEL",
                                                             "Temporal Causal Modeling");
}

// Reads settings that must pass.
Result Ok(const std::string& settings, std::shared_ptr<host::Dataset> dataset = Plain()) {
  Result r = Settings(settings, std::move(dataset));
  EXPECT_TRUE(r.ok) << settings << ": " << r.Describe();
  return r;
}

bool Uses(const Result& r, int index) {
  return std::find(r.used.begin(), r.used.end(), index) != r.used.end();
}

const std::string kDateTime = "TIMETYPE=DATETIMEVAR TIMEVAR=day ";
const std::string kCyclic = "TIMETYPE=CYCLICPERIODS ";

// A setting that fails: its message (the key, then the first arguments), messages that must not
// come, and the data.
struct Fault {
  std::string settings;
  std::vector<std::string> expected;
  std::vector<std::string> absent = {};
  std::shared_ptr<host::Dataset> (*data)() = Plain;
};

TEST(DataSettings, FaultsNameTheirCause) {
  const std::string week = " week(TYPE=CYCLE LEVEL=1 LENGTH=7)";
  const std::string period = kCyclic + "TIMEVAR=period(TYPE=PERIOD)";
  const std::vector<Fault> faults = {
      // The level is checked against cycle variables that are read first, wherever written.
      {"ANALYSISINTERVAL=CYCLE(LEVEL=2) TIMEVAR=period(TYPE=PERIOD) week(TYPE=CYCLE LEVEL=1 "
       "LENGTH=7) TIMETYPE=CYCLICPERIODS",
       {"WRONG_MODELINTERVAL_KEY"}},
      // A fault of a late step written first does not hide the fault of an early step.
      {"GROUP=NOMETHOD TIMETYPE=NONE DIMENSIONS=region", {"NO_DIMENSIONS_KEY"},
       {"InvalidParamValue"}},
      {"TIMETYPE=NONE DIMENSIONS=region", {"NO_DIMENSIONS_KEY"}},
      {"DIMENSIONS=nosuch TIMETYPE=NONE", {"NO_DIMENSIONS_KEY"},
       {"VariableNotInDict", "DATE_SPEC_EFFECT_KEY"}, Years},
      {kDateTime + "DIMENSIONS=nosuch",
       {"VariableNotInDict", "nosuch", "DIMENSIONS", "DIMENSIONS"}},
      {kDateTime + "DIMENSIONS=region TO nosuch",
       {"VariableNotInDict", "nosuch", "DIMENSIONS", "FIELDS"}},
      {kDateTime + "DIMENSIONS=region 5", {"InvalidVarName", "5", "DIMENSIONS", "FIELDS"}},
      {kDateTime + "DIMENSIONS=ALL", {"InvalidVarName", "ALL", "DIMENSIONS", "FIELDS"}},
      {kDateTime + "DIMENSIONS=region TO", {"SyntaxErrorInParam", "TO", "DIMENSIONS", "FIELDS"}},
      {kDateTime + "DIMENSIONS=TO city", {"SyntaxErrorInParam", "TO", "DIMENSIONS", "FIELDS"}},
      {kDateTime + "DIMENSIONS=region TO 7", {"InvalidVarName", "7", "DIMENSIONS", "FIELDS"}},
      // sales is a scale variable: no categories to split series by.
      {kDateTime + "DIMENSIONS=region sales",
       {"NeedDepVarCat", "sales", "DIMENSIONS", "DATASETTINGS"}},
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
      {kDateTime + "INPUTINTERVAL=IRREGULAR", {"USEINPUT_IRREGULAR_KEY"}},
      {kDateTime + "INPUTINTERVAL=MONTH(INCREMENT=3) ANALYSISINTERVAL=DAY",
       {"MISMATCHING_INTERVAL_KEY", "DAY", "MONTH"}},
      {kCyclic + "TIMEVAR=period", {"PERIOD_VAR_REQUIRED_KEY"}},
      {kCyclic + "TIMEVAR=period(TYPE=CYCLE)", {"PERIOD_VAR_REQUIRED_KEY"}},
      {kCyclic + "TIMEVAR=period week", {"PERIOD_VAR_REQUIRED_KEY"}},
      {kCyclic + "TIMEVAR=period(INCREMENT=1)", {"ParamRequiredForSubCom", "TYPE", "DATASETTINGS"}},
      {kCyclic + "TIMEVAR=period(TYPE=PERIOD TYPE=PERIOD)",
       {"ParamRepeated", "TYPE", "DATASETTINGS"}},
      {kCyclic + "TIMEVAR=period(TYPE=PERIOD START=1 START=2)",
       {"ParamRepeated", "INCREMENT", "DATASETTINGS"}},
      {kCyclic + "TIMEVAR=period(TYPE=PERIOD INCREMENT=x)", {"ParamNeedInteger", "INCREMENT"}},
      {kCyclic + "TIMEVAR=period(TYPE=PERIOD LEVEL=1)", {"InvalidParam", "LEVEL", "DATASETTINGS"}},
      {kCyclic + "TIMEVAR=period(TYPE=PERIOD INCREMENT)", {"SyntaxErrorInParam"}},
      {kCyclic + "TIMEVAR=region(TYPE=PERIOD)", {"INVALID_TIMEVAR_KEY", "region"}},
      {period + " label(TYPE=CYCLE LEVEL=1 LENGTH=2)", {"INVALID_TIMEVAR_KEY", "label"}},
      {period + " nosuch(TYPE=CYCLE LEVEL=1 LENGTH=2)", {"VariableNotInDict", "nosuch", "TIMEVAR"}},
      {period + week + week, {"VarNameRepeated", "week"}},
      {period + " period(TYPE=CYCLE LEVEL=1 LENGTH=2)", {"VarNameRepeated", "period"}},
      {period + " week(TYPE=CYCLE LEVEL=1)", {"ParamNeedParam", "LENGTH", "TYPE", "TIMEVAR"}},
      {period + " week(LEVEL=1 LENGTH=7)", {"ParamNeedParam", "TYPE", "TYPE", "TIMEVAR"}},
      {period + " week(TYPE=CYCLE LENGTH=7)", {"ParamNeedParam", "LEVEL", "TYPE", "TIMEVAR"}},
      {period + " week(TYPE=CYCLE LEVEL=0 LENGTH=7)",
       {"InvalidParamValue", "0", "LEVEL", "DATASETTINGS"}},
      {period + " week(TYPE=CYCLE LEVEL=1 LENGTH=7 INCREMENT=2)",
       {"SyntaxErrorInParam", "INCREMENT", "TIMEVAR"}},
      {period + " week", {"SyntaxErrorInParam"}},
      {period + week + " ANALYSISINTERVAL=CYCLE(LEVEL=2)", {"WRONG_MODELINTERVAL_KEY"}},
      {period + week + " INPUTINTERVAL=DAY", {"NO_INPUTINTERVAL_KEY"}},
      {kDateTime + "INPUTINTERVAL=HOUR(INCREMENT=2 HRSDAY=13)", {"INVALID_HRSDAY_KEY"}},
      {kDateTime + "INPUTINTERVAL=HOUR(INCREMENT=0)",
       {"InvalidParamValue", "0", "INCREMENT", "DATASETTINGS"}},
      {kDateTime + "INPUTINTERVAL=HOUR(INCREMENT=-3)", {"INVALID_HRSDAY_KEY"}},
      // Without date variables DATASETTINGS is required; with them, some settings are refused
      // and the analysis interval cannot be below the period or above the highest cycle.
      {"", {"SubComRequired", "DATASETTINGS"}},
      {"ANALYSISINTERVAL=QUARTER", {"WRONG_MODELINTERVAL_KEY"}, {}, Ymq},
      {"ANALYSISINTERVAL=MONTH", {"WRONG_MODELINTERVAL_KEY"}, {}, Ymq},
      {"ANALYSISINTERVAL=DAY", {"WRONG_MODELINTERVAL_KEY"}, {}, Ymq},
      {"ANALYSISINTERVAL=YEAR", {"WRONG_MODELINTERVAL_KEY"}, {}, Cqm},
      {"TIMETYPE=NONE", {"DATE_SPEC_EFFECT_KEY"}, {}, Ymq},
      {"TIMEVAR=MONTH_", {"DATE_SPEC_EFFECT_KEY"}, {}, Ymq},
      {"INPUTINTERVAL=MONTH", {"DATE_SPEC_EFFECT_KEY"}, {}, Ymq},
      {kDateTime + "GROUP=MEDIAN", {"InvalidParamValue", "MEDIAN", "GROUP", "DATASETTINGS"}},
      {kDateTime + "GROUP=5", {"SyntaxErrorInParam", "5", "GROUP", "DATASETTINGS"}},
      {kDateTime + "GROUP=SUM sales MEAN",
       {"InvalidParamValue", "sales MEAN", "GROUP", "DATASETTINGS"}},
      {kDateTime + "GROUP=sales(MEDIAN)",
       {"InvalidParamValue", "MEDIAN", "DISTRIBUTE", "DATASETTINGS"}},
      {kDateTime + "AGGREGATE=SUM sales(X)",
       {"InvalidParamValue", "X", "DISTRIBUTE", "DATASETTINGS"}},
      {kDateTime + "DISTRIBUTE=MODE", {"InvalidParamValue", "MODE", "DISTRIBUTE", "DATASETTINGS"}},
      {kDateTime + "DISTRIBUTE=SUM sales(MAX)",
       {"InvalidParamValue", "MAX", "DISTRIBUTE", "DATASETTINGS"}},
      {kDateTime + "GROUP=SUM nosuch(MEAN)",
       {"VariableNotInDict", "nosuch", "GROUP", "DATASETTINGS"}},
      {kDateTime + "GROUP=SUM 5(MEAN)", {"InvalidVarName", "5", "GROUP", "DATASETTINGS"}},
      {kDateTime + "GROUP=SUM sales MEAN MIN MAX",
       {"SyntaxErrorInParam", "MEAN", "GROUP", "DATASETTINGS"}},
      {kDateTime + "INTERPOLATE=KMEAN 3",
       {"InvalidParamOption", "KMEAN 3", "INTERPOLATE", "DATASETTINGS"}},
  };
  for (const Fault& f : faults) {
    SCOPED_TRACE(f.settings);
    const auto r = Settings(f.settings, f.data());
    EXPECT_FALSE(r.ok);
    EXPECT_TRUE(r.Has(f.expected[0], {f.expected.begin() + 1, f.expected.end()})) << r.Describe();
    for (const std::string& absent : f.absent) {
      EXPECT_FALSE(r.Has(absent)) << r.Describe();
    }
  }
}

TEST(DataSettings, ReadingOrderDoesNotFollowWritingOrder) {
  const auto a = Ok("TIMETYPE=CYCLICPERIODS TIMEVAR=period(TYPE=PERIOD) week(TYPE=CYCLE LEVEL=1 "
                    "LENGTH=7) year(TYPE=CYCLE LEVEL=2 LENGTH=52) ANALYSISINTERVAL=CYCLE(LEVEL=2)");
  const auto b = Ok("ANALYSISINTERVAL=CYCLE(LEVEL=2) TIMEVAR=period(TYPE=PERIOD) week(TYPE=CYCLE "
                    "LEVEL=1 LENGTH=7) year(TYPE=CYCLE LEVEL=2 LENGTH=52) TIMETYPE=CYCLICPERIODS");
  EXPECT_EQ(b.spec.analysisInterval, TimeIntervalKind::CYCLE);
  EXPECT_EQ(b.spec.cycleLevel, 2);
  EXPECT_EQ(b.spec.timeVars.cycleVars.size(), 2u);
  EXPECT_EQ(a.used, b.used);
}

TEST(DataSettings, DimensionsFailAtTheirStepAndListByDictionaryPosition) {
  // Refused dimensions (see the faults): with TIMETYPE=NONE the list is read (step 1), then
  // refused at step 3; with date variables refused at step 1 before the list is looked at.
  EXPECT_EQ(Settings("TIMETYPE=NONE DIMENSIONS=region").spec.dimensions.size(), 1u);
  EXPECT_TRUE(Settings("DIMENSIONS=nosuch TIMETYPE=NONE", Years()).spec.dimensions.empty());

  // TO runs by dictionary position over either type; the result is the set's, without repeats.
  const auto range = Ok(kDateTime + "DIMENSIONS=region TO CITY store");
  ASSERT_EQ(range.spec.dimensions.size(), 3u);
  EXPECT_EQ(range.spec.dimensions[0].GetName(), "city");
  EXPECT_EQ(range.spec.dimensions[1].GetName(), "region");
  EXPECT_EQ(range.spec.dimensions[2].GetName(), "store");
  EXPECT_TRUE(Uses(range, 1) && Uses(range, 2) && Uses(range, 3) && Uses(range, 4));
}

TEST(DataSettings, TimeVariableOfDateTimeAndIsoTypes) {
  const auto date = Ok("TIMETYPE=DATETIMEVAR TIMEVAR=DAY");
  EXPECT_EQ(date.spec.timeType, "DATETIMEVAR");
  EXPECT_EQ(date.spec.timeVars.timeVar, "day");
  EXPECT_TRUE(date.spec.timeVars.periodVar.empty());
  EXPECT_EQ(date.spec.inputInterval.interval, TimeIntervalKind::AUTODETECT);
  EXPECT_EQ(date.spec.analysisInterval, TimeIntervalKind::USEINPUT);
  EXPECT_TRUE(Uses(date, 4));

  const auto iso = Ok("TIMETYPE=ISO8601 TIMEVAR=stamp");
  EXPECT_EQ(iso.spec.timeVars.timeVar, "stamp");
  EXPECT_TRUE(Uses(iso, 5));
  Ok("TIMETYPE=ISO8601 TIMEVAR=day");  // a date format serves ISO too

  // NONE: the case number is the time; a TIMEVAR is only a warning.
  const auto none = Ok("TIMETYPE=NONE TIMEVAR=day ANALYSISINTERVAL=YEAR");
  EXPECT_TRUE(none.Has("IgnoredParam", {"TIMEVAR", "DATASETTINGS"}));
  EXPECT_EQ(none.spec.timeVars.periodVar, "$casecount");
  EXPECT_TRUE(none.spec.timeVars.timeVar.empty());
  EXPECT_EQ(none.spec.inputInterval.interval, TimeIntervalKind::IGNORE);
  EXPECT_EQ(none.spec.analysisInterval, TimeIntervalKind::IGNORE);
  EXPECT_FALSE(Uses(none, 4));
}

TEST(DataSettings, CyclicPeriodsReadTriplesAndSortCyclesHighestFirst) {
  const auto r = Ok(kCyclic + "TIMEVAR=period(TYPE=PERIOD INCREMENT=2 START=5) week(TYPE=CYCLE "
                              "LEVEL=1 LENGTH=7) YEAR(LENGTH=52 START=3 LEVEL=2 TYPE=CYCLE)");
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
  const auto alone = Ok(kCyclic + "TIMEVAR=period(TYPE=PERIOD) ANALYSISINTERVAL=YEAR");
  EXPECT_EQ(alone.spec.analysisInterval, TimeIntervalKind::IGNORE);
  EXPECT_TRUE(alone.spec.timeVars.cycleVars.empty());
}

TEST(DataSettings, InputIntervalQualifiersAndTheHoursOfADay) {
  const InputIntervalSpec hour =
      Ok(kDateTime + "INPUTINTERVAL=HOUR(INCREMENT=2 HRSDAY=12 DAYSTART=6 DAYSWK=5 WKSTART=MON)")
          .spec.inputInterval;
  EXPECT_EQ(hour.interval, TimeIntervalKind::HOUR);
  EXPECT_EQ(hour.increment, 2);
  EXPECT_EQ(hour.hoursPerDay, 12);
  EXPECT_EQ(hour.dayStart, 6);
  EXPECT_EQ(hour.daysPerWeek, 5);
  EXPECT_EQ(hour.weekStart, "MON");
  // Only HOUR ties the hours of a day to INCREMENT.
  Ok(kDateTime + "INPUTINTERVAL=MINUTE(INCREMENT=0 HRSDAY=24)");

  const InputIntervalSpec day = Ok(kDateTime + "INPUTINTERVAL=DAY(WKSTART=TUE DAYSWK=6)")
                                    .spec.inputInterval;
  EXPECT_EQ(day.interval, TimeIntervalKind::DAY);
  EXPECT_EQ(day.daysPerWeek, 6);
  EXPECT_EQ(day.weekStart, "TUE");
  EXPECT_EQ(day.increment, 1);

  const auto duration = Ok(kDateTime + "INPUTINTERVAL=DURATION(INTERVAL=MINUTE INCREMENT=15) "
                                       "ANALYSISINTERVAL=HOUR");
  EXPECT_EQ(duration.spec.inputInterval.interval, TimeIntervalKind::DURATION);
  EXPECT_EQ(duration.spec.inputInterval.durationUnit, "MINUTE");
  EXPECT_EQ(duration.spec.inputInterval.increment, 15);
  EXPECT_EQ(duration.spec.analysisInterval, TimeIntervalKind::HOUR);
  EXPECT_EQ(Ok(kDateTime + "INPUTINTERVAL=QUARTER").spec.inputInterval.interval,
            TimeIntervalKind::QUARTER);
}

TEST(DataSettings, DateSpecificationLevelsLengthsAndAnalysisIntervals) {
  const auto r = Ok("MAXMISSING=30", Ymq());
  const TimeVariableSpec& t = r.spec.timeVars;
  EXPECT_EQ(r.spec.timeType, "DATESPEC");
  EXPECT_EQ(t.periodVar, "MONTH_");
  ASSERT_EQ(t.cycleVars.size(), 2u);
  EXPECT_EQ(t.cycleVars[0].name, "YEAR_");
  EXPECT_EQ(t.cycleVars[0].level, 2);
  EXPECT_EQ(t.cycleVars[0].length, 4);  // quarters in a year
  EXPECT_EQ(t.cycleVars[0].start, 1);
  EXPECT_EQ(t.cycleVars[1].name, "QUARTER_");
  EXPECT_EQ(t.cycleVars[1].level, 1);
  EXPECT_EQ(t.cycleVars[1].length, 3);  // months in a quarter
  EXPECT_EQ(r.spec.inputInterval.interval, TimeIntervalKind::IGNORE);
  EXPECT_TRUE(Uses(r, 2) && Uses(r, 3) && Uses(r, 4));
  EXPECT_FALSE(Uses(r, 5));

  // Without DATASETTINGS the date variables give the same time axis.
  const auto absent = Ok("", Ymq());
  EXPECT_EQ(absent.spec.timeVars.periodVar, "MONTH_");
  EXPECT_EQ(absent.spec.timeVars.cycleVars.size(), 2u);
  EXPECT_EQ(absent.spec.inputInterval.interval, TimeIntervalKind::IGNORE);
  Ok("ANALYSISINTERVAL=YEAR", Ymq());
  Ok("ANALYSISINTERVAL=USEINPUT", Ymq());
  Ok("ANALYSISINTERVAL=CYCLE(LEVEL=1)", Cqm());

  const auto single = Ok("MAXMISSING=30", Years());
  EXPECT_EQ(single.spec.timeVars.periodVar, "YEAR_");
  EXPECT_TRUE(single.spec.timeVars.cycleVars.empty());

  // Week and day: a day's cycle is the week of 7.
  const auto wd = Ok("MAXMISSING=30", WithDates({DateComponent::kWeek, DateComponent::kDay}));
  ASSERT_EQ(wd.spec.timeVars.cycleVars.size(), 1u);
  EXPECT_EQ(wd.spec.timeVars.cycleVars[0].length, 7);
  EXPECT_EQ(wd.spec.timeVars.cycleVars[0].level, 1);
}

TEST(DataSettings, MethodListsWithOverrides) {
  const auto same = Ok(kDateTime + "GROUP=SUM sales(SUM)");
  EXPECT_TRUE(same.Has("IGNORE_VAR_KEY", {"sales", "GROUP"})) << same.Describe();
  EXPECT_TRUE(same.spec.groupOverrides.empty());

  const auto only = Ok(kDateTime + "GROUP=SALES(mean)");
  EXPECT_EQ(only.spec.group, "SUM");
  ASSERT_EQ(only.spec.groupOverrides.size(), 1u);
  EXPECT_EQ(only.spec.groupOverrides[0], FieldMethod("sales", "MEAN"));
  EXPECT_FALSE(only.Has("IGNORE_VAR_KEY"));

  const auto mixed = Ok(kDateTime + "AGGREGATE=max sales(MIN) week(MAX) year(MAX) "
                                    "DISTRIBUTE=MEAN period(SUM)");
  EXPECT_EQ(mixed.spec.aggregate, "MAX");
  ASSERT_EQ(mixed.spec.aggregateOverrides.size(), 1u);
  EXPECT_EQ(mixed.spec.aggregateOverrides[0], FieldMethod("sales", "MIN"));
  EXPECT_TRUE(mixed.Has("IGNORE_VAR_KEY", {"week year", "AGGREGATE"})) << mixed.Describe();
  EXPECT_EQ(mixed.spec.distribute, "MEAN");
  ASSERT_EQ(mixed.spec.distributeOverrides.size(), 1u);
  EXPECT_EQ(mixed.spec.distributeOverrides[0], FieldMethod("period", "SUM"));
  EXPECT_EQ(mixed.spec.group, "SUM");
}

TEST(DataSettings, InterpolateMissingValuesAndLimits) {
  const auto plain = Ok(kDateTime + "INTERPOLATE=KMEAN USERMISSING=INCLUDE CROSSDAYHRS=INCLUDE "
                                    "MAXMISSING=40 MAXDIMVALUES=500");
  EXPECT_EQ(plain.spec.interpolate, "KMEAN");
  EXPECT_EQ(plain.spec.interpolateSpan, 2);
  EXPECT_FALSE(plain.spec.excludeUserMissing);
  EXPECT_FALSE(plain.spec.excludeCrossDayHours);
  EXPECT_EQ(plain.spec.maxMissing, 40);
  EXPECT_EQ(plain.spec.maxDimValues, 500);

  const auto span = Ok(kDateTime + "INTERPOLATE=KMEDIAN(5) USERMISSING=EXCLUDE");
  EXPECT_EQ(span.spec.interpolate, "KMEDIAN");
  EXPECT_EQ(span.spec.interpolateSpan, 5);
  EXPECT_TRUE(span.spec.excludeUserMissing);
}

// The debug display over what the reader filled: every time axis and interval is shown.
TEST(DataSettings, DebugDisplayShowsWhatWasRead) {
  std::vector<Result> results = {
      Settings(kCyclic + "TIMEVAR=period(TYPE=PERIOD) week(TYPE=CYCLE LEVEL=1 LENGTH=7) "
                         "ANALYSISINTERVAL=CYCLE(LEVEL=1) GROUP=sales(MEAN) INTERPOLATE=KMEAN(4)"),
      Settings(kDateTime + "DIMENSIONS=region INPUTINTERVAL=DURATION(INTERVAL=HOUR)"),
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
