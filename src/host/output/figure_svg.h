// This file contains the HTML and SVG of the report's figures beyond line charts: the
// distribution of a statistic, the model system graph and impact trees. Each is one element
// that the report's script (assets/figures.js) makes interactive; without the script the
// figure shows its initial view.
#pragma once

#include <string>
#include <vector>

#include "host/output/chart_model.h"
#include "host/output/graph_svg.h"
#include "host/output/page_store.h"

namespace host {

// A coordinate as the figures write it: one decimal.
std::string SvgCoordinate(double value);
// Approximate width in pixels of a label at the figures' 11px font.
double LabelWidth(const std::string& text);
// A label cut with an ellipsis beyond `most` columns; the full text stays in the hover title.
std::string Shorten(const std::string& text, std::size_t most = 30);

// Histogram and dot plot, each as an <svg class="chart histogram|dotplot">, with tabs between
// them when both are present. Bars and dots carry a `data-tip` with their values. Values beyond
// the quartiles by three interquartile ranges go to an overflow bar at that end, labelled as
// such, and the rest are binned again in round widths (from the dot plot's values; without
// them, the far bins are merged); bin edges show the decimals their width needs.
std::string RenderDistributionHtml(const Distribution& figure);

// Impact trees, one <svg class="tree"> per direction with tabs between them, and the series
// plots of the payload, shown when a node is chosen. The first plot is drawn in the figure, so
// that the page shows it without script; with a store, the others go there (root cause figures
// repeat the same ancestors' plots, and without script they could not be chosen anyway).
std::string RenderImpactHtml(const ImpactDiagram& diagram, PageStore* store = nullptr);

} // namespace host
