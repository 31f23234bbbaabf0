// This file contains the parallel building and re-estimation of the equations of a model system.
#include "engine/model/model_system.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

#include "engine/model/thread_pool.h"
#include "support/progress.h"

namespace engine::model {

std::ptrdiff_t ModelSystem::EquationOf(std::size_t series_index) const {
  for (std::size_t e = 0; e < equations.size(); ++e) {
    if (equations[e].series == series_index)
      return static_cast<std::ptrdiff_t>(e);
  }
  return -1;
}

std::ptrdiff_t ModelSystem::FindSeries(const std::string& id) const {
  for (std::size_t s = 0; s < series.size(); ++s) {
    if (series[s].id == id)
      return static_cast<std::ptrdiff_t>(s);
  }
  return -1;
}

namespace {

struct Slot {
  std::optional<Equation> equation;
  std::string failure;
};

// Runs `fit` for every index in batches of `per_job` on the pool.
template <class Fit>
std::vector<Slot> FitInBatches(std::size_t count, const BuildOptions& options, Fit fit) {
  std::vector<Slot> slots(count);
  const std::size_t per_job = std::max<std::size_t>(options.models_per_job, 1);
  const std::size_t jobs = (count + per_job - 1) / per_job;
  support::ProgressTotal(count);
  ParallelFor(jobs, options.threads, [&](std::size_t job, unsigned) {
    const std::size_t end = std::min(count, (job + 1) * per_job);
    for (std::size_t index = job * per_job; index < end; ++index) {
      support::Result<Equation> result = fit(index);
      if (result) {
        slots[index].equation = std::move(result).value();
      } else {
        slots[index].failure = result.message();
      }
      support::ProgressStep();
    }
  });
  return slots;
}

} // namespace

BuildOutcome BuildEquations(const LaggedDesign& design, std::span<const TargetRequest> targets,
                            const BuildOptions& options) {
  BuildOutcome outcome;
  std::vector<Slot> slots = FitInBatches(targets.size(), options, [&](std::size_t index) {
    const TargetRequest& request = targets[index];
    std::vector<std::size_t> inputs = request.forced;
    for (std::size_t chosen : SelectInputs(design, request.series, request.forced,
                                           request.candidates, options.selection)) {
      inputs.push_back(chosen);
    }
    support::Result<Equation> fitted = FitEquation(design, request.series, inputs);
    // Forced inputs collinear with the rest are the one way a selected set can fail; the
    // target then keeps what can be estimated.
    if (!fitted && inputs.size() > request.forced.size()) {
      fitted = FitEquation(design, request.series, request.forced);
    }
    return fitted;
  });
  std::vector<bool> is_target(design.series_count(), false);
  std::vector<bool> is_input(design.series_count(), false);
  for (std::size_t index = 0; index < slots.size(); ++index) {
    if (!slots[index].equation) {
      outcome.failures.emplace_back(targets[index].series, slots[index].failure);
      continue;
    }
    is_target[slots[index].equation->series] = true;
    for (const InputBlock& block : slots[index].equation->blocks) {
      if (!block.own)
        is_input[block.series] = true;
    }
    outcome.equations.push_back(std::move(*slots[index].equation));
  }
  std::vector<std::size_t> ar_series;
  for (std::size_t series = 0; series < design.series_count(); ++series) {
    if (is_input[series] && !is_target[series])
      ar_series.push_back(series);
  }
  std::vector<Slot> ar_slots = FitInBatches(ar_series.size(), options, [&](std::size_t index) {
    return FitEquation(design, ar_series[index], {});
  });
  for (std::size_t index = 0; index < ar_slots.size(); ++index) {
    if (!ar_slots[index].equation) {
      outcome.failures.emplace_back(ar_series[index], ar_slots[index].failure);
      continue;
    }
    ar_slots[index].equation->is_target = false;
    outcome.equations.push_back(std::move(*ar_slots[index].equation));
  }
  return outcome;
}

BuildOutcome RefitEquations(const LaggedDesign& design, std::span<const Equation> structure,
                            const BuildOptions& options) {
  BuildOutcome outcome;
  std::vector<Slot> slots = FitInBatches(structure.size(), options, [&](std::size_t index) {
    std::vector<std::size_t> inputs;
    for (const InputBlock& block : structure[index].blocks) {
      if (!block.own)
        inputs.push_back(block.series);
    }
    return FitEquation(design, structure[index].series, inputs);
  });
  for (std::size_t index = 0; index < slots.size(); ++index) {
    if (!slots[index].equation) {
      outcome.failures.emplace_back(structure[index].series, slots[index].failure);
      continue;
    }
    slots[index].equation->is_target = structure[index].is_target;
    outcome.equations.push_back(std::move(*slots[index].equation));
  }
  return outcome;
}

int AutomaticLagCeiling(std::size_t time_count) {
  return static_cast<int>(std::clamp<std::size_t>(time_count / 20, 1, 6));
}

std::size_t DefaultInputLimit(std::size_t rows, int lag) {
  const double blocks = (static_cast<double>(rows) / 10.0 - 1.0 - lag) / lag;
  return static_cast<std::size_t>(std::clamp(std::floor(blocks), 1.0, 10.0));
}

int ChooseLag(const Eigen::MatrixXd& values, std::span<const TargetRequest> targets,
              std::size_t max_inputs, const BuildOptions& options) {
  const int ceiling = AutomaticLagCeiling(static_cast<std::size_t>(values.rows()));
  if (ceiling <= 1 || targets.empty() || values.rows() <= ceiling + 2)
    return 1;
  const LaggedDesign full(values, ceiling, options.threads);
  constexpr std::size_t kSample = 25;
  std::vector<std::size_t> sample;
  const std::size_t count = std::min(kSample, targets.size());
  for (std::size_t i = 0; i < count; ++i)
    sample.push_back(i * targets.size() / count);
  std::vector<double> total(static_cast<std::size_t>(ceiling), 0.0);
  ParallelFor(static_cast<std::size_t>(ceiling), options.threads, [&](std::size_t index, unsigned) {
    const int lag = static_cast<int>(index) + 1;
    std::optional<LaggedDesign> truncated;
    if (lag < ceiling)
      truncated.emplace(full.Truncated(lag));
    const LaggedDesign& design = truncated ? *truncated : full;
    SelectionOptions selection = options.selection;
    selection.max_inputs = max_inputs > 0 ? max_inputs : DefaultInputLimit(design.rows(), lag);
    double sum = 0;
    for (std::size_t target : sample) {
      const TargetRequest& request = targets[target];
      std::vector<std::size_t> inputs = request.forced;
      for (std::size_t chosen :
           SelectInputs(design, request.series, request.forced, request.candidates, selection)) {
        inputs.push_back(chosen);
      }
      const support::Result<Equation> fitted = FitEquation(design, request.series, inputs);
      // An order that cannot be fitted for some target is out of the running.
      sum += fitted ? fitted->stats.bic : std::numeric_limits<double>::infinity();
    }
    total[index] = sum;
  });
  const auto best = std::min_element(total.begin(), total.end());
  return static_cast<int>(best - total.begin()) + 1;
}

} // namespace engine::model
