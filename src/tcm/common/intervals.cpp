// This file contains the rules that tie time types and intervals together.
#include "tcm/common/intervals.h"

#include <array>
#include <initializer_list>

#include "host/data/procedure_data_source.h"

namespace {

using K = TimeIntervalKind;

int Num(TimeIntervalKind kind) { return static_cast<int>(kind); }

bool In(TimeIntervalKind kind, std::initializer_list<TimeIntervalKind> allowed) {
  for (TimeIntervalKind entry : allowed) {
    if (entry == kind) return true;
  }
  return false;
}

// The names the host's date definition gives its variables; CYCLE_ is not among them because a
// cycle is the user's own period, not a calendar part.
constexpr std::array<const char*, 8> kDateVariableNames = {
    "YEAR_", "QUARTER_", "MONTH_", "WEEK_", "DAY_", "HOUR_", "MINUTE_", "SECOND_"};

bool IsDateSpecMonthUnder(const TimeVariableSpec& timeVars, const char* top) {
  return timeVars.periodVar == "MONTH_" && timeVars.cycleVars.size() == 2 &&
         timeVars.cycleVars[0].name == top && timeVars.cycleVars[1].name == "QUARTER_";
}

}  // namespace

bool IntervalsCompatible(TimeIntervalKind input, TimeIntervalKind analysis,
                         const std::string& timeType, const std::string& durationUnit,
                         int32_t increment) {
  if (input == K::IGNORE || analysis == K::IGNORE) return true;
  // Several units per step (every 3 months, say) can only be aggregated, never refined, whatever
  // the time type. WEEK and QUARTER steps keep the table's own rules.
  const int in = Num(input);
  if (in >= Num(K::SECOND) && in <= Num(K::YEAR) && input != K::WEEK && input != K::QUARTER &&
      increment >= 2) {
    return Num(analysis) >= in;
  }
  // Without a calendar behind the time axis only aggregation makes sense.
  if (timeType != "DATETIMEVAR" && timeType != "ISO8601") return Num(analysis) >= in;
  if (analysis == K::USEINPUT) return true;

  // A calendar allows coarsening and one step of refinement; WEEK does not nest in MONTH or
  // QUARTER, so those are never reached from it.
  switch (input) {
    case K::IRREGULAR:
      return Num(analysis) >= Num(K::SECOND) && Num(analysis) <= Num(K::YEAR);
    case K::YEAR:
    case K::QUARTER:
      return In(analysis, {K::YEAR, K::QUARTER, K::MONTH});
    case K::MONTH:
      return In(analysis, {K::YEAR, K::QUARTER, K::MONTH, K::DAY});
    case K::WEEK:
      return In(analysis, {K::YEAR, K::WEEK, K::DAY});
    case K::DAY:
      return In(analysis, {K::YEAR, K::QUARTER, K::MONTH, K::WEEK, K::DAY, K::HOUR});
    case K::HOUR:
      return In(analysis, {K::YEAR, K::QUARTER, K::MONTH, K::WEEK, K::DAY, K::HOUR, K::MINUTE});
    case K::MINUTE:
    case K::SECOND:
      return In(analysis,
                {K::YEAR, K::QUARTER, K::MONTH, K::WEEK, K::DAY, K::HOUR, K::MINUTE, K::SECOND});
    case K::DURATION:
      // The duration's own unit is deliberately left out.
      if (durationUnit == "HOUR") return analysis == K::MINUTE;
      if (durationUnit == "MINUTE") return In(analysis, {K::HOUR, K::SECOND});
      return In(analysis, {K::HOUR, K::MINUTE});
    default:
      // AUTODETECT and anything above YEAR: the data have not fixed the interval yet.
      return true;
  }
}

bool IsDateSpecYearQuarterMonth(const TimeVariableSpec& timeVars) {
  return IsDateSpecMonthUnder(timeVars, "YEAR_");
}

bool IsDateSpecCycleQuarterMonth(const TimeVariableSpec& timeVars) {
  return IsDateSpecMonthUnder(timeVars, "CYCLE_");
}

bool IsDateFormat(int formatType) {
  if (formatType == 26 || formatType == 27) return false;  // weekday and month names
  return (formatType >= 20 && formatType <= 30) || formatType == 38 || formatType == 39 ||
         formatType == 42 || formatType == 43;
}

bool IsDateVariableName(const ProcedureDataSource& dataSource, const std::string& name) {
  if (dataSource.GetTrendsInfo().GetNDateVars() == 0) return false;
  // The answer keeps date variables out of ALL, so every entry of the table is tried and any
  // other name is false once the table is done: none of them may slip through, and an ordinary
  // variable must get its answer too.
  for (const char* entry : kDateVariableNames) {
    if (name == entry) return true;
  }
  return false;
}
