// This file contains the reading of chart payloads and their short textual form.
#include "host/output/chart_data.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "host/messages/fac_st_dictionary.h"
#include "host/output/number_format.h"

namespace host {
namespace {

std::optional<double> ValueAt(const nlohmann::json &list, std::size_t index) {
  if (!list.is_array() || index >= list.size() || !list[index].is_number())
    return std::nullopt;
  const double value = list[index].get<double>();
  if (!std::isfinite(value))
    return std::nullopt;
  return value;
}

std::vector<std::optional<double>> ReadValues(const nlohmann::json &list, std::size_t count) {
  std::vector<std::optional<double>> values(count);
  for (std::size_t i = 0; i < count; ++i)
    values[i] = ValueAt(list, i);
  return values;
}

std::string Label(const nlohmann::json &value) {
  if (value.is_string())
    return value.get<std::string>();
  if (value.is_number())
    return FormatNumber(value.get<double>());
  if (value.is_boolean())
    return value.get<bool>() ? "true" : "false";
  return {};
}

// Six significant digits: a range is read at a glance, not copied.
std::string Short(double value) {
  char buffer[64];
  const auto result =
      std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::general, 6);
  return std::string(buffer, result.ptr);
}

} // namespace

void ValueRange::Add(const std::optional<double> &value) {
  if (!value)
    return;
  if (empty) {
    min = max = *value;
    empty = false;
  } else {
    min = std::min(min, *value);
    max = std::max(max, *value);
  }
}

bool ReadLineChart(const nlohmann::json &payload, LineChart &chart, std::string &problem) {
  chart = LineChart();
  if (!payload.is_object()) {
    problem = "the payload is not an object";
    return false;
  }
  const auto kind = payload.find("kind");
  if (kind == payload.end() || !kind->is_string() || kind->get<std::string>() != "line") {
    problem = "the payload is not a line chart";
    return false;
  }
  const auto series = payload.find("series");
  if (series == payload.end() || !series->is_array() || series->empty()) {
    problem = "the line chart has no series";
    return false;
  }
  const auto x = payload.find("x");
  std::size_t count = 0;
  if (x != payload.end() && x->is_array()) {
    for (const auto &value : *x)
      chart.x.push_back(Label(value));
    count = chart.x.size();
  } else {
    for (const auto &one : *series) {
      if (one.is_object() && one.contains("y") && one["y"].is_array()) {
        count = std::max(count, one["y"].size());
      }
    }
    for (std::size_t i = 0; i < count; ++i)
      chart.x.push_back(std::to_string(i + 1));
  }
  for (const auto &one : *series) {
    if (!one.is_object()) {
      problem = "a series of the line chart is not an object";
      return false;
    }
    LineSeries line;
    if (const auto name = one.find("name"); name != one.end())
      line.name = Label(*name);
    const nlohmann::json none;
    line.y = ReadValues(one.contains("y") ? one["y"] : none, count);
    if (one.contains("lower") && one.contains("upper")) {
      line.lower = ReadValues(one["lower"], count);
      line.upper = ReadValues(one["upper"], count);
    }
    chart.series.push_back(std::move(line));
  }
  if (const auto start = payload.find("forecastStart");
      start != payload.end() && start->is_number_integer()) {
    const auto index = start->get<long long>();
    if (index >= 0 && static_cast<std::size_t>(index) < count) {
      chart.forecast_start = static_cast<int>(index);
    }
  }
  if (const auto marks = payload.find("marks"); marks != payload.end() && marks->is_array()) {
    for (const auto &mark : *marks) {
      const auto at = mark.is_object() ? mark.find("x") : mark.end();
      if (at == mark.end() || !at->is_number_integer() || at->get<long long>() < 0 ||
          static_cast<std::size_t>(at->get<long long>()) >= count)
        continue;
      chart.marks.push_back({static_cast<std::size_t>(at->get<long long>()),
                             mark.contains("label") ? Label(mark["label"]) : std::string()});
    }
  }
  if (const auto focus = payload.find("focus"); focus != payload.end() && focus->is_object() && count > 1) {
    const auto from = focus->find("from"), to = focus->find("to");
    if (from != focus->end() && to != focus->end() && from->is_number_integer() && to->is_number_integer()) {
      const long long last = static_cast<long long>(count) - 1;
      const long long a = std::clamp<long long>(from->get<long long>(), 0, last);
      const long long b = std::clamp<long long>(to->get<long long>(), 0, last);
      if (a < b && (a > 0 || b < last))
        chart.focus = std::make_pair(static_cast<std::size_t>(a), static_cast<std::size_t>(b));
    }
  }
  if (const auto label = payload.find("xLabel"); label != payload.end()) {
    chart.x_label = Label(*label);
  }
  if (const auto label = payload.find("yLabel"); label != payload.end()) {
    chart.y_label = Label(*label);
  }
  return true;
}

ValueRange SeriesRange(const LineSeries &series) {
  ValueRange range;
  for (const auto &value : series.y)
    range.Add(value);
  for (const auto &value : series.lower)
    range.Add(value);
  for (const auto &value : series.upper)
    range.Add(value);
  return range;
}

std::vector<std::string> DescribeLineChart(const LineChart &chart) {
  const FacSTDictionary &table = FacSTDictionary::Shared();
  std::vector<std::string> lines;
  const std::string x_name = chart.x_label.empty() ? "x" : chart.x_label;
  if (chart.x.empty()) {
    lines.push_back(x_name + ": " + table.LookUp("Output.ChartEmpty"));
  } else {
    lines.push_back(x_name + ": " +
                    table.Format("Output.ChartRange", {chart.x.front(), chart.x.back(),
                                                       std::to_string(chart.x.size())}));
  }
  if (chart.forecast_start >= 0) {
    lines.push_back(table.Format("Output.ChartForecast",
                                 {chart.x[static_cast<std::size_t>(chart.forecast_start)]}));
  }
  for (const LineSeries &series : chart.series) {
    ValueRange values;
    for (const auto &value : series.y)
      values.Add(value);
    ValueRange band;
    for (const auto &value : series.lower)
      band.Add(value);
    for (const auto &value : series.upper)
      band.Add(value);
    std::string line = series.name + ": ";
    line += values.empty
                ? table.LookUp("Output.ChartEmpty")
                : table.Format("Output.ChartValues", {Short(values.min), Short(values.max)});
    if (!band.empty) {
      line += "; " + table.Format("Output.ChartBand", {Short(band.min), Short(band.max)});
    }
    lines.push_back(std::move(line));
  }
  return lines;
}

} // namespace host
