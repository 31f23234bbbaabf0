// Tests of the procedure's view of the active dataset, of the description for a terminal, and
// of the string table's texts for every key of the dataset's messages.
#include "host/data/procedure_data_source.h"

#include "data_test_util.h"
#include "host/data/data_messages.h"
#include "host/data/describe.h"
#include "host/messages/fac_st_dictionary.h"
#include "host/session.h"

namespace host {
namespace {

using ::testing::HasSubstr;
using test::LoadText;

TEST(ProcedureDataSourceTest, ViewOfTheActiveDataset) {
  {
    ProcedureDataSource none;  // no session: no data, and no crash on any question
    EXPECT_FALSE(none.HasData());
    EXPECT_EQ(none.GetNumberOfVariables(), 0);
    EXPECT_EQ(none.GetNumberOfCases(), 0);
    EXPECT_EQ(none.FindVarIndex("x", 0), -1);
    EXPECT_EQ(none.GetVariable(0), nullptr);
    EXPECT_EQ(none.GetTrendsInfo().GetNDateVars(), 0);
    EXPECT_TRUE(IsSysMiss(none.GetNumericValue(0, 0)));
  }
  ParserMessage messages;
  std::shared_ptr<Dataset> data = LoadText("Sales,Region,Day\n1.5,E,2015-01-01\n,W,\n", messages);
  ASSERT_NE(data, nullptr);
  Session session;
  session.active_dataset = data;
  SessionScope scope(session);
  ProcedureDataSource source;
  EXPECT_EQ(source.GetNumberOfVariables(), 3);
  EXPECT_EQ(source.GetNumberOfCases(), 2);
  EXPECT_EQ(source.FindVarIndex("sales", 0), 0);
  EXPECT_EQ(source.FindVarIndex("DAY", 0), 2);
  EXPECT_EQ(source.FindVarIndex("Sales", 1), -1);
  EXPECT_EQ(source.FindVarIndex("nothing", 0), -1);
  QUOR_Variable* first = source.GetVariable(0);
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(first->GetName(), "Sales");
  EXPECT_EQ(first->GetType(), 0);
  EXPECT_EQ(first->GetMeasurementLevel(), 3);
  EXPECT_TRUE(first->IsMissing(source.GetNumericValue(1, 0)));
  const QUOR_Variable* region = source.GetVariable(1);
  EXPECT_EQ(region->GetType(), 1);
  EXPECT_EQ(region->GetFormatType(), fmt::kA);
  EXPECT_EQ(region->GetMeasurementLevel(), 1);
  const QUOR_Variable* day = source.GetVariable(2);
  EXPECT_TRUE(IsDateFormat(day->GetFormatType()));
  EXPECT_EQ(day->GetFormat(), (PrintFormat{fmt::kDate, 11, 0}));
  EXPECT_EQ(day->FormatValue(source.GetNumericValue(0, 2)), "01-JAN-2015");
  EXPECT_EQ(source.GetVariable(3), nullptr);
  EXPECT_EQ(source.GetVariable(-1), nullptr);
  // Objects handed out stay where they are while the dataset grows.
  Variable extra;
  extra.name = "extra";
  data->AddVariable(extra);
  ASSERT_NE(source.GetVariable(3), nullptr);
  EXPECT_EQ(source.GetVariable(0), first);
  EXPECT_EQ(first->GetName(), "Sales");
  EXPECT_EQ(source.GetStringValue(0, 1), "E");
  EXPECT_EQ(source.GetStringValue(9, 1), "");
}

TEST(ProcedureDataSourceTest, NumberTextsAgree) {
  for (double x : {0.0, 1.0, 0.25, -3.5, 0.1, 1.0 / 3.0, 1e20, 1e-300, 123456789.125}) {
    double back = 0.0;
    ASSERT_TRUE(String2Double(Double2String(x), back)) << x;
    EXPECT_EQ(back, x);
  }
  EXPECT_EQ(Double2String(1.0), "1");
  EXPECT_EQ(Double2String(0.25), "0.25");
  double value = 7.0;
  EXPECT_TRUE(String2Double(" 2.50 ", value));
  EXPECT_EQ(Double2String(value), "2.5");
  value = 7.0;
  EXPECT_FALSE(String2Double("2.5x", value));
  EXPECT_FALSE(String2Double("", value));
  EXPECT_EQ(value, 7.0);
}

TEST(DescribeTest, ShowsTheDictionaryAsRead) {
  ParserMessage messages;
  auto data = LoadText("region,promo\nE,1\nW,\n", messages, R"({"variables": [
      {"name": "region", "label": "Sales region", "valueLabels": {"E": "East"}, "missing": ["?"]},
      {"name": "promo", "format": "F1.0", "measure": "nominal", "valueLabels": {"1": "Yes"},
       "missing": [9], "missingRange": [90, "HI"]}],
    "dateDefinition": [{"component": "YEAR", "start": 2015}, {"component": "QUARTER", "start": 1}]})");
  ASSERT_NE(data, nullptr);
  const std::string text = DescribeDataset(*data, "sales.csv", 1);
  EXPECT_THAT(text, HasSubstr("Dataset sales.csv: 5 variables, 2 cases"));
  EXPECT_THAT(text, HasSubstr("1    region    String(1)  A1      Nominal  Input  Sales region"));
  EXPECT_THAT(text, HasSubstr("\"E\"  East"));
  EXPECT_THAT(text, HasSubstr("User-missing values: \"?\""));
  EXPECT_THAT(text, HasSubstr("User-missing values: 9; 90 through HI"));
  EXPECT_THAT(text, HasSubstr("QUARTER_ starts at 1, level 0, length 4"));
  EXPECT_THAT(text, HasSubstr("First 1 of 2 cases:"));
  EXPECT_THAT(text, HasSubstr("E       1      2015   1         2015 Q1"));
  EXPECT_THAT(text, ::testing::Not(HasSubstr("W ")));  // only the first case

  // Line breaks and other control characters in names, labels and values keep every row and
  // detail on its own line.
  auto odd = LoadText("a,b\n\"x\ny\",1\n", messages, R"({"variables": [
      {"name": "a", "label": "two\nlines", "valueLabels": {"x\ny": "v\r\nw"}, "missing": ["\t"]},
      {"name": "b", "label": "tab\there\u001b[2J"}]})");
  ASSERT_NE(odd, nullptr);
  const std::string odd_text = DescribeDataset(*odd, "odd.csv");
  EXPECT_THAT(odd_text, HasSubstr("Input  two lines\n      Value labels:\n        \"x y\"  v  w\n"
                                  "      User-missing values: \" \"\n2 "));
  EXPECT_THAT(odd_text, HasSubstr("Input  tab here [2J\n"));
  EXPECT_THAT(odd_text, HasSubstr("\n  x y  1\n"));
}

TEST(DataMessagesTest, EveryKeyHasAText) {
  const FacSTDictionary table(std::string(TCM_SOURCE_DIR) + "/resources/strings");
  for (const char* key : msg::kAllKeys) EXPECT_TRUE(table.Has(key)) << key;
  // The compiled-in copy has them as well.
  const FacSTDictionary builtin;
  for (const char* key : msg::kAllKeys) EXPECT_TRUE(builtin.Has(key)) << key;
}

}  // namespace
}  // namespace host
