// This file contains the compositions of tcmModelConfig, summaryConf, scoreConf, tcmScoreConf and
// arScoreConf. Keys are put in the order the engine's readers are written against.
#include "tcm/stages/model_confs.h"

#include <algorithm>
#include <cctype>

#include "host/bridge/jni_json.h"
#include "tcm/flows/ts_json_conf.h"

namespace {

bool SameName(const std::string& a, const std::string& b) {
  return a.size() == b.size() &&
         std::equal(a.begin(), a.end(), b.begin(), [](unsigned char x, unsigned char y) {
           return std::toupper(x) == std::toupper(y);
         });
}

// Appends the values of the filters on `dimension` to `values`, each once.
void AddFilterValues(const std::vector<DimValueFilter>& filters, const std::string& dimension,
                     std::vector<std::string>& values) {
  for (const DimValueFilter& filter : filters) {
    if (!SameName(filter.field, dimension))
      continue;
    for (const std::string& value : filter.values) {
      if (std::find(values.begin(), values.end(), value) == values.end())
        values.push_back(value);
    }
  }
}

bool HasFilterOn(const std::vector<DimValueFilter>& filters, const std::string& dimension) {
  return std::any_of(filters.begin(), filters.end(),
                     [&](const DimValueFilter& f) { return SameName(f.field, dimension); });
}

JNIJSONArray ToJson(const std::vector<SeriesArray>& series) {
  JNIJSONArray array;
  for (const SeriesArray& one : series) {
    JNIJSONArray values;
    for (const std::string& value : one)
      values.add(value);
    array.add(values);
  }
  return array;
}

bool SaveHas(const ValidSpec& spec, const char* keyword) {
  SaveEntry entry;
  return spec.FindSaveEntry(keyword, entry);
}

std::string Upper(std::string text) {
  for (char& c : text)
    c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return text;
}

} // namespace

std::vector<SeriesArray> ExpandSeriesArrays(const std::vector<QuorVarName>& names,
                                            const std::vector<DimValueFilter>& filters,
                                            const DimFilterSet* dataFilter,
                                            const std::vector<QuorVarName>& dimensions) {
  std::vector<SeriesArray> result;
  std::vector<std::vector<std::string>> lists;
  for (const QuorVarName& dimension : dimensions) {
    std::vector<std::string> values;
    if (HasFilterOn(filters, dimension.GetName())) {
      AddFilterValues(filters, dimension.GetName(), values);
    } else if (dataFilter != nullptr) {
      AddFilterValues(dataFilter->filters, dimension.GetName(), values);
    }
    if (values.empty())
      values.push_back("");
    lists.push_back(std::move(values));
  }
  for (const QuorVarName& name : names) {
    // An odometer over the lists, the last dimension running fastest.
    std::vector<std::size_t> at(lists.size(), 0);
    while (true) {
      SeriesArray series;
      for (std::size_t d = 0; d < lists.size(); ++d)
        series.push_back(lists[d][at[d]]);
      series.push_back(name.GetName());
      result.push_back(std::move(series));
      std::size_t d = lists.size();
      while (d > 0 && ++at[d - 1] == lists[d - 1].size())
        at[--d] = 0;
      if (d == 0)
        break;
    }
  }
  return result;
}

std::vector<SeriesArray> SeriesFilterKeyList(const ValidSpec& spec) {
  std::vector<SeriesArray> keys;
  for (const SeriesFilterSpec& filter : spec.seriesFilters) {
    if (filter.fields.empty())
      continue;
    auto expanded = ExpandSeriesArrays(filter.fields, filter.filters, nullptr, spec.dimensions);
    keys.insert(keys.end(), expanded.begin(), expanded.end());
  }
  return keys;
}

