// This file contains the reading of archive members for the module.
#include "host/bridge/zip_reader.h"

ZipReader::ZipReader(const std::string& path) {
  auto opened = support::ZipArchiveReader::Open(path);
  if (opened) {
    archive_.emplace(std::move(*opened));
  } else {
    error_ = opened.message();
  }
}

bool ZipReader::GotoFile(const std::string& name) {
  if (!archive_)
    return false;
  const auto& entries = archive_->Entries();
  for (std::size_t i = 0; i < entries.size(); ++i) {
    if (entries[i].name == name) {
      current_ = i;
      return true;
    }
  }
  return false;
}

bool ZipReader::ExportString(std::string& text) {
  if (!archive_ || !current_)
    return false;
  const support::ZipEntry& entry = archive_->Entries()[*current_];
  if (entry.is_folder)
    return false;
  auto content = archive_->ReadText(entry.name);
  if (!content) {
    error_ = content.message();
    return false;
  }
  text = std::move(*content);
  return true;
}

bool ZipReader::Select(std::size_t index, std::string& name, bool& is_folder) {
  if (!archive_ || index >= archive_->Entries().size())
    return false;
  current_ = index;
  const support::ZipEntry& entry = archive_->Entries()[index];
  name = entry.name;
  is_folder = entry.is_folder;
  return true;
}

bool ZipReader::GetFirst(std::string& name, bool& is_folder) {
  return Select(0, name, is_folder);
}

bool ZipReader::GetNext(std::string& name, bool& is_folder) {
  if (!current_)
    return false;
  return Select(*current_ + 1, name, is_folder);
}
