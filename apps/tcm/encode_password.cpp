// This file contains `tcm encode-password`.
#include "apps/tcm/encode_password.h"

#include <algorithm>
#include <iostream>

#include "host/data/password_text.h"

namespace tcm_app {
namespace {

constexpr int kExitOk = 0;
constexpr int kExitUsage = 2;
constexpr std::size_t kMaxCharacters = 10;  // what PASSPROTECT takes

std::size_t CharacterCount(const std::string& text) {
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
  }));
}

// A quoted literal of the command language: a quote inside is written twice.
std::string Quoted(const std::string& text) {
  std::string out = "'";
  for (char c : text) {
    out += c;
    if (c == '\'') out += '\'';
  }
  return out + "'";
}

}  // namespace

EncodePasswordCommand::EncodePasswordCommand(CLI::App& app)
    : command_(app.add_subcommand("encode-password",
                                  "Print a password in the encoded form of ENCRYPTEDPW=YES")) {
  command_->add_option("password", password_,
                       "The password; - or nothing reads one line from standard input");
}

int EncodePasswordCommand::Run() const {
  std::string password = password_;
  // From standard input the password stays out of the shell's history.
  if (password.empty() || password == "-") {
    std::getline(std::cin, password);
    if (!password.empty() && password.back() == '\r') password.pop_back();
  }
  if (password.empty()) {
    std::cerr << "Error: encode-password: no password given.\n";
    return kExitUsage;
  }
  if (CharacterCount(password) > kMaxCharacters) {
    std::cerr << "Error: encode-password: the password is longer than " << kMaxCharacters
              << " characters, which PASSPROTECT does not take.\n";
    return kExitUsage;
  }
  std::cout << "/PASSPROTECT PASSWORD=" << Quoted(host::EncodePassword(password))
            << " ENCRYPTEDPW=YES\n";
  return kExitOk;
}

}  // namespace tcm_app
