// This file contains the model system (every series with its equation) and its building: the
// targets fitted in batches on a thread pool from one shared lagged design, then AR models for
// the inputs that are no target; and the re-estimation of a fixed structure.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "engine/model/equation.h"
#include "engine/model/lagged_design.h"

namespace engine::model {

// A series of the system, named as the prepared data name it.
struct SeriesRef {
  std::string id;                // coded series ID ("2-1-3")
  std::vector<std::string> dims; // true dimension values as text
  std::string metric;
  bool operator==(const SeriesRef&) const = default;
};

struct ModelSettings {
  int max_lag = 1;
  std::size_t max_inputs = 0;
  double epsilon = 1e-3;
  double confidence_level = 0.95;
  double significance_level = 0.05; // an input is an edge of the graph when its F p < this
};

struct ModelSystem {
  ModelSettings settings;
  std::vector<SeriesRef> series;   // every series that a model names
  std::vector<Equation> equations; // targets first, then the AR models of input series

  // The equation of a series (index into `series`), or -1.
  std::ptrdiff_t EquationOf(std::size_t series_index) const;
  // Index of the series with this ID, or -1.
  std::ptrdiff_t FindSeries(const std::string& id) const;
};

// One target's request: its series and the series it may or must take as inputs (indexes of
// the design's series).
struct TargetRequest {
  std::size_t series = 0;
  std::vector<std::size_t> forced;
  std::vector<std::size_t> candidates;
};

struct BuildOptions {
  SelectionOptions selection;
  std::size_t models_per_job = 100; // targets per task of the thread pool
  unsigned threads = 0;             // 0: hardware concurrency
};

struct BuildOutcome {
  std::vector<Equation> equations; // fitted targets in request order, then the AR models
  // Series that could not be fitted, with the reason.
  std::vector<std::pair<std::size_t, std::string>> failures;
};

// Selects and fits every target (batches of `models_per_job` targets are the tasks of the
// pool), then fits an AR(L) model for each series that some fitted target takes as an input and
// that is no fitted target itself. A target that cannot be fitted is left out with its reason.
BuildOutcome BuildEquations(const LaggedDesign& design, std::span<const TargetRequest> targets,
                            const BuildOptions& options);

// Refits every equation of `structure` with the same own lags and inputs on `design` (whose
// series are in the same order as the structure's). Equations that cannot be fitted are left
// out with their reason.
BuildOutcome RefitEquations(const LaggedDesign& design, std::span<const Equation> structure,
                            const BuildOptions& options);

// Defaults, chosen with the model benchmark (docs/model-building.md):
// the largest lag the automatic choice tries for T time points, min(6, max(1, T / 20));
int AutomaticLagCeiling(std::size_t time_count);
// the input limit for n fitted rows and lag L: as many blocks as keep about ten rows per
// coefficient, (n / 10 - 1 - L) / L, within 1..10.
std::size_t DefaultInputLimit(std::size_t rows, int lag);

// The automatic lag: each order 1..AutomaticLagCeiling(T) is tried on the same rows (those
// after the ceiling) for up to 25 targets spread over the list, with selection and fit as in
// BuildEquations (input limit `max_inputs`, or the default for each order when 0); the order with
// the smallest sum of the targets' BIC wins. `values` is T x series without missing values.
int ChooseLag(const Eigen::MatrixXd& values, std::span<const TargetRequest> targets,
              std::size_t max_inputs, const BuildOptions& options);

} // namespace engine::model
