// The search for the bytes that a JSON string cannot hold as they are: '"', '\' and the bytes below
// 0x20. Parsing and printing a string both copy all bytes before the next of these at once.
//
// The search inspects 16 bytes a step with SSE2, and eight without it and near the end.
#pragma once

#include <cstdint>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace kvrpc {

inline bool json_is_plain(char byte) {
  return byte != '"' && byte != '\\' && static_cast<unsigned char>(byte) >= 0x20;
}

// Returns true if all eight bytes of `word` are plain.
inline bool json_all_plain(std::uint64_t word) {
  constexpr std::uint64_t each = 0x0101010101010101;
  const std::uint64_t quote = word ^ (each * '"');
  const std::uint64_t backslash = word ^ (each * '\\');
  const std::uint64_t hits = ((word - each * 0x20) & ~word) | ((quote - each) & ~quote) |
                             ((backslash - each) & ~backslash);
  return (hits & (each * 0x80)) == 0;
}

// Returns the first byte from `at` on that is not plain, or `end`. Inspects eight bytes a step and
// reads nothing at or after `end`.
inline const char* json_plain_end_by_words(const char* at, const char* end) {
  for (std::uint64_t word; end - at >= 8; at += 8) {
    std::memcpy(&word, at, sizeof word);
    if (!json_all_plain(word)) break;
  }
  while (at < end && json_is_plain(*at)) ++at;
  return at;
}

#ifdef __SSE2__

constexpr int json_block_size = 16;

// Returns a bit for each of the 16 bytes at `at`: 1 if the byte is not plain. The lowest bit is the
// first byte's.
inline std::uint32_t json_special_bits(const char* at) {
  const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
  const __m128i quotes = _mm_cmpeq_epi8(bytes, _mm_set1_epi8('"'));
  const __m128i backslashes = _mm_cmpeq_epi8(bytes, _mm_set1_epi8('\\'));
  // There is no unsigned comparison: a byte is below 0x20 if it is the minimum of itself and 0x1F.
  const __m128i controls = _mm_cmpeq_epi8(_mm_min_epu8(bytes, _mm_set1_epi8(0x1F)), bytes);
  return static_cast<std::uint32_t>(
      _mm_movemask_epi8(_mm_or_si128(controls, _mm_or_si128(quotes, backslashes))));
}

// Does the same as json_plain_end_by_words, but inspects 16 bytes a step.
inline const char* json_plain_end(const char* at, const char* end) {
  for (; end - at >= json_block_size; at += json_block_size) {
    const std::uint32_t special = json_special_bits(at);
    if (special != 0) return at + __builtin_ctz(special);
  }
  return json_plain_end_by_words(at, end);
}

#else

inline const char* json_plain_end(const char* at, const char* end) {
  return json_plain_end_by_words(at, end);
}

#endif

}  // namespace kvrpc
