// This file contains tests of the report's charts as a reader meets them: the values a line
// chart carries (read back as the page's script reads them for its tooltip), the view a series
// plot opens on, its date ticks, lines on scales of their own, the histogram's overflow bar, and
// the series plots of a root cause figure.
#include <gtest/gtest.h>

#include <zlib.h>

#include <chrono>
#include <cmath>
#include <cstring>
#include <map>
#include <regex>

#include "host/messages/fac_st_dictionary.h"
#include "host/output/chart_data.h"
#include "host/output/chart_model.h"
#include "host/output/figure_svg.h"
#include "host/output/page_store.h"
#include "host/output/svg_chart.h"

namespace host {
namespace {

constexpr auto npos = std::string::npos;

std::string Attribute(const std::string &element, const std::string &name) {
  const std::string key = " " + name + "=\"";
  const auto at = element.find(key);
  if (at == npos)
    return {};
  const auto from = at + key.size();
  return element.substr(from, element.find('"', from) - from);
}

// The opening tags that start with `opening`.
std::vector<std::string> Elements(const std::string &svg, const std::string &opening) {
  std::vector<std::string> out;
  for (auto at = svg.find(opening); at != npos; at = svg.find(opening, at + 1))
    out.push_back(svg.substr(at, svg.find('>', at) - at + 1));
  return out;
}

// Every first group of `pattern` in `text`.
std::vector<std::string> Captures(const std::string &text, const std::string &pattern) {
  std::vector<std::string> out;
  const std::regex regex(pattern);
  for (auto it = std::sregex_iterator(text.begin(), text.end(), regex); it != std::sregex_iterator(); ++it)
    out.push_back((*it)[1]);
  return out;
}

// The texts inside the group that starts with `opening`.
std::vector<std::string> TextsIn(const std::string &svg, const std::string &opening) {
  const auto from = svg.find(opening);
  return from == npos ? std::vector<std::string>{}
                      : Captures(svg.substr(from, svg.find("</g>", from) - from), "<text[^>]*>([^<]*)</text>");
}

std::vector<double> Numbers(const std::string &text) {
  std::vector<double> out;
  std::istringstream in(text);
  for (double value; in >> value;)
    out.push_back(value);
  return out;
}

// A path's stretches of (position, grid row), as the page's script reads them.
std::vector<std::vector<std::pair<long long, long long>>> Stretches(const std::string &d) {
  std::vector<std::vector<std::pair<long long, long long>>> stretches;
  const auto tokens = Captures(d, "([Mlz]|-?[0-9]+)");
  char command = 0;
  long long x = 0, y = 0;
  for (std::size_t i = 0; i < tokens.size(); ++i) {
    if (std::isalpha(static_cast<unsigned char>(tokens[i][0]))) {
      command = tokens[i][0];
      if (command == 'M')
        stretches.emplace_back();
      continue;
    }
    const long long dx = std::stoll(tokens[i]), dy = std::stoll(tokens[++i]);
    x = command == 'M' ? dx : x + dx;
    y = command == 'M' ? dy : y + dy;
    stretches.back().emplace_back(x, y);
  }
  return stretches;
}

struct Carried {
  std::map<long long, double> values, lower, upper;
  double unit = 0;
};

// What a line (and the band drawn for it) carries: value = high - row * unit.
Carried Read(const std::string &svg, std::size_t series) {
  Carried out;
  for (const auto &path : Elements(svg, "<path class=\"")) {
    if (Attribute(path, "data-s") != std::to_string(series))
      continue;
    const auto scale = Numbers(Attribute(path, "data-v"));
    const auto stretches = Stretches(Attribute(path, "d"));
    // In halves, as the writer does: the span may overflow a double.
    const auto value = [&](long long row) {
      return 2 * (scale[0] / 2 - static_cast<double>(row) * (scale[1] / 2));
    };
    if (path.find("class=\"band\"") != npos) {
      for (const auto &points : stretches) {
        for (std::size_t k = 0; k < points.size() / 2; ++k) {
          out.upper[points[k].first] = value(points[k].second);
          out.lower[points[points.size() - 1 - k].first] = value(points[points.size() - 1 - k].second);
        }
      }
    } else {
      out.unit = scale[1];
      for (const auto &points : stretches) {
        for (const auto &[x, row] : points)
          out.values[x] = value(row);
      }
    }
  }
  return out;
}

// The texts of a page store, opened as the page's script opens it: base64, zlib, JSON.
std::vector<std::string> OpenStore(const std::string &html) {
  const std::string open = "id=\"page-store\">";
  const auto from = html.find(open) + open.size();
  const std::string base64 = html.substr(from, html.find("</script>", from) - from);
  std::string packed;
  unsigned bits = 0;
  int count = 0;
  for (const char c : base64) {
    const char *digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    const char *at = std::strchr(digits, c);
    if (c == '=' || at == nullptr)
      break;
    bits = bits << 6 | static_cast<unsigned>(at - digits);
    if ((count += 6) >= 8) {
      count -= 8;
      packed += static_cast<char>((bits >> count) & 0xFF);
    }
  }
  std::string plain(1 << 24, '\0');
  uLongf size = plain.size();
  EXPECT_EQ(uncompress(reinterpret_cast<Bytef *>(plain.data()), &size,
                       reinterpret_cast<const Bytef *>(packed.data()), packed.size()),
            Z_OK);
  plain.resize(size);
  return nlohmann::json::parse(plain).get<std::vector<std::string>>();
}

// The chart with its paths' d replaced, in order, by the lines of `whole`.
std::string WithWholePaths(std::string chart, const std::string &whole) {
  std::istringstream lines(whole);
  std::size_t at = 0;
  for (std::string path; std::getline(lines, path);) {
    at = chart.find(" d=\"", chart.find("data-v=\"", at));
    const auto end = chart.find('"', at + 4);
    chart.replace(at + 4, end - at - 4, path);
    at += 4 + path.size();
  }
  return chart;
}

// `count` days from 2024-01-01, as "YYYY-MM-DD".
std::vector<std::string> Daily(int count) {
  std::vector<std::string> labels;
  for (int i = 0; i < count; ++i) {
    const std::chrono::year_month_day day{std::chrono::sys_days{std::chrono::year{2024} / 1 / 1} +
                                          std::chrono::days{i}};
    char text[48];
    std::snprintf(text, sizeof text, "%04d-%02u-%02u", static_cast<int>(day.year()),
                  static_cast<unsigned>(day.month()), static_cast<unsigned>(day.day()));
    labels.push_back(text);
  }
  return labels;
}

TEST(LineChartSvg, CarriesEachValueOnceAtThePrecisionItShows) {
  struct Case {
    const char *name;
    std::vector<std::optional<double>> y, lower, upper;
  };
  const std::vector<Case> cases = {
      {"counts with gaps and a lone value", {3000, 2512, std::nullopt, 4000, std::nullopt, 3101, 3207}, {}, {}},
      {"fractions", {0.123, -2.5, 1.75, 0.0042}, {}, {}},
      {"a band", {10.5, 11.25, 12}, {9, 10.1, 10.7}, {12, 12.4, 13.3}},
      {"far apart", {-1e308, 1e308}, {}, {}},
      {"all equal", {5, 5}, {}, {}},
      {"none", {std::nullopt, std::nullopt}, {}, {}},
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(c.name);
    LineChart chart;
    for (std::size_t i = 0; i < c.y.size(); ++i)
      chart.x.push_back("P" + std::to_string(i + 1));
    chart.series.push_back({"Sales", c.y, c.lower, c.upper});
    const std::string svg = RenderLineChartSvg(chart);
    EXPECT_EQ(svg.find("nan"), npos);
    EXPECT_EQ(svg.find("inf"), npos);
    EXPECT_EQ(svg.find("data-tip"), npos); // one hover layer per chart, made by the page
    const Carried carried = Read(svg, 0);
    const ValueRange range = SeriesRange(chart.series[0]);
    if (range.max > range.min) { // finer than a pixel
      EXPECT_LE(carried.unit, (range.max / 2 - range.min / 2) / 250);
    }
    for (std::size_t i = 0; i < c.y.size(); ++i) {
      const auto at = carried.values.find(static_cast<long long>(i));
      ASSERT_EQ(at != carried.values.end(), c.y[i].has_value()) << i;
      if (c.y[i]) {
        EXPECT_NEAR(at->second / 2, *c.y[i] / 2, carried.unit / 2) << i;
      }
      if (!c.lower.empty()) {
        EXPECT_NEAR(carried.lower.at(static_cast<long long>(i)), *c.lower[i], carried.unit * 5) << i;
        EXPECT_NEAR(carried.upper.at(static_cast<long long>(i)), *c.upper[i], carried.unit * 5) << i;
      }
    }
    if (std::string(c.name) == "counts with gaps and a lone value") { // counts show no decimals
      EXPECT_EQ(Numbers(Attribute(Elements(svg, "<path class=\"line\"")[0], "data-v")).at(2), 0);
    }
  }
}

TEST(LineChartSvg, SeriesPlotOpensOnRecentHistoryWithTheForecastAndCalendarTicks) {
  // Two years of days and a 14-day forecast with its band.
  const int count = 745, forecast = 731;
  LineChart chart{Daily(count), {{"Predicted", {}, {}, {}}}, forecast, "", "", {}, std::nullopt};
  for (int i = 0; i < count; ++i) {
    const double value = 3000 + 800 * std::sin(i / 9.0), half = i >= forecast ? 300 : 100;
    chart.series[0].y.push_back(value);
    chart.series[0].lower.push_back(value - half);
    chart.series[0].upper.push_back(value + half);
  }
  const std::string svg = RenderLineChartSvg(chart);

  // The forecast takes at least a sixth of the width it opens on; the whole history is the
  // other view.
  const auto plot = Elements(svg, "<svg class=\"plot\"").at(0);
  const auto open = Numbers(Attribute(plot, "viewBox"));
  EXPECT_EQ(Attribute(Elements(svg, "<svg class=\"chart")[0], "data-recent"), Attribute(plot, "viewBox"));
  EXPECT_GE((count - 1 - (forecast - 0.5)) / open.at(2), 1.0 / 6);
  const auto whole = Numbers(Attribute(Elements(svg, "<svg class=\"chart")[0], "data-whole"));
  EXPECT_EQ(whole.at(0), 0);
  EXPECT_EQ(whole.at(2), count - 1);

  // Ticks at calendar boundaries: month starts over two years, days within the recent weeks.
  const auto whole_ticks = TextsIn(svg, "<g class=\"x-ticks for-whole\"");
  ASSERT_GE(whole_ticks.size(), 4u);
  for (const auto &tick : whole_ticks)
    EXPECT_TRUE(std::regex_match(tick, std::regex("202[4-6]-(01|04|07|10)"))) << tick;
  const auto recent_ticks = TextsIn(svg, "<g class=\"x-ticks for-recent\"");
  ASSERT_GE(recent_ticks.size(), 3u);
  for (const auto &tick : recent_ticks)
    EXPECT_TRUE(std::regex_match(tick, std::regex("2025-(10|11|12)-(01|15)|2026-01-01"))) << tick;

  // The band and the forecast in the legend, the forecast's label whole in either view, and a
  // few dozen elements, not one per day.
  const auto &words = FacSTDictionary::Shared();
  EXPECT_NE(svg.find(">" + words.LookUp("Output.ChartBandLegend") + "</text>"), npos);
  EXPECT_EQ(Elements(svg, "<text class=\"forecast-label").size(), 2u);
  for (const auto &label : Elements(svg, "<text class=\"forecast-label")) {
    const double x = std::stod(Attribute(label, "x"));
    const bool to_left = Attribute(label, "text-anchor") == "end";
    EXPECT_TRUE(to_left ? x > 100 : x < 760 - 20 - 60) << label;
  }
  EXPECT_LT(Elements(svg, "<").size(), 150u);

  // A chart that names its focus (a root cause plot: the weeks around an outlier) opens there,
  // with days as ticks and no forecast label in that view; on a page, the paths draw the focus.
  chart.focus = std::make_pair(std::size_t{300}, std::size_t{360});
  PageStore store;
  const std::string focused = RenderLineChartSvg(chart, &store);
  const auto view = Numbers(Attribute(Elements(focused, "<svg class=\"plot\"").at(0), "viewBox"));
  EXPECT_EQ(view.at(0), 300);
  EXPECT_EQ(view.at(2), 60);
  EXPECT_NE(focused.find(words.LookUp("Output.ChartFocus")), npos);
  EXPECT_EQ(Elements(focused, "<text class=\"forecast-label").size(), 1u);
  for (const auto &tick : TextsIn(focused, "<g class=\"x-ticks for-recent\""))
    EXPECT_TRUE(std::regex_match(tick, std::regex("2024-(10|11|12)-[0-9]{2}"))) << tick;
  const Carried drawn = Read(focused, 0);
  EXPECT_EQ(drawn.values.begin()->first, 299);
  EXPECT_EQ(drawn.values.rbegin()->first, 361);
}

TEST(LineChartSvg, TicksFollowTheCalendarOrSpaceOutOtherLabels) {
  struct Case {
    std::vector<std::string> labels;
    const char *tick; // every tick matches
  };
  std::vector<std::string> hours, months, periods;
  for (int i = 0; i < 72; ++i) {
    hours.push_back("2024-03-0" + std::to_string(1 + i / 24) + (i % 24 < 10 ? " 0" : " ") + std::to_string(i % 24) + ":00");
    months.push_back(std::to_string(2019 + i / 12) + (i % 12 < 9 ? "-0" : "-") + std::to_string(1 + i % 12) + "-01");
    periods.push_back("P" + std::to_string(i + 1));
  }
  for (const Case &c : {Case{hours, "2024-03-0[1-3]( 12:00)?"}, Case{months, "20(19|2[0-4])"},
                        Case{periods, "P[0-9]+"}}) {
    LineChart chart;
    chart.x = c.labels;
    chart.series.push_back({"a", std::vector<std::optional<double>>(c.labels.size(), 1.0), {}, {}});
    const auto ticks = TextsIn(RenderLineChartSvg(chart), "<g class=\"x-ticks\"");
    ASSERT_GE(ticks.size(), 3u) << c.tick;
    for (const auto &tick : ticks)
      EXPECT_TRUE(std::regex_match(tick, std::regex(c.tick))) << tick;
  }
}

TEST(LineChartSvg, LinesOnScalesFarApartEachGetTheirOwn) {
  LineChart apart{Daily(100), {{"visits", {}, {}, {}}, {"temperature", {}, {}, {}}}, -1, "", "", {}, std::nullopt};
  for (int i = 0; i < 100; ++i) {
    apart.series[0].y.push_back(3000 + 1000 * std::sin(i / 7.0));
    apart.series[1].y.push_back(15 + 15 * std::cos(i / 11.0));
  }
  LineChart near = apart; // visits and a prediction of them
  for (int i = 0; i < 100; ++i)
    near.series[1].y[i] = 3050 + 950 * std::sin(i / 7.0);

  const std::string svg = RenderLineChartSvg(apart);
  EXPECT_NE(svg.find(FacSTDictionary::Shared().LookUp("Output.ChartStandardised")), npos);
  const auto rows = Numbers(Attribute(Elements(svg, "<svg class=\"plot\"")[0], "viewBox")).at(3);
  for (std::size_t s = 0; s < 2; ++s) {
    // The tooltip shows the original values...
    const Carried carried = Read(svg, s);
    for (int i = 0; i < 100; i += 9)
      EXPECT_NEAR(carried.values.at(i), *apart.series[s].y[i], carried.unit / 2 + 1e-9);
    // ...and the line spans a good part of the plot's height.
    const auto path = Elements(svg, "<path class=\"line\"")[s];
    const auto matrix = Numbers(std::regex_replace(Attribute(path, "transform"), std::regex("[^-0-9.e ]"), " "));
    double low = 1e300, high = -1e300;
    for (const auto &points : Stretches(Attribute(path, "d"))) {
      for (const auto &point : points) {
        const double row = matrix.at(3) * static_cast<double>(point.second) + matrix.at(5);
        low = std::min(low, row);
        high = std::max(high, row);
      }
    }
    EXPECT_GT(high - low, rows * 0.4) << s;
    EXPECT_GE(low, -1);
    EXPECT_LE(high, rows + 1);
  }
  // Lines on one scale share it, in their own units.
  const std::string shared = RenderLineChartSvg(near);
  EXPECT_EQ(shared.find("transform=\"matrix"), npos);
  EXPECT_EQ(shared.find(FacSTDictionary::Shared().LookUp("Output.ChartStandardised")), npos);
}

TEST(HistogramSvg, FarValuesGoToAnOverflowBarAndEdgesReadShort) {
  struct Case {
    const char *name;
    std::vector<double> values;
    std::size_t overflow_bars;
    bool dots = true; // the dot plot's values are there to bin again
  };
  std::vector<double> spread;
  for (int i = 0; i < 35; ++i)
    spread.push_back(2.6444092384 + i * 1.37);
  std::vector<double> with_far = spread;
  with_far.push_back(1.7e15);
  for (const Case &c : {Case{"one model far out", with_far, 1}, Case{"no far value", spread, 0},
                        Case{"far out, bins only", with_far, 1, false}}) {
    SCOPED_TRACE(c.name);
    Distribution figure;
    figure.has_histogram = true;
    figure.has_dot_plot = c.dots;
    const double low = *std::min_element(c.values.begin(), c.values.end());
    const double high = *std::max_element(c.values.begin(), c.values.end());
    for (int b = 0; b < 7; ++b)
      figure.bins.push_back({low + (high - low) * b / 7, low + (high - low) * (b + 1) / 7, 0});
    for (double value : c.values) {
      figure.bins[std::min<std::size_t>(6, static_cast<std::size_t>((value - low) / (high - low) * 7))].count += 1;
      if (c.dots)
        figure.points.push_back({"s", value});
    }
    const std::string html = RenderDistributionHtml(figure);
    const std::string histogram = html.substr(0, html.find("class=\"chart dotplot\""));
    EXPECT_EQ(Elements(histogram, "<rect class=\"bar overflow\"").size(), c.overflow_bars);
    double counted = 0;
    for (const auto &bar : Elements(histogram, "<rect class=\"bar")) {
      const std::string tip = Attribute(bar, "data-tip");
      counted += std::stod(tip.substr(tip.rfind('\n') + 1));
    }
    EXPECT_EQ(counted, static_cast<double>(c.values.size()));
    for (const auto &tick : Captures(histogram, "<text class=\"tick x-tick\"[^>]*>([^<]*)</text>"))
      EXPECT_LE(tick.size(), 14u) << tick;
  }
}

TEST(ImpactSvg, RootCausePlotsCarryTheirValuesAsPathsOnly) {
  // A root cause tree with a plot per node: observed, and predicted with its band and forecast;
  // the root's plot marks its outlier.
  const int count = 400, forecast = 390;
  nlohmann::json payload = nlohmann::json::parse(R"({"kind": "impact", "rootCause": true, "trees": [
      {"direction": "causes", "nodes": [{"label": "sales-North"},
                                        {"label": "stock-West", "parent": 0, "rootCause": true}]}]})");
  std::map<std::string, std::vector<double>> observed;
  for (const std::string series : {"sales-North", "stock-West"}) {
    nlohmann::json chart = {{"kind", "line"}, {"x", Daily(count)}, {"forecastStart", forecast}};
    nlohmann::json seen = nlohmann::json::array(), predicted = seen, lower = seen, upper = seen;
    for (int i = 0; i < count; ++i) {
      const double value = series.size() * 100 + 37 * std::sin(i / 5.0);
      observed[series].push_back(std::round(value));
      seen.push_back(i < forecast ? nlohmann::json(std::round(value)) : nlohmann::json());
      predicted.push_back(value + 3);
      lower.push_back(value - 20);
      upper.push_back(value + 20);
    }
    chart["series"] = {{{"name", "Observed"}, {"y", seen}},
                       {{"name", "Predicted"}, {"y", predicted}, {"lower", lower}, {"upper", upper}}};
    if (series == "sales-North")
      chart["marks"] = {{{"x", 120}, {"label", "Outlier"}}, {{"x", count}, {"label", "off the plot"}}};
    payload["plots"][series] = chart;
  }
  ImpactDiagram diagram;
  std::string problem;
  ASSERT_TRUE(ReadImpactDiagram(payload, diagram, problem)) << problem;
  // Drawn alone, and on a page with a store: there the second plot waits in the store and each
  // chart draws its recent view, its whole paths stored. The script's reading must be the same.
  for (const bool paged : {false, true}) {
  SCOPED_TRACE(paged ? "with a page store" : "alone");
  PageStore store;
  const std::string html = RenderImpactHtml(diagram, paged ? &store : nullptr);
  ASSERT_NE(html.find("root-cause-analysis"), npos);
  const std::vector<std::string> stored = paged ? OpenStore(store.Html()) : std::vector<std::string>{};

  const std::string plots = html.substr(html.find("<div class=\"impact-plots\""));
  std::vector<std::string> figures;
  for (auto at = plots.find("<figure"); at != npos; at = plots.find("<figure", at + 1)) {
    std::string figure = plots.substr(at, plots.find("</figure>", at) - at);
    if (const std::string number = Attribute(figure, "data-plot"); !number.empty()) {
      EXPECT_EQ(figure.find("<svg"), npos);  // nothing drawn before it is chosen
      figure += stored.at(std::stoul(number));
    }
    if (const std::string number = Attribute(figure, "data-whole-paths"); !number.empty()) {
      // The page draws the recent view: from the point before it (349 - 1) to the end.
      for (std::size_t s = 0; s < 2; ++s)
        EXPECT_EQ(Read(figure, s).values.begin()->first, 348) << s;
      figure = WithWholePaths(figure, stored.at(std::stoul(number)));
    }
    EXPECT_EQ(paged, figure.find("data-whole-paths") != npos || figure.find("data-plot") != npos);
    figures.push_back(figure);
  }
  ASSERT_EQ(figures.size(), 2u);
  for (const auto &figure : figures) {
    const std::string series = Attribute(figure, "data-series");
    SCOPED_TRACE(series);
    // One line path per series and one band, read back to the values given; no element per point.
    EXPECT_EQ(Elements(figure, "<path class=\"line\"").size(), 2u);
    EXPECT_EQ(Elements(figure, "<path class=\"band\"").size(), 1u);
    EXPECT_EQ(figure.find("data-tip"), npos);
    EXPECT_EQ(figure.find("<circle"), npos);
    EXPECT_LT(Elements(figure, "<").size(), 120u);
    const Carried seen = Read(figure, 0);
    ASSERT_EQ(seen.values.size(), static_cast<std::size_t>(forecast));
    for (int i = 0; i < forecast; ++i)
      EXPECT_NEAR(seen.values.at(i), observed[series][static_cast<std::size_t>(i)], seen.unit / 2 + 1e-9) << i;
    const Carried predicted = Read(figure, 1);
    EXPECT_EQ(predicted.values.size(), static_cast<std::size_t>(count));
    EXPECT_EQ(predicted.lower.size(), static_cast<std::size_t>(count));
    // The predicted line runs on into the forecast region; the root's outlier is marked at its
    // time, in the legend too.
    EXPECT_EQ(Elements(figure, "<rect class=\"forecast\"").size(), 1u);
    const auto marks = Elements(figure, "<path class=\"mark\"");
    ASSERT_EQ(marks.size(), series == "sales-North" ? 1u : 0u);
    if (!marks.empty()) {
      EXPECT_EQ(Attribute(marks[0], "d").substr(0, 5), "M120,");
      EXPECT_EQ(Attribute(marks[0], "data-label"), "Outlier");
      EXPECT_NE(figure.find("<text class=\"legend\" x=\"20\">Outlier</text>"), npos);
    }
  }
  }
}

} // namespace
} // namespace host
