// This file contains outlier detection against the several-step baseline and the root cause
// decomposition of an outlier into the innovations of the target's ancestors.
#include "engine/model/outliers.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "engine/model/distributions.h"
#include "engine/model/forecast.h"

namespace engine::model {
namespace {

// The part of the chance flags given to the target's own innovation when it has inputs: a shock
// of its own stands out against the one-step scale, the smallest there is, so a small part
// suffices, and the baseline's test keeps nearly all its power (|z| 1.96 -> 2.00 at 95%).
constexpr double kInnovationShare = 0.1;

double Median(std::vector<double>& values) {
  const std::size_t middle = values.size() / 2;
  std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(middle),
                   values.end());
  double median = values[middle];
  if (values.size() % 2 == 0) {
    median = 0.5 * (median + *std::max_element(values.begin(),
                                               values.begin() + static_cast<std::ptrdiff_t>(middle)));
  }
  return median;
}

// The |z| that a probability of `threshold` needs: z_{(1+c)/2}.
double CriticalZ(double threshold) {
  return NormalQuantile(0.5 * (1.0 + threshold));
}

// The equation of each series, or -1.
std::vector<std::ptrdiff_t> EquationIndex(const ModelSystem& system) {
  std::vector<std::ptrdiff_t> index(system.series.size(), -1);
  for (std::size_t e = 0; e < system.equations.size(); ++e)
    index[system.equations[e].series] = static_cast<std::ptrdiff_t>(e);
  return index;
}

// The innovation (series, row) that contributes most to the deviation at `row`.
std::pair<std::size_t, Eigen::Index> DominantInnovation(const Innovations& innovations,
                                                        const TargetResponses& responses,
                                                        Eigen::Index row, int steps) {
  std::pair<std::size_t, Eigen::Index> best{0, -1};
  double largest = -1;
  for (int s = 0; s < steps; ++s) {
    for (Eigen::Index a = 0; a < responses.psi.cols(); ++a) {
      const double weight = responses.psi(s, a);
      if (weight == 0)
        continue;
      const double part = std::fabs(weight * innovations.residual(row - s, a));
      if (part > largest) {
        largest = part;
        best = {static_cast<std::size_t>(a), row - s};
      }
    }
  }
  return best;
}

// The strongest walk from `cause` to `target` whose lags add up to `delay` with at most
// `max_edges` input edges (own lags are free steps); empty when there is none.
std::vector<PathStep> StrongestPath(const ModelSystem& system,
                                    const std::vector<std::ptrdiff_t>& equation_of,
                                    const std::vector<std::size_t>& nodes, std::size_t cause,
                                    std::size_t target, int delay, int max_edges) {
  const std::size_t k = nodes.size();
  std::vector<std::ptrdiff_t> local(equation_of.size(), -1);
  for (std::size_t i = 0; i < k; ++i)
    local[nodes[i]] = static_cast<std::ptrdiff_t>(i);
  const std::ptrdiff_t from = local[cause];
  const std::ptrdiff_t to = local[target];
  if (from < 0 || to < 0 || delay < 0)
    return {};
  const std::size_t layers = static_cast<std::size_t>(max_edges) + 1;
  const auto at = [&](int d, std::size_t g, std::size_t node) {
    return (static_cast<std::size_t>(d) * layers + g) * k + node;
  };
  struct Back {
    std::ptrdiff_t node = -1;
    std::size_t edges = 0;
    int lag = 0;
  };
  const std::size_t size = static_cast<std::size_t>(delay + 1) * layers * k;
  std::vector<double> best(size, 0.0);
  std::vector<Back> back(size);
  best[at(0, 0, static_cast<std::size_t>(from))] = 1.0;
  const int lags = system.settings.max_lag;
  for (int d = 1; d <= delay; ++d) {
    for (std::size_t node = 0; node < k; ++node) {
      const std::ptrdiff_t e = equation_of[nodes[node]];
      if (e < 0)
        continue;
      for (const InputBlock& block : system.equations[static_cast<std::size_t>(e)].blocks) {
        const std::ptrdiff_t source = local[block.series];
        if (source < 0)
          continue;
        const std::size_t step = block.series == nodes[node] ? 0 : 1;
        for (int l = 1; l <= lags && l <= d; ++l) {
          const double weight = std::fabs(block.coefficients[static_cast<std::size_t>(l - 1)]);
          for (std::size_t g = 0; g + step < layers; ++g) {
            const double value = best[at(d - l, g, static_cast<std::size_t>(source))] * weight;
            double& slot = best[at(d, g + step, node)];
            if (value > slot) {
              slot = value;
              back[at(d, g + step, node)] = {source, g, l};
            }
          }
        }
      }
    }
  }
  std::size_t edges = 0;
  for (std::size_t g = 1; g < layers; ++g) {
    if (best[at(delay, g, static_cast<std::size_t>(to))] >
        best[at(delay, edges, static_cast<std::size_t>(to))]) {
      edges = g;
    }
  }
  if (best[at(delay, edges, static_cast<std::size_t>(to))] <= 0)
    return {};
  std::vector<PathStep> path;
  std::size_t node = static_cast<std::size_t>(to);
  for (int d = delay; d > 0;) {
    const Back link = back[at(d, edges, node)];
    const std::size_t source = static_cast<std::size_t>(link.node);
    if (nodes[source] != nodes[node])
      path.push_back({nodes[source], nodes[node], link.lag});
    d -= link.lag;
    edges = link.edges;
    node = source;
  }
  std::reverse(path.begin(), path.end());
  return path;
}

} // namespace

