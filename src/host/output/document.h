// This file contains the format-neutral output document: an outline of procedures and headings
// holding texts, tables, charts, interactive objects, notes and messages, in order.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace host {

enum class Severity { Note, Warning, Error };

// One message as it reached the output. `source` is the message key (`..._KEY`) or the name of
// the ParserMessage method that raised it, so tests and programs can check which message came
// without matching English text.
struct MessageRecord {
  Severity severity = Severity::Error;
  std::string source;
  std::vector<std::string> args;
  std::string text;     // the text with its arguments substituted
  std::string command;  // the command that was running ("TCM MODEL"), may be empty
};

// A table cell: a text, or a number printed with a given count of decimals.
struct Cell {
  std::string text;
  bool is_number = false;
  double number = 0.0;
  int decimals = -1;  // -1: shortest exact form
};

struct Table {
  std::string title;
  std::string subtype;  // name under which output management knows the table
  std::vector<std::string> column_labels;
  std::vector<std::string> row_labels;  // empty: the table has no row header column
  std::vector<std::vector<Cell>> rows;
  std::vector<std::string> footnotes;
};

enum class NodeKind {
  Procedure,    // a procedure's root: title and its children
  Heading,      // an outline level
  Text,         // lines of text (debug lines, the settings display)
  Table,
  Chart,        // a static chart, described by `payload`
  Interactive,  // an interactive object, described by `payload`
  Notes,        // the procedure's notes table (`table`)
  Message,
};

struct OutputNode {
  NodeKind kind = NodeKind::Heading;
  std::string title;  // already translated
  std::vector<std::unique_ptr<OutputNode>> children;  // Procedure and Heading only
  std::vector<std::string> lines;                     // Text
  std::size_t front_lines = 0;  // Text: leading lines placed at the front (RV_ToFront)
  Table table;                                        // Table and Notes
  MessageRecord message;                              // Message
  nlohmann::json payload;                             // Chart and Interactive

  OutputNode* AddChild(NodeKind child_kind, std::string child_title = {});
  // The child heading of that title, made at the end when absent.
  OutputNode& FindOrMakeHeading(const std::string& child_title);
};

// The whole output of a session: procedures in order of their run, and messages raised outside
// any procedure.
struct OutputDocument {
  std::string title = "Output";
  OutputNode root;  // a Heading: procedures and loose messages
  // Model systems that the run keeps in the temporary folder, having no OUTFILE MODELSYSTEM.
  std::vector<std::string> kept_model_systems;

  // Every message of the document in order, found anywhere in the outline.
  std::vector<const MessageRecord*> Messages() const;
  bool HasErrors() const;
};

}  // namespace host
