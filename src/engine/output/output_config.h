// This file contains the settings of the output component: the artefacts asked for, the
// formats and counts of outputConf, and the archives that inputCons and outputCons name.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "support/json_util.h"
#include "support/result.h"

namespace engine::output {

// One artefact asked for: its name and, by artefact, the statistics of the quality plots, the
// series of a per-series artefact (each the texts of its key) and the depth of a diagram.
struct Artifact {
  std::string name;
  std::vector<std::string> model_quality;
  bool has_target = false;
  std::vector<std::vector<std::string>> target;
  std::optional<int> level;
};

struct OutputConfig {
  std::vector<Artifact> artifacts;
  std::string locale;
  std::string date_format = "yyyy-MM-dd";
  std::string time_format = "hh:mm:ss";
  int forecasted = 0;
  std::optional<int> top_model;          // the outlier table keeps the best N models only
  std::optional<int> top_model_percent;  // or the best percent of them
  bool is_encoded = false;               // series texts are coded IDs rather than values
  std::string fit_statistic = "RMSPE";   // the statistic that ranks the models of the graph

  // Archives, by their logical names; empty when not given.
  std::string quality_path;     // "TSDP": the preparation's quality report
  std::string model_path;       // "TCM": the model system
  std::string outlier_path;     // "TCMOD"
  std::string root_cause_path;  // "TCMRCA"
  std::string scenario_path;    // "TCMSA"
  std::string output_path;      // "tcmStatJson" (or the one output entry)
};

// Every artefact name the component knows, in the order of the document's sections.
const std::vector<std::string_view>& KnownArtifacts();

// Reads outputConf, inputCons and outputCons. Fails, naming the key, on an unknown artefact, a
// key of the wrong type, a missing model system or a missing output.
support::Result<OutputConfig> ReadOutputConfig(const support::Json& conf,
                                               const support::Json& inputs,
                                               const support::Json& outputs);

}  // namespace engine::output
