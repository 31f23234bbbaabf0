// This file contains the data description's values, categories, fields and field list.
#include "host/bridge/cf_metadata.h"

#include <algorithm>
#include <cmath>

#include "support/text.h"

CFDatum CFDatum::Integer(std::int32_t value) {
  CFDatum datum;
  datum.value_ = value;
  return datum;
}

CFDatum CFDatum::Real(double value) {
  CFDatum datum;
  datum.value_ = value;
  return datum;
}

CFDatum CFDatum::String(std::string value) {
  CFDatum datum;
  datum.value_ = std::move(value);
  return datum;
}

int CFDatum::GetStorage() const {
  // The variant's alternatives are in the order of the storage codes.
  return static_cast<int>(value_.index());
}

std::int32_t CFDatum::GetInteger() const {
  const auto* value = std::get_if<std::int32_t>(&value_);
  return value ? *value : 0;
}

double CFDatum::GetReal() const {
  const auto* value = std::get_if<double>(&value_);
  return value ? *value : 0.0;
}

const std::string& CFDatum::GetString() const {
  static const std::string kEmpty;
  const auto* value = std::get_if<std::string>(&value_);
  return value ? *value : kEmpty;
}

bool CFDatum::ToString(std::string& text) const {
  switch (GetStorage()) {
  case CFStorage::kInteger:
    text = std::to_string(GetInteger());
    return true;
  case CFStorage::kReal: {
    const double value = GetReal();
    // The lowest double marks a system-missing value: it has no text, as in the dataset.
    if (!std::isfinite(value) || value == std::numeric_limits<double>::lowest())
      return false;
    text = support::FormatNumber(value);
    return true;
  }
  case CFStorage::kString:
    text = GetString();
    return true;
  default:
    return false;
  }
}

CFValue::CFValue(CFDatum value, std::int32_t code, std::string label)
    : value_(std::move(value)), code_(code), label_(std::move(label)) {}

CFField::CFField(std::string name, int storage)
    : name_(std::move(name)),
      storage_(storage == CFStorage::kInteger || storage == CFStorage::kString ? storage
                                                                               : CFStorage::kReal) {
}

bool CFField::AddValue(CFValue value) {
  if (value.GetDatum().GetStorage() != storage_)
    return false;
  const bool taken = std::any_of(values_.begin(), values_.end(), [&](const CFValue& known) {
    return known.GetDatum() == value.GetDatum() || known.GetCode() == value.GetCode();
  });
  if (taken)
    return false;
  values_.push_back(std::move(value));
  return true;
}

CFMetaData::CFMetaData(std::string_view xml_text, support::Error* error) {
  const support::Status status = ImportXMLDoc(xml_text);
  if (!status && error)
    *error = status.error();
}

const CFField* CFMetaData::GetField(std::size_t index) const {
  return index < fields_.size() ? &fields_[index] : nullptr;
}

std::size_t CFMetaData::GetFieldIndex(std::string_view name) const {
  for (std::size_t index = 0; index < fields_.size(); ++index) {
    if (fields_[index].GetName() == name)
      return index;
  }
  return kNoField;
}

const CFField* CFMetaData::FindField(std::string_view name) const {
  return GetField(GetFieldIndex(name));
}

bool CFMetaData::AddField(CFField field) {
  if (field.GetName().empty() || GetFieldIndex(field.GetName()) != kNoField)
    return false;
  fields_.push_back(std::move(field));
  return true;
}
