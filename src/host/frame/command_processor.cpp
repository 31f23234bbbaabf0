// This file contains the command processor's loop over the commands of a syntax file.
#include "host/frame/command_processor.h"

#include "host/messages/fac_st_dictionary.h"
#include "host/messages/parser_message.h"
#include "host/syntax/command_splitter.h"

namespace host {

void CommandProcessor::RegisterEntry(const std::string& command, const std::string& entry_name,
                                     EntryFunction entry) {
  entries_[command] = Entry{entry_name, entry};
}

std::vector<CommandOutcome> CommandProcessor::RunSyntax(const std::string& text,
                                                        const std::string& file_name) {
  SessionScope scope(session_);
  std::vector<CommandOutcome> outcomes;
  ParserMessage messages;
  const int errors_before_split = session_.error_count;
  const std::vector<CommandText> commands = SplitCommands(text, file_name, messages);
  if (session_.error_count != errors_before_split) {
    outcomes.push_back(CommandOutcome{"", 1, true});
  }
  for (const CommandText& command : commands) {
    if (command.is_comment) continue;
    CommandOutcome outcome{command.name, command.line, false};
    const int errors_before = session_.error_count;
    const auto entry = entries_.find(command.name);
    if (entry == entries_.end()) {
      messages.HostError("UNKNOWN_COMMAND_KEY",
                         {command.name, file_name, std::to_string(command.line)});
    } else {
      session_.command = CurrentCommand{command.name, file_name, command.line, &command.tokens};
      // The string table that the entry made and left behind is freed once it has returned.
      const std::uint64_t tables = FacSTDictionary::HeapTableMark();
      entry->second.function();
      FacSTDictionary::ReleaseHeapTablesSince(tables);
      session_.command = CurrentCommand{};
    }
    outcome.had_error = session_.error_count != errors_before;
    outcomes.push_back(outcome);
  }
  return outcomes;
}

}  // namespace host
