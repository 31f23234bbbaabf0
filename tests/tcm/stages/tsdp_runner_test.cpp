// Tests of TSDPRunner through the engine: the time string conversion, the preparation flow with
// its read-back and file answer, the settings of TCM APPLY and TCM ANALYSIS, the convertor of
// time points, and the job files' life.
#include "tcm/stages/tsdp_runner.h"

#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iomanip>
#include <map>
#include <optional>
#include <set>
#include <sstream>

#include <gtest/gtest.h>

#include "host/bridge/app_host.h"
#include "host/bridge/jni_json.h"
#include "host/bridge/zip_reader.h"
#include "support/temp_file.h"
#include "support/time.h"
#include "support/zip_archive.h"
#include "tcm/analysis/tcm_anly_spec.h"
#include "tcm/apply/tcm_apply_spec.h"
#include "tcm/model/tcm_model_parser.h"
#include "tcm/model/tcm_model_spec.h"
#include "tcm/run_frame.h"
#include "tcm/tcm_test_util.h"

namespace {

namespace fs = std::filesystem;
using Result = tcm_test::ParseResult<TCMModelValidSpecs>;

using tcm_test::Seconds;

// region (E, W), day (2015-01-01 on, one per region and day), sales: 20 days.
std::shared_ptr<host::Dataset> Daily() {
  auto dataset = tcm_test::MakeDataset({{"region", 8, "A8"}, {"day", 0, "DATE11"}, {"sales"}});
  dataset->SetCaseCount(40);
  for (int i = 0; i < 40; ++i) {
    dataset->SetText(i, 0, i % 2 == 0 ? "E" : "W");
    dataset->SetNumber(i, 1, static_cast<double>(Seconds(2015, 1, 1 + i / 2)));
    dataset->SetNumber(i, 2, 10.0 + i);
  }
  return dataset;
}

Result Model(const std::string& text, std::shared_ptr<host::Dataset> dataset) {
  return tcm_test::Parse<TCMModelValidSpecs, TCMModelParser>(
      "TCM MODEL " + text + ".", dataset, "TCM MODEL", "Temporal Causal Modeling");
}

// A result stream's rows as texts by field name ("." for missing; reals with all their digits).
using Rows = std::vector<std::map<std::string, std::string>>;

Rows ReadRows(EmbeddedAS::RowDataIterator& stream) {
  const CFMetaData metadata(stream.getDataModel(), nullptr);
  Rows rows;
  while (stream.next() == 0) {
    std::map<std::string, std::string> row;
    for (std::size_t i = 0; i < metadata.FieldCount(); ++i) {
      const CFField* field = metadata.GetField(i);
      const void* data = nullptr;
      std::size_t length = 0;
      EXPECT_EQ(stream.getValue(i, &data, &length), 0);
      std::string& cell = row[field->GetName()];
      if (data == nullptr) {
        cell = ".";
      } else if (field->GetStorage() == CFStorage::kString) {
        cell.assign(static_cast<const char*>(data), length);
      } else if (field->GetStorage() == CFStorage::kInteger) {
        std::int32_t value = 0;
        std::memcpy(&value, data, sizeof value);
        cell = std::to_string(value);
      } else {
        double value = 0;
        std::memcpy(&value, data, sizeof value);
        std::ostringstream text;
        text << std::setprecision(17) << value;
        cell = text.str();
      }
    }
    rows.push_back(std::move(row));
  }
  return rows;
}

std::string ReadFile(const fs::path& path) {
  std::ifstream stream(path, std::ios::binary);
  std::ostringstream text;
  text << stream.rdbuf();
  return text.str();
}

const std::string kDailySettings =
    "/DATASETTINGS DIMENSIONS=region TIMETYPE=DATETIMEVAR TIMEVAR=day INPUTINTERVAL=DAY "
    "/FIELDSGROUP /FIELDS TARGETS=sales ";

class TsdpRunnerTest : public ::testing::Test, protected tcm_test::RunFrame {
 protected:
  void SetUp() override {
    auto dir = support::TempDir::Create("tsdptrace");
    ASSERT_TRUE(dir.ok());
    traces_.emplace(std::move(*dir));
    session_.document = &document_;
    session_.command.name = "TCM MODEL";
    session_.trace_dir = traces_->path().string();
    scope_ = std::make_unique<host::SessionScope>(session_);
    CFAppHost::getInstance().setLocale("en_US");
  }

