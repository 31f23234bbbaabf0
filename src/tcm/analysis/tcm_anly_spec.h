// This file contains TCMAnlySpec, everything a TCM ANALYSIS command said, and the records of
// its scenario period, scenarios, scenario groups, target lists and expressions.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "tcm/frame/spec/valid_spec.h"

using SeriesKey = std::vector<std::string>;

struct ScenarioPeriodSpec {
  bool relative = false;
  bool hasPredictThru = false;
  std::string format;
  int64_t startTime = 0;
  int64_t endTime = 0;
  int64_t thruTime = 0;
  int32_t startFormat = 0;
  int32_t endFormat = 0;
  int32_t thruFormat = 0;
  int32_t aggregationLevel = 0;
  std::vector<int32_t> startPeriods;
  std::vector<int32_t> endPeriods;
  std::vector<int32_t> thruPeriods;
};

struct ExpressionSpec {
  std::string name;
  std::vector<std::string> fields;  // FieldRef fields in document order, repeats kept
};

struct ScenarioSpec {
  std::string id;
  std::string targetListId;
  std::string rootField;
  std::string expression;
  bool isActual = false;
  bool automaticEffects = true;
  std::vector<double> actualValues;
  std::vector<DimValueFilter> dimValues;
  SeriesKey seriesKey;
};

struct ScenarioGroupSpec {
  std::string idPrefix;
  std::string expression;
  std::string rootField;
  std::string targetListId;
  bool automaticEffects = true;
  std::vector<DimValueFilter> dimValues;
  std::vector<ScenarioSpec> scenarios;
};

struct TargetListSpec {
  std::string listId;
  std::vector<QuorVarName> fields;
  std::vector<DimValueFilter> dimValues;
  std::vector<SeriesKey> seriesKeys;
};

class TCMAnlySpec : public ValidSpec {
 public:
  TCMAnlySpec();

  bool isDateTimeSpec() const override { return TimeTypeIsDateTime(); }
  int commandKind() const override { return 2; }
  bool needsScoring() const override { return scoringFlag; }
  bool needsOutlierDetection() const override { return false; }
  bool isAnalysisCommand() const override { return true; }
  bool needsRootCause() const override { return false; }
  bool needsNResidual() const override { return false; }
  void displayValidSpec() const override;

  void SetScoringFlag(bool value) { scoringFlag = value; }
  // The count of field references of all expressions, counted on the first call.
  int32_t FieldRefCount();

  std::string inputModelPath;
  std::string expressionsPath;
  std::string modelSettingsJson;
  bool scoringFlag = false;
  ScenarioPeriodSpec scenarioPeriod;
  std::vector<ScenarioSpec> scenarios;
  std::vector<ScenarioGroupSpec> scenarioGroups;
  std::vector<TargetListSpec> targetLists;
  int32_t modelTimePoints = 0;
  int32_t scenarioLength = 0;
  int32_t scenarioStartIndex = 0;
  std::vector<std::string> expressionNames;
  int32_t fieldRefCount = -1;  // -1 until first asked
  std::map<std::string, ExpressionSpec> expressionFields;
  std::set<std::string> usedExpressions;
  std::vector<SeriesKey> arSeriesKeys;
  std::vector<SeriesKey> targetSeriesKeys;
  std::vector<SeriesKey> expressionSeriesKeys;
  std::string graphJson;
};
