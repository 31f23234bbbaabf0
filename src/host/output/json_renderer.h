// This file contains the JSON renderer: the output document itself, for tests and programs.
#pragma once

#include <string>

#include <nlohmann/json.hpp>

#include "host/output/document.h"

namespace host {

// {"title": ..., "items": [...]}, each item an object with "type" ("procedure", "heading",
// "table", "notes", "text", "chart", "interactive", "message") and "title", in document order:
//   procedure, heading: "items"
//   table, notes: "subtype", "columns", "rowLabels", "rows" (a text cell is a string, a number
//     cell {"value", "decimals", "text"} with a null value when missing), "footnotes"
//   text: "lines";  chart, interactive: "payload"
//   message: "severity" ("error", "warning", "note"), "text", "source" (message key or
//     ParserMessage method), "args", "command"
// Every node is written, place holder headings included.
nlohmann::json RenderJson(const OutputDocument &document);

// RenderJson as indented text. Bytes that are not UTF-8 become U+FFFD instead of failing.
std::string RenderJsonText(const OutputDocument &document);

} // namespace host
