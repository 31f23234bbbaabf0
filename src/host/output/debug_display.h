// This file contains the debug output of a procedure: ASDebug, its list of progress lines, and
// ASStatDisplay, the display of a command's settings as "label   value" lines.
#pragma once

#include <list>
#include <string>
#include <vector>

#include "host/output/rv.h"
#include "host/quor_var_name.h"

using RV_Character = std::string;

// Progress lines of one procedure run. The first line makes a text block titled "Debug" at the
// end of the procedure's output; later lines go into the same block.
class ASDebug {
public:
  explicit ASDebug(RvProcedure &procedure) : procedure_(&procedure.Node()) {}
  // A null procedure keeps the lines in `Lines()` only.
  explicit ASDebug(RvProcedure *procedure)
      : procedure_(procedure != nullptr ? &procedure->Node() : nullptr) {}
  ASDebug(const ASDebug &) = delete;
  ASDebug &operator=(const ASDebug &) = delete;

  void addOutputLine(const std::string &text);
  const std::vector<std::string> &Lines() const { return lines_; }

private:
  host::OutputNode *procedure_;
  host::OutputNode *block_ = nullptr;
  std::vector<std::string> lines_;
};

// Lines of the settings display, written into one text block of the open procedure (made at the
// first line; nothing is written when no procedure is open). A line is the label padded to
// `kLabelWidth` columns, then the value; a label as wide or wider is followed by one space.
// Numbers are in their shortest exact form; list items are separated by ", ". A line placed
// with RV_ToFront goes, with its block, in front of the procedure's output.
class ASStatDisplay {
public:
  static constexpr std::size_t kLabelWidth = 40;

  static void DisplayS(const RV_Character &label, const std::string &value,
                       RvPlacement where = RV_ToEnd);
  static void DisplayI(const RV_Character &label, int value, RvPlacement where = RV_ToEnd);
  static void DisplayD(const RV_Character &label, double value, RvPlacement where = RV_ToEnd);
  static void DisplayIV(const RV_Character &label, const std::vector<int> &values,
                        RvPlacement where = RV_ToEnd);
  static void DisplayDV(const RV_Character &label, const std::vector<double> &values,
                        RvPlacement where = RV_ToEnd);
  static void DisplaySV(const RV_Character &label, const std::vector<std::string> &values,
                        RvPlacement where = RV_ToEnd);
  static void DisplaySL(const RV_Character &label, const std::list<std::string> &values,
                        RvPlacement where = RV_ToEnd);
  static void DisplayVNL(const RV_Character &label, const std::vector<QuorVarName> &values,
                         RvPlacement where = RV_ToEnd);
  // A free line, as given; each newline starts a further line ("text\n" is text, then a blank).
  static void DisplayText(const RV_Character &line, RvPlacement where = RV_ToEnd);

  // The line that DisplayS writes.
  static std::string FormatLine(const std::string &label, const std::string &value);
};
