// This file contains the escaping of text for HTML and SVG.
#include "host/output/markup.h"

namespace host {

std::string EscapeMarkup(std::string_view text) {
  std::string out;
  out.reserve(text.size() + text.size() / 8);
  for (char c : text) {
    switch (c) {
    case '&':
      out += "&amp;";
      break;
    case '<':
      out += "&lt;";
      break;
    case '>':
      out += "&gt;";
      break;
    case '"':
      out += "&quot;";
      break;
    case '\'':
      out += "&#39;";
      break;
    default:
      out += c;
    }
  }
  return out;
}

} // namespace host
