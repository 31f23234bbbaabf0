// This file contains the tokenizer of the command language.
#include "host/syntax/tokenizer.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <system_error>

#include "host/messages/parser_message.h"

namespace host {
namespace {

bool IsSpace(unsigned char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\f' || c == '\v';
}
bool IsDigit(unsigned char c) {
  return c >= '0' && c <= '9';
}
// Bytes of UTF-8 sequences count as letters, so names in other scripts work.
bool IsNameStart(unsigned char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '@' || c == '#' || c == '$' ||
         c >= 0x80;
}
bool IsNamePart(unsigned char c) {
  return IsNameStart(c) || IsDigit(c) || c == '_' || c == '.';
}

int SingleOperator(unsigned char c) {
  switch (c) {
  case '+':
    return kOpPlus;
  case '-':
    return kOpMinus;
  case '=':
    return kOpEquals;
  case '<':
    return kOpLess;
  case '>':
    return kOpGreater;
  case '/':
    return kOpSlash;
  case '*':
    return kOpAsterisk;
  case ',':
    return kOpComma;
  case '.':
    return kOpPeriod;
  case '(':
    return kOpOpenParen;
  case ')':
    return kOpCloseParen;
  case '&':
    return kOpAmpersand;
  case '|':
    return kOpBar;
  case '~':
    return kOpTilde;
  case ':':
    return kOpColon;
  case ';':
    return kOpSemicolon;
  case '[':
    return kOpOpenBracket;
  case ']':
    return kOpCloseBracket;
  case '{':
    return kOpOpenBrace;
  case '}':
    return kOpCloseBrace;
  case '%':
    return kOpPercent;
  case '^':
    return kOpCaret;
  case '!':
    return kOpExclamation;
  case '?':
    return kOpQuestion;
  default:
    return kOpNone;
  }
}

int DoubleOperator(unsigned char a, unsigned char b) {
  if (a == '<' && b == '=')
    return kOpLessEqual;
  if (a == '>' && b == '=')
    return kOpGreaterEqual;
  if ((a == '<' && b == '>') || (a == '~' && b == '='))
    return kOpNotEqual;
  return kOpNone;
}

std::string Printable(unsigned char c) {
  if (c >= 0x21 && c < 0x7f)
    return std::string(1, static_cast<char>(c));
  char buffer[8];
  std::snprintf(buffer, sizeof buffer, "0x%02X", c);
  return buffer;
}

class Scanner {
 public:
  Scanner(const std::string& text, int first_line, const std::string& file,
          std::vector<Token>& tokens, ParserMessage& messages)
      : text_(text), file_(file), tokens_(tokens), messages_(messages), first_token_(tokens.size()),
        line_(first_line) {}

  bool Run() {
    while (pos_ < text_.size()) {
      const unsigned char c = At(pos_);
      if (c == '\n') {
        ++line_;
        line_start_ = ++pos_;
        continue;
      }
      if (IsSpace(c)) {
        ++pos_;
        continue;
      }
      if (c == '/' && At(pos_ + 1) == '*') {
        if (!SkipComment())
          return false;
        continue;
      }
      const bool ok = c == '\'' || c == '"'                  ? ReadString()
                      : StartsNumber()                       ? ReadNumber()
                      : IsNameStart(c)                       ? ReadName()
                      : DoubleOperator(c, At(pos_ + 1)) != 0 ? ReadOperator(2)
                      : SingleOperator(c) != 0               ? ReadOperator(1)
                                               : Fail("SYNTAX_INVALID_CHARACTER_KEY", Printable(c));
      if (!ok)
        return false;
    }
    return true;
  }

 private:
  unsigned char At(std::size_t i) const {
    return i < text_.size() ? static_cast<unsigned char>(text_[i]) : 0;
  }
  int Column() const { return static_cast<int>(pos_ - line_start_) + 1; }

  bool Fail(const std::string& key, const std::string& what) {
    messages_.HostError(key, {std::to_string(line_), file_, std::to_string(Column()), what});
    return false;
  }

  Token Start(TokenKind kind) const {
    Token token;
    token.kind = kind;
    token.line = line_;
    token.column = Column();
    return token;
  }

  void Push(Token token, std::size_t end) {
    token.upper = UpperAscii(token.text);
    tokens_.push_back(std::move(token));
    pos_ = end;
    last_end_ = end;
  }

