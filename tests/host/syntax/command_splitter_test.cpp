// Tests of the command splitter: endings, comments, names and faults.
#include <gtest/gtest.h>

#include "host/messages/parser_message.h"
#include "host/syntax/command_splitter.h"

namespace {
using host::CommandText;

std::vector<std::string> Names(const std::vector<CommandText>& commands) {
  std::vector<std::string> names;
  for (const auto& command : commands)
    names.push_back(command.name);
  return names;
}

TEST(CommandSplitter, EndsAtFinalPeriodBlankLineOrEnd) {
  ParserMessage messages;
  const std::string text = "tcm model /DATASETTINGS TIMETYPE=NONE\n"
                           "   /FIELDSGROUP /FIELDS TARGETS=y.\n"
                           "TCM   Apply /MODELSYSTEM FILE='a.b.'\n"
                           "   /OUTFILE DATA=*.   \n"
                           "TSEXPLOR\n"
                           "\n"
                           "Tcm Analysis /MODELSYSTEM FILE='x'\n"
                           "  /SCENARIOPERIOD TIMES=RELATIVE START=1 END=2";
  const auto commands = host::SplitCommands(text, "s.tcm", messages);
  EXPECT_EQ(Names(commands),
            (std::vector<std::string>{"TCM MODEL", "TCM APPLY", "TSEXPLOR", "TCM ANALYSIS"}));
  ASSERT_EQ(commands.size(), 4u);
  EXPECT_EQ(commands[0].line, 1);
  EXPECT_EQ(commands[1].line, 3);
  EXPECT_EQ(commands[3].line, 7);
  EXPECT_EQ(commands[0].file, "s.tcm");
  // The name's words are gone; the terminator is no token; "y" keeps no period.
  EXPECT_EQ(commands[0].tokens.front().text, "/");
  EXPECT_EQ(commands[0].tokens.back().text, "y");
  EXPECT_EQ(commands[0].text.find("TARGETS=y.") != std::string::npos, true);
  // A period inside quotes ends nothing; "*." ends the command after the asterisk.
  EXPECT_EQ(commands[1].tokens[4].text, "a.b.");
  EXPECT_EQ(commands[1].tokens.back().op, host::kOpAsterisk);
  EXPECT_TRUE(commands[2].tokens.empty());
  EXPECT_EQ(commands[3].tokens.back().text, "2");
  EXPECT_TRUE(messages.Raised().empty());
}

TEST(CommandSplitter, CommentsOfBothKinds) {
  ParserMessage messages;
  const std::string text = "* A comment with a quote ' in it\n"
                           "  that goes on.\n"
                           "comment another one.\n"
                           "/* a block comment\n"
                           "\n"
                           "   between commands */\n"
                           "TCM MODEL /FIELDS /* inside. */ TARGETS=a /* hides the end */\n"
                           "\n"
                           "FOO bar baz.\n"
                           "TCM MODEL /FIELDS TARGETS=b. /* after the end */\n";
  const auto commands = host::SplitCommands(text, "c.tcm", messages);
  EXPECT_EQ(Names(commands),
            (std::vector<std::string>{"COMMENT", "COMMENT", "TCM MODEL", "FOO", "TCM MODEL"}));
  ASSERT_EQ(commands.size(), 5u);
  EXPECT_TRUE(commands[0].is_comment);
  EXPECT_TRUE(commands[0].tokens.empty());
  EXPECT_EQ(commands[0].text, "* A comment with a quote ' in it\n  that goes on.");
  EXPECT_TRUE(commands[1].is_comment);
  EXPECT_FALSE(commands[2].is_comment);
  EXPECT_EQ(commands[2].line, 7);
  ASSERT_EQ(commands[2].tokens.size(), 5u); // / FIELDS TARGETS = a
  EXPECT_EQ(commands[3].tokens.size(), 2u); // an unknown command keeps the rest
  EXPECT_EQ(commands[4].tokens.back().text, "b");
  EXPECT_TRUE(messages.Raised().empty());
}

TEST(CommandSplitter, TokenizerFaultMarksOnlyItsCommand) {
  ParserMessage messages;
  const auto commands = host::SplitCommands(
      "TCM MODEL /FIELDS TARGETS='open.\nTCM APPLY /MODELSYSTEM FILE='m'.\n", "f.tcm", messages);
  // A string left open at the end of a line closes nothing, and the line's final period still
  // ends the command.
  ASSERT_EQ(commands.size(), 2u);
  EXPECT_FALSE(commands[0].tokens_ok);
  EXPECT_TRUE(commands[1].tokens_ok);
  ASSERT_EQ(messages.Raised().size(), 1u);
  EXPECT_EQ(messages.Raised()[0].source, "SYNTAX_UNTERMINATED_STRING_KEY");
  EXPECT_EQ(messages.Raised()[0].args[0], "1");
  EXPECT_EQ(messages.Raised()[0].args[1], "f.tcm");
}

TEST(CommandSplitter, EmptyAndOddInputs) {
  ParserMessage messages;
  EXPECT_TRUE(host::SplitCommands("", "e.tcm", messages).empty());
  EXPECT_TRUE(host::SplitCommands("\n\n   \n", "e.tcm", messages).empty());
  EXPECT_TRUE(host::SplitCommands(" .\n", "e.tcm", messages).empty());
  const auto crlf = host::SplitCommands("TSEXPLOR.\r\nTSEXPLOR\r\n", "e.tcm", messages);
  EXPECT_EQ(crlf.size(), 2u);
  EXPECT_TRUE(messages.Raised().empty());
}

} // namespace
