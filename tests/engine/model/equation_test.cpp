// Tests of one target's model: the OLS fit against a direct solve, the F tests against refits
// without the block, and the selection on systems with a planted graph.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "engine/model/distributions.h"
#include "engine/model/equation.h"
#include "engine/model/model_system.h"
#include "engine/model/var_simulation.h"

namespace engine::model {
namespace {

using testing::MakeSparseSystem;
using testing::Simulate;

// Series on very different levels and scales, so centring and scaling are exercised.
Eigen::MatrixXd RandomSeries(Eigen::Index t, Eigen::Index n, unsigned seed) {
  std::mt19937_64 random(seed);
  std::normal_distribution<double> normal(0, 1);
  Eigen::MatrixXd x(t, n);
  for (Eigen::Index j = 0; j < n; ++j) {
    const double level = 1000.0 * static_cast<double>(j + 1);
    const double scale = std::pow(10.0, static_cast<double>(j) - 1.0);
    double previous = 0;
    for (Eigen::Index i = 0; i < t; ++i) {
      previous = 0.5 * previous + normal(random);
      x(i, j) = level + scale * previous;
    }
  }
  // Series 0 depends on series 2 at lag 1 so the fit has something to find.
  for (Eigen::Index i = 1; i < t; ++i)
    x(i, 0) += 0.3 * (x(i - 1, 2) - 3000.0) / 10.0;
  return x;
}

// Direct OLS of x_target on [1, lags 1..L of each of `blocks`].
struct DirectFit {
  Eigen::VectorXd beta; // intercept first
  Eigen::MatrixXd covariance;
  Eigen::VectorXd residual;
  double rss = 0;
};
DirectFit Direct(const Eigen::MatrixXd& x, std::size_t target,
                 const std::vector<std::size_t>& blocks, int lags) {
  const Eigen::Index n = x.rows() - lags;
  const Eigen::Index p = 1 + static_cast<Eigen::Index>(blocks.size()) * lags;
  Eigen::MatrixXd design(n, p);
  design.col(0).setOnes();
  for (std::size_t b = 0; b < blocks.size(); ++b) {
    for (int l = 1; l <= lags; ++l) {
      design.col(1 + static_cast<Eigen::Index>(b) * lags + l - 1) =
          x.col(static_cast<Eigen::Index>(blocks[b])).segment(lags - l, n);
    }
  }
  const Eigen::VectorXd y = x.col(static_cast<Eigen::Index>(target)).tail(n);
  DirectFit fit;
  fit.beta = design.colPivHouseholderQr().solve(y);
  fit.residual = y - design * fit.beta;
  fit.rss = fit.residual.squaredNorm();
  const double sigma2 = fit.rss / static_cast<double>(n - p);
  fit.covariance = sigma2 * (design.transpose() * design).inverse();
  return fit;
}

TEST(FitEquation, MatchesADirectSolveWithTestsAndStatistics) {
  const int lags = 2;
  const Eigen::MatrixXd x = RandomSeries(150, 4, 7);
  const LaggedDesign design(x, lags, 2);
  const std::vector<std::size_t> inputs{2, 3};
  const support::Result<Equation> fitted = FitEquation(design, 0, inputs);
  ASSERT_TRUE(fitted) << fitted.message();
  const Equation& equation = *fitted;
  const DirectFit direct = Direct(x, 0, {0, 2, 3}, lags);
  const double n = 148, k = 7, df = n - k;

  EXPECT_NEAR(equation.intercept, direct.beta(0), 1e-7 * std::fabs(direct.beta(0)));
  EXPECT_NEAR(equation.intercept_se, std::sqrt(direct.covariance(0, 0)),
              1e-6 * std::sqrt(direct.covariance(0, 0)));
  ASSERT_EQ(equation.blocks.size(), 3u);
  EXPECT_TRUE(equation.blocks[0].own);
  for (std::size_t b = 0; b < 3; ++b) {
    const InputBlock& block = equation.blocks[b];
    EXPECT_EQ(block.series, std::vector<std::size_t>({0, 2, 3})[b]);
    for (int l = 0; l < lags; ++l) {
      const Eigen::Index index = 1 + static_cast<Eigen::Index>(b) * lags + l;
      const double se = std::sqrt(direct.covariance(index, index));
      EXPECT_NEAR(block.coefficients[l], direct.beta(index), 1e-8 * se + 1e-12);
      EXPECT_NEAR(block.std_errors[l], se, 1e-7 * se);
      EXPECT_NEAR(block.t_values[l], direct.beta(index) / se, 1e-6);
      EXPECT_NEAR(block.p_values[l], StudentTTwoSided(direct.beta(index) / se, df), 1e-8);
    }
    // F test against the refit without the block.
    std::vector<std::size_t> without{0, 2, 3};
    without.erase(without.begin() + static_cast<std::ptrdiff_t>(b));
    const double rss_without =
        b == 0 ? Direct(x, 0, {2, 3}, lags).rss : Direct(x, 0, without, lags).rss;
    const double f = ((rss_without - direct.rss) / lags) / (direct.rss / df);
    EXPECT_NEAR(block.f, f, 1e-6 * f);
    EXPECT_EQ(block.df1, lags);
    EXPECT_EQ(block.df2, static_cast<int>(df));
    EXPECT_NEAR(block.f_p_value, FUpperTail(f, lags, df), 1e-9);
  }
  EXPECT_LT(equation.blocks[1].f_p_value, 1e-6); // the planted dependence on series 2

  const FitStats& stats = equation.stats;
  EXPECT_EQ(stats.n, 148u);
  EXPECT_EQ(stats.k, 7u);
  EXPECT_NEAR(stats.rss, direct.rss, 1e-8 * direct.rss);
  EXPECT_NEAR(stats.rmse, std::sqrt(direct.rss / df), 1e-8);
  EXPECT_NEAR(stats.aic, n * std::log(direct.rss / n) + 2 * k, 1e-7);
  EXPECT_NEAR(stats.bic, n * std::log(direct.rss / n) + k * std::log(n), 1e-7);
  EXPECT_NEAR(stats.normalized_bic, std::log(direct.rss / n) + k * std::log(n) / n, 1e-9);
  const Eigen::VectorXd y = x.col(0).tail(148);
  const double tss = (y.array() - y.mean()).square().sum();
  EXPECT_NEAR(stats.rsquare, 1 - direct.rss / tss, 1e-9);
  const double rmspe = std::sqrt((100.0 * direct.residual.array() / y.array()).square().mean());
  EXPECT_NEAR(stats.rmspe, rmspe, 1e-8 * rmspe);

  // Daily counts with a zero day: the zero is left out of RMSPE, not divided by, whatever
  // rounding the centred and scaled design leaves of it (1e-16 for some means and spreads).
  const int returns[] = {5, 4, 5, 4, 4, 3, 4, 1, 3, 5, 4, 3, 4, 3, 3, 4, 4, 4, 4, 1, 2, 5, 3, 3, 1};
  for (int shift = 0; shift < 25; ++shift) {
    SCOPED_TRACE(shift);
    Eigen::MatrixXd counts = x;
    for (Eigen::Index t = 0; t < counts.rows(); ++t)
      counts(t, 0) = returns[(t + shift) % 25] + shift % 3;
    counts(77, 0) = 0;
    const support::Result<Equation> counted = FitEquation(LaggedDesign(counts, lags, 2), 0, inputs);
    ASSERT_TRUE(counted) << counted.message();
    const Eigen::ArrayXd count_residual = Direct(counts, 0, {0, 2, 3}, lags).residual.array();
    const Eigen::ArrayXd observed = counts.col(0).tail(148).array();
    const double count_rmspe = std::sqrt(
        ((observed != 0).select(100.0 * count_residual / observed, 0.0)).square().sum() / 147.0);
    EXPECT_NEAR(counted->stats.rmspe, count_rmspe, 1e-6 * count_rmspe);
  }
}

TEST(FitEquation, RefusesTooFewPointsAndCollinearInputs) {
  const Eigen::MatrixXd x = RandomSeries(8, 3, 3);
  const support::Result<Equation> short_fit =
      FitEquation(LaggedDesign(x, 2, 1), 0, std::vector<std::size_t>{1, 2});
  ASSERT_FALSE(short_fit);
  EXPECT_NE(short_fit.message().find("too few"), std::string::npos);

  Eigen::MatrixXd twins = RandomSeries(80, 3, 4);
  twins.col(2) = 3.0 * twins.col(1) + Eigen::VectorXd::Constant(80, 5.0);
  const support::Result<Equation> collinear =
      FitEquation(LaggedDesign(twins, 2, 1), 0, std::vector<std::size_t>{1, 2});
  ASSERT_FALSE(collinear);
  EXPECT_NE(collinear.message().find("collinear"), std::string::npos);
}

std::vector<std::size_t> Sorted(std::vector<std::size_t> values) {
  std::sort(values.begin(), values.end());
  return values;
}

TEST(SelectInputs, RecoversAPlantedGraph) {
  const std::size_t n = 12;
  const auto system = MakeSparseSystem(n, 3, 2, 11);
  const Eigen::MatrixXd x = Simulate(system, 400, 12);
  const LaggedDesign design(x, 3, 2);
  std::size_t exact = 0;
  for (std::size_t target = 0; target < n; ++target) {
    std::vector<std::size_t> candidates;
    for (std::size_t j = 0; j < n; ++j)
      candidates.push_back(j); // the target itself is skipped
    const std::vector<std::size_t> chosen = SelectInputs(design, target, {}, candidates, {});
    if (Sorted(chosen) == Sorted(system.equations[target].parents))
      ++exact;
  }
  EXPECT_GE(exact, n - 1);
}

TEST(SelectInputs, StopsAtTheLimitTheToleranceAndRepeats) {
  const auto system = MakeSparseSystem(8, 2, 2, 21);
  Eigen::MatrixXd x = Simulate(system, 300, 22);
  // Series 7 becomes an exact copy of the first parent of target 0.
  const std::size_t parent = system.equations[0].parents[0];
  x.col(7) = x.col(static_cast<Eigen::Index>(parent));
  const LaggedDesign design(x, 2, 1);
  std::vector<std::size_t> all;
  for (std::size_t j = 0; j < 8; ++j)
    all.push_back(j);

  SelectionOptions one;
  one.max_inputs = 1;
  EXPECT_EQ(SelectInputs(design, 0, {}, all, one).size(), 1u);

  SelectionOptions strict;
  strict.epsilon = 0.9;
  EXPECT_TRUE(SelectInputs(design, 0, {}, all, strict).empty());

  // The copy of a chosen series adds nothing and never joins beside it; a forced series is not
  // chosen again.
  const std::vector<std::size_t> chosen = SelectInputs(design, 0, {}, all, {});
  const bool has_parent = std::count(chosen.begin(), chosen.end(), parent) +
                              std::count(chosen.begin(), chosen.end(), std::size_t{7}) ==
                          1;
  EXPECT_TRUE(has_parent);
  const std::vector<std::size_t> forced{parent};
  const std::vector<std::size_t> after_forced = SelectInputs(design, 0, forced, all, {});
  EXPECT_EQ(std::count(after_forced.begin(), after_forced.end(), parent), 0);
  EXPECT_EQ(std::count(after_forced.begin(), after_forced.end(), std::size_t{7}), 0);
}

TEST(BuildEquations, ThreadsAndBatchesGiveTheSameSystemWithArModels) {
  const auto system = MakeSparseSystem(10, 2, 2, 31);
  const Eigen::MatrixXd x = Simulate(system, 250, 32);
  const LaggedDesign design(x, 2, 2);
  // Targets 0..5 may take any series; 6..9 are inputs only.
  std::vector<TargetRequest> requests;
  for (std::size_t target = 0; target < 6; ++target) {
    TargetRequest request;
    request.series = target;
    for (std::size_t j = 0; j < 10; ++j)
      request.candidates.push_back(j);
    requests.push_back(request);
  }
  BuildOptions serial;
  serial.threads = 1;
  BuildOptions parallel;
  parallel.threads = 2;
  parallel.models_per_job = 2;
  const BuildOutcome a = BuildEquations(design, requests, serial);
  const BuildOutcome b = BuildEquations(design, requests, parallel);
  ASSERT_TRUE(a.failures.empty());
  ASSERT_EQ(a.equations.size(), b.equations.size());
  std::vector<bool> needs_ar(10, false);
  for (std::size_t e = 0; e < a.equations.size(); ++e) {
    EXPECT_EQ(a.equations[e].series, b.equations[e].series);
    EXPECT_EQ(a.equations[e].stats.rss, b.equations[e].stats.rss);
    if (e < 6) {
      EXPECT_TRUE(a.equations[e].is_target);
      EXPECT_EQ(a.equations[e].series, e);
      for (const InputBlock& block : a.equations[e].blocks) {
        if (block.series >= 6)
          needs_ar[block.series] = true;
      }
    } else {
      EXPECT_FALSE(a.equations[e].is_target);
      EXPECT_EQ(a.equations[e].blocks.size(), 1u);
      EXPECT_TRUE(needs_ar[a.equations[e].series]);
      needs_ar[a.equations[e].series] = false;
    }
  }
  EXPECT_EQ(std::count(needs_ar.begin(), needs_ar.end(), true), 0); // every input has a model

  // Re-estimation on new data keeps the structure.
  const LaggedDesign fresh(Simulate(system, 250, 33), 2, 2);
  const BuildOutcome refit = RefitEquations(fresh, a.equations, parallel);
  ASSERT_EQ(refit.equations.size(), a.equations.size());
  for (std::size_t e = 0; e < refit.equations.size(); ++e) {
    ASSERT_EQ(refit.equations[e].blocks.size(), a.equations[e].blocks.size());
    EXPECT_EQ(refit.equations[e].is_target, a.equations[e].is_target);
    EXPECT_NE(refit.equations[e].stats.rss, a.equations[e].stats.rss);
  }
}

} // namespace
} // namespace engine::model
