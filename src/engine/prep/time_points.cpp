// This file contains the convertor of time specifications into time points.
#include "engine/prep/time_points.h"

#include <algorithm>
#include <cmath>

#include "engine/series/panel.h"

namespace engine {
namespace {

// Longest list of time points a specification may ask for.
constexpr std::int64_t kMaxPoints = 1000000;

// The index, from the last observation, of the point whose period holds `time` (seconds).
bool IndexOfTime(const PanelAxis& axis, double time, const std::string& what,
                 const std::string& place, MessageQueue& messages, std::int64_t& index) {
  const auto& points = axis.points;
  const auto last = static_cast<std::int64_t>(points.size()) - 1;
  if (time < points.front()) {
    return messages.Error(place + "the " + what + " time lies before the first time point of the "
                          "model system");
  }
  if (time <= points.back() || axis.IsCyclic()) {
    if (axis.IsCyclic() && time > points.back()) {
      index = static_cast<std::int64_t>(std::llround(time - points.back()));
      return true;
    }
    index = static_cast<std::int64_t>(std::upper_bound(points.begin(), points.end(), time) -
                                      points.begin()) - 1 - last;
    return true;
  }
  double point = points.back();
  for (index = 0; index < kMaxPoints; ++index) {
    const double next = axis.Advance(point, 1);
    if (next > time) return true;
    point = next;
  }
  return messages.Error(place + "the " + what + " time lies too far beyond the last observation");
}

// The running index of cyclic field values.
bool CyclicPoint(const PanelAxis& axis, const support::Json* member, const std::string& key,
                 const std::string& place, MessageQueue& messages, double& running) {
  if (member == nullptr || !member->is_array()) {
    return messages.Error(place + "'" + key + "' must be an array of integers");
  }
  std::vector<std::int64_t> values;
  for (const auto& element : *member) {
    if (!element.is_number()) {
      return messages.Error(place + "'" + key + "' must hold only integers");
    }
    values.push_back(static_cast<std::int64_t>(element.get<double>()));
  }
  if (values.size() != axis.cyclic.fields.size()) {
    return messages.Error(place + "'" + key + "' must have " +
                          std::to_string(axis.cyclic.fields.size()) + " values, one per cyclic field");
  }
  auto index = axis.cyclic.Index(values);
  if (!index) return messages.Error(place + "'" + key + "' lies outside its cycle");
  running = static_cast<double>(*index);
  return true;
}

}  // namespace

bool PlaceTime(const PanelAxis& axis, const support::Json& value, const std::string& key,
               const std::string& place, MessageQueue& messages, std::int64_t& index) {
  if (axis.points.empty()) return messages.Error(place + "the model system has no time point");
  double time = 0;
  if (axis.IsCyclic()) {
    if (!CyclicPoint(axis, &value, key, place, messages, time)) return false;
  } else if (!value.is_number()) {
    return messages.Error(place + "'" + key + "' must be a time in seconds");
  } else {
    time = value.get<double>();
  }
  return IndexOfTime(axis, time, "'" + key + "'", place, messages, index);
}

bool ConvertTimeSpec(const support::Json& output, const support::Json& api,
                     const std::string& place, MessageQueue& messages,
                     support::OrderedJson& result) {
  auto axis = AxisFromOutput(output);
  if (!axis) return messages.Error(place + axis.message());
  if (axis->points.empty()) return messages.Error(place + "the model system has no time point");
  const std::string type = support::GetString(api, "apiType");
  std::int64_t start = 0, end = 0;
  if (type == "NEWEST") {
    if (!support::FindMember(api, "startIndex") || !support::FindMember(api, "endIndex")) {
      return messages.Error(place + "'startIndex' and 'endIndex' are required with NEWEST");
    }
    start = support::GetInt(api, "startIndex");
    end = support::GetInt(api, "endIndex");
  } else if (type == "TIME") {
    if (axis->IsCyclic()) {
      double first = 0, last = 0;
      if (!CyclicPoint(*axis, support::FindMember(api, "nonStdStartTime"), "nonStdStartTime",
                       place, messages, first) ||
          !CyclicPoint(*axis, support::FindMember(api, "nonStdEndTime"), "nonStdEndTime", place,
                       messages, last) ||
          !IndexOfTime(*axis, first, "start", place, messages, start) ||
          !IndexOfTime(*axis, last, "end", place, messages, end)) {
        return false;
      }
    } else {
      const support::Json* first = support::FindMember(api, "stdStartTime");
      const support::Json* last = support::FindMember(api, "stdEndTime");
      if (first == nullptr || last == nullptr || !first->is_number() || !last->is_number()) {
        return messages.Error(place + "'stdStartTime' and 'stdEndTime' are required with TIME");
      }
      if (!IndexOfTime(*axis, first->get<double>(), "start", place, messages, start) ||
          !IndexOfTime(*axis, last->get<double>(), "end", place, messages, end)) {
        return false;
      }
    }
  } else {
    return messages.Error(place + "'apiType' must be NEWEST or TIME");
  }
  if (end < start) return messages.Error(place + "the end lies before the start");
  if (end - start >= kMaxPoints) return messages.Error(place + "the period holds too many time points");
  const auto last_index = static_cast<std::int64_t>(axis->points.size()) - 1;
  if (start < -last_index) {
    return messages.Error(place + "the start lies before the first time point of the model system");
  }
  support::OrderedJson indexes = support::OrderedJson::array();
  support::OrderedJson points = support::OrderedJson::array();
  double point = axis->Advance(axis->points.back(), std::max<std::int64_t>(start, 0));
  for (std::int64_t index = start; index <= end; ++index) {
    if (index <= 0) point = axis->points[static_cast<std::size_t>(last_index + index)];
    indexes.push_back(index);
    if (axis->IsCyclic()) {
      points.push_back(axis->CyclicValues(point));
    } else {
      points.push_back(static_cast<std::int64_t>(std::llround(point)));
    }
    point = axis->Advance(point, 1);
  }
  result = support::OrderedJson::object();
  result["referIndexFromLastObservation"] = std::move(indexes);
  result["timePoints"] = std::move(points);
  return true;
}

}  // namespace engine
