// This file contains the SVG chart writer of the report.
#include "host/output/svg_chart.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdio>
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
constexpr double kPlotWidth = kWidth - kLeft - kRight;
constexpr const char *kPalette[] = {"#2b5a87", "#c0622b", "#3b8a5a", "#7b4f9e",
                                    "#a8842c", "#4f6d7a", "#b5476b", "#5c7c2f"};

std::string Fixed(double value, int decimals) {
  char buffer[64];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed,
                                    std::clamp(decimals, 0, 12));
  std::string text(buffer, result.ptr);
  if (text.find_first_not_of("-0.") == std::string::npos && text[0] == '-')
    text.erase(0, 1);
  return text;
}

std::string Coord(double value) { return Fixed(value, 1); }

std::string Compact(double value) {
  char buffer[64];
  const auto result =
      std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::general, 8);
  return std::string(buffer, result.ptr);
}

std::string Word(const char *key) { return FacSTDictionary::Shared().LookUp(key); }

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

// How a line's values sit in the plot: value = high - y * unit, y a whole number. The unit is
// the power of ten that splits the axis into about a thousand steps (a band, read at a glance,
// a hundred): the precision the tooltip shows, and what the page stores.
struct Grid {
  double high = 1;
  double unit = 1;
  long long Y(double value) const { return std::llround((high / 2 - value / 2) / (unit / 2)); }
  int Decimals() const {
    return std::max(0, static_cast<int>(-std::floor(std::log10(unit) + 1e-9)));
  }
  Grid Coarser() const { return {high, unit * 10}; }
};

Grid GridOf(const Axis &axis) {
  const double half = axis.high / 2 - axis.low / 2; // halves: the span may overflow a double
  return {axis.high, std::pow(10.0, std::floor(std::log10(half) + std::log10(2.0 / 1000)))};
}

// The decimals a line's values need on its grid: none for counts, however fine the grid.
int DecimalsOf(const Grid &grid, const std::vector<std::optional<double>> &values) {
  const int most = grid.Decimals();
  for (int decimals = 0; decimals < most; ++decimals) {
    const double unit = std::pow(10.0, -decimals);
    const bool enough = std::all_of(values.begin(), values.end(), [&](const auto &value) {
      return !value || std::fabs(*value - std::round(*value / unit) * unit) < grid.unit / 2;
    });
    if (enough)
      return decimals;
  }
  return most;
}

// A whole-number path: the first point absolute, the rest relative ("1,-3" is one step right,
// three units up), a new "M" after a gap; a lone value is a zero-length segment, which a round
// line cap draws as a dot.
std::string LinePath(const Grid &grid, const std::vector<std::optional<double>> &values) {
  std::string path;
  long long last = 0;
  bool run = false; // a relative run has begun since the last "M"
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (!values[i])
      continue;
    const long long y = grid.Y(*values[i]);
    if (i == 0 || !values[i - 1]) {
      path += "M" + std::to_string(i) + "," + std::to_string(y);
      run = false;
      if (i + 1 == values.size() || !values[i + 1])
        path += "l0,0";
    } else {
      path += run ? " " : "l";
      run = true;
      path += "1" + std::string(y - last >= 0 ? "," : "") + std::to_string(y - last);
    }
    last = y;
  }
  return path;
}

// The band: per stretch where both bounds are present, the upper bound forward and the lower
// bound back, closed. The page reads the bounds back from it in that order.
std::string BandPath(const Grid &grid, const LineSeries &series) {
  std::string path;
  const std::size_t n = std::min(series.lower.size(), series.upper.size());
  std::size_t i = 0;
  while (i < n) {
    if (!series.lower[i] || !series.upper[i]) {
      ++i;
      continue;
    }
    std::size_t end = i;
    while (end < n && series.lower[end] && series.upper[end])
      ++end;
    long long last = grid.Y(*series.upper[i]);
    path += "M" + std::to_string(i) + "," + std::to_string(last) + "l";
    const auto step = [&](long long dx, double value) {
      const long long y = grid.Y(value);
      if (path.back() != 'l')
        path += ' ';
      path += std::to_string(dx) + (y - last >= 0 ? "," : "") + std::to_string(y - last);
      last = y;
    };
    for (std::size_t k = i + 1; k < end; ++k)
      step(1, *series.upper[k]);
    step(0, *series.lower[end - 1]);
    for (std::size_t k = end - 1; k-- > i;)
      step(-1, *series.lower[k]);
    path += "z";
    i = end;
  }
  return path;
}

