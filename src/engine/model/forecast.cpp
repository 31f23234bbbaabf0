// This file contains system forecasts with Psi-weight intervals and one-step predictions.
#include "engine/model/forecast.h"

#include <numeric>
#include <vector>

#include "engine/model/distributions.h"

namespace engine::model {
namespace {

// Equation of each series, or -1.
std::vector<std::ptrdiff_t> EquationIndex(const ModelSystem& system) {
  std::vector<std::ptrdiff_t> index(system.series.size(), -1);
  for (std::size_t e = 0; e < system.equations.size(); ++e) {
    index[system.equations[e].series] = static_cast<std::ptrdiff_t>(e);
  }
  return index;
}

std::size_t Root(std::vector<std::size_t>& parent, std::size_t node) {
  while (parent[node] != node)
    node = parent[node] = parent[parent[node]];
  return node;
}

} // namespace

double IntervalMultiplier(double confidence_level) {
  return NormalQuantile(0.5 * (1.0 + confidence_level));
}

Eigen::MatrixXd OneStepPredictions(const ModelSystem& system, const Eigen::MatrixXd& history) {
  const Eigen::Index rows = history.rows();
  const int lags = system.settings.max_lag;
  Eigen::MatrixXd predicted = Eigen::MatrixXd::Constant(rows, history.cols(), kNaN);
  for (const Equation& equation : system.equations) {
    const Eigen::Index target = static_cast<Eigen::Index>(equation.series);
    for (Eigen::Index t = lags; t < rows; ++t) {
      double value = equation.intercept;
      for (const InputBlock& block : equation.blocks) {
        const auto source = history.col(static_cast<Eigen::Index>(block.series));
        for (int l = 1; l <= lags; ++l)
          value += block.coefficients[l - 1] * source(t - l);
      }
      predicted(t, target) = value;
    }
  }
  return predicted;
}

SystemForecast ForecastSystem(const ModelSystem& system, const Eigen::MatrixXd& history,
                              int horizon) {
  const std::size_t series_count = system.series.size();
  const int lags = system.settings.max_lag;
  const Eigen::Index rows = history.rows();
  SystemForecast result;
  result.mean = Eigen::MatrixXd::Constant(horizon, static_cast<Eigen::Index>(series_count), kNaN);
  result.variance = result.mean;
  if (horizon <= 0)
    return result;
  const std::vector<std::ptrdiff_t> equation_of = EquationIndex(system);
  const std::size_t equation_count = system.equations.size();

  // A series can be forecast when it has an equation whose inputs can all be forecast.
  std::vector<bool> usable(equation_count, true);
  for (bool changed = true; changed;) {
    changed = false;
    for (std::size_t e = 0; e < equation_count; ++e) {
      if (!usable[e])
        continue;
      for (const InputBlock& block : system.equations[e].blocks) {
        const std::ptrdiff_t source = equation_of[block.series];
        if (source < 0 || !usable[static_cast<std::size_t>(source)]) {
          usable[e] = false;
          changed = true;
          break;
        }
      }
    }
  }

  // Point forecasts: the last L observed values, then the system run forward.
  Eigen::MatrixXd path =
      Eigen::MatrixXd::Constant(lags + horizon, static_cast<Eigen::Index>(series_count), kNaN);
  for (int l = 0; l < lags && l < rows; ++l) {
    path.row(lags - 1 - l) = history.row(rows - 1 - l);
  }
  for (int h = 0; h < horizon; ++h) {
    const Eigen::Index t = lags + h;
    for (std::size_t e = 0; e < equation_count; ++e) {
      if (!usable[e])
        continue;
      const Equation& equation = system.equations[e];
      double value = equation.intercept;
      for (const InputBlock& block : equation.blocks) {
        for (int l = 1; l <= lags; ++l) {
          value += block.coefficients[l - 1] * path(t - l, static_cast<Eigen::Index>(block.series));
        }
      }
      path(t, static_cast<Eigen::Index>(equation.series)) = value;
    }
  }
  result.mean = path.bottomRows(horizon);

  // Psi weights per connected component of the usable equations.
  std::vector<std::size_t> parent(equation_count);
  std::iota(parent.begin(), parent.end(), 0);
  for (std::size_t e = 0; e < equation_count; ++e) {
    if (!usable[e])
      continue;
    for (const InputBlock& block : system.equations[e].blocks) {
      const std::size_t source = static_cast<std::size_t>(equation_of[block.series]);
      parent[Root(parent, e)] = Root(parent, source);
    }
  }
  std::vector<std::vector<std::size_t>> components(equation_count);
  for (std::size_t e = 0; e < equation_count; ++e) {
    if (usable[e])
      components[Root(parent, e)].push_back(e);
  }
  std::vector<Eigen::Index> local(equation_count, -1);
  for (const std::vector<std::size_t>& members : components) {
    if (members.empty())
      continue;
    const Eigen::Index size = static_cast<Eigen::Index>(members.size());
    for (Eigen::Index m = 0; m < size; ++m)
      local[members[static_cast<std::size_t>(m)]] = m;
    Eigen::VectorXd sigma2(size);
    for (Eigen::Index m = 0; m < size; ++m) {
      sigma2(m) = system.equations[members[static_cast<std::size_t>(m)]].stats.sigma2;
    }
    // Psi_i in a ring of L + 1 slots: Psi_i needs only Psi_{i-1} .. Psi_{i-L}.
    const std::size_t ring = static_cast<std::size_t>(lags) + 1;
    std::vector<Eigen::MatrixXd> psi(ring);
    psi[0] = Eigen::MatrixXd::Identity(size, size);
    Eigen::VectorXd variance = sigma2; // Sigma(1) = Sigma_u
    for (int h = 0; h < horizon; ++h) {
      if (h > 0) {
        Eigen::MatrixXd next = Eigen::MatrixXd::Zero(size, size);
        for (Eigen::Index m = 0; m < size; ++m) {
          const Equation& equation = system.equations[members[static_cast<std::size_t>(m)]];
          for (const InputBlock& block : equation.blocks) {
            const Eigen::Index source = local[static_cast<std::size_t>(equation_of[block.series])];
            for (int l = 1; l <= std::min(h, lags); ++l) {
              next.row(m) += block.coefficients[l - 1] *
                             psi[static_cast<std::size_t>(h - l) % ring].row(source);
            }
          }
        }
        variance += next.cwiseAbs2() * sigma2;
        psi[static_cast<std::size_t>(h) % ring] = std::move(next);
      }
      for (Eigen::Index m = 0; m < size; ++m) {
        const Eigen::Index column = static_cast<Eigen::Index>(
            system.equations[members[static_cast<std::size_t>(m)]].series);
        result.variance(h, column) = variance(m);
      }
    }
  }
  return result;
}

} // namespace engine::model
