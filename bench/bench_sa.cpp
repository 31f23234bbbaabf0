// Benchmark of scenario runs on sparse VAR systems with a known graph: per trial a system is
// simulated, the model system is learned from the data by the engine's build, and a root series
// with true descendants is set 3 of its standard deviations above its mean over 4 time points
// after the last observation; the run goes 12 points on. The reported scenario is compared with
// the TRUE system under the same intervention: its effect (true coefficients, with and without
// the intervention) and its outcomes (the intervened true system simulated with fresh noise).
// Run: bench_sa [trials] (40 by default). Figures: bench/README.md.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <vector>

#include "engine/model/distributions.h"
#include "engine/model/model_system.h"
#include "engine/model/scenario.h"
#include "engine/model/var_simulation.h"

namespace {

using namespace engine::model;
using engine::model::testing::MakeSparseSystem;
using engine::model::testing::Simulate;
using engine::model::testing::Strengths;
using engine::model::testing::TrueEquation;
using engine::model::testing::TrueSystem;
using engine::model::testing::TrueTerm;

constexpr int kPeriod = 4;    // time points the root is set
constexpr int kSteps = 12;    // time points of the run from the start
constexpr int kGenerations = 10;
constexpr int kDraws = 100;   // outcomes of the true system per trial
constexpr std::size_t kTop = 3;

// The true system from `start` to `start + kSteps - 1`, after the data `x` (T x N), with the root
// held at `value` over the period; with noise when `random` is given. Rows start.. of the path.
Eigen::MatrixXd TrueRun(const TrueSystem& truth, const Eigen::MatrixXd& x, std::size_t root,
                        double value, bool intervene, std::mt19937_64* random) {
  std::normal_distribution<double> normal(0, 1);
  const Eigen::Index t0 = x.rows();
  Eigen::MatrixXd path(t0 + kSteps, x.cols());
  path.topRows(t0) = x;
  for (Eigen::Index t = t0; t < t0 + kSteps; ++t) {
    for (std::size_t j = 0; j < truth.equations.size(); ++j) {
      if (intervene && j == root && t < t0 + kPeriod) {
        path(t, static_cast<Eigen::Index>(j)) = value;
        continue;
      }
      const TrueEquation& equation = truth.equations[j];
      double v = equation.intercept + (random ? equation.noise_sd * normal(*random) : 0.0);
      for (const TrueTerm& term : equation.terms)
        v += term.coefficient * path(t - term.lag, static_cast<Eigen::Index>(term.source));
      path(t, static_cast<Eigen::Index>(j)) = v;
    }
  }
  return path.bottomRows(kSteps);
}

// The true descendants of `root` (any depth).
std::vector<bool> TrueDescendants(const TrueSystem& truth, std::size_t root) {
  std::vector<bool> reached(truth.equations.size(), false);
  for (bool changed = true; changed;) {
    changed = false;
    for (std::size_t j = 0; j < truth.equations.size(); ++j) {
      if (reached[j] || j == root)
        continue;
      for (std::size_t parent : truth.equations[j].parents) {
        if (parent == root || reached[parent]) {
          reached[j] = changed = true;
          break;
        }
      }
    }
  }
  return reached;
}

struct Tally {
  int trials = 0;
  double outcomes = 0, outcomes_in = 0; // true outcomes within the reported interval
  double effects = 0, effects_in = 0;   // true effects within the interval moved to the effect
  double error = 0, size = 0;           // sum |reported - true effect|, sum |true effect|
  double top_hits = 0, top_total = 0;   // automatic targets among the true top effects
  int top1 = 0;
  double top1_share = 0; // true effect of the first target / the largest true effect
  int missed = 0; // true descendants the learned model did not reach
};

Tally Run(std::size_t n, std::size_t parents, const Strengths& strengths, Eigen::Index t,
          int trials) {
  Tally tally;
  const double z = NormalQuantile(0.975);
  for (int trial = 0; trial < trials; ++trial) {
    const unsigned seed = static_cast<unsigned>(2000 + trial);
    std::mt19937_64 random(seed);
    const TrueSystem truth = MakeSparseSystem(n, 3, parents, seed, strengths);
    const Eigen::MatrixXd x = Simulate(truth, static_cast<std::size_t>(t), seed + 7);
    std::vector<std::size_t> roots;
    for (std::size_t j = 0; j < n; ++j) {
      const std::vector<bool> below = TrueDescendants(truth, j);
      if (std::count(below.begin(), below.end(), true) >= 2)
        roots.push_back(j);
    }
    if (roots.empty())
      continue;
    const std::size_t root = roots[std::uniform_int_distribution<std::size_t>(0, roots.size() - 1)(random)];
    const std::vector<bool> descendant = TrueDescendants(truth, root);
    const Eigen::VectorXd column = x.col(static_cast<Eigen::Index>(root));
    const double mean = column.mean();
    const double sd = std::sqrt((column.array() - mean).square().sum() / (t - 1));
    const double value = mean + 3 * sd;

    const ModelSystem system = engine::model::testing::LearnSystem(x);
    ScenarioRequest request;
    request.root = root;
    request.start = t;
    request.end = t + kPeriod - 1;
    request.furthest = t + kSteps - 1;
    request.values.assign(kPeriod, value);
    request.generations = kGenerations;
    request.variances = true;
    const ScenarioRun run = RunScenario(system, x, request);

    const Eigen::MatrixXd effect = TrueRun(truth, x, root, value, true, nullptr) -
                                   TrueRun(truth, x, root, value, false, nullptr);
    std::vector<Eigen::MatrixXd> outcomes;
    for (int draw = 0; draw < kDraws; ++draw)
      outcomes.push_back(TrueRun(truth, x, root, value, true, &random));
    ++tally.trials;
    std::vector<double> true_relative(n, 0.0);
    for (std::size_t j = 0; j < n; ++j) {
      if (!descendant[j])
        continue;
      const Eigen::Index s = static_cast<Eigen::Index>(j);
      tally.missed += run.generation[j] < 1;
      const Eigen::VectorXd series = x.col(s);
      const double spread = std::sqrt((series.array() - series.mean()).square().sum() / (t - 1));
      true_relative[j] = effect.col(s).cwiseAbs().maxCoeff() / spread;
      for (Eigen::Index h = 0; h < kSteps; ++h) {
        const double half = z * std::sqrt(run.variance(h, s));
        const double reported = run.scenario(h, s) - run.baseline(h, s);
        const bool has_interval = std::isfinite(half);
        tally.effects += 1;
        tally.effects_in += has_interval && std::fabs(effect(h, s) - reported) <= half;
        tally.error += std::fabs(reported - effect(h, s));
        tally.size += std::fabs(effect(h, s));
        for (const Eigen::MatrixXd& outcome : outcomes) {
          tally.outcomes += 1;
          tally.outcomes_in += has_interval && std::fabs(outcome(h, s) - run.scenario(h, s)) <= half;
        }
      }
    }
    // The automatic choice against the true descendants with the largest effects.
    const std::vector<std::size_t> chosen = MostAffected(run, RelativeEffects(run, x), kTop);
    std::vector<std::size_t> best;
    for (std::size_t j = 0; j < n; ++j) {
      if (descendant[j])
        best.push_back(j);
    }
    std::stable_sort(best.begin(), best.end(),
                     [&](std::size_t a, std::size_t b) { return true_relative[a] > true_relative[b]; });
    best.resize(std::min(best.size(), kTop));
    for (std::size_t j : best)
      tally.top_hits += std::find(chosen.begin(), chosen.end(), j) != chosen.end();
    tally.top_total += static_cast<double>(best.size());
    tally.top1 += !chosen.empty() && chosen.front() == best.front();
    if (!chosen.empty())
      tally.top1_share += true_relative[chosen.front()] / true_relative[best.front()];
  }
  return tally;
}

} // namespace

