// This file contains the message queue of a job.
#include "engine/job/messages.h"

#include <utility>

namespace engine {

const char* SeverityName(Severity severity) {
  switch (severity) {
    case Severity::kInfo: return "info";
    case Severity::kWarning: return "warning";
    case Severity::kError: return "error";
  }
  return "error";
}

bool MessageQueue::Error(std::string text) {
  messages_.push_back({Severity::kError, std::move(text)});
  return false;
}
void MessageQueue::Warning(std::string text) {
  messages_.push_back({Severity::kWarning, std::move(text)});
}
void MessageQueue::Info(std::string text) {
  messages_.push_back({Severity::kInfo, std::move(text)});
}

bool MessageQueue::HasErrors() const {
  for (const Message& message : messages_) {
    if (message.severity == Severity::kError) return true;
  }
  return false;
}

std::vector<Message> MessageQueue::Take() {
  std::vector<Message> taken = std::move(messages_);
  messages_.clear();
  return taken;
}

}  // namespace engine
