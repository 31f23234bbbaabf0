// This file contains a program that draws the sample output document into a report in every
// format, for the browser test and for looking at: tcm_report_sample <html-path>.
#include <fstream>
#include <iostream>

#include "host/messages/fac_st_dictionary.h"
#include "host/output/html_renderer.h"
#include "host/output/json_renderer.h"
#include "host/output/json_to_reverb.h"
#include "host/output/rv.h"
#include "host/output/text_renderer.h"
#include "host/session.h"
#include "report_sample_document.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: tcm_report_sample <html-path>\n";
    return 2;
  }
  const std::string path = argv[1];
  host::OutputDocument document;
  document.title = "Sample report";
  host::Session session;
  session.document = &document;
  session.command.name = "TCM MODEL";
  host::SessionScope scope(session);
  FacSTDictionary dictionary;
  bool drawn = false;
  {
    RvProcedure procedure("Temporal Causal Modeling", 10);
    for (const char* heading : {"Review", "Evaluation", "Interpretation"}) {
      procedure.Heading(RvString(heading, true));
    }
    jsonToReverb renderer(&procedure, nullptr, dictionary, host::testing::SampleDocument().dump());
    host::testing::QueueSampleOrders(renderer);
    drawn = renderer.generateOutput("tcm");
  }
  std::ofstream html(path, std::ios::binary);
  html << host::RenderHtml(document);
  std::ofstream(path + ".txt", std::ios::binary) << host::RenderText(document);
  std::ofstream(path + ".json", std::ios::binary) << host::RenderJsonText(document);
  if (!html || !drawn) {
    std::cerr << "cannot write " << path << '\n';
    return 1;
  }
  std::cout << path << '\n';
  return 0;
}
