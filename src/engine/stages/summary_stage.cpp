// This file contains the `tcm:summary` stage: the targets of a model system ranked by a fit
// statistic, the top N or top percent written as modelSummary.json.
#include <algorithm>
#include <cmath>

#include "engine/model/model_archive.h"
#include "engine/model/stage_inputs.h"
#include "engine/stages/registry.h"
#include "support/zip_archive.h"

namespace engine {
namespace {

enum class FitStat { kRmspe, kRmse, kAic, kBic, kRsquare };

struct SummaryOptions {
  FitStat stat = FitStat::kRmspe;
  bool percent = false;
  std::int64_t value = 10;
  std::string model_path;
  std::string output_path;
};

// The statistic of a model, oriented so that smaller is better.
double Badness(const model::FitStats& stats, FitStat stat) {
  switch (stat) {
  case FitStat::kRmspe:
    return stats.rmspe;
  case FitStat::kRmse:
    return stats.rmse;
  case FitStat::kAic:
    return stats.aic;
  case FitStat::kBic:
    return stats.bic;
  case FitStat::kRsquare:
    return -stats.rsquare;
  }
  return stats.rmspe;
}

class SummaryStage : public Stage {
 public:
  bool Configure(const StageCall& call, const Script& script, MessageQueue& messages) override {
    call_ = call;
    const std::string place = StagePlace(call);
    const support::Json* config = nullptr;
    const support::Json* in = nullptr;
    const support::Json* out = nullptr;
    if (!ConfigurationAndFiles(call, script, true, &config, &in, &out, messages)) return false;
    const std::string stat = support::GetString(*config, "fitStat", "RMSPE");
    if (stat == "RMSPE") {
      options_.stat = FitStat::kRmspe;
    } else if (stat == "RMSE") {
      options_.stat = FitStat::kRmse;
    } else if (stat == "AIC") {
      options_.stat = FitStat::kAic;
    } else if (stat == "BIC") {
      options_.stat = FitStat::kBic;
    } else if (stat == "RSQUARE") {
      options_.stat = FitStat::kRsquare;
    } else {
      return messages.Error(place + "'fitStat' '" + stat +
                            "' is none of RMSPE, RMSE, AIC, BIC, RSQUARE");
    }
    const std::string type = support::GetString(*config, "topType", "N");
    if (type != "N" && type != "PCT") {
      return messages.Error(place + "'topType' must be 'N' or 'PCT', not '" + type + "'");
    }
    options_.percent = type == "PCT";
    options_.value = support::GetInt(*config, "value", 10);
    if (options_.value < 0 || (options_.percent && options_.value > 100)) {
      return messages.Error(place + "'value' " + std::to_string(options_.value) +
                            " is out of range");
    }
    options_.model_path = model::ConfPath(*in, "InputTCMXML");
    options_.output_path = model::ConfPath(*out, "ModelsSummay");
    if (options_.model_path.empty() || options_.output_path.empty()) {
      return messages.Error(place + "the input or output configuration names no file");
    }
    return true;
  }

  bool Run(StageContext& context, std::optional<Table>&) override {
    const std::string place = StagePlace(call_);
    auto loaded = model::ReadModelArchive(options_.model_path);
    if (!loaded)
      return context.messages.Error(place + loaded.message());
    const model::ModelSystem& system = loaded->system;
    std::vector<const model::Equation*> targets;
    for (const model::Equation& equation : system.equations) {
      if (equation.is_target)
        targets.push_back(&equation);
    }
    // Stable, with models lacking the statistic last, so ties keep the model order.
    std::stable_sort(targets.begin(), targets.end(),
                     [&](const model::Equation* a, const model::Equation* b) {
                       const double x = Badness(a->stats, options_.stat);
                       const double y = Badness(b->stats, options_.stat);
                       if (std::isnan(x) || std::isnan(y))
                         return !std::isnan(x) && std::isnan(y);
                       return x < y;
                     });
    std::size_t count = static_cast<std::size_t>(options_.value);
    if (options_.percent) {
      count = static_cast<std::size_t>(std::ceil(static_cast<double>(targets.size()) *
                                                 static_cast<double>(options_.value) / 100.0));
    }
    count = std::min(count, targets.size());
    support::OrderedJson ids = support::OrderedJson::array();
    for (std::size_t i = 0; i < count; ++i)
      ids.push_back(system.series[targets[i]->series].id);
    support::OrderedJson summary;
    summary["topNModels"]["IDs"] = std::move(ids);
    auto text = support::DumpJson(summary);
    if (!text)
      return context.messages.Error(place + text.message());
    support::ZipArchiveWriter writer;
    if (auto status = writer.AddText("modelSummary.json", *text); !status) {
      return context.messages.Error(place + status.message());
    }
    if (auto status = writer.WriteTo(options_.output_path); !status) {
      return context.messages.Error(place + status.message());
    }
    return true;
  }

 private:
  StageCall call_;
  SummaryOptions options_;
};

} // namespace

std::unique_ptr<Stage> MakeTcmSummaryStage() {
  return std::make_unique<SummaryStage>();
}

} // namespace engine