std::string TcmModelConfig(const TCMModelValidSpecs& spec,
                           const std::vector<FieldsGroupSpec>& groups) {
  if (groups.empty())
    return {};
  JNIJSONArray targetPredictorList;
  for (const FieldsGroupSpec& group : groups) {
    std::vector<SeriesArray> lists[5];
    for (const FieldsSpec& fields : group.fields) {
      const std::vector<QuorVarName>* names[5] = {&fields.targets, &fields.force, &fields.inputs,
                                                  &fields.excludedTargets, &fields.excludedInputs};
      for (int i = 0; i < 5; ++i) {
        auto expanded =
            ExpandSeriesArrays(*names[i], fields.filters, &spec.dataFilter, spec.dimensions);
        lists[i].insert(lists[i].end(), expanded.begin(), expanded.end());
      }
    }
    static const char* const kKeys[5] = {"targetList", "predictorIncludeList",
                                         "predictorCandidateList", "targetExcludeList",
                                         "predictorExcludeList"};
    JNIJSONObject object;
    for (int i = 0; i < 5; ++i) {
      if (i == 0 || !lists[i].empty())
        object.put(kKeys[i], ToJson(lists[i]));
    }
    targetPredictorList.add(object);
  }
  TSJsonConf conf;
  conf.put("targetPredictorList", targetPredictorList);
  JNIJSONObject maxLag;
  if (spec.buildOptions.lagsAuto) {
    maxLag.put("source", "USE_DEFAULT");
  } else {
    maxLag.put("source", "SETTING");
    maxLag.put("value", spec.buildOptions.lags);
  }
  conf.put("maxLag", maxLag);
  JNIJSONObject maxInputs;
  if (spec.buildOptions.maxInputsDefault) {
    maxInputs.put("useDefault", true);
  } else {
    maxInputs.put("useDefault", false);
    maxInputs.put("value", spec.buildOptions.maxInputs);
  }
  conf.put("maxNumberOfPredictor", maxInputs);
  conf.put("epsilon", spec.buildOptions.tolerance);
  conf.put("confidenceLevel", spec.buildOptions.ciLevel / 100.0);
  conf.put("exportCovarianceMatrix", false);
  conf.put("modelsPerJob", 100);
  return conf.toString();
}

std::string SummaryConf(const ValidSpec& spec) {
  TSJsonConf conf;
  conf.put("fitStat", Upper(spec.targetFilter.fitStat));
  conf.put("topType", spec.targetFilter.useN ? "N" : "PCT");
  conf.put("value", spec.targetFilter.n);
  return conf.toString();
}

bool ScoreNeedsTargetList(const ValidSpec& spec, bool outputPass) {
  if (outputPass)
    return false;
  SaveEntry targets;
  if (spec.FindSaveEntry("TARGETS", targets) && targets.rootName == "ALL")
    return false;
  return spec.targetFilter.display != "ALLTARGETS";
}

std::string ScoreConf(const ValidSpec& spec, bool forecast, bool fit, bool reestimate,
                      bool outputPass, const std::vector<SeriesArray>& targets) {
  const bool included = ScoreNeedsTargetList(spec, outputPass);
  if (included && targets.empty())
    return {};
  TSJsonConf conf;
  JNIJSONObject fieldSetting;
  fieldSetting.put("fieldType", included ? "INCLUDED_TARGET_LIST" : "EXCLUDED_TARGET_LIST");
  JNIJSONObject nameList;
  nameList.put("seriesIDList", ToJson(included ? targets : std::vector<SeriesArray>{}));
  fieldSetting.put("fieldNameList", nameList);
  conf.put("fieldSetting", fieldSetting);

  const bool lcl = SaveHas(spec, "LCLROOT");
  JNIJSONObject forecastObject;
  forecastObject.put("doForecast", forecast);
  if (forecast) {
    forecastObject.put("forecastSpan", spec.buildOptions.forecastPeriods);
    forecastObject.put("forecastInterval", outputPass || lcl);
  }
  conf.put("forecast", forecastObject);
  if (fit) {
    JNIJSONObject fitObject;
    fitObject.put("doFit", true);
    fitObject.put("fitInterval", outputPass || lcl);
    fitObject.put("fitResidual", outputPass || SaveHas(spec, "NRESIDUAL"));
    conf.put("fit", fitObject);
  }
  if (reestimate)
    conf.put("re-estimate", true);
  conf.put("confidenceLevel", spec.buildOptions.ciLevel / 100.0);
  if (!reestimate)
    conf.put("isOutputInputData", true);
  conf.put("isDataEncoded", true);
  return conf.toString();
}

std::string TcmODConf(const ValidSpec& spec, bool forRootCause,
                      const std::vector<SeriesArray>& seriesKeys) {
  TSJsonConf conf;
  if (forRootCause) {
    if (seriesKeys.empty()) return {};
    conf.put("targetTimeSeries", ToJson(seriesKeys));
  }
  conf.put("threshold", spec.buildOptions.outlierThreshold / 100.0);
  conf.put("isDataEncoded", true);
  return conf.toString();
}

std::string TcmRCAConf(const ValidSpec& spec, const std::vector<std::string>& series) {
  TSJsonConf conf;
  JNIJSONArray target;
  for (const std::string& text : series) target.add(text);
  conf.put("targetTimeSeries", target);
  conf.put("autoOutlierDetection", true);
  JNIJSONObject detection;
  detection.put("threshold", spec.buildOptions.outlierThreshold / 100.0);
  conf.put("outlierDetection", detection);
  const auto forSeries =
      std::find_if(spec.filteredOutputs.begin(), spec.filteredOutputs.end(),
                   [](const FilteredOutputSpec& output) { return output.include != "TARGETS"; });
  if (forSeries != spec.filteredOutputs.end())
    conf.put("oldestGeneration", forSeries->rootCauseLevels);
  conf.put("isDataEncoded", true);
  return conf.toString();
}

