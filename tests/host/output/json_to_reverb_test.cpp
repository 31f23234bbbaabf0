// This file contains tests of the report renderer: output orders, their drawing from an output
// document into the outline, tables and figures read from the document, and the HTML and text
// forms of the figures.
#include <gtest/gtest.h>

#include <functional>

#include "host/messages/fac_st_dictionary.h"
#include "host/output/chart_model.h"
#include "host/output/engine_table.h"
#include "host/output/engine_visualization.h"
#include "host/output/figure_svg.h"
#include "host/output/html_renderer.h"
#include "host/output/json_to_reverb.h"
#include "host/output/number_format.h"
#include "host/output/rv.h"
#include "host/output/text_renderer.h"
#include "output_test_support.h"
#include "report_sample_document.h"

namespace host {
namespace {

using Json = nlohmann::ordered_json;

class ReportTest : public testing::SessionTest {
 protected:
  // Draws the orders `queue` makes over `document` into a fresh procedure; gives the result.
  bool Draw(const std::string& document, const std::function<void(jsonToReverb&)>& queue) {
    RvProcedure procedure("Temporal Causal Modeling", 10);
    procedure_ = &procedure.Node();
    jsonToReverb renderer(&procedure, nullptr, dictionary_, document);
    queue(renderer);
    return renderer.generateOutput("tcm");
  }
  // The objects below the procedure, depth first, as "heading/heading/title" paths.
  std::vector<std::string> Objects() const {
    std::vector<std::string> found;
    std::function<void(const OutputNode&, const std::string&)> walk = [&](const OutputNode& node,
                                                                            const std::string& at) {
      for (const auto& child : node.children) {
        if (child->kind == NodeKind::Heading) {
          walk(*child, at + child->title + "/");
        } else if (child->kind != NodeKind::Message) {
          found.push_back(at + child->title);
        }
      }
    };
    walk(*procedure_, "");
    return found;
  }
  const OutputNode* Find(const std::string& title, NodeKind kind) const {
    std::function<const OutputNode*(const OutputNode&)> walk = [&](const OutputNode& node) -> const OutputNode* {
      for (const auto& child : node.children) {
        if (child->kind == kind && child->title == title) return child.get();
        if (const OutputNode* below = walk(*child)) return below;
      }
      return nullptr;
    };
    return walk(*procedure_);
  }

