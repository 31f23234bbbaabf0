// This file contains the helpers of host::Token.
#include "host/syntax/token.h"

#include <array>
#include <string_view>

namespace host {

std::string UpperAscii(const std::string& text) {
  std::string upper = text;
  for (char& c : upper) {
    if (c >= 'a' && c <= 'z')
      c = static_cast<char>(c - 'a' + 'A');
  }
  return upper;
}

std::string SourceText(const Token& token) {
  if (token.kind != TokenKind::String)
    return token.text;
  const char quote = token.quote == '"' ? '"' : '\'';
  std::string out(1, quote);
  for (char c : token.text) {
    out += c;
    if (c == quote)
      out += c;
  }
  out += quote;
  return out;
}

bool IsReservedWord(const std::string& word) {
  static constexpr std::array<std::string_view, 13> kReserved = {
      "ALL", "AND", "BY", "EQ", "GE", "GT", "LE", "LT", "NE", "NOT", "OR", "TO", "WITH"};
  const std::string upper = UpperAscii(word);
  for (std::string_view reserved : kReserved) {
    if (upper == reserved)
      return true;
  }
  return false;
}

bool IsVariableNameToken(const Token& token) {
  return token.kind == TokenKind::Name && !token.text.empty() && !IsReservedWord(token.text);
}

} // namespace host
