// This file contains the `tcm:score` stage: forecasts and one-step fits of a model system's
// targets as result columns with future rows, or the re-estimation of the same structure on new
// data into a new model archive.
#include <algorithm>
#include <cmath>

#include "engine/model/forecast.h"
#include "engine/model/model_archive.h"
#include "engine/model/scoring.h"
#include "engine/model/stage_inputs.h"
#include "engine/stages/registry.h"
#include "support/zip_archive.h"

namespace engine {
namespace {

struct ScoreStageOptions {
  bool include_list = false; // INCLUDED_TARGET_LIST: the named targets; else all but them
  support::Json series_arrays = support::Json::array();
  model::ScoreOptions score;
  bool reestimate = false;
  std::string model_path;
  std::string json_path;   // re-estimation: the new preparation's archive
  std::string output_path; // re-estimation: the new model archive
};

class ScoreStage : public Stage {
 public:
  bool Configure(const StageCall& call, const Script& script, MessageQueue& messages) override {
    call_ = call;
    const std::string place = StagePlace(call);
    const support::Json* config = nullptr;
    const support::Json* in = nullptr;
    const support::Json* out = nullptr;
    if (!ConfigurationAndFiles(call, script, false, &config, &in, &out, messages)) return false;
    if (const support::Json* setting = support::FindMember(*config, "fieldSetting")) {
      const std::string type = support::GetString(*setting, "fieldType", "EXCLUDED_TARGET_LIST");
      if (type != "INCLUDED_TARGET_LIST" && type != "EXCLUDED_TARGET_LIST") {
        return messages.Error(place + "'fieldType' '" + type + "' is unknown");
      }
      options_.include_list = type == "INCLUDED_TARGET_LIST";
      if (const support::Json* list = support::FindPath(*setting, "fieldNameList.seriesIDList");
          list != nullptr && list->is_array()) {
        options_.series_arrays = *list;
      }
    }
    model::ScoreOptions& score = options_.score;
    if (const support::Json* forecast = support::FindMember(*config, "forecast")) {
      if (support::GetBool(*forecast, "doForecast", false)) {
        const std::int64_t span = support::GetInt(*forecast, "forecastSpan", 0);
        if (span < 0 || span > 100000) {
          return messages.Error(place + "'forecastSpan' " + std::to_string(span) +
                                " is out of range");
        }
        score.horizon = static_cast<int>(span);
        score.forecast_interval = support::GetBool(*forecast, "forecastInterval", false);
      }
    }
    if (const support::Json* fit = support::FindMember(*config, "fit")) {
      score.fit = support::GetBool(*fit, "doFit", false);
      score.fit_interval = score.fit && support::GetBool(*fit, "fitInterval", false);
      score.fit_residual = score.fit && support::GetBool(*fit, "fitResidual", false);
    }
    score.confidence_level = support::GetDouble(*config, "confidenceLevel", 0.95);
    if (!(score.confidence_level > 0 && score.confidence_level < 1)) {
      return messages.Error(place + "'confidenceLevel' must lie between 0 and 1");
    }
    options_.reestimate = support::GetBool(*config, "re-estimate", false);
    options_.model_path = model::ConfPath(*in, "InputTCMXML");
    if (options_.model_path.empty()) {
      return messages.Error(place + "the input configuration names no 'InputTCMXML' model");
    }
    if (options_.reestimate) {
      options_.json_path = model::ConfPath(*in, "JSON");
      if (options_.json_path.empty() || options_.json_path == options_.model_path) {
        return messages.Error(place + "re-estimation needs the 'JSON' preparation archive");
      }
      if (out != nullptr)
        options_.output_path = model::ConfPath(*out, "TCMXML");
      if (options_.output_path.empty()) {
        return messages.Error(place + "re-estimation needs an output configuration");
      }
    }
    return true;
  }

  bool Run(StageContext& context, std::optional<Table>& table) override {
    const std::string place = StagePlace(call_);
    if (!table)
      return context.messages.Error(place + "there are no prepared data to score");
    return options_.reestimate ? Reestimate(context, *table, place) : Score(context, table, place);
  }

 private:
  bool Score(StageContext& context, std::optional<Table>& table, const std::string& place) {
    auto data = model::LoadScoringData(options_.model_path, "", *table);
    if (!data)
      return context.messages.Error(place + data.message());
    const std::vector<std::size_t> equations =
        model::SelectEquations(data->system, &options_.series_arrays, options_.include_list, true);
    if (equations.empty())
      context.messages.Warning(place + "no target series is scored");
    const std::vector<ResultColumn> results = model::ScoreSeries(
        data->system, data->panel, data->panel_of_series, equations, options_.score);
    auto scored = MakeResultTable(*table, data->panel, results, options_.score.horizon);
    if (!scored)
      return context.messages.Error(place + scored.message());
    table = std::move(*scored);
    return true;
  }

  bool Reestimate(StageContext& context, const Table& table, const std::string& place) {
    MessageQueue& messages = context.messages;
    auto preparation = support::ReadZipText(options_.json_path, model::kPreparationMember);
    if (!preparation)
      return messages.Error(place + preparation.message());
    auto data = model::LoadScoringData(options_.model_path, *preparation, table);
    if (!data)
      return messages.Error(place + data.message());
    model::ModelSystem& system = data->system;
    const Eigen::MatrixXd history =
        model::SystemHistory(system, data->panel, data->panel_of_series);
    for (std::size_t s = 0; s < system.series.size(); ++s) {
      if (data->panel_of_series[s] < 0 ||
          !history.col(static_cast<Eigen::Index>(s)).array().isFinite().all()) {
        // Named by its values: the coded ID means nothing to the user.
        const model::SeriesRef& series = system.series[s];
        std::string label = series.metric;
        for (const std::string& value : series.dims) label += "-" + value;
        return messages.Error(place + "the series '" + label + "' (" + series.id +
                              ") of the model is missing or incomplete in the estimation period");
      }
      // The new data code their series afresh.
      system.series[s].id =
          data->panel.series[static_cast<std::size_t>(data->panel_of_series[s])].id;
    }
    const int lag = system.settings.max_lag;
    if (history.rows() < lag + 3) {
      return messages.Error(place + "the data have " + std::to_string(history.rows()) +
                            " time points, too few for lag " + std::to_string(lag));
    }
    model::BuildOptions build;
    const model::LaggedDesign design(history, lag, build.threads);
    model::BuildOutcome outcome = model::RefitEquations(design, system.equations, build);
    for (const auto& [series, reason] : outcome.failures) {
      messages.Warning(place + "series '" + system.series[series].id +
                       "' is not re-estimated: " + reason);
    }
    system.equations = std::move(outcome.equations);
    if (std::none_of(system.equations.begin(), system.equations.end(),
                     [](const model::Equation& e) { return e.is_target; })) {
      return messages.Error(place + "no target series could be re-estimated");
    }
    const DataModel data_model =
        model::ModelDataModel(table, data->panel.dim_fields, data->panel.metric_fields);
    auto written = model::WriteModelArchive(options_.output_path, system, data_model, *preparation);
    if (!written)
      return messages.Error(place + written.message());
    return true;
  }

  StageCall call_;
  ScoreStageOptions options_;
};

} // namespace

std::unique_ptr<Stage> MakeTcmScoreStage() {
  return std::make_unique<ScoreStage>();
}

} // namespace engine
