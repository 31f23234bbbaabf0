// This file contains the decoding of data files that are not UTF-8.
#include "host/data/text_encoding.h"

#include <iconv.h>

#include <cerrno>
#include <cstdint>

#include "host/data/dataset.h"

namespace host {
namespace {

// An iconv descriptor that closes itself.
class Converter {
 public:
  explicit Converter(const std::string& from) : handle_(iconv_open("UTF-8", from.c_str())) {}
  ~Converter() {
    if (ok()) iconv_close(handle_);
  }
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;
  bool ok() const { return handle_ != reinterpret_cast<iconv_t>(static_cast<std::intptr_t>(-1)); }
  iconv_t get() const { return handle_; }

 private:
  iconv_t handle_;
};

}  // namespace

std::string Latin1ToUtf8(std::string_view bytes) {
  std::string text;
  text.reserve(bytes.size() + bytes.size() / 4);
  for (char c : bytes) {
    const auto code = static_cast<unsigned char>(c);
    if (code < 0x80) {
      text += c;
    } else {
      text += static_cast<char>(0xC0 | (code >> 6));
      text += static_cast<char>(0x80 | (code & 0x3F));
    }
  }
  return text;
}

bool IsUtf8Name(std::string_view encoding) {
  const std::string upper = UpperName(encoding);
  return upper == "UTF-8" || upper == "UTF8";
}

bool IsKnownEncoding(const std::string& encoding) {
  return !encoding.empty() && Converter(encoding).ok();
}

std::optional<std::string> DecodeToUtf8(std::string_view bytes, const std::string& encoding,
                                        std::size_t& bad_offset) {
  bad_offset = 0;
  Converter converter(encoding);
  if (!converter.ok()) return std::nullopt;
  std::string out;
  std::string chunk(65536, '\0');
  // iconv takes non-const input; the bytes are not changed.
  char* in = const_cast<char*>(bytes.data());
  std::size_t in_left = bytes.size();
  while (in_left > 0) {
    char* next = chunk.data();
    std::size_t out_left = chunk.size();
    const std::size_t done = iconv(converter.get(), &in, &in_left, &next, &out_left);
    out.append(chunk.data(), chunk.size() - out_left);
    if (done == static_cast<std::size_t>(-1) && errno != E2BIG) {
      bad_offset = static_cast<std::size_t>(in - bytes.data());
      return std::nullopt;
    }
  }
  // Stateful encodings may have a shift sequence to close.
  char* next = chunk.data();
  std::size_t out_left = chunk.size();
  iconv(converter.get(), nullptr, nullptr, &next, &out_left);
  out.append(chunk.data(), chunk.size() - out_left);
  return out;
}

}  // namespace host
