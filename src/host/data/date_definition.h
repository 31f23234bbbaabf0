// This file contains the date definition: the host's date variables (YEAR_, QUARTER_, MONTH_,
// WEEK_, DAY_, HOUR_, MINUTE_, SECOND_, CYCLE_ and the text DATE_) made from the case number.
//
// A definition lists parts from the highest down. The highest part counts on without end from
// its start (YEAR 2015 gives 2015, 2016, ...). Every lower part runs through a fixed number of
// values within one value of the part above it, its length, and carries into it:
//
//   below YEAR: QUARTER (4), MONTH (12), WEEK (52)     below QUARTER: MONTH (3)
//   below WEEK: DAY (7)    below DAY: HOUR (24)         below HOUR: MINUTE (60)
//   below MINUTE: SECOND (60)                           below a first CYCLE: any of these parts
//   CYCLE with a "period" p: the last part, below any part, of length p
//
// QUARTER, MONTH, WEEK, DAY and CYCLE values start at 1, HOUR, MINUTE and SECOND at 0. MONTH_
// below QUARTER_ keeps the month of the year (1..12) and its start must lie in the quarter's.
// Levels count from 0 at the lowest part up to n-1 at the highest.
#pragma once

#include <string>
#include <vector>

#include "host/data/dataset.h"
#include "host/data/dictionary.h"

class ParserMessage;

namespace host {

// "YEAR_", "QUARTER_", ... "CYCLE_".
std::string DateVariableName(DateComponent component);
inline constexpr const char* kDateTextName = "DATE_";

// Checks the parts (order, starts, periods, names free in the dataset), appends their variables
// and DATE_ behind the dataset's variables, fills them for every case, and keeps the definition
// in the dataset. Reports with `file` and each part's line; false, and the dataset unchanged,
// when any check fails. An empty list does nothing.
bool ApplyDateDefinition(const std::vector<DictDatePart>& parts, const std::string& file,
                         Dataset& dataset, ParserMessage& messages);

// Computes the date variables of every case again from the dataset's definition: needed after
// cases were added.
void FillDateVariables(Dataset& dataset);

}  // namespace host
