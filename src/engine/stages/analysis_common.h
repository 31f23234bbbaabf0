// This file contains what the analysis stages (`tcm:od`, `tcm:rca`, `tcm:sa`) share: their model
// and result archives, the series their arrays name, and the way they write series and times.
#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "engine/job/messages.h"
#include "engine/model/model_system.h"
#include "engine/series/panel.h"
#include "engine/stages/stage.h"
#include "support/json_util.h"

namespace engine {

struct AnalysisFiles {
  std::string model_path;  // "InputTCMXML" of the input list
  std::string output_path; // "TCMAnalysis" of the output list
};

// The configuration object and both archives of an analysis call. False after reporting.
bool ReadAnalysisFiles(const StageCall& call, const Script& script, const support::Json** config,
                       AnalysisFiles& files, MessageQueue& messages);

// The series that the arrays name: by dimension values and metric, or, for data sent encoded,
// by the coded series ID the pieces make. Ascending.
std::vector<std::size_t> NamedSeries(const model::ModelSystem& system, const support::Json& arrays);

// A series as its array: dimension values, then the metric.
support::Json SeriesKey(const model::SeriesRef& series);

// A time point as the output reads it under `key`: seconds for dates (with `key` + "Text", ISO),
// the cyclic field values for cyclic data.
void PutTime(const PanelAxis& axis, double point, support::Json& object, const std::string& key);

// Writes the members (name, document) as a new archive at `path`. False after reporting.
bool WriteMembers(const std::string& path,
                  const std::vector<std::pair<std::string, support::Json>>& members,
                  const std::string& place, MessageQueue& messages);

} // namespace engine
