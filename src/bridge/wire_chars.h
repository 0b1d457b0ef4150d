// Texts that have one unit of 4 bytes on the wire for each char: copies the chars, several at once,
// up to the first that is not plain in a JSON string (see plain_bytes).
#pragma once

#include <cstdint>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include "bridge/json_forms.h"

namespace kvrpc {

// copy_plain_chars() reads chars_at_once units and writes as many chars. It returns how many of
// them, from the first on, are plain.

#ifdef __SSE2__

constexpr std::uint32_t chars_at_once = 16;

// Returns the chars of 8 units, each in 2 bytes.
inline __m128i chars_of_8_units(const char* wire) {
  const auto* const units = reinterpret_cast<const __m128i*>(wire);
  return _mm_packs_epi32(_mm_srli_epi32(_mm_loadu_si128(units), 24),
                         _mm_srli_epi32(_mm_loadu_si128(units + 1), 24));
}

inline std::uint32_t copy_plain_chars(const char* wire, char* place) {
  const __m128i chars = _mm_packus_epi16(chars_of_8_units(wire), chars_of_8_units(wire + 32));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(place), chars);
  const __m128i special = _mm_or_si128(
      _mm_cmplt_epi8(chars, _mm_set1_epi8(0x20)),  // bytes above 0x7F compare as negative
      _mm_or_si128(_mm_cmpeq_epi8(chars, _mm_set1_epi8('"')),
                   _mm_cmpeq_epi8(chars, _mm_set1_epi8('\\'))));
  const auto mask = static_cast<std::uint32_t>(_mm_movemask_epi8(special));
  return static_cast<std::uint32_t>(__builtin_ctz(mask | 1u << chars_at_once));
}

#else

constexpr std::uint32_t chars_at_once = 8;

inline std::uint32_t copy_plain_chars(const char* wire, char* place) {
  for (std::uint32_t i = 0; i < chars_at_once; ++i) place[i] = wire[4 * i + 3];
  return plain_bytes(load_word(place));
}

#endif

// Reads one unit and writes its char. Returns 1 if it is plain, 0 if not.
inline std::uint32_t copy_plain_char(const char* wire, char* place) {
  *place = wire[3];
  const auto byte = static_cast<unsigned char>(*place);
  return byte >= 0x20 && byte < 0x80 && byte != '"' && byte != '\\' ? 1 : 0;
}

}  // namespace kvrpc
