// This file contains the data model of a table (fields, storage, measurement, role, format,
// categories) and its XML form, which data model files hold and the host reads.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "support/result.h"

namespace engine {

enum class Storage : std::uint8_t { kInteger = 1, kReal = 2, kString = 3 };

// "integer", "real", "string"; nullopt for any other text.
const char* StorageName(Storage storage);
std::optional<Storage> StorageFromName(std::string_view name);

struct Category {
  std::string value;           // the category's value as text
  std::optional<int> code;     // the integer code that stands for it
  std::string label;           // value label, may be empty
  bool operator==(const Category&) const = default;
};

struct Field {
  std::string name;
  Storage storage = Storage::kReal;
  std::string measurement;  // free text ("nominal", "continuous", ...), may be empty
  std::string role;
  std::string format;
  std::string base;         // for a coded field, the field whose values it codes
  std::vector<Category> categories;
  bool operator==(const Field&) const = default;
};

struct DataModel {
  std::vector<Field> fields;

  // Index of the field named `name` (exact match), or nullopt.
  std::optional<std::size_t> Find(std::string_view name) const;
  bool operator==(const DataModel&) const = default;
};

// XML form: <DataModel><Field name=".." storage="integer|real|string" measurement=".." role=".."
// format=".." base=".."><Category value=".." code="1" label=".."/></Field></DataModel>. Empty
// optional attributes are left out.
std::string DataModelToXml(const DataModel& model);
// Fails, naming the field, when the text is no XML, the root is not DataModel, a field lacks its
// name or storage, a storage is unknown, a name is repeated or a code is not an integer.
support::Result<DataModel> DataModelFromXml(std::string_view text);

}  // namespace engine
