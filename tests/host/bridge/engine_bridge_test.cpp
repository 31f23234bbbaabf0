// Tests of the engine bridge: the active dataset streamed into a job and read back, cancelling,
// the engine's messages in the output, and the descriptive job.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>

#include "host/bridge/as_data_model.h"
#include "host/bridge/as_descriptive.h"
#include "host/bridge/as_raw_data_iterator.h"
#include "host/bridge/as_runner.h"
#include "host/bridge/as_stop_processor.h"
#include "host/bridge/cf_metadata.h"
#include "host/bridge/jni_json.h"
#include "host/data/print_format.h"
#include "host/data/procedure_data_source.h"
#include "host/messages/fac_st_dictionary.h"
#include "host/output/document.h"
#include "host/output/rv.h"
#include "host/session.h"
#include "support/temp_file.h"

namespace {

constexpr double kDay = 86400.0;
constexpr double kJan1st2015 = 1420070400.0; // 2015-01-01 00:00:00

host::Variable MakeVariable(const std::string& name, int width, const std::string& format) {
  host::Variable variable;
  variable.name = name;
  variable.type = width;
  variable.format = *host::ParseFormat(format).format;
  variable.measure = width > 0 ? host::Measure::kNominal : host::Measure::kScale;
  return variable;
}

// sales (numeric, 99 user-missing), region (string, "NA" user-missing, labelled), day (date).
std::shared_ptr<host::Dataset> SalesDataset() {
  auto dataset = std::make_shared<host::Dataset>();
  host::Variable sales = MakeVariable("sales", 0, "F8.2");
  sales.missing.numbers = {99};
  host::Variable region = MakeVariable("region", 8, "A8");
  region.missing.texts = {"NA"};
  region.SetValueLabel(std::string_view("E"), "East");
  region.SetValueLabel(std::string_view("W"), "West");
  host::Variable day = MakeVariable("day", 0, "DATE11");
  dataset->AddVariable(sales);
  dataset->AddVariable(region);
  dataset->AddVariable(day);
  const std::vector<double> sales_values = {1.5, host::kSysMiss, 99, -4};
  const std::vector<std::string> regions = {"E", "W", "NA", "Ost  "};
  dataset->SetCaseCount(4);
  for (int i = 0; i < 4; ++i) {
    dataset->SetNumber(i, 0, sales_values[i]);
    dataset->SetText(i, 1, regions[i]);
    dataset->SetNumber(i, 2, kJan1st2015 + i * kDay);
  }
  return dataset;
}

std::string ReaderConf() {
  return "val readerConf = {\"dataSource\":\"_activeTCMDataset_\",\"readErrorThreshold\":-1}\n";
}

const std::string kCopyScript =
    ReaderConf() +
    "val writerConf = {\"resultStream\":\"copy\"}\nread(readerConf)->write(writerConf)";

// The rows of a result stream as texts ("." for missing), by the storages of its data model.
std::vector<std::vector<std::string>> ReadAll(EmbeddedAS::RowDataIterator& rows) {
  const CFMetaData metadata(rows.getDataModel(), nullptr);
  std::vector<std::vector<std::string>> out;
  while (rows.next() == 0) {
    std::vector<std::string> row;
    for (std::size_t i = 0; i < metadata.FieldCount(); ++i) {
      const void* data = nullptr;
      std::size_t length = 0;
      EXPECT_EQ(rows.getValue(i, &data, &length), 0);
      if (data == nullptr) {
        row.push_back(".");
        continue;
      }
      switch (metadata.GetField(i)->GetStorage()) {
      case CFStorage::kInteger: {
        std::int32_t v;
        std::memcpy(&v, data, 4);
        row.push_back(std::to_string(v));
        break;
      }
      case CFStorage::kString:
        row.emplace_back(static_cast<const char*>(data), length);
        break;
      default: {
        double v;
        std::memcpy(&v, data, 8);
        row.push_back(Double2String(v));
      }
      }
    }
    out.push_back(std::move(row));
  }
  return out;
}

// An input stream that forwards to the dataset's iterator, with a hook before each step and a
// cell whose value cannot be read.
class HookedStream : public engine::InputStream {
 public:
  explicit HookedStream(ASRawDataIterator& inner) : inner_(inner) {}
  std::string Name() const override { return inner_.Name(); }
  std::string DataModelXml() const override { return inner_.DataModelXml(); }
  bool Cancelled() const override { return inner_.Cancelled(); }
  bool Next() override {
    ++steps_;
    if (before_step)
      before_step(steps_);
    return inner_.Next();
  }
  bool Value(std::size_t index, const void** data, std::size_t* length) override {
    if (steps_ == bad_row && index == 0)
      return false;
    return inner_.Value(index, data, length);
  }
  std::function<void(int)> before_step;
  int bad_row = -1;

