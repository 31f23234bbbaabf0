// This file contains the visualizations of the output document: quality and outlier
// distributions, line charts of series, the system graph and impact trees.
#include <algorithm>
#include <cmath>
#include <functional>
#include <numeric>

#include "engine/output/artifacts.h"
#include "support/text.h"

namespace engine::output {
namespace {

// Impact trees stop growing here: a dense graph at a large depth has very many paths.
constexpr std::size_t kMaxTreeNodes = 2000;
// The top inputs chart shows at most this many inputs beside the target.
constexpr std::size_t kMaxTopInputs = 5;

Node PeriodField(const OutputData& data, const std::vector<std::string>& labels, std::size_t count) {
  Node content = Node::array();
  for (std::size_t t = 0; t < count; ++t) content.push_back(PlainText(labels[t]));
  Node lists = Node::array();
  lists.push_back(CategoryList("periods", std::move(content)));
  return CategoricalField("period", data.time_label, "x", std::move(lists));
}

Node SeriesField(const OutputData& data, const std::vector<std::size_t>& series, const char* role,
                 const std::vector<std::size_t>* targets = nullptr) {
  Node content = Node::array();
  for (std::size_t s : series) content.push_back(data.names[s].composite);
  Node lists = Node::array();
  lists.push_back(CategoryList("series", std::move(content)));
  if (targets != nullptr) {
    Node subset = Node::array();
    for (std::size_t s : *targets) subset.push_back(data.names[s].composite);
    lists.push_back(CategoryList("targets", std::move(subset)));
  }
  return CategoricalField("series", "Series", role, std::move(lists));
}

Node WithFormat(Node field, Node format) {
  field["format"] = std::move(format);
  return field;
}

// The lag of a block whose coefficient is most significant (1-based).
int StrongestLag(const model::InputBlock& block) {
  int lag = 1;
  double best = 2;
  for (std::size_t l = 0; l < block.p_values.size(); ++l) {
    if (std::isfinite(block.p_values[l]) && block.p_values[l] < best) {
      best = block.p_values[l];
      lag = static_cast<int>(l) + 1;
    }
  }
  return lag;
}

bool HasValues(const std::vector<double>& values, std::size_t count) {
  for (std::size_t t = 0; t < count && t < values.size(); ++t) {
    if (std::isfinite(values[t])) return true;
  }
  return false;
}

std::vector<double> OutlierCounts(const OutputData& data, std::vector<std::size_t>& targets) {
  std::vector<double> counts(data.system.series.size(), 0);
  for (const Outlier& outlier : data.outliers) counts[outlier.series] += 1;
  targets.clear();
  std::vector<double> values;
  for (const model::Equation& equation : data.system.equations) {
    if (!equation.is_target) continue;
    targets.push_back(equation.series);
    values.push_back(counts[equation.series]);
  }
  return values;
}

Node Histogram(const std::vector<double>& values, const std::string& statistic, int decimals) {
  Node rows = Node::array();
  for (const Bin& bin : HistogramBins(values)) rows.push_back(Node::array({bin.from, bin.to, bin.count}));
  Node fields = Node::array({WithFormat(DataField("from", "", "binStart"), Format("number", decimals)),
                             DataField("to", "", "binEnd"), DataField("count", "Count", "count")});
  Node chart = Visualization("histogram", statistic, Node::array({DataSet("bins", std::move(fields), std::move(rows))}));
  chart["statistic"] = statistic;
  chart["xLabel"] = statistic;
  chart["yLabel"] = "Count";
  return chart;
}

Node DotPlot(const OutputData& data, const std::vector<std::size_t>& series,
             const std::vector<double>& values, const std::string& statistic, Node format) {
  Node rows = Node::array();
  for (std::size_t i = 0; i < series.size(); ++i) rows.push_back(Node::array({i, Number(values[i])}));
  Node fields = Node::array({SeriesField(data, series, "category"),
                             WithFormat(DataField("value", statistic, "value"), std::move(format))});
  Node chart = Visualization("dotPlot", statistic, Node::array({DataSet("points", std::move(fields), std::move(rows))}));
  chart["statistic"] = statistic;
  chart["xLabel"] = statistic;
  return chart;
}

std::vector<double> StatisticOfTargets(const OutputData& data, const FitStatistic& statistic,
                                       std::vector<std::size_t>& targets) {
  std::vector<double> values;
  targets.clear();
  for (const model::Equation& equation : data.system.equations) {
    if (!equation.is_target) continue;
    targets.push_back(equation.series);
    values.push_back(equation.stats.*statistic.member);
  }
  return values;
}

// The line chart of `lines` (field name, label, values) over the first `count` periods of
// `periods` (their labels).
Node LineChart(const OutputData& data, const std::string& title, const std::vector<std::string>& periods,
               std::size_t count,
               const std::vector<std::tuple<std::string, std::string, const std::vector<double>*>>& lines,
               const std::vector<double>* lower, const std::vector<double>* upper, const std::string& band_of) {
  Node fields = Node::array();
  fields.push_back(PeriodField(data, periods, count));
  for (const auto& [name, label, values] : lines) fields.push_back(DataField(name, label, "line"));
  if (lower != nullptr) {
    Node low = DataField("lcl", "LCL", "lower");
    low["of"] = band_of;
    Node high = DataField("ucl", "UCL", "upper");
    high["of"] = band_of;
    fields.push_back(std::move(low));
    fields.push_back(std::move(high));
  }
  Node rows = Node::array();
  for (std::size_t t = 0; t < count; ++t) {
    Node row = Node::array({t});
    for (const auto& line : lines) row.push_back(Number((*std::get<2>(line))[t]));
    if (lower != nullptr) {
      row.push_back(Number((*lower)[t]));
      row.push_back(Number((*upper)[t]));
    }
    rows.push_back(std::move(row));
  }
  Node chart = Visualization("lineChart", title, Node::array({DataSet("values", std::move(fields), std::move(rows))}));
  chart["xLabel"] = data.time_label;
  return chart;
}

struct TreeNode {
  std::size_t series;
  std::ptrdiff_t parent;
  const model::InputBlock* block;  // the connection to the parent
};

// The tree below `root` in preorder: causes follow the inputs of each model, effects the models
// that take each series as input. A series already on the path is not entered again, nor one
// that `keep` (when given, per series) leaves out.
std::vector<TreeNode> GrowTree(const OutputData& data, std::size_t root, bool causes, int levels,
                               const std::vector<bool>* keep = nullptr) {
  std::vector<std::vector<std::pair<std::size_t, const model::InputBlock*>>> effects;
  if (!causes) {
    effects.resize(data.system.series.size());
    for (const model::Equation& equation : data.system.equations) {
      for (const model::InputBlock& block : equation.blocks) {
        if (!block.own) effects[block.series].emplace_back(equation.series, &block);
      }
    }
  }
  std::vector<TreeNode> nodes;
  std::vector<std::size_t> path;
  std::function<void(std::size_t, std::ptrdiff_t, const model::InputBlock*, int)> grow =
      [&](std::size_t series, std::ptrdiff_t parent, const model::InputBlock* block, int depth) {
        if (nodes.size() >= kMaxTreeNodes) return;
        const auto index = static_cast<std::ptrdiff_t>(nodes.size());
        nodes.push_back({series, parent, block});
        if (depth >= levels) return;
        path.push_back(series);
        std::vector<std::pair<std::size_t, const model::InputBlock*>> children;
        if (causes) {
          if (const model::Equation* equation = data.EquationOf(series)) {
            for (const model::InputBlock& input : equation->blocks) {
              if (!input.own) children.emplace_back(input.series, &input);
            }
          }
        } else {
          children = effects[series];
        }
        for (const auto& [child, link] : children) {
          if (std::find(path.begin(), path.end(), child) != path.end()) continue;
          if (keep != nullptr && !(*keep)[child]) continue;
          grow(child, index, link, depth + 1);
        }
        path.pop_back();
      };
  grow(root, -1, nullptr, 0);
  return nodes;
}

// A number per series that a tree shows on its nodes: field name, label and role, the values.
struct NodeValues {
  std::string name;
  std::string label;
  std::vector<double> values;
};

Node TreeChart(const OutputData& data, const std::vector<TreeNode>& nodes, bool causes,
               const std::string& title, const std::vector<double>* root_cause_scores,
               const std::vector<NodeValues>& extra = {}) {
  std::vector<std::size_t> distinct;
  for (const TreeNode& node : nodes) {
    if (std::find(distinct.begin(), distinct.end(), node.series) == distinct.end()) distinct.push_back(node.series);
  }
  Node fields = Node::array({SeriesField(data, distinct, "series"), DataField("parent", "", "parent"),
                             DataField("lag", "Lag", "lag"), DataField("p", "Sig.", "pValue"),
                             DataField("weight", "F", "weight")});
  if (root_cause_scores != nullptr) {
    fields.push_back(DataField("rootCause", "Root cause", "rootCause"));
    fields.push_back(DataField("score", "Score", "score"));
  }
  for (const NodeValues& column : extra) fields.push_back(DataField(column.name, column.label, column.name));
  Node rows = Node::array();
  for (const TreeNode& node : nodes) {
    const auto category = std::find(distinct.begin(), distinct.end(), node.series) - distinct.begin();
    Node row = Node::array({category, node.parent < 0 ? Node(nullptr) : Node(node.parent)});
    if (node.block == nullptr) {
      row.push_back(nullptr);
      row.push_back(nullptr);
      row.push_back(nullptr);
    } else {
      row.push_back(StrongestLag(*node.block));
      row.push_back(Number(node.block->f_p_value));
      row.push_back(Number(node.block->f));
    }
    if (root_cause_scores != nullptr) {
      const double score = (*root_cause_scores)[node.series];
      const bool is_cause = node.parent >= 0 && !std::isnan(score);
      row.push_back(is_cause ? 1 : 0);
      row.push_back(is_cause ? Number(score) : Node(nullptr));
    }
    for (const NodeValues& column : extra) row.push_back(Number(column.values[node.series]));
    rows.push_back(std::move(row));
  }
  Node chart = Visualization("impactTree", title, Node::array({DataSet("nodes", std::move(fields), std::move(rows))}));
  chart["direction"] = causes ? "causes" : "effects";
  return chart;
}

}  // namespace

std::optional<FitStatistic> FindFitStatistic(const std::string& name) {
  const std::string upper = support::ToUpperAscii(name);
  if (upper == "RMSPE") return FitStatistic{name, "RMSPE", &model::FitStats::rmspe, 3, false};
  if (upper == "RMSE") return FitStatistic{name, "RMSE", &model::FitStats::rmse, 3, false};
  if (upper == "BIC" || upper == "NBIC" || upper == "NORMALIZED BIC") {
    return FitStatistic{name, "Normalized BIC", &model::FitStats::normalized_bic, 3, false};
  }
  if (upper == "R-SQUARED" || upper == "RSQUARE" || upper == "R SQUARE") {
    return FitStatistic{name, "R Square", &model::FitStats::rsquare, 3, true};
  }
  if (upper == "AIC") return FitStatistic{name, "AIC", &model::FitStats::aic, 3, false};
  return std::nullopt;
}

std::vector<int> RankTargets(const OutputData& data, const FitStatistic& statistic) {
  std::vector<const model::Equation*> targets;
  for (const model::Equation& equation : data.system.equations) {
    if (equation.is_target && std::isfinite(equation.stats.*statistic.member)) targets.push_back(&equation);
  }
  std::stable_sort(targets.begin(), targets.end(), [&](const model::Equation* a, const model::Equation* b) {
    const double x = a->stats.*statistic.member;
    const double y = b->stats.*statistic.member;
    return statistic.larger_is_better ? x > y : x < y;
  });
  std::vector<int> ranks(data.system.series.size(), 0);
  for (std::size_t i = 0; i < targets.size(); ++i) ranks[targets[i]->series] = static_cast<int>(i) + 1;
  return ranks;
}

std::vector<Bin> HistogramBins(const std::vector<double>& values) {
  std::vector<double> finite;
  for (double value : values) {
    if (std::isfinite(value)) finite.push_back(value);
  }
  if (finite.empty()) return {};
  const auto [low_it, high_it] = std::minmax_element(finite.begin(), finite.end());
  const double low = *low_it;
  const double high = *high_it;
  if (high == low) {
    const double half = low == 0 ? 0.5 : std::abs(low) * 0.05;
    return {Bin{low - half, low + half, static_cast<int>(finite.size())}};
  }
  const auto count = static_cast<std::size_t>(std::ceil(std::log2(static_cast<double>(finite.size())))) + 1;
  const double width = (high - low) / static_cast<double>(count);
  std::vector<Bin> bins(count);
  for (std::size_t b = 0; b < count; ++b) {
    bins[b].from = low + width * static_cast<double>(b);
    bins[b].to = b + 1 == count ? high : low + width * static_cast<double>(b + 1);
  }
  for (double value : finite) {
    auto b = static_cast<std::size_t>((value - low) / width);
    bins[std::min(b, count - 1)].count += 1;
  }
  return bins;
}

Node QualityHistogram(const OutputData& data, const FitStatistic& statistic) {
  std::vector<std::size_t> targets;
  const std::vector<double> values = StatisticOfTargets(data, statistic, targets);
  Node chart = Histogram(values, statistic.label, statistic.decimals);
  chart["title"] = "Overall Model Quality - " + statistic.label;
  return chart;
}

Node QualityDotPlot(const OutputData& data, const FitStatistic& statistic) {
  std::vector<std::size_t> targets;
  const std::vector<double> values = StatisticOfTargets(data, statistic, targets);
  Node chart = DotPlot(data, targets, values, statistic.label, Format("number", statistic.decimals));
  chart["title"] = "Overall Model Quality - " + statistic.label;
  return chart;
}

Node OutlierHistogram(const OutputData& data) {
  if (!data.outliers_given) return "Outliers were not detected";
  std::vector<std::size_t> targets;
  Node chart = Histogram(OutlierCounts(data, targets), "Number of outliers", 0);
  chart["title"] = "Outlier Distribution";
  return chart;
}

Node OutlierDotPlot(const OutputData& data) {
  if (!data.outliers_given) return "Outliers were not detected";
  std::vector<std::size_t> targets;
  const std::vector<double> counts = OutlierCounts(data, targets);
  Node chart = DotPlot(data, targets, counts, "Number of outliers", Format("integer"));
  chart["title"] = "Outlier Distribution";
  return chart;
}

Node ObservedPredictedChart(const OutputData& data, std::size_t series) {
  const SeriesValues& values = data.values[series];
  const std::size_t count = data.time_count + data.horizon;
  if (!HasValues(values.observed, data.time_count) && !HasValues(values.predicted, count)) {
    return "The series has no values in the data";
  }
  std::vector<std::tuple<std::string, std::string, const std::vector<double>*>> lines = {
      {"observed", "Observed", &values.observed}, {"predicted", "Predicted", &values.predicted}};
  const bool band = HasValues(values.lower, count);
  Node chart = LineChart(data, "Observed and Predicted", data.period_labels, count, lines, band ? &values.lower : nullptr,
                         band ? &values.upper : nullptr, "predicted");
  if (data.horizon > 0) chart["forecastStart"] = data.time_count;
  chart["yLabel"] = data.names[series].text;
  Node marks = Node::array();
  for (const Outlier& outlier : data.outliers) {
    if (outlier.series == series && outlier.period >= 0) marks.push_back({{"x", outlier.period}, {"label", "Outlier"}});
  }
  if (!marks.empty()) chart["marks"] = std::move(marks);
  return chart;
}

Node ResidualsChart(const OutputData& data, std::size_t series) {
  const SeriesValues& values = data.values[series];
  if (!HasValues(values.residual, data.time_count)) return "The series has no residuals";
  Node chart = LineChart(data, "Residuals", data.period_labels, data.time_count, {{"residual", "Residual", &values.residual}},
                         nullptr, nullptr, "");
  chart["yLabel"] = "Residual of " + data.names[series].text;
  chart["referenceLines"] = Node::array({{{"value", 0}, {"label", ""}}});
  return chart;
}

Node TopInputsChart(const OutputData& data, std::size_t series) {
  const model::Equation* equation = data.EquationOf(series);
  if (equation == nullptr) return "The series has no model";
  std::vector<const model::InputBlock*> inputs;
  for (const model::InputBlock& block : equation->blocks) {
    if (!block.own) inputs.push_back(&block);
  }
  if (inputs.empty()) return "The model of the series has no inputs";
  if (!HasValues(data.values[series].observed, data.time_count)) return "The series has no values in the data";
  // Most significant first: smallest p value, then largest F.
  std::stable_sort(inputs.begin(), inputs.end(), [](const model::InputBlock* a, const model::InputBlock* b) {
    if (a->f_p_value != b->f_p_value) return a->f_p_value < b->f_p_value;
    return a->f > b->f;
  });
  if (inputs.size() > kMaxTopInputs) inputs.resize(kMaxTopInputs);
  std::vector<std::tuple<std::string, std::string, const std::vector<double>*>> lines;
  lines.emplace_back("target", data.names[series].text, &data.values[series].observed);
  for (std::size_t i = 0; i < inputs.size(); ++i) {
    lines.emplace_back("input" + std::to_string(i + 1), data.names[inputs[i]->series].text,
                       &data.values[inputs[i]->series].observed);
  }
  Node chart = LineChart(data, "Top Inputs", data.period_labels, data.time_count, lines, nullptr, nullptr, "");
  chart["yLabel"] = "Value";
  return chart;
}

Node ImpactDiagram(const OutputData& data, std::size_t series, bool causes, int levels) {
  const std::vector<TreeNode> nodes = GrowTree(data, series, causes, levels);
  Node chart = TreeChart(data, nodes, causes, causes ? "Impact Diagram: Causes" : "Impact Diagram: Effects", nullptr);
  chart["subtitle"] = data.names[series].text;
  return chart;
}

Node SystemGraph(const OutputData& data, const std::string& rank_statistic) {
  std::vector<std::size_t> all(data.system.series.size());
  std::iota(all.begin(), all.end(), std::size_t{0});
  std::vector<std::size_t> targets;
  for (const model::Equation& equation : data.system.equations) {
    if (equation.is_target) targets.push_back(equation.series);
  }
  std::optional<FitStatistic> rank_by = FindFitStatistic(rank_statistic);
  if (!rank_by) rank_by = FindFitStatistic("RMSPE");
  const std::vector<int> ranks = RankTargets(data, *rank_by);
  const char* shown[] = {"r-Squared", "RMSPE", "RMSE", "BIC"};
  std::vector<FitStatistic> statistics;
  for (const char* name : shown) statistics.push_back(*FindFitStatistic(name));
  Node fields = Node::array({SeriesField(data, all, "series", &targets)});
  for (const FitStatistic& statistic : statistics) {
    fields.push_back(WithFormat(DataField(support::ToLowerAscii(statistic.name), statistic.label, "statistic"),
                                Format("number", statistic.decimals)));
  }
  fields.push_back(DataField("rank", "Rank", "rank"));
  std::vector<double> counts(data.system.series.size(), 0);
  for (const Outlier& outlier : data.outliers) counts[outlier.series] += 1;
  if (data.outliers_given) fields.push_back(DataField("outliers", "Outliers", "outliers"));
  Node node_rows = Node::array();
  for (std::size_t s : all) {
    const model::Equation* equation = data.EquationOf(s);
    const bool target = equation != nullptr && equation->is_target;
    Node row = Node::array({s});
    for (const FitStatistic& statistic : statistics) {
      row.push_back(target ? Number(equation->stats.*statistic.member) : Node(nullptr));
    }
    row.push_back(ranks[s] > 0 ? Node(ranks[s]) : Node(nullptr));
    if (data.outliers_given) row.push_back(counts[s]);
    node_rows.push_back(std::move(row));
  }
  Node edge_rows = Node::array();
  for (const model::Equation& equation : data.system.equations) {
    if (!equation.is_target) continue;
    for (const model::InputBlock& block : equation.blocks) {
      if (block.own) continue;
      // The sign of an input's effect is that of the sum of its lag coefficients: the change
      // of the target that a lasting unit rise of the input brings.
      double effect = 0;
      for (double coefficient : block.coefficients) {
        if (std::isfinite(coefficient)) effect += coefficient;
      }
      edge_rows.push_back(Node::array({block.series, equation.series, Number(block.f_p_value),
                                       Number(block.f), StrongestLag(block), Number(effect),
                                       static_cast<int>(block.coefficients.size())}));
    }
  }
  Node edge_fields = Node::array({DataField("source", "", "source"), DataField("target", "", "target"),
                                  DataField("p", "Sig.", "pValue"), DataField("weight", "F", "weight"),
                                  DataField("lag", "Lag", "lag"), DataField("effect", "Effect", "effect"),
                                  DataField("lags", "Lags", "lags")});
  Node chart = Visualization("networkGraph", "Overall Model System",
                             Node::array({DataSet("nodes", std::move(fields), std::move(node_rows)),
                                          DataSet("edges", std::move(edge_fields), std::move(edge_rows))}));
  chart["fitStatistic"] = rank_by->label;
  chart["significanceLevel"] = data.system.settings.significance_level;
  return chart;
}

Node RootCauseDiagram(const OutputData& data) {
  if (!data.root_causes) return "No root cause analysis";
  const RootCauseResult& result = *data.root_causes;
  // The best score of each series over all outliers; NaN for series that are no root cause.
  std::vector<double> scores(data.system.series.size(), std::nan(""));
  for (const RootCauseOutlier& outlier : result.outliers) {
    for (const RootCause& cause : outlier.causes) {
      const double score = std::isnan(cause.score) ? 0 : cause.score;
      if (std::isnan(scores[cause.series]) || score > scores[cause.series]) scores[cause.series] = score;
    }
  }
  const std::vector<TreeNode> nodes = GrowTree(data, result.target, true, result.generations);
  Node chart = TreeChart(data, nodes, true, "Outlier Root Cause Analysis", &scores);
  chart["subtitle"] = data.names[result.target].text;
  return chart;
}

Node RootCauseSubJson(const OutputData& data) {
  if (!data.root_causes) return "No root cause analysis";
  const RootCauseResult& result = *data.root_causes;
  // A plot opens on the weeks around the outlier it matters most for: the target's on its most
  // probable outlier, a cause's on the outlier of which it explains the largest share (the first
  // of equals), from a little before the cause acted to a little after the outlier. The whole
  // history is one click away.
  const auto Focus = [&](std::size_t series) {
    const RootCauseOutlier* chosen = nullptr;
    double best = -1;
    int delay = 0;
    for (const RootCauseOutlier& outlier : result.outliers) {
      if (outlier.outlier.period < 0) continue;
      for (const RootCause& cause : outlier.causes) {
        const double share = std::isfinite(cause.share) ? cause.share : 0;
        if (series != result.target && cause.series == series && share > best) {
          chosen = &outlier, best = share, delay = cause.delay;
        }
      }
      if (series == result.target && outlier.outlier.probability > best) {
        chosen = &outlier, best = outlier.outlier.probability, delay = 0;
        for (const RootCause& cause : outlier.causes) delay = std::max(delay, cause.delay);
      }
    }
    if (chosen == nullptr) return Node();
    const auto at = static_cast<int>(chosen->outlier.period);
    return Node{{"from", std::max(0, at - delay - 28)}, {"to", at + 14}};
  };
  Node plots = Node::object();
  for (const TreeNode& node : GrowTree(data, result.target, true, result.generations)) {
    const std::string& text = data.names[node.series].text;
    if (plots.contains(text)) continue;
    Node chart = ObservedPredictedChart(data, node.series);
    if (!chart.is_object()) continue;
    // The target's outliers, and on a cause's plot the times its innovation acted.
    Node marks = Node::array();
    for (const RootCauseOutlier& outlier : result.outliers) {
      if (outlier.outlier.period < 0) continue;
      if (node.series == result.target) {
        marks.push_back({{"x", outlier.outlier.period}, {"label", "Outlier"}});
        continue;
      }
      for (const RootCause& cause : outlier.causes) {
        if (cause.series == node.series && !cause.is_target && outlier.outlier.period >= cause.delay)
          marks.push_back({{"x", outlier.outlier.period - cause.delay}, {"label", "Root cause"}});
      }
    }
    if (!marks.empty()) chart["marks"] = std::move(marks);
    if (Node focus = Focus(node.series); !focus.is_null()) chart["focus"] = std::move(focus);
    plots[text] = std::move(chart);
  }
  return plots;
}

Node ScenarioDiagram(const OutputData& data) {
  if (!data.scenario) return "No scenario analysis";
  const ScenarioResult& result = *data.scenario;
  // The tree keeps to the series the run computed; each node shows its largest change and that
  // change over the series' spread.
  std::vector<bool> affected(data.system.series.size(), false);
  NodeValues largest{"effect", "Largest effect", std::vector<double>(data.system.series.size(), model::kNaN)};
  NodeValues relative{"relativeEffect", "Relative effect", largest.values};
  for (const ScenarioSeries& series : result.series) {
    if (series.generation < 0) continue;
    affected[series.series] = true;
    largest.values[series.series] = series.largest_effect;
    relative.values[series.series] = series.relative_effect;
  }
  const std::vector<TreeNode> nodes = GrowTree(data, result.root, false, result.generations, &affected);
  Node chart = TreeChart(data, nodes, false, "Scenario Analysis", nullptr, {largest, relative});
  chart["subtitle"] = data.names[result.root].text;
  if (!result.id.empty()) chart["scenarioID"] = result.id;
  return chart;
}

Node ScenarioSubJson(const OutputData& data) {
  if (!data.scenario) return "No scenario analysis";
  const ScenarioResult& result = *data.scenario;
  Node plots = Node::object();
  for (const ScenarioSeries& series : result.series) {
    const std::vector<std::tuple<std::string, std::string, const std::vector<double>*>> lines = {
        {"scenario", "Scenario", &series.scenario}, {"baseline", "Baseline", &series.baseline}};
    const bool band = !series.lower.empty();
    Node chart = LineChart(data, "Scenario and Baseline", result.times, result.times.size(), lines,
                           band ? &series.lower : nullptr, band ? &series.upper : nullptr, "scenario");
    chart["yLabel"] = data.names[series.series].text;
    // The positions of the period whose values the scenario sets; the run starts with it.
    if (!result.substituted.empty()) {
      chart["scenarioPeriod"] = {{"from", 0}, {"to", result.substituted.size() - 1}};
    }
    plots[data.names[series.series].text] = std::move(chart);
  }
  return plots;
}

}  // namespace engine::output
