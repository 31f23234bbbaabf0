// This file contains the cases of a preparation: the rows of the input table that pass the series
// filter, with their dimension combination, time, case number and metric values.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "engine/data/table.h"
#include "engine/prep/options.h"
#include "engine/series/time_grid.h"

namespace engine {

struct Combination {
  std::vector<std::string> texts;  // the dimension values as text, in dimFieldList order
  std::vector<int> codes;          // their codes (1-based, ascending value order per dimension)
  std::size_t row = 0;             // an input row of the combination
};

struct CaseSet {
  std::vector<std::size_t> dim_columns;     // input columns of the dimensions
  std::vector<std::size_t> metric_columns;  // input columns of the metrics
  std::vector<std::size_t> time_columns;    // the date-time column, or the cyclic columns
  std::vector<Field> dim_fields;            // prepared dimension fields, with categories
  std::vector<Combination> combos;          // sorted by codes
  // Per case:
  std::vector<std::uint32_t> combo;
  std::vector<double> time;  // seconds, or the running index of the full cyclic axis
  std::vector<std::int32_t> case_number;
  std::vector<std::vector<double>> values;  // [metric][case]; NaN = missing
  std::size_t without_time = 0;    // rows left out: no (valid) time
  std::size_t outside_cycle = 0;   // rows left out: a cyclic value outside its cycle
};

// Reads the cases of `input`. Reports to `messages` with `place` and returns false when a field
// is missing or of the wrong kind, or when the series filter leaves no case.
bool ReadCases(const Table& input, const TsdpOptions& options, const CyclicAxis& axis,
               const std::string& place, MessageQueue& messages, CaseSet& cases);

}  // namespace engine
