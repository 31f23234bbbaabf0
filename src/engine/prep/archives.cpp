// This file contains the reading and writing of the preparation archives.
#include "engine/prep/archives.h"

#include "engine/stages/stage.h"
#include "support/zip_archive.h"

namespace engine {

std::string ArchivePath(const support::Json& entries, const std::string& name) {
  if (!entries.is_array()) return {};
  for (const auto& entry : entries) {
    if (support::GetString(entry, "name") == name) return PathFromUri(support::GetString(entry, "uri"));
  }
  if (entries.size() == 1) return PathFromUri(support::GetString(entries[0], "uri"));
  return {};
}

support::Result<support::Json> ReadPreparationRecord(const std::string& path) {
  auto text = support::ReadZipText(path, kPreparationMember);
  if (!text) return text.error();
  auto json = support::ParseJson(*text);
  if (!json) {
    return support::Error{path + ": " + std::string(kPreparationMember) + ": " + json.message()};
  }
  if (!json->is_object() || !support::FindMember(*json, "output")) {
    return support::Error{path + ": " + std::string(kPreparationMember) + " has no 'output'"};
  }
  return std::move(*json);
}

support::Status WriteJsonArchive(const std::string& path, const std::string& member,
                                 const support::OrderedJson& document) {
  auto text = support::DumpJson(document, support::JsonStyle::kCompact);
  if (!text) return text.status();
  support::ZipArchiveWriter writer;
  if (auto added = writer.AddText(member, *text); !added) return added;
  return writer.WriteTo(path);
}

}  // namespace engine
