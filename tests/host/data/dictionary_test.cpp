// Tests of the dictionary file and the date definition: overrides of inference, value labels,
// missing values, the date variables, and the messages of broken dictionaries.
#include "host/data/dictionary.h"

#include "data_test_util.h"
#include "host/data/data_messages.h"
#include "host/data/date_definition.h"
#include "host/data/procedure_data_source.h"
#include "support/time.h"

namespace host {
namespace {

using ::testing::ElementsAre;
using test::Keys;
using test::LoadText;
using test::Raised;

const char* const kSalesCsv =
    "day,region,promo,zip,when\n"
    "2015-01-01,E,0,01234,01/15/2015\n"
    "2015-01-02,W,1,02345,02/29/2016\n"
    "2015-01-03,?,9,,13/01/2015\n";

const char* const kSalesDictionary = R"({ "variables": [
    {"name": "day", "type": "numeric", "format": "DATE11", "measure": "scale", "label": "Day of sale"},
    {"name": "region", "type": "string", "width": 8, "measure": "nominal",
     "valueLabels": {"E": "East", "W": "West"}, "missing": ["?"]},
    {"name": "PROMO", "type": "numeric", "format": "F1.0", "measure": "nominal",
     "valueLabels": {"0": "No", "1": "Yes"}, "missing": [9], "missingRange": [90, 99],
     "role": "target"},
    {"name": "zip", "type": "string"},
    {"name": "when", "format": "ADATE10"} ],
  "dateDefinition": [ {"component": "YEAR", "start": 2015}, {"component": "MONTH", "start": 1} ] })";

TEST(DictionaryTest, OverridesInferenceAndSetsLabelsAndMissingValues) {
  ParserMessage messages;
  auto data = LoadText(kSalesCsv, messages, kSalesDictionary);
  ASSERT_NE(data, nullptr);

  const Variable& day = data->GetVariable(0);
  EXPECT_EQ(day.label, "Day of sale");
  EXPECT_EQ(day.format, (PrintFormat{fmt::kDate, 11, 0}));

  const Variable& region = data->GetVariable(1);
  EXPECT_EQ(region.type, 8);  // the dictionary's width, wider than the data
  EXPECT_EQ(region.measure, Measure::kNominal);
  ASSERT_NE(region.FindValueLabel("W"), nullptr);
  EXPECT_EQ(*region.FindValueLabel("W"), "West");
  EXPECT_TRUE(region.IsMissing("?"));
  EXPECT_FALSE(region.IsMissing("E"));

  const Variable& promo = data->GetVariable(2);  // matched without regard to case
  EXPECT_EQ(promo.name, "promo");
  EXPECT_EQ(promo.measure, Measure::kNominal);
  EXPECT_EQ(promo.role, Role::kTarget);
  ASSERT_NE(promo.FindValueLabel(1.0), nullptr);
  EXPECT_EQ(*promo.FindValueLabel(1.0), "Yes");
  EXPECT_TRUE(promo.IsMissing(9.0));
  EXPECT_TRUE(promo.IsMissing(95.0));
  EXPECT_FALSE(promo.IsMissing(1.0));
  EXPECT_TRUE(promo.IsMissing(kSysMiss));

  // "zip" would be numeric on its own; the dictionary keeps its leading zeros.
  const Variable& zip = data->GetVariable(3);
  EXPECT_EQ(zip.type, 5);
  EXPECT_EQ(data->GetText(0, 3), "01234");

  // A date format given to texts in that format; a text that does not read warns and is missing.
  const Variable& when = data->GetVariable(4);
  EXPECT_EQ(when.format.type, fmt::kADate);
  EXPECT_EQ(data->GetNumber(1, 4), support::ToSeconds({2016, 2, 29}));
  EXPECT_TRUE(IsSysMiss(data->GetNumber(2, 4)));
  const auto bad = Raised(messages, msg::kBadValue);
  ASSERT_EQ(bad.size(), 1u);
  EXPECT_THAT(bad[0].args, ElementsAre("data.csv", "when", "ADATE10", "1", "line 4 \"13/01/2015\""));
  EXPECT_EQ(messages.ErrorCount(), 0);

  // The procedure's view answers the same.
  ProcedureDataSource source(data);
  const QUOR_Variable* v = source.GetVariable(source.FindVarIndex("REGION", 0));
  ASSERT_NE(v, nullptr);
  EXPECT_EQ(v->GetType(), 8);
  EXPECT_EQ(v->GetMeasurementLevel(), 1);
  std::string label;
  EXPECT_TRUE(v->GetValueLabels().GetLabel("E", label));
  EXPECT_EQ(label, "East");
  EXPECT_FALSE(v->GetValueLabels().GetLabel(1.0, label));
  const QUOR_Variable* p = source.GetVariable(2);
  EXPECT_EQ(p->GetRole(), 1);
  double low = 0;
  double high = 0;
  ASSERT_TRUE(p->GetMissingRange(low, high));
  EXPECT_EQ(low, 90);
  EXPECT_EQ(high, 99);
  EXPECT_THAT(p->GetMissingNumbers(), ElementsAre(9.0));
  EXPECT_EQ(p->FormatValue(1), "1");
}

