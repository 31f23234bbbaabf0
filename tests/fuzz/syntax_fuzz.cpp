// Fuzz target of the syntax reader: any text through the command splitter and the tokenizer,
// then every TCM MODEL, TCM APPLY and TCM ANALYSIS command through its parser shell (descriptor
// trees and readers) against a small fixed dataset. Nothing runs beyond the parse.
#include <cstddef>
#include <cstdint>
#include <string>

#include "fuzz_data.h"
#include "host/syntax/command_splitter.h"
#include "host/syntax/token_sequence.h"
#include "tcm/analysis/tcm_anly_parser.h"
#include "tcm/apply/tcm_apply_parser.h"
#include "tcm/frame/command_context.h"
#include "tcm/model/tcm_model_parser.h"

namespace {

template <typename Spec, typename Parser>
void ParseOne(const host::CommandText& command, const char* title,
              const std::shared_ptr<host::Dataset>& dataset) {
  QUOR_TokenSequence tokens(command.tokens);
  ProcedureDataSource data_source(dataset);
  Spec spec;
  CommandContext context;
  context.Fill(command.name, title);
  Parser parser(tokens, &spec, &context, &data_source);
  if (parser.ParseCommand()) (void)parser.AnalysisVariableIndices();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  tcm_fuzz::FuzzSession fuzz;
  ParserMessage messages;
  const auto dataset = tcm_fuzz::RetailDataset(messages);
  fuzz.session().active_dataset = dataset;
  const std::string text(reinterpret_cast<const char*>(data), size);
  const auto commands = host::SplitCommands(text, "fuzz.tcm", messages);
  for (const host::CommandText& command : commands) {
    if (command.is_comment) continue;
    fuzz.session().command =
        host::CurrentCommand{command.name, command.file, command.line, &command.tokens};
    if (command.name == "TCM MODEL") {
      ParseOne<TCMModelValidSpecs, TCMModelParser>(command, "Temporal Causal Modeling", dataset);
    } else if (command.name == "TCM APPLY") {
      ParseOne<TCMApplySpec, TCMApplyParser>(command, "Temporal Causal Model Forecasting",
                                             dataset);
    } else if (command.name == "TCM ANALYSIS") {
      ParseOne<TCMAnlySpec, TCMAnlyParser>(command, "Temporal Causal Model Scenarios", dataset);
    }
    fuzz.session().command = host::CurrentCommand{};
  }
  return 0;
}
