// This file contains QuorVarName, the host's variable name: compared without regard to case,
// kept and shown in the spelling it was given (the dictionary's, once looked up).
#pragma once

#include <string>

class QuorVarName {
 public:
  QuorVarName() = default;
  QuorVarName(std::string name) : name_(std::move(name)) {}  // NOLINT: names convert freely

  const std::string& GetName() const { return name_; }
  const char* c_str() const { return name_.c_str(); }
  bool empty() const { return name_.empty(); }
  // Upper-cased ASCII form: the identity of the name.
  std::string Upper() const;

  friend bool operator==(const QuorVarName& a, const QuorVarName& b) { return a.Upper() == b.Upper(); }
  friend bool operator<(const QuorVarName& a, const QuorVarName& b) { return a.Upper() < b.Upper(); }

 private:
  std::string name_;
};

inline std::string QuorVarName::Upper() const {
  std::string upper = name_;
  for (char& c : upper) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return upper;
}
