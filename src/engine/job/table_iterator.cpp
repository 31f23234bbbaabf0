// This file contains the result stream over a table.
#include "engine/job/table_iterator.h"

namespace engine {

std::string TableRowIterator::DataModelXml() const { return DataModelToXml(table_->model); }

bool TableRowIterator::Next() {
  if (next_row_ >= table_->RowCount()) {
    next_row_ = table_->RowCount() + 1;  // past the end: Value() fails from now on
    return false;
  }
  ++next_row_;
  return true;
}

bool TableRowIterator::Value(std::size_t index, const void** data, std::size_t* length) {
  if (next_row_ == 0 || next_row_ > table_->RowCount() || index >= table_->columns.size()) {
    return false;
  }
  const std::size_t row = next_row_ - 1;
  const Column& column = table_->columns[index];
  *length = 0;
  if (column.IsMissing(row)) {
    *data = nullptr;
    return true;
  }
  switch (column.storage()) {
    case Storage::kInteger:
      *data = &column.ints()[row];
      *length = sizeof(std::int32_t);
      break;
    case Storage::kReal:
      *data = &column.reals()[row];
      *length = sizeof(double);
      break;
    case Storage::kString:
      *data = column.texts()[row].data();
      *length = column.texts()[row].size();
      break;
  }
  return true;
}

}  // namespace engine
