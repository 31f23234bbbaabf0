// This file contains the XML helpers; they are the one place that calls pugixml for parsing and
// writing, and catch what it may throw.
#include "support/xml_util.h"

#include <cmath>
#include <exception>
#include <optional>
#include <sstream>

#include "support/file_io.h"
#include "support/text.h"

namespace support {
namespace {

bool NameIs(const pugi::xml_node& node, std::string_view name) {
  return node.type() == pugi::node_element && name == node.name();
}

}  // namespace

Result<pugi::xml_document> ParseXml(std::string_view text) {
  try {
    pugi::xml_document document;
    pugi::xml_parse_result result =
        document.load_buffer(text.data(), text.size(), pugi::parse_default, pugi::encoding_utf8);
    if (result) return document;
    TextPosition position =
        PositionAt(text, result.offset < 0 ? 0 : static_cast<std::size_t>(result.offset));
    std::string reason = result.description();
    if (!reason.empty()) reason[0] = static_cast<char>(ToLowerAscii(reason.substr(0, 1))[0]);
    return Error{"line " + std::to_string(position.line) + ", column " +
                     std::to_string(position.column) + ": " + reason,
                 position.line, position.column};
  } catch (const std::exception& e) {
    return Error{std::string("cannot parse XML: ") + e.what()};
  }
}

Result<pugi::xml_document> ParseXmlFile(const std::filesystem::path& path) {
  Result<std::string> text = ReadFileToString(path);
  if (!text) return text.error();
  Result<pugi::xml_document> parsed = ParseXml(*text);
  if (parsed) return parsed;
  Error error = parsed.error();
  error.message = path.string() + ": " + error.message;
  return error;
}

pugi::xml_node Child(pugi::xml_node node, std::string_view name) {
  for (pugi::xml_node child : node.children()) {
    if (NameIs(child, name)) return child;
  }
  return {};
}

std::vector<pugi::xml_node> Children(pugi::xml_node node, std::string_view name) {
  std::vector<pugi::xml_node> found;
  for (pugi::xml_node child : node.children()) {
    if (NameIs(child, name)) found.push_back(child);
  }
  return found;
}

std::string ChildText(pugi::xml_node node, std::string_view name, std::string fallback) {
  pugi::xml_node child = Child(node, name);
  if (!child) return fallback;
  return child.child_value();
}

std::string Attribute(pugi::xml_node node, std::string_view name, std::string fallback) {
  for (pugi::xml_attribute attribute : node.attributes()) {
    if (name == attribute.name()) return attribute.value();
  }
  return fallback;
}

bool HasAttribute(pugi::xml_node node, std::string_view name) {
  for (pugi::xml_attribute attribute : node.attributes()) {
    if (name == attribute.name()) return true;
  }
  return false;
}

std::int64_t AttributeInt(pugi::xml_node node, std::string_view name, std::int64_t fallback) {
  if (!HasAttribute(node, name)) return fallback;
  std::optional<double> value = ParseNumber(Trim(Attribute(node, name)));
  // Range first: converting a double outside int64 is undefined. 2^63 itself is out of range.
  if (!value || !(*value >= -9223372036854775808.0 && *value < 9223372036854775808.0) ||
      std::trunc(*value) != *value) {
    return fallback;
  }
  return static_cast<std::int64_t>(*value);
}

double AttributeDouble(pugi::xml_node node, std::string_view name, double fallback) {
  if (!HasAttribute(node, name)) return fallback;
  std::optional<double> value = ParseNumber(Trim(Attribute(node, name)));
  return value ? *value : fallback;
}

pugi::xml_node FindElement(pugi::xml_node node, std::string_view path) {
  std::vector<pugi::xml_node> found = FindElements(node, path);
  return found.empty() ? pugi::xml_node() : found.front();
}

std::vector<pugi::xml_node> FindElements(pugi::xml_node node, std::string_view path) {
  std::vector<pugi::xml_node> level{node};
  if (path.empty()) return level;
  for (const std::string& step : Split(path, '/')) {
    std::vector<pugi::xml_node> next;
    for (pugi::xml_node parent : level) {
      for (pugi::xml_node child : Children(parent, step)) next.push_back(child);
    }
    level = std::move(next);
    if (level.empty()) break;
  }
  return level;
}

std::string WriteXml(const pugi::xml_node& node, bool pretty) {
  std::ostringstream out;
  if (node.type() == pugi::node_document &&
      node.first_child().type() != pugi::node_declaration) {
    out << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";
    if (pretty) out << '\n';
  }
  node.print(out, "  ", pretty ? pugi::format_indent : pugi::format_raw, pugi::encoding_utf8);
  return out.str();
}

Status WriteXmlFile(const std::filesystem::path& path, const pugi::xml_document& document,
                    bool pretty) {
  std::string text;
  try {
    text = WriteXml(document, pretty);
  } catch (const std::exception& e) {
    return Error{path.string() + ": cannot write XML: " + e.what()};
  }
  return WriteFileAtomically(path, text);
}

}  // namespace support
