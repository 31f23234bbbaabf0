// Tests of the tokenizer: names, numbers, quoted strings, operators, comments and faults.
#include <gtest/gtest.h>

#include "host/messages/parser_message.h"
#include "host/syntax/tokenizer.h"

namespace {
using host::Token;
using host::TokenKind;

std::vector<Token> Lex(const std::string& text, ParserMessage& messages, bool expect_ok = true) {
  std::vector<Token> tokens;
  EXPECT_EQ(host::Tokenize(text, 1, "t.tcm", tokens, messages), expect_ok) << text;
  return tokens;
}

TEST(Tokenizer, NamesKeepInnerPeriodsAndLeaveTheFinalOne) {
  ParserMessage messages;
  const auto tokens = Lex("region $casecount @x#1 retail.tcm x2. DEBUG_ Umsätze", messages);
  ASSERT_EQ(tokens.size(), 8u);
  EXPECT_EQ(tokens[0].text, "region");
  EXPECT_EQ(tokens[0].upper, "REGION");
  EXPECT_EQ(tokens[1].text, "$casecount");
  EXPECT_EQ(tokens[2].text, "@x#1");
  EXPECT_EQ(tokens[3].text, "retail.tcm");
  EXPECT_EQ(tokens[4].text, "x2");
  EXPECT_TRUE(tokens[5].IsOperator(host::kOpPeriod));
  EXPECT_EQ(tokens[6].text, "DEBUG_");
  EXPECT_EQ(tokens[7].text, "Umsätze");
  for (const auto& token : {tokens[0], tokens[3], tokens[7]})
    EXPECT_TRUE(token.IsName());
}

TEST(Tokenizer, NumbersWithSignFractionAndExponent) {
  ParserMessage messages;
  const auto tokens = Lex("12 -3 0.001 .5 2.5e3 1E-2 START=-1 x-1 (-2)", messages);
  ASSERT_EQ(tokens.size(), 15u);
  EXPECT_TRUE(tokens[0].IsNumber());
  EXPECT_TRUE(tokens[0].is_integer);
  EXPECT_DOUBLE_EQ(tokens[1].number, -3);
  EXPECT_TRUE(tokens[1].is_integer);
  EXPECT_DOUBLE_EQ(tokens[2].number, 0.001);
  EXPECT_FALSE(tokens[2].is_integer);
  EXPECT_DOUBLE_EQ(tokens[3].number, 0.5);
  EXPECT_DOUBLE_EQ(tokens[4].number, 2500);
  EXPECT_DOUBLE_EQ(tokens[5].number, 0.01);
  EXPECT_TRUE(tokens[7].IsOperator(host::kOpEquals));
  EXPECT_DOUBLE_EQ(tokens[8].number, -1); // after an operator the minus is a sign
  EXPECT_TRUE(tokens[9].IsName());        // x-1 is x, minus, 1
  EXPECT_TRUE(tokens[10].IsOperator(host::kOpMinus));
  EXPECT_DOUBLE_EQ(tokens[11].number, 1);
  EXPECT_DOUBLE_EQ(tokens[13].number, -2);
}

TEST(Tokenizer, QuotedStringsUndoDoubledQuotes) {
  ParserMessage messages;
  const auto tokens = Lex(R"('it''s' "say ""hi""" 'a "b"' "c 'd'" '')", messages);
  ASSERT_EQ(tokens.size(), 5u);
  EXPECT_EQ(tokens[0].text, "it's");
  EXPECT_EQ(tokens[0].quote, '\'');
  EXPECT_EQ(tokens[1].text, "say \"hi\"");
  EXPECT_EQ(tokens[1].quote, '"');
  EXPECT_EQ(tokens[2].text, "a \"b\"");
  EXPECT_EQ(tokens[3].text, "c 'd'");
  EXPECT_EQ(tokens[4].text, "");
  EXPECT_TRUE(tokens[4].IsString());
  EXPECT_EQ(host::SourceText(tokens[0]), "'it''s'");
}

TEST(Tokenizer, OperatorsAndCommentsWithLinesAndColumns) {
  ParserMessage messages;
  const auto tokens = Lex("a=(b)*/c, /* a\ncomment */ <= > ~=\n  +", messages);
  ASSERT_EQ(tokens.size(), 13u);
  EXPECT_EQ(tokens[1].op, 3);
  EXPECT_EQ(tokens[2].op, 13);
  EXPECT_EQ(tokens[4].op, 14);
  EXPECT_EQ(tokens[5].op, 10);
  EXPECT_EQ(tokens[6].op, host::kOpSlash);
  EXPECT_EQ(tokens[8].op, host::kOpComma);
  EXPECT_EQ(tokens[9].op, host::kOpLessEqual);
  EXPECT_EQ(tokens[9].line, 2); // after the comment's line break
  EXPECT_EQ(tokens[9].column, 12);
  EXPECT_EQ(tokens[11].op, host::kOpNotEqual);
  EXPECT_EQ(tokens.back().line, 3);
  const auto last = Lex("x\n  +", messages);
  EXPECT_EQ(last.back().line, 2);
  EXPECT_EQ(last.back().column, 3);
  EXPECT_TRUE(messages.Raised().empty());
}

TEST(Tokenizer, FaultsAreReportedWithTheirLineAndStop) {
  struct Case {
    std::string text;
    std::string key;
    std::string line;
    std::size_t kept;
  };
  const std::vector<Case> cases = {
      {"a\nb 'open", "SYNTAX_UNTERMINATED_STRING_KEY", "2", 2},
      {"a 'no\nclose'", "SYNTAX_UNTERMINATED_STRING_KEY", "1", 1},
      {"a\n\nb /* never closed", "SYNTAX_UNTERMINATED_COMMENT_KEY", "3", 2},
      {"a \\ b", "SYNTAX_INVALID_CHARACTER_KEY", "1", 1},
      {"a\n_b", "SYNTAX_INVALID_CHARACTER_KEY", "2", 1},
      {"x=1e999", "SYNTAX_INVALID_NUMBER_KEY", "1", 2},
  };
  for (const auto& c : cases) {
    ParserMessage messages;
    std::vector<Token> tokens;
    EXPECT_FALSE(host::Tokenize(c.text, 1, "t.tcm", tokens, messages)) << c.text;
    EXPECT_EQ(tokens.size(), c.kept) << c.text;
    ASSERT_EQ(messages.Raised().size(), 1u) << c.text;
    const auto& record = messages.Raised().front();
    EXPECT_EQ(record.source, c.key) << c.text;
    ASSERT_GE(record.args.size(), 2u);
    EXPECT_EQ(record.args[0], c.line) << c.text;
    EXPECT_EQ(record.args[1], "t.tcm");
  }
  // A control byte is shown in hexadecimal, and the first line number is honoured.
  ParserMessage messages;
  std::vector<Token> tokens;
  EXPECT_FALSE(host::Tokenize("a \x01", 40, "t.tcm", tokens, messages));
  EXPECT_EQ(messages.Raised().front().args[0], "40");
  EXPECT_EQ(messages.Raised().front().args[3], "0x01");
}

} // namespace
