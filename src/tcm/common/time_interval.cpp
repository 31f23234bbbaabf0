// This file contains the table of interval keywords.
#include "tcm/common/time_interval.h"

#include <array>

namespace {
constexpr std::array<const char*, 14> kIntervalNames = {
    "AUTODETECT", "IRREGULAR", "DURATION", "SECOND",   "MINUTE", "HOUR",  "DAY",
    "WEEK",       "MONTH",     "QUARTER",  "YEAR",     "USEINPUT", "CYCLE", "IGNORE"};
}  // namespace

const char* IntervalName(TimeIntervalKind kind) {
  const auto index = static_cast<std::size_t>(kind);
  return index < kIntervalNames.size() ? kIntervalNames[index] : "";
}

TimeIntervalKind IntervalFromName(const std::string& text) {
  for (std::size_t i = 0; i < kIntervalNames.size(); ++i) {
    if (text == kIntervalNames[i]) return static_cast<TimeIntervalKind>(i);
  }
  return static_cast<TimeIntervalKind>(kIntervalNames.size());
}
