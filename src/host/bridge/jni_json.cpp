// This file contains the host's JSON tree over nlohmann-json; no exception of the library leaves
// it.
#include "host/bridge/jni_json.h"

#include <cmath>
#include <limits>

namespace {

std::string Dump(const JNIJSONValue& value) {
  // `replace` keeps a stray non-UTF-8 byte from throwing halfway through a script.
  return value.dump(-1, ' ', false, JNIJSONValue::error_handler_t::replace);
}

// Parses without exceptions; a parse error gives a discarded value.
JNIJSONValue ParseQuietly(std::string_view text) {
  return JNIJSONValue::parse(text.begin(), text.end(), nullptr, /*allow_exceptions=*/false);
}

bool IntegralOf(JNIJSONHandle node, std::int64_t& out) {
  if (node == nullptr)
    return false;
  if (node->is_number_integer()) {
    if (node->is_number_unsigned()) {
      auto u = node->get<std::uint64_t>();
      if (u > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
        return false;
      out = static_cast<std::int64_t>(u);
      return true;
    }
    out = node->get<std::int64_t>();
    return true;
  }
  if (node->is_number_float()) {
    double d = node->get<double>();
    if (!std::isfinite(d) || d != std::floor(d) || d < -9.2e18 || d > 9.2e18)
      return false;
    out = static_cast<std::int64_t>(d);
    return true;
  }
  return false;
}

} // namespace

JNIJSONObject::JNIJSONObject() : value_(JNIJSONValue::object()) {}

JNIJSONObject::JNIJSONObject(std::string_view text) : value_(ParseQuietly(text)) {
  if (!value_.is_object()) {
    good_ = false;
    value_ = JNIJSONValue::object();
  }
}

void JNIJSONObject::put(const std::string& key, int value) {
  value_[key] = value;
}
void JNIJSONObject::put(const std::string& key, std::int64_t value) {
  value_[key] = value;
}
void JNIJSONObject::put(const std::string& key, double value) {
  value_[key] = value;
}
void JNIJSONObject::put(const std::string& key, bool value) {
  value_[key] = value;
}
void JNIJSONObject::put(const std::string& key, const std::string& value) {
  value_[key] = value;
}
void JNIJSONObject::put(const std::string& key, const char* value) {
  value_[key] = value == nullptr ? std::string() : std::string(value);
}
void JNIJSONObject::put(const std::string& key, const JNIJSONObject& value) {
  value_[key] = value.value();
}
void JNIJSONObject::put(const std::string& key, const JNIJSONArray& value) {
  value_[key] = value.value();
}
void JNIJSONObject::putNull(const std::string& key) {
  value_[key] = nullptr;
}

std::string JNIJSONObject::toString() const {
  return Dump(value_);
}

std::string JNIJSONObject::toString(JNIJSONHandle node) {
  if (node == nullptr || node->is_null())
    return {};
  if (node->is_string())
    return node->get<std::string>();
  return Dump(*node);
}

JNIJSONHandle JNIJSONObject::get(JNIJSONHandle node, std::string_view key) {
  if (node == nullptr || !node->is_object())
    return nullptr;
  auto it = node->find(std::string(key));
  return it == node->end() ? nullptr : &*it;
}

std::string JNIJSONObject::getChildAsString(JNIJSONHandle node, std::string_view key) {
  return toString(get(node, key));
}

std::set<std::string> JNIJSONObject::keySet(JNIJSONHandle node) {
  std::set<std::string> keys;
  if (node == nullptr || !node->is_object())
    return keys;
  for (auto it = node->begin(); it != node->end(); ++it)
    keys.insert(it.key());
  return keys;
}

JNIJSONArray::JNIJSONArray() : value_(JNIJSONValue::array()) {}

JNIJSONArray::JNIJSONArray(std::string_view text) : value_(ParseQuietly(text)) {
  if (!value_.is_array()) {
    good_ = false;
    value_ = JNIJSONValue::array();
  }
}

void JNIJSONArray::add(const JNIJSONObject& value) {
  value_.push_back(value.value());
}
void JNIJSONArray::add(const JNIJSONArray& value) {
  value_.push_back(value.value());
}
void JNIJSONArray::add(const std::string& value) {
  value_.push_back(value);
}
void JNIJSONArray::add(const char* value) {
  value_.push_back(value == nullptr ? std::string() : std::string(value));
}
void JNIJSONArray::add(int value) {
  value_.push_back(value);
}
void JNIJSONArray::add(std::int64_t value) {
  value_.push_back(value);
}
void JNIJSONArray::add(double value) {
  value_.push_back(value);
}

std::string JNIJSONArray::serialize() const {
  return Dump(value_);
}

std::size_t JNIJSONArray::size(JNIJSONHandle node) {
  return node != nullptr && node->is_array() ? node->size() : 0;
}

JNIJSONHandle JNIJSONArray::get(JNIJSONHandle node, std::size_t index) {
  if (node == nullptr || !node->is_array() || index >= node->size())
    return nullptr;
  return &(*node)[index];
}

int JNIJSONInteger::intValue(JNIJSONHandle node) {
  std::int64_t v = 0;
  if (!IntegralOf(node, v) || v < std::numeric_limits<int>::min() ||
      v > std::numeric_limits<int>::max()) {
    return 0;
  }
  return static_cast<int>(v);
}

std::int64_t JNIJSONInteger::longValue(JNIJSONHandle node) {
  std::int64_t v = 0;
  return IntegralOf(node, v) ? v : 0;
}

double JNIJSONDouble::doubleValue(JNIJSONHandle node) {
  return node != nullptr && node->is_number() ? node->get<double>() : 0.0;
}

bool JNIJSONArtifact::isString(JNIJSONHandle node) {
  return node != nullptr && node->is_string();
}

std::string JNIAslAccessor::getString(JNIJSONHandle node) {
  return JNIJSONObject::toString(node);
}
