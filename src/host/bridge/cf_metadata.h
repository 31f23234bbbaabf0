// This file contains the host's data description: the fields of a data model (CFMetaData,
// CFField), their categories (CFValue) and the typed values they hold (CFDatum).
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "support/result.h"

// Storage codes of a field and of a datum. Any other code given to a field is taken as real.
struct CFStorage {
  static constexpr int kMissing = 0; // a datum without a value; never a field's storage
  static constexpr int kInteger = 1; // 32-bit integer
  static constexpr int kReal = 2;    // 64-bit real
  static constexpr int kString = 3;  // text (byte string)
};

// One value of a field: missing, a 32-bit integer, a 64-bit real or a text.
class CFDatum {
 public:
  CFDatum() = default; // missing
  static CFDatum Integer(std::int32_t value);
  static CFDatum Real(double value);
  static CFDatum String(std::string value);

  // One of the CFStorage codes; kMissing for a datum without a value.
  int GetStorage() const;
  bool IsMissing() const { return GetStorage() == CFStorage::kMissing; }
  // The value of that kind; 0 or "" when the datum holds another kind.
  std::int32_t GetInteger() const;
  double GetReal() const;
  const std::string& GetString() const;
  // The text of the value: an integer in decimal, a real in its shortest exact form ("1" for
  // 1.0, "0.25"), a text as it is. False, with `text` untouched, for a missing datum and for a
  // real that is the system-missing value (the lowest double), infinite or NaN.
  bool ToString(std::string& text) const;

  bool operator==(const CFDatum&) const = default;

 private:
  std::variant<std::monostate, std::int32_t, double, std::string> value_;
};

// One category of a field: its value, the integer code the data model gives it, and its label.
class CFValue {
 public:
  CFValue(CFDatum value, std::int32_t code, std::string label = {});

  const CFDatum& GetDatum() const { return value_; }
  std::int32_t GetCode() const { return code_; }
  const std::string& GetLabel() const { return label_; }

  bool operator==(const CFValue&) const = default;

 private:
  CFDatum value_;
  std::int32_t code_ = 0;
  std::string label_;
};

// One field of a data model. Measurement, role and format are the engine's words, kept as
// written ("nominal", "input", "F8.2"); the base field names the field holding the true values
// of a coded field, empty when there is none.
class CFField {
 public:
  CFField(std::string name, int storage);

  const std::string& GetName() const { return name_; }
  int GetStorage() const { return storage_; }
  const std::string& GetMeasurement() const { return measurement_; }
  const std::string& GetRole() const { return role_; }
  const std::string& GetFormat() const { return format_; }
  const std::string& GetBaseField() const { return base_field_; }
  // The categories in the order they were added.
  const std::vector<CFValue>& GetValues() const { return values_; }

  void SetMeasurement(std::string measurement) { measurement_ = std::move(measurement); }
  void SetRole(std::string role) { role_ = std::move(role); }
  void SetFormat(std::string format) { format_ = std::move(format); }
  void SetBaseField(std::string name) { base_field_ = std::move(name); }
  // Adds a category. False, with nothing added, when its datum is not of the field's storage
  // (a missing datum never is), or when its value or its code is the field's already.
  bool AddValue(CFValue value);

  bool operator==(const CFField&) const = default;

 private:
  std::string name_;
  int storage_ = CFStorage::kReal;
  std::string measurement_;
  std::string role_;
  std::string format_;
  std::string base_field_;
  std::vector<CFValue> values_;
};

// The field list of a data model, and its XML form:
//
//   <DataModel>
//     <Field name="region" storage="string" measurement="nominal" role="input" format="A8">
//       <Category value="East" code="0" label="Eastern stores"/>
//     </Field>
//     <Field name="region_coded" storage="integer" base="region"> ... </Field>
//   </DataModel>
//
// `name` (not empty, unique, compared exactly) and `storage` ("integer", "real", "string") are
// required; `measurement`, `role`, `format` and `base` (another field of the model) may be left
// out. A Category needs `value`, read by the field's storage (an integer within 32 bits, a
// number, any text); `code` is an integer, by default the category's position from 0; `label`
// may be left out. Elements and attributes of other names are passed over.
class CFMetaData {
 public:
  // GetFieldIndex's answer for a name that is no field's.
  static constexpr std::size_t kNoField = std::numeric_limits<std::size_t>::max();

  CFMetaData() = default;
  // Builds from the XML form. On failure the field list is empty and, when `error` is given,
  // it receives the reason.
  CFMetaData(std::string_view xml_text, support::Error* error);

  std::size_t FieldCount() const { return fields_.size(); }
  // The field at `index`, or null past the end.
  const CFField* GetField(std::size_t index) const;
  // The index of the field of that exact name, or kNoField.
  std::size_t GetFieldIndex(std::string_view name) const;
  // The field of that exact name, or null.
  const CFField* FindField(std::string_view name) const;
  const std::vector<CFField>& Fields() const { return fields_; }

  // Appends a field. False, with nothing added, for an empty name or one taken already.
  bool AddField(CFField field);

  // Replaces the field list with the one of an XML text. On failure the list is left as it was
  // and the error says what is wrong and where.
  support::Status ImportXMLDoc(std::string_view xml_text);
  // Writes the XML form. False, with `text` untouched, when a name, value or label is not
  // valid UTF-8 or holds a NUL character, which XML cannot carry.
  bool ExportXMLDoc(std::string& text) const;

  bool operator==(const CFMetaData&) const = default;

 private:
  std::vector<CFField> fields_;
};
