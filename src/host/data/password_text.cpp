// This file contains the encoded form of a password.
#include "host/data/password_text.h"

namespace host {
namespace {

constexpr int kFirst = 32;  // the blank, first printable ASCII character
constexpr int kCount = 95;  // blank to '~'
constexpr int kOffset = 16;
constexpr int kStep = 29;

// Shifts each printable character by its position's amount (`sign` 1 encodes, -1 decodes).
std::string Shift(std::string_view text, int sign) {
  std::string out(text);
  for (std::size_t i = 0; i < out.size(); ++i) {
    const int code = static_cast<unsigned char>(out[i]);
    if (code < kFirst || code >= kFirst + kCount) continue;
    // From 1 to 94: never a whole turn, so every printable character changes.
    const int amount = 1 + static_cast<int>((kOffset + kStep * i) % (kCount - 1));
    const int shifted = ((code - kFirst + sign * amount) % kCount + kCount) % kCount;
    out[i] = static_cast<char>(kFirst + shifted);
  }
  return out;
}

}  // namespace

std::string EncodePassword(std::string_view password) { return Shift(password, 1); }

std::string DecodePassword(std::string_view encoded) { return Shift(encoded, -1); }

}  // namespace host
