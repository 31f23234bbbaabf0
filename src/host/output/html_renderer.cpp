// This file contains the HTML renderer: page assembly from the embedded template, outline and
// body written in one walk of the document.
#include "host/output/html_renderer.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <map>
#include <set>
#include <unordered_map>

#include "host/messages/fac_st_dictionary.h"
#include "host/output/chart_data.h"
#include "host/output/chart_model.h"
#include "host/output/figure_assets.h"
#include "host/output/figure_svg.h"
#include "host/output/graph_svg.h"
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

std::string Word(const std::string &key) { return FacSTDictionary::Shared().LookUp(key); }

std::string Words(const std::string &key, const std::vector<std::string> &args) {
  return FacSTDictionary::Shared().Format(key, args);
}

// A heading with more objects than this starts collapsed: at hundreds of series its list would
// bury everything after it. The summary and the contents lead to what is inside.
constexpr std::size_t kCollapseAbove = 12;
// The rows a long table shows before the reader asks for the rest.
constexpr std::size_t kRowsShown = 100;

bool IsObject(const OutputNode &node) {
  return node.kind != NodeKind::Procedure && node.kind != NodeKind::Heading &&
         node.kind != NodeKind::Message;
}

// What the renderer learns of the document before it draws: the id of every drawn node, the
// series each object names, and the objects the summary shows.
struct DocumentIndex {
  std::unordered_map<const OutputNode *, std::string> ids;
  std::unordered_map<const OutputNode *, std::size_t> series_of;  // index into `series`
  std::vector<std::string> series;  // names that title objects under two or more headings
  std::unordered_map<std::string, const OutputNode *> first_chart_of;  // the first chart by title
  std::vector<const OutputNode *> quality;     // distributions of a fit statistic
  const OutputNode *fit_table = nullptr;       // the fit table with the most models
  const OutputNode *top_graph = nullptr;       // the graph of the top models
  std::vector<const OutputNode *> warnings;    // warnings and errors
};

// True when `name` appears in `title` as whole words.
bool NamesSeries(const std::string &title, const std::string &name) {
  for (std::size_t at = title.find(name); at != std::string::npos; at = title.find(name, at + 1)) {
    const auto edge = [](char c) { return std::isalnum(static_cast<unsigned char>(c)) == 0; };
    const std::size_t end = at + name.size();
    if ((at == 0 || edge(title[at - 1])) && (end == title.size() || edge(title[end])))
      return true;
  }
  return false;
}

void IndexNodes(const OutputNode &node, const OutputNode *parent, DocumentIndex &index,
                std::map<std::string, std::set<const OutputNode *>> &headings_of_title) {
  if ((node.kind == NodeKind::Procedure || node.kind == NodeKind::Heading) && !HasContent(node))
    return;
  index.ids[&node] = "o" + std::to_string(index.ids.size() + 1);
  if (IsObject(node) && !node.title.empty())
    headings_of_title[node.title].insert(parent);
  if ((node.kind == NodeKind::Chart || node.kind == NodeKind::Interactive) && !node.title.empty())
    index.first_chart_of.emplace(node.title, &node);
  Distribution distribution;
  SystemGraph graph;
  std::string problem;
  if (node.kind == NodeKind::Message && node.message.severity != Severity::Note) {
    index.warnings.push_back(&node);
  } else if (node.kind == NodeKind::Table && node.table.subtype == "Model Fit Statistics") {
    if (index.fit_table == nullptr || node.table.rows.size() > index.fit_table->table.rows.size())
      index.fit_table = &node;
  } else if ((node.kind == NodeKind::Chart || node.kind == NodeKind::Interactive) &&
             ReadDistribution(node.payload, distribution, problem)) {
    if (distribution.has_dot_plot && !distribution.points.empty())
      index.quality.push_back(&node);
  } else if ((node.kind == NodeKind::Chart || node.kind == NodeKind::Interactive) &&
             index.top_graph == nullptr && ReadSystemGraph(node.payload, graph, problem) &&
             graph.view == "top") {
    index.top_graph = &node;
  }
  for (const auto &child : node.children)
    IndexNodes(*child, &node, index, headings_of_title);
}

