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

const std::string kSettings = "/DATASETTINGS DIMENSIONS=region TIMETYPE=DATETIMEVAR TIMEVAR=day ";
const std::string kGroup = "/FIELDSGROUP /FIELDS TARGETS=sales INPUTS=price ";

std::vector<std::string> Names(const std::vector<QuorVarName>& names) {
  std::vector<std::string> out;
  for (const auto& name : names)
    out.push_back(name.GetName());
  return out;
}

int64_t Seconds(int64_t year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
  support::CivilTime time;
  time.year = year;
  time.month = month;
  time.day = day;
  time.hour = hour;
  time.minute = minute;
  time.second = second;
  return support::ToSeconds(time);
}

TEST(ModelReadingOrder, WritingOrderDoesNotMatter) {
  const std::string settings = kSettings;
  const std::string build =
      "/BUILDOPTIONS ESTIMATIONPERIOD=TIMES(START='01-MAR-2015' END='2015-06-30' "
      "FORMAT=VARIABLE) MAXINPUTS=4 ";
  const std::string filter = "/SERIESFILTER FIELDS=sales ";
  const std::string datafilter = "/DATAFILTER DIMVALUES=region(INCLUDE=A B) ";
  const Result forward =
      Model("TCM MODEL " + settings + datafilter + build + filter + kGroup + ".", Shop());
  // BUILDOPTIONS needs the time variable of DATASETTINGS, SERIESFILTER the fields of FIELDS,
  // DATAFILTER the dimensions.
  const Result backward =
      Model("TCM MODEL " + filter + build + kGroup + datafilter + settings + ".", Shop());
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

  // The first fault in reading order is reported, not the first written.
  const Result fault =
      Model("TCM MODEL /BUILDOPTIONS ESTIMATIONPERIOD=TIMES(START='2015-13-01' FORMAT=ISO8601) "
            "/DATASETTINGS DIMENSIONS=region TIMETYPE=DATETIMEVAR TIMEVAR=nosuch " +
                kGroup + ".",
            Shop());
  EXPECT_FALSE(fault.ok);
  EXPECT_TRUE(fault.Has("VariableNotInDict", {"nosuch", "TIMEVAR"})) << fault.Describe();
  EXPECT_FALSE(fault.Has("InvalidParamValue")) << fault.Describe();
}

TEST(ModelReadingOrder, GlobalGroupAndDateVariables) {
  // Without date variables DATASETTINGS is required, with or without other global subcommands.
  const Result none = Model("TCM MODEL /BUILDOPTIONS MAXINPUTS=3 " + kGroup + ".", Shop());
  EXPECT_FALSE(none.ok);
  EXPECT_TRUE(none.Has("SubComRequired", {"DATASETTINGS"})) << none.Describe();
  const Result bare = Model("TCM MODEL " + kGroup + ".", Shop());
  EXPECT_FALSE(bare.ok);
  EXPECT_TRUE(bare.Has("SubComRequired", {"DATASETTINGS"})) << bare.Describe();

  // With date variables the time axis comes from them, with a global group or without one.
  for (const std::string text : {"TCM MODEL /FIELDSGROUP /FIELDS TARGETS=sales INPUTS=price.",
                                 "TCM MODEL /DEBUG_ /FIELDSGROUP /FIELDS TARGETS=sales "
                                 "INPUTS=price /SERIESFILTER FIELDS=price."}) {
    const Result r = Model(text, Monthly());
    ASSERT_TRUE(r.ok) << text << ": " << r.Describe();
    EXPECT_EQ(r.spec.timeType, "DATESPEC");
    EXPECT_EQ(r.spec.timeVars.periodVar, "MONTH_");
    ASSERT_EQ(r.spec.fieldsGroups.size(), 1u);
    EXPECT_EQ(Names(r.spec.fieldsGroups[0].fields[0].targets), std::vector<std::string>{"sales"});
  }
  const Result debug = Model("TCM MODEL /DEBUG_ " + kGroup + ".", Monthly());
  EXPECT_TRUE(debug.spec.debug);

  // A SERIESFILTER field must be a target, input or forced input; excluded ones do not count.
  const Result series = Model("TCM MODEL " + kSettings +
                                  "/FIELDSGROUP /FIELDS TARGETS=sales EXCLUDEDINPUTS=cost "
                                  "/SERIESFILTER FIELDS=cost.",
                              Shop());
  EXPECT_FALSE(series.ok);
  EXPECT_TRUE(series.Has("InvalidParamValue", {"cost", "FIELDS", "SERIESFILTER"}))
      << series.Describe();
}

