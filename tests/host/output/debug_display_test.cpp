// This file contains tests of the debug lines and the settings display.
#include "host/output/debug_display.h"

#include <gtest/gtest.h>

#include "host/messages/fac_st_dictionary.h"
#include "output_test_support.h"

namespace host {
namespace {

using DebugDisplayTest = testing::SessionTest;

TEST_F(DebugDisplayTest, DebugLinesGoIntoOneBlockMadeAtTheFirstLine) {
  RvProcedure procedure("Temporal Causal Modeling", 10);
  ASDebug debug(procedure);
  EXPECT_TRUE(procedure.Node().children.empty()); // nothing until a line comes
  debug.addOutputLine("Done Parsing");
  RvError(RvString("between", false), RvErrorShow::Document, RvErrorLevel::Warning);
  debug.addOutputLine("Updated Data Model");
  debug.addOutputLine("Done()");

  const auto &children = procedure.Node().children;
  ASSERT_EQ(children.size(), 2u);
  EXPECT_EQ(children[0]->kind, NodeKind::Text);
  EXPECT_EQ(children[0]->title, FacSTDictionary::Shared().LookUp("Debug"));
  EXPECT_EQ(children[0]->lines,
            (std::vector<std::string>{"Done Parsing", "Updated Data Model", "Done()"}));
  EXPECT_EQ(debug.Lines().size(), 3u);

  ASDebug detached(nullptr);
  detached.addOutputLine("kept");
  EXPECT_EQ(detached.Lines(), std::vector<std::string>{"kept"});
}

TEST_F(DebugDisplayTest, DisplayLinesPadLabelsAndPrintShortestNumbers) {
  RvProcedure procedure("Temporal Causal Modeling", 10);
  ASStatDisplay::DisplayS("DATASETTINGS /TIMETYPE", "DURATION");
  ASStatDisplay::DisplayI("               INCREMENT", 3);
  ASStatDisplay::DisplayD("BUILDOPTIONS /CILEVEL", 95.0);
  ASStatDisplay::DisplayD("BUILDOPTIONS /OUTLIERTHRESH", 0.25);
  ASStatDisplay::DisplayIV("IV", {1, -2});
  ASStatDisplay::DisplayDV("DV", {1.5, 2.0, 1e-7});
  ASStatDisplay::DisplaySV("SV", {"a b", "c"});
  ASStatDisplay::DisplaySL("SL", {"x"});
  ASStatDisplay::DisplayVNL("VNL", {QuorVarName("Sales"), QuorVarName("cost")});
  ASStatDisplay::DisplayIV("EMPTY", {});
  const std::string long_label(50, 'L');
  ASStatDisplay::DisplayI(long_label, 7);
  ASStatDisplay::DisplayText("");

  const auto pad = [](const std::string &label) {
    return label + std::string(ASStatDisplay::kLabelWidth - label.size(), ' ');
  };
  ASSERT_EQ(procedure.Node().children.size(), 1u);
  const OutputNode &block = *procedure.Node().children[0];
  EXPECT_EQ(block.kind, NodeKind::Text);
  EXPECT_EQ(block.lines, (std::vector<std::string>{
                             pad("DATASETTINGS /TIMETYPE") + "DURATION",
                             pad("               INCREMENT") + "3",
                             pad("BUILDOPTIONS /CILEVEL") + "95",
                             pad("BUILDOPTIONS /OUTLIERTHRESH") + "0.25",
                             pad("IV") + "1, -2",
                             pad("DV") + "1.5, 2, 1e-07",
                             pad("SV") + "a b, c",
                             pad("SL") + "x",
                             pad("VNL") + "Sales, cost",
                             pad("EMPTY"),
                             long_label + " 7",
                             "",
                         }));
}

TEST_F(DebugDisplayTest, BannerGoesToTheFrontInItsOwnOrder) {
  RvProcedure procedure("Temporal Causal Modeling", 10);
  ASDebug debug(procedure);
  debug.addOutputLine("Done Parsing");
  procedure.FindOrMakePath("Review").AddTable(Table{});

  const std::string stars(52, '*');
  ASStatDisplay::DisplayText(stars, RV_ToFront);
  ASStatDisplay::DisplayText("* This text output is for debugging purposes only. *", RV_ToFront);
  ASStatDisplay::DisplayText("* This will not be part of the final release.      *", RV_ToFront);
  ASStatDisplay::DisplayText(stars, RV_ToFront);
  ASStatDisplay::DisplayText("TCM MODEL valid specificaton display starts\n", RV_ToFront);
  ASStatDisplay::DisplayS("DATASETTINGS /TIMETYPE", "DURATION");
  ASStatDisplay::DisplayI("late front line", 1, RV_ToFront);

  const auto &children = procedure.Node().children;
  ASSERT_EQ(children.size(), 3u);
  const OutputNode &block = *children[0]; // moved in front of the debug block and the table
  EXPECT_EQ(children[1]->title, FacSTDictionary::Shared().LookUp("Debug"));
  EXPECT_EQ(children[2]->title, "Review");
  ASSERT_EQ(block.lines.size(), 8u);
  EXPECT_EQ(block.lines[0], stars);
  EXPECT_EQ(block.lines[1], "* This text output is for debugging purposes only. *");
  EXPECT_EQ(block.lines[3], stars);
  EXPECT_EQ(block.lines[4], "TCM MODEL valid specificaton display starts");
  EXPECT_EQ(block.lines[5], ""); // the text's own newline ends in a blank line
  EXPECT_EQ(block.lines[6], ASStatDisplay::FormatLine("late front line", "1"));
  EXPECT_EQ(block.lines[7], ASStatDisplay::FormatLine("DATASETTINGS /TIMETYPE", "DURATION"));
}

TEST(DebugDisplayNoProcedure, DisplayWithoutProcedureIsHarmless) {
  ASSERT_EQ(OpenProcedureNode(), nullptr);
  ASStatDisplay::DisplayText("nowhere", RV_ToFront);
  ASStatDisplay::DisplayD("label", 1.0);
  SUCCEED();
}

} // namespace
} // namespace host
