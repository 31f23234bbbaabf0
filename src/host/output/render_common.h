// This file contains what the HTML and text renderers share about reading the document.
#pragma once

#include <string>

#include "host/output/document.h"

namespace host {

// The layout of a table both renderers draw: the count of data columns, whether a row header
// column stands first, and whether the column labels start with the corner's.
struct TableShape {
  std::size_t columns = 0;
  bool row_header = false;
  bool corner = false;
  std::size_t first_label = 0;  // the column label of the first data column
};
TableShape ShapeOf(const Table &table);

// False for a heading with nothing below it but other empty headings: a place holder that no
// object filled. Every renderer leaves such headings out.
bool HasContent(const OutputNode &node);

// The translated word for a severity ("Error", "Warning", "Note").
std::string SeverityWord(Severity severity);

// The lowercase name of a severity, as the JSON form and the HTML classes use it.
const char *SeverityName(Severity severity);

} // namespace host
