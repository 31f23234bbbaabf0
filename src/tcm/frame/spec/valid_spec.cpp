// This file contains the shared rules of the ValidSpec slots and the list and SAVE queries.
#include "tcm/frame/spec/valid_spec.h"

#include "host/data/procedure_data_source.h"

namespace {
std::string UpperAscii(std::string text) {
  for (char& c : text) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return text;
}
}  // namespace

bool ListHas(const std::vector<std::string>& list, const std::string& text, bool ignoreCase,
             bool numeric) {
  double wanted = 0.0;
  if (numeric && !String2Double(text, wanted)) return false;
  const std::string upper_text = ignoreCase ? UpperAscii(text) : std::string();
  for (const auto& item : list) {
    if (numeric) {
      double value = 0.0;
      if (String2Double(item, value) && value == wanted) return true;
    } else if (ignoreCase ? UpperAscii(item) == upper_text : item == text) {
      return true;
    }
  }
  return false;
}

bool ValidSpec::FindSaveEntry(const std::string& keyword, SaveEntry& out) const {
  for (const auto& entry : saveEntries) {
    if (entry.keyword == keyword) {
      out = entry;
      return true;
    }
  }
  return false;
}

bool ValidSpec::TimeTypeIsDateTime() const {
  return timeType == "DATETIMEVAR" || timeType == "ISO8601";
}

bool ValidSpec::SaveAsksScoring() const {
  SaveEntry entry;
  return FindSaveEntry("LCLROOT", entry) || FindSaveEntry("UCLROOT", entry) ||
         FindSaveEntry("PREDICTED", entry) || FindSaveEntry("NRESIDUAL", entry) ||
         buildOptions.forecastPeriods > 0;
}

bool ValidSpec::FilteredOutputsNeedOutliers() const {
  for (const auto& record : filteredOutputs) {
    if (record.networkGraph) return true;
    const bool shows_targets = record.include == "TARGETS" || record.include == "BOTH";
    if (shows_targets && ListHas(record.print, "OUTLIERS", false, false)) return true;
  }
  return outlierPlot;
}

bool ValidSpec::FilteredOutputsNeedRootCause() const {
  if (seriesFilters.empty()) return false;
  for (const auto& record : filteredOutputs) {
    if (record.rootCauses && (record.include == "SERIES" || record.include == "BOTH")) return true;
  }
  return false;
}

bool ValidSpec::FilteredOutputsNeedNResidual() const {
  for (const auto& record : filteredOutputs) {
    if (ListHas(record.plot, "NRESIDUAL", false, false)) return true;
  }
  return false;
}
