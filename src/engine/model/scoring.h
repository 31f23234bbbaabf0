// This file contains the scoring of a model system over a series panel: the result columns
// (predicted values, interval bounds, residuals) of the series asked for, with forecast rows.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "engine/model/model_system.h"
#include "engine/series/panel.h"

namespace engine::model {

struct ScoreOptions {
  bool fit = false;               // one-step predictions on the observed rows
  bool fit_interval = false;      // their interval: prediction +- z sigma
  bool fit_residual = false;      // observed - predicted
  int horizon = 0;                // forecast rows after the last time point (0: none)
  bool forecast_interval = false; // forecast +- z sqrt(Sigma(h)_jj)
  double confidence_level = 0.95;
};

// For each series of the system, its column in the panel, or -1: matched by dimension values
// and metric, else by series ID.
std::vector<std::ptrdiff_t> MatchPanel(const ModelSystem& system, const SeriesPanel& panel);

// The values of the system's series over the panel's time points (T x series), NaN where a
// series is not in the panel.
Eigen::MatrixXd SystemHistory(const ModelSystem& system, const SeriesPanel& panel,
                              const std::vector<std::ptrdiff_t>& panel_of_series);

// Result columns for MakeResultTable: "_predicted" always, "_LCI" and "_UCI" when an interval is
// asked, "_residual" when residuals are; (T + horizon) x panel series, filled for the series of
// `equations` (indexes into system.equations) and NaN elsewhere. Forecasts run the whole system,
// so a series forecasts from its inputs' forecasts.
std::vector<ResultColumn> ScoreSeries(const ModelSystem& system, const SeriesPanel& panel,
                                      const std::vector<std::ptrdiff_t>& panel_of_series,
                                      const std::vector<std::size_t>& equations,
                                      const ScoreOptions& options);

// A model system with the prepared data it scores.
struct ScoringData {
  ModelSystem system;
  SeriesPanel panel;
  std::vector<std::ptrdiff_t> panel_of_series; // MatchPanel
  std::string preparation_json; // the text of the TSDPOutput.json that describes the data
};

// Reads the model archive at `model_path` and lays `prepared` out as a panel. The preparation
// output is that of `preparation_json` when it is not empty, else the archive's copy; in both its
// time points and series are taken from the table (OutputForTable), so the model can score data
// other than those it was built on. Fails with the reason.
support::Result<ScoringData> LoadScoringData(const std::string& model_path,
                                             const std::string& preparation_json,
                                             const Table& prepared);

// The selected equations: the targets whose series the series arrays name (`include`) or do
// not name (otherwise); with `targets` false, the AR model series instead.
std::vector<std::size_t> SelectEquations(const ModelSystem& system, const support::Json* arrays,
                                         bool include, bool targets);

} // namespace engine::model
