// This file contains the string table and the host's resource paths.
#include "host/messages/fac_st_dictionary.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
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
  static const FacSTDictionary* shared = new FacSTDictionary(PathFactory::getPathInstance(3).getPath());
  return *shared;
}

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
