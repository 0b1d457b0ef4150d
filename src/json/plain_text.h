// The search for the bytes that a JSON string cannot hold as they are: '"', '\' and the bytes
// below 0x20. Reading and writing strings both copy the stretch before the next of these at once;
// the search takes eight bytes a step and reads nothing at or behind `end`.
#pragma once

#include <cstdint>
#include <cstring>

namespace kvrpc {

inline bool json_is_plain(char byte) {
  return byte != '"' && byte != '\\' && static_cast<unsigned char>(byte) >= 0x20;
}

// Whether all eight bytes of `word` are plain.
inline bool json_all_plain(std::uint64_t word) {
  constexpr std::uint64_t each = 0x0101010101010101;
  const std::uint64_t quote = word ^ (each * '"');
  const std::uint64_t backslash = word ^ (each * '\\');
  const std::uint64_t hits = ((word - each * 0x20) & ~word) | ((quote - each) & ~quote) |
                             ((backslash - each) & ~backslash);
  return (hits & (each * 0x80)) == 0;
}

// The first byte from `at` that is not plain, or `end`.
inline const char* json_plain_end(const char* at, const char* end) {
  for (std::uint64_t word; end - at >= 8; at += 8) {
    std::memcpy(&word, at, sizeof word);
    if (!json_all_plain(word)) break;
  }
  while (at < end && json_is_plain(*at)) ++at;
  return at;
}

}  // namespace kvrpc
