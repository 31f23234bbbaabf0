// This file contains test helpers: the descriptor trees of TCM MODEL, TCM APPLY and TCM ANALYSIS
// as the module builds them, and a one-call parse of command text.
#pragma once

#include <string>

#include "host/messages/parser_message.h"
#include "host/syntax/command_spec.h"
#include "host/syntax/descriptors.h"

namespace syntax_test {

CommandDescriptor ModelTree();
CommandDescriptor ApplyTree();
CommandDescriptor AnalysisTree();

// Splits `text` (one command with its name), parses it against `tree` and answers the parser's
// result; a tokenizer fault answers -1.
int ParseCommandText(const std::string& text, CommandDescriptor& tree, CommandSpec& spec,
                     ParserMessage& messages);

// The source of the first message raised, or "" when none was.
std::string FirstSource(const ParserMessage& messages);

} // namespace syntax_test
