// This file contains the command processor: it splits a syntax file into commands and calls the
// procedure entry registered for each command's name, with the command made current.
#pragma once

#include <map>
#include <string>

#include "host/session.h"

namespace host {

using EntryFunction = void (*)();

struct CommandOutcome {
  std::string name;
  int line = 0;
  bool had_error = false;  // an error was posted, or the command stopped before its end
};

class CommandProcessor {
 public:
  explicit CommandProcessor(Session& session) : session_(session) {}

  // Binds a command name ("TCM MODEL", upper case) to a procedure entry called by its name.
  void RegisterEntry(const std::string& command, const std::string& entry_name, EntryFunction entry);

  // Runs every command of the syntax text in order. Comments are skipped; an unknown command is
  // an error and the next command still runs; a text with no command is an error. After an
  // interrupt (Ctrl-C) no further command starts. Within the program's run (RunFiles) each
  // command's outputs are kept for the run's end only when the command had no error. Returns
  // what happened to each command.
  std::vector<CommandOutcome> RunSyntax(const std::string& text, const std::string& file_name);

 private:
  struct Entry {
    std::string name;
    EntryFunction function = nullptr;
  };
  Session& session_;
  std::map<std::string, Entry> entries_;
};

}  // namespace host