  FacSTDictionary dictionary_;
  OutputNode* procedure_ = nullptr;
};

TEST(OutputOrderTest, CopiesAreIndependentAndOptionsAccumulate) {
  OutputOrder base;
  base.setHeading("Interpretation.Overall Model System")
      .setType(OutputOrder::TypeInteractive)
      .addLocation("interpretation.overallModelSystem.visualization")
      .setOptions("modelSystemFilePath=/data/a,b/model.zip");
  OutputOrder copy = base;
  copy.setOptions("outliers=true").setOptions("display=Top models,topModels=3,causes=1,sigLevel=0.05");
  copy.addLocation(std::vector<std::string>{"evaluation", "x.y", "table", "k.1-2"});
  copy.hideAllCategoriesExcept("sales", true);

  // Three calls, all pairs; the comma inside the path stays in its value.
  const auto options = copy.Options();
  EXPECT_EQ(options.at("modelSystemFilePath"), "/data/a,b/model.zip");
  EXPECT_EQ(options.at("outliers"), "true");
  EXPECT_EQ(options.at("display"), "Top models");
  EXPECT_EQ(options.at("topModels"), "3");
  EXPECT_EQ(options.at("sigLevel"), "0.05");
  EXPECT_EQ(copy.OptionTexts().size(), 3u);
  // The source is untouched by what the copy received.
  EXPECT_EQ(base.Options().size(), 1u);
  EXPECT_EQ(base.Locations().size(), 1u);
  EXPECT_FALSE(base.HasVisibleCategory());
  // A list location keeps its dots; a dotted one splits at them.
  ASSERT_EQ(copy.Locations().size(), 2u);
  EXPECT_EQ(copy.Locations()[1].Segments(),
            (std::vector<std::string>{"evaluation", "x.y", "table", "k.1-2"}));
  EXPECT_EQ(copy.Locations()[0].Segments().size(), 3u);
  // A later call replaces a key; an empty piece is no pair.
  copy.setOptions("topModels=7,,");
  EXPECT_EQ(copy.Option("topModels"), "7");
  EXPECT_EQ(copy.Option("absent", "none"), "none");
}

TEST_F(ReportTest, OrdersDrawUnderTheirHeadingsAndAbsentNodesAreSilent) {
  const std::string document = testing::SampleDocument().dump();
  ASSERT_TRUE(Draw(document, [](jsonToReverb& renderer) {
    // The skeleton the procedure made first fixes the place of "Review".
    renderer.addObjectToOutput("Review", "review.specifications.table", "Model Specifications",
                               "Model Specifications", OutputOrder::TypeTable);
    renderer.addObjectToOutput("Review", "review.temporalInformation.table", "Temporal Information Summary",
                               "Temporal Information Summary", OutputOrder::TypeTable);
    renderer.addObjectToOutput("Review", "review.transformations", "Transformed", "Transformed",
                               OutputOrder::TypeTable);
    // Per-series charts in the order of the sorted keys; one key holds a ".".
    const JNIJSONHandle charts = JNIJSONObject::get(
        JNIJSONObject::get(JNIJSONObject::get(JNIJSONObject::get(renderer.getTop().getTop(), "tcm"), "evaluation"),
                           "observedAndPredicted"),
        "visualization");
    for (const auto& key : JNIJSONObject::keySet(charts)) {
      OutputOrder order;
      order.setHeading("Evaluation.Observed and Predicted Series")
          .setOutlineTitle(key, false)
          .setType(OutputOrder::TypeChart)
          .addLocation(std::vector<std::string>{"evaluation", "observedAndPredicted", "visualization", key});
      renderer.addObjectToOutput(order);
    }
    // A string where a table should be, and a string on the way down: both absent.
    OutputOrder estimates;
    estimates.setHeading("Interpretation.Parameter Estimates")
        .setOutlineTitle("sales-East", false)
        .addLocation(std::vector<std::string>{"interpretation", "parameterEstimatesForTarget", "table", "sales-East"})
        .addLocation(std::vector<std::string>{"interpretation", "parameterEstimatesForTarget", "table", "sales-East", "x"});
    renderer.addObjectToOutput(estimates);
    OutputOrder fit;
    fit.setHeading("Interpretation.Model Fit Statistics")
        .setOutlineTitle("Top models", true)
        .setOMSSubType("Model Fit Statistics")
        .addLocation("interpretation.modelFitStatistics.table");
    renderer.addObjectToOutput(fit);
    OutputOrder second = fit;
    second.setOutlineTitle("Second", false);
    renderer.addObjectToOutput(second);
  }));
  EXPECT_EQ(Objects(), (std::vector<std::string>{
                           "Review/Model Specifications",
                           "Evaluation/Observed and Predicted Series/sales-East",
                           "Evaluation/Observed and Predicted Series/sales-North",
                           "Evaluation/Observed and Predicted Series/sales-West",
                           "Evaluation/Observed and Predicted Series/v2.1-East",
                           "Interpretation/Model Fit Statistics/Top models",
                           "Interpretation/Model Fit Statistics/Second",
                       }));
  EXPECT_TRUE(document_.Messages().empty());
  const OutputNode* fit = Find("Top models", NodeKind::Table);
  ASSERT_NE(fit, nullptr);
  EXPECT_EQ(fit->table.subtype, "Model Fit Statistics");
  EXPECT_EQ(fit->table.title, "Model Fit Statistics");
  const OutputNode* chart = Find("v2.1-East", NodeKind::Chart);
  ASSERT_NE(chart, nullptr);
  EXPECT_EQ(chart->payload["kind"], "line");
  EXPECT_EQ(chart->payload["forecastStart"], 24);
  EXPECT_EQ(chart->payload["series"].size(), 2u);
  EXPECT_EQ(chart->payload["x"][0], "2021-01");
}

TEST_F(ReportTest, HasItemAndDictionaryReadTheDocument) {
  RvProcedure procedure("Temporal Causal Modeling", 10);
  jsonToReverb renderer(&procedure, nullptr, dictionary_, testing::SampleDocument().dump());
  EXPECT_TRUE(renderer.hasItem("tcm.interpretation.modelFitStatistics.table"));
  EXPECT_TRUE(renderer.hasItem("tcm.interpretation.overallModelSystem.visualization"));
  EXPECT_TRUE(renderer.hasItem("tcm.interpretation.parameterEstimatesForTarget.table.sales-East"));  // a string exists
  EXPECT_FALSE(renderer.hasItem("tcm.interpretation.parameterEstimatesForTarget.table.sales-East.x"));
  EXPECT_FALSE(renderer.hasItem("tcm.interpretation.nothing"));
  EXPECT_FALSE(renderer.hasItem("interpretation.modelFitStatistics.table"));  // the root key is part of the path
  EXPECT_TRUE(renderer.getTop().isGood());
  EXPECT_EQ(renderer.getDataDictionary().getField("region").getDecimalPlaces(), 0);
  EXPECT_EQ(renderer.getDataDictionary().getField("REGION").getDecimalPlaces(), 0);
  EXPECT_EQ(renderer.getDataDictionary().getField("nowhere").getDecimalPlaces(), -1);

  // Composite texts: numeric values of a 0-decimal field lose their ".0"; tooltips do not count.
  const JNIJSONObject node(R"({"text":{"compositeText":{"children":[
      {"text":{"stringDataText":{"value":"sales"}}},{"text":{"stringText":{"value":"-"}}},
      {"text":{"numericDataText":{"value":3.0,"variable":"region"}}},
      {"text":{"stringText":{"value":"-"}}},
      {"text":{"numericDataText":{"value":2.5,"variable":"other"}}},
      {"text":{"stringText":{"value":"hint","isTooltip":true}}}]}}})");
  EXPECT_EQ(CompositeTextOf(node.getTop(), renderer.getDataDictionary()), "sales-3-2.5");
  EXPECT_EQ(CompositeTextOf(nullptr, renderer.getDataDictionary()), "");
  EXPECT_EQ(CategoryTextsOf(JNIJSONObject::get(JNIJSONObject::get(JNIJSONObject::get(JNIJSONObject::get(
                                renderer.getTop().getTop(), "tcm"), "interpretation"), "overallModelSystem"),
                                "visualization"),
                            0, 0, 1, renderer.getDataDictionary()).size(),
            11u);
}

