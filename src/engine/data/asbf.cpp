// This file contains the .asbf writer and the memory-mapped reader, which checks every size
// against the file before it touches the bytes.
#include "engine/data/asbf.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <bit>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <string>

#include "support/file_io.h"

namespace engine {

static_assert(std::endian::native == std::endian::little,
              "the .asbf reader and writer copy little-endian values as they are in memory");

namespace {

constexpr char kMagic[4] = {'A', 'S', 'B', 'F'};
constexpr char kEndMark[4] = {'F', 'S', 'B', 'A'};
constexpr std::uint32_t kVersion = 1;

template <class T>
void Put(std::string& out, T value) {
  char bytes[sizeof(T)];
  std::memcpy(bytes, &value, sizeof(T));
  out.append(bytes, sizeof(T));
}

// A read-only memory map of a whole file, unmapped and closed by the destructor.
class MappedFile {
 public:
  ~MappedFile() {
    if (data_ != nullptr && size_ > 0) munmap(const_cast<char*>(data_), size_);
    if (fd_ >= 0) close(fd_);
  }
  support::Status Open(const std::filesystem::path& path) {
    fd_ = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd_ < 0) return support::Error{path.string() + ": " + std::strerror(errno)};
    struct stat info {};
    if (fstat(fd_, &info) != 0) return support::Error{path.string() + ": " + std::strerror(errno)};
    if (!S_ISREG(info.st_mode)) return support::Error{path.string() + ": not a regular file"};
    size_ = static_cast<std::size_t>(info.st_size);
    if (size_ == 0) return support::Status();
    void* map = mmap(nullptr, size_, PROT_READ, MAP_PRIVATE, fd_, 0);
    if (map == MAP_FAILED) return support::Error{path.string() + ": " + std::strerror(errno)};
    data_ = static_cast<const char*>(map);
    return support::Status();
  }
  const char* data() const { return data_; }
  std::size_t size() const { return size_; }

 private:
  int fd_ = -1;
  const char* data_ = nullptr;
  std::size_t size_ = 0;
};

// A bounds-checked cursor over the mapped bytes.
class Cursor {
 public:
  Cursor(const char* data, std::size_t size) : data_(data), size_(size) {}
  bool Has(std::size_t count) const { return count <= size_ - offset_; }
  template <class T>
  bool Get(T& value) {
    if (!Has(sizeof(T))) return false;
    std::memcpy(&value, data_ + offset_, sizeof(T));
    offset_ += sizeof(T);
    return true;
  }
  const char* Take(std::size_t count) {
    if (!Has(count)) return nullptr;
    const char* at = data_ + offset_;
    offset_ += count;
    return at;
  }
  std::size_t remaining() const { return size_ - offset_; }

 private:
  const char* data_;
  std::size_t size_;
  std::size_t offset_ = 0;
};

}  // namespace

support::Status WriteAsbf(const std::filesystem::path& path, const Table& table) {
  if (!table.IsConsistent()) {
    return support::Error{path.string() + ": the table's columns do not match its data model"};
  }
  // The bytes go out in chunks, so a large table never has a second copy in memory.
  return support::WriteFileAtomically(path, [&](const std::filesystem::path& temp) {
    std::ofstream file(temp, std::ios::binary | std::ios::trunc);
    std::string out;
    constexpr std::size_t kChunk = 1 << 20;
    auto flush = [&](bool always) {
      if (always || out.size() >= kChunk) {
        file.write(out.data(), static_cast<std::streamsize>(out.size()));
        out.clear();
      }
    };
    out.append(kMagic, 4);
    Put(out, kVersion);
    Put(out, static_cast<std::uint64_t>(table.RowCount()));
    Put(out, static_cast<std::uint32_t>(table.columns.size()));
    for (const Field& field : table.model.fields) {
      Put(out, static_cast<std::uint8_t>(field.storage));
      Put(out, static_cast<std::uint32_t>(field.name.size()));
      out += field.name;
    }
    for (const Column& column : table.columns) {
      switch (column.storage()) {
        case Storage::kInteger:
          for (std::int32_t v : column.ints()) {
            Put(out, v);
            flush(false);
          }
          break;
        case Storage::kReal:
          for (double v : column.reals()) {
            Put(out, v);
            flush(false);
          }
          break;
        case Storage::kString: {
          std::uint64_t end = 0;
          for (const std::string& text : column.texts()) {
            end += text.size();
            Put(out, end);
            flush(false);
          }
          for (const std::string& text : column.texts()) {
            out += text;
            flush(false);
          }
          break;
        }
      }
      out.append(reinterpret_cast<const char*>(column.missing().data()), column.missing().size());
      flush(false);
    }
    out.append(kEndMark, 4);
    flush(true);
    file.close();
    if (!file) return support::Status(support::Error{path.string() + ": the file cannot be written"});
    return support::Status();
  });
}