// ---- Dates of the x axis, for ticks at calendar boundaries.

long long DaysFromCivil(long long y, unsigned m, unsigned d) {
  y -= m <= 2;
  const long long era = (y >= 0 ? y : y - 399) / 400;
  const auto yoe = static_cast<unsigned>(y - era * 400);
  const unsigned doy = (153 * (m > 2 ? m - 3 : m + 9) + 2) / 5 + d - 1;
  const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + static_cast<long long>(doe) - 719468;
}

void CivilFromDays(long long z, long long &y, unsigned &m, unsigned &d) {
  z += 719468;
  const long long era = (z >= 0 ? z : z - 146096) / 146097;
  const auto doe = static_cast<unsigned>(z - era * 146097);
  const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const unsigned mp = (5 * doy + 2) / 153;
  d = doy - (153 * mp + 2) / 5 + 1;
  m = mp < 10 ? mp + 3 : mp - 9;
  y = static_cast<long long>(yoe) + era * 400 + (m <= 2);
}

long long FloorDiv(long long a, long long b) { return a / b - ((a % b != 0) && ((a < 0) != (b < 0))); }

// "YYYY-MM-DD HH:MM:SS" cut to `length` (10, 16 or 19).
std::string FormatStamp(long long seconds, std::size_t length) {
  const long long days = FloorDiv(seconds, 86400);
  const long long rest = seconds - days * 86400;
  long long y;
  unsigned m, d;
  CivilFromDays(days, y, m, d);
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, "%04lld-%02u-%02u %02lld:%02lld:%02lld", y, m, d, rest / 3600,
                rest / 60 % 60, rest % 60);
  return std::string(buffer).substr(0, length);
}

std::optional<long long> ParseStamp(const std::string &text) {
  if (text.size() != 10 && text.size() != 16 && text.size() != 19)
    return std::nullopt;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char want = i == 4 || i == 7 ? '-' : i == 10 ? ' ' : i == 13 || i == 16 ? ':' : '0';
    if (want == '0' ? !std::isdigit(static_cast<unsigned char>(text[i])) : text[i] != want)
      return std::nullopt;
  }
  const auto number = [&](std::size_t at, std::size_t length) {
    return std::stoll(text.substr(at, length));
  };
  const long long month = number(5, 2), day = number(8, 2);
  if (month < 1 || month > 12 || day < 1 || day > 31)
    return std::nullopt;
  long long seconds =
      DaysFromCivil(number(0, 4), static_cast<unsigned>(month), static_cast<unsigned>(day)) * 86400;
  if (text.size() >= 16)
    seconds += number(11, 2) * 3600 + number(14, 2) * 60;
  if (text.size() == 19)
    seconds += number(17, 2);
  if (FormatStamp(seconds, text.size()) != text) // 31 February and the like
    return std::nullopt;
  return seconds;
}

// The x labels as times when every one is a date of one form, in increasing order.
std::vector<long long> TimesOf(const std::vector<std::string> &labels) {
  std::vector<long long> times;
  for (const auto &label : labels) {
    const auto time = ParseStamp(label);
    if (!time || label.size() != labels.front().size() || (!times.empty() && *time <= times.back()))
      return {};
    times.push_back(*time);
  }
  return times;
}

struct Tick {
  std::size_t index;
  std::string label;
};

// One kind of calendar boundary: every `step` seconds from `origin`, or every `months` months
// (day 1 and, for half months, day 15), labelled with the first `length` characters.
struct Boundary {
  long long step = 0;
  long long origin = 0;
  int months = 0;
  bool half = false;
  std::size_t length = 10;
};

std::vector<long long> BoundariesIn(const Boundary &kind, long long from, long long to) {
  std::vector<long long> out;
  if (kind.months == 0) {
    for (long long t = kind.origin + FloorDiv(from - kind.origin + kind.step - 1, kind.step) * kind.step;
         t <= to && out.size() < 100; t += kind.step)
      out.push_back(t);
    return out;
  }
  long long y;
  unsigned m, d;
  CivilFromDays(FloorDiv(from, 86400), y, m, d);
  long long month = y * 12 + (m - 1);
  month -= ((month % kind.months) + kind.months) % kind.months;
  for (; out.size() < 100; month += kind.months) {
    const long long year = FloorDiv(month, 12);
    const auto at_month = static_cast<unsigned>(month - year * 12 + 1);
    for (unsigned day : {1u, 15u}) {
      if (day == 15 && !kind.half)
        continue;
      const long long t = DaysFromCivil(year, at_month, day) * 86400;
      if (t > to)
        return out;
      if (t >= from)
        out.push_back(t);
    }
  }
  return out;
}