TEST(ModelFields, ToRangesRunByDictionaryPosition) {
  // sales TO cost: sales, note (string, set aside), price, store (a dimension here), cost.
  const Result r = Model("TCM MODEL /DATASETTINGS DIMENSIONS=region store TIMETYPE=DATETIMEVAR "
                         "TIMEVAR=day /FIELDSGROUP /FIELDS TARGETS=sales TO cost.",
                         Shop());
  ASSERT_TRUE(r.ok) << r.Describe();
  EXPECT_EQ(Names(r.spec.fieldsGroups[0].fields[0].targets),
            (std::vector<std::string>{"cost", "price", "sales"}));
  EXPECT_TRUE(r.Has("STRING_VAR_IGNORED", {"FIELDS"})) << r.Describe();

  // A range starting at the time variable: the time variable itself is named and refused.
  const Result timeStart =
      Model("TCM MODEL " + kSettings + "/FIELDSGROUP /FIELDS TARGETS=day TO price.", Shop());
  EXPECT_FALSE(timeStart.ok);
  EXPECT_TRUE(timeStart.Has("WRONG_TARGET_KEY", {"FIELDS", "day"})) << timeStart.Describe();

  // Inputs read the same way; a range of only string fields leaves nothing but the warning.
  const Result inputs = Model("TCM MODEL /DATASETTINGS DIMENSIONS=region store "
                              "TIMETYPE=DATETIMEVAR TIMEVAR=day /FIELDSGROUP /FIELDS TARGETS=cost "
                              "INPUTS=sales TO price EXCLUDEDINPUTS=price TO cost.",
                              Shop());
  ASSERT_TRUE(inputs.ok) << inputs.Describe();
  const FieldsSpec& fields = inputs.spec.fieldsGroups[0].fields[0];
  EXPECT_EQ(Names(fields.inputs), (std::vector<std::string>{"price", "sales"}));
  // Without the numeric-only rule a numeric dimension in a range joins.
  EXPECT_EQ(Names(fields.excludedInputs), (std::vector<std::string>{"cost", "price", "store"}));

  struct Case {
    std::string list;
    std::string source;
    std::vector<std::string> args;
  };
  const std::vector<Case> faults = {
      {"cost TO sales", "SyntaxErrorInParam", {"cost TO sales", "TARGETS", "FIELDS"}},
      {"sales TO", "SyntaxErrorInParam", {"TO", "TARGETS", "FIELDS"}},
      {"TO cost", "SyntaxErrorInParam", {"TO", "TARGETS", "FIELDS"}},
      {"sales TO nosuch", "VariableNotInDict", {"nosuch", "TARGETS", "FIELDS"}},
      {"sales TO 'cost'", "InvalidVarName", {"'cost'", "TARGETS", "FIELDS"}},
      {"sales BY cost", "InvalidVarName", {"BY", "TARGETS", "FIELDS"}},
      {"sales nosuch", "VariableNotInDict", {"nosuch", "TARGETS", "FIELDS"}},
  };
  for (const Case& c : faults) {
    const Result f =
        Model("TCM MODEL " + kSettings + "/FIELDSGROUP /FIELDS TARGETS=" + c.list + ".", Shop());
    EXPECT_FALSE(f.ok) << c.list;
    EXPECT_TRUE(f.Has(c.source, c.args)) << c.list << ": " << f.Describe();
  }
}

