// This file contains the reading of the output document's tables into the report's Table.
#include "host/output/engine_table.h"

#include <algorithm>
#include <cmath>

#include "host/output/number_format.h"
#include "host/output/value_format.h"

namespace host {
namespace {

struct Category {
  std::string label;
  std::string key;
  std::string marks;
  ValueFormat format;
};

struct Dimension {
  std::string label;
  std::vector<Category> categories;
};

std::string ScalarText(const JNIJSONValue& value) {
  if (value.is_string()) return value.get<std::string>();
  if (value.is_number()) return FormatNumber(value.get<double>());
  if (value.is_boolean()) return value.get<bool>() ? "true" : "false";
  return {};
}

std::string MarksOf(const JNIJSONValue& holder) {
  if (!holder.is_object()) return {};
  const auto found = holder.find("footnotes");
  if (found == holder.end() || !found->is_array()) return {};
  std::string marks;
  for (const auto& index : *found) {
    if (index.is_number_integer() && index.get<long long>() >= 0) {
      marks += FootnoteMark(static_cast<std::size_t>(index.get<long long>()));
    }
  }
  return marks;
}

bool ReadDimensions(const JNIJSONValue& node, const char* key, std::vector<Dimension>& out,
                    std::string& problem) {
  const auto found = node.find(key);
  if (found == node.end() || found->is_null()) return true;
  if (!found->is_array()) {
    problem = std::string("\"") + key + "\" is not an array";
    return false;
  }
  for (const auto& one : *found) {
    if (!one.is_object()) {
      problem = std::string("an element of \"") + key + "\" is not an object";
      return false;
    }
    Dimension dimension;
    if (const auto label = one.find("label"); label != one.end()) dimension.label = ScalarText(*label);
    const auto categories = one.find("categories");
    if (categories == one.end() || !categories->is_array()) {
      problem = std::string("a dimension of \"") + key + "\" has no \"categories\" array";
      return false;
    }
    for (const auto& entry : *categories) {
      Category category;
      if (entry.is_object()) {
        if (const auto label = entry.find("label"); label != entry.end()) {
          category.label = ScalarText(*label);
        }
        if (const auto id = entry.find("key"); id != entry.end()) category.key = ScalarText(*id);
        if (const auto format = entry.find("format"); format != entry.end()) {
          category.format = ReadValueFormat(*format);
        }
        category.marks = MarksOf(entry);
      } else {
        category.label = ScalarText(entry);
      }
      dimension.categories.push_back(std::move(category));
    }
    out.push_back(std::move(dimension));
  }
  return true;
}

// Position of a flat index within each dimension, the first dimension outermost.
std::vector<std::size_t> Unflatten(std::size_t flat, const std::vector<Dimension>& dims) {
  std::vector<std::size_t> at(dims.size(), 0);
  for (std::size_t d = dims.size(); d-- > 0;) {
    const std::size_t n = dims[d].categories.size();
    at[d] = n == 0 ? 0 : flat % n;
    flat = n == 0 ? 0 : flat / n;
  }
  return at;
}

std::size_t CountOf(const std::vector<Dimension>& dims) {
  std::size_t count = 1;
  for (const auto& dim : dims) count *= dim.categories.size();
  return count;
}

// Where the filter's category sits: the dimension list (0 rows, 1 columns), the dimension and
// the category. Rows are searched first, then columns; labels before keys.
struct FilterHit {
  int side = -1;
  std::size_t dim = 0;
  std::size_t category = 0;
};

FilterHit FindCategory(const std::vector<Dimension>& rows, const std::vector<Dimension>& columns,
                       const CategoryFilter& filter) {
  const std::vector<Dimension>* sides[] = {&rows, &columns};
  for (bool label_pass : {filter.is_label, !filter.is_label}) {
    for (int side = 0; side < 2; ++side) {
      for (std::size_t d = 0; d < sides[side]->size(); ++d) {
        const auto& categories = (*sides[side])[d].categories;
        for (std::size_t c = 0; c < categories.size(); ++c) {
          const std::string& text = label_pass ? categories[c].label : categories[c].key;
          if (!text.empty() && text == filter.category) return {side, d, c};
        }
      }
    }
  }
  return {};
}

Cell ReadCell(const JNIJSONValue* value, const ValueFormat& fallback) {
  if (value == nullptr) return TextCell("");
  std::string marks;
  ValueFormat format = fallback;
  const JNIJSONValue* number = value;
  if (value->is_object()) {
    marks = MarksOf(*value);
    if (const auto f = value->find("format"); f != value->end()) {
      const ValueFormat own = ReadValueFormat(*f);
      if (own.given) format = own;
    }
    if (const auto text = value->find("text"); text != value->end()) {
      return TextCell(ScalarText(*text) + marks);
    }
    const auto inner = value->find("value");
    number = inner == value->end() ? nullptr : &*inner;
    if (number == nullptr) return TextCell(marks);
  }
  if (number->is_number() || number->is_null()) {
    const double x = number->is_null() ? std::nan("") : number->get<double>();
    Cell cell = NumberCell(x, format.decimals);
    // Formats that a count of decimals cannot say are printed here; the cell keeps its number.
    if (format.kind != ValueFormat::Kind::Number || !marks.empty()) {
      cell.text = FormatValue(x, format) + marks;
    }
    return cell;
  }
  return TextCell(ScalarText(*number) + marks);
}

} // namespace

std::string FootnoteMark(std::size_t index) {
  static const char* const kLetters[] = {"\u1D43", "\u1D47", "\u1D9C", "\u1D48", "\u1D49",
                                         "\u1DA0", "\u1D4D", "\u02B0", "\u2071", "\u02B2",
                                         "\u1D4F", "\u02E1", "\u1D50", "\u207F", "\u1D52",
                                         "\u1D56"};
  if (index < std::size(kLetters)) return kLetters[index];
  return "[" + std::to_string(index + 1) + "]";
}

bool LooksLikeTable(const JNIJSONValue& node) {
  return node.is_object() &&
         (node.contains("cells") || node.contains("rowDimensions") ||
          node.contains("columnDimensions"));
}

TableRead ReadEngineTable(const JNIJSONValue& node, const CategoryFilter& filter, Table& table,
                          std::string& problem) {
  table = Table();
  if (!node.is_object()) {
    problem = "the table node is not an object";
    return TableRead::NotATable;
  }
  std::vector<Dimension> rows;
  std::vector<Dimension> columns;
  if (!ReadDimensions(node, "rowDimensions", rows, problem) ||
      !ReadDimensions(node, "columnDimensions", columns, problem)) {
    return TableRead::NotATable;
  }
  const auto cells_at = node.find("cells");
  if (cells_at != node.end() && !cells_at->is_array() && !cells_at->is_null()) {
    problem = "\"cells\" is not an array";
    return TableRead::NotATable;
  }
  const JNIJSONValue empty = JNIJSONValue::array();
  const JNIJSONValue& cells = cells_at != node.end() && cells_at->is_array() ? *cells_at : empty;
  if (const auto title = node.find("title"); title != node.end()) table.title = ScalarText(*title);

  // Rows and columns kept after the filter, as flat indexes.
  const std::size_t row_count = CountOf(rows);
  const std::size_t column_count = CountOf(columns);
  std::vector<std::size_t> kept_rows;
  std::vector<std::size_t> kept_columns;
  FilterHit hit;
  if (filter.active) {
    hit = FindCategory(rows, columns, filter);
    if (hit.side < 0) return TableRead::CategoryMissing;
  }
  // Under nested row dimensions a row of no value is the pivot's filler (the third outlier of a
  // series that had two): it is not drawn, so long tables hold only what was found.
  const auto filler = [&](std::size_t r) {
    if (rows.size() < 2) return false;
    if (r >= cells.size() || !cells[r].is_array()) return true;
    return std::all_of(cells[r].begin(), cells[r].end(),
                       [](const JNIJSONValue& cell) { return cell.is_null(); });
  };
  for (std::size_t r = 0; r < row_count; ++r) {
    if (hit.side == 0 && Unflatten(r, rows)[hit.dim] != hit.category) continue;
    if (filler(r)) continue;
    kept_rows.push_back(r);
  }
  for (std::size_t c = 0; c < column_count; ++c) {
    if (hit.side == 1 && Unflatten(c, columns)[hit.dim] != hit.category) continue;
    kept_columns.push_back(c);
  }

  // Labels. Nested row dimensions: the first is the row header, the others lead each row as
  // text columns; a label repeats only where it changes, as a reader of a pivot table expects.
  if (!rows.empty()) {
    for (const auto& dim : rows) table.column_labels.push_back(dim.label);
  }
  for (std::size_t c : kept_columns) {
    const auto at = Unflatten(c, columns);
    std::string label;
    for (std::size_t d = 0; d < columns.size(); ++d) {
      if (d > 0) label += "\n";
      const Category& category = columns[d].categories[at[d]];
      label += category.label + category.marks;
    }
    table.column_labels.push_back(label);
  }
  std::vector<std::size_t> previous;
  for (std::size_t r : kept_rows) {
    const auto at = Unflatten(r, rows);
    std::vector<Cell> line;
    if (!rows.empty()) {
      const bool new_group = previous.empty() || previous[0] != at[0];
      const Category& outer = rows[0].categories[at[0]];
      table.row_labels.push_back(new_group ? outer.label + outer.marks : std::string());
      bool changed = new_group;
      for (std::size_t d = 1; d < rows.size(); ++d) {
        changed = changed || previous[d] != at[d];
        const Category& inner = rows[d].categories[at[d]];
        line.push_back(TextCell(changed ? inner.label + inner.marks : std::string()));
      }
    }
    for (std::size_t c : kept_columns) {
      const auto cat = Unflatten(c, columns);
      ValueFormat format;
      for (std::size_t d = columns.size(); d-- > 0 && !format.given;) {
        format = columns[d].categories[cat[d]].format;
      }
      for (std::size_t d = rows.size(); d-- > 0 && !format.given;) {
        format = rows[d].categories[at[d]].format;
      }
      const JNIJSONValue* value = nullptr;
      if (r < cells.size() && cells[r].is_array() && c < cells[r].size()) value = &cells[r][c];
      line.push_back(ReadCell(value, format));
    }
    table.rows.push_back(std::move(line));
    previous = at;
  }
  if (const auto notes = node.find("footnotes"); notes != node.end() && notes->is_array()) {
    for (const auto& note : *notes) table.footnotes.push_back(ScalarText(note));
  }
  return TableRead::Ok;
}

} // namespace host
