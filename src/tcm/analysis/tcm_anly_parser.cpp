// This file contains the descriptor tree of TCM ANALYSIS and the reading of its parsed command.
#include "tcm/analysis/tcm_anly_parser.h"

#include "tcm/frame/tree_builders.h"

using namespace tcm_tree;
using UPSpecTypes::QualifOptions;

void AddTCMAnalysisTree(CommandDescriptor& tree) {
  tree.addSubComDesc(Debug());
  tree.addSubComDesc(ModelSystem());
  SubComDescriptor expressions = SubCom("EXPRESSIONS");
  expressions.addParamDesc(Param("FILE", 2, true));
  tree.addSubComDesc(expressions);
  SubComDescriptor period = SubCom("SCENARIOPERIOD", 1, true);
  period.addParamDesc(Keywords("TIMES", {"ABSOLUTE", "RELATIVE"}, false, true));
  period.addParamDesc(Keywords("FORMAT", {"VARIABLE", "ISO8601"}));
  period.addParamDesc(Param("START", 2, true));
  period.addParamDesc(Param("END", 2, true));
  period.addParamDesc(Param("PREDICTTHRU", 2));
  tree.addSubComDesc(period);

  SubComDescriptor scenario = SubCom("SCENARIO");
  scenario.setSubComRepeatable(true);
  scenario.addParamDesc(Param("ID", 4, true));
  ParamDescriptor values = Param("VALUES", 27, true);
  values.setQualifOption(QualifOptions::AsValue);
  values.addQualifDesc(Param("ACTUAL", 8));
  values.addQualifDesc(Param("EXPRESSION", 15));
  scenario.addParamDesc(values);
  scenario.addParamDesc(Param("ROOTFIELD", 15, true));
  scenario.addParamDesc(DimValues({"VALUE"}));
  scenario.addParamDesc(Effects());
  tree.addSubComDesc(scenario);

  SubComDescriptor group = SubCom("SCENARIOGROUP");
  group.setSubComRepeatable(true);
  group.addParamDesc(Param("IDPREFIX", 4, true));
  group.addParamDesc(Param("EXPRESSION", 15, true));
  group.addParamDesc(Param("ROOTFIELD", 15, true));
  group.addParamDesc(DimValues({"VALUES"}));
  group.addParamDesc(Effects());
  tree.addSubComDesc(group);

  SubComDescriptor list = SubCom("TARGETLIST");
  list.setSubComRepeatable(true);
  list.addParamDesc(Param("LISTID", 3));
  list.addParamDesc(Param("FIELDS", 2, true));
  list.addParamDesc(DimValues({"VALUES"}));
  tree.addSubComDesc(list);

  SubComDescriptor options = SubCom("OPTIONS");
  options.addParamDesc(Bounded("CILEVEL", 7, 0, kExcl, 100, kUpExcl));
  options.addParamDesc(YesNo("PREDICTEDCI"));
  options.addParamDesc(Keywords("PRINT", {"FORECASTS"}));
  options.addParamDesc(Keywords("PLOT", {"IMPACTDIAGRAM", "SERIESPLOT", "NONE"}, true));
  options.addParamDesc(Bounded("MAXTARGETS", 9, 1, kIncl, std::nullopt, kUpIncl));
  options.addParamDesc(Bounded("MAXLEVELS", 9, 1, kIncl, 5, kUpIncl));
  tree.addSubComDesc(options);
  tree.addSubComDesc(Save(false));
  tree.addSubComDesc(Outfile(false));
  tree.addSubComDesc(PassProtect());
}

void TCMAnlyParser::BuildTree() { AddTCMAnalysisTree(*this); }


bool TCMAnlyParser::ReadCommand(CommandSpec& result) {
  if (result.getGroupListSize() == 0) {
    messages->NoSubCom();
    return false;
  }
  const GroupComObj* global = result.getGlobalGroupObj();
  if (global != nullptr) return ReadDebug(*global);
  return true;
}
