// Texts that stand on the wire with one unit of 4 bytes for each char: their bytes, several at
// once.
#pragma once

#include <cstdint>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include "bridge/json_forms.h"

namespace kvrpc {

#ifdef __SSE2__

// The low byte of each of 8 units, in the low bytes of 8 half words.
inline __m128i low_bytes_of_8(const char* wire) {
  const auto* const units = reinterpret_cast<const __m128i*>(wire);
  return _mm_packs_epi32(_mm_srli_epi32(_mm_loadu_si128(units), 24),
                         _mm_srli_epi32(_mm_loadu_si128(units + 1), 24));
}

inline __m128i load_16_chars(const char* wire) {
  return _mm_packus_epi16(low_bytes_of_8(wire), low_bytes_of_8(wire + 32));
}

inline void unpack_8_chars(const char* wire, char* chars) {
  const __m128i bytes = _mm_packus_epi16(low_bytes_of_8(wire), _mm_setzero_si128());
  _mm_storel_epi64(reinterpret_cast<__m128i*>(chars), bytes);
}

inline void unpack_16_chars(const char* wire, char* chars) {
  _mm_storeu_si128(reinterpret_cast<__m128i*>(chars), load_16_chars(wire));
}

constexpr std::uint32_t chars_at_once = 16;

// Copies so many chars and returns how many of them, from the first on, stand for themselves in a
// JSON string (see plain_bytes).
inline std::uint32_t copy_plain_chars(const char* wire, char* place) {
  const __m128i chars = load_16_chars(wire);
  _mm_storeu_si128(reinterpret_cast<__m128i*>(place), chars);
  const __m128i special = _mm_or_si128(
      _mm_cmplt_epi8(chars, _mm_set1_epi8(0x20)),  // and those above 0x7F, which count as negative
      _mm_or_si128(_mm_cmpeq_epi8(chars, _mm_set1_epi8('"')),
                   _mm_cmpeq_epi8(chars, _mm_set1_epi8('\\'))));
  const auto mask = static_cast<std::uint32_t>(_mm_movemask_epi8(special));
  return static_cast<std::uint32_t>(__builtin_ctz(mask | 1u << chars_at_once));
}

#else

inline void unpack_8_chars(const char* wire, char* chars) {
  for (std::uint32_t i = 0; i < 8; ++i) chars[i] = wire[4 * i + 3];
}

inline void unpack_16_chars(const char* wire, char* chars) {
  unpack_8_chars(wire, chars);
  unpack_8_chars(wire + 32, chars + 8);
}

constexpr std::uint32_t chars_at_once = 8;

inline std::uint32_t copy_plain_chars(const char* wire, char* place) {
  unpack_8_chars(wire, place);
  return plain_bytes(load_word(place));
}

#endif

// The same of one char.
inline std::uint32_t copy_plain_char(const char* wire, char* place) {
  *place = wire[3];
  const auto byte = static_cast<unsigned char>(*place);
  return byte >= 0x20 && byte < 0x80 && byte != '"' && byte != '\\' ? 1 : 0;
}

}  // namespace kvrpc
