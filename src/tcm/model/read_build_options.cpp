// This file contains the readers of BUILDOPTIONS of TCM MODEL: the estimation period with its
// START and END values, and the numeric build settings.
#include "tcm/model/tcm_model_parser.h"

#include <utility>

#include "host/frame/time_converter.h"
#include "host/syntax/token.h"
#include "host/syntax/var_spec_obj.h"
#include "tcm/common/date_text.h"

namespace {

const char* const kSubCommand = "BUILDOPTIONS";

bool IsDateTimeType(const std::string& timeType) {
  return timeType == "DATETIMEVAR" || timeType == "ISO8601";
}

std::string JoinPeriods(const std::vector<int32_t>& periods) {
  std::string text;
  for (int32_t value : periods)
    text += (text.empty() ? "" : " ") + std::to_string(value);
  return text;
}

} // namespace

bool TCMModelParser::ReadBuildOptions(const SubComObj& subcommand) {
  BuildOptionsSpec& options = spec->buildOptions;
  if (const ParamObj* period = subcommand.getParamObj("ESTIMATIONPERIOD")) {
    if (!ReadEstimationPeriod(*period))
      return false;
  }
  if (const ParamObj* param = subcommand.getParamObj("FORECASTPERIODS")) {
    if (!param->getIntegerValue(options.forecastPeriods)) {
      messages->ParamNeedInteger("FORECASTPERIODS", kSubCommand);
      return false;
    }
  }
  if (const ParamObj* param = subcommand.getParamObj("CILEVEL")) {
    if (!param->getNumberValue(options.ciLevel)) {
      messages->ParamNeedNumber("CILEVEL", kSubCommand);
      return false;
    }
  }
  // MAXINPUTS and LAGS take their keyword (DEFAULT, AUTO) or a number; the keyword keeps the
  // default.
  std::string keyword;
  if (const ParamObj* param = subcommand.getParamObj("MAXINPUTS")) {
    if (!param->getUpStringGeneric(keyword)) {
      if (!param->getIntegerValue(options.maxInputs)) {
        messages->ParamNeedInteger("MAXINPUTS", kSubCommand);
        return false;
      }
      options.maxInputsDefault = false;
    }
  }
  if (const ParamObj* param = subcommand.getParamObj("LAGS")) {
    if (!param->getUpStringGeneric(keyword)) {
      if (!param->getIntegerValue(options.lags)) {
        messages->ParamNeedInteger("LAGS", kSubCommand);
        return false;
      }
      options.lagsAuto = false;
    }
  }
  if (const ParamObj* param = subcommand.getParamObj("TOLERANCE")) {
    if (!param->getNumberValue(options.tolerance)) {
      messages->ParamNeedNumber("TOLERANCE", kSubCommand);
      return false;
    }
  }
  if (const ParamObj* param = subcommand.getParamObj("OUTLIERTHRESH")) {
    if (!param->getIntegerValue(options.outlierThreshold)) {
      messages->ParamNeedNumber("OUTLIERTHRESH", kSubCommand);
      return false;
    }
  }
  return true;
}

bool TCMModelParser::ReadEstimationPeriod(const ParamObj& param) {
  BuildOptionsSpec& options = spec->buildOptions;
  const SubComDescriptor* build = getGlobalGroupDesc()->getSubComDesc(kSubCommand);
  const ParamDescriptor* descriptor =
      build == nullptr ? nullptr : build->getParamDesc("ESTIMATIONPERIOD");
  if (descriptor == nullptr) {
    messages->InvalidSubComName(kSubCommand);
    return false;
  }
  std::pair<std::string, ParamObj> chosen;
  if (!param.getStringAndQual(chosen, descriptor, messages))
    return false;
  const std::string& keyword = chosen.first;
  options.estimationPeriod = keyword;
  if (keyword == "ALL")
    return true;

  std::vector<ParamObj> qualifiers;
  if (!chosen.second.getStringQualList(qualifiers, nullptr, nullptr)) {
    messages->SyntaxErrorInParam(keyword, "ESTIMATIONPERIOD", kSubCommand);
    return false;
  }

  if (keyword == "OBSERVATIONS") {
    for (const ParamObj& qualifier : qualifiers) {
      const std::string& name = qualifier.getParamName();
      if (name == "TYPE") {
        if (!qualifier.getUpStringGeneric(options.observationType)) {
          messages->InvalidParam("TYPE", kSubCommand);
          return false;
        }
      } else if (name == "OFFSET") {
        if (!qualifier.getIntegerValue(options.observationOffset)) {
          messages->ParamNeedInteger("OFFSET", kSubCommand);
          return false;
        }
      } else if (name == "NUMBER") {
        if (!qualifier.getIntegerValue(options.observationNumber)) {
          messages->ParamNeedInteger("NUMBER", kSubCommand);
          return false;
        }
      } else {
        messages->InvalidParamOption(name, "ESTIMATIONPERIOD", kSubCommand);
        return false;
      }
    }
    return true;
  }

  // TIMES. FORMAT decides how the dates of START and END read, wherever it was written.
  std::vector<TokenInfoObj> startTokens;
  std::vector<TokenInfoObj> endTokens;
  for (const ParamObj& qualifier : qualifiers) {
    const std::string& name = qualifier.getParamName();
    if (name == "START") {
      qualifier.getTokenList(startTokens);
    } else if (name == "END") {
      qualifier.getTokenList(endTokens);
    } else if (name == "FORMAT") {
      std::string value;
      if (!qualifier.getUpStringGeneric(value)) {
        messages->ParamMustBeString("FORMAT", kSubCommand);
        return false;
      }
      if (value == "VARIABLE") {
        options.dateFormat = 0;
      } else if (value == "ISO8601") {
        options.dateFormat = 1;
      } else {
        messages->InvalidParamValue(value, "FORMAT", kSubCommand);
        return false;
      }
    } else {
      messages->InvalidParamOption(name, "ESTIMATIONPERIOD", kSubCommand);
      return false;
    }
  }

  if (!startTokens.empty() &&
      !ReadPeriodValue(startTokens, options.startTime, options.startPeriods, options.startKind)) {
    return false;
  }
  if (!endTokens.empty() &&
      !ReadPeriodValue(endTokens, options.endTime, options.endPeriods, options.endKind)) {
    return false;
  }
  if (options.endTime != 0 && options.startTime > options.endTime) {
    messages->SimpleError("INVALID_START_KEY");
    return false;
  }
  if (options.startTime != 0 && options.endTime != 0 && options.startKind != options.endKind) {
    messages->InvalidParamValue(FormatTime(options.endTime, options.endKind), "END", kSubCommand);
    return false;
  }
  const auto& starts = options.startPeriods;
  const auto& ends = options.endPeriods;
  if (!starts.empty() && !ends.empty() && starts.size() != ends.size()) {
    messages->SyntaxErrorInParam(JoinPeriods(starts.size() > ends.size() ? starts : ends),
                                 "ESTIMATIONPERIOD", kSubCommand);
    return false;
  }
  if (spec->timeType == "NONE") {
    const size_t count = starts.size() + ends.size();
    if (count < 1 || count > 2) {
      messages->SimpleError("SINGLE_INT_VAL_KEY", "ESTIMATIONPERIOD");
      return false;
    }
  }
  if (options.startTime == 0 && options.endTime == 0 && starts.empty() && ends.empty()) {
    messages->SyntaxErrorInParam("TIMES", "ESTIMATIONPERIOD", kSubCommand);
    return false;
  }
  return true;
}