  bool SkipComment() {
    const std::size_t close = text_.find("*/", pos_ + 2);
    if (close == std::string::npos)
      return Fail("SYNTAX_UNTERMINATED_COMMENT_KEY", "/*");
    for (std::size_t i = pos_; i < close; ++i) {
      if (text_[i] == '\n') {
        ++line_;
        line_start_ = i + 1;
      }
    }
    pos_ = close + 2;
    return true;
  }

  bool ReadString() {
    const char quote = text_[pos_];
    Token token = Start(TokenKind::String);
    token.quote = quote;
    std::size_t i = pos_ + 1;
    while (true) {
      if (i >= text_.size() || text_[i] == '\n') {
        const std::size_t show = std::min<std::size_t>(i - pos_, 20);
        return Fail("SYNTAX_UNTERMINATED_STRING_KEY", text_.substr(pos_, show));
      }
      if (text_[i] == quote) {
        if (At(i + 1) == static_cast<unsigned char>(quote)) {
          token.text += quote;
          i += 2;
          continue;
        }
        break;
      }
      token.text += text_[i++];
    }
    Push(std::move(token), i + 1);
    return true;
  }

  // A minus sign belongs to the number when it does not follow a value directly: "x-1" is a
  // subtraction, "START=-1" and "10 -1" are negative numbers.
  bool StartsNumber() const {
    const unsigned char c = At(pos_);
    if (IsDigit(c))
      return true;
    if (c == '.')
      return IsDigit(At(pos_ + 1));
    if (c != '-')
      return false;
    const bool digits = IsDigit(At(pos_ + 1)) || (At(pos_ + 1) == '.' && IsDigit(At(pos_ + 2)));
    if (!digits)
      return false;
    if (tokens_.size() == first_token_ || last_end_ < pos_)
      return true;
    const Token& previous = tokens_.back();
    return previous.kind == TokenKind::Operator && previous.op != kOpCloseParen;
  }

  bool ReadNumber() {
    Token token = Start(TokenKind::Number);
    std::size_t i = pos_;
    if (At(i) == '-')
      ++i;
    bool integer = true;
    while (IsDigit(At(i)))
      ++i;
    if (At(i) == '.' && IsDigit(At(i + 1))) {
      integer = false;
      ++i;
      while (IsDigit(At(i)))
        ++i;
    }
    if (At(i) == 'e' || At(i) == 'E') {
      std::size_t j = i + 1;
      if (At(j) == '+' || At(j) == '-')
        ++j;
      if (IsDigit(At(j))) {
        integer = false;
        while (IsDigit(At(j)))
          ++j;
        i = j;
      }
    }
    token.text = text_.substr(pos_, i - pos_);
    const char* first = token.text.data();
    const char* last = first + token.text.size();
    const auto result = std::from_chars(first, last, token.number, std::chars_format::general);
    if (result.ec != std::errc() || result.ptr != last) {
      return Fail("SYNTAX_INVALID_NUMBER_KEY", token.text);
    }
    token.is_integer = integer;
    Push(std::move(token), i);
    return true;
  }

  // A final period of a name belongs to what follows it (the command's terminator, or a
  // period operator), never to the name.
  bool ReadName() {
    Token token = Start(TokenKind::Name);
    std::size_t i = pos_ + 1;
    while (i < text_.size() && IsNamePart(At(i)))
      ++i;
    while (i > pos_ + 1 && text_[i - 1] == '.')
      --i;
    token.text = text_.substr(pos_, i - pos_);
    Push(std::move(token), i);
    return true;
  }

  bool ReadOperator(std::size_t length) {
    Token token = Start(TokenKind::Operator);
    token.text = text_.substr(pos_, length);
    token.op = length == 2 ? DoubleOperator(At(pos_), At(pos_ + 1)) : SingleOperator(At(pos_));
    Push(std::move(token), pos_ + length);
    return true;
  }

  const std::string& text_;
  const std::string& file_;
  std::vector<Token>& tokens_;
  ParserMessage& messages_;
  std::size_t pos_ = 0;
  std::size_t line_start_ = 0;
  std::size_t last_end_ = 0;
  std::size_t first_token_;
  int line_;
};

} // namespace

bool Tokenize(const std::string& text, int first_line, const std::string& file_name,
              std::vector<Token>& tokens, ParserMessage& messages) {
  Scanner scanner(text, first_line, file_name, tokens, messages);
  return scanner.Run();
}

} // namespace host
