// Tests of the CSV reader and of type inference: separators, quoting, line ends, ragged rows and
// the messages a user gets for a broken file.
#include "host/data/csv_reader.h"

#include "data_test_util.h"
#include "host/data/data_messages.h"
#include "support/time.h"
#include "support/zip_archive.h"

namespace host {
namespace {

using ::testing::ElementsAre;
using test::Keys;
using test::LoadText;
using test::Raised;

TEST(CsvReaderTest, QuotesBomAndLineEnds) {
  ParserMessage messages;
  CsvTable table;
  const std::string text =
      "\xEF\xBB\xBFname,note\r\n"
      "\"Smith, J\",\"said \"\"hi\"\"\"\r\n"
      "Lee,\"two\r\nlines\"\n"
      "  Ng  ,  plain  \r"
      "Ok,\"quoted\" tail\n";
  ASSERT_TRUE(ParseCsvText(text, "f.csv", table, messages));
  EXPECT_TRUE(messages.Raised().empty());
  EXPECT_EQ(table.separator, ',');
  EXPECT_THAT(table.header, ElementsAre("name", "note"));  // no BOM in the first name
  EXPECT_THAT(table.columns[0], ElementsAre("Smith, J", "Lee", "Ng", "Ok"));
  EXPECT_THAT(table.columns[1], ElementsAre("said \"hi\"", "two\nlines", "plain", "quoted tail"));
  EXPECT_THAT(table.row_lines, ElementsAre(2, 3, 5, 6));
}

TEST(CsvReaderTest, SeparatorDetection) {
  EXPECT_EQ(DetectSeparator("a;b;c\n1;2;3\n"), ';');
  EXPECT_EQ(DetectSeparator("a\tb\n1\t2\n"), '\t');
  EXPECT_EQ(DetectSeparator("a,b\n1,2\n"), ',');
  // A decimal comma in semicolon data does not fool the count.
  EXPECT_EQ(DetectSeparator("price;qty\n1,5;2\n2,5;3\n"), ';');
  // Commas inside quotes do not count.
  EXPECT_EQ(DetectSeparator("\"a,b,c\";d\n\"x,y,z\";1\n"), ';');
  EXPECT_EQ(DetectSeparator("only\n1\n"), ',');

  ParserMessage messages;
  auto data = LoadText("region;sales;price\nEast;10;1,5\nWest;;2,25\n", messages);
  ASSERT_NE(data, nullptr);
  EXPECT_EQ(data->CaseCount(), 2);
  EXPECT_EQ(data->GetNumber(0, 2), 1.5);  // decimal comma under a semicolon separator
  EXPECT_EQ(data->GetNumber(1, 2), 2.25);
  EXPECT_TRUE(IsSysMiss(data->GetNumber(1, 1)));
  EXPECT_EQ(data->GetVariable(2).format, (PrintFormat{fmt::kF, 8, 2}));

  data = LoadText("a\tb c\n1\tx y\n", messages);
  ASSERT_NE(data, nullptr);
  EXPECT_EQ(data->GetVariable(1).name, "b_c");
  EXPECT_EQ(data->GetText(0, 1), "x y");
}

// Ragged, broken and empty texts: the keys of all messages in order and the arguments of the
// last; a text with only warnings loads, one with an error does not.
TEST(CsvReaderTest, RaggedBrokenAndEmptyTexts) {
  std::string many = "a,b\n";
  for (int i = 0; i < 25; ++i) many += "1\n";
  std::vector<std::string> ten_and_more(10, msg::kShortRow);
  ten_and_more.push_back(msg::kMoreProblems);
  struct Case {
    std::string csv;
    std::vector<std::string> keys;
    std::vector<std::string> args;  // of the last message
    int variables = -1, cases = -1;  // of the dataset that loads; -1: none loads
  };
  const Case cases[] = {
      // Short rows are filled; trailing separators beyond the names are harmless.
      {"a,b,c,\n1,2,3,\n4,5\n6,7,8,,\n", {msg::kShortRow}, {"data.csv", "3", "2", "3"}, 3, 3},
      {many, ten_and_more, {"data.csv", "15"}, 2, 25},  // bad rows are listed up to a limit
      {"a,b\n", {msg::kNoCases}, {"data.csv"}, 2, 0},
      // A long row cannot be placed: an error naming the line.
      {"a,b\n1,2\n3,4,5\n6,7\n", {msg::kLongRow}, {"data.csv", "3", "3", "2"}},
      {"a,b\n1,\"open\n2,3\n", {msg::kUnterminatedQuote}, {"data.csv", "2"}},
      {"\xEF\xBB\xBF\r\n\n", {msg::kFileEmpty}, {"data.csv"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.csv);
    ParserMessage messages;
    const auto data = LoadText(c.csv, messages);
    ASSERT_EQ(Keys(messages), c.keys);
    EXPECT_EQ(messages.Raised().back().args, c.args);
    EXPECT_EQ(messages.ErrorCount(), c.cases < 0 ? 1 : 0);
    if (c.cases < 0) {
      EXPECT_EQ(data, nullptr);
      continue;
    }
    ASSERT_NE(data, nullptr);
    EXPECT_EQ(messages.Raised().back().severity, Severity::Warning);
    EXPECT_EQ(data->VariableCount(), c.variables);
    EXPECT_EQ(data->CaseCount(), c.cases);
  }
  ParserMessage messages;
  const auto ragged = LoadText(cases[0].csv, messages);
  EXPECT_TRUE(IsSysMiss(ragged->GetNumber(1, 2)));
  EXPECT_EQ(ragged->GetNumber(2, 2), 8);
}

// Files that cannot be loaded at all: each says what it is, with its path.
TEST(CsvReaderTest, FilesThatAreNotCsvText) {
  test::TempFolder folder;
  folder.Write("wide.csv", std::string("\xFF\xFE" "a\0,\0b\0", 8));
  support::ZipArchiveWriter plain;
  ASSERT_TRUE(plain.AddText("data.csv", "a,b\n1,2\n").ok());
  ASSERT_TRUE(plain.WriteTo(folder.File("plain.zip")).ok());
  std::vector<std::pair<std::string, const char*>> cases = {{"none.csv", msg::kFileNotFound},
                                                            {"", msg::kFileIsFolder},
                                                            {"wide.csv", msg::kFileUtf16},
                                                            {"plain.zip", msg::kFileArchive}};
  if (support::ZipArchiveWriter::AesSupported()) {
    support::ZipArchiveWriter locked;
    ASSERT_TRUE(locked.AddText("data.csv", "a,b\n1,2\n", "s3cret").ok());
    ASSERT_TRUE(locked.WriteTo(folder.File("locked.csv")).ok());
    cases.emplace_back("locked.csv", msg::kFileEncrypted);
  }
  for (const auto& [file, key] : cases) {
    SCOPED_TRACE(file);
    ParserMessage refused;
    EXPECT_EQ(LoadDataset(folder.File(file), "", refused), nullptr);
    EXPECT_THAT(Keys(refused), ElementsAre(key));
    EXPECT_THAT(refused.Raised()[0].args, ElementsAre(folder.File(file)));
  }
}

// Data that are odd but valid load: a value that does not read in a column of dates or numbers
// is missing (one warning with its line), and a text that is not UTF-8 is read as latin-1.
TEST(CsvReaderTest, OddValuesLoadWithOneWarning) {
  std::string dates;
  for (int d = 1; d <= 9; ++d) dates += "2019-03-0" + std::to_string(d) + "\n";
  std::string numbers = "n\n";
  for (int n = 1; n <= 20; ++n) numbers += std::to_string(n) + "\n";
  struct Case {
    std::string csv;
    int bad_row;         // -1: none
    PrintFormat format;  // of column 0
    const char* key;     // the one warning
    std::vector<std::string> args;
  };
  const Case cases[] = {
      {"day\n2019-02-28\n2019-02-30\n" + dates, 1, PrintFormat{fmt::kDate, 11, 0}, msg::kBadValue,
       {"data.csv", "day", "DATE11", "1", "line 3 \"2019-02-30\""}},
      {numbers + "1O\n12\nn/a\n", 20, PrintFormat{fmt::kF, 8, 0}, msg::kBadValue,
       {"data.csv", "n", "F8.0", "2", "line 22 \"1O\", line 24 \"n/a\""}},
      // Mostly texts: a string, as wide as its longest value, with nothing to warn of.
      {"code\nA1\n12\nB2\n", -1, PrintFormat{fmt::kA, 2, 0}, nullptr, {}},
      {"city\nBonn\nK\xF6ln\nM\xFCnster\n", -1, PrintFormat{fmt::kA, 8, 0}, msg::kNotUtf8,
       {"data.csv", "3", "K\xC3\xB6ln", "2"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.csv);
    ParserMessage messages;
    auto data = LoadText(c.csv, messages);
    ASSERT_NE(data, nullptr);
    EXPECT_EQ(data->GetVariable(0).format, c.format);
    if (c.bad_row >= 0) {
      EXPECT_TRUE(IsSysMiss(data->GetNumber(c.bad_row, 0)));
    }
    if (c.key == nullptr) {
      EXPECT_TRUE(messages.Raised().empty());
      continue;
    }
    ASSERT_THAT(Keys(messages), ElementsAre(c.key));
    EXPECT_EQ(messages.Raised()[0].args, c.args);
    EXPECT_EQ(messages.Raised()[0].severity, Severity::Warning);
  }
  // A latin-1 name is read the same way.
  ParserMessage messages;
  auto data = LoadText("Gr\xF6\xDF" "e\n1\n", messages);
  ASSERT_NE(data, nullptr);
  EXPECT_EQ(data->GetVariable(0).name, "Gr\xC3\xB6\xC3\x9F" "e");
}

// A dictionary names the encoding of the whole file; a byte that does not read in it is an
// error with its line, and a name the system does not know is refused.
TEST(CsvReaderTest, TheDictionaryNamesTheEncoding) {
  test::TempFolder folder;
  folder.Write("prices.csv", "item,price\nBrot,1\n\x80 coin,2\n");
  struct Case {
    std::string encoding;
    const char* key;  // null: loads
    std::vector<std::string> args;
  };
  const Case cases[] = {
      {"windows-1252", nullptr, {}},
      {"ASCII", msg::kNotInEncoding, {folder.File("prices.csv"), "3", "ASCII"}},
      {"klingon-9", msg::kDictEncoding, {folder.File("prices.dict.json"), "1", "klingon-9"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.encoding);
    folder.Write("prices.dict.json", "{\"encoding\": \"" + c.encoding + "\"}");
    ParserMessage messages;
    auto data = LoadDataset(folder.File("prices.csv"), "", messages);
    if (c.key == nullptr) {
      ASSERT_NE(data, nullptr) << ::testing::PrintToString(Keys(messages));
      EXPECT_TRUE(messages.Raised().empty());
      EXPECT_EQ(data->GetText(1, 0), "\xE2\x82\xAC coin");  // the euro sign
      continue;
    }
    EXPECT_EQ(data, nullptr);
    ASSERT_THAT(Keys(messages), ElementsAre(c.key));
    EXPECT_EQ(messages.Raised()[0].args, c.args);
  }
}

TEST(CsvReaderTest, TypeInference) {
  ParserMessage messages;
  auto data = LoadText(
      "n,mixed,empty,day,stamp,short,text,code\n"
      "1,1,,2015-01-31,2015-01-31 10:00,2015-01-31T10:00,x,007\n"
      "2.50,two,,2016-02-29,2016-02-29,2015-02-01 00:00,yy,8\n"
      "-3,3,,,2016-03-01 23:59:59,,,\n",
      messages);
  ASSERT_NE(data, nullptr);
  EXPECT_TRUE(messages.Raised().empty());
  const Variable& n = data->GetVariable(0);
  EXPECT_EQ(n.type, 0);
  EXPECT_EQ(n.format, (PrintFormat{fmt::kF, 8, 2}));
  EXPECT_EQ(n.measure, Measure::kScale);
  EXPECT_EQ(data->GetNumber(1, 0), 2.5);

  const Variable& mixed = data->GetVariable(1);  // one non-number makes a string
  EXPECT_EQ(mixed.type, 3);
  EXPECT_EQ(mixed.format, (PrintFormat{fmt::kA, 3, 0}));
  EXPECT_EQ(mixed.measure, Measure::kNominal);
  EXPECT_EQ(data->GetText(0, 1), "1");

  EXPECT_EQ(data->GetVariable(2).type, 0);  // no value at all: numeric, all missing
  EXPECT_TRUE(IsSysMiss(data->GetNumber(0, 2)));

  EXPECT_EQ(data->GetVariable(3).format, (PrintFormat{fmt::kDate, 11, 0}));
  EXPECT_EQ(data->GetNumber(1, 3), support::ToSeconds({2016, 2, 29}));
  EXPECT_TRUE(IsSysMiss(data->GetNumber(2, 3)));

  // Dates with and without times: a date-time format, seconds shown when any has them.
  EXPECT_EQ(data->GetVariable(4).format, (PrintFormat{fmt::kDateTime, 20, 0}));
  EXPECT_EQ(data->GetNumber(1, 4), support::ToSeconds({2016, 2, 29}));
  EXPECT_EQ(data->GetNumber(2, 4), support::ToSeconds({2016, 3, 1, 23, 59, 59}));
  EXPECT_EQ(data->GetVariable(5).format, (PrintFormat{fmt::kDateTime, 17, 0}));

  EXPECT_EQ(data->GetVariable(6).type, 2);
  EXPECT_EQ(data->GetText(2, 6), "");

  EXPECT_EQ(data->GetVariable(7).type, 0);  // "007" is a number without a dictionary
  EXPECT_EQ(data->GetNumber(0, 7), 7);
}

TEST(CsvReaderTest, VariableNamesAreRepairedAndMadeUnique) {
  ParserMessage messages;
  auto data = LoadText("Sales 2015,2015,sales 2015,,TO,x.,ok,OK\n1,2,3,4,5,6,7,8\n", messages);
  ASSERT_NE(data, nullptr);
  std::vector<std::string> names;
  for (int i = 0; i < data->VariableCount(); ++i) names.push_back(data->GetVariable(i).name);
  EXPECT_THAT(names, ElementsAre("Sales_2015", "V2015", "sales_2015_2", "V4", "TO_", "x_", "ok",
                                 "OK_2"));
  EXPECT_EQ(Raised(messages, msg::kVarNameInvalid).size(), 4u);
  const auto duplicates = Raised(messages, msg::kVarNameDuplicate);
  ASSERT_EQ(duplicates.size(), 2u);
  EXPECT_THAT(duplicates[0].args, ElementsAre("data.csv", "1", "sales 2015", "sales_2015_2"));
  const auto empty = Raised(messages, msg::kVarNameEmpty);
  ASSERT_EQ(empty.size(), 1u);
  EXPECT_THAT(empty[0].args, ElementsAre("data.csv", "1", "4", "V4"));
  EXPECT_TRUE(IsValidVariableName("@x#1$"));
  EXPECT_FALSE(IsValidVariableName("$casecount"));
  EXPECT_FALSE(IsValidVariableName(std::string(65, 'a')));
  EXPECT_EQ(RepairVariableName(std::string(70, 'a'), 1).size(), 64u);
}

}  // namespace
}  // namespace host
