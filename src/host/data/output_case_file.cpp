// This file contains the saved-data layer: stores, their cases, and where a finished store goes.
#include "host/data/output_case_file.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <limits>
#include <utility>

#include "host/data/csv_reader.h"
#include "host/data/csv_writer.h"
#include "host/data/data_messages.h"
#include "host/data/dataset_io.h"
#include "host/data/dictionary.h"
#include "host/data/password_text.h"
#include "host/data/procedure_data_source.h"
#include "host/messages/parser_message.h"
#include "host/session.h"
#include "support/zip_archive.h"

namespace {

constexpr int kMaxStringWidth = 32767;
constexpr size_t kMaxNameBytes = 64;

// At most `width` bytes of `text`, never splitting a UTF-8 sequence.
std::string CutText(std::string_view text, size_t width) {
  if (text.size() <= width)
    return std::string(text);
  size_t cut = width;
  while (cut > 0 && (static_cast<unsigned char>(text[cut]) & 0xC0) == 0x80)
    --cut;
  return std::string(text.substr(0, cut));
}

// A message object that carries the running command's name, for the store's own reports.
ParserMessage SessionMessages() {
  ParserMessage messages;
  if (const host::Session* session = host::CurrentSession()) {
    messages.SetCommandName(session->command.name);
  }
  return messages;
}

} // namespace

double NumericStorageCFToStat(const void* value, int storage) {
  if (value == nullptr)
    return host::kSysMiss;
  if (storage == 1) {
    int32_t number = 0;
    std::memcpy(&number, value, sizeof number);
    return static_cast<double>(number);
  }
  double number = 0.0;
  std::memcpy(&number, value, sizeof number);
  return number;
}

bool IsValidStatDouble(double value) {
  return std::isfinite(value) && !host::IsSysMiss(value);
}

// QUOR_Case

QUOR_Case::QUOR_Case(int column_count) : cells_(static_cast<size_t>(std::max(column_count, 0))) {}

void QUOR_Case::InitCase() {
  for (Cell& cell : cells_) {
    cell.number = host::kSysMiss;
    cell.text.clear();
  }
}

bool QUOR_Case::SetColumnValue(int column, double value) {
  if (column < 0 || column >= ColumnCount())
    return false;
  cells_[static_cast<size_t>(column)].number = value;
  return true;
}

bool QUOR_Case::SetColumnValue(int column, const char* text, std::size_t length) {
  if (column < 0 || column >= ColumnCount())
    return false;
  std::string& cell = cells_[static_cast<size_t>(column)].text;
  if (text == nullptr) {
    cell.clear();
  } else {
    cell.assign(text, length);
  }
  return true;
}

bool QUOR_Case::SetColumnValue(int column, const std::string& text, std::size_t width) {
  if (column < 0 || column >= ColumnCount())
    return false;
  cells_[static_cast<size_t>(column)].text = CutText(text, width);
  return true;
}

double QUOR_Case::GetNumber(int column) const {
  if (column < 0 || column >= ColumnCount())
    return host::kSysMiss;
  return cells_[static_cast<size_t>(column)].number;
}

const std::string& QUOR_Case::GetText(int column) const {
  static const std::string kEmpty;
  if (column < 0 || column >= ColumnCount())
    return kEmpty;
  return cells_[static_cast<size_t>(column)].text;
}

// StoreVariable

const std::string& StoreVariable::GetName() const {
  return store_->data_->GetVariable(index_).name;
}

bool StoreVariable::SetName(const std::string& name) {
  if (name.empty())
    return false;
  const std::string free = store_->FreeName(name, index_);
  if (free == GetName())
    return true;
  return store_->data_->RenameVariable(index_, free);
}

void StoreVariable::SetLabel(const std::string& label) {
  store_->data_->MutableVariable(index_).label = label;
}

bool StoreVariable::SetFormat(const host::PrintFormat& format) {
  host::Variable& variable = store_->data_->MutableVariable(index_);
  if (!host::CheckFormat(format).format)
    return false;
  if (host::IsStringFormat(format.type) != variable.IsString())
    return false;
  variable.format = format;
  return true;
}

bool StoreVariable::SetWriteFormat(const host::PrintFormat& format) {
  return SetFormat(format);
}

bool StoreVariable::SetMeasurementLevel(int level) {
  if (level < 0 || level > 3)
    return false;
  store_->data_->MutableVariable(index_).measure = static_cast<host::Measure>(level);
  return true;
}

bool StoreVariable::SetRole(int role) {
  if (role < 0 || role > 5)
    return false;
  store_->data_->MutableVariable(index_).role = static_cast<host::Role>(role);
  return true;
}

// IndependentDataStore

IndependentDataStore::IndependentDataStore(UserCaseFileSpec spec)
    : spec_(std::move(spec)), data_(std::make_shared<host::Dataset>()) {}

