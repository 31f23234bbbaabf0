// This file contains the SVG chart writer of the report.
#include "host/output/svg_chart.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <sstream>

#include "host/messages/fac_st_dictionary.h"
#include "host/output/markup.h"

namespace host {
namespace {

constexpr double kWidth = 760;
constexpr double kHeight = 340;
constexpr double kLeft = 64;
constexpr double kRight = 20;
constexpr double kLegendRow = 18;
constexpr double kBottom = 48;
constexpr const char *kPalette[] = {"#2b5a87", "#c0622b", "#3b8a5a", "#7b4f9e",
                                    "#a8842c", "#4f6d7a", "#b5476b", "#5c7c2f"};

std::string Coord(double value) {
  char buffer[32];
  const auto result =
      std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, 1);
  return std::string(buffer, result.ptr);
}

std::string Significant(double value) {
  char buffer[64];
  const auto result =
      std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::general, 6);
  return std::string(buffer, result.ptr);
}

// Ticks at 1, 2 or 5 times a power of ten, about five of them over the range (the classic
// "nice numbers" rule for graph labels).
struct Axis {
  double low = 0;
  double high = 1;
  double step = 1;
  int decimals = 0;
};

double NiceStep(double raw) {
  const double power = std::pow(10.0, std::floor(std::log10(raw)));
  const double fraction = raw / power;
  const double nice = fraction <= 1 ? 1 : fraction <= 2 ? 2 : fraction <= 5 ? 5 : 10;
  return nice * power;
}

Axis MakeAxis(ValueRange range) {
  if (range.empty)
    range = ValueRange{0, 1, false};
  if (range.max - range.min < 1e-12 * std::max(1.0, std::fabs(range.max))) {
    const double pad = std::max(1.0, std::fabs(range.max) * 0.1);
    range.min -= pad;
    range.max += pad;
  }
  Axis axis;
  if (!std::isfinite(range.max - range.min)) { // the span overflows: plain ends, no rounding
    axis.low = range.min;
    axis.high = range.max;
    axis.step = range.max / 4 - range.min / 4;
    return axis;
  }
  axis.step = NiceStep((range.max - range.min) / 5);
  axis.low = std::floor(range.min / axis.step) * axis.step;
  axis.high = std::ceil(range.max / axis.step) * axis.step;
  axis.decimals = std::max(0, static_cast<int>(-std::floor(std::log10(axis.step) + 1e-9)));
  return axis;
}

std::string TickLabel(double value, int decimals) {
  char buffer[64];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed,
                                    std::min(decimals, 12));
  std::string text(buffer, result.ptr);
  if (text.find_first_not_of("-0.") == std::string::npos && text[0] == '-')
    text.erase(0, 1);
  return text;
}

class Plot {
public:
  Plot(std::size_t count, const Axis &axis, double top) : count_(count), axis_(axis), top_(top) {}
  double X(std::size_t index) const {
    const double width = kWidth - kLeft - kRight;
    if (count_ <= 1)
      return kLeft + width / 2;
    return kLeft + width * static_cast<double>(index) / static_cast<double>(count_ - 1);
  }
  double Y(double value) const {
    const double height = kHeight - top_ - kBottom;
    // Divided in two steps so that a span beyond the double range still gives a place.
    const double share = (axis_.high / 2 - value / 2) / (axis_.high / 2 - axis_.low / 2);
    return top_ + height * share;
  }
  double Step() const {
    const double width = kWidth - kLeft - kRight;
    return count_ <= 1 ? width : width / static_cast<double>(count_ - 1);
  }

private:
  std::size_t count_;
  Axis axis_;
  double top_;
};

double LegendWidth(const std::string &name) {
  return 20 + static_cast<double>(name.size()) * 7 + 24;
}

// The polyline of present values, broken where a value is missing.
std::string LinePath(const Plot &plot, const std::vector<std::optional<double>> &values) {
  std::string path;
  bool open = false;
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (!values[i]) {
      open = false;
      continue;
    }
    path += (open ? " L" : " M") + Coord(plot.X(i)) + "," + Coord(plot.Y(*values[i]));
    open = true;
  }
  return path;
}

