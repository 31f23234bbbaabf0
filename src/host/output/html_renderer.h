// This file contains the HTML renderer: the output document as one self-contained report page.
#pragma once

#include <string>

#include "host/output/document.h"

namespace host {

// The whole report as one HTML file that needs nothing else: its style, script and charts are
// inline and it refers to no other file or address. A left outline lists procedures, headings
// and objects and scrolls to them; tables, notes, messages (by severity), text blocks and
// charts follow in document order. Headings that no object filled are left out. Every text of
// the document is escaped. A chart payload of an unknown kind shows its title and a short note.
std::string RenderHtml(const OutputDocument &document);

} // namespace host
