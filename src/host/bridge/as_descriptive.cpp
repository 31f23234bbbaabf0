// This file contains the descriptive job over the converted data.
#include "host/bridge/as_descriptive.h"

#include "host/bridge/as_runner.h"
#include "host/bridge/cf_metadata.h"

ASDescriptive::ASDescriptive(ASRunner& runner, std::string script)
    : runner_(&runner), script_(std::move(script)) {}

bool ASDescriptive::Run(const std::vector<std::string>& fields,
                        const std::vector<std::string>& time_fields, bool is_date_time,
                        int max_dim_values, std::string& json, std::string& data_model) {
  engine::DescriptiveRequest request;
  request.fields = fields;
  request.time_fields = time_fields;
  request.is_date_time = is_date_time;
  request.max_categories = max_dim_values;
  engine::DescriptiveResult result;
  bool ok = runner_->prepareASLJob(script_);
  if (ok)
    ok = runner_->executeDescriptive(request, result);
  runner_->displayAllMessages(true);
  runner_->cleanJRef();
  runner_->cleanExecution();
  if (!ok)
    return false;
  stat_xml_ = std::move(result.stat_xml);
  json = std::move(result.interval_json);
  data_model = std::move(result.data_model_xml);
  return true;
}

bool ASDescriptive::UpdateDateModel(const std::vector<std::string>& fields,
                                    const std::vector<std::string>& time_fields, bool is_date_time,
                                    std::string& json, std::string& data_model,
                                    int max_dim_values) {
  std::string json_text;
  std::string model_text;
  if (!Run(fields, time_fields, is_date_time, max_dim_values, json_text, model_text)) {
    return false;
  }
  json = std::move(json_text);
  data_model = std::move(model_text);
  return true;
}

bool ASDescriptive::BuildMetaData(const std::vector<std::string>& fields, CFMetaData& metadata,
                                  int max_dim_values) {
  std::string json_text;
  std::string model_text;
  if (!Run(fields, {}, false, max_dim_values, json_text, model_text))
    return false;
  CFMetaData built;
  const support::Status status = built.ImportXMLDoc(model_text);
  if (!status) {
    runner_->QueueMessage(engine::Severity::kError, host::msg::kEngineDataModel,
                          {status.message()});
    runner_->displayAllMessages(true);
    return false;
  }
  metadata = std::move(built);
  return true;
}
