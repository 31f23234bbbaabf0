// This file contains TCMModelValidSpecs, everything a TCM MODEL command said, with defaults.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "tcm/frame/spec/valid_spec.h"

// One FIELDS subcommand.
struct FieldsSpec {
  std::vector<QuorVarName> targets;
  std::vector<QuorVarName> inputs;
  std::vector<QuorVarName> force;
  std::vector<QuorVarName> excludedTargets;
  std::vector<QuorVarName> excludedInputs;
  std::vector<DimValueFilter> filters;
};

// One FIELDSGROUP: its FIELDS subcommands in order.
struct FieldsGroupSpec {
  std::vector<FieldsSpec> fields;
};

using FieldMethod = std::pair<std::string, std::string>;  // field, method

class TCMModelValidSpecs : public ValidSpec {
 public:
  // Sets the defaults of TCM MODEL: time type "DATESPEC" and one default FILTEREDOUTPUT record.
  TCMModelValidSpecs();

  bool isDateTimeSpec() const override { return TimeTypeIsDateTime(); }
  int commandKind() const override { return 0; }
  bool needsScoring() const override { return SaveAsksScoring(); }
  bool needsOutlierDetection() const override { return FilteredOutputsNeedOutliers(); }
  bool isAnalysisCommand() const override { return false; }
  bool needsRootCause() const override { return FilteredOutputsNeedRootCause(); }
  bool needsNResidual() const override { return FilteredOutputsNeedNResidual(); }
  // Writes every setting, in the order of the syntax, to the output's debug display.
  void displayValidSpec() const override;

  int32_t maxDimValues = 10000;
  TimeIntervalKind analysisInterval = TimeIntervalKind::USEINPUT;
  int32_t cycleLevel = kUnset;
  std::string group = "SUM";
  std::vector<FieldMethod> groupOverrides;
  std::string aggregate = "SUM";
  std::vector<FieldMethod> aggregateOverrides;
  std::string distribute = "SUM";
  std::vector<FieldMethod> distributeOverrides;
  std::string interpolate = "LINT";
  int32_t interpolateSpan = 2;
  bool excludeUserMissing = true;
  int32_t maxMissing = 25;
  bool excludeCrossDayHours = true;
  DimFilterSet dataFilter;
  std::vector<FieldsGroupSpec> fieldsGroups;
};
