// This file contains a small program that writes a sample report in every format, to look at
// the renderers' work: tcm_output_sample [html-path] (default /tmp/sample_report.html).
#include <cmath>
#include <fstream>
#include <iostream>

#include "host/output/debug_display.h"
#include "host/output/html_renderer.h"
#include "host/output/json_renderer.h"
#include "host/output/number_format.h"
#include "host/output/rv.h"
#include "host/output/text_renderer.h"
#include "host/session.h"

namespace {

nlohmann::json SampleChart() {
  nlohmann::json x = nlohmann::json::array();
  nlohmann::json y = nlohmann::json::array();
  nlohmann::json lower = nlohmann::json::array();
  nlohmann::json upper = nlohmann::json::array();
  nlohmann::json fit = nlohmann::json::array();
  const int months = 36;
  const int forecast = 28;
  for (int i = 0; i < months; ++i) {
    x.push_back(std::to_string(2021 + i / 12) + "-" + (i % 12 < 9 ? "0" : "") +
                std::to_string(i % 12 + 1));
    const double level = 120 + 1.8 * i + 14 * std::sin(i * 0.52);
    fit.push_back(level);
    if (i < forecast) {
      y.push_back(level + 6 * std::cos(i * 1.7));
      lower.push_back(nullptr);
      upper.push_back(nullptr);
    } else {
      y.push_back(nullptr);
      const double width = 8 + 2.2 * (i - forecast);
      lower.push_back(level - width);
      upper.push_back(level + width);
    }
  }
  return {{"kind", "line"},
          {"x", x},
          {"series",
           {{{"name", "Observed"}, {"y", y}},
            {{"name", "Predicted"}, {"y", fit}, {"lower", lower}, {"upper", upper}}}},
          {"forecastStart", forecast},
          {"xLabel", "Date"},
          {"yLabel", "Sales <units>"}};
}

} // namespace

int main(int argc, char **argv) {
  const std::string path = argc > 1 ? argv[1] : "/tmp/sample_report.html";
  host::OutputDocument document;
  host::Session session;
  session.document = &document;
  session.command.name = "TCM MODEL";
  host::SessionScope scope(session);
  {
    RvProcedure procedure("Temporal Causal Modeling", 10);
    ASDebug debug(procedure);
    debug.addOutputLine("Done Parsing");
    ASStatDisplay::DisplayText(std::string(52, '*'), RV_ToFront);
    ASStatDisplay::DisplayText("TCM MODEL valid specificaton display starts", RV_ToFront);
    ASStatDisplay::DisplayS("DATASETTINGS /TIMETYPE", "DATE");
    ASStatDisplay::DisplayD("BUILDOPTIONS /CILEVEL", 95);
    procedure.Heading(RvString("Review", true));
    host::Table fit;
    fit.title = "Model Fit Statistics";
    fit.subtype = "Model Fit";
    fit.column_labels = {"Target", "R Square", "RMSE", "Outliers"};
    fit.row_labels = {"Sales <north>", "Sales & returns", "Cost"};
    fit.rows = {
        {host::NumberCell(0.9123, 3), host::NumberCell(12.5, 2), host::NumberCell(2, 0)},
        {host::NumberCell(0.88, 3), host::NumberCell(1234.5678, 2), host::NumberCell(0, 0)},
        {host::NumberCell(0.7012, 3), host::NumberCell(std::nan(""), 2), host::TextCell("n/a")}};
    fit.footnotes = {"Models were built for 3 of 4 targets."};
    procedure.FindOrMakePath("Interpretation.Overall Model System").AddTable(fit);
    procedure.FindOrMakePath("Interpretation.Sequence Plot")
        .AddChart(RvString("Sales <north>", false), SampleChart());
    procedure.FindOrMakePath("Interpretation.Impact Diagram")
        .AddInteractive(RvString("Impact Diagram", true), nlohmann::json{{"kind", "impact"}});
    RvError(RvString("The series Cost has fewer than 10 valid values; it was skipped.", false),
            RvErrorShow::Both, RvErrorLevel::Warning);
    RvError(RvString("The model system file could not be written: /no/such/folder/m.zip", false),
            RvErrorShow::Both, RvErrorLevel::Error);
    debug.addOutputLine("GenerateOutput()");
    AddNotes(2, RvString("Model File", true),
             RvString("/home/analyst/models/sales.zip", false, false));
    AddNotes(2, RvString("Scored Data File", true),
             RvString("/home/analyst/scored.csv", false, false));
  }
  std::ofstream html(path, std::ios::binary);
  html << host::RenderHtml(document);
  std::ofstream(path + ".txt", std::ios::binary) << host::RenderText(document);
  std::ofstream(path + ".json", std::ios::binary) << host::RenderJsonText(document);
  if (!html) {
    std::cerr << "cannot write " << path << '\n';
    return 1;
  }
  std::cout << path << '\n';
  return 0;
}
