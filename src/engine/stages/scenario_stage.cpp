// This file contains the `tcm:sa` stage: one scenario (a root series set to given values over a
// period) played through a model system against its baseline, written as TCMAnalysis.json.
//
// Call: tcm:sa(tcmSAConf, SAInCon, SAOutCon) after read() of the prepared data. The prepared
// table passes on unchanged.
#include <algorithm>
#include <cmath>

#include "engine/model/forecast.h"
#include "engine/model/scenario.h"
#include "engine/model/scoring.h"
#include "engine/prep/time_points.h"
#include "engine/stages/analysis_common.h"
#include "engine/stages/registry.h"

namespace engine {
namespace {

using support::Json;

constexpr int kDefaultGenerations = 3;
constexpr std::int64_t kDefaultTargets = 25;
// The longest run, in time points from the start of the period to the furthest time.
constexpr std::int64_t kMaxSteps = 100000;

Json Number(double value) {
  return std::isfinite(value) ? Json(value) : Json(nullptr);
}

Json Numbers(const Eigen::VectorXd& values) {
  Json array = Json::array();
  for (Eigen::Index t = 0; t < values.size(); ++t)
    array.push_back(Number(values(t)));
  return array;
}

// The keys of one time of the period: seconds for date-time data, period values otherwise.
struct TimeKeys {
  const char* date_time;
  const char* cyclic;
};
constexpr TimeKeys kStartKeys{"stdStartTime", "nonStdStartTime"};
constexpr TimeKeys kEndKeys{"stdEndTime", "nonStdEndTime"};
constexpr TimeKeys kFurthestKeys{"stdFurthestTime", "nonStdFurthestTime"};

class ScenarioStage : public Stage {
 public:
  bool Configure(const StageCall& call, const Script& script, MessageQueue& messages) override {
    place_ = StagePlace(call);
    const Json* config = nullptr;
    if (!ReadAnalysisFiles(call, script, &config, files_, messages))
      return false;
    const Json* root = support::FindMember(*config, "rootTimeSeries");
    if (root == nullptr || !root->is_array() || root->empty()) {
      return messages.Error(place_ + "'rootTimeSeries' must name the root series: its dimension " +
                            "values, then its metric");
    }
    root_ = *root;
    for (const TimeKeys& keys : {kStartKeys, kEndKeys}) {
      if (!support::FindMember(*config, keys.date_time) && !support::FindMember(*config, keys.cyclic)) {
        return messages.Error(place_ + "the period needs '" + keys.date_time +
                              "' (date-time data) or '" + keys.cyclic + "' (cyclic data)");
      }
    }
    config_ = *config;
    const Json* values = support::FindMember(*config, "substitutedValues");
    if (values == nullptr || !values->is_array() || values->empty())
      return messages.Error(place_ + "'substitutedValues' must be an array of the root's values");
    for (const Json& value : *values) {
      if (!value.is_number())
        return messages.Error(place_ + "'substitutedValues' must hold only numbers");
      values_.push_back(value.get<double>());
    }
    if (const Json* targets = support::FindMember(*config, "targetTimeSeries")) {
      if (!targets->is_array())
        return messages.Error(place_ + "'targetTimeSeries' must be an array of series arrays");
      targets_ = *targets;
    }
    max_targets_ = support::GetInt(*config, "maxTargetsNum", kDefaultTargets);
    if (max_targets_ < 1)
      return messages.Error(place_ + "'maxTargetsNum' must be at least 1");
    const std::int64_t generations =
        support::GetInt(*config, "youngestGeneration", kDefaultGenerations);
    if (generations < 1 || generations > 100) {
      return messages.Error(place_ + "'youngestGeneration' " + std::to_string(generations) +
                            " is out of range 1..100");
    }
    generations_ = static_cast<int>(generations);
    if (!support::GetBool(*config, "isRawValues", true)) {
      return messages.Error(place_ + "'isRawValues' must be true: the substituted values are " +
                            "the root's own values");
    }
    intervals_ = support::GetBool(*config, "isConfidenceIntervals", false);
    level_ = support::GetDouble(*config, "confidenceLevel", 0.95);
    if (!(level_ > 0 && level_ < 1))
      return messages.Error(place_ + "'confidenceLevel' must lie between 0 and 1");
    id_ = support::GetString(*config, "scenarioID");
    return true;
  }

