// This file contains the builders of the output document's objects, one per artefact; each
// gives the object, or a text saying why there is none (the renderer shows nothing for it).
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "engine/output/output_data.h"
#include "engine/output/output_json.h"

namespace engine::output {

// A fit statistic of the quality plots and tables: its name as asked, its label and value.
struct FitStatistic {
  std::string name;   // as asked: "RMSPE", "r-Squared", ...
  std::string label;  // "RMSPE", "R Square", "Normalized BIC"
  double model::FitStats::*member = nullptr;
  int decimals = 3;
  bool larger_is_better = false;
};
// The statistic asked for by name, case ignored ("RSQUARE" and "r-Squared" are R Square; "BIC"
// is the normalized BIC); nullopt for an unknown name.
std::optional<FitStatistic> FindFitStatistic(const std::string& name);

// Ranks (1 = best) of the targets by the statistic; 0 for series without a target model or a
// value.
std::vector<int> RankTargets(const OutputData& data, const FitStatistic& statistic);

// Equal-width bins of the finite values: Sturges' count, one bin around a single value.
struct Bin {
  double from = 0;
  double to = 0;
  int count = 0;
};
std::vector<Bin> HistogramBins(const std::vector<double>& values);

// Review tables.
Node ModelSpecificationsTable(const OutputData& data);
Node TemporalInformationTable(const OutputData& data);
Node TransformationsTable(const OutputData& data);

// Overall model quality and outlier distribution.
Node QualityHistogram(const OutputData& data, const FitStatistic& statistic);
Node QualityDotPlot(const OutputData& data, const FitStatistic& statistic);
Node OutlierHistogram(const OutputData& data);
Node OutlierDotPlot(const OutputData& data);

// Per series (an index into the system's series).
Node ModelEffectsTable(const OutputData& data, std::size_t series);
Node ObservedPredictedChart(const OutputData& data, std::size_t series);
Node ResidualsChart(const OutputData& data, std::size_t series);
Node TopInputsChart(const OutputData& data, std::size_t series);
Node ParameterEstimatesTable(const OutputData& data, std::size_t series);
Node ForecastTable(const OutputData& data, std::size_t series);
// Causes: the inputs of the root's model, their inputs, and so on for `levels` generations;
// effects: the series whose models take the root as input.
Node ImpactDiagram(const OutputData& data, std::size_t series, bool causes, int levels);

// The model system.
Node SystemGraph(const OutputData& data, const std::string& rank_statistic);
Node FitStatisticsTable(const OutputData& data);
// `keep` limits the series (targets' ranks 1..keep), or nullopt for all; `only`, when given,
// to those series.
Node SeriesWithOutliersTable(const OutputData& data, std::optional<int> keep,
                             const std::string& rank_statistic,
                             const std::optional<std::vector<std::size_t>>& only = std::nullopt);

// Root cause analysis: the tree with its root causes and the plots by series text; the table.
Node RootCauseDiagram(const OutputData& data);
Node RootCauseSubJson(const OutputData& data);
Node RootCauseTable(const OutputData& data);

// Scenario analysis: the tree of the series the run computed and their scenario and baseline
// plots by series text; the definition of the scenario; the paths of its target series.
Node ScenarioDiagram(const OutputData& data);
Node ScenarioSubJson(const OutputData& data);
Node ScenarioDefinitionTable(const OutputData& data);
Node ScenarioForecastTable(const OutputData& data);

}  // namespace engine::output
