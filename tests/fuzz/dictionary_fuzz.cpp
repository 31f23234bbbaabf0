// Fuzz target of the dictionary reader: any bytes as the dictionary of a small fixed CSV file,
// the dataset built from both, and `tcm describe` over it with the texts that saving would write.
#include <cstddef>
#include <cstdint>
#include <string>

#include "fuzz_data.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  tcm_fuzz::FuzzSession fuzz;
  ParserMessage messages;
  host::Dictionary dictionary;
  if (!host::ParseDictionaryText(std::string(reinterpret_cast<const char*>(data), size),
                                 "fuzz.dict.json", dictionary, messages)) {
    return 0;
  }
  const auto dataset =
      host::BuildDataset(tcm_fuzz::RetailTable(messages), "retail.csv", &dictionary, messages);
  if (dataset != nullptr) tcm_fuzz::ShowDataset(*dataset, "retail.csv");
  return 0;
}
