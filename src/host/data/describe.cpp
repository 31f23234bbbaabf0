// This file contains the description of a dataset for a terminal.
#include "host/data/describe.h"

#include <algorithm>
#include <limits>
#include <sstream>
#include <vector>

#include "host/data/data_messages.h"
#include "host/data/dictionary.h"
#include "host/data/number_text.h"

namespace host {
namespace {

constexpr size_t kMaxCellWidth = 24;

std::vector<std::string> SplitWords(const std::string& text) {
  std::vector<std::string> words;
  std::string word;
  std::istringstream in(text);
  while (std::getline(in, word, '|')) words.push_back(word);
  return words;
}

std::string Word(const std::vector<std::string>& words, size_t i) {
  return i < words.size() ? words[i] : std::string();
}

// Characters on screen: UTF-8 continuation bytes take no column.
size_t DisplayWidth(const std::string& text) {
  return static_cast<size_t>(std::count_if(text.begin(), text.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
  }));
}

// Every text shown (names, labels, values) keeps to its line: a line break in a label would
// push the rest of the table off its rows, and control characters would drive the terminal.
std::string OneLine(std::string text) {
  for (char& c : text) {
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = ' ';
  }
  return text;
}

std::string Clip(std::string text) {
  text = OneLine(std::move(text));
  if (DisplayWidth(text) <= kMaxCellWidth) return text;
  size_t cut = 0;
  size_t shown = 0;
  while (cut < text.size() && shown < kMaxCellWidth - 3) {
    ++cut;
    while (cut < text.size() && (static_cast<unsigned char>(text[cut]) & 0xC0) == 0x80) ++cut;
    ++shown;
  }
  return text.substr(0, cut) + "...";
}

// Rows of cells (each on one line already) as left-aligned columns, two blanks apart, indented:
// one line per row.
std::vector<std::string> TableLines(const std::vector<std::vector<std::string>>& rows,
                                    const std::string& indent) {
  std::vector<size_t> widths;
  for (const auto& row : rows) {
    if (widths.size() < row.size()) widths.resize(row.size(), 0);
    for (size_t c = 0; c < row.size(); ++c) widths[c] = std::max(widths[c], DisplayWidth(row[c]));
  }
  std::vector<std::string> lines;
  for (const auto& row : rows) {
    std::string line = indent;
    for (size_t c = 0; c < row.size(); ++c) {
      line += row[c];
      if (c + 1 < row.size()) line += std::string(widths[c] - DisplayWidth(row[c]) + 2, ' ');
    }
    while (!line.empty() && line.back() == ' ') line.pop_back();
    lines.push_back(std::move(line));
  }
  return lines;
}

std::string Quoted(const std::string& text) { return "\"" + OneLine(text) + "\""; }

std::string NumberShown(double value) {
  const double max = std::numeric_limits<double>::max();
  if (value <= -max) return "LO";
  if (value >= max) return "HI";
  return ShortestNumberText(value);
}

std::string MissingList(const Variable& variable) {
  std::string list;
  auto add = [&list](const std::string& item) { list += (list.empty() ? "" : "; ") + item; };
  for (double number : variable.missing.numbers) add(NumberShown(number));
  for (const auto& text : variable.missing.texts) add(Quoted(text));
  if (variable.missing.has_range) {
    add(HostText(msg::kDescribeRange, {NumberShown(variable.missing.range_low),
                                       NumberShown(variable.missing.range_high)}));
  }
  return list;
}

std::string CellText(const Dataset& dataset, int64_t k, int v) {
  const Variable& variable = dataset.GetVariable(v);
  if (variable.IsString()) return Clip(dataset.GetText(k, v));
  const double value = dataset.GetNumber(k, v);
  if (IsSysMiss(value)) return ".";
  std::string text = FormatNumber(value, variable.format);
  return Clip(text.empty() ? ShortestNumberText(value) : text);
}

}  // namespace

