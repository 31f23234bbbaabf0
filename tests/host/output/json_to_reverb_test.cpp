// This file contains tests of the report renderer: output orders, their drawing from an output
// document into the outline, tables and figures read from the document, and the HTML and text
// forms of the figures.
#include <gtest/gtest.h>

#include <functional>

#include "host/data/procedure_data_source.h"
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
  // What a reader sees of each figure kind, drawn in the page.
  const char* const drawn[] = {
      "<svg class=\"chart line-chart", "<path class=\"band\"", "<rect class=\"forecast\"",  // series plot
      "<svg class=\"chart histogram\"", "<rect class=\"bar\"",                            // histogram
      "<svg class=\"chart dotplot\"", "<circle class=\"dot\"",                             // dot plot
      "<svg class=\"graph\"", "<g class=\"node target\"", "class=\"graph-data\"",          // system graph
      "class=\"graph-sig\"", "<option value=\"noInputs\"",
      "<svg class=\"tree causes\"", "<svg class=\"tree effects\"", "tree-node root-cause",  // impact trees
      "<td class=\"num\">5.5%</td>", "price-East<br>Forecast"};                             // table formats
  for (const char* piece : drawn) EXPECT_TRUE(has(piece)) << piece;
  // Self-contained: nothing fetched from anywhere.
  for (const char* outside : {"http://", "https://", "src=", "url(", "@import", "//cdn", "<link"}) {
    EXPECT_FALSE(has(outside)) << outside;
  }
  // One script; the graphs' data and the page store ride in data elements beside it.
  std::size_t scripts = 0;
  for (std::size_t at = 0; (at = html.find("<script", at)) != std::string::npos; ++at) {
    const std::string data = "<script type=\"application/";
    if (html.compare(at, data.size(), data) != 0) ++scripts;
  }
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

TEST(SystemGraphTest, ViewsLayersAndSharedData) {
  SystemGraph graph;
  // Metrics a (inputs only), b and c: a -> b -> c, and s5 (a) -> s3 (b) not significant.
  const char* names[] = {"b-x", "c-x", "c-y", "b-y", "a-x", "a-y"};
  for (int i = 0; i < 6; ++i) {
    GraphNode node;
    node.label = names[i];
    node.metric = std::string(1, names[i][0]);
    node.values = names[i] + 2;
    node.target = i < 4;
    if (i < 4) node.rank = 4 - i;
    graph.nodes.push_back(node);
  }
  graph.edges = {{4, 3, 0.01, 1, 1, 2.5, 3}, {5, 0, 0.2, 0.5, 1, -1, 1}, {0, 1, 1e-9, 0.8, 2, 0.3, 2},
                 {3, 2, 0.001, 0.8, 2, -0.3, 2}};
  graph.top_models = 1;
  EXPECT_EQ(graph.ViewNodes("top", ""), (std::vector<std::size_t>{3, 4}));  // rank 1 is b-y
  EXPECT_EQ(graph.ViewNodes("noInputs", ""), (std::vector<std::size_t>{}));
  EXPECT_EQ(graph.ViewNodes("single", "b-x"), (std::vector<std::size_t>{0, 1, 5}));
  EXPECT_EQ(graph.ViewNodes("all", "").size(), 6u);
  EXPECT_FALSE(graph.Significant(graph.edges[1], 0.05));

  // One column per metric, drivers left; within a column each series level with its input:
  // b-y (input a-x) above b-x (input a-y), though b-x comes first by name.
  const GraphColumns columns = LayerGraph(graph);
  EXPECT_EQ(columns.metrics, (std::vector<std::string>{"a", "b", "c"}));
  EXPECT_EQ(columns.column, (std::vector<int>{1, 2, 2, 1, 0, 0}));
  EXPECT_LT(columns.order[3], columns.order[0]);
  EXPECT_LT(columns.order[4], columns.order[5]);

  // Figures of one graph share its data; a figure draws only its view.
  GraphDataStore store;
  graph.view = "single";
  graph.series = "b-x";
  const std::string first = RenderSystemGraphHtml(graph, store);
  graph.series = "c-y";
  const std::string second = RenderSystemGraphHtml(graph, store);
  const auto count = [](const std::string& text, const std::string& piece) {
    std::size_t found = 0;
    for (std::size_t at = text.find(piece); at != std::string::npos; at = text.find(piece, at + 1)) ++found;
    return found;
  };
  EXPECT_EQ(count(first, "<g class=\"node "), 3u);
  EXPECT_EQ(count(second, "<g class=\"node "), 2u);
  EXPECT_EQ(count(first + second, "data-graph=\"graph-data-1\""), 2u);
  EXPECT_EQ(count(first, "<g class=\"edge pos\""), 1u);  // b-x -> c-x
  EXPECT_EQ(count(first, "edge neg"), 0u);                 // a-y -> b-x is left out at p .2
  graph.nodes[0].label = "b-x</script>";
  EXPECT_EQ(store.Add(graph), "graph-data-2");
  const std::string data = store.Html();
  EXPECT_EQ(count(data, "<script type=\"application/json\""), 2u);
  EXPECT_EQ(count(data, "</script>"), 2u);  // the label's "</" is escaped
  // The data: per edge its p value as tables print it and the sign of its effect.
  const std::size_t open = data.find('>') + 1;
  const auto parsed = nlohmann::json::parse(data.substr(open, data.find("</script>") - open));
  EXPECT_EQ(parsed["e"][2][3], "<.001");
  EXPECT_EQ(parsed["e"][1][4], -1);
  EXPECT_EQ(parsed["e"][0][4], 1);
  EXPECT_EQ(parsed["m"], (nlohmann::json{"a", "b", "c"}));
}

