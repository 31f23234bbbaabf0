// This file contains the tests of the string table's files: every key the code uses has a text,
// the files are well-formed, and each message's text uses exactly the arguments it is given.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "host/messages/fac_st_dictionary.h"
#include "host/messages/source_scan.h"

namespace fs = std::filesystem;

namespace {

const fs::path kRoot = TCM_SOURCE_DIR;
const fs::path kStrings = kRoot / "resources" / "strings";

// How many arguments each message of the module takes, as the commands raise it. Every key of
// module.txt is here, and its text must use exactly %1..%n.
const std::map<std::string, int> kModuleKeyArguments = {
    // Dimension value filters
    {"FILED_NOT_ON_DIMENSIONS_KEY", 2},  // subcommand, field
    {"ALL_TO_ON_DIMVAL_KEY", 1},         // subcommand
    {"INVALID_DIM_VAL_KEY", 3},          // filter label, value, field
    {"EMPTY_DIM_VAL_KEY", 2},            // filter label, field
    {"MAX_EXCEED_KEY", 2},               // MAXDIMVALUES, fields
    // Time structure and intervals
    {"NO_DIMENSIONS_KEY", 0},
    {"DATE_SPEC_EFFECT_KEY", 0},
    {"NO_INPUTINTERVAL_KEY", 0},
    {"WRONG_MODELINTERVAL_KEY", 0},
    {"USEINPUT_IRREGULAR_KEY", 0},
    {"MISMATCHING_INTERVAL_KEY", 2},  // analysis interval, input interval
    {"INVALID_HRSDAY_KEY", 0},
    {"INVALID_TIMEVAR_KEY", 1},         // variable
    {"INVALID_TIMEVAR_FORMAT_KEY", 1},  // variable
    {"INVALID_ISOVAR_KEY", 1},          // variable
    {"PERIOD_VAR_REQUIRED_KEY", 0},
    {"IGNORE_VAR_KEY", 2},  // fields, keyword
    // Fields
    {"TARGET_REQUIRED_KEY", 1},  // field group number
    {"WRONG_TARGET_KEY", 2},     // subcommand, field
    {"ALL_WITH_VAR_KEY", 1},     // subcommand
    {"STRING_VAR_IGNORED", 1},   // subcommand
    // Estimation period
    {"INVALID_START_KEY", 0},
    {"MISMATCHING_START_END_KEY", 0},
    {"WRONG_LENGTH_DATE_SPEC_KEY", 0},
    {"SINGLE_INT_VAL_KEY", 1},  // ESTIMATIONPERIOD or SCENARIOPERIOD
    {"SINGLE_INTEGER_KEY", 0},
    {"INCOMPATIBLE_SPEC_KEY", 0},
    // Output, saving, data checks, model system files
    {"PWD_TOO_LONG_KEY", 0},
    {"PWD_NO_DATA_FILE_KEY", 0},
    {"NO_RCA_KEY", 0},
    {"PCT_NOT_APPLIED_KEY", 3},      // PCT, N, top models of the graph
    {"NO_TARGET_NOINPUTS_KEY", 0},
    {"NO_TARGET_BESTFIT_KEY", 1},    // N
    {"MERGE_CASES_DROPPED_KEY", 1},  // cases dropped
    {"DE_ERROR_KEY", 0},
    {"INVALID_MODEL_KEY", 0},
    // Expressions and scenario period
    {"INVALID_EXPRESSION_KEY", 0},
    {"SA_FORMAT_REQUIRED_KEY", 0},
    {"START_AFTER_END_KEY", 0},
    {"INVALID_THRU_KEY", 0},
    {"END_AFTER_THRU_KEY", 0},
    {"PRE_THRU_KEY", 0},
    {"INVALID_PERIOD_KEY", 0},
    // Scenarios, groups, target lists
    {"DUP_SCENARIOID_KEY", 0},
    {"DUP_PREFIX_KEY", 0},
    {"EXPRESSION_MISSING_KEY", 2},        // scenario number, expression
    {"EXPRESSION_MISSING_GROUP_KEY", 2},  // group number, expression
    {"NOT_ALL_DIM_KEY", 1},               // scenario number
    {"NO_TARGETLIST_KEY", 1},             // scenario number
    {"NO_GROUP_TARGET_KEY", 1},           // group number
    {"WRONG_TARGET_FIELD_KEY", 2},        // subcommand, field
    {"NOT_REFERRED_KEY", 0},
    {"NOT_USED_KEY", 1},          // list ID
    {"INVALID_VAL_NUM_KEY", 3},   // "SCENARIO n", values needed, values given
    {"SKIPPED_SCENARIO_KEY", 1},  // scenario number
    {"SKIPPED_GROUP_KEY", 1},     // group number
    {"SCENARIO_RUNS_NOT_BUILT_KEY", 0},
    // Calculation of scenario values: fixed texts raised as keys
    {"Forecasting failed", 0},
    {"Calculation failed", 0},
    {"tcm score failed.", 0},
    {"ar score failed.", 0},
    {"initiating scorer failed.", 0},
    {"scoring failed.", 0},
    {"missing dimension variable.", 0},
    {"no dimension values.", 0},
};

struct TableFile {
  fs::path path;
  std::string text;
};

std::vector<TableFile> ReadTableFiles() {
  std::vector<TableFile> files;
  for (const auto& entry : fs::directory_iterator(kStrings)) {
    if (entry.path().extension() == ".txt") {
      files.push_back(TableFile{entry.path(), tcm_test::ReadWholeFile(entry.path())});
    }
  }
  std::sort(files.begin(), files.end(),
            [](const TableFile& a, const TableFile& b) { return a.path < b.path; });
  return files;
}

// The numbers of the placeholders a text uses; a '%' not followed by a digit counts as 0.
std::set<int> Placeholders(const std::string& text) {
  std::set<int> numbers;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') continue;
    const char next = i + 1 < text.size() ? text[i + 1] : '\0';
    numbers.insert(next >= '0' && next <= '9' ? next - '0' : 0);
  }
  return numbers;
}

