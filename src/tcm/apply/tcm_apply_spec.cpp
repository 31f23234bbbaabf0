// This file contains the defaults of TCM APPLY and its debug display.
#include "tcm/apply/tcm_apply_spec.h"

#include "host/output/debug_display.h"
#include "tcm/frame/spec/spec_display.h"

TCMApplySpec::TCMApplySpec() { buildOptions.estimationPeriod = "MODEL"; }

void TCMApplySpec::displayValidSpec() const {
  OpenSpecDisplay("TCM APPLY");
  ASStatDisplay::DisplayS("MODELSYSTEM /FILE", inputModelPath);
  ASStatDisplay::DisplayText("");
  if (!dimensions.empty()) ASStatDisplay::DisplayVNL("MODELSYSTEM DIMENSIONS", dimensions);
  ASStatDisplay::DisplayS("MODELSYSTEM TIMETYPE", timeType);
  DisplayTimeVariables(timeVars);
  if (inputInterval.interval != TimeIntervalKind::IGNORE) DisplayInputInterval(inputInterval);
  ASStatDisplay::DisplayText("");
  ASStatDisplay::DisplayS("OPTIONS /REESTIMATE", buildOptions.reestimate ? "YES" : "NO");
  DisplayBuildOptions("OPTIONS", buildOptions);
  DisplayCommonOutput(*this);
}