int main(int argc, char** argv) {
  const int trials = argc > 1 ? std::max(1, std::atoi(argv[1])) : 40;
  std::printf("| N | parents | edges | T | trials | outcomes in 95%% interval | true effect in "
              "interval | effect error / size | targets in true top-3 | top-1 | top-1 share | missed |\n");
  std::printf("|---|---|---|---|---|---|---|---|---|---|---|---|\n");
  struct Case {
    std::size_t n, parents;
    const char* edges;
    Strengths strengths;
    Eigen::Index t;
  } cases[] = {{20, 1, "0.25-0.4", Strengths{}, 300},
               {20, 1, "0.6-0.8", Strengths{0.1, 0.3, 0.6, 0.8}, 300},
               {20, 2, "0.6-0.8", Strengths{0.1, 0.3, 0.6, 0.8}, 300},
               {50, 1, "0.6-0.8", Strengths{0.1, 0.3, 0.6, 0.8}, 500},
               {20, 1, "0.6-0.8", Strengths{0.1, 0.3, 0.6, 0.8}, 100}};
  for (const Case& c : cases) {
    const Tally r = Run(c.n, c.parents, c.strengths, c.t, trials);
    std::printf("| %zu | %zu | %s | %ld | %d | %.3f | %.3f | %.3f | %.3f | %d/%d | %.3f | %d |\n",
                c.n, c.parents, c.edges, static_cast<long>(c.t), r.trials,
                r.outcomes_in / r.outcomes, r.effects_in / r.effects, r.error / r.size,
                r.top_hits / r.top_total, r.top1, r.trials, r.top1_share / r.trials, r.missed);
    std::fflush(stdout);
  }
  return 0;
}
