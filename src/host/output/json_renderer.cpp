// This file contains the JSON renderer of the output document.
#include "host/output/json_renderer.h"

#include <cmath>

#include "host/output/number_format.h"
#include "host/output/render_common.h"

namespace host {
namespace {

const char *TypeName(NodeKind kind) {
  switch (kind) {
  case NodeKind::Procedure:
    return "procedure";
  case NodeKind::Heading:
    return "heading";
  case NodeKind::Text:
    return "text";
  case NodeKind::Table:
    return "table";
  case NodeKind::Chart:
    return "chart";
  case NodeKind::Interactive:
    return "interactive";
  case NodeKind::Notes:
    return "notes";
  case NodeKind::Message:
    return "message";
  }
  return "unknown";
}

nlohmann::json CellJson(const Cell &cell) {
  if (!cell.is_number)
    return cell.text;
  nlohmann::json value = nlohmann::json::object();
  if (std::isfinite(cell.number)) {
    value["value"] = cell.number;
  } else {
    value["value"] = nullptr;
  }
  value["decimals"] = cell.decimals;
  value["text"] = FormatCell(cell);
  return value;
}

nlohmann::json NodeJson(const OutputNode &node);

// The children of a procedure or heading. Headings that no object filled are left out, as the
// renderers for people leave them out.
nlohmann::json ItemsJson(const OutputNode &node) {
  nlohmann::json items = nlohmann::json::array();
  for (const auto &child : node.children) {
    if (HasContent(*child))
      items.push_back(NodeJson(*child));
  }
  return items;
}

nlohmann::json NodeJson(const OutputNode &node) {
  nlohmann::json item = nlohmann::json::object();
  item["type"] = TypeName(node.kind);
  item["title"] = node.title;
  switch (node.kind) {
  case NodeKind::Procedure:
  case NodeKind::Heading: {
    item["items"] = ItemsJson(node);
    break;
  }
  case NodeKind::Table:
  case NodeKind::Notes: {
    const Table &table = node.table;
    item["subtype"] = table.subtype;
    item["columns"] = table.column_labels;
    item["rowLabels"] = table.row_labels;
    nlohmann::json rows = nlohmann::json::array();
    for (const auto &row : table.rows) {
      nlohmann::json cells = nlohmann::json::array();
      for (const auto &cell : row)
        cells.push_back(CellJson(cell));
      rows.push_back(std::move(cells));
    }
    item["rows"] = std::move(rows);
    item["footnotes"] = table.footnotes;
    break;
  }
  case NodeKind::Text:
    item["lines"] = node.lines;
    break;
  case NodeKind::Chart:
  case NodeKind::Interactive:
    item["payload"] = node.payload;
    break;
  case NodeKind::Message:
    item["severity"] = SeverityName(node.message.severity);
    item["text"] = node.message.text;
    item["source"] = node.message.source;
    item["args"] = node.message.args;
    item["command"] = node.message.command;
    break;
  }
  return item;
}

} // namespace

nlohmann::json RenderJson(const OutputDocument &document) {
  nlohmann::json out = nlohmann::json::object();
  out["title"] = document.title;
  out["items"] = ItemsJson(document.root);
  if (!document.kept_model_systems.empty()) out["keptModelSystems"] = document.kept_model_systems;
  return out;
}

std::string RenderJsonText(const OutputDocument &document) {
  return RenderJson(document).dump(2, ' ', false, nlohmann::json::error_handler_t::replace);
}

} // namespace host
