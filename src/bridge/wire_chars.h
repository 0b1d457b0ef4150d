// Texts that have one unit of 4 bytes on the wire for each char: copies the chars, a block at once,
// up to the first that is not plain in a JSON string.
#pragma once

#include <cstdint>

#include "base/plain_bytes.h"

namespace kvrpc {

constexpr std::uint32_t chars_at_once = block_size;

#ifdef __SSE2__

// Returns the chars of 8 units, each in 2 bytes.
inline __m128i chars_of_8_units(const char* wire) {
  return _mm_packs_epi32(_mm_srli_epi32(load_block(wire), 24),
                         _mm_srli_epi32(load_block(wire + 16), 24));
}

inline byte_block chars_of_units(const char* wire) {
  return _mm_packus_epi16(chars_of_8_units(wire), chars_of_8_units(wire + 32));
}

#else

inline byte_block chars_of_units(const char* wire) {
  char chars[chars_at_once];
  for (std::uint32_t i = 0; i < chars_at_once; ++i) chars[i] = wire[4 * i + 3];
  return load_block(chars);
}

#endif

// Reads chars_at_once units and writes as many chars. Returns how many of them, from the first on,
// are plain.
inline std::uint32_t copy_plain_chars(const char* wire, char* place) {
  const byte_block chars = chars_of_units(wire);
  store_block(place, chars);
  return ascii_plain::count(chars);
}

}  // namespace kvrpc
