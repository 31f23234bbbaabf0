// This file contains the SVG chart writer: charts of the report drawn as inline SVG, apart from
// the assembly of the page.
#pragma once

#include <string>

#include "host/output/chart_data.h"
#include "host/output/page_store.h"

namespace host {

// An inline <svg class="chart line-chart"> element (no namespace attribute: it lives in an HTML
// page) drawing the chart as a static picture: one path per line and per band, the forecast
// region marked with its label, marked positions (an outlier's time) as vertical lines, y grid lines with round ticks, x ticks at calendar boundaries
// when the x labels are dates, and a legend with the band and the forecast. The lines sit in a
// nested <svg class="plot"> whose view box is in positions and whole grid units, so the paths
// are the chart's only copy of its values (at the precision the tooltip shows) and the page's
// script reads them back for its hover layer. With a forecast, the plot opens on recent history
// (the forecast a fifth of the width) and carries the ticks of both views. Lines on scales far
// apart (the top inputs of a series) are standardised, each path keeping its own values. Every
// text is escaped. A chart with no values gives the axes alone. With a store and a recent view,
// the paths draw the recent view only and their whole form goes to the store, numbered by the
// chart's data-whole-paths (the paths' texts in their order in the chart, one a line).
std::string RenderLineChartSvg(const LineChart &chart, PageStore *store = nullptr);

} // namespace host
