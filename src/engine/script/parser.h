// This file contains the parser of scripts: declarations, then one pipeline of stage calls.
#pragma once

#include <string_view>

#include "engine/script/ast.h"
#include "support/result.h"

namespace engine {

// Parses a whole script. On a fault the error's message names the line and the token found
// ("line 3: expected '(' after the stage name 'read', found ','") and its `line` is set. Also
// fails for a repeated declaration, bad JSON in a declaration (with the line of the fault), an
// argument naming no declaration, and a script without a pipeline.
support::Result<Script> ParseScript(std::string_view text);

}  // namespace engine
