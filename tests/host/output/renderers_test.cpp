// This file contains tests of the HTML, text and JSON renderers and of number formatting.
#include <gtest/gtest.h>

#include "host/messages/fac_st_dictionary.h"
#include "host/output/chart_data.h"
#include "host/output/engine_table.h"
#include "host/output/html_renderer.h"
#include "host/output/json_renderer.h"
#include "host/output/number_format.h"
#include "host/output/render_common.h"
#include "host/output/rv.h"
#include "host/output/svg_chart.h"
#include "host/output/text_renderer.h"
#include "output_test_support.h"

namespace host {
namespace {

using RendererTest = testing::SessionTest;

std::vector<std::string> LinesOf(const std::string &text) {
  std::vector<std::string> lines;
  std::size_t start = 0;
  for (std::size_t newline; (newline = text.find('\n', start)) != std::string::npos;) {
    lines.push_back(text.substr(start, newline - start));
    start = newline + 1;
  }
  return lines;
}

nlohmann::json LineChartPayload() {
  return nlohmann::json::parse(R"({"kind":"line","x":["2020-01","2020-02","2020-03","2020-04"],
      "series":[{"name":"Sales","y":[1,2,null,4],"lower":[0.5,1.5,2,3],"upper":[1.5,2.5,4,5]}],
      "forecastStart":2})");
}

TEST(NumberFormat, DecimalsAndShortestForm) {
  EXPECT_EQ(FormatNumber(1.0), "1");
  EXPECT_EQ(FormatNumber(0.25), "0.25");
  EXPECT_EQ(FormatNumber(0.1 + 0.2), "0.30000000000000004"); // shortest exact, not rounded
  EXPECT_EQ(FormatNumber(1234567.0, 2), "1234567.00");       // no thousands separators
  EXPECT_EQ(FormatNumber(2.675, 2), "2.67");                 // the double is 2.67499999...
  EXPECT_EQ(FormatNumber(-0.001, 2), "0.00");
  EXPECT_EQ(FormatNumber(-1.5, 0), "-2");
  EXPECT_EQ(FormatNumber(std::nan(""), 2), ".");
  EXPECT_EQ(FormatNumber(-HUGE_VAL), "-Infinity");
  EXPECT_EQ(FormatNumber(1.0, 99).size(), 22u); // decimals capped at 20
  EXPECT_EQ(FormatCell(NumberCell(3.14159, 3)), "3.142");
  EXPECT_EQ(FormatCell(TextCell("abc")), "abc");
}

TEST_F(RendererTest, HtmlEscapesEveryTextAndRefersToNothingOutside) {
  const std::string hostile = "<script>alert('x')</script> & \"q\"";
  {
    RvProcedure procedure(hostile, 10);
    Table table;
    table.title = hostile;
    table.column_labels = {hostile};
    table.row_labels = {hostile};
    table.rows = {{TextCell(hostile)}};
    table.footnotes = {hostile};
    procedure.FindOrMakePath(std::vector<std::string>{hostile}).AddTable(table);
    procedure.AddText(RvString(hostile, false), {hostile});
    nlohmann::json chart = LineChartPayload();
    chart["series"][0]["name"] = hostile;
    chart["x"][0] = hostile;
    procedure.AddChart(RvString(hostile, false), chart);
    RvError(RvString(hostile, false), RvErrorShow::Document, RvErrorLevel::Error);
    AddNotes(2, RvString(hostile, false), RvString(hostile, false, false));
  }
  document_.title = hostile;
  const std::string html = RenderHtml(document_);
  EXPECT_EQ(html.find("<script>alert"), std::string::npos);
  EXPECT_EQ(html.find("alert('x')"), std::string::npos);
  EXPECT_NE(html.find("&lt;script&gt;alert(&#39;x&#39;)&lt;/script&gt; &amp; &quot;q&quot;"),
            std::string::npos);
  // Exactly the page's own script element, nothing the document brought.
  std::size_t scripts = 0;
  for (std::size_t at = 0; (at = html.find("<script", at)) != std::string::npos; ++at)
    ++scripts;
  EXPECT_EQ(scripts, 1u);
  for (const char *outside : {"http://", "https://", "src=", "url(", "@import", "//cdn"}) {
    EXPECT_EQ(html.find(outside), std::string::npos) << outside;
  }
  EXPECT_NE(html.find("<svg class=\"chart line-chart"), std::string::npos);
  EXPECT_NE(html.find("class=\"message error\""), std::string::npos);
}

TEST_F(RendererTest, HtmlOutlineTablesAndUnknownCharts) {
  {
    RvProcedure procedure("Temporal Causal Modeling", 10);
    procedure.Heading(RvString("Never Filled", false));
    Table table;
    table.title = "Fit";
    table.column_labels = {"Target", "RMSE"};
    table.row_labels = {"1"};
    table.rows = {{NumberCell(12.3456, 2)}};
    procedure.FindOrMakePath("Interpretation").AddTable(table);
    procedure.AddInteractive(RvString("Graph", false), nlohmann::json{{"kind", "graph"}});
    RvError(RvString("careful", false), RvErrorShow::Document, RvErrorLevel::Warning);
  }
  const std::string html = RenderHtml(document_);
  EXPECT_EQ(html.find("Never Filled"), std::string::npos); // an empty place holder is left out
  EXPECT_NE(html.find("<th class=\"corner\" scope=\"col\">Target</th><th scope=\"col\">RMSE</th>"),
            std::string::npos);
  EXPECT_NE(html.find("<td class=\"num\">12.35</td>"), std::string::npos);
  EXPECT_NE(html.find(FacSTDictionary::Shared().LookUp("Output.UnknownChart")), std::string::npos);
  EXPECT_NE(html.find("class=\"message warning\""), std::string::npos);
  // Every outline entry points at an element of the page.
  for (std::size_t at = 0; (at = html.find("href=\"#", at)) != std::string::npos;) {
    at += 7;
    const std::string id = html.substr(at, html.find('"', at) - at);
    EXPECT_NE(html.find("id=\"" + id + "\""), std::string::npos) << id;
  }
}

TEST_F(RendererTest, TextTablesAlignWideAndEmptyCells) {
  {
    RvProcedure procedure("Temporal Causal Modeling", 10);
    Table table;
    table.title = "Fit";
    table.column_labels = {"A", "A much wider header"};
    table.row_labels = {"r", "\xE6\x97\xA5\xE6\x9C\xAC", ""}; // two wide characters
    table.rows = {{NumberCell(1.5, 2), TextCell("")},
                  {NumberCell(-123.25, 2), TextCell("text")},
                  {TextCell("")}};
    table.footnotes = {"first"};
    procedure.FindOrMakePath("Interpretation").AddTable(table);
    RvError(RvString("it failed", false), RvErrorShow::Document, RvErrorLevel::Error);
  }
  const std::string text = RenderText(document_);
  std::vector<std::string> box;
  for (const auto &line : LinesOf(text)) {
    if (line.find("\xE2\x94") != std::string::npos)
      box.push_back(line); // box drawing
  }
  ASSERT_EQ(box.size(), 7u); // top, header, rule, three rows, bottom
  for (const auto &line : box)
    EXPECT_EQ(DisplayWidth(line), DisplayWidth(box[0])) << line;
  EXPECT_EQ(box[0].find("  \xE2\x94\x8C"), 0u); // the table is indented under its heading
  // Numbers right-aligned in their column: their last digits line up.
  const std::size_t one = box[3].find("1.50");
  const std::size_t two = box[4].find("-123.25");
  ASSERT_NE(one, std::string::npos);
  ASSERT_NE(two, std::string::npos);
  EXPECT_EQ(DisplayWidth(box[3].substr(0, one + 4)), DisplayWidth(box[4].substr(0, two + 7)));
  EXPECT_NE(text.find("  a. first\n"), std::string::npos);
  EXPECT_NE(text.find("Error: TCM MODEL: it failed\n"), std::string::npos);
  EXPECT_NE(text.find("Temporal Causal Modeling\n========================\n"), std::string::npos);
}

TEST_F(RendererTest, TextChartsAreSummarisedByTheirRanges) {
  {
    RvProcedure procedure("P", 10);
    procedure.AddChart(RvString("Sales forecast", false), LineChartPayload());
    procedure.AddChart(RvString("Odd", false), nlohmann::json("not a chart"));
  }
  const std::string text = RenderText(document_);
  EXPECT_NE(text.find("Sales forecast\n  x: 2020-01 to 2020-04 (4 points)\n"), std::string::npos)
      << text;
  EXPECT_NE(text.find("Forecast from 2020-03"), std::string::npos);
  EXPECT_NE(text.find("Sales: 1 to 4; band 0.5 to 5"), std::string::npos);
  EXPECT_NE(text.find("Odd\n  " + FacSTDictionary::Shared().LookUp("Output.UnknownChart")),
            std::string::npos);

  LineChart chart;
  std::string problem;
  EXPECT_FALSE(ReadLineChart(nlohmann::json{{"kind", "line"}, {"series", "x"}}, chart, problem));
  EXPECT_FALSE(problem.empty());
  ASSERT_TRUE(ReadLineChart(
      nlohmann::json::parse(R"({"kind":"line","series":[{"name":"a","y":[1,"x",3]}]})"), chart,
      problem));
  EXPECT_EQ(chart.x, (std::vector<std::string>{"1", "2", "3"}));
  EXPECT_FALSE(chart.series[0].y[1].has_value());
}

TEST_F(RendererTest, JsonCarriesTheDocumentWithMessageSourcesAndArgs) {
  {
    RvProcedure procedure("Temporal Causal Modeling", 10);
    procedure.Heading(RvString("Placeholder", false));
    Table table;
    table.title = "Fit";
    table.subtype = "Model Fit";
    table.rows = {{NumberCell(0.5, 1), NumberCell(std::nan(""), 2), TextCell("t")}};
    procedure.FindOrMakePath("Interpretation").AddTable(table);
    session_.Post(MessageRecord{
        Severity::Error, "NO_DIMENSIONS_KEY", {"Region", "3"}, "text here", "TCM MODEL"});
    AddNotes(2, RvString("Model File", true), RvString("m.zip", false, false));
  }
  const nlohmann::json json = RenderJson(document_);
  ASSERT_EQ(json["items"].size(), 1u);
  const nlohmann::json &procedure = json["items"][0];
  EXPECT_EQ(procedure["type"], "procedure");
  const nlohmann::json &items = procedure["items"];
  // The place holder that no object filled is left out, as the other renderers leave it out.
  ASSERT_EQ(items.size(), 3u);
  EXPECT_EQ(items[0]["type"], "heading");
  EXPECT_EQ(items[0]["title"], "Interpretation");
  EXPECT_EQ(items[0]["items"][0]["subtype"], "Model Fit");
  const nlohmann::json &cells = items[0]["items"][0]["rows"][0];
  EXPECT_EQ(cells[0]["value"], 0.5);
  EXPECT_EQ(cells[0]["text"], "0.5");
  EXPECT_TRUE(cells[1]["value"].is_null());
  EXPECT_EQ(cells[2], "t");
  EXPECT_EQ(items[1]["type"], "message");
  EXPECT_EQ(items[1]["severity"], "error");
  EXPECT_EQ(items[1]["source"], "NO_DIMENSIONS_KEY");
  EXPECT_EQ(items[1]["args"], (nlohmann::json{"Region", "3"}));
  EXPECT_EQ(items[2]["type"], "notes");
  EXPECT_EQ(items[2]["rowLabels"][0], "Model File");

  // Text that is not UTF-8 still gives valid JSON text.
  document_.title = "bad \xFF byte";
  const std::string dumped = RenderJsonText(document_);
  EXPECT_TRUE(nlohmann::json::accept(dumped));
}

} // namespace
} // namespace host