std::string TcmSAConf(const TCMAnlySpec& spec, const ScenarioSpec& scenario) {
  TSJsonConf conf;
  if (!scenario.seriesKey.empty()) {
    JNIJSONArray root;
    for (const std::string& value : scenario.seriesKey) root.add(value);
    conf.put("rootTimeSeries", root);
  }
  const ScenarioPeriodSpec& period = spec.scenarioPeriod;
  const auto periods = [](const std::vector<int32_t>& values) {
    JNIJSONArray array;
    for (int32_t value : values) array.add(static_cast<int>(value));
    return array;
  };
  const bool dated = spec.isDateTimeSpec();
  if (dated) {
    conf.put("stdStartTime", static_cast<std::int64_t>(period.startTime));
    conf.put("stdEndTime", static_cast<std::int64_t>(period.endTime));
  } else {
    conf.put("nonStdStartTime", periods(period.startPeriods));
    conf.put("nonStdEndTime", periods(period.endPeriods));
  }
  JNIJSONArray values;
  for (double value : scenario.actualValues) values.add(value);
  conf.put("substitutedValues", values);
  if (dated) {
    conf.put("stdFurthestTime",
             static_cast<std::int64_t>(period.hasPredictThru ? period.thruTime : period.endTime));
  } else {
    conf.put("nonStdFurthestTime", periods(period.hasPredictThru ? period.thruPeriods : period.endPeriods));
  }
  if (scenario.automaticEffects) {
    conf.put("maxTargetsNum", static_cast<int>(spec.buildOptions.maxTargets));
  } else {
    // Every list of the scenario's ID counts; an ID no list has gives an empty array.
    std::vector<SeriesArray> targets;
    for (const TargetListSpec& list : spec.targetLists) {
      if (Upper(list.listId) == Upper(scenario.targetListId))
        targets.insert(targets.end(), list.seriesKeys.begin(), list.seriesKeys.end());
    }
    conf.put("targetTimeSeries", ToJson(targets));
  }
  conf.put("youngestGeneration", static_cast<int>(spec.buildOptions.maxLevels));
  conf.put("isDataEncoded", true);
  conf.put("isRawValues", true);
  if (spec.buildOptions.predictedCI)
    conf.put("isConfidenceIntervals", true);
  conf.put("confidenceLevel", spec.buildOptions.ciLevel / 100.0);
  conf.put("scenarioID", scenario.id);
  return conf.toString();
}

std::string TcmScoreConf(const TCMAnlySpec& spec, bool outputPass) {
  TSJsonConf conf;
  JNIJSONObject fieldSetting;
  fieldSetting.put("fieldType", "INCLUDED_TARGET_LIST");
  JNIJSONObject nameList;
  nameList.put("seriesIDList",
               ToJson(outputPass ? std::vector<SeriesArray>{} : spec.targetSeriesKeys));
  fieldSetting.put("fieldNameList", nameList);
  conf.put("fieldSetting", fieldSetting);
  JNIJSONObject forecastObject;
  const int32_t periods = spec.buildOptions.forecastPeriods;
  forecastObject.put("doForecast", periods > 0);
  if (periods > 0) {
    forecastObject.put("forecastSpan", periods);
    if (spec.buildOptions.predictedCI)
      forecastObject.put("forecastInterval", true);
  }
  conf.put("forecast", forecastObject);
  conf.put("confidenceLevel", spec.buildOptions.ciLevel / 100.0);
  conf.put("isOutputInputData", true);
  conf.put("isDataEncoded", true);
  JNIJSONObject fitObject;
  fitObject.put("doFit", true);
  conf.put("fit", fitObject);
  return conf.toString();
}

std::string ArScoreConf(const TCMAnlySpec& spec) {
  TSJsonConf conf;
  JNIJSONObject nameList;
  nameList.put("seriesIDList", ToJson(spec.arSeriesKeys));
  JNIJSONObject fieldSetting;
  fieldSetting.put("fieldNameList", nameList);
  conf.put("fieldSetting", fieldSetting);
  JNIJSONObject forecastObject;
  forecastObject.put("forecastSpan", spec.buildOptions.forecastPeriods);
  conf.put("forecast", forecastObject);
  conf.put("outputOriginalValue", true);
  conf.put("isDataEncoded", true);
  return conf.toString();
}
