// This file contains jsonToReverb: the queue of output orders and their drawing from the
// output document into the procedure's outline.
#include "host/output/json_to_reverb.h"

#include <cstdlib>
#include <set>

#include "host/data/procedure_data_source.h"
#include "host/messages/fac_st_dictionary.h"
#include "host/output/engine_table.h"
#include "host/output/engine_visualization.h"
#include "host/output/number_format.h"
#include "host/output/rv.h"

namespace {

using J = JNIJSONObject;

// What the locations of an interactive order hold, gathered before the object is made.
struct Gathered {
  std::vector<JNIJSONHandle> visualizations;
  std::vector<JNIJSONHandle> tables;
  JNIJSONHandle sub_json = nullptr;
};

bool IsPresent(JNIJSONHandle node) {
  return node != nullptr && !node->is_null() && !JNIJSONArtifact::isString(node);
}

// A visualization below a "visualization" node: the node itself, or, for per-series nodes, the
// child named by `series`.
void GatherVisualization(JNIJSONHandle node, const std::string& series, Gathered& into) {
  if (!IsPresent(node)) return;
  if (!host::VisualizationKind(node).empty()) {
    into.visualizations.push_back(node);
    return;
  }
  if (!series.empty()) {
    const JNIJSONHandle child = J::get(node, series);
    if (IsPresent(child) && !host::VisualizationKind(child).empty()) {
      into.visualizations.push_back(child);
    }
  }
}

void Gather(JNIJSONHandle node, const std::string& series, Gathered& into) {
  if (!IsPresent(node)) return;
  if (!host::VisualizationKind(node).empty()) {
    into.visualizations.push_back(node);
  } else if (host::LooksLikeTable(*node)) {
    into.tables.push_back(node);
  } else {
    GatherVisualization(J::get(node, "visualization"), series, into);
    const JNIJSONHandle table = J::get(node, "table");
    if (IsPresent(table) && host::LooksLikeTable(*table)) into.tables.push_back(table);
    const JNIJSONHandle sub = J::get(node, "subJson");
    if (IsPresent(sub) && sub->is_object() && into.sub_json == nullptr) into.sub_json = sub;
  }
}

int IntOption(const std::map<std::string, std::string>& options, const std::string& key,
              int fallback) {
  const auto found = options.find(key);
  if (found == options.end()) return fallback;
  char* end = nullptr;
  const long value = std::strtol(found->second.c_str(), &end, 10);
  return end != found->second.c_str() ? static_cast<int>(value) : fallback;
}

double DoubleOption(const std::map<std::string, std::string>& options, const std::string& key,
                    double fallback) {
  const auto found = options.find(key);
  if (found == options.end()) return fallback;
  double value = 0;
  return String2Double(found->second, value) ? value : fallback;
}

std::string TextOption(const std::map<std::string, std::string>& options, const std::string& key) {
  const auto found = options.find(key);
  return found == options.end() ? std::string() : found->second;
}

// The view of the model system graph named by the "display" option.
std::string ViewOf(const std::string& display) {
  if (display == "All series") return "all";
  if (display == "Models with no inputs") return "noInputs";
  if (display == "Single series") return "single";
  return "top";
}

// Cuts a tree's nodes below `depth` levels (0 or less: no cut).
nlohmann::json PruneTree(const nlohmann::json& tree, int depth) {
  if (depth <= 0) return tree;
  nlohmann::json out = tree;
  nlohmann::json kept = nlohmann::json::array();
  std::vector<long long> new_index;
  for (const auto& node : tree["nodes"]) {
    const long long parent = node["parent"].get<long long>();
    const bool keep = node["level"].get<int>() <= depth &&
                      (parent < 0 || new_index[static_cast<std::size_t>(parent)] >= 0);
    new_index.push_back(keep ? static_cast<long long>(kept.size()) : -1);
    if (!keep) continue;
    nlohmann::json copy = node;
    if (parent >= 0) copy["parent"] = new_index[static_cast<std::size_t>(parent)];
    kept.push_back(std::move(copy));
  }
  out["nodes"] = kept;
  return out;
}

} // namespace

namespace host {

JNIJSONHandle ResolveLocation(JNIJSONHandle root, const OutputLocation& location) {
  JNIJSONHandle node = root;
  for (const auto& segment : location.Segments()) {
    if (!IsPresent(node) || !node->is_object()) return nullptr;
    node = J::get(node, segment);
  }
  return IsPresent(node) ? node : nullptr;
}

} // namespace host

