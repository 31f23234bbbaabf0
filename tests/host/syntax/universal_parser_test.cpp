// Tests of UniversalParser: every role and flag of the descriptor tree, well-formed and
// malformed, with the message and arguments that each fault raises.
#include <gtest/gtest.h>

#include "command_trees.h"
#include "host/session.h"
#include "host/syntax/command_splitter.h"
#include "host/syntax/token_sequence.h"
#include "host/syntax/universal_parser.h"

namespace {
using syntax_test::ParseCommandText;
using Args = std::vector<std::string>;

constexpr const char* kGroup = " /FIELDSGROUP /FIELDS TARGETS=y";

struct Outcome {
  int result = 0;
  std::string source;
  Args args;
  CommandSpec spec;
};

Outcome ParseWith(CommandDescriptor tree, const std::string& text) {
  Outcome outcome;
  ParserMessage messages;
  outcome.result = ParseCommandText(text, tree, outcome.spec, messages);
  if (!messages.Raised().empty()) {
    outcome.source = messages.Raised().front().source;
    outcome.args = messages.Raised().front().args;
    EXPECT_EQ(messages.Raised().size(), 1u) << text; // the first fault stops the parse
  }
  return outcome;
}

Outcome Model(const std::string& body) {
  return ParseWith(syntax_test::ModelTree(), "TCM MODEL " + body + kGroup);
}

void ExpectAccepted(const std::string& body) {
  const Outcome outcome = Model(body);
  EXPECT_EQ(outcome.result, 0) << body << " -> " << outcome.source;
}

void ExpectFault(const Outcome& outcome, const std::string& source, const Args& args,
                 const std::string& what) {
  EXPECT_NE(outcome.result, 0) << what;
  EXPECT_EQ(outcome.source, source) << what;
  EXPECT_EQ(outcome.args, args) << what;
  EXPECT_EQ(outcome.spec.getGroupListSize(), 0) << what;
}

void ExpectModelFault(const std::string& body, const std::string& source, const Args& args) {
  ExpectFault(Model(body), source, args, body);
}

TEST(UniversalParser, CommandShape) {
  // The first subcommand may stand without its slash; commas and case mean nothing.
  ExpectAccepted("datasettings timetype=none, maxmissing=5");
  ExpectAccepted("/DEBUG_ /DATASETTINGS TIMETYPE=NONE");
  // Empty command: NoSubCom when something is required, empty settings otherwise.
  ExpectFault(ParseWith(syntax_test::ModelTree(), "TCM MODEL"), "NoSubCom", {}, "empty MODEL");
  CommandDescriptor optional("TCM X", "X");
  SubComDescriptor only("ONLY", UPSpecTypes::SubComSpec{1}, false, false);
  only.allowSubComEmpty(true);
  optional.addSubComDesc(only);
  const Outcome empty = ParseWith(optional, "TCM MODEL");
  EXPECT_EQ(empty.result, 0);
  EXPECT_EQ(empty.spec.getGroupListSize(), 0);
  EXPECT_EQ(empty.spec.getGlobalGroupObj(), nullptr);

  ExpectModelFault("/BOGUS X=1", "InvalidSubComName", {"BOGUS"});
  ExpectModelFault("TIMETYPE=NONE", "InvalidSubComName", {"TIMETYPE"});
  ExpectModelFault("/DATASETTINGS TIMETYPE=NONE /", "SYNTAX_SUBCOM_NAME_MISSING_KEY", {"1"});
  ExpectFault(ParseWith(syntax_test::ModelTree(), "TCM MODEL /DEBUG_\n  //FIELDSGROUP"),
              "SYNTAX_SUBCOM_NAME_MISSING_KEY", {"2"}, "double slash");
  ExpectModelFault("/DATASETTINGS TIMETYPE=NONE /DATASETTINGS TIMETYPE=NONE",
                   "SYNTAX_SUBCOM_REPEATED_KEY", {"1", "DATASETTINGS"});
  ExpectAccepted("/SERIESFILTER FIELDS=a /SERIESFILTER FIELDS=b"); // repeatable
  ExpectModelFault("/DATAFILTER", "SYNTAX_SUBCOM_EMPTY_KEY", {"1", "DATAFILTER"});
  ExpectModelFault("/TARGETFILTER", "ParamRequiredForSubCom", {"DISPLAY", "TARGETFILTER"});
  ExpectModelFault("/DEBUG_ X", "InvalidParam", {"X", "DEBUG_"});

  ExpectFault(ParseWith(syntax_test::ApplyTree(), "TCM APPLY /OPTIONS FORECASTPERIODS=1"),
              "SubComRequired", {"MODELSYSTEM"}, "MODELSYSTEM missing");
  ExpectFault(ParseWith(syntax_test::AnalysisTree(), "TCM ANALYSIS /DEBUG_"), "SubComRequired",
              {"MODELSYSTEM, SCENARIOPERIOD"}, "two missing");
}

TEST(UniversalParser, RepeatingGroups) {
  const Outcome two = ParseWith(syntax_test::ModelTree(),
                                "TCM MODEL /FIELDSGROUP /FIELDS TARGETS=a /FIELDS TARGETS=b "
                                "/DATASETTINGS TIMETYPE=NONE /FIELDSGROUP");
  ASSERT_EQ(two.result, 0) << two.source;
  ASSERT_EQ(two.spec.getGroupListSize(), 3);
  EXPECT_TRUE(two.spec.getGroupObj(0)->isGroupGlobal()); // global first, wherever written
  EXPECT_EQ(two.spec.getGroupObj(1)->getSubComListSize(), 3);
  EXPECT_EQ(two.spec.getGroupObj(2)->getSubComListSize(), 1); // a FIELDSGROUP alone passes
  EXPECT_EQ(two.spec.getGroupObj(3), nullptr);
  const Outcome no_global = ParseWith(syntax_test::ModelTree(), "TCM MODEL /FIELDSGROUP /FIELDS");
  ASSERT_EQ(no_global.result, 0);
  EXPECT_EQ(no_global.spec.getGlobalGroupObj(), nullptr);

  ExpectFault(ParseWith(syntax_test::ModelTree(), "TCM MODEL /FIELDS TARGETS=a /FIELDSGROUP"),
              "SubComNeedSubCom", {"FIELDSGROUP", "FIELDS"}, "member first");
  ExpectFault(ParseWith(syntax_test::ModelTree(), "TCM MODEL /DATASETTINGS TIMETYPE=NONE"),
              "SubComRequired", {"FIELDSGROUP, FIELDS"}, "no group");
  ExpectFault(ParseWith(syntax_test::ModelTree(), "TCM MODEL /FIELDSGROUP /FIELDSGROUP"),
              "SubComRequired", {"FIELDS"}, "no FIELDS anywhere");
  ExpectFault(ParseWith(syntax_test::ModelTree(), "TCM MODEL /FIELDSGROUP X=1 /FIELDS"),
              "InvalidParam", {"X", "FIELDSGROUP"}, "FIELDSGROUP has no parameters");
}

TEST(UniversalParser, ParametersOnceRequiredAndKnown) {
  ExpectModelFault("/DATASETTINGS MAXMISSING=1 MAXMISSING=2", "ParamRepeated",
                   {"MAXMISSING", "DATASETTINGS"});
  ExpectModelFault("/DATASETTINGS BOGUS=1", "InvalidParam", {"BOGUS", "DATASETTINGS"});
  ExpectModelFault("/DATASETTINGS TIMETYPE=NONE 5", "InvalidParam", {"5", "DATASETTINGS"});
  ExpectModelFault("/DATASETTINGS TIMETYPE=NONE ISO8601", "InvalidParam",
                   {"ISO8601", "DATASETTINGS"});
  ExpectModelFault("/SERIESFILTER DIMVALUES=r(INCLUDE=a)", "ParamRequiredForSubCom",
                   {"FIELDS", "SERIESFILTER"});
  // An equals parameter needs its value.
  ExpectModelFault("/DATASETTINGS TIMETYPE", "ParamMustBeString", {"TIMETYPE", "DATASETTINGS"});
  ExpectModelFault("/DATASETTINGS DIMENSIONS= TIMETYPE=NONE", "SyntaxErrorAfterText",
                   {"=", "DIMENSIONS", "DATASETTINGS"});
  ExpectModelFault("/DATASETTINGS MAXMISSING=", "ParamNeedInteger", {"MAXMISSING", "DATASETTINGS"});
  ExpectModelFault("/BUILDOPTIONS CILEVEL", "ParamNeedNumber", {"CILEVEL", "BUILDOPTIONS"});
  ExpectModelFault("/FILTEREDOUTPUT NETWORKGRAPH", "SyntaxErrorAfterText",
                   {"NETWORKGRAPH", "NETWORKGRAPH", "FILTEREDOUTPUT"});
}

TEST(UniversalParser, KeywordsStringsAndFiles) {
  ExpectAccepted("/DATASETTINGS TIMETYPE=cyclicperiods");
  ExpectModelFault("/DATASETTINGS TIMETYPE=WEEKLY", "InvalidParamValue",
                   {"WEEKLY", "TIMETYPE", "DATASETTINGS"});
  ExpectModelFault("/DATASETTINGS TIMETYPE=3", "InvalidParamValue",
                   {"3", "TIMETYPE", "DATASETTINGS"});
  ExpectModelFault("/SYSTEMOUTPUT MODELFIT=RMSE BOGUS", "InvalidParamValue",
                   {"BOGUS", "MODELFIT", "SYSTEMOUTPUT"});
  ExpectModelFault("/PASSPROTECT PASSWORD=secret", "ParamQuotedString",
                   {"PASSWORD", "PASSPROTECT"});
  ExpectModelFault("/OUTFILE MODELSYSTEM=12", "FileNameInvalid", {"12"});
  ExpectAccepted("/OUTFILE MODELSYSTEM=model.tcm DATA=name");
  // A free word (no values added) takes any word but no number.
  const auto analysis = [](const std::string& body) {
    return ParseWith(
        syntax_test::AnalysisTree(),
        "TCM ANALYSIS /MODELSYSTEM FILE='m' /SCENARIOPERIOD TIMES=RELATIVE START=1 END=2 " + body);
  };
  EXPECT_EQ(analysis("/TARGETLIST LISTID=anything FIELDS=a").result, 0);
  ExpectFault(analysis("/TARGETLIST LISTID=5 FIELDS=a"), "ParamMustBeString",
              {"LISTID", "TARGETLIST"}, "LISTID=5");
  EXPECT_EQ(analysis("/SCENARIO ID='a' VALUES=EXPRESSION(e) ROOTFIELD=r EFFECTS=AUTOMATIC").result,
            0);
  ExpectFault(analysis("/SCENARIO ID='a' VALUES=ACTUAL(1 x) ROOTFIELD=r"), "ParamNeedNumberList",
              {"ACTUAL", "SCENARIO"}, "ACTUAL with a word");
  ExpectFault(analysis("/SCENARIO ID='a' VALUES=ACTUAL(1) ROOTFIELD=7"), "InvalidVarName",
              {"7", "ROOTFIELD", "SCENARIO"}, "ROOTFIELD=7");
  ExpectFault(analysis("/SCENARIO ID='a' VALUES=EXPRESSION ROOTFIELD=r"), "NoVarNameAfterSymbol",
              {"EXPRESSION", "EXPRESSION", "SCENARIO"}, "EXPRESSION bare");
  ExpectFault(analysis("/SCENARIO ID='a' VALUES=MEAN(1) ROOTFIELD=r"), "InvalidParamValue",
              {"MEAN", "VALUES", "SCENARIO"}, "VALUES=MEAN");
  ExpectFault(analysis("/SCENARIO ID='a' VALUES=ACTUAL(1) ROOTFIELD=r ROOTFIELD=s"),
              "ParamRepeated", {"ROOTFIELD", "SCENARIO"}, "ROOTFIELD twice");
}

TEST(UniversalParser, NumbersAndBounds) {
  // Lower bound exclusive, and a keyword alternative to the integer.
  ExpectModelFault("/DATASETTINGS MAXDIMVALUES=100", "InvalidParamValue",
                   {"100", "MAXDIMVALUES", "DATASETTINGS"});
  ExpectAccepted("/DATASETTINGS MAXDIMVALUES=101");
  ExpectAccepted("/DATASETTINGS MAXDIMVALUES 101"); // no equals sign in the tree
  ExpectAccepted("/DATASETTINGS MAXDIMVALUES(101)");
  // Both bounds inclusive.
  ExpectAccepted("/BUILDOPTIONS OUTLIERTHRESH=50");
  ExpectAccepted("/BUILDOPTIONS OUTLIERTHRESH=100");
  ExpectModelFault("/BUILDOPTIONS OUTLIERTHRESH=49", "InvalidParamValue",
                   {"49", "OUTLIERTHRESH", "BUILDOPTIONS"});
  ExpectModelFault("/BUILDOPTIONS OUTLIERTHRESH=101", "InvalidParamValue",
                   {"101", "OUTLIERTHRESH", "BUILDOPTIONS"});
  // Both bounds exclusive, on a real number.
  ExpectAccepted("/BUILDOPTIONS CILEVEL=99.9");
  ExpectModelFault("/BUILDOPTIONS CILEVEL=100", "InvalidParamValue",
                   {"100", "CILEVEL", "BUILDOPTIONS"});
  ExpectModelFault("/BUILDOPTIONS CILEVEL=0", "InvalidParamValue",
                   {"0", "CILEVEL", "BUILDOPTIONS"});
  ExpectModelFault("/BUILDOPTIONS CILEVEL=high", "ParamNeedNumber", {"CILEVEL", "BUILDOPTIONS"});
  ExpectModelFault("/BUILDOPTIONS TOLERANCE=-0.5", "InvalidParamValue",
                   {"-0.5", "TOLERANCE", "BUILDOPTIONS"});
  // Integers: a real, a quoted number, a wrong keyword.
  ExpectModelFault("/BUILDOPTIONS FORECASTPERIODS=2.5", "ParamNeedInteger",
                   {"FORECASTPERIODS", "BUILDOPTIONS"});
  ExpectModelFault("/BUILDOPTIONS FORECASTPERIODS='2'", "ParamNeedInteger",
                   {"FORECASTPERIODS", "BUILDOPTIONS"});
  ExpectModelFault("/BUILDOPTIONS FORECASTPERIODS=-1", "InvalidParamValue",
                   {"-1", "FORECASTPERIODS", "BUILDOPTIONS"});
  ExpectAccepted("/BUILDOPTIONS MAXINPUTS=default LAGS=20");
  ExpectModelFault("/BUILDOPTIONS MAXINPUTS=MANY", "InvalidParamValue",
                   {"MANY", "MAXINPUTS", "BUILDOPTIONS"});
  ExpectModelFault("/BUILDOPTIONS LAGS=21", "InvalidParamValue", {"21", "LAGS", "BUILDOPTIONS"});
  // Bounds inside qualifiers.
  ExpectAccepted("/TARGETFILTER DISPLAY=BESTFIT(N=0)");
  ExpectModelFault("/TARGETFILTER DISPLAY=BESTFIT(PCT=0)", "InvalidParamValue",
                   {"0", "PCT", "TARGETFILTER"});
  ExpectAccepted("/FILTEREDOUTPUT NETWORKGRAPH=YES(SIGLEVEL=0.005)");
  ExpectModelFault("/FILTEREDOUTPUT NETWORKGRAPH=YES(SIGLEVEL=1)", "InvalidParamValue",
                   {"1", "SIGLEVEL", "FILTEREDOUTPUT"});
  ExpectModelFault("/DATASETTINGS INPUTINTERVAL=DAY(DAYSWK=8)", "InvalidParamValue",
                   {"8", "DAYSWK", "DATASETTINGS"});
  ExpectModelFault("/FILTEREDOUTPUT IMPACTDIAGRAMS=CAUSES(0)", "InvalidParamValue",
                   {"0", "CAUSES", "FILTEREDOUTPUT"});
  // The same qualifier bounded inclusively in the other command's tree.
  EXPECT_EQ(ParseWith(syntax_test::ApplyTree(),
                      "TCM APPLY /MODELSYSTEM FILE='m' /FILTEREDOUTPUT IMPACTDIAGRAMS=CAUSES(0)")
                .result,
            0);
}

TEST(UniversalParser, QualifiersInParenthesesAndAsValues) {
  // Option 1: the qualifier is the value, bare or with its own parentheses.
  ExpectAccepted("/DATASETTINGS INPUTINTERVAL=WEEK ANALYSISINTERVAL=CYCLE(LEVEL=2)");
  ExpectAccepted(
      "/DATASETTINGS INPUTINTERVAL=DURATION(INTERVAL=HOUR INCREMENT=2) INTERPOLATE=LINT");
  ExpectAccepted("/DATASETTINGS INTERPOLATE=KMEDIAN");
  ExpectModelFault("/DATASETTINGS INPUTINTERVAL=FORTNIGHT", "InvalidParamValue",
                   {"FORTNIGHT", "INPUTINTERVAL", "DATASETTINGS"});
  ExpectModelFault("/DATASETTINGS INPUTINTERVAL='DAY'", "InvalidParamValue",
                   {"'DAY'", "INPUTINTERVAL", "DATASETTINGS"});
  ExpectModelFault("/DATASETTINGS INTERPOLATE=LINT(3)", "SyntaxErrorAfterText",
                   {"LINT", "INTERPOLATE", "DATASETTINGS"});
  ExpectModelFault("/DATASETTINGS INTERPOLATE=KMEAN(x)", "ParamNeedInteger",
                   {"KMEAN", "DATASETTINGS"});
  // Option 0: qualifiers in parentheses; unknown, repeated, stray and required ones.
  ExpectModelFault("/DATASETTINGS INPUTINTERVAL=DAY(HRSDAY=2)", "InvalidParamOption",
                   {"HRSDAY", "DAY", "DATASETTINGS"});
  ExpectModelFault("/DATASETTINGS INPUTINTERVAL=DAY(DAYSWK=5 DAYSWK=6)", "ParamRepeated",
                   {"DAYSWK", "DATASETTINGS"});
  ExpectModelFault("/DATASETTINGS INPUTINTERVAL=DAY(5)", "SyntaxErrorInParam",
                   {"5", "DAY", "DATASETTINGS"});
  ExpectModelFault("/DATASETTINGS INPUTINTERVAL=DURATION(INCREMENT=2)", "ParamNeedQualif",
                   {"DURATION", "DATASETTINGS", "INTERVAL"});
  ExpectModelFault("/DATASETTINGS ANALYSISINTERVAL=CYCLE", "ParamNeedQualif",
                   {"CYCLE", "DATASETTINGS", "LEVEL"});
  ExpectModelFault("/BUILDOPTIONS ESTIMATIONPERIOD=OBSERVATIONS(NUMBER=5)", "ParamNeedQualif",
                   {"OBSERVATIONS", "BUILDOPTIONS", "TYPE"});
  ExpectModelFault("/DATASETTINGS INPUTINTERVAL=DAY(DAYSWK=5", "SyntaxErrorInParam",
                   {"(", "DAY", "DATASETTINGS"});
  // A qualifier that opens qualifiers may stand bare.
  ExpectAccepted("/BUILDOPTIONS ESTIMATIONPERIOD=TIMES");
  ExpectAccepted("/TARGETFILTER DISPLAY=BESTFIT");
  // A list of qualifiers after the equals sign ends where the next parameter begins.
  const Outcome impact = Model("/FILTEREDOUTPUT IMPACTDIAGRAMS=EFFECTS CAUSES(2) INCLUDE=BOTH");
  ASSERT_EQ(impact.result, 0) << impact.source;
  const SubComObj* output = impact.spec.getGlobalGroupObj()->getSubComObj("FILTEREDOUTPUT");
  ASSERT_EQ(output->getParamListSize(), 2);
  std::vector<ParamObj> diagrams;
  ASSERT_TRUE(output->getParamObj(0)->getStringQualList(diagrams, nullptr, nullptr));
  ASSERT_EQ(diagrams.size(), 2u);
  EXPECT_FALSE(diagrams[0].areParenUsed());
  EXPECT_TRUE(diagrams[1].areParenUsed());
  ExpectModelFault("/FILTEREDOUTPUT IMPACTDIAGRAMS=CAUSES CAUSES", "ParamRepeated",
                   {"CAUSES", "FILTEREDOUTPUT"});
  // SAVE: bare keywords, values in parentheses, qualifiers written with an equals sign.
  ExpectAccepted("/SAVE TARGETS NRESIDUAL PREDICTED CL");
  ExpectAccepted("/SAVE CL(LCLROOT=a UCLROOT(b)) PREDICTED=p");
  ExpectModelFault("/SAVE TARGETS(SOME)", "InvalidParamValue", {"SOME", "TARGETS", "SAVE"});
  ExpectModelFault("/SAVE CL(MIDROOT=m)", "InvalidParamOption", {"MIDROOT", "CL", "SAVE"});
  ExpectModelFault("/SAVE PREDICTED(a b)", "InvalidVarName", {"a b", "PREDICTED", "SAVE"});
}

TEST(UniversalParser, FreeListsKeepTheirTokensAndBalance) {
  const Outcome lists = Model(
      "/DATASETTINGS DIMENSIONS=a, b c TIMETYPE=NONE GROUP=SUM x(MEAN) y(MAX) AGGREGATE=MEAN");
  ASSERT_EQ(lists.result, 0) << lists.source;
  const SubComObj* settings = lists.spec.getGlobalGroupObj()->getSubComObj("DATASETTINGS");
  EXPECT_EQ(settings->getParamObj("DIMENSIONS")->getTokenListSize(), 3); // the comma is dropped
  EXPECT_EQ(settings->getParamObj("GROUP")->getTokenListSize(), 9);
  EXPECT_EQ(settings->getParamObj("GROUP")->getStringToken(), "SUM x ( MEAN ) y ( MAX )");
  EXPECT_EQ(settings->getParamObj("DIMENSIONS")->getKeyWordToken().getUpperString(), "DIMENSIONS");
  ExpectModelFault("/DATAFILTER DIMVALUES=r(INCLUDE=a", "SyntaxErrorInParam",
                   {"(", "DIMVALUES", "DATAFILTER"});
  ExpectModelFault("/DATAFILTER DIMVALUES=r INCLUDE=a)", "SyntaxErrorInParam",
                   {")", "DIMVALUES", "DATAFILTER"});
  // A parameter name inside parentheses does not end the list.
  const Outcome nested = Model("/DATAFILTER DIMVALUES=r(INCLUDE=DIMVALUES)");
  EXPECT_EQ(nested.result, 0) << nested.source;
}

TEST(UniversalParser, OwnMessagesAndUntouchedSpec) {
  CommandDescriptor tree = syntax_test::ModelTree();
  ParserMessage split;
  const auto good = host::SplitCommands("TCM MODEL /FIELDSGROUP /FIELDS TARGETS=y.", "g", split);
  const auto bad = host::SplitCommands("TCM MODEL /FIELDSGROUP /FIELDS BOGUS=y.", "b", split);
  CommandSpec spec;
  QUOR_TokenSequence good_tokens(good[0].tokens);
  UniversalParser first(good_tokens, spec, tree);
  ASSERT_EQ(first.getCommandSpecifications(), 0);
  ASSERT_EQ(spec.getGroupListSize(), 1);
  QUOR_TokenSequence bad_tokens(bad[0].tokens);
  UniversalParser second(bad_tokens, spec, tree);
  EXPECT_NE(second.getCommandSpecifications(), 0);
  EXPECT_EQ(spec.getGroupListSize(), 1); // what the first parse left stands
  ASSERT_EQ(second.Messages().Raised().size(), 1u);
  EXPECT_EQ(second.Messages().Raised()[0].source, "InvalidParam");
  EXPECT_EQ(second.Messages().Raised()[0].command, "TCM MODEL");
  EXPECT_EQ(second.Messages().GetProcedureTitle(), "Temporal Causal Modeling");
}

TEST(UniversalParser, TokensFromTheSession) {
  ParserMessage split;
  auto commands = host::SplitCommands("TCM MODEL /FIELDSGROUP /FIELDS TARGETS=y.", "s", split);
  host::Session session;
  session.command.tokens = &commands[0].tokens;
  {
    QUOR_TokenSequence none(true);
    EXPECT_TRUE(none.empty()); // no session yet
  }
  host::SessionScope scope(session);
  QUOR_TokenSequence tokens(true);
  EXPECT_EQ(tokens.size(), commands[0].tokens.size());
  EXPECT_EQ(tokens.at(1000).text, "");
  QUOR_TokenSequence unused(false);
  EXPECT_TRUE(unused.empty());
}

} // namespace
