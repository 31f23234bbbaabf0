// This file contains the rules that tie time types and intervals together: which analysis
// interval an input interval allows, the date specifications of the host's date variables, and
// which print formats hold dates.
#pragma once

#include <cstdint>
#include <string>

#include "tcm/common/time_interval.h"
#include "tcm/frame/spec/valid_spec.h"

class ProcedureDataSource;

// True when data at `input` may be analysed at `analysis` under the time type.
bool IntervalsCompatible(TimeIntervalKind input, TimeIntervalKind analysis,
                         const std::string& timeType, const std::string& durationUnit,
                         int32_t increment);
// `periodVar` MONTH_ under exactly the cycles YEAR_, QUARTER_.
bool IsDateSpecYearQuarterMonth(const TimeVariableSpec& timeVars);
// `periodVar` MONTH_ under exactly the cycles CYCLE_, QUARTER_.
bool IsDateSpecCycleQuarterMonth(const TimeVariableSpec& timeVars);
// A print format type that holds a date or a time: 20 to 30 but 26 and 27, and 38, 39, 42, 43.
bool IsDateFormat(int formatType);
// True when the dataset has date variables and `name` is one of the host's date variables
// (YEAR_, QUARTER_, MONTH_, WEEK_, DAY_, HOUR_, MINUTE_, SECOND_), compared exactly.
bool IsDateVariableName(const ProcedureDataSource& dataSource, const std::string& name);
