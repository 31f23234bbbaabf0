// This file contains the reading of the output document's visualizations into report payloads.
#include "host/output/engine_visualization.h"

#include <cmath>
#include <optional>
#include <set>

#include "host/output/number_format.h"
#include "host/output/value_format.h"

namespace host {
namespace {

using J = JNIJSONObject;
using A = JNIJSONArray;

struct Field {
  std::string name;
  std::string label;
  std::string role;
  std::string of; // the line a band bound belongs to
  ValueFormat format;
  std::vector<std::vector<std::string>> cats; // texts of each category list
  std::vector<std::string> cat_names;
  std::vector<std::string> keys; // keys of the first list, "" where none
  std::vector<JNIJSONHandle> elements; // the text nodes of the first list
};

struct DataSet {
  std::string name;
  std::vector<Field> fields;
  JNIJSONHandle rows = nullptr;
  std::size_t row_count = 0;
};

std::string Text(JNIJSONHandle node, std::string_view key) {
  const JNIJSONHandle child = J::get(node, key);
  if (child == nullptr || child->is_null()) return {};
  if (child->is_number()) return FormatNumber(child->get<double>());
  return J::toString(child);
}

bool ReadDataArray(JNIJSONHandle node, const dataDictionary& dictionary,
                   std::vector<DataSet>& sets, std::string& problem) {
  const JNIJSONHandle data = J::get(node, "dataArray");
  if (data == nullptr || !data->is_array() || data->empty()) {
    problem = "the visualization has no \"dataArray\"";
    return false;
  }
  for (std::size_t i = 0; i < A::size(data); ++i) {
    const JNIJSONHandle one = A::get(data, i);
    DataSet set;
    set.name = Text(one, "name");
    const JNIJSONHandle fields = J::get(one, "fields");
    if (fields == nullptr || !fields->is_array()) {
      problem = "dataArray[" + std::to_string(i) + "] has no \"fields\"";
      return false;
    }
    for (std::size_t f = 0; f < A::size(fields); ++f) {
      const JNIJSONHandle at = A::get(fields, f);
      Field field;
      field.name = Text(at, "name");
      field.label = Text(at, "label");
      if (field.label.empty()) field.label = field.name;
      field.role = Text(at, "role");
      field.of = Text(at, "of");
      if (const JNIJSONHandle format = J::get(at, "format")) field.format = ReadValueFormat(*format);
      const JNIJSONHandle cats = J::get(at, "cats");
      for (std::size_t k = 0; k < A::size(cats); ++k) {
        const JNIJSONHandle cat = A::get(cats, k);
        const JNIJSONHandle content = J::get(cat, "content");
        std::vector<std::string> texts;
        for (std::size_t c = 0; c < A::size(content); ++c) {
          const JNIJSONHandle element = A::get(content, c);
          texts.push_back(CompositeTextOf(element, dictionary));
          if (k == 0) field.keys.push_back(Text(element, "key"));
          if (k == 0) field.elements.push_back(element);
        }
        field.cats.push_back(std::move(texts));
        field.cat_names.push_back(Text(cat, "name"));
      }
      set.fields.push_back(std::move(field));
    }
    set.rows = J::get(one, "rows");
    set.row_count = A::size(set.rows);
    sets.push_back(std::move(set));
  }
  return true;
}

int FieldWithRole(const DataSet& set, std::string_view role) {
  for (std::size_t f = 0; f < set.fields.size(); ++f) {
    if (set.fields[f].role == role) return static_cast<int>(f);
  }
  return -1;
}

JNIJSONHandle CellAt(const DataSet& set, std::size_t row, int field) {
  if (field < 0) return nullptr;
  return A::get(A::get(set.rows, row), static_cast<std::size_t>(field));
}

std::optional<double> NumberAt(const DataSet& set, std::size_t row, int field) {
  const JNIJSONHandle cell = CellAt(set, row, field);
  if (cell == nullptr || !cell->is_number()) return std::nullopt;
  const double value = cell->get<double>();
  if (!std::isfinite(value)) return std::nullopt;
  return value;
}

nlohmann::json JsonNumber(const std::optional<double>& value) {
  return value ? nlohmann::json(*value) : nlohmann::json(nullptr);
}

// The category text of a categorical cell: an index into the field's first list; a text cell
// is taken as it stands.
std::string CategoryAt(const DataSet& set, std::size_t row, int field, std::string* key = nullptr,
                       JNIJSONHandle* element = nullptr) {
  const JNIJSONHandle cell = CellAt(set, row, field);
  if (cell == nullptr || field < 0) return {};
  const Field& at = set.fields[static_cast<std::size_t>(field)];
  if (cell->is_number_integer()) {
    const auto index = cell->get<long long>();
    if (!at.cats.empty() && index >= 0 && static_cast<std::size_t>(index) < at.cats[0].size()) {
      if (key != nullptr) *key = at.keys[static_cast<std::size_t>(index)];
      if (element != nullptr) *element = at.elements[static_cast<std::size_t>(index)];
      return at.cats[0][static_cast<std::size_t>(index)];
    }
    return {};
  }
  if (cell->is_string()) return cell->get<std::string>();
  return {};
}

nlohmann::json FormatJson(const ValueFormat& format) {
  static const char* const kNames[] = {"number", "integer", "percent", "pvalue",
                                       "date",   "datetime", "text"};
  nlohmann::json out = {{"type", kNames[static_cast<int>(format.kind)]}};
  if (format.decimals >= 0) out["decimals"] = format.decimals;
  return out;
}

void CopyText(JNIJSONHandle from, std::string_view key, nlohmann::json& to, const char* as) {
  const std::string text = Text(from, key);
  if (!text.empty()) to[as] = text;
}

bool ExpectKind(JNIJSONHandle node, std::string_view kind, std::string& problem) {
  if (VisualizationKind(node) == kind) return true;
  problem = "the node is not a visualization of kind \"" + std::string(kind) + "\"";
  return false;
}

} // namespace

std::string CompositeTextOf(JNIJSONHandle node, const dataDictionary& dictionary) {
  std::string metric;
  std::vector<std::pair<std::string, std::string>> dimensions;
  if (dataDictionary::seriesParts(node, metric, dimensions)) return dictionary.seriesName(metric, dimensions);
  const JNIJSONHandle children = J::get(J::get(J::get(node, "text"), "compositeText"), "children");
  std::string text;
  for (std::size_t i = 0; i < A::size(children); ++i) {
    const JNIJSONHandle child = J::get(A::get(children, i), "text");
    if (const JNIJSONHandle data = J::get(child, "stringDataText")) {
      if (const JNIJSONHandle value = J::get(data, "value")) text += J::toString(value);
    } else if (const JNIJSONHandle number = J::get(child, "numericDataText")) {
      const JNIJSONHandle value = J::get(number, "value");
      std::string piece = J::toString(value);
      const std::string variable = J::getChildAsString(number, "variable");
      if (!variable.empty() && value != nullptr &&
          dictionary.getField(variable).getDecimalPlaces() == 0) {
        piece = piece.substr(0, piece.find('.'));
      }
      text += piece;
    } else if (const JNIJSONHandle plain = J::get(child, "stringText")) {
      if (J::get(plain, "isTooltip") == nullptr) {
        if (const JNIJSONHandle value = J::get(plain, "value")) text += J::toString(value);
      }
    }
  }
  return text;
}

std::vector<std::string> CategoryTextsOf(JNIJSONHandle visualization, std::size_t data_index,
                                         std::size_t field_index, std::size_t cat_index,
                                         const dataDictionary& dictionary) {
  const JNIJSONHandle content = J::get(
      A::get(J::get(A::get(J::get(A::get(J::get(visualization, "dataArray"), data_index), "fields"),
                           field_index),
                    "cats"),
             cat_index),
      "content");
  std::vector<std::string> texts;
  for (std::size_t i = 0; i < A::size(content); ++i) {
    texts.push_back(CompositeTextOf(A::get(content, i), dictionary));
  }
  return texts;
}

std::string VisualizationKind(JNIJSONHandle node) {
  if (node == nullptr || !node->is_object() || J::get(node, "dataArray") == nullptr) return {};
  return J::getChildAsString(node, "kind");
}

bool LineChartPayload(JNIJSONHandle node, const dataDictionary& dictionary,
                      nlohmann::json& payload, std::string& problem) {
  if (!ExpectKind(node, "lineChart", problem)) return false;
  std::vector<DataSet> sets;
  if (!ReadDataArray(node, dictionary, sets, problem)) return false;
  const DataSet& set = sets[0];
  int x = FieldWithRole(set, "x");
  if (x < 0) x = 0;
  payload = {{"kind", "line"}};
  nlohmann::json labels = nlohmann::json::array();
  for (std::size_t r = 0; r < set.row_count; ++r) {
    const JNIJSONHandle cell = CellAt(set, r, x);
    if (cell != nullptr && cell->is_number() && !set.fields[static_cast<std::size_t>(x)].format.given &&
        set.fields[static_cast<std::size_t>(x)].cats.empty()) {
      labels.push_back(FormatNumber(cell->get<double>()));
    } else if (cell != nullptr && cell->is_number() && set.fields[static_cast<std::size_t>(x)].cats.empty()) {
      labels.push_back(FormatValue(cell->get<double>(), set.fields[static_cast<std::size_t>(x)].format));
    } else {
      labels.push_back(CategoryAt(set, r, x));
    }
  }
  payload["x"] = labels;
  nlohmann::json series = nlohmann::json::array();
  for (std::size_t f = 0; f < set.fields.size(); ++f) {
    const Field& line = set.fields[f];
    if (line.role != "line") continue;
    nlohmann::json one = {{"name", dictionary.shownName(line.label)}};
    nlohmann::json y = nlohmann::json::array();
    for (std::size_t r = 0; r < set.row_count; ++r) y.push_back(JsonNumber(NumberAt(set, r, static_cast<int>(f))));
    one["y"] = y;
    int lower = -1;
    int upper = -1;
    for (std::size_t b = 0; b < set.fields.size(); ++b) {
      if (set.fields[b].of != line.name) continue;
      if (set.fields[b].role == "lower") lower = static_cast<int>(b);
      if (set.fields[b].role == "upper") upper = static_cast<int>(b);
    }
    if (lower >= 0 && upper >= 0) {
      nlohmann::json lo = nlohmann::json::array();
      nlohmann::json hi = nlohmann::json::array();
      for (std::size_t r = 0; r < set.row_count; ++r) {
        lo.push_back(JsonNumber(NumberAt(set, r, lower)));
        hi.push_back(JsonNumber(NumberAt(set, r, upper)));
      }
      one["lower"] = lo;
      one["upper"] = hi;
    }
    series.push_back(std::move(one));
  }
  if (series.empty()) {
    problem = "the line chart has no field with the role \"line\"";
    return false;
  }
  payload["series"] = series;
  if (const JNIJSONHandle start = J::get(node, "forecastStart"); start != nullptr && start->is_number_integer()) {
    payload["forecastStart"] = start->get<long long>();
  }
  CopyText(node, "xLabel", payload, "xLabel");
  if (!payload.contains("xLabel") && !set.fields.empty()) {
    payload["xLabel"] = set.fields[static_cast<std::size_t>(x)].label;
  }
  CopyText(node, "yLabel", payload, "yLabel");
  if (payload.contains("yLabel")) payload["yLabel"] = dictionary.shownName(payload["yLabel"].get<std::string>());
  CopyText(node, "title", payload, "title");
  if (const JNIJSONHandle marks = J::get(node, "marks"); marks != nullptr && marks->is_array()) {
    nlohmann::json list = nlohmann::json::array();
    for (std::size_t i = 0; i < A::size(marks); ++i) {
      const JNIJSONHandle mark = A::get(marks, i);
      const JNIJSONHandle at = J::get(mark, "x");
      if (at == nullptr || !at->is_number_integer()) continue;
      list.push_back({{"x", at->get<long long>()}, {"label", Text(mark, "label")}});
    }
    payload["marks"] = list;
  }
  if (const JNIJSONHandle focus = J::get(node, "focus"); focus != nullptr && focus->is_object()) {
    const JNIJSONHandle from = J::get(focus, "from");
    const JNIJSONHandle to = J::get(focus, "to");
    if (from != nullptr && to != nullptr && from->is_number_integer() && to->is_number_integer())
      payload["focus"] = {{"from", from->get<long long>()}, {"to", to->get<long long>()}};
  }
  if (const JNIJSONHandle lines = J::get(node, "referenceLines"); lines != nullptr && lines->is_array()) {
    nlohmann::json list = nlohmann::json::array();
    for (std::size_t i = 0; i < A::size(lines); ++i) {
      const JNIJSONHandle line = A::get(lines, i);
      const JNIJSONHandle value = J::get(line, "value");
      if (value == nullptr || !value->is_number()) continue;
      list.push_back({{"value", value->get<double>()}, {"label", Text(line, "label")}});
    }
    payload["referenceLines"] = list;
  }
  return true;
}

bool DistributionPayload(JNIJSONHandle histogram, JNIJSONHandle dot_plot,
                         const dataDictionary& dictionary, nlohmann::json& payload,
                         std::string& problem) {
  payload = {{"kind", "distribution"}};
  if (histogram != nullptr) {
    std::vector<DataSet> sets;
    if (!ExpectKind(histogram, "histogram", problem) ||
        !ReadDataArray(histogram, dictionary, sets, problem)) {
      return false;
    }
    const DataSet& set = sets[0];
    const int from = FieldWithRole(set, "binStart");
    const int to = FieldWithRole(set, "binEnd");
    const int count = FieldWithRole(set, "count");
    if (from < 0 || to < 0 || count < 0) {
      problem = "the histogram lacks a field with the role binStart, binEnd or count";
      return false;
    }
    nlohmann::json bins = nlohmann::json::array();
    for (std::size_t r = 0; r < set.row_count; ++r) {
      const auto a = NumberAt(set, r, from);
      const auto b = NumberAt(set, r, to);
      const auto n = NumberAt(set, r, count);
      if (!a || !b || !n) continue;
      bins.push_back({{"from", *a}, {"to", *b}, {"count", *n}});
    }
    nlohmann::json part = {{"bins", bins},
                           {"format", FormatJson(set.fields[static_cast<std::size_t>(from)].format)}};
    CopyText(histogram, "xLabel", part, "xLabel");
    CopyText(histogram, "yLabel", part, "yLabel");
    CopyText(histogram, "statistic", payload, "statistic");
    payload["histogram"] = part;
  }
  if (dot_plot != nullptr) {
    std::vector<DataSet> sets;
    if (!ExpectKind(dot_plot, "dotPlot", problem) ||
        !ReadDataArray(dot_plot, dictionary, sets, problem)) {
      return false;
    }
    const DataSet& set = sets[0];
    int label = FieldWithRole(set, "category");
    const int value = FieldWithRole(set, "value");
    if (value < 0) {
      problem = "the dot plot lacks a field with the role value";
      return false;
    }
    nlohmann::json points = nlohmann::json::array();
    for (std::size_t r = 0; r < set.row_count; ++r) {
      const auto v = NumberAt(set, r, value);
      if (!v) continue;
      points.push_back({{"label", CategoryAt(set, r, label)}, {"value", *v}});
    }
    nlohmann::json part = {{"points", points},
                           {"format", FormatJson(set.fields[static_cast<std::size_t>(value)].format)}};
    CopyText(dot_plot, "xLabel", part, "xLabel");
    if (!payload.contains("statistic")) CopyText(dot_plot, "statistic", payload, "statistic");
    payload["dotPlot"] = part;
  }
  if (histogram == nullptr && dot_plot == nullptr) {
    problem = "neither a histogram nor a dot plot";
    return false;
  }
  return true;
}

bool SystemGraphPayload(JNIJSONHandle node, const dataDictionary& dictionary,
                        nlohmann::json& payload, std::string& problem) {
  if (!ExpectKind(node, "networkGraph", problem)) return false;
  std::vector<DataSet> sets;
  if (!ReadDataArray(node, dictionary, sets, problem)) return false;
  const DataSet& nodes = sets[0];
  int series = FieldWithRole(nodes, "series");
  if (series < 0) series = 0;
  if (nodes.fields.empty()) {
    problem = "the graph's node data have no fields";
    return false;
  }
  const Field& series_field = nodes.fields[static_cast<std::size_t>(series)];
  std::set<std::string> targets;
  for (std::size_t k = 1; k < series_field.cats.size(); ++k) {
    if (series_field.cat_names[k] == "targets" || (k == 1 && series_field.cat_names[k].empty())) {
      targets.insert(series_field.cats[k].begin(), series_field.cats[k].end());
    }
  }
  std::vector<int> stat_fields;
  nlohmann::json statistics = nlohmann::json::array();
  for (std::size_t f = 0; f < nodes.fields.size(); ++f) {
    if (nodes.fields[f].role != "statistic") continue;
    stat_fields.push_back(static_cast<int>(f));
    statistics.push_back({{"name", nodes.fields[f].label}, {"format", FormatJson(nodes.fields[f].format)}});
  }
  const int rank = FieldWithRole(nodes, "rank");
  const int outliers = FieldWithRole(nodes, "outliers");
  nlohmann::json list = nlohmann::json::array();
  for (std::size_t r = 0; r < nodes.row_count; ++r) {
    std::string key;
    JNIJSONHandle element = nullptr;
    const std::string label = CategoryAt(nodes, r, series, &key, &element);
    nlohmann::json one = {{"label", label}, {"target", targets.count(label) > 0}};
    if (!key.empty()) one["key"] = key;
    // The metric and the dimension values apart, for a graph that groups series by metric.
    std::string metric;
    std::vector<std::pair<std::string, std::string>> dimensions;
    if (dataDictionary::seriesParts(element, metric, dimensions)) {
      std::string values;
      for (const auto& [dimension, value] : dimensions) {
        values += (values.empty() ? "" : " \u00b7 ") + dictionary.valueName(dimension, value);
      }
      one["metric"] = metric;
      if (!values.empty()) one["values"] = values;
    }
    if (const auto value = NumberAt(nodes, r, rank)) one["rank"] = *value;
    if (const auto value = NumberAt(nodes, r, outliers)) one["outliers"] = *value;
    nlohmann::json stats = nlohmann::json::array();
    for (int f : stat_fields) stats.push_back(JsonNumber(NumberAt(nodes, r, f)));
    one["stats"] = stats;
    list.push_back(std::move(one));
  }
  nlohmann::json edges = nlohmann::json::array();
  if (sets.size() > 1) {
    const DataSet& links = sets[1];
    const int from = FieldWithRole(links, "source");
    const int to = FieldWithRole(links, "target");
    const int p = FieldWithRole(links, "pValue");
    const int weight = FieldWithRole(links, "weight");
    const int lag = FieldWithRole(links, "lag");
    const int effect = FieldWithRole(links, "effect");
    const int lags = FieldWithRole(links, "lags");
    if (from < 0 || to < 0) {
      problem = "the graph's edge data lack a field with the role source or target";
      return false;
    }
    for (std::size_t r = 0; r < links.row_count; ++r) {
      const auto a = NumberAt(links, r, from);
      const auto b = NumberAt(links, r, to);
      // An edge that names no node of the list is left out rather than drawn to nowhere.
      if (!a || !b || *a < 0 || *b < 0 || *a >= static_cast<double>(nodes.row_count) ||
          *b >= static_cast<double>(nodes.row_count)) {
        continue;
      }
      nlohmann::json edge = {{"from", static_cast<long long>(*a)}, {"to", static_cast<long long>(*b)}};
      edge["p"] = JsonNumber(NumberAt(links, r, p));
      edge["weight"] = JsonNumber(NumberAt(links, r, weight));
      if (const auto value = NumberAt(links, r, lag)) edge["lag"] = *value;
      if (const auto value = NumberAt(links, r, effect)) edge["effect"] = *value;
      if (const auto value = NumberAt(links, r, lags)) edge["lags"] = *value;
      edges.push_back(std::move(edge));
    }
  }
  payload = {{"kind", "systemGraph"}, {"nodes", list}, {"edges", edges}, {"statistics", statistics}};
  CopyText(node, "fitStatistic", payload, "fitStatistic");
  return true;
}

bool ImpactTreePayload(JNIJSONHandle node, const dataDictionary& dictionary, nlohmann::json& tree,
                       std::string& problem) {
  if (!ExpectKind(node, "impactTree", problem)) return false;
  std::vector<DataSet> sets;
  if (!ReadDataArray(node, dictionary, sets, problem)) return false;
  const DataSet& set = sets[0];
  int series = FieldWithRole(set, "series");
  if (series < 0) series = 0;
  const int parent = FieldWithRole(set, "parent");
  const int lag = FieldWithRole(set, "lag");
  const int p = FieldWithRole(set, "pValue");
  const int weight = FieldWithRole(set, "weight");
  const int root_cause = FieldWithRole(set, "rootCause");
  const int score = FieldWithRole(set, "score");
  nlohmann::json list = nlohmann::json::array();
  std::vector<int> levels;
  for (std::size_t r = 0; r < set.row_count; ++r) {
    std::string key;
    nlohmann::json one = {{"label", CategoryAt(set, r, series, &key)}};
    if (!key.empty()) one["key"] = key;
    // The root is row 0; a parent must come before its child, which also rules out cycles.
    long long up = -1;
    if (r > 0) {
      const auto value = NumberAt(set, r, parent);
      up = value && *value >= 0 && *value < static_cast<double>(r) ? static_cast<long long>(*value) : 0;
    }
    one["parent"] = up;
    levels.push_back(up < 0 ? 0 : levels[static_cast<std::size_t>(up)] + 1);
    one["level"] = levels.back();
    if (const auto value = NumberAt(set, r, lag)) one["lag"] = *value;
    if (const auto value = NumberAt(set, r, p)) one["p"] = *value;
    if (const auto value = NumberAt(set, r, weight)) one["weight"] = *value;
    if (const auto value = NumberAt(set, r, root_cause)) one["rootCause"] = *value != 0;
    if (const auto value = NumberAt(set, r, score)) one["score"] = *value;
    list.push_back(std::move(one));
  }
  if (list.empty()) {
    problem = "the impact tree has no nodes";
    return false;
  }
  std::string direction = Text(node, "direction");
  if (direction != "effects") direction = "causes";
  tree = {{"direction", direction}, {"nodes", list}};
  CopyText(node, "subtitle", tree, "subtitle");
  if (tree.contains("subtitle")) tree["subtitle"] = dictionary.shownName(tree["subtitle"].get<std::string>());
  return true;
}

} // namespace host
