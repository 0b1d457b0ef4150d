// The search for the bytes of a text that a conversion cannot copy as they are. All bytes before
// the first of these are copied at once, 16 at a time with SSE2 and eight without it.
//
// A plain_set is a set of bytes that are copied as they are. Each conversion has its own:
//
//   json_plain    the bytes of a JSON string: not '"', '\' or a byte below 0x20
//   ascii_plain   the same, but only ASCII, for text that becomes UTF-8
//   iso_plain     the ASCII characters that have the same byte in the ISO code of bridge/uc2.h
#pragma once

#include <cstddef>
#include <cstdint>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include "base/words.h"

namespace kvrpc {

// So many bytes as are inspected at once.
#ifdef __SSE2__

using byte_block = __m128i;
constexpr std::size_t block_size = 16;

inline byte_block load_block(const char* bytes) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
}
inline void store_block(char* place, byte_block block) {
  _mm_storeu_si128(reinterpret_cast<__m128i*>(place), block);
}

#else

using byte_block = std::uint64_t;
constexpr std::size_t block_size = 8;

inline byte_block load_block(const char* bytes) { return load_word(bytes); }
inline void store_block(char* place, byte_block block) { store_word(place, block); }

#endif

// All bytes from 0x20 on, except two of them, and except those above 0x7F if `ascii_only`.
template <char not_this, char not_that, bool ascii_only>
struct plain_set {
  static bool contains(char byte) {
    const auto value = static_cast<unsigned char>(byte);
    return value >= 0x20 && byte != not_this && byte != not_that && (!ascii_only || value < 0x80);
  }

  // Return how many bytes, from the first (in a word, the lowest) on, are in the set.
  static std::uint32_t count(std::uint64_t word) {
    const std::uint64_t special = special_bits(word);
    return special == 0 ? 8 : static_cast<std::uint32_t>(__builtin_ctzll(special)) / 8;
  }
#ifdef __SSE2__
  static std::uint32_t count(__m128i block) {
    const auto bits = static_cast<std::uint32_t>(_mm_movemask_epi8(special_bytes(block)));
    return static_cast<std::uint32_t>(__builtin_ctz(bits | 1u << block_size));
  }
#endif

  // Returns the first byte from `at` on that is not in the set, or `end`. Reads nothing at or after
  // `end`.
  static const char* find_end(const char* at, const char* end) {
    return walk(at, end, [](std::ptrdiff_t, auto) {});
  }
  // The same, and copies the bytes before it to `place`. Writes up to end - at bytes there.
  static const char* copy(char* place, const char* at, const char* end) {
    return walk(at, end,
                [place](std::ptrdiff_t offset, auto bytes) { put(place + offset, bytes); });
  }

 private:
  // Returns a word with the top bit set in the lowest byte that is not in the set. The subtractions
  // set it in each byte that is too small, and a borrow makes only higher bytes wrong.
  static std::uint64_t special_bits(std::uint64_t word) {
    constexpr std::uint64_t each = 0x0101010101010101u;
    const std::uint64_t first = word ^ each * static_cast<unsigned char>(not_this);
    const std::uint64_t second = word ^ each * static_cast<unsigned char>(not_that);
    const std::uint64_t hits = ((word - each * 0x20) & ~word) | ((first - each) & ~first) |
                               ((second - each) & ~second) | (ascii_only ? word : 0);
    return hits & each * 0x80;
  }
#ifdef __SSE2__
  // These three set the top bit of each byte that is not in the set: the first because it is below
  // 0x20, or above 0x7F if `ascii_only`; the second because it is one of the two; the third for
  // either reason. The other bits mean nothing. For ASCII sets a signed subtraction does both
  // comparisons, because a byte above 0x7F is negative.
  static __m128i out_of_range(__m128i block) {
    return ascii_only ? _mm_subs_epi8(block, _mm_set1_epi8(0x20))
                      : _mm_cmpeq_epi8(_mm_min_epu8(block, _mm_set1_epi8(0x1F)), block);
  }
  static __m128i one_of_two(__m128i block) {
    return _mm_or_si128(_mm_cmpeq_epi8(block, _mm_set1_epi8(not_this)),
                        _mm_cmpeq_epi8(block, _mm_set1_epi8(not_that)));
  }
  static __m128i special_bytes(__m128i block) {
    return _mm_or_si128(out_of_range(block), one_of_two(block));
  }

  // Returns true if any byte of the four blocks is not in the set. If bytes above 0x7F are plain,
  // only the least byte at each position is compared with 0x20. ASCII sets compare all bytes,
  // because SSE2 has no signed minimum.
  static bool any_special(__m128i a, __m128i b, __m128i c, __m128i d) {
    const __m128i range = ascii_only
                              ? _mm_or_si128(_mm_or_si128(out_of_range(a), out_of_range(b)),
                                             _mm_or_si128(out_of_range(c), out_of_range(d)))
                              : out_of_range(_mm_min_epu8(_mm_min_epu8(a, b), _mm_min_epu8(c, d)));
    const __m128i two = _mm_or_si128(_mm_or_si128(one_of_two(a), one_of_two(b)),
                                     _mm_or_si128(one_of_two(c), one_of_two(d)));
    return _mm_movemask_epi8(_mm_or_si128(range, two)) != 0;
  }
#endif

  static void put(char* place, char byte) { *place = byte; }
  static void put(char* place, std::uint64_t word) { store_word(place, word); }
#ifdef __SSE2__
  static void put(char* place, __m128i block) { store_block(place, block); }
#endif

  // Passes the bytes from `at` on to `visit`, with their offset: blocks, then words, then bytes.
  template <class Visit>
  static const char* walk(const char* at, const char* end, Visit visit) {
    const char* const start = at;
#ifdef __SSE2__
    // Four blocks with one branch: a loop of single blocks is half as fast on a long text.
    for (; end - at >= 64; at += 64) {
      const __m128i a = load_block(at);
      const __m128i b = load_block(at + 16);
      const __m128i c = load_block(at + 32);
      const __m128i d = load_block(at + 48);
      visit(at - start, a);
      visit(at - start + 16, b);
      visit(at - start + 32, c);
      visit(at - start + 48, d);
      if (any_special(a, b, c, d)) break;
    }
    for (; end - at >= 16; at += 16) {
      const __m128i block = load_block(at);
      visit(at - start, block);
      const std::uint32_t plain = count(block);
      if (plain < 16) return at + plain;
    }
#endif
    for (; end - at >= 8; at += 8) {
      const std::uint64_t word = load_word(at);
      visit(at - start, word);
      const std::uint32_t plain = count(word);
      if (plain < 8) return at + plain;
    }
    for (; at < end && contains(*at); ++at) visit(at - start, *at);
    return at;
  }
};

using json_plain = plain_set<'"', '\\', false>;
using ascii_plain = plain_set<'"', '\\', true>;
using iso_plain = plain_set<'\'', '`', true>;

}  // namespace kvrpc
