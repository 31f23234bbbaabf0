// This file contains the `reclassifyField` stage: a field replaced (or added) with the value of
// a function literal on every row.
#include <cmath>

#include "engine/script/evaluator.h"
#include "engine/stages/registry.h"

namespace engine {
namespace {

class ReclassifyFieldStage : public Stage {
 public:
  bool Configure(const StageCall& call, const Script& script, MessageQueue& messages) override {
    call_ = call;
    const std::string place = StagePlace(call);
    if (call.arguments.size() != 2) {
      return messages.Error(place + "takes two arguments: '_' and a function");
    }
    const StageArgument& argument = call.arguments[1];
    if (argument.kind == StageArgument::Kind::kFunction) {
      function_ = argument.function;
    } else if (argument.kind == StageArgument::Kind::kName) {
      const Declaration* declaration = script.Find(argument.name);
      if (declaration != nullptr && declaration->is_function) function_ = declaration->function;
    }
    if (!function_) return messages.Error(place + "argument 2 must be a function");
    return true;
  }

  bool Run(StageContext& context, std::optional<Table>& table) override {
    const std::string place = StagePlace(call_);
    if (!table) return context.messages.Error(place + "there is no data to reclassify");
    if (auto status = CheckExpression(function_->body, table->model); !status) {
      return context.messages.Error(place + status.message());
    }
    const std::size_t rows = table->RowCount();
    std::vector<Value> values;
    values.reserve(rows);
    bool any_text = false;
    bool all_integral = true;
    std::size_t unconverted = 0;
    const bool is_conversion = function_->body.kind == Expression::Kind::kCall &&
                               function_->body.text == "toTimestamp";
    const Expression* source =
        is_conversion && !function_->body.arguments.empty() ? &function_->body.arguments[0]
                                                            : nullptr;
    for (std::size_t row = 0; row < rows; ++row) {
      Value value = Evaluate(function_->body, *table, row);
      if (value.kind == Value::Kind::kText) any_text = true;
      if (value.kind == Value::Kind::kNumber &&
          (value.number != std::trunc(value.number) || std::fabs(value.number) > INT32_MAX)) {
        all_integral = false;
      }
      if (source != nullptr && value.kind == Value::Kind::kMissing) {
        Value input = Evaluate(*source, *table, row);
        if (input.kind == Value::Kind::kText && !input.text.empty()) ++unconverted;
      }
      values.push_back(std::move(value));
    }
    auto index = table->model.Find(function_->result_field);
    const Field* old_field = index ? &table->model.fields[*index] : nullptr;
    Storage storage = any_text ? Storage::kString : Storage::kReal;
    if (!any_text && all_integral && old_field != nullptr &&
        old_field->storage == Storage::kInteger) {
      storage = Storage::kInteger;
    }
    Column column(storage);
    column.Reserve(rows);
    for (const Value& value : values) {
      switch (value.kind) {
        case Value::Kind::kMissing: column.AppendMissing(); break;
        case Value::Kind::kNumber: column.AppendReal(value.number); break;
        case Value::Kind::kText: column.AppendText(value.text); break;
      }
    }
    Field field = old_field != nullptr ? *old_field : Field{};
    field.name = function_->result_field;
    if (field.storage != storage) field.categories.clear();  // codes of the old values
    field.storage = storage;
    if (is_conversion) field.measurement = "continuous";
    if (index) {
      table->model.fields[*index] = std::move(field);
      table->columns[*index] = std::move(column);
    } else {
      table->AddColumn(std::move(field), std::move(column));
    }
    if (unconverted > 0) {
      context.messages.Warning(place + std::to_string(unconverted) + " values of '" +
                               function_->result_field +
                               "' fit none of the date patterns and are missing");
    }
    return true;
  }

 private:
  StageCall call_;
  std::shared_ptr<const FunctionLiteral> function_;
};

}  // namespace

std::unique_ptr<Stage> MakeReclassifyFieldStage() {
  return std::make_unique<ReclassifyFieldStage>();
}

}  // namespace engine
