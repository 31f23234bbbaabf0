// This file contains the XML form of the data description: reading a DataModel element into a
// field list, and writing one.
#include "host/bridge/cf_metadata.h"

#include <cmath>
#include <exception>
#include <limits>
#include <optional>

#include "support/text.h"
#include "support/xml_util.h"

namespace {

constexpr const char* kStorageNames[] = {"", "integer", "real", "string"};

std::optional<int> StorageFromName(std::string_view name) {
  for (int code = CFStorage::kInteger; code <= CFStorage::kString; ++code) {
    if (name == kStorageNames[code])
      return code;
  }
  return std::nullopt;
}

std::string Quoted(std::string_view text) {
  return "\"" + std::string(text) + "\"";
}

// An integer within 32 bits, written plainly ("12", "-3"); anything else, "1.5" and "1e2"
// included, is refused so that a value is never silently changed.
std::optional<std::int32_t> ParseInt32(std::string_view text) {
  text = support::Trim(text);
  std::size_t start = (!text.empty() && text.front() == '-') ? 1 : 0;
  if (start == text.size() || text.size() - start > 10)
    return std::nullopt;
  for (std::size_t i = start; i < text.size(); ++i) {
    if (text[i] < '0' || text[i] > '9')
      return std::nullopt;
  }
  const long long value = std::stoll(std::string(text));
  if (value < std::numeric_limits<std::int32_t>::min() ||
      value > std::numeric_limits<std::int32_t>::max()) {
    return std::nullopt;
  }
  return static_cast<std::int32_t>(value);
}

std::optional<CFDatum> ParseDatum(std::string_view text, int storage) {
  switch (storage) {
  case CFStorage::kInteger:
    if (auto value = ParseInt32(text))
      return CFDatum::Integer(*value);
    return std::nullopt;
  case CFStorage::kString:
    return CFDatum::String(std::string(text));
  default:
    if (auto value = support::ParseNumber(support::Trim(text)))
      return CFDatum::Real(*value);
    return std::nullopt;
  }
}

// The text a category's value is written as: the one the reader takes back exactly. A real
// that ToString declines (system-missing, infinite, NaN) still has such a text.
std::string DatumText(const CFDatum& datum) {
  if (datum.GetStorage() == CFStorage::kReal)
    return support::FormatNumber(datum.GetReal());
  std::string text;
  datum.ToString(text);
  return text;
}

support::Error FieldError(std::size_t position, std::string_view name, const std::string& what) {
  std::string where = "Field " + std::to_string(position + 1);
  if (!name.empty())
    where += " " + Quoted(name);
  return support::Error{"data model: " + where + ": " + what};
}

bool ReadCategories(pugi::xml_node element, std::size_t position, CFField& field,
                    support::Error& error) {
  const std::vector<pugi::xml_node> categories = support::Children(element, "Category");
  for (std::size_t index = 0; index < categories.size(); ++index) {
    const pugi::xml_node category = categories[index];
    const std::string at = "category " + std::to_string(index + 1);
    if (!support::HasAttribute(category, "value")) {
      error = FieldError(position, field.GetName(), at + " has no value");
      return false;
    }
    const std::string text = support::Attribute(category, "value");
    const std::optional<CFDatum> datum = ParseDatum(text, field.GetStorage());
    if (!datum) {
      error = FieldError(position, field.GetName(),
                         at + ": " + Quoted(text) + " is no " + kStorageNames[field.GetStorage()] +
                             " value");
      return false;
    }
    std::int32_t code = static_cast<std::int32_t>(index);
    if (support::HasAttribute(category, "code")) {
      const std::optional<std::int32_t> written = ParseInt32(support::Attribute(category, "code"));
      if (!written) {
        error = FieldError(position, field.GetName(),
                           at + ": the code " + Quoted(support::Attribute(category, "code")) +
                               " is no integer");
        return false;
      }
      code = *written;
    }
    if (!field.AddValue(CFValue(*datum, code, support::Attribute(category, "label")))) {
      error = FieldError(position, field.GetName(),
                         at + ": the value " + Quoted(text) + " or the code " +
                             std::to_string(code) + " occurs twice");
      return false;
    }
  }
  return true;
}

support::Result<std::vector<CFField>> ReadFields(const pugi::xml_document& document) {
  pugi::xml_node model;
  for (pugi::xml_node node : document.children()) {
    if (node.type() == pugi::node_element && std::string_view(node.name()) == "DataModel") {
      model = node;
      break;
    }
  }
  if (!model)
    return support::Error{"data model: no DataModel element at the top of the text"};

  CFMetaData checked; // for the name checks of AddField
  const std::vector<pugi::xml_node> elements = support::Children(model, "Field");
  for (std::size_t position = 0; position < elements.size(); ++position) {
    const pugi::xml_node element = elements[position];
    const std::string name = support::Attribute(element, "name");
    if (name.empty())
      return FieldError(position, name, "has no name");
    const std::string storage_name = support::Attribute(element, "storage");
    const std::optional<int> storage = StorageFromName(storage_name);
    if (!storage) {
      return FieldError(position, name,
                        "the storage " + Quoted(storage_name) +
                            " is none of \"integer\", \"real\", \"string\"");
    }
    CFField field(name, *storage);
    field.SetMeasurement(support::Attribute(element, "measurement"));
    field.SetRole(support::Attribute(element, "role"));
    field.SetFormat(support::Attribute(element, "format"));
    field.SetBaseField(support::Attribute(element, "base"));
    support::Error error;
    if (!ReadCategories(element, position, field, error))
      return error;
    if (!checked.AddField(std::move(field)))
      return FieldError(position, name, "occurs twice");
  }
  // A base field may come after the field it serves, so it is checked once all are known.
  for (std::size_t position = 0; position < checked.FieldCount(); ++position) {
    const CFField& field = *checked.GetField(position);
    const std::string& base = field.GetBaseField();
    if (!base.empty() && (base == field.GetName() || !checked.FindField(base))) {
      return FieldError(position, field.GetName(),
                        "the base field " + Quoted(base) + " is no other field of the model");
    }
  }
  return checked.Fields();
}

// XML carries UTF-8 text without NUL characters; anything else could not be read back as written.
bool Writable(const std::string& text) {
  return support::IsValidUtf8(text) && text.find('\0') == std::string::npos;
}

bool Writable(const CFField& field) {
  for (const std::string* text : {&field.GetName(), &field.GetMeasurement(), &field.GetRole(),
                                  &field.GetFormat(), &field.GetBaseField()}) {
    if (!Writable(*text))
      return false;
  }
  for (const CFValue& value : field.GetValues()) {
    if (!Writable(value.GetLabel()) || !Writable(value.GetDatum().GetString()))
      return false;
  }
  return true;
}

void SetIfAny(pugi::xml_node element, const char* name, const std::string& value) {
  if (!value.empty())
    element.append_attribute(name).set_value(value.c_str());
}

} // namespace

