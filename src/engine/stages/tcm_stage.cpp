// This file contains the `tcm:tcm` stage: the model system built from the prepared data and
// written as the model archive (StatXML.xml, TCMGraph.json, TSDPOutput.json).
#include <algorithm>
#include <cmath>
#include <set>

#include "engine/model/model_archive.h"
#include "engine/model/model_system.h"
#include "engine/model/stage_inputs.h"
#include "engine/series/panel.h"
#include "engine/stages/registry.h"
#include "support/zip_archive.h"

namespace engine {
namespace {

using model::SeriesRef;

// One FIELDSGROUP: series arrays by role.
struct GroupLists {
  support::Json targets, forced, candidates, excluded_targets, excluded_inputs;
};

struct TcmOptions {
  std::vector<GroupLists> groups;
  int max_lag = 0;            // 0: the automatic choice
  std::size_t max_inputs = 0; // 0: the default rule
  double epsilon = 1e-3;
  double confidence_level = 0.95;
  std::size_t models_per_job = 100;
  std::string json_path;  // the preparation archive
  std::string model_path; // the model archive to write
};

class TcmStage : public Stage {
 public:
  bool Configure(const StageCall& call, const Script& script, MessageQueue& messages) override {
    call_ = call;
    const std::string place = StagePlace(call);
    const support::Json* config = nullptr;
    const support::Json* in = nullptr;
    const support::Json* out = nullptr;
    if (!ConfigurationAndFiles(call, script, true, &config, &in, &out, messages)) return false;
    const support::Json* groups = support::FindMember(*config, "targetPredictorList");
    if (groups == nullptr || !groups->is_array() || groups->empty()) {
      return messages.Error(place + "'targetPredictorList' must be a non-empty array");
    }
    for (const auto& group : *groups) {
      GroupLists lists;
      auto take = [&](const char* key, support::Json& into) {
        const support::Json* member = support::FindMember(group, key);
        into = member != nullptr && member->is_array() ? *member : support::Json::array();
      };
      take("targetList", lists.targets);
      take("predictorIncludeList", lists.forced);
      take("predictorCandidateList", lists.candidates);
      take("targetExcludeList", lists.excluded_targets);
      take("predictorExcludeList", lists.excluded_inputs);
      if (lists.targets.empty()) {
        return messages.Error(place + "a group of 'targetPredictorList' has no 'targetList'");
      }
      options_.groups.push_back(std::move(lists));
    }
    if (const support::Json* lag = support::FindMember(*config, "maxLag"); lag != nullptr) {
      if (support::GetString(*lag, "source", "USE_DEFAULT") == "SETTING") {
        const std::int64_t value = support::GetInt(*lag, "value", 0);
        if (value < 1 || value > 100) {
          return messages.Error(place + "'maxLag' value " + std::to_string(value) +
                                " is not a lag from 1 to 100");
        }
        options_.max_lag = static_cast<int>(value);
      }
    }
    if (const support::Json* limit = support::FindMember(*config, "maxNumberOfPredictor");
        limit != nullptr && !support::GetBool(*limit, "useDefault", true)) {
      const std::int64_t value = support::GetInt(*limit, "value", 0);
      if (value < 1) {
        return messages.Error(place + "'maxNumberOfPredictor' value must be at least 1");
      }
      options_.max_inputs = static_cast<std::size_t>(value);
    }
    options_.epsilon = support::GetDouble(*config, "epsilon", 1e-3);
    if (!(options_.epsilon >= 0))
      return messages.Error(place + "'epsilon' must not be negative");
    options_.confidence_level = support::GetDouble(*config, "confidenceLevel", 0.95);
    if (!(options_.confidence_level > 0 && options_.confidence_level < 1)) {
      return messages.Error(place + "'confidenceLevel' must lie between 0 and 1");
    }
    const std::int64_t per_job = support::GetInt(*config, "modelsPerJob", 100);
    if (per_job < 1)
      return messages.Error(place + "'modelsPerJob' must be at least 1");
    options_.models_per_job = static_cast<std::size_t>(per_job);
    options_.json_path = model::ConfPath(*in, "JSON");
    if (options_.json_path.empty()) {
      return messages.Error(place + "the input configuration names no 'JSON' archive");
    }
    options_.model_path = model::ConfPath(*out, "TCMXML");
    if (options_.model_path.empty()) {
      return messages.Error(place + "the output configuration names no model file");
    }
    return true;
  }

