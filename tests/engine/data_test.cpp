// Tests of tables, the data model's XML form and the .asbf data file.
#include <gtest/gtest.h>

#include <fstream>

#include "engine/data/asbf.h"
#include "support/file_io.h"
#include "support/temp_file.h"

namespace engine {
namespace {

// Plain writes: the damage sweep writes thousands of files and needs no atomic replace.
void WriteBytes(const std::filesystem::path& path, const std::string& bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  ASSERT_TRUE(out.good());
}

Table SampleTable() {
  Table table;
  Field id{"id", Storage::kInteger, "nominal", "input", "F8.0", "", {}};
  id.categories = {{"1", 1, "one"}, {"2", 2, ""}};
  Column ids(Storage::kInteger);
  ids.AppendInt(1);
  ids.AppendMissing();
  ids.AppendInt(-7);
  table.AddColumn(id, std::move(ids));
  Column reals(Storage::kReal);
  reals.AppendReal(2.5);
  reals.AppendReal(kSystemMissing);
  reals.AppendReal(-1e300);
  table.AddColumn({"sales", Storage::kReal, "continuous", "target", "", "", {}}, std::move(reals));
  Column texts(Storage::kString);
  texts.AppendText("Zürich, \"quoted\"");
  texts.AppendText("");
  texts.AppendMissing();
  table.AddColumn({"city", Storage::kString, "nominal", "", "", "region", {}}, std::move(texts));
  return table;
}

void ExpectSameTable(const Table& a, const Table& b) {
  ASSERT_EQ(a.model, b.model);
  ASSERT_EQ(a.RowCount(), b.RowCount());
  for (std::size_t c = 0; c < a.columns.size(); ++c) {
    EXPECT_EQ(a.columns[c].missing(), b.columns[c].missing()) << c;
    EXPECT_EQ(a.columns[c].ints(), b.columns[c].ints()) << c;
    EXPECT_EQ(a.columns[c].reals(), b.columns[c].reals()) << c;
    EXPECT_EQ(a.columns[c].texts(), b.columns[c].texts()) << c;
  }
}

TEST(DataModelXml, RoundTripAndSchema) {
  const DataModel model = SampleTable().model;
  const std::string xml = DataModelToXml(model);
  EXPECT_NE(xml.find("<Field name=\"id\" storage=\"integer\" measurement=\"nominal\" "
                     "role=\"input\" format=\"F8.0\">"),
            std::string::npos)
      << xml;
  EXPECT_NE(xml.find("<Category value=\"1\" code=\"1\" label=\"one\" />"), std::string::npos)
      << xml;
  EXPECT_NE(xml.find("base=\"region\""), std::string::npos);
  auto back = DataModelFromXml(xml);
  ASSERT_TRUE(back.ok()) << back.message();
  EXPECT_EQ(*back, model);

  EXPECT_FALSE(DataModelFromXml("<Other/>").ok());
  EXPECT_FALSE(DataModelFromXml("<DataModel><Field storage=\"real\"/></DataModel>").ok());
  auto no_storage = DataModelFromXml("<DataModel><Field name=\"a\"/></DataModel>");
  ASSERT_FALSE(no_storage.ok());
  EXPECT_NE(no_storage.message().find("('a') has no storage"), std::string::npos);
  EXPECT_FALSE(DataModelFromXml("<DataModel><Field name=\"a\" storage=\"date\"/></DataModel>").ok());
  EXPECT_FALSE(DataModelFromXml("<DataModel><Field name=\"a\" storage=\"real\"/>"
                                "<Field name=\"a\" storage=\"real\"/></DataModel>").ok());
  EXPECT_FALSE(DataModelFromXml("<DataModel><Field name=\"a\" storage=\"real\">"
                                "<Category value=\"x\" code=\"one\"/></Field></DataModel>").ok());
  EXPECT_FALSE(DataModelFromXml("<DataModel><Field").ok());
}

TEST(AsbfFile, RoundTripIsExactWithMissingValuesAndText) {
  auto dir = support::TempDir::Create("engine");
  ASSERT_TRUE(dir.ok());
  const Table table = SampleTable();
  const auto data = dir->path() / "d.asbf";
  const auto model = dir->path() / "d.xml";
  ASSERT_TRUE(WriteAsbfWithModel(data, model, table).ok());
  auto back = ReadAsbfWithModel(data, model);
  ASSERT_TRUE(back.ok()) << back.message();
  ExpectSameTable(table, *back);
  EXPECT_TRUE(back->columns[1].IsMissing(1));
  EXPECT_EQ(back->columns[1].Real(1), kSystemMissing);
  EXPECT_EQ(back->columns[2].Text(0), "Zürich, \"quoted\"");
  EXPECT_FALSE(back->columns[2].IsMissing(1));  // an empty text is a value, not missing

  // An empty table too.
  Table empty;
  empty.AddColumn({"x", Storage::kString, "", "", "", "", {}}, Column(Storage::kString));
  ASSERT_TRUE(WriteAsbfWithModel(data, model, empty).ok());
  auto empty_back = ReadAsbfWithModel(data, model);
  ASSERT_TRUE(empty_back.ok()) << empty_back.message();
  ExpectSameTable(empty, *empty_back);
}

TEST(AsbfFile, DamagedFilesGiveErrorsNeverCrashes) {
  auto dir = support::TempDir::Create("engine");
  ASSERT_TRUE(dir.ok());
  const auto path = dir->path() / "d.asbf";
  ASSERT_TRUE(WriteAsbf(path, SampleTable()).ok());
  auto bytes = support::ReadFileToString(path);
  ASSERT_TRUE(bytes.ok());
  const auto damaged = dir->path() / "damaged.asbf";
  // Every truncation fails with a message that names the file.
  for (std::size_t size = 0; size < bytes->size(); ++size) {
    WriteBytes(damaged, bytes->substr(0, size));
    auto read = ReadAsbf(damaged);
    ASSERT_FALSE(read.ok()) << "size " << size;
    EXPECT_NE(read.message().find("damaged.asbf"), std::string::npos);
  }
  // Flipping any single byte never crashes; damage in the header or flags is detected.
  for (std::size_t at = 0; at < bytes->size(); ++at) {
    std::string flipped = *bytes;
    flipped[at] = static_cast<char>(flipped[at] ^ 0xFF);
    WriteBytes(damaged, flipped);
    auto read = ReadAsbf(damaged);
    if (at < 4) {
      EXPECT_FALSE(read.ok()) << at;
    }
  }
  // A trailing byte too many.
  ASSERT_TRUE(support::WriteFileAtomically(damaged, *bytes + "x").ok());
  EXPECT_FALSE(ReadAsbf(damaged).ok());
  // A huge row count in the header must not reserve memory for it.
  std::string huge = *bytes;
  huge[8] = huge[9] = huge[10] = huge[11] = huge[12] = huge[13] = '\x7f';
  ASSERT_TRUE(support::WriteFileAtomically(damaged, huge).ok());
  EXPECT_FALSE(ReadAsbf(damaged).ok());
  EXPECT_FALSE(ReadAsbf(dir->path() / "absent.asbf").ok());
  EXPECT_FALSE(ReadAsbf(dir->path()).ok());
}

TEST(AsbfFile, DataModelMustMatchTheFile) {
  auto dir = support::TempDir::Create("engine");
  ASSERT_TRUE(dir.ok());
  const auto data = dir->path() / "d.asbf";
  const auto model = dir->path() / "d.xml";
  ASSERT_TRUE(WriteAsbfWithModel(data, model, SampleTable()).ok());
  ASSERT_TRUE(support::WriteFileAtomically(
                  model, "<DataModel><Field name=\"id\" storage=\"real\"/></DataModel>")
                  .ok());
  auto wrong_storage = ReadAsbfWithModel(data, model);
  ASSERT_FALSE(wrong_storage.ok());
  EXPECT_NE(wrong_storage.message().find("'id' is integer in the data file but real"),
            std::string::npos)
      << wrong_storage.message();
  ASSERT_TRUE(support::WriteFileAtomically(
                  model, "<DataModel><Field name=\"id\" storage=\"integer\"/></DataModel>")
                  .ok());
  EXPECT_FALSE(ReadAsbfWithModel(data, model).ok());  // columns the model does not describe
  ASSERT_TRUE(support::WriteFileAtomically(
                  model, "<DataModel><Field name=\"zz\" storage=\"integer\"/></DataModel>")
                  .ok());
  EXPECT_FALSE(ReadAsbfWithModel(data, model).ok());
}

TEST(AsbfFile, FailedWriteKeepsTheOldFile) {
  auto dir = support::TempDir::Create("engine");
  ASSERT_TRUE(dir.ok());
  const auto data = dir->path() / "d.asbf";
  ASSERT_TRUE(WriteAsbf(data, SampleTable()).ok());
  Table broken = SampleTable();
  broken.columns[0].AppendInt(5);  // one row longer than the others
  EXPECT_FALSE(WriteAsbf(data, broken).ok());
  auto read = ReadAsbf(data);
  ASSERT_TRUE(read.ok());
  EXPECT_EQ(read->RowCount(), 3u);
}

}  // namespace
}  // namespace engine
