// This file contains the reading of SCENARIOPERIOD: START, END and PREDICTTHRU as offsets from the
// last observation (TIMES=RELATIVE), as dates of the time field, or as cyclic period values, and
// the checks of their order.
#include "host/syntax/token.h"
#include "support/text.h"
#include "tcm/analysis/tcm_anly_parser.h"
#include "tcm/common/date_text.h"

namespace {

constexpr const char* kPeriod = "SCENARIOPERIOD";

std::string JoinIntegers(const std::vector<int32_t>& values) {
  std::vector<std::string> texts;
  for (int32_t value : values) texts.push_back(std::to_string(value));
  return support::Join(texts, " ");
}

}  // namespace

bool TCMAnlyParser::ReadPeriodBound(const SubComObj& subcommand, const std::string& name,
                                    int64_t& time, int32_t& format,
                                    std::vector<int32_t>& periods) {
  const ParamObj* param = subcommand.getParamObj(name);
  if (param == nullptr) return true;
  const ScenarioPeriodSpec& period = anlySpec->scenarioPeriod;
  const bool dateTime = spec->isDateTimeSpec();
  std::vector<TokenInfoObj> tokens;
  param->getTokenList(tokens);
  if (period.relative) {
    if (tokens.size() != 1 || !tokens[0].IsInteger()) {
      messages->ParamNeedInteger(name, kPeriod);
      return false;
    }
    periods.push_back(tokens[0].getInteger());
    return true;
  }
  if (tokens.empty()) {
    if (dateTime) {
      messages->ParamNeedAmerDate(name, kPeriod);
    } else {
      messages->ParamNeedIntegerList(name, kPeriod);
    }
    return false;
  }
  if (dateTime) {
    // One date; anything after it is not looked at.
    if (!tokens[0].IsLiteral()) {
      messages->ParamQuotedString(name, kPeriod);
      return false;
    }
    const int32_t kind = period.format == "VARIABLE" ? 0 : period.format == "ISO8601" ? 1 : -1;
    // The date is read as the one of OPTIONS TIMES of TCM APPLY, and its messages say so.
    return ReadDateLiteral(tokens[0].getString(), kind, time, format, "OPTIONS");
  }
  for (const TokenInfoObj& token : tokens) {
    if (!token.IsInteger()) {
      // The text of this message names the estimation period; it is kept as users know it.
      messages->ParamNeedIntegerList(name, "ESTIMATIONPERIOD");
      return false;
    }
    periods.push_back(token.getInteger());
  }
  // One integer per level the model still tells apart: the cycle fields and the period field,
  // less the levels it aggregates away.
  const std::size_t levels = spec->timeVars.cycleVars.size() + 1;
  if (levels != static_cast<std::size_t>(period.aggregationLevel) + periods.size()) {
    messages->SimpleError(spec->timeType == "DATESPEC" ? "WRONG_LENGTH_DATE_SPEC_KEY"
                                                       : "INVALID_PERIOD_KEY");
    return false;
  }
  return true;
}

bool TCMAnlyParser::ReadScenarioPeriod(const SubComObj& subcommand) {
  ScenarioPeriodSpec& period = anlySpec->scenarioPeriod;
  const bool dateTime = spec->isDateTimeSpec();
  std::string times;
  const ParamObj* timesParam = subcommand.getParamObj("TIMES");
  if (timesParam == nullptr || !timesParam->getUpStringGeneric(times)) {
    messages->InvalidParam("TIMES", kPeriod);
    return false;
  }
  period.relative = times != "ABSOLUTE";
  const ParamObj* format = subcommand.getParamObj("FORMAT");
  if (!period.relative && dateTime && format == nullptr) {
    messages->ParamRequiredForSubCom("FORMAT", kPeriod);
    return false;
  }
  if (format != nullptr) {
    if (!format->getUpStringGeneric(period.format)) {
      messages->InvalidParam("FORMAT", kPeriod);
      return false;
    }
  } else if (!period.relative && dateTime) {
    messages->SimpleError("SA_FORMAT_REQUIRED_KEY");
    return false;
  }
  if (!ReadPeriodBound(subcommand, "START", period.startTime, period.startFormat,
                       period.startPeriods) ||
      !ReadPeriodBound(subcommand, "END", period.endTime, period.endFormat, period.endPeriods)) {
    return false;
  }
  if (!ReadPeriodBound(subcommand, "PREDICTTHRU", period.thruTime, period.thruFormat,
                       period.thruPeriods)) {
    return false;
  }

  const std::vector<int32_t>& starts = period.startPeriods;
  const std::vector<int32_t>& ends = period.endPeriods;
  const std::vector<int32_t>& thruPeriods = period.thruPeriods;
  if (starts.size() != ends.size()) {
    messages->SyntaxErrorInParam(JoinIntegers(starts.empty() ? ends : starts), "START", kPeriod);
    return false;
  }
  // Dates are compared as times, offsets and period values as lists from the highest level
  // down; an offset is a list of one.
  const bool dates = dateTime && !period.relative;
  if (dates ? period.startTime > period.endTime : starts > ends) {
    messages->SimpleError("START_AFTER_END_KEY");
    return false;
  }
  if (dateTime && period.endFormat != period.startFormat) {
    messages->InvalidParamValue(FormatTime(period.endTime, period.endFormat), "END", kPeriod);
    return false;
  }
  const std::size_t count = starts.size() + ends.size();
  if (spec->timeType == "NONE" && (count < 1 || count > 2)) {
    messages->SimpleError("SINGLE_INT_VAL_KEY", kPeriod);
    return false;
  }
  if (period.startTime == 0 && period.endTime == 0 && count == 0) {
    messages->SyntaxErrorInParam("TIMES", "START", kPeriod);
    return false;
  }
  const bool single = dates ? period.startTime == period.endTime : starts == ends;
  if (subcommand.getParamObj("PREDICTTHRU") == nullptr) {
    // A scenario of one period needs a PREDICTTHRU beyond it.
    if (single) {
      messages->SimpleError("PRE_THRU_KEY");
      return false;
    }
    return true;
  }
  period.hasPredictThru = true;
  if (period.endFormat != period.thruFormat || thruPeriods.size() != ends.size()) {
    messages->SimpleError("INVALID_THRU_KEY");
    return false;
  }
  // A relative PREDICTTHRU counts from END: 0 is END itself.
  const bool before = period.relative ? thruPeriods.front() < 0
                      : dates         ? period.endTime > period.thruTime
                                      : ends > thruPeriods;
  if (before) {
    messages->SimpleError("END_AFTER_THRU_KEY");
    return false;
  }
  const bool thruAtEnd = period.relative ? thruPeriods.front() == 0
                         : dates         ? period.thruTime == period.endTime
                                         : thruPeriods == ends;
  if (single && thruAtEnd) {
    messages->SimpleError("PRE_THRU_KEY");
    return false;
  }
  return true;
}
