// This file contains the pieces of the output document's JSON shape: composite texts, value
// formats, tables and the data sets of visualizations.
#pragma once

#include <string>
#include <vector>

#include "support/json_util.h"

namespace engine::output {

using Node = support::OrderedJson;

// A number, or null for NaN and infinities (a missing value).
Node Number(double value);

// {"type": type} with "decimals" when `decimals` >= 0.
Node Format(const char* type, int decimals = -1);

// Composite text children: a data string (a value as the data show it), a plain string.
Node StringDataChild(const std::string& value);
Node StringChild(const std::string& value);
// A composite text node of these children, with the raw series key when not empty.
Node CompositeText(Node children, const std::string& key = {});
// A composite text of one plain string.
Node PlainText(const std::string& text);

// A table category: a label with an optional key and format.
Node Category(const std::string& label, const std::string& key = {}, Node format = nullptr);
Node Dimension(const std::string& label, Node categories);

// A table: title, row and column dimensions (arrays of Dimension), cells and footnotes.
Node TableNode(const std::string& title, Node row_dimensions, Node column_dimensions, Node cells,
           const std::vector<std::string>& footnotes = {});

// A field of a data set.
Node DataField(const std::string& name, const std::string& label, const std::string& role);
// A categorical field with its category lists ({"name", "content"}).
Node CategoricalField(const std::string& name, const std::string& label, const std::string& role,
                      Node category_lists);
Node CategoryList(const std::string& name, Node content);
Node DataSet(const std::string& name, Node fields, Node rows);
// A visualization of `kind` with its title and data sets.
Node Visualization(const char* kind, const std::string& title, Node data_sets);

// Date and time patterns of pattern letters ("yyyy-MM-dd", "hh:mm:ss") as strftime formats.
std::string StrftimeFormat(const std::string& pattern);

}  // namespace engine::output