std::string DescribeDataset(const Dataset& dataset, const std::string& source_name,
                            int max_cases) {
  std::ostringstream out;
  out << HostText(msg::kDescribeHeader, {source_name, std::to_string(dataset.VariableCount()),
                                         std::to_string(dataset.CaseCount())})
      << "\n\n";

  const std::vector<std::string> headings = SplitWords(HostText(msg::kDescribeColumns));
  const std::vector<std::string> measures = SplitWords(HostText(msg::kDescribeMeasures));
  const std::vector<std::string> roles = SplitWords(HostText(msg::kDescribeRoles));
  std::vector<std::vector<std::string>> rows{headings};
  // Value labels and missing values go on lines of their own under their variable, so the
  // table is printed one variable at a time with the widths of the whole table.
  std::vector<std::vector<std::string>> details(static_cast<size_t>(dataset.VariableCount()));
  for (int v = 0; v < dataset.VariableCount(); ++v) {
    const Variable& variable = dataset.GetVariable(v);
    const std::string type = variable.IsString()
                                 ? HostText(msg::kDescribeString, {std::to_string(variable.type)})
                                 : HostText(msg::kDescribeNumeric);
    rows.push_back({std::to_string(v + 1), OneLine(variable.name), type,
                    FormatText(variable.format),
                    Word(measures, static_cast<size_t>(variable.measure)),
                    Word(roles, static_cast<size_t>(variable.role)), OneLine(variable.label)});
    auto& lines = details[static_cast<size_t>(v)];
    if (!variable.value_labels.empty()) {
      lines.push_back(HostText(msg::kDescribeValueLabels));
      for (const auto& label : variable.value_labels) {
        lines.push_back("  " + (variable.IsString() ? Quoted(label.text)
                                                    : ShortestNumberText(label.number)) +
                        "  " + OneLine(label.label));
      }
    }
    if (!variable.missing.Empty()) {
      lines.push_back(HostText(msg::kDescribeMissing, {MissingList(variable)}));
    }
  }
  const std::vector<std::string> table = TableLines(rows, "");
  for (size_t row = 0; row < table.size(); ++row) {
    out << table[row] << '\n';
    if (row == 0) continue;
    for (const auto& detail : details[row - 1]) out << "      " << detail << '\n';
  }

  out << '\n';
  const DateDefinition& dates = dataset.GetDateDefinition();
  if (dates.Empty()) {
    out << HostText(msg::kDescribeNoDateDef) << '\n';
  } else {
    out << HostText(msg::kDescribeDateDef) << '\n';
    for (const auto& part : dates.parts) {
      out << "  "
          << HostText(msg::kDescribeDatePart,
                      {dataset.GetVariable(part.variable_index).name, std::to_string(part.start),
                       std::to_string(part.level), std::to_string(part.length)})
          << '\n';
    }
  }

  out << '\n';
  if (dataset.CaseCount() == 0) {
    out << HostText(msg::kDescribeNoCases) << '\n';
    return out.str();
  }
  const int64_t shown = std::min<int64_t>(dataset.CaseCount(), std::max(max_cases, 0));
  out << HostText(msg::kDescribeFirstCases,
                  {std::to_string(shown), std::to_string(dataset.CaseCount())})
      << '\n';
  std::vector<std::vector<std::string>> cases;
  std::vector<std::string> names;
  for (int v = 0; v < dataset.VariableCount(); ++v) {
    names.push_back(OneLine(dataset.GetVariable(v).name));
  }
  cases.push_back(names);
  for (int64_t k = 0; k < shown; ++k) {
    std::vector<std::string> row;
    for (int v = 0; v < dataset.VariableCount(); ++v) row.push_back(CellText(dataset, k, v));
    cases.push_back(std::move(row));
  }
  for (const auto& line : TableLines(cases, "  ")) out << line << '\n';
  return out.str();
}

}  // namespace host
