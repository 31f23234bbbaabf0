// This file contains the descriptive pass over a table: the categories of named fields, the
// updated data model, field statistics, and the input interval that a time field's values show.
#pragma once

#include <string>
#include <vector>

namespace engine {

class Table;

struct DescriptiveRequest {
  std::vector<std::string> fields;       // fields whose categories are wanted
  std::vector<std::string> time_fields;  // date or date-time fields whose interval is wanted
  bool is_date_time = false;             // the time fields hold dates (else periods)
  int max_categories = 10000;            // more distinct values than this: maxCatsExceeded
};

struct DescriptiveResult {
  // The table's data model in its XML form, with the categories (values, codes, labels) of
  // `fields` filled in; a field over the limit keeps none.
  std::string data_model_xml;
  // <FieldSummaries><FieldSummary fieldName="x"><DistributionSummary maxCatsExceeded="false"
  //  categoryCount="3" validCount="..." missingCount="..."/></FieldSummary>...</FieldSummaries>
  std::string stat_xml;
  // {"intervalResults":[{"timeField":"day","timeInterval":"DAY"}, ...]} in the order of
  // `time_fields`; empty when no time field was asked. timeInterval is one of SECOND, MINUTE,
  // HOUR, DAY, WEEK, MONTH, QUARTER, YEAR or IRREGULAR.
  std::string interval_json;
};

// Describes `table`. False, with `error` set, when a named field is not in the table.
bool Describe(const Table& table, const DescriptiveRequest& request, DescriptiveResult& result,
              std::string& error);

}  // namespace engine
