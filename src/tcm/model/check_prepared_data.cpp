// This file contains the checks of TCM MODEL on the converted data.
#include "tcm/model/check_prepared_data.h"

#include <pugixml.hpp>

#include "host/bridge/as_descriptive.h"
#include "host/bridge/as_runner.h"
#include "host/data/procedure_data_source.h"
#include "host/frame/host_services.h"
#include "host/messages/parser_message.h"
#include "support/json_util.h"
#include "tcm/common/dim_filters.h"
#include "tcm/common/intervals.h"
#include "tcm/stages/tsdp_runner.h"

namespace {

std::string Upper(std::string text) {
  for (char& c : text) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return text;
}

// The name of a variable of the dictionary, in UTF-8 for the engine; empty when it is not there.
std::string DictionaryName(const ProcedureDataSource& dataSource, const std::string& name,
                           QUORMBConverter* converter) {
  const int index = dataSource.FindVarIndex(name, 0);
  if (index < 0) return {};
  return transcodeToUTF8(converter, dataSource.GetVariable(index)->GetName());
}

// The check of the metadata once they exist: limits, then filters, then the handover.
enum class MetaCheck { kPassed, kFailedAtLimits, kFailedAtFilters };

MetaCheck CheckMetaData(TCMModelValidSpecs& spec, const CFMetaData& metaData,
                        const std::string& statXml, TSDPRunner& tsdpRunner,
                        ParserMessage& messages) {
  if (!CheckCategoryLimits(statXml, spec.maxDimValues, messages)) return MetaCheck::kFailedAtLimits;
  if (!CheckFiltersAgainstData(spec, metaData, messages)) return MetaCheck::kFailedAtFilters;
  tsdpRunner.UpdateConvertedDataModel(metaData);
  return MetaCheck::kPassed;
}

}  // namespace

void DescriptiveFieldNames(const ValidSpec& spec, const ProcedureDataSource& dataSource,
                           QUORMBConverter* converter, std::vector<std::string>& dimensions,
                           std::vector<std::string>& timeFields) {
  const auto add = [&](std::vector<std::string>& names, const std::string& variable) {
    const std::string name = DictionaryName(dataSource, variable, converter);
    if (!name.empty()) names.push_back(name);
  };
  for (const QuorVarName& dimension : spec.dimensions) add(dimensions, dimension.GetName());
  if (spec.isDateTimeSpec()) {
    add(timeFields, spec.timeVars.timeVar);
  } else {
    for (const CycleVariable& cycle : spec.timeVars.cycleVars) add(timeFields, cycle.name);
    add(timeFields, spec.timeVars.periodVar);
  }
}

bool DetectedInterval(const std::string& json, TimeIntervalKind& interval) {
  const auto parsed = support::ParseJson<support::Json>(json);
  const support::Json* results =
      parsed.ok() ? support::FindMember(parsed.value(), "intervalResults") : nullptr;
  if (results == nullptr || !results->is_array() || results->empty()) return false;
  interval = IntervalFromName(support::GetString((*results)[0], "timeInterval", ""));
  return true;
}

bool CheckSeriesFilters(ValidSpec& spec, const CFMetaData& metaData, ParserMessage& messages) {
  for (std::size_t i = 0; i < spec.seriesFilters.size(); ++i) {
    const std::string label = "SERIESFILTER " + std::to_string(i);
    if (!CheckDimFilters(metaData, spec.seriesFilters[i].filters, label, &messages)) return false;
  }
  return true;
}

void WarnRootCausesWithoutSeries(const ValidSpec& spec, ParserMessage& messages) {
  for (const FilteredOutputSpec& record : spec.filteredOutputs) {
    const bool wantsSeries = record.include == "SERIES" || record.include == "BOTH";
    if (record.rootCauses && wantsSeries && spec.seriesFilters.empty()) {
      messages.GenericWarning("NO_RCA_KEY");
    }
  }
}

bool CheckCategoryLimits(const std::string& statXml, int maxDimValues, ParserMessage& messages) {
  pugi::xml_document document;
  if (!document.load_string(statXml.c_str())) return false;
  const pugi::xml_node summaries = document.child("FieldSummaries");
  if (!summaries) return false;
  std::string exceeded;
  for (pugi::xml_node summary : summaries.children("FieldSummary")) {
    const std::string flag =
        summary.child("DistributionSummary").attribute("maxCatsExceeded").as_string();
    if (Upper(flag) != "TRUE") continue;
    exceeded += (exceeded.empty() ? "" : " ") +
                QuorVarName(summary.attribute("fieldName").as_string()).GetName();
  }
  if (exceeded.empty()) return true;
  messages.SimpleError("MAX_EXCEED_KEY", std::to_string(maxDimValues), exceeded);
  return false;
}

