// Tests of expression evaluation, date patterns and the small helpers that stages share.
#include <gtest/gtest.h>

#include "engine/job/table_iterator.h"
#include "engine/script/evaluator.h"
#include "engine/script/parser.h"
#include "engine/stages/stage.h"
#include "support/time.h"

namespace engine {
namespace {

Table OneRow() {
  Table table;
  Column flag(Storage::kInteger);
  flag.AppendInt(1);
  flag.AppendInt(0);
  flag.AppendMissing();
  table.AddColumn({"$FutureFlag", Storage::kInteger, "", "", "", "", {}}, std::move(flag));
  Column code(Storage::kString);
  code.AppendText(" 1");
  code.AppendText("b");
  code.AppendMissing();
  table.AddColumn({"code", Storage::kString, "", "", "", "", {}}, std::move(code));
  Column stamp(Storage::kReal);
  stamp.AppendReal(static_cast<double>(support::DaysFromCivil(2016, 2, 29) * 86400 + 3661));
  stamp.AppendReal(-1.5);
  stamp.AppendMissing();
  table.AddColumn({"t", Storage::kReal, "", "", "", "", {}}, std::move(stamp));
  return table;
}

// The body of the function literal in "val f = <function>\nread(f)".
const Expression& Body(const support::Result<Script>& script) {
  EXPECT_TRUE(script.ok()) << script.message();
  return script->declarations.front().function->body;
}

TEST(Evaluator, DatePatternsConvert) {
  bool has_date = false;
  auto format = ConvertDatePattern("yyyy-MM-dd HH:mm:ss", &has_date);
  ASSERT_TRUE(format.ok());
  EXPECT_EQ(*format, "%Y-%m-%d %H:%M:%S");
  EXPECT_TRUE(has_date);
  format = ConvertDatePattern("HH:mm", &has_date);
  EXPECT_EQ(*format, "%H:%M");
  EXPECT_FALSE(has_date);
  EXPECT_EQ(*ConvertDatePattern("dd MMM yy 'at' H%", nullptr), "%d %b %y at %H%%");
  EXPECT_EQ(*ConvertDatePattern("EEEE, MMMM d", nullptr), "%A, %B %d");
  EXPECT_FALSE(ConvertDatePattern("yyyy-MM-dd Q", nullptr).ok());
  EXPECT_FALSE(ConvertDatePattern("yyyy 'open", nullptr).ok());
}

TEST(Evaluator, MatchFieldsAndFunctions) {
  const Table table = OneRow();
  auto match = ParseScript(
      "val f = ctx => x => (\"r\", match{case x.\"$FutureFlag\" == 1 => x.t case x.code == \"b\""
      " => \"bee\" case _ => 7})\nread(f)");
  const Expression& body = Body(match);
  ASSERT_TRUE(CheckExpression(body, table.model).ok());
  EXPECT_EQ(Evaluate(body, table, 0).number, table.columns[2].Real(0));
  EXPECT_EQ(Evaluate(body, table, 1).text, "bee");
  // A missing value equals nothing, so the default case answers.
  EXPECT_EQ(Evaluate(body, table, 2).number, 7);

  // Text against number compares the text's number.
  auto mixed = ParseScript("val f = ctx => x => (\"r\", match{case x.code == 1 => 1})\nread(f)");
  EXPECT_EQ(Evaluate(Body(mixed), table, 0).number, 1);
  EXPECT_EQ(Evaluate(Body(mixed), table, 1).kind, Value::Kind::kMissing);

  auto to_text = ParseScript(
      "val f = ctx => x => (\"r\", format(x.t, \"yyyy/MM/dd HH:mm:ss\", \"en\"))\nread(f)");
  ASSERT_TRUE(CheckExpression(Body(to_text), table.model).ok());
  EXPECT_EQ(Evaluate(Body(to_text), table, 0).text, "2016/02/29 01:01:01");
  EXPECT_EQ(Evaluate(Body(to_text), table, 1).text, "1969/12/31 23:59:58");  // floor, not trunc
  EXPECT_EQ(Evaluate(Body(to_text), table, 2).kind, Value::Kind::kMissing);

  auto on_date = ParseScript("val f = ctx => x => (\"r\", date(2015, 2, 29))\nread(f)");
  EXPECT_EQ(Evaluate(Body(on_date), table, 0).kind, Value::Kind::kMissing);  // no such day
}

TEST(Evaluator, ChecksNameTheFault) {
  const Table table = OneRow();
  const char* bad[][2] = {
      {"toTimestamp(x.code, \"yyyy\", date(1970,1,1))", "toTimestamp takes"},
      {"toTimestamp(x.code, \"yyyy Q\", \"en\", date(1970,1,1))", "unknown letter 'Q'"},
      {"toTimestamp(x.code, x.code, \"en\", date(1970,1,1))", "must be texts"},
      {"format(x.t, \"yyyy\")", "format takes"},
      {"date(1, 2)", "date takes"},
      {"x.nothing", "'nothing' is not in the data"},
      {"match{case x.t == x.none => 1}", "'none'"},
  };
  for (const auto& [expression, fragment] : bad) {
    auto script = ParseScript(std::string("val f = ctx => x => (\"r\",\n ") + expression +
                              ")\nread(f)");
    auto status = CheckExpression(Body(script), table.model);
    ASSERT_FALSE(status.ok()) << expression;
    EXPECT_NE(status.message().find(fragment), std::string::npos) << status.message();
    EXPECT_EQ(status.message().rfind("line 2: ", 0), 0u) << status.message();
  }
}

TEST(StageHelpers, PathsFromUris) {
  EXPECT_EQ(PathFromUri("file:////tmp/a b/c.asbf"), "/tmp/a b/c.asbf");
  EXPECT_EQ(PathFromUri("file:///tmp/c"), "/tmp/c");
  EXPECT_EQ(PathFromUri("/plain/path"), "/plain/path");
  EXPECT_EQ(PathFromUri("file:relative"), "relative");
}

TEST(TableRowIterator, GivesValuesOnlyOnARow) {
  auto table = std::make_shared<const Table>(OneRow());
  TableRowIterator rows(table);
  const void* data = nullptr;
  std::size_t length = 0;
  EXPECT_FALSE(rows.Value(0, &data, &length));  // before the first row
  ASSERT_TRUE(rows.Next());
  ASSERT_TRUE(rows.Value(1, &data, &length));
  EXPECT_EQ(std::string(static_cast<const char*>(data), length), " 1");
  EXPECT_FALSE(rows.Value(3, &data, &length));  // no such column
  ASSERT_TRUE(rows.Next());
  ASSERT_TRUE(rows.Next());
  ASSERT_TRUE(rows.Value(2, &data, &length));
  EXPECT_EQ(data, nullptr);  // missing
  EXPECT_FALSE(rows.Next());
  EXPECT_FALSE(rows.Next());
  EXPECT_FALSE(rows.Value(0, &data, &length));  // past the end
}

}  // namespace
}  // namespace engine