jsonToReverb::jsonToReverb(RvProcedure* procedure, const ProcedureDataSource* data,
                           FacSTDictionary& dictionary, const std::string& json)
    : procedure_(procedure), data_(data), dictionary_(dictionary), document_(json) {
  parsed_ = document_.isGood();
  dictionary_fields_ = dataDictionary(J::get(document_.getTop(), "dataDictionary"), data_);
  dictionary_fields_.learnSeriesNames(document_.getTop());
}

jsonToReverb::jsonToReverb(RvProcedure* procedure, const ProcedureDataSource* data,
                           FacSTDictionary& dictionary)
    : procedure_(procedure), data_(data), dictionary_(dictionary) {
  dictionary_fields_ = dataDictionary(nullptr, data_);
}

void jsonToReverb::addObjectToOutput(OutputOrder& order) { orders_.push_back(order); }

void jsonToReverb::addObjectToOutput(std::string heading, std::string location, std::string title,
                                     std::string subtype, OutputOrder::Type type) {
  OutputOrder order;
  order.setHeading(std::move(heading))
      .setOutlineTitle(std::move(title), false)
      .setOMSSubType(std::move(subtype))
      .setType(type)
      .addLocation(std::move(location));
  orders_.push_back(std::move(order));
}

bool jsonToReverb::hasItem(const std::string& path) const {
  // A string node exists for the caller; only a missing member or a JSON null is absent.
  OutputLocation location;
  location.dotted = path;
  JNIJSONHandle node = document_.getTop();
  for (const auto& segment : location.Segments()) {
    if (node == nullptr || !node->is_object()) return false;
    node = J::get(node, segment);
  }
  return node != nullptr && !node->is_null();
}

bool jsonToReverb::generateOutput(const std::string& root) {
  std::vector<OutputOrder> orders;
  orders.swap(orders_);
  if (procedure_ == nullptr || !parsed_) return false;
  const JNIJSONHandle top = J::get(document_.getTop(), root);
  for (const auto& order : orders) Draw(order, top);
  return true;
}

std::string jsonToReverb::Title(const OutputOrder& order) const {
  // A title that names a series by the document's text of it shows the series' name.
  return order.TranslateTitle() ? dictionary_.LookUp(order.OutlineTitle())
                                : dictionary_fields_.shownName(order.OutlineTitle());
}

void jsonToReverb::NameSeries(host::Table& table) const {
  for (auto& label : table.row_labels) label = dictionary_fields_.shownName(label);
  for (auto& label : table.column_labels) label = dictionary_fields_.shownName(label);
  for (auto& row : table.rows) {
    for (auto& cell : row) {
      if (!cell.is_number) cell.text = dictionary_fields_.shownName(cell.text);
    }
  }
}

void jsonToReverb::Warn(const OutputOrder& order, const std::string& problem) {
  const std::string where =
      order.Locations().empty() ? std::string() : order.Locations().front().Describe();
  RvError(RvString(dictionary_.Format("Output.BadObject", {Title(order), where, problem}), false),
          RvErrorShow::Both, RvErrorLevel::Warning);
}

void jsonToReverb::Draw(const OutputOrder& order, JNIJSONHandle root) {
  // Each level is a fixed word or a text built from translated words; a key the string table
  // lacks stays as it is, so both find the outline node the procedure made.
  std::vector<std::string> levels;
  OutputLocation path;
  path.dotted = order.Heading();
  for (const auto& level : path.Segments()) levels.push_back(dictionary_.LookUp(level));
  RvHeading heading = procedure_->FindOrMakePath(levels);
  if (TextOption(order.Options(), "showMessage") == "true") {
    const std::string series = dictionary_fields_.shownNameOfText(TextOption(order.Options(), "series"));
    heading.AddText(RvString(Title(order), false),
                    {dictionary_.Format("Output.NoOutliersToExplain", {series})});
    return;
  }
  switch (order.GetType()) {
    case OutputOrder::TypeTable:
      DrawTable(order, heading, root);
      break;
    case OutputOrder::TypeChart:
      DrawChart(order, heading, root);
      break;
    case OutputOrder::TypeInteractive:
      DrawInteractive(order, heading, root);
      break;
  }
}

