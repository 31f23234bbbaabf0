// This file contains JNITargetMap: the questions the module asks of a model system's graph
// (TCMGraph.json): which series are targets, which have no input, which are AR model series.
#pragma once

#include <set>
#include <string>
#include <vector>

class JNITargetMap {
 public:
  // Text that is no graph gives a map without targets: every answer is empty or false.
  explicit JNITargetMap(const std::string& graphText);

  // The IDs of all targets, in the graph's order, appended to `list`.
  void GetAllTargets(std::vector<std::string>& list) const;
  // The IDs of the targets whose model has no input series (only their own lags).
  void GetTargetsWithoutInput(std::vector<std::string>& list) const;
  bool IsTarget(const std::string& name) const;
  bool IsArModelSeries(const std::string& name) const;

 private:
  std::vector<std::string> targets_;
  std::vector<std::string> withoutInput_;
  std::set<std::string> targetSet_;
  std::set<std::string> arSeries_;
};
