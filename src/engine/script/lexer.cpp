// This file contains the lexer of the script language.
#include "engine/script/lexer.h"

#include <cctype>

namespace engine {
namespace {
bool IsNameStart(char c) {
  return std::isalpha(static_cast<unsigned char>(c)) || c == '_' || c == '$';
}
bool IsNameChar(char c) { return IsNameStart(c) || std::isdigit(static_cast<unsigned char>(c)); }
}  // namespace

std::string Describe(const Token& token) {
  switch (token.kind) {
    case Token::Kind::kEnd: return "the end of the script";
    case Token::Kind::kNewline: return "a newline";
    case Token::Kind::kText: return "\"" + token.text + "\"";
    default: return "'" + token.text + "'";
  }
}

void Lexer::SkipBlanks() {
  while (pos_ < source_.size() &&
         (source_[pos_] == ' ' || source_[pos_] == '\t' || source_[pos_] == '\r')) {
    ++pos_;
  }
}

Token Lexer::Make(Token::Kind kind, std::string text, std::size_t start, int line) const {
  Token token;
  token.kind = kind;
  token.text = std::move(text);
  token.offset = start;
  token.line = line;
  return token;
}

Token Lexer::Peek() {
  const std::size_t pos = pos_;
  const int line = line_;
  Token token = Next();
  pos_ = pos;
  line_ = line;
  return token;
}

Token Lexer::Next() {
  SkipBlanks();
  const std::size_t start = pos_;
  if (pos_ >= source_.size()) return Make(Token::Kind::kEnd, "", start, line_);
  const char c = source_[pos_];
  if (c == '\n') {
    ++pos_;
    return Make(Token::Kind::kNewline, "\\n", start, line_++);
  }
  if (IsNameStart(c)) {
    while (pos_ < source_.size() && IsNameChar(source_[pos_])) ++pos_;
    return Make(Token::Kind::kName, std::string(source_.substr(start, pos_ - start)), start, line_);
  }
  if (std::isdigit(static_cast<unsigned char>(c)) ||
      (c == '-' && pos_ + 1 < source_.size() &&
       std::isdigit(static_cast<unsigned char>(source_[pos_ + 1])))) {
    ++pos_;
    while (pos_ < source_.size() &&
           (std::isdigit(static_cast<unsigned char>(source_[pos_])) || source_[pos_] == '.')) {
      ++pos_;
    }
    return Make(Token::Kind::kNumber, std::string(source_.substr(start, pos_ - start)), start,
                line_);
  }
  if (c == '"') {
    std::string text;
    ++pos_;
    while (pos_ < source_.size() && source_[pos_] != '"' && source_[pos_] != '\n') {
      char ch = source_[pos_++];
      if (ch == '\\' && pos_ < source_.size()) {
        const char escaped = source_[pos_++];
        ch = escaped == 'n' ? '\n' : escaped == 't' ? '\t' : escaped;
      }
      text += ch;
    }
    if (pos_ >= source_.size() || source_[pos_] != '"') {
      return Make(Token::Kind::kError, "unterminated text", start, line_);
    }
    ++pos_;
    return Make(Token::Kind::kText, std::move(text), start, line_);
  }
  auto two = [&](std::string_view symbol) {
    return source_.substr(pos_, 2) == symbol;
  };
  for (std::string_view symbol : {"=>", "->", "=="}) {
    if (two(symbol)) {
      pos_ += 2;
      return Make(Token::Kind::kSymbol, std::string(symbol), start, line_);
    }
  }
  if (std::string_view("=(),:.{}").find(c) != std::string_view::npos) {
    ++pos_;
    return Make(Token::Kind::kSymbol, std::string(1, c), start, line_);
  }
  ++pos_;
  return Make(Token::Kind::kError, std::string(1, c), start, line_);
}

Token Lexer::TakeJson() {
  SkipBlanks();
  const std::size_t start = pos_;
  const int start_line = line_;
  if (pos_ >= source_.size() || (source_[pos_] != '{' && source_[pos_] != '[')) {
    return Next();
  }
  int depth = 0;
  bool in_text = false;
  for (; pos_ < source_.size(); ++pos_) {
    const char c = source_[pos_];
    if (c == '\n') ++line_;
    if (in_text) {
      if (c == '\\') {
        ++pos_;
      } else if (c == '"') {
        in_text = false;
      }
      continue;
    }
    if (c == '"') {
      in_text = true;
    } else if (c == '{' || c == '[') {
      ++depth;
    } else if (c == '}' || c == ']') {
      if (--depth == 0) {
        ++pos_;
        return Make(Token::Kind::kText, std::string(source_.substr(start, pos_ - start)), start,
                    start_line);
      }
    }
  }
  return Make(Token::Kind::kError, "unclosed JSON value", start, start_line);
}

Token Lexer::TakeFieldName() {
  SkipBlanks();
  const std::size_t start = pos_;
  std::size_t end = pos_;
  while (end < source_.size()) {
    const char c = source_[end];
    if (c == ',' || c == ')' || c == '}' || c == '=' || c == '\n' || c == '"' || c == '(') break;
    if ((c == ' ' || c == '\t') && end > start) {
      std::size_t next = end;
      while (next < source_.size() && (source_[next] == ' ' || source_[next] == '\t')) ++next;
      if (source_.substr(next, 4) == "case" &&
          (next + 4 >= source_.size() || !IsNameChar(source_[next + 4]))) {
        break;
      }
    }
    ++end;
  }
  std::string_view name = source_.substr(start, end - start);
  while (!name.empty() && (name.back() == ' ' || name.back() == '\t' || name.back() == '\r')) {
    name.remove_suffix(1);
  }
  pos_ = end;
  if (name.empty()) return Next();
  return Make(Token::Kind::kName, std::string(name), start, line_);
}

}  // namespace engine
