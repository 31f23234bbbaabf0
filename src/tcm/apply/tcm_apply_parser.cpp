// This file contains the descriptor tree of TCM APPLY and the reading of its parsed command.
#include "tcm/apply/tcm_apply_parser.h"

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
  // The model system comes first: what follows is read by its fields and time type.
  return ReadModelSystem(global.getSubComObj("MODELSYSTEM"));
}

bool TCMApplyParser::ReadModelSystem(const SubComObj* subcommand) {
  if (subcommand != nullptr) {
    const ParamObj* file = subcommand->getParamObj("FILE");
    if (file == nullptr) {
      messages->ParamRequiredForSubCom("FILE", "MODELSYSTEM");
      return false;
    }
    if (!file->getFilePath(applySpec->inputModelPath, false, true)) {
      messages->FileNameInvalid(WrittenPath(*file));
      return false;
    }
    if (!HasModelSystemMembers(applySpec->inputModelPath)) {
      messages->SimpleError("INVALID_MODEL_KEY");
      return false;
    }
  }
  return ReadModelSettings(applySpec->inputModelPath, *spec, applySpec->modelSettingsJson,
                           usedVariables, *dataSource, *messages);
}
