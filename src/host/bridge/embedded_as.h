// This file contains EmbeddedAS::RowDataIterator: the module's view of a result stream that a
// finished job wrote.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "engine/job/row_iterator.h"

namespace EmbeddedAS {

// Rows of a result stream. The runner that handed it out owns it; it stays usable until the
// runner's cleanExecution().
class RowDataIterator {
 public:
  explicit RowDataIterator(std::unique_ptr<engine::RowIterator> rows);
  virtual ~RowDataIterator();
  RowDataIterator(const RowDataIterator&) = delete;
  RowDataIterator& operator=(const RowDataIterator&) = delete;

  // The data model of the rows as XML, from which CFMetaData builds the field list; "" once
  // closed.
  virtual std::string getDataModel() const;
  // Steps to the next row: 0 when there is one, 1 at the end or once closed.
  virtual int next();
  // The value of field `index` of the current row: 0 on success, with `*data` pointing at a
  // 32-bit integer, a 64-bit real or `*length` bytes of text (not terminated), or null for a
  // missing value; valid until the next call of next(). 1 when there is no current row or no
  // such field, or the stream is closed.
  virtual int getValue(std::size_t index, const void** data, std::size_t* length);
  // Releases the stream; later calls answer as at the end. `environment` is the bridge's, kept
  // for callers that pass it; the stream needs none.
  virtual void close(const void* environment = nullptr);

  bool isClosed() const { return rows_ == nullptr; }

 private:
  std::unique_ptr<engine::RowIterator> rows_;
};

} // namespace EmbeddedAS
