// This file contains the composition of tsdpConf for TCM MODEL, TCM APPLY and TCM ANALYSIS, of
// tsdpOutConf, and of the convertor's apiConf.
#include "tcm/stages/tsdp_conf.h"

#include <set>

#include "host/bridge/jni_json.h"
#include "tcm/common/time_interval.h"
#include "tcm/model/tcm_model_spec.h"
#include "tcm/stages/tsdp_runner.h"

namespace {

bool IsDateTimeType(const std::string& timeType) {
  return timeType == "DATETIMEVAR" || timeType == "ISO8601";
}

bool StartsWith(const std::string& text, const char* prefix) {
  return text.rfind(prefix, 0) == 0;
}

JNIJSONArray StringArray(const std::vector<std::string>& values) {
  JNIJSONArray array;
  for (const std::string& value : values)
    array.add(value);
  return array;
}

JNIJSONArray IntArray(const std::vector<int32_t>& values) {
  JNIJSONArray array;
  for (int32_t value : values)
    array.add(static_cast<int>(value));
  return array;
}

// The method for all fields goes to every metric unless it is the stage's default, SUM; the
// overrides, in list order, win over it.
JNIJSONObject MethodMap(const std::vector<std::string>& metrics, const std::string& method,
                        const std::vector<FieldMethod>& overrides) {
  JNIJSONObject map;
  if (method != "SUM") {
    for (const std::string& metric : metrics)
      map.put(metric, method);
  }
  for (const auto& [field, fieldMethod] : overrides)
    map.put(field, fieldMethod);
  return map;
}

const char* DayName(const std::string& weekStart) {
  if (weekStart == "MON")
    return "MONDAY";
  if (weekStart == "TUE")
    return "TUESDAY";
  if (weekStart == "WED")
    return "WEDNESDAY";
  if (weekStart == "THU")
    return "THURSDAY";
  if (weekStart == "FRI")
    return "FRIDAY";
  if (weekStart == "SAT")
    return "SATURDAY";
  return "SUNDAY";
}

// The stage's name of an imputation method; null for a text it does not know.
const char* ImputationName(const std::string& interpolate) {
  if (interpolate == "LINT")
    return "LINEAR_INTERP";
  if (interpolate == "MEAN")
    return "SERIES_MEAN";
  if (interpolate == "KMEAN")
    return "K_MEAN";
  if (interpolate == "KMEDIAN")
    return "K_MEDIAN";
  if (interpolate == "LTREND")
    return "LINEAR_TREND";
  if (interpolate == "NONE")
    return "NONE";
  return nullptr;
}

void PutInputInterval(const TCMModelValidSpecs& spec, TSJsonConf& conf) {
  const InputIntervalSpec& input = spec.inputInterval;
  switch (input.interval) {
  case TimeIntervalKind::IRREGULAR:
    conf.put("inputInterval", "UNKNOWN");
    return;
  case TimeIntervalKind::DURATION:
    conf.put("inputInterval", input.durationUnit);
    return;
  case TimeIntervalKind::IGNORE:
    // Without a time variable the data are periods of cycles; with one, the stage finds out.
    if (spec.timeType == "CYCLICPERIODS" || spec.timeType == "DATESPEC" ||
        spec.timeType == "NONE") {
      conf.put("inputInterval", "CYCLIC_PERIOD");
    }
    return;
  default:
    conf.put("inputInterval", IntervalName(input.interval));
  }
}

// Date variables of years (or cycles), quarters and months are read as twelve months a year, so
// that the stage gets one cycle less; otherwise the analysis interval picks its date variable's
// level.
void PutDateSpecification(TCMModelValidSpecs& spec, TSJsonConf& conf) {
  TimeVariableSpec& time = spec.timeVars;
  const bool useInput = spec.analysisInterval == TimeIntervalKind::USEINPUT;
  const bool yearQuarterMonth = StartsWith(time.periodVar, "MONTH_") &&
                                time.cycleVars.size() == 2 &&
                                (StartsWith(time.cycleVars[0].name, "YEAR_") ||
                                 StartsWith(time.cycleVars[0].name, "CYCLE_")) &&
                                StartsWith(time.cycleVars[1].name, "QUARTER_");
  if (yearQuarterMonth) {
    time.cycleVars.pop_back();
    time.cycleVars.front().level = 1;
    time.cycleVars.front().length = 12;
    conf.put("outputInterval", "CYCLIC_PERIOD");
    if (!useInput)
      conf.put("aggreLevel", 1);
    return;
  }
  if (!useInput) {
    const std::string wanted = std::string(IntervalName(spec.analysisInterval)) + "_";
    for (const CycleVariable& cycle : time.cycleVars) {
      if (cycle.name == wanted) {
        conf.put("aggreLevel", static_cast<int>(cycle.level));
        break;
      }
    }
  }
  conf.put("outputInterval", "CYCLIC_PERIOD");
}

void PutOutputInterval(TCMModelValidSpecs& spec, TSJsonConf& conf) {
  const TimeIntervalKind input = spec.inputInterval.interval;
  const bool dateSpec = spec.timeType == "DATESPEC";
  switch (spec.analysisInterval) {
  case TimeIntervalKind::IGNORE:
    conf.put("outputInterval", "CYCLIC_PERIOD");
    return;
  case TimeIntervalKind::CYCLE:
    conf.put("outputInterval", "CYCLIC_PERIOD");
    conf.put("aggreLevel", static_cast<int>(spec.cycleLevel));
    return;
  case TimeIntervalKind::USEINPUT:
    if (input == TimeIntervalKind::IGNORE) {
      if (spec.timeType == "CYCLICPERIODS" || spec.timeType == "NONE") {
        conf.put("outputInterval", "CYCLIC_PERIOD");
      } else if (dateSpec) {
        PutDateSpecification(spec, conf);
      }
    } else if (input == TimeIntervalKind::DURATION) {
      conf.put("outputInterval", spec.inputInterval.durationUnit);
    } else {
      // IRREGULAR stays IRREGULAR here, unlike the input interval's UNKNOWN.
      conf.put("outputInterval", IntervalName(input));
    }
    return;
  default:
    if (dateSpec) {
      PutDateSpecification(spec, conf);
    } else {
      conf.put("outputInterval", IntervalName(spec.analysisInterval));
    }
  }
}

void PutCyclicLists(const TCMModelValidSpecs& spec, TSJsonConf& conf) {
  const TimeVariableSpec& time = spec.timeVars;
  JNIJSONArray fields;
  JNIJSONArray periods;
  for (const CycleVariable& cycle : time.cycleVars) {
    fields.add(cycle.name);
    periods.add(static_cast<int>(cycle.length));
  }
  fields.add(time.periodVar);
  conf.put("cyclicFieldList", fields);
  conf.put("cycPeriodList", periods);
  if (time.cycleVars.empty())
    return;
  // Each cycle starts where the one above says; the top cycle has nothing above it, and the
  // period field ends the list.
  JNIJSONArray offsets;
  for (std::size_t i = 1; i < time.cycleVars.size(); ++i) {
    offsets.add(static_cast<int>(time.cycleVars[i].start));
  }
  offsets.add(static_cast<int>(time.periodStart));
  conf.put("cycOffsetList", offsets);
}

} // namespace

