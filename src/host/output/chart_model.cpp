// This file contains the reading of figure payloads and their textual forms.
#include "host/output/chart_model.h"

#include <algorithm>
#include <cmath>
#include <set>

#include "host/messages/fac_st_dictionary.h"
#include "host/output/number_format.h"

namespace host {
namespace {

std::optional<double> Number(const nlohmann::json& object, const char* key) {
  const auto found = object.find(key);
  if (found == object.end() || !found->is_number()) return std::nullopt;
  const double value = found->get<double>();
  if (!std::isfinite(value)) return std::nullopt;
  return value;
}

std::string TextOf(const nlohmann::json& object, const char* key) {
  const auto found = object.find(key);
  if (found == object.end()) return {};
  if (found->is_string()) return found->get<std::string>();
  if (found->is_number()) return FormatNumber(found->get<double>());
  return {};
}

bool KindIs(const nlohmann::json& payload, const char* kind, std::string& problem) {
  if (payload.is_object() && payload.value("kind", std::string()) == kind) return true;
  problem = std::string("the payload is not of the kind ") + kind;
  return false;
}

std::string Pvalue(double p) { return FormatValue(p, ValueFormat{ValueFormat::Kind::PValue, 3, true}); }

} // namespace

bool ReadDistribution(const nlohmann::json& payload, Distribution& out, std::string& problem) {
  out = Distribution();
  if (!KindIs(payload, "distribution", problem)) return false;
  out.statistic = TextOf(payload, "statistic");
  if (const auto h = payload.find("histogram"); h != payload.end() && h->is_object()) {
    out.has_histogram = true;
    out.x_label = TextOf(*h, "xLabel");
    out.y_label = TextOf(*h, "yLabel");
    out.bin_format = ReadValueFormat(h->value("format", nlohmann::json()));
    for (const auto& bin : h->value("bins", nlohmann::json::array())) {
      if (!bin.is_object()) continue;
      const auto from = Number(bin, "from");
      const auto to = Number(bin, "to");
      const auto count = Number(bin, "count");
      if (from && to && count) out.bins.push_back({*from, *to, std::max(0.0, *count)});
    }
  }
  if (const auto d = payload.find("dotPlot"); d != payload.end() && d->is_object()) {
    out.has_dot_plot = true;
    out.dot_label = TextOf(*d, "xLabel");
    out.dot_format = ReadValueFormat(d->value("format", nlohmann::json()));
    for (const auto& point : d->value("points", nlohmann::json::array())) {
      if (!point.is_object()) continue;
      if (const auto value = Number(point, "value")) out.points.push_back({TextOf(point, "label"), *value});
    }
  }
  if (!out.has_histogram && !out.has_dot_plot) {
    problem = "the distribution has neither a histogram nor a dot plot";
    return false;
  }
  return true;
}

bool ReadSystemGraph(const nlohmann::json& payload, SystemGraph& out, std::string& problem) {
  out = SystemGraph();
  if (!KindIs(payload, "systemGraph", problem)) return false;
  out.view = payload.value("view", std::string("top"));
  out.series = TextOf(payload, "series");
  out.top_models = static_cast<int>(Number(payload, "topModels").value_or(10));
  out.sig_level = Number(payload, "sigLevel").value_or(0.05);
  out.show_outliers = payload.value("showOutliers", false);
  out.fit_statistic = TextOf(payload, "fitStatistic");
  out.model_file = TextOf(payload, "modelFile");
  for (const auto& stat : payload.value("statistics", nlohmann::json::array())) {
    if (!stat.is_object()) continue;
    out.statistics.emplace_back(TextOf(stat, "name"), ReadValueFormat(stat.value("format", nlohmann::json())));
  }
  for (const auto& node : payload.value("nodes", nlohmann::json::array())) {
    if (!node.is_object()) {
      problem = "a node of the graph is not an object";
      return false;
    }
    GraphNode one;
    one.label = TextOf(node, "label");
    one.metric = TextOf(node, "metric");
    one.values = TextOf(node, "values");
    one.target = node.value("target", false);
    one.rank = Number(node, "rank");
    one.outliers = Number(node, "outliers");
    for (const auto& stat : node.value("stats", nlohmann::json::array())) {
      one.stats.push_back(stat.is_number() ? std::optional<double>(stat.get<double>()) : std::nullopt);
    }
    for (const auto& pair : node.value("details", nlohmann::json::array())) {
      if (pair.is_array() && pair.size() == 2 && pair[0].is_string() && pair[1].is_string()) {
        one.details.emplace_back(pair[0].get<std::string>(), pair[1].get<std::string>());
      }
    }
    out.nodes.push_back(std::move(one));
  }
  for (const auto& edge : payload.value("edges", nlohmann::json::array())) {
    if (!edge.is_object()) continue;
    const auto from = Number(edge, "from");
    const auto to = Number(edge, "to");
    if (!from || !to || *from < 0 || *to < 0 || *from >= static_cast<double>(out.nodes.size()) ||
        *to >= static_cast<double>(out.nodes.size())) {
      continue;
    }
    out.edges.push_back({static_cast<std::size_t>(*from), static_cast<std::size_t>(*to),
                         Number(edge, "p"), Number(edge, "weight"), Number(edge, "lag"),
                         Number(edge, "effect"), Number(edge, "lags")});
  }
  return true;
}

std::size_t SystemGraph::SingleIndex(const std::string& wanted) const {
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    if (nodes[i].label == wanted) return i;
  }
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    if (nodes[i].target) return i;
  }
  return nodes.empty() ? nodes.size() : 0;
}

