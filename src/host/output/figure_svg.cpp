// This file contains the HTML and SVG writer of the report's distribution, graph and tree
// figures.
#include "host/output/figure_svg.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <map>
#include <numeric>
#include <set>
#include <sstream>

#include "host/messages/fac_st_dictionary.h"
#include "host/output/chart_data.h"
#include "host/output/markup.h"
#include "host/output/number_format.h"
#include "host/output/svg_chart.h"
#include "host/output/text_renderer.h"

namespace host {

std::string SvgCoordinate(double value) {
  char buffer[32];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, 1);
  return std::string(buffer, result.ptr);
}

namespace {

std::string C(double value) { return SvgCoordinate(value); }

std::string E(const std::string& text) { return EscapeMarkup(text); }

std::string Word(const char* key) { return FacSTDictionary::Shared().LookUp(key); }


} // namespace

double LabelWidth(const std::string& text) { return static_cast<double>(DisplayWidth(text)) * 6.3; }

std::string Shorten(const std::string& text, std::size_t most) {
  if (DisplayWidth(text) <= most) return text;
  std::string out;
  std::size_t width = 0;
  for (std::size_t at = 0; at < text.size() && width < most - 1;) {
    std::size_t next = at + 1;
    while (next < text.size() && (static_cast<unsigned char>(text[next]) & 0xC0) == 0x80) ++next;
    out += text.substr(at, next - at);
    ++width;
    at = next;
  }
  return out + "\u2026";
}