double RobustScale(std::span<const double> values, double cut) {
  std::vector<double> finite;
  for (double value : values) {
    if (std::isfinite(value))
      finite.push_back(value);
  }
  if (finite.size() < 3)
    return kNaN;
  std::vector<double> deviations = finite;
  const double center = Median(deviations);
  for (double& value : deviations)
    value = std::fabs(value - center);
  double scale = 1.4826 * Median(deviations);
  if (!(scale > 0)) {
    // More than half the values equal: the spread of the rest is all there is.
    double sum = 0;
    for (double value : finite)
      sum += value * value;
    return std::sqrt(sum / static_cast<double>(finite.size()));
  }
  // Reweighted: the mean square within the cut is far more efficient than the MAD; dividing by
  // the truncated normal's second moment keeps it consistent.
  double sum = 0;
  std::size_t kept = 0;
  for (double value : finite) {
    if (std::fabs(value) <= cut * scale) {
      sum += value * value;
      ++kept;
    }
  }
  const double inside = 2.0 * NormalCdf(cut) - 1.0;
  const double density = std::exp(-0.5 * cut * cut) / std::sqrt(2.0 * std::numbers::pi);
  const double moment = 1.0 - 2.0 * cut * density / inside;
  if (kept < 3 || !(moment > 0))
    return scale;
  return std::sqrt(sum / static_cast<double>(kept) / moment);
}

Innovations SystemInnovations(const ModelSystem& system, const Eigen::MatrixXd& history,
                              double cut) {
  Innovations innovations;
  innovations.residual = history - OneStepPredictions(system, history);
  innovations.scale.assign(system.series.size(), kNaN);
  for (const Equation& equation : system.equations) {
    const auto column = innovations.residual.col(static_cast<Eigen::Index>(equation.series));
    const std::vector<double> values(column.begin(), column.end());
    double scale = RobustScale(values, cut);
    // Residuals of the rows a model was fitted on are smaller than its innovations: the k fitted
    // coefficients take n - k of the n rows' variance. On other rows this errs on the safe side.
    const FitStats& fit = equation.stats;
    if (fit.k > 0 && fit.n > fit.k)
      scale *= std::sqrt(static_cast<double>(fit.n) / static_cast<double>(fit.n - fit.k));
    innovations.scale[equation.series] = scale;
  }
  return innovations;
}

