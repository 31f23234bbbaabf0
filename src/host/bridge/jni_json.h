// This file contains the host's JSON tree as the module composes and reads it: objects, arrays,
// and read access to their nodes through opaque handles.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

// Objects keep their keys in the order in which they were first put, so a configuration reads in
// the order its composer wrote it; putting an existing key again replaces the value in place.
using JNIJSONValue = nlohmann::ordered_json;

// A node of a tree: valid while the tree it was read from lives and is not changed. Null means
// absent. Every reader below accepts null and answers as for an absent node.
using JNIJSONHandle = const JNIJSONValue*;

class JNIJSONArray;

class JNIJSONObject {
 public:
  JNIJSONObject(); // an empty object
  // Parses `text`. When it is not a JSON object, isGood() is false and the object starts empty.
  explicit JNIJSONObject(std::string_view text);

  bool isGood() const { return good_; }

  void put(const std::string& key, int value);
  void put(const std::string& key, std::int64_t value);
  void put(const std::string& key, double value);
  void put(const std::string& key, bool value);
  void put(const std::string& key, const std::string& value);
  void put(const std::string& key, const char* value); // text, never taken as a bool
  void put(const std::string& key, const JNIJSONObject& value);
  void put(const std::string& key, const JNIJSONArray& value);
  void putNull(const std::string& key);

  // Compact text, no blanks. Bytes that are not UTF-8 become U+FFFD rather than failing.
  std::string toString() const;
  // Text of a node: a string's own characters (no quotes), a number or literal as written, an
  // object or array as compact text, "" for null.
  static std::string toString(JNIJSONHandle node);

  JNIJSONHandle getTop() const { return &value_; }
  // The member `key` of an object node, or null.
  static JNIJSONHandle get(JNIJSONHandle node, std::string_view key);
  static std::string getChildAsString(JNIJSONHandle node, std::string_view key);
  // Keys of an object node in ascending byte order; empty for anything else.
  static std::set<std::string> keySet(JNIJSONHandle node);

  const JNIJSONValue& value() const { return value_; }

 private:
  JNIJSONValue value_;
  bool good_ = true;
};

class JNIJSONArray {
 public:
  JNIJSONArray(); // an empty array
  // Parses `text`. When it is not a JSON array, isGood() is false and the array starts empty.
  explicit JNIJSONArray(std::string_view text);

  bool isGood() const { return good_; }

  void add(const JNIJSONObject& value);
  void add(const JNIJSONArray& value);
  void add(const std::string& value);
  void add(const char* value);
  void add(int value);
  void add(std::int64_t value);
  void add(double value);

  std::string serialize() const; // compact, as JNIJSONObject::toString()
  std::size_t size() const { return value_.size(); }
  // Length of an array node; 0 for anything else.
  static std::size_t size(JNIJSONHandle node);
  // Element of an array node, or null when out of range or not an array.
  static JNIJSONHandle get(JNIJSONHandle node, std::size_t index);

  JNIJSONHandle getTop() const { return &value_; }
  const JNIJSONValue& value() const { return value_; }

 private:
  JNIJSONValue value_;
  bool good_ = true;
};

struct JNIJSONInteger {
  // An integral number (3.0 counts); 0 for anything else or out of range.
  static int intValue(JNIJSONHandle node);
  static std::int64_t longValue(JNIJSONHandle node);
};

struct JNIJSONDouble {
  // Any number; 0.0 for anything else.
  static double doubleValue(JNIJSONHandle node);
};

struct JNIJSONArtifact {
  static bool isString(JNIJSONHandle node);
};

struct JNIAslAccessor {
  static JNIJSONHandle getObject(const JNIJSONObject& object) { return object.getTop(); }
  // A string node's characters; other nodes as JNIJSONObject::toString(node).
  static std::string getString(JNIJSONHandle node);
};
