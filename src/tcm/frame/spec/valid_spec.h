// This file contains ValidSpec, the abstract spec that every later step reads, and the records
// that the three commands share. Defaults are set by the member initialisers.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "host/quor_var_name.h"
#include "host/syntax/user_case_file_spec.h"
#include "tcm/common/dim_filter.h"
#include "tcm/common/time_interval.h"

// "Unset" for the integer members that have no default value.
inline constexpr int32_t kUnset = -1;

struct CycleVariable {
  int32_t level = 0;  // counts down: entry i of n holds n - i once date specifications are read
  int32_t length = 0;
  int32_t start = 0;
  std::string name;
};

struct TimeVariableSpec {
  std::string timeVar;
  std::string periodVar;  // "$casecount" when the time type is "NONE"
  int32_t periodIncrement = 1;
  int32_t periodStart = 1;
  std::vector<CycleVariable> cycleVars;  // highest level first
};

struct InputIntervalSpec {
  TimeIntervalKind interval = TimeIntervalKind::AUTODETECT;
  int32_t daysPerWeek = 7;
  std::string weekStart = "SUN";
  int32_t hoursPerDay = 24;
  int32_t dayStart = 0;
  std::string durationUnit;
  int32_t increment = 1;
};

struct BuildOptionsSpec {
  std::string observationType;
  std::string estimationPeriod = "ALL";  // "ALL", "TIMES", "OBSERVATIONS"; APPLY/ANALYSIS "MODEL"
  int64_t startTime = 0;
  int64_t endTime = 0;
  std::vector<int32_t> startPeriods;
  std::vector<int32_t> endPeriods;
  std::vector<std::string> analysisPrint;
  std::vector<std::string> analysisPlot{"IMPACTDIAGRAM"};
  bool maxInputsDefault = true;
  bool lagsAuto = true;
  bool reestimate = false;
  bool predictedCI = false;
  int32_t observationOffset = 0;
  int32_t observationNumber = 1000;
  int32_t forecastPeriods = 0;
  int32_t maxInputs = kUnset;
  int32_t lags = kUnset;
  int32_t maxTargets = 25;
  int32_t maxLevels = 3;
  int32_t startKind = 0;  // a date kind, or for FORMAT=VARIABLE the variable's packed format
  int32_t endKind = 0;
  int32_t dateFormat = -1;  // 0 VARIABLE, 1 ISO8601, -1 not given
  int32_t outlierThreshold = 95;
  double ciLevel = 95.0;
  double tolerance = 0.001;
};

struct TargetFilterSpec {
  std::string display = "BESTFIT";
  int32_t n = 10;
  int32_t pct = 0;
  std::string fitStat = "RMSPE";
  bool useN = true;  // false once PCT was given
};

struct SeriesFilterSpec : DimFilterSet {};

struct FilteredOutputSpec {
  std::string include = "BOTH";  // "TARGETS", "SERIES" or "BOTH"
  bool networkGraph = true;
  bool impactDiagrams = false;
  bool causes = false;
  bool effects = false;
  bool rootCauses = false;
  double sigLevel = 0.05;
  std::vector<std::string> print;
  std::vector<std::string> plot;
  int32_t causeLevels = 3;
  int32_t effectLevels = 3;
  int32_t rootCauseLevels = 3;
  std::string rootCauseMethod = "ALLPREDICTED";  // no syntax sets it; kept so the record is whole
  std::string rootCauseDisplay = "INTERACTIVE";
};

struct SaveEntry {
  std::string keyword;  // "TARGETS", "PREDICTED", "LCLROOT", "UCLROOT", "NRESIDUAL", "FORECASTFLAG"
  std::string rootName;
};

// The shared list-membership test: with `numeric` both sides compare as numbers, with
// `ignoreCase` upper-cased, otherwise exactly.
bool ListHas(const std::vector<std::string>& list, const std::string& text, bool ignoreCase,
             bool numeric);

class ValidSpec {
 public:
  virtual ~ValidSpec() = default;

  // The eight slots, in order.
  virtual bool isDateTimeSpec() const = 0;
  virtual int commandKind() const = 0;  // 0 TCM MODEL, 1 TCM APPLY, 2 TCM ANALYSIS
  virtual bool needsScoring() const = 0;
  virtual bool needsOutlierDetection() const = 0;
  virtual bool isAnalysisCommand() const = 0;
  virtual bool needsRootCause() const = 0;
  virtual bool needsNResidual() const = 0;
  virtual void displayValidSpec() const = 0;

  // The first SAVE entry with that keyword, compared exactly.
  bool FindSaveEntry(const std::string& keyword, SaveEntry& out) const;

  std::vector<QuorVarName> dimensions;
  std::string timeType;
  std::vector<std::string> modelFit{"RMSPE"};
  bool transformations = true;
  bool outlierPlot = false;
  TimeVariableSpec timeVars;
  InputIntervalSpec inputInterval;
  BuildOptionsSpec buildOptions;
  TargetFilterSpec targetFilter;
  std::vector<SeriesFilterSpec> seriesFilters;
  std::vector<FilteredOutputSpec> filteredOutputs;
  std::vector<SaveEntry> saveEntries;
  std::string password = "NONE";
  bool encryptedPassword = false;
  UserCaseFileSpec outData;
  std::string modelSystemPath;
  bool debug = false;

 protected:
  // The rules that TCM MODEL and TCM APPLY share for slots 0, 2, 3, 5 and 6.
  bool TimeTypeIsDateTime() const;
  bool SaveAsksScoring() const;
  bool FilteredOutputsNeedOutliers() const;
  bool FilteredOutputsNeedRootCause() const;
  bool FilteredOutputsNeedNResidual() const;
};
