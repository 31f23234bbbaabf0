// This file contains the SVG chart writer: charts of the report drawn as inline SVG, apart from
// the assembly of the page.
#pragma once

#include <string>

#include "host/output/chart_data.h"

namespace host {

// An inline <svg> element (no namespace attribute: it lives in an HTML page) drawing the chart:
// one line per series, its confidence band shaded, the forecast region marked, y grid lines
// with round ticks, a legend, and one hover area per x position whose `data-tip` attribute
// holds the values there. Every text is escaped. A chart with no values gives the axes alone.
std::string RenderLineChartSvg(const LineChart &chart);

} // namespace host