// One closed shape per stretch where both bounds are present.
std::string BandPath(const Plot &plot, const LineSeries &series) {
  std::string path;
  std::size_t i = 0;
  const std::size_t n = std::min(series.lower.size(), series.upper.size());
  while (i < n) {
    if (!series.lower[i] || !series.upper[i]) {
      ++i;
      continue;
    }
    std::size_t end = i;
    while (end < n && series.lower[end] && series.upper[end])
      ++end;
    for (std::size_t k = i; k < end; ++k) {
      path += (k == i ? " M" : " L") + Coord(plot.X(k)) + "," + Coord(plot.Y(*series.upper[k]));
    }
    for (std::size_t k = end; k-- > i;) {
      path += " L" + Coord(plot.X(k)) + "," + Coord(plot.Y(*series.lower[k]));
    }
    path += " Z";
    i = end;
  }
  return path;
}

} // namespace

std::string RenderLineChartSvg(const LineChart &chart) {
  const std::size_t count = chart.x.size();
  ValueRange range;
  for (const auto &series : chart.series) {
    const ValueRange one = SeriesRange(series);
    if (!one.empty) {
      range.Add(one.min);
      range.Add(one.max);
    }
  }
  const Axis axis = MakeAxis(range);
  // The legend wraps into rows above the plot; the plot starts below the last row.
  std::vector<std::pair<double, double>> legend_at;
  double legend_x = kLeft;
  double legend_y = 20;
  for (const auto &series : chart.series) {
    if (legend_x > kLeft && legend_x + LegendWidth(series.name) > kWidth - kRight) {
      legend_x = kLeft;
      legend_y += kLegendRow;
    }
    legend_at.emplace_back(legend_x, legend_y);
    legend_x += LegendWidth(series.name);
  }
  const double top = legend_y + 20;
  const Plot plot(count, axis, top);
  const double bottom = kHeight - kBottom;
  std::ostringstream svg;
  svg << "<svg class=\"chart\" viewBox=\"0 0 " << kWidth << ' ' << kHeight
      << "\" role=\"img\" preserveAspectRatio=\"xMidYMid meet\">";

  // Forecast region first, so everything else draws over it.
  if (chart.forecast_start >= 0 && count > 0) {
    const auto start = static_cast<std::size_t>(chart.forecast_start);
    const double from = start == 0 ? kLeft : plot.X(start) - plot.Step() / 2;
    svg << "<rect class=\"forecast\" x=\"" << Coord(from) << "\" y=\"" << top << "\" width=\""
        << Coord(kWidth - kRight - from) << "\" height=\"" << bottom - top << "\"/>"
        << "<line class=\"forecast-edge\" x1=\"" << Coord(from) << "\" x2=\"" << Coord(from)
        << "\" y1=\"" << top << "\" y2=\"" << bottom << "\"/>"
        << "<text class=\"forecast-label\" x=\"" << Coord(from + 6) << "\" y=\"" << top + 14
        << "\">" << EscapeMarkup(FacSTDictionary::Shared().LookUp("Forecast")) << "</text>";
  }

  // Grid and y ticks.
  // Values near the ends of the double range overflow the span: keep the tick count sane.
  const double span_steps = (axis.high - axis.low) / axis.step;
  const long ticks = std::isfinite(span_steps) ? std::clamp(std::lround(span_steps), 1L, 50L) : 4L;
  for (long k = 0; k <= ticks; ++k) {
    const double share = static_cast<double>(k) / static_cast<double>(ticks);
    const double tick = axis.low * (1 - share) + axis.high * share;
    const double y = plot.Y(tick);
    svg << "<line class=\"grid\" x1=\"" << kLeft << "\" x2=\"" << kWidth - kRight << "\" y1=\""
        << Coord(y) << "\" y2=\"" << Coord(y) << "\"/>"
        << "<text class=\"tick y-tick\" x=\"" << kLeft - 8 << "\" y=\"" << Coord(y + 4) << "\">"
        << TickLabel(tick, axis.decimals) << "</text>";
  }
  svg << "<line class=\"axis\" x1=\"" << kLeft << "\" x2=\"" << kWidth - kRight << "\" y1=\""
      << bottom << "\" y2=\"" << bottom << "\"/>";

  // X labels: as many as fit side by side.
  if (count > 0) {
    std::size_t widest = 1;
    for (const auto &label : chart.x)
      widest = std::max(widest, label.size());
    const double room = (kWidth - kLeft - kRight) / (static_cast<double>(widest) * 6.5 + 16);
    const std::size_t fit = std::max<std::size_t>(2, static_cast<std::size_t>(room));
    const std::size_t stride = std::max<std::size_t>(1, (count + fit - 1) / fit);
    for (std::size_t i = 0; i < count; i += stride) {
      svg << "<line class=\"axis\" x1=\"" << Coord(plot.X(i)) << "\" x2=\"" << Coord(plot.X(i))
          << "\" y1=\"" << bottom << "\" y2=\"" << bottom + 4 << "\"/>"
          << "<text class=\"tick x-tick\" x=\"" << Coord(plot.X(i)) << "\" y=\"" << bottom + 18
          << "\">" << EscapeMarkup(chart.x[i]) << "</text>";
    }
  }
  if (!chart.x_label.empty()) {
    svg << "<text class=\"axis-label\" x=\"" << Coord(kLeft + (kWidth - kLeft - kRight) / 2)
        << "\" y=\"" << kHeight - 6 << "\">" << EscapeMarkup(chart.x_label) << "</text>";
  }
  if (!chart.y_label.empty()) {
    svg << "<text class=\"axis-label\" transform=\"translate(14 " << Coord(top + (bottom - top) / 2)
        << ") rotate(-90)\">" << EscapeMarkup(chart.y_label) << "</text>";
  }

  // Bands under lines.
  for (std::size_t s = 0; s < chart.series.size(); ++s) {
    const std::string band = BandPath(plot, chart.series[s]);
    if (band.empty())
      continue;
    svg << "<path class=\"band\" fill=\"" << kPalette[s % std::size(kPalette)] << "\" d=\""
        << band.substr(1) << "\"/>";
  }
  for (std::size_t s = 0; s < chart.series.size(); ++s) {
    const std::string line = LinePath(plot, chart.series[s].y);
    if (line.empty())
      continue;
    svg << "<path class=\"line\" stroke=\"" << kPalette[s % std::size(kPalette)] << "\" d=\""
        << line.substr(1) << "\"/>";
    // A lone value between gaps draws no segment: mark it.
    const auto &y = chart.series[s].y;
    for (std::size_t i = 0; i < y.size(); ++i) {
      const bool alone = y[i] && (i == 0 || !y[i - 1]) && (i + 1 == y.size() || !y[i + 1]);
      if (alone) {
        svg << "<circle class=\"dot\" fill=\"" << kPalette[s % std::size(kPalette)] << "\" cx=\""
            << Coord(plot.X(i)) << "\" cy=\"" << Coord(plot.Y(*y[i])) << "\" r=\"2.5\"/>";
      }
    }
  }

  for (std::size_t s = 0; s < chart.series.size(); ++s) {
    const auto [x, y] = legend_at[s];
    svg << "<rect class=\"swatch\" fill=\"" << kPalette[s % std::size(kPalette)] << "\" x=\""
        << Coord(x) << "\" y=\"" << Coord(y - 6) << "\" width=\"14\" height=\"4\" rx=\"1\"/>"
        << "<text class=\"legend\" x=\"" << Coord(x + 20) << "\" y=\"" << Coord(y) << "\">"
        << EscapeMarkup(chart.series[s].name) << "</text>";
  }

  // Hover areas, last so they catch the pointer.
  for (std::size_t i = 0; i < count; ++i) {
    std::string tip = chart.x[i];
    for (const auto &series : chart.series) {
      tip += "\n" + series.name + ": " + (series.y[i] ? Significant(*series.y[i]) : "\xE2\x80\x93");
      if (i < series.lower.size() && series.lower[i] && series.upper[i]) {
        tip += "  [" + Significant(*series.lower[i]) + ", " + Significant(*series.upper[i]) + "]";
      }
    }
    const double from = std::max(kLeft, plot.X(i) - plot.Step() / 2);
    const double to = std::min(kWidth - kRight, plot.X(i) + plot.Step() / 2);
    svg << "<rect class=\"hit\" x=\"" << Coord(from) << "\" y=\"" << top << "\" width=\""
        << Coord(to - from) << "\" height=\"" << bottom - top << "\" data-tip=\""
        << EscapeMarkup(tip) << "\"/>";
  }
  svg << "</svg>";
  return svg.str();
}

} // namespace host
