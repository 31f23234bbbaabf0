// Tests of TSRunner: the run form of its flows (an empty script, a failing job and its messages,
// the merge only after success), the saving queries, and the model sequence over a small
// dataset through the engine.
#include "tcm/stages/ts_runner.h"

#include <filesystem>
#include <fstream>
#include <optional>

#include <gtest/gtest.h>

#include "host/bridge/app_host.h"
#include "host/bridge/as_data_model.h"
#include "host/bridge/as_raw_data_iterator.h"
#include "host/bridge/as_runner.h"
#include "host/bridge/as_stop_processor.h"
#include "host/bridge/zip_reader.h"
#include "host/output/rv.h"
#include "support/temp_file.h"
#include "support/time.h"
#include "tcm/model/check_prepared_data.h"
#include "tcm/model/tcm_model_parser.h"
#include "tcm/stages/tsdp_runner.h"
#include "tcm/tcm_test_util.h"

namespace {
namespace fs = std::filesystem;

// Two regions, 60 days; sales follow yesterday's price.
std::shared_ptr<host::Dataset> Daily() {
  auto dataset = tcm_test::MakeDataset({{"region", 8, "A8"}, {"day", 0, "DATE11"}, {"sales"},
                                        {"price"}});
  dataset->SetCaseCount(120);
  const double start = static_cast<double>(support::DaysFromCivil(2020, 1, 1)) * 86400.0;
  double price[2] = {10, 12};
  for (int i = 0; i < 120; ++i) {
    const int region = i % 2;
    const double previous = price[region];
    price[region] = 10 + ((i * 37) % 11) * 0.5;
    dataset->SetText(i, 0, region == 0 ? "E" : "W");
    dataset->SetNumber(i, 1, start + (i / 2) * 86400.0);
    dataset->SetNumber(i, 2, 100 - 3 * previous + ((i * 13) % 7) * 0.3);
    dataset->SetNumber(i, 3, price[region]);
  }
  return dataset;
}

class TsRunnerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    auto dir = support::TempDir::Create("tsrunner");
    ASSERT_TRUE(dir.ok());
    dir_.emplace(std::move(*dir));
    session_.document = &document_;
    session_.command.name = "TCM MODEL";
    session_.trace_dir = dir_->path().string();
    dataset_ = Daily();
    session_.active_dataset = dataset_;
    scope_ = std::make_unique<host::SessionScope>(session_);
    CFAppHost::getInstance().setLocale("en_US");
  }

  // Reads the command and builds the frame of a run up to the data checks.
  void Open(const std::string& command) {
    auto parsed = tcm_test::Parse<TCMModelValidSpecs, TCMModelParser>(
        "TCM MODEL /DATASETTINGS DIMENSIONS=region TIMETYPE=DATETIMEVAR TIMEVAR=day " + command +
            ".",
        dataset_, "TCM MODEL", "Temporal Causal Modeling");
    ASSERT_TRUE(parsed.ok) << parsed.Describe();
    spec_ = parsed.spec;
    source_ = std::make_unique<ProcedureDataSource>(dataset_);
    model_ = std::make_unique<ASDataModel>(source_.get(), true, true, false);
    ASSERT_TRUE(model_->UpdateAnalysMetadata({0, 1, 2, 3}));
    iterator_ = std::make_unique<ASRawDataIterator>(*model_, nullptr);
    iterator_->SetName("_activeTCMDataset_");
    iterator_->SetStopProcessor(&stop_);
    procedure_ = std::make_unique<RvProcedure>("Temporal Causal Modeling", 10);
    runner_ = std::make_unique<ASRunner>(*procedure_);
    runner_->prepareActiveDS(*source_, true, true);
    runner_->resetJNI();
    context_.Fill("TCM MODEL", "Temporal Causal Modeling");
    tsdp_ = std::make_unique<TSDPRunner>(spec_, *runner_, *iterator_, nullptr);
    ts_ = std::make_unique<TSRunner>(*tsdp_, *runner_, *source_, context_, &spec_.fieldsGroups);
  }

  // The steps of the entry after reading: conversion, data checks, preparation, the sequence.
  void RunSteps() {
    ASSERT_TRUE(tsdp_->ConvertTimeStrings());
    ASSERT_TRUE(CheckPreparedData(spec_, *runner_, *tsdp_, *source_, context_.GetParserMessage(),
                                  nullptr));
    ASSERT_TRUE(tsdp_->RunTSDP());
    ASSERT_TRUE(ts_->Run()) << document_.Messages().size();
    EXPECT_FALSE(HasError());
  }

  bool HasError() const {
    for (const auto* message : document_.Messages()) {
      if (message->severity == host::Severity::Error) return true;
    }
    return false;
  }

  std::optional<support::TempDir> dir_;
  host::OutputDocument document_;
  host::Session session_;
  std::shared_ptr<host::Dataset> dataset_;
  std::unique_ptr<host::SessionScope> scope_;
  TCMModelValidSpecs spec_;
  std::unique_ptr<ProcedureDataSource> source_;
  std::unique_ptr<ASDataModel> model_;
  std::unique_ptr<ASRawDataIterator> iterator_;
  ASStopProcessor stop_{0.0};
  std::unique_ptr<RvProcedure> procedure_;
  std::unique_ptr<ASRunner> runner_;
  CommandContext context_;
  std::unique_ptr<TSDPRunner> tsdp_;
  std::unique_ptr<TSRunner> ts_;
};

