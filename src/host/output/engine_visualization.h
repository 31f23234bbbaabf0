// This file contains the reading of visualization nodes of the output document (statJson.json)
// into the payloads the report draws: line charts, histogram and dot plot, the model system
// graph and impact trees. The payload forms are described in chart_model.h.
#pragma once

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "host/bridge/jni_json.h"
#include "host/output/data_dictionary.h"

namespace host {

// The plain text of a composite text node ({"text": {"compositeText": {"children": [...]}}}):
// a node that names a series gives the series' name (dataDictionary::seriesName); otherwise
// each child gives its stringDataText value, or its numericDataText value (cut at the "." when
// its variable's field has 0 decimals), or its stringText value unless that is a tooltip. A
// node of another shape gives "".
std::string CompositeTextOf(JNIJSONHandle node, const dataDictionary& dictionary);

// The texts of dataArray[i].fields[j].cats[k].content, in order; empty when the path is absent.
std::vector<std::string> CategoryTextsOf(JNIJSONHandle visualization, std::size_t data_index,
                                         std::size_t field_index, std::size_t cat_index,
                                         const dataDictionary& dictionary);

// The kind of a visualization node ("lineChart", "histogram", "dotPlot", "networkGraph",
// "impactTree"), or "" when the node is none.
std::string VisualizationKind(JNIJSONHandle node);

// Each reader gives false, with the reason in `problem`, when the node is not of its kind or
// its data do not fit together (a row shorter than the fields, a category index out of range
// is read as missing rather than failing).
bool LineChartPayload(JNIJSONHandle node, const dataDictionary& dictionary,
                      nlohmann::json& payload, std::string& problem);
// `histogram` and `dot_plot` may each be null, not both.
bool DistributionPayload(JNIJSONHandle histogram, JNIJSONHandle dot_plot,
                         const dataDictionary& dictionary, nlohmann::json& payload,
                         std::string& problem);
bool SystemGraphPayload(JNIJSONHandle node, const dataDictionary& dictionary,
                        nlohmann::json& payload, std::string& problem);
// One tree: {"direction", "nodes": [...]}.
bool ImpactTreePayload(JNIJSONHandle node, const dataDictionary& dictionary,
                       nlohmann::json& tree, std::string& problem);

} // namespace host
