// Fuzz target of the CSV reader: any bytes as a data file without a dictionary, the dataset
// built from what was read, and everything that shows it again.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "fuzz_data.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  tcm_fuzz::FuzzSession fuzz;
  ParserMessage messages;
  host::CsvTable table;
  if (!host::ParseCsvText(std::string_view(reinterpret_cast<const char*>(data), size), "fuzz.csv",
                          table, messages)) {
    return 0;
  }
  const auto dataset = host::BuildDataset(std::move(table), "fuzz.csv", nullptr, messages);
  if (dataset != nullptr) tcm_fuzz::ShowDataset(*dataset, "fuzz.csv");
  return 0;
}