bool NarrowToDataFilter(DimValueFilter& filter, const DimFilterSet& dataFilter,
                        const std::string& label, ParserMessage& messages) {
  const std::vector<std::string>* allowed = FindDimFilter(filter.field, dataFilter.filters);
  if (allowed == nullptr) return true;
  std::vector<std::string> kept;
  for (const auto& value : filter.values) {
    for (const auto& other : *allowed) {
      if (value == other) {
        kept.push_back(value);
        break;
      }
    }
  }
  if (kept.empty()) {
    messages.SimpleError("EMPTY_DIM_VAL_KEY", label, filter.field);
    return false;
  }
  filter.values = std::move(kept);
  return true;
}

bool CheckFiltersAgainstData(TCMModelValidSpecs& spec, const CFMetaData& metaData,
                             ParserMessage& messages) {
  if (!CheckDimFilters(metaData, spec.dataFilter.filters, "DATAFILTER", &messages)) return false;
  if (!CheckSeriesFilters(spec, metaData, messages)) return false;
  // FIELDS count from 1 within each group, series filters from 0, as users have always seen.
  for (FieldsGroupSpec& group : spec.fieldsGroups) {
    for (std::size_t j = 0; j < group.fields.size(); ++j) {
      const std::string label = "FIELDS " + std::to_string(j + 1);
      std::vector<DimValueFilter>& filters = group.fields[j].filters;
      if (!CheckDimFilters(metaData, filters, label, &messages)) return false;
      for (DimValueFilter& filter : filters) {
        if (!NarrowToDataFilter(filter, spec.dataFilter, label, messages)) return false;
      }
    }
  }
  return true;
}

bool CheckPreparedData(TCMModelValidSpecs& spec, ASRunner& runner, TSDPRunner& tsdpRunner,
                       const ProcedureDataSource& dataSource, ParserMessage& messages,
                       QUORMBConverter* converter) {
  ASDescriptive descriptive(runner, tsdpRunner.DescriptiveScript());
  const bool isDateTime = spec.isDateTimeSpec();
  std::vector<std::string> dimensionNames;
  std::vector<std::string> timeFields;
  DescriptiveFieldNames(spec, dataSource, converter, dimensionNames, timeFields);

  bool result = true;
  const bool detect = (spec.timeType == "DATETIMEVAR" || spec.timeType == "ISO8601") &&
                      spec.inputInterval.interval == TimeIntervalKind::AUTODETECT;
  if (detect) {
    std::string json;
    std::string metaText;
    result = descriptive.UpdateDateModel(dimensionNames, timeFields, isDateTime, json, metaText,
                                         spec.maxDimValues);
    if (result && !metaText.empty()) {
      const CFMetaData metaData(metaText, nullptr);
      const MetaCheck check =
          CheckMetaData(spec, metaData, descriptive.GetStatXML(), tsdpRunner, messages);
      if (check == MetaCheck::kFailedAtLimits) return false;
      result = check == MetaCheck::kPassed;
    }
    if (result && !json.empty()) {
      if (!DetectedInterval(json, spec.inputInterval.interval)) {
        messages.SimpleError("DE_ERROR_KEY");
        result = false;
      } else if (!IntervalsCompatible(spec.inputInterval.interval, spec.analysisInterval,
                                      spec.timeType, spec.inputInterval.durationUnit,
                                      spec.inputInterval.increment)) {
        messages.SimpleError("MISMATCHING_INTERVAL_KEY", IntervalName(spec.analysisInterval),
                             IntervalName(spec.inputInterval.interval));
        result = false;
      }
    }
  } else if (!dimensionNames.empty()) {
    CFMetaData metaData;
    if (descriptive.BuildMetaData(dimensionNames, metaData, spec.maxDimValues)) {
      const MetaCheck check =
          CheckMetaData(spec, metaData, descriptive.GetStatXML(), tsdpRunner, messages);
      if (check == MetaCheck::kFailedAtLimits) return false;
      result = check == MetaCheck::kPassed;
    } else {
      result = false;
    }
  }

  WarnRootCausesWithoutSeries(spec, messages);
  if (result && spec.debug) spec.displayValidSpec();
  return result;
}