 private:
  ASRawDataIterator& inner_;
  int steps_ = 0;
};

struct SessionFixture {
  host::OutputDocument document;
  host::Session session;
  std::unique_ptr<host::SessionScope> scope;
  SessionFixture() {
    session.document = &document;
    session.command.name = "TCM MODEL";
    scope = std::make_unique<host::SessionScope>(session);
  }
  std::vector<const host::MessageRecord*> Messages() const { return document.Messages(); }
};

TEST(EngineBridge, EveryBridgeKeyHasAText) {
  for (const char* key : host::msg::kBridgeKeys) {
    EXPECT_TRUE(FacSTDictionary::Shared().Has(key)) << key;
  }
  EXPECT_EQ(FacSTDictionary::Shared().Format(host::msg::kEngineMessage, {"stage 'read': x"}),
            "stage 'read': x");
}

TEST(EngineBridge, DataModelDescribesTheNamedVariables) {
  ProcedureDataSource source(SalesDataset());
  ASDataModel model(&source, true, true, false);
  EXPECT_EQ(model.Model().fields.size(), 3u);
  EXPECT_FALSE(model.UpdateAnalysMetadata({2, 1, 2, 7})); // 7 is no variable
  ASSERT_EQ(model.Indexes(), (std::vector<int>{2, 1}));

  auto parsed = engine::DataModelFromXml(model.DataModelXml());
  ASSERT_TRUE(parsed) << parsed.message();
  ASSERT_EQ(parsed->fields.size(), 2u);
  const engine::Field& day = parsed->fields[0];
  EXPECT_EQ(day.name, "day");
  EXPECT_EQ(day.storage, engine::Storage::kReal);
  EXPECT_EQ(day.format, "DATE11");
  EXPECT_EQ(day.measurement, "continuous");
  EXPECT_EQ(day.role, "input");
  const engine::Field& region = parsed->fields[1];
  EXPECT_EQ(region.storage, engine::Storage::kString);
  EXPECT_EQ(region.measurement, "nominal");
  ASSERT_EQ(region.categories.size(), 2u);
  EXPECT_EQ(region.categories[1].value, "W");
  EXPECT_EQ(region.categories[1].label, "West");
  EXPECT_EQ(region.categories[1].code, 1);

  ASDataModel unlabelled(&source, false, true, false);
  EXPECT_TRUE(unlabelled.Model().fields[1].categories.empty());
}

TEST(EngineBridge, DatasetStreamsThroughAJobAndReadsBack) {
  SessionFixture fixture;
  ProcedureDataSource source(SalesDataset());
  ASDataModel model(&source, true, true, true);
  ASSERT_TRUE(model.UpdateAnalysMetadata({0, 1, 2}));
  ASRawDataIterator iterator(model, nullptr);
  iterator.SetName("_activeTCMDataset_");
  ASStopProcessor stop(0.0);
  iterator.SetStopProcessor(&stop);
  EXPECT_EQ(iterator.GetStatus(), 0);

  RvProcedure procedure("Temporal Causal Modeling", 10);
  ASRunner runner(procedure);
  EXPECT_TRUE(runner.prepareActiveDS(source, true, true));
  runner.resetJNI();
  // Twice over the same iterator: the second run starts from the first case again.
  for (int pass = 0; pass < 2; ++pass) {
    ASSERT_TRUE(runner.prepareASLJob(kCopyScript));
    ASSERT_TRUE(runner.addInputIterator(&iterator));
    ASSERT_TRUE(runner.execute());
    EXPECT_FALSE(iterator.GetCancelStatus());
    EXPECT_EQ(runner.getOutputIterator("nosuch"), nullptr);
    EmbeddedAS::RowDataIterator* rows = runner.getOutputIterator("copy");
    ASSERT_NE(rows, nullptr);
    const CFMetaData metadata(rows->getDataModel(), nullptr);
    ASSERT_EQ(metadata.FieldCount(), 4u);
    EXPECT_EQ(metadata.GetField(3)->GetName(), "$casecount");
    // User-missing 99 and "NA" come as missing, trailing blanks are trimmed, dates as seconds.
    const std::vector<std::vector<std::string>> expected = {{"1.5", "E", "1420070400", "1"},
                                                            {".", "W", "1420156800", "2"},
                                                            {".", ".", "1420243200", "3"},
                                                            {"-4", "Ost", "1420329600", "4"}};
    EXPECT_EQ(ReadAll(*rows), expected);
    rows->close();
    EXPECT_TRUE(rows->isClosed());
    EXPECT_NE(rows->next(), 0);
    runner.displayAllMessages(true);
    runner.cleanJRef();
    runner.cleanExecution();
  }
  EXPECT_TRUE(fixture.Messages().empty());

  // Without the user-missing flag 99 and "NA" are values like any other.
  ASDataModel raw_model(&source, true, false, false);
  ASRawDataIterator raw(raw_model, nullptr);
  raw.SetName("_activeTCMDataset_");
  ASSERT_TRUE(raw.Next() && raw.Next() && raw.Next());
  const void* data = nullptr;
  std::size_t length = 0;
  ASSERT_TRUE(raw.Value(0, &data, &length));
  ASSERT_NE(data, nullptr);
  EXPECT_EQ(*static_cast<const double*>(data), 99.0);
  ASSERT_TRUE(raw.Value(1, &data, &length));
  EXPECT_EQ(std::string(static_cast<const char*>(data), length), "NA");
  EXPECT_FALSE(raw.Value(3, &data, &length));
  ASSERT_TRUE(raw.Next());
  ASSERT_TRUE(raw.Value(1, &data, &length));
  EXPECT_EQ(std::string(static_cast<const char*>(data), length), "Ost  ");
  EXPECT_FALSE(raw.Next());
  EXPECT_FALSE(raw.Value(0, &data, &length));

  // No dataset: the status query says the stream cannot be read, and a read fails.
  ProcedureDataSource empty(nullptr);
  ASDataModel empty_model(&empty, true, true, false);
  ASRawDataIterator none(empty_model, nullptr);
  EXPECT_EQ(none.GetStatus(), 1);
  EXPECT_FALSE(none.Next());
  EXPECT_FALSE(runner.prepareActiveDS(empty, false, false));
}

TEST(EngineBridge, CancellingStopsTheReadAndFailsTheJob) {
  SessionFixture fixture;
  ProcedureDataSource source(SalesDataset());
  ASDataModel model(&source, true, true, false);
  ASRawDataIterator iterator(model, nullptr);
  iterator.SetName("_activeTCMDataset_");
  ASStopProcessor stop(0.0);
  iterator.SetStopProcessor(&stop);
  RvProcedure procedure("Temporal Causal Modeling", 10);
  ASRunner runner(procedure);

  // The user stops the run while the third case is being read.
  auto stream = std::make_shared<HookedStream>(iterator);
  stream->before_step = [&stop](int step) {
    if (step == 3)
      stop.Cancel();
  };
  ASSERT_TRUE(runner.prepareASLJob(kCopyScript));
  ASSERT_TRUE(runner.addInputIterator(stream));
  EXPECT_FALSE(runner.execute());
  EXPECT_TRUE(iterator.GetCancelStatus());
  EXPECT_TRUE(iterator.Cancelled());
  EXPECT_EQ(runner.getOutputIterator("copy"), nullptr);
  // On cancel the module ends the job without showing its messages.
  runner.cleanExecution();
  runner.displayAllMessages(true);
  EXPECT_TRUE(fixture.Messages().empty());

  // A stop raised before the run stops it at once; Reset lets the next run through.
  ASSERT_TRUE(runner.prepareASLJob(kCopyScript));
  ASSERT_TRUE(runner.addInputIterator(&iterator));
  EXPECT_FALSE(runner.execute());
  runner.cleanExecution();
  stop.Reset();
  ASSERT_TRUE(runner.prepareASLJob(kCopyScript));
  ASSERT_TRUE(runner.addInputIterator(&iterator));
  EXPECT_TRUE(runner.execute());
  EXPECT_FALSE(iterator.GetCancelStatus());
}

TEST(EngineBridge, EngineMessagesReachTheDocumentWithTheirSeverity) {
  SessionFixture fixture;
  ProcedureDataSource source(SalesDataset());
  ASDataModel model(&source, true, true, false);
  ASRawDataIterator iterator(model, nullptr);
  iterator.SetName("_activeTCMDataset_");
  RvProcedure procedure("Temporal Causal Modeling", 10);
  ASRunner runner(procedure);

  EXPECT_FALSE(runner.prepareASLJob("val a = {}\nnosuch:stage(a)"));
  EXPECT_FALSE(runner.execute());
  runner.displayAllMessages(true);
  runner.cleanJRef();
  runner.cleanExecution();
  auto messages = fixture.Messages();
  ASSERT_FALSE(messages.empty());
  const host::MessageRecord& first = *messages.front();
  EXPECT_EQ(first.severity, host::Severity::Error);
  EXPECT_EQ(first.source, "ENGINE");
  EXPECT_EQ(first.command, "TCM MODEL");
  ASSERT_EQ(first.args.size(), 1u);
  EXPECT_NE(first.args[0].find("unknown stage 'nosuch:stage'"), std::string::npos);
  EXPECT_EQ(first.text, first.args[0]);
  EXPECT_EQ(fixture.session.error_count, static_cast<int>(messages.size()));
  EXPECT_EQ(procedure.ErrorCount(), static_cast<int>(messages.size()));
  // Shown once: the queue is empty afterwards.
  runner.displayAllMessages(true);
  EXPECT_EQ(fixture.Messages().size(), messages.size());

  // A value the stream cannot give is a warning of the engine, and the job still succeeds.
  auto stream = std::make_shared<HookedStream>(iterator);
  stream->bad_row = 2;
  ASSERT_TRUE(runner.prepareASLJob(kCopyScript));
  ASSERT_TRUE(runner.addInputIterator(stream));
  EXPECT_TRUE(runner.execute());
  runner.displayAllMessages(true);
  runner.cleanExecution();
  messages = fixture.Messages();
  ASSERT_GE(messages.size(), 2u);
  EXPECT_EQ(messages.back()->severity, host::Severity::Warning);
  EXPECT_EQ(messages.back()->source, "ENGINE");

  // Running with no job prepared is an error of the bridge, shown like the engine's.
  EXPECT_FALSE(runner.execute());
  runner.displayAllMessages(true);
  EXPECT_EQ(fixture.Messages().back()->severity, host::Severity::Error);
  EXPECT_FALSE(fixture.Messages().back()->text.empty());
}

TEST(EngineBridge, DescriptiveJobFindsTheIntervalAndTheCategories) {
  SessionFixture fixture;
  auto dataset = std::make_shared<host::Dataset>();
  dataset->AddVariable(MakeVariable("region", 8, "A8"));
  dataset->AddVariable(MakeVariable("day", 0, "DATE11"));
  dataset->AddVariable(MakeVariable("sales", 0, "F8.2"));
  const int days = 20;
  dataset->SetCaseCount(days * 2);
  for (int i = 0; i < days * 2; ++i) {
    dataset->SetText(i, 0, i % 2 == 0 ? "East" : "West");
    dataset->SetNumber(i, 1, kJan1st2015 + (i / 2) * kDay);
    dataset->SetNumber(i, 2, i * 1.5);
  }
  ProcedureDataSource source(dataset);
  ASDataModel model(&source, true, true, false);
  ASRawDataIterator iterator(model, nullptr);
  iterator.SetName("_activeTCMDataset_");
  RvProcedure procedure("Temporal Causal Modeling", 10);
  ASRunner runner(procedure);

  // As in a run: the conversion flow writes the data files, the descriptive flow reads them.
  auto dir = support::TempDir::Create("bridge");
  ASSERT_TRUE(dir.ok());
  const std::string data = (dir->path() / "converted.asbf").string();
  const std::string data_model = (dir->path() / "converted.xml").string();
  ASSERT_TRUE(runner.prepareASLJob(ReaderConf() + "val w = {\"dataDestination\":\"file://" + data +
                                   "\",\"dataModelDestination\":\"file://" + data_model +
                                   "\",\"type\":\"asbf\"}\nread(readerConf)->write(w)"));
  ASSERT_TRUE(runner.addInputIterator(&iterator));
  ASSERT_TRUE(runner.execute());
  runner.cleanExecution();
  const std::string descriptive_script =
      "val readerConf = {\"filesystem\":{\"dataModel\":\"file://" + data_model +
      "\",\"locations\":[{\"path\":\"file://" + data + "\",\"parser\":{\"name\":\"asbf\"}}]}}\n" +
      "read(readerConf)";

  const ASDescriptive original(runner, descriptive_script);
  ASDescriptive descriptive = original; // the module works on a copy
  std::string json;
  std::string model_text;
  ASSERT_TRUE(descriptive.UpdateDateModel({"region"}, {"day"}, true, json, model_text, 10000))
      << (fixture.Messages().empty() ? "" : fixture.Messages().front()->text);
  JNIJSONObject intervals(json);
  ASSERT_TRUE(intervals.isGood()) << json;
  JNIJSONHandle results = JNIJSONObject::get(intervals.getTop(), "intervalResults");
  ASSERT_EQ(JNIJSONArray::size(results), 1u);
  EXPECT_EQ(JNIJSONObject::getChildAsString(JNIJSONArray::get(results, 0), "timeInterval"), "DAY");
  const CFMetaData metadata(model_text, nullptr);
  const CFField* region = metadata.FindField("region");
  ASSERT_NE(region, nullptr) << model_text;
  ASSERT_EQ(region->GetValues().size(), 2u);
  std::string first;
  ASSERT_TRUE(region->GetValues()[0].GetDatum().ToString(first));
  EXPECT_EQ(first, "East");
  EXPECT_NE(descriptive.GetStatXML().find("FieldSummaries"), std::string::npos);
  EXPECT_NE(descriptive.GetStatXML().find("maxCatsExceeded=\"false\""), std::string::npos);

  // Over the category limit: no categories kept, and the statistics say so.
  CFMetaData limited;
  ASSERT_TRUE(descriptive.BuildMetaData({"region"}, limited, 1));
  ASSERT_NE(limited.FindField("region"), nullptr);
  EXPECT_TRUE(limited.FindField("region")->GetValues().empty());
  EXPECT_NE(descriptive.GetStatXML().find("maxCatsExceeded=\"true\""), std::string::npos);

  // A field that is not in the data fails the job, with the engine's reason in the output and
  // the caller's metadata untouched.
  EXPECT_TRUE(fixture.Messages().empty());
  CFMetaData untouched;
  EXPECT_FALSE(descriptive.BuildMetaData({"nosuch"}, untouched, 10000));
  EXPECT_EQ(untouched.FieldCount(), 0u);
  ASSERT_FALSE(fixture.Messages().empty());
  EXPECT_EQ(fixture.Messages().back()->severity, host::Severity::Error);
  EXPECT_FALSE(runner.HasJob());
}

} // namespace
