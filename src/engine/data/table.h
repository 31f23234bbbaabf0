// This file contains the in-memory columnar table that flows between stages.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "engine/data/data_model.h"

namespace engine {

// The system-missing value of a real.
inline constexpr double kSystemMissing = std::numeric_limits<double>::lowest();

// One column: values of one storage and a missing flag per row. The flags are what counts; a
// missing integer holds 0, a missing real holds kSystemMissing, a missing text "".
class Column {
 public:
  explicit Column(Storage storage = Storage::kReal) : storage_(storage) {}

  Storage storage() const { return storage_; }
  std::size_t size() const { return missing_.size(); }
  bool IsMissing(std::size_t row) const { return missing_[row] != 0; }

  std::int32_t Int(std::size_t row) const { return ints_[row]; }
  double Real(std::size_t row) const { return reals_[row]; }
  const std::string& Text(std::size_t row) const { return texts_[row]; }
  // The value as a number: integers and reals as they are; nullopt-like kSystemMissing for a
  // missing value or a text.
  double AsNumber(std::size_t row) const;

  void AppendMissing();
  void AppendInt(std::int32_t value);
  // A real equal to kSystemMissing (or NaN) is stored as missing.
  void AppendReal(double value);
  void AppendText(std::string value);
  // Appends row `row` of `other`, which has the same storage.
  void AppendFrom(const Column& other, std::size_t row);
  void Reserve(std::size_t rows);

  // Raw access for the file format.
  const std::vector<std::int32_t>& ints() const { return ints_; }
  const std::vector<double>& reals() const { return reals_; }
  const std::vector<std::string>& texts() const { return texts_; }
  const std::vector<std::uint8_t>& missing() const { return missing_; }

 private:
  Storage storage_;
  std::vector<std::int32_t> ints_;
  std::vector<double> reals_;
  std::vector<std::string> texts_;
  std::vector<std::uint8_t> missing_;
};

// A table: its data model and one column per field, in the model's order, all of one length.
struct Table {
  DataModel model;
  std::vector<Column> columns;

  std::size_t RowCount() const { return columns.empty() ? 0 : columns.front().size(); }
  // Adds a field and its column (which must have the table's row count).
  void AddColumn(Field field, Column column);
  // True when the columns match the model's storages and all have one length.
  bool IsConsistent() const;
};

}  // namespace engine
