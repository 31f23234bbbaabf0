// This file contains what the fuzz targets share: a small fixed dataset shaped like the retail
// example (dimensions region and product, a daily date, numeric metrics), read through the real
// CSV and dictionary readers, and the session that a command or a reader runs in.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "host/data/csv_reader.h"
#include "host/data/csv_writer.h"
#include "host/data/dataset_io.h"
#include "host/data/describe.h"
#include "host/data/dictionary.h"
#include "host/messages/parser_message.h"
#include "host/output/document.h"
#include "host/session.h"

namespace tcm_fuzz {

// Three days of two regions and two products.
inline constexpr std::string_view kRetailCsv =
    "date,region,product,price,promo,ad_spend,temperature,visits,sales,returns\n"
    "2023-01-01,North,A,5.24,0,375.23,4.7,2244,128,4\n"
    "2023-01-01,North,B,13.11,0,204.16,4.7,1784,61,2\n"
    "2023-01-01,East,A,4.99,0,333.04,2.8,1862,136,5\n"
    "2023-01-01,East,B,13.74,1,217.70,2.8,1293,45,1\n"
    "2023-01-02,North,A,5.24,0,360.10,5.1,2301,131,3\n"
    "2023-01-02,North,B,13.11,0,210.00,5.1,1801,60,2\n"
    "2023-01-02,East,A,4.99,1,340.50,3.0,1900,140,6\n"
    "2023-01-02,East,B,13.74,0,220.00,3.0,1300,44,\n"
    "2023-01-03,North,A,5.19,0,370.00,4.2,2250,127,4\n"
    "2023-01-03,North,B,13.11,0,205.20,4.2,1790,62,1\n"
    "2023-01-03,East,A,4.99,0,335.00,2.5,1870,135,5\n"
    "2023-01-03,East,B,13.74,0,219.30,2.5,1295,46,2\n";

inline constexpr std::string_view kRetailDictionary = R"({
  "variables": [
    {"name": "date", "type": "numeric", "format": "DATE11", "measure": "scale", "label": "Calendar day"},
    {"name": "region", "type": "string", "width": 8, "measure": "nominal", "label": "Sales region"},
    {"name": "product", "type": "string", "width": 1, "measure": "nominal",
     "valueLabels": {"A": "Snacks", "B": "Beverages"}},
    {"name": "promo", "type": "numeric", "format": "F1.0", "measure": "nominal",
     "valueLabels": {"0": "No", "1": "Yes"}, "missing": [9]},
    {"name": "returns", "type": "numeric", "format": "F6.0", "missingRange": [-99, -1]}
  ]
})";

// A session with an output document and no echo of messages, current while it lives.
class FuzzSession {
 public:
  FuzzSession() : scope_(Init(session_, document_)) {}
  host::Session& session() { return session_; }

 private:
  static host::Session& Init(host::Session& session, host::OutputDocument& document) {
    session.document = &document;
    session.err = nullptr;
    session.check_only = true;
    return session;
  }
  host::OutputDocument document_;
  host::Session session_;
  host::SessionScope scope_;
};

// The parsed CSV table of the fixed dataset.
inline host::CsvTable RetailTable(ParserMessage& messages) {
  host::CsvTable table;
  host::ParseCsvText(kRetailCsv, "retail.csv", table, messages);
  return table;
}

// The fixed dataset with its dictionary; a fresh copy each time, so a run cannot leave anything
// behind for the next input.
inline std::shared_ptr<host::Dataset> RetailDataset(ParserMessage& messages) {
  host::Dictionary dictionary;
  host::ParseDictionaryText(std::string(kRetailDictionary), "retail.dict.json", dictionary,
                            messages);
  return host::BuildDataset(RetailTable(messages), "retail.csv", &dictionary, messages);
}

// Everything that shows a dataset again: what `tcm describe` prints, and the dictionary and CSV
// texts that saving would write.
inline void ShowDataset(const host::Dataset& dataset, const std::string& name) {
  (void)host::DescribeDataset(dataset, name);
  ParserMessage messages;
  (void)host::DictionaryText(dataset, messages, name + ".dict.json");
  (void)host::CsvText(dataset);
}

}  // namespace tcm_fuzz