TEST(ModelFields, AllAloneAndWithVariables) {
  const Result all = Model("TCM MODEL /DATASETTINGS DIMENSIONS=region store TIMETYPE=DATETIMEVAR "
                           "TIMEVAR=day /FIELDSGROUP /FIELDS TARGETS=ALL.",
                           Shop());
  ASSERT_TRUE(all.ok) << all.Describe();
  // Numeric, not a dimension, not the time variable; no warning for the strings left out.
  EXPECT_EQ(Names(all.spec.fieldsGroups[0].fields[0].targets),
            (std::vector<std::string>{"cost", "price", "sales"}));
  EXPECT_FALSE(all.Has("STRING_VAR_IGNORED"));
  EXPECT_EQ(all.used, (std::vector<int32_t>{0, 1, 2, 4, 5, 6}));

  // Over date variables: ALL leaves YEAR_ and MONTH_ out, and comes back.
  const Result dated = Model("TCM MODEL /FIELDSGROUP /FIELDS TARGETS=all.", Monthly());
  ASSERT_TRUE(dated.ok) << dated.Describe();
  EXPECT_EQ(Names(dated.spec.fieldsGroups[0].fields[0].targets),
            (std::vector<std::string>{"price", "sales"}));

  for (const std::string list : {"ALL sales", "sales ALL", "note ALL"}) {
    const Result r =
        Model("TCM MODEL " + kSettings + "/FIELDSGROUP /FIELDS TARGETS=" + list + ".", Shop());
    EXPECT_FALSE(r.ok) << list;
    EXPECT_TRUE(r.Has("ALL_WITH_VAR_KEY", {"FIELDS"})) << list << ": " << r.Describe();
  }

  // ALL over a dataset whose only fields besides the dimension are strings: nothing to model.
  const Result strings =
      Model("TCM MODEL " + kSettings + "/FIELDSGROUP /FIELDS TARGETS=ALL.",
            tcm_test::MakeDataset({{"region", 8, "A8"}, {"day", 0, "DATE11"}, {"note", 8, "A8"}}));
  EXPECT_FALSE(strings.ok);
  EXPECT_TRUE(strings.Has("SyntaxErrorInParam", {"", "TARGETS", "FIELDS"})) << strings.Describe();
}

TEST(ModelFields, WhatATargetMayBe) {
  struct Case {
    std::string fields;
    std::string name;
  };
  // The time variable, a string dimension (on any list), a numeric dimension as target or input.
  const std::vector<Case> wrong = {{"TARGETS=day", "day"},
                                   {"TARGETS=sales INPUTS=DAY", "DAY"},
                                   {"TARGETS=region", "region"},
                                   {"TARGETS=sales EXCLUDEDTARGETS=region", "region"},
                                   {"TARGETS=store", "store"}};
  for (const Case& c : wrong) {
    const Result r = Model("TCM MODEL /DATASETTINGS DIMENSIONS=region store TIMETYPE=DATETIMEVAR "
                           "TIMEVAR=day /FIELDSGROUP /FIELDS " +
                               c.fields + ".",
                           Shop());
    EXPECT_FALSE(r.ok) << c.fields;
    EXPECT_TRUE(r.Has("WRONG_TARGET_KEY", {"FIELDS", c.name})) << c.fields << ": " << r.Describe();
  }

  // A string field beside a numeric one: a warning, and the numeric one stays, spelled as the
  // dictionary spells it.
  const Result warned =
      Model("TCM MODEL " + kSettings + "/FIELDSGROUP /FIELDS TARGETS=NOTE Sales.", Shop());
  ASSERT_TRUE(warned.ok) << warned.Describe();
  EXPECT_TRUE(warned.Has("STRING_VAR_IGNORED", {"FIELDS"}));
  EXPECT_EQ(Names(warned.spec.fieldsGroups[0].fields[0].targets),
            std::vector<std::string>{"sales"});
  EXPECT_EQ(warned.used, (std::vector<int32_t>{0, 1, 2}));

  // Only string targets in every FIELDS of the group: nothing is left to model.
  const Result onlyStrings = Model("TCM MODEL " + kSettings +
                                       "/FIELDSGROUP /FIELDS TARGETS=note /FIELDS TARGETS=label "
                                       "INPUTS=price.",
                                   Shop());
  EXPECT_FALSE(onlyStrings.ok);
  EXPECT_TRUE(onlyStrings.Has("STRING_VAR_IGNORED"));
  EXPECT_TRUE(onlyStrings.Has("SyntaxErrorInParam", {"", "TARGETS", "FIELDS"}))
      << onlyStrings.Describe();
}

