// This file contains the reader of BUILDOPTIONS of TCM MODEL: the estimation period (the
// shell reads it, as for OPTIONS of TCM APPLY) and the numeric build settings.
#include "tcm/model/tcm_model_parser.h"

namespace {

const char* const kSubCommand = "BUILDOPTIONS";

} // namespace

bool TCMModelParser::ReadBuildOptions(const SubComObj& subcommand) {
  BuildOptionsSpec& options = spec->buildOptions;
  if (const ParamObj* period = subcommand.getParamObj("ESTIMATIONPERIOD")) {
    if (!ReadEstimationPeriod(*period, kSubCommand))
      return false;
  }
  for (const char* name : {"FORECASTPERIODS", "CILEVEL"}) {
    if (!ReadBuildNumber(subcommand, name, kSubCommand))
      return false;
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
  return ReadBuildNumber(subcommand, "OUTLIERTHRESH", kSubCommand);
}

