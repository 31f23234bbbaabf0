// Tests of the saving of result rows: into a file (plain and under a password), a named dataset,
// a new active dataset, merged into the active dataset case by case, and the names and formats
// of the result variables.
#include "tcm/files/save_result_data.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "host/bridge/as_data_model.h"
#include "host/bridge/as_raw_data_iterator.h"
#include "host/bridge/as_runner.h"
#include "host/bridge/as_simple_container.h"
#include "host/bridge/asl_path.h"
#include "host/bridge/embedded_as.h"
#include "host/data/data_messages.h"
#include "host/data/dataset_io.h"
#include "host/data/output_case_file.h"
#include "host/data/procedure_data_source.h"
#include "host/messages/parser_message.h"
#include "host/output/rv.h"
#include "host/session.h"
#include "support/file_io.h"
#include "support/temp_file.h"
#include "support/zip_archive.h"
#include "tcm/model/tcm_model_spec.h"

namespace {

using host::IsSysMiss;
using host::kSysMiss;
using host::PrintFormat;
using ::testing::ElementsAre;
namespace fmt = host::fmt;

constexpr int kInt = CFStorage::kInteger;
constexpr int kReal = CFStorage::kReal;
constexpr int kText = CFStorage::kString;

// A result stream over a small table. Cells are texts read by the field's storage: "." is
// missing, "nan" a real that is no number. A read of `fail_field` in row `fail_row` (from 1)
// fails.
class TableRows : public engine::RowIterator {
 public:
  TableRows(CFMetaData model, std::vector<std::vector<std::string>> rows, int fail_row = 0,
            std::size_t fail_field = 0)
      : model_(std::move(model)), rows_(std::move(rows)), fail_row_(fail_row),
        fail_field_(fail_field) {}

  std::string DataModelXml() const override {
    std::string text;
    model_.ExportXMLDoc(text);
    return text;
  }
  bool Next() override { return ++row_ < static_cast<long>(rows_.size()); }
  bool Value(std::size_t index, const void** data, std::size_t* length) override {
    if (row_ < 0 || row_ >= static_cast<long>(rows_.size()) || index >= model_.FieldCount()) {
      return false;
    }
    if (row_ + 1 == fail_row_ && index == fail_field_)
      return false;
    const std::string& text = rows_[static_cast<std::size_t>(row_)][index];
    *data = nullptr;
    if (text == ".")
      return true;
    switch (model_.GetField(index)->GetStorage()) {
    case kInt:
      int_ = std::stoi(text);
      *data = &int_;
      *length = 4;
      break;
    case kText:
      *data = text.data();
      *length = text.size();
      break;
    default:
      real_ = std::stod(text);
      *data = &real_;
      *length = 8;
      break;
    }
    return true;
  }

 private:
  CFMetaData model_;
  std::vector<std::vector<std::string>> rows_;
  int fail_row_;
  std::size_t fail_field_;
  long row_ = -1;
  std::int32_t int_ = 0;
  double real_ = 0.0;
};

CFMetaData Model(const std::vector<std::pair<std::string, int>>& fields) {
  CFMetaData model;
  for (const auto& [name, storage] : fields)
    EXPECT_TRUE(model.AddField(CFField(name, storage)));
  return model;
}

// The scored output of one metric "sales" by region, with "$casecount" among the fields.
CFMetaData ScoredModel() {
  return Model({{"region", kText},
                {"sales", kReal},
                {"$casecount", kInt},
                {"sales_predicted", kReal},
                {"sales_LCI", kReal},
                {"sales_UCI", kReal},
                {"sales_residual", kReal},
                {"$FutureFlag", kInt}});
}

host::Variable Var(const std::string& name, int width, PrintFormat format) {
  host::Variable variable;
  variable.name = name;
  variable.type = width;
  variable.format = format;
  variable.measure = width > 0 ? host::Measure::kNominal : host::Measure::kScale;
  return variable;
}

// The active dataset: region (A6, labelled), sales (F10.1), extra (a variable the engine never
// sends); three cases.
std::shared_ptr<host::Dataset> ActiveData() {
  auto data = std::make_shared<host::Dataset>();
  host::Variable region = Var("region", 6, {fmt::kA, 6, 0});
  region.SetValueLabel(std::string_view("E"), "East");
  region.label = "Sales region";
  data->AddVariable(region);
  data->AddVariable(Var("sales", 0, {fmt::kF, 10, 1}));
  data->AddVariable(Var("extra", 0, {fmt::kF, 8, 2}));
  data->SetCaseCount(3);
  const std::vector<std::string> regions = {"E", "E", "W"};
  for (int i = 0; i < 3; ++i) {
    data->SetText(i, 0, regions[static_cast<std::size_t>(i)]);
    data->SetNumber(i, 1, 10.0 * (i + 1));
    data->SetNumber(i, 2, 100.0 + i);
  }
  data->SetSource("/data/active.csv");
  return data;
}

class SaveResultDataTest : public ::testing::Test {
 protected:
  void SetUp() override {
    auto dir = support::TempDir::Create("tcm-save");
    ASSERT_TRUE(dir.ok()) << dir.message();
    dir_ = std::make_unique<support::TempDir>(std::move(*dir));
    session_.document = &document_;
    session_.command.name = "TCM MODEL";
    session_.active_dataset = active_;
  }

