// This file contains the chart model types of the report's figures beyond line charts: the
// distribution of a statistic (histogram and dot plot), the model system graph and impact trees,
// read from the payloads jsonToReverb stores, and their short textual forms.
//
// Payloads ("kind" selects the form; line charts are described in chart_data.h):
//   {"kind":"distribution","statistic":t,"histogram":{"bins":[{"from","to","count"}],
//     "xLabel","yLabel","format"},"dotPlot":{"points":[{"label","value"}],"xLabel","format"}}
//   {"kind":"systemGraph","view":"top"|"all"|"noInputs"|"single","series":t,"topModels":n,
//     "sigLevel":p,"showOutliers":b,"fitStatistic":t,"modelFile":t,
//     "statistics":[{"name","format"}],
//     "nodes":[{"label","key","metric","values","target","rank","outliers","stats":[...],
//     "details":[[name,text]]}],
//     "edges":[{"from","to","p","weight","lag","effect","lags"}]}
//   {"kind":"impact","initial":"causes"|"effects","rootCause":b,"modelFile":t,
//     "trees":[{"direction","subtitle","nodes":[{"label","key","parent","level","lag","p",
//     "weight","rootCause","score"}]}],"plots":{series text: line payload}}
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "host/output/value_format.h"

namespace host {

struct HistogramBin {
  double from = 0;
  double to = 0;
  double count = 0;
};

struct DotPoint {
  std::string label;
  double value = 0;
};

struct Distribution {
  std::string statistic;
  bool has_histogram = false;
  std::vector<HistogramBin> bins;
  std::string x_label;
  std::string y_label;
  ValueFormat bin_format;
  bool has_dot_plot = false;
  std::vector<DotPoint> points;
  std::string dot_label;
  ValueFormat dot_format;
};

struct GraphNode {
  std::string label;
  bool target = false;
  std::optional<double> rank;
  std::optional<double> outliers;
  std::vector<std::optional<double>> stats;
  std::vector<std::pair<std::string, std::string>> details;
  std::string metric; // the series' metric, "" when its name was not read apart
  std::string values; // its dimension values, "North \u00b7 Snacks"
};

struct GraphEdge {
  std::size_t from = 0;
  std::size_t to = 0;
  std::optional<double> p;
  std::optional<double> weight;
  std::optional<double> lag;    // the lag of the strongest coefficient
  std::optional<double> effect; // the sum of the input's coefficients: its sign is the effect's
  std::optional<double> lags;   // how many lags the input enters with
};

struct SystemGraph {
  std::string view = "top";
  std::string series;
  int top_models = 10;
  double sig_level = 0.05;
  bool show_outliers = false;
  std::string fit_statistic;
  std::string model_file;
  std::vector<std::pair<std::string, ValueFormat>> statistics;
  std::vector<GraphNode> nodes;
  std::vector<GraphEdge> edges;

  // The nodes of a view: "all" every node; "top" the targets ranked within topModels (without
  // ranks, the first topModels targets) and their inputs; "noInputs" the targets no edge enters;
  // "single" the series, its inputs and its outputs (its label, else the first target).
  std::vector<std::size_t> ViewNodes(const std::string& view, const std::string& series) const;
  // The node that the single-series view centres on; nodes.size() when there is none.
  std::size_t SingleIndex(const std::string& series) const;
  // True when the edge passes the significance level (an edge without a p-value always does).
  bool Significant(const GraphEdge& edge, double level) const {
    return !edge.p || *edge.p <= level;
  }
};

struct TreeNode {
  std::string label;
  long long parent = -1;
  int level = 0;
  std::optional<double> lag;
  std::optional<double> p;
  std::optional<double> weight;
  bool root_cause = false;
  std::optional<double> score;
};

struct ImpactTree {
  std::string direction = "causes";
  std::string subtitle;
  std::vector<TreeNode> nodes;
};

struct ImpactDiagram {
  std::string initial = "causes";
  bool root_cause = false;
  std::string model_file;
  std::vector<ImpactTree> trees;
  std::vector<std::pair<std::string, nlohmann::json>> plots;
};

// Readers: false, with the reason in `problem`, when the payload is not of that kind.
bool ReadDistribution(const nlohmann::json& payload, Distribution& out, std::string& problem);
bool ReadSystemGraph(const nlohmann::json& payload, SystemGraph& out, std::string& problem);
bool ReadImpactDiagram(const nlohmann::json& payload, ImpactDiagram& out, std::string& problem);

// Short textual forms for a terminal.
std::vector<std::string> DescribeDistribution(const Distribution& figure);
std::vector<std::string> DescribeSystemGraph(const SystemGraph& graph);
std::vector<std::string> DescribeImpactDiagram(const ImpactDiagram& diagram);

} // namespace host
