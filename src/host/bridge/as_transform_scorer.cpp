// This file contains the evaluation of derived fields: the file is built once into a tree of
// nodes, which each row then evaluates.
#include "host/bridge/as_transform_scorer.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <optional>

#include "host/bridge/as_runner.h"
#include "host/bridge/cf_metadata.h"
#include "host/bridge/embedded_as.h"
#include "engine/script/evaluator.h"
#include "host/data/dataset.h"
#include "host/messages/fac_st_dictionary.h"
#include "support/file_io.h"
#include "support/text.h"
#include "support/xml_util.h"

namespace scorer {

// A value on its way through an expression: missing, a number (booleans as 1 and 0) or a text.
using Value = engine::Value;

namespace {

// Infinities and NaN are no values the host can keep: they come out missing.
Value Number(double d) {
  return std::isfinite(d) && !host::IsSysMiss(d) ? Value::Number(d) : Value::Missing();
}
Value Bool(bool b) { return Value::Number(b ? 1.0 : 0.0); }
bool IsMissing(const Value& v) { return v.kind == Value::Kind::kMissing; }
// The value as a number: a text that reads as one, "true" and "false" as 1 and 0.
std::optional<double> AsNumber(const Value& v) {
  if (v.kind == Value::Kind::kNumber) return v.number;
  if (v.kind != Value::Kind::kText) return std::nullopt;
  if (v.text == "true") return 1.0;
  if (v.text == "false") return 0.0;
  return support::ParseNumber(support::Trim(v.text));
}

}  // namespace

struct Context;

class Node {
 public:
  virtual ~Node() = default;
  virtual Value Eval(Context& context) const = 0;
};
using NodePtr = std::unique_ptr<Node>;

// What a row is evaluated with: the stream fields the expressions read, and each derived field's
// value once it was asked for on this row.
struct Context {
  std::vector<Value> fields;
  std::vector<std::optional<Value>> derived;
  const std::vector<NodePtr>* derived_nodes = nullptr;
};

class Program {
 public:
  struct StreamField {
    std::string name;
    std::size_t index = 0;
    int storage = CFStorage::kReal;
  };
  std::vector<StreamField> fields;
  std::vector<NodePtr> derived;  // by slot
  std::vector<int> targets;      // derived slot per target; -1 for a skipped unknown one
};

namespace {

// A fault found while building; PrepareScoring turns it into the posted message.
struct BuildFault {
  const char* key;
  std::vector<std::string> args;
};

class ConstantNode : public Node {
 public:
  explicit ConstantNode(Value value) : value_(std::move(value)) {}
  Value Eval(Context&) const override { return value_; }

 private:
  Value value_;
};

class FieldNode : public Node {
 public:
  FieldNode(std::size_t slot, std::optional<Value> map_missing_to)
      : slot_(slot), map_missing_to_(std::move(map_missing_to)) {}
  Value Eval(Context& context) const override {
    const Value& value = context.fields[slot_];
    return IsMissing(value) && map_missing_to_ ? *map_missing_to_ : value;
  }

 private:
  std::size_t slot_;
  std::optional<Value> map_missing_to_;
};

class DerivedNode : public Node {
 public:
  DerivedNode(std::size_t slot, std::optional<Value> map_missing_to)
      : slot_(slot), map_missing_to_(std::move(map_missing_to)) {}
  Value Eval(Context& context) const override {
    std::optional<Value>& cached = context.derived[slot_];
    if (!cached) cached = (*context.derived_nodes)[slot_]->Eval(context);
    return IsMissing(*cached) && map_missing_to_ ? *map_missing_to_ : *cached;
  }