  bool Run(StageContext& context, std::optional<Table>& table) override {
    MessageQueue& messages = context.messages;
    if (!table)
      return messages.Error(place_ + "there are no prepared data to play the scenario on");
    auto data = model::LoadScoringData(files_.model_path, "", *table);
    if (!data)
      return messages.Error(place_ + data.message());
    const model::ModelSystem& system = data->system;
    const PanelAxis& axis = data->panel.axis;
    const std::vector<std::size_t> named = NamedSeries(system, Json::array({root_}));
    const auto modeled = std::find_if(named.begin(), named.end(), [&](std::size_t s) {
      return system.EquationOf(s) >= 0;
    });
    if (modeled == named.end()) {
      return messages.Error(place_ + "the root series " + root_.dump() +
                            " is not in the model system");
    }
    model::ScenarioRequest request;
    request.root = *modeled;
    request.values = values_;
    request.generations = generations_;
    request.variances = intervals_;
    if (!PlacePeriod(axis, system.settings.max_lag, request, messages))
      return false;

    const Eigen::MatrixXd history = model::SystemHistory(system, data->panel, data->panel_of_series);
    const model::ScenarioRun run = model::RunScenario(system, history, request);
    const std::vector<double> relative = model::RelativeEffects(run, history);
    std::vector<std::size_t> chosen;
    if (targets_) {
      // In the order given; an array that names no series is only a warning.
      for (const Json& array : *targets_) {
        const std::vector<std::size_t> found = NamedSeries(system, Json::array({array}));
        if (found.empty()) {
          messages.Warning(place_ + "the target series " + array.dump() +
                           " is not in the model system");
        }
        for (std::size_t s : found) {
          if (std::find(chosen.begin(), chosen.end(), s) == chosen.end())
            chosen.push_back(s);
        }
      }
    } else {
      chosen = model::MostAffected(run, relative, static_cast<std::size_t>(max_targets_));
    }
    const Json document = Document(*data, request, run, relative, chosen);
    return WriteMembers(files_.output_path, {{"TCMAnalysis.json", document}}, place_, messages);
  }

 private:
  // Places one time of the period, in the form of the data's axis; false after reporting. An
  // absent time is `fallback`'s.
  bool PlaceKey(const PanelAxis& axis, const TimeKeys& keys, const TimeKeys& fallback,
                std::string& key, std::int64_t& index, MessageQueue& messages) const {
    const bool cyclic = axis.IsCyclic();
    key = cyclic ? keys.cyclic : keys.date_time;
    const Json* value = support::FindMember(config_, key);
    if (value == nullptr && &keys != &fallback)
      return PlaceKey(axis, fallback, fallback, key, index, messages);
    if (value == nullptr) {
      return messages.Error(place_ + (cyclic ? "cyclic data need '" : "date-time data need '") +
                            key + "'");
    }
    return PlaceTime(axis, *value, key, place_, messages, index);
  }

  // The period's rows on the data's axis continued beyond the last observation, checked.
  bool PlacePeriod(const PanelAxis& axis, int lags, model::ScenarioRequest& request,
                   MessageQueue& messages) const {
    std::int64_t start = 0, end = 0, furthest = 0;
    std::string start_key, end_key, furthest_key;
    if (!PlaceKey(axis, kStartKeys, kStartKeys, start_key, start, messages) ||
        !PlaceKey(axis, kEndKeys, kEndKeys, end_key, end, messages) ||
        !PlaceKey(axis, kFurthestKeys, kEndKeys, furthest_key, furthest, messages)) {
      return false;
    }
    if (end < start)
      return messages.Error(place_ + "'" + end_key + "' lies before '" + start_key + "'");
    if (furthest < end)
      return messages.Error(place_ + "'" + furthest_key + "' lies before '" + end_key + "'");
    if (furthest - start >= kMaxSteps) {
      return messages.Error(place_ + "the scenario runs over more than " +
                            std::to_string(kMaxSteps) + " time points");
    }
    const std::int64_t last = static_cast<std::int64_t>(axis.points.size()) - 1;
    if (last + start < lags) {
      return messages.Error(place_ + "'" + start_key + "' lies among the first " +
                            std::to_string(lags) + " time points, which the model's lags need " +
                            "before a period");
    }
    const std::int64_t points = end - start + 1;
    if (static_cast<std::int64_t>(values_.size()) != points) {
      return messages.Error(place_ + "'substitutedValues' holds " + std::to_string(values_.size()) +
                            " values, but the period from '" + start_key + "' to '" + end_key +
                            "' holds " + std::to_string(points) + " time points");
    }
    request.start = static_cast<Eigen::Index>(last + start);
    request.end = static_cast<Eigen::Index>(last + end);
    request.furthest = static_cast<Eigen::Index>(last + furthest);
    return true;
  }

