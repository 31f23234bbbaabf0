// This file contains the CSV reader: a file of delimited text into a table of cells.
#include "host/data/csv_reader.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "host/data/data_messages.h"
#include "host/data/text_encoding.h"
#include "host/messages/parser_message.h"
#include "support/text.h"
#include "support/zip_archive.h"

namespace host {
namespace {

constexpr char kCandidates[] = {',', ';', '\t'};

struct Record {
  int line = 1;
  std::vector<std::string> cells;
  bool blank = false;  // one unquoted empty cell: a line with nothing on it
};

// Walks records one at a time. A record ends at a line end outside quotes.
class RecordScanner {
 public:
  RecordScanner(std::string_view text, char separator) : text_(text), separator_(separator) {}

  bool AtEnd() const { return pos_ >= text_.size(); }
  // Reads the next record; false on a quote that is never closed (its line in `open_line`).
  bool Next(Record& record, int& open_line);

 private:
  bool IsTrimmable(char c) const { return c == ' ' || (c == '\t' && separator_ != '\t'); }
  bool IsLineEnd(char c) const { return c == '\n' || c == '\r'; }
  void SkipLineEnd() {
    if (text_[pos_] == '\r' && pos_ + 1 < text_.size() && text_[pos_ + 1] == '\n') ++pos_;
    ++pos_;
    ++line_;
  }

  std::string_view text_;
  char separator_;
  size_t pos_ = 0;
  int line_ = 1;
};

bool RecordScanner::Next(Record& record, int& open_line) {
  record = Record{};
  record.line = line_;
  bool any_quoted = false;
  while (true) {
    std::string field;
    size_t look = pos_;
    while (look < text_.size() && IsTrimmable(text_[look])) ++look;
    if (look < text_.size() && text_[look] == '"') {
      any_quoted = true;
      open_line = line_;
      pos_ = look + 1;
      bool closed = false;
      while (pos_ < text_.size()) {
        const char c = text_[pos_];
        if (c == '"') {
          if (pos_ + 1 < text_.size() && text_[pos_ + 1] == '"') {
            field += '"';
            pos_ += 2;
            continue;
          }
          ++pos_;
          closed = true;
          break;
        }
        if (IsLineEnd(c)) {
          // Line ends inside a value read as LF whatever the file uses.
          field += '\n';
          SkipLineEnd();
          continue;
        }
        field += c;
        ++pos_;
      }
      if (!closed) return false;
      // Text after the closing quote is kept as written, but for blanks before the separator.
      const size_t tail = pos_;
      while (pos_ < text_.size() && text_[pos_] != separator_ && !IsLineEnd(text_[pos_])) ++pos_;
      size_t tail_end = pos_;
      while (tail_end > tail && IsTrimmable(text_[tail_end - 1])) --tail_end;
      field.append(text_.substr(tail, tail_end - tail));
    } else {
      const size_t start = pos_;
      while (pos_ < text_.size() && text_[pos_] != separator_ && !IsLineEnd(text_[pos_])) ++pos_;
      size_t begin = start;
      size_t end = pos_;
      while (begin < end && IsTrimmable(text_[begin])) ++begin;
      while (end > begin && IsTrimmable(text_[end - 1])) --end;
      field.assign(text_.substr(begin, end - begin));
    }
    record.cells.push_back(std::move(field));
    if (pos_ < text_.size() && text_[pos_] == separator_) {
      ++pos_;
      continue;
    }
    if (pos_ < text_.size()) SkipLineEnd();
    break;
  }
  record.blank = !any_quoted && record.cells.size() == 1 && record.cells[0].empty();
  return true;
}

// Texts that are not UTF-8 are read as latin-1, so that everything downstream is UTF-8; the
// first of them and their count make one warning.
class Latin1Fallback {
 public:
  void Fix(std::string& cell, int line) {
    if (support::IsValidUtf8(cell)) return;
    cell = Latin1ToUtf8(cell);
    if (count_++ == 0) {
      first_line_ = line;
      first_text_ = cell;
    }
  }
  void Report(ParserMessage& messages, const std::string& file) const {
    if (count_ == 0) return;
    messages.SimpleWarning(msg::kNotUtf8, file, std::to_string(first_line_), first_text_,
                           std::to_string(count_));
  }