void jsonToReverb::DrawTable(const OutputOrder& order, RvHeading& heading, JNIJSONHandle root) {
  for (const auto& location : order.Locations()) {
    JNIJSONHandle node = host::ResolveLocation(root, location);
    if (node == nullptr) continue;
    if (!host::LooksLikeTable(*node)) {
      const JNIJSONHandle inner = J::get(node, "table");
      if (IsPresent(inner)) node = inner;
    }
    if (!host::LooksLikeTable(*node)) {
      Warn(order, "the node holds no table");
      continue;
    }
    host::CategoryFilter filter;
    filter.active = order.HasVisibleCategory();
    filter.category = order.VisibleCategory();
    filter.is_label = order.VisibleCategoryIsLabel();
    host::Table table;
    std::string problem;
    switch (host::ReadEngineTable(*node, filter, table, problem)) {
      case host::TableRead::Ok: {
        NameSeries(table);
        table.subtype = order.OMSSubType();
        host::OutputNode& added = heading.AddTable(std::move(table));
        added.title = Title(order);
        if (added.table.title.empty()) added.table.title = added.title;
        break;
      }
      case host::TableRead::NotATable:
        Warn(order, problem);
        break;
      case host::TableRead::CategoryMissing:
        break; // the series is not in this table: nothing to show for it
    }
  }
}

void jsonToReverb::DrawChart(const OutputOrder& order, RvHeading& heading, JNIJSONHandle root) {
  for (const auto& location : order.Locations()) {
    JNIJSONHandle node = host::ResolveLocation(root, location);
    if (node == nullptr) continue;
    if (host::VisualizationKind(node).empty()) {
      const JNIJSONHandle inner = J::get(node, "visualization");
      if (!IsPresent(inner)) continue;
      node = inner;
    }
    nlohmann::json payload;
    std::string problem;
    const std::string kind = host::VisualizationKind(node);
    bool read = false;
    if (kind == "lineChart") {
      read = host::LineChartPayload(node, dictionary_fields_, payload, problem);
    } else if (kind == "histogram") {
      read = host::DistributionPayload(node, nullptr, dictionary_fields_, payload, problem);
    } else if (kind == "dotPlot") {
      read = host::DistributionPayload(nullptr, node, dictionary_fields_, payload, problem);
    } else {
      problem = "a static chart cannot show a visualization of kind \"" + kind + "\"";
    }
    if (!read) {
      Warn(order, problem);
      continue;
    }
    heading.AddChart(RvString(Title(order), false), std::move(payload));
  }
}

