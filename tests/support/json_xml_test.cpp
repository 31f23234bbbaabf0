// Tests of the JSON and XML helpers: positioned parse errors, getters, paths and writers.
#include "support/json_util.h"
#include "support/xml_util.h"

#include <gtest/gtest.h>

#include "support/file_io.h"
#include "support/temp_file.h"

namespace support {
namespace {

TEST(ParseJson, ReportsLineAndColumnOfTheFault) {
  Result<Json> missing_value = ParseJson("{\n  \"a\": 1,\n  \"b\": ,\n}");
  ASSERT_FALSE(missing_value);
  EXPECT_EQ(missing_value.error().line, 3);
  EXPECT_EQ(missing_value.error().column, 8);
  EXPECT_EQ(missing_value.message().rfind("line 3, column 8: ", 0), 0u) << missing_value.message();
  EXPECT_EQ(missing_value.message().find("json.exception"), std::string::npos);

  // Columns count characters: the two-byte é counts once.
  Result<Json> after_accent = ParseJson("[\"\xC3\xA9\", tru]");
  ASSERT_FALSE(after_accent);
  EXPECT_EQ(after_accent.error().line, 1);
  EXPECT_EQ(after_accent.error().column, 10);  // the "]" that ends "tru"

  Result<Json> empty = ParseJson("");
  ASSERT_FALSE(empty);
  EXPECT_EQ(empty.error().line, 1);

  Result<Json> trailing = ParseJson("{} x");
  ASSERT_FALSE(trailing);
  EXPECT_EQ(trailing.error().column, 4);
}

TEST(ParseJson, FileErrorsNameTheFile) {
  Result<TempDir> dir = TempDir::Create();
  ASSERT_TRUE(dir) << dir.message();
  auto path = dir->path() / "settings.json";
  ASSERT_TRUE(WriteFileAtomically(path, "{\"a\": [1, 2,]}"));
  Result<Json> bad = ParseJsonFile(path);
  ASSERT_FALSE(bad);
  EXPECT_NE(bad.message().find("settings.json: line 1, column 13"), std::string::npos)
      << bad.message();

  Result<Json> absent = ParseJsonFile(dir->path() / "absent.json");
  ASSERT_FALSE(absent);
  EXPECT_NE(absent.message().find("absent.json"), std::string::npos);
  EXPECT_NE(absent.message().find("No such file"), std::string::npos);
}

TEST(JsonGetters, TypedWithDefaults) {
  Result<Json> parsed = ParseJson(R"({
    "name": "sales", "lags": 5, "alpha": 0.05, "whole": 3.0, "half": 2.5, "on": true,
    "huge": 18446744073709551615, "fields": ["a", 1, "b", null],
    "tcm": {"interpretation": {"table": {"rows": 2}}}
  })");
  ASSERT_TRUE(parsed) << parsed.message();
  const Json& doc = *parsed;

  EXPECT_EQ(GetString(doc, "name"), "sales");
  EXPECT_EQ(GetString(doc, "lags", "none"), "none");  // wrong type
  EXPECT_EQ(GetString(doc, "absent", "none"), "none");
  EXPECT_EQ(GetInt(doc, "lags"), 5);
  EXPECT_EQ(GetInt(doc, "whole"), 3);
  EXPECT_EQ(GetInt(doc, "half", -1), -1);
  EXPECT_EQ(GetInt(doc, "huge", -1), -1);
  EXPECT_EQ(GetInt(doc, "name", -1), -1);
  EXPECT_DOUBLE_EQ(GetDouble(doc, "alpha"), 0.05);
  EXPECT_DOUBLE_EQ(GetDouble(doc, "lags"), 5.0);
  EXPECT_DOUBLE_EQ(GetDouble(doc, "on", 7.0), 7.0);
  EXPECT_TRUE(GetBool(doc, "on"));
  EXPECT_TRUE(GetBool(doc, "lags", true));
  EXPECT_EQ(GetStringList(doc, "fields"), (std::vector<std::string>{"a", "b"}));
  EXPECT_TRUE(GetStringList(doc, "name").empty());

