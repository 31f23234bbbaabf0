// This file contains the loading of a dataset from CSV and dictionary, and its saving.
#include "host/data/dataset_io.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <optional>

#include "host/data/csv_writer.h"
#include "host/data/data_messages.h"
#include "host/data/date_definition.h"
#include "host/data/number_text.h"
#include "host/messages/parser_message.h"
#include "support/run_files.h"
#include "support/time.h"

namespace host {
namespace {

constexpr size_t kMaxNameBytes = 64;
// A column is numbers (or dates) when at least 9 in 10 of its values read as such.
constexpr size_t kReadableShare = 9;
constexpr size_t kReadableOutOf = 10;
constexpr std::array<const char*, 13> kReservedWords = {"ALL", "AND", "BY", "EQ",  "GE",
                                                        "GT",  "LE",  "LT", "NE",  "NOT",
                                                        "OR",  "TO",  "WITH"};

bool IsLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || static_cast<unsigned char>(c) >= 0x80;
}
bool IsNameStart(char c) { return IsLetter(c) || c == '@' || c == '#'; }
bool IsNameChar(char c) {
  return IsLetter(c) || (c >= '0' && c <= '9') || c == '_' || c == '.' || c == '@' || c == '#' ||
         c == '$';
}
bool IsReserved(std::string_view name) {
  const std::string upper = UpperName(name);
  return std::find(kReservedWords.begin(), kReservedWords.end(), upper) != kReservedWords.end();
}

// Cuts at most `bytes` without splitting a UTF-8 sequence.
std::string CutUtf8(std::string text, size_t bytes) {
  if (text.size() <= bytes) return text;
  size_t cut = bytes;
  while (cut > 0 && (static_cast<unsigned char>(text[cut]) & 0xC0) == 0x80) --cut;
  text.resize(cut);
  return text;
}

std::string TrimBlanks(const std::string& text) {
  const size_t begin = text.find_first_not_of(" \t");
  if (begin == std::string::npos) return {};
  const size_t end = text.find_last_not_of(" \t");
  return text.substr(begin, end - begin + 1);
}

// Fixed-notation length of a value with `decimals`, for the width of an inferred format.
int FixedLength(double value, int decimals) {
  char buffer[512];
  const int n = std::snprintf(buffer, sizeof buffer, "%.*f", decimals, value);
  return n < 0 ? 40 : n;
}

// The names of the table's columns: repaired, unique, each problem reported as a warning.
std::vector<std::string> ColumnNames(const CsvTable& table, const std::string& file,
                                     ParserMessage& messages) {
  std::vector<std::string> names;
  std::vector<std::string> uppers;
  const std::string line = std::to_string(table.header_line);
  for (size_t c = 0; c < table.header.size(); ++c) {
    const std::string& written = table.header[c];
    std::string name = IsValidVariableName(written)
                           ? written
                           : RepairVariableName(written, static_cast<int>(c + 1));
    const bool repaired = name != written;
    std::string unique = name;
    auto taken = [&uppers](const std::string& candidate) {
      return std::find(uppers.begin(), uppers.end(), UpperName(candidate)) != uppers.end();
    };
    for (int n = 2; taken(unique); ++n) {
      const std::string suffix = "_" + std::to_string(n);
      unique = CutUtf8(name, kMaxNameBytes - suffix.size()) + suffix;
    }
    if (written.empty()) {
      messages.SimpleWarning(msg::kVarNameEmpty, file, line, std::to_string(c + 1), unique);
    } else if (unique != name) {
      messages.SimpleWarning(msg::kVarNameDuplicate, file, line, written, unique);
    } else if (repaired) {
      messages.SimpleWarning(msg::kVarNameInvalid, file, line, written, unique);
    }
    uppers.push_back(UpperName(unique));
    names.push_back(std::move(unique));
  }
  return names;
}

// The entry of the dictionary for each column (-1: none); entries naming no column are errors.
bool MatchEntries(const Dictionary& dictionary, const CsvTable& table,
                  const std::vector<std::string>& names, const std::string& data_name,
                  std::vector<int>& entry_of_column, ParserMessage& messages) {
  entry_of_column.assign(names.size(), -1);
  bool ok = true;
  for (size_t e = 0; e < dictionary.variables.size(); ++e) {
    const std::string wanted = UpperName(dictionary.variables[e].name);
    int column = -1;
    for (size_t c = 0; c < names.size() && column < 0; ++c) {
      if (UpperName(names[c]) == wanted) column = static_cast<int>(c);
    }
    // A repaired column answers to the text its header had as well.
    for (size_t c = 0; c < names.size() && column < 0; ++c) {
      if (UpperName(table.header[c]) == wanted && entry_of_column[c] < 0) {
        column = static_cast<int>(c);
      }
    }
    if (column < 0) {
      messages.HostError(msg::kDictUnknownVariable,
                         {dictionary.file, std::to_string(dictionary.variables[e].line),
                          dictionary.variables[e].name, data_name});
      ok = false;
      continue;
    }
    entry_of_column[static_cast<size_t>(column)] = static_cast<int>(e);
  }
  return ok;
}

// The cells of one column that do not read in its variable's format: the first few with their
// lines and the count, for one warning per column.
class BadCells {
 public:
  void Add(int line, const std::string& text) {
    if (count_++ < kListed) {
      if (!listed_.empty()) listed_ += ", ";
      listed_ += HostText(msg::kBadValueItem, {std::to_string(line), text});
    }
  }
  void Report(ParserMessage& messages, const std::string& file, const std::string& variable,
              const std::string& format) const {
    if (count_ == 0) return;
    messages.SimpleWarning(msg::kBadValue, file, variable, format, std::to_string(count_),
                           listed_);
  }

