// This file contains the descriptor tree of TCM APPLY and the reading of its parsed command.
#include "tcm/apply/tcm_apply_parser.h"

#include <algorithm>

#include "tcm/apply/model_settings.h"
#include "tcm/frame/tree_builders.h"

using namespace tcm_tree;
using UPSpecTypes::QualifOptions;

void AddTCMApplyTree(CommandDescriptor& tree) {
  tree.addSubComDesc(Debug());
  tree.addSubComDesc(ModelSystem());
  SubComDescriptor options = SubCom("OPTIONS");
  options.addParamDesc(YesNo("REESTIMATE"));
  options.addParamDesc(EstimationPeriod(true));
  options.addParamDesc(Bounded("FORECASTPERIODS", 9, 0, kIncl, std::nullopt, kUpIncl));
  options.addParamDesc(Bounded("CILEVEL", 7, 0, kExcl, 100, kUpExcl));
  options.addParamDesc(Bounded("OUTLIERTHRESH", 9, 50, kIncl, 100, kUpIncl));
  tree.addSubComDesc(options);
  tree.addSubComDesc(TargetFilter());
  tree.addSubComDesc(SeriesFilter());
  tree.addSubComDesc(FilteredOutput(false));
  tree.addSubComDesc(SystemOutput());
  tree.addSubComDesc(Save(true));
  tree.addSubComDesc(Outfile(true));
  tree.addSubComDesc(PassProtect());
}

void TCMApplyParser::BuildTree() { AddTCMApplyTree(*this); }

namespace {
const char* const kOptions = "OPTIONS";
} // namespace

bool TCMApplyParser::ReadCommand(CommandSpec& result) {
  if (result.getGroupListSize() == 0) {
    messages->NoSubCom();
    return false;
  }
  const GroupComObj* global = result.getGlobalGroupObj();
  return global == nullptr || ReadGlobalGroup(*global);
}

bool TCMApplyParser::ReadGlobalGroup(const GroupComObj& global) {
  if (!ReadDebug(global)) return false;
  // The model system comes first: OPTIONS reads TIMES by its time type and cycle fields.
  if (!ReadModelSystem(global.getSubComObj("MODELSYSTEM"))) return false;
  if (const SubComObj* options = global.getSubComObj(kOptions)) {
    if (!ReadOptions(*options)) return false;
  }
  if (const SubComObj* targets = global.getSubComObj("TARGETFILTER")) {
    if (!ReadTargetFilter(*targets)) return false;
  }
  const auto readFields = [this](const ParamObj& fields, std::vector<QuorVarName>& out) {
    return ReadSeriesFields(fields, out);
  };
  if (!ReadSeriesFilters(global, readFields)) return false;
  if (!ReadFilteredOutputs(global)) return false;
  return ReadOutputAndFiles(global);
}

bool TCMApplyParser::ReadModelSystem(const SubComObj* subcommand) {
  if (subcommand != nullptr &&
      !ReadModelSystemPath(*subcommand, kModelSystemMembers, applySpec->inputModelPath, *messages)) {
    return false;
  }
  return ReadModelSettings(applySpec->inputModelPath, *spec, applySpec->modelSettingsJson,
                           usedVariables, *dataSource, *messages);
}

bool TCMApplyParser::ReadOptions(const SubComObj& subcommand) {
  spec->buildOptions.reestimate = ReadYesNo(subcommand.getParamObj("REESTIMATE"), false);
  if (const ParamObj* period = subcommand.getParamObj("ESTIMATIONPERIOD")) {
    if (!ReadEstimationPeriod(*period, kOptions)) return false;
  }
  for (const char* name : {"FORECASTPERIODS", "CILEVEL", "OUTLIERTHRESH"}) {
    if (!ReadBuildNumber(subcommand, name, kOptions)) return false;
  }
  return true;
}

bool TCMApplyParser::ReadSeriesFields(const ParamObj& fields, std::vector<QuorVarName>& out) {
  if (!ReadFieldList(fields, out, "SERIESFILTER", false)) return false;
  if (!metricsRead_) {
    metrics_ = ModelMetricNames(applySpec->inputModelPath);
    metricsRead_ = true;
  }
  for (const QuorVarName& field : out) {
    // The filter can only pick series the model system has: its metrics, spelled as saved.
    if (std::find(metrics_.begin(), metrics_.end(), field.GetName()) == metrics_.end()) {
      messages->InvalidParamValue(field.GetName(), "FIELDS", "SERIESFILTER");
      return false;
    }
  }
  return true;
}

bool TCMApplyParser::ReadOutfile(const SubComObj& subcommand) {
  if (const ParamObj* model = subcommand.getParamObj("MODELSYSTEM")) {
    // Compared before the shared reader declares the path as an output, which the host would
    // refuse for a file the command reads without saying which subcommands name it.
    std::string path;
    if (model->getFilePath(path, true, false) && path == applySpec->inputModelPath) {
      messages->FileTwoSubCom(WrittenPath(*model), "MODELSYSTEM", "OUTFILE");
      return false;
    }
  } else if (!spec->buildOptions.reestimate) {
    // Without re-estimation the run's model system is the one it read.
    spec->modelSystemPath = applySpec->inputModelPath;
  }
  return TCMParserShell::ReadOutfile(subcommand);
}