TEST_F(ReportTest, InteractiveOrdersJoinTheirLocationsAndTakeTheirOptions) {
  ASSERT_TRUE(Draw(testing::SampleDocument().dump(), [](jsonToReverb& renderer) {
    testing::QueueSampleOrders(renderer);
  }));
  const OutputNode* all = Find("All series", NodeKind::Interactive);
  ASSERT_NE(all, nullptr);
  const auto& graph = all->payload;
  EXPECT_EQ(graph["kind"], "systemGraph");
  EXPECT_EQ(graph["view"], "all");
  EXPECT_EQ(graph["topModels"], 5);
  EXPECT_DOUBLE_EQ(graph["sigLevel"].get<double>(), 0.05);
  EXPECT_EQ(graph["showOutliers"], true);
  EXPECT_EQ(graph["modelFile"], "/home/analyst/retail.tcm");
  EXPECT_EQ(graph["nodes"].size(), 14u);
  EXPECT_EQ(graph["edges"].size(), 18u);
  // The joined fit table gives each node its row.
  EXPECT_EQ(graph["nodes"][1]["details"][1][1], "5.5%");
  EXPECT_EQ(graph["nodes"][12]["target"], false);

  const OutputNode* quality = Find("Overall Model Quality - RMSPE", NodeKind::Interactive);
  ASSERT_NE(quality, nullptr);
  EXPECT_TRUE(quality->payload.contains("histogram"));
  EXPECT_TRUE(quality->payload.contains("dotPlot"));
  EXPECT_EQ(quality->payload["dotPlot"]["points"].size(), 14u);

  const OutputNode* effects = Find("sales-East:effects", NodeKind::Interactive);
  ASSERT_NE(effects, nullptr);
  EXPECT_EQ(effects->payload["initial"], "effects");
  ASSERT_EQ(effects->payload["trees"].size(), 2u);
  // Effects are cut at the depth of the option (2 levels keep all 7 nodes of the sample).
  EXPECT_EQ(effects->payload["trees"][1]["direction"], "effects");
  const OutputNode* rca = Find("sales-North", NodeKind::Interactive);
  ASSERT_NE(rca, nullptr);
  EXPECT_EQ(rca->payload["rootCause"], true);
  EXPECT_EQ(rca->payload["plots"].size(), 2u);
  EXPECT_EQ(rca->payload["trees"][0]["nodes"][4]["rootCause"], true);

  const OutputNode* forecast = Find("sales-East", NodeKind::Table);
  ASSERT_NE(forecast, nullptr);
  EXPECT_TRUE(document_.Messages().empty());
}

