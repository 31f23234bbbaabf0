// This file contains the source scanner of the string-table tests: it finds, in C++ sources,
// every string-table key that the code uses, with the place and the number of arguments passed.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace tcm_test {

// One use of a string-table key in a source.
struct KeyUse {
  std::string key;   // the key as the table must hold it ("ParserMessage.NoSubCom" for a method)
  std::string file;  // as given to FindKeyUses
  int line = 0;
  std::string how;   // the call that uses it ("SimpleError", "TCM_ERROR", ...) or "literal"
  int args = -1;     // arguments passed after the key; -1 when the use passes none by form
};

// One token of a C++ source. String literals carry their value with the escapes decoded;
// adjacent literals are joined, as the compiler joins them.
struct Token {
  enum class Kind { Identifier, String, Number, Punct };
  Kind kind = Kind::Punct;
  std::string text;
  int line = 0;
  bool in_directive = false;  // on a preprocessor line (#define ...)
};

// Splits a source into tokens; comments and character literals are dropped. Never fails: text
// it cannot make sense of becomes single punctuation tokens.
std::vector<Token> Tokenize(const std::string& source);

// The keys that one source uses:
//  - every string literal of the form "NAME_KEY";
//  - the first argument of LookUp, GetTranslatedText, SimpleError, SimpleWarning, GenericError,
//    GenericWarning and HostError, when it is a literal;
//  - the first argument of RvString(..., true) and setOutlineTitle(..., true), when a literal;
//  - the method of every TCM_ERROR(Method, ...) and TCM_WARNING(Method, ...), outside the
//    macros' own definitions, as "ParserMessage.Method".
// A literal that is both a key literal and a call's argument is listed once, as the call.
std::vector<KeyUse> FindKeyUses(const std::string& source, const std::string& file);

// The C++ sources below `root`/folder for each folder, recursively, sorted. A folder that does
// not exist contributes nothing.
std::vector<std::filesystem::path> SourceFiles(const std::filesystem::path& root,
                                               const std::vector<std::string>& folders);

// The whole content of a file; empty when it cannot be read.
std::string ReadWholeFile(const std::filesystem::path& path);

}  // namespace tcm_test
