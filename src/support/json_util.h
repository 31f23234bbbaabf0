// This file contains the JSON helpers over nlohmann-json: parsing with positioned errors, typed
// getters with defaults, a stable writer and an atomic file writer.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "support/result.h"

namespace support {

// Objects with keys in byte order (so output is stable whatever the order of insertion), and
// objects that keep the order of insertion. Every function below takes either.
using Json = nlohmann::json;
using OrderedJson = nlohmann::ordered_json;

enum class JsonStyle {
  kPretty,   // two-space indent, one member per line
  kCompact,  // no white space at all
};

// Parses a whole text. On bad input the error has the line and column of the fault and the
// message reads "line 3, column 7: syntax error while parsing object key - ...".
template <class J = Json>
Result<J> ParseJson(std::string_view text);
// Same for a file; the message begins with the path.
template <class J = Json>
Result<J> ParseJsonFile(const std::filesystem::path& path);

// The member `key` of `object`, or null when `object` is not an object or has no such member.
template <class J>
const J* FindMember(const J& object, std::string_view key);
// Follows a dotted path of member names from `root` ("tcm.interpretation.table"); null when a
// step is missing. An empty path gives `root`.
template <class J>
const J* FindPath(const J& root, std::string_view dotted_path);

// Typed getters: the member's value when it is there with the right type, else `fallback`.
// Integers accept integral floating values in range (3.0 reads as 3); doubles accept any number.
template <class J>
std::string GetString(const J& object, std::string_view key, std::string fallback = {});
template <class J>
std::int64_t GetInt(const J& object, std::string_view key, std::int64_t fallback = 0);
template <class J>
double GetDouble(const J& object, std::string_view key, double fallback = 0);
template <class J>
bool GetBool(const J& object, std::string_view key, bool fallback = false);
// The strings of an array member, in order; other elements are skipped, an absent or non-array
// member gives an empty list.
template <class J>
std::vector<std::string> GetStringList(const J& object, std::string_view key);

// Writes a document as text; the same document always gives the same bytes. Numbers that are
// not finite are written as null. Fails when a string is not valid UTF-8.
template <class J>
Result<std::string> DumpJson(const J& document, JsonStyle style = JsonStyle::kPretty);
// Writes the text, ended by a newline, through WriteFileAtomically: a failure leaves an
// existing file as it was.
template <class J>
Status WriteJsonFile(const std::filesystem::path& path, const J& document,
                     JsonStyle style = JsonStyle::kPretty);

}  // namespace support
