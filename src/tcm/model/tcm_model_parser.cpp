// This file contains the descriptor tree of TCM MODEL and the reading of its parsed command.
#include "tcm/model/tcm_model_parser.h"

#include "tcm/frame/tree_builders.h"

using namespace tcm_tree;
using UPSpecTypes::QualifOptions;

namespace {
ParamDescriptor IntervalWithQualifiers(const std::string& name,
                                       std::initializer_list<ParamDescriptor> qualifiers) {
  ParamDescriptor interval = Param(name, 28, false, false);
  interval.setQualifOption(QualifOptions::InParentheses);
  for (const auto& qualifier : qualifiers) interval.addQualifDesc(qualifier);
  return interval;
}

ParamDescriptor InputInterval() {
  const ParamDescriptor dayswk = Bounded("DAYSWK", 9, 1, kIncl, 7, kUpIncl);
  const ParamDescriptor wkstart =
      Keywords("WKSTART", {"MON", "TUE", "WED", "THU", "FRI", "SAT", "SUN"});
  const ParamDescriptor hrsday = Bounded("HRSDAY", 9, 1, kIncl, 24, kUpIncl);
  const ParamDescriptor daystart = Bounded("DAYSTART", 9, 0, kIncl, 23, kUpIncl);
  ParamDescriptor input = Param("INPUTINTERVAL", 27);
  input.setQualifOption(QualifOptions::AsValue);
  for (const char* bare : {"AUTODETECT", "IRREGULAR", "QUARTER", "WEEK"})
    input.addQualifDesc(bare);
  input.addQualifDesc(IntervalWithQualifiers("YEAR", {Increment()}));
  input.addQualifDesc(IntervalWithQualifiers("MONTH", {Increment()}));
  input.addQualifDesc(IntervalWithQualifiers("DAY", {dayswk, wkstart, Increment()}));
  for (const char* name : {"HOUR", "MINUTE", "SECOND"}) {
    input.addQualifDesc(
        IntervalWithQualifiers(name, {dayswk, wkstart, hrsday, daystart, Increment()}));
  }
  ParamDescriptor duration = Param("DURATION", 28, false, true);
  duration.setQualifOption(QualifOptions::InParentheses);
  duration.addQualifDesc(Keywords("INTERVAL", {"HOUR", "MINUTE", "SECOND"}, false, true));
  duration.addQualifDesc(Increment());
  input.addQualifDesc(duration);
  return input;
}

ParamDescriptor AnalysisInterval() {
  ParamDescriptor analysis = Param("ANALYSISINTERVAL", 27);
  analysis.setQualifOption(QualifOptions::AsValue);
  for (const char* bare :
       {"USEINPUT", "YEAR", "QUARTER", "MONTH", "WEEK", "DAY", "HOUR", "MINUTE", "SECOND"}) {
    analysis.addQualifDesc(bare);
  }
  ParamDescriptor cycle = Param("CYCLE", 27, false, true);
  cycle.setQualifOption(QualifOptions::InParentheses);
  cycle.addQualifDesc(Param("LEVEL", 9, true, true));
  analysis.addQualifDesc(cycle);
  return analysis;
}

}  // namespace

