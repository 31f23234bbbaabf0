// This file contains what the end-to-end tests share: running the tcm program as a user would,
// and small file helpers.
#pragma once

#include <sys/wait.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace e2e {

struct Outcome {
  int status = -1;  // the exit status; 128 + N when signal N ended the program
  std::string out;  // standard output and standard error together
};

// Runs `tcm <arguments>` through the shell, with `input` on its standard input.
inline Outcome Tcm(const std::string& arguments, const std::string& input = {}) {
  std::string command = std::string(TCM_PROGRAM) + " " + arguments + " 2>&1";
  if (!input.empty()) command = "printf '%s' '" + input + "' | " + command;
  Outcome outcome;
  FILE* pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return outcome;
  char buffer[4096];
  std::size_t read = 0;
  while ((read = fread(buffer, 1, sizeof buffer, pipe)) > 0) outcome.out.append(buffer, read);
  const int status = pclose(pipe);
  if (WIFEXITED(status)) outcome.status = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) outcome.status = 128 + WTERMSIG(status);
  return outcome;
}

inline std::string Write(const std::filesystem::path& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
  return path.string();
}

inline std::string ReadAll(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

inline const std::string kSales = std::string(TCM_SOURCE_DIR) + "/examples/retail/sales.csv";

}  // namespace e2e