TEST_F(ReportTest, OneCategoryStaysVisibleAndTablesPrintTheirFormats) {
  ASSERT_TRUE(Draw(testing::SampleDocument().dump(), [](jsonToReverb& renderer) {
    OutputOrder fit;
    fit.setHeading("Interpretation.Model Fit Statistics")
        .setType(OutputOrder::TypeTable)
        .setOMSSubType("Model Fit Statistics")
        .addLocation("interpretation.modelFitStatistics.table");
    for (const char* series : {"sales-West", "no such series"}) {
      OutputOrder copy = fit;
      copy.setOutlineTitle(series, false).hideAllCategoriesExcept(series, true);
      renderer.addObjectToOutput(copy);
    }
    renderer.addObjectToOutput("Evaluation", "evaluation.testOfModelEffectsForTarget.table", "none", "none",
                               OutputOrder::TypeTable);
    OutputOrder effects;
    effects.setHeading("Evaluation.Tests of Model Effects")
        .setOutlineTitle("sales-East", false)
        .addLocation(std::vector<std::string>{"evaluation", "testOfModelEffectsForTarget", "table", "sales-East"});
    renderer.addObjectToOutput(effects);
    OutputOrder forecasts;
    forecasts.setHeading("Evaluation.Forecasted Values")
        .setOutlineTitle("forecast", false)
        .addLocation(std::vector<std::string>{"action", "forecastedValuesForModel", "table", "sales-East"});
    renderer.addObjectToOutput(forecasts);
  }));
  const OutputNode* west = Find("sales-West", NodeKind::Table);
  ASSERT_NE(west, nullptr);
  EXPECT_EQ(west->table.row_labels, std::vector<std::string>{"sales-West"});
  ASSERT_EQ(west->table.rows.size(), 1u);
  EXPECT_EQ(FormatCell(west->table.rows[0][0]), "0.920");
  EXPECT_EQ(FormatCell(west->table.rows[0][1]), "5.5%");
  EXPECT_EQ(FormatCell(west->table.rows[0][3]), "1");
  EXPECT_TRUE(west->table.rows[0][1].is_number);  // a percent is still a number, aligned as one
  EXPECT_EQ(Find("no such series", NodeKind::Table), nullptr);
  // The per-series parent is no table: it is reported, not drawn.
  EXPECT_EQ(Find("none", NodeKind::Table), nullptr);
  ASSERT_EQ(document_.Messages().size(), 1u);
  EXPECT_EQ(document_.Messages()[0]->severity, Severity::Warning);

  const OutputNode* effects = Find("sales-East", NodeKind::Table);
  ASSERT_NE(effects, nullptr);
  const auto& rows = effects->table.rows;
  EXPECT_EQ(FormatCell(rows[0][2]), "<.001");
  EXPECT_EQ(FormatCell(rows[1][2]), "0.004");
  EXPECT_EQ(FormatCell(rows[2][0]), ".");  // missing
  EXPECT_EQ(FormatCell(rows[2][2]), "0.310\u1D43");  // with its footnote mark
  EXPECT_EQ(effects->table.footnotes.size(), 1u);
  // Nested columns: one label per column with both levels; the corner holds the row label.
  const OutputNode* forecast = Find("forecast", NodeKind::Table);
  ASSERT_NE(forecast, nullptr);
  EXPECT_EQ(forecast->table.column_labels.size(), 7u);
  EXPECT_EQ(forecast->table.column_labels[0], "Date");
  EXPECT_EQ(forecast->table.column_labels[4], "price-East\nForecast");
  EXPECT_EQ(FormatCell(forecast->table.rows[0][3]), "98.1");
}

