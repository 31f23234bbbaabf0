// This file contains the options of the preparation stage (tsdpConf) with their defaults, their
// reader, and the settings object that records them in TSDPOutput.json.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "engine/job/messages.h"
#include "support/json_util.h"

namespace engine {

// How values that share a time point (group) or a coarser period (aggregate) become one.
enum class Reduce { kSum, kMean, kMode, kMin, kMax };
// How a value of a coarser period goes to the finer points in it: split evenly, or repeated.
enum class Spread { kSum, kMean };
enum class Imputation { kNone, kLinearInterp, kSeriesMean, kKMean, kKMedian, kLinearTrend };
enum class Selection { kNone, kTime, kNewest, kOldest };

const char* ReduceName(Reduce method);
const char* ImputationName(Imputation method);
const char* SelectionName(Selection strategy);

struct DimensionFilter {
  std::string dimension;
  std::vector<std::string> values;
};

struct TsdpOptions {
  std::vector<std::string> dims;
  std::vector<std::string> metrics;
  std::string time_field;  // empty for cyclic data
  // Alternatives (any may hold), each a conjunction of dimension filters.
  std::vector<std::vector<DimensionFilter>> series_filters;
  bool encode_series_id = true;
  std::map<std::string, Reduce> group;        // per metric; SUM where absent
  std::map<std::string, Reduce> aggregation;  // per metric; SUM where absent
  std::map<std::string, Spread> distribution;  // per metric; SUM where absent

  // Empty or "UNKNOWN": found from the data. "CYCLIC_PERIOD", or SECOND .. YEAR.
  std::string input_interval;
  int days_per_week = 7;
  std::string start_day_of_week = "SUNDAY";
  int valid_points_per_day = 0;  // 0 when not given
  int hours_per_day = 24;
  int start_hour = 0;
  int increment = 1;
  std::string output_interval;  // empty: the input interval
  std::optional<int> aggre_level;
  bool one_day_for_cross_day = true;

  Imputation imputation = Imputation::kLinearInterp;
  int k_mean = 2;
  int k_median = 2;
  double missing_threshold = 1.0;  // a series whose missing share exceeds it is dropped

  Selection selection = Selection::kNone;
  std::optional<std::int64_t> std_start, std_end;  // seconds
  std::vector<std::int64_t> non_std_start, non_std_end;
  std::int64_t kept_values = 0;  // 0: all
  std::int64_t offset = 0;

  bool export_quality = false;
  std::vector<std::string> cyclic_fields;  // top level first, the period field last
  std::vector<std::int64_t> cyc_periods;
  std::vector<std::int64_t> cyc_offsets;

  bool IsCyclic() const { return time_field.empty(); }
  Reduce GroupOf(const std::string& metric) const;
  Reduce AggregationOf(const std::string& metric) const;
  Spread DistributionOf(const std::string& metric) const;
};

// Reads tsdpConf. Reports each fault to `messages` (prefixed with `place`) and returns false.
bool ReadTsdpOptions(const support::Json& json, const std::string& place, MessageQueue& messages,
                     TsdpOptions& options);

// Every setting in force, defaults filled in, under the keys of tsdpConf.
support::OrderedJson SettingsJson(const TsdpOptions& options);

}  // namespace engine