bool TCMModelParser::ReadPeriodValue(const std::vector<TokenInfoObj>& tokens, int64_t& time,
                                     std::vector<int32_t>& periods, int32_t& kind) {
  BuildOptionsSpec& options = spec->buildOptions;
  const std::string& timeType = spec->timeType;

  if (tokens.size() == 1 && !tokens[0].IsInteger()) {
    const TokenInfoObj& token = tokens[0];
    if (!token.IsLiteral()) {
      if (token.IsNumber() && timeType == "NONE") {
        messages->SimpleError("SINGLE_INTEGER_KEY");
      } else {
        messages->SyntaxErrorInParam(host::SourceText(token.Token()), "TIMES", kSubCommand);
      }
      return false;
    }
    // A date literal: it reads as the time variable's values do, or as ISO 8601.
    const std::string& literal = token.getString();
    if (!IsDateTimeType(timeType)) {
      messages->ParamNeedIntegerList("TIMES", kSubCommand);
      return false;
    }
    if (options.dateFormat < 0) {
      messages->ParamNeedParam("FORMAT", "TIMES", "");
      return false;
    }
    if (options.dateFormat == 0) {
      const std::string& timeVar = spec->timeVars.timeVar;
      VarSpecObj variable("TIMES", kSubCommand, this, dataSource, true);
      if (variable.ValidateVariable(timeVar) < 0) {
        messages->InvalidVarName(timeVar, "TIMEVAR", "DATASETTINGS");
        return false;
      }
      double value = 0.0;
      int32_t format = 0;
      if (!variable.ValidateCatValue(literal, value, format)) {
        messages->InvalidCatValue(timeVar, literal, "TIMES", kSubCommand);
        return false;
      }
      time = ftisqq(NumericStorageStatToCF(value, 6));
      kind = format;
      return true;
    }
    if (options.dateFormat == 1) {
      std::string text;
      int textKind = 0;
      if (!ParseTimeText(literal, text, textKind, messages, "OPTIONS")) {
        messages->InvalidParamValue(literal, "TIMES", kSubCommand);
        return false;
      }
      const double value = textKind == kTimeKind
                               ? TimeConverter::convertTimeFromISOFormatToQUORDouble(text)
                               : TimeConverter::convertDateFromISOFormatToQUORDouble(text);
      // 0.0 is the converters' failure value; a time of 0 would also read as "not given".
      if (value == 0.0) {
        messages->InvalidParamValue(literal, "TIMES", kSubCommand);
        return false;
      }
      time = ftisqq(NumericFormatStatToCF(value, 22));
      kind = textKind;
      return true;
    }
    messages->InvalidParamValue(literal, "FORMAT", kSubCommand);
    return false;
  }

  // Integers: one period value for each cycle variable and one for the period variable.
  if (IsDateTimeType(timeType)) {
    messages->ParamNeedEuroDate("TIMES", kSubCommand);
    return false;
  }
  std::vector<int32_t> values;
  for (const TokenInfoObj& token : tokens) {
    if (!token.IsInteger()) {
      messages->ParamNeedIntegerList("TIMES", kSubCommand);
      return false;
    }
    values.push_back(token.getInteger());
  }
  if (values.size() != spec->timeVars.cycleVars.size() + 1) {
    messages->SimpleError(timeType == "DATESPEC" ? "WRONG_LENGTH_DATE_SPEC_KEY"
                                                 : "MISMATCHING_START_END_KEY");
    return false;
  }
  periods = std::move(values);
  return true;
}
