// This file contains the reading of a table node of the output document (statJson.json) into
// the report's Table: dimensions flattened to row and column labels, cells formatted,
// footnote marks attached, and one category kept visible on request.
#pragma once

#include <string>

#include "host/bridge/jni_json.h"
#include "host/output/document.h"

namespace host {

// The one category of a table that stays visible (OutputOrder::hideAllCategoriesExcept).
struct CategoryFilter {
  bool active = false;
  std::string category;
  bool is_label = true; // match the label first (else the key first)
};

enum class TableRead { Ok, NotATable, CategoryMissing };

// Reads `node` (an object with "rowDimensions", "columnDimensions", "cells" ...; see
// docs/output-document.md) into `table`. NotATable, with the reason in `problem`, when the node
// has the wrong shape; CategoryMissing when `filter` is active and no dimension holds its
// category. Cells beyond the dimensions are ignored, missing ones are empty.
TableRead ReadEngineTable(const JNIJSONValue& node, const CategoryFilter& filter, Table& table,
                          std::string& problem);

// True when the node has the keys that make a table.
bool LooksLikeTable(const JNIJSONValue& node);

// The footnote mark of index i: a superscript letter (a, b, ...), then numbers.
std::string FootnoteMark(std::size_t index);

} // namespace host
