// This file contains the engine's data model of the active dataset's variables.
#include "host/bridge/as_data_model.h"

#include <algorithm>

#include "host/data/print_format.h"
#include "host/data/procedure_data_source.h"

namespace {

const char* MeasurementName(host::Measure measure) {
  switch (measure) {
  case host::Measure::kNominal:
    return "nominal";
  case host::Measure::kOrdinal:
    return "ordinal";
  case host::Measure::kScale:
    return "continuous";
  case host::Measure::kUnknown:
    return "";
  }
  return "";
}

const char* RoleName(host::Role role) {
  switch (role) {
  case host::Role::kInput:
    return "input";
  case host::Role::kTarget:
    return "target";
  case host::Role::kBoth:
    return "both";
  case host::Role::kNone:
    return "none";
  case host::Role::kPartition:
    return "partition";
  case host::Role::kSplit:
    return "split";
  }
  return "";
}

} // namespace

engine::Field FieldOfVariable(const host::Variable& variable, bool with_value_labels) {
  engine::Field field;
  field.name = variable.name;
  field.storage = variable.IsString() ? engine::Storage::kString : engine::Storage::kReal;
  field.measurement = MeasurementName(variable.measure);
  field.role = RoleName(variable.role);
  field.format = host::FormatText(variable.format);
  if (with_value_labels) {
    int code = 0;
    for (const host::ValueLabel& label : variable.value_labels) {
      engine::Category category;
      category.value = variable.IsString() ? label.text : Double2String(label.number);
      category.code = code++;
      category.label = label.label;
      field.categories.push_back(std::move(category));
    }
  }
  return field;
}

ASDataModel::ASDataModel(QUOR_DataSource* data_source, bool with_value_labels,
                         bool user_missing_as_missing, bool trim_texts)
    : with_value_labels_(with_value_labels), user_missing_as_missing_(user_missing_as_missing),
      trim_texts_(trim_texts) {
  if (data_source != nullptr)
    dataset_ = data_source->GetDataset();
  const int count = dataset_ ? dataset_->VariableCount() : 0;
  for (int i = 0; i < count; ++i)
    indexes_.push_back(i);
  Rebuild();
}

bool ASDataModel::UpdateAnalysMetadata(const std::vector<int>& indexes) {
  const int count = dataset_ ? dataset_->VariableCount() : 0;
  bool all_valid = true;
  indexes_.clear();
  for (int index : indexes) {
    if (index < 0 || index >= count) {
      all_valid = false;
      continue;
    }
    if (std::find(indexes_.begin(), indexes_.end(), index) == indexes_.end()) {
      indexes_.push_back(index);
    }
  }
  Rebuild();
  return all_valid;
}

void ASDataModel::Rebuild() {
  model_.fields.clear();
  for (int index : indexes_) {
    model_.fields.push_back(FieldOfVariable(dataset_->GetVariable(index), with_value_labels_));
  }
}