// Ticks at the coarsest-but-enough calendar boundaries within positions [from, to]: hours, days,
// Mondays, half months, months, quarters, years; at the point at or after each boundary. Empty
// when no boundary kind fits.
std::vector<Tick> CalendarTicks(const std::vector<long long> &times, std::size_t from, std::size_t to) {
  constexpr long long kHour = 3600, kDay = 86400;
  const Boundary kinds[] = {
      {kHour, 0, 0, false, 16},      {3 * kHour, 0, 0, false, 16}, {6 * kHour, 0, 0, false, 16},
      {12 * kHour, 0, 0, false, 16}, {kDay, 0, 0, false, 10},      {7 * kDay, 4 * kDay, 0, false, 10},
      {0, 0, 1, true, 10},           {0, 0, 1, false, 7},          {0, 0, 2, false, 7},
      {0, 0, 3, false, 7},           {0, 0, 6, false, 7},          {0, 0, 12, false, 4},
      {0, 0, 24, false, 4},          {0, 0, 60, false, 4},         {0, 0, 120, false, 4},
      {0, 0, 600, false, 4}};
  const bool timed = from < to && times[from] % kDay == 0 && times[to] % kDay == 0;
  for (const Boundary &kind : kinds) {
    if (kind.step != 0 && kind.step < kDay && timed)
      continue; // whole days: no hour ticks
    const auto most = static_cast<std::size_t>(kPlotWidth / (static_cast<double>(kind.length) * 6.5 + 22));
    const auto bounds = BoundariesIn(kind, times[from], times[to]);
    if (bounds.size() > most || bounds.empty())
      continue;
    std::vector<Tick> ticks;
    for (std::size_t b = 0; b < bounds.size(); ++b) {
      const auto at = std::lower_bound(times.begin() + static_cast<long>(from),
                                       times.begin() + static_cast<long>(to) + 1, bounds[b]);
      if (at == times.begin() + static_cast<long>(to) + 1)
        break;
      if (b + 1 < bounds.size() && *at >= bounds[b + 1])
        continue; // no point in this period
      const auto index = static_cast<std::size_t>(at - times.begin());
      if (!ticks.empty() && ticks.back().index == index)
        continue;
      ticks.push_back({index, FormatStamp(bounds[b], kind.length)});
    }
    if (ticks.size() >= 2 || bounds.size() == 1)
      return ticks;
  }
  return {};
}

// Labels that are not dates: as many as fit side by side.
std::vector<Tick> SpacedTicks(const std::vector<std::string> &labels, std::size_t from, std::size_t to) {
  std::size_t widest = 1;
  for (std::size_t i = from; i <= to; ++i)
    widest = std::max(widest, labels[i].size());
  const double room = kPlotWidth / (static_cast<double>(widest) * 6.5 + 16);
  const std::size_t fit = std::max<std::size_t>(2, static_cast<std::size_t>(room));
  const std::size_t stride = std::max<std::size_t>(1, (to - from + fit) / fit);
  std::vector<Tick> ticks;
  for (std::size_t i = from; i <= to; i += stride)
    ticks.push_back({i, labels[i]});
  return ticks;
}

double LegendWidth(const std::string &name) {
  return 20 + static_cast<double>(name.size()) * 7 + 24;
}

// Lines whose ranges differ this much would draw flat beside each other on one scale.
bool NeedsOwnScales(const LineChart &chart) {
  if (chart.series.size() < 2 || chart.forecast_start >= 0)
    return false;
  ValueRange all;
  double narrowest = -1;
  for (const auto &series : chart.series) {
    if (!series.lower.empty())
      return false;
    const ValueRange one = SeriesRange(series);
    if (one.empty)
      continue;
    all.Add(one.min);
    all.Add(one.max);
    const double span = one.max - one.min;
    narrowest = narrowest < 0 ? span : std::min(narrowest, span);
  }
  return narrowest >= 0 && std::isfinite(all.max - all.min) && all.max - all.min > 4 * narrowest;
}