TEST(DictionaryTest, DateDefinitionMakesTheDateVariables) {
  ParserMessage messages;
  std::string csv = "y\n";
  for (int i = 0; i < 14; ++i) csv += std::to_string(i) + "\n";
  auto data = LoadText(csv, messages, R"({"dateDefinition": [
      {"component": "YEAR", "start": 2015}, {"component": "QUARTER", "start": 4},
      {"component": "MONTH", "start": 11}]})");
  ASSERT_NE(data, nullptr);
  ASSERT_EQ(data->VariableCount(), 5);
  EXPECT_EQ(data->GetVariable(1).name, "YEAR_");
  EXPECT_EQ(data->GetVariable(4).name, "DATE_");
  // Case 1 is November 2015; case 3 is January 2016, in the first quarter.
  EXPECT_EQ(data->GetNumber(0, 1), 2015);
  EXPECT_EQ(data->GetNumber(0, 2), 4);
  EXPECT_EQ(data->GetNumber(0, 3), 11);
  EXPECT_EQ(data->GetNumber(2, 1), 2016);
  EXPECT_EQ(data->GetNumber(2, 2), 1);
  EXPECT_EQ(data->GetNumber(2, 3), 1);
  EXPECT_EQ(data->GetNumber(13, 3), 12);
  EXPECT_EQ(data->GetText(0, 4), "2015 Q4 NOV");
  EXPECT_EQ(data->GetVariable(4).type, 11);

  ProcedureDataSource source(data);
  const QUOR_TrendsInfo& trends = source.GetTrendsInfo();
  ASSERT_EQ(trends.GetNDateVars(), 3);
  int index = 0;
  int level = 0;
  int length = 0;
  ASSERT_TRUE(trends.GetDateVar(0, index, level, length));
  EXPECT_EQ(index, 1);
  EXPECT_EQ(level, 2);
  EXPECT_EQ(length, 0);
  ASSERT_TRUE(trends.GetDateVar(1, index, level, length));
  EXPECT_EQ(index, 2);
  EXPECT_EQ(level, 1);
  EXPECT_EQ(length, 4);
  ASSERT_TRUE(trends.GetDateVar(2, index, level, length));
  EXPECT_EQ(index, 3);
  EXPECT_EQ(level, 0);
  EXPECT_EQ(length, 3);
  EXPECT_FALSE(trends.GetDateVar(3, index, level, length));
  EXPECT_EQ(index, 3);  // untouched
}

TEST(DictionaryTest, ClockAndCycleParts) {
  ParserMessage messages;
  std::string csv = "y\n";
  for (int i = 0; i < 30; ++i) csv += "1\n";
  auto data = LoadText(csv, messages, R"({"dateDefinition": [
      {"component": "WEEK", "start": 3}, {"component": "DAY", "start": 7},
      {"component": "HOUR", "start": 22}, {"component": "CYCLE", "period": 2}]})");
  ASSERT_NE(data, nullptr);
  // Case 5 (index 4) is two cycles of two on from day 7, 22h: day 1 of week 4, hour 0.
  EXPECT_EQ(data->GetNumber(4, data->FindVariable("WEEK_")), 4);
  EXPECT_EQ(data->GetNumber(4, data->FindVariable("DAY_")), 1);
  EXPECT_EQ(data->GetNumber(4, data->FindVariable("HOUR_")), 0);
  EXPECT_EQ(data->GetNumber(4, data->FindVariable("CYCLE_")), 1);
  EXPECT_EQ(data->GetText(0, data->FindVariable("DATE_")), "W3 D7 H22 C1");
  ProcedureDataSource source(data);
  int index = 0;
  int level = 0;
  int length = 0;
  ASSERT_TRUE(source.GetTrendsInfo().GetDateVar(3, index, level, length));
  EXPECT_EQ(length, 2);

  // New cases get their date values when the variables are filled again.
  data->SetCaseCount(32);
  FillDateVariables(*data);
  EXPECT_EQ(data->GetNumber(31, data->FindVariable("HOUR_")), 13);
}

