// This file contains the fixture of the preparation tests: an input table in an .asbf file, a
// script runner over it, and readers of the prepared data and archives.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "engine/data/asbf.h"
#include "engine/job/job.h"
#include "support/json_util.h"
#include "support/temp_file.h"
#include "support/time.h"
#include "support/zip_archive.h"

namespace engine::testing {

// Seconds of a date, and of a date and hour.
inline double Day(int year, int month, int day, int hour = 0) {
  return static_cast<double>(support::DaysFromCivil(year, month, day) * support::kSecondsPerDay +
                             hour * 3600);
}

inline Field MakeField(const std::string& name, Storage storage) {
  Field field;
  field.name = name;
  field.storage = storage;
  return field;
}

// A table from columns of numbers (NaN = missing) or texts.
struct TableBuilder {
  Table table;
  TableBuilder& Numbers(const std::string& name, const std::vector<double>& values,
                        Storage storage = Storage::kReal) {
    Column column(storage);
    for (double value : values) {
      if (std::isnan(value)) {
        column.AppendMissing();
      } else {
        column.AppendReal(value);
      }
    }
    table.AddColumn(MakeField(name, storage), std::move(column));
    return *this;
  }
  TableBuilder& Texts(const std::string& name, const std::vector<std::string>& values) {
    Column column(Storage::kString);
    for (const std::string& value : values) column.AppendText(value);
    table.AddColumn(MakeField(name, Storage::kString), std::move(column));
    return *this;
  }
};

class PrepFixture : public ::testing::Test {
 protected:
  void SetUp() override {
    auto dir = support::TempDir::Create("prep");
    ASSERT_TRUE(dir.ok());
    dir_.emplace(std::move(*dir));
  }

  std::filesystem::path Path(const std::string& name) const { return dir_->path() / name; }
  std::string Uri(const std::string& name) const { return "file://" + Path(name).string(); }

  void WriteInput(const Table& table, const std::string& name = "input") {
    ASSERT_TRUE(WriteAsbfWithModel(Path(name + ".asbf"), Path(name + ".xml"), table).ok());
  }

  std::string Reader(const std::string& name = "input") const {
    return "val readerConf = {\"filesystem\":{\"dataModel\":\"" + Uri(name + ".xml") +
           "\",\"locations\":[{\"path\":\"" + Uri(name + ".asbf") +
           "\",\"parser\":{\"name\":\"asbf\"}}]}}\n";
  }
  std::string Writer(const std::string& name) const {
    return "val writerConf = {\"dataDestination\":\"" + Uri(name + ".asbf") +
           "\",\"dataModelDestination\":\"" + Uri(name + ".xml") + "\",\"type\":\"asbf\"}\n";
  }

  // Runs read -> tsdp -> write into "prepared"; the archive is "prep.zip" (and "quality.zip").
  bool RunTsdp(const std::string& conf, bool quality = false) {
    std::string outputs = "[{\"export\":true,\"name\":\"JSON\",\"uri\":\"" + Uri("prep.zip") + "\"}";
    if (quality) {
      outputs += ",{\"export\":true,\"name\":\"TSDP_DataQuality\",\"uri\":\"" + Uri("quality.zip") + "\"}";
    }
    outputs += "]";
    return Run(Reader() + "val tsdpOutConf = " + outputs + "\nval tsdpConf = " + conf + "\n" +
               Writer("prepared") + "read(readerConf)->tsdp:tsdp(tsdpConf,_,tsdpOutConf)->write(writerConf)");
  }

  // Runs read(prepared) -> rtsdp -> write into "reversed".
  bool RunRtsdp(bool future_flag, const std::string& data = "prepared") {
    return Run(Reader(data) + "val rtsdpConf = {\"exportFutureFlag\":" +
               (future_flag ? "true" : "false") + "}\nval rtsdpInConf = [{\"name\":\"JSON\",\"uri\":\"" +
               Uri("prep.zip") + "\"}]\n" + Writer("reversed") +
               "read(readerConf)->rtsdp:rtsdp(rtsdpConf, rtsdpInConf, _)->write(writerConf)");
  }

  bool Run(const std::string& script) {
    job_.Clean();
    if (!job_.Prepare(script)) return false;
    return job_.Execute();
  }

  Table Output(const std::string& name = "prepared") const {
    auto table = ReadAsbfWithModel(Path(name + ".asbf"), Path(name + ".xml"));
    EXPECT_TRUE(table.ok()) << table.message();
    return table.ok() ? std::move(*table) : Table{};
  }

  support::Json Archive(const std::string& archive, const std::string& member) const {
    auto text = support::ReadZipText(Path(archive), member);
    EXPECT_TRUE(text.ok()) << text.message();
    if (!text) return {};
    auto json = support::ParseJson(*text);
    EXPECT_TRUE(json.ok());
    return json.ok() ? std::move(*json) : support::Json{};
  }
  support::Json Record() const { return Archive("prep.zip", "TSDPOutput.json"); }

  // The values of a column as numbers (NaN for missing).
  static std::vector<double> Values(const Table& table, const std::string& name) {
    std::vector<double> values;
    auto index = table.model.Find(name);
    EXPECT_TRUE(index.has_value()) << name;
    if (!index) return values;
    for (std::size_t row = 0; row < table.RowCount(); ++row) {
      const double value = table.columns[*index].AsNumber(row);
      values.push_back(value == kSystemMissing ? std::nan("") : value);
    }
    return values;
  }

  std::string AllMessages() const {
    std::string text;
    for (const Message& message : job_.Messages()) text += message.text + "\n";
    return text;
  }
  bool HasMessage(Severity severity, const std::string& part) const {
    for (const Message& message : job_.Messages()) {
      if (message.severity == severity && message.text.find(part) != std::string::npos) return true;
    }
    return false;
  }

  std::optional<support::TempDir> dir_;
  Job job_;
};

// Element-wise equality of number lists where NaN equals NaN.
inline ::testing::AssertionResult SameValues(const std::vector<double>& actual,
                                             const std::vector<double>& expected) {
  if (actual.size() != expected.size()) {
    return ::testing::AssertionFailure() << "size " << actual.size() << " != " << expected.size();
  }
  for (std::size_t i = 0; i < actual.size(); ++i) {
    const bool both_nan = std::isnan(actual[i]) && std::isnan(expected[i]);
    if (!both_nan && std::fabs(actual[i] - expected[i]) > 1e-9) {
      return ::testing::AssertionFailure()
             << "at " << i << ": " << actual[i] << " != " << expected[i];
    }
  }
  return ::testing::AssertionSuccess();
}

}  // namespace engine::testing
