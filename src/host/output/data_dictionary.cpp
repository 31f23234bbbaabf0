// This file contains the field dictionary of the output document.
#include "host/output/data_dictionary.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>

#include "host/data/procedure_data_source.h"

namespace {

std::string Lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

using J = JNIJSONObject;
using A = JNIJSONArray;

// The value of a child of a composite text: its stringDataText or stringText value, with
// `data` telling which; false for any other child.
bool ChildText(JNIJSONHandle child, std::string& text, bool& data) {
  const JNIJSONHandle inner = J::get(child, "text");
  JNIJSONHandle value = J::get(J::get(inner, "stringDataText"), "value");
  data = value != nullptr;
  if (value == nullptr) value = J::get(J::get(inner, "stringText"), "value");
  if (value == nullptr || !value->is_string()) return false;
  text = value->get<std::string>();
  return true;
}

} // namespace

dataDictionary::dataDictionary(JNIJSONHandle document_dictionary, const ProcedureDataSource* data)
    : data_(data) {
  const JNIJSONHandle fields = JNIJSONObject::get(document_dictionary, "fields");
  for (std::size_t i = 0; i < JNIJSONArray::size(fields); ++i) {
    const JNIJSONHandle field = JNIJSONArray::get(fields, i);
    const std::string name = JNIJSONObject::getChildAsString(field, "name");
    if (name.empty()) continue;
    const JNIJSONHandle decimals = JNIJSONObject::get(field, "decimalPlaces");
    const int places =
        decimals != nullptr && decimals->is_number() ? std::max(0, JNIJSONInteger::intValue(decimals)) : -1;
    fields_[name] = dataField(name, JNIJSONObject::getChildAsString(field, "label"), places);
  }
}

dataField dataDictionary::getField(const std::string& name) const {
  if (const auto found = fields_.find(name); found != fields_.end()) return found->second;
  const std::string lower = Lower(name);
  for (const auto& [key, field] : fields_) {
    if (Lower(key) == lower) return field;
  }
  if (data_ != nullptr && !name.empty()) {
    const int index = data_->FindVarIndex(name, 0);
    if (const QUOR_Variable* variable = index >= 0 ? data_->GetVariable(index) : nullptr) {
      return dataField(variable->GetName(), variable->GetLabel(),
                       variable->IsString() ? 0 : std::max(0, variable->GetFormatDecimals()));
    }
  }
  return dataField(name, {}, -1);
}

std::string dataDictionary::seriesName(
    const std::string& metric, const std::vector<std::pair<std::string, std::string>>& dimensions) const {
  std::string name = metric;
  for (const auto& [dimension, value] : dimensions) name += "-" + dimension + ":" + valueName(dimension, value);
  return name;
}

std::string dataDictionary::valueName(const std::string& dimension, const std::string& value) const {
  const int index = data_ == nullptr ? -1 : data_->FindVarIndex(dimension, 0);
  const QUOR_Variable* variable = index >= 0 ? data_->GetVariable(index) : nullptr;
  if (variable == nullptr) return value;
  const QUOR_ValueLabelMap labels = variable->GetValueLabels();
  std::string label;
  char* end = nullptr;
  const double number = std::strtod(value.c_str(), &end);
  const bool numeric = !value.empty() && end != nullptr && *end == '\0';
  if (variable->IsString() ? labels.GetLabel(value, label) : numeric && labels.GetLabel(number, label)) {
    return label;
  }
  return value;
}

bool dataDictionary::seriesParts(JNIJSONHandle composite, std::string& metric,
                                 std::vector<std::pair<std::string, std::string>>& dimensions) {
  const JNIJSONHandle children = J::get(J::get(J::get(composite, "text"), "compositeText"), "children");
  const std::size_t count = A::size(children);
  std::string text;
  bool data = false;
  if (count == 0 || (count - 1) % 3 != 0 || !ChildText(A::get(children, 0), metric, data) || !data) {
    return false;
  }
  dimensions.clear();
  for (std::size_t i = 1; i < count; i += 3) {
    std::string dimension;
    std::string value;
    if (!ChildText(A::get(children, i), text, data) || data || text != "-" ||
        !ChildText(A::get(children, i + 1), dimension, data) || data || dimension.size() < 2 ||
        dimension.back() != ':' || !ChildText(A::get(children, i + 2), value, data) || !data) {
      return false;
    }
    dimension.pop_back();
    dimensions.emplace_back(std::move(dimension), std::move(value));
  }
  return true;
}

void dataDictionary::learnSeriesNames(JNIJSONHandle document) {
  if (document == nullptr) return;
  if (document->is_object()) {
    std::string metric;
    std::vector<std::pair<std::string, std::string>> dimensions;
    if (J::get(document, "text") != nullptr && seriesParts(document, metric, dimensions)) {
      std::string written = metric;
      for (const auto& [dimension, value] : dimensions) written += "-" + dimension + ":" + value;
      if (series_names_.count(written) == 0) series_names_[written] = seriesName(metric, dimensions);
      return;
    }
    for (auto& [key, child] : document->items()) learnSeriesNames(&child);
  } else if (document->is_array()) {
    for (auto& child : *document) learnSeriesNames(&child);
  }
}

std::string dataDictionary::shownName(const std::string& text) const {
  if (series_names_.empty()) return text;
  if (const auto found = series_names_.find(text); found != series_names_.end()) return found->second;
  // A name at the end of a text after a space: "Residual of visits-region:South".
  for (std::size_t at = text.find(' '); at != std::string::npos; at = text.find(' ', at + 1)) {
    if (const auto found = series_names_.find(text.substr(at + 1)); found != series_names_.end()) {
      return text.substr(0, at + 1) + found->second;
    }
  }
  return text;
}

std::string dataDictionary::shownNameOfText(const std::string& text) const {
  const std::string learned = shownName(text);
  if (learned != text || data_ == nullptr) return learned;
  // The start of each "-dimension:" whose dimension is a variable; the value runs to the next.
  std::vector<std::pair<std::size_t, std::size_t>> marks; // (at "-", at ":")
  for (std::size_t dash = text.find('-'); dash != std::string::npos; dash = text.find('-', dash + 1)) {
    const std::size_t colon = text.find(':', dash + 1);
    if (colon == std::string::npos) break;
    const std::string name = text.substr(dash + 1, colon - dash - 1);
    if (!name.empty() && name.find('-') == std::string::npos && data_->FindVarIndex(name, 0) >= 0) {
      marks.emplace_back(dash, colon);
    }
  }
  if (marks.empty()) return text;
  std::vector<std::pair<std::string, std::string>> dimensions;
  for (std::size_t k = 0; k < marks.size(); ++k) {
    const std::size_t end = k + 1 < marks.size() ? marks[k + 1].first : text.size();
    dimensions.emplace_back(text.substr(marks[k].first + 1, marks[k].second - marks[k].first - 1),
                            text.substr(marks[k].second + 1, end - marks[k].second - 1));
  }
  return seriesName(text.substr(0, marks.front().first), dimensions);
}
