// This file contains the model system graph's shared data, its layered layout and the figure of
// one view.
#include "host/output/graph_svg.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <set>
#include <sstream>

#include "host/messages/fac_st_dictionary.h"
#include "host/output/figure_svg.h"
#include "host/output/markup.h"
#include "host/output/number_format.h"

namespace host {
namespace {

// Layout units, the same as the script's (figures.js, setupGraph).
constexpr double kRow = 18;      // between two series of a column
constexpr double kGap = 90;      // between a column's widest label and the next column
constexpr double kEgoGap = 26;   // between two rows of the single-series view
constexpr double kEgoSpan = 230; // from the chosen series to its inputs' and outputs' column
constexpr std::size_t kLabel = 28;

std::string C(double value) { return SvgCoordinate(value); }

std::string E(const std::string& text) { return EscapeMarkup(text); }

std::string Word(const char* key) { return FacSTDictionary::Shared().LookUp(key); }

// A node's text in the layered views: its dimension values (the column names the metric).
std::string ShortLabel(const GraphNode& node) {
  return Shorten(node.values.empty() ? node.label : node.values, kLabel);
}

int Sign(const GraphEdge& edge) {
  if (!edge.effect || *edge.effect == 0) return 0;
  return *edge.effect > 0 ? 1 : -1;
}

const char* SignClass(int sign) { return sign > 0 ? "pos" : sign < 0 ? "neg" : "mixed"; }

// The facts of a node shown in its details panel.
std::string NodeInfo(const SystemGraph& graph, const GraphNode& node) {
  std::string info;
  for (std::size_t s = 0; s < graph.statistics.size() && s < node.stats.size(); ++s) {
    if (node.stats[s]) info += graph.statistics[s].first + ": " + FormatValue(*node.stats[s], graph.statistics[s].second) + "\n";
  }
  for (const auto& [name, value] : node.details) {
    if (info.find(name + ": ") == std::string::npos && !name.empty()) info += name + ": " + value + "\n";
  }
  if (node.outliers) info += Word("Outliers") + ": " + FormatNumber(*node.outliers) + "\n";
  if (!info.empty()) info.pop_back();
  return info;
}

nlohmann::json Optional(const std::optional<double>& value) {
  return value ? nlohmann::json(*value) : nlohmann::json(nullptr);
}

// The data the script draws every view from: compact arrays, no markup.
//   n: [label, values, target, rank, outliers, info] per node; c, o: column and order per node
//   m: metric per column; e: [from, to, p, p text, sign, lag, lags] per edge
std::string GraphData(const SystemGraph& graph) {
  const GraphColumns columns = LayerGraph(graph);
  nlohmann::json nodes = nlohmann::json::array();
  for (const GraphNode& node : graph.nodes) {
    nodes.push_back({node.label, node.values, node.target ? 1 : 0, Optional(node.rank),
                     Optional(node.outliers), NodeInfo(graph, node)});
  }
  nlohmann::json edges = nlohmann::json::array();
  for (const GraphEdge& edge : graph.edges) {
    if (edge.from == edge.to) continue;
    // p only filters by the slider's levels, so six decimals keep every decision.
    nlohmann::json p = nullptr;
    if (edge.p) p = std::round(*edge.p * 1e6) / 1e6;
    edges.push_back({edge.from, edge.to, p, edge.p ? GraphPText(*edge.p) : "", Sign(edge),
                     Optional(edge.lag), Optional(edge.lags)});
  }
  const nlohmann::json data = {{"n", nodes}, {"c", columns.column}, {"o", columns.order},
                               {"m", columns.metrics}, {"e", edges}};
  return data.dump();
}

std::string DataElement(const std::string& id, const std::string& data) {
  // "</" would end the element early; JSON reads "<\/" as "</".
  std::string text;
  text.reserve(data.size());
  for (std::size_t at = 0; at < data.size(); ++at) {
    text += data[at];
    if (data[at] == '<' && at + 1 < data.size() && data[at + 1] == '/') text += '\\';
  }
  return "<script type=\"application/json\" class=\"graph-data\" id=\"" + id + "\">" + text + "</script>";
}

struct Place {
  double x = 0;
  double y = 0;
};

// A drawn view: where each shown node sits and the extent of the drawing.
struct Picture {
  std::map<std::size_t, Place> at;
  std::vector<std::pair<double, std::string>> headers; // x, metric
  std::map<std::size_t, double> right;                 // where a node's edges leave
  double min_x = 0, min_y = 0, max_x = 0, max_y = 0;
};

// The layered views: each metric's shown series in a column, centred on the tallest column.
Picture Layered(const SystemGraph& graph, const GraphColumns& columns, const std::vector<std::size_t>& shown) {
  Picture picture;
  std::vector<std::vector<std::size_t>> lists(columns.metrics.size());
  for (std::size_t i : shown) lists[static_cast<std::size_t>(columns.column[i])].push_back(i);
  std::size_t tallest = 1;
  for (auto& list : lists) {
    std::sort(list.begin(), list.end(), [&](std::size_t a, std::size_t b) { return columns.order[a] < columns.order[b]; });
    tallest = std::max(tallest, list.size());
  }
  double x = 0;
  for (std::size_t c = 0; c < lists.size(); ++c) {
    if (lists[c].empty()) continue;
    double widest = LabelWidth(columns.metrics[c]);
    for (std::size_t i : lists[c]) widest = std::max(widest, LabelWidth(ShortLabel(graph.nodes[i])) + 12);
    const double top = (static_cast<double>(tallest - lists[c].size()) / 2) * kRow;
    for (std::size_t k = 0; k < lists[c].size(); ++k) {
      picture.at[lists[c][k]] = {x, top + kRow * static_cast<double>(k)};
      picture.right[lists[c][k]] = x + widest + 4;
    }
    picture.headers.emplace_back(x, columns.metrics[c]);
    x += widest + kGap;
  }
  picture.min_x = -70;
  picture.min_y = -34;
  picture.max_x = std::max(x - kGap + 10, 60.0);
  picture.max_y = kRow * static_cast<double>(tallest) + 4;
  return picture;
}

// The single-series view: inputs in a column on the left, outputs on the right.
Picture Ego(const SystemGraph& graph, std::size_t centre) {
  Picture picture;
  std::vector<std::size_t> inputs, outputs;
  std::set<std::size_t> seen{centre};
  for (const auto& edge : graph.edges) {
    if (edge.to == centre && seen.insert(edge.from).second) inputs.push_back(edge.from);
  }
  for (const auto& edge : graph.edges) {
    if (edge.from == centre && seen.insert(edge.to).second) outputs.push_back(edge.to);
  }
  double widest = 40;
  for (std::size_t i : seen) widest = std::max(widest, LabelWidth(Shorten(graph.nodes[i].label, 40)));
  const auto column = [&](const std::vector<std::size_t>& list, double x) {
    const double top = -kEgoGap * static_cast<double>(list.size() - 1) / 2;
    for (std::size_t k = 0; k < list.size(); ++k) picture.at[list[k]] = {x, top + kEgoGap * static_cast<double>(k)};
  };
  column(inputs, -kEgoSpan);
  column(outputs, kEgoSpan);
  picture.at[centre] = {0, 0};
  const double rows = static_cast<double>(std::max<std::size_t>({inputs.size(), outputs.size(), 1}));
  picture.min_x = -kEgoSpan - widest - 24;
  picture.max_x = kEgoSpan + widest + 24;
  picture.min_y = -kEgoGap * rows / 2 - 30;
  picture.max_y = kEgoGap * rows / 2 + 30;
  return picture;
}

// The path of an edge in a layered view: rightward edges from the source column's right to the
// target, the others looping round the left of the target's column.
std::string LayeredPath(const Place& a, double a_right, const Place& b) {
  std::ostringstream path;
  const double end = b.x - 7;
  if (b.x > a.x) {
    const double mid = (a_right + end) / 2;
    path << 'M' << C(a_right) << ',' << C(a.y) << " C" << C(mid) << ',' << C(a.y) << ' ' << C(mid) << ','
         << C(b.y) << ' ' << C(end) << ',' << C(b.y);
  } else {
    const double bend = 26 + std::fabs(b.y - a.y) * 0.12;
    path << 'M' << C(a.x - 7) << ',' << C(a.y) << " C" << C(std::min(a.x, b.x) - bend) << ',' << C(a.y) << ' '
         << C(std::min(a.x, b.x) - bend) << ',' << C(b.y) << ' ' << C(end) << ',' << C(b.y);
  }
  return path.str();
}

// An arrow head with its tip at (x, y), pointing right (`direction` 1) or left (-1).
std::string Head(double x, double y, double direction = 1) {
  const double back = x - 7 * direction;
  return "M" + C(x) + "," + C(y) + " L" + C(back) + "," + C(y - 3.5) + " L" + C(back) + "," + C(y + 3.5) + " Z";
}

// The static picture of a view, the same drawing the script makes of it.
std::string StaticSvg(const SystemGraph& graph, const std::string& view, std::size_t centre,
                      const std::vector<std::size_t>& shown) {
  const bool single = view == "single";
  const GraphColumns columns = single ? GraphColumns{} : LayerGraph(graph);
  const Picture picture = single ? Ego(graph, centre) : Layered(graph, columns, shown);
  const double width = picture.max_x - picture.min_x;
  std::ostringstream svg;
  svg << "<svg class=\"graph\" viewBox=\"" << C(picture.min_x) << ' ' << C(picture.min_y) << ' ' << C(width)
      << ' ' << C(picture.max_y - picture.min_y) << "\" style=\"max-width:" << C(width * 1.25)
      << "px\" role=\"img\"><g class=\"edges\">";
  for (const auto& edge : graph.edges) {
    if (edge.from == edge.to || !picture.at.count(edge.from) || !picture.at.count(edge.to)) continue;
    if (single && edge.from != centre && edge.to != centre) continue;
    if (!graph.Significant(edge, graph.sig_level)) continue;
    const Place a = picture.at.at(edge.from), b = picture.at.at(edge.to);
    std::string d;
    std::string head = Head(b.x - 7, b.y);
    if (single) {
      // A straight line between the columns; an output placed among the inputs (a feedback)
      // is reached leftwards.
      const double direction = b.x >= a.x ? 1 : -1;
      d = "M" + C(a.x + 7 * direction) + "," + C(a.y) + " L" + C(b.x - 14 * direction) + "," + C(b.y);
      head = Head(b.x - 7 * direction, b.y, direction);
    } else {
      d = LayeredPath(a, picture.right.at(edge.from), b);
    }
    svg << "<g class=\"edge " << SignClass(Sign(edge)) << "\"><path class=\"edge-line\" stroke-width=\"1.6\" d=\"" << d << "\"/><path class=\"edge-head\" d=\"" << head << "\"/></g>";
  }
  svg << "</g><g class=\"nodes\">";
  for (const auto& [x, metric] : picture.headers) {
    svg << "<text class=\"column-title\" x=\"" << C(x - 6) << "\" y=\"-16\">" << E(metric) << "</text>";
  }
  for (const auto& [i, at] : picture.at) {
    const GraphNode& node = graph.nodes[i];
    const bool left = single && at.x < 0;
    const bool middle = single && i == centre;
    svg << "<g class=\"node" << (node.target ? " target" : " input-only") << "\" transform=\"translate("
        << C(at.x) << ' ' << C(at.y) << ")\"><circle r=\"5\"/>";
    if (graph.show_outliers && node.outliers && *node.outliers > 0) svg << "<circle class=\"outlier-ring\" r=\"8.5\"/>";
    const std::string text = single ? Shorten(node.label, 40) : ShortLabel(node);
    if (middle) {
      svg << "<text class=\"node-label centre-label\" x=\"0\" y=\"21\" text-anchor=\"middle\">";
    } else {
      svg << "<text class=\"node-label\" x=\"" << (left ? -10 : 10) << "\" y=\"4\""
          << (left ? " text-anchor=\"end\"" : "") << ">";
    }
    svg << E(text) << "</text></g>";
  }
  svg << "</g></svg>";
  return svg.str();
}

std::string Figure(const SystemGraph& graph, const std::string& data_id) {
  const std::size_t centre = graph.SingleIndex(graph.series);
  std::string view = graph.view;
  if (view == "single" && centre >= graph.nodes.size()) view = "all";
  const std::vector<std::size_t> shown = graph.ViewNodes(view, graph.series);

  // Significance levels on the slider; the run's own level is always one of them.
  std::vector<double> levels{0.001, 0.005, 0.01, 0.02, 0.05, 0.1, 0.2, 0.5, 1};
  if (graph.sig_level > 0 && std::find(levels.begin(), levels.end(), graph.sig_level) == levels.end()) {
    levels.push_back(graph.sig_level);
    std::sort(levels.begin(), levels.end());
  }
  std::size_t level_at = levels.size() - 1;
  for (std::size_t k = 0; k < levels.size(); ++k) {
    if (levels[k] >= graph.sig_level) {
      level_at = k;
      break;
    }
  }
  std::string level_list;
  for (double level : levels) level_list += (level_list.empty() ? "" : " ") + FormatNumber(level);

  std::ostringstream html;
  html << "<div class=\"figure system-graph\" data-graph=\"" << E(data_id) << "\" data-view=\"" << E(view)
       << "\" data-top=\"" << graph.top_models << "\" data-centre=\"" << (centre < graph.nodes.size() ? centre : 0)
       << "\" data-outliers=\"" << (graph.show_outliers ? 1 : 0) << "\" data-levels=\"" << level_list
       << "\" data-words=\""
       << E(Word("Output.GraphCount") + "\n" + Word("Output.Inputs") + "\n" + Word("Output.Outputs") + "\n" +
            Word("Output.NoInputs") + "\n" + Word("Output.NoOutputs") + "\n" + Word("Output.ShowAlone") + "\n" +
            Word("Output.Lag") + "\n" + Word("Output.PositiveEffect") + "\n" + Word("Output.NegativeEffect") +
            "\n" + Word("Output.Connections") + "\n" + Word("Output.ColumnSeries") + "\n" +
            Word("Output.ExpandColumn"))
       << "\">";
  html << "<div class=\"figure-controls\"><label>" << E(Word("Output.View")) << " <select class=\"graph-view\">";
  const std::pair<const char*, const char*> views[] = {{"top", "Top models"},
                                                       {"all", "All series"},
                                                       {"noInputs", "Models with no inputs"},
                                                       {"single", "Output.SingleSeries"}};
  for (const auto& [name, word] : views) {
    html << "<option value=\"" << name << "\"" << (view == name ? " selected" : "") << ">" << E(Word(word))
         << "</option>";
  }
  // The series list is filled from the data when first opened: one option per series in every
  // figure would outweigh the figure.
  html << "</select></label><label class=\"series-pick\">" << E(Word("Output.Series"))
       << " <select class=\"graph-series\">";
  if (centre < graph.nodes.size()) {
    html << "<option value=\"" << centre << "\" selected>" << E(graph.nodes[centre].label) << "</option>";
  }
  html << "</select></label><label class=\"sig-pick\">" << E(Word("Output.SignificanceLevel"))
       << " <input type=\"range\" class=\"graph-sig\" min=\"0\" max=\"" << levels.size() - 1
       << "\" step=\"1\" value=\"" << level_at << "\"> <output class=\"graph-sig-value\">p \u2264 "
       << FormatNumber(levels[level_at]) << "</output></label><span class=\"graph-count\"></span></div>";
  html << "<div class=\"graph-frame\">" << StaticSvg(graph, view, centre, shown) << "</div>";
  html << "<div class=\"graph-legend\"><span class=\"key target\">" << E(Word("Output.Target"))
       << "</span><span class=\"key input-only\">" << E(Word("Output.InputOnly")) << "</span>"
       << "<span class=\"key key-pos\">" << E(Word("Output.PositiveEffect")) << "</span><span class=\"key key-neg\">"
       << E(Word("Output.NegativeEffect")) << "</span>";
  if (graph.show_outliers) html << "<span class=\"key outliers\">" << E(Word("Output.HasOutliers")) << "</span>";
  html << "</div><div class=\"graph-details\" hidden></div>";
  if (!graph.model_file.empty()) {
    html << "<p class=\"figure-note model-file\">" << E(Word("Model File")) << ": " << E(graph.model_file) << "</p>";
  }
  html << "</div>";
  return html.str();
}

} // namespace

std::string GraphPText(double p) { return FormatValue(p, ValueFormat{ValueFormat::Kind::PValue, 3, true}); }

GraphColumns LayerGraph(const SystemGraph& graph) {
  GraphColumns out;
  const std::size_t n = graph.nodes.size();
  std::map<std::string, std::size_t> metric_at;
  std::vector<std::size_t> metric_of(n);
  for (std::size_t i = 0; i < n; ++i) {
    const auto [it, added] = metric_at.emplace(graph.nodes[i].metric, out.metrics.size());
    if (added) out.metrics.push_back(graph.nodes[i].metric);
    metric_of[i] = it->second;
  }
  // Metrics in an order where most connections run left to right: a metric that drives none
  // of the metrics still unplaced goes to the right end, one that none of them drives to the
  // left, else the one whose connections with them most leave rather than enter it.
  const std::size_t m = out.metrics.size();
  std::vector<std::vector<double>> weight(m, std::vector<double>(m, 0));
  for (const auto& edge : graph.edges) {
    if (metric_of[edge.from] != metric_of[edge.to]) weight[metric_of[edge.from]][metric_of[edge.to]] += 1;
  }
  std::vector<std::size_t> left, right;
  std::vector<bool> placed(m, false);
  for (std::size_t count = 0; count < m; ++count) {
    std::size_t sink = m, source = m, most = m;
    double best = 0;
    for (std::size_t a = 0; a < m; ++a) {
      if (placed[a]) continue;
      double leaving = 0, entering = 0;
      for (std::size_t b = 0; b < m; ++b) {
        if (placed[b]) continue;
        leaving += weight[a][b];
        entering += weight[b][a];
      }
      if (leaving == 0 && sink == m) sink = a;
      if (entering == 0 && source == m) source = a;
      if (most == m || leaving - entering > best) {
        most = a;
        best = leaving - entering;
      }
    }
    const std::size_t pick = sink < m ? sink : source < m ? source : most;
    placed[pick] = true;
    (sink < m ? right : left).push_back(pick);
  }
  std::vector<std::size_t> rank = left;
  rank.insert(rank.end(), right.rbegin(), right.rend());
  std::vector<std::string> metrics;
  std::vector<int> column_of_metric(m);
  for (std::size_t k = 0; k < m; ++k) {
    metrics.push_back(out.metrics[rank[k]]);
    column_of_metric[rank[k]] = static_cast<int>(k);
  }
  out.metrics = metrics;
  out.column.resize(n);
  for (std::size_t i = 0; i < n; ++i) out.column[i] = column_of_metric[metric_of[i]];

  // Within a column: by name first, then barycentre sweeps that move each series toward the
  // mean place of its inputs (left to right) and of its outputs (right to left).
  std::vector<std::vector<std::size_t>> lists(m);
  for (std::size_t i = 0; i < n; ++i) lists[static_cast<std::size_t>(out.column[i])].push_back(i);
  std::vector<double> place(n, 0);
  const auto number = [&] {
    for (auto& list : lists) {
      for (std::size_t k = 0; k < list.size(); ++k) place[list[k]] = (static_cast<double>(k) + 0.5) / static_cast<double>(list.size());
    }
  };
  for (auto& list : lists) {
    std::stable_sort(list.begin(), list.end(), [&](std::size_t a, std::size_t b) { return graph.nodes[a].label < graph.nodes[b].label; });
  }
  number();
  std::vector<std::vector<std::size_t>> inputs(n), outputs(n);
  for (const auto& edge : graph.edges) {
    if (out.column[edge.from] == out.column[edge.to]) continue;
    inputs[edge.to].push_back(edge.from);
    outputs[edge.from].push_back(edge.to);
  }
  for (int sweep = 0; sweep < 4; ++sweep) {
    const auto& near = sweep % 2 == 0 ? inputs : outputs;
    for (std::size_t step = 0; step < m; ++step) {
      auto& list = lists[sweep % 2 == 0 ? step : m - 1 - step];
      std::vector<double> wanted(n);
      for (std::size_t i : list) {
        double sum = 0;
        for (std::size_t j : near[i]) sum += place[j];
        wanted[i] = near[i].empty() ? place[i] : sum / static_cast<double>(near[i].size());
      }
      std::stable_sort(list.begin(), list.end(), [&](std::size_t a, std::size_t b) { return wanted[a] < wanted[b]; });
      for (std::size_t k = 0; k < list.size(); ++k) place[list[k]] = (static_cast<double>(k) + 0.5) / static_cast<double>(list.size());
    }
  }
  out.order.resize(n);
  for (auto& list : lists) {
    for (std::size_t k = 0; k < list.size(); ++k) out.order[list[k]] = static_cast<int>(k);
  }
  return out;
}

std::string GraphDataStore::Add(const SystemGraph& graph) {
  std::string data = GraphData(graph);
  if (const auto found = ids_.find(data); found != ids_.end()) return found->second;
  const std::string id = "graph-data-" + std::to_string(data_.size() + 1);
  ids_.emplace(data, id);
  data_.emplace_back(id, std::move(data));
  return id;
}

std::string GraphDataStore::Html() const {
  std::string html;
  for (const auto& [id, data] : data_) html += DataElement(id, data);
  return html;
}

std::string RenderSystemGraphHtml(const SystemGraph& graph, GraphDataStore& store) {
  return Figure(graph, store.Add(graph));
}

std::string RenderSystemGraphHtml(const SystemGraph& graph) {
  // A figure alone carries its data, under an id made from them: figures with the same data
  // may then share it, and other figures' data keep ids of their own.
  const std::string data = GraphData(graph);
  const std::string id = "graph-data-h" + std::to_string(std::hash<std::string>{}(data));
  std::string html = Figure(graph, id);
  return html.insert(html.size() - 6, DataElement(id, data));
}

} // namespace host
