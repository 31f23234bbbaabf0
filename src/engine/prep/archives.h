// This file contains the archives of the preparation stages: finding them in an in or out
// configuration, reading TSDPOutput.json, and writing a JSON member into a new archive.
#pragma once

#include <string>

#include "support/json_util.h"
#include "support/result.h"

namespace engine {

inline constexpr const char* kPreparationMember = "TSDPOutput.json";
inline constexpr const char* kQualityMember = "TSDPQuality.json";
inline constexpr const char* kTimePointsMember = "TIME_POINTS.json";

// The path of the entry named `name` of a configuration array ([{"name", "uri"}, ...]); when
// no entry has that name and the array has exactly one entry, that entry. Empty when none fits.
std::string ArchivePath(const support::Json& entries, const std::string& name);

// The parsed TSDPOutput.json of a preparation archive or a model system archive.
support::Result<support::Json> ReadPreparationRecord(const std::string& path);

// Writes an archive holding one JSON member; an existing file is replaced only on success.
support::Status WriteJsonArchive(const std::string& path, const std::string& member,
                                 const support::OrderedJson& document);

}  // namespace engine
