// Tests that the command shapes of the language's examples parse against the three command
// trees, read back as the readers read them, and that no input crashes the parser.
#include <gtest/gtest.h>

#include <random>

#include "command_trees.h"
#include "host/syntax/command_splitter.h"
#include "host/syntax/token_sequence.h"
#include "host/syntax/universal_parser.h"

namespace {
using syntax_test::ParseCommandText;

const char* const kModelExample = R"(TCM MODEL
  /DATASETTINGS DIMENSIONS=region product TIMETYPE=DATETIMEVAR TIMEVAR=day
     INPUTINTERVAL=DAY(DAYSWK=5 WKSTART=MON) ANALYSISINTERVAL=WEEK
     GROUP=SUM price(MEAN) AGGREGATE=MEAN DISTRIBUTE=SUM INTERPOLATE=KMEAN(3)
     USERMISSING=EXCLUDE MAXMISSING=25 CROSSDAYHRS=EXCLUDE
  /DATAFILTER DIMVALUES=region(INCLUDE=East West) product(EXCLUDE='A 1')
  /BUILDOPTIONS ESTIMATIONPERIOD=TIMES(START='2015-01-01' END='2016-12-31' FORMAT=ISO8601)
     FORECASTPERIODS=12 CILEVEL=95 MAXINPUTS=DEFAULT LAGS=AUTO TOLERANCE=0.001 OUTLIERTHRESH=95
  /TARGETFILTER DISPLAY=BESTFIT(N=10 FITSTAT=RMSPE)
  /SERIESFILTER FIELDS=sales DIMVALUES=region(INCLUDE=East)
  /FILTEREDOUTPUT INCLUDE=TARGETS NETWORKGRAPH=YES(SIGLEVEL=0.05) PRINT=MODELFIT OUTLIERS
     PLOT=SERIESPLOT TOPINPUTS IMPACTDIAGRAMS=CAUSES(3) EFFECTS(2)
     OUTLIER_ROOTCAUSES=YES(LEVELS=3 DISPLAY=BOTH)
  /SYSTEMOUTPUT MODELFIT=RMSPE RSQUARE TRANSFORMATIONS=YES OUTLIERPLOT=NO
  /SAVE TARGETS(FILTERED) PREDICTED(Pred) CL(LCLROOT=Lcl UCLROOT=Ucl) NRESIDUAL FORECASTFLAG
  /OUTFILE MODELSYSTEM='retail.tcm' DATA='scored.csv'
  /PASSPROTECT PASSWORD='secret' ENCRYPTEDPW=NO
  /FIELDSGROUP
  /FIELDS TARGETS=sales INPUTS=price promo TO visits FORCE=promo
  /FIELDSGROUP
  /FIELDS TARGETS=ALL DIMVALUES=region(INCLUDE=West).
)";

const char* const kCyclicExample = R"(TCM MODEL /DATASETTINGS TIMETYPE=CYCLICPERIODS
     TIMEVAR=period(TYPE=PERIOD INCREMENT=1 START=1) year(TYPE=CYCLE LEVEL=1 LENGTH=12)
     ANALYSISINTERVAL=CYCLE(LEVEL=1)
  /FIELDSGROUP /FIELDS TARGETS=y INPUTS=x1 x2.
)";

const char* const kApplyExample = R"(TCM APPLY /MODELSYSTEM FILE='retail.tcm'
  /OPTIONS REESTIMATE=YES ESTIMATIONPERIOD=OBSERVATIONS(TYPE=NEWEST NUMBER=100) FORECASTPERIODS=6
  /OUTFILE MODELSYSTEM='retail2.tcm' DATA=*.
)";

const char* const kAnalysisExample =
    R"(TCM ANALYSIS /MODELSYSTEM FILE='retail.tcm' /EXPRESSIONS FILE='scenarios.xml'
  /SCENARIOPERIOD TIMES=RELATIVE START=1 END=3 PREDICTTHRU=2
  /TARGETLIST LISTID=core FIELDS=sales DIMVALUES=region(VALUES=East West)
  /SCENARIO ID='price up' VALUES=ACTUAL(10 11 12) ROOTFIELD=price
     DIMVALUES=region(VALUE=East) product(VALUE=A) EFFECTS=TARGETLIST(core)
  /SCENARIOGROUP IDPREFIX='promo' EXPRESSION=double_promo ROOTFIELD=promo
  /OPTIONS MAXTARGETS=25 MAXLEVELS=3 PLOT=IMPACTDIAGRAM SERIESPLOT.
)";

