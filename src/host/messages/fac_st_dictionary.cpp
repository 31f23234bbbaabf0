// This file contains the string table and the host's resource paths.
#include "host/messages/fac_st_dictionary.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <sstream>

#include "host/session.h"

extern const char* const kBuiltInStringTable;  // generated from resources/strings.txt

namespace {
std::string Trim(const std::string& text) {
  const auto first = text.find_first_not_of(" \t\r");
  if (first == std::string::npos) return {};
  const auto last = text.find_last_not_of(" \t\r");
  return text.substr(first, last - first + 1);
}
}  // namespace

std::string SubstituteArguments(const std::string& pattern, const std::vector<std::string>& args) {
  std::string out;
  out.reserve(pattern.size());
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    if (pattern[i] == '%' && i + 1 < pattern.size() && pattern[i + 1] >= '1' &&
        pattern[i + 1] <= '5') {
      const std::size_t arg = static_cast<std::size_t>(pattern[i + 1] - '1');
      if (arg < args.size()) out += args[arg];
      ++i;
    } else {
      out += pattern[i];
    }
  }
  return out;
}

std::map<std::string, std::string> FacSTDictionary::Parse(const std::string& text,
                                                          std::vector<std::string>* problems) {
  std::map<std::string, std::string> texts;
  std::istringstream in(text);
  std::string line;
  int line_no = 0;
  while (std::getline(in, line)) {
    ++line_no;
    const std::string trimmed = Trim(line);
    if (trimmed.empty() || trimmed[0] == '#') continue;
    const auto eq = trimmed.find('=');
    const std::string key = eq == std::string::npos ? std::string() : Trim(trimmed.substr(0, eq));
    if (key.empty()) {
      if (problems) problems->push_back("line " + std::to_string(line_no) + ": no \"key = text\"");
      continue;
    }
    if (texts.count(key) && problems) {
      problems->push_back("line " + std::to_string(line_no) + ": key \"" + key + "\" repeated");
    }
    texts[key] = Trim(trimmed.substr(eq + 1));
  }
  return texts;
}

FacSTDictionary::FacSTDictionary() : texts_(Parse(kBuiltInStringTable)), origin_("built-in") {}

FacSTDictionary::FacSTDictionary(const std::string& folder) {
  namespace fs = std::filesystem;
  std::error_code error;
  std::vector<fs::path> files;
  for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
    if (it->path().extension() == ".txt") files.push_back(it->path());
  }
  std::sort(files.begin(), files.end());
  for (const auto& path : files) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    for (auto& [key, value] : Parse(text.str())) texts_[key] = std::move(value);
  }
  origin_ = folder;
  if (texts_.empty()) {
    texts_ = Parse(kBuiltInStringTable);
    origin_ = "built-in";
  }
}

std::string FacSTDictionary::LookUp(const std::string& key) const {
  const auto it = texts_.find(key);
  return it == texts_.end() ? key : it->second;
}

std::string FacSTDictionary::Format(const std::string& key,
                                    const std::vector<std::string>& args) const {
  const auto it = texts_.find(key);
  if (it != texts_.end()) return SubstituteArguments(it->second, args);
  std::string out = key;
  for (const auto& arg : args) {
    if (!arg.empty()) out += " " + arg;
  }
  return out;
}

const FacSTDictionary& FacSTDictionary::Shared() {
  static const FacSTDictionary shared(PathFactory::getPathInstance(3).getPath());
  return shared;
}

namespace {

// The tables made with `new` that nobody deleted yet, by the number of their making. The
// holder frees what is left when the program ends.
class HeapTables {
 public:
  ~HeapTables() { Release(0); }

  void Add(void* memory) {
    const std::lock_guard<std::mutex> lock(mutex_);
    live_.emplace(++made_, memory);
  }
  void Remove(void* memory) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto it = std::find_if(live_.begin(), live_.end(),
                                 [memory](const auto& entry) { return entry.second == memory; });
    if (it != live_.end()) live_.erase(it);
  }
  std::uint64_t Mark() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return made_;
  }
  std::size_t Count() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return live_.size();
  }
  // Destroys and frees the tables made after `mark`. They leave the list first, so the class's
  // operator delete is not involved.
  void Release(std::uint64_t mark) {
    std::vector<void*> released;
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      for (auto it = live_.upper_bound(mark); it != live_.end(); it = live_.erase(it)) {
        released.push_back(it->second);
      }
    }
    for (void* memory : released) {
      static_cast<FacSTDictionary*>(memory)->~FacSTDictionary();
      ::operator delete(memory);
    }
  }

 private:
  std::mutex mutex_;
  std::uint64_t made_ = 0;
  std::map<std::uint64_t, void*> live_;
};

HeapTables& Tables() {
  static HeapTables tables;
  return tables;
}

}  // namespace

void* FacSTDictionary::operator new(std::size_t size) {
  void* memory = ::operator new(size);
  try {
    Tables().Add(memory);
  } catch (...) {
    ::operator delete(memory);
    throw;
  }
  return memory;
}

void FacSTDictionary::operator delete(void* memory) noexcept {
  if (memory == nullptr) return;
  Tables().Remove(memory);
  ::operator delete(memory);
}

std::uint64_t FacSTDictionary::HeapTableMark() { return Tables().Mark(); }

void FacSTDictionary::ReleaseHeapTablesSince(std::uint64_t mark) { Tables().Release(mark); }

std::size_t FacSTDictionary::HeapTableCount() { return Tables().Count(); }

PathFinder PathFactory::getPathInstance(int kind) {
  if (kind == 3) {
    if (const host::Session* session = host::CurrentSession();
        session != nullptr && !session->resource_dir.empty()) {
      return PathFinder(session->resource_dir + "/strings");
    }
    if (const char* dir = std::getenv("TCM_RESOURCE_DIR"); dir != nullptr && *dir != '\0') {
      return PathFinder(std::string(dir) + "/strings");
    }
    return PathFinder(TCM_RESOURCE_DIR "/strings");
  }
  return PathFinder(".");
}
