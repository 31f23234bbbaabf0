// This file contains the reading of chart payloads into plain records that the SVG writer and
// the text renderer share, and the short textual form of a chart.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

namespace host {

struct LineSeries {
  std::string name;
  std::vector<std::optional<double>> y;     // one per x; absent where missing
  std::vector<std::optional<double>> lower; // confidence band; empty when the series has none
  std::vector<std::optional<double>> upper;
};

// {"kind":"line","x":[...],"series":[{"name":..,"y":[...],"lower":[...],"upper":[...]}],
//  "forecastStart": index} with optional "xLabel", "yLabel", "marks":[{"x": index, "label": ..}]
//  and "focus": {"from": index, "to": index}, the positions the chart opens on.
struct LineMark {
  std::size_t x = 0; // the position marked (an outlier's time)
  std::string label;
};

struct LineChart {
  std::vector<std::string> x; // labels of the x positions, in order
  std::vector<LineSeries> series;
  int forecast_start = -1; // first forecast position; -1: none
  std::string x_label;
  std::string y_label;
  std::vector<LineMark> marks;
  // The positions the chart opens on (the weeks around an outlier) when they are not all of it;
  // without them a chart with a forecast opens on its recent history.
  std::optional<std::pair<std::size_t, std::size_t>> focus;
};

struct ValueRange {
  double min = 0.0;
  double max = 0.0;
  bool empty = true;
  void Add(const std::optional<double> &value);
};

// Reads a line-chart payload. False, with the reason in `problem`, when the payload is not one
// (another kind, no series, a member of the wrong type). Series values that are not numbers
// (null, text) are read as missing; lists longer than x are cut to it, shorter ones padded with
// missing values. Without "x" the positions are numbered from 1. Marks off the positions are
// dropped.
bool ReadLineChart(const nlohmann::json &payload, LineChart &chart, std::string &problem);

// The range of every value of a series, band included.
ValueRange SeriesRange(const LineSeries &series);

// A few lines saying what the chart shows: its x range and each series' range.
std::vector<std::string> DescribeLineChart(const LineChart &chart);

} // namespace host
