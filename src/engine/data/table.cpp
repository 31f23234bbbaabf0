// This file contains the column and table operations.
#include "engine/data/table.h"

#include <cmath>
#include <utility>

#include "support/text.h"

namespace engine {

double Column::AsNumber(std::size_t row) const {
  if (IsMissing(row)) return kSystemMissing;
  switch (storage_) {
    case Storage::kInteger: return ints_[row];
    case Storage::kReal: return reals_[row];
    case Storage::kString: return kSystemMissing;
  }
  return kSystemMissing;
}

void Column::AppendMissing() {
  switch (storage_) {
    case Storage::kInteger: ints_.push_back(0); break;
    case Storage::kReal: reals_.push_back(kSystemMissing); break;
    case Storage::kString: texts_.emplace_back(); break;
  }
  missing_.push_back(1);
}

void Column::AppendInt(std::int32_t value) {
  if (storage_ != Storage::kInteger) {
    if (storage_ == Storage::kReal) return AppendReal(value);
    return AppendText(std::to_string(value));
  }
  ints_.push_back(value);
  missing_.push_back(0);
}

void Column::AppendReal(double value) {
  if (value == kSystemMissing || std::isnan(value)) return AppendMissing();
  if (storage_ == Storage::kReal) {
    reals_.push_back(value);
    missing_.push_back(0);
  } else if (storage_ == Storage::kInteger) {
    ints_.push_back(static_cast<std::int32_t>(value));
    missing_.push_back(0);
  } else {
    AppendText(support::FormatNumber(value));
  }
}

void Column::AppendText(std::string value) {
  if (storage_ != Storage::kString) return AppendMissing();
  texts_.push_back(std::move(value));
  missing_.push_back(0);
}

void Column::AppendFrom(const Column& other, std::size_t row) {
  if (other.IsMissing(row)) return AppendMissing();
  switch (other.storage_) {
    case Storage::kInteger: return AppendInt(other.ints_[row]);
    case Storage::kReal: return AppendReal(other.reals_[row]);
    case Storage::kString: return AppendText(other.texts_[row]);
  }
}

void Column::Reserve(std::size_t rows) {
  missing_.reserve(rows);
  switch (storage_) {
    case Storage::kInteger: ints_.reserve(rows); break;
    case Storage::kReal: reals_.reserve(rows); break;
    case Storage::kString: texts_.reserve(rows); break;
  }
}

void Table::AddColumn(Field field, Column column) {
  model.fields.push_back(std::move(field));
  columns.push_back(std::move(column));
}

bool Table::IsConsistent() const {
  if (columns.size() != model.fields.size()) return false;
  for (std::size_t i = 0; i < columns.size(); ++i) {
    if (columns[i].storage() != model.fields[i].storage) return false;
    if (columns[i].size() != RowCount()) return false;
  }
  return true;
}

}  // namespace engine
