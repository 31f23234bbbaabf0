// This file contains the check of TCM ANALYSIS on the converted data.
#include "tcm/analysis/check_prepared_data.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdlib>

#include "host/bridge/as_descriptive.h"
#include "host/bridge/cf_metadata.h"
#include "host/bridge/jni_target_map.h"
#include "host/messages/parser_message.h"
#include "tcm/common/dim_filters.h"
#include "tcm/files/model_system_file.h"
#include "tcm/model/check_prepared_data.h"
#include "tcm/stages/tsdp_runner.h"

namespace {

// The model system fixed its dimensions; the pass only lists what the data hold.
constexpr int kMaxCategories = 10000;

using Points = std::vector<std::int64_t>;

std::vector<int32_t> Narrow(const Points& points) {
  return std::vector<int32_t>(points.begin(), points.end());
}

// One key per field and combination of the filters' values on `dimensions`, the first
// dimension varying slowest; a dimension without a filter contributes one empty value. Without
// dimensions each key is the field alone.
std::vector<SeriesKey> ExpandByFilters(const std::vector<std::string>& fields,
                                       const std::vector<std::string>& dimensions,
                                       const std::vector<DimValueFilter>& filters) {
  std::vector<SeriesKey> keys;
  std::vector<std::vector<std::string>> values;
  for (const std::string& dimension : dimensions) {
    const std::vector<std::string>* found = FindDimFilter(dimension, filters);
    values.push_back(found != nullptr ? *found : std::vector<std::string>{""});
  }
  for (const std::string& field : fields) {
    // An odometer over the dimensions, the last turning fastest.
    std::vector<std::size_t> at(values.size(), 0);
    bool none = false;
    for (const auto& list : values)
      none = none || list.empty();
    while (!none) {
      SeriesKey key;
      for (std::size_t d = 0; d < values.size(); ++d)
        key.push_back(values[d][at[d]]);
      key.push_back(field);
      keys.push_back(std::move(key));
      std::size_t d = values.size();
      while (d > 0 && ++at[d - 1] == values[d - 1].size())
        at[--d] = 0;
      none = d == 0;
    }
  }
  return keys;
}

// Each dimension's first value in the scenario's filters, then the root field.
void FillSeriesKey(ScenarioSpec& scenario, const std::vector<std::string>& dimensions) {
  scenario.seriesKey.clear();
  for (const std::string& dimension : dimensions) {
    const std::vector<std::string>* values = FindDimFilter(dimension, scenario.dimValues);
    scenario.seriesKey.push_back(values != nullptr && !values->empty() ? values->front() : "");
  }
  scenario.seriesKey.push_back(scenario.rootField);
}

void ExpandTargetList(TargetListSpec& list, const std::vector<std::string>& dimensions) {
  std::vector<std::string> fields;
  for (const QuorVarName& field : list.fields)
    fields.push_back(field.GetName());
  list.seriesKeys = ExpandByFilters(fields, dimensions, list.dimValues);
}

// One member per combination of the group's values, named prefix_value_value.
void ExpandGroup(ScenarioGroupSpec& group, const std::vector<std::string>& dimensions) {
  group.scenarios.clear();
  for (SeriesKey& key : ExpandByFilters({group.rootField}, dimensions, group.dimValues)) {
    ScenarioSpec member;
    member.id = group.idPrefix;
    for (std::size_t i = 0; i + 1 < key.size(); ++i)
      member.id += "_" + key[i];
    member.expression = group.expression;
    member.rootField = group.rootField;
    member.targetListId = group.targetListId;
    member.automaticEffects = group.automaticEffects;
    member.isActual = false;
    member.seriesKey = std::move(key);
    group.scenarios.push_back(std::move(member));
  }
}

// Every scenario, group and target list filter against the data's categories; the first fault
// ends the walk.
bool CheckScenarioFilters(TCMAnlySpec& spec, const CFMetaData& metaData, ParserMessage& messages) {
  const auto check = [&](std::vector<DimValueFilter>& filters, const char* kind, std::size_t i) {
    return CheckDimFilters(metaData, filters, std::string(kind) + " " + std::to_string(i),
                           &messages);
  };
  for (std::size_t i = 0; i < spec.scenarios.size(); ++i) {
    if (!check(spec.scenarios[i].dimValues, "SCENARIO", i))
      return false;
  }
  for (std::size_t i = 0; i < spec.scenarioGroups.size(); ++i) {
    if (!check(spec.scenarioGroups[i].dimValues, "SCENARIOGROUP", i))
      return false;
  }
  for (std::size_t i = 0; i < spec.targetLists.size(); ++i) {
    if (!check(spec.targetLists[i].dimValues, "TARGETLIST", i))
      return false;
  }
  return true;
}

// A group or list that names no value of a dimension covers all of its values.
void CompleteFilters(TCMAnlySpec& spec, const std::vector<std::string>& dimensions,
                     const CFMetaData& metaData) {
  for (const std::string& dimension : dimensions) {
    const auto complete = [&](std::vector<DimValueFilter>& filters) {
      if (FindDimFilter(dimension, filters) == nullptr)
        filters.push_back(ValuesOfField(dimension, metaData));
    };
    for (ScenarioGroupSpec& group : spec.scenarioGroups)
      complete(group.dimValues);
    for (TargetListSpec& list : spec.targetLists)
      complete(list.dimValues);
  }
}

// The scenario period as time points of the model system. The first conversion places the
// user's period; the second, reaching one period past END, gives the scenario's length and the
// points kept, so that the end kept is the period after END; PREDICTTHRU takes a third.
bool ConvertScenarioPeriod(TCMAnlySpec& spec, TSDPRunner& tsdpRunner, ParserMessage& messages) {
  ScenarioPeriodSpec& period = spec.scenarioPeriod;
  const bool relative = period.relative;
  const bool dateTime = spec.isDateTimeSpec();
  Points starts;
  Points ends;
  if (relative) {
    if (!period.startPeriods.empty())
      starts.push_back(period.startPeriods.front());
    if (!period.endPeriods.empty())
      ends.push_back(period.endPeriods.front());
  } else if (dateTime) {
    starts.push_back(period.startTime);
    ends.push_back(period.endTime);
  } else {
    starts.assign(period.startPeriods.begin(), period.startPeriods.end());
    ends.assign(period.endPeriods.begin(), period.endPeriods.end());
  }
  const std::string& model = spec.inputModelPath;
  Points indexes;
  Points first;
  Points last;
  // Whether START and END lie on the model's axis is the engine's to say.
  if (!tsdpRunner.CalculateTimeVar(relative, dateTime, model, starts, ends, indexes, first, last) ||
      indexes.empty()) {
    return false;
  }
  const std::int64_t horizon = std::max<std::int64_t>(indexes.back(), 0);
  const Points span{indexes.front()};
  const Points spanEnd{indexes.back() + 1};
  if (!tsdpRunner.CalculateTimeVar(true, dateTime, model, span, spanEnd, indexes, first, last) ||
      indexes.empty()) {
    return false;
  }
  spec.buildOptions.forecastPeriods = static_cast<int32_t>(horizon);
  spec.scenarioLength = static_cast<int32_t>(indexes.back() - indexes.front());
  for (std::size_t i = 0; i < spec.scenarios.size(); ++i) {
    const ScenarioSpec& scenario = spec.scenarios[i];
    if (scenario.isActual &&
        scenario.actualValues.size() != static_cast<std::size_t>(spec.scenarioLength)) {
      messages.SimpleError("INVALID_VAL_NUM_KEY", "SCENARIO " + std::to_string(i + 1),
                           std::to_string(spec.scenarioLength),
                           std::to_string(scenario.actualValues.size()));
      return false;
    }
  }
  spec.scenarioStartIndex = spec.modelTimePoints + static_cast<int32_t>(indexes.front());

  // From here on the period holds absolute time points, RELATIVE or not.
  const std::int32_t userEnd = period.endPeriods.empty() ? 0 : period.endPeriods.front();
  if (dateTime) {
    period.startTime = first.empty() ? 0 : first.front();
    period.endTime = last.empty() ? 0 : last.front();
  } else {
    period.startPeriods = Narrow(first);
    period.endPeriods = Narrow(last);
  }
  if (!period.hasPredictThru)
    return true;

  Points thruEnd;
  if (relative) {
    // PREDICTTHRU counts from END.
    if (!period.thruPeriods.empty())
      thruEnd.push_back(period.thruPeriods.front() + userEnd + 1);
  } else if (dateTime) {
    thruEnd.push_back(period.thruTime);
  } else {
    thruEnd.assign(period.thruPeriods.begin(), period.thruPeriods.end());
  }
  if (!tsdpRunner.CalculateTimeVar(relative, dateTime, model, starts, thruEnd, indexes, first,
                                   last)) {
    return false;
  }
  if (dateTime) {
    period.thruTime = last.empty() ? 0 : last.front();
  } else {
    period.thruPeriods = Narrow(last);
  }
  return true;
}

const ExpressionSpec* FindExpression(const TCMAnlySpec& spec, const std::string& name) {
  for (const auto& [key, expression] : spec.expressionFields) {
    // The name as the user wrote it: another case finds nothing.
    if (expression.name == name)
      return &expression;
  }
  return nullptr;
}

// The series each expression reads, by the scenario's dimension values, and which of them the
// model system forecasts as targets or as AR model series. Never a failure.
void FindExpressionInputs(TCMAnlySpec& spec, const std::vector<std::string>& dimensions) {
  const auto addInputs = [&](const ScenarioSpec& scenario) {
    if (scenario.isActual)
      return;
    const ExpressionSpec* expression = FindExpression(spec, scenario.expression);
    if (expression == nullptr)
      return;
    for (const std::string& field : expression->fields) {
      SeriesKey key(scenario.seriesKey.begin(), scenario.seriesKey.empty()
                                                    ? scenario.seriesKey.end()
                                                    : scenario.seriesKey.end() - 1);
      key.push_back(field);
      spec.expressionSeriesKeys.push_back(std::move(key));
    }
  };
  for (const ScenarioSpec& scenario : spec.scenarios)
    addInputs(scenario);
  for (const ScenarioGroupSpec& group : spec.scenarioGroups) {
    for (const ScenarioSpec& member : group.scenarios)
      addInputs(member);
  }

  CFMetaData metaData;
  if (!ExtractDataModel(spec.inputModelPath, metaData) || spec.graphJson.empty())
    return;
  const JNITargetMap targets(spec.graphJson);
  for (const SeriesKey& key : spec.expressionSeriesKeys) {
    const std::string text = SeriesKeyText(key, dimensions, metaData);
    if (text.empty())
      continue;
    if (targets.IsTarget(text)) {
      spec.targetSeriesKeys.push_back(key);
    } else if (targets.IsArModelSeries(text)) {
      spec.arSeriesKeys.push_back(key);
    }
  }
}

// Whether `text` is the value that `datum` holds, compared as the storage reads.
bool SameValue(const std::string& text, const CFDatum& datum, int storage) {
  if (storage == CFStorage::kString)
    return datum.GetString() == text;
  if (storage == CFStorage::kInteger) {
    std::int32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size() && value == datum.GetInteger();
  }
  char* end = nullptr;
  const double value = std::strtod(text.c_str(), &end);
  return !text.empty() && end == text.c_str() + text.size() && value == datum.GetReal();
}

// The code of a dimension value: the coded field's category that carries, as its label, the
// label of the base field's category holding the value.
const CFValue* CodedValue(const CFField& field, const CFMetaData& metaData,
                          const std::string& element) {
  const CFField* base = metaData.FindField(field.GetBaseField());
  if (field.GetBaseField().empty() || base == nullptr)
    return nullptr;
  for (const CFValue& value : base->GetValues()) {
    if (!SameValue(element, value.GetDatum(), base->GetStorage()))
      continue;
    for (const CFValue& coded : field.GetValues()) {
      if (coded.GetLabel() == value.GetLabel())
        return &coded;
    }
    return nullptr;
  }
  return nullptr;
}

} // namespace