DocumentIndex IndexDocument(const OutputDocument &document) {
  DocumentIndex index;
  std::map<std::string, std::set<const OutputNode *>> headings_of_title;
  for (const auto &child : document.root.children)
    IndexNodes(*child, &document.root, index, headings_of_title);
  for (const auto &[title, headings] : headings_of_title) {
    if (headings.size() >= 2)
      index.series.push_back(title);
  }
  // Longer names first, so that "a-b" is not taken for the series "a".
  std::stable_sort(index.series.begin(), index.series.end(),
                   [](const std::string &a, const std::string &b) { return a.size() > b.size(); });
  std::vector<const OutputNode *> order(index.ids.size());
  for (const auto &[node, id] : index.ids)
    order[std::stoul(id.substr(1)) - 1] = node;
  for (const OutputNode *node : order) {
    if (!IsObject(*node))
      continue;
    for (std::size_t s = 0; s < index.series.size(); ++s) {
      if (!NamesSeries(node->title, index.series[s]))
        continue;
      index.series_of[node] = s;
      break;
    }
  }
  return index;
}

class HtmlWriter {
public:
  explicit HtmlWriter(const DocumentIndex &index) : index_(index) {}
  void Node(const OutputNode &node, int depth);
  void Summary();
  void Children(const OutputNode &node, int depth);
  std::string outline;
  std::string body;
  GraphDataStore graphs;  // the data of the page's model system graphs, each once
  PageStore store;        // what only the script uses, each once

private:
  const std::string &IdOf(const OutputNode &node) const { return index_.ids.at(&node); }
  std::string Link(const OutputNode &node, const std::string &text) const {
    return "<a href=\"#" + IdOf(node) + "\">" + Escape(text) + "</a>";
  }
  void OutlineLeaf(const std::string &id, const std::string &label, const std::string &full,
                   const char *css_class) {
    outline += "<li class=\"";
    outline += css_class;
    outline += "\"><a href=\"#" + id + "\"";
    if (label != full || full.size() > 28)
      outline += " title=\"" + Escape(full) + "\"";
    outline += ">" + Escape(label) + "</a></li>";
  }
  // The opening tag's attributes that tie an object to its series.
  std::string SeriesAttribute(const OutputNode &node) const {
    const auto found = index_.series_of.find(&node);
    return found == index_.series_of.end()
               ? std::string()
               : " data-series=\"" + std::to_string(found->second) + "\"";
  }
  void Container(const OutputNode &node, int depth);
  void TableObject(const OutputNode &node, const char *css_class);
  void TextObject(const OutputNode &node, const std::vector<const OutputNode *> &run,
                  const std::vector<std::string> &lines);
  std::string ChartObject(const OutputNode &node, std::vector<std::string> &notes);
  void FoldedNotes(const std::vector<std::string> &notes,
                   const std::vector<const OutputNode *> &figures);
  void Message(const OutputNode &node);
  void AppliesTo(const std::vector<const OutputNode *> &objects, const std::string &key);

  const DocumentIndex &index_;
  std::string shown_title_;  // the contents' form of the object being drawn
  bool deferring_ = false;   // drawing inside a collapsed section's deferred body
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
    TextObject(node, {&node}, node.lines);
    break;
  case NodeKind::Chart:
  case NodeKind::Interactive: {
    std::vector<std::string> notes;
    body += ChartObject(node, notes);
    FoldedNotes(notes, {&node});
    break;
  }
  case NodeKind::Message:
    Message(node);
    break;
  }
}

