// This file contains the text renderer of the output document.
#include "host/output/text_renderer.h"

#include <algorithm>

#include "host/messages/fac_st_dictionary.h"
#include "host/output/chart_data.h"
#include "host/output/chart_model.h"
#include "host/output/number_format.h"
#include "host/output/render_common.h"

namespace host {
namespace {

// Decodes the code point at `at`, advancing it; a byte that starts no valid sequence is one
// code point of its own.
char32_t NextCodePoint(const std::string &text, std::size_t &at) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned char lead = byte(at);
  std::size_t length = lead < 0x80           ? 1
                       : (lead >> 5) == 0x6  ? 2
                       : (lead >> 4) == 0xE  ? 3
                       : (lead >> 3) == 0x1E ? 4
                                             : 0;
  if (length <= 1 || at + length > text.size()) {
    ++at;
    return lead;
  }
  char32_t point = lead & (0xFF >> (length + 1));
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(at + i) & 0xC0) != 0x80) {
      ++at;
      return lead;
    }
    point = (point << 6) | (byte(at + i) & 0x3F);
  }
  at += length;
  return point;
}

bool IsCombining(char32_t c) {
  return (c >= 0x0300 && c <= 0x036F) || (c >= 0x1AB0 && c <= 0x1AFF) ||
         (c >= 0x1DC0 && c <= 0x1DFF) || (c >= 0x20D0 && c <= 0x20FF) ||
         (c >= 0xFE20 && c <= 0xFE2F) || c == 0x200B || c == 0x200D;
}

bool IsWide(char32_t c) {
  return (c >= 0x1100 && c <= 0x115F) || (c >= 0x2E80 && c <= 0x303E) ||
         (c >= 0x3041 && c <= 0x33FF) || (c >= 0x3400 && c <= 0x4DBF) ||
         (c >= 0x4E00 && c <= 0x9FFF) || (c >= 0xA000 && c <= 0xA4CF) ||
         (c >= 0xAC00 && c <= 0xD7A3) || (c >= 0xF900 && c <= 0xFAFF) ||
         (c >= 0xFE30 && c <= 0xFE4F) || (c >= 0xFF00 && c <= 0xFF60) ||
         (c >= 0xFFE0 && c <= 0xFFE6) || (c >= 0x1F300 && c <= 0x1F64F) ||
         (c >= 0x1F900 && c <= 0x1F9FF) || (c >= 0x20000 && c <= 0x3FFFD);
}

std::vector<std::string> SplitLines(const std::string &text) {
  std::vector<std::string> lines;
  std::size_t start = 0;
  while (true) {
    const std::size_t newline = text.find('\n', start);
    lines.push_back(text.substr(start, newline - start));
    if (newline == std::string::npos)
      return lines;
    start = newline + 1;
  }
}

std::string Repeat(const char *piece, std::size_t count) {
  std::string out;
  for (std::size_t i = 0; i < count; ++i)
    out += piece;
  return out;
}

enum class Align { Left, Right, Center };

std::string Pad(const std::string &text, std::size_t width, Align align) {
  const std::size_t used = DisplayWidth(text);
  const std::size_t room = width > used ? width - used : 0;
  switch (align) {
  case Align::Left:
    return text + std::string(room, ' ');
  case Align::Right:
    return std::string(room, ' ') + text;
  case Align::Center:
    return std::string(room / 2, ' ') + text + std::string(room - room / 2, ' ');
  }
  return text;
}

struct BoxCell {
  std::vector<std::string> lines;
  Align align = Align::Left;
};

// `text` split after each of `breaks`: the pieces a line may end with.
std::vector<std::string> PiecesOf(const std::string &text, const char *breaks) {
  std::vector<std::string> pieces;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t stop = text.find_first_of(breaks, at);
    const std::size_t end = stop == std::string::npos ? text.size() : stop + 1;
    pieces.push_back(text.substr(at, end - at));
    at = end;
  }
  return pieces;
}