std::vector<std::string> Texts(const std::vector<TokenInfoObj>& tokens) {
  std::vector<std::string> texts;
  for (const auto& token : tokens)
    texts.push_back(token.getString());
  return texts;
}

TEST(Examples, ModelParsesAndReadsAsTheReadersExpect) {
  CommandDescriptor tree = syntax_test::ModelTree();
  CommandSpec spec;
  ParserMessage messages;
  ASSERT_EQ(ParseCommandText(kModelExample, tree, spec, messages), 0)
      << syntax_test::FirstSource(messages);
  EXPECT_TRUE(messages.Raised().empty());
  ASSERT_EQ(spec.getGroupListSize(), 3); // global group, then two FIELDSGROUP groups
  const GroupComObj* global = spec.getGlobalGroupObj();
  ASSERT_NE(global, nullptr);
  EXPECT_TRUE(global->isGroupGlobal());
  EXPECT_EQ(global->getSubComListSize(), 10);

  const SubComObj* settings = global->getSubComObj("DATASETTINGS");
  ASSERT_NE(settings, nullptr);
  std::vector<QuorVarName> dims;
  ASSERT_TRUE(settings->getParamObj("DIMENSIONS")->getVarList(dims));
  ASSERT_EQ(dims.size(), 2u);
  EXPECT_EQ(dims[1].GetName(), "product");
  std::pair<std::string, ParamObj> input;
  const ParamDescriptor* input_desc =
      tree.getGlobalGroupDesc()->getSubComDesc("DATASETTINGS")->getParamDesc("INPUTINTERVAL");
  ASSERT_TRUE(
      settings->getParamObj("INPUTINTERVAL")->getStringAndQual(input, input_desc, &messages));
  EXPECT_EQ(input.first, "DAY");
  std::vector<ParamObj> day;
  ASSERT_TRUE(input.second.getStringQualList(day, input_desc->getQualifDesc("DAY"), &messages));
  ASSERT_EQ(day.size(), 2u);
  int dayswk = 0;
  EXPECT_EQ(day[0].getParamName(), "DAYSWK");
  EXPECT_TRUE(day[0].getIntegerValue(dayswk));
  EXPECT_EQ(dayswk, 5);
  std::string wkstart;
  EXPECT_TRUE(day[1].getUpStringGeneric(wkstart));
  EXPECT_EQ(wkstart, "MON");
  std::string analysis;
  EXPECT_TRUE(settings->getParamObj("ANALYSISINTERVAL")->getUpStringGeneric(analysis));
  EXPECT_EQ(analysis, "WEEK");
  std::vector<TokenInfoObj> group;
  ASSERT_TRUE(settings->getParamObj("GROUP")->getTokenList(group));
  EXPECT_EQ(Texts(group), (std::vector<std::string>{"SUM", "price", "(", "MEAN", ")"}));
  // INTERPOLATE=KMEAN(3) is no single keyword; its four tokens are read by hand.
  const ParamObj* interpolate = settings->getParamObj("INTERPOLATE");
  std::string word;
  EXPECT_FALSE(interpolate->getUpStringGeneric(word));
  std::vector<TokenInfoObj> kmean;
  ASSERT_TRUE(interpolate->getTokenList(kmean));
  ASSERT_EQ(kmean.size(), 4u);
  EXPECT_TRUE(kmean[0].IsString());
  EXPECT_EQ(kmean[1].getOperatorCode(), 13);
  EXPECT_EQ(kmean[2].getInteger(), 3);
  EXPECT_EQ(kmean[3].getOperatorCode(), 14);

  std::vector<TokenInfoObj> filter;
  ASSERT_TRUE(global->getSubComObj("DATAFILTER")->getParamObj("DIMVALUES")->getTokenList(filter));
  EXPECT_EQ(Texts(filter),
            (std::vector<std::string>{"region", "(", "INCLUDE", "=", "East", "West", ")", "product",
                                      "(", "EXCLUDE", "=", "A 1", ")"}));

  const SubComObj* build = global->getSubComObj("BUILDOPTIONS");
  std::pair<std::string, ParamObj> period;
  ASSERT_TRUE(build->getParamObj("ESTIMATIONPERIOD")->getStringAndQual(period, nullptr, &messages));
  EXPECT_EQ(period.first, "TIMES");
  std::vector<ParamObj> times;
  ASSERT_TRUE(period.second.getStringQualList(times, nullptr, &messages));
  ASSERT_EQ(times.size(), 3u);
  std::string start;
  EXPECT_TRUE(times[0].getLiteral(start));
  EXPECT_EQ(start, "2015-01-01");
  EXPECT_TRUE(times[2].isStringValueCase("iso8601"));
  std::string maxinputs;
  EXPECT_TRUE(build->getParamObj("MAXINPUTS")->getUpStringGeneric(maxinputs));
  double tolerance = 0;
  EXPECT_TRUE(build->getParamObj("TOLERANCE")->getNumberValue(tolerance));
  EXPECT_DOUBLE_EQ(tolerance, 0.001);

  const SubComObj* output = global->getSubComObj("FILTEREDOUTPUT");
  const ParamObj* network = output->getParamObj("NETWORKGRAPH");
  EXPECT_FALSE(network->isLeadingToken());
  std::pair<std::string, ParamObj> yes;
  ASSERT_TRUE(network->getStringAndQual(yes, nullptr, &messages));
  EXPECT_EQ(yes.first, "YES");
  std::pair<std::string, ParamObj> inner;
  ASSERT_TRUE(yes.second.getStringAndQual(inner, nullptr, &messages));
  EXPECT_EQ(inner.first, "SIGLEVEL");
  double siglevel = 0;
  EXPECT_TRUE(inner.second.getNumberValue(siglevel));
  EXPECT_DOUBLE_EQ(siglevel, 0.05);
  std::vector<ParamObj> impact;
  ASSERT_TRUE(output->getParamObj("IMPACTDIAGRAMS")->getStringQualList(impact, nullptr, nullptr));
  ASSERT_EQ(impact.size(), 2u);
  int effects = 0;
  EXPECT_EQ(impact[1].getParamName(), "EFFECTS");
  EXPECT_TRUE(impact[1].areParenUsed());
  EXPECT_TRUE(impact[1].getIntegerValue(effects));
  EXPECT_EQ(effects, 2);
  std::vector<std::string> print;
  EXPECT_TRUE(output->getParamObj("PRINT")->getStringList(print));
  EXPECT_EQ(print, (std::vector<std::string>{"MODELFIT", "OUTLIERS"}));

  const SubComObj* save = global->getSubComObj("SAVE");
  ASSERT_EQ(save->getParamListSize(), 5);
  EXPECT_EQ(save->getParamObj(0)->getParamName(), "TARGETS");
  QuorVarName root;
  EXPECT_TRUE(save->getParamObj(1)->getVarName(root));
  EXPECT_EQ(root.GetName(), "Pred");
  std::vector<ParamObj> cl;
  ASSERT_TRUE(save->getParamObj("CL")->getStringQualList(cl, nullptr, nullptr));
  ASSERT_EQ(cl.size(), 2u);
  EXPECT_TRUE(cl[1].getVarName(root));
  EXPECT_EQ(root.GetName(), "Ucl");
  EXPECT_EQ(save->getParamObj(3)->getTokenListSize(), 0);
  EXPECT_EQ(save->getParamObj(5), nullptr);

  std::string password;
  EXPECT_TRUE(global->getSubComObj("PASSPROTECT")->getParamObj("PASSWORD")->getLiteral(password));
  EXPECT_EQ(password, "secret");

  const GroupComObj* first = spec.getGroupObj(1);
  ASSERT_NE(first, nullptr);
  EXPECT_FALSE(first->isGroupGlobal());
  std::vector<const SubComObj*> fields;
  ASSERT_EQ(first->getSubComObj(fields, "FIELDS"), 1);
  std::vector<TokenInfoObj> inputs;
  ASSERT_TRUE(fields[0]->getParamObj("INPUTS")->getTokenList(inputs));
  EXPECT_EQ(Texts(inputs), (std::vector<std::string>{"price", "promo", "TO", "visits"}));
  EXPECT_FALSE(inputs[2].IsVarName()); // TO joins a range
  const GroupComObj* second = spec.getGroupObj(2);
  ASSERT_NE(second, nullptr);
  std::string all;
  EXPECT_TRUE(second->getSubComObj("FIELDS")->getParamObj("TARGETS")->getStringGeneric(all));
  EXPECT_EQ(all, "ALL");
}

