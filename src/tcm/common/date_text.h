// This file contains the text forms of dates and times in syntax: checking and normalising
// "yyyy-mm-dd hh:mm:ss" texts, and printing a time value.
#pragma once

#include <cstdint>
#include <string>

class ParserMessage;

// Date kinds: what a time text holds.
inline constexpr int kDateKind = 20;
inline constexpr int kTimeKind = 21;
inline constexpr int kDateTimeKind = 22;

// Normalises a date, time or date-time text into `normalised` and tells its kind. False when the
// text is no such value; a character that cannot occur in one is also reported
// (SyntaxErrorInParam(text, "TIMES", subcommand)) when `messages` is given.
bool ParseTimeText(const std::string& text, std::string& normalised, int& kind,
                   ParserMessage* messages, const std::string& subcommand);
// "yyyy-m[-d]" to "yyyy-mm-dd"; false when it does not have that form.
bool NormaliseDate(const std::string& text, std::string& out);
// "h:m[:s]" to "h:mm:ss"; a text with no colon, or only a final one, is true and leaves `out`.
bool NormaliseTime(const std::string& text, std::string& out);
// The text of a time value (seconds since 1970 in local wall-clock time): kind 21 "%H:%M:%S",
// kind 20 "%Y-%m-%d", else "%Y-%m-%d %H:%M:%S". Empty when the value cannot be broken down.
std::string FormatTime(int64_t value, int kind);
