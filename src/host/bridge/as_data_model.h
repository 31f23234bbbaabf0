// This file contains ASDataModel: the variables of the active dataset that a command uses, as
// the engine's data model describes them.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "engine/data/data_model.h"
#include "host/data/dataset.h"

class QUOR_DataSource;

// Fields, in the order of their dictionary indexes: name; storage real for a numeric variable,
// string for a string one; measurement "nominal", "ordinal" or "continuous"; role "input",
// "target", "both", "none", "partition" or "split"; the print format's text ("F8.2", "DATE11");
// value labels as categories (codes counted from 0 in dictionary order).
class ASDataModel {
 public:
  // Takes every variable of the data source's dataset (none without one). The flags: value
  // labels become categories; user-missing values stream as missing; texts lose trailing blanks.
  ASDataModel(QUOR_DataSource* data_source, bool with_value_labels, bool user_missing_as_missing,
              bool trim_texts);

  // Narrows the model to these dictionary indexes, in the order given, each once. Indexes
  // outside the dictionary are left out; false when there was any.
  bool UpdateAnalysMetadata(const std::vector<int>& indexes);

  const std::shared_ptr<host::Dataset>& Dataset() const { return dataset_; }
  // Dictionary index of each field of the model.
  const std::vector<int>& Indexes() const { return indexes_; }
  const engine::DataModel& Model() const { return model_; }
  std::string DataModelXml() const { return engine::DataModelToXml(model_); }
  bool UserMissingAsMissing() const { return user_missing_as_missing_; }
  bool TrimTexts() const { return trim_texts_; }

 private:
  void Rebuild();

  std::shared_ptr<host::Dataset> dataset_;
  bool with_value_labels_;
  bool user_missing_as_missing_;
  bool trim_texts_;
  std::vector<int> indexes_;
  engine::DataModel model_;
};

// The engine's field for a dataset variable (see ASDataModel for the mapping).
engine::Field FieldOfVariable(const host::Variable& variable, bool with_value_labels);
