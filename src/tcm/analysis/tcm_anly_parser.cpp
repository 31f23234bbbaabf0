// This file contains the descriptor tree of TCM ANALYSIS and the reading of its parsed command.
#include "tcm/analysis/tcm_anly_parser.h"

#include "host/bridge/ext_name_str.h"
#include "host/bridge/zip_reader.h"
#include "host/syntax/token.h"
#include "support/file_io.h"
#include "tcm/analysis/expressions_file.h"
#include "tcm/apply/model_settings.h"
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

namespace {
constexpr const char* kOptions = "OPTIONS";
}  // namespace

bool TCMAnlyParser::ReadCommand(CommandSpec& result) {
  if (result.getGroupListSize() == 0) {
    messages->NoSubCom();
    return false;
  }
  const GroupComObj* global = result.getGlobalGroupObj();
  return global == nullptr || ReadGlobalGroup(*global);
}

bool TCMAnlyParser::ReadGlobalGroup(const GroupComObj& global) {
  if (!ReadDebug(global)) return false;
  // Expressions first, wherever they stand: the model system is read with its graph only when
  // they read fields.
  if (const SubComObj* expressions = global.getSubComObj("EXPRESSIONS")) {
    if (!ReadExpressions(*expressions)) return false;
  }
  // The parser requires MODELSYSTEM and SCENARIOPERIOD.
  if (const SubComObj* model = global.getSubComObj("MODELSYSTEM")) {
    if (!ReadModelSystem(*model)) return false;
  }
  if (const SubComObj* period = global.getSubComObj("SCENARIOPERIOD")) {
    if (!ReadScenarioPeriod(*period)) return false;
  }
  // Target lists before the scenarios that name them, wherever they stand.
  std::vector<const SubComObj*> occurrences;
  global.getSubComObj(occurrences, "TARGETLIST");
  for (const SubComObj* list : occurrences) {
    if (!ReadTargetList(*list)) return false;
  }
  occurrences.clear();
  global.getSubComObj(occurrences, "SCENARIO");
  for (std::size_t i = 0; i < occurrences.size(); ++i) {
    if (!ReadScenario(*occurrences[i], static_cast<int>(i) + 1)) return false;
  }
  seenScenarioIds.clear();
  occurrences.clear();
  global.getSubComObj(occurrences, "SCENARIOGROUP");
  // A group takes all values of the dimensions it does not filter: a model without dimensions
  // has no series to group.
  if (!occurrences.empty() && spec->dimensions.empty()) {
    messages->SubComNeedSubCom("DIMENSIONS", "SCENARIOGROUP");
    return false;
  }
  for (std::size_t i = 0; i < occurrences.size(); ++i) {
    if (!ReadScenarioGroup(*occurrences[i], static_cast<int>(i) + 1)) return false;
  }
  seenPrefixes.clear();
  WarnUnusedTargetLists();

  if (const SubComObj* options = global.getSubComObj(kOptions)) {
    if (!ReadOptions(*options)) return false;
  }
  if (const SubComObj* save = global.getSubComObj("SAVE")) {
    if (!ReadSave(*save)) return false;
  }
  // OUTFILE before PASSPROTECT: the scenario data file takes no password, and the shared reader
  // applies none while the password is still "NONE".
  if (const SubComObj* outfile = global.getSubComObj("OUTFILE")) {
    if (!ReadOutfile(*outfile)) return false;
  }
  if (const SubComObj* protect = global.getSubComObj("PASSPROTECT")) {
    if (!ReadPassProtect(*protect)) return false;
  }
  return true;
}

bool TCMAnlyParser::ReadExpressions(const SubComObj& subcommand) {
  const ParamObj* file = subcommand.getParamObj("FILE");
  if (file == nullptr) {
    messages->ParamRequiredForSubCom("FILE", "EXPRESSIONS");
    return false;
  }
  std::string& path = anlySpec->expressionsPath;
  if (!ResolvePath(path, file, true, false, messages)) return false;
  std::string text;
  const std::string local = FetchFile::fetch(path, false, false);
  if (!local.empty()) {
    auto read = support::ReadFileToString(local);
    if (read.ok()) text = std::move(read.value());
  }
  if (text.empty()) {
    messages->FileNoAccess(path);
    return false;
  }
  // Not XML, or XML without an expression to name: one fault, told as one.
  if (!ReadExpressionsText(text, anlySpec->expressionNames, anlySpec->expressionFields) ||
      anlySpec->expressionNames.empty()) {
    messages->SimpleError("INVALID_EXPRESSION_KEY");
    return false;
  }
  return true;
}

bool TCMAnlyParser::ReadModelSystem(const SubComObj& subcommand) {
  // The data model is not needed to read the command: it is read when the data are checked.
  if (!ReadModelSystemPath(subcommand, {"TCMGraph.json", "TSDPOutput.json"},
                           anlySpec->inputModelPath, *messages)) {
    return false;
  }
  spec->modelSystemPath = anlySpec->inputModelPath;
  // The graph tells which inputs of the expressions are model series.
  if (anlySpec->FieldRefCount() > 0) {
    ZipReader reader(anlySpec->inputModelPath);
    if (!reader.GotoFile("TCMGraph.json") || !reader.ExportString(anlySpec->graphJson)) {
      messages->SimpleError("INVALID_MODEL_KEY");
      return false;
    }
  }
  SavedTimeAxis axis;
  if (!ReadModelSettings(anlySpec->inputModelPath, *spec, anlySpec->modelSettingsJson,
                         usedVariables, *dataSource, *messages, &axis)) {
    return false;
  }
  anlySpec->scenarioPeriod.aggregationLevel = axis.aggregationLevel;
  anlySpec->modelTimePoints = axis.modelTimePoints;
  return true;
}

bool TCMAnlyParser::ReadOptions(const SubComObj& subcommand) {
  BuildOptionsSpec& options = spec->buildOptions;
  if (!ReadBuildNumber(subcommand, "CILEVEL", kOptions)) return false;
  options.predictedCI = ReadYesNo(subcommand.getParamObj("PREDICTEDCI"), false);
  if (const ParamObj* print = subcommand.getParamObj("PRINT")) {
    std::string word;
    if (!print->getUpStringGeneric(word)) {
      messages->ParamMustBeString("PRINT", kOptions);
      return false;
    }
    options.analysisPrint.push_back(word);
  }
  if (const ParamObj* plot = subcommand.getParamObj("PLOT")) {
    std::vector<std::string> words;
    if (!plot->getStringList(words)) {
      messages->ParamNeedStringList("PLOT", kOptions);
      return false;
    }
    for (std::string& word : words) word = host::UpperAscii(word);
    options.analysisPlot = std::move(words);
    if (options.analysisPlot.size() > 1 && ListHas(options.analysisPlot, "NONE", true, false)) {
      messages->ParamExclAnyOther("NONE", kOptions);
      return false;
    }
  }
  for (const char* name : {"MAXTARGETS", "MAXLEVELS"}) {
    const ParamObj* param = subcommand.getParamObj(name);
    int32_t& value = std::string(name) == "MAXTARGETS" ? options.maxTargets : options.maxLevels;
    if (param != nullptr && !param->getIntegerValue(value)) {
      messages->ParamNeedInteger(name, kOptions);
      return false;
    }
  }
  return true;
}
