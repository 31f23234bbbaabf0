// This file contains a sample output document of a TCM MODEL run (statJson.json), built in
// code, and the orders a procedure queues for it: shared by the report tests, the sample report
// program and the browser test.
#pragma once

#include <string>

#include <nlohmann/json.hpp>

class jsonToReverb;

namespace host::testing {

// A composite text node holding `text` as one stringDataText child.
nlohmann::ordered_json TextNode(const std::string& text);

// The sample document: 14 series of a retail system (one key holds a "."), review tables,
// quality histogram and dot plot, observed and predicted charts, the model system graph with
// its fit and outlier tables, impact trees, a root cause analysis and forecasts.
nlohmann::ordered_json SampleDocument();

// Queues the orders of a targets run over the sample document, as the procedure does.
void QueueSampleOrders(jsonToReverb& renderer);

} // namespace host::testing