TargetResponses ResponsesOf(const ModelSystem& system, std::size_t target, int steps,
                            const std::vector<double>& scale) {
  const std::vector<std::ptrdiff_t> equation_of = EquationIndex(system);
  const Eigen::Index n = static_cast<Eigen::Index>(system.series.size());
  const int lags = system.settings.max_lag;
  TargetResponses responses;
  responses.psi = Eigen::MatrixXd::Zero(steps, n);
  if (steps <= 0)
    return responses;
  responses.psi(0, static_cast<Eigen::Index>(target)) = 1.0;
  for (int s = 1; s < steps; ++s) {
    for (int l = 1; l <= std::min(s, lags); ++l) {
      for (Eigen::Index e = 0; e < n; ++e) {
        const double weight = responses.psi(s - l, e);
        const std::ptrdiff_t equation = equation_of[static_cast<std::size_t>(e)];
        if (weight == 0 || equation < 0)
          continue;
        for (const InputBlock& block : system.equations[static_cast<std::size_t>(equation)].blocks) {
          responses.psi(s, static_cast<Eigen::Index>(block.series)) +=
              weight * block.coefficients[static_cast<std::size_t>(l - 1)];
        }
      }
    }
  }
  double variance = 0;
  for (int s = 0; s < steps; ++s) {
    for (Eigen::Index a = 0; a < n; ++a) {
      const double weight = responses.psi(s, a);
      if (weight == 0)
        continue;
      if (equation_of[static_cast<std::size_t>(a)] < 0)
        responses.complete = false;
      variance += weight * weight * scale[static_cast<std::size_t>(a)] *
                  scale[static_cast<std::size_t>(a)];
    }
    responses.variance.push_back(variance);
  }
  return responses;
}

int InputLag(const InputBlock& block, double level) {
  int largest = 0;
  int nonzero = 0;
  int best = 0;
  double smallest = 2;
  for (std::size_t l = 0; l < block.coefficients.size(); ++l) {
    const int lag = static_cast<int>(l) + 1;
    if (block.coefficients[l] != 0)
      nonzero = lag;
    const double p = l < block.p_values.size() ? block.p_values[l] : kNaN;
    if (!std::isfinite(p))
      continue;
    if (p < level)
      largest = lag;
    if (p < smallest) {
      smallest = p;
      best = lag;
    }
  }
  if (largest > 0)
    return largest;
  return best > 0 ? best : std::max(1, nonzero);
}

int BaselineSteps(const ModelSystem& system, std::size_t target, int generations) {
  const std::vector<std::ptrdiff_t> equation_of = EquationIndex(system);
  // The longest delay of a walk of exactly g edges ending at the target, per start, g = 0, 1, ...
  std::vector<int> delay(system.series.size(), -1);
  delay[target] = 0;
  int longest = 0;
  for (int g = 0; g < generations; ++g) {
    std::vector<int> next(delay.size(), -1);
    for (std::size_t node = 0; node < delay.size(); ++node) {
      const std::ptrdiff_t e = equation_of[node];
      if (delay[node] < 0 || e < 0)
        continue;
      for (const InputBlock& block : system.equations[static_cast<std::size_t>(e)].blocks) {
        if (block.series == node)
          continue;
        const int reach = delay[node] + InputLag(block, system.settings.significance_level);
        next[block.series] = std::max(next[block.series], reach);
        longest = std::max(longest, reach);
      }
    }
    delay = std::move(next);
  }
  return longest + 1;
}