TEST_F(ReportTest, FailuresAndMessages) {
  // A text that is not JSON: nothing drawn, false.
  EXPECT_FALSE(Draw("{not json", [](jsonToReverb& renderer) {
    renderer.addObjectToOutput("Review", "review.specifications.table", "T", "T", OutputOrder::TypeTable);
  }));
  EXPECT_TRUE(Objects().empty());
  // No root key: nothing to draw, no failure.
  EXPECT_TRUE(Draw(R"({"other":{}})", [](jsonToReverb& renderer) {
    renderer.addObjectToOutput("Review", "review.specifications.table", "T", "T", OutputOrder::TypeTable);
  }));
  EXPECT_TRUE(Objects().empty());
  // A visualization of the wrong shape is reported once and the next order still draws.
  Json document = testing::SampleDocument();
  document["tcm"]["evaluation"]["observedAndPredicted"]["visualization"]["sales-East"]["dataArray"] = "broken";
  EXPECT_TRUE(Draw(document.dump(), [](jsonToReverb& renderer) {
    for (const char* key : {"sales-East", "sales-West"}) {
      OutputOrder order;
      order.setHeading("Evaluation").setOutlineTitle(key, false).setType(OutputOrder::TypeChart).addLocation(
          std::vector<std::string>{"evaluation", "observedAndPredicted", "visualization", key});
      renderer.addObjectToOutput(order);
    }
  }));
  EXPECT_EQ(Objects(), std::vector<std::string>{"Evaluation/sales-West"});
  ASSERT_EQ(document_.Messages().size(), 1u);
  EXPECT_NE(document_.Messages()[0]->text.find("sales-East"), std::string::npos);

  // A renderer without a document shows messages in place of objects.
  RvProcedure procedure("Temporal Causal Modeling", 10);
  procedure_ = &procedure.Node();
  jsonToReverb message(&procedure, nullptr, dictionary_);
  OutputOrder order;
  order.setHeading("Interpretation.Outlier Root Cause Analysis")
      .setOutlineTitle("sales-East", false)
      .setType(OutputOrder::TypeInteractive)
      .addLocation("action.outlierRootCauseAnalysisforSeries")
      .setOptions("showMessage=true,series=sales-East")
      .setOptions("modelSystemFilePath=/m.zip");
  message.addObjectToOutput(order);
  OutputOrder none;
  none.setHeading("Interpretation.Outlier Root Cause Analysis")
      .setOutlineTitle("sales-West", false)
      .setType(OutputOrder::TypeInteractive)
      .setOptions("outliers=none,causes=1,effects=1,levels=2");
  message.addObjectToOutput(none);
  EXPECT_TRUE(message.generateOutput("tcm"));
  const OutputNode* text = Find("sales-East", NodeKind::Text);
  ASSERT_NE(text, nullptr);
  EXPECT_NE(text->lines.at(0).find("sales-East"), std::string::npos);
  EXPECT_NE(Find("sales-West", NodeKind::Text), nullptr);
  // No procedure: nothing can be drawn.
  jsonToReverb nowhere(nullptr, nullptr, dictionary_, "{}");
  EXPECT_FALSE(nowhere.generateOutput("tcm"));
}

