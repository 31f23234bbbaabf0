// This file contains the shared pieces of the commands' descriptor trees.
#include "tcm/frame/tree_builders.h"

namespace tcm_tree {
namespace {
constexpr auto kNoBrackets = UPSpecTypes::BracketOptions::None;
}  // namespace
using UPSpecTypes::ParamSpec;
using UPSpecTypes::QualifOptions;
using UPSpecTypes::SubComSpec;

ParamDescriptor Param(const std::string& name, int spec, bool required,
                      bool equals) {
  return ParamDescriptor(name, ParamSpec{spec}, required, equals, kNoBrackets);
}

ParamDescriptor Keywords(const std::string& name, std::initializer_list<const char*> words,
                         bool list, bool required, bool equals) {
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
                        UpperBdryOptions high_option, bool equals) {
  ParamDescriptor param = Param(name, spec, false, equals);
  if (low)
    param.setLowerBoundary(*low, low_option);
  if (high)
    param.setUpperBoundary(*high, high_option);
  return param;
}

SubComDescriptor SubCom(const std::string& name, int spec, bool required,
                        bool second) {
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
}  // namespace tcm_tree
