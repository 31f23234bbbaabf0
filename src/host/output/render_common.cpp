// This file contains helpers shared by the renderers.
#include "host/output/render_common.h"

#include <algorithm>
#include <cctype>
#include <map>

#include "host/messages/fac_st_dictionary.h"

namespace host {

bool HasContent(const OutputNode &node) {
  if (node.kind != NodeKind::Heading && node.kind != NodeKind::Procedure)
    return true;
  for (const auto &child : node.children) {
    if (HasContent(*child))
      return true;
  }
  return false; // a procedure that wrote nothing (TSEXPLOR) leaves no trace
}

TableShape ShapeOf(const Table &table) {
  TableShape shape;
  for (const auto &row : table.rows)
    shape.columns = std::max(shape.columns, row.size());
  if (shape.columns == 0)
    shape.columns = table.column_labels.size();
  shape.row_header = !table.row_labels.empty();
  // With a row header column, one label more than the data columns is the corner's.
  shape.corner = shape.row_header && table.column_labels.size() == shape.columns + 1;
  shape.first_label = shape.corner ? 1 : 0;
  return shape;
}

std::string SeverityWord(Severity severity) {
  switch (severity) {
  case Severity::Error:
    return FacSTDictionary::Shared().LookUp("Error");
  case Severity::Warning:
    return FacSTDictionary::Shared().LookUp("Warning");
  case Severity::Note:
    return FacSTDictionary::Shared().LookUp("Note");
  }
  return {};
}

const char *SeverityName(Severity severity) {
  switch (severity) {
  case Severity::Error:
    return "error";
  case Severity::Warning:
    return "warning";
  case Severity::Note:
    return "note";
  }
  return "note";
}

namespace {

bool IsWordByte(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) != 0 || static_cast<unsigned char>(c) >= 0x80;
}

// The lengths of the prefix and suffix `a` and `b` share, each ending at a word's edge: the
// prefix at a space, the suffix before a character that is no part of a word.
std::pair<std::size_t, std::size_t> SharedEnds(const std::string &a, const std::string &b) {
  const std::size_t shortest = std::min(a.size(), b.size());
  std::size_t prefix = 0;
  while (prefix < shortest && a[prefix] == b[prefix])
    ++prefix;
  while (prefix > 0 && a[prefix - 1] != ' ')
    --prefix;
  std::size_t suffix = 0;
  while (suffix < shortest - prefix && a[a.size() - 1 - suffix] == b[b.size() - 1 - suffix])
    ++suffix;
  while (suffix > 0 && IsWordByte(a[a.size() - suffix]))
    --suffix;
  return {prefix, suffix};
}

// The part of `line` between its shared ends holds one word (no space) and the ends are most of
// the line: it names something, the rest is the note.
bool OneWordApart(const std::string &line, std::size_t prefix, std::size_t suffix) {
  if (prefix + suffix > line.size())
    return false;
  const std::string middle = line.substr(prefix, line.size() - prefix - suffix);
  return !middle.empty() && middle.find(' ') == std::string::npos &&
         (prefix + suffix) * 2 >= line.size();
}

} // namespace

TextRun AlikeTexts(const std::vector<std::unique_ptr<OutputNode>> &siblings, std::size_t from) {
  TextRun run;
  const OutputNode &first = *siblings[from];
  if (first.kind != NodeKind::Text || first.lines.empty())
    return run;
  run.lines = first.lines;
  std::size_t equal = 1;  // the run of texts equal to the first
  std::vector<std::pair<std::size_t, std::size_t>> ends(first.lines.size(),
                                                        {std::string::npos, std::string::npos});
  std::size_t alike = 1;
  for (std::size_t i = from + 1; i < siblings.size(); ++i) {
    const OutputNode &next = *siblings[i];
    if (next.kind != NodeKind::Text || next.lines.size() != first.lines.size())
      break;
    if (next.lines == first.lines && equal == i - from) {
      ++equal;
      ++alike;
      continue;
    }
    bool same_shape = true;
    std::vector<std::pair<std::size_t, std::size_t>> narrowed = ends;
    for (std::size_t l = 0; l < first.lines.size() && same_shape; ++l) {
      if (first.lines[l] == next.lines[l])
        continue;
      const auto [prefix, suffix] = SharedEnds(first.lines[l], next.lines[l]);
      narrowed[l] = {std::min(narrowed[l].first, prefix), std::min(narrowed[l].second, suffix)};
      same_shape = OneWordApart(first.lines[l], narrowed[l].first, narrowed[l].second) &&
                   OneWordApart(next.lines[l], narrowed[l].first, narrowed[l].second);
    }
    if (!same_shape)
      break;
    ends = std::move(narrowed);
    ++alike;
  }
  if (alike >= 3 && alike > equal) {
    run.count = alike;
    for (std::size_t l = 0; l < run.lines.size(); ++l) {
      const auto [prefix, suffix] = ends[l];
      if (prefix == std::string::npos)
        continue;  // the same in every text
      const std::string &line = first.lines[l];
      run.lines[l] = line.substr(0, prefix) + "\u2026" + line.substr(line.size() - suffix);
    }
  } else if (equal >= 2) {
    run.count = equal;
  }
  return run;
}

std::vector<std::string> DistinguishingTitles(const std::vector<std::string> &titles) {
  // Words and the separators before them: "visits-product:A" is {"visits"}, {"-product"}, {":A"}.
  const auto words_of = [](const std::string &title) {
    std::vector<std::string> words;
    std::string word;
    for (char c : title) {
      if (!IsWordByte(c) && !word.empty() && IsWordByte(word.back())) {
        words.push_back(word);
        word.clear();
      }
      word += c;
    }
    if (!word.empty())
      words.push_back(word);
    return words;
  };
  std::vector<std::vector<std::string>> split;
  std::map<std::size_t, std::size_t> shapes;  // titles by their count of words
  for (const auto &title : titles) {
    split.push_back(words_of(title));
    ++shapes[split.back().size()];
  }
  std::vector<std::string> shown = titles;
  for (const auto &[count, members] : shapes) {
    if (members < 3)
      continue;
    std::vector<bool> shared(count, true);
    const std::vector<std::string> *first = nullptr;
    for (const auto &words : split) {
      if (words.size() != count)
        continue;
      if (first == nullptr)
        first = &words;
      for (std::size_t w = 0; w < count; ++w)
        shared[w] = shared[w] && words[w] == (*first)[w];
    }
    if (std::find(shared.begin(), shared.end(), true) == shared.end())
      continue;  // titles alike in shape only: nothing to leave out
    for (std::size_t t = 0; t < titles.size(); ++t) {
      if (split[t].size() != count)
        continue;
      std::string text;
      for (std::size_t w = 0; w < count; ++w) {
        if (shared[w])
          continue;
        std::size_t start = 0;
        while (start < split[t][w].size() && !IsWordByte(split[t][w][start]))
          ++start;
        if (!text.empty())
          text += " \u00B7 ";
        text += split[t][w].substr(start);
      }
      if (!text.empty())
        shown[t] = text;
    }
  }
  return shown;
}

} // namespace host