support::Status CFMetaData::ImportXMLDoc(std::string_view xml_text) {
  support::Result<pugi::xml_document> document = support::ParseXml(xml_text);
  if (!document)
    return support::Error{"data model: " + document.message()};
  try {
    support::Result<std::vector<CFField>> fields = ReadFields(*document);
    if (!fields)
      return fields.error();
    fields_ = std::move(*fields);
    return {};
  } catch (const std::exception& e) {
    return support::Error{std::string("data model: cannot read: ") + e.what()};
  }
}

bool CFMetaData::ExportXMLDoc(std::string& text) const {
  for (const CFField& field : fields_) {
    if (!Writable(field))
      return false;
  }
  try {
    pugi::xml_document document;
    pugi::xml_node model = document.append_child("DataModel");
    for (const CFField& field : fields_) {
      pugi::xml_node element = model.append_child("Field");
      element.append_attribute("name").set_value(field.GetName().c_str());
      element.append_attribute("storage").set_value(kStorageNames[field.GetStorage()]);
      SetIfAny(element, "measurement", field.GetMeasurement());
      SetIfAny(element, "role", field.GetRole());
      SetIfAny(element, "format", field.GetFormat());
      SetIfAny(element, "base", field.GetBaseField());
      for (const CFValue& value : field.GetValues()) {
        pugi::xml_node category = element.append_child("Category");
        category.append_attribute("value").set_value(DatumText(value.GetDatum()).c_str());
        category.append_attribute("code").set_value(std::to_string(value.GetCode()).c_str());
        SetIfAny(category, "label", value.GetLabel());
      }
    }
    text = support::WriteXml(document);
    return true;
  } catch (const std::exception&) {
    return false;
  }
}
