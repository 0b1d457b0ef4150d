// The two tables of uc2.h and the steps of one character, for the sources of uc2 alone.
//
// Arguments are never null here, so no step can fail: uc2.cpp adds the null checks of the
// interface, and uc2_text.cpp loops over these steps.
#pragma once

#include <cstddef>
#include <cstdint>

#include "bridge/uc2.h"

namespace kvrpc::uc2 {

// Units by byte: ISO 8859-15.
struct unit_table {
  std::uint16_t unit[256];
};
extern const unit_table units;

// Bytes by unit, in two levels: page[unit >> 8] selects 256 bytes, and 0 there means that the unit
// has no byte. Nearly all pages are empty and share the first one, so the table takes 2.5 kB
// instead of 64 KiB.
constexpr std::size_t byte_pages = 9;
struct byte_table {
  std::uint8_t page[256];
  std::uint8_t byte[byte_pages][256];
};
extern const byte_table bytes;

// A byte of the record's code and what accompanies it, an iso_modifier.
struct iso_char {
  char byte;
  int mod;
};

// These two units are no characters of a text and vanish.
constexpr bool vanishes(std::uint16_t unit) { return unit == 0x080C || unit == 0xFEFF; }

inline iso_char to_iso(std::uint16_t unit) {
  const std::uint8_t byte = bytes.byte[bytes.page[unit >> 8]][unit & 0xFF];
  const int mod = byte != 0 ? iso_good : vanishes(unit) ? iso_vanish : iso_no_byte;
  return {static_cast<char>(byte), mod};
}

inline std::uint16_t to_uc2(char iso) { return units.unit[static_cast<unsigned char>(iso)]; }

// What was read at a position of a UTF-8 text.
struct utf8_char {
  bool good;  // false for a bad sequence, whose unit is U+FFFD
  std::uint16_t unit;
  std::uint8_t size;  // bytes consumed, at least 1
};

// Reads the sequence at `text`. Reads a second or third byte only after the one before it was not
// the NUL.
utf8_char read_utf8(const char* text);

}  // namespace kvrpc::uc2
