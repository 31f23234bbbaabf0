// This file contains tests of the output library: outline, notes, messages and translation.
#include "host/output/rv.h"

#include <gtest/gtest.h>

#include "host/messages/fac_st_dictionary.h"
#include "output_test_support.h"

namespace host {
namespace {

using testing::SessionTest;

std::vector<std::string> Titles(const OutputNode &node) {
  std::vector<std::string> titles;
  for (const auto &child : node.children)
    titles.push_back(child->title);
  return titles;
}

using RvTest = SessionTest;

TEST_F(RvTest, ProcedureOpensInSessionDocumentAndRestoresPrevious) {
  OutputNode *before = session_.open_procedure;
  {
    RvProcedure outer("Temporal Causal Modeling", 10);
    ASSERT_EQ(document_.root.children.size(), 1u);
    EXPECT_EQ(document_.root.children[0]->kind, NodeKind::Procedure);
    EXPECT_EQ(session_.open_procedure, &outer.Node());
    EXPECT_EQ(outer.PrivateDocument(), nullptr);
    {
      RvProcedure inner("Inner", 10);
      EXPECT_EQ(session_.open_procedure, &inner.Node());
      EXPECT_EQ(OpenProcedureNode(), &inner.Node());
    }
    EXPECT_EQ(session_.open_procedure, &outer.Node());
  }
  EXPECT_EQ(session_.open_procedure, before);
  EXPECT_EQ(OpenProcedureNode(), nullptr);
}

TEST(RvNoSession, ProcedureWritesIntoPrivateDocument) {
  ASSERT_EQ(CurrentSession(), nullptr);
  RvProcedure procedure("Temporal Causal Modeling", 10);
  ASSERT_NE(procedure.PrivateDocument(), nullptr);
  EXPECT_EQ(OpenProcedureNode(), &procedure.Node());
  EXPECT_TRUE(AddNotes(2, RvString("Model File", true), RvString("/tmp/m.zip", false, false)));
  RvError(RvString("no session here", false), RvErrorShow::Document, RvErrorLevel::Error);
  EXPECT_EQ(procedure.ErrorCount(), 1);
  EXPECT_EQ(procedure.PrivateDocument()->root.children.size(), 1u);
}

TEST_F(RvTest, DottedPathsFindOrMakeEachLevelAndPlaceholdersKeepPosition) {
  RvProcedure procedure("Temporal Causal Modeling", 10);
  // Place holders made and dropped at once, in the order the outline must have.
  procedure.Heading(RvString("Review", false));
  procedure.Heading(RvString("Interpretation", false));

  Table fit;
  fit.title = "Model Fit";
  procedure.FindOrMakePath("Interpretation.Model Fit").AddTable(fit);
  procedure.FindOrMakePath("Evaluation.Tests").AddText(RvString("t", false), {"line"});
  procedure.FindOrMakePath("Review").AddTable(Table{});
  procedure.FindOrMakePath("Interpretation.Model Fit").AddTable(fit);

  EXPECT_EQ(Titles(procedure.Node()),
            (std::vector<std::string>{"Review", "Interpretation", "Evaluation"}));
  const OutputNode &interpretation = *procedure.Node().children[1];
  ASSERT_EQ(interpretation.children.size(), 1u); // one "Model Fit", not two
  EXPECT_EQ(interpretation.children[0]->children.size(), 2u);
  EXPECT_EQ(procedure.Node().children[0]->children.size(), 1u);

  // Same path gives the same node; empty levels are skipped; a level may hold a dot when the
  // levels come one by one.
  EXPECT_EQ(&procedure.FindOrMakePath("Interpretation..Model Fit.").Node(),
            interpretation.children[0].get());
  EXPECT_EQ(&procedure.FindOrMakePath("").Node(), &procedure.Node());
  const RvHeading dotted = procedure.FindOrMakePath(std::vector<std::string>{"Series", "a.b"});
  EXPECT_EQ(dotted.Node().title, "a.b");
  EXPECT_EQ(&procedure.Heading(RvString("Review", false)).Node(),
            procedure.Node().children[0].get());
}

TEST_F(RvTest, NotesAccumulateInOneTableKeptLast) {
  const OutputNode *node = nullptr; // lives in the session's document after the procedure ends
  {
    RvProcedure procedure("Temporal Causal Modeling", 10);
    node = &procedure.Node();
    EXPECT_TRUE(
        AddNotes(2, RvString("Model File", true), RvString("/data/model.zip", false, false)));
    procedure.FindOrMakePath("Interpretation").AddTable(Table{});
    RvError(RvString("late warning", false), RvErrorShow::Both, RvErrorLevel::Warning);
    EXPECT_TRUE(AddNotes(2, RvString("Scored Data File", true), RvString("out.csv", false, false)));
    EXPECT_EQ(node->children.back()->kind, NodeKind::Notes);
    // Posted after the last note: the notes go back to the end when the procedure ends.
    session_.Post(MessageRecord{Severity::Warning, "SOME_KEY", {}, "posted after", "TCM MODEL"});
    EXPECT_EQ(node->children.back()->kind, NodeKind::Message);
  }
  int notes_tables = 0;
  for (const auto &child : node->children)
    notes_tables += child->kind == NodeKind::Notes;
  EXPECT_EQ(notes_tables, 1);
  ASSERT_EQ(node->children.size(), 4u);
  const OutputNode &notes = *node->children.back();
  ASSERT_EQ(notes.kind, NodeKind::Notes);
  EXPECT_EQ(notes.title, FacSTDictionary::Shared().LookUp("Notes"));
  EXPECT_EQ(notes.table.row_labels, (std::vector<std::string>{"Model File", "Scored Data File"}));
  ASSERT_EQ(notes.table.rows.size(), 2u);
  EXPECT_EQ(notes.table.rows[0][0].text, "/data/model.zip");
  EXPECT_EQ(notes.table.rows[1][0].text, "out.csv");
}

TEST_F(RvTest, NotesWithoutOpenProcedureAddNothing) {
  EXPECT_FALSE(AddNotes(2, RvString("Model File", true), RvString("x", false, false)));
  EXPECT_TRUE(document_.root.children.empty());
}

TEST_F(RvTest, OnlyFlaggedTextsAreTranslated) {
  const std::string key = "Output.UnknownChart";
  const std::string text = FacSTDictionary::Shared().LookUp(key);
  ASSERT_NE(text, key) << "the string table must hold " << key;

  EXPECT_EQ(RvString(key, true).Resolved(), text);
  EXPECT_EQ(RvString(key, false).Resolved(), key);
  EXPECT_EQ(RvString(key, false, false).Resolved(), key);
  EXPECT_EQ(RvString("No Such Word In The Table", true).Resolved(), "No Such Word In The Table");

  RvProcedure procedure("Temporal Causal Modeling", 10);
  procedure.Heading(RvString(key, true));
  procedure.Heading(RvString(key, false));
  AddNotes(2, RvString(key, true), RvString(key, false, false));
  RvError(RvString(key, true), RvErrorShow::Document, RvErrorLevel::Warning);
  const auto &children = procedure.Node().children;
  ASSERT_EQ(children.size(), 4u);
  EXPECT_EQ(children[0]->title, text);
  EXPECT_EQ(children[1]->title, key);
  EXPECT_EQ(children[2]->table.row_labels[0], text);
  EXPECT_EQ(children[2]->table.rows[0][0].text, key);
  EXPECT_EQ(children[3]->message.text, text);
  EXPECT_EQ(children[3]->message.args, std::vector<std::string>{key}); // untranslated source
}

TEST_F(RvTest, ErrorLevelMessagesCountAsErrorsOfTheCommand) {
  RvProcedure procedure("Temporal Causal Modeling", 10);
  // The value 2 that procedures pass for a text they show and carry on after is a warning.
  RvError(RvString("just a warning", false), static_cast<RvErrorShow>(2),
          static_cast<RvErrorLevel>(2));
  EXPECT_FALSE(document_.HasErrors());
  EXPECT_EQ(session_.error_count, 0);

  RvError(RvString("it failed", false), RvErrorShow::Both, RvErrorLevel::Error);
  EXPECT_TRUE(document_.HasErrors());
  EXPECT_EQ(session_.error_count, 1);
  EXPECT_EQ(procedure.ErrorCount(), 1);
  const MessageRecord &message = procedure.Node().children.back()->message;
  EXPECT_EQ(message.source, "RvError");
  EXPECT_EQ(message.command, "TCM MODEL");
  EXPECT_EQ(err_.str(), "Warning: TCM MODEL: just a warning\nError: TCM MODEL: it failed\n");

  // Shown on the error stream only: counted, not in the document.
  RvError(RvString("log only", false), RvErrorShow::Log, RvErrorLevel::Error);
  EXPECT_EQ(session_.error_count, 2);
  EXPECT_EQ(procedure.ErrorCount(), 1);
  EXPECT_NE(err_.str().find("Error: TCM MODEL: log only"), std::string::npos);
  // In the document only: nothing echoed.
  const std::string echoed = err_.str();
  RvError(RvString("quiet", false), RvErrorShow::Document, RvErrorLevel::Error);
  EXPECT_EQ(err_.str(), echoed);
  EXPECT_EQ(procedure.ErrorCount(), 2);
}

} // namespace
} // namespace host