// Mean and standard deviation of a line's values (1 when they do not vary).
std::pair<double, double> Moments(const std::vector<std::optional<double>> &values) {
  double sum = 0, squares = 0, count = 0;
  for (const auto &value : values) {
    if (!value)
      continue;
    sum += *value;
    count += 1;
  }
  const double mean = count > 0 ? sum / count : 0;
  for (const auto &value : values) {
    if (value)
      squares += (*value - mean) * (*value - mean);
  }
  const double sd = count > 1 ? std::sqrt(squares / (count - 1)) : 0;
  return {mean, sd > 0 && std::isfinite(sd) ? sd : 1};
}

void XTicks(std::ostringstream &svg, const std::vector<Tick> &ticks, std::size_t from, std::size_t to,
            double bottom, const char *view) {
  const double span = to > from ? static_cast<double>(to - from) : 1;
  svg << "<g class=\"x-ticks" << view << "\">";
  for (const Tick &tick : ticks) {
    const double x = to > from ? kLeft + kPlotWidth * static_cast<double>(tick.index - from) / span
                               : kLeft + kPlotWidth / 2;
    svg << "<path class=\"axis\" d=\"M" << Coord(x) << "," << bottom << "v4\"/><text class=\"tick x-tick\" x=\""
        << Coord(x) << "\" y=\"" << bottom + 18 << "\">" << EscapeMarkup(tick.label) << "</text>";
  }
  svg << "</g>";
}

} // namespace

