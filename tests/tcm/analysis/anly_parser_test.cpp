// Tests of TCM ANALYSIS's reading of command text against model systems and expressions files
// written here: every fault the text, the model system or the expressions file can cause, the
// warnings that let the command go on, and whole commands read field by field.
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/temp_file.h"
#include "support/zip_archive.h"
#include "tcm/analysis/tcm_anly_parser.h"
#include "tcm/common/date_text.h"
#include "tcm/tcm_test_util.h"

namespace {

using Result = tcm_test::ParseResult<TCMAnlySpec>;
using tcm_test::Seconds;

// Settings as the preparation writes them; `extra` adds keys.
std::string Settings(const std::string& dims, const std::string& time, const std::string& cyclic,
                     const std::string& extra = "") {
  return "{\"dimFieldList\":[" + dims + "],\"metricFieldList\":[\"sales\",\"price\"]," +
         "\"dateTimeField\":\"" + time + "\",\"cyclicFieldList\":[" + cyclic + "]" + extra + "}";
}
const std::string kTwoDims = "\"region\",\"product\"";

// Dictionary: 0 region, 1 product, 2 day, 3 sales, 4 price, 5 cost, 6 stamp, 7 year, 8 month,
// 9 note.
std::shared_ptr<host::Dataset> Shop() {
  return tcm_test::MakeDataset({{"region", 8, "A8"}, {"product", 8, "A8"}, {"day", 0, "DATE11"},
                                {"sales"}, {"price"}, {"cost"}, {"stamp", 20, "A20"},
                                {"year", 0, "F4.0"}, {"month", 0, "F2.0"}, {"note", 8, "A8"}});
}

class AnalysisTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    auto dir = support::TempDir::Create("analysis");
    ASSERT_TRUE(dir.ok());
    dir_.emplace(std::move(dir.value()));
    const std::string days = "[18000,18001,18002,18003,18004]";
    Write("date", Settings(kTwoDims, "day", ""), days);
    Write("iso", Settings(kTwoDims, "stamp", ""), days);
    Write("cyclic", Settings("\"\"", "", "\"year\",\"month\""),
          "{\"year\":[2020,2020,2020,2020],\"month\":[1,2,3,4]}");
    // Aggregated by a level: the period field's list is gone, the top cycle's counts.
    Write("aggregated", Settings("\"\"", "", "\"year\",\"month\"", ",\"aggreLevel\":1"),
          "{\"year\":[2019,2020,2021]}");
    Write("dated", Settings("\"\"", "", "\"YEAR_\",\"MONTH_\""), "{}");
    Write("cases", Settings("\"\"", "", "\"$casecount\""), "{\"$casecount\":[1,2,3,4,5,6]}");
    Write("other", Settings("\"store\"", "day", ""), days);
    Write("graphless", Settings(kTwoDims, "day", ""), days, "");
    std::ofstream(Path("text")) << "not an archive";

