// This file contains the translation of a time specification into time points of a prepared
// time axis, counted from its last observation.
#pragma once

#include <string>

#include "engine/job/messages.h"
#include "support/json_util.h"

namespace engine {

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
