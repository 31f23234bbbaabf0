// This file contains the defaults of TCM ANALYSIS and its debug display.
#include "tcm/analysis/tcm_anly_spec.h"

#include "host/output/debug_display.h"
#include "tcm/analysis/expressions_file.h"
#include "tcm/common/date_text.h"
#include "tcm/frame/spec/spec_display.h"

// The other defaults (model fit, transformations, password, the options' levels and plots) are
// those of ValidSpec; nothing in this command fills the filtered outputs.
TCMAnlySpec::TCMAnlySpec() { buildOptions.estimationPeriod = "MODEL"; }

int32_t TCMAnlySpec::FieldRefCount() {
  if (fieldRefCount < 0) fieldRefCount = CountFieldRefs(expressionFields);
  return fieldRefCount;
}

namespace {

// A bound of the scenario period in the form that it was read in.
void DisplayBound(const std::string& name, const ScenarioPeriodSpec& period, int64_t time,
                  int32_t format, const std::vector<int32_t>& periods) {
  const std::string label = "SCENARIOPERIOD /" + name;
  if (time != 0) {
    ASStatDisplay::DisplayS(label, FormatTime(time, format));
  } else {
    ASStatDisplay::DisplayIV(label + (period.relative ? " OFFSET" : " PERIODS"), periods);
  }
}

std::string EffectsText(bool automatic, const std::string& listId) {
  return automatic ? "AUTOMATIC" : "TARGETLIST(" + listId + ")";
}

}  // namespace

void TCMAnlySpec::displayValidSpec() const {
  OpenSpecDisplay("TCM ANALYSIS");
  ASStatDisplay::DisplayS("MODELSYSTEM /FILE", inputModelPath);
  if (!dimensions.empty()) ASStatDisplay::DisplayVNL("MODELSYSTEM DIMENSIONS", dimensions);
  ASStatDisplay::DisplayS("MODELSYSTEM TIMETYPE", timeType);
  DisplayTimeVariables(timeVars);
  ASStatDisplay::DisplayI("MODELSYSTEM TIME POINTS", modelTimePoints);
  ASStatDisplay::DisplayS("EXPRESSIONS /FILE", expressionsPath);
  for (const auto& [name, expression] : expressionFields) {
    ASStatDisplay::DisplaySV("EXPRESSION " + name + " /FIELDREF", expression.fields);
  }
  ASStatDisplay::DisplayI("EXPRESSIONS FIELDREF COUNT", fieldRefCount);
  ASStatDisplay::DisplaySV("EXPRESSIONS USED",
                           std::vector<std::string>(usedExpressions.begin(), usedExpressions.end()));
  ASStatDisplay::DisplayText("");

  const ScenarioPeriodSpec& period = scenarioPeriod;
  ASStatDisplay::DisplayS("SCENARIOPERIOD /TIMES", period.relative ? "RELATIVE" : "ABSOLUTE");
  ASStatDisplay::DisplayS("SCENARIOPERIOD /FORMAT", period.format);
  ASStatDisplay::DisplayI("SCENARIOPERIOD AGGREGATION LEVEL", period.aggregationLevel);
  DisplayBound("START", period, period.startTime, period.startFormat, period.startPeriods);
  DisplayBound("END", period, period.endTime, period.endFormat, period.endPeriods);
  if (period.hasPredictThru) {
    DisplayBound("PREDICTTHRU", period, period.thruTime, period.thruFormat, period.thruPeriods);
  }
  ASStatDisplay::DisplayI("SCENARIO LENGTH", scenarioLength);
  ASStatDisplay::DisplayI("SCENARIO START INDEX", scenarioStartIndex);
  ASStatDisplay::DisplayText("");

  for (std::size_t i = 0; i < scenarios.size(); ++i) {
    const ScenarioSpec& scenario = scenarios[i];
    const std::string label = "SCENARIO " + std::to_string(i + 1) + " /";
    ASStatDisplay::DisplayS(label + "ID", scenario.id);
    if (scenario.isActual) {
      ASStatDisplay::DisplayDV(label + "VALUES ACTUAL", scenario.actualValues);
    } else {
      ASStatDisplay::DisplayS(label + "VALUES EXPRESSION", scenario.expression);
    }
    ASStatDisplay::DisplayS(label + "ROOTFIELD", scenario.rootField);
    DisplayFilters(label + "DIMVALUES", scenario.dimValues);
    ASStatDisplay::DisplayS(label + "EFFECTS",
                            EffectsText(scenario.automaticEffects, scenario.targetListId));
  }
  for (std::size_t i = 0; i < scenarioGroups.size(); ++i) {
    const ScenarioGroupSpec& group = scenarioGroups[i];
    const std::string label = "SCENARIOGROUP " + std::to_string(i + 1) + " /";
    ASStatDisplay::DisplayS(label + "IDPREFIX", group.idPrefix);
    ASStatDisplay::DisplayS(label + "EXPRESSION", group.expression);
    ASStatDisplay::DisplayS(label + "ROOTFIELD", group.rootField);
    DisplayFilters(label + "DIMVALUES", group.dimValues);
    ASStatDisplay::DisplayS(label + "EFFECTS",
                            EffectsText(group.automaticEffects, group.targetListId));
    ASStatDisplay::DisplayI(label + "SCENARIOS", static_cast<int>(group.scenarios.size()));
  }
  for (std::size_t i = 0; i < targetLists.size(); ++i) {
    const TargetListSpec& list = targetLists[i];
    const std::string label = "TARGETLIST " + std::to_string(i + 1) + " /";
    ASStatDisplay::DisplayS(label + "LISTID", list.listId);
    ASStatDisplay::DisplayVNL(label + "FIELDS", list.fields);
    DisplayFilters(label + "DIMVALUES", list.dimValues);
  }
  ASStatDisplay::DisplayText("");

  ASStatDisplay::DisplayD("OPTIONS /CILEVEL", buildOptions.ciLevel);
  ASStatDisplay::DisplayS("OPTIONS /PREDICTEDCI", buildOptions.predictedCI ? "YES" : "NO");
  ASStatDisplay::DisplayI("OPTIONS /MAXTARGETS", buildOptions.maxTargets);
  ASStatDisplay::DisplayI("OPTIONS /MACLEVELS", buildOptions.maxLevels);
  ASStatDisplay::DisplaySV("OPTIONS /PRINT", buildOptions.analysisPrint);
  ASStatDisplay::DisplaySV("OPTIONS /PLOT", buildOptions.analysisPlot);
  ASStatDisplay::DisplayText("");

  for (const SaveEntry& entry : saveEntries) ASStatDisplay::DisplayS("SAVE /" + entry.keyword, entry.rootName);
  ASStatDisplay::DisplayS("OUTFILE /DATA", outData.IsInit() ? outData.DocumentationString() : "");
  ASStatDisplay::DisplayS("PASSPROTECT /PASSWORD", password == "NONE" ? "NONE" : "(given)");
  ASStatDisplay::DisplayS("PASSPROTECT /ENCRYPTEDPW", encryptedPassword ? "YES" : "NO");
}