std::vector<std::string> MetricFieldSet(const TCMModelValidSpecs& spec) {
  std::set<QuorVarName> names;
  for (const FieldsGroupSpec& group : spec.fieldsGroups) {
    for (const FieldsSpec& fields : group.fields) {
      for (const auto* list : {&fields.targets, &fields.inputs, &fields.force,
                               &fields.excludedTargets, &fields.excludedInputs}) {
        names.insert(list->begin(), list->end());
      }
    }
  }
  std::vector<std::string> metrics;
  metrics.reserve(names.size());
  for (const QuorVarName& name : names)
    metrics.push_back(name.GetName());
  return metrics;
}

void PutSelection(const ValidSpec& spec, bool otherIsNone, TSJsonConf& conf) {
  const BuildOptionsSpec& options = spec.buildOptions;
  if (options.estimationPeriod == "TIMES") {
    conf.put("valuesSelStrategy", "TIME");
    if (IsDateTimeType(spec.timeType)) {
      if (options.startTime != 0)
        conf.put("stdStartTime", options.startTime);
      if (options.endTime != 0)
        conf.put("stdEndTime", options.endTime);
    } else {
      if (!options.startPeriods.empty())
        conf.put("nonStdStartTime", IntArray(options.startPeriods));
      if (!options.endPeriods.empty())
        conf.put("nonStdEndTime", IntArray(options.endPeriods));
    }
  } else if (options.estimationPeriod == "OBSERVATIONS") {
    conf.put("valuesSelStrategy", options.observationType);
    conf.put("numOfKeptValues", static_cast<int>(options.observationNumber));
    conf.put("offset", static_cast<int>(options.observationOffset));
  } else if (options.estimationPeriod == "ALL" || otherIsNone) {
    conf.put("valuesSelStrategy", "NONE");
  }
}

