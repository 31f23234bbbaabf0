// This file contains the escaping of text for HTML and SVG, so that no name or label a user
// gave can ever become markup.
#pragma once

#include <string>
#include <string_view>

namespace host {

// `text` with & < > " ' replaced by their character references; safe in element content and
// in quoted attribute values alike.
std::string EscapeMarkup(std::string_view text);

} // namespace host
