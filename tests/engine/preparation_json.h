// This file contains the preparation document (TSDPOutput.json) that engine tests write beside a
// model archive: daily series over one dimension, or none.
#pragma once

#include <string>
#include <vector>

#include "support/json_util.h"

namespace engine_tests {

// Days `first_day`.. (days since 1970) for `count` days. With a `dimension`, one series per value
// and metric, IDs "value-metric" counted from 1, the value's block its combination; without, one
// series per metric, IDs counted from 1. `each` is merged into every series entry.
inline support::Json DailyPreparation(const std::string& dimension, const std::vector<std::string>& values,
                                      const std::vector<std::string>& metrics, int first_day, int count,
                                      const support::Json& each = support::Json::object()) {
  support::Json days = support::Json::array();
  for (int t = 0; t < count; ++t) days.push_back(first_day + t);
  support::Json series = support::Json::array();
  const std::size_t blocks = dimension.empty() ? 1 : values.size();
  for (std::size_t block = 0; block < blocks; ++block) {
    for (std::size_t m = 0; m < metrics.size(); ++m) {
      support::Json entry = {
          {"id", dimension.empty() ? std::to_string(m + 1) : std::to_string(block + 1) + "-" + std::to_string(m + 1)},
          {"dims", dimension.empty() ? support::Json::array() : support::Json::array({values[block]})},
          {"metric", metrics[m]},
          {"combination", block}};
      entry.update(each);
      series.push_back(std::move(entry));
    }
  }
  const support::Json dimensions = support::Json::array({dimension});
  return {{"settings", {{"dimFieldList", dimensions}, {"metricFieldList", metrics}}},
          {"output",
           {{"timeFormat", "date"},
            {"timeVariable", days},
            {"timeField", "date"},
            {"interval", "DAY"},
            {"increment", 1},
            {"dimFieldList", dimensions},
            {"metricFieldList", metrics},
            {"series", series}}}};
}

}  // namespace engine_tests
