// Tests of jobs and stages: pipelines over an input stream and files, result streams, failures
// reported as messages, and no exception escaping on any script.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <set>

#include "engine/data/asbf.h"
#include "engine/job/engine.h"
#include "engine/stages/registry.h"
#include "support/temp_file.h"
#include "support/time.h"

namespace engine {
namespace {

// An input stream over rows given as texts, typed by the data model ("" in a row is missing).
class FakeStream : public InputStream {
 public:
  FakeStream(std::string name, DataModel model, std::vector<std::vector<std::string>> rows)
      : name_(std::move(name)), model_(std::move(model)), rows_(std::move(rows)) {}
  std::string Name() const override { return name_; }
  std::string DataModelXml() const override { return DataModelToXml(model_); }
  bool Next() override { return ++row_ < static_cast<long>(rows_.size()); }
  bool Value(std::size_t index, const void** data, std::size_t* length) override {
    if (row_ < 0 || row_ >= static_cast<long>(rows_.size()) || index >= model_.fields.size()) {
      return false;
    }
    const std::string& text = rows_[row_][index];
    if (text.empty()) {
      *data = nullptr;
      return true;
    }
    switch (model_.fields[index].storage) {
      case Storage::kInteger:
        int_ = std::stoi(text);
        *data = &int_;
        *length = 4;
        break;
      case Storage::kReal:
        real_ = std::stod(text);
        *data = &real_;
        *length = 8;
        break;
      case Storage::kString:
        *data = text.data();
        *length = text.size();
        break;
    }
    return true;
  }

