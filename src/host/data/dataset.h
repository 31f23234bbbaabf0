// This file contains the in-memory dataset: its dictionary of variables and its cases, kept
// column by column.
#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "host/data/print_format.h"

namespace host {

// The system-missing value of a numeric cell: the lowest double.
inline constexpr double kSysMiss = std::numeric_limits<double>::lowest();
inline bool IsSysMiss(double value) { return value == kSysMiss; }

// Measurement levels, as the host's enumeration numbers them.
enum class Measure { kUnknown = 0, kNominal = 1, kOrdinal = 2, kScale = 3 };
// Roles, as the host's enumeration numbers them.
enum class Role { kInput = 0, kTarget = 1, kBoth = 2, kNone = 3, kPartition = 4, kSplit = 5 };

// User-missing values: discrete values (numbers for a numeric variable, texts for a string one)
// and, for a numeric variable, one closed range.
struct MissingValues {
  std::vector<double> numbers;
  std::vector<std::string> texts;
  bool has_range = false;
  double range_low = 0.0;
  double range_high = 0.0;

  bool Empty() const { return numbers.empty() && texts.empty() && !has_range; }
  bool IsUserMissing(double value) const;
  // Texts compare without their trailing blanks.
  bool IsUserMissing(std::string_view value) const;
  friend bool operator==(const MissingValues&, const MissingValues&) = default;
};

// One value label: `number` for a numeric variable, `text` for a string one.
struct ValueLabel {
  double number = 0.0;
  std::string text;
  std::string label;
  friend bool operator==(const ValueLabel&, const ValueLabel&) = default;
};

struct Variable {
  std::string name;  // dictionary spelling
  int type = 0;      // 0 numeric, else the string width in bytes
  PrintFormat format;
  Measure measure = Measure::kScale;
  std::string label;
  std::vector<ValueLabel> value_labels;  // in the order given
  MissingValues missing;
  Role role = Role::kInput;

  bool IsString() const { return type > 0; }
  // The label of a value, or null.
  const std::string* FindValueLabel(double value) const;
  const std::string* FindValueLabel(std::string_view value) const;
  // Sets a value's label, replacing an existing one.
  void SetValueLabel(double value, std::string label);
  void SetValueLabel(std::string_view value, std::string label);
  // System-missing or user-missing (numeric); user-missing (string).
  bool IsMissing(double value) const { return IsSysMiss(value) || missing.IsUserMissing(value); }
  bool IsMissing(std::string_view value) const { return missing.IsUserMissing(value); }
  friend bool operator==(const Variable&, const Variable&) = default;
};

// The parts of a date definition, highest first in a definition.
enum class DateComponent { kYear, kQuarter, kMonth, kWeek, kDay, kHour, kMinute, kSecond, kCycle };

// One date variable made by a date definition (YEAR_, MONTH_, ...).
struct DatePart {
  DateComponent component = DateComponent::kYear;
  int64_t start = 1;      // the value of the first case
  int period = 0;         // CYCLE below another part: its count of values
  int variable_index = -1;  // the variable in the dictionary
  int level = 0;          // 0 for the lowest part, one more for each part above
  int length = 0;         // values per value of the part above; 0 for the highest part
  friend bool operator==(const DatePart&, const DatePart&) = default;
};

struct DateDefinition {
  std::vector<DatePart> parts;  // highest first
  int date_text_index = -1;     // the string variable DATE_
  bool Empty() const { return parts.empty(); }
  friend bool operator==(const DateDefinition&, const DateDefinition&) = default;
};

class Dataset {
 public:
  int VariableCount() const { return static_cast<int>(variables_.size()); }
  int64_t CaseCount() const { return case_count_; }

  // A variable by index; the index must lie in 0..VariableCount()-1.
  const Variable& GetVariable(int index) const { return variables_[static_cast<size_t>(index)]; }
  // Changes to the dictionary entry. Its name must not change here (use RenameVariable), nor its
  // type between numeric and string, which is fixed when the variable is added; the width of a
  // string may change.
  Variable& MutableVariable(int index) { return variables_[static_cast<size_t>(index)]; }
  // Index of a name, compared without regard to ASCII case; -1 when absent.
  int FindVariable(std::string_view name) const;
  // Appends a variable whose cells start missing (system-missing, or empty texts); gives its
  // index, or -1 when the name is empty or taken.
  int AddVariable(Variable variable);
  // False when the new name is empty or taken by another variable.
  bool RenameVariable(int index, const std::string& name);

  // Grows (with missing cells) or shrinks the cases.
  void SetCaseCount(int64_t count);
  // Appends one case of missing cells; gives its index.
  int64_t AddCase();

  // Cell access. Reading outside the dataset, or a numeric read of a string variable, gives
  // system-missing (or the empty text); writing there gives false and changes nothing.
  double GetNumber(int64_t case_index, int variable) const;
  const std::string& GetText(int64_t case_index, int variable) const;
  bool SetNumber(int64_t case_index, int variable, double value);
  bool SetText(int64_t case_index, int variable, std::string value);
  // Whole columns (empty for the other type).
  const std::vector<double>& NumberColumn(int variable) const;
  const std::vector<std::string>& TextColumn(int variable) const;
  // Replaces a whole column; false when the size is not the case count or the type differs.
  bool SetNumberColumn(int variable, std::vector<double> values);
  bool SetTextColumn(int variable, std::vector<std::string> values);

  const DateDefinition& GetDateDefinition() const { return date_definition_; }
  void SetDateDefinition(DateDefinition definition) { date_definition_ = std::move(definition); }

  // Where the data came from (a path), for messages and notes.
  const std::string& Source() const { return source_; }
  void SetSource(std::string source) { source_ = std::move(source); }

 private:
  struct Column {
    std::vector<double> numbers;
    std::vector<std::string> texts;
  };
  bool ValidCell(int64_t case_index, int variable) const;

  std::vector<Variable> variables_;
  std::vector<Column> columns_;
  std::unordered_map<std::string, int> index_by_upper_name_;
  int64_t case_count_ = 0;
  DateDefinition date_definition_;
  std::string source_;
};

// ASCII upper case, the identity of a variable name.
std::string UpperName(std::string_view name);

}  // namespace host
