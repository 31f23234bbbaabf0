// This file contains the group orthogonal matching pursuit selection and the final OLS fit of
// one target, both on the shared Gram matrix of the lagged design.
#include "engine/model/equation.h"

#include <algorithm>
#include <cmath>

#include "engine/model/distributions.h"

namespace engine::model {
namespace {

// A block's residual Gram matrix counts as singular when a pivot keeps less than this share of
// the column's own sum of squares: the block is then in the span of what is already in.
constexpr double kPivotTolerance = 1e-9;

// Cholesky factor (lower) of a small block, written out so that the candidate loop allocates
// nothing; false when the block is not safely positive definite (a pivot keeps less than
// kPivotTolerance of the column's raw sum of squares).
bool BlockCholesky(const Eigen::Ref<const Eigen::MatrixXd>& block,
                   const Eigen::VectorXd& raw_diagonal, Eigen::MatrixXd& lower) {
  const Eigen::Index size = block.rows();
  for (Eigen::Index j = 0; j < size; ++j) {
    double pivot = block(j, j);
    for (Eigen::Index m = 0; m < j; ++m)
      pivot -= lower(j, m) * lower(j, m);
    if (!(pivot > kPivotTolerance * std::max(raw_diagonal(j), 1e-300)))
      return false;
    const double root = std::sqrt(pivot);
    lower(j, j) = root;
    for (Eigen::Index i = j + 1; i < size; ++i) {
      double value = block(i, j);
      for (Eigen::Index m = 0; m < j; ++m)
        value -= lower(i, m) * lower(j, m);
      lower(i, j) = value / root;
    }
    for (Eigen::Index i = 0; i < j; ++i)
      lower(i, j) = 0;
  }
  return true;
}

} // namespace

std::vector<std::size_t> SelectInputs(const LaggedDesign& design, std::size_t target,
                                      std::span<const std::size_t> forced,
                                      std::span<const std::size_t> candidates,
                                      const SelectionOptions& options) {
  const Eigen::MatrixXd& gram = design.gram();
  const Eigen::Index lags = design.max_lag();
  const double n = static_cast<double>(design.rows());
  const Eigen::Index y = static_cast<Eigen::Index>(design.Column(target, 0));

  // Blocks in play: the target's own lags, the forced blocks, then the candidates.
  std::vector<std::size_t> base{target};
  for (std::size_t series : forced) {
    if (std::find(base.begin(), base.end(), series) == base.end())
      base.push_back(series);
  }
  std::vector<std::size_t> pool;
  for (std::size_t series : candidates) {
    if (std::find(base.begin(), base.end(), series) != base.end())
      continue;
    if (std::find(pool.begin(), pool.end(), series) != pool.end())
      continue;
    pool.push_back(series);
  }
  std::vector<std::size_t> chosen;
  if (pool.empty() || options.max_inputs == 0)
    return chosen;

  const Eigen::Index base_count = static_cast<Eigen::Index>(base.size());
  const Eigen::Index pool_count = static_cast<Eigen::Index>(pool.size());
  const Eigen::Index block_count = base_count + pool_count;
  auto block_series = [&](Eigen::Index block) {
    return block < base_count ? base[static_cast<std::size_t>(block)]
                              : pool[static_cast<std::size_t>(block - base_count)];
  };
  auto gram_column = [&](Eigen::Index block, Eigen::Index lag) {
    return static_cast<Eigen::Index>(design.BlockStart(block_series(block))) + lag;
  };

  // Rows of V = R^{-T} G_{S,blocks} over all blocks in play, and q = R^{-T} g_{S,y}.
  const Eigen::Index max_rows =
      (base_count +
       static_cast<Eigen::Index>(std::min<std::size_t>(options.max_inputs, pool.size()))) *
      lags;
  Eigen::MatrixXd v(max_rows, block_count * lags);
  Eigen::VectorXd q(max_rows);
  Eigen::Index rows = 0;
  // Every candidate's residual block Gram and cross product with y, downdated as blocks join.
  Eigen::MatrixXd residual_gram(lags, pool_count * lags);
  Eigen::VectorXd residual_cross(pool_count * lags);
  for (Eigen::Index c = 0; c < pool_count; ++c) {
    for (Eigen::Index a = 0; a < lags; ++a) {
      residual_cross(c * lags + a) = gram(gram_column(base_count + c, a), y);
      for (Eigen::Index b = 0; b < lags; ++b) {
        residual_gram(a, c * lags + b) =
            gram(gram_column(base_count + c, a), gram_column(base_count + c, b));
      }
    }
  }
  double rss = gram(y, y);
  double coefficients = 1; // the intercept

  Eigen::MatrixXd block_gram(lags, lags);
  Eigen::VectorXd block_cross(lags);
  Eigen::VectorXd raw_diagonal(lags);
  Eigen::MatrixXd lower(lags, lags);
  Eigen::MatrixXd new_rows(lags, block_count * lags);

  // Appends block `block` (its residual Gram and cross product given) to the factor and
  // downdates the candidates. False when the block adds nothing independent.
  auto join = [&](Eigen::Index block, const Eigen::MatrixXd& residual,
                  const Eigen::VectorXd& cross) {
    for (Eigen::Index a = 0; a < lags; ++a) {
      const Eigen::Index column = gram_column(block, a);
      raw_diagonal(a) = gram(column, column);
    }
    if (!BlockCholesky(residual, raw_diagonal, lower))
      return false;
    // G_{b, all blocks} - V_b' V, then solved by the block's factor.
    for (Eigen::Index other = 0; other < block_count; ++other) {
      for (Eigen::Index b = 0; b < lags; ++b) {
        const Eigen::Index column = gram_column(other, b);
        for (Eigen::Index a = 0; a < lags; ++a) {
          new_rows(a, other * lags + b) = gram(gram_column(block, a), column);
        }
      }
    }
    if (rows > 0) {
      new_rows.noalias() -=
          v.topRows(rows).middleCols(block * lags, lags).transpose() * v.topRows(rows);
    }
    lower.triangularView<Eigen::Lower>().solveInPlace(new_rows);
    Eigen::VectorXd new_q = cross;
    lower.triangularView<Eigen::Lower>().solveInPlace(new_q);
    v.middleRows(rows, lags) = new_rows;
    q.segment(rows, lags) = new_q;
    rows += lags;
    rss = std::max(rss - new_q.squaredNorm(), 0.0);
    coefficients += static_cast<double>(lags);
    for (Eigen::Index c = 0; c < pool_count; ++c) {
      const auto w = new_rows.middleCols((base_count + c) * lags, lags);
      residual_gram.middleCols(c * lags, lags).noalias() -= w.transpose() * w;
      residual_cross.segment(c * lags, lags).noalias() -= w.transpose() * new_q;
    }
    return true;
  };

  for (Eigen::Index block = 0; block < base_count; ++block) {
    for (Eigen::Index a = 0; a < lags; ++a) {
      block_cross(a) = gram(gram_column(block, a), y);
      for (Eigen::Index b = 0; b < lags; ++b) {
        block_gram(a, b) = gram(gram_column(block, a), gram_column(block, b));
      }
    }
    if (rows > 0) {
      const auto vb = v.topRows(rows).middleCols(block * lags, lags);
      block_gram.noalias() -= vb.transpose() * vb;
      block_cross.noalias() -= vb.transpose() * q.head(rows);
    }
    join(block, block_gram, block_cross); // a degenerate forced block simply adds nothing
  }

  std::vector<bool> taken(static_cast<std::size_t>(pool_count), false);
  Eigen::VectorXd solved(lags);
  while (chosen.size() < options.max_inputs && rss > 0) {
    // Each new block must leave at least one residual degree of freedom.
    if (n - (coefficients + static_cast<double>(lags)) < 1)
      break;
    Eigen::Index best = -1;
    double best_delta = 0;
    for (Eigen::Index c = 0; c < pool_count; ++c) {
      if (taken[static_cast<std::size_t>(c)])
        continue;
      for (Eigen::Index a = 0; a < lags; ++a) {
        const Eigen::Index column = gram_column(base_count + c, a);
        raw_diagonal(a) = gram(column, column);
      }
      if (!BlockCholesky(residual_gram.middleCols(c * lags, lags), raw_diagonal, lower))
        continue;
      solved = residual_cross.segment(c * lags, lags);
      lower.triangularView<Eigen::Lower>().solveInPlace(solved);
      const double delta = solved.squaredNorm();
      if (delta > best_delta) {
        best_delta = delta;
        best = c;
      }
    }
    if (best < 0)
      break;
    if (best_delta / rss < options.epsilon)
      break;
    const double new_rss = rss - best_delta;
    if (!(new_rss > 0)) {
      // An exact fit: the block explains all that is left; take it and stop.
      chosen.push_back(pool[static_cast<std::size_t>(best)]);
      break;
    }
    const double left = static_cast<double>(pool_count) - static_cast<double>(chosen.size());
    const double penalty = static_cast<double>(lags) * std::log(n) +
                           2.0 * options.extended_bic_gamma * std::log(std::max(left, 1.0));
    if (n * std::log(new_rss / rss) + penalty >= 0)
      break;
    const Eigen::MatrixXd residual = residual_gram.middleCols(best * lags, lags);
    const Eigen::VectorXd cross = residual_cross.segment(best * lags, lags);
    if (!join(base_count + best, residual, cross))
      break;
    taken[static_cast<std::size_t>(best)] = true;
    chosen.push_back(pool[static_cast<std::size_t>(best)]);
  }
  return chosen;
}

support::Result<Equation> FitEquation(const LaggedDesign& design, std::size_t target,
                                      std::span<const std::size_t> inputs) {
  const Eigen::MatrixXd& gram = design.gram();
  const Eigen::Index lags = design.max_lag();
  const Eigen::Index y = static_cast<Eigen::Index>(design.Column(target, 0));
  std::vector<std::size_t> blocks{target};
  for (std::size_t series : inputs) {
    if (std::find(blocks.begin(), blocks.end(), series) == blocks.end())
      blocks.push_back(series);
  }
  const Eigen::Index block_count = static_cast<Eigen::Index>(blocks.size());
  const Eigen::Index p = block_count * lags;
  const std::size_t n = design.rows();
  const std::size_t k = static_cast<std::size_t>(p) + 1;
  if (n <= k) {
    return support::Error{"the series have " + std::to_string(n) +
                          " usable time points, too few for " + std::to_string(k) +
                          " coefficients"};
  }
  std::vector<Eigen::Index> columns(static_cast<std::size_t>(p));
  for (Eigen::Index b = 0; b < block_count; ++b) {
    for (Eigen::Index a = 0; a < lags; ++a) {
      columns[static_cast<std::size_t>(b * lags + a)] =
          static_cast<Eigen::Index>(design.BlockStart(blocks[static_cast<std::size_t>(b)])) + a;
    }
  }
  Eigen::MatrixXd xtx(p, p);
  Eigen::VectorXd xty(p);
  for (Eigen::Index a = 0; a < p; ++a) {
    const Eigen::Index ca = columns[static_cast<std::size_t>(a)];
    xty(a) = gram(ca, y);
    for (Eigen::Index b = 0; b < p; ++b)
      xtx(a, b) = gram(ca, columns[static_cast<std::size_t>(b)]);
  }
  Eigen::LLT<Eigen::MatrixXd> llt(xtx);
  bool singular = llt.info() != Eigen::Success;
  if (!singular) {
    const Eigen::MatrixXd lower = llt.matrixL();
    for (Eigen::Index a = 0; a < p && !singular; ++a) {
      singular = !(lower(a, a) * lower(a, a) > kPivotTolerance * std::max(xtx(a, a), 1e-300));
    }
  }
  if (singular)
    return support::Error{"the lagged inputs are collinear"};
  const Eigen::VectorXd beta = llt.solve(xty);
  const Eigen::MatrixXd inverse = llt.solve(Eigen::MatrixXd::Identity(p, p));

  // Residuals on the data themselves (not from the Gram matrix), so the RSS keeps its precision.
  Eigen::VectorXd residual = design.centred().col(y);
  for (Eigen::Index a = 0; a < p; ++a) {
    residual.noalias() -= beta(a) * design.centred().col(columns[static_cast<std::size_t>(a)]);
  }
  const double scale_y = design.scale(target);
  const double mean_y = design.column_mean(static_cast<std::size_t>(y));
  const double nd = static_cast<double>(n);
  const double df = static_cast<double>(n - k);
  const double rss_scaled = residual.squaredNorm();
  const double sigma2_scaled = rss_scaled / df;

  Equation equation;
  equation.series = target;
  FitStats& stats = equation.stats;
  stats.n = n;
  stats.k = k;
  stats.rss = rss_scaled * scale_y * scale_y;
  stats.sigma2 = stats.rss / df;
  stats.rmse = std::sqrt(stats.sigma2);
  const double log_mse = std::log(stats.rss / nd);
  stats.aic = nd * log_mse + 2.0 * static_cast<double>(k);
  stats.bic = nd * log_mse + static_cast<double>(k) * std::log(nd);
  stats.normalized_bic = log_mse + static_cast<double>(k) * std::log(nd) / nd;
  const double tss_scaled = gram(y, y);
  stats.rsquare = tss_scaled > 0 ? 1.0 - rss_scaled / tss_scaled : kNaN;
  double percent_sum = 0;
  std::size_t percent_count = 0;
  const auto y_centred = design.centred().col(y);
  // An observed zero can come back from the centred column as a rounding residue (1e-16, not
  // 0), which would blow the percentage up to 1e16: zero is anything within rounding of it.
  const double zero = 1e-9 * std::max({1.0, std::abs(mean_y), std::abs(scale_y)});
  for (Eigen::Index t = 0; t < static_cast<Eigen::Index>(n); ++t) {
    const double value = y_centred(t) * scale_y + mean_y;
    if (std::abs(value) <= zero)
      continue;
    const double percent = 100.0 * residual(t) * scale_y / value;
    percent_sum += percent * percent;
    ++percent_count;
  }
  stats.rmspe =
      percent_count > 0 ? std::sqrt(percent_sum / static_cast<double>(percent_count)) : kNaN;

  // Back to the series' own units: beta_c = beta~_c s_y / s_j, Cov = sigma^2 G~^{-1} / (s_c s_d).
  Eigen::VectorXd unit(p);
  for (Eigen::Index b = 0; b < block_count; ++b) {
    unit.segment(b * lags, lags)
        .setConstant(scale_y / design.scale(blocks[static_cast<std::size_t>(b)]));
  }
  const Eigen::VectorXd coefficient = beta.cwiseProduct(unit);
  double intercept = mean_y;
  Eigen::VectorXd means(p);
  for (Eigen::Index a = 0; a < p; ++a) {
    means(a) = design.column_mean(static_cast<std::size_t>(columns[static_cast<std::size_t>(a)]));
    intercept -= coefficient(a) * means(a);
  }
  // Var(c) = sigma^2 / n + m' Cov(beta) m.
  const Eigen::VectorXd scaled_means = means.cwiseProduct(unit);
  const double intercept_variance =
      stats.sigma2 / nd + sigma2_scaled * scaled_means.dot(inverse * scaled_means);
  equation.intercept = intercept;
  equation.intercept_se = std::sqrt(std::max(intercept_variance, 0.0));
  equation.intercept_t = intercept / equation.intercept_se;
  equation.intercept_p = StudentTTwoSided(equation.intercept_t, df);

  for (Eigen::Index b = 0; b < block_count; ++b) {
    InputBlock block;
    block.series = blocks[static_cast<std::size_t>(b)];
    block.own = b == 0;
    for (Eigen::Index a = 0; a < lags; ++a) {
      const Eigen::Index index = b * lags + a;
      const double se =
          std::sqrt(std::max(sigma2_scaled * inverse(index, index), 0.0)) * unit(index);
      const double t = coefficient(index) / se;
      block.coefficients.push_back(coefficient(index));
      block.std_errors.push_back(se);
      block.t_values.push_back(t);
      block.p_values.push_back(StudentTTwoSided(t, df));
    }
    // RSS without the block less RSS = beta_b' [(X'X)^{-1}_bb]^{-1} beta_b.
    const Eigen::MatrixXd cov_block = inverse.block(b * lags, b * lags, lags, lags);
    const Eigen::VectorXd beta_block = beta.segment(b * lags, lags);
    const double increase = beta_block.dot(cov_block.ldlt().solve(beta_block));
    block.f = increase / static_cast<double>(lags) / sigma2_scaled;
    block.df1 = static_cast<int>(lags);
    block.df2 = static_cast<int>(n - k);
    block.f_p_value = FUpperTail(block.f, block.df1, block.df2);
    equation.blocks.push_back(std::move(block));
  }
  return equation;
}

} // namespace engine::model