 private:
  static constexpr int kListed = 5;
  int count_ = 0;
  std::string listed_;
};

// Reads a column into a numeric variable with its format; bad cells become system-missing with
// one warning.
std::vector<double> NumericCells(std::vector<std::string>& cells, const PrintFormat& format,
                                 char decimal_point, const Variable& variable,
                                 const CsvTable& table, const std::string& file,
                                 ParserMessage& messages) {
  std::vector<double> values(cells.size(), kSysMiss);
  BadCells bad;
  for (size_t r = 0; r < cells.size(); ++r) {
    const std::string& cell = cells[r];
    if (cell.find_first_not_of(" \t") == std::string::npos) continue;
    const auto value = ParseFormatted(cell, format, decimal_point);
    if (value) {
      values[r] = *value;
    } else {
      bad.Add(table.row_lines[r], cell);
    }
  }
  bad.Report(messages, file, variable.name, FormatText(format));
  cells.clear();
  cells.shrink_to_fit();
  return values;
}

// Makes one variable from its column and its dictionary entry (null: none). False when the
// entry does not suit the column (reported).
bool BuildVariable(size_t c, const std::string& name, CsvTable& table, const DictVariable* entry,
                   const Dictionary* dictionary, const std::string& file, Dataset& dataset,
                   ParserMessage& messages) {
  std::vector<std::string>& cells = table.columns[c];
  const ColumnPlan inferred = InferColumn(cells, table.separator);
  Variable variable;
  variable.name = name;
  bool is_string = inferred.is_string;
  if (entry != nullptr && entry->is_string) {
    is_string = *entry->is_string;
  } else if (entry != nullptr && entry->format) {
    is_string = IsStringFormat(entry->format->type);
  }
  const std::string dict_file = dictionary != nullptr ? dictionary->file : std::string();
  const std::string entry_line = entry != nullptr ? std::to_string(entry->line) : std::string();

  std::vector<std::string> texts;
  std::vector<double> numbers;
  if (is_string) {
    const bool hex = entry != nullptr && entry->format && entry->format->type == fmt::kAHex;
    if (hex) {
      BadCells bad;
      for (size_t r = 0; r < cells.size(); ++r) {
        auto bytes = FromHexText(TrimBlanks(cells[r]));
        if (!bytes) {
          bad.Add(table.row_lines[r], cells[r]);
          bytes = std::string();
        }
        cells[r] = std::move(*bytes);
      }
      bad.Report(messages, file, name, FormatText(*entry->format));
    }
    size_t longest = 1;
    for (const auto& cell : cells) longest = std::max(longest, cell.size());
    int width = static_cast<int>(longest);
    if (entry != nullptr && entry->width) {
      if (*entry->width < width) {
        messages.SimpleWarning(msg::kDictWidthGrown, dict_file, entry_line, name,
                               std::to_string(*entry->width), std::to_string(width));
      }
      width = std::max(width, *entry->width);
    } else if (entry != nullptr && entry->format) {
      width = std::max(width, hex ? entry->format->width / 2 : entry->format->width);
    }
    variable.type = width;
    variable.format = entry != nullptr && entry->format
                          ? *entry->format
                          : PrintFormat{fmt::kA, std::min(width, 32767), 0};
    variable.measure = Measure::kNominal;
    texts = std::move(cells);
  } else {
    if (entry != nullptr && entry->width) {
      messages.SimpleWarning(msg::kDictWidthNumeric, dict_file, entry_line, name);
    }
    PrintFormat format = inferred.is_string ? DefaultFormat(fmt::kF) : inferred.format;
    if (entry != nullptr && entry->format) format = *entry->format;
    const char point = inferred.is_string ? '.' : inferred.decimal_point;
    variable.type = 0;
    variable.format = format;
    variable.measure = Measure::kScale;
    numbers = NumericCells(cells, format, point, variable, table, file, messages);
  }
  bool ok = true;
  if (entry != nullptr) {
    if (entry->measure) variable.measure = *entry->measure;
    if (entry->label) variable.label = *entry->label;
    if (entry->role) variable.role = *entry->role;
    ok = ApplyValueSettings(*entry, dict_file, variable, messages);
  }
  const int index = dataset.AddVariable(std::move(variable));
  if (is_string) {
    dataset.SetTextColumn(index, std::move(texts));
  } else {
    dataset.SetNumberColumn(index, std::move(numbers));
  }
  return ok;
}

}  // namespace