void HtmlWriter::Container(const OutputNode &node, int depth) {
  if (!HasContent(node))
    return;
  const std::string &id = IdOf(node);
  const bool procedure = node.kind == NodeKind::Procedure;
  const int level = std::min(procedure ? 2 : 3 + depth, 6);
  std::size_t objects = 0;
  for (const auto &child : node.children)
    objects += IsObject(*child) ? 1 : 0;
  // The review comes after the results: it starts collapsed, as do long lists of objects.
  const bool collapsed = !procedure && (objects > kCollapseAbove || (depth == 0 && node.title == Word("Review")));
  outline += std::string("<li class=\"") + (procedure ? "nav-procedure" : "nav-heading") +
             "\"><a href=\"#" + id + "\">" + Escape(node.title) + "</a><ul>";
  body += std::string("<section class=\"") + (procedure ? "procedure" : "heading") +
          (collapsed ? " collapsible collapsed" : "") + "\" id=\"" + id + "\"><h" +
          std::to_string(level) + " class=\"section-title\">" + Escape(node.title);
  if (collapsed)
    body += " <span class=\"section-count\">" + Words("Output.SectionCount", {std::to_string(objects)}) + "</span>";
  body += "</h" + std::to_string(level) + "><div class=\"section-body\">";
  // What a collapsed section holds stays text until the reader opens it (a <noscript> is text
  // to a page with script, markup to one without): hundreds of figures cost nothing at load.
  // Its inner sections are drawn with it, as a <noscript> cannot hold another.
  const bool defer = collapsed && !deferring_;
  if (defer) {
    deferring_ = true;
    body += "<noscript class=\"deferred\">";
  }
  Children(node, procedure ? 0 : depth + 1);
  if (defer) {
    body += "</noscript>";
    deferring_ = false;
  }
  body += "</div></section>";
  outline += "</ul></li>";
}

// The children in order; runs of alike texts and of figures with the same note are drawn once.
void HtmlWriter::Children(const OutputNode &node, int depth) {
  std::vector<std::string> titles;
  for (const auto &child : node.children)
    titles.push_back(IsObject(*child) ? child->title : std::string());
  const std::vector<std::string> shown = DistinguishingTitles(titles);
  std::vector<std::string> run_notes;
  std::vector<const OutputNode *> run_figures;
  const auto flush_notes = [&] {
    if (!run_figures.empty())
      FoldedNotes(run_notes, run_figures);
    run_notes.clear();
    run_figures.clear();
  };
  for (std::size_t i = 0; i < node.children.size();) {
    const OutputNode &child = *node.children[i];
    shown_title_ = shown[i];
    if (child.kind == NodeKind::Chart || child.kind == NodeKind::Interactive) {
      std::vector<std::string> notes;
      const std::string html = ChartObject(child, notes);
      if (!run_figures.empty() && notes != run_notes)
        flush_notes();
      body += html;
      run_notes = std::move(notes);
      run_figures.push_back(&child);
      ++i;
      continue;
    }
    flush_notes();
    const TextRun run = AlikeTexts(node.children, i);
    if (run.count > 1) {
      std::vector<const OutputNode *> texts;
      for (std::size_t k = 0; k < run.count; ++k)
        texts.push_back(node.children[i + k].get());
      for (std::size_t k = 1; k < run.count; ++k)
        OutlineLeaf(IdOf(child), shown[i + k], node.children[i + k]->title, "nav-text");
      TextObject(child, texts, run.lines);
      i += run.count;
      continue;
    }
    Node(child, depth);
    ++i;
  }
  flush_notes();
  shown_title_.clear();
}

