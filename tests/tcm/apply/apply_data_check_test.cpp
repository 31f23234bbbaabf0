// Tests of TCM APPLY's check on the converted data, through the engine: the interval found for a
// date field, the series filters settled against the data's categories, and the warning for
// root causes without SERIESFILTER.
#include "tcm/apply/check_prepared_data.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "host/bridge/app_host.h"
#include "support/temp_file.h"
#include "support/time.h"
#include "support/zip_archive.h"
#include "tcm/apply/tcm_apply_parser.h"
#include "tcm/stages/tsdp_runner.h"
#include "tcm/run_frame.h"
#include "tcm/tcm_test_util.h"

namespace {

// Two regions, daily, 20 days.
std::shared_ptr<host::Dataset> Daily() {
  auto dataset = tcm_test::MakeDataset(
      {{"region", 8, "A8"}, {"day", 0, "DATE11"}, {"sales"}, {"price"}}, 40);
  const double start = static_cast<double>(support::DaysFromCivil(2020, 1, 1)) * 86400.0;
  for (int i = 0; i < 40; ++i) {
    dataset->SetText(i, 0, i % 2 == 0 ? "E" : "W");
    dataset->SetNumber(i, 1, start + (i / 2) * 86400.0);
    dataset->SetNumber(i, 2, 100 + i);
    dataset->SetNumber(i, 3, 10 + (i % 7));
  }
  return dataset;
}

class ApplyDataCheck : public ::testing::Test, protected tcm_test::RunFrame {
 protected:
  void SetUp() override {
    auto dir = support::TempDir::Create("apply_check");
    ASSERT_TRUE(dir.ok());
    dir_.emplace(std::move(*dir));
    session_.document = &document_;
    session_.command.name = "TCM APPLY";
    dataset_ = Daily();
    session_.active_dataset = dataset_;
    scope_ = std::make_unique<host::SessionScope>(session_);
    CFAppHost::getInstance().setLocale("en_US");
    support::ZipArchiveWriter writer;
    const std::string settings =
        "{\"dimFieldList\":[\"region\"],\"metricFieldList\":[\"sales\",\"price\"],"
        "\"dateTimeField\":\"day\",\"cyclicFieldList\":[]}";
    ASSERT_TRUE(writer.AddText("TSDPOutput.json", "{\"settings\":" + settings + "}").ok());
    ASSERT_TRUE(writer.AddText("TCMGraph.json", "{}").ok());
    ASSERT_TRUE(writer
                    .AddText("StatXML.xml",
                             "<StatXML><DataModel><Field name=\"metricField\" storage=\"integer\">"
                             "<Category value=\"1\" code=\"1\" label=\"sales\"/></Field>"
                             "</DataModel></StatXML>")
                    .ok());
    model_path_ = (dir_->path() / "model.zip").string();
    ASSERT_TRUE(writer.WriteTo(model_path_).ok());
  }

  // Reads the command, converts the data and runs the check; its answer.
  bool Check(const std::string& rest) {
    auto parsed = tcm_test::Parse<TCMApplySpec, TCMApplyParser>(
        "TCM APPLY /MODELSYSTEM FILE='" + model_path_ + "' " + rest + ".", dataset_, "TCM APPLY",
        "Temporal Causal Model Forecasting");
    EXPECT_TRUE(parsed.ok) << parsed.Describe();
    spec_ = parsed.spec;
    Open(dataset_, parsed.used, "Temporal Causal Model Forecasting");
    context_ = std::make_unique<CommandContext>();
    context_->Fill("TCM APPLY", "Temporal Causal Model Forecasting");
    tsdp_ = std::make_unique<TSDPRunner>(spec_, *runner_, *iterator_,
                                         spec_.modelSettingsJson.c_str());
    EXPECT_TRUE(tsdp_->ConvertTimeStrings());
    return CheckPreparedData(spec_, *runner_, *tsdp_, *source_, context_->GetParserMessage(),
                             nullptr);
  }
  bool Raised(const std::string& source, const std::vector<std::string>& args = {}) const {
    for (const auto& message : context_->GetParserMessage().Raised()) {
      if (message.source == source && (args.empty() || message.args == args)) return true;
    }
    return false;
  }

  std::optional<support::TempDir> dir_;
  std::string model_path_;
  std::shared_ptr<host::Dataset> dataset_;
  TCMApplySpec spec_;
  std::unique_ptr<CommandContext> context_;
  std::unique_ptr<TSDPRunner> tsdp_;
};

TEST_F(ApplyDataCheck, IntervalFoundAndSeriesFilterSettled) {
  ASSERT_TRUE(Check("/SERIESFILTER FIELDS=sales DIMVALUES=region(INCLUDE=E)"));
  EXPECT_EQ(spec_.inputInterval.interval, TimeIntervalKind::DAY);
  EXPECT_FALSE(Raised("NO_RCA_KEY"));
  // A value the data do not hold fails the check, named with the filter's number.
  EXPECT_FALSE(Check("/SERIESFILTER FIELDS=sales /SERIESFILTER FIELDS=sales "
                     "DIMVALUES=region(INCLUDE=North)"));
  EXPECT_TRUE(Raised("INVALID_DIM_VAL_KEY", {"SERIESFILTER 1", "North", "region"}));
}

TEST_F(ApplyDataCheck, RootCausesWithoutSeriesFilterWarnOnly) {
  EXPECT_TRUE(Check("/FILTEREDOUTPUT INCLUDE=SERIES OUTLIER_ROOTCAUSES=YES"));
  EXPECT_TRUE(Raised("NO_RCA_KEY"));
  EXPECT_TRUE(Check("/FILTEREDOUTPUT INCLUDE=TARGETS OUTLIER_ROOTCAUSES=YES"));
  EXPECT_FALSE(Raised("NO_RCA_KEY"));
}

}  // namespace
