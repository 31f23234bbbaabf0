// This file contains the synthetic sparse VAR systems with a known graph that the model tests
// and the model benchmark fit.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <random>
#include <string>
#include <vector>

#include <Eigen/Dense>

#include "engine/model/lagged_design.h"
#include "engine/model/model_system.h"

namespace engine::model::testing {

// One equation of the true system: x_j,t = intercept + sum over terms of coef * x_{source,t-lag}
// + noise_sd * e.
struct TrueTerm {
  std::size_t source = 0;
  int lag = 1;
  double coefficient = 0;
};
struct TrueEquation {
  double intercept = 0;
  double noise_sd = 1;
  std::vector<TrueTerm> terms; // own lag 1 first, then the parents' terms
  std::vector<std::size_t> parents;
};

struct TrueSystem {
  int max_lag = 3;
  std::vector<TrueEquation> equations;
};

// The ranges of the coefficients, own lag and parents' (before the row scaling below).
struct Strengths {
  double own_low = 0.2, own_high = 0.4;
  double parent_low = 0.25, parent_high = 0.4;
};

// N series, each with its own lag 1 and `parents` other series as parents, each parent acting at
// one random lag in 1..max_lag; unit noise, levels far from 0. Every row's absolute coefficient
// sum stays at most 0.9, which keeps the system stable: sum_l ||A_l||_inf < 1 leaves
// det(I - sum_l A_l z^l) nonzero on the closed unit disc.
inline TrueSystem MakeSparseSystem(std::size_t n, int max_lag, std::size_t parents, unsigned seed,
                                   const Strengths& strengths = {}) {
  std::mt19937_64 random(seed);
  std::uniform_real_distribution<double> own(strengths.own_low, strengths.own_high);
  std::uniform_real_distribution<double> strength(strengths.parent_low, strengths.parent_high);
  std::uniform_real_distribution<double> level(-20, 20);
  std::uniform_int_distribution<int> lag(1, max_lag);
  std::bernoulli_distribution sign(0.5);
  std::uniform_int_distribution<std::size_t> pick(0, n - 1);
  TrueSystem system;
  system.max_lag = max_lag;
  system.equations.resize(n);
  for (std::size_t j = 0; j < n; ++j) {
    TrueEquation& equation = system.equations[j];
    equation.noise_sd = 1.0;
    equation.terms.push_back({j, 1, own(random)});
    while (equation.parents.size() < std::min(parents, n - 1)) {
      const std::size_t parent = pick(random);
      if (parent == j || std::find(equation.parents.begin(), equation.parents.end(), parent) !=
                             equation.parents.end()) {
        continue;
      }
      equation.parents.push_back(parent);
      equation.terms.push_back({parent, lag(random), (sign(random) ? 1 : -1) * strength(random)});
    }
    double sum = 0;
    for (const TrueTerm& term : equation.terms)
      sum += std::fabs(term.coefficient);
    if (sum > 0.9) {
      for (TrueTerm& term : equation.terms)
        term.coefficient *= 0.9 / sum;
    }
    equation.intercept = level(random);
  }
  return system;
}

// Every series a target, every other series a candidate: the request of a full build.
inline std::vector<TargetRequest> AllTargets(std::size_t n) {
  std::vector<TargetRequest> requests(n);
  for (std::size_t j = 0; j < n; ++j) {
    requests[j].series = j;
    for (std::size_t k = 0; k < n; ++k) {
      if (k != j)
        requests[j].candidates.push_back(k);
    }
  }
  return requests;
}

// The engine's build with its default rules on T x N data: every series a target, all others
// candidates, the automatic lag and input limit, the extended BIC of the build stage.
inline ModelSystem LearnSystem(const Eigen::MatrixXd& x) {
  const std::size_t n = static_cast<std::size_t>(x.cols());
  const std::vector<TargetRequest> requests = AllTargets(n);
  BuildOptions options;
  options.selection.extended_bic_gamma = 0.5;
  const int lag = ChooseLag(x, requests, 0, options);
  options.selection.max_inputs = DefaultInputLimit(static_cast<std::size_t>(x.rows()) - lag, lag);
  const LaggedDesign design(x, lag, options.threads);
  ModelSystem system;
  system.settings.max_lag = lag;
  system.series.resize(n);
  for (std::size_t j = 0; j < n; ++j)
    system.series[j].id = std::to_string(j + 1);
  system.equations = BuildEquations(design, requests, options).equations;
  return system;
}

// Simulates `t` points after a burn-in of 200 (T x N).
inline Eigen::MatrixXd Simulate(const TrueSystem& system, std::size_t t, unsigned seed) {
  std::mt19937_64 random(seed);
  std::normal_distribution<double> normal(0, 1);
  const std::size_t n = system.equations.size();
  const std::size_t burn = 200;
  const std::size_t total = t + burn;
  Eigen::MatrixXd x =
      Eigen::MatrixXd::Zero(static_cast<Eigen::Index>(total), static_cast<Eigen::Index>(n));
  for (std::size_t time = 0; time < total; ++time) {
    for (std::size_t j = 0; j < n; ++j) {
      const TrueEquation& equation = system.equations[j];
      double value = equation.intercept + equation.noise_sd * normal(random);
      for (const TrueTerm& term : equation.terms) {
        if (time >= static_cast<std::size_t>(term.lag)) {
          value += term.coefficient * x(static_cast<Eigen::Index>(time) - term.lag,
                                        static_cast<Eigen::Index>(term.source));
        }
      }
      x(static_cast<Eigen::Index>(time), static_cast<Eigen::Index>(j)) = value;
    }
  }
  return x.bottomRows(static_cast<Eigen::Index>(t));
}

// The true one-step prediction of series j at row `time` of `x` (time >= max_lag).
inline double TruePrediction(const TrueSystem& system, const Eigen::MatrixXd& x, std::size_t j,
                             Eigen::Index time) {
  const TrueEquation& equation = system.equations[j];
  double value = equation.intercept;
  for (const TrueTerm& term : equation.terms) {
    value += term.coefficient * x(time - term.lag, static_cast<Eigen::Index>(term.source));
  }
  return value;
}

} // namespace engine::model::testing
