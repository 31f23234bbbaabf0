// This file contains the output library: procedures, headings, messages and notes.
#include "host/output/rv.h"

#include <algorithm>
#include <functional>
#include <iostream>

#include "host/messages/fac_st_dictionary.h"
#include "host/output/number_format.h"
#include "host/session.h"

namespace {

// The innermost RvProcedure of this thread: where output goes when no session is current.
thread_local RvProcedure *current_procedure = nullptr;

host::Severity SeverityOf(RvErrorLevel level) {
  switch (level) {
  case RvErrorLevel::Error:
    return host::Severity::Error;
  case RvErrorLevel::Warning:
    return host::Severity::Warning;
  case RvErrorLevel::Note:
    return host::Severity::Note;
  }
  return host::Severity::Error;
}

const char *SeverityWord(host::Severity severity) {
  switch (severity) {
  case host::Severity::Error:
    return "Error";
  case host::Severity::Warning:
    return "Warning";
  case host::Severity::Note:
    return "Note";
  }
  return "Note";
}

void Echo(std::ostream &out, const host::MessageRecord &message) {
  out << SeverityWord(message.severity) << ": ";
  if (!message.command.empty())
    out << message.command << ": ";
  out << message.text << '\n';
}

// The notes table is the procedure's last object, whatever came after its first row.
void MoveNotesToEnd(host::OutputNode &procedure) {
  auto &children = procedure.children;
  auto notes = std::find_if(children.begin(), children.end(),
                            [](const auto &child) { return child->kind == host::NodeKind::Notes; });
  if (notes != children.end())
    std::rotate(notes, notes + 1, children.end());
}

} // namespace

namespace host {

OutputNode *OpenProcedureNode() {
  if (const Session *session = CurrentSession();
      session != nullptr && session->open_procedure != nullptr) {
    return session->open_procedure;
  }
  return current_procedure != nullptr ? &current_procedure->Node() : nullptr;
}

} // namespace host

std::string RvCellText::Resolved() const {
  return translate_ ? FacSTDictionary::Shared().LookUp(text_) : text_;
}

RvHeading RvHeading::Heading(const RvCellText &title) {
  return RvHeading(node_->FindOrMakeHeading(title.Resolved()));
}

RvHeading RvHeading::FindOrMakePath(const std::string &dotted) {
  std::vector<std::string> levels;
  std::size_t start = 0;
  while (start <= dotted.size()) {
    std::size_t dot = dotted.find('.', start);
    if (dot == std::string::npos)
      dot = dotted.size();
    levels.push_back(dotted.substr(start, dot - start));
    start = dot + 1;
  }
  return FindOrMakePath(levels);
}

RvHeading RvHeading::FindOrMakePath(const std::vector<std::string> &levels) {
  host::OutputNode *node = node_;
  for (const std::string &level : levels) {
    if (!level.empty())
      node = &node->FindOrMakeHeading(level);
  }
  return RvHeading(*node);
}

host::OutputNode &RvHeading::AddTable(host::Table table) {
  host::OutputNode *node = node_->AddChild(host::NodeKind::Table, table.title);
  node->table = std::move(table);
  return *node;
}

host::OutputNode &RvHeading::AddText(const RvCellText &title, std::vector<std::string> lines) {
  host::OutputNode *node = node_->AddChild(host::NodeKind::Text, title.Resolved());
  node->lines = std::move(lines);
  return *node;
}

host::OutputNode &RvHeading::AddChart(const RvCellText &title, nlohmann::json payload) {
  host::OutputNode *node = node_->AddChild(host::NodeKind::Chart, title.Resolved());
  node->payload = std::move(payload);
  return *node;
}

host::OutputNode &RvHeading::AddInteractive(const RvCellText &title, nlohmann::json payload) {
  host::OutputNode *node = node_->AddChild(host::NodeKind::Interactive, title.Resolved());
  node->payload = std::move(payload);
  return *node;
}

RvProcedure::RvProcedure(std::string title, int kind) : kind_(kind) {
  const std::string shown = FacSTDictionary::Shared().LookUp(title);
  host::Session *session = host::CurrentSession();
  host::OutputNode *parent = nullptr;
  if (session != nullptr && session->document != nullptr) {
    parent = &session->document->root;
  } else {
    private_document_ = std::make_unique<host::OutputDocument>();
    parent = &private_document_->root;
  }
  SetNode(*parent->AddChild(host::NodeKind::Procedure, shown));
  if (session != nullptr) {
    session_ = session;
    previous_open_ = session->open_procedure;
    session->open_procedure = &Node();
  }
  previous_current_ = current_procedure;
  current_procedure = this;
}

RvProcedure::~RvProcedure() {
  MoveNotesToEnd(Node());
  if (session_ != nullptr)
    session_->open_procedure = previous_open_;
  current_procedure = previous_current_;
}

int RvProcedure::ErrorCount() const {
  int count = 0;
  std::function<void(const host::OutputNode &)> walk = [&](const host::OutputNode &node) {
    if (node.kind == host::NodeKind::Message && node.message.severity == host::Severity::Error) {
      ++count;
    }
    for (const auto &child : node.children)
      walk(*child);
  };
  walk(Node());
  return count;
}

void RvError(const RvCellText &text, RvErrorShow show, RvErrorLevel level) {
  host::MessageRecord message;
  message.severity = SeverityOf(level);
  message.source = "RvError";
  message.args = {text.Text()};
  message.text = text.Resolved();
  host::Session *session = host::CurrentSession();
  if (session != nullptr)
    message.command = session->command.name;

  const bool to_log = show != RvErrorShow::Document;
  const bool to_document = show != RvErrorShow::Log;
  if (session != nullptr && to_log && to_document) {
    session->Post(std::move(message)); // the session's own echo and placement
    return;
  }
  if (session != nullptr && message.severity == host::Severity::Error)
    ++session->error_count;
  if (to_log) {
    if (session == nullptr) {
      Echo(std::cerr, message);
    } else if (session->err != nullptr) {
      Echo(*session->err, message);
    }
  }
  if (to_document) {
    host::OutputNode *parent = host::OpenProcedureNode();
    if (parent == nullptr && session != nullptr && session->document != nullptr) {
      parent = &session->document->root;
    }
    if (parent != nullptr)
      parent->AddChild(host::NodeKind::Message)->message = std::move(message);
  }
}

bool AddNotes(int /*kind*/, const RvCellText &name, const RvCellText &value) {
  host::OutputNode *procedure = host::OpenProcedureNode();
  if (procedure == nullptr)
    return false;
  auto &children = procedure->children;
  auto found = std::find_if(children.begin(), children.end(),
                            [](const auto &child) { return child->kind == host::NodeKind::Notes; });
  host::OutputNode *notes = found != children.end() ? found->get() : nullptr;
  if (notes == nullptr) {
    notes = procedure->AddChild(host::NodeKind::Notes, FacSTDictionary::Shared().LookUp("Notes"));
    notes->table.title = notes->title;
  }
  notes->table.row_labels.push_back(name.Resolved());
  notes->table.rows.push_back({host::TextCell(value.Resolved())});
  MoveNotesToEnd(*procedure);
  return true;
}
