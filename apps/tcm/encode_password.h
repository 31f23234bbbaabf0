// This file contains `tcm encode-password`: it prints the encoded form of a password for
// PASSPROTECT ENCRYPTEDPW=YES.
#pragma once

#include <string>

#include <CLI/CLI.hpp>

namespace tcm_app {

class EncodePasswordCommand {
 public:
  // Registers the subcommand on `app`.
  explicit EncodePasswordCommand(CLI::App& app);
  // True when the command line chose this subcommand.
  bool Chosen() const { return static_cast<bool>(*command_); }
  // Prints the PASSPROTECT text to paste into a syntax file; the exit status (2 for a password
  // that PASSPROTECT would refuse).
  int Run() const;

 private:
  CLI::App* command_;
  std::string password_;
};

}  // namespace tcm_app
