// This file contains FacSTDictionary, the string table: the English text of every message key,
// every ParserMessage method ("ParserMessage.<Method>") and every translatable output word.
// The table is the folder resources/strings: files "*.txt" of "key = text" lines, with %1..%5
// for arguments; a copy is compiled into the program so it works wherever it is installed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

class FacSTDictionary {
 public:
  // Loads every "*.txt" of `folder`; when none can be read, the built-in copy is used.
  explicit FacSTDictionary(const std::string& folder);
  // The built-in copy only.
  FacSTDictionary();

  void SetProcedure(const std::string& title) { procedure_ = title; }
  const std::string& GetProcedure() const { return procedure_; }

  bool Has(const std::string& key) const { return texts_.count(key) != 0; }
  // The text of a key; a key the table lacks gives the key itself.
  std::string LookUp(const std::string& key) const;
  // The text of a key with %1..%5 replaced by the arguments; a key the table lacks gives the key
  // followed by its non-empty arguments, so nothing is lost.
  std::string Format(const std::string& key, const std::vector<std::string>& args) const;
  const std::map<std::string, std::string>& Texts() const { return texts_; }
  // Where the texts came from: the file's path, or "built-in".
  const std::string& Origin() const { return origin_; }

  // The table the host uses for its messages: loaded once from the resource folder.
  static const FacSTDictionary& Shared();

  // A table made with `new` belongs to the host. The module makes the table of its run on the
  // heap and never deletes it (it outlives the entry); the host frees the tables that a command
  // left behind once the command has ended (ReleaseHeapTablesSince), and any others when the
  // program ends. `delete` of such a table still works.
  static void* operator new(std::size_t size);
  static void operator delete(void* memory) noexcept;
  // A mark to give ReleaseHeapTablesSince: the tables made after it are the ones it frees.
  static std::uint64_t HeapTableMark();
  static void ReleaseHeapTablesSince(std::uint64_t mark);
  // The heap tables not freed yet.
  static std::size_t HeapTableCount();
  // Parses table text; lines that are not "key = text" are reported in `problems` with their number.
  static std::map<std::string, std::string> Parse(const std::string& text,
                                                  std::vector<std::string>* problems = nullptr);

 private:
  std::map<std::string, std::string> texts_;
  std::string procedure_;
  std::string origin_;
};

// Replaces %1..%5 in `pattern` by the arguments (a missing argument becomes empty).
std::string SubstituteArguments(const std::string& pattern, const std::vector<std::string>& args);

// Where the host keeps its files. Kind 3 is the folder of the module's string table.
class PathFinder {
 public:
  explicit PathFinder(std::string path) : path_(std::move(path)) {}
  const std::string& getPath() const { return path_; }

 private:
  std::string path_;
};

class PathFactory {
 public:
  // Kind 3: the session's resource folder, else $TCM_RESOURCE_DIR, else the source tree's.
  static PathFinder getPathInstance(int kind);
};