    Text("expr.xml",
         "<?xml version=\"1.0\"?><PMML xmlns=\"http://www.dmg.org/PMML-4_4\">"
         "<TransformationDictionary>"
         "<DerivedField name=\"boost\"><Apply function=\"*\"><FieldRef field=\"sales\"/>"
         "<FieldRef field=\"price\"/><FieldRef/><FieldRef field=\"sales\"/></Apply></DerivedField>"
         "<DerivedField><FieldRef field=\"cost\"/></DerivedField>"
         "<DerivedField name=\"flat\"><Constant>1</Constant></DerivedField>"
         "<DerivedField name=\"boost\"><FieldRef field=\"cost\"/></DerivedField>"
         "</TransformationDictionary></PMML>");
    Text("flat.xml", "<PMML><DerivedField name=\"flat\"/></PMML>");
    Text("noxml.xml", "<PMML><DerivedField name=\"x\"></PMML>");
    Text("unnamed.xml", "<PMML><DerivedField><FieldRef field=\"sales\"/></DerivedField></PMML>");
    Text("empty.xml", "");
  }
  static void TearDownTestSuite() { dir_.reset(); }

  static std::string Path(const std::string& name) { return (dir_->path() / name).string(); }
  static void Text(const std::string& name, const std::string& text) {
    std::ofstream(Path(name)) << text;
  }
  // A model system as the engine lays it out, less StatXML.xml, which reading the command does
  // not need; `graph` empty leaves the graph out.
  static void Write(const std::string& name, const std::string& settings,
                    const std::string& timeVariable, const std::string& graph = "{\"g\":1}") {
    support::ZipArchiveWriter writer;
    if (!graph.empty()) {
      ASSERT_TRUE(writer.AddText("TCMGraph.json", graph).ok());
    }
    ASSERT_TRUE(writer
                    .AddText("TSDPOutput.json", "{\"settings\":" + settings +
                                                    ",\"output\":{\"timeVariable\":" +
                                                    timeVariable + "}}")
                    .ok());
    ASSERT_TRUE(writer.WriteTo(Path(name)).ok());
  }
  static Result Anly(const std::string& model, const std::string& rest) {
    return tcm_test::Parse<TCMAnlySpec, TCMAnlyParser>(
        "TCM ANALYSIS /MODELSYSTEM FILE='" + Path(model) + "' " + rest + ".",
        model == "dated" ? tcm_test::WithMonthlyDates(Shop()) : Shop(), "TCM ANALYSIS",
        "Temporal Causal Model Scenarios");
  }
  static std::string Expr(const std::string& name) {
    return "/EXPRESSIONS FILE='" + Path(name) + "' ";
  }

  static std::optional<support::TempDir> dir_;
};
std::optional<support::TempDir> AnalysisTest::dir_;

std::string Period(const std::string& rest) { return "/SCENARIOPERIOD " + rest + " "; }
const std::string kRelative = Period("TIMES=RELATIVE START=1 END=3");
const std::string kBoth = "DIMVALUES=region(VALUE=E) product(VALUE=P1) ";
std::string Scenario(const std::string& rest) { return "/SCENARIO ID='s' " + rest + " "; }
std::string Actual(const std::string& rest) {
  return Scenario("VALUES=ACTUAL(1 2) ROOTFIELD=sales " + rest);
}
std::string Group(const std::string& rest) { return "/SCENARIOGROUP IDPREFIX='g' " + rest + " "; }

struct Case {
  std::string model;
  std::string rest;
  std::string source;
  std::vector<std::string> args;
};