// `text` cut into lines of at most `width` columns at spaces; a word longer than a line is cut
// after "-", ":" or "/" (where names break well), and failing that between characters.
std::vector<std::string> Wrap(const std::string &text, std::size_t width) {
  if (width == 0 || DisplayWidth(text) <= width)
    return {text};
  std::vector<std::string> lines;
  std::string line;
  std::size_t used = 0;
  const auto flush = [&] {
    while (!line.empty() && line.back() == ' ')
      line.pop_back();
    lines.push_back(line);
    line.clear();
    used = 0;
  };
  const auto place = [&](const std::string &piece, auto &self, int level) -> void {
    const std::size_t piece_width = DisplayWidth(piece);
    // A trailing space may hang over the edge.
    const std::size_t fit = !piece.empty() && piece.back() == ' ' ? piece_width - 1 : piece_width;
    if (used + fit <= width) {
      line += piece;
      used += piece_width;
      return;
    }
    if (fit <= width) {
      flush();
      line = piece;
      used = piece_width;
      return;
    }
    if (level == 0) {
      for (const auto &part : PiecesOf(piece, "-:/"))
        self(part, self, 1);
      return;
    }
    for (std::size_t c = 0; c < piece.size();) {
      std::size_t next = c;
      NextCodePoint(piece, next);
      const std::string point = piece.substr(c, next - c);
      const std::size_t point_width = DisplayWidth(point);
      if (used + point_width > width && used > 0)
        flush();
      line += point;
      used += point_width;
      c = next;
    }
  };
  for (const auto &word : PiecesOf(text, " "))
    place(word, place, 0);
  if (!line.empty() || lines.empty())
    flush();
  return lines;
}

// The lines of a cell rewrapped to `width`.
void WrapCell(BoxCell &cell, std::size_t width) {
  std::vector<std::string> lines;
  for (const auto &line : cell.lines) {
    for (auto &piece : Wrap(line, width))
      lines.push_back(std::move(piece));
  }
  cell.lines = std::move(lines);
}

class TextWriter {
public:
  explicit TextWriter(std::size_t width) : width_(width) {}
  void Node(const OutputNode &node, std::size_t indent);
  std::string out;

private:
  // A line of text, wrapped at the width; its continuations are indented a little more.
  void Line(std::size_t indent, const std::string &text) {
    const std::size_t room = Room(indent);
    const std::vector<std::string> pieces = Wrap(text, room);
    BoxLine(indent, pieces.front());
    if (pieces.size() == 1)
      return;
    // The rest is wrapped anew at its own width (the first line is a prefix of the text): the
    // pieces cut for the first width would each leave a stub at the narrower one.
    const std::size_t deeper = room > 20 ? indent + 2 : indent;
    const std::size_t from = text.find_first_not_of(' ', pieces.front().size());
    for (const auto &piece : Wrap(text.substr(from == std::string::npos ? text.size() : from), Room(deeper)))
      BoxLine(deeper, piece);
  }
  // A line drawn as it is (a line of a box, already fitted).
  void BoxLine(std::size_t indent, const std::string &text) {
    out += std::string(indent, ' ') + text + "\n";
  }
  // The columns left after `indent`; zero is no limit. A deep indent still leaves some room.
  std::size_t Room(std::size_t indent) const {
    if (width_ == 0)
      return 0;
    return width_ > indent + 20 ? width_ - indent : 20;
  }
  void Gap() {
    if (!out.empty() && out.size() >= 2 && out.compare(out.size() - 2, 2, "\n\n") != 0)
      out += "\n";
  }
  void Container(const OutputNode &node, std::size_t indent);
  void TableObject(const OutputNode &node, std::size_t indent);
  void Box(const std::vector<std::vector<BoxCell>> &grid, std::size_t body_start,
           const std::vector<std::size_t> &widths, const std::vector<std::size_t> &columns,
           std::size_t indent);
  void TextObject(const OutputNode &node, std::size_t indent);
  void ChartObject(const OutputNode &node, std::size_t indent);
  void Message(const OutputNode &node, std::size_t indent);

