// Tests of the specs' debug displays: the banner in front, the opening line as the program has
// always spelled it, and what is shown only when set.
#include <gtest/gtest.h>

#include "host/output/rv.h"
#include "host/session.h"
#include "tcm/analysis/tcm_anly_spec.h"
#include "tcm/model/tcm_model_spec.h"

namespace {

std::vector<std::string> DisplayLines(const ValidSpec& spec) {
  host::OutputDocument document;
  host::Session session;
  session.document = &document;
  host::SessionScope scope(session);
  {
    RvProcedure procedure("Temporal Causal Modeling", 10);
    RvHeading(procedure).AddText(RvString("Before", false), {"first object"});
    spec.displayValidSpec();
  }
  std::vector<std::string> lines;
  const auto& procedure = *document.root.children.at(0);
  for (const auto& child : procedure.children) {
    if (child->kind != host::NodeKind::Text || child->title == "Before") continue;
    lines.insert(lines.end(), child->lines.begin(), child->lines.end());
  }
  EXPECT_EQ(procedure.children.front()->title == "Before", false)
      << "the banner goes in front of what the procedure showed before";
  return lines;
}

bool AnyStartsWith(const std::vector<std::string>& lines, const std::string& prefix) {
  for (const auto& line : lines) {
    if (line.rfind(prefix, 0) == 0) return true;
  }
  return false;
}

TEST(SpecDisplay, ModelBannerOpeningAndConditionalSettings) {
  TCMModelValidSpecs spec;
  spec.inputInterval.interval = TimeIntervalKind::IGNORE;
  auto lines = DisplayLines(spec);
  ASSERT_GE(lines.size(), 6u);
  EXPECT_EQ(lines[0], "****************************************************");
  EXPECT_EQ(lines[1], "* This text output is for debugging purposes only. *");
  EXPECT_EQ(lines[2], "* This will not be part of the final release.      *");
  EXPECT_EQ(lines[3], lines[0]);
  EXPECT_EQ(lines[4], "TCM MODEL valid specificaton display starts");
  EXPECT_FALSE(AnyStartsWith(lines, "DATASETTINGS /DIMENSIONS"));
  EXPECT_FALSE(AnyStartsWith(lines, "DATASETTINGS /INPUTINTERVAL"));
  EXPECT_TRUE(AnyStartsWith(lines, "BUILDOPTIONS /CILEVEL"));
  EXPECT_FALSE(AnyStartsWith(lines, "SERIESFILTER"));

  spec.dimensions = {QuorVarName("region")};
  spec.inputInterval.interval = TimeIntervalKind::DAY;
  spec.seriesFilters.emplace_back();
  spec.saveEntries.push_back({"PREDICTED", "Pred"});
  lines = DisplayLines(spec);
  EXPECT_TRUE(AnyStartsWith(lines, "DATASETTINGS /DIMENSIONS"));
  EXPECT_TRUE(AnyStartsWith(lines, "DATASETTINGS /INPUTINTERVAL"));
  EXPECT_TRUE(AnyStartsWith(lines, "SERIESFILTER 1 /FIELDS"));
  EXPECT_TRUE(AnyStartsWith(lines, "SAVE /PREDICTED"));
}

TEST(SpecDisplay, PasswordNeverShown) {
  TCMModelValidSpecs spec;
  spec.password = "s3cret";
  for (const auto& line : DisplayLines(spec)) EXPECT_EQ(line.find("s3cret"), std::string::npos);
}

TEST(SpecDisplay, AnalysisOpeningAndLevelsLabel) {
  TCMAnlySpec spec;
  const auto lines = DisplayLines(spec);
  ASSERT_GE(lines.size(), 5u);
  EXPECT_EQ(lines[4].rfind("TCM ANALYSIS valid specificaton display starts", 0), 0u);
  EXPECT_TRUE(AnyStartsWith(lines, "OPTIONS /MACLEVELS"));
}

}  // namespace
