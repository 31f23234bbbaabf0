// This file contains dataDictionary and dataField: the fields named by the output document,
// with the decimals their values print with, and the one name the report gives each series.
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

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

  // The name the report shows for a series, wherever it shows one: the metric, then
  // "-dimension:value" for each dimension in the order given, each value by its value label
  // where the dataset's variable has one ("visits-region:South-product:Snacks").
  std::string seriesName(const std::string& metric,
                         const std::vector<std::pair<std::string, std::string>>& dimensions) const;
  // A dimension value by its value label where the dataset's variable has one, else as written.
  std::string valueName(const std::string& dimension, const std::string& value) const;
  // The metric and the dimension values of a composite text that names a series (the metric,
  // then "-", "dimension:", value per dimension); false for any other text.
  static bool seriesParts(JNIJSONHandle composite, std::string& metric,
                          std::vector<std::pair<std::string, std::string>>& dimensions);
  // Learns the series of the document: each composite text that names a series maps its text
  // as written (values by their codes) to seriesName.
  void learnSeriesNames(JNIJSONHandle document);
  // A text of the document with a learned series text shown by the series' name: the whole
  // text, or the part after a space that is one ("Residual of visits-product:A"); any other
  // text as it stands.
  std::string shownName(const std::string& text) const;
  // As shownName, for a text the document does not hold: a series text
  // ("metric-dimension:value-...") whose dimensions are all variables of the dataset is read
  // apart and named; any other text stands.
  std::string shownNameOfText(const std::string& text) const;

 private:
  std::map<std::string, dataField> fields_;
  std::map<std::string, std::string> series_names_; // written text -> shown name
  const ProcedureDataSource* data_ = nullptr;
};