std::string RenderLineChartSvg(const LineChart &chart, PageStore *store) {
  const std::size_t count = chart.x.size();
  const bool own_scales = NeedsOwnScales(chart);
  // Each line's grid; with own scales, each line's values standardised onto one z axis.
  std::vector<Grid> grids;
  std::vector<std::string> transforms;
  Axis axis;
  if (own_scales) {
    ValueRange z;
    std::vector<std::pair<double, double>> moments;
    for (const auto &series : chart.series) {
      moments.push_back(Moments(series.y));
      const ValueRange one = SeriesRange(series);
      if (!one.empty) {
        z.Add((one.min - moments.back().first) / moments.back().second);
        z.Add((one.max - moments.back().first) / moments.back().second);
      }
    }
    axis = MakeAxis(z);
    const Grid shared = GridOf(axis);
    for (std::size_t s = 0; s < chart.series.size(); ++s) {
      const Grid own = GridOf(MakeAxis(SeriesRange(chart.series[s])));
      const auto [mean, sd] = moments[s];
      // shared y = a * own y + b, from value = own.high - own y * own.unit = mean + z * sd.
      const double a = own.unit / (sd * shared.unit);
      const double b = (shared.high - (own.high - mean) / sd) / shared.unit;
      grids.push_back(own);
      transforms.push_back(" transform=\"matrix(1 0 0 " + Compact(a) + " 0 " + Compact(b) + ")\"");
    }
  } else {
    ValueRange range;
    for (const auto &series : chart.series) {
      const ValueRange one = SeriesRange(series);
      if (!one.empty) {
        range.Add(one.min);
        range.Add(one.max);
      }
    }
    axis = MakeAxis(range);
    grids.assign(chart.series.size(), GridOf(axis));
    transforms.assign(chart.series.size(), "");
  }
  const Grid frame = GridOf(axis);
  const long long height_units = frame.Y(axis.low);
  std::size_t banded = chart.series.size(); // the first series with a band
  for (std::size_t s = chart.series.size(); s-- > 0;) {
    if (!chart.series[s].lower.empty())
      banded = s;
  }

  // The view it opens on, positions `recent` to `recent_end`: the focus the chart names (the
  // weeks around an outlier), else with a forecast recent history five times the forecast's
  // length, so that the forecast takes a fifth of the width; the whole history is one button away.
  const std::size_t last = count > 0 ? count - 1 : 0;
  std::size_t recent = 0;
  std::size_t recent_end = last;
  if (chart.focus && chart.focus->second <= last) {
    std::tie(recent, recent_end) = *chart.focus;
  } else if (chart.forecast_start > 0) {
    const auto forecast = count - static_cast<std::size_t>(chart.forecast_start);
    if (last > 5 * forecast)
      recent = last - 5 * forecast;
  }
  const bool views = recent > 0 || recent_end < last;
  // The opening view's values get a y axis of their own, a part of the same grid.
  Axis recent_axis = axis;
  if (views) {
    ValueRange range;
    for (const auto &series : chart.series) {
      for (const auto *values : {&series.y, &series.lower, &series.upper}) {
        for (std::size_t i = recent; i < values->size() && i <= recent_end; ++i)
          range.Add((*values)[i]);
      }
    }
    recent_axis = MakeAxis(range);
  }
  const auto Rows = [&](const Axis &shown) {
    return std::make_pair(frame.Y(shown.high), frame.Y(shown.low) - frame.Y(shown.high));
  };
  // Too fine a part for the grid (flat recent values in a wide history): the whole axis.
  if (Rows(recent_axis).second < 20)
    recent_axis = axis;
  const auto ViewBox = [&](std::size_t from, std::size_t to, const Axis &shown) {
    const auto [row, rows] = Rows(shown);
    const std::string x = last == 0 ? "-1" : std::to_string(from);
    const std::string w = last == 0 ? "2" : std::to_string(to - from);
    return x + " " + std::to_string(row) + " " + w + " " + std::to_string(rows);
  };

  // The legend wraps into rows above the plot; the plot starts below the last row.
  struct Entry {
    std::string name;
    std::string swatch;
  };
  std::vector<Entry> entries;
  for (std::size_t s = 0; s < chart.series.size(); ++s) {
    entries.push_back({chart.series[s].name, "<rect class=\"swatch\" fill=\"" +
                                                 std::string(kPalette[s % std::size(kPalette)]) +
                                                 "\" width=\"14\" height=\"4\" rx=\"1\" y=\"-6\""});
  }
  if (banded < chart.series.size())
    entries.push_back({Word("Output.ChartBandLegend"),
                       "<rect class=\"swatch band-swatch\" fill=\"" +
                           std::string(kPalette[banded % std::size(kPalette)]) +
                           "\" width=\"14\" height=\"10\" y=\"-9\""});
  // Marks (an outlier's time): one legend entry per label.
  std::vector<std::string> mark_labels;
  for (const LineMark &mark : chart.marks) {
    if (!mark.label.empty() &&
        std::find(mark_labels.begin(), mark_labels.end(), mark.label) == mark_labels.end())
      mark_labels.push_back(mark.label);
  }
  for (const auto &label : mark_labels)
    entries.push_back({label, "<path class=\"swatch mark-swatch\" d=\"M7,-10v12\""});
  if (chart.forecast_start >= 0)
    entries.push_back({Word("Forecast"),
                       "<rect class=\"swatch forecast-swatch\" width=\"14\" height=\"10\" y=\"-9\""});
  std::vector<std::pair<double, double>> legend_at;
  double legend_x = kLeft;
  double legend_y = 20;
  for (const auto &entry : entries) {
    if (legend_x > kLeft && legend_x + LegendWidth(entry.name) > kWidth - kRight) {
      legend_x = kLeft;
      legend_y += kLegendRow;
    }
    legend_at.emplace_back(legend_x, legend_y);
    legend_x += LegendWidth(entry.name);
  }
  const double top = legend_y + 20;
  const double bottom = kHeight - kBottom;
  const double plot_height = bottom - top;
  const auto YIn = [&](const Axis &shown, double value) {
    const auto [row, rows] = Rows(shown);
    return top + plot_height * static_cast<double>(frame.Y(value) - row) / static_cast<double>(rows);
  };

  // The paths of bands and lines. With a store, the page draws the recent view (from the point
  // before it, so that lines enter from the edge) and the whole paths go to the store, for the
  // script's whole-history view.
  const std::size_t drawn_from = store != nullptr && views ? std::max<std::size_t>(recent, 1) - 1 : 0;
  const std::size_t drawn_to = store != nullptr && views ? std::min(recent_end + 1, last) : last;
  const bool part = drawn_from > 0 || drawn_to < last;
  // A band drawn anywhere keeps its element, so that the page's paths and the stored ones
  // pair up in order.
  std::vector<std::string> band_paths, line_paths, whole_bands, whole_lines;
  std::vector<bool> banded_series;
  for (std::size_t s = 0; s < chart.series.size(); ++s) {
    LineSeries shown = chart.series[s];
    const std::string band = BandPath(grids[s].Coarser(), shown);
    const std::string line = LinePath(grids[s], shown.y);
    banded_series.push_back(!band.empty());
    if (!band.empty())
      whole_bands.push_back(band);
    whole_lines.push_back(line);
    for (auto *values : {&shown.y, &shown.lower, &shown.upper}) {
      for (std::size_t i = 0; i < values->size(); ++i) {
        if (i < drawn_from || i > drawn_to)
          (*values)[i].reset();
      }
    }
    band_paths.push_back(part && !band.empty() ? BandPath(grids[s].Coarser(), shown) : band);
    line_paths.push_back(part ? LinePath(grids[s], shown.y) : line);
  }

  std::ostringstream svg;
  svg << "<svg class=\"chart line-chart" << (views ? " view-recent" : "") << "\" viewBox=\"0 0 "
      << kWidth << ' ' << kHeight << "\" role=\"img\" preserveAspectRatio=\"xMidYMid meet\" data-n=\""
      << count << "\"";
  if (part) {
    std::string joined;  // in the chart's order: the bands, then the lines
    for (const auto *paths : {&whole_bands, &whole_lines}) {
      for (const std::string &path : *paths)
        joined += (joined.empty() ? "" : "\n") + path;
    }
    svg << " data-whole-paths=\"" << store->Add(joined) << "\"";
  }
  // The x labels: a start, a step in seconds and a length when they are evenly spaced dates,
  // else the list.
  const std::vector<long long> times = TimesOf(chart.x);
  bool even = times.size() >= 2;
  for (std::size_t i = 2; even && i < times.size(); ++i)
    even = times[i] - times[i - 1] == times[1] - times[0];
  if (even) {
    svg << " data-x0=\"" << times[0] << "\" data-dx=\"" << times[1] - times[0] << "\" data-xl=\""
        << chart.x[0].size() << "\"";
  } else {
    svg << " data-x=\"" << EscapeMarkup(nlohmann::json(chart.x).dump()) << "\"";
  }
  if (views) {
    svg << " data-recent=\"" << ViewBox(recent, recent_end, recent_axis) << "\" data-whole=\""
        << ViewBox(0, last, axis) << "\" data-views=\""
        << EscapeMarkup(Word(chart.focus ? "Output.ChartFocus" : "Output.ChartRecent") + "\n" +
                        Word("Output.ChartWhole"))
        << "\"";
  }
  svg << ">";

  // Grid and y ticks, one set per view.
  const auto YTicks = [&](const Axis &shown, const char *view) {
    // Values near the ends of the double range overflow the span: keep the tick count sane.
    const double span_steps = (shown.high - shown.low) / shown.step;
    const long ticks = std::isfinite(span_steps) ? std::clamp(std::lround(span_steps), 1L, 50L) : 4L;
    svg << "<g class=\"y-ticks" << view << "\">";
    for (long k = 0; k <= ticks; ++k) {
      const double share = static_cast<double>(k) / static_cast<double>(ticks);
      const double tick = shown.low * (1 - share) + shown.high * share;
      const double y = YIn(shown, tick);
      svg << "<path class=\"grid\" d=\"M" << kLeft << "," << Coord(y) << "h" << kPlotWidth
          << "\"/><text class=\"tick y-tick\" x=\"" << kLeft - 8 << "\" y=\"" << Coord(y + 4) << "\">"
          << Fixed(tick, shown.decimals) << "</text>";
    }
    svg << "</g>";
  };
  if (views) {
    YTicks(recent_axis, " for-recent");
    YTicks(axis, " for-whole");
  } else {
    YTicks(axis, "");
  }
  svg << "<path class=\"axis\" d=\"M" << kLeft << "," << bottom << "h" << kPlotWidth << "\"/>";

  // X ticks, one set per view.
  if (count > 0) {
    const auto TicksOver = [&](std::size_t from, std::size_t to) {
      auto ticks_here = times.empty() ? std::vector<Tick>{} : CalendarTicks(times, from, to);
      return ticks_here.empty() ? SpacedTicks(chart.x, from, to) : ticks_here;
    };
    if (views) {
      XTicks(svg, TicksOver(recent, recent_end), recent, recent_end, bottom, " for-recent");
      XTicks(svg, TicksOver(0, last), 0, last, bottom, " for-whole");
    } else {
      XTicks(svg, TicksOver(0, last), 0, last, bottom, "");
    }
  }
  if (!chart.x_label.empty()) {
    svg << "<text class=\"axis-label\" x=\"" << Coord(kLeft + kPlotWidth / 2) << "\" y=\""
        << kHeight - 6 << "\">" << EscapeMarkup(chart.x_label) << "</text>";
  }
  const std::string y_label = own_scales ? Word("Output.ChartStandardised") : chart.y_label;
  if (!y_label.empty()) {
    svg << "<text class=\"axis-label\" transform=\"translate(14 " << Coord(top + plot_height / 2)
        << ") rotate(-90)\">" << EscapeMarkup(y_label) << "</text>";
  }

  // The plot: positions and grid units, stretched to the plot's box; its view box is the view.
  svg << "<svg class=\"plot\" x=\"" << kLeft << "\" y=\"" << Coord(top) << "\" width=\"" << kPlotWidth
      << "\" height=\"" << Coord(plot_height) << "\" viewBox=\"" << ViewBox(recent, recent_end, recent_axis)
      << "\" preserveAspectRatio=\"none\">";
  if (chart.forecast_start >= 0 && count > 0) {
    const double edge = chart.forecast_start - 0.5;
    svg << "<rect class=\"forecast\" x=\"" << Coord(std::max(edge, -1.0)) << "\" y=\"" << -height_units
        << "\" width=\"" << count + 1 << "\" height=\"" << 3 * height_units << "\"/>";
    if (chart.forecast_start > 0) {
      svg << "<path class=\"forecast-edge\" d=\"M" << Coord(edge) << "," << -height_units << "v"
          << 3 * height_units << "\"/>";
    }
  }
  for (std::size_t s = 0; s < chart.series.size(); ++s) {
    const Grid coarse = grids[s].Coarser();
    const std::string &band = band_paths[s];
    if (!banded_series[s])
      continue;
    svg << "<path class=\"band\" fill=\"" << kPalette[s % std::size(kPalette)] << "\" data-s=\"" << s
        << "\" data-v=\"" << Compact(coarse.high) << " " << Compact(coarse.unit)
        << "\" transform=\"scale(1 10)\" d=\"" << band << "\"/>";
  }
  for (std::size_t s = 0; s < chart.series.size(); ++s) {
    svg << "<path class=\"line\" stroke=\"" << kPalette[s % std::size(kPalette)] << "\" data-s=\""
        << s << "\" data-name=\"" << EscapeMarkup(chart.series[s].name) << "\" data-v=\""
        << Compact(grids[s].high) << " " << Compact(grids[s].unit) << " "
        << DecimalsOf(grids[s], chart.series[s].y) << "\"" << transforms[s]
        << " d=\"" << line_paths[s] << "\"/>";
  }
  // A mark is a vertical line at its position, its label in data-label for the hover tip.
  for (const LineMark &mark : chart.marks) {
    svg << "<path class=\"mark\" data-label=\"" << EscapeMarkup(mark.label) << "\" d=\"M" << mark.x << ","
        << -height_units << "v" << 3 * height_units << "\"/>";
  }
  svg << "</svg>";

  // The forecast's label: inside its region when it is wide enough, else left of its edge.
  if (chart.forecast_start > 0) {
    const std::string word = EscapeMarkup(Word("Forecast"));
    const double label_width = static_cast<double>(word.size()) * 6.5 + 12;
    // A view that ends before the forecast does not label it.
    const auto Label = [&](std::size_t from, std::size_t to, const char *view) {
      if (static_cast<std::size_t>(chart.forecast_start) > to)
        return;
      const double span = static_cast<double>(std::max<std::size_t>(1, to - from));
      const double x = kLeft + kPlotWidth * (chart.forecast_start - 0.5 - static_cast<double>(from)) / span;
      const bool inside = kWidth - kRight - x >= label_width;
      svg << "<text class=\"forecast-label" << view << "\" x=\"" << Coord(inside ? x + 6 : x - 6)
          << "\" y=\"" << Coord(top + 14) << "\"" << (inside ? "" : " text-anchor=\"end\"") << ">"
          << word << "</text>";
    };
    if (views) {
      Label(recent, recent_end, " for-recent");
      Label(0, last, " for-whole");
    } else {
      Label(0, last, "");
    }
  }

  for (std::size_t e = 0; e < entries.size(); ++e) {
    const auto [x, y] = legend_at[e];
    svg << "<g transform=\"translate(" << Coord(x) << " " << Coord(y) << ")\">" << entries[e].swatch
        << "/><text class=\"legend\" x=\"20\">" << EscapeMarkup(entries[e].name) << "</text></g>";
  }
  svg << "</svg>";
  return svg.str();
}

} // namespace host