TEST_F(AnalysisTest, FaultsEndTheReadingWithTheirMessage) {
  const std::string iso = Period("TIMES=ABSOLUTE FORMAT=ISO8601 START='2020-03-01'");
  const std::vector<Case> faults = {
      // The command, the model system, OPTIONS and the output subcommands.
      {"text", kRelative, "INVALID_MODEL_KEY", {}},
      {"graphless", kRelative, "INVALID_MODEL_KEY", {}},
      {"missing.zip", kRelative, "FileNameInvalid", {Path("missing.zip")}},
      {"other", kRelative, "VariableNotInDict", {"store"}},
      {"cyclic", kRelative + Group("EXPRESSION=flat ROOTFIELD=sales") + Expr("flat.xml"),
       "SubComNeedSubCom", {"DIMENSIONS", "SCENARIOGROUP"}},
      {"date", kRelative + "/OPTIONS PLOT=none SERIESPLOT", "ParamExclAnyOther", {"NONE", "OPTIONS"}},
      {"date", kRelative + "/SAVE CL(LCLROOT=low)", "ParamNeedParam", {"UCLROOT", "LCLROOT"}},
      {"date", kRelative + "/PASSPROTECT PASSWORD='elevenchars'", "PWD_TOO_LONG_KEY", {}},

      // The expressions file and the scenario period.
      {"date", Expr("noxml.xml") + kRelative, "INVALID_EXPRESSION_KEY", {}},
      {"date", Expr("unnamed.xml") + kRelative, "INVALID_EXPRESSION_KEY", {}},
      {"date", Expr("empty.xml") + kRelative, "FileNoAccess", {Path("empty.xml")}},
      {"date", Expr("none.xml") + kRelative, "FileNoAccess", {Path("none.xml")}},
      {"date", Period("TIMES=ABSOLUTE START='2020-03-01' END='2020-03-05'"),
       "ParamRequiredForSubCom", {"FORMAT", "SCENARIOPERIOD"}},
      {"date", Period("TIMES=RELATIVE START=1 2 END=3"), "ParamNeedInteger",
       {"START", "SCENARIOPERIOD"}},
      {"date", Period("TIMES=RELATIVE START='x' END=3"), "ParamNeedInteger",
       {"START", "SCENARIOPERIOD"}},
      {"date", Period("TIMES=ABSOLUTE FORMAT=VARIABLE START=2020 END='05-MAR-2020'"),
       "ParamQuotedString", {"START", "SCENARIOPERIOD"}},
      {"date", Period("TIMES=ABSOLUTE FORMAT=VARIABLE START='soon' END='05-MAR-2020'"),
       "InvalidCatValue", {"day", "soon", "TIMES", "OPTIONS"}},
      {"iso", iso + "END='2020-13-45'", "InvalidParamValue", {"2020-13-45", "TIMES", "OPTIONS"}},
      {"cyclic", Period("TIMES=ABSOLUTE START='2020' END=2020 3"), "ParamNeedIntegerList",
       {"START", "ESTIMATIONPERIOD"}},
      {"cyclic", Period("TIMES=ABSOLUTE START=2020 END=2020 3"), "INVALID_PERIOD_KEY", {}},
      {"aggregated", Period("TIMES=ABSOLUTE START=2020 1 END=2021 1"), "INVALID_PERIOD_KEY", {}},
      {"dated", Period("TIMES=ABSOLUTE START=2020 END=2020 3"), "WRONG_LENGTH_DATE_SPEC_KEY", {}},
      {"cases", Period("TIMES=ABSOLUTE START=1 2 END=3"), "INVALID_PERIOD_KEY", {}},
      {"date", Period("TIMES=RELATIVE START=3 END=1"), "START_AFTER_END_KEY", {}},
      {"iso", iso + "END='2020-02-01'", "START_AFTER_END_KEY", {}},
      {"cyclic", Period("TIMES=ABSOLUTE START=2020 3 END=2020 1"), "START_AFTER_END_KEY", {}},
      {"iso", iso + "END='2020-03-05 10:00'", "InvalidParamValue",
       {"2020-03-05 10:00:00", "END", "SCENARIOPERIOD"}},
      // One period needs a PREDICTTHRU beyond it, in all three forms.
      {"date", Period("TIMES=RELATIVE START=2 END=2"), "PRE_THRU_KEY", {}},
      {"iso", iso + "END='2020-03-01'", "PRE_THRU_KEY", {}},
      {"cyclic", Period("TIMES=ABSOLUTE START=2020 3 END=2020 3"), "PRE_THRU_KEY", {}},
      {"date", Period("TIMES=RELATIVE START=2 END=2 PREDICTTHRU=0"), "PRE_THRU_KEY", {}},
      {"cyclic", Period("TIMES=ABSOLUTE START=2020 3 END=2020 3 PREDICTTHRU=2020 3"),
       "PRE_THRU_KEY", {}},
      {"iso", iso + "END='2020-03-05' PREDICTTHRU='2020-03-06 10:00'", "INVALID_THRU_KEY", {}},
      {"date", Period("TIMES=RELATIVE START=1 END=2 PREDICTTHRU=-1"), "END_AFTER_THRU_KEY", {}},
      {"iso", iso + "END='2020-03-05' PREDICTTHRU='2020-03-04'", "END_AFTER_THRU_KEY", {}},
      {"cyclic", Period("TIMES=ABSOLUTE START=2020 1 END=2020 3 PREDICTTHRU=2019 12"),
       "END_AFTER_THRU_KEY", {}},

      // Scenarios, scenario groups and target lists.
      {"date", kRelative + Actual(kBoth) + "/SCENARIO ID='S' VALUES=ACTUAL(1) ROOTFIELD=sales " +
                   kBoth,
       "DUP_SCENARIOID_KEY", {}},
      {"date", kRelative + Scenario("VALUES=EXPRESSION(flat) ROOTFIELD=sales " + kBoth),
       "SubComNeedSubCom", {"EXPRESSIONS", "SCENARIO"}},
      {"date", Expr("expr.xml") + kRelative +
                   Scenario("VALUES=EXPRESSION(steep) ROOTFIELD=sales " + kBoth),
       "EXPRESSION_MISSING_KEY", {"1", "steep"}},
      {"date", kRelative + Scenario("VALUES=ACTUAL(1 2) ROOTFIELD=gone " + kBoth),
       "VariableNotInDict", {"gone", "ROOTFIELD", "SCENARIO"}},
      {"date", kRelative + Actual(""), "ParamRequiredForSubCom", {"DIMVALUES", "SCENARIO"}},
      {"date", kRelative + Actual("DIMVALUES=region(VALUES=E) product(VALUE=P1)"),
       "ParamRequiredForSubCom", {"VALUE", "SCENARIO"}},
      {"date", kRelative + Actual("DIMVALUES=region(VALUE=E W) product(VALUE=P1)"),
       "TooLongVarList", {"VALUE", "SCENARIO", "1"}},
      {"date", kRelative + Actual("DIMVALUES=region(VALUE=) product(VALUE=P1)"),
       "InvalidParamValue", {"( VALUE = )", "DIMVALUES", "SCENARIO"}},
      {"date", kRelative + Actual("DIMVALUES=cost(VALUE=1)"), "FILED_NOT_ON_DIMENSIONS_KEY",
       {"SCENARIO", "cost"}},
      {"date", kRelative + Actual("DIMVALUES=region(VALUE=E)"), "NOT_ALL_DIM_KEY", {"1"}},
      {"date", kRelative + Actual(kBoth) + "/SCENARIO ID='t' VALUES=ACTUAL(1) ROOTFIELD=sales " +
                   "DIMVALUES=region(VALUE=E) region(VALUE=W)",
       "NOT_ALL_DIM_KEY", {"2"}},
      {"date", kRelative + Actual(kBoth + "EFFECTS=TARGETLIST(east)") + "/TARGETLIST FIELDS=sales",
       "NO_TARGETLIST_KEY", {"1"}},
      {"date", kRelative + Actual(kBoth + "EFFECTS=TARGETLIST") +
                   "/TARGETLIST LISTID=east FIELDS=sales",
       "NO_TARGETLIST_KEY", {"1"}},
      {"date", Expr("flat.xml") + kRelative + Group("EXPRESSION=flat ROOTFIELD=sales") +
                   "/SCENARIOGROUP IDPREFIX='G' EXPRESSION=flat ROOTFIELD=price",
       "DUP_PREFIX_KEY", {}},
      {"date", kRelative + Group("EXPRESSION=flat ROOTFIELD=sales"), "SubComNeedSubCom",
       {"EXPRESSIONS", "SCENARIOGROUP"}},
      {"date", Expr("flat.xml") + kRelative + Group("EXPRESSION=boost ROOTFIELD=sales"),
       "EXPRESSION_MISSING_GROUP_KEY", {"1", "boost"}},
      {"date", Expr("flat.xml") + kRelative + Group("EXPRESSION=flat ROOTFIELD=gone"),
       "VariableNotInDict", {"gone", "ROOTFIELD", "SCENARIOGROUP"}},
      {"date", Expr("flat.xml") + kRelative +
                   Group("EXPRESSION=flat ROOTFIELD=sales DIMVALUES=region(VALUE=E)"),
       "ParamRequiredForSubCom", {"VALUES", "SCENARIOGROUP"}},
      {"date", Expr("flat.xml") + kRelative +
                   Group("EXPRESSION=flat ROOTFIELD=sales EFFECTS=TARGETLIST(x)"),
       "NO_GROUP_TARGET_KEY", {"1"}},
      {"date", kRelative + "/TARGETLIST FIELDS=sales region", "WRONG_TARGET_FIELD_KEY",
       {"TARGETLIST", "region"}},
      {"date", kRelative + "/TARGETLIST FIELDS=day", "WRONG_TARGET_FIELD_KEY",
       {"TARGETLIST", "day"}},
      {"cyclic", kRelative + "/TARGETLIST FIELDS=MONTH", "WRONG_TARGET_FIELD_KEY",
       {"TARGETLIST", "MONTH"}},
      {"date", kRelative + "/TARGETLIST FIELDS=ALL", "InvalidVarName", {"ALL", "FIELDS", "FIELDS"}},
      {"date", kRelative + "/TARGETLIST FIELDS=gone", "VariableNotInDict",
       {"gone", "FIELDS", "TARGETLIST"}},
      {"date", kRelative + "/TARGETLIST FIELDS=sales TO", "SyntaxErrorInParam",
       {"TO", "FIELDS", "FIELDS"}},
      {"date", kRelative + "/TARGETLIST FIELDS=sales DIMVALUES=region(VALUE=E)",
       "ParamRequiredForSubCom", {"VALUES", "TARGETLIST"}},
  };
  for (const Case& c : faults) {
    const Result r = Anly(c.model, c.rest);
    EXPECT_FALSE(r.ok) << c.model << " " << c.rest;
    EXPECT_TRUE(r.Has(c.source, c.args)) << c.model << " " << c.rest << ": " << r.Describe();
    // The first fault ends the walk: nothing is reported after it.
    EXPECT_EQ(r.messages.size(), 1u) << c.model << " " << c.rest << ": " << r.Describe();
  }
}

