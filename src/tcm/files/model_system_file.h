// This file contains the readers of a model system archive and of the preparation archive: the
// model's data model, the time information, the summary's top model IDs, the targets of the
// graph, the decoding of coded series IDs, and the check of aggregation.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "host/bridge/as_simple_container.h"
#include "host/bridge/cf_metadata.h"
#include "tcm/frame/spec/valid_spec.h"

// Fills `metadata` from the DataModel element of "StatXML.xml". False, with `metadata` left
// alone, when the archive or the member cannot be read.
bool ExtractDataModel(const std::string& path, CFMetaData& metadata);

// The text of output.timeVariable and the value of output.timeFormat of a TSDPOutput.json text.
void ReadTimeInfo(const std::string& jsonText, std::string& timeVariable, std::string& timeFormat);

// Appends the non-empty IDs of modelSummary.json (topNModels.IDs) of the summary archive.
void ReadTopModelIds(const ASSimpleContainer& container, std::vector<std::string>& ids);

// Appends the IDs that a target display selects: for "BESTFIT" `topModelIds` (what the summary
// flow found), for "TARGETSNOINPUTS" the graph's targets without input, otherwise all targets.
void TargetIdsByDisplay(const std::string& display, const std::string& graphText,
                        const std::vector<std::string>& topModelIds, std::vector<std::string>& ids);

// The ranked target IDs of a model system archive, appended to `ids`. Nothing is selected unless
// "StatXML.xml" reads; then "BESTFIT" asks `topModels` (the summary flow, run only here) and
// the other displays read "TCMGraph.json". False when a member needed cannot be read.
bool RankedTargetIds(const std::string& modelPath, const std::string& display,
                     const std::function<void(std::vector<std::string>&)>& topModels,
                     std::vector<std::string>& ids);

// Appends per ID the true dimension values and the metric name, by the model's data model; an
// ID with the wrong number of pieces gives an empty list.
void DecodeSeriesIds(const std::vector<std::string>& ids, const CFMetaData& metadata,
                     const std::vector<std::string>& dimensionNames,
                     std::vector<std::vector<std::string>>& result);

// True when rows of the prepared data stand for single cases: time type "NONE", or "DATESPEC"
// whose preparation recorded aggregation level 0.
bool AggregationChecked(const ValidSpec& spec, const ASSimpleContainer& jsonFile);
