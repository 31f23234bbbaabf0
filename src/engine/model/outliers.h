// This file contains outlier detection and root cause analysis on a model system: a target's
// deviation from the baseline forecast made several steps back, measured against the propagated
// innovation scales, and the decomposition of that deviation into the innovations of its
// ancestors since the baseline was made.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include <Eigen/Dense>

#include "engine/model/model_system.h"

namespace engine::model {

// Scale of values centred on zero, robust to a few huge ones: first 1.4826 x the median absolute
// deviation about the median; then the root mean square of the values within `cut` times that
// scale, corrected for the normal tails cut off. NaN with fewer than three finite values.
double RobustScale(std::span<const double> values, double cut);

// One-step innovations of every modeled series and their robust scales.
struct Innovations {
  Eigen::MatrixXd residual;  // T x series: observed - one-step prediction; NaN where none
  std::vector<double> scale; // per series; NaN for a series without an equation
};
// `cut` is the |z| beyond which an innovation is left out of its scale (flagged points). A scale
// is raised by sqrt(n / (n - k)) of its equation's fit, as residuals of the fitted rows understate
// the innovations' spread.
Innovations SystemInnovations(const ModelSystem& system, const Eigen::MatrixXd& history, double cut);

// The target's row of the moving-average weights, psi(s, a) = Psi_s^{(y,a)} for s < steps,
// from the recursion Psi_s = sum_{l=1..min(s,L)} Psi_{s-l} A_l read row-wise, and the
// variances Sigma(h)_yy = sum_{s<h} sum_a psi(s,a)^2 scale_a^2 for h = 1..steps.
struct TargetResponses {
  Eigen::MatrixXd psi;          // steps x series
  std::vector<double> variance; // [h - 1]
  bool complete = true;         // false: an ancestor has no equation, so no baseline exists
};
TargetResponses ResponsesOf(const ModelSystem& system, std::size_t target, int steps,
                            const std::vector<double>& scale);

// The lag at which an input acts, for the delay of the paths through it: its largest lag whose
// coefficient is significant at `level`; the most significant one when none is (the block entered
// the equation as a whole); without p values, its largest lag with a nonzero coefficient.
int InputLag(const InputBlock& block, double level);

// The number of baseline steps of `target` for a depth of `generations` in the graph: 1 + the
// longest delay of a walk of at most `generations` input edges into the target, each edge at its
// InputLag, so that an innovation whose effect takes any of those paths still falls after the
// baseline's origin. 1 for a target without inputs.
int BaselineSteps(const ModelSystem& system, std::size_t target, int generations);

// A flagged row: its baseline steps and deviation from the baseline.
struct FlaggedRow {
  Eigen::Index row = 0;
  int steps = 0;
  double deviation = 0;
};

struct OutlierEvent {
  Eigen::Index time = 0;  // row of the peak
  Eigen::Index first = 0; // rows of the run of flags that make the event
  Eigen::Index last = 0;
  int steps = 0;          // baseline steps used at the peak (fewer near the start of the data)
  double observed = 0;
  double baseline = 0;    // the forecast of the peak made `steps` rows earlier
  double z = 0;           // (observed - baseline) / sqrt(Sigma(steps)_yy)
  // 1 - the smaller of 2 Phi(-|z|) / 0.9 and 2 Phi(-|innovation_z|) / 0.1 (weighted Bonferroni
  // over the two tests); 2 Phi(|z|) - 1 when the baseline is one step back.
  double probability = 0;
  // The target's own one-step innovation at the peak over its scale: an anomalous one says the
  // target's own equation could not explain the value; a normal one, that the deviation came
  // through its inputs.
  double innovation_z = 0;
  std::vector<FlaggedRow> run; // the flagged rows of the event, in order
};

struct OutlierScan {
  std::vector<OutlierEvent> events;
  std::size_t assessed = 0; // rows with a baseline
  std::size_t flagged = 0;  // rows whose probability reached the threshold
  std::vector<Eigen::Index> flagged_rows;
  // What a series without outliers would flag by chance: (1 - threshold) x assessed.
  double expected_chance_flags = 0;
};

// Flags the rows of `target` whose probability of being an outlier reaches `threshold`: the
// observation against the baseline made as many steps earlier as `responses` has, or the
// target's own one-step innovation, the two tests sharing the chance flags (a tenth to the
// innovation's) so that a row is flagged by chance with probability at most 1 - threshold.
// Flags next to one another, or within the baseline's steps of one another and caused mostly by
// the same innovation, form one event, reported at its most improbable row.
OutlierScan DetectOutliers(const ModelSystem& system, const Eigen::MatrixXd& history,
                           const Innovations& innovations, const TargetResponses& responses,
                           std::size_t target, double threshold);

// One step of a path through the graph: `from` is an input of `to` at `lag`.
struct PathStep {
  std::size_t from = 0;
  std::size_t to = 0;
  int lag = 0;
};

struct RootCauseFinding {
  std::size_t series = 0;
  double contribution = 0;           // of its anomalous innovations to the deviation at the peak
  double share = 0;                  // contribution / deviation
  Eigen::Index innovation_time = 0;  // row of its largest anomalous innovation
  double innovation_z = 0;           // that innovation / the series' scale
  int delay = 0;                     // peak row - innovation row
  std::vector<PathStep> path;        // from the cause to the target; empty for the target itself
};

// The root causes of an outlier event of `target`: among the target and its ancestors within
// `generations` generations, the series with innovations that are anomalous at `threshold` in
// the baselines' windows, ranked by the share of the event's deviation (summed over its flagged
// rows that deviate in the direction of the peak) those innovations explain; only positive
// shares, at most `most`. A series' time is that of its innovation with the largest
// contribution, its delay the rows from there to the row where that contribution is largest.
// The path of each is the strongest walk of the graph (largest product of |coefficients|, own
// lags allowed along the way, at most `generations` input edges) whose lags add up to the delay.
std::vector<RootCauseFinding> ExplainOutlier(const ModelSystem& system,
                                             const Innovations& innovations,
                                             const TargetResponses& responses, std::size_t target,
                                             const OutlierEvent& event, int generations,
                                             double threshold, std::size_t most = 10);

} // namespace engine::model