  Json Document(const model::ScoringData& data, const model::ScenarioRequest& request,
                const model::ScenarioRun& run, const std::vector<double>& relative,
                const std::vector<std::size_t>& chosen) const {
    const model::ModelSystem& system = data.system;
    const PanelAxis& axis = data.panel.axis;
    const Eigen::Index last = static_cast<Eigen::Index>(axis.points.size()) - 1;
    auto point_of = [&](Eigen::Index row) {
      return row <= last ? axis.points[static_cast<std::size_t>(row)]
                         : axis.Advance(axis.points.back(), row - last);
    };
    Json scenario = {{"scenarioID", id_}, {"root", SeriesKey(system.series[request.root])},
                     {"rootSeriesID", system.series[request.root].id}};
    PutTime(axis, point_of(request.start), scenario, "start");
    PutTime(axis, point_of(request.end), scenario, "end");
    PutTime(axis, point_of(request.furthest), scenario, "furthest");
    PutTime(axis, axis.points.back(), scenario, "lastObservation");
    scenario["startIndex"] = request.start - last;
    scenario["endIndex"] = request.end - last;
    scenario["furthestIndex"] = request.furthest - last;
    scenario["substitutedValues"] = values_;

    Json times = Json::array();
    Json texts = Json::array();
    for (Eigen::Index row = request.start; row <= request.furthest; ++row) {
      Json holder = Json::object();
      PutTime(axis, point_of(row), holder, "t");
      times.push_back(holder["t"]);
      if (holder.contains("tText"))
        texts.push_back(holder["tText"]);
    }

    // The affected series: the root, then by generation and the size of the effect; given
    // targets that the scenario does not reach follow with their unchanged paths.
    std::vector<std::size_t> listed;
    for (std::size_t s = 0; s < system.series.size(); ++s) {
      if (run.generation[s] >= 0)
        listed.push_back(s);
    }
    std::stable_sort(listed.begin(), listed.end(), [&](std::size_t a, std::size_t b) {
      return run.generation[a] != run.generation[b] ? run.generation[a] < run.generation[b]
                                                    : relative[a] > relative[b];
    });
    for (std::size_t s : chosen) {
      if (run.generation[s] < 0)
        listed.push_back(s);
    }
    const double z = model::IntervalMultiplier(level_);
    Json series = Json::array();
    for (std::size_t s : listed) {
      const Eigen::Index column = static_cast<Eigen::Index>(s);
      const Eigen::VectorXd difference = run.scenario.col(column) - run.baseline.col(column);
      Json entry = {{"series", SeriesKey(system.series[s])},
                    {"seriesID", system.series[s].id},
                    {"generation", run.generation[s] >= 0 ? Json(run.generation[s]) : Json(nullptr)},
                    {"isRoot", s == request.root},
                    {"isTarget", std::find(chosen.begin(), chosen.end(), s) != chosen.end()},
                    {"relativeEffect", relative[s]},
                    {"largestEffect", Number(difference.cwiseAbs().maxCoeff())}};
      // The affected inputs by which the effect came: the edges of the impact diagram.
      Json inputs = Json::array();
      if (const std::ptrdiff_t e = system.EquationOf(s); e >= 0 && run.generation[s] > 0) {
        for (const model::InputBlock& block : system.equations[static_cast<std::size_t>(e)].blocks) {
          if (block.series != s && run.generation[block.series] >= 0)
            inputs.push_back(system.series[block.series].id);
        }
      }
      entry["affectedInputs"] = std::move(inputs);
      entry["scenario"] = Numbers(run.scenario.col(column));
      entry["baseline"] = Numbers(run.baseline.col(column));
      entry["difference"] = Numbers(difference);
      if (intervals_) {
        const Eigen::VectorXd half = z * run.variance.col(column).cwiseSqrt();
        entry["lower"] = Numbers(run.scenario.col(column) - half);
        entry["upper"] = Numbers(run.scenario.col(column) + half);
      }
      series.push_back(std::move(entry));
    }
    Json targets = Json::array();
    for (std::size_t s : chosen) {
      targets.push_back({{"series", SeriesKey(system.series[s])},
                         {"seriesID", system.series[s].id},
                         {"relativeEffect", relative[s]}});
    }
    Json settings = {{"scenarioID", id_},
                     {"rootTimeSeries", root_},
                     {"youngestGeneration", generations_},
                     {"isConfidenceIntervals", intervals_},
                     {"automaticTargets", !targets_.has_value()}};
    if (intervals_)
      settings["confidenceLevel"] = level_;
    if (targets_)
      settings["targetTimeSeries"] = *targets_;
    else
      settings["maxTargetsNum"] = max_targets_;
    Json analysis = {{"analysisSettings", std::move(settings)},
                     {"scenario", std::move(scenario)},
                     {"times", std::move(times)}};
    if (!texts.empty())
      analysis["timesText"] = std::move(texts);
    analysis["series"] = std::move(series);
    analysis["targets"] = std::move(targets);
    return Json{{"scenarioAnalysis", std::move(analysis)}};
  }

  std::string place_;
  AnalysisFiles files_;
  Json root_;
  Json config_;
  std::vector<double> values_;
  std::optional<Json> targets_;
  std::int64_t max_targets_ = kDefaultTargets;
  int generations_ = kDefaultGenerations;
  bool intervals_ = false;
  double level_ = 0.95;
  std::string id_;
};

} // namespace

std::unique_ptr<Stage> MakeTcmScenarioStage() {
  return std::make_unique<ScenarioStage>();
}

} // namespace engine