  // The daily dataset read with kDailySettings, and the frame of a run over it.
  Result OpenDaily() {
    const auto dataset = Daily();
    Result r = Model(kDailySettings, dataset);
    Open(dataset, r.used);
    return r;
  }

  // The converted data, read back through a job of their own.
  Rows Converted(TSDPRunner& tsdp) {
    const std::string script = tsdp.Blocks().ConvertedReaderBlock() +
                               "val back = {\"resultStream\":\"back\"}\n"
                               "read(readerConf)->write(back)";
    Rows rows;
    EXPECT_TRUE(runner_->prepareASLJob(script));
    EXPECT_TRUE(runner_->execute());
    if (EmbeddedAS::RowDataIterator* stream = runner_->getOutputIterator("back")) {
      rows = ReadRows(*stream);
    } else {
      ADD_FAILURE() << "no result stream";
    }
    runner_->displayAllMessages(true);
    runner_->cleanExecution();
    return rows;
  }

  fs::path Trace(const std::string& name) const { return traces_->path() / name; }

  std::vector<const host::MessageRecord*> Errors() const {
    std::vector<const host::MessageRecord*> errors;
    for (const host::MessageRecord* message : document_.Messages()) {
      if (message->severity == host::Severity::Error)
        errors.push_back(message);
    }
    return errors;
  }

  std::string Describe() const {
    std::string text;
    for (const host::MessageRecord* message : document_.Messages())
      text += message->text + "\n";
    return text;
  }