  std::size_t width_;
};

void TextWriter::Node(const OutputNode &node, std::size_t indent) {
  switch (node.kind) {
  case NodeKind::Procedure:
  case NodeKind::Heading:
    Container(node, indent);
    break;
  case NodeKind::Table:
  case NodeKind::Notes:
    TableObject(node, indent);
    break;
  case NodeKind::Text:
    TextObject(node, indent);
    break;
  case NodeKind::Chart:
  case NodeKind::Interactive:
    ChartObject(node, indent);
    break;
  case NodeKind::Message:
    Message(node, indent);
    break;
  }
}

void TextWriter::Container(const OutputNode &node, std::size_t indent) {
  if (!HasContent(node))
    return;
  Gap();
  const bool procedure = node.kind == NodeKind::Procedure;
  Line(indent, node.title);
  const std::size_t underline = std::max<std::size_t>(1, DisplayWidth(node.title));
  Line(indent, Repeat(procedure ? "=" : "-",
                      Room(indent) == 0 ? underline : std::min(underline, Room(indent))));
  out += "\n";
  const std::size_t inner = procedure ? indent : indent + 2;
  for (std::size_t i = 0; i < node.children.size();) {
    const TextRun run = AlikeTexts(node.children, i);
    if (run.count == 1) {
      Node(*node.children[i++], inner);
      continue;
    }
    // Drawn once, with the titles of the texts it stands for.
    Gap();
    for (const auto &line : run.lines)
      Line(inner, line);
    std::string titles;
    for (std::size_t k = 0; k < run.count; ++k)
      titles += (k > 0 ? ", " : "") + node.children[i + k]->title;
    Line(inner + 2, FacSTDictionary::Shared().Format("Output.AppliesTo",
                                                     {std::to_string(run.count)}) +
                        ": " + titles);
    i += run.count;
  }
}