TEST_F(ReportTest, HtmlDrawsEveryFigureKindInline) {
  ASSERT_TRUE(Draw(testing::SampleDocument().dump(), [](jsonToReverb& renderer) {
    testing::QueueSampleOrders(renderer);
  }));
  const std::string html = RenderHtml(document_);
  const auto has = [&](const std::string& piece) { return html.find(piece) != std::string::npos; };
  // Line chart with its band and forecast region.
  EXPECT_TRUE(has("<svg class=\"chart line-chart"));
  EXPECT_TRUE(has("<path class=\"band\""));
  EXPECT_TRUE(has("<rect class=\"forecast\""));
  // Histogram and dot plot.
  EXPECT_TRUE(has("<svg class=\"chart histogram\""));
  EXPECT_TRUE(has("<rect class=\"bar\""));
  EXPECT_TRUE(has("<svg class=\"chart dotplot\""));
  EXPECT_TRUE(has("<circle class=\"dot\""));
  // The system graph: nodes, edges with their significance, controls.
  EXPECT_TRUE(has("<svg class=\"graph\""));
  EXPECT_TRUE(has("<g class=\"node target\""));
  EXPECT_TRUE(has("data-p=\"0.08\""));
  EXPECT_TRUE(has("class=\"graph-sig\""));
  EXPECT_TRUE(has("<option value=\"noInputs\""));
  // Impact trees and the root cause marks.
  EXPECT_TRUE(has("<svg class=\"tree causes\""));
  EXPECT_TRUE(has("<svg class=\"tree effects\""));
  EXPECT_TRUE(has("tree-node root-cause"));
  // Tables: formats and nested headers.
  EXPECT_TRUE(has("<td class=\"num\">5.5%</td>"));
  EXPECT_TRUE(has("price-East<br>Forecast"));
  // Self-contained: nothing fetched from anywhere.
  for (const char* outside : {"http://", "https://", "src=", "url(", "@import", "//cdn", "<link"}) {
    EXPECT_FALSE(has(outside)) << outside;
  }
  std::size_t scripts = 0;
  for (std::size_t at = 0; (at = html.find("<script", at)) != std::string::npos; ++at) ++scripts;
  EXPECT_EQ(scripts, 1u);
}

TEST_F(ReportTest, TextFormSummarisesFigures) {
  ASSERT_TRUE(Draw(testing::SampleDocument().dump(), [](jsonToReverb& renderer) {
    testing::QueueSampleOrders(renderer);
  }));
  const std::string text = RenderText(document_);
  EXPECT_NE(text.find("14 series; "), std::string::npos);           // the all-series graph
  EXPECT_NE(text.find("sales-East \u2190 price-East (p <.001)"), std::string::npos);
  EXPECT_NE(text.find("\u2514\u2500 "), std::string::npos);         // an impact tree
  EXPECT_NE(text.find("14 series: lowest"), std::string::npos);     // the dot plot summary
  EXPECT_NE(text.find("\u2588"), std::string::npos);                // histogram bars
  EXPECT_NE(text.find("\u2502 sales-West"), std::string::npos);     // a boxed table row
}

TEST(SystemGraphTest, ViewsChooseTheirSeries) {
  SystemGraph graph;
  for (int i = 0; i < 6; ++i) graph.nodes.push_back({"s" + std::to_string(i), i < 4, i < 4 ? std::optional<double>(4 - i) : std::nullopt, {}, {}, {}});
  // s4 -> s0, s5 -> s3, s0 -> s1 ; s2 has no inputs.
  graph.edges = {{4, 0, 0.01, 1, 1}, {5, 3, 0.2, 0.5, 1}, {0, 1, 0.001, 0.8, 2}};
  graph.top_models = 1;
  EXPECT_EQ(graph.ViewNodes("top", ""), (std::vector<std::size_t>{3, 5}));  // rank 1 is s3
  EXPECT_EQ(graph.ViewNodes("noInputs", ""), (std::vector<std::size_t>{2}));
  EXPECT_EQ(graph.ViewNodes("single", "s0"), (std::vector<std::size_t>{0, 1, 4}));
  EXPECT_EQ(graph.ViewNodes("all", "").size(), 6u);
  EXPECT_FALSE(graph.Significant(graph.edges[1], 0.05));
  // The circular order keeps each connected part together.
  const auto order = CircleOrder(graph);
  std::vector<std::size_t> at(6);
  for (std::size_t i = 0; i < 6; ++i) at[order[i]] = i;
  const auto part_of = [](std::size_t node) { return node == 0 || node == 1 || node == 4 ? 0 : node == 2 ? 1 : 2; };
  int changes = 0;
  for (std::size_t k = 0; k < 6; ++k) changes += part_of(at[k]) != part_of(at[(k + 1) % 6]);
  EXPECT_EQ(changes, 3);  // three parts, each one contiguous arc
}

} // namespace
} // namespace host
