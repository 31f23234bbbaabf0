// This file contains the reading of what BUILDOPTIONS of TCM MODEL and OPTIONS of TCM APPLY share:
// ESTIMATIONPERIOD (the keyword, the OBSERVATIONS window, and the TIMES period with START and END
// given as dates or as period integers), FORECASTPERIODS, CILEVEL and OUTLIERTHRESH.
//
// The two commands read alike; where they word a fault differently, the command on a saved model
// system (commandKind 1) names the qualifier the fault was written under and tells a wrong count
// of period values against the model system, while TCM MODEL keeps the wording its users know.
#include <utility>

#include "host/frame/time_converter.h"
#include "host/syntax/token.h"
#include "host/syntax/var_spec_obj.h"
#include "tcm/common/date_text.h"
#include "tcm/frame/parser_shell.h"

namespace {

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

bool TCMParserShell::OnSavedModel() const {
  return spec->commandKind() != 0;
}

bool TCMParserShell::ReadBuildNumber(const SubComObj& subcommand, const std::string& name,
                                     const std::string& owner) {
  const ParamObj* param = subcommand.getParamObj(name);
  if (param == nullptr)
    return true;
  BuildOptionsSpec& options = spec->buildOptions;
  if (name == "CILEVEL") {
    if (param->getNumberValue(options.ciLevel))
      return true;
    messages->ParamNeedNumber(name, owner);
    return false;
  }
  int32_t& value = name == "FORECASTPERIODS" ? options.forecastPeriods : options.outlierThreshold;
  if (param->getIntegerValue(value))
    return true;
  // OUTLIERTHRESH is an integer whose fault has always been worded as for a number.
  if (name == "FORECASTPERIODS") {
    messages->ParamNeedInteger(name, owner);
  } else {
    messages->ParamNeedNumber(name, owner);
  }
  return false;
}

bool TCMParserShell::ReadEstimationPeriod(const ParamObj& param, const std::string& subcommand) {
  BuildOptionsSpec& options = spec->buildOptions;
  const SubComDescriptor* owner = getGlobalGroupDesc()->getSubComDesc(subcommand);
  const ParamDescriptor* descriptor =
      owner == nullptr ? nullptr : owner->getParamDesc("ESTIMATIONPERIOD");
  if (descriptor == nullptr) {
    messages->InvalidSubComName(subcommand);
    return false;
  }
  std::pair<std::string, ParamObj> chosen;
  if (!param.getStringAndQual(chosen, descriptor, messages))
    return false;
  const std::string keyword = host::UpperAscii(chosen.first);
  options.estimationPeriod = keyword;
  if (keyword == "ALL" || keyword == "MODEL")
    return true;
  if (keyword != "TIMES" && keyword != "OBSERVATIONS") {
    messages->InvalidParamOption(keyword, "ESTIMATIONPERIOD", subcommand);
    return false;
  }

  const bool saved = OnSavedModel();
  std::vector<ParamObj> qualifiers;
  if (!chosen.second.getStringQualList(qualifiers, nullptr, nullptr)) {
    messages->SyntaxErrorInParam(saved ? "" : keyword, "ESTIMATIONPERIOD", subcommand);
    return false;
  }
  // Where an unknown qualifier is said to stand.
  const std::string place = saved ? keyword : "ESTIMATIONPERIOD";

  if (keyword == "OBSERVATIONS") {
    for (const ParamObj& qualifier : qualifiers) {
      const std::string& name = qualifier.getParamName();
      if (name == "TYPE") {
        if (!qualifier.getUpStringGeneric(options.observationType)) {
          messages->InvalidParam("TYPE", subcommand);
          return false;
        }
      } else if (name == "OFFSET" || name == "NUMBER") {
        int32_t& value = name == "OFFSET" ? options.observationOffset : options.observationNumber;
        if (!qualifier.getIntegerValue(value)) {
          messages->ParamNeedInteger(name, subcommand);
          return false;
        }
      } else {
        messages->InvalidParamOption(name, place, subcommand);
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
    if (name == "START" || name == "END") {
      // The parser's getter has said what it could not read.
      if (!qualifier.getTokenList(name == "START" ? startTokens : endTokens) && saved)
        return false;
    } else if (name == "FORMAT") {
      std::string value;
      if (!qualifier.getUpStringGeneric(value)) {
        messages->ParamMustBeString("FORMAT", subcommand);
        return false;
      }
      if (value == "VARIABLE") {
        options.dateFormat = 0;
      } else if (value == "ISO8601") {
        options.dateFormat = 1;
      } else {
        messages->InvalidParamValue(value, "FORMAT", subcommand);
        return false;
      }
    } else {
      messages->InvalidParamOption(name, place, subcommand);
      return false;
    }
  }

  if (!startTokens.empty() && !ReadPeriodValue(startTokens, options.startTime,
                                               options.startPeriods, options.startKind, subcommand)) {
    return false;
  }
  if (!endTokens.empty() && !ReadPeriodValue(endTokens, options.endTime, options.endPeriods,
                                             options.endKind, subcommand)) {
    return false;
  }
  // A time of 0 is "not given"; dates before 1970 are below it, so an end alone is no order.
  if (options.startTime != 0 && options.endTime != 0 && options.startTime > options.endTime) {
    if (saved) {
      messages->InvalidParamValue(FormatTime(options.endTime, options.endKind), "END", subcommand);
    } else {
      messages->SimpleError("INVALID_START_KEY");
    }
    return false;
  }
  if (options.startTime != 0 && options.endTime != 0 && options.startKind != options.endKind) {
    messages->InvalidParamValue(FormatTime(options.endTime, options.endKind), "END", subcommand);
    return false;
  }
  const auto& starts = options.startPeriods;
  const auto& ends = options.endPeriods;
  const size_t count = starts.size() + ends.size();
  if (saved) {
    // A period of a saved model is told at both ends or by dates alone.
    if (starts.size() != ends.size()) {
      messages->SyntaxErrorInParam(JoinPeriods(starts.empty() ? ends : starts), "ESTIMATIONPERIOD",
                                   subcommand);
      return false;
    }
    if (spec->timeType == "NONE" && (count < 1 || count > 2)) {
      messages->ParamNeedInteger("TIMES", subcommand);
      return false;
    }
  } else {
    if (!starts.empty() && !ends.empty() && starts.size() != ends.size()) {
      messages->SyntaxErrorInParam(JoinPeriods(starts.size() > ends.size() ? starts : ends),
                                   "ESTIMATIONPERIOD", subcommand);
      return false;
    }
    if (spec->timeType == "NONE" && (count < 1 || count > 2)) {
      messages->SimpleError("SINGLE_INT_VAL_KEY", "ESTIMATIONPERIOD");
      return false;
    }
  }
  if (options.startTime == 0 && options.endTime == 0 && count == 0) {
    messages->SyntaxErrorInParam("TIMES", "ESTIMATIONPERIOD", subcommand);
    return false;
  }
  return true;
}

bool TCMParserShell::ReadDateLiteral(const std::string& literal, int32_t formatKind,
                                     int64_t& time, int32_t& kind, const std::string& subcommand) {
  const std::string& timeType = spec->timeType;
  const bool saved = OnSavedModel();
  if (!IsDateTimeType(timeType)) {
    messages->ParamNeedIntegerList("TIMES", subcommand);
    return false;
  }
  if (formatKind < 0) {
    messages->ParamNeedParam("FORMAT", "TIMES", "");
    return false;
  }
  if (formatKind == 0) {
    const std::string& timeVar = spec->timeVars.timeVar;
    VarSpecObj variable("TIMES", subcommand, this, dataSource, true);
    if (variable.ValidateVariable(timeVar) < 0) {
      // TCM MODEL names the time variable where it was given; a saved model has it from the file.
      messages->InvalidVarName(timeVar, "TIMEVAR", saved ? subcommand : "DATASETTINGS");
      return false;
    }
    double value = 0.0;
    int32_t format = 0;
    if (!variable.ValidateCatValue(literal, value, format)) {
      messages->InvalidCatValue(timeVar, literal, "TIMES", subcommand);
      return false;
    }
    time = ftisqq(NumericStorageStatToCF(value, 6));
    kind = format;
    return true;
  }
  if (formatKind == 1) {
    std::string text;
    int textKind = 0;
    if (!ParseTimeText(literal, text, textKind, messages, "OPTIONS")) {
      messages->InvalidParamValue(literal, "TIMES", subcommand);
      return false;
    }
    const double value = textKind == kTimeKind
                             ? TimeConverter::convertTimeFromISOFormatToQUORDouble(text)
                             : TimeConverter::convertDateFromISOFormatToQUORDouble(text);
    // 0.0 is the converters' failure value; a time of 0 would also read as "not given".
    if (value == 0.0) {
      messages->InvalidParamValue(literal, "TIMES", subcommand);
      return false;
    }
    time = ftisqq(NumericFormatStatToCF(value, 22));
    kind = textKind;
    return true;
  }
  messages->InvalidParamValue(literal, "FORMAT", subcommand);
  return false;
}

bool TCMParserShell::ReadPeriodValue(const std::vector<TokenInfoObj>& tokens, int64_t& time,
                                     std::vector<int32_t>& periods, int32_t& kind,
                                     const std::string& subcommand) {
  BuildOptionsSpec& options = spec->buildOptions;
  const std::string& timeType = spec->timeType;
  const bool saved = OnSavedModel();

  if (tokens.size() == 1 && !tokens[0].IsInteger()) {
    const TokenInfoObj& token = tokens[0];
    if (!token.IsLiteral()) {
      if (!saved && token.IsNumber() && timeType == "NONE") {
        messages->SimpleError("SINGLE_INTEGER_KEY");
      } else {
        messages->SyntaxErrorInParam(host::SourceText(token.Token()), "TIMES", subcommand);
      }
      return false;
    }
    return ReadDateLiteral(token.getString(), options.dateFormat, time, kind, subcommand);
  }

  // Integers: one period value for each cycle variable and one for the period variable.
  if (IsDateTimeType(timeType)) {
    messages->ParamNeedEuroDate("TIMES", subcommand);
    return false;
  }
  std::vector<int32_t> values;
  for (const TokenInfoObj& token : tokens) {
    if (!token.IsInteger()) {
      messages->ParamNeedIntegerList("TIMES", subcommand);
      return false;
    }
    values.push_back(token.getInteger());
  }
  if (values.size() != spec->timeVars.cycleVars.size() + 1) {
    if (saved) {
      messages->SimpleError("INCOMPATIBLE_SPEC_KEY");
    } else {
      messages->SimpleError(timeType == "DATESPEC" ? "WRONG_LENGTH_DATE_SPEC_KEY"
                                                   : "MISMATCHING_START_END_KEY");
    }
    return false;
  }
  periods = std::move(values);
  return true;
}
