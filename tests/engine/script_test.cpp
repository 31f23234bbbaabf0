// Tests of the script language: the forms the module writes, and faults named by line and token.
#include <gtest/gtest.h>

#include "engine/script/parser.h"

namespace engine {
namespace {

TEST(ScriptParser, AcceptsDeclarationsWithAndWithoutBlankAfterEquals) {
  const std::string text =
      "val tcmModelConfig ={\"a\": 1, \"b\": [1, 2]}\n"
      "val tcmModelInConf =[{\"name\":\"JSON\",\"uri\":\"file:///tmp/x\"}]\n"
      "val readerConf = {\"filesystem\":{\"dataModel\":\"file:////tmp/m\",\"locations\":"
      "[{\"path\":\"file:////tmp/d\",\"parser\":{\"name\":\"asbf\"}}]}}\n"
      "\n"
      "read(readerConf)->tcm:tcm(tcmModelConfig, tcmModelInConf, _)";
  auto script = ParseScript(text);
  ASSERT_TRUE(script.ok()) << script.message();
  ASSERT_EQ(script->declarations.size(), 3u);
  EXPECT_EQ(script->declarations[0].json["b"][1], 2);
  EXPECT_TRUE(script->declarations[1].json.is_array());
  EXPECT_EQ(script->declarations[1].json[0]["name"], "JSON");
  ASSERT_EQ(script->pipeline.size(), 2u);
  EXPECT_EQ(script->pipeline[1].QualifiedName(), "tcm:tcm");
  EXPECT_EQ(script->pipeline[1].line, 5);
  ASSERT_EQ(script->pipeline[1].arguments.size(), 3u);
  EXPECT_EQ(script->pipeline[1].arguments[1].name, "tcmModelInConf");
  EXPECT_EQ(script->pipeline[1].arguments[2].kind, StageArgument::Kind::kNone);
}

TEST(ScriptParser, AcceptsFunctionLiteralsAndTrailingArrows) {
  const std::string text =
      "val readerConf = {\"dataSource\":\"_activeTCMDataset_\",\"readErrorThreshold\":-1}\n"
      "val toTS = ctx => x => (\"Order Date\", toTimestamp(x.Order Date, \"yyyy-MM-dd HH:mm:ss\", "
      "\"yyyy-MM-dd\", \"HH:mm:ss\", \"en_US\", date(1970,1,1)))\n"
      "val writerConf = {\"dataDestination\":\"file:////tmp/a\"}\n"
      "read(readerConf)->reclassifyField(_,toTS)->"
      "reclassifyField(_,ctx => x => (\"F\", match{case x.\"$FutureFlag\" == 1 => x.F_predicted "
      "case _ => x.F}))->write(writerConf)->\n";
  auto script = ParseScript(text);
  ASSERT_TRUE(script.ok()) << script.message();
  const Declaration* to_ts = script->Find("toTS");
  ASSERT_NE(to_ts, nullptr);
  ASSERT_TRUE(to_ts->is_function);
  EXPECT_EQ(to_ts->function->result_field, "Order Date");
  const Expression& call = to_ts->function->body;
  EXPECT_EQ(call.kind, Expression::Kind::kCall);
  ASSERT_EQ(call.arguments.size(), 6u);
  EXPECT_EQ(call.arguments[0].kind, Expression::Kind::kField);
  EXPECT_EQ(call.arguments[0].text, "Order Date");  // a blank inside a bare field name
  EXPECT_EQ(call.arguments[5].text, "date");
  EXPECT_EQ(call.arguments[5].arguments[0].number, 1970);

  ASSERT_EQ(script->pipeline.size(), 4u);
  const StageArgument& inline_function = script->pipeline[2].arguments[1];
  ASSERT_EQ(inline_function.kind, StageArgument::Kind::kFunction);
  const Expression& match = inline_function.function->body;
  ASSERT_EQ(match.kind, Expression::Kind::kMatch);
  ASSERT_EQ(match.cases.size(), 2u);
  EXPECT_EQ(match.cases[0].left->text, "$FutureFlag");
  EXPECT_EQ(match.cases[0].right->number, 1);
  EXPECT_EQ(match.cases[0].result->text, "F_predicted");
  EXPECT_EQ(match.cases[1].left, nullptr);
  EXPECT_EQ(match.cases[1].result->text, "F");

  // A pipeline that ends in "->" without newline, and a single component stage.
  EXPECT_TRUE(ParseScript("val a = {}\ntcm:score(a, a,_)->").ok());
  EXPECT_TRUE(ParseScript("val a = {}\nval b = []\nval c =[]\ntsdp:convertor(a,b,c)").ok());
}

TEST(ScriptParser, FaultsNameTheLineAndTheToken) {
  struct Case {
    const char* text;
    int line;
    const char* fragment;
  };
  const Case cases[] = {
      {"val a = {}\nread(a,)", 2, "found ')'"},
      {"val a = {}\nread a", 2, "expected '(' after the stage name 'read', found 'a'"},
      {"val a = {}\n\nread(b)", 3, "'b' in the stage 'read' is not declared"},
      {"val a = {\"x\": }\nread(a)", 1, "bad JSON in the declaration of 'a'"},
      {"val a = {\n\"x\": 1,\n\"y\" 2}\nread(a)", 3, "bad JSON"},
      {"val a = {}\nval a = []\nread(a)", 2, "'a' is declared twice"},
      {"val a = {}\n", 2, "no pipeline"},
      {"val a = {\"x\": 1\nread(a)", 1, "not closed"},
      {"val a = 5\nread(a)", 1, "found '5'"},
      {"val a = {}\nread(a) write(a)", 2, "found 'write'"},
      {"val a = {}\nread(a)->->write(a)", 2, "found '->'"},
      {"val f = ctx => y => (\"a\", x.b)\nread(f)", 1, "expected 'x' after 'ctx =>', found 'y'"},
      {"val f = ctx => x => (\"a\", match{})\nread(f)", 1, "'match' has no 'case'"},
      {"val f = ctx => x => (\"a\", x.b\nread(f)", 2, "found 'read'"},
      {"val a = {} read(a)", 1, "expected a newline after the declaration of 'a', found 'read'"},
      {"val a = {}\nread(a)\n#", 3, "found '#'"},
  };
  for (const Case& c : cases) {
    auto script = ParseScript(c.text);
    ASSERT_FALSE(script.ok()) << c.text;
    EXPECT_EQ(script.error().line, c.line) << c.text << " -> " << script.message();
    EXPECT_NE(script.message().find("line " + std::to_string(c.line) + ": "), std::string::npos)
        << script.message();
    EXPECT_NE(script.message().find(c.fragment), std::string::npos)
        << c.text << " -> " << script.message();
  }
}

TEST(ScriptParser, DeepNestingIsAnErrorNotACrash) {
  std::string text = "val f = ctx => x => (\"a\", ";
  for (int i = 0; i < 5000; ++i) text += "f(";
  text += "1";
  auto script = ParseScript(text + "\nread(f)");
  ASSERT_FALSE(script.ok());
  EXPECT_NE(script.message().find("nested too deeply"), std::string::npos);
}

}  // namespace
}  // namespace engine