std::vector<std::size_t> SystemGraph::ViewNodes(const std::string& which,
                                                const std::string& wanted) const {
  std::set<std::size_t> chosen;
  if (which == "all") {
    for (std::size_t i = 0; i < nodes.size(); ++i) chosen.insert(i);
  } else if (which == "noInputs") {
    std::vector<bool> entered(nodes.size(), false);
    for (const auto& edge : edges) entered[edge.to] = true;
    for (std::size_t i = 0; i < nodes.size(); ++i) {
      if (nodes[i].target && !entered[i]) chosen.insert(i);
    }
  } else if (which == "single") {
    const std::size_t centre = SingleIndex(wanted);
    if (centre < nodes.size()) {
      chosen.insert(centre);
      for (const auto& edge : edges) {
        if (edge.to == centre) chosen.insert(edge.from);
        if (edge.from == centre) chosen.insert(edge.to);
      }
    }
  } else {
    std::vector<std::size_t> targets;
    for (std::size_t i = 0; i < nodes.size(); ++i) {
      if (nodes[i].target) targets.push_back(i);
    }
    std::stable_sort(targets.begin(), targets.end(), [&](std::size_t a, std::size_t b) {
      return nodes[a].rank.value_or(HUGE_VAL) < nodes[b].rank.value_or(HUGE_VAL);
    });
    if (static_cast<int>(targets.size()) > top_models) targets.resize(static_cast<std::size_t>(std::max(0, top_models)));
    for (std::size_t t : targets) {
      chosen.insert(t);
      for (const auto& edge : edges) {
        if (edge.to == t) chosen.insert(edge.from);
      }
    }
  }
  return {chosen.begin(), chosen.end()};
}

