// This file contains the source scanner of the string-table tests.
#include "host/messages/source_scan.h"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <set>
#include <sstream>

namespace tcm_test {
namespace {

bool IsIdentStart(char c) {
  return std::isalpha(static_cast<unsigned char>(c)) != 0 || c == '_';
}
bool IsIdentChar(char c) { return IsIdentStart(c) || std::isdigit(static_cast<unsigned char>(c)); }

class Lexer {
 public:
  explicit Lexer(const std::string& source) : src_(source) {}

  std::vector<Token> Run() {
    while (pos_ < src_.size()) Step();
    return std::move(tokens_);
  }

 private:
  char At(std::size_t offset) const {
    return pos_ + offset < src_.size() ? src_[pos_ + offset] : '\0';
  }

  void Advance() {
    if (src_[pos_] == '\n') {
      ++line_;
      line_start_ = true;
      // A directive goes on over the next line when its line ends with a backslash.
      std::size_t last = pos_;
      while (last > 0 && src_[last - 1] == '\r') --last;
      if (!(last > 0 && src_[last - 1] == '\\')) in_directive_ = false;
    }
    ++pos_;
  }

  void Push(Token::Kind kind, std::string text, int line) {
    if (kind == Token::Kind::String && !tokens_.empty() &&
        tokens_.back().kind == Token::Kind::String && tokens_.back().in_directive == in_directive_) {
      tokens_.back().text += text;  // "a" "b" is "ab"
      return;
    }
    tokens_.push_back(Token{kind, std::move(text), line, in_directive_});
  }

  void Step() {
    const char c = src_[pos_];
    if (c == '\n' || std::isspace(static_cast<unsigned char>(c)) != 0) {
      Advance();
      return;
    }
    if (line_start_ && c == '#') in_directive_ = true;
    line_start_ = false;
    if (c == '/' && At(1) == '/') {
      while (pos_ < src_.size() && src_[pos_] != '\n') ++pos_;
      return;
    }
    if (c == '/' && At(1) == '*') {
      pos_ += 2;
      while (pos_ < src_.size() && !(src_[pos_] == '*' && At(1) == '/')) Advance();
      pos_ = std::min(src_.size(), pos_ + 2);
      return;
    }
    if (c == '"') {
      QuotedString();
      return;
    }
    if (c == '\'') {
      CharLiteral();
      return;
    }
    if (std::isdigit(static_cast<unsigned char>(c)) != 0 ||
        (c == '.' && std::isdigit(static_cast<unsigned char>(At(1))) != 0)) {
      Number();
      return;
    }
    if (IsIdentStart(c)) {
      Identifier();
      return;
    }
    Push(Token::Kind::Punct, std::string(1, c), line_);
    Advance();
  }

  void Identifier() {
    const std::size_t start = pos_;
    while (pos_ < src_.size() && IsIdentChar(src_[pos_])) ++pos_;
    const std::string word = src_.substr(start, pos_ - start);
    if (At(0) == '"') {
      if (word == "R" || word == "u8R" || word == "uR" || word == "UR" || word == "LR") {
        RawString();
        return;
      }
      if (word == "u8" || word == "u" || word == "U" || word == "L") {
        QuotedString();
        return;
      }
    }
    Push(Token::Kind::Identifier, word, line_);
  }

  void Number() {
    const std::size_t start = pos_;
    while (pos_ < src_.size()) {
      const char c = src_[pos_];
      const char prev = pos_ > start ? src_[pos_ - 1] : '\0';
      if (IsIdentChar(c) || c == '.' || (c == '\'' && IsIdentChar(At(1))) ||
          ((c == '+' || c == '-') && (prev == 'e' || prev == 'E' || prev == 'p' || prev == 'P'))) {
        ++pos_;
      } else {
        break;
      }
    }
    Push(Token::Kind::Number, src_.substr(start, pos_ - start), line_);
  }

