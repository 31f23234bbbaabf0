// This file contains the defaults of TCM ANALYSIS and its debug display.
#include "tcm/analysis/tcm_anly_spec.h"

#include "host/output/debug_display.h"
#include "tcm/frame/spec/spec_display.h"

TCMAnlySpec::TCMAnlySpec() { buildOptions.estimationPeriod = "MODEL"; }

void TCMAnlySpec::displayValidSpec() const {
  OpenSpecDisplay("TCM ANALYSIS");
  ASStatDisplay::DisplayS("MODELSYSTEM /FILE", inputModelPath);
  ASStatDisplay::DisplayS("EXPRESSIONS /FILE", expressionsPath);
  ASStatDisplay::DisplaySV("EXPRESSIONS NAMES", expressionNames);
  ASStatDisplay::DisplayText("");

  const ScenarioPeriodSpec& period = scenarioPeriod;
  ASStatDisplay::DisplayS("SCENARIOPERIOD /TIMES", period.relative ? "RELATIVE" : "ABSOLUTE");
  ASStatDisplay::DisplayS("SCENARIOPERIOD /FORMAT", period.format);
  ASStatDisplay::DisplayI("SCENARIOPERIOD /START", static_cast<int>(period.startTime));
  ASStatDisplay::DisplayIV(kQualifierIndent + "PERIODS", period.startPeriods);
  ASStatDisplay::DisplayI("SCENARIOPERIOD /END", static_cast<int>(period.endTime));
  ASStatDisplay::DisplayIV(kQualifierIndent + "PERIODS", period.endPeriods);
  if (period.hasPredictThru) {
    ASStatDisplay::DisplayI("SCENARIOPERIOD /PREDICTTHRU", static_cast<int>(period.thruTime));
    ASStatDisplay::DisplayIV(kQualifierIndent + "PERIODS", period.thruPeriods);
  }
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
             scenario.automaticEffects ? "AUTOMATIC" : "TARGETLIST(" + scenario.targetListId + ")");
  }
  for (std::size_t i = 0; i < scenarioGroups.size(); ++i) {
    const ScenarioGroupSpec& group = scenarioGroups[i];
    const std::string label = "SCENARIOGROUP " + std::to_string(i + 1) + " /";
    ASStatDisplay::DisplayS(label + "IDPREFIX", group.idPrefix);
    ASStatDisplay::DisplayS(label + "EXPRESSION", group.expression);
    ASStatDisplay::DisplayS(label + "ROOTFIELD", group.rootField);
    DisplayFilters(label + "DIMVALUES", group.dimValues);
    ASStatDisplay::DisplayS(label + "EFFECTS",
             group.automaticEffects ? "AUTOMATIC" : "TARGETLIST(" + group.targetListId + ")");
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
