// This file contains ASDescriptive: the descriptive job over the converted data (categories of
// the dimension fields, the updated data model, field statistics, the input interval).
#pragma once

#include <string>
#include <vector>

class ASRunner;
class CFMetaData;

// Copyable: a copy runs on the same runner with the same script. The runner must outlive it.
class ASDescriptive {
 public:
  ASDescriptive(ASRunner& runner, std::string script);

  // Runs the script and describes its last table: the categories of `fields` (none kept for a
  // field with more than `max_dim_values` distinct values, which the statistics mark), and the
  // interval that each of `time_fields` shows. `json` gets {"intervalResults":[...]} ("" when no
  // time field was asked), `data_model` the data model XML. The engine's messages go to the
  // output; false when the job failed, with the outputs untouched.
  bool UpdateDateModel(const std::vector<std::string>& fields,
                       const std::vector<std::string>& time_fields, bool is_date_time,
                       std::string& json, std::string& data_model, int max_dim_values);
  // The same without time fields, filling `metadata` from the data model. False also when the
  // data model cannot be read (reported), with `metadata` untouched.
  bool BuildMetaData(const std::vector<std::string>& fields, CFMetaData& metadata,
                     int max_dim_values);
  // The field statistics of the last successful run (<FieldSummaries>...), "" before one.
  const std::string& GetStatXML() const { return stat_xml_; }

 private:
  bool Run(const std::vector<std::string>& fields, const std::vector<std::string>& time_fields,
           bool is_date_time, int max_dim_values, std::string& json, std::string& data_model);

  ASRunner* runner_;
  std::string script_;
  std::string stat_xml_;
};