namespace {

struct Axis {
  double low = 0;
  double high = 1;
  double step = 1;
};

Axis NiceAxis(double low, double high, int ticks = 5) {
  if (!(high > low)) {
    const double pad = std::max(1.0, std::fabs(high) * 0.1);
    low -= pad;
    high += pad;
  }
  const double raw = (high - low) / ticks;
  const double power = std::pow(10.0, std::floor(std::log10(raw)));
  const double fraction = raw / power;
  const double step = (fraction <= 1 ? 1 : fraction <= 2 ? 2 : fraction <= 5 ? 5 : 10) * power;
  return {std::floor(low / step) * step, std::ceil(high / step) * step, step};
}

std::string TickText(double value, double step) {
  const int decimals = std::max(0, static_cast<int>(-std::floor(std::log10(step) + 1e-9)));
  return FormatNumber(std::fabs(value) < step * 1e-9 ? 0.0 : value, std::min(decimals, 10));
}

// ---------------------------------------------------------------- distribution

// The bars a histogram draws: the figure's bins, or, when some values lie far out (beyond the
// quartiles by three times the interquartile range), the values within the fences in bins of
// round width and the far values in an overflow bar at each end.
struct Bar {
  double from = 0;
  double to = 0;
  double count = 0;
  int side = 0;       // -1 below the lower fence, 1 above the upper one, 0 a bin
  double extreme = 0; // the farthest value of an overflow bar
};

double Quantile(const std::vector<double>& sorted, double share) {
  const double at = share * static_cast<double>(sorted.size() - 1);
  const auto low = static_cast<std::size_t>(std::floor(at));
  const std::size_t high = std::min(low + 1, sorted.size() - 1);
  return sorted[low] + (sorted[high] - sorted[low]) * (at - static_cast<double>(low));
}

std::vector<Bar> HistogramBars(const Distribution& figure) {
  std::vector<Bar> bars;
  // The values: the dot plot's when it has them, else each bin's middle as often as it counts.
  std::vector<double> values;
  for (const auto& point : figure.points) values.push_back(point.value);
  const bool exact = !values.empty();
  if (!exact) {
    for (const auto& bin : figure.bins) {
      for (double k = 0; k < std::min(bin.count, 1e5); ++k) values.push_back(bin.from / 2 + bin.to / 2);
    }
  }
  std::sort(values.begin(), values.end());
  double low_fence = -HUGE_VAL, high_fence = HUGE_VAL;
  if (values.size() >= 4) {
    const double q1 = Quantile(values, 0.25), q3 = Quantile(values, 0.75);
    low_fence = q1 - 3 * (q3 - q1);
    high_fence = q3 + 3 * (q3 - q1);
  }
  const bool far = !values.empty() && (values.front() < low_fence || values.back() > high_fence);
  if (!far || !(high_fence >= low_fence)) {
    for (const auto& bin : figure.bins) bars.push_back({bin.from, bin.to, bin.count, 0, 0});
    return bars;
  }
  Bar below{0, 0, 0, -1, values.front()}, above{0, 0, 0, 1, values.back()};
  if (exact) {
    std::vector<double> inner;
    for (double value : values) {
      if (value < low_fence) ++below.count;
      else if (value > high_fence) ++above.count;
      else inner.push_back(value);
    }
    const int wanted = std::clamp(static_cast<int>(figure.bins.size()), 4, 20);
    const Axis axis = NiceAxis(inner.front(), inner.back(), wanted);
    for (double from = axis.low; from < inner.back() + axis.step / 2 && bars.size() < 60; from += axis.step) {
      bars.push_back({from, from + axis.step, 0, 0, 0});
    }
    for (double value : inner) {
      auto at = static_cast<std::size_t>(std::floor((value - axis.low) / axis.step));
      bars[std::min(at, bars.size() - 1)].count += 1;
    }
    while (bars.size() > 1 && bars.back().count == 0) bars.pop_back();
    below.to = below.from = bars.front().from;
    above.from = above.to = bars.back().to;
  } else {
    for (const auto& bin : figure.bins) {
      const double middle = bin.from / 2 + bin.to / 2;
      if (middle < low_fence) below.count += bin.count, below.from = below.to = bin.to;
      else if (middle > high_fence) above.count += bin.count, above.to = bin.to;
      else bars.push_back({bin.from, bin.to, bin.count, 0, 0});
    }
    if (bars.empty()) return {};
    below.from = below.to = bars.front().from;
    above.from = above.to = bars.back().to;
  }
  if (below.count > 0) bars.insert(bars.begin(), below);
  if (above.count > 0) bars.push_back(above);
  return bars;
}

// A bin edge with the decimals its width needs (two significant digits of it), never more than
// the statistic's own format gives; a number of eight digits and more in exponent form.
std::string EdgeText(double value, double width, const ValueFormat& format) {
  if (std::fabs(value) >= 1e7 && format.kind == ValueFormat::Kind::Number) { // 2.43e+14, not 15 digits
    char buffer[32];
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::general, 3).ptr;
    return std::string(buffer, end);
  }
  ValueFormat shown = format;
  if (format.kind == ValueFormat::Kind::Number || format.kind == ValueFormat::Kind::Percent) {
    const int needed = width > 0 && std::isfinite(width)
                           ? std::clamp(1 - static_cast<int>(std::floor(std::log10(width))), 0, 10) : 3;
    shown.decimals = format.decimals < 0 ? needed : std::min(format.decimals, needed);
  }
  return FormatValue(std::fabs(value) < width * 1e-9 ? 0.0 : value, shown);
}