TEST(DictionaryTest, BrokenDateDefinitions) {
  struct Case {
    const char* parts;
    const char* key;
    std::vector<std::string> args;
  };
  const Case cases[] = {
      {R"([{"component": "DECADE"}])", msg::kDateComponent, {"data.dict.json", "1", "DECADE"}},
      {R"([{"component": "YEAR"}])", msg::kDateNeedStart, {"data.dict.json", "1", "YEAR"}},
      {R"([{"component": "YEAR", "start": 1},
{"component": "DAY"}])", msg::kDateOrder, {"data.dict.json", "2", "DAY", "YEAR"}},
      {R"([{"component": "YEAR", "start": 1},
{"component": "MONTH", "start": 13}])", msg::kDateStart, {"data.dict.json", "2", "MONTH", "1", "12"}},
      {R"([{"component": "QUARTER", "start": 2},
{"component": "MONTH", "start": 7}])", msg::kDateQuarterMonth, {"data.dict.json", "2", "7", "2"}},
      {R"([{"component": "DAY"}, {"component": "CYCLE"}])", msg::kDatePeriod, {"data.dict.json", "1"}},
      {R"([{"component": "DAY"}, {"component": "CYCLE", "period": 3},
{"component": "HOUR"}])", msg::kDateCycleLast, {"data.dict.json", "1"}},
      {R"([{"component": "DAY"}, {"component": "DAY"}])", msg::kDateRepeated, {"data.dict.json", "1", "DAY"}},
      {R"([{"component": "DAY"}])", msg::kDateNameTaken, {"data.dict.json", "1", "DAY_"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.parts);
    ParserMessage messages;
    const std::string dictionary = std::string("{\"dateDefinition\": ") + c.parts + "}";
    EXPECT_EQ(LoadText("y,DAY_\n1,2\n", messages, dictionary), nullptr);
    const auto found = Raised(messages, c.key);
    ASSERT_EQ(found.size(), 1u) << ::testing::PrintToString(Keys(messages));
    EXPECT_EQ(found[0].args, c.args);
  }
  ParserMessage warned;
  auto data = LoadText("y\n1\n", warned, R"({"dateDefinition": [{"component": "CYCLE", "period": 4}]})");
  ASSERT_NE(data, nullptr);
  EXPECT_THAT(Keys(warned), ElementsAre(msg::kDatePeriodIgnored));
}