void jsonToReverb::DrawInteractive(const OutputOrder& order, RvHeading& heading,
                                   JNIJSONHandle root) {
  const auto options = order.Options();
  const std::string series = TextOption(options, "series");
  Gathered found;
  for (const auto& location : order.Locations()) {
    Gather(host::ResolveLocation(root, location), series, found);
  }
  const std::string title = Title(order);
  const std::string model_file = TextOption(options, "modelSystemFilePath");

  if (order.Locations().empty() && TextOption(options, "outliers") == "none") {
    heading.AddText(RvString(title, false),
                    {dictionary_.Format("Output.NoOutlierTable", {title})});
    return;
  }
  // The series plot of one series of a scenario or root cause analysis.
  if (!order.PathId().empty() && order.PathId().find("SeriesPlot") != std::string::npos) {
    const JNIJSONHandle plot = J::get(found.sub_json, series);
    if (!IsPresent(plot)) return;
    nlohmann::json payload;
    std::string problem;
    if (!host::LineChartPayload(plot, dictionary_fields_, payload, problem)) {
      Warn(order, problem);
      return;
    }
    heading.AddInteractive(RvString(title, false), std::move(payload));
    return;
  }

  JNIJSONHandle graph = nullptr;
  JNIJSONHandle histogram = nullptr;
  JNIJSONHandle dot_plot = nullptr;
  std::vector<JNIJSONHandle> trees;
  for (JNIJSONHandle node : found.visualizations) {
    const std::string kind = host::VisualizationKind(node);
    if (kind == "networkGraph" && graph == nullptr) graph = node;
    if (kind == "histogram" && histogram == nullptr) histogram = node;
    if (kind == "dotPlot" && dot_plot == nullptr) dot_plot = node;
    if (kind == "impactTree") trees.push_back(node);
  }
  nlohmann::json payload;
  std::string problem;
  if (graph != nullptr) {
    if (!host::SystemGraphPayload(graph, dictionary_fields_, payload, problem)) {
      Warn(order, problem);
      return;
    }
    payload["view"] = ViewOf(TextOption(options, "display"));
    payload["series"] = dictionary_fields_.shownName(series);
    payload["topModels"] = IntOption(options, "topModels", 10);
    payload["sigLevel"] = DoubleOption(options, "sigLevel", 0.05);
    payload["showOutliers"] = TextOption(options, "outliers") == "true";
    if (!model_file.empty()) payload["modelFile"] = model_file;
    // The joined tables: each node's row of the fit statistics, and its count of outliers.
    std::map<std::string, nlohmann::json> details;
    std::map<std::string, int> outlier_rows;
    for (std::size_t t = 0; t < found.tables.size(); ++t) {
      host::Table table;
      std::string ignored;
      if (host::ReadEngineTable(*found.tables[t], {}, table, ignored) != host::TableRead::Ok) continue;
      const bool outliers = t > 0 || table.subtype == "Outliers";
      if (table.rows.empty()) continue;
      const std::size_t first = table.column_labels.size() > table.rows.front().size() ? 1 : 0;
      std::string group;
      for (std::size_t r = 0; r < table.rows.size() && r < table.row_labels.size(); ++r) {
        if (!table.row_labels[r].empty()) group = dictionary_fields_.shownName(table.row_labels[r]);
        if (outliers) {
          ++outlier_rows[group];
          continue;
        }
        nlohmann::json pairs = nlohmann::json::array();
        for (std::size_t c = 0; c < table.rows[r].size(); ++c) {
          const std::string label =
              first + c < table.column_labels.size() ? table.column_labels[first + c] : "";
          pairs.push_back({label, host::FormatCell(table.rows[r][c])});
        }
        details[group] = pairs;
      }
    }
    for (auto& node : payload["nodes"]) {
      const std::string label = node["label"].get<std::string>();
      if (const auto it = details.find(label); it != details.end()) node["details"] = it->second;
      if (const auto it = outlier_rows.find(label); it != outlier_rows.end() && !node.contains("outliers")) {
        node["outliers"] = it->second;
      }
    }
  } else if (histogram != nullptr || dot_plot != nullptr) {
    if (!host::DistributionPayload(histogram, dot_plot, dictionary_fields_, payload, problem)) {
      Warn(order, problem);
      return;
    }
    if (!payload.contains("statistic")) payload["statistic"] = TextOption(options, "type");
  } else if (!trees.empty()) {
    payload = {{"kind", "impact"}};
    nlohmann::json list = nlohmann::json::array();
    const bool root_cause = order.Heading().find("Root Cause") != std::string::npos;
    for (JNIJSONHandle node : trees) {
      nlohmann::json tree;
      if (!host::ImpactTreePayload(node, dictionary_fields_, tree, problem)) {
        Warn(order, problem);
        return;
      }
      const bool causes = tree["direction"] == "causes";
      const int depth = root_cause ? IntOption(options, "levels", 0)
                                   : IntOption(options, causes ? "causes" : "effects", 0);
      list.push_back(PruneTree(tree, depth));
    }
    payload["trees"] = list;
    payload["initial"] = TextOption(options, "initial") == "effects" ? "effects" : "causes";
    payload["rootCause"] = root_cause;
    if (!model_file.empty()) payload["modelFile"] = model_file;
    if (found.sub_json != nullptr) {
      nlohmann::json plots = nlohmann::json::object();
      for (const auto& key : J::keySet(found.sub_json)) {
        nlohmann::json plot;
        std::string ignored;
        if (host::LineChartPayload(J::get(found.sub_json, key), dictionary_fields_, plot, ignored)) {
          plots[dictionary_fields_.shownName(key)] = plot;
        }
      }
      if (!plots.empty()) payload["plots"] = plots;
    }
  } else {
    // Tables alone: drawn as tables under the same title.
    for (JNIJSONHandle node : found.tables) {
      host::Table table;
      if (host::ReadEngineTable(*node, {}, table, problem) != host::TableRead::Ok) {
        Warn(order, problem);
        continue;
      }
      NameSeries(table);
      host::OutputNode& added = heading.AddTable(std::move(table));
      added.title = title;
    }
    return;
  }
  heading.AddInteractive(RvString(title, false), std::move(payload));
}
