// This file contains the readers of the model system and preparation archives. Every read opens
// the archive anew and closes it.
#include "tcm/files/model_system_file.h"

#include "host/bridge/jni_json.h"
#include "host/bridge/jni_target_map.h"
#include "host/bridge/zip_reader.h"

namespace {

bool ReadMember(const std::string& path, const char* member, std::string& text) {
  ZipReader reader(path);
  return reader.GotoFile(member) && reader.ExportString(text);
}

std::vector<std::string> SplitAtDash(const std::string& id) {
  std::vector<std::string> pieces;
  std::size_t start = 0;
  while (true) {
    const std::size_t dash = id.find('-', start);
    pieces.push_back(id.substr(start, dash - start));
    if (dash == std::string::npos)
      return pieces;
    start = dash + 1;
  }
}

// The label of the category of `field` whose value reads as `text`, or null.
const std::string* LabelOf(const CFField& field, const std::string& text) {
  for (const CFValue& value : field.GetValues()) {
    std::string rendered;
    if (value.GetDatum().ToString(rendered) && rendered == text)
      return &value.GetLabel();
  }
  return nullptr;
}

} // namespace

bool ExtractDataModel(const std::string& path, CFMetaData& metadata) {
  std::string text;
  if (!ReadMember(path, "StatXML.xml", text))
    return false;
  const std::size_t begin = text.find("<DataModel>");
  if (begin != std::string::npos)
    text = text.substr(begin);
  const std::size_t end = text.find("</StatXML>");
  if (end != std::string::npos)
    text = text.substr(0, end);
  if (text.find("</DataModel>") == std::string::npos)
    text += "</DataModel>";
  metadata = CFMetaData(text, nullptr);
  return true;
}

void ReadTimeInfo(const std::string& jsonText, std::string& timeVariable, std::string& timeFormat) {
  JNIJSONObject json(jsonText);
  const JNIJSONHandle output = JNIJSONObject::get(json.getTop(), "output");
  timeFormat = JNIJSONObject::getChildAsString(output, "timeFormat");
  timeVariable = JNIJSONObject::toString(JNIJSONObject::get(output, "timeVariable"));
}

void ReadTopModelIds(const ASSimpleContainer& container, std::vector<std::string>& ids) {
  std::string text;
  if (!ReadMember(container.getAbsolutePath(), "modelSummary.json", text))
    return;
  JNIJSONObject json(text);
  if (!json.isGood())
    return;
  const JNIJSONHandle top = JNIJSONObject::get(json.getTop(), "topNModels");
  const JNIJSONHandle list = top == nullptr ? nullptr : JNIJSONObject::get(top, "IDs");
  if (list == nullptr)
    return;
  for (std::size_t i = 0; i < JNIJSONArray::size(list); ++i) {
    const JNIJSONHandle item = JNIJSONArray::get(list, i);
    if (item == nullptr || !item->is_string())
      continue;
    const std::string id = JNIAslAccessor::getString(item);
    if (!id.empty())
      ids.push_back(id);
  }
}

void TargetIdsByDisplay(const std::string& display, const std::string& graphText,
                        const std::vector<std::string>& topModelIds,
                        std::vector<std::string>& ids) {
  if (display == "BESTFIT") {
    ids.insert(ids.end(), topModelIds.begin(), topModelIds.end());
    return;
  }
  const JNITargetMap map(graphText);
  if (display == "TARGETSNOINPUTS") {
    map.GetTargetsWithoutInput(ids);
  } else {
    map.GetAllTargets(ids);
  }
}

bool RankedTargetIds(const std::string& modelPath, const std::string& display,
                     const std::function<void(std::vector<std::string>&)>& topModels,
                     std::vector<std::string>& ids) {
  // A system without its statistics document has nothing to rank, whatever the graph says.
  std::string statXml;
  if (!ReadMember(modelPath, "StatXML.xml", statXml))
    return false;
  std::string graph;
  std::vector<std::string> top;
  if (display == "BESTFIT") {
    if (topModels)
      topModels(top);
  } else if (!ReadMember(modelPath, "TCMGraph.json", graph)) {
    return false;
  }
  TargetIdsByDisplay(display, graph, top, ids);
  return true;
}

void DecodeSeriesIds(const std::vector<std::string>& ids, const CFMetaData& metadata,
                     const std::vector<std::string>& dimensionNames,
                     std::vector<std::vector<std::string>>& result) {
  for (const std::string& id : ids) {
    const std::vector<std::string> pieces = SplitAtDash(id);
    std::vector<std::string> decoded;
    if (pieces.size() != dimensionNames.size() + 1) {
      result.push_back(decoded);
      continue;
    }
    for (std::size_t i = 0; i < dimensionNames.size(); ++i) {
      const CFField* field = metadata.FindField(dimensionNames[i]);
      const std::string* label = field == nullptr ? nullptr : LabelOf(*field, pieces[i]);
      const CFField* base = field == nullptr ? nullptr : metadata.FindField(field->GetBaseField());
      if (label == nullptr || base == nullptr)
        continue;
      for (const CFValue& value : base->GetValues()) {
        if (base->GetStorage() == CFStorage::kString) {
          if (value.GetDatum().GetString() == *label) {
            decoded.push_back(*label);
            break;
          }
        } else if (value.GetLabel() == *label) {
          std::string text;
          if (value.GetDatum().ToString(text)) {
            decoded.push_back(text);
            break;
          }
        }
      }
    }
    if (const CFField* metric = metadata.FindField("metricField")) {
      if (const std::string* name = LabelOf(*metric, pieces.back()))
        decoded.push_back(*name);
    }
    result.push_back(decoded);
  }
}

bool AggregationChecked(const ValidSpec& spec, const ASSimpleContainer& jsonFile) {
  if (spec.timeType == "NONE")
    return true;
  if (spec.timeType != "DATESPEC")
    return false;
  std::string text;
  if (!ReadMember(jsonFile.getAbsolutePath(), "TSDPOutput.json", text))
    return false;
  JNIJSONObject json(text);
  if (!json.isGood())
    return false;
  const JNIJSONHandle settings = JNIJSONObject::get(json.getTop(), "settings");
  const JNIJSONHandle level =
      settings == nullptr ? nullptr : JNIJSONObject::get(settings, "aggreLevel");
  // intValue reads anything that is no integer as 0: only a number counts here.
  return level != nullptr && level->is_number() && level->get<double>() == 0.0;
}
