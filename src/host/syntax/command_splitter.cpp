// This file contains the command splitter.
#include "host/syntax/command_splitter.h"

#include "host/messages/parser_message.h"
#include "host/syntax/tokenizer.h"

namespace host {
namespace {

bool IsBlankChar(char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\f' || c == '\v';
}

std::vector<std::string> SplitLines(const std::string& text) {
  std::vector<std::string> lines;
  std::size_t start = 0;
  while (start <= text.size()) {
    std::size_t end = text.find('\n', start);
    if (end == std::string::npos)
      end = text.size();
    std::string line = text.substr(start, end - start);
    if (!line.empty() && line.back() == '\r')
      line.pop_back();
    lines.push_back(std::move(line));
    start = end + 1;
  }
  // A final newline does not open one more line.
  if (lines.size() > 1 && lines.back().empty() && !text.empty() && text.back() == '\n') {
    lines.pop_back();
  }
  return lines;
}

// What one line of a command holds, outside comments and strings.
struct LineScan {
  bool blank = true;                          // only blanks, and not inside a comment
  std::size_t first = std::string::npos;      // first character outside a comment
  std::size_t terminator = std::string::npos; // a final period outside strings and comments
};

// Strings never span lines; block comments do, through `in_comment`.
LineScan ScanLine(const std::string& line, bool& in_comment) {
  LineScan scan;
  scan.blank = !in_comment;
  char in_string = 0;
  std::size_t last = std::string::npos;
  bool last_is_period = false;
  for (std::size_t i = 0; i < line.size(); ++i) {
    const char c = line[i];
    if (!IsBlankChar(c))
      scan.blank = false;
    if (in_comment) {
      if (c == '*' && i + 1 < line.size() && line[i + 1] == '/') {
        in_comment = false;
        ++i;
      }
      continue;
    }
    if (in_string != 0) {
      if (c == in_string) {
        if (i + 1 < line.size() && line[i + 1] == in_string) {
          ++i;
        } else {
          in_string = 0;
        }
      }
      last = i;
      last_is_period = false;
      continue;
    }
    if (IsBlankChar(c))
      continue;
    if (c == '/' && i + 1 < line.size() && line[i + 1] == '*') {
      in_comment = true;
      ++i;
      continue;
    }
    if (scan.first == std::string::npos)
      scan.first = i;
    if (c == '\'' || c == '"')
      in_string = c;
    last = i;
    last_is_period = c == '.';
  }
  // A string left open at the line's end is a fault the tokenizer reports; its final period
  // still ends the command, so that one missing quote does not swallow the next command.
  if (last_is_period || (in_string != 0 && last != std::string::npos && line[last] == '.')) {
    scan.terminator = last;
  }
  return scan;
}

bool StartsWithWord(const std::string& line, std::size_t at, const std::string& word) {
  if (UpperAscii(line.substr(at, word.size())) != word)
    return false;
  const std::size_t after = at + word.size();
  if (after >= line.size())
    return true;
  const unsigned char c = static_cast<unsigned char>(line[after]);
  const bool name_char = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
                         (c >= '0' && c <= '9') || c == '_' || c == '@' || c == '#' || c == '$' ||
                         c >= 0x80;
  return !name_char;
}

std::string LastNonBlank(const std::string& line) {
  const std::size_t last = line.find_last_not_of(" \t\r\f\v");
  return last == std::string::npos ? std::string() : line.substr(last, 1);
}

// Sets the command's name from its first tokens and drops the name's words.
void NameCommand(CommandText& command) {
  auto& tokens = command.tokens;
  if (tokens.empty())
    return;
  std::size_t words = 1;
  if (tokens[0].IsName() && tokens[0].upper == "TCM" && tokens.size() > 1 && tokens[1].IsName() &&
      (tokens[1].upper == "MODEL" || tokens[1].upper == "APPLY" || tokens[1].upper == "ANALYSIS")) {
    command.name = "TCM " + tokens[1].upper;
    words = 2;
  } else {
    command.name = tokens[0].kind == TokenKind::Name ? tokens[0].upper : tokens[0].text;
  }
  tokens.erase(tokens.begin(), tokens.begin() + static_cast<std::ptrdiff_t>(words));
}

} // namespace

std::vector<CommandText> SplitCommands(const std::string& text, const std::string& file_name,
                                       ParserMessage& messages) {
  const std::vector<std::string> lines = SplitLines(text);
  std::vector<CommandText> commands;
  bool in_comment = false;
  std::size_t i = 0;
  while (i < lines.size()) {
    const bool comment_before = in_comment;
    const LineScan first = ScanLine(lines[i], in_comment);
    if (first.first == std::string::npos) { // blank, or only comment text
      ++i;
      continue;
    }
    CommandText command;
    command.file = file_name;
    command.line = static_cast<int>(i) + 1;
    const std::string& head = lines[i];
    command.is_comment = !comment_before &&
                         (head[first.first] == '*' || StartsWithWord(head, first.first, "COMMENT"));
    if (command.is_comment) {
      // A comment is not tokenized: quotes and comment marks in it mean nothing.
      in_comment = false;
      command.name = "COMMENT";
      std::size_t j = i;
      command.text = lines[j];
      while (LastNonBlank(lines[j]) != "." && j + 1 < lines.size()) {
        if (lines[j + 1].find_first_not_of(" \t\r\f\v") == std::string::npos)
          break;
        command.text += '\n' + lines[++j];
      }
      commands.push_back(std::move(command));
      i = j + 1;
      continue;
    }
    // The text handed to the tokenizer: comment text before the command's start and the
    // terminating period become blanks, so that columns stay true.
    std::string source = std::string(first.first, ' ') + head.substr(first.first);
    command.text = head;
    std::size_t j = i;
    LineScan scan = first;
    while (true) {
      if (scan.terminator != std::string::npos) {
        const std::size_t offset = source.size() - lines[j].size();
        source[offset + scan.terminator] = ' ';
        break;
      }
      if (j + 1 >= lines.size())
        break;
      const bool comment_open = in_comment;
      LineScan next = ScanLine(lines[j + 1], in_comment);
      if (next.blank && !comment_open)
        break;
      ++j;
      command.text += '\n' + lines[j];
      source += '\n' + lines[j];
      scan = next;
    }
    i = j + 1;
    command.tokens_ok = Tokenize(source, command.line, file_name, command.tokens, messages);
    NameCommand(command);
    if (command.name.empty() && command.tokens_ok)
      continue; // a lone period
    commands.push_back(std::move(command));
  }
  return commands;
}

} // namespace host