support::Result<Table> ReadAsbf(const std::filesystem::path& path) {
  MappedFile file;
  if (auto status = file.Open(path); !status) return status.error();
  const std::string where = path.string() + ": ";
  auto damaged = [&](const std::string& what) {
    return support::Error{where + "not a valid .asbf data file (" + what + ")"};
  };
  Cursor cursor(file.data(), file.size());
  const char* magic = cursor.Take(4);
  if (magic == nullptr || std::memcmp(magic, kMagic, 4) != 0) return damaged("no magic");
  std::uint32_t version = 0;
  std::uint64_t rows = 0;
  std::uint32_t column_count = 0;
  if (!cursor.Get(version) || !cursor.Get(rows) || !cursor.Get(column_count)) {
    return damaged("short header");
  }
  if (version != kVersion) return damaged("version " + std::to_string(version));
  // Each column needs at least one flag byte per row: a row count past that is damage, and the
  // check keeps the reserve calls below bounded by the file's size.
  if (column_count > 0 && rows > cursor.remaining() / column_count) {
    return damaged("row count too large");
  }
  Table table;
  for (std::uint32_t i = 0; i < column_count; ++i) {
    std::uint8_t storage = 0;
    std::uint32_t name_size = 0;
    if (!cursor.Get(storage) || !cursor.Get(name_size)) return damaged("short column header");
    const char* name = cursor.Take(name_size);
    if (name == nullptr) return damaged("short column name");
    if (storage < 1 || storage > 3) return damaged("unknown storage " + std::to_string(storage));
    Field field;
    field.name.assign(name, name_size);
    field.storage = static_cast<Storage>(storage);
    table.model.fields.push_back(std::move(field));
  }
  for (std::uint32_t i = 0; i < column_count; ++i) {
    const Storage storage = table.model.fields[i].storage;
    const std::string column_name = "column '" + table.model.fields[i].name + "'";
    Column column(storage);
    column.Reserve(rows);
    std::size_t value_bytes = storage == Storage::kInteger ? 4 : 8;
    if (rows > cursor.remaining() / value_bytes) return damaged(column_name + " is cut short");
    const char* values = cursor.Take(rows * value_bytes);
    const char* text_bytes = nullptr;
    std::uint64_t text_size = 0;
    if (storage == Storage::kString && rows > 0) {
      std::memcpy(&text_size, values + (rows - 1) * 8, 8);
      text_bytes = cursor.Take(text_size);
      if (text_bytes == nullptr) return damaged(column_name + " is cut short");
    }
    const char* flags = cursor.Take(rows);
    if (flags == nullptr) return damaged(column_name + " is cut short");
    std::uint64_t start = 0;
    for (std::uint64_t row = 0; row < rows; ++row) {
      if (flags[row] != 0 && flags[row] != 1) return damaged(column_name + " has a bad flag");
      const bool missing = flags[row] == 1;
      switch (storage) {
        case Storage::kInteger: {
          std::int32_t v;
          std::memcpy(&v, values + row * 4, 4);
          missing ? column.AppendMissing() : column.AppendInt(v);
          break;
        }
        case Storage::kReal: {
          double v;
          std::memcpy(&v, values + row * 8, 8);
          missing ? column.AppendMissing() : column.AppendReal(v);
          break;
        }
        case Storage::kString: {
          std::uint64_t end;
          std::memcpy(&end, values + row * 8, 8);
          if (end < start || end > text_size) return damaged(column_name + " has bad offsets");
          std::string text(text_bytes + start, end - start);
          start = end;
          missing ? column.AppendMissing() : column.AppendText(std::move(text));
          break;
        }
      }
    }
    table.columns.push_back(std::move(column));
  }
  const char* end_mark = cursor.Take(4);
  if (end_mark == nullptr || std::memcmp(end_mark, kEndMark, 4) != 0 || cursor.remaining() != 0) {
    return damaged("no end mark");
  }
  return table;
}

support::Result<Table> ReadAsbfWithModel(const std::filesystem::path& data_path,
                                         const std::filesystem::path& model_path) {
  auto model_text = support::ReadFileToString(model_path);
  if (!model_text) return model_text.error();
  auto model = DataModelFromXml(*model_text);
  if (!model) return support::Error{model_path.string() + ": " + model.message()};
  auto data = ReadAsbf(data_path);
  if (!data) return data.error();
  Table table;
  for (const Field& field : model->fields) {
    auto index = data->model.Find(field.name);
    if (!index) {
      return support::Error{data_path.string() + ": the field '" + field.name +
                            "' of the data model is not in the data file"};
    }
    if (data->model.fields[*index].storage != field.storage) {
      return support::Error{data_path.string() + ": the field '" + field.name + "' is " +
                            StorageName(data->model.fields[*index].storage) +
                            " in the data file but " + StorageName(field.storage) +
                            " in the data model"};
    }
    table.AddColumn(field, std::move(data->columns[*index]));
  }
  if (table.model.fields.size() != data->model.fields.size()) {
    return support::Error{data_path.string() + ": the data file has columns that the data model " +
                          model_path.string() + " does not describe"};
  }
  return table;
}

support::Status WriteAsbfWithModel(const std::filesystem::path& data_path,
                                   const std::filesystem::path& model_path, const Table& table) {
  if (auto status = WriteAsbf(data_path, table); !status) return status;
  return support::WriteFileAtomically(model_path, DataModelToXml(table.model));
}

}  // namespace engine
