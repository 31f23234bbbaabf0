// This file contains the tests of the string table's behaviour and of ParserMessage: argument
// substitution, the fallback for a missing key, where the texts come from, and how messages reach
// the session's output and its error stream.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "host/messages/fac_st_dictionary.h"
#include "host/messages/parser_message.h"
#include "host/messages/source_scan.h"
#include "host/output/document.h"
#include "host/session.h"

namespace fs = std::filesystem;

namespace {

const fs::path kStrings = fs::path(TCM_SOURCE_DIR) / "resources" / "strings";

// A folder of its own under the temporary folder, removed with the object.
class TempFolder {
 public:
  TempFolder() {
    static int counter = 0;
    path_ = fs::temp_directory_path() /
            ("tcm_messages_test_" + std::to_string(::getpid()) + "_" + std::to_string(counter++));
    fs::remove_all(path_);
    fs::create_directories(path_);
  }
  ~TempFolder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
  }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  const fs::path& path() const { return path_; }
  void Write(const std::string& name, const std::string& text) const {
    std::ofstream(path_ / name, std::ios::binary) << text;
  }

 private:
  fs::path path_;
};

// Sets an environment variable for the life of the object, then restores it.
class ScopedEnv {
 public:
  ScopedEnv(const char* name, const std::string& value) : name_(name) {
    if (const char* old = std::getenv(name)) old_ = old;
    ::setenv(name, value.c_str(), 1);
  }
  ~ScopedEnv() {
    if (old_) {
      ::setenv(name_, old_->c_str(), 1);
    } else {
      ::unsetenv(name_);
    }
  }
  ScopedEnv(const ScopedEnv&) = delete;
  ScopedEnv& operator=(const ScopedEnv&) = delete;

 private:
  const char* name_;
  std::optional<std::string> old_;
};

// A session with a document and an error stream, current while the object lives.
struct TestSession {
  host::OutputDocument document;
  std::ostringstream err;
  host::Session session;
  std::optional<host::SessionScope> scope;
  TestSession() {
    session.document = &document;
    session.err = &err;
    scope.emplace(session);
  }
};

TEST(FacSTDictionary, SubstitutesArgumentsByNumber) {
  EXPECT_EQ(SubstituteArguments("%2 before %1, then %1 again", {"a", "b"}),
            "b before a, then a again");
  EXPECT_EQ(SubstituteArguments("<%3>", {"a"}), "<>") << "a missing argument is empty";
  EXPECT_EQ(SubstituteArguments("%1%2%3%4%5", {"1", "2", "3", "4", "5"}), "12345");
  EXPECT_EQ(SubstituteArguments("%6, %0, 100% and %", {"x"}), "%6, %0, 100% and %")
      << "only %1..%5 are placeholders";

  TempFolder folder;
  folder.Write("t.txt", "GREETING = Hello %1, you have %2 new messages.\n");
  const FacSTDictionary table(folder.path().string());
  EXPECT_EQ(table.Format("GREETING", {"Ann", "3"}), "Hello Ann, you have 3 new messages.");
  EXPECT_EQ(table.LookUp("GREETING"), "Hello %1, you have %2 new messages.");
}

TEST(FacSTDictionary, MissingKeyShowsTheKeyAndItsArguments) {
  const FacSTDictionary table;
  EXPECT_FALSE(table.Has("NO_SUCH_MESSAGE_KEY"));
  EXPECT_EQ(table.LookUp("NO_SUCH_MESSAGE_KEY"), "NO_SUCH_MESSAGE_KEY");
  EXPECT_EQ(table.Format("NO_SUCH_MESSAGE_KEY", {"a", "", "b"}), "NO_SUCH_MESSAGE_KEY a b");
  EXPECT_EQ(table.Format("NO_SUCH_MESSAGE_KEY", {}), "NO_SUCH_MESSAGE_KEY");
}

TEST(FacSTDictionary, ParseReportsBadLinesWithTheirNumbers) {
  std::vector<std::string> problems;
  const auto texts = FacSTDictionary::Parse(
      "# a comment\n\nA = first = with equals\nno equals sign here\n = no key\nA = again\n"
      "  B  =  spaced  \r\nC.key with blanks... = ok\n",
      &problems);
  EXPECT_EQ(texts.at("A"), "again");
  EXPECT_EQ(texts.at("B"), "spaced");
  EXPECT_EQ(texts.at("C.key with blanks..."), "ok");
  ASSERT_EQ(problems.size(), 3u);
  EXPECT_NE(problems[0].find("line 4"), std::string::npos) << problems[0];
  EXPECT_NE(problems[1].find("line 5"), std::string::npos) << problems[1];
  EXPECT_NE(problems[2].find("line 6"), std::string::npos) << problems[2];
  EXPECT_NE(problems[2].find("\"A\""), std::string::npos) << problems[2];
  FacSTDictionary::Parse("A = 1\n", nullptr);  // no list: no crash
}

