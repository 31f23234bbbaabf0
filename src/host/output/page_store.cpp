// This file contains the page store: distinct texts, compressed and written as base64.
#include "host/output/page_store.h"

#include <zlib.h>

#include <nlohmann/json.hpp>

namespace host {

std::size_t PageStore::Add(const std::string& text) {
  const auto [at, added] = numbers_.emplace(text, texts_.size());
  if (added) texts_.push_back(&at->first);
  return at->second;
}

std::string PageStore::Html() const {
  if (texts_.empty()) return {};
  nlohmann::json list = nlohmann::json::array();
  for (const std::string* text : texts_) list.push_back(*text);
  const std::string plain = list.dump();
  uLongf size = compressBound(static_cast<uLong>(plain.size()));
  std::string packed(size, '\0');
  // Only an allocation failure stops zlib here; the page then has no store and its figures keep
  // their static pictures.
  if (compress2(reinterpret_cast<Bytef*>(packed.data()), &size, reinterpret_cast<const Bytef*>(plain.data()),
                static_cast<uLong>(plain.size()), Z_BEST_COMPRESSION) != Z_OK) {
    return {};
  }
  packed.resize(size);
  static const char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string base64;
  base64.reserve((packed.size() + 2) / 3 * 4);
  for (std::size_t i = 0; i < packed.size(); i += 3) {
    const std::size_t left = packed.size() - i;
    const unsigned bits = static_cast<unsigned>(static_cast<unsigned char>(packed[i])) << 16 |
                          (left > 1 ? static_cast<unsigned>(static_cast<unsigned char>(packed[i + 1])) << 8 : 0u) |
                          (left > 2 ? static_cast<unsigned>(static_cast<unsigned char>(packed[i + 2])) : 0u);
    for (std::size_t k = 0; k < 4; ++k) base64 += k <= left ? kDigits[(bits >> (18 - 6 * k)) & 63] : '=';
  }
  return "<script type=\"application/octet-stream\" id=\"page-store\">" + base64 + "</script>";
}

}  // namespace host
