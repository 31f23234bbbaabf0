// Tests of system forecasts: a two-series system against hand computation, intervals against
// simulation, and one-step predictions.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "engine/model/forecast.h"

namespace engine::model {
namespace {

Equation MakeEquation(std::size_t series, double intercept, double sigma2,
                      std::vector<std::pair<std::size_t, std::vector<double>>> blocks) {
  Equation equation;
  equation.series = series;
  equation.intercept = intercept;
  equation.stats.sigma2 = sigma2;
  for (auto& [source, coefficients] : blocks) {
    InputBlock block;
    block.series = source;
    block.own = source == series;
    block.coefficients = coefficients;
    equation.blocks.push_back(block);
  }
  return equation;
}

// x1 = 1 + 0.5 x1(-1) + u1, var 1;  x2 = 2 + 0.3 x2(-1) + 0.4 x1(-1) + u2, var 0.5.
ModelSystem TwoSeries() {
  ModelSystem system;
  system.settings.max_lag = 1;
  system.series = {{"1", {}, "a"}, {"2", {}, "b"}};
  system.equations.push_back(MakeEquation(0, 1.0, 1.0, {{0, {0.5}}}));
  system.equations.push_back(MakeEquation(1, 2.0, 0.5, {{1, {0.3}}, {0, {0.4}}}));
  return system;
}

TEST(ForecastSystem, TwoSeriesAgainstHandComputation) {
  Eigen::MatrixXd history(3, 2);
  history << 0, 0, 1, 1, 2, 3;
  const SystemForecast forecast = ForecastSystem(TwoSeries(), history, 3);
  // h=1: x1 = 1 + 1 = 2, x2 = 2 + 0.9 + 0.8 = 3.7; h=2: x1 = 2, x2 = 2 + 1.11 + 0.8 = 3.91.
  EXPECT_NEAR(forecast.mean(0, 0), 2.0, 1e-12);
  EXPECT_NEAR(forecast.mean(0, 1), 3.7, 1e-12);
  EXPECT_NEAR(forecast.mean(1, 0), 2.0, 1e-12);
  EXPECT_NEAR(forecast.mean(1, 1), 3.91, 1e-12);
  EXPECT_NEAR(forecast.mean(2, 1), 2 + 0.3 * 3.91 + 0.8, 1e-12);
  // Sigma(1) = diag(1, .5); Psi_1 = A: Sigma(2)_11 = 1 + .25, Sigma(2)_22 = .5 + .16 + .045.
  EXPECT_NEAR(forecast.variance(0, 0), 1.0, 1e-12);
  EXPECT_NEAR(forecast.variance(0, 1), 0.5, 1e-12);
  EXPECT_NEAR(forecast.variance(1, 0), 1.25, 1e-12);
  EXPECT_NEAR(forecast.variance(1, 1), 0.705, 1e-12);
  // Psi_2 = A^2 = [[.25, 0], [.2 + .12, .09]]: adds .0625 and .32^2 + .09^2 * .5.
  EXPECT_NEAR(forecast.variance(2, 0), 1.3125, 1e-12);
  EXPECT_NEAR(forecast.variance(2, 1), 0.705 + 0.1024 + 0.00405, 1e-12);

  // One-step predictions use the observed lags.
  const Eigen::MatrixXd fit = OneStepPredictions(TwoSeries(), history);
  EXPECT_TRUE(std::isnan(fit(0, 0)));
  EXPECT_NEAR(fit(1, 1), 2.0, 1e-12);
  EXPECT_NEAR(fit(2, 1), 2 + 0.3 + 0.4, 1e-12);
}

TEST(ForecastSystem, SeriesWithoutModelOrMissingOriginGiveNoForecast) {
  ModelSystem system = TwoSeries();
  system.equations.erase(system.equations.begin()); // x2 loses its input's model
  Eigen::MatrixXd history(2, 2);
  history << 1, 1, 2, 3;
  SystemForecast forecast = ForecastSystem(system, history, 2);
  EXPECT_TRUE(forecast.mean.array().isNaN().all());
  EXPECT_TRUE(forecast.variance.array().isNaN().all());

  history(1, 0) = std::numeric_limits<double>::quiet_NaN();
  forecast = ForecastSystem(TwoSeries(), history, 1);
  EXPECT_TRUE(std::isnan(forecast.mean(0, 0)));
  EXPECT_TRUE(std::isnan(forecast.mean(0, 1)));
  EXPECT_FALSE(std::isnan(forecast.variance(0, 1)));
}

TEST(ForecastSystem, IntervalsCoverAtTheirLevelInSimulation) {
  // Three series, two lags, a chain 0 -> 1 -> 2 and a separate AR series 3.
  ModelSystem system;
  system.settings.max_lag = 2;
  system.series = {{"1", {}, "a"}, {"2", {}, "b"}, {"3", {}, "c"}, {"4", {}, "d"}};
  system.equations.push_back(MakeEquation(0, 0.5, 1.0, {{0, {0.6, -0.2}}}));
  system.equations.push_back(MakeEquation(1, -1.0, 0.64, {{1, {0.3, 0.1}}, {0, {0.5, 0.3}}}));
  system.equations.push_back(MakeEquation(2, 2.0, 2.25, {{2, {0.2, 0.0}}, {1, {0.0, -0.7}}}));
  system.equations.push_back(MakeEquation(3, 0.0, 0.25, {{3, {0.9, 0.0}}}));
  Eigen::MatrixXd history(2, 4);
  history << 1, 0, 2, -1, 2, 1, 3, 1;
  const int horizon = 10;
  const SystemForecast forecast = ForecastSystem(system, history, horizon);
  const double z = IntervalMultiplier(0.95);
  EXPECT_NEAR(z, 1.959963984540054, 1e-12);

  std::mt19937_64 random(5);
  std::normal_distribution<double> normal(0, 1);
  const int paths = 20000;
  Eigen::MatrixXd covered = Eigen::MatrixXd::Zero(horizon, 4);
  Eigen::MatrixXd squared = Eigen::MatrixXd::Zero(horizon, 4);
  for (int path = 0; path < paths; ++path) {
    Eigen::MatrixXd x(2 + horizon, 4);
    x.topRows(2) = history;
    for (int h = 0; h < horizon; ++h) {
      for (const Equation& equation : system.equations) {
        double value = equation.intercept + std::sqrt(equation.stats.sigma2) * normal(random);
        for (const InputBlock& block : equation.blocks) {
          for (int l = 1; l <= 2; ++l) {
            value +=
                block.coefficients[l - 1] * x(2 + h - l, static_cast<Eigen::Index>(block.series));
          }
        }
        x(2 + h, static_cast<Eigen::Index>(equation.series)) = value;
      }
    }
    for (int h = 0; h < horizon; ++h) {
      for (Eigen::Index j = 0; j < 4; ++j) {
        const double error = x(2 + h, j) - forecast.mean(h, j);
        squared(h, j) += error * error;
        if (std::fabs(error) <= z * std::sqrt(forecast.variance(h, j)))
          covered(h, j) += 1;
      }
    }
  }
  for (int h : {0, 4, 9}) {
    for (Eigen::Index j = 0; j < 4; ++j) {
      EXPECT_NEAR(covered(h, j) / paths, 0.95, 0.006) << "h " << h + 1 << " series " << j;
      EXPECT_NEAR(squared(h, j) / paths / forecast.variance(h, j), 1.0, 0.04)
          << "h " << h + 1 << " series " << j;
    }
  }
}

} // namespace
} // namespace engine::model
