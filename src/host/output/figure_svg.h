// This file contains the HTML and SVG of the report's figures beyond line charts: the
// distribution of a statistic, the model system graph and impact trees. Each is one element
// that the report's script (assets/figures.js) makes interactive; without the script the
// figure shows its initial view.
#pragma once

#include <string>
#include <vector>

#include "host/output/chart_model.h"

namespace host {

// Histogram and dot plot, each as an <svg class="chart histogram|dotplot">, with tabs between
// them when both are present. Bars and dots carry a `data-tip` with their values. Values beyond
// the quartiles by three interquartile ranges go to an overflow bar at that end, labelled as
// such, and the rest are binned again in round widths (from the dot plot's values; without
// them, the far bins are merged); bin edges show the decimals their width needs.
std::string RenderDistributionHtml(const Distribution& figure);

// The model system graph: controls (view, series, significance level), an <svg class="graph">
// with one <g class="node"> per series and one <g class="edge"> per connection, and a details
// panel. Nodes sit on a circle in an order that keeps connected series together (the single
// series view puts inputs left and outputs right of the series). Edges carry data-p and data-w.
std::string RenderSystemGraphHtml(const SystemGraph& graph);

// Impact trees, one <svg class="tree"> per direction with tabs between them, and the series
// plots of the payload, shown when a node is chosen.
std::string RenderImpactHtml(const ImpactDiagram& diagram);

// The circular order of the graph's nodes (a position for each node): connected series next to
// each other, a few barycentre passes to shorten edges. Exposed for the tests.
std::vector<std::size_t> CircleOrder(const SystemGraph& graph);

} // namespace host