std::string HistogramSvg(const Distribution& figure) {
  const double width = 620, height = 300, left = 56, right = 16, top = 16, bottom = 52;
  std::ostringstream svg;
  svg << "<svg class=\"chart histogram\" viewBox=\"0 0 " << width << ' ' << height
      << "\" role=\"img\">";
  const std::vector<Bar> bars = HistogramBars(figure);
  if (bars.empty()) return svg.str() + "</svg>";
  // Bins side by side over the plot, each overflow bar a bin's width apart from them.
  std::size_t bins = 0;
  double lo = HUGE_VAL, hi = -HUGE_VAL, most = 0;
  for (const Bar& bar : bars) {
    most = std::max(most, bar.count);
    if (bar.side != 0) continue;
    ++bins;
    lo = std::min(lo, bar.from);
    hi = std::max(hi, bar.to);
  }
  const bool has_below = bars.front().side < 0, has_above = bars.back().side > 0;
  const double plot_w = width - left - right, plot_h = height - top - bottom;
  const double slots = static_cast<double>(bins) + (has_below ? 1.6 : 0) + (has_above ? 1.6 : 0);
  const double slot_w = plot_w / std::max(1.0, slots);
  const double bins_left = left + (has_below ? 1.6 * slot_w : 0);
  const double bins_w = slot_w * static_cast<double>(bins);
  const auto X = [&](double v) { return bins_left + (hi > lo ? (v - lo) / (hi - lo) : 0.5) * bins_w; };
  const Axis y = NiceAxis(0, std::max(1.0, most), 4);
  const auto Y = [&](double v) { return top + plot_h * (1 - (v - y.low) / (y.high - y.low)); };
  for (double t = y.low; t <= y.high + y.step / 2; t += y.step) {
    svg << "<line class=\"grid\" x1=\"" << left << "\" x2=\"" << width - right << "\" y1=\"" << C(Y(t))
        << "\" y2=\"" << C(Y(t)) << "\"/><text class=\"tick y-tick\" x=\"" << left - 8 << "\" y=\""
        << C(Y(t) + 4) << "\">" << TickText(t, y.step) << "</text>";
  }
  const double bin_width = bins > 0 ? (hi - lo) / static_cast<double>(bins) : 1;
  const auto Edge = [&](double value) { return EdgeText(value, bin_width, figure.bin_format); };
  const double label_y = Y(0) + 16;
  for (const Bar& bar : bars) {
    double x0 = 0, x1 = 0;
    std::string tip, label;
    if (bar.side == 0) {
      x0 = X(bar.from);
      x1 = X(bar.to);
      tip = Edge(bar.from) + " \u2013 " + Edge(bar.to);
    } else {
      x0 = bar.side < 0 ? left : X(hi) + 0.6 * slot_w;
      x1 = x0 + slot_w;
      label = FacSTDictionary::Shared().Format(bar.side < 0 ? "Output.HistogramBelow" : "Output.HistogramAbove",
                                                {Edge(bar.side < 0 ? lo : hi)});
      tip = label + " (" + FormatValue(bar.extreme, figure.bin_format) + ")";
    }
    svg << "<rect class=\"bar" << (bar.side != 0 ? " overflow" : "") << "\" x=\"" << C(x0 + 0.5)
        << "\" y=\"" << C(Y(bar.count)) << "\" width=\"" << C(std::max(1.0, x1 - x0 - 1)) << "\" height=\""
        << C(Y(0) - Y(bar.count)) << "\" data-tip=\"" << E(tip + "\n" + FormatNumber(bar.count)) << "\"/>";
    if (bar.side != 0) {
      svg << "<text class=\"tick x-tick\" x=\"" << C((x0 + x1) / 2) << "\" y=\"" << C(label_y) << "\">"
          << E(label) << "</text>";
    }
  }
  svg << "<line class=\"axis\" x1=\"" << left << "\" x2=\"" << width - right << "\" y1=\"" << C(Y(0))
      << "\" y2=\"" << C(Y(0)) << "\"/>";
  // Edge labels of the bins, as many as fit side by side.
  std::size_t widest = 1;
  for (std::size_t i = 0; i <= bins; ++i) widest = std::max(widest, Edge(lo + bin_width * i).size());
  const double room = bins_w / (static_cast<double>(widest) * 6.5 + 10);
  const std::size_t stride = std::max<std::size_t>(1, static_cast<std::size_t>(std::ceil(bins / std::max(1.0, room))));
  for (std::size_t i = 0; i <= bins; i += stride) {
    const double edge = lo + bin_width * static_cast<double>(i);
    svg << "<text class=\"tick x-tick\" x=\"" << C(X(edge)) << "\" y=\"" << C(label_y) << "\">"
        << E(Edge(edge)) << "</text>";
  }
  if (!figure.x_label.empty()) {
    svg << "<text class=\"axis-label\" x=\"" << C(left + plot_w / 2) << "\" y=\"" << height - 8
        << "\">" << E(figure.x_label) << "</text>";
  }
  const std::string y_label = figure.y_label.empty() ? Word("Output.Count") : figure.y_label;
  svg << "<text class=\"axis-label\" transform=\"translate(14 " << C(top + plot_h / 2)
      << ") rotate(-90)\">" << E(y_label) << "</text></svg>";
  return svg.str();
}

