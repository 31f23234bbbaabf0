// This file contains the scoring of a model system over a series panel.
#include "engine/model/scoring.h"

#include <algorithm>
#include <cmath>

#include "engine/model/forecast.h"
#include "engine/model/model_archive.h"
#include "engine/model/stage_inputs.h"
#include "support/progress.h"

namespace engine::model {

std::vector<std::ptrdiff_t> MatchPanel(const ModelSystem& system, const SeriesPanel& panel) {
  std::vector<std::ptrdiff_t> match(system.series.size(), -1);
  for (std::size_t s = 0; s < system.series.size(); ++s) {
    const SeriesRef& wanted = system.series[s];
    for (std::size_t p = 0; p < panel.series.size(); ++p) {
      if (panel.series[p].dims == wanted.dims && panel.series[p].metric == wanted.metric) {
        match[s] = static_cast<std::ptrdiff_t>(p);
        break;
      }
    }
    if (match[s] < 0)
      match[s] = panel.Find(wanted.id);
  }
  return match;
}

Eigen::MatrixXd SystemHistory(const ModelSystem& system, const SeriesPanel& panel,
                              const std::vector<std::ptrdiff_t>& panel_of_series) {
  const Eigen::Index time_count = static_cast<Eigen::Index>(panel.TimeCount());
  Eigen::MatrixXd history =
      Eigen::MatrixXd::Constant(time_count, static_cast<Eigen::Index>(system.series.size()), kNaN);
  for (std::size_t s = 0; s < system.series.size(); ++s) {
    if (panel_of_series[s] >= 0) {
      history.col(static_cast<Eigen::Index>(s)) = panel.values.col(panel_of_series[s]);
    }
  }
  return history;
}

std::vector<ResultColumn> ScoreSeries(const ModelSystem& system, const SeriesPanel& panel,
                                      const std::vector<std::ptrdiff_t>& panel_of_series,
                                      const std::vector<std::size_t>& equations,
                                      const ScoreOptions& options) {
  const Eigen::Index time_count = static_cast<Eigen::Index>(panel.TimeCount());
  const int horizon = std::max(options.horizon, 0);
  const Eigen::Index length = time_count + horizon;
  const Eigen::Index width = static_cast<Eigen::Index>(panel.series.size());
  const bool intervals =
      (options.fit && options.fit_interval) || (horizon > 0 && options.forecast_interval);
  const bool residuals = options.fit && options.fit_residual;
  Eigen::MatrixXd predicted = Eigen::MatrixXd::Constant(length, width, kNaN);
  Eigen::MatrixXd lower = predicted;
  Eigen::MatrixXd upper = predicted;
  Eigen::MatrixXd residual = predicted;
  const double z = IntervalMultiplier(options.confidence_level);

  const Eigen::MatrixXd history = SystemHistory(system, panel, panel_of_series);
  Eigen::MatrixXd one_step;
  if (options.fit)
    one_step = OneStepPredictions(system, history);
  SystemForecast forecast;
  if (horizon > 0)
    forecast = ForecastSystem(system, history, horizon);

  support::ProgressTotal(equations.size());
  for (std::size_t e : equations) {
    support::ProgressStep();
    const Equation& equation = system.equations[e];
    const std::ptrdiff_t column = panel_of_series[equation.series];
    if (column < 0)
      continue;
    const Eigen::Index source = static_cast<Eigen::Index>(equation.series);
    const double sigma = std::sqrt(equation.stats.sigma2);
    if (options.fit) {
      for (Eigen::Index t = 0; t < time_count; ++t) {
        const double value = one_step(t, source);
        predicted(t, column) = value;
        if (options.fit_interval) {
          lower(t, column) = value - z * sigma;
          upper(t, column) = value + z * sigma;
        }
        if (residuals)
          residual(t, column) = history(t, source) - value;
      }
    }
    for (int h = 0; h < horizon; ++h) {
      const double value = forecast.mean(h, source);
      predicted(time_count + h, column) = value;
      if (options.forecast_interval) {
        const double half = z * std::sqrt(forecast.variance(h, source));
        lower(time_count + h, column) = value - half;
        upper(time_count + h, column) = value + half;
      }
    }
  }
  std::vector<ResultColumn> results;
  results.emplace_back("_predicted", std::move(predicted));
  if (intervals) {
    results.emplace_back("_LCI", std::move(lower));
    results.emplace_back("_UCI", std::move(upper));
  }
  if (residuals)
    results.emplace_back("_residual", std::move(residual));
  return results;
}

support::Result<ScoringData> LoadScoringData(const std::string& model_path,
                                             const std::string& preparation_json,
                                             const Table& prepared) {
  auto loaded = ReadModelArchive(model_path);
  if (!loaded)
    return loaded.error();
  ScoringData data;
  data.system = std::move(loaded->system);
  data.preparation_json =
      preparation_json.empty() ? std::move(loaded->preparation_json) : preparation_json;
  auto document = support::ParseJson(data.preparation_json);
  if (!document)
    return support::Error{"TSDPOutput.json: " + document.message()};
  const support::Json* output = support::FindMember(*document, "output");
  if (output == nullptr)
    return support::Error{"TSDPOutput.json has no 'output'"};
  auto fitted = OutputForTable(prepared, *output);
  if (!fitted)
    return fitted.error();
  auto panel = BuildSeriesPanel(prepared, *fitted);
  if (!panel)
    return panel.error();
  data.panel = std::move(*panel);
  data.panel_of_series = MatchPanel(data.system, data.panel);
  return data;
}

std::vector<std::size_t> SelectEquations(const ModelSystem& system, const support::Json* arrays,
                                         bool include, bool targets) {
  std::vector<std::size_t> named_series = MatchSeriesArrays(arrays, system.series);
  std::vector<std::size_t> selected;
  for (std::size_t e = 0; e < system.equations.size(); ++e) {
    const Equation& equation = system.equations[e];
    if (equation.is_target != targets)
      continue;
    const bool named =
        std::binary_search(named_series.begin(), named_series.end(), equation.series);
    if (named == include)
      selected.push_back(e);
  }
  return selected;
}

} // namespace engine::model
