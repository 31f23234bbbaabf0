// This file contains the placing of cases on the analysis grid: the input interval (given or
// found from the data), grouping on input points, and aggregation or distribution to the
// analysis interval, for date-time and for cyclic time.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "engine/prep/cases.h"
#include "engine/prep/cells.h"
#include "engine/series/time_grid.h"

namespace engine {

struct AnalysisAxis {
  bool cyclic = false;
  TimeGrid grid;           // the analysis grid of date-time data
  CyclicAxis cyclic_axis;  // the cyclic fields that the prepared data keep
  std::vector<double> points;  // seconds, or running indexes of `cyclic_axis`
  std::string input_interval;  // the input interval used: a name, "IRREGULAR" or "CYCLIC_PERIOD"
};

// The interval that the spacing of each combination's distinct times shows (the engine's
// detection rule: the most common step, when it covers at least 80% of the gaps), or nullopt
// when the data are irregular.
std::optional<Interval> DetectInterval(const CaseSet& cases);

// Places the cases on the analysis grid. Cases that share an input point are grouped (groupType);
// input points then go to the analysis interval: aggregated to a coarser one (aggregationType),
// distributed to a finer one (distributionType), or kept. Reports warnings (cases off the valid
// days or hours, an input interval that does not fit the data) and errors (an irregular input
// without an analysis interval, a grid too fine for the span of the data); false after an error.
bool PlaceOnGrid(const CaseSet& cases, const TsdpOptions& options, const CyclicAxis& full_axis,
                 const std::string& place, MessageQueue& messages, AnalysisAxis& axis,
                 Cells& cells);

}  // namespace engine
