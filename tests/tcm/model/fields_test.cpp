// Tests of TCM MODEL's reading order, field groups, field lists, data filter and build options,
// and of the host's date conversions they use, all driven through command text.
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "host/data/date_definition.h"
#include "host/frame/time_converter.h"
#include "host/messages/parser_message.h"
#include "host/syntax/var_spec_obj.h"
#include "support/time.h"
#include "tcm/common/date_text.h"
#include "tcm/model/tcm_model_parser.h"
#include "tcm/tcm_test_util.h"

namespace {

using Result = tcm_test::ParseResult<TCMModelValidSpecs>;

Result Model(const std::string& text, std::shared_ptr<host::Dataset> dataset) {
  return tcm_test::Parse<TCMModelValidSpecs, TCMModelParser>(text, std::move(dataset), "TCM MODEL",
                                                             "Temporal Causal Modeling");
}

// Dictionary order matters for TO ranges: 0 region, 1 day, 2 sales, 3 note, 4 price, 5 store,
// 6 cost, 7 label.
std::shared_ptr<host::Dataset> Shop() {
  return tcm_test::MakeDataset({{"region", 8, "A8"},
                                {"day", 0, "DATE11"},
                                {"sales"},
                                {"note", 8, "A8"},
                                {"price"},
                                {"store", 0, "F8.0", host::Measure::kNominal},
                                {"cost"},
                                {"label", 12, "A12"}});
}

// The same variables without a dimension or time variable in the way, and a date definition
// (YEAR_ from 2015, MONTH_) behind them.
std::shared_ptr<host::Dataset> Monthly() {
  return tcm_test::WithMonthlyDates(
      tcm_test::MakeDataset({{"sales"}, {"price"}, {"note", 8, "A8"}}, 24));
}

// Two numeric fields and no time variable, for TIMETYPE=NONE.
std::shared_ptr<host::Dataset> Plain() { return tcm_test::MakeDataset({{"sales"}, {"price"}}); }

const std::string kSettings = "/DATASETTINGS DIMENSIONS=region TIMETYPE=DATETIMEVAR TIMEVAR=day ";
const std::string kTwoDims =
    "/DATASETTINGS DIMENSIONS=region store TIMETYPE=DATETIMEVAR TIMEVAR=day ";
const std::string kGroup = "/FIELDSGROUP /FIELDS TARGETS=sales INPUTS=price ";

// Commands over Shop(): the settings, `middle` and the group; the settings and FIELDS.
std::string Command(const std::string& middle) {
  return "TCM MODEL " + kSettings + middle + kGroup + ".";
}
std::string Fields(const std::string& fields, const std::string& settings = kSettings) {
  return "TCM MODEL " + settings + "/FIELDSGROUP /FIELDS " + fields + ".";
}

std::vector<std::string> Names(const std::vector<QuorVarName>& names) {
  std::vector<std::string> out;
  for (const auto& name : names)
    out.push_back(name.GetName());
  return out;
}

using tcm_test::Seconds;

std::string Times(const std::string& qualifiers) {
  return "/BUILDOPTIONS ESTIMATIONPERIOD=TIMES(" + qualifiers + ") ";
}
// A command of TIMETYPE=NONE with ESTIMATIONPERIOD=TIMES(`qualifiers`), over Plain().
std::string Periods(const std::string& qualifiers) {
  return "TCM MODEL /DATASETTINGS TIMETYPE=NONE " + Times(qualifiers) +
         "/FIELDSGROUP /FIELDS TARGETS=sales.";
}

// A command that fails: its message, and one that must not be raised.
struct Fault {
  std::string text;
  std::string key;
  std::vector<std::string> args;  // the message's first ones
  std::string absent = {};
  std::shared_ptr<host::Dataset> (*data)() = Shop;
};

TEST(ModelFaults, EachNamesItsCause) {
  const auto many = [](const std::string& list) { return Fields("TARGETS=" + list); };
  const std::vector<Fault> faults = {
      // The first fault in reading order is reported, not the first written.
      {"TCM MODEL /BUILDOPTIONS ESTIMATIONPERIOD=TIMES(START='2015-13-01' FORMAT=ISO8601) "
       "/DATASETTINGS DIMENSIONS=region TIMETYPE=DATETIMEVAR TIMEVAR=nosuch " + kGroup + ".",
       "VariableNotInDict", {"nosuch", "TIMEVAR"}, "InvalidParamValue"},
      // Without date variables DATASETTINGS is required, with or without other subcommands.
      {"TCM MODEL /BUILDOPTIONS MAXINPUTS=3 " + kGroup + ".", "SubComRequired", {"DATASETTINGS"}},
      {"TCM MODEL " + kGroup + ".", "SubComRequired", {"DATASETTINGS"}},
      // A SERIESFILTER field must be a target, input or forced input; excluded ones do not count.
      {Fields("TARGETS=sales EXCLUDEDINPUTS=cost /SERIESFILTER FIELDS=cost"), "InvalidParamValue",
       {"cost", "FIELDS", "SERIESFILTER"}},
      // A range starting at the time variable: the time variable itself is named and refused.
      {many("day TO price"), "WRONG_TARGET_KEY", {"FIELDS", "day"}},
      {many("cost TO sales"), "SyntaxErrorInParam", {"cost TO sales", "TARGETS", "FIELDS"}},
      {many("sales TO"), "SyntaxErrorInParam", {"TO", "TARGETS", "FIELDS"}},
      {many("TO cost"), "SyntaxErrorInParam", {"TO", "TARGETS", "FIELDS"}},
      {many("sales TO nosuch"), "VariableNotInDict", {"nosuch", "TARGETS", "FIELDS"}},
      {many("sales TO 'cost'"), "InvalidVarName", {"'cost'", "TARGETS", "FIELDS"}},
      {many("sales BY cost"), "InvalidVarName", {"BY", "TARGETS", "FIELDS"}},
      {many("sales nosuch"), "VariableNotInDict", {"nosuch", "TARGETS", "FIELDS"}},
      {many("ALL sales"), "ALL_WITH_VAR_KEY", {"FIELDS"}},
      {many("sales ALL"), "ALL_WITH_VAR_KEY", {"FIELDS"}},
      {many("note ALL"), "ALL_WITH_VAR_KEY", {"FIELDS"}},
      // ALL over a dataset whose only fields besides the dimension are strings: nothing to model.
      {many("ALL"), "SyntaxErrorInParam", {"", "TARGETS", "FIELDS"}, "", [] {
         return tcm_test::MakeDataset(
             {{"region", 8, "A8"}, {"day", 0, "DATE11"}, {"note", 8, "A8"}});
       }},
      // The time variable, a string dimension (on any list), a numeric dimension as target or
      // input.
      {Fields("TARGETS=day", kTwoDims), "WRONG_TARGET_KEY", {"FIELDS", "day"}},
      {Fields("TARGETS=sales INPUTS=DAY", kTwoDims), "WRONG_TARGET_KEY", {"FIELDS", "DAY"}},
      {Fields("TARGETS=region", kTwoDims), "WRONG_TARGET_KEY", {"FIELDS", "region"}},
      {Fields("TARGETS=sales EXCLUDEDTARGETS=region", kTwoDims), "WRONG_TARGET_KEY",
       {"FIELDS", "region"}},
      {Fields("TARGETS=store", kTwoDims), "WRONG_TARGET_KEY", {"FIELDS", "store"}},
      // Only string targets in every FIELDS of the group: nothing is left to model.
      {Fields("TARGETS=note /FIELDS TARGETS=label INPUTS=price"), "STRING_VAR_IGNORED", {}},
      {Fields("TARGETS=note /FIELDS TARGETS=label INPUTS=price"), "SyntaxErrorInParam",
       {"", "TARGETS", "FIELDS"}},
      {Fields("TARGETS=sales FORCE=price DIMVALUES=region(EXCLUDE=A)"), "ParamExclusive",
       {"FORCE", "EXCLUDE", "FIELDS"}},
      // FORCE naming only a string field has nothing to force, and still conflicts.
      {Fields("TARGETS=sales FORCE=note DIMVALUES=region(EXCLUDE=A)"), "ParamExclusive",
       {"FORCE", "EXCLUDE", "FIELDS"}, "STRING_VAR_IGNORED"},
      // A FIELDS filter on a field that is no dimension fails while the command is read.
      {Fields("TARGETS=sales DIMVALUES=note(INCLUDE=A)"), "FILED_NOT_ON_DIMENSIONS_KEY", {}},
      // The second group has no FIELDS at all; its position in the group list is 2.
      {"TCM MODEL " + kSettings + kGroup + "/FIELDSGROUP.", "TARGET_REQUIRED_KEY", {"2"}},
      // FIELDS without TARGETS anywhere in the group.
      {Fields("INPUTS=price /FIELDS INPUTS=cost"), "TARGET_REQUIRED_KEY", {"1"}},
      {Command("/DATAFILTER DIMVALUES=price(INCLUDE=1) "), "FILED_NOT_ON_DIMENSIONS_KEY",
       {"DATAFILTER", "price"}},
      {Command(Times("START='2015-03-01'")), "ParamNeedParam", {"FORMAT", "TIMES"}},
      {Command(Times("START='2015-06-01' END='2015-03-01' FORMAT=ISO8601")), "INVALID_START_KEY",
       {}},
      {Command(Times("START='01-JUN-2015' END='01-MAR-2015' FORMAT=VARIABLE")),
       "INVALID_START_KEY", {}},
      // Kinds differ: a date-time start and a plain date end; the end prints back as read.
      {Command(Times("START='2015-01-01 10:20:30' END='2015-06-01' FORMAT=ISO8601")),
       "InvalidParamValue", {"2015-06-01", "END", "BUILDOPTIONS"}},
      {Command(Times("START='31-FEB-2015' FORMAT=VARIABLE")), "InvalidCatValue",
       {"day", "31-FEB-2015", "TIMES", "BUILDOPTIONS"}},
      {Command(Times("START='2015-02-31' FORMAT=ISO8601")), "InvalidParamValue",
       {"2015-02-31", "TIMES", "BUILDOPTIONS"}},
      {Command(Times("START='2015-13-01' FORMAT=ISO8601")), "InvalidParamValue",
       {"2015-13-01", "TIMES", "BUILDOPTIONS"}},
      {Command(Times("START='2015/03/01' FORMAT=ISO8601")), "SyntaxErrorInParam",
       {"2015/03/01", "TIMES", "OPTIONS"}},
      {Command(Times("START='25:00' FORMAT=ISO8601")), "InvalidParamValue",
       {"25:00", "TIMES", "BUILDOPTIONS"}},
      // The epoch reads as "not given", so it is refused rather than silently dropped.
      {Command(Times("START='1970-01-01' FORMAT=ISO8601")), "InvalidParamValue",
       {"1970-01-01", "TIMES"}},
      {Command(Times("START=2015 3")), "ParamNeedEuroDate", {"TIMES", "BUILDOPTIONS"}},
      {Command(Times("START=2015")), "ParamNeedEuroDate", {"TIMES", "BUILDOPTIONS"}},
      {Command(Times("START=soon")), "SyntaxErrorInParam", {"soon", "TIMES", "BUILDOPTIONS"}},
      {Command(Times("START=1.5")), "SyntaxErrorInParam", {"1.5", "TIMES", "BUILDOPTIONS"}},
      {Command(Times("FORMAT=ISO8601")), "SyntaxErrorInParam",
       {"TIMES", "ESTIMATIONPERIOD", "BUILDOPTIONS"}},
      // "START=1 2" fails on its length before the count of values is looked at.
      {Periods("START=1 2"), "MISMATCHING_START_END_KEY", {}, "SINGLE_INT_VAL_KEY", Plain},
      {Periods("START=10 END=1 2"), "MISMATCHING_START_END_KEY", {}, "", Plain},
      {Periods("START=1.5"), "SINGLE_INTEGER_KEY", {}, "", Plain},
      {Periods("START='2015-01-01' FORMAT=ISO8601"), "ParamNeedIntegerList",
       {"TIMES", "BUILDOPTIONS"}, "", Plain},
      {Periods("START=1 x"), "ParamNeedIntegerList", {"TIMES", "BUILDOPTIONS"}, "", Plain},
      {Periods("FORMAT=VARIABLE"), "SINGLE_INT_VAL_KEY", {"ESTIMATIONPERIOD"}, "", Plain},
      // Date variables YEAR_ and MONTH_ need one value per level.
      {"TCM MODEL " + Times("START=2015") + "/FIELDSGROUP /FIELDS TARGETS=sales.",
       "WRONG_LENGTH_DATE_SPEC_KEY", {}, "", Monthly},
  };
  for (const Fault& f : faults) {
    SCOPED_TRACE(f.text);
    const Result r = Model(f.text, f.data());
    EXPECT_FALSE(r.ok);
    EXPECT_TRUE(r.Has(f.key, f.args)) << r.Describe();
    if (!f.absent.empty()) {
      EXPECT_FALSE(r.Has(f.absent)) << r.Describe();
    }
  }
}

TEST(ModelReadingOrder, WritingOrderDoesNotMatter) {
  const std::string build =
      "/BUILDOPTIONS ESTIMATIONPERIOD=TIMES(START='01-MAR-2015' END='2015-06-30' "
      "FORMAT=VARIABLE) MAXINPUTS=4 ";
  const std::string filter = "/SERIESFILTER FIELDS=sales ";
  const std::string datafilter = "/DATAFILTER DIMVALUES=region(INCLUDE=A B) ";
  const Result forward =
      Model("TCM MODEL " + kSettings + datafilter + build + filter + kGroup + ".", Shop());
  // BUILDOPTIONS needs the time variable of DATASETTINGS, SERIESFILTER the fields of FIELDS,
  // DATAFILTER the dimensions.
  const Result backward =
      Model("TCM MODEL " + filter + build + kGroup + datafilter + kSettings + ".", Shop());
  for (const Result* r : {&forward, &backward}) {
    ASSERT_TRUE(r->ok) << r->Describe();
    EXPECT_EQ(r->spec.buildOptions.estimationPeriod, "TIMES");
    EXPECT_EQ(r->spec.buildOptions.startTime, Seconds(2015, 3, 1));
    EXPECT_EQ(r->spec.buildOptions.endTime, Seconds(2015, 6, 30));
    EXPECT_EQ(r->spec.buildOptions.maxInputs, 4);
    ASSERT_EQ(r->spec.dataFilter.filters.size(), 1u);
    EXPECT_EQ(r->spec.dataFilter.filters[0].values, (std::vector<std::string>{"A", "B"}));
    ASSERT_EQ(r->spec.seriesFilters.size(), 1u);
    EXPECT_EQ(Names(r->spec.seriesFilters[0].fields), std::vector<std::string>{"sales"});
    ASSERT_EQ(r->spec.fieldsGroups.size(), 1u);
  }
  EXPECT_EQ(forward.used, backward.used);
  EXPECT_EQ(forward.used, (std::vector<int32_t>{0, 1, 2, 4}));
}

// With date variables the time axis comes from them, with a global group or without one.
TEST(ModelReadingOrder, DateVariablesNeedNoSettings) {
  for (const std::string text : {"TCM MODEL /FIELDSGROUP /FIELDS TARGETS=sales INPUTS=price.",
                                 "TCM MODEL /DEBUG_ /FIELDSGROUP /FIELDS TARGETS=sales "
                                 "INPUTS=price /SERIESFILTER FIELDS=price."}) {
    SCOPED_TRACE(text);
    const Result r = Model(text, Monthly());
    ASSERT_TRUE(r.ok) << r.Describe();
    EXPECT_EQ(r.spec.timeType, "DATESPEC");
    EXPECT_EQ(r.spec.timeVars.periodVar, "MONTH_");
    ASSERT_EQ(r.spec.fieldsGroups.size(), 1u);
    EXPECT_EQ(Names(r.spec.fieldsGroups[0].fields[0].targets), std::vector<std::string>{"sales"});
  }
  EXPECT_TRUE(Model("TCM MODEL /DEBUG_ " + kGroup + ".", Monthly()).spec.debug);
}

// The lists of FIELDS as read: TO ranges by dictionary position, ALL, and the fields a list may
// hold; the indexes of the variables used.
TEST(ModelFields, ListsAsRead) {
  struct Case {
    std::string text;
    std::vector<std::string> targets;
    std::vector<int32_t> used;  // empty: not checked
    bool strings_ignored;       // the warning of string fields set aside
    std::shared_ptr<host::Dataset> (*data)() = Shop;
  };
  const Case cases[] = {
      // sales TO cost: sales, note (string, set aside), price, store (a dimension here), cost.
      {Fields("TARGETS=sales TO cost", kTwoDims), {"cost", "price", "sales"}, {}, true},
      // ALL: numeric, not a dimension, not the time variable; no warning for the strings.
      {Fields("TARGETS=ALL", kTwoDims), {"cost", "price", "sales"}, {0, 1, 2, 4, 5, 6}, false},
      // Over date variables ALL leaves YEAR_ and MONTH_ out, and comes back.
      {"TCM MODEL /FIELDSGROUP /FIELDS TARGETS=all.", {"price", "sales"}, {}, false, Monthly},
      // A string field beside a numeric one: a warning, and the numeric one stays, spelled as
      // the dictionary spells it.
      {Fields("TARGETS=NOTE Sales"), {"sales"}, {0, 1, 2}, true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    const Result r = Model(c.text, c.data());
    ASSERT_TRUE(r.ok) << r.Describe();
    EXPECT_EQ(Names(r.spec.fieldsGroups[0].fields[0].targets), c.targets);
    if (c.strings_ignored) {
      EXPECT_TRUE(r.Has("STRING_VAR_IGNORED", {"FIELDS"})) << r.Describe();
    } else {
      EXPECT_FALSE(r.Has("STRING_VAR_IGNORED")) << r.Describe();
    }
    if (!c.used.empty()) {
      EXPECT_EQ(r.used, c.used);
    }
  }
  // Inputs read the same way; a range of only string fields leaves nothing but the warning.
  const Result inputs =
      Model(Fields("TARGETS=cost INPUTS=sales TO price EXCLUDEDINPUTS=price TO cost", kTwoDims),
            Shop());
  ASSERT_TRUE(inputs.ok) << inputs.Describe();
  const FieldsSpec& fields = inputs.spec.fieldsGroups[0].fields[0];
  EXPECT_EQ(Names(fields.inputs), (std::vector<std::string>{"price", "sales"}));
  // Without the numeric-only rule a numeric dimension in a range joins.
  EXPECT_EQ(Names(fields.excludedInputs), (std::vector<std::string>{"cost", "price", "store"}));
}

TEST(ModelFields, ForceFiltersGroupsAndDataFilter) {
  const Result included = Model(Fields("TARGETS=sales FORCE=price DIMVALUES=region(INCLUDE=A)"),
                                Shop());
  ASSERT_TRUE(included.ok) << included.Describe();
  const FieldsSpec& fields = included.spec.fieldsGroups[0].fields[0];
  EXPECT_EQ(Names(fields.force), std::vector<std::string>{"price"});
  ASSERT_EQ(fields.filters.size(), 1u);
  EXPECT_TRUE(fields.filters[0].include);
  // An EXCLUDE filter without FORCE is fine.
  EXPECT_TRUE(Model(Fields("TARGETS=sales DIMVALUES=region(EXCLUDE=A)"), Shop()).ok);

  // Two groups, the second with two FIELDS, the targets in only one of them.
  const Result two =
      Model("TCM MODEL " + kSettings + kGroup +
                "/FIELDSGROUP /FIELDS INPUTS=sales /FIELDS TARGETS=cost FORCE=price.",
            Shop());
  ASSERT_TRUE(two.ok) << two.Describe();
  ASSERT_EQ(two.spec.fieldsGroups.size(), 2u);
  ASSERT_EQ(two.spec.fieldsGroups[1].fields.size(), 2u);
  EXPECT_EQ(Names(two.spec.fieldsGroups[1].fields[1].targets), std::vector<std::string>{"cost"});
  EXPECT_EQ(two.used, (std::vector<int32_t>{0, 1, 2, 4, 6}));

  const Result r = Model(Command("/DATAFILTER DIMVALUES=region(INCLUDE=North 'South West') "
                                 "region(EXCLUDE=East) "),
                         Shop());
  ASSERT_TRUE(r.ok) << r.Describe();
  ASSERT_EQ(r.spec.dataFilter.filters.size(), 2u);
  EXPECT_EQ(r.spec.dataFilter.filters[0],
            (DimValueFilter{"region", {"North", "South West"}, true}));
  EXPECT_EQ(r.spec.dataFilter.filters[1], (DimValueFilter{"region", {"East"}, false}));
}

TEST(ModelBuildOptions, TimesWithDates) {
  // FORMAT=VARIABLE reads the dates in the time variable's format (DATE11 also reads ISO text).
  const Result variable =
      Model(Command(Times("START='01-mar-2015' END='2015-06-30' FORMAT=VARIABLE")), Shop());
  ASSERT_TRUE(variable.ok) << variable.Describe();
  const BuildOptionsSpec& v = variable.spec.buildOptions;
  EXPECT_EQ(v.dateFormat, 0);
  EXPECT_EQ(v.startTime, Seconds(2015, 3, 1));
  EXPECT_EQ(v.endTime, Seconds(2015, 6, 30));
  EXPECT_EQ(v.startKind, PackFormat(host::PrintFormat{host::fmt::kDate, 11, 0}));
  EXPECT_EQ(v.endKind, v.startKind);
  EXPECT_TRUE(v.startPeriods.empty());

  // ISO8601: a date, a date-time, and times of day.
  const Result iso =
      Model(Command(Times("FORMAT=ISO8601 START='2015-1-5 7:05' END='2015-06-30 23:59:59'")),
            Shop());
  ASSERT_TRUE(iso.ok) << iso.Describe();
  EXPECT_EQ(iso.spec.buildOptions.dateFormat, 1);
  EXPECT_EQ(iso.spec.buildOptions.startTime, Seconds(2015, 1, 5, 7, 5));
  EXPECT_EQ(iso.spec.buildOptions.endTime, Seconds(2015, 6, 30, 23, 59, 59));
  EXPECT_EQ(iso.spec.buildOptions.startKind, kDateTimeKind);
  EXPECT_EQ(FormatTime(iso.spec.buildOptions.startTime, kDateTimeKind), "2015-01-05 07:05:00");

  const Result clock = Model(Command(Times("START='9' END='17:30' FORMAT=ISO8601")), Shop());
  ASSERT_TRUE(clock.ok) << clock.Describe();
  EXPECT_EQ(clock.spec.buildOptions.startTime, 9 * 3600);
  EXPECT_EQ(clock.spec.buildOptions.endTime, 17 * 3600 + 30 * 60);
  EXPECT_EQ(clock.spec.buildOptions.endKind, kTimeKind);

  // A year alone is the year's first day.
  const Result year = Model(Command(Times("START='2014' FORMAT=ISO8601")), Shop());
  ASSERT_TRUE(year.ok) << year.Describe();
  EXPECT_EQ(year.spec.buildOptions.startTime, Seconds(2014, 1, 1));
  EXPECT_EQ(year.spec.buildOptions.endTime, 0);

  // An ISO8601 time type: the string time variable holds ISO text, which VARIABLE reads.
  const Result isoVar = Model("TCM MODEL /DATASETTINGS TIMETYPE=ISO8601 TIMEVAR=stamp " +
                                  Times("START='2015-03-01 10:20:30' FORMAT=VARIABLE") +
                                  "/FIELDSGROUP /FIELDS TARGETS=sales.",
                              tcm_test::MakeDataset({{"stamp", 20, "A20"}, {"sales"}}));
  ASSERT_TRUE(isoVar.ok) << isoVar.Describe();
  EXPECT_EQ(isoVar.spec.buildOptions.startTime, Seconds(2015, 3, 1, 10, 20, 30));
}

TEST(ModelBuildOptions, TimesWithPeriods) {
  const Result both = Model(Periods("START=10 END=20"), Plain());
  ASSERT_TRUE(both.ok) << both.Describe();
  EXPECT_EQ(both.spec.buildOptions.startPeriods, std::vector<int32_t>{10});
  EXPECT_EQ(both.spec.buildOptions.endPeriods, std::vector<int32_t>{20});
  EXPECT_EQ(both.spec.buildOptions.startTime, 0);
  // Period values are not ordered here: an end before the start passes.
  EXPECT_TRUE(Model(Periods("START=20 END=10"), Plain()).ok);
  EXPECT_TRUE(Model(Periods("END=20"), Plain()).ok);

  // Date variables YEAR_ and MONTH_: one value per level, from the highest down.
  const Result dated = Model("TCM MODEL " + Times("START=2015 3 END=2016 1") +
                                 "/FIELDSGROUP /FIELDS TARGETS=sales.",
                             Monthly());
  ASSERT_TRUE(dated.ok) << dated.Describe();
  EXPECT_EQ(dated.spec.buildOptions.startPeriods, (std::vector<int32_t>{2015, 3}));
  EXPECT_EQ(dated.spec.buildOptions.endPeriods, (std::vector<int32_t>{2016, 1}));
}

TEST(ModelBuildOptions, ObservationsAndNumbers) {
  const Result obs =
      Model(Command("/BUILDOPTIONS ESTIMATIONPERIOD=OBSERVATIONS(TYPE=oldest OFFSET=2 NUMBER=50) "
                    "FORECASTPERIODS=6 CILEVEL=90 TOLERANCE=0.01 OUTLIERTHRESH=99 "),
            Shop());
  ASSERT_TRUE(obs.ok) << obs.Describe();
  const BuildOptionsSpec& o = obs.spec.buildOptions;
  EXPECT_EQ(o.estimationPeriod, "OBSERVATIONS");
  EXPECT_EQ(o.observationType, "OLDEST");
  EXPECT_EQ(o.observationOffset, 2);
  EXPECT_EQ(o.observationNumber, 50);
  EXPECT_EQ(o.forecastPeriods, 6);
  EXPECT_DOUBLE_EQ(o.ciLevel, 90.0);
  EXPECT_DOUBLE_EQ(o.tolerance, 0.01);
  EXPECT_EQ(o.outlierThreshold, 99);
  EXPECT_TRUE(o.maxInputsDefault);
  EXPECT_TRUE(o.lagsAuto);

  const Result all = Model(Command("/BUILDOPTIONS ESTIMATIONPERIOD=ALL "), Shop());
  ASSERT_TRUE(all.ok) << all.Describe();
  EXPECT_EQ(all.spec.buildOptions.estimationPeriod, "ALL");

  // Keywords keep the defaults; numbers replace them.
  for (const auto& [options, maxInputs, lags] :
       {std::tuple{"MAXINPUTS=DEFAULT LAGS=auto ", kUnset, kUnset},
        std::tuple{"MAXINPUTS=7 LAGS=12 ", 7, 12}}) {
    SCOPED_TRACE(options);
    const Result r = Model(Command(std::string("/BUILDOPTIONS ") + options), Shop());
    ASSERT_TRUE(r.ok) << r.Describe();
    EXPECT_EQ(r.spec.buildOptions.maxInputsDefault, maxInputs == kUnset);
    EXPECT_EQ(r.spec.buildOptions.lagsAuto, lags == kUnset);
    EXPECT_EQ(r.spec.buildOptions.maxInputs, maxInputs);
    EXPECT_EQ(r.spec.buildOptions.lags, lags);
  }
  const Result outOfRange = Model(Command("/BUILDOPTIONS LAGS=21 "), Shop());
  EXPECT_FALSE(outOfRange.ok);
  EXPECT_EQ(outOfRange.spec.buildOptions.lags, kUnset);
}

TEST(HostTimeConversions, RoundTripThroughFormatTime) {
  // Read as the readers read, then printed back.
  struct Case {
    std::string text;
    int kind;
    std::string printed;
  };
  const std::vector<Case> cases = {
      {"2015-03-01", kDateKind, "2015-03-01"},
      {"2015-03-01 10:20:30", kDateTimeKind, "2015-03-01 10:20:30"},
      {"1969-12-31 23:59:59", kDateTimeKind, "1969-12-31 23:59:59"},
      {"1600-02-29", kDateKind, "1600-02-29"},
      {"09:00:00", kTimeKind, "09:00:00"},
      {"23:59:59", kTimeKind, "23:59:59"},
  };
  for (const Case& c : cases) {
    std::string normalised;
    int kind = 0;
    ASSERT_TRUE(ParseTimeText(c.text, normalised, kind, nullptr, "OPTIONS")) << c.text;
    ASSERT_EQ(kind, c.kind) << c.text;
    const double value = kind == kTimeKind
                             ? TimeConverter::convertTimeFromISOFormatToQUORDouble(normalised)
                             : TimeConverter::convertDateFromISOFormatToQUORDouble(normalised);
    const int64_t time = ftisqq(NumericFormatStatToCF(value, 22));
    EXPECT_EQ(FormatTime(time, kind), c.printed) << c.text;
  }
  // The host's object on a variable that is not there: no index, and no value reads. On a
  // date variable, its value and the ISO text of the same day meet in the same time.
  ProcedureDataSource source(Shop());
  VarSpecObj day("TIMES", "BUILDOPTIONS", nullptr, &source, true);
  double value = 0.0;
  int32_t format = 0;
  EXPECT_LT(day.ValidateVariable("gone"), 0);
  EXPECT_FALSE(day.ValidateCatValue("01-MAR-2015", value, format));
  ASSERT_EQ(day.ValidateVariable("DAY"), 1);
  ASSERT_TRUE(day.ValidateCatValue("01-MAR-2015", value, format));
  EXPECT_EQ(ftisqq(NumericStorageStatToCF(value, 6)),
            ftisqq(TimeConverter::convertDateFromISOFormatToQUORDouble("2015-03-01")));
  EXPECT_EQ(UnpackFormat(format), (host::PrintFormat{host::fmt::kDate, 11, 0}));
  EXPECT_FALSE(day.ValidateCatValue("not a date", value, format));

  // Fractions of a second round as printing rounds them; nothing finite is lost to garbage.
  EXPECT_EQ(ftisqq(10.6), 11);
  EXPECT_EQ(ftisqq(-10.6), -11);
  EXPECT_EQ(ftisqq(host::kSysMiss), 0);
  EXPECT_EQ(ftisqq(1e300), 0);
  for (const std::string bad : {"", "2015", "2015-3-1", "2015-03-01 24:00", "2015-03-01x",
                                "2015-03-01 10:60", "99999-01-01"}) {
    EXPECT_EQ(TimeConverter::convertDateFromISOFormatToQUORDouble(bad), 0.0) << bad;
  }
  for (const std::string bad : {"", "9", "24:00", "10:5", "10:05:60", "-1:00"}) {
    EXPECT_EQ(TimeConverter::convertTimeFromISOFormatToQUORDouble(bad), 0.0) << bad;
  }
}

TEST(ModelFields, GarbageNeverCrashes) {
  // Random token soup in the lists and the estimation period: every run either reads or says
  // why not.
  const std::vector<std::string> words = {
      "sales",   "price",   "note",         "region", "day",   "TO",  "ALL",     "(",
      ")",       "=",       "'2015-01-01'", "'x'",    "3",     "-1",  "2.5",     "INCLUDE",
      "EXCLUDE", "nosuch",  "cost",         "FORMAT", "START", "END", "ISO8601", "VARIABLE",
      "'25:61'", "'2015-'", "'-'",          "''",     "1e9",   ",",   "BY",      "store"};
  std::mt19937 random(20240611);
  std::uniform_int_distribution<size_t> pick(0, words.size() - 1);
  std::uniform_int_distribution<int> length(0, 6);
  const auto soup = [&] {
    std::string text;
    for (int n = length(random); n > 0; --n)
      text += words[pick(random)] + " ";
    return text;
  };
  const std::vector<std::string> places = {
      "/FIELDSGROUP /FIELDS TARGETS=sales INPUTS=%",
      "/FIELDSGROUP /FIELDS TARGETS=% FORCE=%",
      "/FIELDSGROUP /FIELDS TARGETS=sales DIMVALUES=% FORCE=%",
      "/FIELDSGROUP /FIELDS TARGETS=sales /BUILDOPTIONS ESTIMATIONPERIOD=TIMES(START=% END=%)",
      "/FIELDSGROUP /FIELDS TARGETS=sales /BUILDOPTIONS ESTIMATIONPERIOD=TIMES(%)",
      "/FIELDSGROUP /FIELDS TARGETS=sales /BUILDOPTIONS ESTIMATIONPERIOD=% MAXINPUTS=%",
      "/DATAFILTER DIMVALUES=% /FIELDSGROUP /FIELDS TARGETS=sales EXCLUDEDTARGETS=%",
  };
  for (const std::string& settings : {kSettings, std::string("/DATASETTINGS TIMETYPE=NONE ")}) {
    for (int round = 0; round < 40; ++round) {
      for (const std::string& place : places) {
        std::string tail = place;
        for (size_t at = tail.find('%'); at != std::string::npos; at = tail.find('%')) {
          tail.replace(at, 1, soup());
        }
        const std::string text = "TCM MODEL " + settings + tail + ".";
        const Result r = Model(text, Shop());
        if (!r.ok) {
          bool error = false;
          for (const auto& message : r.messages)
            error |= message.severity == host::Severity::Error;
          EXPECT_TRUE(error) << text << ": " << r.Describe();
        }
      }
    }
  }
}

} // namespace
