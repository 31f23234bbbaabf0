// This file contains helpers of the dataset tests: loading from texts and finding messages.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "host/data/csv_reader.h"
#include "host/data/dataset_io.h"
#include "host/data/dictionary.h"
#include "host/messages/parser_message.h"

namespace host::test {

// Builds a dataset from CSV text and, when not empty, dictionary text, as LoadDataset would
// from files named "data.csv" and "data.dict.json".
inline std::shared_ptr<Dataset> LoadText(const std::string& csv, ParserMessage& messages,
                                         const std::string& dictionary = {}) {
  CsvTable table;
  if (!ParseCsvText(csv, "data.csv", table, messages)) return nullptr;
  Dictionary dict;
  if (!dictionary.empty() && !ParseDictionaryText(dictionary, "data.dict.json", dict, messages)) {
    return nullptr;
  }
  return BuildDataset(std::move(table), "data.csv", dictionary.empty() ? nullptr : &dict,
                      messages);
}

// The messages raised under a key.
inline std::vector<MessageRecord> Raised(const ParserMessage& messages, const std::string& key) {
  std::vector<MessageRecord> found;
  for (const auto& record : messages.Raised()) {
    if (record.source == key) found.push_back(record);
  }
  return found;
}

// The keys of all messages raised, in order.
inline std::vector<std::string> Keys(const ParserMessage& messages) {
  std::vector<std::string> keys;
  for (const auto& record : messages.Raised()) keys.push_back(record.source);
  return keys;
}

// A fresh folder under the system's temporary folder, removed at the end of the test.
class TempFolder {
 public:
  TempFolder() {
    path_ = std::filesystem::temp_directory_path() /
            ("tcm-data-test-" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()) +
             "-" + ::testing::UnitTest::GetInstance()->current_test_info()->name());
    std::filesystem::remove_all(path_);
    std::filesystem::create_directories(path_);
  }
  ~TempFolder() {
    std::error_code error;
    std::filesystem::remove_all(path_, error);
  }
  std::string File(const std::string& name) const { return (path_ / name).string(); }
  void Write(const std::string& name, const std::string& text) const {
    std::ofstream(File(name), std::ios::binary) << text;
  }
  std::string Read(const std::string& name) const {
    std::ifstream file(File(name), std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
  }
  // Names of the files in the folder.
  std::vector<std::string> Files() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(path_)) {
      names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
  }

 private:
  std::filesystem::path path_;
};

}  // namespace host::test
