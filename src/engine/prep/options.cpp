// This file contains the reader of tsdpConf and the settings record of a preparation.
#include "engine/prep/options.h"

#include <array>

#include "engine/series/time_grid.h"
#include "support/text.h"
#include "support/time.h"

namespace engine {
namespace {

constexpr std::array<const char*, 5> kReduceNames = {"SUM", "MEAN", "MODE", "MIN", "MAX"};
constexpr std::array<const char*, 6> kImputationNames = {
    "NONE", "LINEAR_INTERP", "SERIES_MEAN", "K_MEAN", "K_MEDIAN", "LINEAR_TREND"};
constexpr std::array<const char*, 4> kSelectionNames = {"NONE", "TIME", "NEWEST", "OLDEST"};

template <std::size_t N>
std::optional<std::size_t> IndexOf(const std::array<const char*, N>& names, const std::string& text) {
  const std::string upper = support::ToUpperAscii(text);
  for (std::size_t i = 0; i < N; ++i) {
    if (upper == names[i]) return i;
  }
  return std::nullopt;
}

std::string NamesOf(const auto& names) {
  std::string text;
  for (const char* name : names) text += (text.empty() ? "" : ", ") + std::string(name);
  return text;
}

bool ReadInt(const support::Json& json, const char* key, std::int64_t low, std::int64_t high,
             const std::string& place, MessageQueue& messages, auto& target) {
  const support::Json* member = support::FindMember(json, key);
  if (member == nullptr || member->is_null()) return true;
  const std::int64_t fallback = low - 1;
  const std::int64_t value = support::GetInt(json, key, fallback);
  if (!member->is_number() || value == fallback || value < low || value > high) {
    return messages.Error(place + "'" + key + "' must be an integer from " + std::to_string(low) +
                          " to " + std::to_string(high));
  }
  target = static_cast<std::remove_reference_t<decltype(target)>>(value);
  return true;
}

bool ReadStrings(const support::Json& json, const char* key, const std::string& place,
                 MessageQueue& messages, std::vector<std::string>& target) {
  const support::Json* member = support::FindMember(json, key);
  if (member == nullptr || member->is_null()) return true;
  if (!member->is_array()) return messages.Error(place + "'" + key + "' must be an array of texts");
  target.clear();
  for (const auto& element : *member) {
    if (!element.is_string()) return messages.Error(place + "'" + key + "' must hold only texts");
    // One empty name stands for an empty list.
    if (!element.get<std::string>().empty()) target.push_back(element.get<std::string>());
  }
  return true;
}

bool ReadInts(const support::Json& json, const char* key, const std::string& place,
              MessageQueue& messages, std::vector<std::int64_t>& target) {
  const support::Json* member = support::FindMember(json, key);
  if (member == nullptr || member->is_null()) return true;
  if (!member->is_array()) return messages.Error(place + "'" + key + "' must be an array of integers");
  target.clear();
  for (const auto& element : *member) {
    if (!element.is_number() || element.get<double>() != static_cast<double>(static_cast<std::int64_t>(element.get<double>()))) {
      return messages.Error(place + "'" + key + "' must hold only integers");
    }
    target.push_back(static_cast<std::int64_t>(element.get<double>()));
  }
  return true;
}

template <class Method, std::size_t N>
bool ReadMethods(const support::Json& json, const char* key, const std::array<const char*, N>& names,
                 const std::string& place, MessageQueue& messages,
                 std::map<std::string, Method>& target) {
  const support::Json* member = support::FindMember(json, key);
  if (member == nullptr || member->is_null()) return true;
  if (!member->is_object()) return messages.Error(place + "'" + key + "' must be an object");
  for (const auto& [field, method] : member->items()) {
    std::optional<std::size_t> index;
    if (method.is_string()) index = IndexOf(names, method.template get<std::string>());
    if (!index) {
      return messages.Error(place + "'" + key + "' gives '" + field + "' an unknown method; use " +
                            NamesOf(names));
    }
    target[field] = static_cast<Method>(*index);
  }
  return true;
}

bool ReadFilters(const support::Json& json, const std::string& place, MessageQueue& messages,
                 std::vector<std::vector<DimensionFilter>>& target) {
  const support::Json* member = support::FindMember(json, "seriesFilterList");
  if (member == nullptr || member->is_null()) return true;
  const std::string wrong = place + "'seriesFilterList' must be an array of arrays of "
                                    "{\"dimension\": name, \"values\": [texts]}";
  if (!member->is_array()) return messages.Error(wrong);
  for (const auto& alternative : *member) {
    if (!alternative.is_array()) return messages.Error(wrong);
    std::vector<DimensionFilter> filters;
    for (const auto& entry : alternative) {
      if (!entry.is_object()) return messages.Error(wrong);
      DimensionFilter filter;
      filter.dimension = support::GetString(entry, "dimension");
      const support::Json* values = support::FindMember(entry, "values");
      if (filter.dimension.empty() || values == nullptr || !values->is_array()) {
        return messages.Error(wrong);
      }
      for (const auto& value : *values) {
        if (value.is_string()) {
          filter.values.push_back(value.get<std::string>());
        } else if (value.is_number()) {
          filter.values.push_back(support::FormatNumber(value.get<double>()));
        } else {
          return messages.Error(wrong);
        }
      }
      filters.push_back(std::move(filter));
    }
    if (!filters.empty()) target.push_back(std::move(filters));
  }
  return true;
}

}  // namespace

const char* ReduceName(Reduce method) { return kReduceNames[static_cast<std::size_t>(method)]; }
const char* ImputationName(Imputation method) {
  return kImputationNames[static_cast<std::size_t>(method)];
}
const char* SelectionName(Selection strategy) {
  return kSelectionNames[static_cast<std::size_t>(strategy)];
}

Reduce TsdpOptions::GroupOf(const std::string& metric) const {
  auto found = group.find(metric);
  return found == group.end() ? Reduce::kSum : found->second;
}
Reduce TsdpOptions::AggregationOf(const std::string& metric) const {
  auto found = aggregation.find(metric);
  return found == aggregation.end() ? Reduce::kSum : found->second;
}
Spread TsdpOptions::DistributionOf(const std::string& metric) const {
  auto found = distribution.find(metric);
  return found == distribution.end() ? Spread::kSum : found->second;
}

bool ReadTsdpOptions(const support::Json& json, const std::string& place, MessageQueue& messages,
                     TsdpOptions& options) {
  options = TsdpOptions{};
  if (!ReadStrings(json, "dimFieldList", place, messages, options.dims)) return false;
  if (!ReadStrings(json, "metricFieldList", place, messages, options.metrics)) return false;
  if (options.metrics.empty()) return messages.Error(place + "'metricFieldList' names no field");
  options.time_field = support::GetString(json, "dateTimeField");
  if (!ReadFilters(json, place, messages, options.series_filters)) return false;
  options.encode_series_id = support::GetBool(json, "encodeSeriesID", true);
  if (!ReadMethods(json, "groupType", kReduceNames, place, messages, options.group) ||
      !ReadMethods(json, "aggregationType", kReduceNames, place, messages, options.aggregation)) {
    return false;
  }
  constexpr std::array<const char*, 2> kSpreadNames = {"SUM", "MEAN"};
  if (!ReadMethods(json, "distributionType", kSpreadNames, place, messages, options.distribution)) {
    return false;
  }

  options.input_interval = support::ToUpperAscii(support::GetString(json, "inputInterval"));
  const auto interval_known = [](const std::string& name) {
    return name.empty() || name == "UNKNOWN" || name == "IRREGULAR" ||
           name == "CYCLIC_PERIOD" || IntervalFromName(name).has_value();
  };
  if (!interval_known(options.input_interval)) {
    return messages.Error(place + "'inputInterval' '" + options.input_interval + "' is unknown");
  }
  if (!ReadInt(json, "numOfDaysPerWeek", 1, 7, place, messages, options.days_per_week) ||
      !ReadInt(json, "numOfValidPointsPerDay", 1, 86400, place, messages,
               options.valid_points_per_day) ||
      !ReadInt(json, "numOfHoursPerDay", 1, 24, place, messages, options.hours_per_day) ||
      !ReadInt(json, "startHourOfDay", 0, 23, place, messages, options.start_hour) ||
      !ReadInt(json, "increments", 1, 1000000, place, messages, options.increment)) {
    return false;
  }
  options.start_day_of_week =
      support::ToUpperAscii(support::GetString(json, "startDayOfWeek", "SUNDAY"));
  if (auto day = WeekdayFromName(options.start_day_of_week)) {
    options.start_day_of_week = support::ToUpperAscii(support::WeekdayName(*day));
  } else {
    return messages.Error(place + "'startDayOfWeek' '" + options.start_day_of_week +
                          "' is no day of the week");
  }
  if (options.valid_points_per_day > 0) {
    // Points of an hourly grid: the day holds this many steps of `increments` hours.
    options.hours_per_day = std::min(24, options.valid_points_per_day * options.increment);
  }
  options.output_interval = support::ToUpperAscii(support::GetString(json, "outputInterval"));
  if (options.output_interval == "UNKNOWN") options.output_interval = "IRREGULAR";
  if (!interval_known(options.output_interval)) {
    return messages.Error(place + "'outputInterval' '" + options.output_interval + "' is unknown");
  }
  if (support::FindMember(json, "aggreLevel") != nullptr) {
    int level = 0;
    if (!ReadInt(json, "aggreLevel", 0, 1000, place, messages, level)) return false;
    options.aggre_level = level;
  }
  options.one_day_for_cross_day = support::GetBool(json, "oneDayForHoursCrossDay", true);

  if (const auto* member = support::FindMember(json, "missingImputType")) {
    auto index = member->is_string() ? IndexOf(kImputationNames, member->get<std::string>())
                                     : std::nullopt;
    if (!index) {
      return messages.Error(place + "'missingImputType' must be one of " + NamesOf(kImputationNames));
    }
    options.imputation = static_cast<Imputation>(*index);
  }
  if (!ReadInt(json, "kMeanParam", 1, 1000000, place, messages, options.k_mean) ||
      !ReadInt(json, "kMedianParam", 1, 1000000, place, messages, options.k_median)) {
    return false;
  }
  if (const auto* member = support::FindMember(json, "missingValueHandlingThreshold")) {
    if (!member->is_number() || member->get<double>() < 0 || member->get<double>() > 1) {
      return messages.Error(place + "'missingValueHandlingThreshold' must be a number from 0 to 1");
    }
    options.missing_threshold = member->get<double>();
  }

  if (const auto* member = support::FindMember(json, "valuesSelStrategy")) {
    auto index = member->is_string() ? IndexOf(kSelectionNames, member->get<std::string>())
                                     : std::nullopt;
    if (!index) {
      return messages.Error(place + "'valuesSelStrategy' must be one of " + NamesOf(kSelectionNames));
    }
    options.selection = static_cast<Selection>(*index);
  }
  constexpr std::int64_t kFar = INT64_C(1) << 53;
  std::int64_t value = 0;
  if (support::FindMember(json, "stdStartTime") != nullptr) {
    if (!ReadInt(json, "stdStartTime", -kFar, kFar, place, messages, value)) return false;
    options.std_start = value;
  }
  if (support::FindMember(json, "stdEndTime") != nullptr) {
    if (!ReadInt(json, "stdEndTime", -kFar, kFar, place, messages, value)) return false;
    options.std_end = value;
  }
  if (!ReadInts(json, "nonStdStartTime", place, messages, options.non_std_start) ||
      !ReadInts(json, "nonStdEndTime", place, messages, options.non_std_end) ||
      !ReadInt(json, "numOfKeptValues", 0, kFar, place, messages, options.kept_values) ||
      !ReadInt(json, "offset", 0, kFar, place, messages, options.offset)) {
    return false;
  }
  options.export_quality = support::GetBool(json, "exportQuality", false);
  if (!ReadStrings(json, "cyclicFieldList", place, messages, options.cyclic_fields) ||
      !ReadInts(json, "cycPeriodList", place, messages, options.cyc_periods) ||
      !ReadInts(json, "cycOffsetList", place, messages, options.cyc_offsets)) {
    return false;
  }
  if (options.time_field.empty() && options.cyclic_fields.empty()) {
    return messages.Error(place + "neither 'dateTimeField' nor 'cyclicFieldList' names the time");
  }
  if (!options.time_field.empty() && !options.cyclic_fields.empty()) {
    return messages.Error(place + "'dateTimeField' and 'cyclicFieldList' cannot both be given");
  }
  if (options.IsCyclic()) {
    const std::size_t links = options.cyclic_fields.size() - 1;
    if (options.cyc_periods.size() != links) {
      return messages.Error(place + "'cycPeriodList' must have one length for each cyclic field "
                                    "above the period field (" + std::to_string(links) + ")");
    }
    for (std::int64_t length : options.cyc_periods) {
      if (length < 1) return messages.Error(place + "'cycPeriodList' holds a length below 1");
    }
    if (options.cyc_offsets.empty()) options.cyc_offsets.assign(links, 1);
    if (options.cyc_offsets.size() != links) {
      return messages.Error(place + "'cycOffsetList' must have " + std::to_string(links) +
                            " values");
    }
    const int levels = static_cast<int>(links);
    if (options.aggre_level && *options.aggre_level > levels) {
      return messages.Error(place + "'aggreLevel' " + std::to_string(*options.aggre_level) +
                            " is above the top level " + std::to_string(levels));
    }
  }
  return true;
}

support::OrderedJson SettingsJson(const TsdpOptions& options) {
  using support::OrderedJson;
  OrderedJson json = OrderedJson::object();
  json["dimFieldList"] = options.dims;
  json["metricFieldList"] = options.metrics;
  json["dateTimeField"] = options.time_field;
  OrderedJson filters = OrderedJson::array();
  for (const auto& alternative : options.series_filters) {
    OrderedJson list = OrderedJson::array();
    for (const DimensionFilter& filter : alternative) {
      list.push_back({{"dimension", filter.dimension}, {"values", filter.values}});
    }
    filters.push_back(std::move(list));
  }
  if (filters.empty()) filters.push_back(OrderedJson::array());
  json["seriesFilterList"] = std::move(filters);
  json["encodeSeriesID"] = options.encode_series_id;
  const auto methods = [&](const auto& map, auto name) {
    OrderedJson object = OrderedJson::object();
    for (const std::string& metric : options.metrics) {
      auto found = map.find(metric);
      object[metric] = found == map.end() ? "SUM" : name(found->second);
    }
    return object;
  };
  json["groupType"] = methods(options.group, ReduceName);
  json["inputInterval"] = options.input_interval;
  json["numOfDaysPerWeek"] = options.days_per_week;
  json["startDayOfWeek"] = options.start_day_of_week;
  if (options.valid_points_per_day > 0) json["numOfValidPointsPerDay"] = options.valid_points_per_day;
  json["numOfHoursPerDay"] = options.hours_per_day;
  json["startHourOfDay"] = options.start_hour;
  json["increments"] = options.increment;
  json["outputInterval"] = options.output_interval;
  if (options.IsCyclic()) json["aggreLevel"] = options.aggre_level.value_or(0);
  json["aggregationType"] = methods(options.aggregation, ReduceName);
  json["oneDayForHoursCrossDay"] = options.one_day_for_cross_day;
  json["distributionType"] = methods(options.distribution, [](Spread spread) {
    return spread == Spread::kSum ? "SUM" : "MEAN";
  });
  json["missingImputType"] = ImputationName(options.imputation);
  json["kMeanParam"] = options.k_mean;
  json["kMedianParam"] = options.k_median;
  json["missingValueHandlingThreshold"] = options.missing_threshold;
  json["valuesSelStrategy"] = SelectionName(options.selection);
  if (options.std_start) json["stdStartTime"] = *options.std_start;
  if (options.std_end) json["stdEndTime"] = *options.std_end;
  if (!options.non_std_start.empty()) json["nonStdStartTime"] = options.non_std_start;
  if (!options.non_std_end.empty()) json["nonStdEndTime"] = options.non_std_end;
  json["numOfKeptValues"] = options.kept_values;
  json["offset"] = options.offset;
  json["exportQuality"] = options.export_quality;
  if (options.IsCyclic()) {
    json["cyclicFieldList"] = options.cyclic_fields;
    json["cycPeriodList"] = options.cyc_periods;
    json["cycOffsetList"] = options.cyc_offsets;
  }
  return json;
}

}  // namespace engine