 private:
  std::size_t slot_;
  std::optional<Value> map_missing_to_;
};

enum class Fn {
  kAdd, kSub, kMul, kDiv, kEqual, kNotEqual, kLess, kLessEq, kGreater, kGreaterEq, kAnd, kOr,
  kNot, kIf, kMin, kMax, kSum, kAvg, kProduct, kMedian, kAbs, kExp, kLn, kLog10, kPow, kSqrt,
  kRound, kFloor, kCeil, kIsMissing, kIsNotMissing, kIsIn, kIsNotIn
};

struct FnSpec {
  const char* name;
  Fn fn;
  int min_args;
  int max_args;  // -1: no limit
};

constexpr FnSpec kFunctions[] = {
    {"+", Fn::kAdd, 2, 2},           {"-", Fn::kSub, 2, 2},
    {"*", Fn::kMul, 2, 2},           {"/", Fn::kDiv, 2, 2},
    {"equal", Fn::kEqual, 2, 2},     {"notEqual", Fn::kNotEqual, 2, 2},
    {"lessThan", Fn::kLess, 2, 2},   {"lessOrEqual", Fn::kLessEq, 2, 2},
    {"greaterThan", Fn::kGreater, 2, 2}, {"greaterOrEqual", Fn::kGreaterEq, 2, 2},
    {"and", Fn::kAnd, 2, -1},        {"or", Fn::kOr, 2, -1},
    {"not", Fn::kNot, 1, 1},         {"if", Fn::kIf, 2, 3},
    {"min", Fn::kMin, 1, -1},        {"max", Fn::kMax, 1, -1},
    {"sum", Fn::kSum, 1, -1},        {"avg", Fn::kAvg, 1, -1},
    {"product", Fn::kProduct, 1, -1}, {"median", Fn::kMedian, 1, -1},
    {"abs", Fn::kAbs, 1, 1},         {"exp", Fn::kExp, 1, 1},
    {"ln", Fn::kLn, 1, 1},           {"log10", Fn::kLog10, 1, 1},
    {"pow", Fn::kPow, 2, 2},         {"sqrt", Fn::kSqrt, 1, 1},
    {"round", Fn::kRound, 1, 1},     {"floor", Fn::kFloor, 1, 1},
    {"ceil", Fn::kCeil, 1, 1},       {"isMissing", Fn::kIsMissing, 1, 1},
    {"isNotMissing", Fn::kIsNotMissing, 1, 1}, {"isIn", Fn::kIsIn, 2, -1},
    {"isNotIn", Fn::kIsNotIn, 2, -1},
};

// Equality of two present values: numerically when both read as numbers, else as texts.
bool SameValue(const Value& a, const Value& b) {
  const std::optional<double> x = AsNumber(a);
  const std::optional<double> y = AsNumber(b);
  if (x && y) return *x == *y;
  return a.kind == Value::Kind::kText && b.kind == Value::Kind::kText && a.text == b.text;
}

// -1, 0 or 1; empty when the two cannot be ordered (a number against a text that is none).
std::optional<int> Compare(const Value& a, const Value& b) {
  const std::optional<double> x = AsNumber(a);
  const std::optional<double> y = AsNumber(b);
  if (x && y) return *x < *y ? -1 : (*x > *y ? 1 : 0);
  if (a.kind != Value::Kind::kText || b.kind != Value::Kind::kText) return std::nullopt;
  const int c = a.text.compare(b.text);
  return c < 0 ? -1 : (c > 0 ? 1 : 0);
}

class ApplyNode : public Node {
 public:
  ApplyNode(Fn fn, std::vector<NodePtr> args, std::optional<Value> map_missing_to,
            std::optional<Value> default_value)
      : fn_(fn), args_(std::move(args)), map_missing_to_(std::move(map_missing_to)),
        default_value_(std::move(default_value)) {}

  Value Eval(Context& context) const override {
    Value result = Compute(context);
    return IsMissing(result) && default_value_ ? *default_value_ : result;
  }

 private:
  Value OnMissingInput() const { return map_missing_to_ ? *map_missing_to_ : Value(); }

