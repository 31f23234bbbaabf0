// This file contains the reading of the outlier archives' series and the choice of the series
// whose outliers get a root cause flow.
#include "tcm/stages/outlier_records.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "host/bridge/jni_json.h"
#include "host/bridge/zip_reader.h"

namespace {

// Reads one member's series into a new record; false when it names none.
bool ReadMember(const std::string& name, const std::string& text,
                std::vector<OutlierRecord>& records) {
  const JNIJSONObject json(text);
  JNIJSONHandle list = json.isGood() ? json.getTop() : nullptr;
  for (const char* key : {"outlierDetection", "analysisSettings", "targetTimeSeries"})
    list = list == nullptr ? nullptr : JNIJSONObject::get(list, key);
  OutlierRecord record;
  for (std::size_t i = 0; i < JNIJSONArray::size(list); ++i)
    record.series.push_back(JNIAslAccessor::getString(JNIJSONArray::get(list, i)));
  if (record.series.empty()) return false;
  record.key = name.substr(0, name.find('.'));
  records.push_back(std::move(record));
  return true;
}

// A text as a number, when all of it is one.
bool AsNumber(const std::string& text, double& value) {
  if (text.empty()) return false;
  char* end = nullptr;
  value = std::strtod(text.c_str(), &end);
  return end != nullptr && *end == '\0';
}

bool SameValue(const std::string& a, const std::string& b, bool numeric) {
  double x = 0, y = 0;
  if (numeric && AsNumber(a, x) && AsNumber(b, y)) return x == y;
  return a == b;
}

}  // namespace

bool ReadOutlierRecords(const std::string& path, std::vector<OutlierRecord>& records) {
  if (path.empty()) return true;
  ZipReader reader(path);
  std::string name;
  bool folder = false;
  // The detection writes a member for each series with outliers. With none the archive has no
  // member, or is not written at all: no series to explain, and no failure. Something else
  // than an archive is one.
  if (!reader.GetFirst(name, folder)) {
    std::error_code error;
    return reader.IsOpen() || !std::filesystem::exists(path, error) ||
           std::filesystem::file_size(path, error) == 0;
  }
  bool result = true;
  for (bool more = true; more && records.size() < kMaxOutlierRecords;
       more = reader.GetNext(name, folder)) {
    std::string text;
    if (folder || name.find(".json") == std::string::npos || !reader.ExportString(text)) continue;
    result = ReadMember(name, text, records);
    if (!result) break;
  }
  return result;
}

bool SeriesFilterChooses(const ValidSpec& spec, const SeriesKey& key,
                         const std::function<bool(const std::string&)>& isNumeric) {
  if (key.empty()) return false;
  const std::string& metric = key.back();
  bool chosen = false;
  for (const SeriesFilterSpec& filter : spec.seriesFilters) {
    const bool names = std::any_of(filter.fields.begin(), filter.fields.end(),
                                   [&metric](const QuorVarName& field) {
                                     return field.GetName() == metric;
                                   });
    if (!names) {
      chosen = false;
      continue;
    }
    // A key that does not fit the dimensions cannot be placed by any filter.
    if (key.size() != spec.dimensions.size() + 1) return false;
    chosen = true;
    for (const DimValueFilter& values : filter.filters) {
      const auto dimension = std::find_if(
          spec.dimensions.begin(), spec.dimensions.end(),
          [&values](const QuorVarName& name) { return name.GetName() == values.field; });
      if (dimension == spec.dimensions.end()) continue;
      const std::string& value = key[static_cast<std::size_t>(dimension - spec.dimensions.begin())];
      const bool numeric = isNumeric(values.field);
      const bool listed =
          std::any_of(values.values.begin(), values.values.end(),
                      [&](const std::string& given) { return SameValue(value, given, numeric); });
      if (listed != values.include) {
        chosen = false;
        break;
      }
    }
    if (chosen) return true;
  }
  return chosen;
}

std::vector<OutlierRecord> SelectRootCauseRecords(
    const ValidSpec& spec, const std::vector<OutlierRecord>& outliers,
    const std::function<bool(const std::string&)>& isNumeric) {
  std::vector<OutlierRecord> chosen;
  for (const OutlierRecord& record : outliers) {
    if (!SeriesFilterChooses(spec, record.series, isNumeric)) continue;
    if (chosen.size() >= kMaxOutlierRecords) break;
    chosen.push_back(record);
  }
  return chosen;
}
