// This file contains the row stream interfaces at the engine's edge: the input stream that the
// host implements over its active dataset, and the result streams that a job hands back.
#pragma once

#include <cstddef>
#include <string>

namespace engine {

// A forward-only stream of rows whose columns a data model describes.
class RowIterator {
 public:
  virtual ~RowIterator() = default;
  // The data model of the rows, as data model XML (see engine/data/data_model.h).
  virtual std::string DataModelXml() const = 0;
  // Steps to the next row: true when there is one, false at the end. The first call gives the
  // first row.
  virtual bool Next() = 0;
  // The value of column `index` of the current row. On success `*data` points at a 32-bit
  // integer, a 64-bit real or `*length` bytes of text (not terminated), or is null for a missing
  // value; the pointer stays valid until the next call of Next(). False when there is no
  // current row or no such column.
  virtual bool Value(std::size_t index, const void** data, std::size_t* length) = 0;
};

// The input of a `read` stage with a `dataSource`: a row stream with a name, bound to a job
// before it runs.
class InputStream : public RowIterator {
 public:
  // The name a script's `dataSource` gives, such as "_activeTCMDataset_".
  virtual std::string Name() const = 0;
  // True when the stream cannot be read at all (checked before the first row).
  virtual bool Failed() const { return false; }
  // True when the user stopped the run; the reader stops and the job fails.
  virtual bool Cancelled() const { return false; }
};

}  // namespace engine
