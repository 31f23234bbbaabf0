// This file contains the trace of flow scripts and JSON documents.
#include "host/bridge/as_trace.h"

#include <cstdio>
#include <filesystem>
#include <system_error>

#include "host/session.h"

namespace {

// Scenario names and similar stage names may hold blanks, slashes or other characters that a
// file name should not carry.
std::string SafeName(const std::string& text) {
  std::string name;
  for (char c : text) {
    const bool keep = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ||
                      c == '_' || c == '-' || c == '.';
    name += keep ? c : '_';
  }
  if (name.empty() || name.front() == '.')
    name.insert(name.begin(), '_');
  return name;
}

} // namespace

std::string ASTrace::Write(const std::string& text, const std::string& prefix,
                           const std::string& stage, const std::string& extension) const noexcept {
  if (!IsOn())
    return {};
  try {
    namespace fs = std::filesystem;
    std::error_code ec;
    const fs::path folder(folder_);
    fs::create_directories(folder, ec);
    const std::string base = SafeName(prefix + "_" + stage);
    for (int counter = 1; counter < 10000; ++counter) {
      const std::string file =
          base + (counter == 1 ? "" : "_" + std::to_string(counter)) + "." + extension;
      const fs::path path = folder / file;
      // "x": exclusive creation, so an earlier trace of the same name is never overwritten.
      std::FILE* out = std::fopen(path.c_str(), "wbx");
      if (out == nullptr) {
        if (fs::exists(path, ec))
          continue;
        return {};
      }
      const bool written = std::fwrite(text.data(), 1, text.size(), out) == text.size();
      const bool closed = std::fclose(out) == 0;
      return written && closed ? path.string() : std::string();
    }
  } catch (...) {
    // A trace is a diagnostic aid only; the run goes on without it.
  }
  return {};
}

ASTrace ASTracer() {
  const host::Session* session = host::CurrentSession();
  return ASTrace(session != nullptr ? session->trace_dir : std::string());
}

void traceASLFile(const std::string& script, const std::string& prefix, const std::string& stage) {
  ASTracer().Write(script, prefix, stage, "asl");
}

void traceJSONFile(const std::string& text, const std::string& prefix, const std::string& stage) {
  ASTracer().Write(text, prefix, stage, "json");
}
