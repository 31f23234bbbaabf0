// This file contains the reading of SCENARIO, SCENARIOGROUP and TARGETLIST, and the warnings for
// target lists that no scenario refers to.
#include <algorithm>
#include <utility>

#include "host/syntax/token.h"
#include "tcm/analysis/tcm_anly_parser.h"
#include "tcm/common/dim_filters.h"

namespace {

constexpr const char* kScenario = "SCENARIO";
constexpr const char* kGroup = "SCENARIOGROUP";

// IDs and prefixes are unique without regard to case: false when `id` was seen, else it is noted.
bool NoteUnique(std::vector<std::string>& seen, const std::string& id) {
  const std::string upper = host::UpperAscii(id);
  if (std::find(seen.begin(), seen.end(), upper) != seen.end()) return false;
  seen.push_back(upper);
  return true;
}

// A filter per dimension: a repeated dimension leaves another without its value.
std::size_t FilteredDimensions(const std::vector<DimValueFilter>& filters) {
  std::vector<std::string> fields;
  for (const DimValueFilter& filter : filters) {
    if (std::find(fields.begin(), fields.end(), filter.field) == fields.end())
      fields.push_back(filter.field);
  }
  return fields.size();
}

}  // namespace

bool TCMAnlyParser::ReadTargetList(const SubComObj& subcommand) {
  TargetListSpec record;
  if (const ParamObj* id = subcommand.getParamObj("LISTID")) {
    if (!id->getStringGeneric(record.listId)) {
      messages->ParamMustBeString("LISTID", "TARGETLIST");
      return false;
    }
  }
  listIds.insert(host::UpperAscii(record.listId));
  const ParamObj* fields = subcommand.getParamObj("FIELDS");
  if (fields == nullptr) {
    messages->ParamRequiredForSubCom("FIELDS", "TARGETLIST");
    return false;
  }
  if (!ReadFieldList(*fields, record.fields, fields->getSubComExtName(), true, true)) return false;
  for (const QuorVarName& field : record.fields) {
    usedVariables.insert(dataSource->FindVarIndex(field.GetName(), 0));
  }
  if (const ParamObj* dimvalues = subcommand.getParamObj("DIMVALUES")) {
    if (!ReadAnalysisDimValues(record.dimValues, *dimvalues, spec->dimensions, true, messages))
      return false;
  }
  // Two lists of one ID make two records: which one a scenario takes is settled when it runs.
  anlySpec->targetLists.push_back(std::move(record));
  return true;
}

bool TCMAnlyParser::ReadRootField(const SubComObj& subcommand, std::string& rootField) {
  const std::string& owner = subcommand.getSubComName();
  const ParamObj* param = subcommand.getParamObj("ROOTFIELD");
  std::string name;
  if (param == nullptr || !param->getStringGeneric(name)) {
    messages->NoVarNameAfterSymbol("=", "ROOTFIELD", owner);
    return false;
  }
  const int index = dataSource->FindVarIndex(name, 0);
  const QUOR_Variable* variable = index < 0 ? nullptr : dataSource->GetVariable(index);
  if (variable == nullptr) {
    messages->VariableNotInDict(name, "ROOTFIELD", owner);
    return false;
  }
  // Whether the field is a series of the model is the data check's business.
  usedVariables.insert(index);
  rootField = variable->GetName();
  return true;
}

bool TCMAnlyParser::CheckExpressionName(const std::string& name, const std::string& subcommand,
                                        int number, const std::string& missingKey) {
  if (anlySpec->expressionsPath.empty()) {
    messages->SubComNeedSubCom("EXPRESSIONS", subcommand);
    return false;
  }
  if (!ListHas(anlySpec->expressionNames, name, true, false)) {
    messages->SimpleError(missingKey, std::to_string(number), name);
    return false;
  }
  anlySpec->usedExpressions.insert(host::UpperAscii(name));
  return true;
}

bool TCMAnlyParser::ReadEffects(const SubComObj& subcommand, int number,
                                const std::string& missingKey, bool& automatic,
                                std::string& listId) {
  const ParamObj* effects = subcommand.getParamObj("EFFECTS");
  if (effects == nullptr) return true;
  const SubComDescriptor* owner = getGlobalGroupDesc()->getSubComDesc(subcommand.getSubComName());
  std::pair<std::string, ParamObj> keyword;
  if (!effects->getStringAndQual(keyword, owner == nullptr ? nullptr : owner->getParamDesc("EFFECTS"),
                                 messages)) {
    return false;
  }
  automatic = host::UpperAscii(keyword.first) == "AUTOMATIC";
  if (automatic) return true;
  // TARGETLIST without a word names the list without an ID.
  if (!keyword.second.getStringGeneric(listId)) listId.clear();
  const std::string upper = host::UpperAscii(listId);
  if (listIds.count(upper) == 0) {
    messages->SimpleError(missingKey, std::to_string(number));
    return false;
  }
  usedListIds.insert(upper);
  return true;
}

