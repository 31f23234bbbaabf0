// This file contains host::Token, one token of the command language, and the operator codes.
#pragma once

#include <string>

namespace host {

enum class TokenKind { Name, Number, String, Operator };

// Operator codes. The module tests 3, 10, 13 and 14; the others are the host's own.
enum OperatorCode : int {
  kOpNone = 0,
  kOpPlus = 1,          // +
  kOpMinus = 2,         // -
  kOpEquals = 3,        // =
  kOpLess = 4,          // <
  kOpGreater = 5,       // >
  kOpLessEqual = 6,     // <=
  kOpGreaterEqual = 7,  // >=
  kOpNotEqual = 8,      // <> and ~=
  kOpSlash = 9,         // /
  kOpAsterisk = 10,     // *
  kOpComma = 11,        // ,
  kOpPeriod = 12,       // .
  kOpOpenParen = 13,    // (
  kOpCloseParen = 14,   // )
  kOpAmpersand = 15,    // &
  kOpBar = 16,          // |
  kOpTilde = 17,        // ~
  kOpColon = 18,        // :
  kOpSemicolon = 19,    // ;
  kOpOpenBracket = 20,  // [
  kOpCloseBracket = 21, // ]
  kOpOpenBrace = 22,    // {
  kOpCloseBrace = 23,   // }
  kOpPercent = 24,      // %
  kOpCaret = 25,        // ^
  kOpExclamation = 26,  // !
  kOpQuestion = 27,     // ?
};

struct Token {
  TokenKind kind = TokenKind::Name;
  // As written; for a string its content with doubled quotes undone.
  std::string text;
  // `text` with ASCII letters upper-cased: how keywords are compared.
  std::string upper;
  char quote = 0;          // '\'' or '"' for strings
  double number = 0.0;     // numbers only
  bool is_integer = false; // numbers written without fraction or exponent
  int op = kOpNone;        // operators only
  int line = 0;            // 1-based line in the syntax file
  int column = 0;          // 1-based column (byte) in that line

  bool IsName() const { return kind == TokenKind::Name; }
  bool IsNumber() const { return kind == TokenKind::Number; }
  bool IsString() const { return kind == TokenKind::String; }
  bool IsOperator(int code) const { return kind == TokenKind::Operator && op == code; }
};

// ASCII upper case; other bytes are kept.
std::string UpperAscii(const std::string& text);
// The token as the user would recognise it in a message: strings re-quoted.
std::string SourceText(const Token& token);
// Words of the language that can never name a variable (ALL, TO, BY, AND ...), any case.
bool IsReservedWord(const std::string& word);
// A name token that may stand for a variable: not a reserved word.
bool IsVariableNameToken(const Token& token);

} // namespace host
