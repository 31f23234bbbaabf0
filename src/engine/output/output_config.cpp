// This file contains the reading of the output component's configuration.
#include "engine/output/output_config.h"

#include <algorithm>
#include <limits>

#include "engine/stages/stage.h"

namespace engine::output {
namespace {

support::Error Fail(std::string message) { return support::Error{std::move(message)}; }

// An optional integer key: absent gives nullopt; present, it must be a whole number in range.
support::Result<std::optional<int>> OptionalInt(const support::Json& object, const char* key,
                                                int low, int high) {
  const support::Json* value = support::FindMember(object, key);
  if (value == nullptr || value->is_null()) return std::optional<int>();
  if (!value->is_number()) return Fail(std::string("'") + key + "' must be a number");
  const double number = value->get<double>();
  if (number != static_cast<double>(static_cast<long long>(number)) || number < low ||
      number > high) {
    return Fail(std::string("'") + key + "' must be a whole number from " + std::to_string(low) +
                " to " + std::to_string(high));
  }
  return std::optional<int>(static_cast<int>(number));
}

// The path of the entry named exactly `name`; empty when there is none or its uri names no
// file ("" or "file:///", what a flow writes for an archive that no earlier flow made).
std::string NamedPath(const support::Json& entries, std::string_view name) {
  if (!entries.is_array()) return {};
  for (const auto& entry : entries) {
    if (support::GetString(entry, "name") == name) {
      const std::string path = PathFromUri(support::GetString(entry, "uri"));
      return path == "/" ? std::string() : path;
    }
  }
  return {};
}

support::Result<Artifact> ReadArtifact(const support::Json& entry, std::size_t index) {
  const std::string where = "artefact " + std::to_string(index + 1) + ": ";
  if (!entry.is_object()) return Fail(where + "must be an object");
  Artifact artifact;
  artifact.name = support::GetString(entry, "name");
  const auto& known = KnownArtifacts();
  if (std::find(known.begin(), known.end(), artifact.name) == known.end()) {
    return Fail(where + "the name '" + artifact.name + "' is no known artefact");
  }
  if (const support::Json* quality = support::FindMember(entry, "modelQuality")) {
    if (!quality->is_array()) return Fail(where + "'modelQuality' must be an array of texts");
    for (const auto& statistic : *quality) {
      if (!statistic.is_string()) return Fail(where + "'modelQuality' must be an array of texts");
      artifact.model_quality.push_back(statistic.get<std::string>());
    }
  }
  if (const support::Json* target = support::FindMember(entry, "target")) {
    if (!target->is_array()) return Fail(where + "'target' must be an array of series arrays");
    artifact.has_target = true;
    for (const auto& series : *target) {
      if (!series.is_array() || series.empty()) {
        return Fail(where + "each series of 'target' must be a non-empty array of texts");
      }
      std::vector<std::string> pieces;
      for (const auto& piece : series) {
        if (!piece.is_string()) return Fail(where + "a series of 'target' holds a value that is no text");
        pieces.push_back(piece.get<std::string>());
      }
      artifact.target.push_back(std::move(pieces));
    }
  }
  auto level = OptionalInt(entry, "level", 0, 1000);
  if (!level) return Fail(where + level.message());
  artifact.level = *level;
  return artifact;
}

}  // namespace

const std::vector<std::string_view>& KnownArtifacts() {
  static const std::vector<std::string_view> names = {
      "review.modelSpecificationsTable",
      "review.temporalInformationTable",
      "review.transformationsTable",
      "review.OverallModelQualityHistogram",
      "review.overallModelQualityDotplot",
      "evaluation.outlierDistributionHistogram",
      "evaluation.outlierDistributionDotplot",
      "evaluation.testOfModelEffectsForTarget",
      "evaluation.observedAndPredicted",
      "evaluation.residualsbyTimeforTarget",
      "interpretation.overallModelSystem",
      "interpretation.modelFitStatisticsTable",
      "interpretation.seriesWithOutliersTable",
      "interpretation.ImpactDiagramCauses",
      "interpretation.ImpactDiagramEffects",
      "interpretation.topInputsforTarget",
      "interpretation.parameterEstimatesForTarget",
      "action.forecastedValuesForModel",
      "action.outlierRootCauseAnalysisforSeries",
      "action.outliers",
      "action.scenarioAnalysisforSeries",
      "action.scenario",
      "action.ForecastedValuesForScenario",
  };
  return names;
}

support::Result<OutputConfig> ReadOutputConfig(const support::Json& conf,
                                               const support::Json& inputs,
                                               const support::Json& outputs) {
  OutputConfig config;
  const support::Json* artifacts = support::FindMember(conf, "artifacts");
  if (artifacts == nullptr || !artifacts->is_array()) {
    return Fail("'artifacts' must be an array of artefact objects");
  }
  for (std::size_t i = 0; i < artifacts->size(); ++i) {
    auto artifact = ReadArtifact((*artifacts)[i], i);
    if (!artifact) return artifact.error();
    config.artifacts.push_back(std::move(*artifact));
  }
  config.locale = support::GetString(conf, "locale");
  config.date_format = support::GetString(conf, "dateFormat", config.date_format);
  config.time_format = support::GetString(conf, "timeFormat", config.time_format);
  auto forecasted = OptionalInt(conf, "forecasted", 0, 100000);
  if (!forecasted) return forecasted.error();
  config.forecasted = forecasted->value_or(0);
  auto top = OptionalInt(conf, "topModel", 0, std::numeric_limits<int>::max());
  if (!top) return top.error();
  config.top_model = *top;
  auto percent = OptionalInt(conf, "topModelPercent", 0, 100);
  if (!percent) return percent.error();
  config.top_model_percent = *percent;
  config.is_encoded = support::GetBool(conf, "isEncoded", false);
  config.fit_statistic = support::GetString(conf, "fitStatistic", config.fit_statistic);

  if (!inputs.is_array()) return Fail("the input configuration must be an array");
  config.quality_path = NamedPath(inputs, "TSDP");
  config.model_path = NamedPath(inputs, "TCM");
  config.outlier_path = NamedPath(inputs, "TCMOD");
  config.root_cause_path = NamedPath(inputs, "TCMRCA");
  config.scenario_path = NamedPath(inputs, "TCMSA");
  if (config.model_path.empty()) {
    return Fail("the input configuration names no model system ('TCM')");
  }
  config.output_path = NamedPath(outputs, "tcmStatJson");
  if (config.output_path.empty() && outputs.is_array() && outputs.size() == 1) {
    config.output_path = PathFromUri(support::GetString(outputs[0], "uri"));
  }
  if (config.output_path.empty()) {
    return Fail("the output configuration names no archive for the output document");
  }
  return config;
}

}  // namespace engine::output
