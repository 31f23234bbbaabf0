// This file contains the host session: what a command entry finds around it when the command
// processor calls it with no arguments (the command's tokens, the active dataset, the output
// document, the string table's folder, the trace folder).
#pragma once

#include <iosfwd>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "host/output/document.h"

namespace host {

class Dataset;
struct Token;

// The command being run: its name as the processor recognised it and its tokens, the name's
// words excluded.
struct CurrentCommand {
  std::string name;  // "TCM MODEL", upper case
  std::string file;  // syntax file name, for messages
  int line = 0;      // line where the command starts
  std::vector<Token> const* tokens = nullptr;
};

// One session of the command processor. The entries of the module take no arguments, so the
// host makes its state reachable through the one session that is current on this thread;
// `SessionScope` installs it and restores the previous one.
struct Session {
  OutputDocument* document = nullptr;
  std::shared_ptr<Dataset> active_dataset;                 // may be null: no data loaded
  std::map<std::string, std::shared_ptr<Dataset>> named;  // datasets made by DATA=name
  CurrentCommand command;
  std::string resource_dir;  // folder of the string table; empty: the built-in default
  std::string trace_dir;     // where flow scripts and JSON are traced; empty: off
  std::ostream* err = nullptr;  // where messages are echoed ("Error: TCM MODEL: ..."); may be null
  bool check_only = false;       // `tcm check`: commands parse and validate, and run nothing
  bool command_stopped = false;  // the running command's entry stopped before its end
  int error_count = 0;           // errors posted so far
  std::vector<MessageRecord> pending_errors;  // errors held back until the command's end

  // Adds a message at the current point of the output (the open procedure, else the document's
  // top level) and echoes it to `err`.
  void Post(MessageRecord message);
  // The procedure output that is open, or null.
  OutputNode* open_procedure = nullptr;
};

// The current session of this thread, or null outside a command processor run.
Session* CurrentSession();

class SessionScope {
 public:
  explicit SessionScope(Session& session);
  ~SessionScope();
  SessionScope(const SessionScope&) = delete;
  SessionScope& operator=(const SessionScope&) = delete;

 private:
  Session* previous_;
};

}  // namespace host
