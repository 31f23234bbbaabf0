// This file contains the builders of the output document's JSON pieces.
#include "engine/output/output_json.h"

#include <cmath>

namespace engine::output {

Node Number(double value) { return std::isfinite(value) ? Node(value) : Node(nullptr); }

Node Format(const char* type, int decimals) {
  Node format = {{"type", type}};
  if (decimals >= 0) format["decimals"] = decimals;
  return format;
}

Node StringDataChild(const std::string& value) {
  return {{"text", {{"stringDataText", {{"value", value}}}}}};
}

Node StringChild(const std::string& value) {
  return {{"text", {{"stringText", {{"value", value}}}}}};
}

Node CompositeText(Node children, const std::string& key) {
  Node node = Node::object();
  if (!key.empty()) node["key"] = key;
  node["text"] = {{"compositeText", {{"children", std::move(children)}}}};
  return node;
}

Node PlainText(const std::string& text) {
  Node children = Node::array();
  children.push_back(StringChild(text));
  return CompositeText(std::move(children));
}

Node Category(const std::string& label, const std::string& key, Node format) {
  Node category = {{"label", label}};
  if (!key.empty()) category["key"] = key;
  if (!format.is_null()) category["format"] = std::move(format);
  return category;
}

Node Dimension(const std::string& label, Node categories) {
  return {{"label", label}, {"categories", std::move(categories)}};
}

Node TableNode(const std::string& title, Node row_dimensions, Node column_dimensions, Node cells,
           const std::vector<std::string>& footnotes) {
  Node table = {{"title", title},
                {"rowDimensions", std::move(row_dimensions)},
                {"columnDimensions", std::move(column_dimensions)},
                {"cells", std::move(cells)}};
  if (!footnotes.empty()) table["footnotes"] = footnotes;
  return table;
}

Node DataField(const std::string& name, const std::string& label, const std::string& role) {
  Node field = {{"name", name}};
  if (!label.empty()) field["label"] = label;
  field["role"] = role;
  return field;
}

Node CategoricalField(const std::string& name, const std::string& label, const std::string& role,
                      Node category_lists) {
  Node field = DataField(name, label, role);
  field["type"] = "categorical";
  field["cats"] = std::move(category_lists);
  return field;
}

Node CategoryList(const std::string& name, Node content) {
  return {{"name", name}, {"content", std::move(content)}};
}

Node DataSet(const std::string& name, Node fields, Node rows) {
  return {{"name", name}, {"fields", std::move(fields)}, {"rows", std::move(rows)}};
}

Node Visualization(const char* kind, const std::string& title, Node data_sets) {
  return {{"kind", kind}, {"title", title}, {"dataArray", std::move(data_sets)}};
}

std::string StrftimeFormat(const std::string& pattern) {
  std::string out;
  for (std::size_t i = 0; i < pattern.size();) {
    std::size_t run = 1;
    while (i + run < pattern.size() && pattern[i + run] == pattern[i]) ++run;
    const char c = pattern[i];
    const char* directive = nullptr;
    switch (c) {
      case 'y': directive = run == 2 ? "%y" : "%Y"; break;
      case 'M': directive = run >= 3 ? "%b" : "%m"; break;
      case 'd': directive = "%d"; break;
      case 'H':
      case 'h':
      case 'k':
      case 'K': directive = "%H"; break;
      case 'm': directive = "%M"; break;
      case 's': directive = "%S"; break;
      default: break;
    }
    if (directive != nullptr) {
      out += directive;
    } else {
      for (std::size_t k = 0; k < run; ++k) out += c == '%' ? std::string("%%") : std::string(1, c);
    }
    i += run;
  }
  return out;
}

}  // namespace engine::output
