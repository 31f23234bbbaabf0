// This file contains the outline operations of the output document.
#include "host/output/document.h"

#include <functional>

namespace host {

OutputNode* OutputNode::AddChild(NodeKind child_kind, std::string child_title) {
  auto child = std::make_unique<OutputNode>();
  child->kind = child_kind;
  child->title = std::move(child_title);
  children.push_back(std::move(child));
  return children.back().get();
}

OutputNode& OutputNode::FindOrMakeHeading(const std::string& child_title) {
  for (auto& child : children) {
    if (child->kind == NodeKind::Heading && child->title == child_title) return *child;
  }
  return *AddChild(NodeKind::Heading, child_title);
}

std::vector<const MessageRecord*> OutputDocument::Messages() const {
  std::vector<const MessageRecord*> found;
  std::function<void(const OutputNode&)> walk = [&](const OutputNode& node) {
    if (node.kind == NodeKind::Message) found.push_back(&node.message);
    for (const auto& child : node.children) walk(*child);
  };
  walk(root);
  return found;
}

bool OutputDocument::HasErrors() const {
  for (const MessageRecord* message : Messages()) {
    if (message->severity == Severity::Error) return true;
  }
  return false;
}

}  // namespace host