  const Json* rows = FindPath(doc, "tcm.interpretation.table.rows");
  ASSERT_NE(rows, nullptr);
  EXPECT_EQ(*rows, 2);
  EXPECT_EQ(FindPath(doc, "tcm.interpretation.chart"), nullptr);
  EXPECT_EQ(FindPath(doc, "name.x"), nullptr);  // a string has no members
  EXPECT_EQ(FindPath(doc, ""), &doc);
  EXPECT_EQ(GetString(Json::array(), "x", "d"), "d");  // not an object at all
}

TEST(DumpJson, StableAndFaithful) {
  Json built;
  built["zeta"] = 1;
  built["alpha"] = Json::array({0.25, 1.0, "x"});
  Json other;
  other["alpha"] = Json::array({0.25, 1.0, "x"});
  other["zeta"] = 1;
  EXPECT_EQ(*DumpJson(built, JsonStyle::kCompact), R"({"alpha":[0.25,1.0,"x"],"zeta":1})");
  EXPECT_EQ(*DumpJson(built), *DumpJson(other));
  EXPECT_EQ(*DumpJson(built), "{\n  \"alpha\": [\n    0.25,\n    1.0,\n    \"x\"\n  ],\n  \"zeta\": 1\n}");

  OrderedJson ordered;
  ordered["zeta"] = 1;
  ordered["alpha"] = 2;
  EXPECT_EQ(*DumpJson(ordered, JsonStyle::kCompact), R"({"zeta":1,"alpha":2})");
  EXPECT_EQ(GetInt(ordered, "alpha"), 2);

  Json bad_text = {{"name", "\xFF\xFE"}};
  Result<std::string> dumped = DumpJson(bad_text);
  ASSERT_FALSE(dumped);
  EXPECT_NE(dumped.message().find("UTF-8"), std::string::npos) << dumped.message();

  Result<Json> round = ParseJson(*DumpJson(built));
  ASSERT_TRUE(round);
  EXPECT_EQ(*round, built);
}

TEST(WriteJsonFile, KeepsTheExistingFileWhenTheWriteFails) {
  Result<TempDir> dir = TempDir::Create();
  ASSERT_TRUE(dir);
  auto path = dir->path() / "model.json";
  ASSERT_TRUE(WriteJsonFile(path, Json{{"version", 1}}));
  EXPECT_EQ(*ReadFileToString(path), "{\n  \"version\": 1\n}\n");

  Status failed = WriteJsonFile(path, Json{{"name", "\xC3"}});
  EXPECT_FALSE(failed);
  EXPECT_NE(failed.message().find("model.json"), std::string::npos);
  EXPECT_EQ(*ReadFileToString(path), "{\n  \"version\": 1\n}\n");

  ASSERT_TRUE(WriteJsonFile(path, Json{{"version", 2}}, JsonStyle::kCompact));
  EXPECT_EQ(*ReadFileToString(path), "{\"version\":2}\n");
}

constexpr std::string_view kPmml = R"(<?xml version="1.0"?>
<PMML version="4.2">
  <DataDictionary numberOfFields="3">
    <DataField name="region" optype="categorical"/>
    <DataField name="sales" optype="continuous" decimals="2"/>
    <DataField name="date" optype="continuous" decimals="x"/>
  </DataDictionary>
  <Header><Application>tcm</Application></Header>
</PMML>
)";

TEST(ParseXml, ReportsLineAndColumnOfTheFault) {
  Result<pugi::xml_document> mismatch = ParseXml("<a>\n  <b>text</c>\n</a>");
  ASSERT_FALSE(mismatch);
  EXPECT_EQ(mismatch.error().line, 2);
  EXPECT_EQ(mismatch.error().column, 12);  // the wrong name "c"
  EXPECT_EQ(mismatch.message(), "line 2, column 12: start-end tags mismatch");

  Result<pugi::xml_document> unclosed = ParseXml("<root>\n<x a=\"1\">");
  ASSERT_FALSE(unclosed);
  EXPECT_EQ(unclosed.error().line, 2);

  Result<pugi::xml_document> bad_attribute = ParseXml("<root a=1/>");
  ASSERT_FALSE(bad_attribute);
  EXPECT_EQ(bad_attribute.error().column, 9);

  Result<TempDir> dir = TempDir::Create();
  ASSERT_TRUE(dir);
  ASSERT_TRUE(WriteFileAtomically(dir->path() / "model.xml", "<a>\n</b>"));
  Result<pugi::xml_document> from_file = ParseXmlFile(dir->path() / "model.xml");
  ASSERT_FALSE(from_file);
  EXPECT_NE(from_file.message().find("model.xml: line 2, column"), std::string::npos);
}