  bool Run(StageContext& context, std::optional<Table>& table) override {
    MessageQueue& messages = context.messages;
    const std::string place = StagePlace(call_);
    if (!table)
      return messages.Error(place + "there are no prepared data to model");
    auto preparation = support::ReadZipText(options_.json_path, model::kPreparationMember);
    if (!preparation)
      return messages.Error(place + preparation.message());
    auto document = support::ParseJson(*preparation);
    if (!document)
      return messages.Error(place + "TSDPOutput.json: " + document.message());
    const support::Json* output = support::FindMember(*document, "output");
    if (output == nullptr)
      return messages.Error(place + "TSDPOutput.json has no 'output'");
    auto panel = BuildSeriesPanel(*table, *output);
    if (!panel)
      return messages.Error(place + panel.message());

    std::vector<SeriesRef> all;
    for (const SeriesInfo& info : panel->series)
      all.push_back({info.id, info.dims, info.metric});
    // Only complete, non-constant series can be modeled.
    std::vector<bool> usable(all.size(), true);
    std::size_t unusable = 0;
    for (std::size_t s = 0; s < all.size(); ++s) {
      const auto column = panel->values.col(static_cast<Eigen::Index>(s));
      const bool complete = column.size() > 0 && column.array().isFinite().all();
      usable[s] = complete && column.maxCoeff() > column.minCoeff();
      if (!usable[s])
        ++unusable;
    }
    if (unusable > 0) {
      messages.Warning(place + std::to_string(unusable) +
                       " series with missing values or a constant value are not modeled");
    }

    // Roles per group; a target named by several groups keeps its first group.
    struct Role {
      std::size_t target;
      std::vector<std::size_t> forced, candidates;
    };
    std::vector<Role> roles;
    std::vector<bool> is_target(all.size(), false);
    for (const GroupLists& group : options_.groups) {
      auto matched = [&](const support::Json& arrays) {
        std::vector<std::size_t> found;
        for (std::size_t s : model::MatchSeriesArrays(&arrays, all)) {
          if (usable[s])
            found.push_back(s);
        }
        return found;
      };
      auto minus = [](std::vector<std::size_t> from, const std::vector<std::size_t>& away) {
        from.erase(std::remove_if(from.begin(), from.end(),
                                  [&](std::size_t s) {
                                    return std::find(away.begin(), away.end(), s) != away.end();
                                  }),
                   from.end());
        return from;
      };
      const std::vector<std::size_t> targets =
          minus(matched(group.targets), matched(group.excluded_targets));
      const std::vector<std::size_t> excluded_inputs = matched(group.excluded_inputs);
      const std::vector<std::size_t> forced = minus(matched(group.forced), excluded_inputs);
      // Without a candidate list the group's targets are candidates for one another.
      std::vector<std::size_t> candidates =
          group.candidates.empty() && group.forced.empty() ? targets : matched(group.candidates);
      candidates = minus(minus(candidates, excluded_inputs), forced);
      for (std::size_t target : targets) {
        if (is_target[target])
          continue;
        is_target[target] = true;
        Role role{target, {}, {}};
        for (std::size_t s : forced)
          if (s != target)
            role.forced.push_back(s);
        for (std::size_t s : candidates)
          if (s != target)
            role.candidates.push_back(s);
        roles.push_back(std::move(role));
      }
    }
    if (roles.empty()) {
      return messages.Error(place + "no target series with complete data was found");
    }

    // The design holds the series in play only, in the order of the prepared data.
    std::set<std::size_t> in_play;
    for (const Role& role : roles) {
      in_play.insert(role.target);
      in_play.insert(role.forced.begin(), role.forced.end());
      in_play.insert(role.candidates.begin(), role.candidates.end());
    }
    std::vector<std::size_t> panel_index(in_play.begin(), in_play.end());
    std::vector<std::size_t> position(all.size(), 0);
    model::ModelSystem system;
    Eigen::MatrixXd values(panel->values.rows(), static_cast<Eigen::Index>(panel_index.size()));
    for (std::size_t p = 0; p < panel_index.size(); ++p) {
      position[panel_index[p]] = p;
      system.series.push_back(all[panel_index[p]]);
      values.col(static_cast<Eigen::Index>(p)) =
          panel->values.col(static_cast<Eigen::Index>(panel_index[p]));
    }
    std::vector<model::TargetRequest> requests;
    for (const Role& role : roles) {
      model::TargetRequest request;
      request.series = position[role.target];
      for (std::size_t s : role.forced)
        request.forced.push_back(position[s]);
      for (std::size_t s : role.candidates)
        request.candidates.push_back(position[s]);
      requests.push_back(std::move(request));
    }

    model::BuildOptions build;
    build.models_per_job = options_.models_per_job;
    build.selection.epsilon = options_.epsilon;
    build.selection.extended_bic_gamma = 0.5;
    const std::size_t time_count = static_cast<std::size_t>(values.rows());
    int lag = options_.max_lag > 0 ? options_.max_lag
                                   : model::ChooseLag(values, requests, options_.max_inputs, build);
    if (time_count < static_cast<std::size_t>(lag) + 3) {
      return messages.Error(place + "the series have " + std::to_string(time_count) +
                            " time points, too few for lag " + std::to_string(lag));
    }
    build.selection.max_inputs =
        options_.max_inputs > 0
            ? options_.max_inputs
            : model::DefaultInputLimit(time_count - static_cast<std::size_t>(lag), lag);
    const model::LaggedDesign design(values, lag, build.threads);
    model::BuildOutcome outcome = model::BuildEquations(design, requests, build);
    for (const auto& [series, reason] : outcome.failures) {
      messages.Warning(place + "series '" + system.series[series].id +
                       "' is not modeled: " + reason);
    }
    system.equations = std::move(outcome.equations);
    if (std::none_of(system.equations.begin(), system.equations.end(),
                     [](const model::Equation& e) { return e.is_target; })) {
      return messages.Error(place + "no target series could be modeled");
    }
    system.settings.max_lag = lag;
    system.settings.max_inputs = build.selection.max_inputs;
    system.settings.epsilon = options_.epsilon;
    system.settings.confidence_level = options_.confidence_level;

    const DataModel data_model =
        model::ModelDataModel(*table, panel->dim_fields, panel->metric_fields);
    auto written = model::WriteModelArchive(options_.model_path, system, data_model, *preparation);
    if (!written)
      return messages.Error(place + written.message());
    return true;
  }

 private:
  StageCall call_;
  TcmOptions options_;
};

} // namespace

std::unique_ptr<Stage> MakeTcmStage() {
  return std::make_unique<TcmStage>();
}

} // namespace engine