TEST(Examples, CyclicApplyAndAnalysisParse) {
  {
    CommandDescriptor tree = syntax_test::ModelTree();
    CommandSpec spec;
    ParserMessage messages;
    ASSERT_EQ(ParseCommandText(kCyclicExample, tree, spec, messages), 0)
        << syntax_test::FirstSource(messages);
    const SubComObj* settings = spec.getGlobalGroupObj()->getSubComObj("DATASETTINGS");
    std::vector<TokenInfoObj> timevar;
    ASSERT_TRUE(settings->getParamObj("TIMEVAR")->getTokenList(timevar));
    ASSERT_EQ(timevar.size(), 24u);
    EXPECT_EQ(timevar[0].getString(), "period");
    EXPECT_EQ(timevar[2].getUpperString(), "TYPE");
    EXPECT_EQ(timevar[3].getOperatorCode(), 3);
    std::pair<std::string, ParamObj> cycle;
    ASSERT_TRUE(
        settings->getParamObj("ANALYSISINTERVAL")->getStringAndQual(cycle, nullptr, nullptr));
    EXPECT_EQ(cycle.first, "CYCLE");
    std::vector<ParamObj> level;
    ASSERT_TRUE(cycle.second.getStringQualList(level, nullptr, nullptr));
    int value = 0;
    ASSERT_EQ(level.size(), 1u);
    EXPECT_TRUE(level[0].getIntegerValue(value));
    EXPECT_EQ(value, 1);
    std::vector<QuorVarName> inputs;
    ASSERT_TRUE(
        spec.getGroupObj(1)->getSubComObj("FIELDS")->getParamObj("INPUTS")->getVarList(inputs));
    EXPECT_EQ(inputs.back().GetName(), "x2"); // the final period is the terminator
  }
  {
    CommandDescriptor tree = syntax_test::ApplyTree();
    CommandSpec spec;
    ParserMessage messages;
    ASSERT_EQ(ParseCommandText(kApplyExample, tree, spec, messages), 0)
        << syntax_test::FirstSource(messages);
    EXPECT_EQ(spec.getGroupListSize(), 1);
    const GroupComObj* global = spec.getGlobalGroupObj();
    std::pair<std::string, ParamObj> period;
    ASSERT_TRUE(global->getSubComObj("OPTIONS")
                    ->getParamObj("ESTIMATIONPERIOD")
                    ->getStringAndQual(period, nullptr, nullptr));
    EXPECT_EQ(period.first, "OBSERVATIONS");
    std::vector<ParamObj> observations;
    ASSERT_TRUE(period.second.getStringQualList(observations, nullptr, nullptr));
    ASSERT_EQ(observations.size(), 2u);
    EXPECT_TRUE(observations[0].isStringValueCase("NEWEST"));
    EXPECT_TRUE(global->getSubComObj("OUTFILE")->getParamObj("DATA")->isOperatorValue(10));
  }
  {
    CommandDescriptor tree = syntax_test::AnalysisTree();
    CommandSpec spec;
    ParserMessage messages;
    ASSERT_EQ(ParseCommandText(kAnalysisExample, tree, spec, messages), 0)
        << syntax_test::FirstSource(messages);
    const GroupComObj* global = spec.getGlobalGroupObj();
    const SubComObj* scenario = global->getSubComObj("SCENARIO");
    std::pair<std::string, ParamObj> values;
    ASSERT_TRUE(scenario->getParamObj("VALUES")->getStringAndQual(values, nullptr, nullptr));
    EXPECT_EQ(values.first, "ACTUAL");
    std::vector<double> actual;
    ASSERT_TRUE(values.second.getNumberList(actual));
    EXPECT_EQ(actual, (std::vector<double>{10, 11, 12}));
    std::pair<std::string, ParamObj> effects;
    ASSERT_TRUE(scenario->getParamObj("EFFECTS")->getStringAndQual(effects, nullptr, nullptr));
    EXPECT_EQ(effects.first, "TARGETLIST");
    std::string list_id;
    EXPECT_TRUE(effects.second.getStringGeneric(list_id));
    EXPECT_EQ(list_id, "core");
    std::string id;
    EXPECT_TRUE(scenario->getParamObj("ID")->getLiteral(id));
    EXPECT_EQ(id, "price up");
    std::vector<std::string> plot;
    EXPECT_TRUE(global->getSubComObj("OPTIONS")->getParamObj("PLOT")->getStringList(plot));
    EXPECT_EQ(plot.size(), 2u);
  }
}

