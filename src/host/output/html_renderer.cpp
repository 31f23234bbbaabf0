// This file contains the HTML renderer: page assembly from the embedded template, outline and
// body written in one walk of the document.
#include "host/output/html_renderer.h"

#include <algorithm>

#include "host/messages/fac_st_dictionary.h"
#include "host/output/chart_data.h"
#include "host/output/chart_model.h"
#include "host/output/figure_assets.h"
#include "host/output/figure_svg.h"
#include "host/output/markup.h"
#include "host/output/number_format.h"
#include "host/output/render_common.h"
#include "host/output/report_assets.h"
#include "host/output/svg_chart.h"

namespace host {
namespace {

std::string Escape(std::string_view text) {
  return EscapeMarkup(text);
}

// A header label may hold line breaks (the levels of nested column categories).
std::string EscapeLines(std::string_view text) {
  std::string out;
  std::size_t start = 0;
  while (true) {
    const std::size_t newline = text.find('\n', start);
    out += Escape(text.substr(start, newline == std::string_view::npos ? newline : newline - start));
    if (newline == std::string_view::npos) return out;
    out += "<br>";
    start = newline + 1;
  }
}

class HtmlWriter {
public:
  void Node(const OutputNode &node, int depth);
  std::string outline;
  std::string body;

private:
  std::string NextId() { return "o" + std::to_string(++last_id_); }
  void OutlineLeaf(const std::string &id, const std::string &label, const char *css_class) {
    outline += "<li class=\"";
    outline += css_class;
    outline += "\"><a href=\"#" + id + "\">" + Escape(label) + "</a></li>";
  }
  void Container(const OutputNode &node, int depth);
  void TableObject(const OutputNode &node, const char *css_class);
  void TextObject(const OutputNode &node);
  void ChartObject(const OutputNode &node);
  void Message(const OutputNode &node);

