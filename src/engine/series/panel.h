// This file contains the series panel: prepared data as a time-by-series matrix, and the way
// back from results per series to a panel-shaped table with future rows.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <Eigen/Dense>

#include "engine/data/table.h"
#include "engine/series/time_grid.h"
#include "support/json_util.h"
#include "support/result.h"

namespace engine {

inline constexpr const char* kCaseCountField = "$casecount";
inline constexpr const char* kFutureFlagField = "$FutureFlag";

// The time axis of a preparation, read from the `output` object of TSDPOutput.json.
struct PanelAxis {
  std::string time_format;  // "date", "datetime" or "CYCLIC_PERIOD"
  std::string time_field;   // the date-time field; empty for cyclic data
  TimeGrid grid;            // date and date-time data
  CyclicAxis cyclic;        // cyclic data: the fields that the prepared data keep
  // One per time point: seconds for date and date-time data, the running index for cyclic data.
  std::vector<double> points;

  bool IsCyclic() const { return time_format == "CYCLIC_PERIOD"; }
  // The point `steps` grid steps after `point` (before it when negative).
  double Advance(double point, std::int64_t steps) const;
  // The field values of a cyclic point (running index); empty for date-time data.
  std::vector<std::int64_t> CyclicValues(double point) const;
};

// Reads the axis. Fails, naming the key, when `output` lacks the keys or they disagree.
support::Result<PanelAxis> AxisFromOutput(const support::Json& output);

struct SeriesInfo {
  std::string id;                 // coded: "2-1-3", or the metric code alone
  std::vector<std::string> dims;  // the true dimension values as text, in dimFieldList order
  std::string metric;
  std::size_t combination = 0;    // block of rows of the prepared table (0-based)
  std::size_t metric_index = 0;   // position in metricFieldList (0-based)
};

struct SeriesPanel {
  PanelAxis axis;
  std::vector<double> times;  // = axis.points: seconds, or cyclic running indexes
  std::vector<std::string> dim_fields;
  std::vector<std::string> metric_fields;
  std::size_t combinations = 0;
  std::vector<SeriesInfo> series;  // the series kept by the preparation
  Eigen::MatrixXd values;          // times.size() x series.size(); NaN = missing

  std::size_t TimeCount() const { return times.size(); }
  // Index of the series with this coded ID, or -1.
  std::ptrdiff_t Find(const std::string& id) const;
};

// Builds the panel of a prepared table (rows: combination blocks of one row per time point)
// from the parsed `output` object. Fails with a reason when the table does not have the shape
// that `output` describes (row count, missing metric field).
support::Result<SeriesPanel> BuildSeriesPanel(const Table& prepared, const support::Json& output);

// Results of one kind for every series of a panel: the column suffix ("_predicted", "_LCI",
// "_UCI", "_residual") and a (T + horizon) x N matrix, NaN where there is no value.
using ResultColumn = std::pair<std::string, Eigen::MatrixXd>;

// A panel-shaped table: the rows of `prepared`, and after each combination's block `horizon`
// future rows (the grid continued, dimension values repeated, metrics and $casecount missing).
// Adds "$FutureFlag" (1 on future rows, 0 otherwise; an existing column is reused) and, for
// each metric M and each result kind, the real column M + suffix, filled from the series of M.
// Fails when a matrix has the wrong shape.
support::Result<Table> MakeResultTable(const Table& prepared, const SeriesPanel& panel,
                                       const std::vector<ResultColumn>& results,
                                       std::int64_t horizon);

}  // namespace engine
