// This file contains the shared parts of the specs' debug displays.
#include "tcm/frame/spec/spec_display.h"

#include "host/output/debug_display.h"

namespace {
std::string FilterText(const DimValueFilter& filter) {
  std::string text = filter.field + (filter.include ? " INCLUDE(" : " EXCLUDE(");
  for (std::size_t i = 0; i < filter.values.size(); ++i) {
    text += (i ? " " : "") + filter.values[i];
  }
  return text + ")";
}

std::string Flag(bool value) { return value ? "YES" : "NO"; }
}  // namespace

void OpenSpecDisplay(const std::string& command) {
  const std::string stars = "****************************************************";
  ASStatDisplay::DisplayText(stars, RV_ToFront);
  ASStatDisplay::DisplayText("* This text output is for debugging purposes only. *", RV_ToFront);
  ASStatDisplay::DisplayText("* This will not be part of the final release.      *", RV_ToFront);
  ASStatDisplay::DisplayText(stars, RV_ToFront);
  // The analysis display ends its opening line with a line break of its own.
  const char* ending = command == "TCM ANALYSIS" ? "\n" : "";
  ASStatDisplay::DisplayText(command + " valid specificaton display starts" + ending, RV_ToFront);
}

void DisplayTimeVariables(const TimeVariableSpec& timeVars) {
  ASStatDisplay::DisplayS("DATASETTINGS /TIMEVAR", timeVars.timeVar);
  ASStatDisplay::DisplayS(kQualifierIndent + "PERIOD", timeVars.periodVar);
  ASStatDisplay::DisplayI(kQualifierIndent + "INCREMENT", timeVars.periodIncrement);
  ASStatDisplay::DisplayI(kQualifierIndent + "START", timeVars.periodStart);
  for (const CycleVariable& cycle : timeVars.cycleVars) {
    ASStatDisplay::DisplayS(kQualifierIndent + "CYCLE", cycle.name);
    ASStatDisplay::DisplayI(kQualifierIndent + "  LEVEL", cycle.level);
    ASStatDisplay::DisplayI(kQualifierIndent + "  LENGTH", cycle.length);
    ASStatDisplay::DisplayI(kQualifierIndent + "  START", cycle.start);
  }
}

void DisplayInputInterval(const InputIntervalSpec& interval) {
  ASStatDisplay::DisplayS("DATASETTINGS /INPUTINTERVAL", IntervalName(interval.interval));
  ASStatDisplay::DisplayI(kQualifierIndent + "DAYSWK", interval.daysPerWeek);
  ASStatDisplay::DisplayS(kQualifierIndent + "WKSTART", interval.weekStart);
  ASStatDisplay::DisplayI(kQualifierIndent + "HRSDAY", interval.hoursPerDay);
  ASStatDisplay::DisplayI(kQualifierIndent + "DAYSTART", interval.dayStart);
  ASStatDisplay::DisplayS(kQualifierIndent + "INTERVAL", interval.durationUnit);
  ASStatDisplay::DisplayI(kQualifierIndent + "INCREMENT", interval.increment);
}

void DisplayMethod(const std::string& label, const std::string& method,
                   const std::vector<std::pair<std::string, std::string>>& overrides) {
  ASStatDisplay::DisplayS(label, method);
  std::vector<std::string> texts;
  for (const auto& [field, field_method] : overrides) texts.push_back(field + "(" + field_method + ")");
  if (!texts.empty()) ASStatDisplay::DisplaySV(kQualifierIndent + "FIELDS", texts);
}

void DisplayFilters(const std::string& label, const std::vector<DimValueFilter>& filters) {
  std::vector<std::string> texts;
  for (const auto& filter : filters) texts.push_back(FilterText(filter));
  ASStatDisplay::DisplaySV(label, texts);
}

void DisplayBuildOptions(const std::string& subcommand, const BuildOptionsSpec& options) {
  const std::string prefix = subcommand + " /";
  ASStatDisplay::DisplayS(prefix + "ESTIMATIONPERIOD", options.estimationPeriod);
  ASStatDisplay::DisplayS(kQualifierIndent + "TYPE", options.observationType);
  ASStatDisplay::DisplayI(kQualifierIndent + "OFFSET", options.observationOffset);
  ASStatDisplay::DisplayI(kQualifierIndent + "NUMBER", options.observationNumber);
  ASStatDisplay::DisplayI(kQualifierIndent + "START", static_cast<int>(options.startTime));
  ASStatDisplay::DisplayIV(kQualifierIndent + "START PERIODS", options.startPeriods);
  ASStatDisplay::DisplayI(kQualifierIndent + "END", static_cast<int>(options.endTime));
  ASStatDisplay::DisplayIV(kQualifierIndent + "END PERIODS", options.endPeriods);
  ASStatDisplay::DisplayI(kQualifierIndent + "FORMAT", options.dateFormat);
  ASStatDisplay::DisplayI(prefix + "FORECASTPERIODS", options.forecastPeriods);
  ASStatDisplay::DisplayD(prefix + "CILEVEL", options.ciLevel);
  if (options.maxInputsDefault) {
    ASStatDisplay::DisplayS(prefix + "MAXINPUTS", "DEFAULT");
  } else {
    ASStatDisplay::DisplayI(prefix + "MAXINPUTS", options.maxInputs);
  }
  if (options.lagsAuto) {
    ASStatDisplay::DisplayS(prefix + "LAGS", "AUTO");
  } else {
    ASStatDisplay::DisplayI(prefix + "LAGS", options.lags);
  }
  ASStatDisplay::DisplayD(prefix + "TOLERANCE", options.tolerance);
  ASStatDisplay::DisplayI(prefix + "OUTLIERTHRESH", options.outlierThreshold);
  ASStatDisplay::DisplayText("");
}