OutlierScan DetectOutliers(const ModelSystem& system, const Eigen::MatrixXd& history,
                           const Innovations& innovations, const TargetResponses& responses,
                           std::size_t target, double threshold) {
  OutlierScan scan;
  if (!responses.complete || responses.psi.rows() == 0)
    return scan;
  const int lags = system.settings.max_lag;
  const int most_steps = static_cast<int>(responses.psi.rows());
  const Eigen::Index column = static_cast<Eigen::Index>(target);
  // The nonzero weights per step, so a row costs what the ancestry has.
  std::vector<std::vector<Eigen::Index>> active(static_cast<std::size_t>(most_steps));
  for (int s = 0; s < most_steps; ++s) {
    for (Eigen::Index a = 0; a < responses.psi.cols(); ++a) {
      if (responses.psi(s, a) != 0)
        active[static_cast<std::size_t>(s)].push_back(a);
    }
  }
  struct Flag {
    OutlierEvent event;
    std::pair<std::size_t, Eigen::Index> cause;
    double tail = 1; // the adjusted probability of a value as extreme by chance
  };
  std::vector<Flag> flags;
  const double scale = innovations.scale[target];
  for (Eigen::Index row = lags; row < history.rows(); ++row) {
    const int steps = static_cast<int>(std::min<Eigen::Index>(most_steps, row - lags + 1));
    double deviation = 0;
    for (int s = 0; s < steps; ++s) {
      for (Eigen::Index a : active[static_cast<std::size_t>(s)])
        deviation += responses.psi(s, a) * innovations.residual(row - s, a);
    }
    const double sd = std::sqrt(responses.variance[static_cast<std::size_t>(steps - 1)]);
    if (!std::isfinite(deviation) || !(sd > 0))
      continue;
    ++scan.assessed;
    // Two tests share the chance flags (weighted Bonferroni): the observation against the
    // baseline, and the target's own innovation against its one-step prediction.
    const double innovation = innovations.residual(row, column);
    const double share = steps > 1 ? kInnovationShare : 0.0;
    const double baseline_tail = 2.0 * NormalCdf(-std::fabs(deviation / sd)) / (1.0 - share);
    const double innovation_tail =
        share > 0 ? 2.0 * NormalCdf(-std::fabs(innovation / scale)) / share : 2.0;
    const double tail = std::min(1.0, std::min(baseline_tail, innovation_tail));
    if (1.0 - tail < threshold)
      continue;
    // Either way the outlier is shown against the baseline, whose deviation the root causes split.
    OutlierEvent event;
    event.time = event.first = event.last = row;
    event.steps = steps;
    event.observed = history(row, column);
    event.baseline = event.observed - deviation;
    event.z = deviation / sd;
    event.probability = 1.0 - tail;
    event.innovation_z = innovation / scale;
    event.run.push_back({row, steps, deviation});
    ++scan.flagged;
    scan.flagged_rows.push_back(row);
    flags.push_back({event, DominantInnovation(innovations, responses, row, steps), tail});
  }
  scan.expected_chance_flags = (1.0 - threshold) * static_cast<double>(scan.assessed);
  // One shock makes a run of flags: adjacent ones, or ones a few rows apart that the same
  // innovation dominates (its response can dip below the threshold in between).
  double peak_tail = 1;
  for (std::size_t i = 0; i < flags.size(); ++i) {
    const Flag& flag = flags[i];
    if (i > 0) {
      const Flag& previous = flags[i - 1];
      const Eigen::Index gap = flag.event.time - previous.event.time;
      if (gap == 1 || (gap < most_steps && flag.cause == previous.cause)) {
        OutlierEvent& event = scan.events.back();
        std::vector<FlaggedRow> run = std::move(event.run);
        run.push_back(flag.event.run.front());
        if (flag.tail < peak_tail ||
            (flag.tail == peak_tail && std::fabs(flag.event.z) > std::fabs(event.z))) {
          const Eigen::Index first = event.first;
          event = flag.event;
          event.first = first;
          peak_tail = flag.tail;
        }
        event.last = flag.event.time;
        event.run = std::move(run);
        continue;
      }
    }
    scan.events.push_back(flag.event);
    peak_tail = flag.tail;
  }
  return scan;
}