std::string IndependentDataStore::FreeName(const std::string& wanted, int except) const {
  std::string name = host::IsValidVariableName(wanted)
                         ? wanted
                         : host::RepairVariableName(wanted, data_->VariableCount() + 1);
  const auto taken = [&](const std::string& candidate) {
    const int found = data_->FindVariable(candidate);
    return found >= 0 && found != except;
  };
  if (!taken(name))
    return name;
  for (int k = 1;; ++k) {
    const std::string suffix = "_" + std::to_string(k);
    // The suffix must survive the name's length limit.
    std::string candidate = name.size() + suffix.size() > kMaxNameBytes
                                ? CutText(name, kMaxNameBytes - suffix.size()) + suffix
                                : name + suffix;
    if (!taken(candidate))
      return candidate;
  }
}

StoreVariable* IndependentDataStore::Append(host::Variable variable, bool grows) {
  if (committed_ || variable.name.empty())
    return nullptr;
  variable.name = FreeName(variable.name, -1);
  const int index = data_->AddVariable(std::move(variable));
  if (index < 0)
    return nullptr;
  handles_.emplace_back(*this, index);
  grows_.push_back(grows);
  return &handles_.back();
}

StoreVariable* IndependentDataStore::MakeVariable(const std::string& name, bool is_string) {
  host::Variable variable;
  variable.name = name;
  if (is_string) {
    variable.type = 1;
    variable.format = host::PrintFormat{host::fmt::kA, 1, 0};
    variable.measure = host::Measure::kNominal;
  } else {
    variable.format = host::DefaultFormat(host::fmt::kF);
    variable.measure = host::Measure::kScale;
  }
  return Append(std::move(variable), is_string);
}

StoreVariable* IndependentDataStore::MakeVariable(const QUOR_Variable& source) {
  host::Variable variable;
  variable.name = source.GetName();
  variable.type = source.GetType();
  variable.format = source.GetFormat();
  variable.measure = static_cast<host::Measure>(source.GetMeasurementLevel());
  variable.role = static_cast<host::Role>(source.GetRole());
  variable.label = source.GetLabel();
  const QUOR_ValueLabelMap labels = source.GetValueLabels();
  for (int i = 0; i < labels.GetCount(); ++i) {
    host::ValueLabel entry;
    if (labels.IsString()) {
      entry.text = labels.GetStringValue(i);
    } else {
      entry.number = labels.GetNumericValue(i);
    }
    entry.label = labels.GetLabelAt(i);
    variable.value_labels.push_back(std::move(entry));
  }
  variable.missing.numbers = source.GetMissingNumbers();
  variable.missing.texts = source.GetMissingStrings();
  double low = 0.0;
  double high = 0.0;
  if (source.GetMissingRange(low, high)) {
    variable.missing.has_range = true;
    variable.missing.range_low = low;
    variable.missing.range_high = high;
  }
  return Append(std::move(variable), false);
}

int IndependentDataStore::FindVariable(const std::string& name) const {
  return data_->FindVariable(name);
}

StoreVariable* IndependentDataStore::GetVariable(int index) {
  if (index < 0 || index >= static_cast<int>(handles_.size()))
    return nullptr;
  return &handles_[static_cast<size_t>(index)];
}

bool IndependentDataStore::CopyDictionary(const QUOR_DataSource& source) {
  const std::shared_ptr<host::Dataset>& from = source.GetDataset();
  if (committed_ || from == nullptr)
    return false;
  auto copy = std::make_shared<host::Dataset>();
  for (int i = 0; i < from->VariableCount(); ++i) {
    if (copy->AddVariable(from->GetVariable(i)) < 0)
      return false;
  }
  copy->SetDateDefinition(from->GetDateDefinition());
  data_ = std::move(copy);
  handles_.clear();
  grows_.assign(static_cast<size_t>(data_->VariableCount()), false);
  for (int i = 0; i < data_->VariableCount(); ++i)
    handles_.emplace_back(*this, i);
  return true;
}

bool IndependentDataStore::CommitDictionary() {
  if (committed_)
    return false;
  committed_ = true;
  return true;
}

bool IndependentDataStore::AddCase(const QUOR_Case& c) {
  if (!committed_ || c.ColumnCount() != data_->VariableCount())
    return false;
  const int64_t row = data_->AddCase();
  for (int i = 0; i < data_->VariableCount(); ++i) {
    const host::Variable& variable = data_->GetVariable(i);
    if (!variable.IsString()) {
      data_->SetNumber(row, i, c.GetNumber(i));
      continue;
    }
    const std::string& text = c.GetText(i);
    if (static_cast<int>(text.size()) > variable.type && grows_[static_cast<size_t>(i)]) {
      const int width = static_cast<int>(std::min<size_t>(text.size(), kMaxStringWidth));
      host::Variable& grown = data_->MutableVariable(i);
      grown.type = width;
      grown.format.width = width;
    }
    data_->SetText(row, i, CutText(text, static_cast<size_t>(data_->GetVariable(i).type)));
  }
  return true;
}

