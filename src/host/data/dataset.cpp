// This file contains the in-memory dataset: its dictionary of variables and its cases.
#include "host/data/dataset.h"

#include <algorithm>

namespace host {
namespace {

std::string_view WithoutTrailingBlanks(std::string_view text) {
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  return text;
}

const std::string kEmptyText;
const std::vector<double> kNoNumbers;
const std::vector<std::string> kNoTexts;

}  // namespace

std::string UpperName(std::string_view name) {
  std::string upper(name);
  for (char& c : upper) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return upper;
}

bool MissingValues::IsUserMissing(double value) const {
  if (IsSysMiss(value)) return false;
  if (std::find(numbers.begin(), numbers.end(), value) != numbers.end()) return true;
  return has_range && value >= range_low && value <= range_high;
}

bool MissingValues::IsUserMissing(std::string_view value) const {
  const std::string_view trimmed = WithoutTrailingBlanks(value);
  return std::any_of(texts.begin(), texts.end(), [&](const std::string& text) {
    return WithoutTrailingBlanks(text) == trimmed;
  });
}

const std::string* Variable::FindValueLabel(double value) const {
  for (const auto& entry : value_labels) {
    if (entry.number == value) return &entry.label;
  }
  return nullptr;
}

const std::string* Variable::FindValueLabel(std::string_view value) const {
  const std::string_view trimmed = WithoutTrailingBlanks(value);
  for (const auto& entry : value_labels) {
    if (WithoutTrailingBlanks(entry.text) == trimmed) return &entry.label;
  }
  return nullptr;
}

void Variable::SetValueLabel(double value, std::string text) {
  for (auto& entry : value_labels) {
    if (entry.number == value) {
      entry.label = std::move(text);
      return;
    }
  }
  value_labels.push_back(ValueLabel{value, {}, std::move(text)});
}

void Variable::SetValueLabel(std::string_view value, std::string text) {
  const std::string_view trimmed = WithoutTrailingBlanks(value);
  for (auto& entry : value_labels) {
    if (WithoutTrailingBlanks(entry.text) == trimmed) {
      entry.label = std::move(text);
      return;
    }
  }
  value_labels.push_back(ValueLabel{0.0, std::string(value), std::move(text)});
}

int Dataset::FindVariable(std::string_view name) const {
  const auto it = index_by_upper_name_.find(UpperName(name));
  return it == index_by_upper_name_.end() ? -1 : it->second;
}

int Dataset::AddVariable(Variable variable) {
  if (variable.name.empty() || FindVariable(variable.name) >= 0) return -1;
  const int index = VariableCount();
  index_by_upper_name_[UpperName(variable.name)] = index;
  Column column;
  if (variable.IsString()) {
    column.texts.resize(static_cast<size_t>(case_count_));
  } else {
    column.numbers.assign(static_cast<size_t>(case_count_), kSysMiss);
  }
  variables_.push_back(std::move(variable));
  columns_.push_back(std::move(column));
  return index;
}

bool Dataset::RenameVariable(int index, const std::string& name) {
  if (index < 0 || index >= VariableCount() || name.empty()) return false;
  const int existing = FindVariable(name);
  if (existing >= 0 && existing != index) return false;
  index_by_upper_name_.erase(UpperName(variables_[static_cast<size_t>(index)].name));
  index_by_upper_name_[UpperName(name)] = index;
  variables_[static_cast<size_t>(index)].name = name;
  return true;
}

void Dataset::SetCaseCount(int64_t count) {
  if (count < 0) count = 0;
  for (size_t i = 0; i < columns_.size(); ++i) {
    if (variables_[i].IsString()) {
      columns_[i].texts.resize(static_cast<size_t>(count));
    } else {
      columns_[i].numbers.resize(static_cast<size_t>(count), kSysMiss);
    }
  }
  case_count_ = count;
}

int64_t Dataset::AddCase() {
  SetCaseCount(case_count_ + 1);
  return case_count_ - 1;
}

bool Dataset::ValidCell(int64_t case_index, int variable) const {
  return variable >= 0 && variable < VariableCount() && case_index >= 0 &&
         case_index < case_count_;
}

double Dataset::GetNumber(int64_t case_index, int variable) const {
  if (!ValidCell(case_index, variable) || variables_[static_cast<size_t>(variable)].IsString()) {
    return kSysMiss;
  }
  return columns_[static_cast<size_t>(variable)].numbers[static_cast<size_t>(case_index)];
}

const std::string& Dataset::GetText(int64_t case_index, int variable) const {
  if (!ValidCell(case_index, variable) || !variables_[static_cast<size_t>(variable)].IsString()) {
    return kEmptyText;
  }
  return columns_[static_cast<size_t>(variable)].texts[static_cast<size_t>(case_index)];
}

bool Dataset::SetNumber(int64_t case_index, int variable, double value) {
  if (!ValidCell(case_index, variable) || variables_[static_cast<size_t>(variable)].IsString()) {
    return false;
  }
  columns_[static_cast<size_t>(variable)].numbers[static_cast<size_t>(case_index)] = value;
  return true;
}

bool Dataset::SetText(int64_t case_index, int variable, std::string value) {
  if (!ValidCell(case_index, variable) || !variables_[static_cast<size_t>(variable)].IsString()) {
    return false;
  }
  columns_[static_cast<size_t>(variable)].texts[static_cast<size_t>(case_index)] = std::move(value);
  return true;
}

const std::vector<double>& Dataset::NumberColumn(int variable) const {
  if (variable < 0 || variable >= VariableCount()) return kNoNumbers;
  return columns_[static_cast<size_t>(variable)].numbers;
}

const std::vector<std::string>& Dataset::TextColumn(int variable) const {
  if (variable < 0 || variable >= VariableCount()) return kNoTexts;
  return columns_[static_cast<size_t>(variable)].texts;
}

bool Dataset::SetNumberColumn(int variable, std::vector<double> values) {
  if (variable < 0 || variable >= VariableCount() ||
      variables_[static_cast<size_t>(variable)].IsString() ||
      static_cast<int64_t>(values.size()) != case_count_) {
    return false;
  }
  columns_[static_cast<size_t>(variable)].numbers = std::move(values);
  return true;
}

bool Dataset::SetTextColumn(int variable, std::vector<std::string> values) {
  if (variable < 0 || variable >= VariableCount() ||
      !variables_[static_cast<size_t>(variable)].IsString() ||
      static_cast<int64_t>(values.size()) != case_count_) {
    return false;
  }
  columns_[static_cast<size_t>(variable)].texts = std::move(values);
  return true;
}

}  // namespace host