  std::optional<support::TempDir> traces_;
};

TEST_F(TsdpRunnerTest, DateTimeDataPassTheConversionUnchanged) {
  Result r = OpenDaily();
  ASSERT_TRUE(r.ok) << r.Describe();
  TSDPRunner tsdp(r.spec, *runner_, *iterator_, nullptr);
  ASSERT_TRUE(tsdp.ConvertTimeStrings()) << Describe();
  EXPECT_EQ(ReadFile(Trace("TCM_TimeStrConversion.asl")).find("toTS"), std::string::npos);

  const Rows rows = Converted(tsdp);
  ASSERT_EQ(rows.size(), 40u);
  for (std::size_t i = 0; i < rows.size(); ++i) {
    EXPECT_EQ(rows[i].at("region"), i % 2 == 0 ? "E" : "W") << i;
    EXPECT_EQ(rows[i].at("day"), std::to_string(Seconds(2015, 1, 1 + static_cast<int>(i) / 2)));
    EXPECT_EQ(rows[i].at("sales"), std::to_string(10 + i));
  }
  EXPECT_TRUE(Errors().empty()) << Describe();
}

TEST_F(TsdpRunnerTest, IsoTimeStringsBecomeTimestamps) {
  auto dataset = tcm_test::MakeDataset({{"stamp", 20, "A20"}, {"sales"}}, 3);
  const std::vector<std::string> stamps = {"2015-01-02 03:04:05", "2015-01-03",
                                           "2016-02-29 23:59:59"};
  for (int i = 0; i < 3; ++i) {
    dataset->SetText(i, 0, stamps[i]);
    dataset->SetNumber(i, 1, 1.5 * i);
  }
  Result r = Model("/DATASETTINGS TIMETYPE=ISO8601 TIMEVAR=stamp INPUTINTERVAL=DAY "
                   "/FIELDSGROUP /FIELDS TARGETS=sales",
                   dataset);
  ASSERT_TRUE(r.ok) << r.Describe();
  Open(dataset, r.used);
  TSDPRunner tsdp(r.spec, *runner_, *iterator_, nullptr);
  ASSERT_TRUE(tsdp.ConvertTimeStrings()) << Describe();
  EXPECT_NE(ReadFile(Trace("TCM_TimeStrConversion.asl")).find("->reclassifyField(_,toTS)->"),
            std::string::npos);

  const Rows rows = Converted(tsdp);
  ASSERT_EQ(rows.size(), 3u);
  EXPECT_EQ(rows[0].at("stamp"), std::to_string(Seconds(2015, 1, 2, 3, 4, 5)));
  EXPECT_EQ(rows[1].at("stamp"), std::to_string(Seconds(2015, 1, 3)));
  EXPECT_EQ(rows[2].at("stamp"), std::to_string(Seconds(2016, 2, 29, 23, 59, 59)));
  EXPECT_EQ(rows[2].at("sales"), "3");
  EXPECT_TRUE(Errors().empty()) << Describe();
}

TEST_F(TsdpRunnerTest, CancelledOrFailedConversions) {
  Result r = OpenDaily();
  ASSERT_TRUE(r.ok) << r.Describe();
  {
    // A stop raised by the user: false, and the engine's complaint about it is not shown.
    TSDPRunner tsdp(r.spec, *runner_, *iterator_, nullptr);
    stop_.Cancel();
    EXPECT_FALSE(tsdp.ConvertTimeStrings());
    EXPECT_TRUE(document_.Messages().empty()) << Describe();
    EXPECT_FALSE(runner_->HasJob());
    EXPECT_TRUE(runner_->PendingMessages().empty());
    stop_.Reset();
  }
  {
    // A failing job that nobody cancelled shows what the engine said: the time field of an
    // ISO 8601 conversion is not in the stream.
    Result iso = r;
    iso.spec.timeType = "ISO8601";
    iso.spec.timeVars.timeVar = "nosuch";
    TSDPRunner tsdp(iso.spec, *runner_, *iterator_, nullptr);
    EXPECT_FALSE(tsdp.ConvertTimeStrings());
    EXPECT_FALSE(Errors().empty());
    EXPECT_EQ(Errors().front()->source, "ENGINE");
    EXPECT_FALSE(runner_->HasJob());
  }

  // An iterator that cannot be read: false before any script is composed or job started.
  fs::remove(Trace("TCM_TimeStrConversion.asl"));
  ProcedureDataSource none(nullptr);
  ASDataModel noModel(&none, true, true, false);
  ASRawDataIterator broken(noModel, nullptr);
  ASSERT_EQ(broken.GetStatus(), 1);
  const std::size_t shown = document_.Messages().size();
  // A job of someone else's that must stay untouched.
  ASSERT_TRUE(runner_->prepareASLJob(
      "val readerConf = {\"dataSource\":\"_activeTCMDataset_\",\"readErrorThreshold\":-1}\n"
      "val w = {\"resultStream\":\"x\"}\nread(readerConf)->write(w)"));
  TSDPRunner tsdp(r.spec, *runner_, broken, nullptr);
  EXPECT_FALSE(tsdp.ConvertTimeStrings());
  EXPECT_TRUE(runner_->HasJob());
  EXPECT_FALSE(fs::exists(Trace("TCM_TimeStrConversion.asl")));
  EXPECT_EQ(document_.Messages().size(), shown);
  runner_->cleanExecution();
}

TEST_F(TsdpRunnerTest, DestructionRemovesTheSixJobFiles) {
  Result r = OpenDaily();
  ASSERT_TRUE(r.ok) << r.Describe();
  std::vector<std::string> paths;
  {
    TSDPRunner tsdp(r.spec, *runner_, *iterator_, nullptr);
    ASSERT_TRUE(tsdp.ConvertTimeStrings());
    ASSERT_TRUE(tsdp.RunTSDP()) << Describe();
    for (const auto* file :
         {&tsdp.jsonFile, &tsdp.qualityFile, &tsdp.convertedData, &tsdp.convertedDataModel,
          &tsdp.preparedData, &tsdp.preparedDataModel}) {
      paths.push_back((*file)->getAbsolutePath());
      EXPECT_TRUE(fs::exists(paths.back())) << paths.back();
      EXPECT_GT(fs::file_size(paths.back()), 0u) << paths.back();
    }
    EXPECT_EQ(tsdp.jsonFile->getName(), "JSON");
    EXPECT_EQ(tsdp.qualityFile->getName(), "TSDP_DataQuality");
  }
  EXPECT_EQ(std::set<std::string>(paths.begin(), paths.end()).size(), 6u);
  for (const std::string& path : paths)
    EXPECT_FALSE(fs::exists(path)) << path;
}

TEST_F(TsdpRunnerTest, PreparationReadsBackTheRangeOfTheData) {
  const auto dataset = Daily();
  Result r = Model(kDailySettings +
                       "/BUILDOPTIONS ESTIMATIONPERIOD=TIMES(START='2014-12-01' END='2015-03-31' "
                       "FORMAT=ISO8601)",
                   dataset);
  ASSERT_TRUE(r.ok) << r.Describe();
  Open(dataset, r.used);
  TSDPRunner tsdp(r.spec, *runner_, *iterator_, nullptr);
  ASSERT_TRUE(tsdp.ConvertTimeStrings()) << Describe();
  ASSERT_TRUE(tsdp.RunTSDP()) << Describe();
  EXPECT_TRUE(Errors().empty()) << Describe();
  // The stage's days, turned into seconds: the data's range within the one asked for.
  EXPECT_EQ(r.spec.buildOptions.startTime, Seconds(2015, 1, 1));
  EXPECT_EQ(r.spec.buildOptions.endTime, Seconds(2015, 1, 20));

  // The script ran as traced, with the composed configuration and both archives.
  const std::string script = ReadFile(Trace("TCM_TSDP.asl"));
  EXPECT_EQ(script, tsdp.PreparationScript());
  EXPECT_NE(script.find("val tsdpConf = " + tsdp.Conf().toString() + "\n"), std::string::npos);
  EXPECT_NE(script.find("\"name\":\"TSDP_DataQuality\""), std::string::npos);
  EXPECT_EQ(tsdp.MetricFields(), std::vector<std::string>{"sales"});
  // The prepared data: one row per region and day.
  EXPECT_TRUE(runner_->prepareASLJob(tsdp.Blocks().PreparedReaderBlock() +
                                     "val back = {\"resultStream\":\"back\"}\n"
                                     "read(readerConf)->write(back)"));
  ASSERT_TRUE(runner_->execute());
  ASSERT_NE(runner_->getOutputIterator("back"), nullptr);
  EXPECT_EQ(ReadRows(*runner_->getOutputIterator("back")).size(), 40u);
  runner_->cleanExecution();

  // A job that fails before writing anything: false, the engine's reasons shown, and the
  // estimation period as the user gave it.
  Result broken = r;
  broken.spec.buildOptions.startTime = Seconds(2014, 12, 1);
  broken.spec.fieldsGroups[0].fields[0].targets = {QuorVarName("nosuch")};
  TSDPRunner failing(broken.spec, *runner_, *iterator_, nullptr);
  ASSERT_TRUE(failing.ConvertTimeStrings());
  EXPECT_FALSE(failing.RunTSDP());
  ASSERT_FALSE(Errors().empty());
  EXPECT_EQ(Errors().front()->source, "ENGINE");
  EXPECT_EQ(broken.spec.buildOptions.startTime, Seconds(2014, 12, 1));
  EXPECT_FALSE(runner_->HasJob());
}

TEST_F(TsdpRunnerTest, ReadBackOfEachTimeFormat) {
  Result r = OpenDaily();
  ASSERT_TRUE(r.ok) << r.Describe();
  TSDPRunner tsdp(r.spec, *runner_, *iterator_, nullptr);
  BuildOptionsSpec& options = r.spec.buildOptions;
  const auto archive = [&](const std::string& output) {
    support::ZipArchiveWriter writer;
    ASSERT_TRUE(
        writer.AddText("TSDPOutput.json", "{\"settings\":{},\"output\":" + output + "}").ok());
    ASSERT_TRUE(writer.WriteTo(tsdp.jsonFile->getAbsolutePath()).ok());
  };

  // Not yet an archive (the empty job file), then an archive without the member: nothing moves.
  options.startTime = 7;
  tsdp.ReadTimeRange();
  {
    support::ZipArchiveWriter writer;
    ASSERT_TRUE(writer.AddText("other.json", "{}").ok());
    ASSERT_TRUE(writer.WriteTo(tsdp.jsonFile->getAbsolutePath()).ok());
  }
  tsdp.ReadTimeRange();
  EXPECT_EQ(options.startTime, 7);

  // Day numbers become seconds; days past 2038 do not wrap around.
  archive("{\"timeFormat\":\"date\",\"timeVariable\":[16436.0,16437.0,16450.0]}");
  tsdp.ReadTimeRange();
  EXPECT_EQ(options.startTime, 16436 * 86400);
  EXPECT_EQ(options.endTime, 16450 * 86400);
  archive("{\"timeFormat\":\"date\",\"timeVariable\":[25000]}");
  tsdp.ReadTimeRange();
  EXPECT_EQ(options.startTime, INT64_C(2160000000));
  EXPECT_EQ(options.endTime, INT64_C(2160000000));
  // Seconds stay seconds.
  archive("{\"timeFormat\":\"datetime\",\"timeVariable\":[1420070400,1420074000,1420077600]}");
  tsdp.ReadTimeRange();
  EXPECT_EQ(options.startTime, 1420070400);
  EXPECT_EQ(options.endTime, 1420077600);
  // A time axis without points leaves the range alone.
  archive("{\"timeFormat\":\"datetime\",\"timeVariable\":[]}");
  tsdp.ReadTimeRange();
  EXPECT_EQ(options.startTime, 1420070400);

  // Cyclic data: the first and last value of each cyclic field, in the command's order whatever
  // the archive's, the period field last; what was there before is gone.
  r.spec.timeVars.cycleVars = {{2, 52, 1, "year"}, {1, 7, 1, "week"}};
  r.spec.timeVars.periodVar = "period";
  options.startPeriods = {9, 9, 9, 9};
  options.endPeriods = {9};
  archive("{\"timeFormat\":\"CYCLIC_PERIOD\",\"timeVariable\":{\"period\":[5,6,7],"
          "\"week\":[3,4,1],\"year\":[1,1,2]}}");
  tsdp.ReadTimeRange();
  EXPECT_EQ(options.startPeriods, (std::vector<int32_t>{1, 3, 5}));
  EXPECT_EQ(options.endPeriods, (std::vector<int32_t>{2, 1, 7}));
  // A level the stage aggregated away is simply not there.
  archive("{\"timeFormat\":\"CYCLIC_PERIOD\",\"timeVariable\":{\"year\":[2015,2018]}}");
  tsdp.ReadTimeRange();
  EXPECT_EQ(options.startPeriods, std::vector<int32_t>{2015});
  EXPECT_EQ(options.endPeriods, std::vector<int32_t>{2018});
  EXPECT_EQ(options.startTime, 1420070400);
}

// The saved settings of a model system as TCM APPLY and TCM ANALYSIS find them.
const std::string kSaved =
    "{\"dimFieldList\":[\"region\"],\"metricFieldList\":[\"sales\"],\"dateTimeField\":\"day\","
    "\"seriesFilterList\":[[]],\"encodeSeriesID\":true,\"inputInterval\":\"DAY\","
    "\"missingValueHandlingThreshold\":0.25,\"valuesSelStrategy\":\"NEWEST\","
    "\"numOfKeptValues\":30,\"offset\":1,\"exportQuality\":false}";

// `text` with `tail` in front of its closing brace.
std::string BeforeEnd(std::string text, const std::string& tail) {
  return text.insert(text.size() - 1, tail);
}

TEST_F(TsdpRunnerTest, SavedSettingsOfApplyAndAnalysis) {
  Open(Daily(), {0, 1, 2});
  const auto applied = [&](const std::function<void(TCMApplySpec&)>& change) {
    TCMApplySpec spec;
    spec.timeType = "DATETIMEVAR";
    spec.timeVars.timeVar = "day";
    spec.modelSettingsJson = kSaved;
    change(spec);
    TSDPRunner tsdp(spec, *runner_, *iterator_, spec.modelSettingsJson.c_str());
    EXPECT_EQ(tsdp.TsdpOutputs().size(), spec.transformations ? 2u : 1u);
    return tsdp.ComposeTsdpConf();
  };
  const auto saved = [](const std::string& from, const std::string& to) {
    std::string text = kSaved;
    text.replace(text.find(from), from.size(), to);
    return text;
  };

  // MODEL keeps the saved selection; only exportQuality follows the command.
  EXPECT_EQ(applied([](TCMApplySpec&) {}),
            saved("\"exportQuality\":false", "\"exportQuality\":true"));
  EXPECT_EQ(applied([](TCMApplySpec& s) { s.transformations = false; }), kSaved);
  EXPECT_EQ(applied([](TCMApplySpec& s) {
              s.buildOptions.estimationPeriod = "ALL";
              s.transformations = false;
            }),
            saved("\"NEWEST\"", "\"NONE\""));
  // New keys go behind the saved ones, replaced keys stay where they were.
  EXPECT_EQ(applied([](TCMApplySpec& s) {
              s.buildOptions.estimationPeriod = "TIMES";
              s.buildOptions.startTime = 1420070400;
              s.transformations = false;
            }),
            BeforeEnd(saved("\"NEWEST\"", "\"TIME\""), ",\"stdStartTime\":1420070400"));
  EXPECT_EQ(applied([](TCMApplySpec& s) {
              s.timeType = "CYCLICPERIODS";
              s.buildOptions.estimationPeriod = "TIMES";
              s.buildOptions.startPeriods = {2016, 1};
              s.buildOptions.endPeriods = {2016, 4};
              s.transformations = false;
            }),
            BeforeEnd(saved("\"NEWEST\"", "\"TIME\""),
                      ",\"nonStdStartTime\":[2016,1],\"nonStdEndTime\":[2016,4]"));
  EXPECT_EQ(applied([](TCMApplySpec& s) {
              s.buildOptions.estimationPeriod = "OBSERVATIONS";
              s.buildOptions.observationType = "OLDEST";
              s.buildOptions.observationNumber = 12;
              s.transformations = false;
            }),
            saved("\"NEWEST\",\"numOfKeptValues\":30,\"offset\":1",
                  "\"OLDEST\",\"numOfKeptValues\":12,\"offset\":0"));

  // TCM ANALYSIS prepares exactly as the model was prepared, and never asks for the report.
  TCMAnlySpec analysis;
  analysis.timeType = "DATETIMEVAR";
  analysis.buildOptions.estimationPeriod = "TIMES";
  analysis.buildOptions.startTime = 1420070400;
  TSDPRunner tsdp(analysis, *runner_, *iterator_, kSaved.c_str());
  EXPECT_EQ(tsdp.ComposeTsdpConf(), kSaved);
  EXPECT_EQ(tsdp.TsdpOutputs().size(), 1u);

  // TCM MODEL without transformations: the preparation archive alone.
  Result none = Model(kDailySettings + "/SYSTEMOUTPUT TRANSFORMATIONS=NO", Daily());
  ASSERT_TRUE(none.ok) << none.Describe();
  TSDPRunner model(none.spec, *runner_, *iterator_, nullptr);
  const std::vector<const ASSimpleContainer*> outputs = model.TsdpOutputs();
  ASSERT_EQ(outputs.size(), 1u);
  EXPECT_EQ(outputs[0], model.jsonFile.get());
  EXPECT_NE(model.ComposeTsdpConf().find("\"exportQuality\":false"), std::string::npos);
}

TEST_F(TsdpRunnerTest, ApplyPreparesWithTheSavedSettingsAndReadsNothingBack) {
  Result r = OpenDaily();
  ASSERT_TRUE(r.ok) << r.Describe();
  std::string settings;
  {
    TSDPRunner tsdp(r.spec, *runner_, *iterator_, nullptr);
    ASSERT_TRUE(tsdp.ConvertTimeStrings() && tsdp.RunTSDP()) << Describe();
    ZipReader reader(tsdp.jsonFile->getAbsolutePath());
    std::string text;
    ASSERT_TRUE(reader.GotoFile("TSDPOutput.json") && reader.ExportString(text));
    const JNIJSONObject record(text);
    settings = JNIJSONObject::toString(JNIJSONObject::get(record.getTop(), "settings"));
  }
  ASSERT_FALSE(settings.empty());

  TCMApplySpec apply;
  apply.dimensions = {QuorVarName("region")};
  apply.timeType = "DATETIMEVAR";
  apply.timeVars.timeVar = "day";
  apply.modelSettingsJson = settings;
  apply.transformations = false;
  TSDPRunner tsdp(apply, *runner_, *iterator_, apply.modelSettingsJson.c_str());
  ASSERT_TRUE(tsdp.ConvertTimeStrings());
  EXPECT_TRUE(tsdp.RunTSDP()) << Describe();
  EXPECT_TRUE(Errors().empty()) << Describe();
  EXPECT_EQ(apply.buildOptions.startTime, 0);
  EXPECT_EQ(apply.buildOptions.endTime, 0);
  EXPECT_NE(tsdp.PreparationScript().find("\"exportQuality\":false"), std::string::npos);
  EXPECT_EQ(tsdp.PreparationScript().find("TSDP_DataQuality"), std::string::npos);
}

TEST_F(TsdpRunnerTest, TimePointsOfADateTimeModel) {
  Result r = OpenDaily();
  ASSERT_TRUE(r.ok) << r.Describe();
  TSDPRunner tsdp(r.spec, *runner_, *iterator_, nullptr);
  ASSERT_TRUE(tsdp.ConvertTimeStrings() && tsdp.RunTSDP()) << Describe();
  const std::string model = tsdp.jsonFile->getAbsolutePath();
  std::vector<int64_t> indexes{99};
  std::vector<int64_t> starts{99};
  std::vector<int64_t> ends{99};

  // Relative: indexes from the last observation, past it into the future.
  ASSERT_TRUE(tsdp.CalculateTimeVar(true, true, model, {-2}, {3}, indexes, starts, ends))
      << Describe();
  EXPECT_EQ(indexes, (std::vector<int64_t>{-2, -1, 0, 1, 2, 3}));
  EXPECT_EQ(starts, std::vector<int64_t>{Seconds(2015, 1, 18)});
  EXPECT_EQ(ends, std::vector<int64_t>{Seconds(2015, 1, 23)});
  const std::string script = ReadFile(Trace("TSDP_CalculateTimeVar.asl"));
  EXPECT_NE(script.find("val apiConf = {\"apiType\":\"NEWEST\",\"startIndex\":-2,\"endIndex\":3}"),
            std::string::npos)
      << script;
  // One point is the start and the end.
  ASSERT_TRUE(tsdp.CalculateTimeVar(true, true, model, {0}, {0}, indexes, starts, ends));
  EXPECT_EQ(indexes, std::vector<int64_t>{0});
  EXPECT_EQ(starts, std::vector<int64_t>{Seconds(2015, 1, 20)});
  EXPECT_EQ(ends, starts);
  // Times of the model's axis.
  ASSERT_TRUE(tsdp.CalculateTimeVar(false, true, model, {Seconds(2015, 1, 5)},
                                    {Seconds(2015, 1, 7)}, indexes, starts, ends));
  EXPECT_EQ(indexes, (std::vector<int64_t>{-15, -14, -13}));
  EXPECT_EQ(starts, std::vector<int64_t>{Seconds(2015, 1, 5)});
  EXPECT_EQ(ends, std::vector<int64_t>{Seconds(2015, 1, 7)});
  // The model system is only read.
  ZipReader reader(model);
  EXPECT_TRUE(reader.GotoFile("TSDPOutput.json"));
  EXPECT_TRUE(Errors().empty()) << Describe();

  // Nothing to read a start from: no job at all, and the lists are emptied.
  fs::remove(Trace("TSDP_CalculateTimeVar.asl"));
  EXPECT_FALSE(tsdp.CalculateTimeVar(true, true, model, {}, {1}, indexes, starts, ends));
  EXPECT_TRUE(indexes.empty() && starts.empty() && ends.empty());
  EXPECT_FALSE(fs::exists(Trace("TSDP_CalculateTimeVar.asl")));
  // A model system that is not there: the engine says so.
  EXPECT_FALSE(tsdp.CalculateTimeVar(true, true, model + ".gone", {0}, {1}, indexes, starts, ends));
  ASSERT_FALSE(Errors().empty());
  EXPECT_EQ(Errors().front()->source, "ENGINE");
  EXPECT_FALSE(runner_->HasJob());
}

TEST_F(TsdpRunnerTest, CyclicModelReadBackAndTimePoints) {
  // Three years of four periods each.
  auto dataset = tcm_test::MakeDataset({{"year", 0, "F8.0"}, {"period", 0, "F8.0"}, {"sales"}}, 12);
  for (int i = 0; i < 12; ++i) {
    dataset->SetNumber(i, 0, 1 + i / 4);
    dataset->SetNumber(i, 1, 1 + i % 4);
    dataset->SetNumber(i, 2, 5.0 * i);
  }
  Result r = Model("/DATASETTINGS TIMETYPE=CYCLICPERIODS TIMEVAR=period(TYPE=PERIOD) "
                   "year(TYPE=CYCLE LEVEL=1 LENGTH=4) /FIELDSGROUP /FIELDS TARGETS=sales "
                   "/BUILDOPTIONS ESTIMATIONPERIOD=TIMES(START=1 3 END=5 1)",
                   dataset);
  ASSERT_TRUE(r.ok) << r.Describe();
  Open(dataset, r.used);
  TSDPRunner tsdp(r.spec, *runner_, *iterator_, nullptr);
  ASSERT_TRUE(tsdp.ConvertTimeStrings()) << Describe();
  ASSERT_TRUE(tsdp.RunTSDP()) << Describe();
  EXPECT_EQ(r.spec.buildOptions.startPeriods, (std::vector<int32_t>{1, 3}));
  EXPECT_EQ(r.spec.buildOptions.endPeriods, (std::vector<int32_t>{3, 4}));

  std::vector<int64_t> indexes;
  std::vector<int64_t> starts;
  std::vector<int64_t> ends;
  ASSERT_TRUE(tsdp.CalculateTimeVar(false, false, tsdp.jsonFile->getAbsolutePath(), {2, 1}, {2, 3},
                                    indexes, starts, ends))
      << Describe();
  EXPECT_EQ(indexes, (std::vector<int64_t>{-7, -6, -5}));
  EXPECT_EQ(starts, (std::vector<int64_t>{2, 1}));
  EXPECT_EQ(ends, (std::vector<int64_t>{2, 3}));
  EXPECT_TRUE(Errors().empty()) << Describe();
}

} // namespace