  std::string File(const std::string& name) const { return (dir_->path() / name).string(); }

  // Saves the rows as SaveResultData does once it has the stream.
  bool Save(const CFMetaData& model, std::vector<std::vector<std::string>> rows,
            bool aggregationChecked, int fail_row = 0, std::size_t fail_field = 0) {
    std::string xml;
    EXPECT_TRUE(model.ExportXMLDoc(xml));
    const std::string model_path = File("outputdatamodel.xml");
    EXPECT_TRUE(support::WriteFileAtomically(model_path, xml).ok());
    stream_ = std::make_unique<EmbeddedAS::RowDataIterator>(
        std::make_unique<TableRows>(model, std::move(rows), fail_row, fail_field));
    ProcedureDataSource source(active_);
    return SaveResultRows(*stream_, "outputdata", model_path, spec_, aggregationChecked, source);
  }

  // The error keys posted to the session.
  std::vector<std::string> Errors() const {
    std::vector<std::string> keys;
    for (const auto& node : document_.root.children) {
      if (node->kind == host::NodeKind::Message)
        keys.push_back(node->message.source);
    }
    return keys;
  }

  std::vector<std::string> Names(const host::Dataset& data) const {
    std::vector<std::string> names;
    for (int i = 0; i < data.VariableCount(); ++i)
      names.push_back(data.GetVariable(i).name);
    return names;
  }

