// This file contains the `tcm:od` stage (outliers of a model system's targets against their
// several-step baseline, one archive member per series with outliers) and the `tcm:rca` stage
// (the outliers of one series with their root causes among its ancestors).
#include <algorithm>
#include <cmath>
#include <numeric>

#include "engine/model/distributions.h"
#include "engine/model/outliers.h"
#include "engine/model/scoring.h"
#include "engine/model/stage_inputs.h"
#include "engine/stages/analysis_common.h"
#include "engine/stages/registry.h"

namespace engine {
namespace {

using support::Json;

constexpr int kDefaultGenerations = 3;

bool ReadThreshold(const Json& object, const std::string& place, double& threshold,
                   MessageQueue& messages) {
  threshold = support::GetDouble(object, "threshold", 0.95);
  if (!(threshold > 0 && threshold < 1)) {
    return messages.Error(place + "'threshold' must lie between 0 and 1 (a percentage / 100)");
  }
  return true;
}

bool ReadGenerations(const Json& config, const std::string& place, int& generations,
                     MessageQueue& messages) {
  const std::int64_t value = support::GetInt(config, "oldestGeneration", kDefaultGenerations);
  if (value < 1 || value > 100) {
    return messages.Error(place + "'oldestGeneration' " + std::to_string(value) +
                          " is out of range 1..100");
  }
  generations = static_cast<int>(value);
  return true;
}

// Everything the analysis of a series needs.
struct Analysis {
  model::ScoringData data;
  Eigen::MatrixXd history;
  model::Innovations innovations;
  double threshold = 0.95;
  int generations = kDefaultGenerations;

  // A row's time as the output reads it.
  void PutTime(Json& object, Eigen::Index row, const char* key = "time") const {
    engine::PutTime(data.panel.axis, data.panel.axis.points[static_cast<std::size_t>(row)], object,
                    key);
  }

  Json Settings(std::size_t series, const model::TargetResponses& responses) const {
    return {{"targetTimeSeries", SeriesKey(data.system.series[series])},
            {"seriesID", data.system.series[series].id},
            {"threshold", threshold},
            {"oldestGeneration", generations},
            {"baselineSteps", responses.psi.rows()}};
  }

  static Json Summary(const model::OutlierScan& scan) {
    return {{"assessedPoints", scan.assessed},
            {"flaggedPoints", scan.flagged},
            {"expectedChanceFlags", scan.expected_chance_flags},
            {"events", scan.events.size()}};
  }

  Json OutlierEntry(const model::OutlierEvent& event) const {
    const double critical = model::NormalQuantile(0.5 * (1.0 + threshold));
    Json entry = Json::object();
    PutTime(entry, event.time);
    entry["observed"] = event.observed;
    entry["predicted"] = event.baseline;
    entry["probability"] = event.probability;
    entry["z"] = event.z;
    entry["baselineSteps"] = event.steps;
    entry["innovationZ"] = event.innovation_z;
    // Which kind of outlier: the series' own innovation, or a deviation that came through its
    // inputs while its own equation predicted the value well.
    entry["kind"] = std::fabs(event.innovation_z) >= critical ? "innovation" : "propagated";
    PutTime(entry, event.first, "runStart");
    PutTime(entry, event.last, "runEnd");
    return entry;
  }
};

// Loads the model and the data, and the innovations with their robust scales.
bool LoadAnalysis(const std::string& model_path, const Table& table, double threshold,
                  int generations, const std::string& place, Analysis& analysis,
                  MessageQueue& messages) {
  auto data = model::LoadScoringData(model_path, "", table);
  if (!data)
    return messages.Error(place + data.message());
  analysis.data = std::move(*data);
  analysis.threshold = threshold;
  analysis.generations = generations;
  analysis.history = model::SystemHistory(analysis.data.system, analysis.data.panel,
                                          analysis.data.panel_of_series);
  // Innovations flagged at the threshold stay out of their scale, but never fewer than the
  // 2-sigma tails, which would leave too few points to estimate it well.
  const double cut = std::max(2.0, model::NormalQuantile(0.5 * (1.0 + threshold)));
  analysis.innovations = model::SystemInnovations(analysis.data.system, analysis.history, cut);
  return true;
}

// The responses of a series, or a warning and false when it has no baseline.
bool Responses(const Analysis& analysis, std::size_t series, const std::string& place,
               model::TargetResponses& responses, MessageQueue& messages) {
  const int steps = model::BaselineSteps(analysis.data.system, series, analysis.generations);
  responses = model::ResponsesOf(analysis.data.system, series, steps, analysis.innovations.scale);
  const std::string& id = analysis.data.system.series[series].id;
  if (!responses.complete) {
    messages.Warning(place + "series '" + id +
                     "' has an input without a model, so it has no baseline to test against");
    return false;
  }
  if (!std::isfinite(responses.variance.back())) {
    messages.Warning(place + "series '" + id +
                     "' or one of its inputs is missing in the data, so it is not searched for "
                     "outliers");
    return false;
  }
  return true;
}

// How extreme a series' strongest event is, on the scale of the larger of its two standardised
// deviations (the baseline one and the own innovation's), which do not saturate as the
// probability does.
double MostExtreme(const std::vector<model::OutlierEvent>& events) {
  double most = 0;
  for (const model::OutlierEvent& event : events)
    most = std::max({most, std::fabs(event.z), std::fabs(event.innovation_z)});
  return most;
}

// One member per series; names are kept to characters that cannot end the member's key early.
std::string MemberName(const std::string& prefix, const std::string& id) {
  std::string name = prefix + id;
  std::replace_if(name.begin(), name.end(), [](char c) { return c == '.' || c == '/'; }, '_');
  return name + ".json";
}

// What both stages hold: their call, files, threshold and depth, and the loading of the data.
class AnalysisStage : public Stage {
 protected:
  // The keys both stages read: the files and the depth in generations. False after reporting.
  bool ConfigureCommon(const StageCall& call, const Script& script, const Json** config,
                       MessageQueue& messages) {
    call_ = call;
    return ReadAnalysisFiles(call, script, config, files_, messages) &&
           ReadGenerations(**config, StagePlace(call), generations_, messages);
  }

