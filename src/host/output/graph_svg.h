// This file contains the model system graph of the report: its data, kept once per page however
// many figures show the graph, and the figure of one view of it. The report's script
// (assets/figures.js, setupGraph) draws every view from the shared data; the figure's own SVG
// is the static picture of its first view, for a page without script or printed.
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "host/output/chart_model.h"

namespace host {

// The data of the graphs of one page: each distinct graph once, as
// <script type="application/json" class="graph-data" id="graph-data-N">.
class GraphDataStore {
 public:
  // The element id of the graph's data; a graph with the same data gets the same id.
  std::string Add(const SystemGraph& graph);
  // The data elements of every graph added, to be placed once anywhere in the page.
  std::string Html() const;

 private:
  std::map<std::string, std::string> ids_;                   // data text -> id
  std::vector<std::pair<std::string, std::string>> data_;   // id, data text
};

// The figure of a graph view: controls (view, series, significance level), a static <svg
// class="graph"> of the first view, legend and details panel. Its data go to `store`. The
// form without a store carries its data in the figure (a page with one graph).
std::string RenderSystemGraphHtml(const SystemGraph& graph, GraphDataStore& store);
std::string RenderSystemGraphHtml(const SystemGraph& graph);

// The layered arrangement of all the graph's series: one column per metric, the metrics that
// mostly drive others to the left, and an order within each column that keeps inputs level
// with what they drive. Exposed for the tests.
struct GraphColumns {
  std::vector<std::string> metrics; // column titles, left to right
  std::vector<int> column;          // per node
  std::vector<int> order;           // per node: its place within its column
};
GraphColumns LayerGraph(const SystemGraph& graph);

// The text a graph shows for an edge's p value: as tables print significance.
std::string GraphPText(double p);

} // namespace host
