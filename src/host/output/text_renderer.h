// This file contains the text renderer: the output document for a terminal, in UTF-8.
#pragma once

#include <string>

#include "host/output/document.h"

namespace host {

// The document as plain text: procedure titles underlined, headings indented by level, tables
// drawn with box characters and aligned by display width (numbers to the right, texts to the
// left, wide characters counted as two columns), notes as a table, messages as
// "Error: <command>: <text>", text blocks as they are, and charts as their title and ranges.
// Headings that no object filled are left out.
//
// No line is wider than `width` columns: a table wider than that is split into column panels,
// each repeating the row labels (as statistics packages print wide tables), a cell too wide for
// any panel is wrapped inside its box, and other lines wrap at spaces. A box line is never cut.
// Zero means no limit.
inline constexpr std::size_t kDefaultTextWidth = 100;
std::string RenderText(const OutputDocument &document, std::size_t width = kDefaultTextWidth);

// Columns that `text` takes on a terminal: East Asian wide characters count two, combining
// marks none, anything else (bytes that are not UTF-8 included) one.
std::size_t DisplayWidth(const std::string &text);

} // namespace host
