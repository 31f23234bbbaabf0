// This file contains the result stream over a table that a job wrote.
#pragma once

#include <memory>

#include "engine/data/table.h"
#include "engine/job/row_iterator.h"

namespace engine {

class TableRowIterator : public RowIterator {
 public:
  explicit TableRowIterator(std::shared_ptr<const Table> table) : table_(std::move(table)) {}
  std::string DataModelXml() const override;
  bool Next() override;
  bool Value(std::size_t index, const void** data, std::size_t* length) override;

 private:
  std::shared_ptr<const Table> table_;
  std::size_t next_row_ = 0;  // one past the current row; 0 before the first Next()
};

}  // namespace engine
