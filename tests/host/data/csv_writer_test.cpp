// Tests of saving: the CSV and dictionary pair reads back as the same dataset, and a failed
// write leaves the user's existing files as they were.
#include "host/data/csv_writer.h"

#include "data_test_util.h"
#include "host/data/data_messages.h"
#include "support/time.h"

namespace host {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using test::Keys;
using test::LoadText;
using test::Raised;

const char* const kCsv =
    "id,amount,name,day,stamp,dur,wd,mon,code,blank,flag\n"
    "1,0.25,\"Smith, \"\"J\"\"\",2015-03-01,2015-03-01 10:20:30,01:02:03,1,12,4142,,1\n"
    "2,1,\"two\nlines\",2016-02-29,2016-02-29 00:00:00,-00:00:05,7,1,,,\n"
    "3,-1e-300,\" padded \",,,,,,5A,,9\n";

const char* const kDictionary = R"({"variables": [
  {"name": "amount", "format": "F10.3", "label": "Amount, in \"units\"", "missingRange": ["LO", -100]},
  {"name": "name", "type": "string", "width": 20, "valueLabels": {"two\nlines": "Second"},
   "missing": ["none"], "measure": "ordinal"},
  {"name": "day", "format": "EDATE10"},
  {"name": "dur", "format": "TIME8"},
  {"name": "wd", "format": "WKDAY9"},
  {"name": "mon", "format": "MONTH3"},
  {"name": "code", "type": "string", "format": "AHEX4"},
  {"name": "blank", "type": "string"},
  {"name": "flag", "format": "F1.0", "measure": "nominal", "role": "both",
   "valueLabels": {"1": "On", "0.5": "Half"}, "missing": [9]}],
 "dateDefinition": [{"component": "YEAR", "start": 2020}, {"component": "WEEK", "start": 52}]})";

void ExpectSameDataset(const Dataset& a, const Dataset& b) {
  ASSERT_EQ(a.VariableCount(), b.VariableCount());
  ASSERT_EQ(a.CaseCount(), b.CaseCount());
  EXPECT_EQ(a.GetDateDefinition(), b.GetDateDefinition());
  for (int v = 0; v < a.VariableCount(); ++v) {
    SCOPED_TRACE(a.GetVariable(v).name);
    EXPECT_EQ(a.GetVariable(v), b.GetVariable(v));
    if (a.GetVariable(v).IsString()) {
      EXPECT_EQ(a.TextColumn(v), b.TextColumn(v));
    } else {
      EXPECT_EQ(a.NumberColumn(v), b.NumberColumn(v));
    }
  }
}

TEST(CsvWriterTest, SavedDataReadBackTheSame) {
  ParserMessage messages;
  auto data = LoadText(kCsv, messages, kDictionary);
  ASSERT_NE(data, nullptr) << ::testing::PrintToString(Keys(messages));
  ASSERT_EQ(messages.ErrorCount(), 0);
  // Values their formats cannot show in full: a time of day in a date, a fraction in a time,
  // and numbers whose shortest form is long.
  const int day = data->FindVariable("day");
  const int dur = data->FindVariable("dur");
  const int amount = data->FindVariable("amount");
  data->SetNumber(2, day, static_cast<double>(support::ToSeconds({2015, 3, 1, 10, 0, 0})) + 0.5);
  data->SetNumber(2, dur, 1.5);
  data->SetNumber(1, amount, 0.1 + 0.2);

  test::TempFolder folder;
  ParserMessage save_messages;
  ASSERT_TRUE(SaveDataset(*data, folder.File("out.csv"), save_messages));
  EXPECT_TRUE(save_messages.Raised().empty());
  EXPECT_THAT(folder.Files(), ElementsAre("out.csv", "out.dict.json"));

  const std::string text = folder.Read("out.csv");
  EXPECT_THAT(text, HasSubstr("id,amount,name,day,stamp,dur,wd,mon,code,blank,flag\n"));
  EXPECT_THAT(text, HasSubstr("1,0.25,\"Smith, \"\"J\"\"\",01.03.2015,01-MAR-2015 10:20:30,"
                              "01:02:03,SUNDAY,DEC,4142,,1\n"));
  EXPECT_THAT(text, HasSubstr(",2015-03-01 10:00:00.5,"));  // date with a time: ISO
  EXPECT_THAT(text, HasSubstr(",00:00:01.500000,"));       // time with a fraction
  EXPECT_THAT(text, HasSubstr("0.30000000000000004"));
  EXPECT_THAT(text, ::testing::Not(HasSubstr("YEAR_")));  // the date definition makes them

  ParserMessage load_messages;
  auto back = LoadDataset(folder.File("out.csv"), "", load_messages);
  ASSERT_NE(back, nullptr) << ::testing::PrintToString(Keys(load_messages));
  EXPECT_TRUE(load_messages.Raised().empty()) << ::testing::PrintToString(Keys(load_messages));
  ExpectSameDataset(*data, *back);
}