  Value Compute(Context& context) const {
    // The functions that look at missing values themselves, or evaluate only some arguments.
    switch (fn_) {
    case Fn::kIsMissing:
      return Bool(IsMissing(args_[0]->Eval(context)));
    case Fn::kIsNotMissing:
      return Bool(!IsMissing(args_[0]->Eval(context)));
    case Fn::kIf: {
      const Value condition = args_[0]->Eval(context);
      if (IsMissing(condition)) return OnMissingInput();
      const std::optional<double> truth = AsNumber(condition);
      if (!truth) return {};
      if (*truth != 0.0) return args_[1]->Eval(context);
      return args_.size() > 2 ? args_[2]->Eval(context) : Value();
    }
    default:
      break;
    }
    std::vector<Value> values;
    values.reserve(args_.size());
    for (const NodePtr& arg : args_) {
      values.push_back(arg->Eval(context));
      if (IsMissing(values.back())) return OnMissingInput();
    }
    switch (fn_) {
    case Fn::kEqual:
      return Bool(SameValue(values[0], values[1]));
    case Fn::kNotEqual:
      return Bool(!SameValue(values[0], values[1]));
    case Fn::kIsIn:
    case Fn::kIsNotIn: {
      const bool found = std::any_of(values.begin() + 1, values.end(),
                                     [&](const Value& v) { return SameValue(values[0], v); });
      return Bool(found == (fn_ == Fn::kIsIn));
    }
    case Fn::kLess:
    case Fn::kLessEq:
    case Fn::kGreater:
    case Fn::kGreaterEq: {
      const std::optional<int> c = Compare(values[0], values[1]);
      if (!c) return {};
      if (fn_ == Fn::kLess) return Bool(*c < 0);
      if (fn_ == Fn::kLessEq) return Bool(*c <= 0);
      if (fn_ == Fn::kGreater) return Bool(*c > 0);
      return Bool(*c >= 0);
    }
    default:
      break;
    }
    // The rest work on numbers; a text that reads as none makes the result invalid, so missing.
    std::vector<double> x;
    x.reserve(values.size());
    for (const Value& value : values) {
      const std::optional<double> number = scorer::AsNumber(value);
      if (!number) return {};
      x.push_back(*number);
    }
    return Number(Numeric(x));
  }

  // NaN stands for an invalid result; Value::Number makes it missing.
  double Numeric(std::vector<double>& x) const {
    const double nan = std::nan("");
    switch (fn_) {
    case Fn::kAdd: return x[0] + x[1];
    case Fn::kSub: return x[0] - x[1];
    case Fn::kMul: return x[0] * x[1];
    case Fn::kDiv: return x[1] == 0.0 ? nan : x[0] / x[1];
    case Fn::kAnd:
      return std::all_of(x.begin(), x.end(), [](double d) { return d != 0.0; }) ? 1.0 : 0.0;
    case Fn::kOr:
      return std::any_of(x.begin(), x.end(), [](double d) { return d != 0.0; }) ? 1.0 : 0.0;
    case Fn::kNot: return x[0] == 0.0 ? 1.0 : 0.0;
    case Fn::kMin: return *std::min_element(x.begin(), x.end());
    case Fn::kMax: return *std::max_element(x.begin(), x.end());
    case Fn::kSum:
    case Fn::kAvg: {
      double sum = 0.0;
      for (double d : x) sum += d;
      return fn_ == Fn::kSum ? sum : sum / static_cast<double>(x.size());
    }
    case Fn::kProduct: {
      double product = 1.0;
      for (double d : x) product *= d;
      return product;
    }
    case Fn::kMedian: {
      std::sort(x.begin(), x.end());
      const std::size_t n = x.size();
      return n % 2 == 1 ? x[n / 2] : (x[n / 2 - 1] + x[n / 2]) / 2.0;
    }
    case Fn::kAbs: return std::fabs(x[0]);
    case Fn::kExp: return std::exp(x[0]);
    case Fn::kLn: return x[0] > 0.0 ? std::log(x[0]) : nan;
    case Fn::kLog10: return x[0] > 0.0 ? std::log10(x[0]) : nan;
    case Fn::kPow: return std::pow(x[0], x[1]);
    case Fn::kSqrt: return x[0] >= 0.0 ? std::sqrt(x[0]) : nan;
    case Fn::kRound: return std::round(x[0]);
    case Fn::kFloor: return std::floor(x[0]);
    case Fn::kCeil: return std::ceil(x[0]);
    default: return nan;
    }
  }

  Fn fn_;
  std::vector<NodePtr> args_;
  std::optional<Value> map_missing_to_;
  std::optional<Value> default_value_;
};

enum class Outliers { kAsIs, kAsMissing, kAsExtreme };

class NormContinuousNode : public Node {
 public:
  NormContinuousNode(NodePtr input, std::vector<std::pair<double, double>> points,
                     Outliers outliers, std::optional<Value> map_missing_to)
      : input_(std::move(input)), points_(std::move(points)), outliers_(outliers),
        map_missing_to_(std::move(map_missing_to)) {}

