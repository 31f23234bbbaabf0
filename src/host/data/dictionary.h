// This file contains the dictionary file: a JSON description of a CSV file's variables (types,
// formats, measurement levels, labels, missing values) and its date definition.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "host/data/dataset.h"

class ParserMessage;

namespace host {

// One entry of "variables", checked for its own shape; value labels and missing values wait
// for the variable's type, which may come from the data.
struct DictVariable {
  int line = 0;
  std::string name;
  std::optional<bool> is_string;  // "type"
  std::optional<int> width;
  std::optional<PrintFormat> format;
  std::optional<Measure> measure;
  std::optional<std::string> label;
  std::optional<Role> role;
  nlohmann::json value_labels;   // an object, or null
  nlohmann::json missing;        // an array, or null
  nlohmann::json missing_range;  // an array, or null
};

// One entry of "dateDefinition".
struct DictDatePart {
  int line = 0;
  DateComponent component = DateComponent::kYear;
  std::optional<int64_t> start;
  std::optional<int64_t> period;
};

struct Dictionary {
  std::string file;  // for messages
  std::string encoding;  // of the data file; empty: UTF-8
  std::vector<DictVariable> variables;
  std::vector<DictDatePart> date_parts;
};

// The dictionary's file beside a data file: "sales.csv" gives "sales.dict.json" (a ".csv"
// ending, any case, is replaced; another name gets ".dict.json" appended).
std::string DictionaryPathFor(const std::string& data_path);

// Parses dictionary text. Every fault is reported with the file and line (JSON syntax, a key of
// the wrong kind, an unknown type, measure, role or format, a variable without a name or named
// twice); unknown keys are warnings. False when any error was reported.
bool ParseDictionaryText(const std::string& text, const std::string& file_name,
                         Dictionary& dictionary, ParserMessage& messages);
// Reads and parses a file; a missing or unreadable file is reported.
bool ReadDictionaryFile(const std::string& path, Dictionary& dictionary, ParserMessage& messages);

// Applies the entries of value labels, missing values and missing range to a variable whose
// type is known. False when one does not suit the type (reported with `file` and the entry's
// line).
bool ApplyValueSettings(const DictVariable& entry, const std::string& file, Variable& variable,
                        ParserMessage& messages);

// The dictionary of a dataset as JSON text, in the form above. The variables made by the date
// definition are left out: its "dateDefinition" makes them again. A string wider than the
// largest width a dictionary takes is given that width, with a warning naming `file`, so that
// the text always reads back (loading grows the width again to fit).
std::string DictionaryText(const Dataset& dataset, ParserMessage& messages,
                           const std::string& file);

// Names for the words of the file.
const char* MeasureWord(Measure measure);
const char* RoleWord(Role role);
const char* ComponentWord(DateComponent component);

}  // namespace host
