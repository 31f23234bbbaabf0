// This file contains ASTransformScorer: the evaluation of an expressions file's derived fields
// (PMML transformations) over the rows of a result stream.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace EmbeddedAS {
class RowDataIterator;
}

// Message keys of the scorer.
namespace host::msg {
inline constexpr const char* kScorerFile = "SCORER_FILE_KEY";         // path, reason
inline constexpr const char* kScorerElement = "SCORER_ELEMENT_KEY";   // path, line, element
inline constexpr const char* kScorerFunction = "SCORER_FUNCTION_KEY"; // path, line, function
inline constexpr const char* kScorerForm = "SCORER_FORM_KEY";         // path, line, element, reason
inline constexpr const char* kScorerTarget = "SCORER_TARGET_KEY";     // path, name
inline constexpr const char* kScorerRead = "SCORER_READ_KEY";         // field
inline constexpr const char* kScorerStream = "SCORER_STREAM_KEY";     //
inline constexpr const char* kScorerKeys[] = {kScorerFile,   kScorerElement, kScorerFunction,
                                              kScorerForm,   kScorerTarget,  kScorerRead,
                                              kScorerStream};
} // namespace host::msg

namespace scorer {
class Program;
}

// Use: PrepareScoring once, then per row of the stream (stepped by the caller) ScoreRecord and
// GetTargetValues. A fault is posted to the session's output under the source "ENGINE" (to
// standard error outside a session) and kept in LastError().
//
// The elements and functions understood are listed in docs/tcm-analysis.md. Missing values are
// the host's system-missing value; any missing input makes the result missing except where PMML
// says otherwise (isMissing, isNotMissing, the branch of `if` not taken, mapMissingTo and
// defaultValue). A result that is no real number (division by zero, the log of a negative
// number) is missing as well.
class ASTransformScorer {
 public:
  ASTransformScorer();
  ~ASTransformScorer();
  ASTransformScorer(const ASTransformScorer&) = delete;
  ASTransformScorer& operator=(const ASTransformScorer&) = delete;

  // Reads the expressions file at `model_path` and builds the expressions of `targets` (derived
  // fields by exact name; the first of a name counts), with the derived fields they refer to.
  // A FieldRef names a field of the stream's data model or, when the stream has none of that
  // name, another derived field. `rows` must outlive the scoring. With `skip_unknown_targets` a
  // target the file does not define scores as missing; otherwise it fails the preparation. False,
  // with the reason posted, when the file is no XML or holds an element, function or reference
  // that cannot be evaluated.
  bool PrepareScoring(EmbeddedAS::RowDataIterator* rows, const std::string& model_path,
                      const std::vector<std::string>& targets, bool skip_unknown_targets);
  // Reads the fields the expressions use from the stream's current row and evaluates every
  // target. False when nothing is prepared or a value cannot be read (no current row); the
  // values are then all missing.
  bool ScoreRecord();
  // One value per target of PrepareScoring, in its order; the system-missing value for a
  // missing result.
  const std::vector<double>& GetTargetValues() const { return values_; }
  // True for a real number that is not the system-missing value.
  static bool IsValidDouble(double value);

  const std::string& LastError() const { return last_error_; }

 private:
  void Fail(const char* key, const std::vector<std::string>& args);

  EmbeddedAS::RowDataIterator* rows_ = nullptr;
  std::unique_ptr<scorer::Program> program_;
  std::vector<double> values_;
  std::string last_error_;
};
