// Memory streams for the tests: what a routine writes as a byte vector, and a stream over given
// bytes. Bytes are written as hex, blanks between them ignored.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "rpc/xdr.h"

namespace kvrpc::test {

using bytes = std::vector<char>;

inline bytes hex(const std::string& text) {
  bytes result;
  std::string digits;
  for (char c : text) {
    if (c == ' ') continue;
    digits += c;
    if (digits.size() < 2) continue;
    result.push_back(static_cast<char>(std::stoi(digits, nullptr, 16)));
    digits.clear();
  }
  return result;
}

inline bytes of(const std::string& text) { return bytes(text.begin(), text.end()); }

// A memory stream that owns its bytes.
class memory_stream {
 public:
  memory_stream(bytes content, xdr_op op) : content_(std::move(content)) {
    xdrmem_create(&xdrs, content_.data(), static_cast<std::uint32_t>(content_.size()), op);
  }
  memory_stream(const memory_stream&) = delete;
  memory_stream& operator=(const memory_stream&) = delete;

  bytes written() const { return bytes(xdrs.x_base, xdrs.x_private); }

  XDR xdrs{};

 private:
  bytes content_;
};

struct decoding : memory_stream {
  explicit decoding(const std::string& hex_text) : memory_stream(hex(hex_text), XDR_DECODE) {}
  explicit decoding(bytes content) : memory_stream(std::move(content), XDR_DECODE) {}
};

struct encoding : memory_stream {
  explicit encoding(std::size_t room = 1024) : memory_stream(bytes(room, '\x55'), XDR_ENCODE) {}
};

// Returns what `routine` writes for the object, or no bytes if it fails.
template <class Object>
bytes encoded(xdrproc_t routine, Object object) {
  encoding stream;
  if (routine(&stream.xdrs, &object, LASTUNSIGNED) != TRUE) return {};
  return stream.written();
}

// A stream without operations: touching it ends the test program.
inline XDR untouchable(xdr_op op) {
  XDR xdrs{};
  xdrs.x_op = op;
  return xdrs;
}

constexpr auto no_such_op = static_cast<xdr_op>(3);

}  // namespace kvrpc::test
