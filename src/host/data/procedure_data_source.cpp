// This file contains the procedure's view of the active dataset.
#include "host/data/procedure_data_source.h"

#include "host/data/number_text.h"
#include "host/session.h"

namespace {

const std::string kEmpty;

std::string_view WithoutTrailingBlanks(std::string_view text) {
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  return text;
}

std::shared_ptr<host::Dataset> ActiveDataset() {
  const host::Session* session = host::CurrentSession();
  return session == nullptr ? nullptr : session->active_dataset;
}

}  // namespace

bool QUOR_ValueLabelMap::GetLabel(double value, std::string& label) const {
  if (labels_ == nullptr || is_string_) return false;
  for (const auto& entry : *labels_) {
    if (entry.number == value) {
      label = entry.label;
      return true;
    }
  }
  return false;
}

bool QUOR_ValueLabelMap::GetLabel(const std::string& value, std::string& label) const {
  if (labels_ == nullptr || !is_string_) return false;
  const std::string_view wanted = WithoutTrailingBlanks(value);
  for (const auto& entry : *labels_) {
    if (WithoutTrailingBlanks(entry.text) == wanted) {
      label = entry.label;
      return true;
    }
  }
  return false;
}

double QUOR_ValueLabelMap::GetNumericValue(int i) const {
  return i >= 0 && i < GetCount() ? (*labels_)[static_cast<size_t>(i)].number : host::kSysMiss;
}

const std::string& QUOR_ValueLabelMap::GetStringValue(int i) const {
  return i >= 0 && i < GetCount() ? (*labels_)[static_cast<size_t>(i)].text : kEmpty;
}

const std::string& QUOR_ValueLabelMap::GetLabelAt(int i) const {
  return i >= 0 && i < GetCount() ? (*labels_)[static_cast<size_t>(i)].label : kEmpty;
}

bool QUOR_Variable::GetMissingRange(double& low, double& high) const {
  const host::MissingValues& missing = Get().missing;
  if (!missing.has_range) return false;
  low = missing.range_low;
  high = missing.range_high;
  return true;
}

QUOR_TrendsInfo::QUOR_TrendsInfo(const host::DateDefinition& definition)
    : parts_(definition.parts) {}

bool QUOR_TrendsInfo::GetDateVar(int i, int& index, int& level, int& length) const {
  if (i < 0 || i >= GetNDateVars()) return false;
  const host::DatePart& part = parts_[static_cast<size_t>(i)];
  index = part.variable_index;
  level = part.level;
  length = part.length;
  return true;
}

QUOR_DataSource::QUOR_DataSource(std::shared_ptr<host::Dataset> dataset)
    : dataset_(std::move(dataset)) {}

int QUOR_DataSource::GetNumberOfVariables() const {
  return dataset_ == nullptr ? 0 : dataset_->VariableCount();
}

int64_t QUOR_DataSource::GetNumberOfCases() const {
  return dataset_ == nullptr ? 0 : dataset_->CaseCount();
}

int QUOR_DataSource::FindVarIndex(const std::string& name, int start) const {
  if (dataset_ == nullptr) return -1;
  const int index = dataset_->FindVariable(name);
  return index >= start ? index : -1;
}

QUOR_Variable* QUOR_DataSource::GetVariable(int index) const {
  if (dataset_ == nullptr || index < 0 || index >= dataset_->VariableCount()) return nullptr;
  // Views are made in index order as far as asked, and never move once made.
  while (static_cast<int>(variables_.size()) <= index) {
    variables_.emplace_back(dataset_, static_cast<int>(variables_.size()));
  }
  return &variables_[static_cast<size_t>(index)];
}

const QUOR_TrendsInfo& QUOR_DataSource::GetTrendsInfo() const {
  trends_ =
      dataset_ == nullptr ? QUOR_TrendsInfo() : QUOR_TrendsInfo(dataset_->GetDateDefinition());
  return trends_;
}

double QUOR_DataSource::GetNumericValue(int64_t case_index, int variable) const {
  return dataset_ == nullptr ? host::kSysMiss : dataset_->GetNumber(case_index, variable);
}

const std::string& QUOR_DataSource::GetStringValue(int64_t case_index, int variable) const {
  return dataset_ == nullptr ? kEmpty : dataset_->GetText(case_index, variable);
}

ProcedureDataSource::ProcedureDataSource() : QUOR_DataSource(ActiveDataset()) {}

ProcedureDataSource::ProcedureDataSource(std::shared_ptr<host::Dataset> dataset)
    : QUOR_DataSource(std::move(dataset)) {}

bool String2Double(const std::string& text, double& value) {
  return host::ReadNumberText(text, value);
}

std::string Double2String(double value) { return host::ShortestNumberText(value); }
