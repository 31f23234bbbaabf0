// This file contains the CSV reader: a file of delimited text into a table of cells with the line
// of each row, before any type is decided.
#pragma once

#include <string>
#include <string_view>
#include <vector>

class ParserMessage;

namespace host {

struct CsvTable {
  char separator = ',';
  std::vector<std::string> header;  // the names as written
  int header_line = 1;
  std::vector<std::vector<std::string>> columns;  // [column][row]
  std::vector<int> row_lines;                     // the line where each row starts
};

// The separator of a text: of comma, semicolon and tab, the one that splits the first row into
// the most names while the next rows (up to nine) agree with that count; ties go to the comma,
// then the semicolon. A first row with none of them gives the comma (one column).
char DetectSeparator(std::string_view text);

// Reads delimited text: UTF-8 with or without a byte-order mark; CRLF, LF or CR line ends;
// fields in double quotes may hold separators, line ends and doubled quotes. Blanks around an
// unquoted field are dropped. Lines with nothing on them are skipped. Empty names at the end of
// the first row (a trailing separator) are dropped, and so are empty cells beyond the last name.
// A row with fewer cells is filled with empty cells, with a warning; a row with more, or a quote
// that is never closed, is an error. A cell or name that is not UTF-8 is read as latin-1, with
// one warning for the file (its first such text and the count). `file_name` names the file in
// messages. False when the table cannot be used (reported).
bool ParseCsvText(std::string_view text, const std::string& file_name, CsvTable& table,
                  ParserMessage& messages);

// Reads the file and parses it as above; a missing, unreadable, empty or UTF-16 file, and a zip
// archive (a password-protected saved file), are reported. A file in `encoding` (a name the
// system's converter knows; empty or UTF-8: none) is converted to UTF-8 first, and a byte that
// does not read in it is an error with its line.
bool ReadCsvFile(const std::string& path, CsvTable& table, ParserMessage& messages,
                 const std::string& encoding = {});

}  // namespace host