  int last_id_ = 0;
};

void HtmlWriter::Node(const OutputNode &node, int depth) {
  switch (node.kind) {
  case NodeKind::Procedure:
  case NodeKind::Heading:
    Container(node, depth);
    break;
  case NodeKind::Table:
    TableObject(node, "pivot");
    break;
  case NodeKind::Notes:
    TableObject(node, "pivot notes");
    break;
  case NodeKind::Text:
    TextObject(node);
    break;
  case NodeKind::Chart:
  case NodeKind::Interactive:
    ChartObject(node);
    break;
  case NodeKind::Message:
    Message(node);
    break;
  }
}

void HtmlWriter::Container(const OutputNode &node, int depth) {
  if (!HasContent(node))
    return;
  const std::string id = NextId();
  const bool procedure = node.kind == NodeKind::Procedure;
  const int level = std::min(procedure ? 2 : 3 + depth, 6);
  outline += std::string("<li class=\"") + (procedure ? "nav-procedure" : "nav-heading") +
             "\"><a href=\"#" + id + "\">" + Escape(node.title) + "</a><ul>";
  body += std::string("<section class=\"") + (procedure ? "procedure" : "heading") + "\" id=\"" +
          id + "\"><h" + std::to_string(level) + " class=\"section-title\">" + Escape(node.title) +
          "</h" + std::to_string(level) + ">";
  for (const auto &child : node.children)
    Node(*child, procedure ? 0 : depth + 1);
  body += "</section>";
  outline += "</ul></li>";
}

void HtmlWriter::TableObject(const OutputNode &node, const char *css_class) {
  const Table &table = node.table;
  const std::string id = NextId();
  const std::string title = node.title.empty() ? table.title : node.title;
  OutlineLeaf(id, title, node.kind == NodeKind::Notes ? "nav-notes" : "nav-table");

  const TableShape shape = ShapeOf(table);
  const std::size_t columns = shape.columns;
  const bool row_header = shape.row_header;
  const bool corner = shape.corner;
  const std::size_t first_label = shape.first_label;

  body += "<figure class=\"object table-object\" id=\"" + id + "\"><table class=\"" +
          std::string(css_class) + "\"><caption>" + Escape(title);
  // A table drawn for one series is titled by the series; its own title says what it is.
  if (!table.title.empty() && table.title != title) {
    body += "<span class=\"caption-sub\">" + Escape(table.title) + "</span>";
  }
  body += "</caption>";
  if (!table.column_labels.empty()) {
    body += "<thead><tr>";
    if (row_header) {
      body += "<th class=\"corner\" scope=\"col\">" +
              (corner ? Escape(table.column_labels[0]) : std::string()) + "</th>";
    }
    for (std::size_t c = 0; c < columns; ++c) {
      const std::size_t at = first_label + c;
      body += "<th scope=\"col\">" +
              (at < table.column_labels.size() ? EscapeLines(table.column_labels[at]) : std::string()) +
              "</th>";
    }
    body += "</tr></thead>";
  }
  body += "<tbody>";
  const std::size_t rows = std::max(table.rows.size(), table.row_labels.size());
  for (std::size_t r = 0; r < rows; ++r) {
    body += "<tr>";
    if (row_header) {
      body += "<th scope=\"row\">" +
              (r < table.row_labels.size() ? Escape(table.row_labels[r]) : std::string()) + "</th>";
    }
    for (std::size_t c = 0; c < columns; ++c) {
      const Cell *cell =
          r < table.rows.size() && c < table.rows[r].size() ? &table.rows[r][c] : nullptr;
      if (cell != nullptr && cell->is_number) {
        body += "<td class=\"num\">" + Escape(FormatCell(*cell)) + "</td>";
      } else {
        body += "<td>" + (cell != nullptr ? Escape(cell->text) : std::string()) + "</td>";
      }
    }
    body += "</tr>";
  }
  body += "</tbody></table>";
  if (!table.footnotes.empty()) {
    body += "<ol class=\"footnotes\">";
    for (const auto &footnote : table.footnotes)
      body += "<li>" + Escape(footnote) + "</li>";
    body += "</ol>";
  }
  body += "</figure>";
}

void HtmlWriter::TextObject(const OutputNode &node) {
  const std::string id = NextId();
  OutlineLeaf(id, node.title, "nav-text");
  body += "<figure class=\"object text-object\" id=\"" + id +
          "\"><figcaption class=\"object-title\">" + Escape(node.title) + "</figcaption><pre>";
  for (const auto &line : node.lines)
    body += Escape(line) + "\n";
  body += "</pre></figure>";
}

void HtmlWriter::ChartObject(const OutputNode &node) {
  const std::string id = NextId();
  const bool interactive = node.kind == NodeKind::Interactive;
  OutlineLeaf(id, node.title, interactive ? "nav-interactive" : "nav-chart");
  body += std::string("<figure class=\"object chart-object") + (interactive ? " interactive" : "") +
          "\" id=\"" + id + "\"><figcaption class=\"object-title\">" + Escape(node.title) +
          "</figcaption>";
  LineChart chart;
  Distribution distribution;
  SystemGraph graph;
  ImpactDiagram impact;
  std::string problem;
  if (ReadLineChart(node.payload, chart, problem)) {
    body += "<div class=\"chart-frame\">" + RenderLineChartSvg(chart) + "</div>";
  } else if (ReadDistribution(node.payload, distribution, problem)) {
    body += RenderDistributionHtml(distribution);
  } else if (ReadSystemGraph(node.payload, graph, problem)) {
    body += RenderSystemGraphHtml(graph);
  } else if (ReadImpactDiagram(node.payload, impact, problem)) {
    body += RenderImpactHtml(impact);
  } else {
    body += "<p class=\"unavailable\">" +
            Escape(FacSTDictionary::Shared().LookUp("Output.UnknownChart")) + "</p>";
  }
  body += "</figure>";
}

void HtmlWriter::Message(const OutputNode &node) {
  const MessageRecord &message = node.message;
  const std::string id = NextId();
  const std::string word = SeverityWord(message.severity);
  const std::string name = SeverityName(message.severity);
  outline += "<li class=\"nav-message nav-" + name + "\"><a href=\"#" + id + "\">" + Escape(word) +
             "</a></li>";
  body += "<div class=\"message " + name + "\" id=\"" + id + "\"" +
          (message.severity == Severity::Error ? " role=\"alert\"" : "") +
          "><span class=\"badge\">" + Escape(word) + "</span><p class=\"message-text\">";
  if (!message.command.empty()) {
    body += "<span class=\"command\">" + Escape(message.command) + "</span> ";
  }
  body += Escape(message.text) + "</p></div>";
}

// Fills the template's {{name}} places in one pass over the template only, so a text of the
// document that happens to read "{{content}}" stays text.
std::string FillTemplate(const std::string &page,
                         const std::vector<std::pair<std::string, std::string>> &values) {
  std::string out;
  std::size_t at = 0;
  while (true) {
    const std::size_t open = page.find("{{", at);
    if (open == std::string::npos)
      break;
    const std::size_t close = page.find("}}", open + 2);
    if (close == std::string::npos)
      break;
    const std::string name = page.substr(open + 2, close - open - 2);
    const auto value = std::find_if(values.begin(), values.end(),
                                    [&](const auto &pair) { return pair.first == name; });
    out.append(page, at, open - at);
    if (value != values.end()) {
      out += value->second;
    } else {
      out.append(page, open, close + 2 - open);
    }
    at = close + 2;
  }
  out.append(page, at);
  return out;
}

} // namespace

std::string RenderHtml(const OutputDocument &document) {
  HtmlWriter writer;
  for (const auto &child : document.root.children)
    writer.Node(*child, 0);
  // A run whose commands showed nothing says so rather than leaving a blank page.
  if (writer.body.empty())
    writer.body = "<p class=\"unavailable\">" +
                  Escape(FacSTDictionary::Shared().LookUp("Output.Empty")) + "</p>";
  const std::string contents = FacSTDictionary::Shared().LookUp("Contents");
  return FillTemplate(kReportHtml, {{"title", Escape(document.title)},
                                    {"contents", Escape(contents)},
                                    {"style", std::string(kReportCss) + kFiguresCss},
                                    {"outline", "<ul class=\"tree\">" + writer.outline + "</ul>"},
                                    {"content", writer.body},
                                    {"script", std::string(kReportJs) + kFiguresJs}});
}

} // namespace host
