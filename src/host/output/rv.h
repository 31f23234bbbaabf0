// This file contains the output library that procedures write through: text cells, the
// procedure and its outline of headings, messages shown in the output, and the notes table.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "host/output/document.h"

namespace host {
struct Session;
} // namespace host

// A text cell: a fixed English text that is translated through the string table when it is
// placed into the document, or a final text (a path, a series label) placed as it is.
class RvCellText {
public:
  RvCellText(std::string text, bool translate) : text_(std::move(text)), translate_(translate) {}
  virtual ~RvCellText() = default;
  RvCellText(const RvCellText &) = default;
  RvCellText &operator=(const RvCellText &) = default;

  const std::string &Text() const { return text_; }
  bool Translate() const { return translate_; }
  // The text as it goes into the document: looked up in the shared string table when flagged,
  // else unchanged. A key the table lacks stays as it is.
  std::string Resolved() const;

private:
  std::string text_;
  bool translate_ = false;
};

class RvString : public RvCellText {
public:
  // `translate` true: a fixed text to translate.
  RvString(std::string text, bool translate) : RvCellText(std::move(text), translate) {}
  // Final text such as a file path; callers pass false for both flags. A true first flag still
  // asks for translation, so the two constructors never disagree.
  RvString(std::string text, bool translate, bool /*keep_as_is*/)
      : RvCellText(std::move(text), translate) {}
};

// A level of the outline: a handle on a Procedure or Heading node of the document. Handles are
// cheap to copy; the node belongs to the document and outlives a dropped handle.
class RvHeading {
public:
  explicit RvHeading(host::OutputNode &node) : node_(&node) {}
  virtual ~RvHeading() = default;
  RvHeading(const RvHeading &) = default;
  RvHeading &operator=(const RvHeading &) = default;

  // The child heading of that title, made at the end when absent. A heading made and dropped
  // at once stays as a place holder: it fixes the position where later objects of that path go.
  RvHeading Heading(const RvCellText &title);
  // Finds or makes each level of "A.B.C" below this heading. Empty levels ("A..B", a leading or
  // trailing dot) are skipped; an empty path gives this heading. Levels are final texts.
  RvHeading FindOrMakePath(const std::string &dotted);
  // The same with the levels given one by one, for levels that may hold a ".".
  RvHeading FindOrMakePath(const std::vector<std::string> &levels);

  // Objects added at the end of this heading; each returns its node. A table's outline title
  // is its `title`.
  host::OutputNode &AddTable(host::Table table);
  host::OutputNode &AddText(const RvCellText &title, std::vector<std::string> lines);
  host::OutputNode &AddChart(const RvCellText &title, nlohmann::json payload);
  host::OutputNode &AddInteractive(const RvCellText &title, nlohmann::json payload);

  host::OutputNode &Node() const { return *node_; }

protected:
  RvHeading() = default; // for RvProcedure, which finds its node in its constructor's body
  void SetNode(host::OutputNode &node) { node_ = &node; }

private:
  host::OutputNode *node_ = nullptr;
};

// One procedure's output. With a current session that has a document, it adds a Procedure node
// to it and makes it the session's open procedure until destroyed, when the previous open
// procedure comes back. Without one it writes into a private document, so output calls made
// outside a command processor run are harmless. The procedure is also the root heading.
class RvProcedure : public RvHeading {
public:
  // `title` is a fixed English text, translated through the string table. `kind` is kept as
  // given (procedures pass 10).
  RvProcedure(std::string title, int kind);
  ~RvProcedure() override;
  RvProcedure(const RvProcedure &) = delete;
  RvProcedure &operator=(const RvProcedure &) = delete;

  int Kind() const { return kind_; }
  // Error messages shown in this procedure so far.
  int ErrorCount() const;
  // The private document when there was no session to write into, else null.
  const host::OutputDocument *PrivateDocument() const { return private_document_.get(); }

private:
  std::unique_ptr<host::OutputDocument> private_document_;
  int kind_;
  host::OutputNode *previous_open_ = nullptr;
  RvProcedure *previous_current_ = nullptr;
  host::Session *session_ = nullptr; // the session whose open procedure was set, if any
};

// Where a message is shown: the output stream only, the document only, or both (2, what
// procedures pass).
enum class RvErrorShow { Log = 0, Document = 1, Both = 2 };
// How grave a message is. 2, what procedures pass for a text they show and then carry on (an
// object that is not available), is a warning; an error fails the command.
enum class RvErrorLevel { Note = 0, Error = 1, Warning = 2 };

// Shows a message at the current point of the open procedure (else the session's document,
// else standard error only). Its source in the document is "RvError", its one argument the
// untranslated text.
void RvError(const RvCellText &text, RvErrorShow show = RvErrorShow::Both,
             RvErrorLevel level = RvErrorLevel::Error);

// Adds the row name | value to the open procedure's notes table: one table per procedure, made
// at its first row and kept as the procedure's last object. `kind` is kept for callers (they
// pass 2) and has no effect. Returns false, adding nothing, when no procedure is open.
bool AddNotes(int kind, const RvCellText &name, const RvCellText &value);

// Where a line of the debug display goes: after the lines so far, or in front of the
// procedure's output (after the lines placed in front before it, so a banner keeps its order).
enum class RvPlacement { ToEnd = 0, ToFront = 1 };
inline constexpr RvPlacement RV_ToEnd = RvPlacement::ToEnd;
inline constexpr RvPlacement RV_ToFront = RvPlacement::ToFront;

namespace host {
// The open procedure's node: the session's open procedure, else the innermost RvProcedure of
// this thread; null when there is none.
OutputNode *OpenProcedureNode();
} // namespace host
