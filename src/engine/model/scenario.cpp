// This file contains scenario runs: the intervened and the baseline path, and the scenario
// path's error variances.
#include "engine/model/scenario.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include <Eigen/Sparse>

#include "engine/model/forecast.h"

namespace engine::model {
namespace {

// c + sum_l A_l x_{t-l} of one equation on `path`.
double EquationValue(const Equation& equation, const Eigen::MatrixXd& path, Eigen::Index t,
                     int lags) {
  double value = equation.intercept;
  for (const InputBlock& block : equation.blocks) {
    const Eigen::Index source = static_cast<Eigen::Index>(block.series);
    for (int l = 1; l <= lags; ++l)
      value += block.coefficients[static_cast<std::size_t>(l - 1)] * path(t - l, source);
  }
  return value;
}

// The series whose errors reach the computed ones: those series and all their ancestors.
std::vector<std::size_t> AncestorClosure(const ModelSystem& system, std::vector<std::size_t> set) {
  std::vector<bool> in(system.series.size(), false);
  for (std::size_t s : set)
    in[s] = true;
  for (std::size_t next = 0; next < set.size(); ++next) {
    const std::ptrdiff_t e = system.EquationOf(set[next]);
    if (e < 0)
      continue;
    for (const InputBlock& block : system.equations[static_cast<std::size_t>(e)].blocks) {
      if (!in[block.series]) {
        in[block.series] = true;
        set.push_back(block.series);
      }
    }
  }
  std::sort(set.begin(), set.end());
  return set;
}

// The covariance of the stacked errors (e_t, ..., e_{t-L+1}) of the `members` carried forward row
// by row: e_t = sum_l B_l e_{t-l} + u_t for the series not held fixed at t, 0 for the others.
// Fills run.variance for the rows from the request's start.
// The other series keep their observed values (no error) and their forecasts (the forecast's
// error, `forecast` from the last observation on).
void ScenarioVariances(const ModelSystem& system, const ScenarioRequest& request,
                       Eigen::Index observed, const std::vector<bool>& computed,
                       const Eigen::MatrixXd& forecast, ScenarioRun& run) {
  const int lags = system.settings.max_lag;
  const Eigen::Index rows = request.furthest - request.start + 1;
  run.variance = Eigen::MatrixXd::Zero(rows, static_cast<Eigen::Index>(system.series.size()));
  for (Eigen::Index t = std::max(request.start, observed); t <= request.furthest; ++t)
    run.variance.row(t - request.start) = forecast.row(t - observed);
  std::vector<std::size_t> seeds;
  for (std::size_t s = 0; s < computed.size(); ++s) {
    if (computed[s] || s == request.root)
      seeds.push_back(s);
  }
  const std::vector<std::size_t> members = AncestorClosure(system, seeds);
  const Eigen::Index m = static_cast<Eigen::Index>(members.size());
  std::vector<Eigen::Index> local(system.series.size(), -1);
  for (Eigen::Index k = 0; k < m; ++k)
    local[members[static_cast<std::size_t>(k)]] = k;

  // B = [B_1 .. B_L] over the members; a series without a usable variance taints its dependents.
  std::vector<Eigen::Triplet<double>> entries;
  Eigen::VectorXd sigma2 = Eigen::VectorXd::Zero(m);
  std::vector<bool> tainted(static_cast<std::size_t>(m), false);
  for (Eigen::Index k = 0; k < m; ++k) {
    const std::ptrdiff_t e = system.EquationOf(members[static_cast<std::size_t>(k)]);
    if (e < 0) {
      tainted[static_cast<std::size_t>(k)] = true;
      continue;
    }
    const Equation& equation = system.equations[static_cast<std::size_t>(e)];
    sigma2(k) = equation.stats.sigma2;
    if (!std::isfinite(sigma2(k))) {
      sigma2(k) = 0;
      tainted[static_cast<std::size_t>(k)] = true;
    }
    for (const InputBlock& block : equation.blocks) {
      for (int l = 1; l <= lags; ++l) {
        entries.emplace_back(k, (l - 1) * m + local[block.series],
                             block.coefficients[static_cast<std::size_t>(l - 1)]);
      }
    }
  }
  Eigen::SparseMatrix<double, Eigen::RowMajor> b(m, m * lags);
  b.setFromTriplets(entries.begin(), entries.end());
  for (bool changed = true; changed;) {
    changed = false;
    for (Eigen::Index k = 0; k < m; ++k) {
      if (tainted[static_cast<std::size_t>(k)])
        continue;
      for (Eigen::SparseMatrix<double, Eigen::RowMajor>::InnerIterator it(b, k); it; ++it) {
        if (tainted[static_cast<std::size_t>(it.col() % m)]) {
          tainted[static_cast<std::size_t>(k)] = changed = true;
          break;
        }
      }
    }
  }

  const Eigen::Index state = m * lags;
  const Eigen::Index kept = m * (lags - 1);
  Eigen::MatrixXd covariance = Eigen::MatrixXd::Zero(state, state);
  // Before the start only the rows beyond the data are uncertain, and then every series is.
  for (Eigen::Index t = std::min(request.start, observed); t <= request.furthest; ++t) {
    Eigen::VectorXd active(m);
    for (Eigen::Index k = 0; k < m; ++k) {
      const std::size_t s = members[static_cast<std::size_t>(k)];
      const bool fixed_root = s == request.root && t >= request.start && t <= request.end;
      const bool runs = t >= request.start && (computed[s] || (s == request.root && t > request.end));
      active(k) = !fixed_root && (runs || t >= observed) ? 1.0 : 0.0;
    }
    const Eigen::MatrixXd cross = active.asDiagonal() * (b * covariance); // Cov(e_t, e_{t-k})
    Eigen::MatrixXd current = cross * b.transpose() * active.asDiagonal();
    current.diagonal() += active.cwiseProduct(sigma2);
    Eigen::MatrixXd next(state, state);
    next.topLeftCorner(m, m) = current;
    if (lags > 1) {
      next.topRightCorner(m, kept) = cross.leftCols(kept);
      next.bottomLeftCorner(kept, m) = cross.leftCols(kept).transpose();
      next.bottomRightCorner(kept, kept) = covariance.topLeftCorner(kept, kept);
    }
    covariance = std::move(next);
    if (t < request.start)
      continue;
    for (Eigen::Index k = 0; k < m; ++k) {
      const Eigen::Index column = static_cast<Eigen::Index>(members[static_cast<std::size_t>(k)]);
      run.variance(t - request.start, column) =
          tainted[static_cast<std::size_t>(k)] ? kNaN : current(k, k);
    }
  }
  run.variance = (run.scenario.array().isFinite()).select(run.variance, kNaN);
}

} // namespace

std::vector<int> DescendantGenerations(const ModelSystem& system, std::size_t root,
                                       int generations) {
  std::vector<std::vector<std::size_t>> children(system.series.size());
  for (const Equation& equation : system.equations) {
    for (const InputBlock& block : equation.blocks) {
      if (!block.own && block.series != equation.series)
        children[block.series].push_back(equation.series);
    }
  }
  std::vector<int> generation(system.series.size(), -1);
  generation[root] = 0;
  std::vector<std::size_t> order{root};
  for (std::size_t next = 0; next < order.size(); ++next) {
    const std::size_t node = order[next];
    if (generation[node] >= generations)
      continue;
    for (std::size_t child : children[node]) {
      if (generation[child] < 0) {
        generation[child] = generation[node] + 1;
        order.push_back(child);
      }
    }
  }
  return generation;
}

ScenarioRun RunScenario(const ModelSystem& system, const Eigen::MatrixXd& history,
                        const ScenarioRequest& request) {
  const int lags = system.settings.max_lag;
  const Eigen::Index observed = history.rows();
  const Eigen::Index width = static_cast<Eigen::Index>(system.series.size());
  const Eigen::Index length = request.furthest + 1;
  ScenarioRun run;
  run.generation = DescendantGenerations(system, request.root, request.generations);
  std::vector<bool> computed(system.series.size(), false);
  for (std::size_t s = 0; s < computed.size(); ++s)
    computed[s] = run.generation[s] >= 1;

  // The values of the series that are not computed: observed, then forecast.
  Eigen::MatrixXd base = Eigen::MatrixXd::Constant(length, width, kNaN);
  const Eigen::Index kept = std::min(observed, length);
  base.topRows(kept) = history.topRows(kept);
  SystemForecast forecast;
  if (length > observed) {
    forecast = ForecastSystem(system, history, static_cast<int>(length - observed));
    base.bottomRows(length - observed) = forecast.mean;
  }
  Eigen::MatrixXd scenario = base;
  Eigen::MatrixXd& baseline = base;
  for (Eigen::Index t = request.start; t <= request.furthest; ++t) {
    for (const Equation& equation : system.equations) {
      const std::size_t s = equation.series;
      if (computed[s] || (s == request.root && t > request.end)) {
        const Eigen::Index column = static_cast<Eigen::Index>(s);
        scenario(t, column) = EquationValue(equation, scenario, t, lags);
        baseline(t, column) = EquationValue(equation, baseline, t, lags);
      }
    }
    if (t <= request.end) {
      scenario(t, static_cast<Eigen::Index>(request.root)) =
          request.values[static_cast<std::size_t>(t - request.start)];
    }
  }
  const Eigen::Index rows = request.furthest - request.start + 1;
  run.scenario = scenario.middleRows(request.start, rows);
  run.baseline = baseline.middleRows(request.start, rows);
  if (request.variances)
    ScenarioVariances(system, request, observed, computed, forecast.variance, run);
  return run;
}

std::vector<double> RelativeEffects(const ScenarioRun& run, const Eigen::MatrixXd& history) {
  std::vector<double> relative(static_cast<std::size_t>(run.scenario.cols()), 0.0);
  for (Eigen::Index s = 0; s < run.scenario.cols(); ++s) {
    double sum = 0, squares = 0, count = 0;
    for (Eigen::Index t = 0; t < history.rows(); ++t) {
      const double value = history(t, s);
      if (std::isfinite(value)) {
        sum += value;
        squares += value * value;
        ++count;
      }
    }
    if (count < 2)
      continue;
    const double mean = sum / count;
    const double scale = std::sqrt(std::max(0.0, (squares - count * mean * mean) / (count - 1)));
    double largest = 0;
    for (Eigen::Index t = 0; t < run.scenario.rows(); ++t) {
      const double effect = std::fabs(run.scenario(t, s) - run.baseline(t, s));
      if (std::isfinite(effect))
        largest = std::max(largest, effect);
    }
    if (scale > 0)
      relative[static_cast<std::size_t>(s)] = largest / scale;
  }
  return relative;
}

std::vector<std::size_t> MostAffected(const ScenarioRun& run, const std::vector<double>& relative,
                                      std::size_t most) {
  std::vector<std::size_t> chosen;
  for (std::size_t s = 0; s < relative.size(); ++s) {
    if (run.generation[s] >= 1 && relative[s] > 0)
      chosen.push_back(s);
  }
  std::stable_sort(chosen.begin(), chosen.end(),
                   [&](std::size_t a, std::size_t b) { return relative[a] > relative[b]; });
  if (chosen.size() > most)
    chosen.resize(most);
  return chosen;
}

} // namespace engine::model
