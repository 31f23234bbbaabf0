// This file contains the field dictionary of the output document.
#include "host/output/data_dictionary.h"

#include <algorithm>
#include <cctype>

#include "host/data/procedure_data_source.h"

namespace {

std::string Lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
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