  Value Eval(Context& context) const override {
    const Value input = input_->Eval(context);
    if (IsMissing(input)) return map_missing_to_ ? *map_missing_to_ : Value();
    const std::optional<double> x = AsNumber(input);
    if (!x) return {};
    const bool below = *x < points_.front().first;
    if (below || *x > points_.back().first) {
      if (outliers_ == Outliers::kAsMissing) return {};
      if (outliers_ == Outliers::kAsExtreme)
        return Number(below ? points_.front().second : points_.back().second);
    }
    // The piece that holds x; beyond the ends the first or last piece goes on straight.
    std::size_t i = 1;
    while (i + 1 < points_.size() && *x > points_[i].first) ++i;
    const auto [x0, y0] = points_[i - 1];
    const auto [x1, y1] = points_[i];
    return Number(y0 + (*x - x0) * (y1 - y0) / (x1 - x0));
  }

 private:
  NodePtr input_;
  std::vector<std::pair<double, double>> points_;
  Outliers outliers_;
  std::optional<Value> map_missing_to_;
};

class MapValuesNode : public Node {
 public:
  // Each row holds one cell per input, then the output cell; an absent cell is empty.
  MapValuesNode(std::vector<NodePtr> inputs, std::vector<std::vector<std::optional<Value>>> rows,
                std::optional<Value> map_missing_to, std::optional<Value> default_value)
      : inputs_(std::move(inputs)), rows_(std::move(rows)),
        map_missing_to_(std::move(map_missing_to)), default_value_(std::move(default_value)) {}

  Value Eval(Context& context) const override {
    std::vector<Value> values;
    for (const NodePtr& input : inputs_) {
      values.push_back(input->Eval(context));
      if (IsMissing(values.back())) return map_missing_to_ ? *map_missing_to_ : Value();
    }
    for (const auto& row : rows_) {
      bool match = true;
      for (std::size_t i = 0; i < values.size() && match; ++i)
        match = row[i] && SameValue(values[i], *row[i]);
      // A matching row without the output cell maps to missing.
      if (match) return row.back() ? *row.back() : Value();
    }
    return default_value_ ? *default_value_ : Value();
  }