// A stacked dot plot: values binned finely, dots piled up within a bin.
std::string DotPlotSvg(const Distribution& figure) {
  const double width = 620, left = 30, right = 30;
  std::ostringstream body;
  if (figure.points.empty()) return "<svg class=\"chart dotplot\" viewBox=\"0 0 620 120\"></svg>";
  double lo = figure.points.front().value, hi = lo;
  for (const auto& point : figure.points) {
    lo = std::min(lo, point.value);
    hi = std::max(hi, point.value);
  }
  const Axis x = NiceAxis(lo, hi, 6);
  const double plot_w = width - left - right;
  const int bins = 48;
  const double bin_w = plot_w / bins;
  std::map<int, int> stacks;
  std::vector<std::pair<int, int>> spot;
  for (const auto& point : figure.points) {
    int bin = static_cast<int>((point.value - x.low) / (x.high - x.low) * bins);
    bin = std::clamp(bin, 0, bins - 1);
    spot.emplace_back(bin, stacks[bin]++);
  }
  int tallest = 1;
  for (const auto& [bin, count] : stacks) tallest = std::max(tallest, count);
  const double radius = std::min(bin_w / 2 - 0.5, 150.0 / tallest / 2);
  const double base = 24 + tallest * radius * 2;
  const double height = base + 48;
  body << "<svg class=\"chart dotplot\" viewBox=\"0 0 " << width << ' ' << C(height) << "\" role=\"img\">";
  for (double t = x.low; t <= x.high + x.step / 2; t += x.step) {
    const double px = left + (t - x.low) / (x.high - x.low) * plot_w;
    body << "<line class=\"axis\" x1=\"" << C(px) << "\" x2=\"" << C(px) << "\" y1=\"" << C(base)
         << "\" y2=\"" << C(base + 4) << "\"/><text class=\"tick x-tick\" x=\"" << C(px) << "\" y=\""
         << C(base + 18) << "\">" << TickText(t, x.step) << "</text>";
  }
  body << "<line class=\"axis\" x1=\"" << left << "\" x2=\"" << width - right << "\" y1=\"" << C(base)
       << "\" y2=\"" << C(base) << "\"/>";
  for (std::size_t i = 0; i < figure.points.size(); ++i) {
    const double cx = left + (spot[i].first + 0.5) * bin_w;
    const double cy = base - radius - spot[i].second * radius * 2;
    body << "<circle class=\"dot\" cx=\"" << C(cx) << "\" cy=\"" << C(cy) << "\" r=\""
         << C(std::max(1.5, radius - 0.6)) << "\" data-tip=\""
         << E(figure.points[i].label + "\n" + FormatValue(figure.points[i].value, figure.dot_format))
         << "\"/>";
  }
  if (!figure.dot_label.empty()) {
    body << "<text class=\"axis-label\" x=\"" << C(left + plot_w / 2) << "\" y=\"" << C(height - 8)
         << "\">" << E(figure.dot_label) << "</text>";
  }
  body << "</svg>";
  return body.str();
}

// Tabs over panes: each pane a <div class="pane" data-pane=name>, the first shown.
std::string Tabs(const std::vector<std::pair<std::string, std::string>>& panes,
                 const std::string& initial) {
  std::string html;
  if (panes.size() > 1) {
    html += "<div class=\"tabs\" role=\"tablist\">";
    for (const auto& [name, label] : panes) {
      html += "<button type=\"button\" role=\"tab\" class=\"tab" +
              std::string(name == initial ? " active" : "") + "\" data-pane=\"" + E(name) + "\">" +
              E(label) + "</button>";
    }
    html += "</div>";
  }
  return html;
}

} // namespace