namespace host {
namespace {

TEST(EngineTable, NestedRowsOfNoValueAreThePivotsFillerAndNotDrawn) {
  // Series by outlier number: West had one outlier, North two; West's second row is filler. A
  // row of no value under a single row dimension stays: it is a real row whose values are missing.
  const nlohmann::json nested = nlohmann::json::parse(R"({"title": "Series with Outliers",
    "rowDimensions": [{"label": "Series", "categories": ["West", "North"]},
                      {"label": "Outlier", "categories": ["1", "2"]}],
    "columnDimensions": [{"label": "", "categories": ["Time", "Observed"]}],
    "cells": [["2021-04", 5], [null, null], ["2021-09", 7], ["2022-02", 9]]})");
  nlohmann::json flat = nested;
  flat["rowDimensions"].erase(1);
  flat["cells"] = nlohmann::json::parse(R"([["2021-04", 5], [null, null]])");
  for (const auto& [table_json, rows] : {std::pair{nested, 3u}, std::pair{flat, 2u}}) {
    host::Table table;
    std::string problem;
    ASSERT_EQ(host::ReadEngineTable(table_json, {}, table, problem), host::TableRead::Ok) << problem;
    EXPECT_EQ(table.rows.size(), rows);
  }
}

TEST(EmptyReport, SaysSoInsteadOfABlankPage) {
  OutputDocument document;
  document.root.AddChild(NodeKind::Procedure, "Time Series Exploration");  // wrote nothing
  const std::string empty_text = FacSTDictionary::Shared().LookUp("Output.Empty");
  EXPECT_NE(RenderHtml(document).find(empty_text), std::string::npos);
  EXPECT_EQ(RenderText(document), empty_text + "\n");
  document.root.children.front()->AddChild(NodeKind::Text, "Debug")->lines = {"Done Parsing"};
  EXPECT_EQ(RenderHtml(document).find(empty_text), std::string::npos);
  EXPECT_EQ(RenderText(document).find(empty_text), std::string::npos);
}

}  // namespace
}  // namespace host