bool ReadImpactDiagram(const nlohmann::json& payload, ImpactDiagram& out, std::string& problem) {
  out = ImpactDiagram();
  if (!KindIs(payload, "impact", problem)) return false;
  out.initial = payload.value("initial", std::string("causes"));
  out.root_cause = payload.value("rootCause", false);
  out.model_file = TextOf(payload, "modelFile");
  for (const auto& tree : payload.value("trees", nlohmann::json::array())) {
    if (!tree.is_object()) continue;
    ImpactTree one;
    one.direction = tree.value("direction", std::string("causes"));
    one.subtitle = TextOf(tree, "subtitle");
    for (const auto& node : tree.value("nodes", nlohmann::json::array())) {
      if (!node.is_object()) continue;
      TreeNode item;
      item.label = TextOf(node, "label");
      const long long parent = static_cast<long long>(Number(node, "parent").value_or(-1));
      const long long here = static_cast<long long>(one.nodes.size());
      // A parent must come first; anything else hangs from the root.
      item.parent = here == 0 ? -1 : (parent >= 0 && parent < here ? parent : 0);
      item.level = item.parent < 0 ? 0 : one.nodes[static_cast<std::size_t>(item.parent)].level + 1;
      item.lag = Number(node, "lag");
      item.p = Number(node, "p");
      item.weight = Number(node, "weight");
      item.root_cause = node.value("rootCause", false);
      item.score = Number(node, "score");
      one.nodes.push_back(std::move(item));
    }
    if (!one.nodes.empty()) out.trees.push_back(std::move(one));
  }
  if (const auto plots = payload.find("plots"); plots != payload.end() && plots->is_object()) {
    for (const auto& [key, plot] : plots->items()) out.plots.emplace_back(key, plot);
  }
  if (out.trees.empty()) {
    problem = "the impact diagram has no tree";
    return false;
  }
  return true;
}

std::vector<std::string> DescribeDistribution(const Distribution& figure) {
  const FacSTDictionary& table = FacSTDictionary::Shared();
  std::vector<std::string> lines;
  if (figure.has_histogram && !figure.bins.empty()) {
    double most = 0;
    for (const auto& bin : figure.bins) most = std::max(most, bin.count);
    std::size_t wide = 0;
    std::vector<std::string> ranges;
    for (const auto& bin : figure.bins) {
      ranges.push_back(FormatValue(bin.from, figure.bin_format) + " - " + FormatValue(bin.to, figure.bin_format));
      wide = std::max(wide, ranges.back().size());
    }
    lines.push_back(table.LookUp("Output.Histogram") +
                    (figure.x_label.empty() ? std::string() : " (" + figure.x_label + ")"));
    for (std::size_t i = 0; i < figure.bins.size(); ++i) {
      const int bar = most > 0 ? static_cast<int>(std::lround(figure.bins[i].count / most * 30)) : 0;
      std::string line = "  " + ranges[i] + std::string(wide - ranges[i].size(), ' ') + "  ";
      for (int k = 0; k < bar; ++k) line += "\u2588";
      line += " " + FormatNumber(figure.bins[i].count);
      lines.push_back(line);
    }
  }
  if (figure.has_dot_plot && !figure.points.empty()) {
    std::vector<DotPoint> sorted = figure.points;
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const DotPoint& a, const DotPoint& b) { return a.value < b.value; });
    const double median = sorted.size() % 2 == 1
                              ? sorted[sorted.size() / 2].value
                              : (sorted[sorted.size() / 2 - 1].value + sorted[sorted.size() / 2].value) / 2;
    lines.push_back(table.Format("Output.DotSummary",
                                 {std::to_string(sorted.size()), FormatValue(sorted.front().value, figure.dot_format),
                                  FormatValue(median, figure.dot_format),
                                  FormatValue(sorted.back().value, figure.dot_format)}));
    const std::size_t show = std::min<std::size_t>(3, sorted.size());
    std::string low;
    std::string high;
    for (std::size_t i = 0; i < show; ++i) {
      low += (i ? ", " : "") + sorted[i].label + " " + FormatValue(sorted[i].value, figure.dot_format);
      const DotPoint& top = sorted[sorted.size() - 1 - i];
      high += (i ? ", " : "") + top.label + " " + FormatValue(top.value, figure.dot_format);
    }
    lines.push_back("  " + table.Format("Output.DotLowest", {low}));
    lines.push_back("  " + table.Format("Output.DotHighest", {high}));
  }
  if (lines.empty()) lines.push_back(table.LookUp("Output.ChartEmpty"));
  return lines;
}