  void QuotedString() {
    const int line = line_;
    ++pos_;  // the opening quote
    std::string value;
    while (pos_ < src_.size() && src_[pos_] != '"' && src_[pos_] != '\n') {
      if (src_[pos_] == '\\' && pos_ + 1 < src_.size()) {
        const char e = src_[pos_ + 1];
        switch (e) {
        case 'n': value += '\n'; break;
        case 't': value += '\t'; break;
        case '0': value += '\0'; break;
        case '\n': break;  // a line continued inside the literal
        default: value += e; break;
        }
        if (e == '\n') {
          ++pos_;
          Advance();
        } else {
          pos_ += 2;
        }
        continue;
      }
      value += src_[pos_];
      ++pos_;
    }
    if (pos_ < src_.size() && src_[pos_] == '"') ++pos_;
    Push(Token::Kind::String, std::move(value), line);
  }

  void RawString() {
    const int line = line_;
    ++pos_;  // the opening quote
    const std::size_t open = src_.find('(', pos_);
    if (open == std::string::npos) {
      pos_ = src_.size();
      return;
    }
    const std::string closing = ")" + src_.substr(pos_, open - pos_) + "\"";
    pos_ = open + 1;
    const std::size_t end = src_.find(closing, pos_);
    const std::size_t stop = end == std::string::npos ? src_.size() : end;
    std::string value = src_.substr(pos_, stop - pos_);
    while (pos_ < stop) Advance();
    pos_ = std::min(src_.size(), stop + closing.size());
    Push(Token::Kind::String, std::move(value), line);
  }

  void CharLiteral() {
    ++pos_;
    while (pos_ < src_.size() && src_[pos_] != '\'' && src_[pos_] != '\n') {
      pos_ += src_[pos_] == '\\' ? 2 : 1;
    }
    if (pos_ < src_.size() && src_[pos_] == '\'') ++pos_;
  }