TEST(SeriesNameTest, EveryTextOfASeriesShowsItsName) {
  auto dataset = std::make_shared<Dataset>();
  Variable product;
  product.name = "product";
  product.type = 2;
  product.SetValueLabel(std::string_view("A"), "Snacks");
  dataset->AddVariable(product);
  Variable region;
  region.name = "region";
  region.type = 8;
  dataset->AddVariable(region);
  Variable store;
  store.name = "store";
  store.SetValueLabel(3.0, "Main");
  dataset->AddVariable(store);
  ProcedureDataSource data(dataset);
  // A composite text as the output document writes a series: values by their codes.
  const auto series = [](const std::string& metric, const std::vector<std::pair<std::string, std::string>>& dims) {
    Json children = Json::array({{{"text", {{"stringDataText", {{"value", metric}}}}}}});
    for (const auto& [dimension, value] : dims) {
      children.push_back({{"text", {{"stringText", {{"value", "-"}}}}}});
      children.push_back({{"text", {{"stringText", {{"value", dimension + ":"}}}}}});
      children.push_back({{"text", {{"stringDataText", {{"value", value}}}}}});
    }
    return Json{{"text", {{"compositeText", {{"children", children}}}}}};
  };
  const Json document = {{"tcm", {{"list", Json::array({series("visits", {{"product", "A"}, {"region", "South"}}),
                                                        series("sales", {{"store", "3"}})})}}}};
  JNIJSONObject parsed(document.dump());
  dataDictionary dictionary(nullptr, &data);
  dictionary.learnSeriesNames(parsed.getTop());
  EXPECT_EQ(CompositeTextOf(JNIJSONArray::get(JNIJSONObject::get(JNIJSONObject::get(parsed.getTop(), "tcm"), "list"), 0),
                            dictionary),
            "visits-product:Snacks-region:South");
  const struct {
    std::string text;
    std::string learned;   // shownName: the texts of the document only
    std::string anywhere;  // shownNameOfText: any series text over the dataset's variables
  } cases[] = {
      {"visits-product:A-region:South", "visits-product:Snacks-region:South", "visits-product:Snacks-region:South"},
      {"Residual of visits-product:A-region:South", "Residual of visits-product:Snacks-region:South",
       "Residual of visits-product:Snacks-region:South"},
      {"sales-store:3", "sales-store:Main", "sales-store:Main"},
      {"returns-product:A-region:North", "returns-product:A-region:North", "returns-product:Snacks-region:North"},
      {"returns-product:B-region:North", "returns-product:B-region:North", "returns-product:B-region:North"},
      {"visits-product:A-region:South-x", "visits-product:A-region:South-x", "visits-product:Snacks-region:South-x"},
      {"Top Inputs", "Top Inputs", "Top Inputs"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(dictionary.shownName(c.text), c.learned) << c.text;
    EXPECT_EQ(dictionary.shownNameOfText(c.text), c.anywhere) << c.text;
  }
}

} // namespace
} // namespace host