std::string RenderDistributionHtml(const Distribution& figure) {
  std::vector<std::pair<std::string, std::string>> panes;
  if (figure.has_histogram) panes.emplace_back("histogram", Word("Output.Histogram"));
  if (figure.has_dot_plot) panes.emplace_back("dotplot", Word("Output.DotPlot"));
  std::string html = "<div class=\"figure distribution\">" + Tabs(panes, panes.front().first);
  if (figure.has_histogram) {
    html += "<div class=\"pane\" data-pane=\"histogram\"><div class=\"chart-frame\">" +
            HistogramSvg(figure) + "</div></div>";
  }
  if (figure.has_dot_plot) {
    html += std::string("<div class=\"pane\" data-pane=\"dotplot\"") +
            (figure.has_histogram ? " hidden" : "") + "><div class=\"chart-frame\">" +
            DotPlotSvg(figure) + "</div></div>";
  }
  return html + "</div>";
}

std::string RenderImpactHtml(const ImpactDiagram& diagram, PageStore* store) {
  std::vector<std::pair<std::string, std::string>> panes;
  for (const auto& tree : diagram.trees) {
    panes.emplace_back(tree.direction, Word(tree.direction == "effects" ? "Output.Effects" : "Output.Causes"));
  }
  std::string initial = diagram.initial;
  if (std::none_of(panes.begin(), panes.end(), [&](const auto& pane) { return pane.first == initial; })) {
    initial = panes.front().first;
  }
  std::ostringstream html;
  html << "<div class=\"figure impact" << (diagram.root_cause ? " root-cause-analysis" : "") << "\">"
       << Tabs(panes, initial);
  for (const auto& tree : diagram.trees) {
    const bool causes = tree.direction != "effects";
    const std::size_t n = tree.nodes.size();
    std::vector<std::vector<std::size_t>> children(n);
    int depth = 0;
    for (std::size_t i = 1; i < n; ++i) children[static_cast<std::size_t>(tree.nodes[i].parent)].push_back(i);
    for (const auto& node : tree.nodes) depth = std::max(depth, node.level);
    // Columns as wide as their widest label; leaves one row apart, parents centred on their
    // children, so no two boxes meet.
    std::vector<double> column_width(static_cast<std::size_t>(depth) + 1, 60);
    for (const auto& node : tree.nodes) {
      auto& width = column_width[static_cast<std::size_t>(node.level)];
      width = std::max(width, LabelWidth(Shorten(node.label, 34)) + 20);
    }
    std::vector<double> column_x(column_width.size(), 0);
    for (std::size_t l = 1; l < column_x.size(); ++l) column_x[l] = column_x[l - 1] + column_width[l - 1] + 64;
    std::vector<double> y(n, 0);
    double next_row = 0;
    const double row = 34;
    std::vector<std::pair<std::size_t, bool>> stack{{0, false}};
    while (!stack.empty()) {
      auto [node, done] = stack.back();
      stack.pop_back();
      if (children[node].empty()) {
        y[node] = next_row;
        next_row += row;
      } else if (done) {
        y[node] = (y[children[node].front()] + y[children[node].back()]) / 2;
      } else {
        stack.push_back({node, true});
        for (std::size_t k = children[node].size(); k-- > 0;) stack.push_back({children[node][k], false});
      }
    }
    const double width = column_x.back() + column_width.back() + 16;
    const double height = std::max(row, next_row) + 34;
    html << "<div class=\"pane\" data-pane=\"" << E(tree.direction) << "\"" << (tree.direction == initial ? "" : " hidden")
         << ">";
    if (!tree.subtitle.empty()) html << "<p class=\"figure-note\">" << E(tree.subtitle) << "</p>";
    html << "<div class=\"tree-frame\"><svg class=\"tree " << (causes ? "causes" : "effects")
         << "\" viewBox=\"-8 -36 " << C(width) << ' ' << C(height + 6) << "\" width=\"" << C(width)
         << "\" role=\"img\">";
    for (std::size_t l = 0; l < column_x.size(); ++l) {
      html << "<text class=\"level-label\" x=\"" << C(column_x[l]) << "\" y=\"-20\">"
           << E(l == 0 ? Word("Output.Series") : FacSTDictionary::Shared().Format("Output.Level", {std::to_string(l)}))
           << "</text>";
    }
    for (std::size_t i = 1; i < n; ++i) {
      const std::size_t up = static_cast<std::size_t>(tree.nodes[i].parent);
      const double x1 = column_x[static_cast<std::size_t>(tree.nodes[up].level)] + LabelWidth(Shorten(tree.nodes[up].label, 34)) + 20;
      const double y1 = y[up];
      const double x2 = column_x[static_cast<std::size_t>(tree.nodes[i].level)];
      const double y2 = y[i];
      const double mid = (x1 + x2) / 2;
      // Causes point at the series they drive (toward the root), effects away from it.
      const double hx = causes ? x1 : x2, hy = causes ? y1 : y2, dir = causes ? 1 : -1;
      html << "<g class=\"tree-edge\"><path class=\"edge-line\" d=\"M" << C(x1) << ',' << C(y1) << " C" << C(mid)
           << ',' << C(y1) << ' ' << C(mid) << ',' << C(y2) << ' ' << C(x2) << ',' << C(y2)
           << "\"/><path class=\"edge-head\" d=\"M" << C(hx) << ',' << C(hy) << " L" << C(hx + 7 * dir) << ','
           << C(hy - 3.5) << " L" << C(hx + 7 * dir) << ',' << C(hy + 3.5) << " Z\"/></g>";
    }
    for (std::size_t i = 0; i < n; ++i) {
      const TreeNode& node = tree.nodes[i];
      std::string tip = node.label;
      if (node.lag) tip += "\n" + Word("Output.Lag") + " " + FormatNumber(*node.lag);
      if (node.p) tip += "\np " + GraphPText(*node.p);
      if (node.weight) tip += "\n" + Word("Output.Weight") + " " + FormatNumber(*node.weight, 3);
      if (node.score) tip += "\n" + Word("Output.Score") + " " + FormatNumber(*node.score, 3);
      if (node.root_cause) tip += "\n" + Word("Output.RootCause");
      const double box = LabelWidth(Shorten(node.label, 34)) + 20;
      html << "<g class=\"tree-node" << (i == 0 ? " root" : "") << (node.root_cause ? " root-cause" : "")
           << "\" data-series=\"" << E(node.label) << "\" data-tip=\"" << E(tip) << "\" transform=\"translate("
           << C(column_x[static_cast<std::size_t>(node.level)]) << ' ' << C(y[i]) << ")\"><rect x=\"0\" y=\"-11\" width=\""
           << C(box) << "\" height=\"22\" rx=\"4\"/><text x=\"10\" y=\"4\">" << E(Shorten(node.label, 34))
           << "</text></g>";
    }
    html << "</svg></div></div>";
  }
  if (!diagram.plots.empty()) {
    html << "<div class=\"impact-plots\"><p class=\"figure-note\">" << E(Word("Output.ChooseSeries")) << "</p>";
    bool first = true;
    for (const auto& [series, payload] : diagram.plots) {
      LineChart chart;
      std::string problem;
      if (!ReadLineChart(payload, chart, problem)) continue;
      const std::string plot = "<figcaption>" + E(series) + "</figcaption><div class=\"chart-frame\">" +
                               RenderLineChartSvg(chart, store) + "</div>";
      html << "<figure class=\"impact-plot\" data-series=\"" << E(series) << "\"";
      if (first || store == nullptr) {
        html << (first ? "" : " hidden") << ">" << plot;
      } else {
        html << " data-plot=\"" << store->Add(plot) << "\" hidden>";
      }
      html << "</figure>";
      first = false;
    }
    html << "</div>";
  }
  if (!diagram.model_file.empty()) {
    html << "<p class=\"figure-note model-file\">" << E(Word("Model File")) << ": " << E(diagram.model_file) << "</p>";
  }
  html << "</div>";
  return html.str();
}

} // namespace host
