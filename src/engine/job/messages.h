// This file contains the queue of messages that a job collects for the host to show.
#pragma once

#include <string>
#include <vector>

namespace engine {

enum class Severity { kInfo, kWarning, kError };

// "info", "warning", "error".
const char* SeverityName(Severity severity);

struct Message {
  Severity severity = Severity::kError;
  std::string text;  // complete, with its place ("stage 'read', line 4: ...")
};

class MessageQueue {
 public:
  // Adds a message. Error() returns false so a check can `return messages.Error(...)`.
  bool Error(std::string text);
  void Warning(std::string text);
  void Info(std::string text);

  const std::vector<Message>& all() const { return messages_; }
  bool HasErrors() const;
  std::vector<Message> Take();
  void Clear() { messages_.clear(); }

 private:
  std::vector<Message> messages_;
};

}  // namespace engine
