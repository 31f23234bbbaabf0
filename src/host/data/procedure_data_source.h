// This file contains the procedure's view of the active dataset: ProcedureDataSource and the
// variable, value label and date variable queries the module asks of it.
#pragma once

#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "host/data/dataset.h"

// The value labels of one variable, in dictionary order.
class QUOR_ValueLabelMap {
 public:
  QUOR_ValueLabelMap() = default;
  QUOR_ValueLabelMap(const std::vector<host::ValueLabel>* labels, bool is_string)
      : labels_(labels), is_string_(is_string) {}

  int GetCount() const { return labels_ == nullptr ? 0 : static_cast<int>(labels_->size()); }
  bool IsEmpty() const { return GetCount() == 0; }
  bool IsString() const { return is_string_; }
  // The label of a value; false (label untouched) when it has none. A numeric map answers the
  // number form, a string map the text form (trailing blanks do not count).
  bool GetLabel(double value, std::string& label) const;
  bool GetLabel(const std::string& value, std::string& label) const;
  // Entry i (0 .. GetCount()-1) of the map.
  double GetNumericValue(int i) const;
  const std::string& GetStringValue(int i) const;
  const std::string& GetLabelAt(int i) const;

 private:
  const std::vector<host::ValueLabel>* labels_ = nullptr;
  bool is_string_ = false;
};

// One variable of the dictionary.
class QUOR_Variable {
 public:
  QUOR_Variable(std::shared_ptr<const host::Dataset> dataset, int index)
      : dataset_(std::move(dataset)), index_(index) {}

  int GetIndex() const { return index_; }
  // The name in its dictionary spelling.
  const std::string& GetName() const { return Get().name; }
  // 0 numeric, else the string width in bytes.
  int GetType() const { return Get().type; }
  bool IsString() const { return Get().IsString(); }
  // The print format: its code (fmt::kDate ...), width and decimals.
  host::PrintFormat GetFormat() const { return Get().format; }
  int GetFormatType() const { return Get().format.type; }
  int GetFormatWidth() const { return Get().format.width; }
  int GetFormatDecimals() const { return Get().format.decimals; }
  // 1 nominal, 2 ordinal, 3 scale (0 unknown).
  int GetMeasurementLevel() const { return static_cast<int>(Get().measure); }
  // 0 input, 1 target, 2 both, 3 none, 4 partition, 5 split.
  int GetRole() const { return static_cast<int>(Get().role); }
  const std::string& GetLabel() const { return Get().label; }
  QUOR_ValueLabelMap GetValueLabels() const {
    return QUOR_ValueLabelMap(&Get().value_labels, Get().IsString());
  }
  // User-missing values.
  bool HasUserMissing() const { return !Get().missing.Empty(); }
  const std::vector<double>& GetMissingNumbers() const { return Get().missing.numbers; }
  const std::vector<std::string>& GetMissingStrings() const { return Get().missing.texts; }
  // The missing range; false when there is none.
  bool GetMissingRange(double& low, double& high) const;
  // System-missing or user-missing (numeric), user-missing (string).
  bool IsMissing(double value) const { return Get().IsMissing(value); }
  bool IsMissing(const std::string& value) const { return Get().IsMissing(value); }
  bool IsUserMissing(double value) const { return Get().missing.IsUserMissing(value); }
  // A value as its format prints it ("" for system-missing).
  std::string FormatValue(double value) const { return host::FormatNumber(value, Get().format); }

 private:
  const host::Variable& Get() const { return dataset_->GetVariable(index_); }

  std::shared_ptr<const host::Dataset> dataset_;
  int index_;
};

// The date variables of the dataset's date definition, highest level first. For entry i:
// `index` is the variable's dictionary index; `level` is its level, 0 for the lowest part and
// one more for each part above (the highest has GetNDateVars()-1); `length` is how many values
// it takes within one value of the part above it (MONTH_ below YEAR_ 12, below QUARTER_ 3; DAY_
// below WEEK_ 7; ...), 0 for the highest part, which counts on without end.
class QUOR_TrendsInfo {
 public:
  QUOR_TrendsInfo() = default;
  explicit QUOR_TrendsInfo(const host::DateDefinition& definition);

  int GetNDateVars() const { return static_cast<int>(parts_.size()); }
  // False, and the outputs untouched, when i is out of range.
  bool GetDateVar(int i, int& index, int& level, int& length) const;

 private:
  std::vector<host::DatePart> parts_;
};

// The dataset as the host's data source: dictionary queries and cell access. With no dataset it
// has no variables and no cases.
class QUOR_DataSource {
 public:
  explicit QUOR_DataSource(std::shared_ptr<host::Dataset> dataset);
  virtual ~QUOR_DataSource() = default;
  QUOR_DataSource(const QUOR_DataSource&) = delete;
  QUOR_DataSource& operator=(const QUOR_DataSource&) = delete;

  bool HasData() const { return dataset_ != nullptr; }
  int GetNumberOfVariables() const;
  int64_t GetNumberOfCases() const;
  // The index of a name, compared without regard to case; -1 when absent. `start` is where the
  // search begins (0: the whole dictionary).
  int FindVarIndex(const std::string& name, int start) const;
  // The variable at an index, or null outside the dictionary. The object lives as long as this
  // data source.
  QUOR_Variable* GetVariable(int index) const;
  const QUOR_TrendsInfo& GetTrendsInfo() const;

  // Cells, by case index (from 0) and variable index; outside the dataset: system-missing or "".
  double GetNumericValue(int64_t case_index, int variable) const;
  const std::string& GetStringValue(int64_t case_index, int variable) const;

  // The dataset itself, for the host's own parts (engine bridge, saving). May be null.
  const std::shared_ptr<host::Dataset>& GetDataset() const { return dataset_; }

 private:
  std::shared_ptr<host::Dataset> dataset_;
  mutable std::deque<QUOR_Variable> variables_;  // stable addresses as they are asked for
  mutable QUOR_TrendsInfo trends_;
};

// The active dataset of the current session, as the procedure sees it.
class ProcedureDataSource : public QUOR_DataSource {
 public:
  // The current session's active dataset (none outside a session or when none is loaded).
  ProcedureDataSource();
  explicit ProcedureDataSource(std::shared_ptr<host::Dataset> dataset);
};

// A number's text and back, agreeing on the shortest exact form: Double2String(0.25) is "0.25",
// Double2String(1.0) is "1", and String2Double(Double2String(x)) gives x back. String2Double
// takes blanks around the number, a sign, a decimal point and an exponent, and gives false (the
// value untouched) for anything else. System-missing gives "".
bool String2Double(const std::string& text, double& value);
std::string Double2String(double value);