std::set<int> OneTo(int n) {
  std::set<int> numbers;
  for (int i = 1; i <= n; ++i) numbers.insert(i);
  return numbers;
}

std::string Describe(const std::set<int>& numbers) {
  std::string out;
  for (int n : numbers) out += (out.empty() ? "%" : " %") + std::to_string(n);
  return out.empty() ? "none" : out;
}

std::vector<tcm_test::KeyUse> UsesInSources() {
  std::vector<tcm_test::KeyUse> uses;
  for (const auto& path : tcm_test::SourceFiles(kRoot, {"src", "apps"})) {
    const std::string relative = fs::relative(path, kRoot).generic_string();
    for (auto& use : tcm_test::FindKeyUses(tcm_test::ReadWholeFile(path), relative)) {
      uses.push_back(std::move(use));
    }
  }
  return uses;
}

TEST(StringTableFiles, ParseWithoutProblemsAndDefineEachKeyOnce) {
  const auto files = ReadTableFiles();
  ASSERT_FALSE(files.empty()) << "no *.txt in " << kStrings;
  std::map<std::string, std::string> defined_in;
  for (const auto& file : files) {
    const std::string name = file.path.filename().string();
    std::vector<std::string> problems;
    const auto texts = FacSTDictionary::Parse(file.text, &problems);
    for (const auto& problem : problems) ADD_FAILURE() << name << ", " << problem;
    EXPECT_FALSE(texts.empty()) << name << " defines no text";
    for (const auto& [key, text] : texts) {
      EXPECT_FALSE(text.empty()) << name << ": \"" << key << "\" has an empty text";
      const std::set<int> numbers = Placeholders(text);
      for (int n : numbers) {
        EXPECT_TRUE(n >= 1 && n <= 5)
            << name << ": \"" << key << "\" has a '%' that is not one of %1..%5: " << text;
      }
      const auto [it, inserted] = defined_in.emplace(key, name);
      EXPECT_TRUE(inserted) << "\"" << key << "\" is defined in " << it->second << " and in "
                            << name;
    }
  }
}