// Feeds every prefix of each example, and many random mutations, to the parser: it must answer
// without crashing, and a failure must come with a message and leave the result empty.
TEST(Examples, NoInputCrashesOrFailsSilently) {
  const std::vector<std::pair<const char*, CommandDescriptor (*)()>> examples = {
      {kModelExample, syntax_test::ModelTree},
      {kCyclicExample, syntax_test::ModelTree},
      {kApplyExample, syntax_test::ApplyTree},
      {kAnalysisExample, syntax_test::AnalysisTree}};
  const auto check = [](const std::vector<host::Token>& tokens, CommandDescriptor& tree) {
    QUOR_TokenSequence sequence(tokens);
    CommandSpec spec;
    ParserMessage messages;
    UniversalParser parser(sequence, spec, tree, &messages);
    const int result = parser.getCommandSpecifications();
    if (result != 0) {
      EXPECT_GT(messages.ErrorCount(), 0);
      EXPECT_EQ(spec.getGroupListSize(), 0);
    }
    return result;
  };
  std::mt19937 random(20240611);
  int failures = 0;
  for (const auto& [text, make_tree] : examples) {
    CommandDescriptor tree = make_tree();
    ParserMessage split_messages;
    const auto commands = host::SplitCommands(text, "x.tcm", split_messages);
    ASSERT_EQ(commands.size(), 1u);
    const std::vector<host::Token>& tokens = commands[0].tokens;
    for (std::size_t length = 0; length <= tokens.size(); ++length) {
      const std::vector<host::Token> prefix(tokens.begin(), tokens.begin() + length);
      failures += check(prefix, tree) != 0;
    }
    for (int round = 0; round < 400; ++round) {
      std::vector<host::Token> mutated = tokens;
      const int edits = 1 + static_cast<int>(random() % 3);
      for (int e = 0; e < edits && !mutated.empty(); ++e) {
        const std::size_t at = random() % mutated.size();
        switch (random() % 3) {
        case 0:
          mutated.erase(mutated.begin() + static_cast<std::ptrdiff_t>(at));
          break;
        case 1:
          mutated.insert(mutated.begin() + static_cast<std::ptrdiff_t>(at),
                         mutated[random() % mutated.size()]);
          break;
        default:
          std::swap(mutated[at], mutated[random() % mutated.size()]);
          break;
        }
      }
      failures += check(mutated, tree) != 0;
    }
  }
  EXPECT_GT(failures, 100); // the sweep did reach the error paths

  // Raw bytes through the splitter and the tokenizer.
  for (int round = 0; round < 300; ++round) {
    std::string bytes(static_cast<std::size_t>(random() % 80), '\0');
    for (char& c : bytes)
      c = static_cast<char>(random() % 256);
    ParserMessage messages;
    const auto commands = host::SplitCommands(bytes, "noise.tcm", messages);
    for (const auto& command : commands) {
      CommandDescriptor tree = syntax_test::ModelTree();
      check(command.tokens, tree);
    }
  }
}

} // namespace
