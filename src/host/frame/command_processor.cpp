// This file contains the command processor's loop over the commands of a syntax file.
#include "host/frame/command_processor.h"

#include "host/messages/fac_st_dictionary.h"
#include "host/messages/parser_message.h"
#include "host/syntax/command_splitter.h"
#include "support/interrupt.h"
#include "support/run_files.h"

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
  support::RunFiles* run = support::RunFiles::Current();
  bool any_command = false;
  for (const CommandText& command : commands) {
    if (command.is_comment) continue;
    if (support::InterruptRequested()) break;
    any_command = true;
    CommandOutcome outcome{command.name, command.line, false};
    const int errors_before = session_.error_count;
    if (run != nullptr) run->BeginCommand();
    const auto entry = entries_.find(command.name);
    if (entry == entries_.end()) {
      messages.HostError("UNKNOWN_COMMAND_KEY",
                         {command.name, file_name, std::to_string(command.line)});
    } else {
      session_.command = CurrentCommand{command.name, file_name, command.line, &command.tokens};
      session_.command_stopped = false;
      // The string table that the entry made and left behind is freed once it has returned.
      const std::uint64_t tables = FacSTDictionary::HeapTableMark();
      entry->second.function();
      FacSTDictionary::ReleaseHeapTablesSince(tables);
      // A command that stopped on a warning alone must not pass for one that ran.
      if (session_.command_stopped && session_.error_count == errors_before &&
          !support::InterruptRequested()) {
        messages.HostError("COMMAND_NOT_RUN_KEY",
                           {command.name, file_name, std::to_string(command.line)});
      }
      session_.command = CurrentCommand{};
    }
    outcome.had_error = session_.error_count != errors_before || session_.command_stopped;
    session_.command_stopped = false;
    if (run != nullptr) run->EndCommand(!outcome.had_error && !support::InterruptRequested());
    outcomes.push_back(outcome);
  }
  if (!any_command && outcomes.empty() && !support::InterruptRequested()) {
    messages.HostError("NO_COMMANDS_KEY", {file_name});
    outcomes.push_back(CommandOutcome{"", 1, true});
  }
  return outcomes;
}

}  // namespace host