  const std::string& src_;
  std::size_t pos_ = 0;
  int line_ = 1;
  bool line_start_ = true;
  bool in_directive_ = false;
  std::vector<Token> tokens_;
};

bool IsKeyLiteral(const std::string& text) {
  if (text.size() <= 4 || text.compare(text.size() - 4, 4, "_KEY") != 0) return false;
  return std::all_of(text.begin(), text.end(), [](char c) {
    return std::isupper(static_cast<unsigned char>(c)) != 0 ||
           std::isdigit(static_cast<unsigned char>(c)) != 0 || c == '_';
  });
}

bool IsPunct(const Token& token, char c) {
  return token.kind == Token::Kind::Punct && token.text.size() == 1 && token.text[0] == c;
}

// Counts the arguments that follow the token at `first` (a key or a method name) inside the call
// whose parenthesis closes later: each comma at the call's own depth opens one. A braced list
// right after the key (HostError's argument vector) counts by its elements; with `braced_only`,
// anything else is a vector of unknown size, -1.
int CountArgumentsAfter(const std::vector<Token>& tokens, std::size_t first, bool braced_only) {
  std::size_t i = first + 1;
  if (i >= tokens.size() || !IsPunct(tokens[i], ',')) return 0;
  ++i;
  if (braced_only && !(i < tokens.size() && IsPunct(tokens[i], '{'))) return -1;
  if (i < tokens.size() && IsPunct(tokens[i], '{')) {
    int depth = 0;
    int count = 0;
    bool empty = true;
    for (std::size_t j = i + 1; j < tokens.size(); ++j) {
      const Token& t = tokens[j];
      if (depth == 0 && IsPunct(t, '}')) return empty ? 0 : count + 1;
      if (IsPunct(t, '(') || IsPunct(t, '{') || IsPunct(t, '[')) ++depth;
      if (IsPunct(t, ')') || IsPunct(t, '}') || IsPunct(t, ']')) --depth;
      if (depth == 0 && IsPunct(t, ',')) ++count;
      empty = false;
    }
    return count + 1;
  }
  int depth = 0;
  int count = 1;
  for (std::size_t j = i; j < tokens.size(); ++j) {
    const Token& t = tokens[j];
    if (depth == 0 && IsPunct(t, ')')) return count;
    if (IsPunct(t, '(') || IsPunct(t, '{') || IsPunct(t, '[')) ++depth;
    if (IsPunct(t, ')') || IsPunct(t, '}') || IsPunct(t, ']')) --depth;
    if (depth == 0 && IsPunct(t, ',')) ++count;
  }
  return count;
}

const std::set<std::string>& KeyCalls() {
  static const std::set<std::string> calls = {"LookUp",        "GetTranslatedText", "SimpleError",
                                              "SimpleWarning", "GenericError",      "GenericWarning",
                                              "HostError"};
  return calls;
}

}  // namespace

std::vector<Token> Tokenize(const std::string& source) { return Lexer(source).Run(); }

std::vector<KeyUse> FindKeyUses(const std::string& source, const std::string& file) {
  const std::vector<Token> tokens = Tokenize(source);
  std::vector<KeyUse> uses;
  std::set<std::size_t> claimed;  // literal tokens already reported as a call's argument
  for (std::size_t i = 0; i + 2 < tokens.size(); ++i) {
    const Token& name = tokens[i];
    if (name.kind != Token::Kind::Identifier || !IsPunct(tokens[i + 1], '(')) continue;
    const Token& first = tokens[i + 2];
    if (KeyCalls().count(name.text) != 0 && first.kind == Token::Kind::String) {
      const int args = name.text == "LookUp"
                           ? -1
                           : CountArgumentsAfter(tokens, i + 2, name.text == "HostError");
      uses.push_back(KeyUse{first.text, file, first.line, name.text, args});
      claimed.insert(i + 2);
    } else if ((name.text == "RvString" || name.text == "setOutlineTitle") &&
               first.kind == Token::Kind::String && i + 4 < tokens.size() &&
               IsPunct(tokens[i + 3], ',') && tokens[i + 4].kind == Token::Kind::Identifier &&
               tokens[i + 4].text == "true") {
      uses.push_back(KeyUse{first.text, file, first.line, name.text, -1});
      claimed.insert(i + 2);
    } else if ((name.text == "TCM_ERROR" || name.text == "TCM_WARNING") && !name.in_directive &&
               first.kind == Token::Kind::Identifier) {
      uses.push_back(KeyUse{"ParserMessage." + first.text, file, first.line, name.text,
                            CountArgumentsAfter(tokens, i + 2, false)});
    }
  }
  for (std::size_t i = 0; i < tokens.size(); ++i) {
    if (tokens[i].kind == Token::Kind::String && claimed.count(i) == 0 &&
        IsKeyLiteral(tokens[i].text)) {
      uses.push_back(KeyUse{tokens[i].text, file, tokens[i].line, "literal", -1});
    }
  }
  std::stable_sort(uses.begin(), uses.end(),
            [](const KeyUse& a, const KeyUse& b) { return a.line < b.line; });
  return uses;
}

std::vector<std::filesystem::path> SourceFiles(const std::filesystem::path& root,
                                               const std::vector<std::string>& folders) {
  namespace fs = std::filesystem;
  static const std::set<std::string> extensions = {".h",   ".hh",  ".hpp", ".hxx", ".c",
                                                   ".cc",  ".cpp", ".cxx", ".inc", ".def",
                                                   ".ipp", ".tpp"};
  std::vector<fs::path> files;
  for (const auto& folder : folders) {
    std::error_code error;
    const fs::path dir = root / folder;
    if (!fs::is_directory(dir, error)) continue;
    for (fs::recursive_directory_iterator it(dir, error), end; !error && it != end;
         it.increment(error)) {
      if (it->is_regular_file(error) && extensions.count(it->path().extension().string()) != 0) {
        files.push_back(it->path());
      }
    }
  }
  std::sort(files.begin(), files.end());
  return files;
}

std::string ReadWholeFile(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

}  // namespace tcm_test