TEST_F(AnalysisTest, WarningsLetTheCommandGoOn) {
  const std::vector<Case> warnings = {
      {"date", kRelative + "/TARGETLIST LISTID=east FIELDS=sales", "NOT_USED_KEY", {"EAST"}},
      {"date", kRelative + "/TARGETLIST FIELDS=sales", "NOT_REFERRED_KEY", {}},
      {"date", kRelative + Actual(kBoth + "EFFECTS=TARGETLIST(EAST)") +
                   "/TARGETLIST LISTID=east FIELDS=sales note",
       "STRING_VAR_IGNORED", {"FIELDS"}},
  };
  for (const Case& c : warnings) {
    const Result r = Anly(c.model, c.rest);
    EXPECT_TRUE(r.ok) << c.rest << ": " << r.Describe();
    EXPECT_TRUE(r.Has(c.source, c.args)) << c.rest << ": " << r.Describe();
    EXPECT_EQ(r.messages.size(), 1u) << c.rest << ": " << r.Describe();
  }
}

TEST_F(AnalysisTest, AWholeCommandInAnyOrder) {
  // Target lists after the scenarios that name them, the expressions file last.
  const Result r = Anly(
      "date",
      Period("TIMES=RELATIVE START=-2 END=1 PREDICTTHRU=0") +
          "/SCENARIO ID='Ads up' VALUES=ACTUAL(1 2.5 3) ROOTFIELD=SALES "
          "DIMVALUES=product(VALUE=P1) region(VALUE=E) EFFECTS=TARGETLIST(east) "
          "/SCENARIO ID='b' VALUES=EXPRESSION(BOOST) ROOTFIELD=price "
          "DIMVALUES=region(VALUE=W) product(VALUE=ALL) EFFECTS=TARGETLIST "
          "/SCENARIOGROUP IDPREFIX='grp' EXPRESSION=flat ROOTFIELD=sales "
          "DIMVALUES=region(VALUES=E W) EFFECTS=AUTOMATIC "
          "/TARGETLIST LISTID=East FIELDS=sales price DIMVALUES=region(VALUES=E) "
          "/TARGETLIST FIELDS=price /TARGETLIST LISTID=EAST FIELDS=cost "
          "/OPTIONS PLOT=none MAXLEVELS=2 PRINT=forecasts PREDICTEDCI=YES "
          "/PASSPROTECT PASSWORD='pw' /OUTFILE DATA='" +
          Path("out.csv") + "' " + Expr("expr.xml"));
  ASSERT_TRUE(r.ok) << r.Describe();
  EXPECT_TRUE(r.messages.empty()) << r.Describe();
  const TCMAnlySpec& s = r.spec;
  EXPECT_EQ(s.modelSystemPath, Path("date"));
  EXPECT_EQ(s.modelTimePoints, 5);
  EXPECT_EQ(s.graphJson, "{\"g\":1}");
  EXPECT_EQ(s.expressionNames, (std::vector<std::string>{"boost", "flat", "boost"}));
  ASSERT_EQ(s.expressionFields.size(), 2u);
  EXPECT_EQ(s.expressionFields.at("boost").fields,
            (std::vector<std::string>{"sales", "price", "sales"}));
  EXPECT_TRUE(s.expressionFields.at("flat").fields.empty());
  EXPECT_EQ(s.fieldRefCount, 3);
  EXPECT_EQ(s.usedExpressions, (std::set<std::string>{"BOOST", "FLAT"}));

  EXPECT_TRUE(s.scenarioPeriod.relative);
  EXPECT_TRUE(s.scenarioPeriod.hasPredictThru);
  EXPECT_EQ(s.scenarioPeriod.startPeriods, (std::vector<int32_t>{-2}));
  EXPECT_EQ(s.scenarioPeriod.endPeriods, (std::vector<int32_t>{1}));
  EXPECT_EQ(s.scenarioPeriod.thruPeriods, (std::vector<int32_t>{0}));

  ASSERT_EQ(s.scenarios.size(), 2u);
  const ScenarioSpec& ads = s.scenarios[0];
  EXPECT_EQ(ads.id, "Ads up");
  EXPECT_TRUE(ads.isActual);
  EXPECT_EQ(ads.actualValues, (std::vector<double>{1, 2.5, 3}));
  EXPECT_EQ(ads.rootField, "sales");
  EXPECT_EQ(ads.dimValues, (std::vector<DimValueFilter>{{"product", {"P1"}, true},
                                                        {"region", {"E"}, true}}));
  EXPECT_FALSE(ads.automaticEffects);
  EXPECT_EQ(ads.targetListId, "east");
  EXPECT_TRUE(ads.seriesKey.empty());
  const ScenarioSpec& b = s.scenarios[1];
  EXPECT_FALSE(b.isActual);
  EXPECT_EQ(b.expression, "BOOST");
  EXPECT_EQ(b.dimValues[1].values, (std::vector<std::string>{"ALL"}));
  EXPECT_EQ(b.targetListId, "");

  ASSERT_EQ(s.scenarioGroups.size(), 1u);
  const ScenarioGroupSpec& group = s.scenarioGroups[0];
  EXPECT_EQ(group.idPrefix, "grp");
  EXPECT_EQ(group.expression, "flat");
  EXPECT_EQ(group.rootField, "sales");
  EXPECT_TRUE(group.automaticEffects);
  EXPECT_EQ(group.dimValues, (std::vector<DimValueFilter>{{"region", {"E", "W"}, true}}));
  EXPECT_TRUE(group.scenarios.empty());

  // A LISTID twice makes two records, with no message.
  ASSERT_EQ(s.targetLists.size(), 3u);
  EXPECT_EQ(s.targetLists[0].listId, "East");
  EXPECT_EQ(s.targetLists[0].fields, (std::vector<QuorVarName>{QuorVarName("price"),
                                                               QuorVarName("sales")}));
  EXPECT_EQ(s.targetLists[0].dimValues.size(), 1u);
  EXPECT_EQ(s.targetLists[1].listId, "");

  EXPECT_EQ(s.buildOptions.analysisPlot, (std::vector<std::string>{"NONE"}));
  EXPECT_EQ(s.buildOptions.analysisPrint, (std::vector<std::string>{"FORECASTS"}));
  EXPECT_TRUE(s.buildOptions.predictedCI);
  EXPECT_EQ(s.buildOptions.maxLevels, 2);
  EXPECT_EQ(s.buildOptions.maxTargets, 25);
  EXPECT_EQ(s.password, "pw");
  EXPECT_TRUE(s.outData.IsFile());
  // region, product, day, sales, price, cost.
  EXPECT_EQ(r.used, (std::vector<int32_t>{0, 1, 2, 3, 4, 5}));
}

