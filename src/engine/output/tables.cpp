// This file contains the tables of the output document: review, tests of model effects,
// parameter estimates, forecasts, fit statistics and outliers.
#include <algorithm>
#include <cmath>
#include <set>

#include "engine/output/artifacts.h"
#include "support/text.h"

namespace engine::output {
namespace {

Node SeriesCategory(const OutputData& data, std::size_t series) {
  return Category(data.names[series].label, data.names[series].key);
}

Node OneColumn(const std::string& label) {
  Node categories = Node::array();
  categories.push_back(Category(label));
  Node dims = Node::array();
  dims.push_back(Dimension("", std::move(categories)));
  return dims;
}

Node Columns(const std::vector<Node>& categories) {
  Node list = Node::array();
  for (const Node& category : categories) list.push_back(category);
  Node dims = Node::array();
  dims.push_back(Dimension("", std::move(list)));
  return dims;
}

// A table of named values in one column.
struct ValueRows {
  Node categories = Node::array();
  Node cells = Node::array();
  void Add(const std::string& label, Node value) {
    categories.push_back(Category(label));
    Node row = Node::array();
    row.push_back(std::move(value));
    cells.push_back(std::move(row));
  }
};

std::size_t CountTargets(const model::ModelSystem& system, bool targets) {
  return static_cast<std::size_t>(std::count_if(
      system.equations.begin(), system.equations.end(),
      [&](const model::Equation& equation) { return equation.is_target == targets; }));
}

}  // namespace

Node ModelSpecificationsTable(const OutputData& data) {
  const model::ModelSystem& system = data.system;
  const model::ModelSettings& settings = system.settings;
  ValueRows rows;
  rows.Add("Dimension fields", data.dim_fields.empty() ? Node("None") : Node(support::Join(data.dim_fields, ", ")));
  rows.Add("Metric fields", support::Join(data.metric_fields, ", "));
  rows.Add("Series in the model system", Node{{"value", system.series.size()}, {"format", Format("integer")}});
  rows.Add("Targets", Node{{"value", CountTargets(system, true)}, {"format", Format("integer")}});
  std::size_t with_inputs = 0;
  for (const model::Equation& equation : system.equations) {
    const bool has_input = std::any_of(equation.blocks.begin(), equation.blocks.end(),
                                       [](const model::InputBlock& block) { return !block.own; });
    if (equation.is_target && has_input) ++with_inputs;
  }
  rows.Add("Targets with inputs", Node{{"value", with_inputs}, {"format", Format("integer")}});
  rows.Add("Input series without a target model", Node{{"value", CountTargets(system, false)}, {"format", Format("integer")}});
  rows.Add("Maximum lag", Node{{"value", settings.max_lag}, {"format", Format("integer")}});
  rows.Add("Maximum number of inputs", Node{{"value", settings.max_inputs}, {"format", Format("integer")}});
  rows.Add("Epsilon", Number(settings.epsilon));
  rows.Add("Significance level", Number(settings.significance_level));
  rows.Add("Confidence level (%)", Node{{"value", Number(settings.confidence_level * 100)}, {"format", Format("percent", 1)}});
  return TableNode("Model Specifications", Node::array({Dimension("", std::move(rows.categories))}),
               OneColumn("Value"), std::move(rows.cells));
}

Node TemporalInformationTable(const OutputData& data) {
  ValueRows rows;
  const support::Json& prep = data.preparation;
  if (data.axis.IsCyclic()) {
    rows.Add("Time fields", support::Join(data.axis.cyclic.fields, ", "));
  } else {
    rows.Add("Time field", data.axis.time_field);
    rows.Add("Time interval", std::to_string(support::GetInt(prep, "increment", 1)) + " " +
                                  support::GetString(prep, "interval"));
  }
  rows.Add("Input interval", support::GetString(prep, "inputInterval", support::GetString(prep, "interval")));
  const std::size_t T = data.time_count;
  rows.Add("Start of the data", T > 0 ? Node(data.period_labels.front()) : Node(nullptr));
  rows.Add("End of the data", T > 0 ? Node(data.period_labels[T - 1]) : Node(nullptr));
  rows.Add("Number of time points", Node{{"value", T}, {"format", Format("integer")}});
  rows.Add("Forecast periods", Node{{"value", data.horizon}, {"format", Format("integer")}});
  if (data.horizon > 0) {
    rows.Add("Start of the forecasts", data.period_labels[T]);
    rows.Add("End of the forecasts", data.period_labels.back());
  }
  return TableNode("Temporal Information Summary",
               Node::array({Dimension("", std::move(rows.categories))}), OneColumn("Value"),
               std::move(rows.cells));
}

Node TransformationsTable(const OutputData& data) {
  // The quality report when given, else the preparation record of the model system.
  const support::Json* list = nullptr;
  std::vector<std::string> footnotes;
  const bool from_quality = data.quality.has_value();
  if (from_quality) {
    list = support::FindMember(*data.quality, "series");
    const std::string imputation = support::GetString(*data.quality, "imputation");
    if (!imputation.empty()) footnotes.push_back("Missing values were imputed by " + imputation + ".");
  } else {
    list = support::FindMember(data.preparation, "series");
  }
  if (list == nullptr || !list->is_array()) return "No transformed series";
  auto time_text = [&](const support::Json& entry, const char* key) -> Node {
    const support::Json* time = support::FindMember(entry, key);
    if (time == nullptr || !time->is_number()) return nullptr;
    double point = time->get<double>();
    if (data.axis.time_format == "date") point *= 86400.0;
    for (std::size_t t = 0; t < data.time_count; ++t) {
      if (std::llround(data.axis.points[t]) == std::llround(point)) return data.period_labels[t];
    }
    return nullptr;
  };
  Node categories = Node::array();
  Node cells = Node::array();
  auto add = [&](const support::Json& entry, bool dropped) {
    std::vector<std::string> pieces = support::GetStringList(entry, "dims");
    const std::string metric = support::GetString(entry, "metric");
    std::string label = metric;
    for (std::size_t d = 0; d < pieces.size() && d < data.dim_fields.size(); ++d) {
      label += "-" + data.dim_fields[d] + ":" + pieces[d];
    }
    pieces.push_back(metric);
    const std::ptrdiff_t series = data.FindSeries(pieces);
    categories.push_back(series >= 0 ? SeriesCategory(data, static_cast<std::size_t>(series))
                                     : Category(label, support::Join(pieces, "-")));
    dropped = dropped || support::GetBool(entry, "dropped", false);
    Node row = Node::array();
    auto count = [&](const char* key) -> Node {
      const support::Json* value = support::FindMember(entry, key);
      return value != nullptr && value->is_number() ? Node(value->get<double>()) : Node(nullptr);
    };
    row.push_back(from_quality ? time_text(entry, "firstTime") : Node(nullptr));
    row.push_back(from_quality ? time_text(entry, "lastTime") : Node(nullptr));
    row.push_back(count("points"));
    row.push_back(count("missing"));
    row.push_back(count("imputed"));
    row.push_back(dropped ? "Yes" : "No");
    row.push_back(support::GetString(entry, "reason"));
    cells.push_back(std::move(row));
  };
  for (const auto& entry : *list) add(entry, false);
  if (!from_quality) {
    if (const support::Json* dropped = support::FindMember(data.preparation, "dropped");
        dropped != nullptr && dropped->is_array()) {
      for (const auto& entry : *dropped) add(entry, true);
    }
  }
  return TableNode("Transformed Time Series", Node::array({Dimension("Series", std::move(categories))}),
               Columns({Category("First time"), Category("Last time"),
                        Category("Observed values", "", Format("integer")),
                        Category("Missing values", "", Format("integer")),
                        Category("Imputed values", "", Format("integer")), Category("Dropped"),
                        Category("Reason")}),
               std::move(cells), footnotes);
}

Node ModelEffectsTable(const OutputData& data, std::size_t series) {
  const model::Equation* equation = data.EquationOf(series);
  if (equation == nullptr) return "The series has no model";
  Node categories = Node::array();
  Node cells = Node::array();
  for (const model::InputBlock& block : equation->blocks) {
    categories.push_back(SeriesCategory(data, block.series));
    cells.push_back(Node::array({Number(block.f), block.df1, block.df2, Number(block.f_p_value)}));
  }
  return TableNode("Tests of Model Effects", Node::array({Dimension("Source", std::move(categories))}),
               Columns({Category("F", "", Format("number", 3)), Category("df1", "", Format("integer")),
                        Category("df2", "", Format("integer")), Category("Sig.", "", Format("pvalue", 3))}),
               std::move(cells), {"Target: " + data.names[series].label + "."});
}

Node ParameterEstimatesTable(const OutputData& data, std::size_t series) {
  const model::Equation* equation = data.EquationOf(series);
  if (equation == nullptr) return "The series has no model";
  Node categories = Node::array();
  Node cells = Node::array();
  categories.push_back(Category("Intercept"));
  cells.push_back(Node::array({nullptr, Number(equation->intercept), Number(equation->intercept_se),
                               Number(equation->intercept_t), Number(equation->intercept_p)}));
  for (const model::InputBlock& block : equation->blocks) {
    for (std::size_t l = 0; l < block.coefficients.size(); ++l) {
      categories.push_back(SeriesCategory(data, block.series));
      auto at = [&](const std::vector<double>& values) { return l < values.size() ? Number(values[l]) : Node(nullptr); };
      cells.push_back(Node::array({l + 1, Number(block.coefficients[l]), at(block.std_errors),
                                   at(block.t_values), at(block.p_values)}));
    }
  }
  return TableNode("Parameter Estimates", Node::array({Dimension("Parameter", std::move(categories))}),
               Columns({Category("Lag", "", Format("integer")), Category("Estimate", "", Format("number", 3)),
                        Category("Std. Error", "", Format("number", 3)), Category("t", "", Format("number", 3)),
                        Category("Sig.", "", Format("pvalue", 3))}),
               std::move(cells), {"Target: " + data.names[series].label + "."});
}

Node ForecastTable(const OutputData& data, std::size_t series) {
  if (data.horizon == 0) return "No forecast periods were asked for";
  const SeriesValues& values = data.values[series];
  Node categories = Node::array();
  Node cells = Node::array();
  bool any = false;
  for (std::size_t h = 0; h < data.horizon; ++h) {
    const std::size_t t = data.time_count + h;
    categories.push_back(Category(data.period_labels[t]));
    any = any || std::isfinite(values.predicted[t]);
    cells.push_back(Node::array({Number(values.predicted[t]), Number(values.lower[t]), Number(values.upper[t])}));
  }
  if (!any) return "The series has no forecasts";
  const int level = static_cast<int>(std::lround(data.system.settings.confidence_level * 100));
  return TableNode("Forecasted Values", Node::array({Dimension(data.time_label, std::move(categories))}),
               Columns({Category("Forecast", "", Format("number", 3)), Category("LCL", "", Format("number", 3)),
                        Category("UCL", "", Format("number", 3))}),
               std::move(cells),
               {"Series: " + data.names[series].label + ". The limits are those of " +
                std::to_string(level) + "% intervals."});
}

Node FitStatisticsTable(const OutputData& data) {
  const char* names[] = {"r-Squared", "RMSPE", "RMSE", "BIC"};
  std::vector<FitStatistic> statistics;
  for (const char* name : names) statistics.push_back(*FindFitStatistic(name));
  Node categories = Node::array();
  Node cells = Node::array();
  for (const model::Equation& equation : data.system.equations) {
    if (!equation.is_target) continue;
    categories.push_back(SeriesCategory(data, equation.series));
    Node row = Node::array();
    for (const FitStatistic& statistic : statistics) row.push_back(Number(equation.stats.*statistic.member));
    row.push_back(Number(equation.stats.bic));
    row.push_back(Number(equation.stats.aic));
    row.push_back(std::count_if(equation.blocks.begin(), equation.blocks.end(),
                                [](const model::InputBlock& block) { return !block.own; }));
    cells.push_back(std::move(row));
  }
  std::vector<Node> columns;
  for (const FitStatistic& statistic : statistics) {
    columns.push_back(Category(statistic.label, "", Format("number", statistic.decimals)));
  }
  columns.push_back(Category("BIC", "", Format("number", 3)));
  columns.push_back(Category("AIC", "", Format("number", 3)));
  columns.push_back(Category("Number of inputs", "", Format("integer")));
  return TableNode("Model Fit Statistics", Node::array({Dimension("Target", std::move(categories))}),
               Columns(columns), std::move(cells));
}

Node SeriesWithOutliersTable(const OutputData& data, std::optional<int> keep,
                             const std::string& rank_statistic,
                             const std::optional<std::vector<std::size_t>>& only) {
  std::vector<int> ranks;
  if (keep) {
    auto statistic = FindFitStatistic(rank_statistic);
    if (!statistic) statistic = FindFitStatistic("RMSPE");
    ranks = RankTargets(data, *statistic);
  }
  std::vector<bool> named(data.system.series.size(), !only.has_value());
  if (only) {
    for (std::size_t s : *only) named[s] = true;
  }
  // Series in the system's order, each with its outliers in the order found.
  std::vector<std::vector<const Outlier*>> by_series(data.system.series.size());
  std::vector<bool> has_outliers(data.system.series.size(), false);
  for (const Outlier& outlier : data.outliers) {
    has_outliers[outlier.series] = true;
    if (!named[outlier.series]) continue;
    if (keep && (ranks[outlier.series] == 0 || ranks[outlier.series] > *keep)) continue;
    by_series[outlier.series].push_back(&outlier);
  }
  const auto with_outliers = static_cast<std::size_t>(std::count(has_outliers.begin(), has_outliers.end(), true));
  std::size_t most = 0;
  Node series_categories = Node::array();
  std::vector<std::size_t> shown;
  for (std::size_t s = 0; s < by_series.size(); ++s) {
    if (by_series[s].empty()) continue;
    shown.push_back(s);
    series_categories.push_back(SeriesCategory(data, s));
    most = std::max(most, by_series[s].size());
  }
  Node numbers = Node::array();
  for (std::size_t i = 1; i <= most; ++i) numbers.push_back(std::to_string(i));
  Node cells = Node::array();
  for (std::size_t s : shown) {
    for (std::size_t i = 0; i < most; ++i) {
      if (i >= by_series[s].size()) {
        cells.push_back(Node::array({nullptr, nullptr, nullptr, nullptr}));
        continue;
      }
      const Outlier& outlier = *by_series[s][i];
      cells.push_back(Node::array({outlier.time.empty() ? Node(nullptr) : Node(outlier.time),
                                   Number(outlier.observed), Number(outlier.predicted),
                                   Number(outlier.probability)}));
    }
  }
  std::vector<std::string> footnotes;
  if (shown.empty()) footnotes.push_back("No outliers were found.");
  if (keep) footnotes.push_back("Only the best " + std::to_string(*keep) + " models are shown.");
  if (only && shown.size() < with_outliers) {
    footnotes.push_back("Only the series this output shows are listed: " + std::to_string(shown.size()) +
                        " of the " + std::to_string(with_outliers) + " series with outliers.");
  }
  if (!shown.empty()) {
    footnotes.push_back("Expected is the system's forecast of the point made several periods earlier.");
    // The chance flags of the series listed, said per series: the table may be shown one series
    // a page, and a series without outliers flags about as many.
    double assessed = 0;
    double chance = 0;
    std::set<double> lengths;
    for (const OutlierSummary& summary : data.outlier_summaries) {
      if (by_series[summary.series].empty() || !std::isfinite(summary.assessed) ||
          !std::isfinite(summary.expected_chance)) {
        continue;
      }
      assessed += summary.assessed;
      chance += summary.expected_chance;
      lengths.insert(summary.assessed);
    }
    if (assessed > 0) {
      const double share = std::round(1000 * chance / assessed) / 10;
      std::string each;
      if (lengths.size() == 1) {
        each = " (about " + support::FormatNumber(std::round(chance * *lengths.begin() / assessed)) +
               " of its " + support::FormatNumber(*lengths.begin()) + ")";
      }
      footnotes.push_back("About " + support::FormatNumber(share) +
                          "% of the points of each series are flagged by chance at this threshold" +
                          each + "; a run of flags from one shock counts as one outlier.");
    }
  }
  return TableNode("Series with Outliers",
               Node::array({Dimension("Series", std::move(series_categories)),
                            Dimension("Outlier", std::move(numbers))}),
               Columns({Category("Time"), Category("Observed", "", Format("number", 3)),
                        Category("Expected", "", Format("number", 3)),
                        Category("Probability", "", Format("number", 3))}),
               std::move(cells), footnotes);
}

namespace {

// How a cause reached the target: "cost-region:east →(lag 1) sales-region:east →(lag 2) ...".
Node CausePathText(const OutputData& data, const RootCause& cause) {
  if (cause.is_target) return "the series' own innovation";
  if (cause.path.empty()) return nullptr;
  auto label = [&](std::ptrdiff_t series) {
    return series >= 0 ? data.names[static_cast<std::size_t>(series)].label : std::string("(a series not in the system)");
  };
  std::string text = label(cause.path.front().from);
  for (const PathLink& link : cause.path) {
    text += " \u2192(lag " + std::to_string(link.lag) + ") " + label(link.to);
  }
  return text;
}

}  // namespace

Node RootCauseTable(const OutputData& data) {
  if (!data.root_causes) return "No root cause analysis";
  const RootCauseResult& result = *data.root_causes;
  // Outliers by their causes in rank order; an outlier of fewer causes than the most has empty
  // rows, which the reports leave out.
  std::size_t most = 1;
  for (const RootCauseOutlier& entry : result.outliers) most = std::max(most, entry.causes.size());
  Node outliers = Node::array();
  Node ranks = Node::array();
  for (std::size_t r = 1; r <= most; ++r) ranks.push_back(std::to_string(r));
  Node cells = Node::array();
  for (const RootCauseOutlier& entry : result.outliers) {
    const Outlier& outlier = entry.outlier;
    outliers.push_back(Category(outlier.time.empty() ? "." : outlier.time));
    for (std::size_t r = 0; r < most; ++r) {
      Node row = Node::array();
      const bool filler = r >= std::max<std::size_t>(entry.causes.size(), 1);
      if (filler) {
        for (int c = 0; c < 7; ++c) row.push_back(nullptr);
        cells.push_back(std::move(row));
        continue;
      }
      row.push_back(Number(outlier.observed));
      row.push_back(Number(outlier.predicted));
      row.push_back(Number(outlier.probability));
      if (entry.causes.empty()) {
        row.push_back("None found");
        for (int c = 0; c < 3; ++c) row.push_back(nullptr);
      } else {
        const RootCause& cause = entry.causes[r];
        row.push_back(data.names[cause.series].label);
        row.push_back(cause.time.empty() ? Node(nullptr) : Node(cause.time));
        row.push_back(Number(cause.share * 100));
        row.push_back(CausePathText(data, cause));
      }
      cells.push_back(std::move(row));
    }
  }
  return TableNode("Outlier Root Cause Analysis",
               Node::array({Dimension("Outlier at", std::move(outliers)), Dimension("Rank", std::move(ranks))}),
               Columns({Category("Observed", "", Format("number", 3)),
                        Category("Expected", "", Format("number", 3)),
                        Category("Probability", "", Format("number", 3)), Category("Root cause"),
                        Category("Acted at"), Category("Share of the deviation (%)", "", Format("percent", 1)),
                        Category("Path")}),
               std::move(cells),
               {"Series: " + data.names[result.target].label + ".",
                "Expected is the system's forecast made several periods before the outlier. A cause "
                "acted at the time of its anomalous innovation; its share is the part of the "
                "outlier's deviation from the expected value that innovation explains."});
}

Node ScenarioDefinitionTable(const OutputData& data) {
  if (!data.scenario) return "No scenario analysis";
  const ScenarioResult& result = *data.scenario;
  ValueRows rows;
  rows.Add("Scenario ID", result.id.empty() ? Node(nullptr) : Node(result.id));
  rows.Add("Root series", data.names[result.root].label);
  rows.Add("Period start", result.start);
  rows.Add("Period end", result.end);
  rows.Add("Furthest time", result.furthest);
  // The period's values start the run, so their times are its first.
  for (std::size_t t = 0; t < result.substituted.size(); ++t) {
    rows.Add("Value at " + (t < result.times.size() ? result.times[t] : std::to_string(t + 1)),
             Number(result.substituted[t]));
  }
  return TableNode("Scenario Definition", Node::array({Dimension("", std::move(rows.categories))}),
                   OneColumn("Value"), std::move(rows.cells));
}

Node ScenarioForecastTable(const OutputData& data) {
  if (!data.scenario) return "No scenario analysis";
  const ScenarioResult& result = *data.scenario;
  const bool limits = std::isfinite(result.confidence_level);
  Node targets = Node::array();
  Node cells = Node::array();
  for (const ScenarioSeries& series : result.series) {
    if (!series.is_target) continue;
    targets.push_back(SeriesCategory(data, series.series));
    for (std::size_t t = 0; t < result.times.size(); ++t) {
      Node row = Node::array({Number(series.scenario[t]), Number(series.baseline[t]), Number(series.difference[t])});
      if (limits) {
        row.push_back(Number(series.lower[t]));
        row.push_back(Number(series.upper[t]));
      }
      cells.push_back(std::move(row));
    }
  }
  if (targets.empty()) return "The scenario has no target series";
  Node times = Node::array();
  for (const std::string& time : result.times) times.push_back(Category(time));
  std::vector<Node> columns = {Category("Scenario", "", Format("number", 3)), Category("Baseline", "", Format("number", 3)),
                               Category("Difference", "", Format("number", 3))};
  std::vector<std::string> notes = {"The scenario sets " + data.names[result.root].label + " from " + result.start +
                                    " to " + result.end + "; the difference is scenario minus baseline."};
  if (limits) {
    columns.push_back(Category("LCL", "", Format("number", 3)));
    columns.push_back(Category("UCL", "", Format("number", 3)));
    notes.push_back("The limits are those of " + support::FormatNumber(result.confidence_level * 100) +
                    "% intervals of the scenario.");
  }
  return TableNode("Forecasted Values", Node::array({Dimension("Target", std::move(targets)),
                                                     Dimension(data.time_label, std::move(times))}),
                   Columns(columns), std::move(cells), notes);
}

}  // namespace engine::output
