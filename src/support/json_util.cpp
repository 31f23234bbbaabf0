// This file contains the JSON helpers; they are the one place that catches nlohmann-json's
// exceptions.
#include "support/json_util.h"

#include <cmath>
#include <exception>
#include <limits>

#include "support/file_io.h"
#include "support/text.h"

namespace support {
namespace {

// nlohmann's messages read "[json.exception.parse_error.101] parse error at line 1, column 5:
// syntax error ..."; the position is recomputed here in characters, so only the part after
// the library's own position is kept.
std::string ParseErrorReason(const std::string& what) {
  std::size_t column = what.find("column ");
  std::size_t colon = column == std::string::npos ? what.find("]") : what.find(": ", column);
  if (colon == std::string::npos) return what;
  return std::string(Trim(what.substr(colon + (what[colon] == ']' ? 1 : 2))));
}

}  // namespace

template <class J>
Result<J> ParseJson(std::string_view text) {
  try {
    return J::parse(text.begin(), text.end());
  } catch (const nlohmann::json::parse_error& e) {
    // `byte` counts from 1 and points at the last character read, the one at fault.
    std::size_t offset = e.byte > 0 ? e.byte - 1 : 0;
    TextPosition position = PositionAt(text, offset);
    return Error{"line " + std::to_string(position.line) + ", column " +
                     std::to_string(position.column) + ": " + ParseErrorReason(e.what()),
                 position.line, position.column};
  } catch (const std::exception& e) {
    return Error{std::string("cannot parse JSON: ") + e.what()};
  }
}

template <class J>
Result<J> ParseJsonFile(const std::filesystem::path& path) {
  Result<std::string> text = ReadFileToString(path);
  if (!text) return text.error();
  Result<J> parsed = ParseJson<J>(*text);
  if (parsed) return parsed;
  Error error = parsed.error();
  error.message = path.string() + ": " + error.message;
  return error;
}

template <class J>
const J* FindMember(const J& object, std::string_view key) {
  if (!object.is_object()) return nullptr;
  auto it = object.find(key);
  return it == object.end() ? nullptr : &*it;
}

template <class J>
const J* FindPath(const J& root, std::string_view dotted_path) {
  const J* node = &root;
  if (dotted_path.empty()) return node;
  for (const std::string& step : Split(dotted_path, '.')) {
    node = FindMember(*node, step);
    if (node == nullptr) return nullptr;
  }
  return node;
}

template <class J>
std::string GetString(const J& object, std::string_view key, std::string fallback) {
  const J* member = FindMember(object, key);
  if (member == nullptr || !member->is_string()) return fallback;
  return member->template get_ref<const std::string&>();
}

template <class J>
std::int64_t GetInt(const J& object, std::string_view key, std::int64_t fallback) {
  const J* member = FindMember(object, key);
  if (member == nullptr) return fallback;
  if (member->is_number_unsigned()) {
    auto value = member->template get<std::uint64_t>();
    if (value > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
      return fallback;
    }
    return static_cast<std::int64_t>(value);
  }
  if (member->is_number_integer()) return member->template get<std::int64_t>();
  if (member->is_number_float()) {
    double value = member->template get<double>();
    // 2^63 itself is not representable, hence the strict upper bound.
    if (std::trunc(value) == value && value >= -9223372036854775808.0 &&
        value < 9223372036854775808.0) {
      return static_cast<std::int64_t>(value);
    }
  }
  return fallback;
}

template <class J>
double GetDouble(const J& object, std::string_view key, double fallback) {
  const J* member = FindMember(object, key);
  if (member == nullptr || !member->is_number()) return fallback;
  return member->template get<double>();
}

template <class J>
bool GetBool(const J& object, std::string_view key, bool fallback) {
  const J* member = FindMember(object, key);
  if (member == nullptr || !member->is_boolean()) return fallback;
  return member->template get<bool>();
}

template <class J>
std::vector<std::string> GetStringList(const J& object, std::string_view key) {
  std::vector<std::string> list;
  const J* member = FindMember(object, key);
  if (member == nullptr || !member->is_array()) return list;
  for (const J& element : *member) {
    if (element.is_string()) list.push_back(element.template get<std::string>());
  }
  return list;
}

template <class J>
Result<std::string> DumpJson(const J& document, JsonStyle style) {
  try {
    return document.dump(style == JsonStyle::kPretty ? 2 : -1);
  } catch (const nlohmann::json::type_error& e) {
    // The one type error dump raises is a string that is not UTF-8 (316).
    return Error{std::string("cannot write JSON: ") + ParseErrorReason(e.what())};
  } catch (const std::exception& e) {
    return Error{std::string("cannot write JSON: ") + e.what()};
  }
}

template <class J>
Status WriteJsonFile(const std::filesystem::path& path, const J& document, JsonStyle style) {
  Result<std::string> text = DumpJson(document, style);
  if (!text) return Error{path.string() + ": " + text.message()};
  text->push_back('\n');
  return WriteFileAtomically(path, *text);
}

#define SUPPORT_JSON_INSTANTIATE(J)                                                          \
  template Result<J> ParseJson<J>(std::string_view);                                         \
  template Result<J> ParseJsonFile<J>(const std::filesystem::path&);                         \
  template const J* FindMember<J>(const J&, std::string_view);                               \
  template const J* FindPath<J>(const J&, std::string_view);                                 \
  template std::string GetString<J>(const J&, std::string_view, std::string);                \
  template std::int64_t GetInt<J>(const J&, std::string_view, std::int64_t);                 \
  template double GetDouble<J>(const J&, std::string_view, double);                          \
  template bool GetBool<J>(const J&, std::string_view, bool);                                \
  template std::vector<std::string> GetStringList<J>(const J&, std::string_view);            \
  template Result<std::string> DumpJson<J>(const J&, JsonStyle);                             \
  template Status WriteJsonFile<J>(const std::filesystem::path&, const J&, JsonStyle);

SUPPORT_JSON_INSTANTIATE(Json)
SUPPORT_JSON_INSTANTIATE(OrderedJson)

#undef SUPPORT_JSON_INSTANTIATE

}  // namespace support
