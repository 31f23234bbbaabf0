// This file contains the saved-data layer: UserOutputCaseFile and its IndependentDataStore (a new
// dataset built variable by variable and case by case, then written to a file, kept as a named
// dataset or made the active dataset), the QUOR_Case it takes, and the case iterator and value
// conversions that a procedure needs to fill it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "host/data/atomic_file.h"
#include "host/data/dataset.h"
#include "host/syntax/user_case_file_spec.h"

class ParserMessage;
class QUOR_DataSource;
class QUOR_Variable;
class IndependentDataStore;

// A double of the engine's numeric storage as the host keeps it: `storage` 1 is a 32-bit
// integer, any other a 64-bit real. A null `value` gives system-missing.
double NumericStorageCFToStat(const void* value, int storage);
// A real number that is not the system-missing value.
bool IsValidStatDouble(double value);

// One case on its way into a store: as many cells as the store has columns, each a number and a
// text; the store takes the number of a numeric variable and the text of a string one.
class QUOR_Case {
 public:
  explicit QUOR_Case(int column_count);

  int ColumnCount() const { return static_cast<int>(cells_.size()); }
  // Every cell back to missing: system-missing, empty text.
  void InitCase();
  // The three forms: a number; `length` bytes of text (null gives the empty text); a text cut
  // to at most `width` bytes, never inside a UTF-8 sequence. False, with nothing set, for a
  // column outside the case.
  bool SetColumnValue(int column, double value);
  bool SetColumnValue(int column, const char* text, std::size_t length);
  bool SetColumnValue(int column, const std::string& text, std::size_t width);

  double GetNumber(int column) const;
  const std::string& GetText(int column) const;

 private:
  struct Cell {
    double number = host::kSysMiss;
    std::string text;
  };
  std::vector<Cell> cells_;
};

// A variable of a store, for setting its dictionary properties.
class StoreVariable {
 public:
  StoreVariable(IndependentDataStore& store, int index) : store_(&store), index_(index) {}

  int GetIndex() const { return index_; }
  const std::string& GetName() const;
  // A name that is not a valid variable name is repaired as a CSV header would be; a name that
  // another variable of the store has gets "_1", "_2", ... until it is free. False for an
  // empty name.
  bool SetName(const std::string& name);
  void SetLabel(const std::string& label);
  // False, with the format unchanged, for a format that the variable cannot hold: an unknown
  // type, a width or decimals out of its range, a string format on a numeric variable or the
  // reverse. The dataset keeps one format for showing and writing, so both set the same one.
  bool SetFormat(const host::PrintFormat& format);
  bool SetWriteFormat(const host::PrintFormat& format);
  // 0 unknown, 1 nominal, 2 ordinal, 3 scale; false for another value.
  bool SetMeasurementLevel(int level);
  // 0 input, 1 target, 2 both, 3 none, 4 partition, 5 split; false for another value.
  bool SetRole(int role);

 private:
  IndependentDataStore* store_;
  int index_;
};

// A dataset made apart from the active one. The dictionary is built first (MakeVariable,
// CopyDictionary), then committed, then cases are added; at the end the dataset goes where the
// output file description says.
class IndependentDataStore {
 public:
  explicit IndependentDataStore(UserCaseFileSpec spec);
  IndependentDataStore(const IndependentDataStore&) = delete;
  IndependentDataStore& operator=(const IndependentDataStore&) = delete;

  // The dataset's label, kept with the store (the dictionary file has no place for it).
  void SetLabel(std::string label) { label_ = std::move(label); }
  const std::string& GetLabel() const { return label_; }

  // A new variable: numeric (F8.2, scale), or, with `is_string`, a string whose width grows to
  // its longest value (nominal). A name that is taken or not valid is made so as SetName does.
  // Null once the dictionary is committed. The object lives as long as the store.
  StoreVariable* MakeVariable(const std::string& name, bool is_string);
  // A copy of a variable of another dataset with all its dictionary properties (type, width,
  // format, measure, role, label, value labels, missing values); a taken name is made unique.
  StoreVariable* MakeVariable(const QUOR_Variable& source);
  // The variable of a name (any case), or -1.
  int FindVariable(const std::string& name) const;
  StoreVariable* GetVariable(int index);