TEST_F(TsRunnerTest, RunFlowFailsQuietlyOnNothingAndShowsTheEngineOnFailure) {
  const fs::path saved = dir_->path() / "saved.csv";
  Open("/SAVE PREDICTED /OUTFILE DATA='" + saved.string() + "' /FIELDSGROUP /FIELDS TARGETS=sales");
  EXPECT_TRUE(ts_->NeedsFit());
  EXPECT_TRUE(ts_->NeedsSaving());
  // An empty script starts no job and says nothing.
  EXPECT_FALSE(ts_->RunFlow("", true));
  EXPECT_FALSE(runner_->HasJob());
  EXPECT_TRUE(document_.Messages().empty());
  // A job that fails: the engine's message is shown, the job is gone, and the merge does not
  // run, so no saved data appear.
  EXPECT_FALSE(ts_->RunFlow("val r = {\"filesystem\":{\"dataModel\":\"file:///no/model\","
                            "\"locations\":[{\"path\":\"file:///no/data\"}]}}\nread(r)",
                            true));
  EXPECT_TRUE(HasError());
  EXPECT_FALSE(runner_->HasJob());
  EXPECT_FALSE(fs::exists(saved));
  // A script that is no script is a failed job too, reported the same way.
  EXPECT_FALSE(ts_->RunFlow("read(", false));
  EXPECT_FALSE(runner_->HasJob());
}

TEST_F(TsRunnerTest, SavingQueriesFollowSaveAndOutfile) {
  Open("/SAVE TARGETS(ALL) FORECASTFLAG /FIELDSGROUP /FIELDS TARGETS=sales");
  EXPECT_FALSE(ts_->NeedsFit());
  EXPECT_FALSE(ts_->NeedsSaving());
  Open("/SAVE CL(LCLROOT=Lo UCLROOT=Hi) /FIELDSGROUP /FIELDS TARGETS=sales");
  EXPECT_TRUE(ts_->NeedsFit());
}

TEST_F(TsRunnerTest, ModelSequenceBuildsScoresAndSaves) {
  const fs::path model = dir_->path() / "model.zip";
  const fs::path saved = dir_->path() / "scored.csv";
  Open("/BUILDOPTIONS FORECASTPERIODS=3 /TARGETFILTER DISPLAY=ALLTARGETS "
       "/SAVE PREDICTED FORECASTFLAG /OUTFILE MODELSYSTEM='" + model.string() + "' DATA='" +
       saved.string() + "' /FIELDSGROUP /FIELDS TARGETS=sales INPUTS=price");
  ASSERT_NO_FATAL_FAILURE(RunSteps());
  // The model system is where OUTFILE said, with its graph; the ranked targets decode to the
  // true values of the series.
  ZipReader reader(model.string());
  EXPECT_TRUE(reader.GotoFile("TCMGraph.json"));
  EXPECT_EQ(ts_->RankedTargets(),
            (std::vector<SeriesKey>{{"E", "sales"}, {"W", "sales"}}));
  // The scored data: the cases and three forecast days per region, with the new columns.
  ASSERT_TRUE(fs::exists(saved));
  std::ifstream file(saved);
  std::string header;
  std::getline(file, header);
  EXPECT_NE(header.find("Predicted_sales"), std::string::npos) << header;
  EXPECT_NE(header.find("ForecastIndicator"), std::string::npos) << header;
  int rows = 0;
  for (std::string line; std::getline(file, line);) ++rows;
  EXPECT_EQ(rows, 120 + 2 * 3);
  EXPECT_NE(ts_->OutputReaderBlock().find("val readerConf = "), std::string::npos);
}