 private:
  std::vector<NodePtr> inputs_;
  std::vector<std::vector<std::optional<Value>>> rows_;
  std::optional<Value> map_missing_to_;
  std::optional<Value> default_value_;
};

// A text of the file as a value: a number when it reads as one (or `data_type` says so), else a
// text.
std::optional<Value> ParseValue(std::string_view text, std::string_view data_type) {
  const bool numeric = data_type == "double" || data_type == "float" || data_type == "integer";
  if (data_type == "string") return Value::Text(std::string(text));
  if (data_type == "boolean") {
    const std::string_view t = support::Trim(text);
    if (t == "true" || t == "1") return Bool(true);
    if (t == "false" || t == "0") return Bool(false);
    return std::nullopt;
  }
  const std::optional<double> number = support::ParseNumber(support::Trim(text));
  if (number) return Number(*number);
  if (numeric) return std::nullopt;
  return Value::Text(std::string(text));
}

std::string_view LocalName(const pugi::xml_node& node) {
  std::string_view name = node.name();
  const std::size_t colon = name.find(':');
  return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

constexpr int kMaxDepth = 1000;

// Builds the nodes of a file's derived fields, on demand from the targets down.
class Builder {
 public:
  Builder(const std::string& path, const std::string& text, const CFMetaData& stream,
          Program& program)
      : path_(path), text_(text), stream_(stream), program_(program) {}

  void Index(pugi::xml_node node) {
    for (pugi::xml_node child : node.children()) {
      if (child.type() != pugi::node_element) continue;
      if (LocalName(child) == "DerivedField") {
        const std::string name = support::Attribute(child, "name");
        if (!name.empty()) definitions_.emplace(name, child);  // the first of a name counts
      } else {
        Index(child);
      }
    }
  }

  bool Defines(const std::string& name) const { return definitions_.count(name) > 0; }

  // The slot of the derived field `name`, built with all it refers to.
  std::size_t Derived(const std::string& name, const pugi::xml_node& from) {
    const auto built = slots_.find(name);
    if (built != slots_.end()) {
      if (built->second < 0)
        Form(from, "refers to the derived field " + name + ", which depends on itself");
      return static_cast<std::size_t>(built->second);
    }
    const pugi::xml_node definition = definitions_.at(name);
    slots_[name] = -1;
    const int outer = height_;
    height_ = 0;
    NodePtr node;
    for (pugi::xml_node child : definition.children()) {
      if (child.type() != pugi::node_element || Skipped(child)) continue;
      if (node) Form(child, "is a second expression of the derived field " + name);
      node = Expression(child);
    }
    if (!node) Form(definition, "holds no expression");
    program_.derived.push_back(std::move(node));
    slot_heights_.push_back(height_);
    height_ = outer;
    const std::size_t slot = program_.derived.size() - 1;
    slots_[name] = static_cast<int>(slot);
    return slot;
  }

 private:
  // Elements that annotate and take no part in the value.
  static bool Skipped(const pugi::xml_node& node) {
    const std::string_view name = LocalName(node);
    return name == "Extension" || name == "Value";
  }

  std::string Line(const pugi::xml_node& node) const {
    const std::ptrdiff_t offset = node.offset_debug();
    return std::to_string(
        support::PositionAt(text_, offset < 0 ? 0 : static_cast<std::size_t>(offset)).line);
  }

  [[noreturn]] void Form(const pugi::xml_node& node, const std::string& reason) const {
    throw BuildFault{host::msg::kScorerForm, {path_, Line(node), node.name(), reason}};
  }

  std::optional<Value> OptionalValue(const pugi::xml_node& node, const char* attribute) const {
    if (!support::HasAttribute(node, attribute)) return std::nullopt;
    return ParseValue(support::Attribute(node, attribute), "");
  }

  // A field by name: the stream's, else a derived field of the file. The missing value's
  // replacement is the FieldRef's own; other elements apply theirs after their calculation.
  NodePtr Reference(const pugi::xml_node& node, const char* attribute,
                    std::optional<Value> map_missing_to = std::nullopt) {
    const std::string name = support::Attribute(node, attribute);
    if (name.empty()) Form(node, std::string("has no ") + attribute + " attribute");
    const std::size_t index = stream_.GetFieldIndex(name);
    if (index != CFMetaData::kNoField) {
      auto& fields = program_.fields;
      auto found = std::find_if(fields.begin(), fields.end(),
                                [&](const Program::StreamField& f) { return f.index == index; });
      if (found == fields.end())
        found = fields.insert(
            fields.end(), Program::StreamField{name, index, stream_.GetField(index)->GetStorage()});
      return std::make_unique<FieldNode>(static_cast<std::size_t>(found - fields.begin()),
                                         std::move(map_missing_to));
    }
    if (!Defines(name))
      Form(node, "refers to " + name +
                     ", which is neither a field of the data nor a derived field of the file");
    const std::size_t slot = Derived(name, node);
    height_ = std::max(height_, slot_heights_[slot]);
    return std::make_unique<DerivedNode>(slot, std::move(map_missing_to));
  }

  // Evaluation recurses as deep as expressions nest, through derived fields too, and so does the
  // building: a bound on both keeps a runaway file from exhausting the stack.
  NodePtr Expression(const pugi::xml_node& node) {
    const int outer = height_;
    height_ = 0;
    NodePtr built;
    if (++depth_ <= kMaxDepth) built = Element(node);
    --depth_;
    height_ = std::max(outer, height_ + 1);
    if (!built || height_ > kMaxDepth)
      Form(node, "nests expressions deeper than " + std::to_string(kMaxDepth) + " levels");
    return built;
  }

  NodePtr Element(const pugi::xml_node& node) {
    const std::string_view name = LocalName(node);
    if (name == "Constant") return Constant(node);
    if (name == "FieldRef") return Reference(node, "field", OptionalValue(node, "mapMissingTo"));
    if (name == "Apply") return Apply(node);
    if (name == "NormContinuous") return NormContinuous(node);
    if (name == "MapValues") return MapValues(node);
    throw BuildFault{host::msg::kScorerElement, {path_, Line(node), node.name()}};
  }

  NodePtr Constant(const pugi::xml_node& node) const {
    if (support::Attribute(node, "missing") == "true")
      return std::make_unique<ConstantNode>(Value());
    const std::string type = support::Attribute(node, "dataType");
    std::optional<Value> value = ParseValue(node.child_value(), type);
    if (!value) Form(node, "holds \"" + std::string(node.child_value()) + "\", no " + type);
    return std::make_unique<ConstantNode>(std::move(*value));
  }

  NodePtr Apply(const pugi::xml_node& node) {
    const std::string function = support::Attribute(node, "function");
    const FnSpec* spec = nullptr;
    for (const FnSpec& candidate : kFunctions)
      if (function == candidate.name) spec = &candidate;
    if (spec == nullptr)
      throw BuildFault{host::msg::kScorerFunction, {path_, Line(node), function}};
    std::vector<NodePtr> args;
    for (pugi::xml_node child : node.children())
      if (child.type() == pugi::node_element && !Skipped(child)) args.push_back(Expression(child));
    const int count = static_cast<int>(args.size());
    if (count < spec->min_args || (spec->max_args >= 0 && count > spec->max_args)) {
      std::string wanted = std::to_string(spec->min_args);
      if (spec->max_args < 0) wanted = "at least " + wanted;
      else if (spec->max_args > spec->min_args) wanted += " or " + std::to_string(spec->max_args);
      Form(node, "calls " + function + " with " + std::to_string(count) +
                     (count == 1 ? " argument" : " arguments") + "; it takes " + wanted);
    }
    return std::make_unique<ApplyNode>(spec->fn, std::move(args),
                                       OptionalValue(node, "mapMissingTo"),
                                       OptionalValue(node, "defaultValue"));
  }

  NodePtr NormContinuous(const pugi::xml_node& node) {
    NodePtr input = Reference(node, "field");
    const std::string outliers = support::Attribute(node, "outliers", "asIs");
    Outliers treatment = Outliers::kAsIs;
    if (outliers == "asMissingValues") treatment = Outliers::kAsMissing;
    else if (outliers == "asExtremeValues") treatment = Outliers::kAsExtreme;
    else if (outliers != "asIs") Form(node, "has the unknown outliers treatment " + outliers);
    std::vector<std::pair<double, double>> points;
    for (pugi::xml_node child : node.children()) {
      if (child.type() != pugi::node_element || Skipped(child)) continue;
      if (LocalName(child) != "LinearNorm")
        throw BuildFault{host::msg::kScorerElement, {path_, Line(child), child.name()}};
      const std::optional<double> orig =
          support::ParseNumber(support::Attribute(child, "orig"));
      const std::optional<double> norm =
          support::ParseNumber(support::Attribute(child, "norm"));
      if (!orig || !norm) Form(child, "needs the numbers orig and norm");
      if (!points.empty() && *orig <= points.back().first)
        Form(child, "does not follow the one before it in increasing orig");
      points.emplace_back(*orig, *norm);
    }
    if (points.size() < 2) Form(node, "needs at least two LinearNorm elements");
    return std::make_unique<NormContinuousNode>(std::move(input), std::move(points), treatment,
                                                OptionalValue(node, "mapMissingTo"));
  }

  NodePtr MapValues(const pugi::xml_node& node) {
    const std::string output = support::Attribute(node, "outputColumn");
    if (output.empty()) Form(node, "has no outputColumn attribute");
    const std::string type = support::Attribute(node, "dataType");
    std::vector<NodePtr> inputs;
    std::vector<std::string> columns;
    pugi::xml_node table;
    for (pugi::xml_node child : node.children()) {
      if (child.type() != pugi::node_element || Skipped(child)) continue;
      const std::string_view name = LocalName(child);
      if (name == "FieldColumnPair") {
        inputs.push_back(Reference(child, "field"));
        const std::string column = support::Attribute(child, "column");
        columns.emplace_back(column.substr(column.find(':') + 1));
      } else if (name == "InlineTable") {
        table = child;
      } else {
        throw BuildFault{host::msg::kScorerElement, {path_, Line(child), child.name()}};
      }
    }
    if (inputs.empty()) Form(node, "needs at least one FieldColumnPair");
    columns.push_back(output);
    std::vector<std::vector<std::optional<Value>>> rows;
    for (pugi::xml_node row : table.children()) {
      if (row.type() != pugi::node_element || LocalName(row) != "row") continue;
      std::vector<std::optional<Value>> cells(columns.size());
      for (pugi::xml_node cell : row.children()) {
        if (cell.type() != pugi::node_element) continue;
        const auto column = std::find(columns.begin(), columns.end(), LocalName(cell));
        if (column == columns.end()) continue;
        const bool is_output = column + 1 == columns.end();
        std::optional<Value> value = ParseValue(cell.child_value(), is_output ? type : "");
        if (!value) Form(cell, "holds \"" + std::string(cell.child_value()) + "\", no " + type);
        cells[static_cast<std::size_t>(column - columns.begin())] = std::move(value);
      }
      rows.push_back(std::move(cells));
    }
    return std::make_unique<MapValuesNode>(std::move(inputs), std::move(rows),
                                           OptionalValue(node, "mapMissingTo"),
                                           OptionalValue(node, "defaultValue"));
  }

  const std::string& path_;
  const std::string& text_;
  const CFMetaData& stream_;
  Program& program_;
  std::map<std::string, pugi::xml_node> definitions_;
  std::map<std::string, int> slots_;  // -1 while being built
  std::vector<int> slot_heights_;      // by slot: the levels of its expression
  int depth_ = 0;                      // of the building's recursion
  int height_ = 0;                     // of the expression being built, so far
};

// The value of a stream cell, by the field's storage.
Value CellValue(const void* data, std::size_t length, int storage) {
  if (data == nullptr) return {};
  if (storage == CFStorage::kString)
    return Value::Text(std::string(static_cast<const char*>(data), length));
  if (storage == CFStorage::kInteger) {
    std::int32_t number = 0;
    std::memcpy(&number, data, sizeof number);
    return Number(number);
  }
  double number = 0.0;
  std::memcpy(&number, data, sizeof number);
  return Number(number);
}

}  // namespace
}  // namespace scorer

ASTransformScorer::ASTransformScorer() = default;
ASTransformScorer::~ASTransformScorer() = default;

bool ASTransformScorer::IsValidDouble(double value) {
  return std::isfinite(value) && !host::IsSysMiss(value);
}

void ASTransformScorer::Fail(const char* key, const std::vector<std::string>& args) {
  last_error_ = FacSTDictionary::Shared().Format(key, args);
  PostEngineMessage(engine::Severity::kError, last_error_);
}

bool ASTransformScorer::PrepareScoring(EmbeddedAS::RowDataIterator* rows,
                                       const std::string& model_path,
                                       const std::vector<std::string>& targets,
                                       bool skip_unknown_targets) {
  program_.reset();
  rows_ = nullptr;
  values_.assign(targets.size(), host::kSysMiss);
  last_error_.clear();
  if (rows == nullptr || rows->isClosed()) {
    Fail(host::msg::kScorerStream, {});
    return false;
  }
  const CFMetaData stream(rows->getDataModel(), nullptr);
  const support::Result<std::string> text = support::ReadFileToString(model_path);
  if (!text) {
    Fail(host::msg::kScorerFile, {model_path, text.error().message});
    return false;
  }
  const support::Result<pugi::xml_document> document = support::ParseXml(*text);
  if (!document) {
    Fail(host::msg::kScorerFile, {model_path, document.error().message});
    return false;
  }
  auto program = std::make_unique<scorer::Program>();
  scorer::Builder builder(model_path, *text, stream, *program);
  try {
    builder.Index(document.value());
    for (const std::string& target : targets) {
      if (!builder.Defines(target)) {
        if (!skip_unknown_targets)
          throw scorer::BuildFault{host::msg::kScorerTarget, {model_path, target}};
        program->targets.push_back(-1);
        continue;
      }
      program->targets.push_back(static_cast<int>(builder.Derived(target, document.value())));
    }
  } catch (const scorer::BuildFault& fault) {
    Fail(fault.key, fault.args);
    return false;
  }
  rows_ = rows;
  program_ = std::move(program);
  return true;
}

bool ASTransformScorer::ScoreRecord() {
  values_.assign(values_.size(), host::kSysMiss);
  if (!program_ || rows_ == nullptr) return false;
  scorer::Context context;
  context.derived_nodes = &program_->derived;
  context.derived.resize(program_->derived.size());
  for (const scorer::Program::StreamField& field : program_->fields) {
    const void* data = nullptr;
    std::size_t length = 0;
    if (rows_->getValue(field.index, &data, &length) != 0) {
      Fail(host::msg::kScorerRead, {field.name});
      return false;
    }
    context.fields.push_back(scorer::CellValue(data, length, field.storage));
  }
  for (std::size_t i = 0; i < program_->targets.size(); ++i) {
    const int slot = program_->targets[i];
    if (slot < 0) continue;
    const scorer::Value value = program_->derived[static_cast<std::size_t>(slot)]->Eval(context);
    const std::optional<double> number = scorer::AsNumber(value);
    if (number && IsValidDouble(*number)) values_[i] = *number;
  }
  return true;
}
