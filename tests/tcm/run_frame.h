// This file contains the host objects of a run that tests of the flows build, as an entry builds
// them before its first flow: the session with its output, the data source, the engine's view of
// the data, the iterator with its stop processor, the procedure and the runner.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "host/bridge/as_data_model.h"
#include "host/bridge/as_raw_data_iterator.h"
#include "host/bridge/as_runner.h"
#include "host/bridge/as_stop_processor.h"
#include "host/data/procedure_data_source.h"
#include "host/output/document.h"
#include "host/output/rv.h"
#include "host/session.h"

namespace tcm_test {

class RunFrame {
 protected:
  // The frame of a run over `dataset`, limited to the variables `used`.
  void Open(std::shared_ptr<host::Dataset> dataset, const std::vector<int32_t>& used,
            const std::string& title = "Temporal Causal Modeling") {
    source_ = std::make_unique<ProcedureDataSource>(dataset);
    model_ = std::make_unique<ASDataModel>(source_.get(), true, true, false);
    ASSERT_TRUE(model_->UpdateAnalysMetadata(std::vector<int>(used.begin(), used.end())));
    iterator_ = std::make_unique<ASRawDataIterator>(*model_, nullptr);
    iterator_->SetName("_activeTCMDataset_");
    iterator_->SetStopProcessor(&stop_);
    procedure_ = std::make_unique<RvProcedure>(title, 10);
    runner_ = std::make_unique<ASRunner>(*procedure_);
    runner_->prepareActiveDS(*source_, true, true);
    runner_->resetJNI();
  }

  // The session outlives the objects below: the procedure leaves its output there as it goes.
  host::OutputDocument document_;
  host::Session session_;
  std::unique_ptr<host::SessionScope> scope_;
  ASStopProcessor stop_{0.0};
  std::unique_ptr<ProcedureDataSource> source_;
  std::unique_ptr<ASDataModel> model_;
  std::unique_ptr<ASRawDataIterator> iterator_;
  std::unique_ptr<RvProcedure> procedure_;
  std::unique_ptr<ASRunner> runner_;
};

}  // namespace tcm_test
