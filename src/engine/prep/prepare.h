// This file contains the whole preparation of case data into regular series: the prepared
// table, the output record of TSDPOutput.json and the quality report.
#pragma once

#include <string>

#include "engine/data/table.h"
#include "engine/job/messages.h"
#include "engine/prep/options.h"
#include "support/json_util.h"

namespace engine {

struct PreparedData {
  Table table;                   // the long panel: combination blocks of one row per time point
  support::OrderedJson settings;  // every setting in force
  support::OrderedJson output;    // what the preparation found (time axis, series, dropped)
  support::OrderedJson quality;   // per series: time range, points, missing, imputed, dropped
};

// Prepares `input`: reads the cases (series filter, dimension codes), places them on the
// analysis grid, keeps the estimation period, drops series with too many missing values and
// imputes the rest. Warnings go to `messages`; false after an error was reported there.
bool Prepare(const Table& input, const TsdpOptions& options, const std::string& place,
             MessageQueue& messages, PreparedData& result);

// The selection of the estimation period on a grid of `count` points: the first and last index
// kept (inclusive). `points` are the grid's seconds or running indexes; `start` and `end` the
// bounds of TIME in the same unit (the point holding `start` is kept). False when nothing is left.
bool SelectPeriod(Selection selection, std::size_t count, const std::vector<double>& points,
                  double start, double end, std::int64_t kept_values, std::int64_t offset,
                  std::size_t& first, std::size_t& last);

}  // namespace engine
