// This file contains what the module reads of the outlier archives: the series that have
// outliers, and which of them the series filters choose for the root cause flows.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "tcm/frame/spec/valid_spec.h"
#include "tcm/stages/ts_runner.h"

// At most this many series with outliers are read, and get a root cause flow.
constexpr std::size_t kMaxOutlierRecords = 30;

// Appends a record for each member of the outlier archive at `path` (a JSON member naming its
// series under outlierDetection.analysisSettings.targetTimeSeries), up to kMaxOutlierRecords.
// An empty path, an empty archive and none at all give true: no series has outliers. False for a
// file that is no archive, and when a member names no series: the detection gave something the
// output cannot use.
bool ReadOutlierRecords(const std::string& path, std::vector<OutlierRecord>& records);

// True when a series filter of `spec` chooses the series `key` (dimension values in the order of
// the dimensions, then the metric). `isNumeric` tells whether a dimension field is numeric, for
// which values compare as numbers ("1" is "1.00").
bool SeriesFilterChooses(const ValidSpec& spec, const SeriesKey& key,
                         const std::function<bool(const std::string&)>& isNumeric);

// The records of `outliers` that the series filters choose, in order, at most kMaxOutlierRecords.
std::vector<OutlierRecord> SelectRootCauseRecords(
    const ValidSpec& spec, const std::vector<OutlierRecord>& outliers,
    const std::function<bool(const std::string&)>& isNumeric);