void HtmlWriter::TableObject(const OutputNode &node, const char *css_class) {
  const Table &table = node.table;
  const std::string &id = IdOf(node);
  const std::string title = node.title.empty() ? table.title : node.title;
  OutlineLeaf(id, shown_title_.empty() || node.title.empty() ? title : shown_title_, title,
              node.kind == NodeKind::Notes ? "nav-notes" : "nav-table");

  const TableShape shape = ShapeOf(table);
  const std::size_t columns = shape.columns;
  const bool row_header = shape.row_header;
  const bool corner = shape.corner;
  const std::size_t first_label = shape.first_label;

  body += "<figure class=\"object table-object\" id=\"" + id + "\"" + SeriesAttribute(node) +
          "><table class=\"" + std::string(css_class) + "\"><caption>" + Escape(title);
  // A table drawn for one series is titled by the series; its own title says what it is.
  if (!table.title.empty() && table.title != title) {
    body += "<span class=\"caption-sub\">" + Escape(table.title) + "</span>";
  }
  body += "</caption>";
  std::string head;  // repeated by the held-back rows' own table
  if (!table.column_labels.empty()) {
    head += "<thead><tr>";
    if (row_header) {
      head += "<th class=\"corner\" scope=\"col\">" +
              (corner ? Escape(table.column_labels[0]) : std::string()) + "</th>";
    }
    for (std::size_t c = 0; c < columns; ++c) {
      const std::size_t at = first_label + c;
      head += "<th scope=\"col\">" +
              (at < table.column_labels.size() ? EscapeLines(table.column_labels[at]) : std::string()) +
              "</th>";
    }
    head += "</tr></thead>";
  }
  body += head;
  body += "<tbody>";
  const std::size_t rows = std::max(table.rows.size(), table.row_labels.size());
  // A table of thousands of rows (every series of a large system) shows its first page; the
  // rest stays text until asked for. Within a deferred section the whole table is text anyway.
  const std::size_t shown = rows > kRowsShown + kRowsShown / 2 && !deferring_ ? kRowsShown : rows;
  for (std::size_t r = 0; r < rows; ++r) {
    if (r == shown) {
      body += "</tbody></table><noscript class=\"more-rows\" data-rows=\"" + std::to_string(rows) +
              "\"><table class=\"" + std::string(css_class) + " continued\">" + head + "<tbody>";
    }
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
  if (shown < rows)
    body += "</noscript>";
  if (!table.footnotes.empty()) {
    body += "<ol class=\"footnotes\">";
    for (const auto &footnote : table.footnotes)
      body += "<li>" + Escape(footnote) + "</li>";
    body += "</ol>";
  }
  body += "</figure>";
}

// The list of the objects a folded note or text stands for, each a link to the object.
void HtmlWriter::AppliesTo(const std::vector<const OutputNode *> &objects, const std::string &key) {
  body += "<details class=\"applies-to\"><summary>" +
          Escape(Words(key, {std::to_string(objects.size())})) + "</summary><ul>";
  for (const OutputNode *object : objects)
    body += "<li>" + Link(*object, object->title) + "</li>";
  body += "</ul></details>";
}

void HtmlWriter::TextObject(const OutputNode &node, const std::vector<const OutputNode *> &run,
                            const std::vector<std::string> &lines) {
  const std::string &id = IdOf(node);
  OutlineLeaf(id, shown_title_.empty() ? node.title : shown_title_, node.title, "nav-text");
  const bool folded = run.size() > 1;
  body += std::string("<figure class=\"object text-object") + (folded ? " folded" : "") +
          "\" id=\"" + id + "\"" + (folded ? std::string() : SeriesAttribute(node)) + ">";
  // Folded texts are named by the list below them; their own ids lead here too.
  for (std::size_t k = 1; k < run.size(); ++k)
    body += "<span class=\"anchor\" id=\"" + IdOf(*run[k]) + "\"></span>";
  if (!folded)
    body += "<figcaption class=\"object-title\">" + Escape(node.title) + "</figcaption>";
  body += "<pre>";
  for (const auto &line : lines)
    body += Escape(line) + "\n";
  body += "</pre>";
  if (folded)
    AppliesTo(run, "Output.AppliesTo");
  body += "</figure>";
}

// The note that ends a figure (<p class="figure-note">, the model file) is taken out of it: the
// caller draws it below the figure, once for a run of figures that share it.
std::string HtmlWriter::ChartObject(const OutputNode &node, std::vector<std::string> &notes) {
  const std::string &id = IdOf(node);
  const bool interactive = node.kind == NodeKind::Interactive;
  OutlineLeaf(id, shown_title_.empty() ? node.title : shown_title_, node.title,
              interactive ? "nav-interactive" : "nav-chart");
  std::string html = std::string("<figure class=\"object chart-object") +
                     (interactive ? " interactive" : "") + "\" id=\"" + id + "\"" +
                     SeriesAttribute(node) + "><figcaption class=\"object-title\">" +
                     Escape(node.title) + "</figcaption>";
  LineChart chart;
  Distribution distribution;
  SystemGraph graph;
  ImpactDiagram impact;
  std::string problem;
  std::string figure;
  if (ReadLineChart(node.payload, chart, problem)) {
    figure = "<div class=\"chart-frame\">" + RenderLineChartSvg(chart, &store) + "</div>";
  } else if (ReadDistribution(node.payload, distribution, problem)) {
    figure = RenderDistributionHtml(distribution);
  } else if (ReadSystemGraph(node.payload, graph, problem)) {
    figure = RenderSystemGraphHtml(graph, graphs);
  } else if (ReadImpactDiagram(node.payload, impact, problem)) {
    figure = RenderImpactHtml(impact, &store);
  } else {
    figure = "<p class=\"unavailable\">" + Escape(Word("Output.UnknownChart")) + "</p>";
  }
  // Only the note that ends the figure (nothing but closing tags after it) is the figure's own;
  // notes inside its panels stay where they are.
  static const std::string kOpen = "<p class=\"figure-note";  // also "figure-note model-file"
  const std::size_t at = figure.rfind(kOpen);
  const std::size_t close = at == std::string::npos ? at : figure.find("</p>", at);
  if (close != std::string::npos) {
    bool last = true;
    for (std::size_t k = close + 4; k < figure.size() && last;) {
      const std::size_t end = figure.find('>', k);
      last = figure.compare(k, 2, "</") == 0 && end != std::string::npos;
      k = end == std::string::npos ? figure.size() : end + 1;
    }
    if (last) {
      notes.push_back(figure.substr(at, close + 4 - at));
      figure.erase(at, close + 4 - at);
    }
  }
  return html + figure + "</figure>";
}

void HtmlWriter::FoldedNotes(const std::vector<std::string> &notes,
                             const std::vector<const OutputNode *> &figures) {
  if (notes.empty())
    return;
  body += "<div class=\"folded-note\">";
  for (const auto &note : notes)
    body += note;  // made by the figure, escaped there
  if (figures.size() > 1)
    AppliesTo(figures, "Output.NoteAppliesTo");
  body += "</div>";
}

void HtmlWriter::Message(const OutputNode &node) {
  const MessageRecord &message = node.message;
  const std::string &id = IdOf(node);
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

// The report's first view: what the run found, from objects the document already holds. The
// plan's sections follow it unchanged.
void HtmlWriter::Summary() {
  if (index_.quality.empty() && index_.fit_table == nullptr && index_.top_graph == nullptr)
    return;  // no model system: the document itself is short
  const std::string title = Word("Output.Summary");
  outline += "<li class=\"nav-procedure nav-summary\"><a href=\"#summary\">" + Escape(title) +
             "</a></li>";
  body += "<section class=\"summary\" id=\"summary\"><h2 class=\"section-title\">" +
          Escape(title) + "</h2><div class=\"summary-grid\">";
  if (!index_.quality.empty()) {
    body += "<div class=\"summary-card\"><h3>" + Escape(Word("Output.Quality")) +
            "</h3><table class=\"pivot summary-table\"><thead><tr><th class=\"corner\"></th>";
    for (const char *key : {"Output.Models", "Output.Median", "Output.Lowest", "Output.Highest"})
      body += "<th scope=\"col\">" + Escape(Word(key)) + "</th>";
    body += "</tr></thead><tbody>";
    for (const OutputNode *node : index_.quality) {
      Distribution distribution;
      std::string problem;
      ReadDistribution(node->payload, distribution, problem);
      std::vector<double> values;
      for (const auto &point : distribution.points)
        values.push_back(point.value);
      std::sort(values.begin(), values.end());
      const double median = values.size() % 2 == 1
                                ? values[values.size() / 2]
                                : (values[values.size() / 2 - 1] + values[values.size() / 2]) / 2;
      const auto cell = [&](double value) {
        return "<td class=\"num\">" + Escape(FormatValue(value, distribution.dot_format)) + "</td>";
      };
      body += "<tr><th scope=\"row\">" +
              Link(*node, distribution.statistic.empty() ? node->title : distribution.statistic) +
              "</th><td class=\"num\">" + std::to_string(values.size()) + "</td>" + cell(median) +
              cell(values.front()) + cell(values.back()) + "</tr>";
    }
    body += "</tbody></table></div>";
  }
  if (index_.fit_table != nullptr && !index_.fit_table->table.rows.empty()) {
    // Ranked by the table's first statistic, R Square, where more is better.
    const Table &table = index_.fit_table->table;
    std::vector<std::size_t> ranked;
    for (std::size_t r = 0; r < table.rows.size() && r < table.row_labels.size(); ++r) {
      if (!table.rows[r].empty() && table.rows[r][0].is_number && std::isfinite(table.rows[r][0].number))
        ranked.push_back(r);
    }
    std::stable_sort(ranked.begin(), ranked.end(), [&](std::size_t a, std::size_t b) {
      return table.rows[a][0].number > table.rows[b][0].number;
    });
    const TableShape shape = ShapeOf(table);
    const std::string statistic =
        shape.first_label < table.column_labels.size() ? table.column_labels[shape.first_label] : "";
    const std::size_t shown = std::min<std::size_t>(5, (ranked.size() + 1) / 2);
    const auto list = [&](const std::string &heading, auto begin, auto end) {
      body += "<div class=\"summary-card\"><h3>" + Escape(heading) +
              "</h3><table class=\"pivot summary-table\"><tbody>";
      for (auto it = begin; it != end; ++it) {
        const std::string &name = table.row_labels[*it];
        const auto chart = index_.first_chart_of.find(name);
        body += "<tr><th scope=\"row\">" +
                (chart != index_.first_chart_of.end() ? Link(*chart->second, name) : Escape(name)) +
                "</th><td class=\"num\">" + Escape(FormatCell(table.rows[*it][0])) + "</td></tr>";
      }
      body += "</tbody></table></div>";
    };
    list(Words("Output.BestModels", {statistic}), ranked.begin(), ranked.begin() + shown);
    list(Words("Output.WorstModels", {statistic}), ranked.rbegin(), ranked.rbegin() + shown);
  }
  body += "<div class=\"summary-card\"><h3>" + Escape(Word("Output.Warnings")) + "</h3>";
  if (index_.warnings.empty()) {
    body += "<p class=\"summary-none\">" + Escape(Word("Output.NoWarnings")) + "</p>";
  } else {
    body += "<ul class=\"summary-messages\">";
    for (const OutputNode *node : index_.warnings) {
      body += std::string("<li class=\"") + SeverityName(node->message.severity) + "\">" +
              Link(*node, node->message.text) + "</li>";
    }
    body += "</ul>";
  }
  body += "</div></div>";
  if (index_.top_graph != nullptr) {
    SystemGraph graph;
    std::string problem;
    ReadSystemGraph(index_.top_graph->payload, graph, problem);
    std::string figure = RenderSystemGraphHtml(graph, graphs);
    body += "<figure class=\"object summary-graph\"><figcaption "
            "class=\"object-title\">" +
            Link(*index_.top_graph, index_.top_graph->title) + "</figcaption>" + figure +
            "</figure>";
  }
  body += "</section>";
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
  const DocumentIndex index = IndexDocument(document);
  HtmlWriter writer(index);
  writer.Summary();
  writer.Children(document.root, 0);
  // A run whose commands showed nothing says so rather than leaving a blank page.
  if (writer.body.empty())
    writer.body = "<p class=\"unavailable\">" +
                  Escape(FacSTDictionary::Shared().LookUp("Output.Empty")) + "</p>";
  const std::string contents = FacSTDictionary::Shared().LookUp("Contents");
  return FillTemplate(kReportHtml, {{"title", Escape(document.title)},
                                    {"contents", Escape(contents)},
                                    {"search", Escape(Word("Output.Search"))},
                                    {"this_series", Escape(Word("Output.ThisSeries"))},
                                    {"show_rows", Escape(Word("Output.ShowAllRows"))},
                                    {"style", std::string(kReportCss) + kFiguresCss},
                                    {"outline", "<ul class=\"tree\">" + writer.outline + "</ul>"},
                                    {"content", writer.body + writer.graphs.Html() + writer.store.Html()},
                                    {"script", std::string(kReportJs) + kFiguresJs}});
}

} // namespace host