  // Loads the data and the model system (the table passes on unchanged), then analyses.
  bool Run(StageContext& context, std::optional<Table>& table) final {
    const std::string place = StagePlace(call_);
    if (!table)
      return context.messages.Error(place + "there are no prepared data to analyse");
    Analysis analysis;
    return LoadAnalysis(files_.model_path, *table, threshold_, generations_, place, analysis,
                        context.messages) &&
           Analyse(analysis, place, context.messages);
  }
  virtual bool Analyse(const Analysis& analysis, const std::string& place,
                       MessageQueue& messages) = 0;

  StageCall call_;
  AnalysisFiles files_;
  double threshold_ = 0.95;
  int generations_ = kDefaultGenerations;
};

class OutlierStage : public AnalysisStage {
 public:
  bool Configure(const StageCall& call, const Script& script, MessageQueue& messages) override {
    const std::string place = StagePlace(call);
    const Json* config = nullptr;
    if (!ConfigureCommon(call, script, &config, messages) ||
        !ReadThreshold(*config, place, threshold_, messages)) {
      return false;
    }
    if (const Json* list = support::FindMember(*config, "targetTimeSeries")) {
      if (!list->is_array())
        return messages.Error(place + "'targetTimeSeries' must be an array of series arrays");
      series_arrays_ = *list;
    }
    return true;
  }

  bool Analyse(const Analysis& analysis, const std::string& place,
               MessageQueue& messages) override {
    const model::ModelSystem& system = analysis.data.system;
    std::vector<std::size_t> wanted;
    if (series_arrays_) {
      wanted = NamedSeries(system, *series_arrays_);
    }
    std::vector<std::pair<std::string, Json>> members;
    std::vector<double> surprise;  // per member: the tail chance of its most extreme event
    std::size_t analysed = 0;
    for (const model::Equation& equation : system.equations) {
      if (!equation.is_target)
        continue;
      if (series_arrays_ && !std::binary_search(wanted.begin(), wanted.end(), equation.series))
        continue;
      ++analysed;
      model::TargetResponses responses;
      if (!Responses(analysis, equation.series, place, responses, messages))
        continue;
      const model::OutlierScan scan =
          model::DetectOutliers(system, analysis.history, analysis.innovations, responses,
                                equation.series, threshold_);
      if (scan.events.empty())
        continue;
      Json outliers = Json::array();
      for (const model::OutlierEvent& event : scan.events)
        outliers.push_back(analysis.OutlierEntry(event));
      Json detection = {{"analysisSettings", analysis.Settings(equation.series, responses)},
                        {"summary", Analysis::Summary(scan)},
                        {"outliers", std::move(outliers)}};
      members.emplace_back(MemberName("outliers_", system.series[equation.series].id),
                           Json{{"outlierDetection", std::move(detection)}});
      surprise.push_back(MostExtreme(scan.events));
    }
    if (analysed == 0)
      messages.Warning(place + "no target series of the model system is searched for outliers");
    // The most extreme series first: a reader that takes only the first members (root causes
    // are sought for at most 30 series) then takes those most worth explaining.
    std::vector<std::size_t> order(members.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t a, std::size_t b) { return surprise[a] > surprise[b]; });
    std::vector<std::pair<std::string, Json>> ordered;
    for (std::size_t k : order) ordered.push_back(std::move(members[k]));
    return WriteMembers(files_.output_path, ordered, place, messages);
  }

