// This file contains the trace of flow scripts and JSON documents into the session's trace folder.
#pragma once

#include <string>

// The tracer of the current session: on when the session has a trace folder (`tcm run --trace`).
class ASTrace {
 public:
  explicit ASTrace(std::string folder) : folder_(std::move(folder)) {}
  bool IsOn() const { return !folder_.empty(); }
  explicit operator bool() const { return IsOn(); }
  const std::string& Folder() const { return folder_; }

  // Writes `text` to <folder>/<prefix>_<stage>.<extension>, or <prefix>_<stage>_2.<extension>
  // and on when the name is taken; characters that cannot stand in a file name become "_".
  // Gives the path written, or "" when tracing is off or the file could not be written. A trace
  // never stops a run: nothing is thrown and nothing is reported.
  std::string Write(const std::string& text, const std::string& prefix, const std::string& stage,
                    const std::string& extension) const noexcept;

 private:
  std::string folder_;
};

// The tracer of the current session (off outside a session).
ASTrace ASTracer();

// Traces a flow script as <prefix>_<stage>.asl, and a JSON text as <prefix>_<stage>.json.
void traceASLFile(const std::string& script, const std::string& prefix, const std::string& stage);
void traceJSONFile(const std::string& text, const std::string& prefix, const std::string& stage);
