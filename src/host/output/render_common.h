// This file contains what the HTML and text renderers share about reading the document.
#pragma once

#include <string>

#include "host/output/document.h"

namespace host {

// The layout of a table both renderers draw: the count of data columns, whether a row header
// column stands first, and whether the column labels start with the corner's.
struct TableShape {
  std::size_t columns = 0;
  bool row_header = false;
  bool corner = false;
  std::size_t first_label = 0;  // the column label of the first data column
};
TableShape ShapeOf(const Table &table);

// False for a heading with nothing below it but other empty headings: a place holder that no
// object filled. Every renderer leaves such headings out.
bool HasContent(const OutputNode &node);

// The translated word for a severity ("Error", "Warning", "Note").
std::string SeverityWord(Severity severity);

// The lowercase name of a severity, as the JSON form and the HTML classes use it.
const char *SeverityName(Severity severity);

// A run of sibling text objects that say the same for different series ("No outliers were
// detected in <series>, ..."): the renderers draw it once, with the list of titles it applies
// to. Texts fold when they are equal, or (three or more) when each line differs only in one
// word, the series' name, which the shared lines show as "\u2026".
struct TextRun {
  std::size_t count = 1;            // siblings from `from` in the run; 1: nothing folds
  std::vector<std::string> lines;   // the lines they share
};
TextRun AlikeTexts(const std::vector<std::unique_ptr<OutputNode>> &siblings, std::size_t from);

// How the contents show the titles of sibling objects: words every title has at the same place
// ("product", "region" of "visits-product:A-region:North") are left out, so the part that tells
// them apart comes first ("visits \u00B7 A \u00B7 North"). Titles are compared with those of
// the same count of words; a title is kept whole when fewer than three have its shape, or when
// they share no word.
std::vector<std::string> DistinguishingTitles(const std::vector<std::string> &titles);

} // namespace host
