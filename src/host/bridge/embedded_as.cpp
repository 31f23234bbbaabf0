// This file contains the module's view of a result stream.
#include "host/bridge/embedded_as.h"

namespace EmbeddedAS {

RowDataIterator::RowDataIterator(std::unique_ptr<engine::RowIterator> rows)
    : rows_(std::move(rows)) {}

RowDataIterator::~RowDataIterator() = default;

std::string RowDataIterator::getDataModel() const {
  return rows_ ? rows_->DataModelXml() : std::string();
}

int RowDataIterator::next() {
  return rows_ && rows_->Next() ? 0 : 1;
}

int RowDataIterator::getValue(std::size_t index, const void** data, std::size_t* length) {
  if (!rows_ || data == nullptr || length == nullptr)
    return 1;
  *data = nullptr;
  *length = 0;
  return rows_->Value(index, data, length) ? 0 : 1;
}

void RowDataIterator::close(const void* /*environment*/) {
  rows_.reset();
}

} // namespace EmbeddedAS
