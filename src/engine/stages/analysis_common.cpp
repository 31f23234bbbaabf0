// This file contains the helpers of the analysis stages.
#include "engine/stages/analysis_common.h"

#include <algorithm>
#include <cmath>

#include "engine/model/stage_inputs.h"
#include "support/time.h"
#include "support/zip_archive.h"

namespace engine {

using support::Json;

bool ReadAnalysisFiles(const StageCall& call, const Script& script, const Json** config,
                       AnalysisFiles& files, MessageQueue& messages) {
  const std::string place = StagePlace(call);
  const Json* in = nullptr;
  const Json* out = nullptr;
  if (!ConfigurationAndFiles(call, script, true, config, &in, &out, messages))
    return false;
  files.model_path = model::ConfPath(*in, "InputTCMXML");
  if (files.model_path.empty())
    return messages.Error(place + "the input configuration names no 'InputTCMXML' model");
  files.output_path = model::ConfPath(*out, "TCMAnalysis");
  if (files.output_path.empty())
    return messages.Error(place + "the output configuration names no 'TCMAnalysis' archive");
  return true;
}

std::vector<std::size_t> NamedSeries(const model::ModelSystem& system, const Json& arrays) {
  std::vector<std::size_t> named = model::MatchSeriesArrays(&arrays, system.series);
  for (const Json& array : arrays) {
    if (!array.is_array())
      continue;
    std::string id;
    for (const Json& piece : array) {
      if (!piece.is_string()) {
        id.clear();
        break;
      }
      id += (id.empty() ? "" : "-") + piece.get<std::string>();
    }
    const std::ptrdiff_t found = id.empty() ? -1 : system.FindSeries(id);
    if (found >= 0 && std::find(named.begin(), named.end(), found) == named.end())
      named.push_back(static_cast<std::size_t>(found));
  }
  std::sort(named.begin(), named.end());
  return named;
}

Json SeriesKey(const model::SeriesRef& series) {
  Json key = Json::array();
  for (const std::string& value : series.dims)
    key.push_back(value);
  key.push_back(series.metric);
  return key;
}

void PutTime(const PanelAxis& axis, double point, Json& object, const std::string& key) {
  if (axis.IsCyclic()) {
    Json values = Json::array();
    for (std::int64_t value : axis.CyclicValues(point))
      values.push_back(value);
    object[key] = values;
    return;
  }
  object[key] = point;
  const auto seconds = static_cast<std::int64_t>(std::llround(point));
  object[key + "Text"] = axis.time_format == "date" ? support::FormatIsoDate(seconds)
                                                    : support::FormatIsoDateTime(seconds);
}

bool WriteMembers(const std::string& path, const std::vector<std::pair<std::string, Json>>& members,
                  const std::string& place, MessageQueue& messages) {
  support::ZipArchiveWriter writer;
  for (const auto& [name, document] : members) {
    auto text = support::DumpJson(document);
    if (!text)
      return messages.Error(place + text.message());
    if (auto added = writer.AddText(name, *text); !added)
      return messages.Error(place + added.message());
  }
  if (auto written = writer.WriteTo(path); !written)
    return messages.Error(place + written.message());
  return true;
}

} // namespace engine
