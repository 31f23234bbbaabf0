// This file contains the lexer of the script language.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace engine {

struct Token {
  enum class Kind {
    kName,     // letters, digits, '_' and '$', not starting with a digit; "_" alone too
    kText,     // a double-quoted string, escapes resolved
    kNumber,
    kSymbol,   // = => -> ( ) , : . { } ==
    kNewline,
    kEnd,
    kError,    // `text` says what is wrong
  };
  Kind kind = Kind::kEnd;
  std::string text;   // the token as written (resolved for texts)
  int line = 1;
  std::size_t offset = 0;
};

// Reads tokens one by one. Blanks, tabs and carriage returns separate tokens; a newline is a
// token of its own because declarations end at one.
class Lexer {
 public:
  explicit Lexer(std::string_view source) : source_(source) {}

  Token Next();
  Token Peek();
  // A JSON object or array starting at the next non-blank character: the raw text up to its
  // matching bracket, brackets inside strings skipped. A kError token when it is not closed.
  Token TakeJson();
  // A bare field name after "x.": everything up to ',', ')', '}', '=', a newline or a blank
  // followed by the word "case", with blanks at the end trimmed, so names may hold blanks.
  Token TakeFieldName();

  int line() const { return line_; }

 private:
  void SkipBlanks();
  Token Make(Token::Kind kind, std::string text, std::size_t start, int line) const;

  std::string_view source_;
  std::size_t pos_ = 0;
  int line_ = 1;
};

// How a token is named in a message: "'->'", "the end of the script", "a newline".
std::string Describe(const Token& token);

}  // namespace engine
