// This file contains the tests of the source scanner that the string-table coverage test relies on.
#include "host/messages/source_scan.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using tcm_test::FindKeyUses;
using tcm_test::KeyUse;

std::string Keys(const std::vector<KeyUse>& uses) {
  std::string out;
  for (const auto& use : uses) {
    out += use.key + "@" + std::to_string(use.line) + ":" + use.how + "/" +
           std::to_string(use.args) + "\n";
  }
  return out;
}

TEST(SourceScan, FindsEveryKindOfUseWithItsLineAndArguments) {
  const std::string source = R"src(// Header "COMMENTED_KEY" in a comment
#define TCM_ERROR(Method, ...) Emit(Severity::Error, #Method, {__VA_ARGS__})
#define TCM_WARNING(Method, ...) \
  Emit(Severity::Warning, #Method, {__VA_ARGS__})
void F() {
  TCM_ERROR(NoSubCom);
  TCM_WARNING(IgnoredParam, param, Sub(a, b));
  messages->SimpleError("MISMATCHING_INTERVAL_KEY", IntervalName(x, y), name);
  ctx.GenericWarning(
      "NO_RCA_KEY");
  /* "BLOCK_KEY" GenericError("in a block comment") */
  GenericError("Forecasting failed");
  HostError("HOST_KEY", {a, b, Join(c, d)});
  HostError("OTHER_KEY", args);
  RvString("Model File", true);
  RvString(path, true);
  RvString("final text", false);
  order.setOutlineTitle("Top models", true);
  dict.LookUp("Scenario");
  const char* k = "STANDALONE_KEY";
  const char* not_a_key = "lower_KEY";
  std::string s = "// not a comment \" GenericError(\"quoted\")";
  char c = '"'; int n = 1'000;
  SimpleWarning("STRING_VAR" "_IGNORED", "FIELDS");
  auto raw = R"x(SimpleError("RAW") )" )x";
  GetTranslatedText("TEXT_KEY", "a", "b", "c");
}
)src";
  const auto uses = FindKeyUses(source, "f.cpp");
  EXPECT_EQ(Keys(uses),
            "ParserMessage.NoSubCom@6:TCM_ERROR/0\n"
            "ParserMessage.IgnoredParam@7:TCM_WARNING/2\n"
            "MISMATCHING_INTERVAL_KEY@8:SimpleError/2\n"
            "NO_RCA_KEY@10:GenericWarning/0\n"
            "Forecasting failed@12:GenericError/0\n"
            "HOST_KEY@13:HostError/3\n"
            "OTHER_KEY@14:HostError/-1\n"
            "Model File@15:RvString/-1\n"
            "Top models@18:setOutlineTitle/-1\n"
            "Scenario@19:LookUp/-1\n"
            "STANDALONE_KEY@20:literal/-1\n"
            "STRING_VAR_IGNORED@24:SimpleWarning/1\n"
            "TEXT_KEY@26:GetTranslatedText/3\n");
  for (const auto& use : uses) EXPECT_EQ(use.file, "f.cpp");
}

TEST(SourceScan, SurvivesBrokenText) {
  // Unterminated literals and comments end the scan quietly rather than reading past the end.
  EXPECT_EQ(FindKeyUses("SimpleError(\"UNTERMINATED", "x").size(), 1u);
  EXPECT_TRUE(FindKeyUses("/* open comment SimpleError(\"A_KEY\")", "x").empty());
  EXPECT_TRUE(FindKeyUses("R\"x(never closed", "x").empty());
  EXPECT_TRUE(FindKeyUses("", "x").empty());
  EXPECT_EQ(FindKeyUses("SimpleError(\"A_KEY\", a", "x").at(0).args, 1);
}

}  // namespace
