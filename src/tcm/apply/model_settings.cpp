// This file contains the reading of a model system's members that TCM APPLY needs while it reads
// its syntax: the members' presence, the saved data settings and the metric names.
#include "tcm/apply/model_settings.h"

#include "host/bridge/cf_metadata.h"
#include "host/bridge/jni_json.h"
#include "host/bridge/zip_reader.h"
#include "host/data/procedure_data_source.h"
#include "host/messages/parser_message.h"
#include "tcm/files/model_system_file.h"

namespace {

// The strings of a JSON array, in order; an absent list is empty.
std::vector<std::string> StringList(JNIJSONHandle settings, const char* key) {
  const JNIJSONHandle list = JNIJSONObject::get(settings, key);
  std::vector<std::string> names;
  for (std::size_t i = 0; i < JNIJSONArray::size(list); ++i)
    names.push_back(JNIAslAccessor::getString(JNIJSONArray::get(list, i)));
  return names;
}

// Finds a saved field in the dataset and notes its index. False, reported, when it is not there.
bool FindSavedField(const std::string& name, const ProcedureDataSource& dataSource,
                    std::set<int32_t>& usedVariables, ParserMessage& messages,
                    const QUOR_Variable** variable = nullptr) {
  const int index = dataSource.FindVarIndex(name, 0);
  const QUOR_Variable* found = index < 0 ? nullptr : dataSource.GetVariable(index);
  if (found == nullptr) {
    messages.VariableNotInDict(name, "", "");
    return false;
  }
  usedVariables.insert(index);
  if (variable != nullptr)
    *variable = found;
  return true;
}

} // namespace

bool HasModelSystemMembers(const std::string& path) {
  ZipReader reader(path);
  for (const char* member : {"StatXML.xml", "TCMGraph.json", "TSDPOutput.json"}) {
    if (!reader.GotoFile(member))
      return false;
  }
  return true;
}

bool ReadModelSettings(const std::string& modelPath, ValidSpec& spec, std::string& settingsJson,
                       std::set<int32_t>& usedVariables, const ProcedureDataSource& dataSource,
                       ParserMessage& messages) {
  std::string text;
  ZipReader reader(modelPath);
  const bool read = reader.GotoFile("TSDPOutput.json") && reader.ExportString(text);
  const JNIJSONObject json(read ? text : std::string());
  // A member that does not read as JSON ends the command with no word of its own: the run then
  // says that the command did not run.
  if (!read || !json.isGood()) return false;
  const JNIJSONHandle settings = JNIJSONObject::get(json.getTop(), "settings");
  // JSON without its settings record is no model system of ours.
  if (settings == nullptr || !settings->is_object()) {
    messages.SimpleError("INVALID_MODEL_KEY");
    return false;
  }
  settingsJson = JNIJSONObject::toString(settings);

  const std::vector<std::string> dimensions = StringList(settings, "dimFieldList");
  // One empty name is how the preparation writes "no dimensions".
  if (!(dimensions.size() == 1 && dimensions.front().empty())) {
    for (const std::string& name : dimensions) {
      if (!FindSavedField(name, dataSource, usedVariables, messages))
        return false;
      spec.dimensions.emplace_back(name);
    }
  }
  for (const std::string& name : StringList(settings, "metricFieldList")) {
    if (!FindSavedField(name, dataSource, usedVariables, messages))
      return false;
  }

  TimeVariableSpec& time = spec.timeVars;
  const std::string dateTimeField =
      JNIAslAccessor::getString(JNIJSONObject::get(settings, "dateTimeField"));
  if (!dateTimeField.empty()) {
    const QUOR_Variable* variable = nullptr;
    if (!FindSavedField(dateTimeField, dataSource, usedVariables, messages, &variable))
      return false;
    time.timeVar = dateTimeField;
    spec.timeType = variable->GetType() != 0 ? "ISO8601" : "DATETIMEVAR";
    return true;
  }
  const std::vector<std::string> cyclic = StringList(settings, "cyclicFieldList");
  if (cyclic.empty()) {
    messages.SimpleError("INVALID_MODEL_KEY");
    return false;
  }
  if (cyclic.size() == 1 && cyclic.front() == "$casecount") {
    spec.timeType = "NONE";
    time.periodVar = "$casecount";
    return true;
  }
  // From the highest level down; the last, innermost field counts the periods.
  for (std::size_t i = 0; i < cyclic.size(); ++i) {
    if (!FindSavedField(cyclic[i], dataSource, usedVariables, messages))
      return false;
    if (i + 1 < cyclic.size()) {
      CycleVariable cycle;
      cycle.name = cyclic[i];
      cycle.length = 1;
      time.cycleVars.push_back(cycle);
    } else {
      time.periodVar = cyclic[i];
    }
  }
  spec.timeType = dataSource.GetTrendsInfo().GetNDateVars() >= 1 ? "DATESPEC" : "CYCLICPERIODS";
  return true;
}

std::vector<std::string> ModelMetricNames(const std::string& modelPath) {
  std::vector<std::string> names;
  CFMetaData metadata;
  if (!ExtractDataModel(modelPath, metadata))
    return names;
  // The engine writes each metric as the label of a category coded 1..M.
  if (const CFField* metric = metadata.FindField("metricField")) {
    for (const CFValue& value : metric->GetValues())
      names.push_back(value.GetLabel());
  }
  return names;
}
