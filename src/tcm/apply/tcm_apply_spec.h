// This file contains TCMApplySpec, everything a TCM APPLY command said, with defaults; the data
// settings come from the saved model system.
#pragma once

#include <string>

#include "tcm/frame/spec/valid_spec.h"

class TCMApplySpec : public ValidSpec {
 public:
  // Sets the defaults of TCM APPLY: estimation period "MODEL", no FILTEREDOUTPUT record, and an
  // empty time type until the model system is read.
  TCMApplySpec();

  bool isDateTimeSpec() const override { return TimeTypeIsDateTime(); }
  int commandKind() const override { return 1; }
  bool needsScoring() const override { return SaveAsksScoring() || buildOptions.reestimate; }
  bool needsOutlierDetection() const override { return FilteredOutputsNeedOutliers(); }
  bool isAnalysisCommand() const override { return false; }
  bool needsRootCause() const override { return FilteredOutputsNeedRootCause(); }
  bool needsNResidual() const override { return FilteredOutputsNeedNResidual(); }
  void displayValidSpec() const override;

  std::string inputModelPath;     // MODELSYSTEM FILE
  std::string modelSettingsJson;  // the "settings" object of the model's TSDPOutput.json, verbatim
};
