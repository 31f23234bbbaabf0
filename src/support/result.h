// This file contains the result types of the support layer: a status and a value-or-error.
#pragma once

#include <cassert>
#include <optional>
#include <string>
#include <utility>

namespace support {

// What went wrong, in words a user can act on. `line` and `column` (1-based) place a fault found
// while parsing a text; both are 0 when the fault has no place in a text.
struct Error {
  std::string message;
  int line = 0;
  int column = 0;
};

// Success, or an error. Support functions never throw; they return this instead, and the layer
// above decides how to report it.
class [[nodiscard]] Status {
 public:
  Status() = default;
  Status(Error error) : error_(std::move(error)), ok_(false) {}  // NOLINT: implicit by design

  bool ok() const { return ok_; }
  explicit operator bool() const { return ok_; }
  const Error& error() const { return error_; }
  // Empty on success.
  const std::string& message() const { return error_.message; }

 private:
  Error error_;
  bool ok_ = true;
};

// A value, or an error. Reading the value of a failed result is a programmer error.
template <class T>
class [[nodiscard]] Result {
 public:
  Result(T value) : value_(std::move(value)) {}      // NOLINT: implicit by design
  Result(Error error) : error_(std::move(error)) {}  // NOLINT: implicit by design

  bool ok() const { return value_.has_value(); }
  explicit operator bool() const { return value_.has_value(); }
  const Error& error() const { return error_; }
  const std::string& message() const { return error_.message; }
  Status status() const { return ok() ? Status() : Status(error_); }

  T& value() & {
    assert(ok());
    return *value_;
  }
  const T& value() const& {
    assert(ok());
    return *value_;
  }
  T&& value() && {
    assert(ok());
    return std::move(*value_);
  }
  T& operator*() & { return value(); }
  const T& operator*() const& { return value(); }
  T* operator->() { return &value(); }
  const T* operator->() const { return &value(); }

 private:
  std::optional<T> value_;
  Error error_;
};

}  // namespace support