bool IsValidVariableName(std::string_view name) {
  if (name.empty() || name.size() > kMaxNameBytes) return false;
  if (!IsNameStart(name.front()) || name.back() == '.') return false;
  if (!std::all_of(name.begin(), name.end(), IsNameChar)) return false;
  return !IsReserved(name);
}

std::string RepairVariableName(std::string_view text, int column) {
  std::string name;
  bool replaced_last = false;
  for (char c : text) {
    if (IsNameChar(c)) {
      name += c;
      replaced_last = false;
    } else if (!replaced_last) {
      name += '_';
      replaced_last = true;
    }
  }
  if (replaced_last && name.size() > 1) name.pop_back();  // "price (USD)" gives price_USD
  if (name.empty() || name == "_") return "V" + std::to_string(column);
  if (!IsNameStart(name.front())) name.insert(0, "V");
  name = CutUtf8(name, kMaxNameBytes);
  while (!name.empty() && name.back() == '.') name.back() = '_';
  if (IsReserved(name)) name += '_';
  return name;
}

ColumnPlan InferColumn(const std::vector<std::string>& cells, char separator) {
  ColumnPlan plan;
  size_t numbers_point = 0;
  size_t numbers_comma = 0;
  size_t isos = 0;
  bool any_time = false;
  bool any_seconds = false;
  int fraction_digits = 0;
  size_t longest = 1;
  size_t values = 0;
  for (const auto& cell : cells) {
    longest = std::max(longest, cell.size());
    const std::string text = TrimBlanks(cell);
    if (text.empty()) continue;
    ++values;
    double number = 0.0;
    if (ReadNumberText(text, number, '.')) ++numbers_point;
    if (separator == ';' && ReadNumberText(text, number, ',')) ++numbers_comma;
    if (const auto parsed = support::ParseIso8601(text)) {
      ++isos;
      any_time = any_time || parsed->has_time;
      any_seconds = any_seconds || parsed->has_seconds;
      fraction_digits = std::max(fraction_digits, parsed->fraction_digits);
    }
  }
  // A stray impossible date or a typing error does not turn a column of dates or numbers into
  // text: it is read as missing, with a warning. A column mostly of other texts stays text.
  const auto mostly = [values](size_t count) {
    return count > 0 && count * kReadableOutOf >= values * kReadableShare;
  };
  const bool numeric_point = mostly(numbers_point);
  const bool numeric_comma = !numeric_point && mostly(numbers_comma);
  if (values == 0 || numeric_point || numeric_comma) {
    plan.decimal_point = numeric_comma ? ',' : '.';
    int decimals = 0;
    int width = 8;
    for (const auto& cell : cells) {
      const std::string text = TrimBlanks(cell);
      double number = 0.0;
      if (text.empty() || !ReadNumberText(text, number, plan.decimal_point)) continue;
      decimals = std::max(decimals, DecimalsWritten(text, plan.decimal_point));
    }
    for (const auto& cell : cells) {
      const std::string text = TrimBlanks(cell);
      double number = 0.0;
      if (text.empty() || !ReadNumberText(text, number, plan.decimal_point)) continue;
      width = std::max(width, FixedLength(number, decimals));
    }
    width = std::min(std::max(width, decimals + 2), 40);
    plan.format = PrintFormat{fmt::kF, width, std::min(decimals, width - 1)};
    return plan;
  }
  if (mostly(isos)) {
    if (!any_time) {
      plan.format = PrintFormat{fmt::kDate, 11, 0};
    } else if (fraction_digits > 0) {
      const int decimals = std::min(fraction_digits, 6);
      plan.format = PrintFormat{fmt::kDateTime, 21 + decimals, decimals};
    } else {
      plan.format = PrintFormat{fmt::kDateTime, any_seconds ? 20 : 17, 0};
    }
    return plan;
  }
  plan.is_string = true;
  plan.width = static_cast<int>(longest);
  plan.format = PrintFormat{fmt::kA, std::min(plan.width, 32767), 0};
  return plan;
}

