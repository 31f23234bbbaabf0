// This file contains the zip reader and writer; they are the one place that calls libzip.
#include "support/zip_archive.h"

#include <zip.h>

#include <algorithm>
#include <exception>
#include <system_error>

#include "support/file_io.h"
#include "support/run_files.h"
#include "support/text.h"

namespace support {
namespace fs = std::filesystem;

namespace {

std::string Quoted(const fs::path& path) { return "'" + path.string() + "'"; }

std::string ErrorText(int code) {
  zip_error_t error;
  zip_error_init_with_code(&error, code);
  std::string text = zip_error_strerror(&error);
  zip_error_fini(&error);
  return text;
}

std::string ErrorText(zip_error_t* error) { return zip_error_strerror(error); }

// Reads a whole member in chunks, without trusting the size in a possibly damaged directory
// for the allocation, and checks that exactly that size came out.
Status ReadMember(zip_t* archive, zip_uint64_t index, const ZipEntry& entry, std::string& out,
                  const std::string& where) {
  zip_file_t* file = zip_fopen_index(archive, index, 0);
  if (file == nullptr) return Error{where + ": " + ErrorText(zip_get_error(archive))};
  try {
    out.clear();
    out.reserve(static_cast<std::size_t>(std::min<std::uint64_t>(entry.size, 1u << 26)));
    char buffer[1 << 16];
    while (true) {
      zip_int64_t got = zip_fread(file, buffer, sizeof buffer);
      if (got < 0) {
        std::string reason = ErrorText(zip_file_get_error(file));
        zip_fclose(file);
        return Error{where + ": " + reason};
      }
      if (got == 0) break;
      out.append(buffer, static_cast<std::size_t>(got));
    }
  } catch (const std::exception&) {
    zip_fclose(file);
    return Error{where + ": not enough memory"};
  }
  int closed = zip_fclose(file);
  if (closed != 0) return Error{where + ": " + ErrorText(closed)};
  if (out.size() != entry.size) return Error{where + ": the member is damaged (size mismatch)"};
  return {};
}

// The bytes of an archive without members: the end-of-central-directory record alone. libzip
// writes no file at all for an empty archive, which would leave the target unreadable.
constexpr std::string_view kEmptyArchive{"PK\x05\x06\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0", 22};

}  // namespace

void ZipArchiveReader::Closer::operator()(zip* archive) const {
  if (archive != nullptr) zip_discard(archive);
}

ZipArchiveReader::ZipArchiveReader(std::unique_ptr<zip, Closer> archive, fs::path path)
    : archive_(std::move(archive)), path_(std::move(path)) {}
ZipArchiveReader::ZipArchiveReader(ZipArchiveReader&&) noexcept = default;
ZipArchiveReader& ZipArchiveReader::operator=(ZipArchiveReader&&) noexcept = default;
ZipArchiveReader::~ZipArchiveReader() = default;

Result<ZipArchiveReader> ZipArchiveReader::Open(const fs::path& path, std::string_view password) {
  const std::string prefix = "cannot open archive " + Quoted(path) + ": ";
  std::error_code ec;
  if (fs::is_directory(path, ec)) return Error{prefix + "it is a folder"};
  try {
    int code = 0;
    std::unique_ptr<zip, Closer> archive(zip_open(ReadPath(path).c_str(), ZIP_RDONLY | ZIP_CHECKCONS, &code));
    if (archive == nullptr) return Error{prefix + ErrorText(code)};
    if (!password.empty() &&
        zip_set_default_password(archive.get(), std::string(password).c_str()) != 0) {
      return Error{prefix + ErrorText(zip_get_error(archive.get()))};
    }
    ZipArchiveReader reader(std::move(archive), path);
    zip_int64_t count = zip_get_num_entries(reader.archive_.get(), 0);
    for (zip_int64_t index = 0; index < count; ++index) {
      zip_stat_t stat;
      zip_stat_init(&stat);
      if (zip_stat_index(reader.archive_.get(), static_cast<zip_uint64_t>(index), 0, &stat) != 0) {
        return Error{prefix + ErrorText(zip_get_error(reader.archive_.get()))};
      }
      ZipEntry entry;
      entry.name = (stat.valid & ZIP_STAT_NAME) ? stat.name : "";
      entry.is_folder = !entry.name.empty() && entry.name.back() == '/';
      entry.size = (stat.valid & ZIP_STAT_SIZE) ? stat.size : 0;
      entry.encrypted =
          (stat.valid & ZIP_STAT_ENCRYPTION_METHOD) && stat.encryption_method != ZIP_EM_NONE;
      reader.entries_.push_back(std::move(entry));
    }
    return reader;
  } catch (const std::exception&) {
    return Error{prefix + "not enough memory"};
  }
}

bool ZipArchiveReader::Contains(std::string_view name) const {
  return std::any_of(entries_.begin(), entries_.end(),
                     [&](const ZipEntry& entry) { return entry.name == name; });
}

Result<std::string> ZipArchiveReader::ReadText(std::string_view name) const {
  const std::string where =
      "cannot read '" + std::string(name) + "' in archive " + Quoted(path_);
  // The directory was read once at Open; its order is the index libzip expects.
  auto it = std::find_if(entries_.begin(), entries_.end(),
                         [&](const ZipEntry& entry) { return entry.name == name; });
  if (it == entries_.end()) return Error{where + ": there is no such member"};
  if (it->is_folder) return Error{where + ": it is a folder"};
  std::string content;
  auto index = static_cast<zip_uint64_t>(it - entries_.begin());
  if (Status status = ReadMember(archive_.get(), index, *it, content, where); !status) {
    return status.error();
  }
  return content;
}

Result<std::vector<std::uint8_t>> ZipArchiveReader::ReadBytes(std::string_view name) const {
  Result<std::string> text = ReadText(name);
  if (!text) return text.error();
  return std::vector<std::uint8_t>(text->begin(), text->end());
}

Result<std::string> ReadZipText(const fs::path& archive, std::string_view member,
                                std::string_view password) {
  Result<ZipArchiveReader> reader = ZipArchiveReader::Open(archive, password);
  if (!reader) return reader.error();
  return reader->ReadText(member);
}

bool ZipArchiveWriter::AesSupported() {
  return zip_encryption_method_supported(ZIP_EM_AES_256, 1) != 0 &&
         zip_encryption_method_supported(ZIP_EM_AES_256, 0) != 0;
}

Status ZipArchiveWriter::Check(std::string_view name, std::string_view password) const {
  const std::string what = "cannot add '" + std::string(name) + "' to an archive: ";
  if (name.empty() || name == "/") return Error{"cannot add a member without a name to an archive"};
  if (name.front() == '/') return Error{what + "the name starts with '/'"};
  if (!IsValidUtf8(name)) return Error{what + "the name is not UTF-8"};
  for (const Member& member : members_) {
    if (member.name == name) return Error{what + "the name is already taken"};
  }
  if (!password.empty() && !AesSupported()) {
    return Error{what + "AES-256 encryption is not available in this build of libzip"};
  }
  return {};
}

Status ZipArchiveWriter::AddText(std::string_view name, std::string_view text,
                                 std::string_view password) {
  if (Status status = Check(name, password); !status) return status;
  members_.push_back(Member{std::string(name), std::string(text), {}, false, std::string(password)});
  return {};
}

Status ZipArchiveWriter::AddBytes(std::string_view name, std::span<const std::uint8_t> bytes,
                                  std::string_view password) {
  return AddText(name,
                 std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()),
                 password);
}