TEST(FacSTDictionary, FolderAndBuiltInCopyGiveTheSameTexts) {
  const FacSTDictionary from_folder(kStrings.string());
  const FacSTDictionary built_in;
  EXPECT_EQ(from_folder.Origin(), kStrings.string());
  EXPECT_EQ(built_in.Origin(), "built-in");
  EXPECT_EQ(from_folder.Texts(), built_in.Texts())
      << "the compiled-in copy differs from resources/strings: rebuild";
  for (const char* key : {"MISMATCHING_INTERVAL_KEY", "RCA not available...",
                          "ParserMessage.InvalidParam"}) {
    EXPECT_TRUE(built_in.Has(key)) << key;
  }
  EXPECT_EQ(FacSTDictionary::Shared().Texts(), built_in.Texts());
}

TEST(FacSTDictionary, ReadsOnlyTxtFilesAndFallsBackWhenThereAreNone) {
  TempFolder folder;
  folder.Write("a.txt", "# first\nA = first\n");
  folder.Write("b.txt", "B = second %1\n");
  folder.Write("c.md", "C = not a table\n");
  const FacSTDictionary table(folder.path().string());
  EXPECT_EQ(table.Origin(), folder.path().string());
  EXPECT_EQ(table.Texts().size(), 2u);
  EXPECT_EQ(table.LookUp("A"), "first");
  EXPECT_EQ(table.Format("B", {"x"}), "second x");
  EXPECT_FALSE(table.Has("C"));

  const FacSTDictionary built_in;
  TempFolder empty;
  for (const fs::path& where : {empty.path(), empty.path() / "does-not-exist"}) {
    const FacSTDictionary fallback(where.string());
    EXPECT_EQ(fallback.Origin(), "built-in") << where;
    EXPECT_EQ(fallback.Texts(), built_in.Texts()) << where;
  }
}

TEST(FacSTDictionary, FindsTheTableInTheSessionsResourceFolderFirst) {
  FacSTDictionary::Shared();  // loaded before any session below could point it elsewhere
  {
    ScopedEnv env("TCM_RESOURCE_DIR", "/from/environment");
    EXPECT_EQ(PathFactory::getPathInstance(3).getPath(), "/from/environment/strings");
    host::Session session;
    session.resource_dir = "/from/session";
    host::SessionScope scope(session);
    EXPECT_EQ(PathFactory::getPathInstance(3).getPath(), "/from/session/strings");
  }
  ScopedEnv env("TCM_RESOURCE_DIR", "");
  EXPECT_EQ(fs::path(PathFactory::getPathInstance(3).getPath()), kStrings);
}

TEST(FacSTDictionary, HeapTablesAreFreedByTheHostAfterTheirMarkOrByDelete) {
  auto* earlier = new FacSTDictionary();
  const std::uint64_t mark = FacSTDictionary::HeapTableMark();
  const std::size_t live = FacSTDictionary::HeapTableCount();
  new FacSTDictionary();            // left behind, as the module leaves its table
  delete new FacSTDictionary();     // deleted by its maker: not freed again
  EXPECT_EQ(FacSTDictionary::HeapTableCount(), live + 1);
  FacSTDictionary::ReleaseHeapTablesSince(mark);
  EXPECT_EQ(FacSTDictionary::HeapTableCount(), live);
  // A table made before the mark stays usable.
  EXPECT_EQ(earlier->LookUp("Notes"), FacSTDictionary().LookUp("Notes"));
  delete earlier;
  EXPECT_EQ(FacSTDictionary::HeapTableCount(), live - 1);
}

TEST(ParserMessage, PostsToTheSessionAndEchoesToItsErrorStream) {
  TestSession t;
  ParserMessage messages;
  messages.SetCommandName("TCM MODEL");
  messages.InvalidParam("FOO", "DATASETTINGS");
  host::OutputNode* procedure =
      t.document.root.AddChild(host::NodeKind::Procedure, "Temporal Causal Modeling");
  t.session.open_procedure = procedure;
  messages.SimpleError("MISMATCHING_INTERVAL_KEY", "WEEK", "MONTH");
  messages.IgnoredParam("TIMEVAR", "DATASETTINGS");

  const auto posted = t.document.Messages();
  ASSERT_EQ(posted.size(), 3u);
  const FacSTDictionary& table = FacSTDictionary::Shared();

  EXPECT_EQ(posted[0]->source, "InvalidParam");
  EXPECT_EQ(posted[0]->args, (std::vector<std::string>{"FOO", "DATASETTINGS"}));
  EXPECT_EQ(posted[0]->severity, host::Severity::Error);
  EXPECT_EQ(posted[0]->command, "TCM MODEL");
  EXPECT_EQ(posted[0]->text, table.Format("ParserMessage.InvalidParam", posted[0]->args));
  EXPECT_NE(posted[0]->text.find("FOO"), std::string::npos) << posted[0]->text;

  EXPECT_EQ(posted[1]->source, "MISMATCHING_INTERVAL_KEY");
  EXPECT_EQ(posted[1]->args, (std::vector<std::string>{"WEEK", "MONTH"}));
  EXPECT_EQ(posted[1]->text, table.Format("MISMATCHING_INTERVAL_KEY", {"WEEK", "MONTH"}));
  EXPECT_LT(posted[1]->text.find("WEEK"), posted[1]->text.find("MONTH"))
      << "the analysis interval comes first: " << posted[1]->text;
  EXPECT_EQ(posted[2]->severity, host::Severity::Warning);

  // Messages raised while a procedure is open belong to it; the first came before it opened.
  ASSERT_EQ(t.document.root.children.size(), 2u);
  EXPECT_EQ(t.document.root.children[0]->message.source, "InvalidParam");
  ASSERT_EQ(procedure->children.size(), 2u);
  EXPECT_EQ(procedure->children[0]->message.source, "MISMATCHING_INTERVAL_KEY");
  EXPECT_EQ(t.err.str(), "Error: TCM MODEL: " + posted[0]->text + "\nError: TCM MODEL: " +
                             posted[1]->text + "\nWarning: TCM MODEL: " + posted[2]->text +
                             "\n");
}

