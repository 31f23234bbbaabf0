// This file contains the XML helpers over pugixml: loading with positioned errors, child and
// attribute getters, slash-separated path lookups and writing a document as text.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include <pugixml.hpp>

#include "support/result.h"

namespace support {

// Parses a whole text. On bad input the error has the line and column of the fault and the
// message reads "line 4, column 12: start-end tags mismatch".
Result<pugi::xml_document> ParseXml(std::string_view text);
// Same for a file; the message begins with the path.
Result<pugi::xml_document> ParseXmlFile(const std::filesystem::path& path);

// The first child element of `node` named `name`, or an empty node (which converts to false).
pugi::xml_node Child(pugi::xml_node node, std::string_view name);
// Every child element of `node` named `name`, in document order.
std::vector<pugi::xml_node> Children(pugi::xml_node node, std::string_view name);
// The text of the first child element named `name`, or `fallback` when there is none.
std::string ChildText(pugi::xml_node node, std::string_view name, std::string fallback = {});

// Attribute getters: the attribute's value when it is there (and, for numbers, reads wholly as
// one), else `fallback`.
std::string Attribute(pugi::xml_node node, std::string_view name, std::string fallback = {});
std::int64_t AttributeInt(pugi::xml_node node, std::string_view name, std::int64_t fallback = 0);
double AttributeDouble(pugi::xml_node node, std::string_view name, double fallback = 0);
bool HasAttribute(pugi::xml_node node, std::string_view name);

// Follows a path of element names separated by '/' from `node` ("PMML/DataDictionary/DataField"
// from a document finds the fields under its root element PMML). FindElement gives the first match
// or an empty node; FindElements gives every match in document order. An empty path gives `node`.
pugi::xml_node FindElement(pugi::xml_node node, std::string_view path);
std::vector<pugi::xml_node> FindElements(pugi::xml_node node, std::string_view path);

// Writes a document (or one node and its subtree) as UTF-8 text. Pretty: two-space indent, one
// element per line; otherwise without added white space. A document starts with an XML
// declaration unless it has one of its own already.
std::string WriteXml(const pugi::xml_node& node, bool pretty = true);
// Writes through WriteFileAtomically: a failure leaves an existing file as it was.
Status WriteXmlFile(const std::filesystem::path& path, const pugi::xml_document& document,
                    bool pretty = true);

}  // namespace support
