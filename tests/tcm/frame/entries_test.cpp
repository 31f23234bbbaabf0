// Tests of the entries' frames run through the command processor: debug lines, the settings
// display, teardown on a failed parse, held-back errors, TSEXPLOR and unknown commands.
#include <gtest/gtest.h>

#include <sstream>

#include "host/frame/command_processor.h"
#include "host/frame/host_services.h"
#include "host/messages/fac_st_dictionary.h"
#include "host/output/text_renderer.h"
#include "tcm/frame/entries.h"
#include "tcm_test_util.h"

namespace {

struct Run {
  host::OutputDocument document;
  std::ostringstream err;
  std::vector<host::CommandOutcome> outcomes;

  std::vector<std::string> DebugLines() const {
    for (const auto& procedure : document.root.children) {
      for (const auto& child : procedure->children) {
        if (child->kind == host::NodeKind::Text && child->title == "Debug") return child->lines;
      }
    }
    return {};
  }
  std::string Text() const { return host::RenderText(document); }
};

std::unique_ptr<Run> RunSyntax(const std::string& syntax, bool check_only = false) {
  auto run = std::make_unique<Run>();
  host::Session session;
  session.document = &run->document;
  session.err = &run->err;
  session.check_only = check_only;
  session.active_dataset =
      tcm_test::MakeDataset({{"sales"}, {"price"}, {"region", 8, "A8"}, {"day", 0, "DATE11"}}, 3);
  for (int64_t row = 0; row < 3; ++row) {
    session.active_dataset->SetNumber(row, 0, 10.0 + static_cast<double>(row));
    session.active_dataset->SetNumber(row, 1, 2.5);
    session.active_dataset->SetText(row, 2, row == 0 ? "East" : "West");
    session.active_dataset->SetNumber(row, 3, 1672531200.0 + 86400.0 * static_cast<double>(row));
  }
  host::CommandProcessor processor(session);
  RegisterTCMEntries(processor);
  run->outcomes = processor.RunSyntax(syntax, "test.tcm");
  return run;
}

TEST(Entries, ModelWithDebugPrintsItsLinesInOrder) {
  const auto run = RunSyntax("TCM MODEL /DEBUG_ /DATASETTINGS TIMETYPE=NONE /FIELDSGROUP /FIELDS TARGETS=sales.\n");
  ASSERT_EQ(run->outcomes.size(), 1u);
  const auto lines = run->DebugLines();
  ASSERT_GE(lines.size(), 2u) << run->Text();
  EXPECT_EQ(lines.front(), "Done Parsing");
  EXPECT_EQ(lines.back(), "Done()");
  // The settings as read are displayed, banner first.
  const std::string text = run->Text();
  const auto banner = text.find("* This text output is for debugging purposes only. *");
  const auto timetype = text.find("DATASETTINGS /TIMETYPE");
  ASSERT_NE(banner, std::string::npos) << text;
  ASSERT_NE(timetype, std::string::npos) << text;
  EXPECT_LT(banner, timetype);
  EXPECT_NE(text.find("NONE", timetype), std::string::npos);
}

TEST(Entries, FailedParseAddsNoDebugLineAndStillTearsDown) {
  const auto run = RunSyntax("TCM MODEL /DEBUG_ /NOSUCH x=1.\nTSEXPLOR.\n");
  ASSERT_EQ(run->outcomes.size(), 2u);
  EXPECT_TRUE(run->outcomes[0].had_error);
  EXPECT_FALSE(run->outcomes[1].had_error);
  EXPECT_TRUE(run->DebugLines().empty());
  // The procedure was closed: the next command's output is not nested in it.
  EXPECT_NE(run->err.str().find("Error: TCM MODEL: "), std::string::npos) << run->err.str();
}

TEST(Entries, TheStringTableEachEntryLeavesBehindIsFreedWhenItsCommandEnds) {
  const std::size_t live = FacSTDictionary::HeapTableCount();
  const std::uint64_t mark = FacSTDictionary::HeapTableMark();
  const auto run = RunSyntax("TCM MODEL /NOSUCH x=1.\nTCM APPLY /NOSUCH.\nTCM ANALYSIS /NOSUCH.\n");
  ASSERT_EQ(run->outcomes.size(), 3u);
  EXPECT_EQ(FacSTDictionary::HeapTableMark() - mark, 3u);  // one table per entry
  EXPECT_EQ(FacSTDictionary::HeapTableCount(), live);
}

TEST(Entries, HeldBackErrorsReachTheOutputAtTheEndOfTheCommand) {
  host::OutputDocument document;
  host::Session session;
  session.document = &document;
  host::SessionScope scope(session);
  host::MessageRecord held;
  held.source = "HELD_KEY";
  held.text = "held back";
  session.pending_errors.push_back(held);
  BEPesRepos::BEPesCheckError();
  ASSERT_EQ(document.Messages().size(), 1u);
  EXPECT_EQ(document.Messages()[0]->source, "HELD_KEY");
  BEPesRepos::BEPesCheckError();  // posted once only
  EXPECT_EQ(document.Messages().size(), 1u);
  session.pending_errors.push_back(held);
  BEPesRepos::BEPesClear();
  BEPesRepos::BEPesCheckError();
  EXPECT_EQ(document.Messages().size(), 1u);
}

TEST(Entries, TsExplorReadsNothingAndShowsNothing) {
  const auto run = RunSyntax("TSEXPLOR /whatever = 'x' ( .\n");
  ASSERT_EQ(run->outcomes.size(), 1u);
  EXPECT_FALSE(run->outcomes[0].had_error);
  EXPECT_TRUE(run->document.Messages().empty());
  EXPECT_EQ(run->Text().find("Time Series Exploration"), std::string::npos) << run->Text();
}

TEST(Entries, UnknownCommandsAndCommentsAndTheNextCommand) {
  const auto run = RunSyntax(
      "* A comment that names TCM MODEL.\n"
      "FREQUENCIES sales.\n"
      "TCM APPLY /DEBUG_.\n"
      "TCM ANALYSIS /DEBUG_.\n");
  ASSERT_EQ(run->outcomes.size(), 3u);
  EXPECT_TRUE(run->outcomes[0].had_error);
  EXPECT_EQ(run->outcomes[0].name, "FREQUENCIES");
  const auto messages = run->document.Messages();
  ASSERT_FALSE(messages.empty());
  EXPECT_EQ(messages[0]->source, "UNKNOWN_COMMAND_KEY");
  EXPECT_EQ(messages[0]->args, (std::vector<std::string>{"FREQUENCIES", "test.tcm", "2"}));
  // Both commands on a saved model need MODELSYSTEM (and TCM ANALYSIS a SCENARIOPERIOD).
  EXPECT_TRUE(run->outcomes[1].had_error);
  EXPECT_TRUE(run->outcomes[2].had_error);
}

TEST(Entries, DebugLinesAroundTheDataChecks) {
  const auto run = RunSyntax("TCM MODEL /DEBUG_ /DATASETTINGS TIMETYPE=NONE /FIELDSGROUP /FIELDS TARGETS=sales.\n", true);
  ASSERT_EQ(run->outcomes.size(), 1u);
  EXPECT_FALSE(run->outcomes[0].had_error) << run->Text();
  EXPECT_EQ(run->DebugLines(),
            (std::vector<std::string>{"Done Parsing", "Updated Data Model", "Done()"}));
}

TEST(Entries, AFailingDataCheckStillPrintsItsDebugLinesButNoSettings) {
  const auto run = RunSyntax(
      "TCM MODEL /DEBUG_ /DATASETTINGS DIMENSIONS=region TIMETYPE=DATETIMEVAR TIMEVAR=day\n"
      "  /DATAFILTER DIMVALUES=region(INCLUDE=Nowhere) /FIELDSGROUP /FIELDS TARGETS=sales.\n");
  ASSERT_EQ(run->outcomes.size(), 1u);
  EXPECT_TRUE(run->outcomes[0].had_error);
  EXPECT_EQ(run->DebugLines(),
            (std::vector<std::string>{"Done Parsing", "Updated Data Model", "Done()"}));
  const auto messages = run->document.Messages();
  ASSERT_FALSE(messages.empty());
  EXPECT_EQ(messages.back()->source, "INVALID_DIM_VAL_KEY") << run->Text();
  EXPECT_EQ(run->Text().find("valid specificaton display starts"), std::string::npos);
}

TEST(Entries, TheIntervalFoundInTheDataMustFitTheAnalysisInterval) {
  const auto run = RunSyntax(
      "TCM MODEL /DATASETTINGS DIMENSIONS=region TIMETYPE=DATETIMEVAR TIMEVAR=day\n"
      "  ANALYSISINTERVAL=MINUTE /FIELDSGROUP /FIELDS TARGETS=sales.\n");
  ASSERT_EQ(run->outcomes.size(), 1u);
  const auto messages = run->document.Messages();
  ASSERT_EQ(messages.size(), 1u) << run->Text();
  EXPECT_EQ(messages[0]->source, "MISMATCHING_INTERVAL_KEY");
  EXPECT_EQ(messages[0]->args, (std::vector<std::string>{"MINUTE", "DAY"}));
}

}  // namespace