TEST(ModelFields, ForceAndExcludeFilters) {
  const std::string head = "TCM MODEL " + kSettings + "/FIELDSGROUP /FIELDS TARGETS=sales ";
  const Result forced = Model(head + "FORCE=price DIMVALUES=region(EXCLUDE=A).", Shop());
  EXPECT_FALSE(forced.ok);
  EXPECT_TRUE(forced.Has("ParamExclusive", {"FORCE", "EXCLUDE", "FIELDS"})) << forced.Describe();
  // FORCE naming only a string field has nothing to force, and still conflicts.
  const Result empty = Model(head + "FORCE=note DIMVALUES=region(EXCLUDE=A).", Shop());
  EXPECT_FALSE(empty.ok);
  EXPECT_TRUE(empty.Has("ParamExclusive", {"FORCE", "EXCLUDE", "FIELDS"})) << empty.Describe();
  EXPECT_FALSE(empty.Has("STRING_VAR_IGNORED"));

  const Result included = Model(head + "FORCE=price DIMVALUES=region(INCLUDE=A).", Shop());
  ASSERT_TRUE(included.ok) << included.Describe();
  const FieldsSpec& fields = included.spec.fieldsGroups[0].fields[0];
  EXPECT_EQ(Names(fields.force), std::vector<std::string>{"price"});
  ASSERT_EQ(fields.filters.size(), 1u);
  EXPECT_TRUE(fields.filters[0].include);
  // An EXCLUDE filter without FORCE is fine.
  EXPECT_TRUE(Model(head + "DIMVALUES=region(EXCLUDE=A).", Shop()).ok);
  // A FIELDS filter on a field that is no dimension fails while the command is read.
  const Result notDim = Model(head + "DIMVALUES=note(INCLUDE=A).", Shop());
  EXPECT_FALSE(notDim.ok);
  EXPECT_TRUE(notDim.Has("FILED_NOT_ON_DIMENSIONS_KEY")) << notDim.Describe();
}

TEST(ModelFields, GroupsNeedTargets) {
  // The second group has no FIELDS at all; its position in the group list is 2.
  const Result noFields = Model("TCM MODEL " + kSettings + kGroup + "/FIELDSGROUP.", Shop());
  EXPECT_FALSE(noFields.ok);
  EXPECT_TRUE(noFields.Has("TARGET_REQUIRED_KEY", {"2"})) << noFields.Describe();
  // FIELDS without TARGETS anywhere in the group.
  const Result noTargets = Model(
      "TCM MODEL " + kSettings + "/FIELDSGROUP /FIELDS INPUTS=price /FIELDS INPUTS=cost.", Shop());
  EXPECT_FALSE(noTargets.ok);
  EXPECT_TRUE(noTargets.Has("TARGET_REQUIRED_KEY", {"1"})) << noTargets.Describe();

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
}

TEST(ModelFields, DataFilter) {
  const Result r = Model("TCM MODEL " + kSettings +
                             "/DATAFILTER DIMVALUES=region(INCLUDE=North 'South West') "
                             "region(EXCLUDE=East) " +
                             kGroup + ".",
                         Shop());
  ASSERT_TRUE(r.ok) << r.Describe();
  ASSERT_EQ(r.spec.dataFilter.filters.size(), 2u);
  EXPECT_EQ(r.spec.dataFilter.filters[0],
            (DimValueFilter{"region", {"North", "South West"}, true}));
  EXPECT_EQ(r.spec.dataFilter.filters[1], (DimValueFilter{"region", {"East"}, false}));
  const Result bad = Model(
      "TCM MODEL " + kSettings + "/DATAFILTER DIMVALUES=price(INCLUDE=1) " + kGroup + ".", Shop());
  EXPECT_FALSE(bad.ok);
  EXPECT_TRUE(bad.Has("FILED_NOT_ON_DIMENSIONS_KEY", {"DATAFILTER", "price"})) << bad.Describe();
}

