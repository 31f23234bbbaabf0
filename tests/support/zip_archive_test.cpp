// Tests of the zip reader and writer: round trips, damaged archives, missing members, AES-256.
#include "support/zip_archive.h"

#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "support/file_io.h"
#include "support/temp_file.h"

namespace support {
namespace {
namespace fs = std::filesystem;

class ZipTest : public ::testing::Test {
 protected:
  void SetUp() override {
    Result<TempDir> made = TempDir::Create("tcm-zip");
    ASSERT_TRUE(made) << made.message();
    dir_ = std::make_unique<TempDir>(std::move(made).value());
  }
  fs::path Path(const std::string& name) const { return dir_->path() / name; }

  std::unique_ptr<TempDir> dir_;
};

std::vector<std::uint8_t> AllBytes() {
  std::vector<std::uint8_t> bytes;
  for (int round = 0; round < 3; ++round) {
    for (int value = 0; value < 256; ++value) bytes.push_back(static_cast<std::uint8_t>(value));
  }
  return bytes;
}

TEST_F(ZipTest, RoundTripOfTextBinaryFileAndFolderMembers) {
  std::string big(300000, 'x');
  for (std::size_t i = 0; i < big.size(); i += 7) big[i] = static_cast<char>('a' + i % 26);
  ASSERT_TRUE(WriteFileAtomically(Path("source.xml"), "<StatXML></StatXML>"));

  ZipArchiveWriter writer;
  ASSERT_TRUE(writer.AddText("TCMGraph.json", "{\"nodes\": []}"));
  ASSERT_TRUE(writer.AddFolder("series"));
  ASSERT_TRUE(writer.AddBytes("series/raw.bin", AllBytes()));
  ASSERT_TRUE(writer.AddText("series/big.txt", big));
  ASSERT_TRUE(writer.AddFile("StatXML.xml", Path("source.xml")));
  ASSERT_TRUE(writer.AddText("empty.json", ""));
  ASSERT_TRUE(writer.WriteTo(Path("model.zip")));

  Result<ZipArchiveReader> reader = ZipArchiveReader::Open(Path("model.zip"));
  ASSERT_TRUE(reader) << reader.message();
  const std::vector<ZipEntry>& entries = reader->Entries();
  ASSERT_EQ(entries.size(), 6u);
  std::vector<std::string> names;
  for (const ZipEntry& entry : entries) names.push_back(entry.name);
  EXPECT_EQ(names, (std::vector<std::string>{"TCMGraph.json", "series/", "series/raw.bin",
                                             "series/big.txt", "StatXML.xml", "empty.json"}));
  EXPECT_TRUE(entries[1].is_folder);
  EXPECT_FALSE(entries[2].is_folder);
  EXPECT_EQ(entries[2].size, 768u);
  EXPECT_FALSE(entries[2].encrypted);

  EXPECT_EQ(*reader->ReadText("TCMGraph.json"), "{\"nodes\": []}");
  EXPECT_EQ(*reader->ReadBytes("series/raw.bin"), AllBytes());
  EXPECT_EQ(*reader->ReadText("series/big.txt"), big);
  EXPECT_EQ(*reader->ReadText("StatXML.xml"), "<StatXML></StatXML>");
  EXPECT_EQ(*reader->ReadText("empty.json"), "");
  EXPECT_TRUE(reader->Contains("series/"));
  EXPECT_FALSE(reader->Contains("tcmgraph.json"));  // names match exactly
  EXPECT_EQ(*ReadZipText(Path("model.zip"), "TCMGraph.json"), "{\"nodes\": []}");
}

TEST_F(ZipTest, MissingMembersAndFoldersAreErrors) {
  ZipArchiveWriter writer;
  ASSERT_TRUE(writer.AddText("TSDPOutput.json", "{}"));
  ASSERT_TRUE(writer.AddFolder("dir/"));
  ASSERT_TRUE(writer.WriteTo(Path("prep.zip")));

  Result<ZipArchiveReader> reader = ZipArchiveReader::Open(Path("prep.zip"));
  ASSERT_TRUE(reader);
  Result<std::string> missing = reader->ReadText("StatXML.xml");
  ASSERT_FALSE(missing);
  EXPECT_NE(missing.message().find("'StatXML.xml'"), std::string::npos);
  EXPECT_NE(missing.message().find("prep.zip"), std::string::npos);
  EXPECT_NE(missing.message().find("no such member"), std::string::npos);
  EXPECT_FALSE(reader->ReadText("dir/"));
  EXPECT_FALSE(ReadZipText(Path("prep.zip"), "modelSummary.json"));
}

TEST_F(ZipTest, DamagedOrAbsentArchivesAreErrors) {
  Result<ZipArchiveReader> absent = ZipArchiveReader::Open(Path("absent.zip"));
  ASSERT_FALSE(absent);
  EXPECT_NE(absent.message().find("absent.zip"), std::string::npos);

  ASSERT_TRUE(WriteFileAtomically(Path("text.zip"), "this is not an archive"));
  Result<ZipArchiveReader> not_zip = ZipArchiveReader::Open(Path("text.zip"));
  ASSERT_FALSE(not_zip);
  EXPECT_NE(not_zip.message().find("Not a zip archive"), std::string::npos) << not_zip.message();

  EXPECT_FALSE(ZipArchiveReader::Open(dir_->path()));

  // A real archive with its tail cut off loses its directory.
  std::string noise;
  for (int i = 0; i < 5000; ++i) noise += std::to_string(i * 7919 % 10007);
  ZipArchiveWriter writer;
  ASSERT_TRUE(writer.AddText("TCMAnalysis.json", noise));
  ASSERT_TRUE(writer.WriteTo(Path("good.zip")));
  std::string bytes = *ReadFileToString(Path("good.zip"));
  ASSERT_TRUE(WriteFileAtomically(Path("cut.zip"), bytes.substr(0, bytes.size() - 30)));
  EXPECT_FALSE(ZipArchiveReader::Open(Path("cut.zip")));

  // Flipped bytes inside the compressed data: the archive opens, the member does not read.
  std::string flipped = bytes;
  std::size_t data_start = 30 + std::string("TCMAnalysis.json").size();
  for (std::size_t i = data_start + 10; i < data_start + 60; ++i) flipped[i] ^= 0x5A;
  ASSERT_TRUE(WriteFileAtomically(Path("flipped.zip"), flipped));
  Result<ZipArchiveReader> damaged = ZipArchiveReader::Open(Path("flipped.zip"));
  ASSERT_TRUE(damaged) << damaged.message();
  Result<std::string> content = damaged->ReadText("TCMAnalysis.json");
  ASSERT_FALSE(content);
  EXPECT_NE(content.message().find("TCMAnalysis.json"), std::string::npos);
}

TEST_F(ZipTest, AesRoundTripAndWrongPassword) {
  ASSERT_TRUE(ZipArchiveWriter::AesSupported()) << "installed libzip lacks AES-256";
  ZipArchiveWriter writer;
  ASSERT_TRUE(writer.AddText("secret.json", "{\"key\": 42}", "s3cret"));
  ASSERT_TRUE(writer.AddBytes("secret.bin", AllBytes(), "s3cret"));
  ASSERT_TRUE(writer.AddText("public.txt", "open"));
  ASSERT_TRUE(writer.WriteTo(Path("locked.zip")));

  // The plain text is nowhere in the file.
  EXPECT_EQ(ReadFileToString(Path("locked.zip"))->find("\"key\": 42"), std::string::npos);

  Result<ZipArchiveReader> right = ZipArchiveReader::Open(Path("locked.zip"), "s3cret");
  ASSERT_TRUE(right) << right.message();
  EXPECT_TRUE(right->Entries()[0].encrypted);
  EXPECT_FALSE(right->Entries()[2].encrypted);
  EXPECT_EQ(*right->ReadText("secret.json"), "{\"key\": 42}");
  EXPECT_EQ(*right->ReadBytes("secret.bin"), AllBytes());
  EXPECT_EQ(*right->ReadText("public.txt"), "open");

  Result<ZipArchiveReader> wrong = ZipArchiveReader::Open(Path("locked.zip"), "guess");
  ASSERT_TRUE(wrong);
  Result<std::string> denied = wrong->ReadText("secret.json");
  ASSERT_FALSE(denied);
  EXPECT_NE(denied.message().find("assword"), std::string::npos) << denied.message();
  EXPECT_EQ(*wrong->ReadText("public.txt"), "open");

  Result<ZipArchiveReader> none = ZipArchiveReader::Open(Path("locked.zip"));
  ASSERT_TRUE(none);
  EXPECT_FALSE(none->ReadText("secret.json"));
}

TEST_F(ZipTest, BadMembersAreRefusedWhenAdded) {
  ZipArchiveWriter writer;
  ASSERT_TRUE(writer.AddText("a.json", "1"));
  EXPECT_FALSE(writer.AddText("a.json", "2"));
  EXPECT_FALSE(writer.AddText("", "x"));
  EXPECT_FALSE(writer.AddText("/abs.json", "x"));
  EXPECT_FALSE(writer.AddText("bad\xFFname", "x"));
  EXPECT_FALSE(writer.AddFile("f.csv", Path("no-such.csv")));
  EXPECT_FALSE(writer.AddFile("d", dir_->path()));
  EXPECT_EQ(writer.size(), 1u);
}

TEST_F(ZipTest, EmptyArchiveIsReadable) {
  ASSERT_TRUE(ZipArchiveWriter().WriteTo(Path("empty.zip")));
  Result<ZipArchiveReader> reader = ZipArchiveReader::Open(Path("empty.zip"));
  ASSERT_TRUE(reader) << reader.message();
  EXPECT_TRUE(reader->Entries().empty());
}

TEST_F(ZipTest, FailedWriteKeepsTheExistingArchive) {
  ZipArchiveWriter first;
  ASSERT_TRUE(first.AddText("TCMGraph.json", "old"));
  ASSERT_TRUE(first.WriteTo(Path("model.zip")));
  std::string before = *ReadFileToString(Path("model.zip"));

  // A source file that disappears before the write.
  ASSERT_TRUE(WriteFileAtomically(Path("input.json"), "{}"));
  ZipArchiveWriter second;
  ASSERT_TRUE(second.AddText("TCMGraph.json", "new"));
  ASSERT_TRUE(second.AddFile("input.json", Path("input.json")));
  fs::remove(Path("input.json"));
  Status status = second.WriteTo(Path("model.zip"));
  EXPECT_FALSE(status);
  EXPECT_NE(status.message().find("model.zip"), std::string::npos);
  EXPECT_EQ(*ReadFileToString(Path("model.zip")), before);

  // A target that is a folder.
  fs::create_directory(Path("folder.zip"));
  EXPECT_FALSE(first.WriteTo(Path("folder.zip")));
  EXPECT_TRUE(fs::is_directory(Path("folder.zip")));

  EXPECT_EQ(*ReadZipText(Path("model.zip"), "TCMGraph.json"), "old");
  std::size_t files = 0;
  for ([[maybe_unused]] const auto& entry : fs::directory_iterator(dir_->path())) ++files;
  EXPECT_EQ(files, 2u);  // model.zip and folder.zip: no temporary left behind
}

}  // namespace
}  // namespace support
