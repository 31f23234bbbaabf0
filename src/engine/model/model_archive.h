// This file contains the model system archive: StatXML.xml (data model, parameters, every
// model), TCMGraph.json and the copy of TSDPOutput.json, written and read back.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "engine/data/data_model.h"
#include "engine/data/table.h"
#include "engine/model/model_system.h"
#include "support/json_util.h"
#include "support/result.h"

namespace engine::model {

inline constexpr const char* kStatXmlMember = "StatXML.xml";
inline constexpr const char* kGraphMember = "TCMGraph.json";
inline constexpr const char* kPreparationMember = "TSDPOutput.json";

// The data model of a model system: per dimension a coded integer field of the dimension's name
// (categories: value and code = the code, label = the true value) with base "$base_<dim>", the
// base field with the true values in the prepared field's storage, and "metricField" with the
// metric names as labels of the codes 1..M. The codes are those of the prepared table's
// dimension categories; values without a category get codes after the largest.
DataModel ModelDataModel(const Table& prepared, const std::vector<std::string>& dim_fields,
                         const std::vector<std::string>& metric_fields);

// StatXML.xml: <StatXML><DataModel/>, <Parameter name=.. ><Attribute name="value" value=../>
// for maxLag, maxNumberOfPredictor, epsilon, confidenceLevel, significanceLevel, then
// <SeriesList> (every series: id, metric, dims) and <Models> (one <Model> per equation with its
// statistics, <Intercept>, and per block an <Input> with its F test and one <Lag> per lag).
std::string StatXmlText(const ModelSystem& system, const DataModel& data_model);
// Reads the settings, series and models back (the data model is not needed for scoring).
// Fails, naming the element, on a text that is not such a document.
support::Result<ModelSystem> ModelSystemFromStatXml(std::string_view text);

// TCMGraph.json: maxLag, significanceLevel, the targets with their inputs (id, lags,
// coefficients, F, pValue, significant; own lags are not an input) and the AR model series.
support::OrderedJson GraphJson(const ModelSystem& system);

// Writes the three members to `path` atomically (an existing file survives a failure).
support::Status WriteModelArchive(const std::filesystem::path& path, const ModelSystem& system,
                                  const DataModel& data_model, std::string_view preparation_json);

struct LoadedModel {
  ModelSystem system;
  std::string preparation_json; // the text of TSDPOutput.json
};
// Reads StatXML.xml and TSDPOutput.json of an archive.
support::Result<LoadedModel> ReadModelArchive(const std::filesystem::path& path);

} // namespace engine::model