// Without scoring: the data for saving run first (and may fail without stopping anything),
// then the data for the output; best-fit targets come from the real summary job. Each flow is
// traced under its own prefix and stage.
TEST_F(TsRunnerTest, SequenceWithoutScoringAndTheBestFitTargets) {
  const fs::path model = dir_->path() / "plain.zip";
  Open("/TARGETFILTER DISPLAY=BESTFIT(N=1 FITSTAT=RSQUARE) /OUTFILE MODELSYSTEM='" +
       model.string() + "' DATA='" + (dir_->path() / "plain.csv").string() +
       "' /FIELDSGROUP /FIELDS TARGETS=sales INPUTS=price");
  ASSERT_FALSE(spec_.needsScoring());
  ASSERT_TRUE(ts_->NeedsSaving());
  ASSERT_NO_FATAL_FAILURE(RunSteps());
  for (const char* trace : {"TCMMODEL_MODELING.asl", "TCMMODEL_DATA_FOR_SAVE.asl",
                            "TCMMODEL_DATA_FOR_OUTPUT.asl"}) {
    EXPECT_TRUE(fs::exists(dir_->path() / trace)) << trace;
  }
  EXPECT_FALSE(fs::exists(dir_->path() / "TCMMODEL_SCORING.asl"));
  // One of the two regions' models is the best by R squared; it decodes to its true values.
  const std::vector<SeriesKey>& best = ts_->RankedTargets();
  ASSERT_EQ(best.size(), 1u);
  EXPECT_EQ(best[0].size(), 2u);
  EXPECT_EQ(best[0][1], "sales");
  EXPECT_TRUE(fs::exists(dir_->path() / "TCM_GET_TOPMODELS.asl"));
  // The data for saving went to OUTFILE DATA: the cases, no forecasts.
  std::ifstream saved(dir_->path() / "plain.csv");
  int rows = -1;
  for (std::string line; std::getline(saved, line);) ++rows;
  EXPECT_EQ(rows, 120);
}

// Root causes of the series filters' outliers: with detection of all targets asked for, its
// records are chosen from and no second detection runs; without, the series filters' series are
// detected on their own. Either way each chosen series gets its root cause flow.
TEST_F(TsRunnerTest, RootCausesReuseTheDetectionOfAllTargetsOrRunTheirOwn) {
  const struct {
    const char* output;
    bool reused;
  } cases[] = {
      {"/FILTEREDOUTPUT INCLUDE=BOTH OUTLIER_ROOTCAUSES=YES(LEVELS=2)", true},
      {"/FILTEREDOUTPUT INCLUDE=BOTH NETWORKGRAPH=NO OUTLIER_ROOTCAUSES=YES(LEVELS=2)", false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.output);
    for (const auto& entry : fs::directory_iterator(dir_->path())) fs::remove_all(entry.path());
    Open(std::string("/BUILDOPTIONS OUTLIERTHRESH=50 /SERIESFILTER FIELDS=sales ") + c.output +
         " /FIELDSGROUP /FIELDS TARGETS=sales INPUTS=price");
    ASSERT_EQ(spec_.needsOutlierDetection(), c.reused);
    ASSERT_TRUE(spec_.needsRootCause());
    ASSERT_NO_FATAL_FAILURE(RunSteps());
    EXPECT_EQ(fs::exists(dir_->path() / "TCMMODEL_OD.asl"), c.reused);
    EXPECT_EQ(fs::exists(dir_->path() / "TCMMODEL_OD_FOR_RCA.asl"), !c.reused);
    // At a threshold of one half both regions' sales have outliers, and each is explained.
    ASSERT_EQ(ts_->rootCauseRecords.size(), 2u);
    for (const OutlierRecord& record : ts_->rootCauseRecords) {
      EXPECT_EQ(record.series.back(), "sales");
      ASSERT_NE(record.rootCauseFile, nullptr);
      EXPECT_TRUE(fs::exists(dir_->path() / ("TCM_RCA_FOR_" + record.key + ".asl")));
    }
  }
}

}  // namespace
