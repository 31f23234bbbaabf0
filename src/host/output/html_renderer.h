// This file contains the HTML renderer: the output document as one self-contained report page.
#pragma once

#include <string>

#include "host/output/document.h"

namespace host {

// The whole report as one HTML file that needs nothing else: its style, script and charts are
// inline and it refers to no other file or address. A left outline (searchable, following the
// reader) lists procedures, headings and objects and scrolls to them, sibling objects by the
// words that tell them apart. The page opens on a summary of what the run found, drawn from
// objects the document holds (the quality distributions, the fit table, the top models' graph,
// the warnings); tables, notes, messages (by severity), text blocks and charts follow in
// document order, the review and headings of more than 12 objects collapsed. A run of alike
// texts, or of figures ending in the same note, is drawn once with the list it applies to.
// Headings that no object filled are left out. Every text of the document is escaped. A chart
// payload of an unknown kind shows its title and a short note.
std::string RenderHtml(const OutputDocument &document);

} // namespace host
