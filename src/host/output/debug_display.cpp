// This file contains the debug lines and the settings display of a procedure.
#include "host/output/debug_display.h"

#include <algorithm>

#include "host/messages/fac_st_dictionary.h"
#include "host/output/number_format.h"

namespace {

// The settings block of the procedure: its one Text node of that title, made when absent.
host::OutputNode *DisplayBlock(host::OutputNode &procedure) {
  const std::string title = FacSTDictionary::Shared().LookUp("Settings");
  for (const auto &child : procedure.children) {
    if (child->kind == host::NodeKind::Text && child->title == title)
      return child.get();
  }
  return procedure.AddChild(host::NodeKind::Text, title);
}

void Place(const std::string &text, RvPlacement where) {
  host::OutputNode *procedure = host::OpenProcedureNode();
  if (procedure == nullptr)
    return;
  host::OutputNode *block = DisplayBlock(*procedure);

  std::vector<std::string> lines;
  std::size_t start = 0;
  while (true) {
    const std::size_t newline = text.find('\n', start);
    lines.push_back(text.substr(start, newline - start));
    if (newline == std::string::npos)
      break;
    start = newline + 1;
  }

  if (where == RV_ToEnd) {
    block->lines.insert(block->lines.end(), lines.begin(), lines.end());
    return;
  }
  // In front: after the lines placed in front before, and the block first in the procedure.
  const auto at = block->lines.begin() +
                  static_cast<std::ptrdiff_t>(std::min(block->front_lines, block->lines.size()));
  block->lines.insert(at, lines.begin(), lines.end());
  block->front_lines += lines.size();
  auto &children = procedure->children;
  const auto self = std::find_if(children.begin(), children.end(),
                                 [&](const auto &child) { return child.get() == block; });
  std::rotate(children.begin(), self, self + 1);
}

template <typename List, typename Show> std::string Join(const List &values, Show show) {
  std::string joined;
  for (const auto &value : values) {
    if (!joined.empty())
      joined += ", ";
    joined += show(value);
  }
  return joined;
}

} // namespace

void ASDebug::addOutputLine(const std::string &text) {
  lines_.push_back(text);
  if (procedure_ == nullptr)
    return;
  if (block_ == nullptr) {
    block_ = procedure_->AddChild(host::NodeKind::Text, FacSTDictionary::Shared().LookUp("Debug"));
  }
  block_->lines.push_back(text);
}

std::string ASStatDisplay::FormatLine(const std::string &label, const std::string &value) {
  std::string line = label;
  line.append(label.size() < kLabelWidth ? kLabelWidth - label.size() : 1, ' ');
  return line + value;
}

void ASStatDisplay::DisplayS(const RV_Character &label, const std::string &value,
                             RvPlacement where) {
  Place(FormatLine(label, value), where);
}

void ASStatDisplay::DisplayI(const RV_Character &label, int value, RvPlacement where) {
  Place(FormatLine(label, std::to_string(value)), where);
}

void ASStatDisplay::DisplayD(const RV_Character &label, double value, RvPlacement where) {
  Place(FormatLine(label, host::FormatNumber(value)), where);
}

void ASStatDisplay::DisplayIV(const RV_Character &label, const std::vector<int> &values,
                              RvPlacement where) {
  Place(FormatLine(label, Join(values, [](int v) { return std::to_string(v); })), where);
}

void ASStatDisplay::DisplayDV(const RV_Character &label, const std::vector<double> &values,
                              RvPlacement where) {
  Place(FormatLine(label, Join(values, [](double v) { return host::FormatNumber(v); })), where);
}

void ASStatDisplay::DisplaySV(const RV_Character &label, const std::vector<std::string> &values,
                              RvPlacement where) {
  Place(FormatLine(label, Join(values, [](const std::string &v) { return v; })), where);
}

void ASStatDisplay::DisplaySL(const RV_Character &label, const std::list<std::string> &values,
                              RvPlacement where) {
  Place(FormatLine(label, Join(values, [](const std::string &v) { return v; })), where);
}

void ASStatDisplay::DisplayVNL(const RV_Character &label, const std::vector<QuorVarName> &values,
                               RvPlacement where) {
  Place(FormatLine(label, Join(values, [](const QuorVarName &v) { return v.GetName(); })), where);
}

void ASStatDisplay::DisplayText(const RV_Character &line, RvPlacement where) {
  Place(line, where);
}