 private:
  int count_ = 0;
  int first_line_ = 0;
  std::string first_text_;
};

bool StartsWith(std::string_view text, std::string_view prefix) {
  return text.substr(0, prefix.size()) == prefix;
}

// A zip archive in place of a CSV file, most often a password-protected saved data file: said
// as such rather than read as garbled text.
void ReportArchive(const std::string& path, ParserMessage& messages) {
  bool encrypted = false;
  if (auto archive = support::ZipArchiveReader::Open(path); archive.ok()) {
    for (const auto& entry : archive->Entries()) encrypted = encrypted || entry.encrypted;
  }
  messages.HostError(encrypted ? msg::kFileEncrypted : msg::kFileArchive, {path});
}

}  // namespace

char DetectSeparator(std::string_view text) {
  char best = ',';
  size_t best_header = 0;
  int best_agreeing = -1;
  for (char candidate : kCandidates) {
    RecordScanner scanner(text, candidate);
    Record record;
    int open_line = 0;
    size_t header_count = 0;
    int agreeing = 0;
    int rows = 0;
    bool first = true;
    while (!scanner.AtEnd() && rows < 10) {
      if (!scanner.Next(record, open_line)) break;
      if (record.blank) continue;
      if (first) {
        header_count = record.cells.size();
        first = false;
      } else if (record.cells.size() == header_count) {
        ++agreeing;
      }
      ++rows;
    }
    if (header_count < 2) continue;  // the candidate does not split the names at all
    if (agreeing > best_agreeing || (agreeing == best_agreeing && header_count > best_header)) {
      best = candidate;
      best_agreeing = agreeing;
      best_header = header_count;
    }
  }
  return best;
}

bool ParseCsvText(std::string_view text, const std::string& file_name, CsvTable& table,
                  ParserMessage& messages) {
  table = CsvTable{};
  if (text.size() >= 3 && text.substr(0, 3) == "\xEF\xBB\xBF") text.remove_prefix(3);

  table.separator = DetectSeparator(text);
  RecordScanner scanner(text, table.separator);
  Record record;
  int open_line = 0;
  bool have_header = false;
  bool ok = true;
  ProblemBudget budget;
  Latin1Fallback latin1;
  size_t width = 0;
  while (!scanner.AtEnd()) {
    if (!scanner.Next(record, open_line)) {
      messages.HostError(msg::kUnterminatedQuote, {file_name, std::to_string(open_line)});
      return false;
    }
    if (record.blank) continue;
    for (auto& cell : record.cells) latin1.Fix(cell, record.line);
    if (!have_header) {
      while (record.cells.size() > 1 && record.cells.back().empty()) record.cells.pop_back();
      table.header = std::move(record.cells);
      table.header_line = record.line;
      width = table.header.size();
      table.columns.assign(width, {});
      have_header = true;
      continue;
    }
    std::vector<std::string>& cells = record.cells;
    while (cells.size() > width && cells.back().empty()) cells.pop_back();
    if (cells.size() > width) {
      if (budget.Take()) {
        messages.HostError(msg::kLongRow, {file_name, std::to_string(record.line),
                                           std::to_string(cells.size()), std::to_string(width)});
      }
      ok = false;
      continue;
    }
    if (cells.size() < width) {
      if (budget.Take()) {
        messages.SimpleWarning(msg::kShortRow, file_name, std::to_string(record.line),
                               std::to_string(cells.size()), std::to_string(width));
      }
      cells.resize(width);
    }
    for (size_t c = 0; c < width; ++c) table.columns[c].push_back(std::move(cells[c]));
    table.row_lines.push_back(record.line);
  }
  latin1.Report(messages, file_name);
  budget.ReportRest(messages, file_name);
  if (!have_header) {
    messages.HostError(msg::kFileEmpty, {file_name});
    return false;
  }
  return ok;
}

bool ReadCsvFile(const std::string& path, CsvTable& table, ParserMessage& messages,
                 const std::string& encoding) {
  namespace fs = std::filesystem;
  std::error_code error;
  if (!fs::exists(path, error)) {
    messages.HostError(msg::kFileNotFound, {path});
    return false;
  }
  if (fs::is_directory(path, error)) {
    messages.HostError(msg::kFileIsFolder, {path});
    return false;
  }
  std::ifstream file(path, std::ios::binary);
  std::string text;
  if (file) text.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
  if (!file.is_open() || file.bad()) {
    messages.HostError(msg::kFileUnreadable, {path, std::strerror(errno)});
    return false;
  }
  if (StartsWith(text, "PK\x03\x04") || StartsWith(text, "PK\x05\x06")) {
    ReportArchive(path, messages);
    return false;
  }
  if (!encoding.empty() && !IsUtf8Name(encoding)) {
    size_t bad = 0;
    auto decoded = DecodeToUtf8(text, encoding, bad);
    if (!decoded) {
      messages.HostError(msg::kNotInEncoding,
                         {path, std::to_string(support::PositionAt(text, bad).line), encoding});
      return false;
    }
    text = std::move(*decoded);
  } else if (StartsWith(text, "\xFF\xFE") || StartsWith(text, "\xFE\xFF")) {
    messages.HostError(msg::kFileUtf16, {path});
    return false;
  }
  return ParseCsvText(text, path, table, messages);
}

}  // namespace host
