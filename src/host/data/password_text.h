// This file contains the encoded form of a password (PASSPROTECT ENCRYPTEDPW=YES), which
// `tcm encode-password` prints: it keeps the plain password out of a syntax file at a glance.
// It is an encoding anyone can reverse, not encryption.
#pragma once

#include <string>
#include <string_view>

namespace host {

// Byte i (from 0) of the password, when it is a printable ASCII character (code c from 32 to
// 126), becomes the character 32 + (c - 32 + s) mod 95 with the shift s = 1 + (16 + 29 i) mod 94;
// any other byte stays as it is.
// The encoded form has as many characters as the password, so the 10-character limit holds for
// both.
std::string EncodePassword(std::string_view password);
// The reverse of EncodePassword.
std::string DecodePassword(std::string_view encoded);

}  // namespace host
