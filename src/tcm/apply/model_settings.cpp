// This file contains the reading of a model system's members that TCM APPLY needs while it reads
// its syntax: the members' presence, the saved data settings and the metric names.
#include "tcm/apply/model_settings.h"

#include "host/bridge/cf_metadata.h"
#include "host/bridge/jni_json.h"
#include "host/bridge/zip_reader.h"
#include "host/data/procedure_data_source.h"
#include "host/messages/parser_message.h"
#include "host/syntax/command_spec.h"
#include "tcm/frame/parser_shell.h"
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

// The count of time points the model keeps: the length of output.timeVariable, which is one list
// for a date time field and a list per cyclic field otherwise (the period field's, or the top
// cycle's when that one is missing).
int32_t SavedTimePoints(JNIJSONHandle output, const ValidSpec& spec) {
  const JNIJSONHandle variable = JNIJSONObject::get(output, "timeVariable");
  if (spec.isDateTimeSpec())
    return static_cast<int32_t>(JNIJSONArray::size(variable));
  JNIJSONHandle values = JNIJSONObject::get(variable, spec.timeVars.periodVar);
  if (values == nullptr && !spec.timeVars.cycleVars.empty())
    values = JNIJSONObject::get(variable, spec.timeVars.cycleVars.front().name);
  return static_cast<int32_t>(JNIJSONArray::size(values));
}

} // namespace

bool HasModelSystemMembers(const std::string& path, const std::vector<std::string>& members) {
  ZipReader reader(path);
  for (const std::string& member : members) {
    if (!reader.GotoFile(member))
      return false;
  }
  return true;
}

bool ReadModelSystemPath(const SubComObj& subcommand, const std::vector<std::string>& members,
                         std::string& path, ParserMessage& messages) {
  const ParamObj* file = subcommand.getParamObj("FILE");
  if (file == nullptr) {
    messages.ParamRequiredForSubCom("FILE", "MODELSYSTEM");
    return false;
  }
  if (!file->getFilePath(path, false, true)) {
    messages.FileNameInvalid(WrittenPath(*file));
    return false;
  }
  if (!HasModelSystemMembers(path, members)) {
    messages.SimpleError("INVALID_MODEL_KEY");
    return false;
  }
  return true;
}

bool ReadModelSettings(const std::string& modelPath, ValidSpec& spec, std::string& settingsJson,
                       std::set<int32_t>& usedVariables, const ProcedureDataSource& dataSource,
                       ParserMessage& messages, SavedTimeAxis* axis) {
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
  } else {
    const std::vector<std::string> cyclic = StringList(settings, "cyclicFieldList");
    if (cyclic.empty()) {
      messages.SimpleError("INVALID_MODEL_KEY");
      return false;
    }
    if (cyclic.size() == 1 && cyclic.front() == "$casecount") {
      spec.timeType = "NONE";
      time.periodVar = "$casecount";
    } else {
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
      spec.timeType =
          dataSource.GetTrendsInfo().GetNDateVars() >= 1 ? "DATESPEC" : "CYCLICPERIODS";
      const JNIJSONHandle level = JNIJSONObject::get(settings, "aggreLevel");
      if (axis != nullptr && level != nullptr)
        axis->aggregationLevel = JNIJSONInteger::intValue(level);
    }
  }
  if (axis != nullptr)
    axis->modelTimePoints = SavedTimePoints(JNIJSONObject::get(json.getTop(), "output"), spec);
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
