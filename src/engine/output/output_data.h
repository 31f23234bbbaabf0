// This file contains what the output document is made from: the model system, its time axis,
// the names of its series, their observed and predicted values from the scored data stream,
// and the quality, outlier, root cause and scenario results when given.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "engine/data/table.h"
#include "engine/model/model_system.h"
#include "engine/output/output_config.h"
#include "engine/output/output_json.h"
#include "engine/series/panel.h"
#include "support/result.h"

namespace engine::output {

// How a series of the system is shown.
struct SeriesName {
  std::string key;    // dimension values then the metric, joined by "-": "east-sales"
  std::string text;   // the metric, then "-dimension:value" per dimension: "sales-region:east"
  std::string label;  // as `text`, with value labels where the data model has them
  Node composite;     // the composite text node of `text`, with `key`
};

// A series over the extended time axis (the time points, then the forecast periods); NaN where
// there is no value.
struct SeriesValues {
  std::vector<double> observed;
  std::vector<double> predicted;
  std::vector<double> lower;
  std::vector<double> upper;
  std::vector<double> residual;
};

// An outlier of a series, as the outlier detection reported it.
struct Outlier {
  std::size_t series = 0;       // index in the system's series
  std::ptrdiff_t period = -1;   // index on the axis, -1 when its time is not on it
  std::string time;             // the period's label
  double observed = model::kNaN;
  double predicted = model::kNaN;
  double probability = model::kNaN;
};

// What the outlier detection of one series reported about its points as a whole.
struct OutlierSummary {
  std::size_t series = 0;
  double assessed = model::kNaN;        // points assessed
  double flagged = model::kNaN;         // points over the threshold
  double expected_chance = model::kNaN; // points a series without outliers would flag
};

// One link of a cause's path to the target: series indices, -1 when not in the system.
struct PathLink {
  std::ptrdiff_t from = -1;
  std::ptrdiff_t to = -1;
  int lag = 0;
};

// One outlier of a root cause analysis with its causes, most likely first.
struct RootCause {
  std::size_t series = 0;
  double score = model::kNaN;
  double share = model::kNaN;  // the part of the outlier's deviation it explains, 0..1
  std::string time;            // when its anomalous innovation acted: the period's label
  int delay = 0;               // periods from then to the outlier
  bool is_target = false;      // the series' own innovation
  std::vector<PathLink> path;  // from the cause to the target, own lags left out
};
struct RootCauseOutlier {
  Outlier outlier;
  std::vector<RootCause> causes;
};
struct RootCauseResult {
  std::size_t target = 0;
  int generations = 3;
  std::vector<RootCauseOutlier> outliers;
};

// One series of a scenario run: its paths over the run's times (NaN where there is none).
struct ScenarioSeries {
  std::size_t series = 0;
  int generation = -1;  // 0 the root, -1 a given target the scenario does not reach
  bool is_target = false;
  double relative_effect = model::kNaN;
  double largest_effect = model::kNaN;
  std::vector<double> scenario;
  std::vector<double> baseline;
  std::vector<double> difference;
  std::vector<double> lower;  // empty without limits
  std::vector<double> upper;
};
struct ScenarioResult {
  std::string id;
  std::size_t root = 0;
  std::string start;     // period labels of the definition
  std::string end;
  std::string furthest;
  std::vector<double> substituted;  // one per time of [start, end]
  std::vector<std::string> times;   // the run's times, from the start to the furthest time
  int generations = 3;
  double confidence_level = model::kNaN;  // NaN without limits
  std::vector<ScenarioSeries> series;     // the root, its descendants, unreached targets
};

struct OutputData {
  model::ModelSystem system;
  support::Json preparation;  // the `output` object of TSDPOutput.json
  PanelAxis axis;
  std::vector<std::string> dim_fields;
  std::vector<std::string> metric_fields;
  std::size_t time_count = 0;  // T: the time points of the data
  std::size_t horizon = 0;     // forecast periods after them
  std::vector<std::string> period_labels;  // T + horizon
  std::string time_label;                  // the axis title: the time field, or "Period"
  std::vector<SeriesName> names;           // one per system series
  std::vector<SeriesValues> values;        // one per system series
  bool has_stream = false;                 // observed values came with the data stream
  Node data_dictionary;                    // the document's dataDictionary
  std::optional<support::Json> quality;    // TSDPQuality.json
  bool outliers_given = false;             // an outlier archive was read
  std::vector<Outlier> outliers;
  std::vector<OutlierSummary> outlier_summaries;  // one per series the outlier archive holds
  std::optional<RootCauseResult> root_causes;
  std::optional<ScenarioResult> scenario;

  // The series of the system named by a series array of `target` (values or coded ID), or -1.
  std::ptrdiff_t FindSeries(const std::vector<std::string>& pieces) const;
  // The equation of a series, or null.
  const model::Equation* EquationOf(std::size_t series) const;
};

// Reads the model system and the other archives and lays the stream (the scored data in the
// input's shape, in any row order) out per series. Series the stream does not predict are
// predicted and forecast from the model. Problems with optional archives become warnings.
support::Result<OutputData> LoadOutputData(const OutputConfig& config, const Table* stream,
                                           std::vector<std::string>& warnings);

}  // namespace engine::output