Status ZipArchiveWriter::AddFile(std::string_view name, const fs::path& source,
                                 std::string_view password) {
  if (Status status = Check(name, password); !status) return status;
  std::error_code ec;
  if (!fs::is_regular_file(source, ec)) {
    return Error{"cannot add '" + std::string(name) + "' to an archive: " + Quoted(source) +
                 " is not a readable file"};
  }
  members_.push_back(Member{std::string(name), {}, source, false, std::string(password)});
  return {};
}

Status ZipArchiveWriter::AddFolder(std::string_view name) {
  std::string folder(name);
  if (!folder.empty() && folder.back() != '/') folder += '/';
  if (Status status = Check(folder, {}); !status) return status;
  members_.push_back(Member{folder, {}, {}, true, {}});
  return {};
}

Status ZipArchiveWriter::WriteTo(const fs::path& target) const {
  const std::string prefix = "cannot write archive " + Quoted(target) + ": ";
  if (members_.empty()) return WriteFileAtomically(target, kEmptyArchive);

  // The archive is built in memory and then handed to the atomic writer, so libzip never
  // touches the target and there is one tested path for replacing a user's file.
  zip_error_t error;
  zip_error_init(&error);
  zip_source_t* buffer = zip_source_buffer_create(nullptr, 0, 0, &error);
  if (buffer == nullptr) {
    Error failure{prefix + ErrorText(&error)};
    zip_error_fini(&error);
    return failure;
  }
  zip_t* archive = zip_open_from_source(buffer, ZIP_TRUNCATE, &error);
  if (archive == nullptr) {
    Error failure{prefix + ErrorText(&error)};
    zip_error_fini(&error);
    zip_source_free(buffer);
    return failure;
  }
  zip_error_fini(&error);
  zip_source_keep(buffer);  // the bytes are read from it after zip_close

  auto abandon = [&](std::string reason) -> Status {
    zip_discard(archive);
    zip_source_free(buffer);
    return Error{prefix + std::move(reason)};
  };

  for (const Member& member : members_) {
    if (member.is_folder) {
      if (zip_dir_add(archive, member.name.c_str(), ZIP_FL_ENC_UTF_8) < 0) {
        return abandon(member.name + ": " + ErrorText(zip_get_error(archive)));
      }
      continue;
    }
    zip_source_t* source =
        member.source.empty()
            ? zip_source_buffer(archive, member.data.data(), member.data.size(), 0)
            : zip_source_file(archive, member.source.c_str(), 0, -1);
    if (source == nullptr) return abandon(member.name + ": " + ErrorText(zip_get_error(archive)));
    zip_int64_t index = zip_file_add(archive, member.name.c_str(), source, ZIP_FL_ENC_UTF_8);
    if (index < 0) {
      zip_source_free(source);
      return abandon(member.name + ": " + ErrorText(zip_get_error(archive)));
    }
    if (!member.password.empty() &&
        zip_file_set_encryption(archive, static_cast<zip_uint64_t>(index), ZIP_EM_AES_256,
                                member.password.c_str()) != 0) {
      return abandon(member.name + ": " + ErrorText(zip_get_error(archive)));
    }
  }

  // Sources (files included) are read here; a file removed since AddFile fails now.
  if (zip_close(archive) != 0) return abandon(ErrorText(zip_get_error(archive)));

  std::string bytes;
  Status read = [&]() -> Status {
    zip_stat_t stat;
    zip_stat_init(&stat);
    if (zip_source_stat(buffer, &stat) != 0 || !(stat.valid & ZIP_STAT_SIZE) ||
        zip_source_open(buffer) != 0) {
      return Error{prefix + ErrorText(zip_source_error(buffer))};
    }
    try {
      bytes.resize(static_cast<std::size_t>(stat.size));
    } catch (const std::exception&) {
      zip_source_close(buffer);
      return Error{prefix + "not enough memory"};
    }
    zip_int64_t got = zip_source_read(buffer, bytes.data(), stat.size);
    zip_source_close(buffer);
    if (got < 0 || static_cast<zip_uint64_t>(got) != stat.size) {
      return Error{prefix + ErrorText(zip_source_error(buffer))};
    }
    return {};
  }();
  zip_source_free(buffer);
  if (!read) return read;
  return WriteFileAtomically(target, bytes);
}

}  // namespace support
