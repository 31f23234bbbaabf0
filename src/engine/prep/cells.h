// This file contains the cells of a preparation (values per combination and time point) and the
// ways they are combined: grouping and aggregation by a method, and distribution to finer points.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "engine/prep/options.h"

namespace engine {

// Sparse values: one entry per (combination, point) that holds something, sorted by combination
// then point. `case_number` is the source case when exactly one case made the cell, else -1.
struct Cells {
  std::vector<std::uint32_t> combo;
  std::vector<std::int64_t> point;
  std::vector<std::int32_t> case_number;
  std::vector<std::vector<double>> values;  // [metric][cell]; NaN = missing
  // True when some cell combines several cases or one case went to several cells.
  bool merged = false;

  std::size_t size() const { return combo.size(); }
};

// One value from several by a method, missing values (NaN) left out; NaN when none is valid.
// MODE is the most frequent value, the smallest of equally frequent ones.
double ReduceValues(Reduce method, std::span<double> values);

// Entries with the same (combo, point) become one cell, each metric by its method. Entries need
// not be sorted. `case_number` per entry is its case (or -1).
Cells GroupCells(const std::vector<std::uint32_t>& combo, const std::vector<std::int64_t>& point,
                 const std::vector<std::int32_t>& case_number,
                 const std::vector<std::vector<double>>& values,
                 const std::vector<Reduce>& methods);

// Moves every cell to the point `map[cell.point]` and combines cells that meet there.
Cells AggregateCells(const Cells& cells, const std::vector<std::int64_t>& map,
                     const std::vector<Reduce>& methods);

// Spreads every cell over the points [first[p], first[p + 1]) of a finer grid, where p is the
// cell's point: SUM splits the value evenly, MEAN repeats it.
Cells DistributeCells(const Cells& cells, const std::vector<std::int64_t>& first,
                      const std::vector<Spread>& methods);

// Fills the missing values of one series in place (NaN = missing) and returns how many were
// filled. LINEAR_INTERP joins the nearest valid neighbours by a line and carries the first and
// last valid value outward; SERIES_MEAN takes the mean of the valid values; K_MEAN and K_MEDIAN
// the mean or median of up to k valid values on each side; LINEAR_TREND the least-squares line
// through (t, x_t) over the valid values; NONE fills nothing. A series without valid values
// stays as it is.
std::size_t Impute(Imputation method, int k, std::span<double> series);

}  // namespace engine