TEST(DictionaryTest, BrokenDictionariesPointAtTheLine) {
  struct Case {
    const char* text;
    const char* key;
    std::vector<std::string> args;
  };
  const Case cases[] = {
      {"{ \"variables\": [\n  {\"name\": \"a\",}\n] }", msg::kDictJsonSyntax,
       {"data.dict.json", "2", "16", "}"}},
      {"[1, 2]", msg::kDictNeedObject, {"data.dict.json", "1", "data.dict.json"}},
      {"{\"variables\": {}}", msg::kDictNeedArray, {"data.dict.json", "1", "variables"}},
      {"{\"variables\": [\n{\"name\": \"a\"},\n{\"name\": \"b\", \"type\": \"date\"}]}",
       msg::kDictUnknownType, {"data.dict.json", "3", "date", "b"}},
      {"{\"variables\": [{\"name\": \"a\"},\n\n  {\"name\": \"c\"}]}", msg::kDictUnknownVariable,
       {"data.dict.json", "3", "c", "data.csv"}},
      {"{\"variables\": [{\"type\": \"string\"}]}", msg::kDictNoName, {"data.dict.json", "1"}},
      {"{\"variables\": [{\"name\": \"a\"}, {\"name\": \"A\"}]}", msg::kDictRepeatedVariable,
       {"data.dict.json", "1", "A"}},
      {"{\"variables\": [{\"name\": \"a\", \"format\": \"F8.2.1\"}]}", msg::kDictFormatSyntax,
       {"data.dict.json", "1", "F8.2.1", "a"}},
      {"{\"variables\": [{\"name\": \"a\", \"format\": \"DAT11\"}]}", msg::kDictFormatName,
       {"data.dict.json", "1", "DAT11", "a"}},
      {"{\"variables\": [{\"name\": \"a\", \"format\": \"DATE5\"}]}", msg::kDictFormatWidth,
       {"data.dict.json", "1", "DATE5", "9", "40"}},
      {"{\"variables\": [{\"name\": \"a\", \"format\": \"F4.4\"}]}", msg::kDictFormatDecimals,
       {"data.dict.json", "1", "F4.4", "3"}},
      {"{\"variables\": [{\"name\": \"a\", \"type\": \"numeric\", \"format\": \"A4\"}]}",
       msg::kDictStringFormatNumeric, {"data.dict.json", "1", "A4", "a"}},
      {"{\"variables\": [{\"name\": \"a\", \"measure\": \"interval\"}]}", msg::kDictUnknownMeasure,
       {"data.dict.json", "1", "interval", "a"}},
      {"{\"variables\": [{\"name\": \"a\", \"valueLabels\": {\"one\": \"One\"}}]}",
       msg::kDictLabelValue, {"data.dict.json", "1", "one", "a"}},
      {"{\"variables\": [{\"name\": \"a\", \"missing\": [\"x\"]}]}", msg::kDictMissingValue,
       {"data.dict.json", "1", "x", "a"}},
      {"{\"variables\": [{\"name\": \"a\", \"missingRange\": [5, 1]}]}", msg::kDictMissingRange,
       {"data.dict.json", "1", "a"}},
      {"{\"variables\": [{\"name\": \"a\", \"type\": \"string\", \"missingRange\": [1, 5]}]}",
       msg::kDictRangeString, {"data.dict.json", "1", "a"}},
      {"{\"variables\": [{\"name\": \"a\", \"width\": 0}]}", msg::kDictWidthRange,
       {"data.dict.json", "1", "0", "a"}},
      {"", msg::kDictJsonSyntax, {"data.dict.json", "1", "1"}},  // empty arguments at the end drop
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    ParserMessage messages;
    const std::string text = c.text;
    // An empty text stands for an empty dictionary file, which LoadText would skip.
    Dictionary dictionary;
    CsvTable table;
    ASSERT_TRUE(ParseCsvText("a,b\n1,2\n", "data.csv", table, messages));
    bool ok = ParseDictionaryText(text, "data.dict.json", dictionary, messages);
    if (ok) ok = BuildDataset(std::move(table), "data.csv", &dictionary, messages) != nullptr;
    EXPECT_FALSE(ok);
    const auto found = Raised(messages, c.key);
    ASSERT_EQ(found.size(), 1u) << ::testing::PrintToString(Keys(messages));
    EXPECT_EQ(found[0].args, c.args);
    EXPECT_EQ(found[0].severity, Severity::Error);
  }
}

TEST(DictionaryTest, WarningsDoNotStopTheLoad) {
  ParserMessage messages;
  auto data = LoadText("a,b\n1,long text\n", messages, R"({"colour": 1, "variables": [
      {"name": "a", "width": 4, "lable": "typo"},
      {"name": "b", "width": 3}]})");
  ASSERT_NE(data, nullptr);
  EXPECT_THAT(Keys(messages), ElementsAre(msg::kDictUnknownField, msg::kDictUnknownField,
                                          msg::kDictWidthNumeric, msg::kDictWidthGrown));
  EXPECT_EQ(data->GetVariable(1).type, 9);  // grown so nothing is cut
  EXPECT_EQ(data->GetText(0, 1), "long text");
  const auto grown = Raised(messages, msg::kDictWidthGrown);
  EXPECT_THAT(grown[0].args, ElementsAre("data.dict.json", "3", "b", "3", "9"));
}

TEST(DictionaryTest, FilesBesideTheData) {
  EXPECT_EQ(DictionaryPathFor("dir/sales.csv"), "dir/sales.dict.json");
  EXPECT_EQ(DictionaryPathFor("dir/sales.CSV"), "dir/sales.dict.json");
  EXPECT_EQ(DictionaryPathFor("dir/sales.txt"), "dir/sales.txt.dict.json");

  test::TempFolder folder;
  folder.Write("s.csv", "a,b\n1,x\n");
  folder.Write("s.dict.json", R"({"variables": [{"name": "a", "measure": "ordinal"}]})");
  ParserMessage messages;
  auto data = LoadDataset(folder.File("s.csv"), "", messages);
  ASSERT_NE(data, nullptr);
  EXPECT_EQ(data->GetVariable(0).measure, Measure::kOrdinal);

  ParserMessage missing;
  EXPECT_EQ(LoadDataset(folder.File("s.csv"), folder.File("other.dict.json"), missing), nullptr);
  EXPECT_THAT(Keys(missing), ElementsAre(msg::kDictNotFound));
}

}  // namespace
}  // namespace host
