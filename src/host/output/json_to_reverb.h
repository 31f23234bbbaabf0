// This file contains jsonToReverb, the report renderer of the TCM commands: it reads the output
// document a run wrote (statJson.json), takes the procedure's orders (which node becomes which
// object, under which heading, with which title and options) and draws them into the output.
#pragma once

#include <string>
#include <vector>

#include "host/bridge/jni_json.h"
#include "host/output/data_dictionary.h"
#include "host/output/document.h"
#include "host/output/output_order.h"

class RvProcedure;
class RvHeading;
class ProcedureDataSource;
class FacSTDictionary;

class jsonToReverb {
 public:
  // Parses `json`, the whole output document. A text that is not a JSON object leaves an empty
  // document whose getTop() is not good; generateOutput then draws nothing and gives false.
  // `procedure` is where objects go (null: nothing can be drawn); `data` is the active dataset
  // (may be null), used for the decimals of fields the document does not describe.
  jsonToReverb(RvProcedure* procedure, const ProcedureDataSource* data,
               FacSTDictionary& dictionary, const std::string& json);
  // A renderer with no document, for orders that show only a message ("showMessage=true").
  jsonToReverb(RvProcedure* procedure, const ProcedureDataSource* data,
               FacSTDictionary& dictionary);
  jsonToReverb(const jsonToReverb&) = delete;
  jsonToReverb& operator=(const jsonToReverb&) = delete;

  // Queues a copy of the order.
  void addObjectToOutput(OutputOrder& order);
  // A table order: heading, one dotted location, outline title (final text), OMS subtype.
  void addObjectToOutput(std::string heading, std::string location, std::string title,
                         std::string subtype, OutputOrder::Type type);

  // True when the dotted path, which starts with the root key ("tcm.review.specifications.table"),
  // names a node of the document (a JSON null counts as absent).
  bool hasItem(const std::string& path) const;
  JNIJSONObject& getTop() { return document_; }
  dataDictionary& getDataDictionary() { return dictionary_fields_; }

  // Draws every queued order, in the order queued, below `root` (always "tcm"): each heading
  // level found or made, each object from its locations. An order whose locations are absent
  // draws nothing and is no failure; a node of the wrong shape is reported as a warning in the
  // output and the others still draw. False when there is no procedure or the document did not
  // parse. The queue is emptied.
  bool generateOutput(const std::string& root);

  const std::vector<OutputOrder>& Orders() const { return orders_; }

 private:
  void Draw(const OutputOrder& order, JNIJSONHandle root);
  void DrawTable(const OutputOrder& order, RvHeading& heading, JNIJSONHandle root);
  void DrawChart(const OutputOrder& order, RvHeading& heading, JNIJSONHandle root);
  void DrawInteractive(const OutputOrder& order, RvHeading& heading, JNIJSONHandle root);
  void Warn(const OutputOrder& order, const std::string& problem);
  // Shows each series a table names by its text in the document by the series' name.
  void NameSeries(host::Table& table) const;
  std::string Title(const OutputOrder& order) const;

  RvProcedure* procedure_;
  const ProcedureDataSource* data_;
  FacSTDictionary& dictionary_;
  JNIJSONObject document_;
  bool parsed_ = true;
  dataDictionary dictionary_fields_;
  std::vector<OutputOrder> orders_;
};

namespace host {
// The node a location names below `root`, or null when any step is absent, or the node is a
// JSON string or null (such a node stands for "nothing here").
JNIJSONHandle ResolveLocation(JNIJSONHandle root, const OutputLocation& location);
} // namespace host
