// This file contains the output document statJson.json: each artefact asked for, under its node.
#pragma once

#include <string>
#include <vector>

#include "engine/output/output_config.h"
#include "engine/output/output_data.h"
#include "engine/output/output_json.h"
#include "support/result.h"

namespace engine::output {

inline constexpr const char* kDocumentMember = "statJson.json";

// The document: {"tcm": {"review", "evaluation", "action", "interpretation"}, "dataDictionary"}
// with the artefacts in the order asked. Series of a per-series artefact that the model system
// does not hold, and artefacts whose results were not given, are reported in `warnings`.
Node BuildOutputDocument(const OutputConfig& config, const OutputData& data,
                         std::vector<std::string>& warnings);

// Writes the archive with its one member; an existing file is replaced only on success.
support::Status WriteOutputArchive(const std::string& path, const Node& document);

}  // namespace engine::output