void TextWriter::TableObject(const OutputNode &node, std::size_t indent) {
  const Table &table = node.table;
  Gap();
  const std::string title = node.title.empty() ? table.title : node.title;
  Line(indent, title);
  if (!node.title.empty() && !table.title.empty() && table.title != node.title) {
    Line(indent, table.title);
  }

  const TableShape shape = ShapeOf(table);
  const std::size_t columns = shape.columns;
  const bool row_header = shape.row_header;
  const bool corner = shape.corner;
  const std::size_t first_label = shape.first_label;
  const std::size_t width_count = columns + (row_header ? 1 : 0);
  if (width_count == 0)
    return;

  // The grid of cells: a header row when there are column labels, then the body rows.
  std::vector<std::vector<BoxCell>> grid;
  if (!table.column_labels.empty()) {
    std::vector<BoxCell> head;
    if (row_header)
      head.push_back({SplitLines(corner ? table.column_labels[0] : ""), Align::Left});
    for (std::size_t c = 0; c < columns; ++c) {
      const std::size_t at = first_label + c;
      head.push_back({SplitLines(at < table.column_labels.size() ? table.column_labels[at] : ""),
                      Align::Center});
    }
    grid.push_back(std::move(head));
  }
  const std::size_t body_start = grid.size();
  const std::size_t rows = std::max(table.rows.size(), table.row_labels.size());
  for (std::size_t r = 0; r < rows; ++r) {
    std::vector<BoxCell> line;
    if (row_header) {
      line.push_back(
          {SplitLines(r < table.row_labels.size() ? table.row_labels[r] : ""), Align::Left});
    }
    for (std::size_t c = 0; c < columns; ++c) {
      const Cell *cell =
          r < table.rows.size() && c < table.rows[r].size() ? &table.rows[r][c] : nullptr;
      if (cell == nullptr) {
        line.push_back({{""}, Align::Left});
      } else {
        line.push_back(
            {SplitLines(FormatCell(*cell)), cell->is_number ? Align::Right : Align::Left});
      }
    }
    grid.push_back(std::move(line));
  }

  std::vector<std::size_t> widths(width_count, 0);
  const auto measure = [&] {
    std::fill(widths.begin(), widths.end(), 0);
    for (const auto &line : grid) {
      for (std::size_t c = 0; c < line.size(); ++c) {
        for (const auto &text : line[c].lines)
          widths[c] = std::max(widths[c], DisplayWidth(text));
      }
    }
  };
  measure();

  // A box of columns S takes 1 + sum(width + 3) columns. Row labels take at most three fifths of
  // the room; a data column at most what is left beside them: wider cells wrap in their box.
  const std::size_t room = Room(indent);
  const auto box_width = [&](std::size_t w) { return w + 3; };
  if (room > 0) {
    std::size_t label_width = 0;
    if (row_header) {
      const std::size_t cap = std::max<std::size_t>(room * 3 / 5 - 3, 8);
      if (widths[0] > cap) {
        for (auto &line : grid)
          WrapCell(line[0], cap);
      }
      measure();
      label_width = box_width(widths[0]);
    }
    const std::size_t data_cap = room > label_width + 1 + 3 + 4 ? room - label_width - 1 - 3 : 4;
    bool wrapped = false;
    for (std::size_t c = row_header ? 1 : 0; c < width_count; ++c) {
      if (widths[c] <= data_cap)
        continue;
      for (auto &line : grid) {
        if (c < line.size())
          WrapCell(line[c], data_cap);
      }
      wrapped = true;
    }
    if (wrapped)
      measure();
  }

  // A header wider than its column's values wraps at its spaces first ("Normalized BIC").
  const auto total = [&] {
    std::size_t sum = 1;
    for (const std::size_t w : widths)
      sum += box_width(w);
    return sum;
  };
  if (room > 0 && body_start > 0 && total() > room) {
    for (std::size_t c = row_header ? 1 : 0; c < width_count; ++c) {
      std::size_t values = 0, longest_word = 0;
      for (std::size_t r = body_start; r < grid.size(); ++r) {
        for (const auto &text : grid[r][c].lines)
          values = std::max(values, DisplayWidth(text));
      }
      for (const auto &text : grid[0][c].lines) {
        for (const auto &word : PiecesOf(text, " "))
          longest_word = std::max(longest_word, DisplayWidth(word) - (word.back() == ' ' ? 1 : 0));
      }
      if (widths[c] > std::max(values, longest_word))
        WrapCell(grid[0][c], std::max(values, longest_word));
    }
    measure();
  }

  // Column panels: the row labels, then as many data columns as fit (at least one).
  std::vector<std::vector<std::size_t>> panels;
  const std::size_t first_data = row_header ? 1 : 0;
  const std::size_t base = 1 + (row_header ? box_width(widths[0]) : 0);
  for (std::size_t c = first_data; c < width_count;) {
    std::vector<std::size_t> panel;
    if (row_header)
      panel.push_back(0);
    std::size_t used = base;
    do {
      used += box_width(widths[c]);
      panel.push_back(c++);
    } while (c < width_count && (room == 0 || used + box_width(widths[c]) <= room));
    panels.push_back(std::move(panel));
  }
  if (panels.empty())
    panels.push_back({0}); // only row labels
  for (std::size_t p = 0; p < panels.size(); ++p) {
    if (panels.size() > 1) {
      const std::vector<std::size_t> &panel = panels[p];
      const std::size_t from = panel[first_data] + 1 - first_data;
      const std::size_t to = panel.back() + 1 - first_data;
      if (p > 0)
        Gap();
      Line(indent, FacSTDictionary::Shared().Format(
                          "Output.TablePanel",
                          {std::to_string(from), std::to_string(to), std::to_string(columns)}));
    }
    Box(grid, body_start, widths, panels[p], indent);
  }
  for (std::size_t f = 0; f < table.footnotes.size(); ++f) {
    const std::string mark =
        f < 26 ? std::string(1, static_cast<char>('a' + f)) : std::to_string(f + 1);
    Line(indent, mark + ". " + table.footnotes[f]);
  }
}