bool TCMAnlyParser::ReadScenario(const SubComObj& subcommand, int number) {
  const SubComDescriptor* descriptor = getGlobalGroupDesc()->getSubComDesc(kScenario);
  const ParamDescriptor* valuesDescriptor =
      descriptor == nullptr ? nullptr : descriptor->getParamDesc("VALUES");
  if (valuesDescriptor == nullptr) {
    messages->InvalidSubComName(kScenario);
    return false;
  }
  ScenarioSpec record;
  const ParamObj* id = subcommand.getParamObj("ID");
  if (id == nullptr || !id->getLiteral(record.id)) {
    messages->ParamQuotedString("ID", kScenario);
    return false;
  }
  if (!NoteUnique(seenScenarioIds, record.id)) {
    messages->SimpleError("DUP_SCENARIOID_KEY");
    return false;
  }

  const ParamObj* values = subcommand.getParamObj("VALUES");
  std::pair<std::string, ParamObj> kind;
  if (values == nullptr) {
    messages->ParamRequiredForSubCom("VALUES", kScenario);
    return false;
  }
  if (!values->getStringAndQual(kind, valuesDescriptor, messages)) return false;
  record.isActual = host::UpperAscii(kind.first) == "ACTUAL";
  if (record.isActual) {
    // Their count is checked against the scenario period once the data place it.
    if (!kind.second.getNumberList(record.actualValues)) {
      messages->ParamNeedNumberList("ACTUAL", kScenario);
      return false;
    }
  } else {
    if (!kind.second.getStringGeneric(record.expression)) {
      messages->NoVarNameAfterSymbol("(", "EXPRESSION", kScenario);
      return false;
    }
    if (!CheckExpressionName(record.expression, kScenario, number, "EXPRESSION_MISSING_KEY"))
      return false;
  }

  if (!ReadRootField(subcommand, record.rootField)) return false;
  // A scenario is one series: a value of every dimension. Without dimensions there is nothing
  // to name, and DIMVALUES is not looked at.
  if (!spec->dimensions.empty()) {
    const ParamObj* dimvalues = subcommand.getParamObj("DIMVALUES");
    if (dimvalues == nullptr) {
      messages->ParamRequiredForSubCom("DIMVALUES", kScenario);
      return false;
    }
    if (!ReadAnalysisDimValues(record.dimValues, *dimvalues, spec->dimensions, false, messages))
      return false;
    if (FilteredDimensions(record.dimValues) != spec->dimensions.size()) {
      messages->SimpleError("NOT_ALL_DIM_KEY", std::to_string(number));
      return false;
    }
  }
  if (!ReadEffects(subcommand, number, "NO_TARGETLIST_KEY", record.automaticEffects,
                   record.targetListId)) {
    return false;
  }
  anlySpec->scenarios.push_back(std::move(record));
  return true;
}

bool TCMAnlyParser::ReadScenarioGroup(const SubComObj& subcommand, int number) {
  ScenarioGroupSpec record;
  const ParamObj* prefix = subcommand.getParamObj("IDPREFIX");
  if (prefix == nullptr || !prefix->getLiteral(record.idPrefix)) {
    messages->ParamQuotedString("IDPREFIX", kGroup);
    return false;
  }
  // Prefixes are compared among themselves only: a group's members are named apart anyway.
  if (!NoteUnique(seenPrefixes, record.idPrefix)) {
    messages->SimpleError("DUP_PREFIX_KEY");
    return false;
  }
  const ParamObj* expression = subcommand.getParamObj("EXPRESSION");
  if (expression == nullptr || !expression->getStringGeneric(record.expression)) {
    messages->WordNeedVarName("=", "EXPRESSION", kGroup);
    return false;
  }
  if (!CheckExpressionName(record.expression, kGroup, number, "EXPRESSION_MISSING_GROUP_KEY"))
    return false;
  if (!ReadRootField(subcommand, record.rootField)) return false;
  // A dimension without a filter stands for all its values.
  if (const ParamObj* dimvalues = subcommand.getParamObj("DIMVALUES")) {
    if (!ReadAnalysisDimValues(record.dimValues, *dimvalues, spec->dimensions, true, messages))
      return false;
  }
  if (!ReadEffects(subcommand, number, "NO_GROUP_TARGET_KEY", record.automaticEffects,
                   record.targetListId)) {
    return false;
  }
  anlySpec->scenarioGroups.push_back(std::move(record));
  return true;
}

void TCMAnlyParser::WarnUnusedTargetLists() {
  for (const std::string& id : listIds) {
    if (usedListIds.count(id) != 0) continue;
    if (id.empty()) {
      messages->SimpleWarning("NOT_REFERRED_KEY");
    } else {
      messages->SimpleWarning("NOT_USED_KEY", id);
    }
  }
}