 private:
  std::optional<Json> series_arrays_;
};

class RootCauseStage : public AnalysisStage {
 public:
  bool Configure(const StageCall& call, const Script& script, MessageQueue& messages) override {
    const std::string place = StagePlace(call);
    const Json* config = nullptr;
    if (!ConfigureCommon(call, script, &config, messages))
      return false;
    const Json* series = support::FindMember(*config, "targetTimeSeries");
    if (series == nullptr || !series->is_array() || series->empty()) {
      return messages.Error(place + "'targetTimeSeries' must name the series to explain: its " +
                            "dimension values, then its metric");
    }
    series_ = *series;
    if (!support::GetBool(*config, "autoOutlierDetection", true)) {
      return messages.Error(place + "the outliers to explain are found by the stage itself: " +
                            "'autoOutlierDetection' must be true");
    }
    const Json* detection = support::FindMember(*config, "outlierDetection");
    return ReadThreshold(detection != nullptr ? *detection : Json::object(), place, threshold_,
                         messages);
  }

  bool Analyse(const Analysis& analysis, const std::string& place,
               MessageQueue& messages) override {
    const model::ModelSystem& system = analysis.data.system;
    const std::vector<std::size_t> named = NamedSeries(system, Json::array({series_}));
    const auto modeled = std::find_if(named.begin(), named.end(), [&](std::size_t s) {
      return system.EquationOf(s) >= 0;
    });
    if (modeled == named.end()) {
      return messages.Error(place + "the series " + series_.dump() +
                            " has no model in the model system");
    }
    const std::size_t target = *modeled;
    model::TargetResponses responses;
    model::OutlierScan scan;
    if (Responses(analysis, target, place, responses, messages)) {
      scan = model::DetectOutliers(system, analysis.history, analysis.innovations, responses,
                                   target, threshold_);
    }
    Json outliers = Json::array();
    for (const model::OutlierEvent& event : scan.events) {
      Json entry = analysis.OutlierEntry(event);
      entry["deviation"] = event.observed - event.baseline;
      Json causes = Json::array();
      const std::vector<model::RootCauseFinding> findings =
          model::ExplainOutlier(system, analysis.innovations, responses, target, event,
                                generations_, threshold_);
      for (const model::RootCauseFinding& finding : findings) {
        Json cause = {{"series", SeriesKey(system.series[finding.series])},
                      {"seriesID", system.series[finding.series].id},
                      {"score", finding.share},
                      {"share", finding.share},
                      {"contribution", finding.contribution},
                      {"isTarget", finding.series == target},
                      {"innovationZ", finding.innovation_z},
                      {"delay", finding.delay}};
        analysis.PutTime(cause, finding.innovation_time);
        Json path = Json::array();
        for (const model::PathStep& step : finding.path) {
          path.push_back({{"from", SeriesKey(system.series[step.from])},
                          {"to", SeriesKey(system.series[step.to])},
                          {"lag", step.lag}});
        }
        cause["path"] = std::move(path);
        causes.push_back(std::move(cause));
      }
      entry["targetIsRootCause"] = !findings.empty() && findings.front().series == target;
      entry["rootCauses"] = std::move(causes);
      outliers.push_back(std::move(entry));
    }
    Json settings = analysis.Settings(target, responses);
    settings["autoOutlierDetection"] = true;
    Json document = {{"rootCauseAnalysis",
                      {{"analysisSettings", std::move(settings)},
                       {"summary", Analysis::Summary(scan)},
                       {"outliers", std::move(outliers)}}}};
    return WriteMembers(files_.output_path,
                        {{MemberName("rootCauses_", system.series[target].id), document}}, place,
                        messages);
  }

 private:
  Json series_;
};

} // namespace

std::unique_ptr<Stage> MakeTcmOutlierStage() {
  return std::make_unique<OutlierStage>();
}

std::unique_ptr<Stage> MakeTcmRootCauseStage() {
  return std::make_unique<RootCauseStage>();
}

} // namespace engine
