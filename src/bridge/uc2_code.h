// The two tables of uc2.h and the steps of one character, for the sources of uc2 and json_forms.h.
//
// Arguments are never null here, so no step can fail: uc2.cpp adds the null checks of the
// interface, and uc2_text.cpp loops over these steps.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/utf8.h"
#include "bridge/uc2.h"

namespace kvrpc::uc2 {

// Units by byte: ISO 8859-15.
struct unit_table {
  std::uint16_t unit[256];
};
constexpr unit_table make_units() {
  unit_table table{};
  for (int byte = 0; byte < 256; ++byte) table.unit[byte] = static_cast<std::uint16_t>(byte);
  table.unit[0xA4] = 0x20AC;
  table.unit[0xA6] = 0x0160;
  table.unit[0xA8] = 0x0161;
  table.unit[0xB4] = 0x017D;
  table.unit[0xB8] = 0x017E;
  table.unit[0xBC] = 0x0152;
  table.unit[0xBD] = 0x0153;
  table.unit[0xBE] = 0x0178;
  return table;
}
inline constexpr unit_table units = make_units();

// Bytes by unit, in two levels: page[unit >> 8] selects 256 bytes, and 0 there means that the unit
// has no byte. Nearly all pages are empty and share the first one, so the table takes 2.5 kB
// instead of 64 KiB.
constexpr std::size_t byte_pages = 9;
struct byte_table {
  std::uint8_t page[256];
  std::uint8_t byte[byte_pages][256];
};
extern const byte_table bytes;

constexpr char as_char(std::uint32_t byte) {
  return static_cast<char>(static_cast<unsigned char>(byte));
}

// Writes the UTF-8 sequence of a value. Returns its size, or the negative result of uc2_to_utf8.
constexpr int encode_utf8(std::uint32_t value, char* out) {
  if (value >= 0xD800 && value <= 0xDFFF) return -2;
  if (value == 0xFFFF || value >= 0x10FFFF) return -1;
  return static_cast<int>(write_utf8(out, value) - out);
}

// A byte of the record's code, and in `mod` an iso_modifier.
struct iso_char {
  char byte;
  int mod;
};

// Returns true for the two units that are not characters of a text and are dropped.
constexpr bool vanishes(std::uint16_t unit) { return unit == 0x080C || unit == 0xFEFF; }

inline iso_char to_iso(std::uint16_t unit) {
  const std::uint8_t byte = bytes.byte[bytes.page[unit >> 8]][unit & 0xFF];
  const int mod = byte != 0 ? iso_good : vanishes(unit) ? iso_vanish : iso_no_byte;
  return {static_cast<char>(byte), mod};
}

constexpr std::uint16_t to_uc2(char iso) { return units.unit[static_cast<unsigned char>(iso)]; }

// Writes the UTF-8 form of a byte of the record's code, at most 3 bytes. Returns its size.
constexpr std::uint8_t encode_iso(char iso, char* out) {
  return static_cast<std::uint8_t>(encode_utf8(to_uc2(iso), out));
}

// What was read at a position of a UTF-8 text.
struct utf8_char {
  bool good;  // false for a bad sequence, whose unit is U+FFFD
  std::uint16_t unit;
  std::uint8_t size;  // bytes consumed, at least 1
};

inline iso_char to_iso(const utf8_char& read) {
  return read.good ? to_iso(read.unit) : iso_char{'\0', iso_bad_utf8};
}

// Reads the sequence at `text`. Reads a second or third byte only after the one before it was not
// the NUL.
utf8_char read_utf8(const char* text);

}  // namespace kvrpc::uc2
