// This file contains the session that the command processor makes current for the entries.
#include "host/session.h"

#include <ostream>

namespace host {
namespace {
thread_local Session* current_session = nullptr;

const char* SeverityWord(Severity severity) {
  switch (severity) {
  case Severity::Error: return "Error";
  case Severity::Warning: return "Warning";
  case Severity::Note: return "Note";
  }
  return "Note";
}
}  // namespace

Session* CurrentSession() { return current_session; }

SessionScope::SessionScope(Session& session) : previous_(current_session) {
  current_session = &session;
}

SessionScope::~SessionScope() { current_session = previous_; }

void Session::Post(MessageRecord message) {
  if (message.severity == Severity::Error) ++error_count;
  if (err != nullptr) {
    *err << SeverityWord(message.severity) << ": ";
    if (!message.command.empty()) *err << message.command << ": ";
    *err << message.text << '\n';
  }
  OutputNode* parent = open_procedure != nullptr ? open_procedure
                       : document != nullptr     ? &document->root
                                                 : nullptr;
  if (parent == nullptr) return;
  OutputNode* node = parent->AddChild(NodeKind::Message);
  node->message = std::move(message);
}

}  // namespace host