std::string SeriesKeyText(const SeriesKey& key, const std::vector<std::string>& dimensions,
                          const CFMetaData& metaData) {
  if (key.size() != dimensions.size() + 1)
    return {};
  std::string text;
  for (std::size_t i = 0; i < dimensions.size(); ++i) {
    const CFField* field = metaData.FindField(dimensions[i]);
    const CFValue* value = field == nullptr ? nullptr : CodedValue(*field, metaData, key[i]);
    if (value == nullptr)
      return {};
    text += std::to_string(value->GetCode()) + "-";
  }
  const CFField* metric = metaData.FindField("metricField");
  if (metric == nullptr)
    return {};
  for (const CFValue& value : metric->GetValues()) {
    if (value.GetLabel() == key.back())
      return text + std::to_string(value.GetCode());
  }
  return {};
}

bool CheckPreparedData(TCMAnlySpec& spec, ASRunner& runner, TSDPRunner& tsdpRunner,
                       const ProcedureDataSource& dataSource, ParserMessage& messages,
                       QUORMBConverter* converter) {
  if (spec.scenarios.empty() && spec.scenarioGroups.empty()) {
    messages.SubComRequired(std::vector<std::string>{"SCENARIO", "SCENARIOGROUP"});
    return false;
  }
  ASDescriptive descriptive(runner, tsdpRunner.DescriptiveScript());
  std::vector<std::string> dimensions;
  std::vector<std::string> timeFields;
  DescriptiveFieldNames(spec, dataSource, converter, dimensions, timeFields);

  if (dimensions.empty()) {
    // Groups are left as they are: without dimensions they have nothing to vary over.
    for (ScenarioSpec& scenario : spec.scenarios)
      FillSeriesKey(scenario, dimensions);
    for (TargetListSpec& list : spec.targetLists)
      ExpandTargetList(list, dimensions);
  } else {
    CFMetaData metaData;
    // A filter fault has been reported; the period is still converted, and its answer is the
    // check's, as users of the command have always had it.
    if (descriptive.BuildMetaData(dimensions, metaData, kMaxCategories) &&
        CheckScenarioFilters(spec, metaData, messages)) {
      CompleteFilters(spec, dimensions, metaData);
      tsdpRunner.UpdateConvertedDataModel(metaData);
      for (ScenarioSpec& scenario : spec.scenarios)
        FillSeriesKey(scenario, dimensions);
      for (ScenarioGroupSpec& group : spec.scenarioGroups)
        ExpandGroup(group, dimensions);
      for (TargetListSpec& list : spec.targetLists)
        ExpandTargetList(list, dimensions);
    }
  }

  const bool result = ConvertScenarioPeriod(spec, tsdpRunner, messages);
  if (result && spec.buildOptions.forecastPeriods > 0 && spec.fieldRefCount >= 1 &&
      !spec.usedExpressions.empty()) {
    FindExpressionInputs(spec, dimensions);
  }
  if (result && spec.debug)
    spec.displayValidSpec();
  return result;
}