void ComposeModelTsdpConf(TCMModelValidSpecs& spec, const std::vector<std::string>& metrics,
                          TSJsonConf& conf) {
  const bool dateTime = IsDateTimeType(spec.timeType);
  const InputIntervalSpec& input = spec.inputInterval;

  if (!spec.dimensions.empty()) {
    JNIJSONArray dims;
    for (const QuorVarName& dimension : spec.dimensions)
      dims.add(dimension.GetName());
    conf.put("dimFieldList", dims);
  }
  if (!metrics.empty())
    conf.put("metricFieldList", StringArray(metrics));
  if (dateTime)
    conf.put("dateTimeField", spec.timeVars.timeVar);

  // One alternative holding every filter of DATAFILTER; include or exclude is not the stage's
  // business, as the data checks turned every filter into a list of kept values.
  JNIJSONArray filters;
  for (const DimValueFilter& filter : spec.dataFilter.filters) {
    JNIJSONObject entry;
    entry.put("dimension", filter.field);
    entry.put("values", StringArray(filter.values));
    filters.add(entry);
  }
  JNIJSONArray filterList;
  filterList.add(filters);
  conf.put("seriesFilterList", filterList);
  conf.put("encodeSeriesID", true);
  conf.put("groupType", MethodMap(metrics, spec.group, spec.groupOverrides));

  PutInputInterval(spec, conf);
  conf.put("numOfDaysPerWeek", static_cast<int>(input.daysPerWeek));
  conf.put("startDayOfWeek", DayName(input.weekStart));
  if (input.interval == TimeIntervalKind::HOUR && input.increment > 0 &&
      24 % input.increment == 0) {
    conf.put("numOfValidPointsPerDay", static_cast<int>(24 / input.increment));
  } else {
    conf.put("numOfHoursPerDay", static_cast<int>(input.hoursPerDay));
  }
  conf.put("startHourOfDay", static_cast<int>(input.dayStart));
  conf.put("increments", static_cast<int>(input.increment));
  PutOutputInterval(spec, conf);

  conf.put("aggregationType", MethodMap(metrics, spec.aggregate, spec.aggregateOverrides));
  conf.put("oneDayForHoursCrossDay", !spec.excludeCrossDayHours);
  conf.put("distributionType", MethodMap(metrics, spec.distribute, spec.distributeOverrides));

  if (const char* imputation = ImputationName(spec.interpolate)) {
    conf.put("missingImputType", imputation);
  }
  if (spec.interpolate == "KMEAN")
    conf.put("kMeanParam", static_cast<int>(spec.interpolateSpan));
  if (spec.interpolate == "KMEDIAN") {
    conf.put("kMedianParam", static_cast<int>(spec.interpolateSpan));
  }
  // Kept user-missing values turn the threshold off: no share of missing values drops a series.
  if (spec.excludeUserMissing) {
    conf.put("missingValueHandlingThreshold", static_cast<double>(spec.maxMissing) / 100.0);
  } else {
    conf.put("missingValueHandlingThreshold", 1);
  }

  PutSelection(spec, true, conf);
  conf.put("exportQuality", spec.transformations);
  if (!dateTime)
    PutCyclicLists(spec, conf);
}

void ComposeApplyTsdpConf(const ValidSpec& spec, TSJsonConf& conf) {
  PutSelection(spec, false, conf);
  conf.put("exportQuality", spec.transformations);
}

bool ConvertorApiConf(bool relative, bool isDateTime, const std::vector<std::int64_t>& startList,
                      const std::vector<std::int64_t>& endList, std::string& apiConf) {
  if (startList.empty() || endList.empty())
    return false;
  JNIJSONObject conf;
  if (relative) {
    conf.put("apiType", "NEWEST");
    conf.put("startIndex", startList.front());
    conf.put("endIndex", endList.front());
  } else if (isDateTime) {
    conf.put("apiType", "TIME");
    conf.put("stdStartTime", startList.front());
    conf.put("stdEndTime", endList.front());
  } else {
    conf.put("apiType", "TIME");
    JNIJSONArray starts;
    for (std::int64_t value : startList)
      starts.add(value);
    JNIJSONArray ends;
    for (std::int64_t value : endList)
      ends.add(value);
    conf.put("nonStdStartTime", starts);
    conf.put("nonStdEndTime", ends);
  }
  apiConf = conf.toString();
  return true;
}

std::string TSDPRunner::ComposeTsdpConf() {
  switch (commandKind_) {
  case 0:
    if (auto* model = dynamic_cast<TCMModelValidSpecs*>(&spec)) {
      conf_ = TSJsonConf();
      metricFields_ = MetricFieldSet(*model);
      ComposeModelTsdpConf(*model, metricFields_, conf_);
    }
    break;
  case 1:
    ComposeApplyTsdpConf(spec, conf_);
    break;
  default:
    // TCM ANALYSIS prepares its data exactly as the model system was prepared.
    break;
  }
  return conf_.toString();
}

std::vector<const ASSimpleContainer*> TSDPRunner::TsdpOutputs() const {
  std::vector<const ASSimpleContainer*> outputs{jsonFile.get()};
  if (commandKind_ != 2 && spec.transformations)
    outputs.push_back(qualityFile.get());
  return outputs;
}
