// This file contains the loading of a dataset from a CSV file and its dictionary, and the saving
// of a dataset as such a pair.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "host/data/atomic_file.h"
#include "host/data/csv_reader.h"
#include "host/data/dataset.h"
#include "host/data/dictionary.h"

class ParserMessage;

namespace host {

// Variable names: 1 to 64 bytes; a letter (any byte above 127 counts as one), @ or # first;
// then letters, digits and _ . @ # $; no final period; not one of the reserved words ALL AND BY
// EQ GE GT LE LT NE NOT OR TO WITH.
bool IsValidVariableName(std::string_view name);
// A valid name made from a column's text (`column` counts from 1 and names an empty one): bad
// characters become "_", a bad first character gets "V" before it, a reserved word gets "_"
// after it. The result may still be taken; the caller makes it unique.
std::string RepairVariableName(std::string_view text, int column);

// How a column is read, inferred from its cells when no dictionary says otherwise: numeric when
// at least 9 in 10 of the non-empty cells are numbers (a decimal comma is accepted when the
// separator is the semicolon); numeric with DATE11 when that many are ISO dates,
// DATETIME17/20/2x.d when they are ISO dates and date-times (seconds, fractions); otherwise a
// string as wide as its longest value. A column without any value is numeric. The cells that
// do not read become missing when the column is built (one warning).
struct ColumnPlan {
  bool is_string = false;
  int width = 0;  // strings: bytes
  PrintFormat format;
  char decimal_point = '.';
};
ColumnPlan InferColumn(const std::vector<std::string>& cells, char separator);

// Builds a dataset from a parsed table and an optional dictionary (null: none). Column names
// are repaired and made unique with warnings; the dictionary's entries override what is
// inferred, and its date definition appends the date variables. Null when the dataset cannot be
// used (every cause reported).
std::shared_ptr<Dataset> BuildDataset(CsvTable table, const std::string& data_name,
                                      const Dictionary* dictionary, ParserMessage& messages);

// Loads a CSV file with the dictionary at `dictionary_path`, or, when that is empty, the one
// beside the data file if there is one (DictionaryPathFor). Null when it cannot be used.
std::shared_ptr<Dataset> LoadDataset(const std::string& data_path,
                                     const std::string& dictionary_path, ParserMessage& messages);

// Saves the dataset as `path` (CSV) and its dictionary beside it (DictionaryPathFor). Each file
// is written under a temporary name and renamed when complete, so an existing file survives a
// failed write. A missing folder, a folder in the file's place and a failed write are reported.
bool SaveDataset(const Dataset& dataset, const std::string& path, ParserMessage& messages,
                 const WriteFaults& faults = {});

}  // namespace host