void DisplayCommonOutput(const ValidSpec& spec) {
  ASStatDisplay::DisplayS("TARGETFILTER /DISPLAY", spec.targetFilter.display);
  ASStatDisplay::DisplayI(kQualifierIndent + "N", spec.targetFilter.n);
  ASStatDisplay::DisplayI(kQualifierIndent + "PCT", spec.targetFilter.pct);
  ASStatDisplay::DisplayS(kQualifierIndent + "FITSTAT", spec.targetFilter.fitStat);
  ASStatDisplay::DisplayText("");

  for (std::size_t i = 0; i < spec.seriesFilters.size(); ++i) {
    const std::string label = "SERIESFILTER " + std::to_string(i + 1) + " /";
    ASStatDisplay::DisplayVNL(label + "FIELDS", spec.seriesFilters[i].fields);
    DisplayFilters(label + "DIMVALUES", spec.seriesFilters[i].filters);
  }
  if (!spec.seriesFilters.empty()) ASStatDisplay::DisplayText("");

  for (std::size_t i = 0; i < spec.filteredOutputs.size(); ++i) {
    const FilteredOutputSpec& record = spec.filteredOutputs[i];
    const std::string label = "FILTEREDOUTPUT " + std::to_string(i + 1) + " /";
    ASStatDisplay::DisplayS(label + "INCLUDE", record.include);
    ASStatDisplay::DisplayS(label + "NETWORKGRAPH", Flag(record.networkGraph));
    ASStatDisplay::DisplayD(kQualifierIndent + "SIGLEVEL", record.sigLevel);
    ASStatDisplay::DisplaySV(label + "PRINT", record.print);
    ASStatDisplay::DisplaySV(label + "PLOT", record.plot);
    ASStatDisplay::DisplayS(label + "IMPACTDIAGRAMS", Flag(record.impactDiagrams));
    if (record.causes) ASStatDisplay::DisplayI(kQualifierIndent + "CAUSES", record.causeLevels);
    if (record.effects) ASStatDisplay::DisplayI(kQualifierIndent + "EFFECTS", record.effectLevels);
    ASStatDisplay::DisplayS(label + "OUTLIER_ROOTCAUSES", Flag(record.rootCauses));
    ASStatDisplay::DisplayI(kQualifierIndent + "LEVELS", record.rootCauseLevels);
    ASStatDisplay::DisplayS(kQualifierIndent + "DISPLAY", record.rootCauseDisplay);
  }
  ASStatDisplay::DisplayText("");

  ASStatDisplay::DisplaySV("SYSTEMOUTPUT /MODELFIT", spec.modelFit);
  ASStatDisplay::DisplayS("SYSTEMOUTPUT /TRANSFORMATIONS", Flag(spec.transformations));
  ASStatDisplay::DisplayS("SYSTEMOUTPUT /OUTLIERPLOT", Flag(spec.outlierPlot));
  ASStatDisplay::DisplayText("");

  for (const SaveEntry& entry : spec.saveEntries) ASStatDisplay::DisplayS("SAVE /" + entry.keyword, entry.rootName);
  if (!spec.saveEntries.empty()) ASStatDisplay::DisplayText("");

  ASStatDisplay::DisplayS("OUTFILE /MODELSYSTEM", spec.modelSystemPath);
  ASStatDisplay::DisplayS("OUTFILE /DATA", spec.outData.IsInit() ? spec.outData.DocumentationString() : "");
  ASStatDisplay::DisplayText("");

  // The password itself stays out of the output, even in a debug display.
  ASStatDisplay::DisplayS("PASSPROTECT /PASSWORD", spec.password == "NONE" ? "NONE" : "(given)");
  ASStatDisplay::DisplayS("PASSPROTECT /ENCRYPTEDPW", Flag(spec.encryptedPassword));
  ASStatDisplay::DisplayText("");
}
