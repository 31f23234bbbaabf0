// This file contains the reading of field lists (TARGETS, INPUTS, FORCE, ... and the FIELDS of
// SERIESFILTER): variable names, TO ranges by dictionary position, and ALL. On a saved model
// system a list names series of the model: no ALL, and a TO range may run either way.
#include "tcm/frame/parser_shell.h"

#include <algorithm>

#include "host/syntax/token.h"
#include "tcm/common/intervals.h"

namespace {

bool InDimensions(const std::vector<QuorVarName>& dimensions, const std::string& name) {
  return std::find(dimensions.begin(), dimensions.end(), QuorVarName(name)) != dimensions.end();
}

void AddOnce(std::vector<QuorVarName>& set, const std::string& name) {
  if (std::find(set.begin(), set.end(), QuorVarName(name)) == set.end())
    set.emplace_back(name);
}

void AddOnce(std::vector<std::string>& list, const std::string& name) {
  if (std::find(list.begin(), list.end(), name) == list.end())
    list.push_back(name);
}

} // namespace

bool TCMParserShell::IsTimeVariable(const std::string& name) const {
  const QuorVarName wanted(name);
  const TimeVariableSpec& time = spec->timeVars;
  if (!time.timeVar.empty() && QuorVarName(time.timeVar) == wanted)
    return true;
  if (!time.periodVar.empty() && QuorVarName(time.periodVar) == wanted)
    return true;
  return std::any_of(time.cycleVars.begin(), time.cycleVars.end(),
                     [&](const CycleVariable& cycle) { return QuorVarName(cycle.name) == wanted; });
}

bool TCMParserShell::CheckField(const std::string& name, const std::string& param,
                                const std::string& subcommand, std::vector<QuorVarName>& set,
                                std::vector<std::string>& ignored, bool numericOnly,
                                bool targets) {
  const int index = dataSource->FindVarIndex(name, 0);
  const QUOR_Variable* variable = index < 0 ? nullptr : dataSource->GetVariable(index);
  if (variable == nullptr) {
    messages->VariableNotInDict(name, param, subcommand);
    return false;
  }
  const std::string& exact = variable->GetName();
  if (variable->GetType() != 0) {
    if (!InDimensions(spec->dimensions, exact)) {
      AddOnce(ignored, exact);
      return true;
    }
    messages->SimpleError(targets ? "WRONG_TARGET_FIELD_KEY" : "WRONG_TARGET_KEY", subcommand,
                          name);
    return false;
  }
  const bool timeOrDimension = InDimensions(spec->dimensions, exact) || IsTimeVariable(exact);
  if ((numericOnly || targets) && timeOrDimension) {
    messages->SimpleError(targets ? "WRONG_TARGET_FIELD_KEY" : "WRONG_TARGET_KEY", subcommand,
                          name);
    return false;
  }
  AddOnce(set, exact);
  return true;
}

bool TCMParserShell::ReadFieldList(const ParamObj& param, std::vector<QuorVarName>& out,
                                   const std::string& subcommand, bool numericOnly,
                                   bool targets) {
  numericOnly = numericOnly || targets;
  const std::string name = param.getParamName();
  std::vector<TokenInfoObj> tokens;
  if (!param.getTokenList(tokens)) {
    messages->ParamNeedVarList(name, "FIELDS");
    return false;
  }
  const bool saved = OnSavedModel();
  std::vector<QuorVarName> set;
  std::vector<std::string> ignored;
  bool all = false;
  int previous = -1; // dictionary index of the last variable named, where a TO range starts
  for (size_t i = 0; i < tokens.size(); ++i) {
    std::string var;
    if (tokens[i].getVarName(var)) {
      if (!CheckField(var, name, subcommand, set, ignored, numericOnly, targets))
        return false;
      previous = dataSource->FindVarIndex(var, 0);
      continue;
    }
    const std::string& upper = tokens[i].getUpperString();
    if (upper == "ALL" && !targets) {
      if (saved) {
        messages->InvalidParamOption("ALL", "FIELDS", subcommand);
        return false;
      }
      all = true;
      break;
    }
    const std::string text = host::SourceText(tokens[i].Token());
    if (upper != "TO") {
      messages->InvalidVarName(text, name, "FIELDS");
      return false;
    }
    if (i + 1 >= tokens.size() || previous < 0) {
      // TO needs a variable on both sides.
      messages->SyntaxErrorInParam("TO", name, "FIELDS");
      return false;
    }
    const TokenInfoObj& next = tokens[++i];
    std::string last;
    if (!next.getVarName(last)) {
      messages->InvalidVarName(host::SourceText(next.Token()), name, "FIELDS");
      return false;
    }
    if (saved) {
      // The far end is a field like any other; the variables between join when numeric, and
      // a list that takes no dimension or time variable passes over them quietly.
      if (!CheckField(last, name, subcommand, set, ignored, numericOnly, targets))
        return false;
      const int end = dataSource->FindVarIndex(last, 0);
      for (int index = std::min(previous, end) + 1; index < std::max(previous, end); ++index) {
        const QUOR_Variable* variable = dataSource->GetVariable(index);
        if (variable == nullptr || variable->GetType() != 0)
          continue;
        const std::string& exact = variable->GetName();
        if (numericOnly && (InDimensions(spec->dimensions, exact) || IsTimeVariable(exact)))
          continue;
        AddOnce(set, exact);
      }
      previous = end;
      continue;
    }
    const int end = dataSource->FindVarIndex(last, 0);
    if (end < 0) {
      messages->VariableNotInDict(last, name, "FIELDS");
      return false;
    }
    if (end < previous) {
      // A range runs forward through the dictionary; a backward one would name nothing.
      messages->SyntaxErrorInParam(dataSource->GetVariable(previous)->GetName() + " TO " + last,
                                   name, "FIELDS");
      return false;
    }
    // The range takes what a plain name would, quietly passing over what no name could give:
    // dimensions and time variables are never targets or inputs, so a range through them only
    // takes the fields around them. String fields are set aside as plain names are.
    for (int index = previous; index <= end; ++index) {
      const QUOR_Variable* variable = dataSource->GetVariable(index);
      if (variable == nullptr)
        continue;
      const std::string& exact = variable->GetName();
      const bool dimension = InDimensions(spec->dimensions, exact);
      if (variable->GetType() != 0) {
        if (!dimension)
          AddOnce(ignored, exact);
        continue;
      }
      if (numericOnly && (dimension || IsTimeVariable(exact)))
        continue;
      AddOnce(set, exact);
    }
    previous = end;
  }

  if (all) {
    if (tokens.size() >= 2) {
      messages->GenericError("ALL_WITH_VAR_KEY", subcommand);
      return false;
    }
    const int count = dataSource->GetNumberOfVariables();
    for (int index = 0; index < count; ++index) {
      const QUOR_Variable* variable = dataSource->GetVariable(index);
      if (variable == nullptr || variable->GetType() != 0)
        continue;
      const std::string& exact = variable->GetName();
      if (InDimensions(spec->dimensions, exact) || IsTimeVariable(exact) ||
          IsDateVariableName(*dataSource, exact)) {
        continue;
      }
      AddOnce(set, exact);
    }
  }

  if (!ignored.empty())
    messages->SimpleWarning("STRING_VAR_IGNORED", "FIELDS");
  std::sort(set.begin(), set.end());
  out = std::move(set);
  return true;
}

