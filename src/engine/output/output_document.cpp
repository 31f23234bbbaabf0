// This file contains the assembly of the output document from the artefacts asked for.
#include "engine/output/output_document.h"

#include "engine/output/artifacts.h"
#include "support/text.h"
#include "support/zip_archive.h"

namespace engine::output {
namespace {

// The node at a dotted path below "tcm", made where missing.
Node& At(Node& tcm, const std::string& path) {
  Node* node = &tcm;
  for (const std::string& piece : support::Split(path, '.')) node = &(*node)[piece];
  return *node;
}

// A per-series artefact: one child per series asked for, under the key of its texts.
template <class Build>
void PerSeries(Node& tcm, const std::string& path, const Artifact& artifact, const OutputData& data,
               std::vector<std::string>& warnings, Build build) {
  Node& node = At(tcm, path);
  if (!node.is_object()) node = Node::object();
  for (const std::vector<std::string>& pieces : artifact.target) {
    const std::string key = support::Join(pieces, "-");
    const std::ptrdiff_t series = data.FindSeries(pieces);
    if (series < 0) {
      warnings.push_back("'" + artifact.name + "': the series '" + key + "' is not in the model system");
      node[key] = "The series is not in the model system";
      continue;
    }
    node[key] = build(static_cast<std::size_t>(series));
  }
}

// The series an output shows, which its outlier table keeps to: those the table names, else
// those the per-series artefacts name; nullopt, for every series, when none names any.
std::optional<std::vector<std::size_t>> ShownSeries(const OutputConfig& config, const Artifact& table,
                                                    const OutputData& data) {
  std::vector<const Artifact*> naming;
  if (table.has_target) {
    naming.push_back(&table);
  } else {
    for (const Artifact& artifact : config.artifacts) {
      if (artifact.has_target) naming.push_back(&artifact);
    }
  }
  if (naming.empty()) return std::nullopt;
  std::vector<std::size_t> shown;
  for (const Artifact* artifact : naming) {
    for (const std::vector<std::string>& pieces : artifact->target) {
      const std::ptrdiff_t series = data.FindSeries(pieces);
      if (series >= 0) shown.push_back(static_cast<std::size_t>(series));
    }
  }
  return shown;
}

// Sets a whole node.
void Put(Node& tcm, const std::string& path, Node value) { At(tcm, path) = std::move(value); }

}  // namespace

Node BuildOutputDocument(const OutputConfig& config, const OutputData& data,
                         std::vector<std::string>& warnings) {
  Node tcm = {{"review", Node::object()},
              {"evaluation", Node::object()},
              {"action", Node::object()},
              {"interpretation", Node::object()}};
  for (const Artifact& artifact : config.artifacts) {
    const std::string& name = artifact.name;
    if (name == "review.modelSpecificationsTable") {
      Put(tcm, "review.specifications.table", ModelSpecificationsTable(data));
    } else if (name == "review.temporalInformationTable") {
      Put(tcm, "review.temporalInformation.table", TemporalInformationTable(data));
    } else if (name == "review.transformationsTable") {
      Put(tcm, "review.transformations.table", TransformationsTable(data));
    } else if (name == "review.OverallModelQualityHistogram" || name == "review.overallModelQualityDotplot") {
      const bool histogram = name == "review.OverallModelQualityHistogram";
      Node& node = At(tcm, histogram ? "evaluation.overallModelQualityHistogram.visualization"
                                     : "evaluation.overallModelQualityDotplot.visualization");
      if (!node.is_object()) node = Node::object();
      for (const std::string& asked : artifact.model_quality) {
        const auto statistic = FindFitStatistic(asked);
        if (!statistic) {
          warnings.push_back("'" + name + "': the statistic '" + asked + "' is not computed");
          node[asked] = "The statistic is not computed";
          continue;
        }
        node[asked] = histogram ? QualityHistogram(data, *statistic) : QualityDotPlot(data, *statistic);
      }
    } else if (name == "evaluation.outlierDistributionHistogram") {
      if (data.outliers_given) Put(tcm, "evaluation.outlierDistributionHistogram.visualization", OutlierHistogram(data));
    } else if (name == "evaluation.outlierDistributionDotplot") {
      if (data.outliers_given) Put(tcm, "evaluation.outlierDistributionDotplot.visualization", OutlierDotPlot(data));
    } else if (name == "evaluation.testOfModelEffectsForTarget") {
      PerSeries(tcm, "evaluation.testOfModelEffectsForTarget.table", artifact, data, warnings,
                [&](std::size_t s) { return ModelEffectsTable(data, s); });
    } else if (name == "evaluation.observedAndPredicted") {
      PerSeries(tcm, "evaluation.observedAndPredicted.visualization", artifact, data, warnings,
                [&](std::size_t s) { return ObservedPredictedChart(data, s); });
    } else if (name == "evaluation.residualsbyTimeforTarget") {
      PerSeries(tcm, "evaluation.residualsbyTimeforTarget.visualization", artifact, data, warnings,
                [&](std::size_t s) { return ResidualsChart(data, s); });
    } else if (name == "interpretation.overallModelSystem") {
      Put(tcm, "interpretation.overallModelSystem.visualization", SystemGraph(data, config.fit_statistic));
    } else if (name == "interpretation.modelFitStatisticsTable") {
      Put(tcm, "interpretation.modelFitStatistics.table", FitStatisticsTable(data));
    } else if (name == "interpretation.seriesWithOutliersTable") {
      // Without outlier results the table stays out, so that the reader says it is not available.
      if (data.outliers_given) {
        std::optional<int> keep = config.top_model;
        if (!keep && config.top_model_percent) {
          std::size_t targets = 0;
          for (const model::Equation& equation : data.system.equations) targets += equation.is_target ? 1 : 0;
          keep = static_cast<int>((targets * static_cast<std::size_t>(*config.top_model_percent) + 99) / 100);
        }
        Put(tcm, "interpretation.seriesWithOutliers.table",
            SeriesWithOutliersTable(data, keep, config.fit_statistic, ShownSeries(config, artifact, data)));
      }
    } else if (name == "interpretation.ImpactDiagramCauses" || name == "interpretation.ImpactDiagramEffects") {
      const bool causes = name == "interpretation.ImpactDiagramCauses";
      const int levels = artifact.level.value_or(3);
      PerSeries(tcm, causes ? "interpretation.impactDiagramCauses.visualization"
                            : "interpretation.impactDiagramEffects.visualization",
                artifact, data, warnings, [&](std::size_t s) { return ImpactDiagram(data, s, causes, levels); });
    } else if (name == "interpretation.topInputsforTarget") {
      PerSeries(tcm, "interpretation.topInputsforTarget.visualization", artifact, data, warnings,
                [&](std::size_t s) { return TopInputsChart(data, s); });
    } else if (name == "interpretation.parameterEstimatesForTarget") {
      PerSeries(tcm, "interpretation.parameterEstimatesForTarget.table", artifact, data, warnings,
                [&](std::size_t s) { return ParameterEstimatesTable(data, s); });
    } else if (name == "action.forecastedValuesForModel") {
      PerSeries(tcm, "action.forecastedValuesForModel.table", artifact, data, warnings,
                [&](std::size_t s) { return ForecastTable(data, s); });
    } else if (name == "action.outlierRootCauseAnalysisforSeries") {
      if (data.root_causes) {
        Put(tcm, "action.outlierRootCauseAnalysisforSeries.visualization", RootCauseDiagram(data));
        Put(tcm, "action.outlierRootCauseAnalysisforSeries.subJson", RootCauseSubJson(data));
      }
    } else if (name == "action.outliers") {
      if (data.root_causes) Put(tcm, "action.outliers.table", RootCauseTable(data));
    } else if (name == "action.scenarioAnalysisforSeries") {
      if (data.scenario) {
        Put(tcm, "action.scenarioAnalysisforSeries.visualization", ScenarioDiagram(data));
        Put(tcm, "action.scenarioAnalysisforSeries.subJson", ScenarioSubJson(data));
      }
    } else if (name == "action.scenario") {
      if (data.scenario) Put(tcm, "action.scenario.table", ScenarioDefinitionTable(data));
    } else if (name == "action.ForecastedValuesForScenario") {
      if (data.scenario) Put(tcm, "action.forecastedValuesforScenario.table", ScenarioForecastTable(data));
    }
  }
  Node document = {{"tcm", std::move(tcm)}, {"dataDictionary", data.data_dictionary}};
  return document;
}

support::Status WriteOutputArchive(const std::string& path, const Node& document) {
  auto text = support::DumpJson(document, support::JsonStyle::kCompact);
  if (!text) return text.error();
  support::ZipArchiveWriter writer;
  if (auto status = writer.AddText(kDocumentMember, *text); !status) return status;
  return writer.WriteTo(path);
}

}  // namespace engine::output
