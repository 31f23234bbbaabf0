// Tests of JNITargetMap over graph texts of the model stage's shape and over texts that are no
// graph.
#include "host/bridge/jni_target_map.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

using Ids = std::vector<std::string>;

// Targets in the graph's order: one with inputs, one with an empty input list, one without the
// member, then a repeat of the first, an entry that is no object and one without an ID.
const char* const kGraph = R"({
  "maxLag": 2, "significanceLevel": 0.05,
  "targets": [
    {"id": "2-1", "dims": ["West"], "metric": "sales",
     "inputs": [{"id": "1-2", "lags": [1, 2], "coefficients": [0.4, 0.1], "F": 7.5,
                 "pValue": 0.001, "significant": true}]},
    {"id": "1-1", "dims": ["East"], "metric": "sales", "inputs": []},
    {"id": "1-3", "dims": ["East"], "metric": "cost"},
    {"id": "2-1", "inputs": []},
    "3-1",
    {"dims": ["North"], "metric": "sales", "inputs": []}
  ],
  "arModelSeries": ["1-2", 7, "3-1"]
})";

TEST(JNITargetMap, AnswersFromTheGraph) {
  const JNITargetMap map(kGraph);
  Ids all{"kept"};
  map.GetAllTargets(all);
  EXPECT_EQ(all, (Ids{"kept", "2-1", "1-1", "1-3"}));
  Ids alone;
  map.GetTargetsWithoutInput(alone);
  // The repeat of "2-1" with no inputs does not change what its first entry said.
  EXPECT_EQ(alone, (Ids{"1-1", "1-3"}));

  EXPECT_TRUE(map.IsTarget("2-1"));
  EXPECT_TRUE(map.IsTarget("1-3"));
  EXPECT_FALSE(map.IsTarget("1-2")); // an input only
  EXPECT_FALSE(map.IsTarget("3-1")); // a bare string is no target entry
  EXPECT_FALSE(map.IsTarget(""));
  EXPECT_TRUE(map.IsArModelSeries("1-2"));
  EXPECT_TRUE(map.IsArModelSeries("3-1"));
  EXPECT_FALSE(map.IsArModelSeries("2-1"));
  EXPECT_FALSE(map.IsArModelSeries("7"));
}

TEST(JNITargetMap, TextThatIsNoGraphAnswersNothing) {
  for (const std::string text :
       {"", "not json", "{\"targets\": [{\"id\": \"1\"}", "[{\"id\": \"1\"}]",
        "{\"targets\": {\"id\": \"1\"}, \"arModelSeries\": \"1\"}", "null"}) {
    const JNITargetMap map(text);
    Ids ids;
    map.GetAllTargets(ids);
    map.GetTargetsWithoutInput(ids);
    EXPECT_TRUE(ids.empty()) << text;
    EXPECT_FALSE(map.IsTarget("1")) << text;
    EXPECT_FALSE(map.IsArModelSeries("1")) << text;
  }
  // A graph without AR series still answers for its targets.
  const JNITargetMap partial(R"({"targets": [{"id": "4", "inputs": [{"id": "5"}]}]})");
  Ids ids;
  partial.GetTargetsWithoutInput(ids);
  EXPECT_TRUE(ids.empty());
  EXPECT_TRUE(partial.IsTarget("4"));
  EXPECT_FALSE(partial.IsArModelSeries("4"));
}

} // namespace
