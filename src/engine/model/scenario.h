// This file contains scenario runs on a model system: a root series set to given values over a
// period (an intervention that cuts its own equation there), the system run forward through the
// root's descendants, the baseline run without the intervention, and the error variances of the
// scenario path.
#pragma once

#include <cstddef>
#include <vector>

#include <Eigen/Dense>

#include "engine/model/model_system.h"

namespace engine::model {

// The generation of every series below `root`: 0 for the root, g for a series whose shortest
// chain of input edges from the root has g edges (own lags are no edge), -1 for a series that
// is no descendant within `generations`.
std::vector<int> DescendantGenerations(const ModelSystem& system, std::size_t root,
                                       int generations);

// Rows are those of the data (0..T-1) continued beyond the last observation (T, T+1, ...).
struct ScenarioRequest {
  std::size_t root = 0;
  Eigen::Index start = 0;    // first row of the period; at least the maximum lag
  Eigen::Index end = 0;      // last row of the period
  Eigen::Index furthest = 0; // last row of the run, at least `end`
  std::vector<double> values; // end - start + 1 values of the root over the period
  int generations = 3;
  bool variances = false;
};

// Both runs from `start` to `furthest` (rows start..furthest x series). From `start` the series
// of generation 1..G are computed from their equations, and so is the root after the period
// (the cut holds over the period only, so the root's own lags carry the intervention on);
// the root is `values` over the period in the scenario and its own values in the baseline;
// every other series keeps its observed value in the data and its forecast beyond.
struct ScenarioRun {
  std::vector<int> generation; // DescendantGenerations
  Eigen::MatrixXd scenario;
  Eigen::MatrixXd baseline;
  // Error variance of the scenario path: of the innovations since the start (since the last
  // observation when the period lies beyond it) of every series that is not held fixed, the
  // root's being zero over the period and the observed series' zero in the data; for a series
  // that is not computed, 0 in the data and its forecast's beyond. Empty unless asked; NaN
  // where the path is.
  Eigen::MatrixXd variance;
};

// `history` is T x series (NaN = missing), the request checked by the caller.
ScenarioRun RunScenario(const ModelSystem& system, const Eigen::MatrixXd& history,
                        const ScenarioRequest& request);

// The size of an effect relative to the series' scale: the largest |scenario - baseline| over
// the run divided by the standard deviation of the series in the data (0 when it has none).
std::vector<double> RelativeEffects(const ScenarioRun& run, const Eigen::MatrixXd& history);

// The automatic targets: the descendants (generation >= 1) with a nonzero relative effect, the
// largest first, at most `most`.
std::vector<std::size_t> MostAffected(const ScenarioRun& run, const std::vector<double>& relative,
                                      std::size_t most);

} // namespace engine::model
