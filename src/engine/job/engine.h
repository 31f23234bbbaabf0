// This file contains the engine's entry: the jobs it makes and the stages it knows.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "engine/job/job.h"

namespace engine {

// One engine per host connection. Jobs are independent; the host runs one at a time.
class Engine {
 public:
  std::unique_ptr<Job> NewJob() const { return std::make_unique<Job>(); }
  // The qualified names of every registered stage, in registry order.
  static std::vector<std::string> StageNames();
};

}  // namespace engine