TEST(ParserMessage, CountsErrorsAndWarningsAndKeepsArgumentsInOrder) {
  TestSession t;
  ParserMessage messages;
  messages.SimpleError("PWD_TOO_LONG_KEY");
  messages.GenericWarning("NO_RCA_KEY");
  messages.SimpleWarning("IGNORE_VAR_KEY", "price sales", "GROUP");
  messages.GenericError("INVALID_DIM_VAL_KEY", "DATAFILTER", "", "region");
  messages.HostError("NO_TEXT_FOR_THIS_KEY", {"first", "second"});
  messages.InvalidParamValue(2.5, "LEVEL", "DATASETTINGS");

  EXPECT_EQ(messages.ErrorCount(), 4);
  EXPECT_EQ(messages.WarningCount(), 2);
  const auto& raised = messages.Raised();
  ASSERT_EQ(raised.size(), 6u);
  EXPECT_TRUE(raised[0].args.empty()) << "unused trailing arguments are dropped";
  EXPECT_EQ(raised[2].text, FacSTDictionary::Shared().Format("IGNORE_VAR_KEY",
                                                             {"price sales", "GROUP"}));
  EXPECT_EQ(raised[3].args, (std::vector<std::string>{"DATAFILTER", "", "region"}))
      << "an empty argument inside the list keeps the others in place";
  EXPECT_EQ(raised[4].text, "NO_TEXT_FOR_THIS_KEY first second")
      << "a key without a text still shows what was passed";
  EXPECT_EQ(raised[5].args[0], "2.5");
  EXPECT_EQ(t.document.Messages().size(), 6u);
  EXPECT_TRUE(t.document.HasErrors());
  EXPECT_EQ(t.err.str().rfind("Warning: ", 0), std::string::npos) << "first line is an error";
  EXPECT_EQ(t.err.str().rfind("Error: ", 0), 0u) << "no command set: no command in the line";
}

TEST(ParserMessage, WorksWithoutASessionAndTranslatesWithoutPosting) {
  ASSERT_EQ(host::CurrentSession(), nullptr);
  ParserMessage messages;
  messages.NoSubCom();
  EXPECT_EQ(messages.ErrorCount(), 1);
  ASSERT_EQ(messages.Raised().size(), 1u);
  EXPECT_EQ(messages.Raised()[0].text, FacSTDictionary::Shared().LookUp("ParserMessage.NoSubCom"));

  TestSession t;
  const std::string text = messages.GetTranslatedText("NOT_USED_KEY", "CORE");
  EXPECT_EQ(text, FacSTDictionary::Shared().Format("NOT_USED_KEY", {"CORE"}));
  EXPECT_NE(text.find("CORE"), std::string::npos);
  EXPECT_TRUE(t.document.Messages().empty());
  EXPECT_EQ(messages.ErrorCount(), 1);
}

// Every message of the module, raised by its key as the commands raise it, must show the text
// of that key, whatever the key looks like.
TEST(ParserMessage, ShowsTheTableTextOfEveryModuleMessage) {
  const auto module = FacSTDictionary::Parse(tcm_test::ReadWholeFile(kStrings / "module.txt"));
  ASSERT_FALSE(module.empty());
  const FacSTDictionary& table = FacSTDictionary::Shared();
  const std::vector<std::string> args = {"<1>", "<2>", "<3>", "<4>", "<5>"};
  bool as_error = true;  // both ways of raising, in turn
  for (const auto& [key, text] : module) {
    ParserMessage messages;
    if (as_error) {
      messages.SimpleError(key, args[0], args[1], args[2], args[3], args[4]);
    } else {
      messages.GenericWarning(key, args[0], args[1], args[2], args[3], args[4]);
    }
    as_error = !as_error;
    ASSERT_EQ(messages.Raised().size(), 1u);
    EXPECT_EQ(messages.Raised()[0].source, key);
    EXPECT_EQ(messages.Raised()[0].text, table.Format(key, args))
        << "\"" << key << "\" is raised with a text that is not its own";
  }
}

}  // namespace