std::vector<RootCauseFinding> ExplainOutlier(const ModelSystem& system,
                                             const Innovations& innovations,
                                             const TargetResponses& responses, std::size_t target,
                                             const OutlierEvent& event, int generations,
                                             double threshold, std::size_t most) {
  const std::vector<std::ptrdiff_t> equation_of = EquationIndex(system);
  // The target and its ancestors within `generations` input edges, nearest first.
  std::vector<std::size_t> nodes{target};
  std::vector<int> depth(system.series.size(), -1);
  depth[target] = 0;
  for (std::size_t next = 0; next < nodes.size(); ++next) {
    const std::size_t node = nodes[next];
    const std::ptrdiff_t e = equation_of[node];
    if (e < 0 || depth[node] >= generations)
      continue;
    for (const InputBlock& block : system.equations[static_cast<std::size_t>(e)].blocks) {
      if (depth[block.series] < 0) {
        depth[block.series] = depth[node] + 1;
        nodes.push_back(block.series);
      }
    }
  }
  // The rows of the event that deviate in the direction of its peak, and their deviation.
  const double direction = event.observed >= event.baseline ? 1.0 : -1.0;
  std::vector<FlaggedRow> rows;
  double deviation = 0;
  for (const FlaggedRow& row : event.run) {
    if (row.deviation * direction > 0) {
      rows.push_back(row);
      deviation += row.deviation;
    }
  }
  const double critical = CriticalZ(threshold);
  std::vector<RootCauseFinding> findings;
  if (!(std::fabs(deviation) > 0))
    return findings;
  // Per anomalous innovation (by row) its summed contribution and the row it moves most.
  struct Part {
    Eigen::Index row = 0;
    double sum = 0;
    double largest = 0;
    Eigen::Index peak_row = 0;
  };
  for (std::size_t series : nodes) {
    const double scale = innovations.scale[series];
    if (!(scale > 0))
      continue;
    const Eigen::Index column = static_cast<Eigen::Index>(series);
    std::vector<Part> parts;
    for (const FlaggedRow& row : rows) {
      for (int s = 0; s < row.steps && s < responses.psi.rows(); ++s) {
        const double weight = responses.psi(s, column);
        const double innovation = innovations.residual(row.row - s, column);
        if (weight == 0 || !(std::fabs(innovation / scale) >= critical))
          continue;
        auto part = std::find_if(parts.begin(), parts.end(),
                                 [&](const Part& p) { return p.row == row.row - s; });
        if (part == parts.end())
          part = parts.insert(parts.end(), Part{row.row - s, 0, 0, row.row});
        part->sum += weight * innovation;
        if (std::fabs(weight * innovation) > part->largest) {
          part->largest = std::fabs(weight * innovation);
          part->peak_row = row.row;
        }
      }
    }
    if (parts.empty())
      continue;
    RootCauseFinding finding;
    finding.series = series;
    const Part* main = &parts.front();
    for (const Part& part : parts) {
      finding.contribution += part.sum;
      if (std::fabs(part.sum) > std::fabs(main->sum))
        main = &part;
    }
    finding.share = finding.contribution / deviation;
    finding.innovation_time = main->row;
    finding.innovation_z = innovations.residual(main->row, column) / scale;
    finding.delay = static_cast<int>(main->peak_row - main->row);
    if (finding.share > 0)
      findings.push_back(std::move(finding));
  }
  std::stable_sort(findings.begin(), findings.end(),
                   [](const RootCauseFinding& a, const RootCauseFinding& b) {
                     return a.share > b.share;
                   });
  if (findings.size() > most)
    findings.resize(most);
  for (RootCauseFinding& finding : findings) {
    if (finding.series == target)
      continue;
    finding.path = StrongestPath(system, equation_of, nodes, finding.series, target, finding.delay,
                                 generations);
    if (finding.path.empty()) {
      finding.path = StrongestPath(system, equation_of, nodes, finding.series, target,
                                   finding.delay, std::max(generations, finding.delay));
    }
  }
  return findings;
}

} // namespace engine::model