void TextWriter::Box(const std::vector<std::vector<BoxCell>> &grid, std::size_t body_start,
                     const std::vector<std::size_t> &widths,
                     const std::vector<std::size_t> &columns, std::size_t indent) {
  const auto rule = [&](const char *left, const char *middle, const char *right) {
    std::string text = left;
    for (std::size_t i = 0; i < columns.size(); ++i) {
      if (i > 0)
        text += middle;
      text += Repeat("\u2500", widths[columns[i]] + 2);
    }
    BoxLine(indent, text + right);
  };
  rule("\u250C", "\u252C", "\u2510");
  for (std::size_t r = 0; r < grid.size(); ++r) {
    if (r == body_start && body_start > 0)
      rule("\u251C", "\u253C", "\u2524");
    std::size_t height = 1;
    for (const std::size_t c : columns) {
      if (c < grid[r].size())
        height = std::max(height, grid[r][c].lines.size());
    }
    for (std::size_t k = 0; k < height; ++k) {
      std::string text = "\u2502";
      for (const std::size_t c : columns) {
        static const BoxCell kBlank{{""}, Align::Left};
        const BoxCell &cell = c < grid[r].size() ? grid[r][c] : kBlank;
        text += " " + Pad(k < cell.lines.size() ? cell.lines[k] : "", widths[c], cell.align) +
                " \u2502";
      }
      BoxLine(indent, text);
    }
  }
  rule("\u2514", "\u2534", "\u2518");
}

void TextWriter::TextObject(const OutputNode &node, std::size_t indent) {
  Gap();
  Line(indent, node.title);
  for (const auto &line : node.lines)
    Line(indent + 2, line);
}

void TextWriter::ChartObject(const OutputNode &node, std::size_t indent) {
  Gap();
  Line(indent, node.title);
  LineChart chart;
  Distribution distribution;
  SystemGraph graph;
  ImpactDiagram impact;
  std::string problem;
  std::vector<std::string> lines;
  if (ReadLineChart(node.payload, chart, problem)) {
    lines = DescribeLineChart(chart);
  } else if (ReadDistribution(node.payload, distribution, problem)) {
    lines = DescribeDistribution(distribution);
  } else if (ReadSystemGraph(node.payload, graph, problem)) {
    lines = DescribeSystemGraph(graph);
  } else if (ReadImpactDiagram(node.payload, impact, problem)) {
    lines = DescribeImpactDiagram(impact);
  }
  if (!lines.empty()) {
    for (const auto &line : lines)
      Line(indent + 2, line);
  } else {
    Line(indent + 2, FacSTDictionary::Shared().LookUp("Output.UnknownChart"));
  }
}

void TextWriter::Message(const OutputNode &node, std::size_t indent) {
  const MessageRecord &message = node.message;
  Gap();
  std::string head = SeverityWord(message.severity) + ": ";
  if (!message.command.empty())
    head += message.command + ": ";
  const std::vector<std::string> lines = SplitLines(message.text);
  Line(indent, head + lines.front());
  for (std::size_t i = 1; i < lines.size(); ++i)
    Line(indent + 2, lines[i]);
}

} // namespace

std::size_t DisplayWidth(const std::string &text) {
  std::size_t width = 0;
  for (std::size_t at = 0; at < text.size();) {
    const char32_t point = NextCodePoint(text, at);
    if (IsCombining(point))
      continue;
    width += IsWide(point) ? 2 : 1;
  }
  return width;
}

std::string RenderText(const OutputDocument &document, std::size_t width) {
  TextWriter writer(width);
  for (const auto &child : document.root.children)
    writer.Node(*child, 0);
  if (writer.out.empty())
    writer.out = FacSTDictionary::Shared().LookUp("Output.Empty") + "\n";
  return writer.out;
}

} // namespace host