std::string Times(const std::string& qualifiers) {
  return "/BUILDOPTIONS ESTIMATIONPERIOD=TIMES(" + qualifiers + ") ";
}

TEST(ModelBuildOptions, TimesWithDates) {
  // FORMAT=VARIABLE reads the dates in the time variable's format (DATE11 also reads ISO text).
  const Result variable =
      Model("TCM MODEL " + kSettings +
                Times("START='01-mar-2015' END='2015-06-30' FORMAT=VARIABLE") + kGroup + ".",
            Shop());
  ASSERT_TRUE(variable.ok) << variable.Describe();
  const BuildOptionsSpec& v = variable.spec.buildOptions;
  EXPECT_EQ(v.dateFormat, 0);
  EXPECT_EQ(v.startTime, Seconds(2015, 3, 1));
  EXPECT_EQ(v.endTime, Seconds(2015, 6, 30));
  EXPECT_EQ(v.startKind, PackFormat(host::PrintFormat{host::fmt::kDate, 11, 0}));
  EXPECT_EQ(v.endKind, v.startKind);
  EXPECT_TRUE(v.startPeriods.empty());

  // ISO8601: a date, a date-time, and times of day.
  const Result iso = Model(
      "TCM MODEL " + kSettings +
          Times("FORMAT=ISO8601 START='2015-1-5 7:05' END='2015-06-30 23:59:59'") + kGroup + ".",
      Shop());
  ASSERT_TRUE(iso.ok) << iso.Describe();
  EXPECT_EQ(iso.spec.buildOptions.dateFormat, 1);
  EXPECT_EQ(iso.spec.buildOptions.startTime, Seconds(2015, 1, 5, 7, 5));
  EXPECT_EQ(iso.spec.buildOptions.endTime, Seconds(2015, 6, 30, 23, 59, 59));
  EXPECT_EQ(iso.spec.buildOptions.startKind, kDateTimeKind);
  EXPECT_EQ(FormatTime(iso.spec.buildOptions.startTime, kDateTimeKind), "2015-01-05 07:05:00");

  const Result clock =
      Model("TCM MODEL " + kSettings + Times("START='9' END='17:30' FORMAT=ISO8601") + kGroup + ".",
            Shop());
  ASSERT_TRUE(clock.ok) << clock.Describe();
  EXPECT_EQ(clock.spec.buildOptions.startTime, 9 * 3600);
  EXPECT_EQ(clock.spec.buildOptions.endTime, 17 * 3600 + 30 * 60);
  EXPECT_EQ(clock.spec.buildOptions.endKind, kTimeKind);

  // A year alone is the year's first day.
  const Result year =
      Model("TCM MODEL " + kSettings + Times("START='2014' FORMAT=ISO8601") + kGroup + ".", Shop());
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

TEST(ModelBuildOptions, TimesFaults) {
  struct Case {
    std::string qualifiers;
    std::string source;
    std::vector<std::string> args;
  };
  const std::vector<Case> faults = {
      {"START='2015-03-01'", "ParamNeedParam", {"FORMAT", "TIMES"}},
      {"START='2015-06-01' END='2015-03-01' FORMAT=ISO8601", "INVALID_START_KEY", {}},
      {"START='01-JUN-2015' END='01-MAR-2015' FORMAT=VARIABLE", "INVALID_START_KEY", {}},
      // Kinds differ: a date-time start and a plain date end; the end prints back as read.
      {"START='2015-01-01 10:20:30' END='2015-06-01' FORMAT=ISO8601",
       "InvalidParamValue",
       {"2015-06-01", "END", "BUILDOPTIONS"}},
      {"START='31-FEB-2015' FORMAT=VARIABLE",
       "InvalidCatValue",
       {"day", "31-FEB-2015", "TIMES", "BUILDOPTIONS"}},
      {"START='2015-02-31' FORMAT=ISO8601",
       "InvalidParamValue",
       {"2015-02-31", "TIMES", "BUILDOPTIONS"}},
      {"START='2015-13-01' FORMAT=ISO8601",
       "InvalidParamValue",
       {"2015-13-01", "TIMES", "BUILDOPTIONS"}},
      {"START='2015/03/01' FORMAT=ISO8601",
       "SyntaxErrorInParam",
       {"2015/03/01", "TIMES", "OPTIONS"}},
      {"START='25:00' FORMAT=ISO8601", "InvalidParamValue", {"25:00", "TIMES", "BUILDOPTIONS"}},
      // The epoch reads as "not given", so it is refused rather than silently dropped.
      {"START='1970-01-01' FORMAT=ISO8601", "InvalidParamValue", {"1970-01-01", "TIMES"}},
      {"START=2015 3", "ParamNeedEuroDate", {"TIMES", "BUILDOPTIONS"}},
      {"START=2015", "ParamNeedEuroDate", {"TIMES", "BUILDOPTIONS"}},
      {"START=soon", "SyntaxErrorInParam", {"soon", "TIMES", "BUILDOPTIONS"}},
      {"START=1.5", "SyntaxErrorInParam", {"1.5", "TIMES", "BUILDOPTIONS"}},
      {"FORMAT=ISO8601", "SyntaxErrorInParam", {"TIMES", "ESTIMATIONPERIOD", "BUILDOPTIONS"}},
  };
  for (const Case& c : faults) {
    const Result r = Model("TCM MODEL " + kSettings + Times(c.qualifiers) + kGroup + ".", Shop());
    EXPECT_FALSE(r.ok) << c.qualifiers;
    EXPECT_TRUE(r.Has(c.source, c.args)) << c.qualifiers << ": " << r.Describe();
  }
  // The host's object on a variable that is not there: no index, and no value reads.
  ProcedureDataSource source(Shop());
  VarSpecObj object("TIMES", "BUILDOPTIONS", nullptr, &source, true);
  EXPECT_LT(object.ValidateVariable("gone"), 0);
  double value = 0.0;
  int32_t format = 0;
  EXPECT_FALSE(object.ValidateCatValue("01-MAR-2015", value, format));
}

TEST(ModelBuildOptions, TimesWithPeriods) {
  const std::string none = "TCM MODEL /DATASETTINGS TIMETYPE=NONE ";
  const std::string group = "/FIELDSGROUP /FIELDS TARGETS=sales.";
  const auto data = [] { return tcm_test::MakeDataset({{"sales"}, {"price"}}); };

  const Result both = Model(none + Times("START=10 END=20") + group, data());
  ASSERT_TRUE(both.ok) << both.Describe();
  EXPECT_EQ(both.spec.buildOptions.startPeriods, std::vector<int32_t>{10});
  EXPECT_EQ(both.spec.buildOptions.endPeriods, std::vector<int32_t>{20});
  EXPECT_EQ(both.spec.buildOptions.startTime, 0);
  // Period values are not ordered here: an end before the start passes.
  EXPECT_TRUE(Model(none + Times("START=20 END=10") + group, data()).ok);
  EXPECT_TRUE(Model(none + Times("END=20") + group, data()).ok);

  struct Case {
    std::string qualifiers;
    std::string source;
    std::vector<std::string> args;
  };
  const std::vector<Case> faults = {
      {"START=1 2", "MISMATCHING_START_END_KEY", {}},
      {"START=10 END=1 2", "MISMATCHING_START_END_KEY", {}},
      {"START=1.5", "SINGLE_INTEGER_KEY", {}},
      {"START='2015-01-01' FORMAT=ISO8601", "ParamNeedIntegerList", {"TIMES", "BUILDOPTIONS"}},
      {"START=1 x", "ParamNeedIntegerList", {"TIMES", "BUILDOPTIONS"}},
      {"FORMAT=VARIABLE", "SINGLE_INT_VAL_KEY", {"ESTIMATIONPERIOD"}},
  };
  for (const Case& c : faults) {
    const Result r = Model(none + Times(c.qualifiers) + group, data());
    EXPECT_FALSE(r.ok) << c.qualifiers;
    EXPECT_TRUE(r.Has(c.source, c.args)) << c.qualifiers << ": " << r.Describe();
  }
  // "START=1 2" fails on its length before the count of values is looked at.
  EXPECT_FALSE(Model(none + Times("START=1 2") + group, data()).Has("SINGLE_INT_VAL_KEY"));

  // Date variables YEAR_ and MONTH_: one value per level, from the highest down.
  const Result dated = Model("TCM MODEL " + Times("START=2015 3 END=2016 1") + group, Monthly());
  ASSERT_TRUE(dated.ok) << dated.Describe();
  EXPECT_EQ(dated.spec.buildOptions.startPeriods, (std::vector<int32_t>{2015, 3}));
  EXPECT_EQ(dated.spec.buildOptions.endPeriods, (std::vector<int32_t>{2016, 1}));
  const Result shortDated = Model("TCM MODEL " + Times("START=2015") + group, Monthly());
  EXPECT_FALSE(shortDated.ok);
  EXPECT_TRUE(shortDated.Has("WRONG_LENGTH_DATE_SPEC_KEY")) << shortDated.Describe();
}

TEST(ModelBuildOptions, ObservationsAndNumbers) {
  const Result obs = Model("TCM MODEL " + kSettings +
                               "/BUILDOPTIONS ESTIMATIONPERIOD=OBSERVATIONS(TYPE=oldest OFFSET=2 "
                               "NUMBER=50) FORECASTPERIODS=6 CILEVEL=90 TOLERANCE=0.01 "
                               "OUTLIERTHRESH=99 " +
                               kGroup + ".",
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

  const Result all = Model(
      "TCM MODEL " + kSettings + "/BUILDOPTIONS ESTIMATIONPERIOD=ALL " + kGroup + ".", Shop());
  ASSERT_TRUE(all.ok) << all.Describe();
  EXPECT_EQ(all.spec.buildOptions.estimationPeriod, "ALL");

  // Keywords keep the defaults; numbers replace them.
  const Result keywords =
      Model("TCM MODEL " + kSettings + "/BUILDOPTIONS MAXINPUTS=DEFAULT LAGS=auto " + kGroup + ".",
            Shop());
  ASSERT_TRUE(keywords.ok) << keywords.Describe();
  EXPECT_TRUE(keywords.spec.buildOptions.maxInputsDefault);
  EXPECT_TRUE(keywords.spec.buildOptions.lagsAuto);
  EXPECT_EQ(keywords.spec.buildOptions.maxInputs, kUnset);
  EXPECT_EQ(keywords.spec.buildOptions.lags, kUnset);

  const Result numbers =
      Model("TCM MODEL " + kSettings + "/BUILDOPTIONS MAXINPUTS=7 LAGS=12 " + kGroup + ".", Shop());
  ASSERT_TRUE(numbers.ok) << numbers.Describe();
  EXPECT_FALSE(numbers.spec.buildOptions.maxInputsDefault);
  EXPECT_FALSE(numbers.spec.buildOptions.lagsAuto);
  EXPECT_EQ(numbers.spec.buildOptions.maxInputs, 7);
  EXPECT_EQ(numbers.spec.buildOptions.lags, 12);

  const Result outOfRange =
      Model("TCM MODEL " + kSettings + "/BUILDOPTIONS LAGS=21 " + kGroup + ".", Shop());
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
  // A date variable's value and the ISO text of the same day meet in the same time.
  ProcedureDataSource source(Shop());
  VarSpecObj day("TIMES", "BUILDOPTIONS", nullptr, &source, true);
  ASSERT_EQ(day.ValidateVariable("DAY"), 1);
  double value = 0.0;
  int32_t format = 0;
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
