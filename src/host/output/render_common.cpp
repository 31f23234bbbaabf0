// This file contains helpers shared by the renderers.
#include "host/output/render_common.h"

#include <algorithm>

#include "host/messages/fac_st_dictionary.h"

namespace host {

bool HasContent(const OutputNode &node) {
  if (node.kind != NodeKind::Heading && node.kind != NodeKind::Procedure)
    return true;
  for (const auto &child : node.children) {
    if (HasContent(*child))
      return true;
  }
  return false; // a procedure that wrote nothing (TSEXPLOR) leaves no trace
}

TableShape ShapeOf(const Table &table) {
  TableShape shape;
  for (const auto &row : table.rows)
    shape.columns = std::max(shape.columns, row.size());
  if (shape.columns == 0)
    shape.columns = table.column_labels.size();
  shape.row_header = !table.row_labels.empty();
  // With a row header column, one label more than the data columns is the corner's.
  shape.corner = shape.row_header && table.column_labels.size() == shape.columns + 1;
  shape.first_label = shape.corner ? 1 : 0;
  return shape;
}

std::string SeverityWord(Severity severity) {
  switch (severity) {
  case Severity::Error:
    return FacSTDictionary::Shared().LookUp("Error");
  case Severity::Warning:
    return FacSTDictionary::Shared().LookUp("Warning");
  case Severity::Note:
    return FacSTDictionary::Shared().LookUp("Note");
  }
  return {};
}

const char *SeverityName(Severity severity) {
  switch (severity) {
  case Severity::Error:
    return "error";
  case Severity::Warning:
    return "warning";
  case Severity::Note:
    return "note";
  }
  return "note";
}

} // namespace host
