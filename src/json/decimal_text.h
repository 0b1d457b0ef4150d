// Decimal digits of 32-bit numbers, several at a time: three from a table, eight in one word.
#pragma once

#include <cstdint>
#include <cstring>

#include "base/words.h"

namespace kvrpc {

// The texts of 0 to 999. Numbers of the interface are mostly small, so most of them are one copy of
// four bytes.
struct short_number {
  char digits[3];
  std::uint8_t size;
};
constexpr std::uint32_t short_number_count = 1000;
struct short_numbers {
  short_number of[short_number_count];
};
constexpr short_numbers make_short_numbers() {
  short_numbers table{};
  for (std::uint32_t n = 0; n < short_number_count; ++n) {
    short_number& number = table.of[n];
    for (std::uint32_t power = n < 10 ? 1 : n < 100 ? 10 : 100; power > 0; power /= 10) {
      number.digits[number.size++] = static_cast<char>('0' + n / power % 10);
    }
  }
  return table;
}
inline constexpr short_numbers short_number_table = make_short_numbers();

// Writes a number below short_number_count. Returns the position after it. Touches 4 bytes.
inline char* write_short_number(char* place, std::uint32_t value) {
  const short_number& number = short_number_table.of[value];
  std::memcpy(place, &number, sizeof number);
  return place + number.size;
}

// Returns the eight digits of a number below 10^8, one a byte, the first in the lowest byte. Each
// step halves the groups: two of four digits, four of two, eight of one. A multiplication and a
// shift replace each division. For example, n * 10486 >> 20 is n / 100 for every n below 10,000.
inline std::uint64_t eight_digits(std::uint32_t value) {
  const std::uint64_t fours = value / 10000 | std::uint64_t{value % 10000} << 32;
  const std::uint64_t hundreds = (fours * 10486 >> 20) & 0x0000007F0000007Full;
  const std::uint64_t twos = hundreds | (fours - hundreds * 100) << 16;
  const std::uint64_t tens = (twos * 103 >> 10) & 0x000F000F000F000Full;
  return tens | (twos - tens * 10) << 8;
}

// Writes a number that is not 0. Returns the position after it.
inline char* write_long_number(char* place, std::uint32_t value) {
  constexpr std::uint64_t zeros = 0x3030303030303030ull;
  constexpr std::uint32_t eight = 100000000;
  std::uint64_t digits;
  int leading = 0;
  if (value < eight) {
    digits = eight_digits(value);
    leading = __builtin_ctzll(digits) & ~7;
  } else {
    place = write_short_number(place, value / eight);
    digits = eight_digits(value % eight);
  }
  store_word(place, (digits | zeros) >> leading);
  return place + 8 - leading / 8;
}

// Writes the digits of a number. Returns the position after them.
inline char* write_decimal(char* place, std::uint32_t value) {
  return value < short_number_count ? write_short_number(place, value)
                                    : write_long_number(place, value);
}

inline char* write_decimal(char* place, std::int32_t value) {
  const auto bits = static_cast<std::uint32_t>(value);
  if (bits < short_number_count) return write_short_number(place, bits);
  if (value >= 0) return write_long_number(place, bits);
  *place = '-';
  return write_decimal(place + 1, 0 - bits);
}

// The most bytes that write_decimal touches: a sign, two digits and a word of eight. A short number
// touches fewer.
constexpr std::uint32_t decimal_room = 1 + 2 + sizeof(std::uint64_t);

}  // namespace kvrpc
