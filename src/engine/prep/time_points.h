// This file contains the translation of a time specification into time points of a prepared
// time axis, counted from its last observation.
#pragma once

#include <string>

#include <cstdint>

#include "engine/job/messages.h"
#include "engine/series/panel.h"
#include "support/json_util.h"

namespace engine {

// Places one time of a stage's configuration on `axis`: `value` is seconds for date and
// date-time data, or the array of the kept cyclic field values. `key` names it in messages.
// Sets `index`, counted from the last observation as below. False after reporting.
bool PlaceTime(const PanelAxis& axis, const support::Json& value, const std::string& key,
               const std::string& place, MessageQueue& messages, std::int64_t& index);

// `api` is {"apiType": "NEWEST", "startIndex", "endIndex"} (indexes from the last observation:
// 0 is the last observed point, 1 the first after it) or {"apiType": "TIME", "stdStartTime",
// "stdEndTime"} (seconds) or {"apiType": "TIME", "nonStdStartTime", "nonStdEndTime"} (values of
// the cyclic fields kept). A time that is not a grid point counts for the point whose period
// holds it. Fills {"referIndexFromLastObservation": [...], "timePoints": [...]} with one entry
// per point from start to end (seconds, or arrays of cyclic values). False after reporting.
bool ConvertTimeSpec(const support::Json& output, const support::Json& api,
                     const std::string& place, MessageQueue& messages,
                     support::OrderedJson& result);

}  // namespace engine
