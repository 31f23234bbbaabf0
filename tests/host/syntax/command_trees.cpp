// This file contains the trees of the three commands for the parser tests, and a one-call parse.
#include "command_trees.h"

#include "host/syntax/command_splitter.h"
#include "host/syntax/token_sequence.h"
#include "host/syntax/universal_parser.h"
#include "tcm/analysis/tcm_anly_parser.h"
#include "tcm/apply/tcm_apply_parser.h"
#include "tcm/model/tcm_model_parser.h"

namespace syntax_test {

// The trees are the module's own, so the parser is tested on exactly what the commands use.
CommandDescriptor ModelTree() {
  CommandDescriptor tree("TCM MODEL", "Temporal Causal Modeling");
  AddTCMModelTree(tree);
  return tree;
}

CommandDescriptor ApplyTree() {
  CommandDescriptor tree("TCM APPLY", "Temporal Causal Model Forecasting");
  AddTCMApplyTree(tree);
  return tree;
}

CommandDescriptor AnalysisTree() {
  CommandDescriptor tree("TCM ANALYSIS", "Temporal Causal Model Scenarios");
  AddTCMAnalysisTree(tree);
  return tree;
}

int ParseCommandText(const std::string& text, CommandDescriptor& tree, CommandSpec& spec,
                     ParserMessage& messages) {
  const auto commands = host::SplitCommands(text, "test.tcm", messages);
  if (commands.empty() || !commands.front().tokens_ok)
    return -1;
  QUOR_TokenSequence tokens(commands.front().tokens);
  UniversalParser parser(tokens, spec, tree, &messages);
  return parser.getCommandSpecifications();
}

std::string FirstSource(const ParserMessage& messages) {
  return messages.Raised().empty() ? std::string() : messages.Raised().front().source;
}

} // namespace syntax_test
