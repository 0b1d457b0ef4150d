// Eight bytes of text as one integer: the first byte is the lowest on every platform.
#pragma once

#include <cstdint>
#include <cstring>

namespace kvrpc {

// Returns the word with its bytes in little-endian order, or back again.
constexpr std::uint64_t little_endian(std::uint64_t word) {
  return __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ ? word : __builtin_bswap64(word);
}

inline std::uint64_t load_word(const char* bytes) {
  std::uint64_t word;
  std::memcpy(&word, bytes, sizeof word);
  return little_endian(word);
}

inline void store_word(char* place, std::uint64_t word) {
  word = little_endian(word);
  std::memcpy(place, &word, sizeof word);
}

}  // namespace kvrpc
