// This file contains the enumerations with which a command describes its syntax tree.
#pragma once

namespace UPSpecTypes {

// What the value of a parameter or qualifier is. The numbers are the interface: commands pass
// them as `ParamSpec{27}` or by name.
enum class ParamSpec : int {
  BareKeyword = 0,       // a keyword with no value (the qualifiers of addQualifDesc(name))
  TokenList = 2,         // free list of tokens, read by the command itself
  Keyword = 3,           // one keyword of the added values (any one word when none was added)
  QuotedString = 4,      // one quoted string
  KeywordList = 5,       // keywords of the added values
  Number = 7,            // one number
  NumberList = 8,        // numbers
  Integer = 9,           // one integer, or a keyword of the added values
  RootName = 15,         // a keyword that may carry a name in parentheses
  InputFile = 19,        // the path of a file that is read
  OutputFile = 20,       // the path of a file that is written
  FileSpec = 23,         // a file, a dataset name or the working file `*`
  KeywordQualifier = 27, // the value is one of its qualifiers
  QualifierList = 28,    // a keyword that opens qualifiers, in parentheses or after `=`
};

// Where the qualifiers of a parameter stand.
enum class QualifOptions : int {
  InParentheses = 0, // P(Q1=... Q2=...)
  AsValue = 1,       // P=Q, Q with its own value
};

enum class LowerBdryOptions : int { Inclusive = 1, Exclusive = 2 };
enum class UpperBdryOptions : int { Inclusive = 1, Exclusive = 2 };

enum class SubComSpec : int {
  NamedParams = 1,  // parameters with names and values
  BareKeywords = 2, // keywords that may carry values in parentheses
};

enum class GroupSpec : int { Repeating = 0 };

enum class BracketOptions : int { None = 0 };

} // namespace UPSpecTypes
