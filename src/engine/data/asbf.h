// This file contains the engine's binary columnar data file (.asbf): writing, and reading
// through a memory map.
//
// Layout, little-endian:
//   "ASBF" magic (4 bytes), version u32 (1), row count u64, column count u32,
//   per column: storage u8 (1 integer, 2 real, 3 string), name length u32, name bytes;
//   per column, in order: the values (integer: i32 per row; real: f64 per row; string: u64 end
//   offsets per row, then the bytes of all texts), then one missing flag byte per row;
//   "FSBA" end mark (4 bytes).
// The data model lives in a separate file; the names in the header tie the two together.
#pragma once

#include <filesystem>

#include "engine/data/table.h"
#include "support/result.h"

namespace engine {

// Writes the columns of `table` (names and storages from its model) through an atomic replace,
// so a failed write leaves an existing file as it was.
support::Status WriteAsbf(const std::filesystem::path& path, const Table& table);

// Reads the columns of a file. The fields of the result carry name and storage only. Any damage
// (wrong magic or version, sizes that do not fit the file, offsets out of order, a missing end
// mark) is an error naming the file, never a crash.
support::Result<Table> ReadAsbf(const std::filesystem::path& path);

// Reads a data file and its data model file and joins them: the data model gives the fields'
// descriptions, the data file the columns. Fails when a column of the data file has no field in
// the model or has another storage there; fields of the model absent from the file are an error.
support::Result<Table> ReadAsbfWithModel(const std::filesystem::path& data_path,
                                         const std::filesystem::path& model_path);

// Writes the data file and the data model file beside it.
support::Status WriteAsbfWithModel(const std::filesystem::path& data_path,
                                   const std::filesystem::path& model_path, const Table& table);

}  // namespace engine