TEST_F(AnalysisTest, PeriodsAsDatesAndCyclicValues) {
  const Result dates = Anly("date", Period("TIMES=ABSOLUTE FORMAT=VARIABLE START='01-MAR-2020' "
                                           "END='01-MAR-2020' PREDICTTHRU='10-mar-2020'") +
                                        Expr("flat.xml"));
  ASSERT_TRUE(dates.ok) << dates.Describe();
  const ScenarioPeriodSpec& d = dates.spec.scenarioPeriod;
  EXPECT_FALSE(d.relative);
  EXPECT_EQ(d.startTime, Seconds(2020, 3, 1));
  EXPECT_EQ(d.endTime, d.startTime);
  EXPECT_EQ(d.thruTime, Seconds(2020, 3, 10));
  EXPECT_TRUE(d.startPeriods.empty());
  // Expressions that read no field leave the graph unread.
  EXPECT_EQ(dates.spec.fieldRefCount, 0);
  EXPECT_TRUE(dates.spec.graphJson.empty());

  const Result iso = Anly("iso", Period("TIMES=ABSOLUTE FORMAT=ISO8601 START='2020-03-01 06:00' "
                                        "END='2020-03-02 6:30'"));
  ASSERT_TRUE(iso.ok) << iso.Describe();
  EXPECT_EQ(iso.spec.timeType, "ISO8601");
  EXPECT_EQ(iso.spec.scenarioPeriod.endTime, Seconds(2020, 3, 2, 6, 30));
  EXPECT_EQ(iso.spec.scenarioPeriod.endFormat, kDateTimeKind);

  // A model aggregated by a level takes an integer fewer.
  const Result year = Anly("aggregated", Period("TIMES=ABSOLUTE START=2020 END=2021 "
                                                "PREDICTTHRU=2023"));
  ASSERT_TRUE(year.ok) << year.Describe();
  EXPECT_EQ(year.spec.scenarioPeriod.aggregationLevel, 1);
  EXPECT_EQ(year.spec.scenarioPeriod.thruPeriods, (std::vector<int32_t>{2023}));
  EXPECT_EQ(year.spec.modelTimePoints, 3);

  // A range of target fields passes over the cycle fields and sets the string aside.
  const Result months = Anly("cyclic", Period("TIMES=ABSOLUTE START=2020 11 END=2021 2") +
                                           "/TARGETLIST FIELDS=sales TO note");
  ASSERT_TRUE(months.ok) << months.Describe();
  EXPECT_EQ(months.spec.targetLists[0].fields,
            (std::vector<QuorVarName>{QuorVarName("cost"), QuorVarName("price"),
                                      QuorVarName("sales")}));
  EXPECT_EQ(months.spec.scenarioPeriod.startPeriods, (std::vector<int32_t>{2020, 11}));
  EXPECT_EQ(months.spec.scenarioPeriod.endPeriods, (std::vector<int32_t>{2021, 2}));
  EXPECT_EQ(months.spec.modelTimePoints, 4);
  // Without dimensions a scenario's DIMVALUES is not read.
  const Result cases = Anly("cases", Period("TIMES=ABSOLUTE START=2 END=5") +
                                         Actual("DIMVALUES=nothing(x)"));
  ASSERT_TRUE(cases.ok) << cases.Describe();
  EXPECT_EQ(cases.spec.timeType, "NONE");
  EXPECT_EQ(cases.spec.modelTimePoints, 6);
  EXPECT_TRUE(cases.spec.scenarios[0].dimValues.empty());
}

}  // namespace