namespace host {
namespace {

// Every line of `text`, counted in columns.
std::size_t Widest(const std::string &text) {
  std::size_t widest = 0;
  for (const auto &line : LinesOf(text))
    widest = std::max(widest, DisplayWidth(line));
  return widest;
}

std::size_t Count(const std::string &text, const std::string &piece) {
  std::size_t count = 0;
  for (std::size_t at = text.find(piece); at != std::string::npos; at = text.find(piece, at + 1))
    ++count;
  return count;
}

// A wide table at a narrow width is printed in column panels: each column once, the row labels
// in every panel, no line wider than the width; a cell too wide for any panel wraps in its box.
TEST(TextWidth, WideTablesSplitIntoPanelsThatRepeatTheRowLabels) {
  OutputDocument document;
  Table &table = document.root.AddChild(NodeKind::Procedure, "P")->AddChild(NodeKind::Table, "Wide")->table;
  table.column_labels = {"Target"};
  for (int c = 1; c <= 12; ++c)
    table.column_labels.push_back("Statistic" + std::to_string(c));
  table.row_labels = {"visits-product:Snacks-region:South", "sales-product:Snacks-region:North"};
  for (std::size_t r = 0; r < 2; ++r) {
    table.rows.emplace_back();
    for (int c = 1; c <= 12; ++c)
      table.rows[r].push_back(NumberCell(1234.5 * c, 3));
  }
  table.rows[1][11] = TextCell(std::string(150, 'x') + " a long note that cannot fit");
  // A long message wraps into full lines, its continuations indented, with no stub between.
  OutputNode *message = document.root.AddChild(NodeKind::Message);
  message->message.severity = Severity::Error;
  std::string words;  // of ten columns with their space, so that a line of 100 holds ten
  for (int k = 0; k < 40; ++k)
    words += std::string(8, 'w') + std::to_string(k % 10) + " ";
  message->message.text = words + "end.";
  struct Case {
    std::size_t width;
    std::size_t panels;  // 0: any count above one
  };
  for (const Case c : {Case{0, 1}, Case{400, 1}, Case{100, 0}, Case{60, 0}, Case{40, 12}}) {
    SCOPED_TRACE(c.width);
    const std::string text = RenderText(document, c.width);
    if (c.width > 0) {
      EXPECT_LE(Widest(text), c.width) << text;
    }
    for (int col = 1; col <= 12; ++col)
      EXPECT_EQ(Count(text, "Statistic" + std::to_string(col) + " "), 1u) << text;
    const std::size_t panels = Count(text, "\u250C");
    if (c.panels > 0) {
      EXPECT_EQ(panels, c.panels) << text;
    } else {
      EXPECT_GT(panels, 1u) << text;
    }
    EXPECT_EQ(Count(text, "Target"), panels);  // the corner, with the row labels, in every panel
    EXPECT_EQ(Count(text, "(columns "), panels > 1 ? panels : 0u);
    EXPECT_EQ(Count(text, "x"), 150u) << text;  // the long cell is all there, wrapped or not
    const std::vector<std::string> lines = LinesOf(text.substr(text.find("Error: ")));
    for (std::size_t i = 0; c.width >= 60 && c.width < 400 && i + 1 < lines.size() && !lines[i + 1].empty(); ++i)
      EXPECT_GT(lines[i].size() + 12, c.width) << text;  // short of the width by a word at most
    EXPECT_NE(text.find("wwwwwwww9 end."), std::string::npos);
  }
}

// Runs of texts that say the same for different series are drawn once with their titles.
TEST(Folding, AlikeTextsAreDrawnOnceWithTheSeriesTheyApplyTo) {
  struct Case {
    std::vector<std::string> texts;
    std::size_t folded;  // siblings in the first run
    std::string shared;  // its line
  };
  const std::string note = ", so the root cause analysis has nothing to explain.";
  const Case cases[] = {
      {{"No outliers in a-r:A" + note, "No outliers in b-r:B" + note, "No outliers in c-r:A" + note},
       3, "No outliers in \u2026" + note},
      {{"No outliers in a:East" + note, "No outliers in a:West" + note, "No outliers in b:West" + note},
       3, "No outliers in \u2026" + note},
      {{"alike", "alike", "other"}, 2, "alike"},
      {{"No outliers in a" + note, "No outliers in b" + note}, 1, ""},           // two alike only
      {{"No outliers in a" + note, "Three outliers in b" + note, "x"}, 1, ""},  // two words differ
      {{"Lag 1 of a", "Lag 2 of b", "Lag 3 of c"}, 1, ""},                      // two words differ
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(c.texts.front());
    OutputDocument document;
    OutputNode *heading = document.root.AddChild(NodeKind::Procedure, "P");
    for (std::size_t i = 0; i < c.texts.size(); ++i)
      heading->AddChild(NodeKind::Text, "series " + std::to_string(i))->lines = {c.texts[i]};
    const TextRun run = AlikeTexts(heading->children, 0);
    EXPECT_EQ(run.count, c.folded);
    if (c.folded == 1)
      continue;
    EXPECT_EQ(run.lines, std::vector<std::string>{c.shared});
    const std::string text = RenderText(document, 0);
    EXPECT_EQ(Count(text, c.shared), 1u) << text;
    EXPECT_NE(text.find(FacSTDictionary::Shared().Format("Output.AppliesTo",
                                                         {std::to_string(c.folded)}) +
                        ": series 0, series 1"),
              std::string::npos)
        << text;
    const std::string html = RenderHtml(document);
    EXPECT_EQ(Count(html, "<pre>"), c.texts.size() - c.folded + 1);
    for (std::size_t i = 0; i < c.folded; ++i) {
      EXPECT_NE(html.find(">series " + std::to_string(i) + "</a></li>"), std::string::npos);
    }
  }

  // The same note under a run of figures (the model file under every graph) comes once.
  OutputDocument document;
  OutputNode *heading = document.root.AddChild(NodeKind::Procedure, "P");
  for (const char *series : {"a", "b", "c"}) {
    heading->AddChild(NodeKind::Interactive, series)->payload = nlohmann::json::parse(
        R"({"kind":"systemGraph","view":"single","series":"x","modelFile":"m.zip",
            "nodes":[{"label":"x","target":true}],"edges":[]})");
  }
  const std::string html = RenderHtml(document);
  EXPECT_EQ(Count(html, "m.zip"), 1u);
  EXPECT_EQ(Count(html, "<li><a href="), 3u);  // the figures it applies to
}

// The contents show what tells sibling entries apart first; the page's links then say the rest.
TEST(Contents, EntriesShowTheDistinguishingPartFirst) {
  struct Case {
    std::vector<std::string> titles, shown;
  };
  const Case cases[] = {
      {{"visits-product:A-region:North", "sales-product:B-region:North", "sales-product:A-region:South"},
       {"visits \u00B7 A \u00B7 North", "sales \u00B7 B \u00B7 North", "sales \u00B7 A \u00B7 South"}},
      {{"Overall Model System: a-x:1", "Overall Model System: b-x:2", "Overall Model System: c-x:3"},
       {"a \u00B7 1", "b \u00B7 2", "c \u00B7 3"}},
      {{"a-x:1", "b-x:2"}, {"a-x:1", "b-x:2"}},                      // too few to tell a pattern
      {{"Tests of Model Effects", "Observed and Predicted Series", "Overall Model Quality - RMSPE"},
       {"Tests of Model Effects", "Observed and Predicted Series", "Overall Model Quality - RMSPE"}},
      {{"Top", "a-x:1", "b-x:2", "North-East-x:3", "c-x:4"},  // shapes apart
       {"Top", "a \u00B7 1", "b \u00B7 2", "North-East-x:3", "c \u00B7 4"}},
  };
  for (const Case &c : cases)
    EXPECT_EQ(DistinguishingTitles(c.titles), c.shown);
}

// What waits as text until the reader asks for it: a collapsed section's whole body (a long
// table in it included: a <noscript> cannot hold another), and the rows of a long table beyond
// its first hundred, which keep their order and come with the table's header.
TEST(Deferred, CollapsedSectionsAndLongTablesWaitAsText) {
  struct Case {
    const char *name;
    std::size_t rows;
    bool collapsed;  // the heading holds more objects than are shown open
    std::size_t shown, held_back;
  };
  const Case cases[] = {{"a long table", 400, false, 100, 300},
                        {"a table just too short to split", 150, false, 150, 0},
                        {"a long table in a collapsed section", 400, true, 0, 0}};
  for (const Case &c : cases) {
    SCOPED_TRACE(c.name);
    OutputDocument document;
    OutputNode &heading = document.root.AddChild(NodeKind::Procedure, "P")->FindOrMakeHeading("Outliers");
    Table &table = heading.AddChild(NodeKind::Table, "Series with Outliers")->table;
    table.column_labels = {"Series", "Outliers"};
    for (std::size_t r = 0; r < c.rows; ++r) {
      table.row_labels.push_back("series-" + std::to_string(r));
      table.rows.push_back({NumberCell(static_cast<double>(r), 0)});
    }
    for (int k = 0; c.collapsed && k < 13; ++k)
      heading.AddChild(NodeKind::Text, "t" + std::to_string(k))->lines = {"x"};
    const std::string page = RenderHtml(document);
    const std::string html = page.substr(page.find("<main"), page.find("</main>") - page.find("<main"));

    const std::size_t deferred = html.find("<noscript class=\"deferred\">");
    EXPECT_EQ(deferred != std::string::npos, c.collapsed);
    if (c.collapsed) {  // the whole body is the noscript's text, with no noscript inside
      const std::string text = html.substr(deferred, html.find("</noscript>") - deferred);
      EXPECT_EQ(Count(text, "<tr><th scope=\"row\">"), c.rows);
      EXPECT_EQ(Count(text, "<noscript"), 1u);
      EXPECT_EQ(html.find("series-0"), html.find("series-0", deferred));
      continue;
    }
    const std::size_t more = html.find("<noscript class=\"more-rows\"");
    const std::string open = html.substr(0, more);
    EXPECT_EQ(Count(open, "<tr><th scope=\"row\">"), c.shown);
    EXPECT_EQ(more != std::string::npos, c.held_back > 0);
    if (more == std::string::npos)
      continue;
    const std::string rest = html.substr(more, html.find("</noscript>", more) - more);
    EXPECT_NE(rest.find("data-rows=\"" + std::to_string(c.rows) + "\""), std::string::npos);
    EXPECT_EQ(Count(rest, "<tr><th scope=\"row\">"), c.held_back);
    EXPECT_NE(rest.find("<th scope=\"col\">Outliers</th>"), std::string::npos);
    EXPECT_LT(rest.find("series-" + std::to_string(c.shown) + "<"), rest.find("series-" + std::to_string(c.rows - 1) + "<"));
    EXPECT_EQ(open.find("series-" + std::to_string(c.shown) + "<"), std::string::npos);
  }
}

// The page opens on the summary (quality, best and worst models, warnings, the top models'
// graph), then the procedure's sections in the plan's order, the review collapsed.
TEST(Summary, LeadsThePageAndThePlanFollowsInOrder) {
  OutputDocument document;
  OutputNode *procedure = document.root.AddChild(NodeKind::Procedure, "Temporal Causal Modeling");
  procedure->AddChild(NodeKind::Heading, FacSTDictionary::Shared().LookUp("Review"))
      ->AddChild(NodeKind::Table, "Model Specifications")->table.rows = {{TextCell("x")}};
  OutputNode *evaluation = procedure->AddChild(NodeKind::Heading, "Evaluation");
  evaluation->AddChild(NodeKind::Interactive, "Overall Model Quality")->payload =
      nlohmann::json::parse(R"({"kind":"distribution","statistic":"R Square",
        "dotPlot":{"points":[{"label":"a","value":0.9},{"label":"b","value":0.2},
                             {"label":"c","value":0.5}]}})");
  for (const char *series : {"good", "poor", "fair"})
    evaluation->AddChild(NodeKind::Chart, series)->payload = LineChartPayload();
  Table &fit = procedure->AddChild(NodeKind::Heading, "Fit")->AddChild(NodeKind::Table, "Top")->table;
  fit.subtype = "Model Fit Statistics";
  fit.column_labels = {"Target", "R Square"};
  fit.row_labels = {"good", "poor", "fair"};
  fit.rows = {{NumberCell(0.9, 3)}, {NumberCell(0.2, 3)}, {NumberCell(0.5, 3)}};
  for (const char *series : {"good", "poor", "fair"})
    procedure->FindOrMakeHeading("Fit").AddChild(NodeKind::Text, series)->lines = {series};
  OutputNode *warning = procedure->AddChild(NodeKind::Message);
  warning->message.severity = Severity::Warning;
  warning->message.text = "careful here";

