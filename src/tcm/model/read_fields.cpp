// This file contains the readers of DATAFILTER, FIELDSGROUP and FIELDS of TCM MODEL.
#include "tcm/model/tcm_model_parser.h"

#include <algorithm>

#include "tcm/common/dim_filters.h"

bool TCMModelParser::ReadDataFilter(const SubComObj& subcommand) {
  const ParamObj* dimvalues = subcommand.getParamObj("DIMVALUES");
  if (dimvalues == nullptr)
    return true;
  return ReadDimValues(modelSpec->dataFilter.filters, *dimvalues, spec->dimensions, messages);
}

bool TCMModelParser::ReadFieldsGroup(const GroupComObj& group, int position) {
  FieldsGroupSpec fieldsGroup;
  bool anyTargetsParam = false;
  for (int i = 0; i < group.getSubComListSize(); ++i) {
    const SubComObj* subcommand = group.getSubComObj(i);
    if (subcommand == nullptr || subcommand->getSubComName() != "FIELDS")
      continue;
    if (subcommand->getParamObj("TARGETS") != nullptr)
      anyTargetsParam = true;
    FieldsSpec fields;
    if (!ReadFields(*subcommand, fields))
      return false;
    fieldsGroup.fields.push_back(std::move(fields));
  }
  if (!anyTargetsParam) {
    messages->SimpleError("TARGET_REQUIRED_KEY", std::to_string(position));
    return false;
  }
  // Every target named may have been a string field that was set aside.
  const bool anyTargets =
      std::any_of(fieldsGroup.fields.begin(), fieldsGroup.fields.end(),
                  [](const FieldsSpec& fields) { return !fields.targets.empty(); });
  if (!anyTargets) {
    messages->SyntaxErrorInParam("", "TARGETS", "FIELDS");
    return false;
  }
  modelSpec->fieldsGroups.push_back(std::move(fieldsGroup));
  return true;
}

bool TCMModelParser::ReadFields(const SubComObj& subcommand, FieldsSpec& fields) {
  if (const ParamObj* dimvalues = subcommand.getParamObj("DIMVALUES")) {
    if (!ReadDimValues(fields.filters, *dimvalues, spec->dimensions, messages))
      return false;
  }
  if (const ParamObj* targets = subcommand.getParamObj("TARGETS")) {
    if (!ReadFieldList(*targets, fields.targets, "FIELDS", true))
      return false;
  }
  if (const ParamObj* inputs = subcommand.getParamObj("INPUTS")) {
    if (!ReadFieldList(*inputs, fields.inputs, "FIELDS", true))
      return false;
  }
  if (const ParamObj* force = subcommand.getParamObj("FORCE")) {
    // Forcing an input into series that an EXCLUDE filter cuts cannot be honoured; this holds
    // whatever FORCE names.
    const bool anyExclude =
        std::any_of(fields.filters.begin(), fields.filters.end(),
                    [](const DimValueFilter& filter) { return !filter.include; });
    if (anyExclude) {
      messages->ParamExclusive("FORCE", "EXCLUDE", "FIELDS");
      return false;
    }
    if (!ReadFieldList(*force, fields.force, "FIELDS", false))
      return false;
  }
  if (const ParamObj* excluded = subcommand.getParamObj("EXCLUDEDTARGETS")) {
    if (!ReadFieldList(*excluded, fields.excludedTargets, "FIELDS", false))
      return false;
  }
  if (const ParamObj* excluded = subcommand.getParamObj("EXCLUDEDINPUTS")) {
    if (!ReadFieldList(*excluded, fields.excludedInputs, "FIELDS", false))
      return false;
  }
  for (const auto* list : {&fields.targets, &fields.inputs, &fields.force, &fields.excludedTargets,
                           &fields.excludedInputs}) {
    for (const QuorVarName& name : *list) {
      const int index = dataSource->FindVarIndex(name.GetName(), 0);
      if (index >= 0)
        usedVariables.insert(index);
    }
  }
  return true;
}
