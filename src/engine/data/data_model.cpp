// This file contains the data model's lookups and its XML reader and writer.
#include "engine/data/data_model.h"

#include <set>

#include "support/xml_util.h"

namespace engine {

const char* StorageName(Storage storage) {
  switch (storage) {
    case Storage::kInteger: return "integer";
    case Storage::kReal: return "real";
    case Storage::kString: return "string";
  }
  return "real";
}

std::optional<Storage> StorageFromName(std::string_view name) {
  if (name == "integer") return Storage::kInteger;
  if (name == "real") return Storage::kReal;
  if (name == "string") return Storage::kString;
  return std::nullopt;
}

std::optional<std::size_t> DataModel::Find(std::string_view name) const {
  for (std::size_t i = 0; i < fields.size(); ++i) {
    if (fields[i].name == name) return i;
  }
  return std::nullopt;
}

namespace {
void SetIfNotEmpty(pugi::xml_node node, const char* name, const std::string& value) {
  if (!value.empty()) node.append_attribute(name).set_value(value.c_str());
}
}  // namespace

std::string DataModelToXml(const DataModel& model) {
  pugi::xml_document document;
  pugi::xml_node root = document.append_child("DataModel");
  for (const Field& field : model.fields) {
    pugi::xml_node node = root.append_child("Field");
    node.append_attribute("name").set_value(field.name.c_str());
    node.append_attribute("storage").set_value(StorageName(field.storage));
    SetIfNotEmpty(node, "measurement", field.measurement);
    SetIfNotEmpty(node, "role", field.role);
    SetIfNotEmpty(node, "format", field.format);
    SetIfNotEmpty(node, "base", field.base);
    for (const Category& category : field.categories) {
      pugi::xml_node cat = node.append_child("Category");
      cat.append_attribute("value").set_value(category.value.c_str());
      if (category.code) cat.append_attribute("code").set_value(*category.code);
      SetIfNotEmpty(cat, "label", category.label);
    }
  }
  return support::WriteXml(document, true);
}

support::Result<DataModel> DataModelFromXml(std::string_view text) {
  auto document = support::ParseXml(text);
  if (!document) return support::Error{"data model: " + document.message()};
  pugi::xml_node root = document->document_element();
  if (std::string_view(root.name()) != "DataModel") {
    return support::Error{"data model: the root element is '" + std::string(root.name()) +
                          "', not 'DataModel'"};
  }
  DataModel model;
  std::set<std::string> names;
  int position = 0;
  for (pugi::xml_node node : support::Children(root, "Field")) {
    ++position;
    const std::string where = "data model: field " + std::to_string(position);
    if (!support::HasAttribute(node, "name") || support::Attribute(node, "name").empty()) {
      return support::Error{where + " has no name"};
    }
    Field field;
    field.name = support::Attribute(node, "name");
    if (!support::HasAttribute(node, "storage")) {
      return support::Error{where + " ('" + field.name + "') has no storage"};
    }
    auto storage = StorageFromName(support::Attribute(node, "storage"));
    if (!storage) {
      return support::Error{where + " ('" + field.name + "') has an unknown storage '" +
                            support::Attribute(node, "storage") + "'"};
    }
    if (!names.insert(field.name).second) {
      return support::Error{"data model: the field name '" + field.name + "' is repeated"};
    }
    field.storage = *storage;
    field.measurement = support::Attribute(node, "measurement");
    field.role = support::Attribute(node, "role");
    field.format = support::Attribute(node, "format");
    field.base = support::Attribute(node, "base");
    for (pugi::xml_node cat : support::Children(node, "Category")) {
      Category category;
      category.value = support::Attribute(cat, "value");
      category.label = support::Attribute(cat, "label");
      if (support::HasAttribute(cat, "code")) {
        const std::string code_text = support::Attribute(cat, "code");
        const std::int64_t code = support::AttributeInt(cat, "code", INT64_MIN);
        if (code == INT64_MIN || code < INT32_MIN || code > INT32_MAX) {
          return support::Error{where + " ('" + field.name + "') has a category code '" +
                                code_text + "' that is not an integer"};
        }
        category.code = static_cast<int>(code);
      }
      field.categories.push_back(std::move(category));
    }
    model.fields.push_back(std::move(field));
  }
  return model;
}

}  // namespace engine
