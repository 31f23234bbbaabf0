// This file contains ASRawDataIterator: the active dataset's cases as the input stream of a job.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "engine/job/row_iterator.h"
#include "host/bridge/as_data_model.h"

class ASStopProcessor;
class ErrorMonitor; // the host's error sink; the iterator reports nothing, so none is needed

// Streams the variables of an ASDataModel, case by case: numbers as 64-bit reals (dates as their
// seconds since 1970), texts as their bytes; system-missing values, and user-missing values when
// the model says so, as missing. Value pointers point into the dataset, which the iterator keeps
// alive, so they stay valid as long as the dataset is not changed.
class ASRawDataIterator : public engine::InputStream {
 public:
  ASRawDataIterator(const ASDataModel& model, ErrorMonitor* monitor);

  void SetName(const std::string& name) { name_ = name; }
  std::string Name() const override { return name_; }
  std::string DataModelXml() const override { return model_xml_; }

  // The stop request polled before each case; null for none.
  void SetStopProcessor(ASStopProcessor* stop) { stop_ = stop; }
  // True once a read was stopped by the stop processor, or a stop is pending now.
  bool GetCancelStatus() const;
  // 0 when the stream can be read, 1 when it cannot (no dataset, or it lost a variable).
  int GetStatus() const { return Failed() ? 1 : 0; }

  bool Failed() const override;
  bool Cancelled() const override { return GetCancelStatus(); }
  // Steps to the next case. False at the end, and when a stop was requested.
  bool Next() override;
  bool Value(std::size_t index, const void** data, std::size_t* length) override;
  // Goes back before the first case, for another run over the same data.
  void Rewind();

  std::int64_t CaseCount() const;

 private:
  std::shared_ptr<const host::Dataset> dataset_;
  std::vector<int> indexes_;
  std::string model_xml_;
  bool user_missing_as_missing_;
  bool trim_texts_;
  std::string name_;
  ASStopProcessor* stop_ = nullptr;
  bool stopped_ = false;
  std::int64_t next_case_ = 0; // one past the current case; 0 before the first Next()
};
