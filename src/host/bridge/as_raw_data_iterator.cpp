// This file contains the active dataset's input stream.
#include "host/bridge/as_raw_data_iterator.h"

#include "host/bridge/as_stop_processor.h"

ASRawDataIterator::ASRawDataIterator(const ASDataModel& model, ErrorMonitor* /*monitor*/)
    : dataset_(model.Dataset()), indexes_(model.Indexes()), model_xml_(model.DataModelXml()),
      user_missing_as_missing_(model.UserMissingAsMissing()), trim_texts_(model.TrimTexts()) {}

bool ASRawDataIterator::GetCancelStatus() const {
  return stopped_ || (stop_ != nullptr && stop_->IsCancelled());
}

bool ASRawDataIterator::Failed() const {
  if (!dataset_)
    return true;
  for (int index : indexes_) {
    if (index >= dataset_->VariableCount())
      return true;
  }
  return false;
}

std::int64_t ASRawDataIterator::CaseCount() const {
  return dataset_ ? dataset_->CaseCount() : 0;
}

bool ASRawDataIterator::Next() {
  if (stopped_ || Failed())
    return false;
  if (stop_ != nullptr && stop_->IsCancelled()) {
    stopped_ = true;
    return false;
  }
  if (next_case_ >= CaseCount()) {
    next_case_ = CaseCount() + 1; // past the end: no current case
    return false;
  }
  ++next_case_;
  return true;
}

void ASRawDataIterator::Rewind() {
  next_case_ = 0;
  stopped_ = false;
}

bool ASRawDataIterator::Value(std::size_t index, const void** data, std::size_t* length) {
  if (data == nullptr || length == nullptr)
    return false;
  if (next_case_ == 0 || next_case_ > CaseCount() || index >= indexes_.size() || Failed()) {
    return false;
  }
  const std::int64_t case_index = next_case_ - 1;
  const int variable_index = indexes_[index];
  const host::Variable& variable = dataset_->GetVariable(variable_index);
  const auto row = static_cast<std::size_t>(case_index);
  if (variable.IsString()) {
    const std::vector<std::string>& column = dataset_->TextColumn(variable_index);
    if (row >= column.size())
      return false;
    const std::string& text = column[row];
    if (user_missing_as_missing_ && variable.missing.IsUserMissing(text)) {
      *data = nullptr;
      *length = 0;
      return true;
    }
    std::size_t size = text.size();
    if (trim_texts_) {
      while (size > 0 && text[size - 1] == ' ')
        --size;
    }
    *data = text.data();
    *length = size;
    return true;
  }
  const std::vector<double>& column = dataset_->NumberColumn(variable_index);
  if (row >= column.size())
    return false;
  const double& value = column[row];
  if (host::IsSysMiss(value) || value != value ||
      (user_missing_as_missing_ && variable.missing.IsUserMissing(value))) {
    *data = nullptr;
    *length = 0;
    return true;
  }
  *data = &value;
  *length = sizeof(double);
  return true;
}
