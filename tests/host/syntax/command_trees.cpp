// This file contains the test trees of the three commands, built as the module builds them.
#include "command_trees.h"

#include <initializer_list>

#include "host/syntax/command_splitter.h"
#include "host/syntax/token_sequence.h"
#include "host/syntax/universal_parser.h"

namespace syntax_test {
namespace {
using UPSpecTypes::BracketOptions;
using UPSpecTypes::LowerBdryOptions;
using UPSpecTypes::ParamSpec;
using UPSpecTypes::QualifOptions;
using UPSpecTypes::SubComSpec;
using UPSpecTypes::UpperBdryOptions;
constexpr auto kNoBrackets = BracketOptions::None;
constexpr auto kIncl = LowerBdryOptions::Inclusive;
constexpr auto kExcl = LowerBdryOptions::Exclusive;
constexpr auto kUpIncl = UpperBdryOptions::Inclusive;
constexpr auto kUpExcl = UpperBdryOptions::Exclusive;

ParamDescriptor Param(const std::string& name, int spec, bool required = false,
                      bool equals = true) {
  return ParamDescriptor(name, ParamSpec{spec}, required, equals, kNoBrackets);
}

ParamDescriptor Keywords(const std::string& name, std::initializer_list<const char*> words,
                         bool list = false, bool required = false, bool equals = true) {
  ParamDescriptor param = Param(name, list ? 5 : 3, required, equals);
  for (const char* word : words)
    param.addStringValue(word);
  return param;
}

ParamDescriptor YesNo(const std::string& name) {
  return Keywords(name, {"YES", "NO"});
}

ParamDescriptor Bounded(const std::string& name, int spec, std::optional<double> low,
                        LowerBdryOptions low_option, std::optional<double> high,
                        UpperBdryOptions high_option, bool equals = true) {
  ParamDescriptor param = Param(name, spec, false, equals);
  if (low)
    param.setLowerBoundary(*low, low_option);
  if (high)
    param.setUpperBoundary(*high, high_option);
  return param;
}

SubComDescriptor SubCom(const std::string& name, int spec = 1, bool required = false,
                        bool second = false) {
  return SubComDescriptor(name, SubComSpec{spec}, required, second);
}

ParamDescriptor DimValues(std::initializer_list<const char*> qualifiers) {
  ParamDescriptor param = Param("DIMVALUES", 2);
  param.setQualifOption(QualifOptions::InParentheses);
  for (const char* qualifier : qualifiers)
    param.addQualifDesc(qualifier);
  return param;
}

SubComDescriptor Debug() {
  SubComDescriptor debug = SubCom("DEBUG_");
  debug.allowSubComEmpty(true);
  return debug;
}

ParamDescriptor Increment() {
  return Param("INCREMENT", 9);
}

ParamDescriptor IntervalWithQualifiers(const std::string& name,
                                       std::initializer_list<ParamDescriptor> qualifiers) {
  ParamDescriptor interval = Param(name, 28, false, false);
  interval.setQualifOption(QualifOptions::InParentheses);
  for (const auto& qualifier : qualifiers)
    interval.addQualifDesc(qualifier);
  return interval;
}

ParamDescriptor InputInterval() {
  const ParamDescriptor dayswk = Bounded("DAYSWK", 9, 1, kIncl, 7, kUpIncl);
  const ParamDescriptor wkstart =
      Keywords("WKSTART", {"MON", "TUE", "WED", "THU", "FRI", "SAT", "SUN"});
  const ParamDescriptor hrsday = Bounded("HRSDAY", 9, 1, kIncl, 24, kUpIncl);
  const ParamDescriptor daystart = Bounded("DAYSTART", 9, 0, kIncl, 23, kUpIncl);
  ParamDescriptor input = Param("INPUTINTERVAL", 27);
  input.setQualifOption(QualifOptions::AsValue);
  for (const char* bare : {"AUTODETECT", "IRREGULAR", "QUARTER", "WEEK"})
    input.addQualifDesc(bare);
  input.addQualifDesc(IntervalWithQualifiers("YEAR", {Increment()}));
  input.addQualifDesc(IntervalWithQualifiers("MONTH", {Increment()}));
  input.addQualifDesc(IntervalWithQualifiers("DAY", {dayswk, wkstart, Increment()}));
  for (const char* name : {"HOUR", "MINUTE", "SECOND"}) {
    input.addQualifDesc(
        IntervalWithQualifiers(name, {dayswk, wkstart, hrsday, daystart, Increment()}));
  }
  ParamDescriptor duration = Param("DURATION", 28, false, true);
  duration.setQualifOption(QualifOptions::InParentheses);
  duration.addQualifDesc(Keywords("INTERVAL", {"HOUR", "MINUTE", "SECOND"}, false, true));
  duration.addQualifDesc(Increment());
  input.addQualifDesc(duration);
  return input;
}

ParamDescriptor AnalysisInterval() {
  ParamDescriptor analysis = Param("ANALYSISINTERVAL", 27);
  analysis.setQualifOption(QualifOptions::AsValue);
  for (const char* bare :
       {"USEINPUT", "YEAR", "QUARTER", "MONTH", "WEEK", "DAY", "HOUR", "MINUTE", "SECOND"}) {
    analysis.addQualifDesc(bare);
  }
  ParamDescriptor cycle = Param("CYCLE", 27, false, true);
  cycle.setQualifOption(QualifOptions::InParentheses);
  cycle.addQualifDesc(Param("LEVEL", 9, true, true));
  analysis.addQualifDesc(cycle);
  return analysis;
}

ParamDescriptor EstimationPeriod(bool with_model) {
  ParamDescriptor period = Param("ESTIMATIONPERIOD", 27);
  if (with_model)
    period.addQualifDesc("MODEL");
  period.addQualifDesc("ALL");
  ParamDescriptor times = Param("TIMES", 28, false, true);
  times.setQualifOption(QualifOptions::InParentheses);
  times.addQualifDesc(Param("START", 2));
  times.addQualifDesc(Param("END", 2));
  times.addQualifDesc(Keywords("FORMAT", {"VARIABLE", "ISO8601"}));
  period.addQualifDesc(times);
  ParamDescriptor observations = Param("OBSERVATIONS", 28, false, true);
  observations.setQualifOption(QualifOptions::InParentheses);
  observations.addQualifDesc(Keywords("TYPE", {"NEWEST", "OLDEST"}, false, true));
  observations.addQualifDesc(Bounded("OFFSET", 9, 0, kIncl, std::nullopt, kUpIncl));
  observations.addQualifDesc(Bounded("NUMBER", 9, 2, kIncl, std::nullopt, kUpIncl));
  period.addQualifDesc(observations);
  return period;
}

SubComDescriptor TargetFilter() {
  SubComDescriptor filter = SubCom("TARGETFILTER");
  ParamDescriptor display = Param("DISPLAY", 27, true);
  display.addQualifDesc("ALLTARGETS");
  display.addQualifDesc("TARGETSNOINPUTS");
  ParamDescriptor bestfit = Param("BESTFIT", 28, false, false);
  bestfit.setQualifOption(QualifOptions::InParentheses);
  bestfit.addQualifDesc(Bounded("N", 9, 0, kIncl, std::nullopt, kUpIncl));
  bestfit.addQualifDesc(Bounded("PCT", 9, 0, kExcl, 100, kUpIncl));
  bestfit.addQualifDesc(Keywords("FITSTAT", {"RMSPE", "RMSE", "AIC", "BIC", "RSQUARE"}));
  display.addQualifDesc(bestfit);
  filter.addParamDesc(display);
  return filter;
}

SubComDescriptor SeriesFilter() {
  SubComDescriptor filter = SubCom("SERIESFILTER");
  filter.setSubComRepeatable(true);
  filter.addParamDesc(Param("FIELDS", 2, true));
  filter.addParamDesc(DimValues({"INCLUDE", "EXCLUDE"}));
  return filter;
}

SubComDescriptor FilteredOutput(bool model) {
  SubComDescriptor output = SubCom("FILTEREDOUTPUT");
  output.setSubComRepeatable(true);
  output.addParamDesc(Keywords("INCLUDE", {"TARGETS", "SERIES", "BOTH"}));
  ParamDescriptor network = Param("NETWORKGRAPH", 27);
  network.setQualifOption(QualifOptions::AsValue);
  network.addQualifDesc("NO");
  ParamDescriptor yes = Param("YES", 27, false, false);
  yes.setQualifOption(QualifOptions::InParentheses);
  yes.addQualifDesc(model ? Bounded("SIGLEVEL", 7, 0.005, kIncl, 1, kUpExcl)
                          : Bounded("SIGLEVEL", 7, 0, kExcl, 1, kUpExcl));
  network.addQualifDesc(yes);
  output.addParamDesc(network);
  output.addParamDesc(
      Keywords("PRINT", {"MODELFIT", "OUTLIERS", "MODELEFFECTS", "PARAMETERS", "FORECASTS"}, true));
  output.addParamDesc(Keywords("PLOT", {"SERIESPLOT", "TOPINPUTS", "NRESIDUAL"}, true));
  ParamDescriptor impact = Param("IMPACTDIAGRAMS", 28);
  ParamDescriptor causes = Bounded("CAUSES", 9, 0, model ? kExcl : kIncl, 100, kUpExcl, false);
  causes.setQualifOption(QualifOptions::AsValue);
  ParamDescriptor effects = Bounded("EFFECTS", 9, 0, kExcl, 100, kUpExcl, false);
  effects.setQualifOption(QualifOptions::AsValue);
  impact.addQualifDesc(causes);
  impact.addQualifDesc(effects);
  output.addParamDesc(impact);
  ParamDescriptor roots = Param("OUTLIER_ROOTCAUSES", 27);
  roots.setQualifOption(QualifOptions::AsValue);
  roots.addQualifDesc("NO");
  ParamDescriptor roots_yes = Param("YES", 28, false, false);
  roots_yes.setQualifOption(QualifOptions::InParentheses);
  roots_yes.addQualifDesc(Bounded("LEVELS", 9, 1, kIncl, 5, kUpIncl));
  roots_yes.addQualifDesc(Keywords("DISPLAY", {"INTERACTIVE", "TABLE", "BOTH"}));
  roots.addQualifDesc(roots_yes);
  output.addParamDesc(roots);
  return output;
}

SubComDescriptor SystemOutput() {
  SubComDescriptor output = SubCom("SYSTEMOUTPUT");
  output.addParamDesc(
      Keywords("MODELFIT", {"RMSPE", "RMSE", "AIC", "BIC", "RSQUARE", "NONE"}, true));
  output.addParamDesc(YesNo("TRANSFORMATIONS"));
  output.addParamDesc(YesNo("OUTLIERPLOT"));
  return output;
}

SubComDescriptor Save(bool full) {
  SubComDescriptor save = SubCom("SAVE", 2);
  if (full)
    save.addParamDesc(Keywords("TARGETS", {"FILTERED", "ALL"}, false, false, false));
  save.addParamDesc(Param("PREDICTED", 15, false, false));
  ParamDescriptor cl = Param("CL", 28, false, false);
  cl.setQualifOption(QualifOptions::InParentheses);
  cl.addQualifDesc(Param("LCLROOT", 15, false, false));
  cl.addQualifDesc(Param("UCLROOT", 15, false, false));
  save.addParamDesc(cl);
  if (full)
    save.addParamDesc(Param("NRESIDUAL", 15, false, false));
  save.addParamDesc(Param("FORECASTFLAG", 15, false, false));
  return save;
}

SubComDescriptor Outfile(bool with_model) {
  SubComDescriptor outfile = SubCom("OUTFILE");
  if (with_model)
    outfile.addParamDesc(Param("MODELSYSTEM", 20));
  outfile.addParamDesc(Param("DATA", 2));
  return outfile;
}

SubComDescriptor PassProtect() {
  SubComDescriptor protect = SubCom("PASSPROTECT");
  protect.addParamDesc(Param("PASSWORD", 4));
  protect.addParamDesc(YesNo("ENCRYPTEDPW"));
  return protect;
}

SubComDescriptor ModelSystem() {
  SubComDescriptor system = SubCom("MODELSYSTEM", 1, true);
  system.addParamDesc(Param("FILE", 19, true));
  return system;
}

ParamDescriptor Effects() {
  ParamDescriptor effects = Param("EFFECTS", 27);
  effects.setQualifOption(QualifOptions::AsValue);
  effects.addQualifDesc("AUTOMATIC");
  effects.addQualifDesc(Param("TARGETLIST", 3, false, false));
  return effects;
}
} // namespace

CommandDescriptor ModelTree() {
  CommandDescriptor tree("TCM MODEL", "Temporal Causal Modeling");
  tree.addSubComDesc(Debug());

  SubComDescriptor settings = SubCom("DATASETTINGS");
  settings.addParamDesc(Param("DIMENSIONS", 2));
  settings.addParamDesc(Bounded("MAXDIMVALUES", 9, 100, kExcl, std::nullopt, kUpIncl, false));
  settings.addParamDesc(Keywords("TIMETYPE", {"DATETIMEVAR", "ISO8601", "CYCLICPERIODS", "NONE"}));
  ParamDescriptor timevar = Param("TIMEVAR", 2);
  timevar.setQualifOption(QualifOptions::InParentheses);
  for (const char* qualifier : {"TYPE", "INCREMENT", "LEVEL", "LENGTH", "START"}) {
    timevar.addQualifDesc(qualifier);
  }
  settings.addParamDesc(timevar);
  settings.addParamDesc(InputInterval());
  settings.addParamDesc(AnalysisInterval());
  settings.addParamDesc(Param("GROUP", 2));
  settings.addParamDesc(Param("AGGREGATE", 2));
  settings.addParamDesc(Param("DISTRIBUTE", 2));
  ParamDescriptor interpolate = Param("INTERPOLATE", 27);
  interpolate.setQualifOption(QualifOptions::AsValue);
  for (const char* bare : {"LINT", "MEAN", "LTREND", "NONE"})
    interpolate.addQualifDesc(bare);
  interpolate.addQualifDesc(Param("KMEAN", 9, false, false));
  interpolate.addQualifDesc(Param("KMEDIAN", 9, false, false));
  settings.addParamDesc(interpolate);
  settings.addParamDesc(Keywords("USERMISSING", {"EXCLUDE", "INCLUDE"}));
  settings.addParamDesc(Bounded("MAXMISSING", 9, 0, kIncl, 100, kUpIncl));
  settings.addParamDesc(Keywords("CROSSDAYHRS", {"EXCLUDE", "INCLUDE"}));
  tree.addSubComDesc(settings);

  SubComDescriptor datafilter = SubCom("DATAFILTER");
  datafilter.addParamDesc(DimValues({"INCLUDE", "EXCLUDE"}));
  tree.addSubComDesc(datafilter);

  SubComDescriptor build = SubCom("BUILDOPTIONS");
  build.addParamDesc(EstimationPeriod(false));
  build.addParamDesc(Bounded("FORECASTPERIODS", 9, 0, kIncl, std::nullopt, kUpIncl));
  build.addParamDesc(Bounded("CILEVEL", 7, 0, kExcl, 100, kUpExcl));
  ParamDescriptor maxinputs = Bounded("MAXINPUTS", 9, 1, kIncl, 20, kUpIncl);
  maxinputs.addStringValue("DEFAULT");
  build.addParamDesc(maxinputs);
  ParamDescriptor lags = Bounded("LAGS", 9, 1, kIncl, 20, kUpIncl);
  lags.addStringValue("AUTO");
  build.addParamDesc(lags);
  build.addParamDesc(Bounded("TOLERANCE", 7, 0, kExcl, std::nullopt, kUpIncl));
  build.addParamDesc(Bounded("OUTLIERTHRESH", 9, 50, kIncl, 100, kUpIncl));
  tree.addSubComDesc(build);

  tree.addSubComDesc(TargetFilter());
  tree.addSubComDesc(SeriesFilter());
  tree.addSubComDesc(FilteredOutput(true));
  tree.addSubComDesc(SystemOutput());
  tree.addSubComDesc(Save(true));
  tree.addSubComDesc(Outfile(true));
  tree.addSubComDesc(PassProtect());

  GroupComDescriptor group(UPSpecTypes::GroupSpec{0}, true);
  SubComDescriptor fieldsgroup = SubCom("FIELDSGROUP", 1, true, false);
  fieldsgroup.allowSubComEmpty(true);
  group.addSubComDesc(fieldsgroup, true);
  SubComDescriptor fields = SubCom("FIELDS", 1, true, true);
  fields.allowSubComEmpty(true);
  for (const char* list : {"TARGETS", "INPUTS", "FORCE", "EXCLUDEDTARGETS", "EXCLUDEDINPUTS"}) {
    fields.addParamDesc(Param(list, 2));
  }
  fields.addParamDesc(DimValues({"INCLUDE", "EXCLUDE"}));
  group.addSubComDesc(fields, false);
  tree.addGroupDesc(group);
  return tree;
}

CommandDescriptor ApplyTree() {
  CommandDescriptor tree("TCM APPLY", "Temporal Causal Model Apply");
  tree.addSubComDesc(Debug());
  tree.addSubComDesc(ModelSystem());
  SubComDescriptor options = SubCom("OPTIONS");
  options.addParamDesc(YesNo("REESTIMATE"));
  options.addParamDesc(EstimationPeriod(true));
  options.addParamDesc(Bounded("FORECASTPERIODS", 9, 0, kIncl, std::nullopt, kUpIncl));
  options.addParamDesc(Bounded("CILEVEL", 7, 0, kExcl, 100, kUpExcl));
  options.addParamDesc(Bounded("OUTLIERTHRESH", 9, 50, kIncl, 100, kUpIncl));
  tree.addSubComDesc(options);
  tree.addSubComDesc(TargetFilter());
  tree.addSubComDesc(SeriesFilter());
  tree.addSubComDesc(FilteredOutput(false));
  tree.addSubComDesc(SystemOutput());
  tree.addSubComDesc(Save(true));
  tree.addSubComDesc(Outfile(true));
  tree.addSubComDesc(PassProtect());
  return tree;
}

CommandDescriptor AnalysisTree() {
  CommandDescriptor tree("TCM ANALYSIS", "Temporal Causal Model Scenarios");
  tree.addSubComDesc(Debug());
  tree.addSubComDesc(ModelSystem());
  SubComDescriptor expressions = SubCom("EXPRESSIONS");
  expressions.addParamDesc(Param("FILE", 2, true));
  tree.addSubComDesc(expressions);
  SubComDescriptor period = SubCom("SCENARIOPERIOD", 1, true);
  period.addParamDesc(Keywords("TIMES", {"ABSOLUTE", "RELATIVE"}, false, true));
  period.addParamDesc(Keywords("FORMAT", {"VARIABLE", "ISO8601"}));
  period.addParamDesc(Param("START", 2, true));
  period.addParamDesc(Param("END", 2, true));
  period.addParamDesc(Param("PREDICTTHRU", 2));
  tree.addSubComDesc(period);

  SubComDescriptor scenario = SubCom("SCENARIO");
  scenario.setSubComRepeatable(true);
  scenario.addParamDesc(Param("ID", 4, true));
  ParamDescriptor values = Param("VALUES", 27, true);
  values.setQualifOption(QualifOptions::AsValue);
  values.addQualifDesc(Param("ACTUAL", 8));
  values.addQualifDesc(Param("EXPRESSION", 15));
  scenario.addParamDesc(values);
  scenario.addParamDesc(Param("ROOTFIELD", 15, true));
  scenario.addParamDesc(DimValues({"VALUE"}));
  scenario.addParamDesc(Effects());
  tree.addSubComDesc(scenario);

  SubComDescriptor group = SubCom("SCENARIOGROUP");
  group.setSubComRepeatable(true);
  group.addParamDesc(Param("IDPREFIX", 4, true));
  group.addParamDesc(Param("EXPRESSION", 15, true));
  group.addParamDesc(Param("ROOTFIELD", 15, true));
  group.addParamDesc(DimValues({"VALUES"}));
  group.addParamDesc(Effects());
  tree.addSubComDesc(group);

  SubComDescriptor list = SubCom("TARGETLIST");
  list.setSubComRepeatable(true);
  list.addParamDesc(Param("LISTID", 3));
  list.addParamDesc(Param("FIELDS", 2, true));
  list.addParamDesc(DimValues({"VALUES"}));
  tree.addSubComDesc(list);

  SubComDescriptor options = SubCom("OPTIONS");
  options.addParamDesc(Bounded("CILEVEL", 7, 0, kExcl, 100, kUpExcl));
  options.addParamDesc(YesNo("PREDICTEDCI"));
  options.addParamDesc(Keywords("PRINT", {"FORECASTS"}));
  options.addParamDesc(Keywords("PLOT", {"IMPACTDIAGRAM", "SERIESPLOT", "NONE"}, true));
  options.addParamDesc(Bounded("MAXTARGETS", 9, 1, kIncl, std::nullopt, kUpIncl));
  options.addParamDesc(Bounded("MAXLEVELS", 9, 1, kIncl, 5, kUpIncl));
  tree.addSubComDesc(options);
  tree.addSubComDesc(Save(false));
  tree.addSubComDesc(Outfile(false));
  tree.addSubComDesc(PassProtect());
  return tree;
}

int ParseCommandText(const std::string& text, CommandDescriptor& tree, CommandSpec& spec,
                     ParserMessage& messages) {
  const auto commands = host::SplitCommands(text, "test.tcm", messages);
  if (commands.empty() || !commands.front().tokens_ok)
    return -1;
  QUOR_TokenSequence tokens(commands.front().tokens);
  UniversalParser parser(tokens, spec, tree, &messages);
  return parser.getCommandSpecifications();
}

std::string FirstSource(const ParserMessage& messages) {
  return messages.Raised().empty() ? std::string() : messages.Raised().front().source;
}

} // namespace syntax_test