// A text wider than any dictionary width is saved with the largest width, so the pair still
// loads, and loading grows the width again without cutting the text.
TEST(CsvWriterTest, AWideTextSavesADictionaryThatReadsBack) {
  const std::string wide(40000, 'x');
  ParserMessage messages;
  auto data = LoadText("note\n" + wide + "\nshort\n", messages);
  ASSERT_NE(data, nullptr);
  test::TempFolder folder;
  ASSERT_TRUE(SaveDataset(*data, folder.File("wide.csv"), messages));
  const auto capped = Raised(messages, msg::kDictWidthCapped);
  ASSERT_EQ(capped.size(), 1u);
  EXPECT_THAT(capped[0].args,
              ElementsAre(folder.File("wide.dict.json"), "note", "40000", "32767"));
  EXPECT_THAT(folder.Read("wide.dict.json"), HasSubstr("\"width\": 32767"));

  ParserMessage load_messages;
  auto back = LoadDataset(folder.File("wide.csv"), "", load_messages);
  ASSERT_NE(back, nullptr) << ::testing::PrintToString(Keys(load_messages));
  EXPECT_THAT(Keys(load_messages), ElementsAre(msg::kDictWidthGrown));
  EXPECT_EQ(back->GetText(0, 0), wide);
  EXPECT_EQ(back->GetVariable(0).type, 40000);
}

TEST(CsvWriterTest, QuotesWhatTheReaderWouldOtherwiseChange) {
  Dataset data;
  Variable text;
  text.name = "t";
  text.type = 8;
  text.format = PrintFormat{fmt::kA, 8, 0};
  ASSERT_EQ(data.AddVariable(text), 0);
  data.SetCaseCount(3);
  data.SetText(0, 0, "");
  data.SetText(1, 0, " lead");
  data.SetText(2, 0, "a\"b");
  // A lone empty cell would read as a blank line, which the reader skips.
  EXPECT_EQ(CsvText(data), "t\n\"\"\n\" lead\"\n\"a\"\"b\"\n");
  EXPECT_EQ(CsvNumberText(kSysMiss, PrintFormat{}), "");
  EXPECT_EQ(CsvNumberText(2.0, PrintFormat{fmt::kF, 8, 2}), "2");
  EXPECT_EQ(CsvNumberText(1e300, PrintFormat{fmt::kDate, 11, 0}), "1e+300");
}

// A full disk, a failed rename, a folder in the dictionary's place and a missing folder: each
// save fails with its message and leaves every existing file as it was.
TEST(CsvWriterTest, FailedWritesLeaveExistingFilesIntact) {
  ParserMessage messages;
  auto data = LoadText(kCsv, messages, kDictionary);
  ASSERT_NE(data, nullptr);
  test::TempFolder folder;
  folder.Write("out.csv", "old data\n");
  folder.Write("out.dict.json", "{}\n");
  std::filesystem::create_directory(folder.File("x.dict.json"));
  struct Case {
    std::string file;
    WriteFaults faults;
    const char* key;
    std::vector<std::string> args;  // the message's; a failed write's go on with the reason
  };
  const Case cases[] = {
      {"out.csv", WriteFaults{100, false}, msg::kWriteFailed, {folder.File("out.csv")}},
      {"out.csv", WriteFaults{-1, true}, msg::kWriteFailed, {}},
      {"x.csv", {}, msg::kWritePathIsFolder, {folder.File("x.dict.json")}},
      {"missing/out.csv", {}, msg::kWriteFolderMissing,
       {folder.File("missing/out.csv"), folder.File("missing")}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.key) + " " + c.file);
    ParserMessage failed;
    EXPECT_FALSE(SaveDataset(*data, folder.File(c.file), failed, c.faults));
    ASSERT_THAT(Keys(failed), ElementsAre(c.key));
    const auto& args = failed.Raised()[0].args;
    ASSERT_GE(args.size(), c.args.size());
    if (c.key != msg::kWriteFailed) {
      EXPECT_EQ(args.size(), c.args.size());
    }
    EXPECT_EQ(std::vector<std::string>(args.begin(), args.begin() + c.args.size()), c.args);
    EXPECT_EQ(folder.Read("out.csv"), "old data\n");
    EXPECT_EQ(folder.Read("out.dict.json"), "{}\n");
    EXPECT_THAT(folder.Files(), ElementsAre("out.csv", "out.dict.json", "x.dict.json"));
  }
  // And a save that works replaces both files.
  ParserMessage fine;
  ASSERT_TRUE(SaveDataset(*data, folder.File("out.csv"), fine));
  EXPECT_THAT(folder.Read("out.csv"), HasSubstr("id,amount"));
  EXPECT_THAT(folder.Read("out.dict.json"), HasSubstr("\"dateDefinition\""));
}

}  // namespace
}  // namespace host