void AddTCMModelTree(CommandDescriptor& tree) {
  tree.addSubComDesc(Debug());

  SubComDescriptor settings = SubCom("DATASETTINGS");
  settings.addParamDesc(Param("DIMENSIONS", 2));
  settings.addParamDesc(Bounded("MAXDIMVALUES", 9, 100, kExcl, std::nullopt, kUpIncl, false));
  settings.addParamDesc(Keywords("TIMETYPE", {"DATETIMEVAR", "ISO8601", "CYCLICPERIODS", "NONE"}));
  ParamDescriptor timevar = Param("TIMEVAR", 2);
  timevar.setQualifOption(QualifOptions::InParentheses);
  for (const char* qualifier : {"TYPE", "INCREMENT", "LEVEL", "LENGTH", "START"}) {
    timevar.addQualifDesc(qualifier);
  }
  settings.addParamDesc(timevar);
  settings.addParamDesc(InputInterval());
  settings.addParamDesc(AnalysisInterval());
  settings.addParamDesc(Param("GROUP", 2));
  settings.addParamDesc(Param("AGGREGATE", 2));
  settings.addParamDesc(Param("DISTRIBUTE", 2));
  ParamDescriptor interpolate = Param("INTERPOLATE", 27);
  interpolate.setQualifOption(QualifOptions::AsValue);
  for (const char* bare : {"LINT", "MEAN", "LTREND", "NONE"})
    interpolate.addQualifDesc(bare);
  interpolate.addQualifDesc(Param("KMEAN", 9, false, false));
  interpolate.addQualifDesc(Param("KMEDIAN", 9, false, false));
  settings.addParamDesc(interpolate);
  settings.addParamDesc(Keywords("USERMISSING", {"EXCLUDE", "INCLUDE"}));
  settings.addParamDesc(Bounded("MAXMISSING", 9, 0, kIncl, 100, kUpIncl));
  settings.addParamDesc(Keywords("CROSSDAYHRS", {"EXCLUDE", "INCLUDE"}));
  tree.addSubComDesc(settings);

  SubComDescriptor datafilter = SubCom("DATAFILTER");
  datafilter.addParamDesc(DimValues({"INCLUDE", "EXCLUDE"}));
  tree.addSubComDesc(datafilter);

  SubComDescriptor build = SubCom("BUILDOPTIONS");
  build.addParamDesc(EstimationPeriod(false));
  build.addParamDesc(Bounded("FORECASTPERIODS", 9, 0, kIncl, std::nullopt, kUpIncl));
  build.addParamDesc(Bounded("CILEVEL", 7, 0, kExcl, 100, kUpExcl));
  ParamDescriptor maxinputs = Bounded("MAXINPUTS", 9, 1, kIncl, 20, kUpIncl);
  maxinputs.addStringValue("DEFAULT");
  build.addParamDesc(maxinputs);
  ParamDescriptor lags = Bounded("LAGS", 9, 1, kIncl, 20, kUpIncl);
  lags.addStringValue("AUTO");
  build.addParamDesc(lags);
  build.addParamDesc(Bounded("TOLERANCE", 7, 0, kExcl, std::nullopt, kUpIncl));
  build.addParamDesc(Bounded("OUTLIERTHRESH", 9, 50, kIncl, 100, kUpIncl));
  tree.addSubComDesc(build);

  tree.addSubComDesc(TargetFilter());
  tree.addSubComDesc(SeriesFilter());
  tree.addSubComDesc(FilteredOutput(true));
  tree.addSubComDesc(SystemOutput());
  tree.addSubComDesc(Save(true));
  tree.addSubComDesc(Outfile(true));
  tree.addSubComDesc(PassProtect());

  GroupComDescriptor group(UPSpecTypes::GroupSpec{0}, true);
  SubComDescriptor fieldsgroup = SubCom("FIELDSGROUP", 1, true, false);
  fieldsgroup.allowSubComEmpty(true);
  group.addSubComDesc(fieldsgroup, true);
  SubComDescriptor fields = SubCom("FIELDS", 1, true, true);
  fields.allowSubComEmpty(true);
  for (const char* list : {"TARGETS", "INPUTS", "FORCE", "EXCLUDEDTARGETS", "EXCLUDEDINPUTS"}) {
    fields.addParamDesc(Param(list, 2));
  }
  fields.addParamDesc(DimValues({"INCLUDE", "EXCLUDE"}));
  group.addSubComDesc(fields, false);
  tree.addGroupDesc(group);
}

void TCMModelParser::BuildTree() { AddTCMModelTree(*this); }


bool TCMModelParser::ReadCommand(CommandSpec& result) {
  if (result.getGroupListSize() == 0) {
    messages->NoSubCom();
    return true;
  }
  const GroupComObj* global = result.getGlobalGroupObj();
  bool ok = true;
  if (global != nullptr) {
    ok = ReadGlobalGroup(*global);
  } else if (dataSource->GetTrendsInfo().GetNDateVars() == 0) {
    messages->SubComRequired("DATASETTINGS");
    return false;
  } else {
    ok = ReadDateSpecification();
  }
  for (int i = 0; ok && i < result.getGroupListSize(); ++i) {
    const GroupComObj* group = result.getGroupObj(i);
    if (group != nullptr && !group->isGroupGlobal()) ok = ReadFieldsGroup(*group, i);
  }
  if (!ok || global == nullptr) return ok;
  // SERIESFILTER comes last: each of its fields must be a target or input of some FIELDS.
  std::vector<FieldsGroupRef> groups;
  for (const FieldsGroupSpec& group : modelSpec->fieldsGroups) {
    for (const FieldsSpec& fields : group.fields) {
      groups.push_back({&fields.targets, &fields.inputs, &fields.force});
    }
  }
  return ReadSeriesFilters(*global, groups);
}

bool TCMModelParser::ReadGlobalGroup(const GroupComObj& global) {
  if (!ReadDebug(global)) return false;
  if (const SubComObj* settings = global.getSubComObj("DATASETTINGS")) {
    if (!ReadDataSettings(*settings)) return false;
  } else if (dataSource->GetTrendsInfo().GetNDateVars() == 0) {
    messages->SubComRequired("DATASETTINGS");
    return false;
  } else if (!ReadDateSpecification()) {
    return false;
  }
  if (const SubComObj* filter = global.getSubComObj("DATAFILTER")) {
    if (!ReadDataFilter(*filter)) return false;
  }
  if (const SubComObj* build = global.getSubComObj("BUILDOPTIONS")) {
    if (!ReadBuildOptions(*build)) return false;
  }
  if (const SubComObj* targets = global.getSubComObj("TARGETFILTER")) {
    if (!ReadTargetFilter(*targets)) return false;
  }
  // Without FILTEREDOUTPUT the default record stays.
  if (global.getSubComObj("FILTEREDOUTPUT") != nullptr && !ReadFilteredOutputs(global)) {
    return false;
  }
  return ReadOutputAndFiles(global);
}
