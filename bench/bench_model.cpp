// Benchmark of model building and scoring on sparse VAR systems with a known graph: graph
// recovery, one-step accuracy against the true model, forecast interval coverage, build time.
// Run: bench_model [all|quality|accuracy|speed|tune] (all by default). Figures: bench/README.md.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "engine/model/forecast.h"
#include "engine/model/lagged_design.h"
#include "engine/model/model_system.h"
#include "engine/model/thread_pool.h"
#include "engine/model/var_simulation.h"

namespace {

using engine::model::BuildEquations;
using engine::model::BuildOptions;
using engine::model::BuildOutcome;
using engine::model::LaggedDesign;
using engine::model::ModelSystem;
using engine::model::TargetRequest;
using engine::model::testing::AllTargets;
using engine::model::testing::MakeSparseSystem;
using engine::model::testing::Simulate;
using engine::model::testing::TrueSystem;
using Clock = std::chrono::steady_clock;

constexpr unsigned kSeeds[] = {1, 2, 3};

double Seconds(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

ModelSystem ToSystem(BuildOutcome outcome, std::size_t n, int lag) {
  ModelSystem system;
  system.settings.max_lag = lag;
  system.series.resize(n);
  for (std::size_t j = 0; j < n; ++j)
    system.series[j].id = std::to_string(j + 1);
  system.equations = std::move(outcome.equations);
  return system;
}

struct GraphScore {
  double f1_selected = 0;    // chosen inputs against the true parents
  double f1_significant = 0; // inputs whose F test p < 0.05 (the edges the graph shows)
  std::vector<int> lags;     // the lag used for each seed
};

GraphScore ScoreGraph(const ModelSystem& system, const TrueSystem& truth) {
  double tp[2] = {0, 0}, fp[2] = {0, 0}, fn[2] = {0, 0};
  for (const auto& equation : system.equations) {
    if (!equation.is_target)
      continue;
    const auto& parents = truth.equations[equation.series].parents;
    for (int kind = 0; kind < 2; ++kind) {
      std::size_t found = 0;
      for (const auto& block : equation.blocks) {
        if (block.own || (kind == 1 && !(block.f_p_value < 0.05)))
          continue;
        if (std::find(parents.begin(), parents.end(), block.series) != parents.end()) {
          ++found;
        } else {
          fp[kind] += 1;
        }
      }
      tp[kind] += static_cast<double>(found);
      fn[kind] += static_cast<double>(parents.size() - found);
    }
  }
  GraphScore score;
  score.f1_selected = 2 * tp[0] / (2 * tp[0] + fp[0] + fn[0]);
  score.f1_significant = 2 * tp[1] / (2 * tp[1] + fp[1] + fn[1]);
  return score;
}

// lag 0: the automatic choice; max_inputs 0: the default rule.
struct Setting {
  int lag = 0;
  std::size_t max_inputs = 0;
  double gamma = 0.5;
};

struct Resolved {
  int lag = 1;
  BuildOptions options;
};

// The lag and options the model stage would use on these data.
Resolved Resolve(const Setting& setting, const Eigen::MatrixXd& x,
                 const std::vector<TargetRequest>& requests, unsigned threads = 0) {
  Resolved resolved;
  resolved.options.selection.extended_bic_gamma = setting.gamma;
  resolved.options.threads = threads;
  resolved.lag = setting.lag > 0
                     ? setting.lag
                     : engine::model::ChooseLag(x, requests, setting.max_inputs, resolved.options);
  resolved.options.selection.max_inputs =
      setting.max_inputs > 0 ? setting.max_inputs
                             : engine::model::DefaultInputLimit(
                                   static_cast<std::size_t>(x.rows()) - resolved.lag, resolved.lag);
  return resolved;
}

// Median F1 over three seeds.
GraphScore Recovery(std::size_t n, std::size_t t, const Setting& setting) {
  std::vector<double> selected, significant;
  std::vector<int> lags;
  for (unsigned seed : kSeeds) {
    const TrueSystem truth = MakeSparseSystem(n, 3, 2, seed);
    const Eigen::MatrixXd x = Simulate(truth, t, seed + 100);
    const auto requests = AllTargets(n);
    const Resolved r = Resolve(setting, x, requests);
    const LaggedDesign design(x, r.lag);
    const ModelSystem system = ToSystem(BuildEquations(design, requests, r.options), n, r.lag);
    lags.push_back(r.lag);
    const GraphScore score = ScoreGraph(system, truth);
    selected.push_back(score.f1_selected);
    significant.push_back(score.f1_significant);
  }
  return {Median(selected), Median(significant), lags};
}

struct Accuracy {
  double rmse_ratio = 0;          // held-out one-step RMSE, fitted system / true system
  double coverage[3] = {0, 0, 0}; // 95% intervals at horizons 1, 5, 10
};

Accuracy HeldOut(std::size_t n, std::size_t t, const Setting& setting, unsigned seed) {
  const TrueSystem truth = MakeSparseSystem(n, 3, 2, seed);
  const Eigen::MatrixXd all = Simulate(truth, 2 * t, seed + 100);
  const Eigen::MatrixXd train = all.topRows(static_cast<Eigen::Index>(t));
  const auto requests = AllTargets(n);
  const Resolved r = Resolve(setting, train, requests);
  const LaggedDesign design(train, r.lag);
  const ModelSystem system = ToSystem(BuildEquations(design, requests, r.options), n, r.lag);
  const Eigen::MatrixXd fitted = engine::model::OneStepPredictions(system, all);
  double fitted_sse = 0, true_sse = 0;
  for (Eigen::Index row = static_cast<Eigen::Index>(t); row < all.rows(); ++row) {
    for (std::size_t j = 0; j < n; ++j) {
      const Eigen::Index column = static_cast<Eigen::Index>(j);
      fitted_sse += std::pow(all(row, column) - fitted(row, column), 2);
      true_sse += std::pow(
          all(row, column) - engine::model::testing::TruePrediction(truth, all, j, row), 2);
    }
  }
  Accuracy accuracy;
  accuracy.rmse_ratio = std::sqrt(fitted_sse / true_sse);
  const int horizons[3] = {1, 5, 10};
  const double z = engine::model::IntervalMultiplier(0.95);
  double inside[3] = {0, 0, 0}, count[3] = {0, 0, 0};
  for (Eigen::Index origin = static_cast<Eigen::Index>(t) - 1; origin + 10 < all.rows();
       origin += 5) {
    const auto forecast = engine::model::ForecastSystem(system, all.topRows(origin + 1), 10);
    for (int k = 0; k < 3; ++k) {
      const int h = horizons[k];
      for (std::size_t j = 0; j < n; ++j) {
        const Eigen::Index column = static_cast<Eigen::Index>(j);
        const double error = all(origin + h, column) - forecast.mean(h - 1, column);
        if (std::fabs(error) <= z * std::sqrt(forecast.variance(h - 1, column)))
          inside[k] += 1;
        count[k] += 1;
      }
    }
  }
  for (int k = 0; k < 3; ++k)
    accuracy.coverage[k] = inside[k] / count[k];
  return accuracy;
}

struct Timing {
  double gram = 0;  // forming the lagged design and its Gram matrix
  double total = 0; // the whole build: design, selection and fits of all targets, AR models
};

Timing BuildTime(std::size_t n, std::size_t t, const Setting& setting, unsigned threads,
                 int repeats) {
  const TrueSystem truth = MakeSparseSystem(n, 3, 2, 1);
  const Eigen::MatrixXd x = Simulate(truth, t, 101);
  const std::vector<TargetRequest> requests = AllTargets(n);
  std::vector<double> grams, totals;
  for (int repeat = 0; repeat < repeats; ++repeat) {
    const Clock::time_point start = Clock::now();
    const Resolved r = Resolve(setting, x, requests, threads);
    const Clock::time_point gram_start = Clock::now();
    const LaggedDesign design(x, r.lag, threads);
    grams.push_back(Seconds(gram_start));
    const BuildOutcome outcome = BuildEquations(design, requests, r.options);
    totals.push_back(Seconds(start));
    if (outcome.equations.size() != n)
      std::printf("  (%zu targets failed)\n", outcome.failures.size());
  }
  return {Median(grams), Median(totals)};
}

void Quality(const Setting& setting) {
  std::printf("Graph recovery, median F1 over seeds 1-3 (lag %d, input limit %zu, gamma %.2f;"
              " 0 = default rule)\n",
              setting.lag, setting.max_inputs, setting.gamma);
  std::printf("| N | T | lags used | F1 chosen inputs | F1 significant edges |\n");
  std::printf("|---|---|---|---|---|\n");
  const std::size_t sizes[3][2] = {{20, 300}, {50, 500}, {100, 500}};
  for (const auto& size : sizes) {
    const GraphScore score = Recovery(size[0], size[1], setting);
    std::printf("| %zu | %zu | %d %d %d | %.3f | %.3f |\n", size[0], size[1], score.lags[0],
                score.lags[1], score.lags[2], score.f1_selected, score.f1_significant);
  }
}

void AccuracyReport(const Setting& setting) {
  std::printf("\nHeld-out accuracy, N=50, trained on T=500, tested on the next 500 points\n");
  std::printf("| seed | RMSE / true RMSE | coverage h=1 | h=5 | h=10 |\n|---|---|---|---|---|\n");
  for (unsigned seed : kSeeds) {
    const Accuracy a = HeldOut(50, 500, setting, seed);
    std::printf("| %u | %.4f | %.3f | %.3f | %.3f |\n", seed, a.rmse_ratio, a.coverage[0],
                a.coverage[1], a.coverage[2]);
  }
}

void Speed(const Setting& setting, bool large) {
  std::printf("\nBuild time (median of repeats; build = lag choice when automatic, design, Gram,"
              " selection, fits)\n");
  std::printf("| N | T | lag (0 = automatic) | threads | Gram s | build s | build / Gram |\n");
  std::printf("|---|---|---|---|---|---|---|\n");
  auto row = [&](std::size_t n, std::size_t t, int lag, unsigned threads, int repeats) {
    Setting s = setting;
    s.lag = lag;
    const Timing timing = BuildTime(n, t, s, threads, repeats);
    std::printf("| %zu | %zu | %d | %u | %.4f | %.4f | %.2f |\n", n, t, lag,
                threads == 0 ? engine::model::DefaultThreadCount() : threads, timing.gram,
                timing.total, timing.total / timing.gram);
    std::fflush(stdout);
  };
  row(50, 500, 0, 0, 9);
  row(50, 500, 3, 0, 9);
  row(50, 500, 3, 1, 9);
  for (std::size_t n : {100, 200, 400, 800})
    row(n, 500, 3, 0, 3);
  for (std::size_t t : {250, 1000, 2000, 4000})
    row(100, t, 3, 0, 3);
  if (large)
    row(1000, 1000, 5, 2, 1);
}

void Tune() {
  std::printf("Automatic lag on systems whose true largest lag is 1..5 (N=50, T=500; seeds 1-3)\n");
  for (int true_lag = 1; true_lag <= 5; ++true_lag) {
    std::printf("true %d: chosen", true_lag);
    for (unsigned seed : kSeeds) {
      const TrueSystem truth = MakeSparseSystem(50, true_lag, 2, seed);
      const Eigen::MatrixXd x = Simulate(truth, 500, seed + 100);
      std::printf(" %d", Resolve(Setting{}, x, AllTargets(50)).lag);
    }
    std::printf("\n");
  }
  std::printf("Tuning: median F1 (chosen / significant) and held-out figures by setting\n");
  std::printf("| lag | limit | gamma | F1 20x300 | F1 50x500 | F1 100x500 | RMSE ratio | cov h=1 | "
              "h=10 |\n");
  std::printf("|---|---|---|---|---|---|---|---|---|\n");
  for (int lag : {0, 2, 3, 5}) {
    for (double gamma : {0.0, 0.5, 1.0}) {
      Setting s{lag, 0, gamma};
      const GraphScore a = Recovery(20, 300, s);
      const GraphScore b = Recovery(50, 500, s);
      const GraphScore c = Recovery(100, 500, s);
      const Accuracy acc = HeldOut(50, 500, s, 1);
      std::printf(
          "| %d | %zu | %.1f | %.3f / %.3f | %.3f / %.3f | %.3f / %.3f | %.4f | %.3f | %.3f |\n",
          lag, s.max_inputs, gamma, a.f1_selected, a.f1_significant, b.f1_selected,
          b.f1_significant, c.f1_selected, c.f1_significant, acc.rmse_ratio, acc.coverage[0],
          acc.coverage[2]);
      std::fflush(stdout);
    }
  }
}

} // namespace

int main(int argc, char** argv) {
  const std::string mode = argc > 1 ? argv[1] : "all";
  const Setting setting;
  if (mode == "tune") {
    Tune();
    return 0;
  }
  if (mode == "all" || mode == "quality")
    Quality(setting);
  if (mode == "all" || mode == "accuracy")
    AccuracyReport(setting);
  if (mode == "all" || mode == "speed")
    Speed(setting, mode == "speed" || mode == "all");
  return 0;
}