TEST(XmlGetters, ChildrenAttributesAndPaths) {
  Result<pugi::xml_document> parsed = ParseXml(kPmml);
  ASSERT_TRUE(parsed) << parsed.message();
  const pugi::xml_document& doc = *parsed;

  std::vector<pugi::xml_node> fields = FindElements(doc, "PMML/DataDictionary/DataField");
  ASSERT_EQ(fields.size(), 3u);
  EXPECT_EQ(Attribute(fields[0], "name"), "region");
  EXPECT_EQ(Attribute(fields[0], "decimals", "none"), "none");
  EXPECT_EQ(AttributeInt(fields[1], "decimals", -1), 2);
  EXPECT_EQ(AttributeInt(fields[2], "decimals", -1), -1);  // not a number
  EXPECT_DOUBLE_EQ(AttributeDouble(FindElement(doc, "PMML"), "version"), 4.2);
  EXPECT_EQ(AttributeInt(FindElement(doc, "PMML"), "version", -1), -1);  // not whole
  EXPECT_TRUE(HasAttribute(fields[1], "optype"));

  EXPECT_EQ(ChildText(FindElement(doc, "PMML/Header"), "Application"), "tcm");
  EXPECT_EQ(ChildText(FindElement(doc, "PMML/Header"), "Version", "?"), "?");
  EXPECT_EQ(Children(FindElement(doc, "PMML/DataDictionary"), "DataField").size(), 3u);
  EXPECT_FALSE(FindElement(doc, "PMML/Missing/DataField"));
  EXPECT_FALSE(Child(doc, "DataDictionary"));  // paths start at the node's children
  EXPECT_EQ(AttributeInt(FindElement(doc, "PMML/Missing"), "x", 9), 9);  // empty nodes are safe
}

TEST(WriteXml, RoundTripsAndAddsADeclaration) {
  pugi::xml_document doc;
  pugi::xml_node root = doc.append_child("DataModel");
  pugi::xml_node field = root.append_child("Field");
  field.append_attribute("name") = "a<b & \"c\"";
  field.append_child(pugi::node_pcdata).set_value("x < y");

  std::string compact = WriteXml(doc, false);
  EXPECT_EQ(compact,
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?><DataModel><Field name=\"a&lt;b &amp; "
            "&quot;c&quot;\">x &lt; y</Field></DataModel>");
  std::string pretty = WriteXml(doc);
  EXPECT_EQ(pretty,
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<DataModel>\n  <Field name=\"a&lt;b "
            "&amp; &quot;c&quot;\">x &lt; y</Field>\n</DataModel>\n");
  EXPECT_EQ(WriteXml(root.first_child(), false),
            "<Field name=\"a&lt;b &amp; &quot;c&quot;\">x &lt; y</Field>");

  Result<pugi::xml_document> back = ParseXml(pretty);
  ASSERT_TRUE(back);
  EXPECT_EQ(Attribute(FindElement(*back, "DataModel/Field"), "name"), "a<b & \"c\"");
  EXPECT_EQ(ChildText(FindElement(*back, "DataModel"), "Field"), "x < y");

  // A document with its own declaration keeps just that one.
  Result<pugi::xml_document> declared = ParseXml(kPmml);
  ASSERT_TRUE(declared);
  pugi::xml_document keep_decl;
  ASSERT_TRUE(keep_decl.load_string(kPmml.data(), pugi::parse_default | pugi::parse_declaration));
  std::string text = WriteXml(keep_decl);
  EXPECT_EQ(text.find("<?xml"), 0u);
  EXPECT_EQ(text.find("<?xml", 1), std::string::npos);
}

}  // namespace
}  // namespace support
