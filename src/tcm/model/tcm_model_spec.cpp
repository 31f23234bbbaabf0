// This file contains the defaults of TCM MODEL and its debug display.
#include "tcm/model/tcm_model_spec.h"

#include "host/output/debug_display.h"
#include "tcm/frame/spec/spec_display.h"

TCMModelValidSpecs::TCMModelValidSpecs() {
  timeType = "DATESPEC";
  filteredOutputs.emplace_back();
}

void TCMModelValidSpecs::displayValidSpec() const {
  OpenSpecDisplay("TCM MODEL");

  if (!dimensions.empty()) ASStatDisplay::DisplayVNL("DATASETTINGS /DIMENSIONS", dimensions);
  ASStatDisplay::DisplayI("DATASETTINGS /MAXDIMVALUES", maxDimValues);
  ASStatDisplay::DisplayS("DATASETTINGS /TIMETYPE", timeType);
  DisplayTimeVariables(timeVars);
  if (inputInterval.interval != TimeIntervalKind::IGNORE) DisplayInputInterval(inputInterval);
  ASStatDisplay::DisplayS("DATASETTINGS /ANALYSISINTERVAL", IntervalName(analysisInterval));
  if (analysisInterval == TimeIntervalKind::CYCLE) ASStatDisplay::DisplayI(kQualifierIndent + "LEVEL", cycleLevel);
  DisplayMethod("DATASETTINGS /GROUP", group, groupOverrides);
  DisplayMethod("DATASETTINGS /AGGREGATE", aggregate, aggregateOverrides);
  DisplayMethod("DATASETTINGS /DISTRIBUTE", distribute, distributeOverrides);
  ASStatDisplay::DisplayS("DATASETTINGS /INTERPOLATE", interpolate);
  if (interpolate == "KMEAN" || interpolate == "KMEDIAN") {
    ASStatDisplay::DisplayI(kQualifierIndent + interpolate, interpolateSpan);
  }
  ASStatDisplay::DisplayS("DATASETTINGS /USERMISSING", excludeUserMissing ? "EXCLUDE" : "INCLUDE");
  ASStatDisplay::DisplayI("DATASETTINGS /MAXMISSING", maxMissing);
  ASStatDisplay::DisplayS("DATASETTINGS /CROSSDAYHRS", excludeCrossDayHours ? "EXCLUDE" : "INCLUDE");
  ASStatDisplay::DisplayText("");

  DisplayFilters("DATAFILTER /DIMVALUES", dataFilter.filters);
  ASStatDisplay::DisplayText("");

  DisplayBuildOptions("BUILDOPTIONS", buildOptions);
  DisplayCommonOutput(*this);

  for (std::size_t g = 0; g < fieldsGroups.size(); ++g) {
    const auto& group_spec = fieldsGroups[g];
    for (std::size_t f = 0; f < group_spec.fields.size(); ++f) {
      const FieldsSpec& fields = group_spec.fields[f];
      const std::string label = "FIELDSGROUP " + std::to_string(g + 1) + " FIELDS " +
                                std::to_string(f + 1) + " /";
      ASStatDisplay::DisplayVNL(label + "TARGETS", fields.targets);
      ASStatDisplay::DisplayVNL(label + "INPUTS", fields.inputs);
      ASStatDisplay::DisplayVNL(label + "FORCE", fields.force);
      ASStatDisplay::DisplayVNL(label + "EXCLUDEDTARGETS", fields.excludedTargets);
      ASStatDisplay::DisplayVNL(label + "EXCLUDEDINPUTS", fields.excludedInputs);
      DisplayFilters(label + "DIMVALUES", fields.filters);
    }
    ASStatDisplay::DisplayText("");
  }
}