std::vector<std::string> DescribeSystemGraph(const SystemGraph& graph) {
  const FacSTDictionary& table = FacSTDictionary::Shared();
  const std::vector<std::size_t> shown = graph.ViewNodes(graph.view, graph.series);
  std::vector<bool> in_view(graph.nodes.size(), false);
  for (std::size_t i : shown) in_view[i] = true;
  std::size_t total = 0;
  std::size_t significant = 0;
  for (const auto& edge : graph.edges) {
    if (!in_view[edge.from] || !in_view[edge.to]) continue;
    ++total;
    if (graph.Significant(edge, graph.sig_level)) ++significant;
  }
  std::vector<std::string> lines;
  lines.push_back(table.Format("Output.GraphSummary",
                               {std::to_string(shown.size()), std::to_string(significant),
                                std::to_string(total), FormatNumber(graph.sig_level)}));
  // Each shown series with its significant inputs, strongest first.
  std::size_t written = 0;
  const std::size_t limit = 40;
  for (std::size_t i : shown) {
    std::vector<const GraphEdge*> inputs;
    for (const auto& edge : graph.edges) {
      if (edge.to == i && in_view[edge.from] && graph.Significant(edge, graph.sig_level)) inputs.push_back(&edge);
    }
    if (inputs.empty() && !graph.nodes[i].target) continue;
    if (written == limit) {
      lines.push_back("  " + table.Format("Output.More", {std::to_string(shown.size() - written)}));
      break;
    }
    std::stable_sort(inputs.begin(), inputs.end(), [](const GraphEdge* a, const GraphEdge* b) {
      return a->p.value_or(0) < b->p.value_or(0);
    });
    std::string line = "  " + graph.nodes[i].label + " \u2190 ";
    if (inputs.empty()) line += table.LookUp("Output.NoInputs");
    for (std::size_t k = 0; k < inputs.size(); ++k) {
      line += (k ? ", " : "") + graph.nodes[inputs[k]->from].label;
      if (inputs[k]->p) line += " (p " + Pvalue(*inputs[k]->p) + ")";
    }
    lines.push_back(line);
    ++written;
  }
  return lines;
}

std::vector<std::string> DescribeImpactDiagram(const ImpactDiagram& diagram) {
  const FacSTDictionary& table = FacSTDictionary::Shared();
  std::vector<std::string> lines;
  for (const auto& tree : diagram.trees) {
    lines.push_back(table.LookUp(tree.direction == "effects" ? "Output.Effects" : "Output.Causes") +
                    (tree.subtitle.empty() ? std::string() : " - " + tree.subtitle));
    // Depth-first, children in their order, with box-drawing branches.
    std::vector<std::vector<std::size_t>> children(tree.nodes.size());
    for (std::size_t i = 1; i < tree.nodes.size(); ++i) {
      children[static_cast<std::size_t>(tree.nodes[i].parent)].push_back(i);
    }
    struct Step {
      std::size_t node;
      std::string prefix;
      bool last;
    };
    std::vector<Step> stack{{0, "", true}};
    while (!stack.empty()) {
      const Step step = stack.back();
      stack.pop_back();
      const TreeNode& node = tree.nodes[step.node];
      std::string line = "  " + step.prefix;
      if (step.node != 0) line += step.last ? "\u2514\u2500 " : "\u251C\u2500 ";
      line += node.label;
      std::string facts;
      if (node.lag) facts += "lag " + FormatNumber(*node.lag);
      if (node.p) facts += std::string(facts.empty() ? "" : ", ") + "p " + Pvalue(*node.p);
      if (node.root_cause) facts += std::string(facts.empty() ? "" : ", ") + table.LookUp("Output.RootCause");
      if (!facts.empty()) line += " (" + facts + ")";
      lines.push_back(line);
      const std::string below = step.node == 0 ? "" : step.prefix + (step.last ? "   " : "\u2502  ");
      const auto& kids = children[step.node];
      for (std::size_t k = kids.size(); k-- > 0;) stack.push_back({kids[k], below, k + 1 == kids.size()});
    }
  }
  return lines;
}

} // namespace host
