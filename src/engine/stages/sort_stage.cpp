// This file contains the `sort` stage: a stable sort of the rows by one or more fields.
//
// Configuration: {"fields": ["a", {"field": "b", "descending": true}]}, or the form the output
// flows write, {"sortFields": [{"name": "a", "direction": "ascending"}]}. Missing values sort
// before all others; texts compare by bytes.
#include <algorithm>
#include <numeric>

#include "engine/stages/registry.h"
#include "support/json_util.h"

namespace engine {
namespace {

struct SortKey {
  std::string field;
  bool descending = false;
};

class SortStage : public Stage {
 public:
  bool Configure(const StageCall& call, const Script& script, MessageQueue& messages) override {
    call_ = call;
    const support::Json* json = nullptr;
    if (!ArgumentJson(call, script, 0, true, true, &json, messages)) return false;
    const std::string place = StagePlace(call);
    const auto* fields = support::FindMember(*json, "fields");
    const bool named_form = fields == nullptr;
    if (named_form) fields = support::FindMember(*json, "sortFields");
    if (fields == nullptr || !fields->is_array() || fields->empty()) {
      return messages.Error(place + "'fields' (or 'sortFields') must be a non-empty array");
    }
    for (const auto& entry : *fields) {
      SortKey key;
      if (entry.is_string() && !named_form) {
        key.field = entry.get<std::string>();
      } else if (entry.is_object() && !named_form) {
        key.field = support::GetString(entry, "field");
        key.descending = support::GetBool(entry, "descending");
      } else if (entry.is_object()) {
        key.field = support::GetString(entry, "name");
        const std::string direction = support::GetString(entry, "direction", "ascending");
        if (direction != "ascending" && direction != "descending") {
          return messages.Error(place + "the direction '" + direction + "' is unknown");
        }
        key.descending = direction == "descending";
      }
      if (key.field.empty()) {
        return messages.Error(place + (named_form
                                           ? "each sort key must be {\"name\": field, "
                                             "\"direction\": \"ascending\"|\"descending\"}"
                                           : "each sort key must be a field name or "
                                             "{\"field\": name, \"descending\": bool}"));
      }
      keys_.push_back(std::move(key));
    }
    return true;
  }

  bool Run(StageContext& context, std::optional<Table>& table) override {
    const std::string place = StagePlace(call_);
    if (!table) return context.messages.Error(place + "there is no data to sort");
    std::vector<std::pair<const Column*, bool>> keys;
    for (const SortKey& key : keys_) {
      auto index = table->model.Find(key.field);
      if (!index) {
        return context.messages.Error(place + "the field '" + key.field + "' is not in the data");
      }
      keys.emplace_back(&table->columns[*index], key.descending);
    }
    std::vector<std::size_t> order(table->RowCount());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
      for (const auto& [column, descending] : keys) {
        const int c = Compare(*column, a, b);
        if (c != 0) return descending ? c > 0 : c < 0;
      }
      return false;
    });
    Table sorted;
    sorted.model = table->model;
    for (const Column& column : table->columns) {
      Column reordered(column.storage());
      reordered.Reserve(order.size());
      for (std::size_t row : order) reordered.AppendFrom(column, row);
      sorted.columns.push_back(std::move(reordered));
    }
    table = std::move(sorted);
    return true;
  }

 private:
  static int Compare(const Column& column, std::size_t a, std::size_t b) {
    const bool missing_a = column.IsMissing(a);
    const bool missing_b = column.IsMissing(b);
    if (missing_a || missing_b) return missing_a == missing_b ? 0 : (missing_a ? -1 : 1);
    switch (column.storage()) {
      case Storage::kInteger:
        return column.Int(a) < column.Int(b) ? -1 : column.Int(a) > column.Int(b) ? 1 : 0;
      case Storage::kReal:
        return column.Real(a) < column.Real(b) ? -1 : column.Real(a) > column.Real(b) ? 1 : 0;
      case Storage::kString:
        return column.Text(a).compare(column.Text(b)) < 0   ? -1
               : column.Text(a).compare(column.Text(b)) > 0 ? 1
                                                            : 0;
    }
    return 0;
  }

  StageCall call_;
  std::vector<SortKey> keys_;
};

}  // namespace

std::unique_ptr<Stage> MakeSortStage() { return std::make_unique<SortStage>(); }

}  // namespace engine