  const std::string page = RenderHtml(document);
  const std::string html = page.substr(page.find("<main"), page.find("</main>") - page.find("<main"));
  const auto at = [&](const std::string &piece) { return html.find(piece); };
  const std::string words[] = {"id=\"summary\"", "R Square</a>", "good</a>", "poor</a>",
                               "careful here</a>", "class=\"section-title\">Temporal Causal",
                               "collapsible collapsed", "Evaluation", "Fit"};
  for (std::size_t i = 0; i + 1 < std::size(words); ++i) {
    ASSERT_NE(at(words[i]), std::string::npos) << words[i];
    EXPECT_LT(at(words[i]), at(words[i + 1])) << words[i] << " before " << words[i + 1];
  }
  // The best model is listed before the worst, each linking to its chart, which links to the
  // same series' other objects.
  EXPECT_LT(at("good</a>"), at("fair</a>"));
  EXPECT_EQ(Count(html.substr(0, at("class=\"procedure\"")), "data-series"), 0u);
  EXPECT_EQ(Count(html, "data-series="), 6u);  // a chart and a text for each of three series
  // Without a model system there is nothing to sum up.
  OutputDocument plain;
  plain.root.AddChild(NodeKind::Procedure, "P")->AddChild(NodeKind::Text, "t")->lines = {"x"};
  EXPECT_EQ(RenderHtml(plain).find("id=\"summary\""), std::string::npos);
}

}  // namespace
}  // namespace host
