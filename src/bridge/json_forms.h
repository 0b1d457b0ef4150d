// How the bytes of the record's ISO code stand inside a JSON string: eight of them looked at at a
// time, and the text that stands for each byte that is not plain.
#pragma once

#include <cstdint>
#include <cstring>

namespace kvrpc {

// The bytes that stand for one ISO byte inside a JSON string; a size of 0 drops it.
struct json_form {
  char bytes[3];
  std::uint8_t size;
};

// One form for each of the 256 bytes.
const json_form* json_forms();

// Writes a form, and up to 3 bytes of no meaning behind it; the place behind the form.
inline char* write_form(char* place, const json_form& form) {
  std::memcpy(place, form.bytes, sizeof form.bytes);
  return place + form.size;
}

// Returns the word with its bytes in little-endian order, or back again.
constexpr std::uint64_t little_endian(std::uint64_t word) {
  return __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ ? word : __builtin_bswap64(word);
}

// Loads eight bytes, the first one as the lowest of the word on every platform.
inline std::uint64_t load_word(const char* bytes) {
  std::uint64_t word;
  std::memcpy(&word, bytes, sizeof word);
  return little_endian(word);
}

inline void store_word(char* place, std::uint64_t word) {
  word = little_endian(word);
  std::memcpy(place, &word, sizeof word);
}

// How many of a word's bytes, from the lowest on, stand for themselves: neither below 0x20, nor a
// quote, a backslash or above 0x7F.
inline std::uint32_t plain_bytes(std::uint64_t word) {
  constexpr std::uint64_t ones = 0x0101010101010101u;
  const std::uint64_t quote = word ^ ones * '"';
  const std::uint64_t backslash = word ^ ones * '\\';
  const std::uint64_t special =
      ((word - ones * 0x20) | (quote - ones) | (backslash - ones) | word) & ones * 0x80;
  return special == 0 ? 8 : static_cast<std::uint32_t>(__builtin_ctzll(special)) / 8;
}

}  // namespace kvrpc
