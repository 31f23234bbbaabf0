// This file contains dataDictionary and dataField: the fields named by the output document,
// with the decimals their values print with.
#pragma once

#include <map>
#include <string>

#include "host/bridge/jni_json.h"

class ProcedureDataSource;

class dataField {
 public:
  dataField() = default;
  dataField(std::string name, std::string label, int decimals)
      : name_(std::move(name)), label_(std::move(label)), decimals_(decimals) {}

  const std::string& getName() const { return name_; }
  const std::string& getLabel() const { return label_; }
  // The decimals of the field's values; -1 when the field is unknown.
  int getDecimalPlaces() const { return decimals_; }
  bool isKnown() const { return decimals_ >= 0; }

 private:
  std::string name_;
  std::string label_;
  int decimals_ = -1;
};

class dataDictionary {
 public:
  dataDictionary() = default;
  // The fields of the document's "dataDictionary" object ({"fields": [{"name", "label",
  // "decimalPlaces"}]}); fields the document does not list are looked up in `data` (a string
  // variable has 0 decimals, a numeric one those of its print format). Either may be null.
  dataDictionary(JNIJSONHandle document_dictionary, const ProcedureDataSource* data);

  // The field of that name (exact, then without regard to case); unknown: decimals -1.
  dataField getField(const std::string& name) const;

 private:
  std::map<std::string, dataField> fields_;
  const ProcedureDataSource* data_ = nullptr;
};
