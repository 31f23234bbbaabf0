// Fuzz target of the model system archive readers: any bytes as an archive file, every member
// walked and read through the zip reader, and every reader of src/tcm/files/model_system_file.h
// over it (the data model, the ranked targets by each display, the summary's IDs and their
// decoding, the preparation's time information and aggregation check).
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

#include "fuzz_data.h"
#include "host/bridge/as_simple_container.h"
#include "host/bridge/zip_reader.h"
#include "support/temp_file.h"
#include "tcm/files/model_system_file.h"
#include "tcm/model/tcm_model_spec.h"

namespace {

// The archive is read from a file, as the program reads it; one per process, rewritten for
// every input and removed at exit.
const std::string& ArchivePath() {
  static const support::TempFile file = [] {
    auto made = support::TempFile::Create(".zip");
    if (!made) std::abort();
    return std::move(made.value());
  }();
  static const std::string path = file.path().string();
  return path;
}

void WalkMembers(const std::string& path) {
  ZipReader reader(path);
  std::string name;
  bool is_folder = false;
  for (bool more = reader.GetFirst(name, is_folder); more; more = reader.GetNext(name, is_folder)) {
    std::string text;
    if (reader.ExportString(text) && name == "TSDPOutput.json") {
      std::string time_variable;
      std::string time_format;
      ReadTimeInfo(text, time_variable, time_format);
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  tcm_fuzz::FuzzSession fuzz;
  const std::string& path = ArchivePath();
  {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    if (!out) return 0;
  }
  WalkMembers(path);

  CFMetaData metadata;
  const bool has_model = ExtractDataModel(path, metadata);
  ASSimpleContainer container("JSON", path);
  std::vector<std::string> ids;
  for (const char* display : {"BESTFIT", "TARGETSNOINPUTS", "ALLTARGETS"}) {
    RankedTargetIds(path, display,
                    [&container](std::vector<std::string>& top) {
                      ReadTopModelIds(container, top);
                    },
                    ids);
  }
  if (has_model) {
    // The dimensions are the fields that have a base field, as the model writes them.
    std::vector<std::string> dimensions;
    for (std::size_t i = 0; i < metadata.FieldCount(); ++i) {
      const CFField* field = metadata.GetField(i);
      if (field != nullptr && !field->GetBaseField().empty()) dimensions.push_back(field->GetName());
    }
    std::vector<std::vector<std::string>> decoded;
    DecodeSeriesIds(ids, metadata, dimensions, decoded);
  }
  TCMModelValidSpecs spec;
  spec.timeType = "DATESPEC";
  (void)AggregationChecked(spec, container);
  return 0;
}