std::shared_ptr<Dataset> BuildDataset(CsvTable table, const std::string& data_name,
                                      const Dictionary* dictionary, ParserMessage& messages) {
  const std::vector<std::string> names = ColumnNames(table, data_name, messages);
  std::vector<int> entry_of_column(names.size(), -1);
  bool ok = true;
  if (dictionary != nullptr) {
    ok = MatchEntries(*dictionary, table, names, data_name, entry_of_column, messages);
  }
  if (table.row_lines.empty()) messages.SimpleWarning(msg::kNoCases, data_name);

  auto dataset = std::make_shared<Dataset>();
  dataset->SetSource(data_name);
  dataset->SetCaseCount(static_cast<int64_t>(table.row_lines.size()));
  for (size_t c = 0; c < names.size(); ++c) {
    const DictVariable* entry =
        entry_of_column[c] < 0 ? nullptr
                               : &dictionary->variables[static_cast<size_t>(entry_of_column[c])];
    if (!BuildVariable(c, names[c], table, entry, dictionary, data_name, *dataset, messages)) {
      ok = false;
    }
  }
  if (ok && dictionary != nullptr) {
    ok = ApplyDateDefinition(dictionary->date_parts, dictionary->file, *dataset, messages);
  }
  return ok ? dataset : nullptr;
}

std::shared_ptr<Dataset> LoadDataset(const std::string& data_path,
                                     const std::string& dictionary_path, ParserMessage& messages) {
  std::string dict_path = dictionary_path;
  if (dict_path.empty()) {
    std::error_code error;
    const std::string beside = DictionaryPathFor(data_path);
    if (std::filesystem::is_regular_file(beside, error)) dict_path = beside;
  }
  // The dictionary first: it may name the encoding the data file is read in.
  Dictionary dictionary;
  if (!dict_path.empty() && !ReadDictionaryFile(dict_path, dictionary, messages)) return nullptr;
  CsvTable table;
  if (!ReadCsvFile(data_path, table, messages, dictionary.encoding)) return nullptr;
  return BuildDataset(std::move(table), data_path, dict_path.empty() ? nullptr : &dictionary,
                      messages);
}

bool SaveDataset(const Dataset& dataset, const std::string& path, ParserMessage& messages,
                 const WriteFaults& faults) {
  namespace fs = std::filesystem;
  std::error_code error;
  const fs::path target(path);
  const fs::path folder = target.parent_path();
  if (!folder.empty() && !fs::is_directory(folder, error)) {
    messages.HostError(msg::kWriteFolderMissing, {path, folder.string()});
    return false;
  }
  // Standard output or a device takes the data alone; a file gets its dictionary beside it.
  const bool with_dictionary = support::KindOfOutput(path) == support::OutputKind::kFile;
  const std::string dict_path = with_dictionary ? DictionaryPathFor(path) : path;
  for (const std::string& file : {path, dict_path}) {
    if (fs::is_directory(file, error)) {
      messages.HostError(msg::kWritePathIsFolder, {file});
      return false;
    }
  }
  // Both files are complete under temporary names before either replaces anything.
  AtomicFile csv(path, faults);
  AtomicFile dict(dict_path, faults);
  const bool csv_ok = csv.Open() && WriteCsv(dataset, [&csv](std::string_view piece) {
                        return csv.Write(piece);
                      });
  if (!csv_ok) {
    messages.HostError(msg::kWriteFailed, {path, csv.Error()});
    return false;
  }
  if (!with_dictionary) {
    if (csv.Commit()) return true;
    messages.HostError(msg::kWriteFailed, {path, csv.Error()});
    return false;
  }
  if (!dict.Open() || !dict.Write(DictionaryText(dataset, messages, dict_path))) {
    messages.HostError(msg::kWriteFailed, {dict_path, dict.Error()});
    return false;
  }
  if (!csv.Commit()) {
    messages.HostError(msg::kWriteFailed, {path, csv.Error()});
    return false;
  }
  if (!dict.Commit()) {
    messages.HostError(msg::kWriteFailed, {dict_path, dict.Error()});
    return false;
  }
  return true;
}

}  // namespace host
