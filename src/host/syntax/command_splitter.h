// This file contains the command splitter: a syntax file cut into commands, each tokenized.
#pragma once

#include <string>
#include <vector>

#include "host/syntax/token.h"

class ParserMessage;

namespace host {

struct CommandText {
  // "TCM MODEL", "TCM APPLY", "TCM ANALYSIS", "TSEXPLOR"; for another command its first word,
  // upper case; "COMMENT" for a comment.
  std::string name;
  std::string file; // the syntax file's name, for messages
  int line = 0;     // 1-based line where the command starts
  // The tokens after the name's words; empty for a comment.
  std::vector<Token> tokens;
  // The command's lines as written, joined by '\n'.
  std::string text;
  bool is_comment = false;
  // False when the tokenizer reported a fault: the command must not run.
  bool tokens_ok = true;
};

// Cuts `text` into commands. A command starts at the beginning of a line, runs over any
// number of lines and ends with a period that is the last non-blank character of a line
// (comments aside), with a blank line, or with the end of the text. A command that begins with
// `*` or the word COMMENT is a comment. Lines holding only blanks or comments between commands
// are skipped. Tokenizer faults are reported through `messages` with their line and mark their
// command; the other commands are still returned. Never fails on any input.
std::vector<CommandText> SplitCommands(const std::string& text, const std::string& file_name,
                                       ParserMessage& messages);

} // namespace host