  std::unique_ptr<support::TempDir> dir_;
  host::OutputDocument document_;
  host::Session session_;
  host::SessionScope scope_{session_};
  std::shared_ptr<host::Dataset> active_ = ActiveData();
  TCMModelValidSpecs spec_;
  std::unique_ptr<EmbeddedAS::RowDataIterator> stream_;
};

// Rows of ScoredModel: two fitted cases (1, 3; case 2 not sent) and one forecast row.
const std::vector<std::vector<std::string>> kScoredRows = {
    {"E", "11", "1", "10.5", "9", "12", "0.5", "0"},
    {"W", "33", "3", "nan", ".", "35", "-2", "0"},
    {"W", ".", ".", "40.25", "38", "42.5", ".", "1"},
};

TEST_F(SaveResultDataTest, NewFileWithResultVariables) {
  ASSERT_TRUE(spec_.outData.Init(File("scored.csv"), true, true));
  spec_.saveEntries = {{"PREDICTED", "Fit"}, {"FORECASTFLAG", "Future"}};
  ASSERT_TRUE(Save(ScoredModel(), kScoredRows, true)) << ::testing::PrintToString(Errors());
  EXPECT_TRUE(stream_->isClosed());
  EXPECT_EQ(session_.active_dataset, active_); // a file leaves the active dataset alone
  EXPECT_EQ(active_->VariableCount(), 3);

  ParserMessage messages;
  auto saved = host::LoadDataset(File("scored.csv"), "", messages);
  ASSERT_NE(saved, nullptr);
  EXPECT_THAT(Names(*saved), ElementsAre("region", "sales", "Fit_sales", "LCL_sales", "UCL_sales",
                                         "NResidual_sales", "Future"));
  // A field of the active dataset is a copy of its variable.
  EXPECT_EQ(saved->GetVariable(0), active_->GetVariable(0));
  EXPECT_EQ(saved->GetVariable(1), active_->GetVariable(1));
  for (int i = 2; i <= 5; ++i) {
    const host::Variable& v = saved->GetVariable(i);
    EXPECT_EQ(v.label, v.name);
    EXPECT_EQ(v.format, (PrintFormat{fmt::kF, 10, 1})) << v.name; // the metric's format
    EXPECT_EQ(v.measure, host::Measure::kScale);
    EXPECT_EQ(v.role, host::Role::kInput);
  }
  EXPECT_EQ(saved->GetVariable(6).format, (PrintFormat{fmt::kF, 1, 0}));
  EXPECT_EQ(saved->GetVariable(6).label, "Future");

  // One case per row, "$casecount" left out and the columns behind it shifted.
  ASSERT_EQ(saved->CaseCount(), 3);
  EXPECT_EQ(saved->GetText(0, 0), "E");
  EXPECT_EQ(saved->GetNumber(0, 1), 11);
  EXPECT_EQ(saved->GetNumber(0, 2), 10.5);
  EXPECT_EQ(saved->GetNumber(0, 5), 0.5);
  EXPECT_TRUE(IsSysMiss(saved->GetNumber(1, 2))); // not a number
  EXPECT_TRUE(IsSysMiss(saved->GetNumber(1, 3))); // missing
  EXPECT_EQ(saved->GetNumber(1, 5), -2);
  EXPECT_TRUE(IsSysMiss(saved->GetNumber(2, 1)));
  EXPECT_EQ(saved->GetNumber(2, 4), 42.5);
  EXPECT_EQ(saved->GetNumber(2, 6), 1);
  EXPECT_EQ(saved->GetNumber(0, 6), 0);
}

TEST_F(SaveResultDataTest, PasswordProtectedFileReopensWithThePassword) {
  if (!support::ZipArchiveWriter::AesSupported())
    GTEST_SKIP() << "no AES-256 in libzip";
  ASSERT_TRUE(spec_.outData.Init(File("secret.csv"), true, true, "pw1", false));
  ASSERT_TRUE(Save(ScoredModel(), kScoredRows, false)) << ::testing::PrintToString(Errors());
  EXPECT_FALSE(std::filesystem::exists(File("secret.dict.json")));
  ParserMessage messages;
  EXPECT_EQ(host::LoadProtectedDataset(File("secret.csv"), "wrong", messages), nullptr);
  auto saved = host::LoadProtectedDataset(File("secret.csv"), "pw1", messages);
  ASSERT_NE(saved, nullptr);
  EXPECT_THAT(Names(*saved), ElementsAre("region", "sales", "Predicted_sales", "LCL_sales",
                                         "UCL_sales", "NResidual_sales", "ForecastIndicator"));
  EXPECT_EQ(saved->CaseCount(), 3);
  EXPECT_EQ(saved->GetNumber(2, 2), 40.25);
}

TEST_F(SaveResultDataTest, NamedDatasetAndNewActiveDataset) {
  ASSERT_TRUE(spec_.outData.Init("scores", false, true));
  ASSERT_TRUE(Save(ScoredModel(), kScoredRows, true));
  ASSERT_EQ(session_.named.count("scores"), 1u);
  const host::Dataset& named = *session_.named["scores"];
  EXPECT_EQ(named.CaseCount(), 3);
  EXPECT_EQ(named.VariableCount(), 7);
  EXPECT_EQ(session_.active_dataset, active_);

  // "*": the rows as they are become the active dataset; the old one is not merged in.
  ASSERT_TRUE(spec_.outData.Init("*", false, true));
  ASSERT_TRUE(Save(ScoredModel(), kScoredRows, true));
  ASSERT_NE(session_.active_dataset, active_);
  const host::Dataset& now = *session_.active_dataset;
  EXPECT_THAT(Names(now), ElementsAre("region", "sales", "Predicted_sales", "LCL_sales",
                                      "UCL_sales", "NResidual_sales", "ForecastIndicator"));
  EXPECT_EQ(now.CaseCount(), 3);
  EXPECT_EQ(now.GetNumber(1, 1), 33);
  EXPECT_EQ(now.Source(), ""); // the old file name stays with the old dataset
}

TEST_F(SaveResultDataTest, MergedIntoTheActiveDatasetCaseByCase) {
  ASSERT_FALSE(spec_.outData.IsInit());
  // An unordered row (case 1 after case 2) keeps no case, and the rows after it keep theirs.
  const std::vector<std::vector<std::string>> rows = {
      {"E", "99", "2", "20.5", "19", "22", "-0.5", "0"},
      {"E", "99", "1", "1", "1", "1", "1", "0"},
      {"W", "99", "3", "30.5", "29", "32", "0.5", "0"},
      {"W", "99", ".", "40", "38", "42", ".", "1"},
      {"W", "99", ".", "41", "39", "43", ".", "1"},
  };
  ASSERT_TRUE(Save(ScoredModel(), rows, true)) << ::testing::PrintToString(Errors());
  EXPECT_TRUE(spec_.outData.IsWorkingFile());
  ASSERT_NE(session_.active_dataset, active_);
  const host::Dataset& merged = *session_.active_dataset;
  EXPECT_EQ(merged.Source(), "/data/active.csv"); // takes over the old file name
  EXPECT_THAT(Names(merged), ElementsAre("region", "sales", "extra", "Predicted_sales", "LCL_sales",
                                         "UCL_sales", "NResidual_sales", "ForecastIndicator"));
  EXPECT_EQ(merged.GetVariable(0), active_->GetVariable(0));
  ASSERT_EQ(merged.CaseCount(), 5); // one case per row sent, case 1 is not in the result
  // Old columns come from the active case, not from the engine's fields of the same name.
  EXPECT_EQ(merged.GetNumber(0, 1), 20);
  EXPECT_EQ(merged.GetNumber(0, 2), 101);
  EXPECT_EQ(merged.GetNumber(0, 3), 20.5);
  EXPECT_EQ(merged.GetText(1, 0), "");
  EXPECT_TRUE(IsSysMiss(merged.GetNumber(1, 1)));
  EXPECT_EQ(merged.GetNumber(1, 3), 1);
  EXPECT_EQ(merged.GetText(2, 0), "W");
  EXPECT_EQ(merged.GetNumber(2, 2), 102);
  // Forecast rows are empty in the old columns.
  for (int64_t row = 3; row < 5; ++row) {
    EXPECT_EQ(merged.GetText(row, 0), "");
    EXPECT_TRUE(IsSysMiss(merged.GetNumber(row, 1)));
    EXPECT_TRUE(IsSysMiss(merged.GetNumber(row, 2)));
    EXPECT_EQ(merged.GetNumber(row, 7), 1);
  }
  EXPECT_EQ(merged.GetNumber(4, 3), 41);
  // The old dataset is as it was.
  EXPECT_EQ(active_->CaseCount(), 3);
  EXPECT_EQ(active_->VariableCount(), 3);

  // A second run into the same data keeps the first results and names the new ones apart.
  // (A new command: the settings of the first one kept "*" as its destination.)
  active_ = session_.active_dataset;
  spec_ = TCMModelValidSpecs();
  ASSERT_TRUE(Save(ScoredModel(), {{"E", "1", "1", "5", "4", "6", "0", "0"}}, true));
  ASSERT_EQ(session_.active_dataset->VariableCount(), 13);
  EXPECT_EQ(session_.active_dataset->GetVariable(8).name, "Predicted_sales_1");
  EXPECT_EQ(session_.active_dataset->GetVariable(12).name, "ForecastIndicator_1");
  EXPECT_EQ(session_.active_dataset->GetNumber(0, 8), 5);
  EXPECT_EQ(session_.active_dataset->GetNumber(0, 3), 20.5);
}

TEST_F(SaveResultDataTest, NoRowsNoDestinationAndUnreadableRows) {
  // Merged with no rows: the old dictionary and the new variables, no cases, and a warning that
  // the three cases were dropped.
  ASSERT_TRUE(Save(ScoredModel(), {}, true));
  EXPECT_EQ(session_.active_dataset->VariableCount(), 8);
  EXPECT_EQ(session_.active_dataset->CaseCount(), 0);
  const char* const kDropped = "MERGE_CASES_DROPPED_KEY";
  ASSERT_THAT(Errors(), ElementsAre(kDropped));
  EXPECT_EQ(document_.root.children.back()->message.args, std::vector<std::string>{"3"});

  // No destination and aggregated data: nothing saved, success, the stream left open.
  session_.active_dataset = active_;
  TCMModelValidSpecs fresh;
  spec_ = fresh;
  ASSERT_TRUE(Save(ScoredModel(), kScoredRows, false));
  EXPECT_FALSE(stream_->isClosed());
  EXPECT_FALSE(spec_.outData.IsInit());
  EXPECT_EQ(session_.active_dataset, active_);

  // A value that cannot be read: false, reported, no file and the active dataset untouched.
  ASSERT_TRUE(spec_.outData.Init(File("broken.csv"), true, true));
  EXPECT_FALSE(Save(ScoredModel(), kScoredRows, false, 2, 3));
  EXPECT_FALSE(std::filesystem::exists(File("broken.csv")));
  EXPECT_THAT(Errors(), ElementsAre(kDropped, host::msg::kFileUnreadable));
  spec_ = fresh;
  EXPECT_FALSE(Save(ScoredModel(), kScoredRows, true, 1, 2)); // "$casecount" itself
  EXPECT_EQ(session_.active_dataset, active_);

  // A data model file that cannot be read.
  ASSERT_TRUE(spec_.outData.Init(File("nomodel.csv"), true, true));
  stream_ = std::make_unique<EmbeddedAS::RowDataIterator>(
      std::make_unique<TableRows>(ScoredModel(), kScoredRows));
  ProcedureDataSource source(active_);
  EXPECT_FALSE(SaveResultRows(*stream_, "outputdata", File("none.xml"), spec_, false, source));
  EXPECT_THAT(Errors(), ElementsAre(kDropped, host::msg::kFileUnreadable,
                                    host::msg::kFileUnreadable, host::msg::kEngineDataModel));
  EXPECT_FALSE(std::filesystem::exists(File("nomodel.csv")));
}

TEST_F(SaveResultDataTest, NamesOfResultVariables) {
  EXPECT_EQ(ResultKeyword("sales_predicted"), "PREDICTED");
  EXPECT_EQ(ResultKeyword("sales_LCI"), "LCLROOT");
  EXPECT_EQ(ResultKeyword("sales_UCI"), "UCLROOT");
  EXPECT_EQ(ResultKeyword("sales_residual"), "NRESIDUAL");
  EXPECT_EQ(ResultKeyword("$FutureFlag"), "FORECASTFLAG");
  EXPECT_EQ(ResultKeyword("x_LCI_residual"), "LCLROOT"); // the first test that holds
  EXPECT_EQ(ResultKeyword("sales"), "");
  EXPECT_EQ(ResultKeyword("$futureflag"), "");

  // Defaults, then SAVE root names; a metric with "_" keeps it.
  EXPECT_EQ(ResultVariableName("unit_sales_predicted", "PREDICTED", spec_), "Predicted_unit_sales");
  EXPECT_EQ(ResultVariableName("unit_sales_LCI", "LCLROOT", spec_), "LCL_unit_sales");
  EXPECT_EQ(ResultVariableName("unit_sales_UCI", "UCLROOT", spec_), "UCL_unit_sales");
  EXPECT_EQ(ResultVariableName("a_residual", "NRESIDUAL", spec_), "NResidual_a");
  EXPECT_EQ(ResultVariableName("$FutureFlag", "FORECASTFLAG", spec_), "ForecastIndicator");
  spec_.saveEntries = {{"TARGETS", "FILTERED"},
                       {"PREDICTED", "Pred"},
                       {"NRESIDUAL", "Res"},
                       {"FORECASTFLAG", "IsForecast"}};
  EXPECT_EQ(ResultVariableName("unit_sales_predicted", "PREDICTED", spec_), "Pred_unit_sales");
  EXPECT_EQ(ResultVariableName("unit_sales_residual", "NRESIDUAL", spec_), "Res_unit_sales");
  EXPECT_EQ(ResultVariableName("unit_sales_LCI", "LCLROOT", spec_), "LCL_unit_sales");
  EXPECT_EQ(ResultVariableName("$FutureFlag", "FORECASTFLAG", spec_), "IsForecast");

  // Through a save: a metric with "_" whose field names hold the metric's "_" too.
  spec_.saveEntries.clear();
  ASSERT_TRUE(spec_.outData.Init("names", false, true));
  ASSERT_TRUE(
      Save(Model({{"unit_sales", kReal}, {"unit_sales_predicted", kReal}}), {{"1", "2"}}, false));
  EXPECT_THAT(Names(*session_.named["names"]), ElementsAre("unit_sales", "Predicted_unit_sales"));
}

TEST_F(SaveResultDataTest, FormatsOfResultVariables) {
  auto data = std::make_shared<host::Dataset>();
  data->AddVariable(Var("wide", 0, {fmt::kF, 255, 2}));
  data->AddVariable(Var("code", 60, {fmt::kA, 60, 0}));
  data->AddVariable(Var("day", 0, {fmt::kDate, 11, 0}));
  data->AddVariable(Var("dollars", 0, {fmt::kDollar, 40, 2}));
  const ProcedureDataSource source(data);
  EXPECT_EQ(ResultVariableFormat("wide_predicted", "PREDICTED", source),
            (PrintFormat{fmt::kF, 40, 2}));
  EXPECT_EQ(ResultVariableFormat("code_LCI", "LCLROOT", source), (PrintFormat{fmt::kA, 60, 0}));
  EXPECT_EQ(ResultVariableFormat("day_UCI", "UCLROOT", source), (PrintFormat{fmt::kDate, 11, 0}));
  EXPECT_EQ(ResultVariableFormat("dollars_residual", "NRESIDUAL", source),
            (PrintFormat{fmt::kDollar, 40, 2}));
  EXPECT_EQ(ResultVariableFormat("other_predicted", "PREDICTED", source),
            (PrintFormat{fmt::kF, 8, 3}));
  EXPECT_EQ(ResultVariableFormat("$FutureFlag", "FORECASTFLAG", source),
            (PrintFormat{fmt::kF, 1, 0}));

  // On a variable: a numeric result cannot hold the string format, and takes the default.
  IndependentDataStore store(UserCaseFileSpec{});
  StoreVariable* wide = store.MakeVariable("wide_predicted", false);
  StoreVariable* code = store.MakeVariable("code_LCI", false);
  ASSERT_NE(wide, nullptr);
  ASSERT_NE(code, nullptr);
  DefineResultVariable(CFField("wide_predicted", kReal), *wide, "PREDICTED", spec_, source);
  DefineResultVariable(CFField("code_LCI", kReal), *code, "LCLROOT", spec_, source);
  EXPECT_EQ(store.Data().GetVariable(0).name, "Predicted_wide");
  EXPECT_EQ(store.Data().GetVariable(0).format, (PrintFormat{fmt::kF, 40, 2}));
  EXPECT_EQ(store.Data().GetVariable(1).name, "LCL_code");
  EXPECT_EQ(store.Data().GetVariable(1).format, (PrintFormat{fmt::kF, 8, 3}));
  EXPECT_EQ(store.Data().GetVariable(1).measure, host::Measure::kScale);
}

// The whole step through the runner: a job writes the active dataset to the output file, and
// the rows are saved from the stream the runner hands out under the file's name.
TEST_F(SaveResultDataTest, ThroughTheRunner) {
  ProcedureDataSource source(active_);
  ASDataModel model(&source, true, true, false);
  ASSERT_TRUE(model.UpdateAnalysMetadata({0, 1}));
  ASRawDataIterator iterator(model, nullptr);
  iterator.SetName("_activeTCMDataset_");
  RvProcedure procedure("Temporal Causal Modeling", 10);
  ASRunner runner(procedure);
  ASSimpleContainer outputData("outputData", File("output data.asbf"));
  ASSimpleContainer outputDataModel("outputDataModel", File("outputdatamodel.xml"));
  const std::string script =
      "val readerConf = {\"dataSource\":\"_activeTCMDataset_\",\"readErrorThreshold\":-1}\n"
      "val w = {\"dataDestination\":\"" +
      NormalizeAslPathU(outputData.getAbsolutePath(), "file") + "\",\"dataModelDestination\":\"" +
      NormalizeAslPathU(outputDataModel.getAbsolutePath(), "file") +
      "\",\"type\":\"asbf\"}\nread(readerConf)->write(w)";
  ASSERT_TRUE(runner.prepareASLJob(script));
  ASSERT_TRUE(runner.addInputIterator(&iterator));
  ASSERT_TRUE(runner.execute());

  // Merged into the active dataset: every case comes back by its "$casecount".
  ASSERT_TRUE(SaveResultData(runner, outputData, outputDataModel, spec_, true, source))
      << ::testing::PrintToString(Errors());
  const host::Dataset& merged = *session_.active_dataset;
  ASSERT_NE(&merged, active_.get());
  EXPECT_THAT(Names(merged), ElementsAre("region", "sales", "extra"));
  ASSERT_EQ(merged.CaseCount(), 3);
  EXPECT_EQ(merged.GetText(2, 0), "W");
  EXPECT_EQ(merged.GetNumber(2, 1), 30);
  EXPECT_EQ(merged.GetNumber(2, 2), 102);

  // A stream the job did not write: false, nothing saved.
  ASSimpleContainer other("outputData", File("other.asbf"));
  EXPECT_FALSE(SaveResultData(runner, other, outputDataModel, spec_, true, source));
  runner.cleanExecution();
}

} // namespace
