// This file contains the tokenizer of the command language: names, numbers, quoted strings and
// operators, with /* ... */ comments skipped.
#pragma once

#include <string>
#include <vector>

#include "host/syntax/token.h"

class ParserMessage;

namespace host {

// Appends the tokens of `text` to `tokens`. `first_line` is the file line of the text's first
// line, `file_name` names the file in messages. A fault (a quoted string without its closing
// quote on the same line, a comment without */, a number out of range, a character that is no
// token) is reported through `messages` with its line and column, and tokenizing stops there:
// the answer is false and the tokens read before the fault are kept. Any byte sequence is safe.
bool Tokenize(const std::string& text, int first_line, const std::string& file_name,
              std::vector<Token>& tokens, ParserMessage& messages);

} // namespace host