TEST(StringTableFiles, ModuleMessagesUseExactlyTheirArguments) {
  const auto texts = FacSTDictionary::Parse(tcm_test::ReadWholeFile(kStrings / "module.txt"));
  ASSERT_FALSE(texts.empty()) << "module.txt is missing or empty";
  for (const auto& [key, text] : texts) {
    const auto arity = kModuleKeyArguments.find(key);
    if (arity == kModuleKeyArguments.end()) {
      ADD_FAILURE() << "module.txt has \"" << key
                    << "\", which the list of module messages lacks: add it with its arguments";
      continue;
    }
    EXPECT_EQ(Describe(Placeholders(text)), Describe(OneTo(arity->second)))
        << "\"" << key << "\" takes " << arity->second << " argument(s); its text is: " << text;
  }
  for (const auto& [key, arity] : kModuleKeyArguments) {
    EXPECT_EQ(texts.count(key), 1u) << "module.txt has no text for \"" << key << "\"";
  }
}

TEST(StringTableFiles, EveryKeyTheSourcesUseHasAText) {
  const FacSTDictionary table(kStrings.string());
  ASSERT_EQ(table.Origin(), kStrings.string()) << "the folder could not be read";
  const auto uses = UsesInSources();
  // The scanner must see the parser's own methods, or it sees nothing at all.
  const bool saw_methods = std::any_of(uses.begin(), uses.end(), [](const tcm_test::KeyUse& use) {
    return use.key == "ParserMessage.NoSubCom" && use.how == "TCM_ERROR";
  });
  EXPECT_TRUE(saw_methods) << "the scan of src/ found no TCM_ERROR(NoSubCom) in parser_message.cpp";
  for (const auto& use : uses) {
    if (table.Has(use.key)) continue;
    ADD_FAILURE() << "no text for \"" << use.key << "\", used by " << use.how << " in "
                  << use.file << ":" << use.line;
  }
}

TEST(StringTableFiles, CallsPassTheArgumentsTheirTextsExpect) {
  const FacSTDictionary table(kStrings.string());
  for (const auto& use : UsesInSources()) {
    if (use.args < 0 || !table.Has(use.key)) continue;  // a missing text is reported above
    const std::string where = use.how + " in " + use.file + ":" + std::to_string(use.line);
    const std::set<int> used = Placeholders(table.LookUp(use.key));
    const int highest = used.empty() ? 0 : *used.rbegin();
    EXPECT_LE(highest, use.args) << "the text of \"" << use.key << "\" uses %" << highest
                                 << ", but " << where << " passes " << use.args
                                 << " argument(s)";
    const auto arity = kModuleKeyArguments.find(use.key);
    if (arity != kModuleKeyArguments.end()) {
      EXPECT_EQ(use.args, arity->second) << "\"" << use.key << "\" takes " << arity->second
                                         << " argument(s), but " << where << " passes "
                                         << use.args;
    }
  }
}

TEST(StringTableFiles, UserDocumentationListsEveryModuleMessage) {
  const std::string doc = tcm_test::ReadWholeFile(kRoot / "docs" / "messages.md");
  ASSERT_FALSE(doc.empty()) << "docs/messages.md is missing";
  const auto texts = FacSTDictionary::Parse(tcm_test::ReadWholeFile(kStrings / "module.txt"));
  for (const auto& [key, text] : texts) {
    EXPECT_NE(doc.find("`" + key + "`"), std::string::npos)
        << "docs/messages.md does not explain \"" << key << "\"";
  }
}

}  // namespace
