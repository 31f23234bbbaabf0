// This file contains the `tcm:ar` stage: the AR model series of a model system scored alone,
// one-step predictions on the observed rows and forecasts on future rows.
#include "engine/model/scoring.h"
#include "engine/model/stage_inputs.h"
#include "engine/stages/registry.h"

namespace engine {
namespace {

class ArStage : public Stage {
 public:
  bool Configure(const StageCall& call, const Script& script, MessageQueue& messages) override {
    call_ = call;
    const std::string place = StagePlace(call);
    const support::Json* config = nullptr;
    const support::Json* in = nullptr;
    if (!ArgumentJson(call, script, 0, true, true, &config, messages) ||
        !ArgumentJson(call, script, 1, true, false, &in, messages)) {
      return false;
    }
    if (const support::Json* list =
            support::FindPath(*config, "fieldSetting.fieldNameList.seriesIDList");
        list != nullptr && list->is_array()) {
      series_arrays_ = *list;
    }
    const support::Json* forecast = support::FindMember(*config, "forecast");
    const std::int64_t span =
        forecast != nullptr ? support::GetInt(*forecast, "forecastSpan", 0) : 0;
    if (span < 0 || span > 100000) {
      return messages.Error(place + "'forecastSpan' " + std::to_string(span) + " is out of range");
    }
    options_.fit = true;
    options_.horizon = static_cast<int>(span);
    model_path_ = model::ConfPath(*in, "InputTCMXML");
    if (model_path_.empty()) {
      return messages.Error(place + "the input configuration names no 'InputTCMXML' model");
    }
    return true;
  }

  bool Run(StageContext& context, std::optional<Table>& table) override {
    const std::string place = StagePlace(call_);
    if (!table)
      return context.messages.Error(place + "there are no prepared data to score");
    auto data = model::LoadScoringData(model_path_, "", *table);
    if (!data)
      return context.messages.Error(place + data.message());
    // An empty list asks for every AR model series.
    const bool all = series_arrays_.empty();
    const std::vector<std::size_t> equations =
        model::SelectEquations(data->system, &series_arrays_, !all, false);
    const std::vector<ResultColumn> results =
        model::ScoreSeries(data->system, data->panel, data->panel_of_series, equations, options_);
    auto scored = MakeResultTable(*table, data->panel, results, options_.horizon);
    if (!scored)
      return context.messages.Error(place + scored.message());
    table = std::move(*scored);
    return true;
  }

 private:
  StageCall call_;
  support::Json series_arrays_ = support::Json::array();
  model::ScoreOptions options_;
  std::string model_path_;
};

} // namespace

std::unique_ptr<Stage> MakeTcmArStage() {
  return std::make_unique<ArStage>();
}

} // namespace engine