  const UserCaseFileSpec& GetFileSpecExt() const { return spec_; }
  void SetFileSpec(const UserCaseFileSpec& spec) { spec_ = spec; }

  // Replaces the dictionary by a copy of the source's (variables and date definition). False,
  // with the store unchanged, when the source has no dataset or the dictionary is committed.
  bool CopyDictionary(const QUOR_DataSource& source);
  int ColumnCount() const { return data_->VariableCount(); }

  // Ends the dictionary: no variable is added afterwards, and cases may come. False when it was
  // committed already.
  bool CommitDictionary();
  bool IsCommitted() const { return committed_; }
  // Appends a case. False, with nothing added, before the commit or when the case has another
  // number of columns. A text longer than its string variable is cut to the width, except for
  // a new string variable, which widens.
  bool AddCase(const QUOR_Case& c);
  int64_t CaseCount() const { return data_->CaseCount(); }

  // Ends the data: a file is written (CSV and dictionary, or under a password one AES-256 zip
  // of both), a dataset name is entered among the session's datasets, the working file becomes
  // the active dataset as MakeActive(false) makes it. Every failure is reported through
  // `messages`, or through a message object of its own when null; an existing file survives a
  // failed write. False when nothing was saved; the store may then try again.
  bool EndFile(ParserMessage* messages = nullptr);
  // The dataset replaces the session's active dataset; with `take_over_source` it takes over
  // the old one's source (its file name). False outside a session.
  bool MakeActive(bool take_over_source);

  const host::Dataset& Data() const { return *data_; }
  const std::shared_ptr<host::Dataset>& SharedData() const { return data_; }

  // Faults to inject into the write of a plain data file, for tests of the writers.
  void SetWriteFaults(host::WriteFaults faults) { faults_ = faults; }

 private:
  friend class StoreVariable;
  StoreVariable* Append(host::Variable variable, bool grows);
  std::string FreeName(const std::string& wanted, int except) const;
  bool WriteProtected(ParserMessage& messages) const;
  bool EnterNamed() const;

  UserCaseFileSpec spec_;
  std::shared_ptr<host::Dataset> data_;
  std::deque<StoreVariable> handles_; // stable addresses, one per variable
  std::vector<bool> grows_;           // strings made here, which widen to their values
  std::string label_;
  bool committed_ = false;
  host::WriteFaults faults_;
};

// The output side of a UserCaseFileSpec: a store for a file, a named dataset or the working
// file, and none for one that was never initialised (there is nowhere to save).
class UserOutputCaseFile {
 public:
  explicit UserOutputCaseFile(const UserCaseFileSpec& spec);

  // The store, or null. It lives as long as this object.
  IndependentDataStore* DataSource() { return store_.get(); }

 private:
  std::unique_ptr<IndependentDataStore> store_;
};

// Reads a data source's cases forward, by case number from 1.
class QUOR_CaseIterator {
 public:
  explicit QUOR_CaseIterator(std::shared_ptr<const host::Dataset> dataset);

  // Steps to the next case; false at the end (the number then stays past the last case).
  bool NextCase();
  // 0 before the first step, then the case's number.
  int64_t GetCaseNumber() const { return number_; }
  // Cells of the current case; system-missing or "" when there is none.
  double GetNumericValue(int variable) const;
  const std::string& GetStringValue(int variable) const;

 private:
  std::shared_ptr<const host::Dataset> dataset_;
  int64_t number_ = 0;
};

// A case iterator over the source's dataset, or null when it has none.
std::unique_ptr<QUOR_CaseIterator> MakeCaseIterator(const QUOR_DataSource& source);

namespace host {

// The members of a password-protected data file: the CSV text and its dictionary.
inline constexpr const char* kProtectedDataMember = "data.csv";
inline constexpr const char* kProtectedDictionaryMember = "data.dict.json";

// Opens a password-protected data file. A missing file, a wrong password and a damaged archive
// are reported (DATA_FILE_UNREADABLE_KEY), and so is everything BuildDataset reports. Null when
// the data cannot be used.
std::shared_ptr<host::Dataset>
LoadProtectedDataset(const std::string& path, const std::string& password, ParserMessage& messages);

} // namespace host
