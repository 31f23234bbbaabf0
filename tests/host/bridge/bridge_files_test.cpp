// Tests of the bridge's file services: archive members, traces, file names and the fetch of a
// file, and the stop processor's time limit.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include "host/bridge/as_stop_processor.h"
#include "host/bridge/as_trace.h"
#include "host/bridge/ext_name_str.h"
#include "host/bridge/zip_reader.h"
#include "host/session.h"
#include "support/temp_file.h"
#include "support/zip_archive.h"

namespace {

namespace fs = std::filesystem;

std::string ReadFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

TEST(ZipReader, ReadsMembersAndWalksTheArchive) {
  auto dir = support::TempDir::Create("bridge");
  ASSERT_TRUE(dir.ok());
  const fs::path archive = dir->path() / "model.tcm";
  support::ZipArchiveWriter writer;
  ASSERT_TRUE(writer.AddText("TCMGraph.json", "{\"nodes\":[]}"));
  ASSERT_TRUE(writer.AddFolder("parts"));
  ASSERT_TRUE(writer.AddText("parts/StatXML.xml", "<FieldSummaries/>"));
  ASSERT_TRUE(writer.WriteTo(archive));

  ZipReader reader(archive.string());
  ASSERT_TRUE(reader.IsOpen()) << reader.Error();
  std::string text = "unchanged";
  EXPECT_FALSE(reader.ExportString(text)); // no member chosen yet
  EXPECT_FALSE(reader.GotoFile("TSDPOutput.json"));
  EXPECT_FALSE(reader.GotoFile("tcmgraph.json")); // names match exactly
  ASSERT_TRUE(reader.GotoFile("TCMGraph.json"));
  ASSERT_TRUE(reader.ExportString(text));
  EXPECT_EQ(text, "{\"nodes\":[]}");

  std::vector<std::pair<std::string, bool>> walked;
  std::string name;
  bool is_folder = false;
  for (bool more = reader.GetFirst(name, is_folder); more; more = reader.GetNext(name, is_folder)) {
    walked.emplace_back(name, is_folder);
  }
  const std::vector<std::pair<std::string, bool>> expected = {
      {"TCMGraph.json", false}, {"parts/", true}, {"parts/StatXML.xml", false}};
  EXPECT_EQ(walked, expected);
  ASSERT_TRUE(reader.GotoFile("parts/"));
  EXPECT_FALSE(reader.ExportString(text)); // a folder has no content
  ASSERT_TRUE(reader.GotoFile("parts/StatXML.xml"));
  ASSERT_TRUE(reader.ExportString(text));
  EXPECT_EQ(text, "<FieldSummaries/>");

  // A missing file and a file that is no archive: every operation answers false.
  for (const fs::path& bad : {dir->path() / "none.zip", dir->path() / "plain.txt"}) {
    std::ofstream(dir->path() / "plain.txt") << "not an archive";
    ZipReader broken(bad.string());
    EXPECT_FALSE(broken.IsOpen());
    EXPECT_FALSE(broken.Error().empty());
    EXPECT_FALSE(broken.GotoFile("TCMGraph.json"));
    EXPECT_FALSE(broken.GetFirst(name, is_folder));
    EXPECT_FALSE(broken.ExportString(text));
  }
}

TEST(Trace, WritesScriptsAndJsonOnlyWhenOn) {
  auto dir = support::TempDir::Create("bridge");
  ASSERT_TRUE(dir.ok());
  const fs::path folder = dir->path() / "trace"; // made on the first trace
  host::Session session;
  host::SessionScope scope(session);

  // Off: nothing is written anywhere.
  EXPECT_FALSE(ASTracer().IsOn());
  traceASLFile("read(readerConf)", "TCM", "TSDP");
  EXPECT_FALSE(fs::exists(folder));

  session.trace_dir = folder.string();
  EXPECT_TRUE(ASTracer());
  traceASLFile("read(readerConf)", "TCM", "TSDP");
  traceASLFile("second", "TCM", "TSDP");
  traceJSONFile("{\"a\":1}", "TCM", "STATJSON");
  traceASLFile("scenario", "TCMANALYSIS_OUTPUT", "price up/1");
  EXPECT_EQ(ReadFile(folder / "TCM_TSDP.asl"), "read(readerConf)");
  EXPECT_EQ(ReadFile(folder / "TCM_TSDP_2.asl"), "second"); // the first is kept
  EXPECT_EQ(ReadFile(folder / "TCM_STATJSON.json"), "{\"a\":1}");
  EXPECT_EQ(ReadFile(folder / "TCMANALYSIS_OUTPUT_price_up_1.asl"), "scenario");

  // A trace folder that cannot be made: the trace is skipped quietly.
  std::ofstream(dir->path() / "file") << "x";
  session.trace_dir = (dir->path() / "file" / "sub").string();
  EXPECT_EQ(ASTracer().Write("x", "TCM", "TSDP", "asl"), "");
  traceJSONFile("x", "TCM", "TSDP");
}

TEST(ExtNameStr, AccessRemoveOpenAndFetch) {
  auto dir = support::TempDir::Create("bridge");
  ASSERT_TRUE(dir.ok());
  const fs::path path = dir->path() / "model.xml";

  ExtNameStr name;
  name.SetGeneric("file://" + path.string());
  EXPECT_EQ(name.GetPath(), path.string());
  EXPECT_EQ(name.Access(0), 1);
  EXPECT_EQ(FetchFile::fetch(path.string(), true, true), "");

  std::ofstream out;
  ASSERT_TRUE(name.Open(out, ExtNameStr::kOut | ExtNameStr::kBinary));
  out << "<DataModel/>";
  out.close();
  EXPECT_EQ(name.Access(0), 0);
  EXPECT_EQ(FetchFile::fetch(path.string(), true, true), path.string());
  EXPECT_EQ(FetchFile::fetch("file://" + path.string(), true, true), path.string());
  EXPECT_EQ(FetchFile::fetch(dir->path().string(), true, true), ""); // a folder

  // Writing again replaces the content; reading gives it back.
  std::fstream again;
  ASSERT_TRUE(name.Open(again, 34));
  again << "<DataModel></DataModel>";
  again.close();
  std::ifstream in;
  ASSERT_TRUE(name.Open(in, ExtNameStr::kIn));
  std::string content;
  std::getline(in, content);
  EXPECT_EQ(content, "<DataModel></DataModel>");
  in.close();

  EXPECT_TRUE(name.remove());
  EXPECT_EQ(name.Access(0), 1);
  EXPECT_TRUE(name.remove()); // already gone
  ExtNameStr folder(dir->path().string());
  EXPECT_FALSE(folder.remove());
  EXPECT_TRUE(fs::exists(dir->path()));
  ExtNameStr unnamed;
  EXPECT_FALSE(unnamed.remove());
  EXPECT_FALSE(unnamed.Open(out, ExtNameStr::kOut));
  ExtNameStr missing_folder((dir->path() / "no" / "file").string());
  EXPECT_FALSE(missing_folder.Open(out, ExtNameStr::kOut));
}

TEST(ASStopProcessor, CancelResetAndTimeLimit) {
  ASStopProcessor stop(0.0);
  EXPECT_FALSE(stop.IsCancelled());
  std::thread other([&stop] { stop.Cancel(); });
  other.join();
  EXPECT_TRUE(stop.IsCancelled());
  stop.Reset();
  EXPECT_FALSE(stop.IsCancelled());

  ASStopProcessor limited(1e-6);
  std::this_thread::sleep_for(std::chrono::milliseconds(2));
  EXPECT_TRUE(limited.IsCancelled());
}

} // namespace