bool IndependentDataStore::WriteProtected(ParserMessage& messages) const {
  namespace fs = std::filesystem;
  const std::string& path = spec_.GetPath();
  std::error_code error;
  const fs::path folder = fs::path(path).parent_path();
  if (!folder.empty() && !fs::is_directory(folder, error)) {
    messages.HostError(host::msg::kWriteFolderMissing, {path, folder.string()});
    return false;
  }
  if (fs::is_directory(path, error)) {
    messages.HostError(host::msg::kWritePathIsFolder, {path});
    return false;
  }
  // The archive is built in memory and written in one atomic step, so a failure anywhere
  // leaves a file of that name as it was.
  support::ZipArchiveWriter writer;
  // An encoded password (ENCRYPTEDPW=YES) protects the file under its plain form.
  const std::string password = spec_.IsPasswordEncrypted()
                                   ? host::DecodePassword(spec_.GetPassword())
                                   : spec_.GetPassword();
  support::Status status =
      writer.AddText(host::kProtectedDataMember, host::CsvText(*data_), password);
  if (status.ok()) {
    status = writer.AddText(host::kProtectedDictionaryMember,
                            host::DictionaryText(*data_, messages, path), password);
  }
  if (status.ok())
    status = writer.WriteTo(path);
  if (!status.ok()) {
    messages.HostError(host::msg::kWriteFailed, {path, status.error().message});
    return false;
  }
  return true;
}

bool IndependentDataStore::EnterNamed() const {
  host::Session* session = host::CurrentSession();
  if (session == nullptr)
    return false;
  const std::string upper = host::UpperName(spec_.GetDatasetName());
  std::erase_if(session->named,
                [&](const auto& entry) { return host::UpperName(entry.first) == upper; });
  session->named[spec_.GetDatasetName()] = data_;
  return true;
}

bool IndependentDataStore::MakeActive(bool take_over_source) {
  host::Session* session = host::CurrentSession();
  if (session == nullptr)
    return false;
  if (take_over_source && session->active_dataset != nullptr) {
    data_->SetSource(session->active_dataset->Source());
  }
  session->active_dataset = data_;
  return true;
}

bool IndependentDataStore::EndFile(ParserMessage* messages) {
  ParserMessage own = SessionMessages();
  ParserMessage& out = messages != nullptr ? *messages : own;
  if (spec_.IsFile()) {
    data_->SetSource(spec_.GetPath());
    if (spec_.HasPassword())
      return WriteProtected(out);
    return host::SaveDataset(*data_, spec_.GetPath(), out, faults_);
  }
  if (spec_.IsDataset())
    return EnterNamed();
  if (spec_.IsWorkingFile())
    return MakeActive(false);
  return false;
}

// UserOutputCaseFile

UserOutputCaseFile::UserOutputCaseFile(const UserCaseFileSpec& spec) {
  if (spec.IsInit())
    store_ = std::make_unique<IndependentDataStore>(spec);
}

// QUOR_CaseIterator

QUOR_CaseIterator::QUOR_CaseIterator(std::shared_ptr<const host::Dataset> dataset)
    : dataset_(std::move(dataset)) {}

bool QUOR_CaseIterator::NextCase() {
  if (dataset_ == nullptr || number_ >= dataset_->CaseCount()) {
    number_ = dataset_ == nullptr ? 1 : dataset_->CaseCount() + 1;
    return false;
  }
  ++number_;
  return true;
}

double QUOR_CaseIterator::GetNumericValue(int variable) const {
  return dataset_ == nullptr ? host::kSysMiss : dataset_->GetNumber(number_ - 1, variable);
}

const std::string& QUOR_CaseIterator::GetStringValue(int variable) const {
  static const std::string kEmpty;
  return dataset_ == nullptr ? kEmpty : dataset_->GetText(number_ - 1, variable);
}

std::unique_ptr<QUOR_CaseIterator> MakeCaseIterator(const QUOR_DataSource& source) {
  if (!source.HasData())
    return nullptr;
  return std::make_unique<QUOR_CaseIterator>(source.GetDataset());
}

// Reading a protected file back.

namespace host {

std::shared_ptr<host::Dataset> LoadProtectedDataset(const std::string& path,
                                                    const std::string& password,
                                                    ParserMessage& messages) {
  auto archive = support::ZipArchiveReader::Open(path, password);
  if (!archive.ok()) {
    messages.HostError(host::msg::kFileUnreadable, {path, archive.error().message});
    return nullptr;
  }
  auto csv = archive->ReadText(kProtectedDataMember);
  auto dictionary_text = archive->ReadText(kProtectedDictionaryMember);
  for (const auto* member : {&csv, &dictionary_text}) {
    if (!member->ok()) {
      messages.HostError(host::msg::kFileUnreadable, {path, member->error().message});
      return nullptr;
    }
  }
  host::CsvTable table;
  if (!host::ParseCsvText(*csv, path, table, messages))
    return nullptr;
  host::Dictionary dictionary;
  if (!host::ParseDictionaryText(*dictionary_text, path, dictionary, messages))
    return nullptr;
  return host::BuildDataset(std::move(table), path, &dictionary, messages);
}

} // namespace host