 private:
  std::string name_;
  DataModel model_;
  std::vector<std::vector<std::string>> rows_;
  long row_ = -1;
  std::int32_t int_ = 0;
  double real_ = 0;
};

DataModel StreamModel() {
  DataModel model;
  model.fields.push_back({"region", Storage::kString, "nominal", "", "", "", {}});
  model.fields.push_back({"units", Storage::kInteger, "continuous", "", "", "", {}});
  model.fields.push_back({"when", Storage::kString, "", "", "", "", {}});
  return model;
}

std::shared_ptr<InputStream> SampleStream() {
  return std::make_shared<FakeStream>(
      "_activeTCMDataset_", StreamModel(),
      std::vector<std::vector<std::string>>{{"west", "30", "2015-03-01 10:20:30"},
                                            {"east", "", "2015-03-02"},
                                            {"", "10", "08:15:00"},
                                            {"east", "20", "not a date"}});
}

std::string ReaderConf() {
  return "val readerConf = {\"dataSource\":\"_activeTCMDataset_\",\"readErrorThreshold\":-1}\n";
}

std::string FileWriter(const std::filesystem::path& data, const std::filesystem::path& model) {
  return "{\"dataDestination\":\"file:///" + data.string() + "\",\"dataModelDestination\":\"file:///" +
         model.string() + "\",\"type\":\"asbf\"}";
}

// All rows of a result stream, one text per value ("." for missing).
std::vector<std::vector<std::string>> Rows(RowIterator& rows, std::size_t columns,
                                           const DataModel& model) {
  std::vector<std::vector<std::string>> out;
  while (rows.Next()) {
    std::vector<std::string> row;
    for (std::size_t c = 0; c < columns; ++c) {
      const void* data = nullptr;
      std::size_t length = 0;
      EXPECT_TRUE(rows.Value(c, &data, &length));
      if (data == nullptr) {
        row.push_back(".");
      } else if (model.fields[c].storage == Storage::kInteger) {
        std::int32_t v;
        std::memcpy(&v, data, 4);
        row.push_back(std::to_string(v));
      } else if (model.fields[c].storage == Storage::kReal) {
        double v;
        std::memcpy(&v, data, 8);
        row.push_back(std::to_string(static_cast<long long>(v)));
      } else {
        row.emplace_back(static_cast<const char*>(data), length);
      }
    }
    out.push_back(std::move(row));
  }
  return out;
}

TEST(Job, ReadSortWriteAndReadBack) {
  auto dir = support::TempDir::Create("engine");
  ASSERT_TRUE(dir.ok());
  const auto data = dir->path() / "outputdata.asbf";
  const auto model = dir->path() / "outputdatamodel";
  Job job;
  const std::string script = ReaderConf() +
                             "val sortConf = {\"fields\":[\"region\",{\"field\":\"units\","
                             "\"descending\":true}]}\n"
                             "val dataWriterConf = " + FileWriter(data, model) + "\n" +
                             "read(readerConf)->sort(sortConf)->write(dataWriterConf)";
  ASSERT_TRUE(job.Prepare(script)) << job.Messages().front().text;
  job.AddInputIterator(SampleStream());
  ASSERT_TRUE(job.Execute()) << job.Messages().front().text;

  const std::vector<std::vector<std::string>> expected = {
      {".", "10", "08:15:00", "3"},
      {"east", "20", "not a date", "4"},
      {"east", ".", "2015-03-02", "2"},
      {"west", "30", "2015-03-01 10:20:30", "1"}};
  auto stream = job.GetOutputIterator("outputdata.asbf");
  ASSERT_NE(stream, nullptr);
  auto stream_model = DataModelFromXml(stream->DataModelXml());
  ASSERT_TRUE(stream_model.ok());
  ASSERT_EQ(stream_model->fields.size(), 4u);
  EXPECT_EQ(stream_model->fields[3].name, "$casecount");
  EXPECT_EQ(Rows(*stream, 4, *stream_model), expected);
  EXPECT_EQ(job.GetOutputIterator("outputdata"), nullptr);

  // The output flows' form of the same sort gives the same rows.
  Job named;
  ASSERT_TRUE(named.Prepare(ReaderConf() +
                            "val sortConfig = {\"sortFields\":[{\"direction\":\"ascending\","
                            "\"name\":\"region\"},{\"direction\":\"descending\",\"name\":"
                            "\"units\"}]}\nval w = {\"resultStream\":\"sorted\"}\n"
                            "read(readerConf)->sort(sortConfig)->write(w)"))
      << named.Messages().front().text;
  named.AddInputIterator(SampleStream());
  ASSERT_TRUE(named.Execute()) << named.Messages().front().text;
  auto sorted = named.GetOutputIterator("sorted");
  ASSERT_NE(sorted, nullptr);
  EXPECT_EQ(Rows(*sorted, 4, *stream_model), expected);

  // The files hold the same, and a second job reads them through a filesystem reader.
  Job second;
  const auto copy = dir->path() / "copy.asbf";
  ASSERT_TRUE(second.Prepare(
      "val readerConf = {\"filesystem\":{\"dataModel\":\"file:///" + model.string() +
      "\",\"locations\":[{\"path\":\"file:///" + data.string() +
      "\",\"parser\":{\"name\":\"asbf\"}}]}}\n\nval w = " +
      FileWriter(copy, dir->path() / "copy.xml") + "\nread(readerConf)->\nwrite(w)\n"))
      << second.Messages().front().text;
  ASSERT_TRUE(second.Execute()) << second.Messages().front().text;
  auto again = second.GetOutputIterator("copy.asbf");
  ASSERT_NE(again, nullptr);
  EXPECT_EQ(Rows(*again, 4, *stream_model), expected);
  second.Clean();
  EXPECT_EQ(second.GetOutputIterator("copy.asbf"), nullptr);
}

TEST(Job, ReclassifyFieldToTimestampOverThreePatternsAndBack) {
  Job job;
  const std::string script =
      ReaderConf() +
      "val toTS = ctx => x => (\"when\", toTimestamp(x.when, \"yyyy-MM-dd HH:mm:ss\", "
      "\"yyyy-MM-dd\", \"HH:mm:ss\", \"en_US\", date(2000,1,2)))\n"
      "val toStr = ctx => x => (\"text\", format(x.when, \"dd.MM.yyyy HH:mm\", \"en_US\"))\n"
      "val w = {\"resultStream\":\"out\"}\n"
      "read(readerConf)->reclassifyField(_,toTS)->reclassifyField(_,toStr)->write(w)";
  ASSERT_TRUE(job.Prepare(script)) << job.Messages().front().text;
  job.AddInputIterator(SampleStream());
  ASSERT_TRUE(job.Execute()) << job.Messages().front().text;
  auto stream = job.GetOutputIterator("out");
  ASSERT_NE(stream, nullptr);
  auto model = DataModelFromXml(stream->DataModelXml());
  ASSERT_TRUE(model.ok());
  ASSERT_EQ(model->fields[2].name, "when");
  EXPECT_EQ(model->fields[2].storage, Storage::kReal);
  ASSERT_EQ(model->fields[4].name, "text");
  EXPECT_EQ(model->fields[4].storage, Storage::kString);
  const auto day = [](int y, int m, int d) {
    return std::to_string(support::DaysFromCivil(y, m, d) * support::kSecondsPerDay);
  };
  auto rows = Rows(*stream, 5, *model);
  ASSERT_EQ(rows.size(), 4u);
  EXPECT_EQ(rows[0][2], std::to_string(std::stoll(day(2015, 3, 1)) + 37230));
  EXPECT_EQ(rows[1][2], day(2015, 3, 2));
  // A time of day alone lands on the base date.
  EXPECT_EQ(rows[2][2], std::to_string(std::stoll(day(2000, 1, 2)) + 8 * 3600 + 15 * 60));
  EXPECT_EQ(rows[3][2], ".");
  EXPECT_EQ(rows[0][4], "01.03.2015 10:20");
  EXPECT_EQ(rows[2][4], "02.01.2000 08:15");
  EXPECT_EQ(rows[3][4], ".");
  // The unparsable text is reported as a warning, not an error.
  ASSERT_EQ(job.Messages().size(), 1u);
  EXPECT_EQ(job.Messages()[0].severity, Severity::kWarning);
  EXPECT_NE(job.Messages()[0].text.find("1 values of 'when'"), std::string::npos);
}

TEST(Job, FailuresAreMessagesWithTheirPlace) {
  struct Case {
    std::string script;
    bool prepares;
    const char* fragment;
  };
  const std::vector<Case> cases = {
      {"val a = {}\nnosuch:stage(a)", false, "line 2: unknown stage 'nosuch:stage'"},
      {"val a = {}\nread(a)", false, "neither 'dataSource' nor 'filesystem'"},
      {"val a = []\nread(a)", false, "'a' must be a JSON object"},
      {"val a = {\"fields\": []}\n" + ReaderConf() + "read(readerConf)->sort(a)", false,
       "stage 'sort' (line 3): 'fields' (or 'sortFields') must be a non-empty array"},
      {ReaderConf() + "read(readerConf)->reclassifyField(_,readerConf)", false,
       "argument 2 must be a function"},
      {ReaderConf() + "val s = {\"fields\":[\"nope\"]}\nread(readerConf)->sort(s)", true,
       "stage 'sort' (line 3): the field 'nope' is not in the data"},
      {ReaderConf() + "read(readerConf)->reclassifyField(_,ctx => x => (\"a\", nope(x.units)))",
       true, "unknown function 'nope'"},
      {ReaderConf() + "read(readerConf)->reclassifyField(_,ctx => x => (\"a\", x.missing))", true,
       "the field 'missing' is not in the data"},
      {"val r = {\"filesystem\":{\"dataModel\":\"file:////nonexistent/m\",\"locations\":"
       "[{\"path\":\"file:////nonexistent/d\",\"parser\":{\"name\":\"asbf\"}}]}}\nread(r)",
       true, "/nonexistent/m"},
      {"val r = {\"dataSource\":\"other\"}\nread(r)", true, "not 'other'"},
      {"val w = {\"dataDestination\":\"file:////nonexistent/dir/d\",\"dataModelDestination\":"
       "\"file:////nonexistent/dir/m\"}\n" + ReaderConf() + "read(readerConf)->write(w)",
       true, "stage 'write' (line 3)"},
  };
  for (const Case& c : cases) {
    Job job;
    ASSERT_EQ(job.Prepare(c.script), c.prepares) << c.script;
    job.AddInputIterator(SampleStream());
    EXPECT_FALSE(job.Execute()) << c.script;
    ASSERT_FALSE(job.Messages().empty());
    bool found = false;
    for (const Message& message : job.Messages()) {
      EXPECT_EQ(message.severity, Severity::kError);
      found = found || message.text.find(c.fragment) != std::string::npos;
    }
    EXPECT_TRUE(found) << c.script << "\n -> " << job.Messages().front().text;
    EXPECT_EQ(job.TakeMessages().size() > 0, true);
    EXPECT_TRUE(job.Messages().empty());
  }
  // Without a bound stream the read fails; nothing was prepared, nothing runs.
  Job job;
  ASSERT_TRUE(job.Prepare(ReaderConf() + "read(readerConf)"));
  EXPECT_FALSE(job.Execute());
  EXPECT_NE(job.Messages().back().text.find("no input stream is bound"), std::string::npos);
  Job unprepared;
  EXPECT_FALSE(unprepared.Execute());
}

TEST(Job, NoExceptionEscapesOnGarbageScripts) {
  const std::string valid =
      ReaderConf() +
      "val toTS = ctx => x => (\"when\", toTimestamp(x.when, \"yyyy-MM-dd\", \"HH:mm:ss\", "
      "\"en\", date(1970,1,1)))\n"
      "val s = {\"fields\":[\"units\"]}\nval w = {\"resultStream\":\"o\"}\n"
      "read(readerConf)->reclassifyField(_,toTS)->reclassifyField(_,ctx => x => (\"F\", "
      "match{case x.\"$casecount\" == 1 => x.units case _ => \"t\"}))->sort(s)->write(w)";
  {
    Job job;
    ASSERT_TRUE(job.Prepare(valid)) << job.Messages().front().text;
    job.AddInputIterator(SampleStream());
    ASSERT_TRUE(job.Execute()) << job.Messages().front().text;
  }
  std::mt19937 random(12345);
  const std::string alphabet = "{}[]()\"=>-,:._x\n ctxvalmatchcase";
  for (int round = 0; round < 3000; ++round) {
    std::string script = valid;
    const int edits = 1 + static_cast<int>(random() % 6);
    for (int e = 0; e < edits && !script.empty(); ++e) {
      const std::size_t at = random() % script.size();
      switch (random() % 3) {
        case 0: script.erase(at, 1 + random() % 8); break;
        case 1: script.insert(at, 1, alphabet[random() % alphabet.size()]); break;
        default: script[at] = static_cast<char>(random() % 256); break;
      }
    }
    Job job;
    bool prepared = false;
    EXPECT_NO_THROW(prepared = job.Prepare(script)) << script;
    if (!prepared) {
      EXPECT_FALSE(job.Messages().empty()) << script;
      continue;
    }
    job.AddInputIterator(SampleStream());
    bool executed = false;
    EXPECT_NO_THROW(executed = job.Execute()) << script;
    if (!executed) {
      EXPECT_FALSE(job.Messages().empty()) << script;
    }
  }
}

TEST(Engine, ListsItsStagesFromTheRegistry) {
  // The stages that flow scripts name, each once and each made by its factory.
  const auto names = Engine::StageNames();
  const std::set<std::string> distinct(names.begin(), names.end());
  EXPECT_EQ(distinct.size(), names.size());
  for (const char* name : {"read", "write", "sort", "reclassifyField", "tsdp:tsdp", "rtsdp:rtsdp",
                           "tsdp:convertor", "tcm:tcm", "tcm:summary", "tcm:score", "tcm:ar"}) {
    EXPECT_TRUE(distinct.count(name)) << name;
    EXPECT_NE(MakeStage(name), nullptr) << name;
  }
  EXPECT_EQ(MakeStage("tcm:nosuch"), nullptr);
  EXPECT_NE(Engine().NewJob(), nullptr);
}

}  // namespace
}  // namespace engine
