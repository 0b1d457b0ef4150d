// The tables of uc2, and the conversions of one character with their null checks.
#include "bridge/uc2.h"

#include <initializer_list>

#include "bridge/uc2_code.h"

namespace kvrpc {
namespace uc2 {

// ---- the tables

namespace {

struct unit_byte {
  std::uint16_t unit;
  std::uint8_t byte;
};

// The server's own bytes for characters that ISO 8859-15 has elsewhere or lacks.
constexpr unit_byte private_and_folded[] = {
    {0x0060, 0x80}, {0x02C6, 0x81}, {0x02DC, 0x82}, {0x0131, 0x83}, {0x0192, 0x84}, {0x201C, 0x85},
    {0x201D, 0x86}, {0x2039, 0x87}, {0x203A, 0x88}, {0xFB01, 0x89}, {0xFB02, 0x8A}, {0x2020, 0x8B},
    {0x2021, 0x8C}, {0x2013, 0x8D}, {0x2022, 0x8E}, {0x02D8, 0x8F}, {0x201E, 0x90}, {0x2026, 0x91},
    {0x2030, 0x92}, {0x2122, 0x93}, {0x2018, 0x60}, {0x2019, 0x27}, {0x2212, 0x2D}, {0x2215, 0x2F},
    {0x2219, 0xB7}, {0x02C9, 0xAF}, {0x03BC, 0xB5}, {0x0110, 0xD0}, {0x0189, 0xD0}, {0x2010, 0xAD},
    {0x2011, 0xAD}, {0x2000, 0x20}, {0x2001, 0x20}, {0x2002, 0x20}, {0x2003, 0x20}, {0x2004, 0x20},
    {0x2005, 0x20}, {0x2006, 0x20}, {0x2009, 0x20}, {0x200A, 0x20},
};

// Builds the byte table, giving out a page when its first byte is set. Does not compile if
// byte_pages is too small.
class byte_table_maker {
 public:
  constexpr void set(std::uint16_t unit, int byte) {
    std::uint8_t& page = table_.page[unit >> 8];
    if (page == 0) page = ++used_;
    table_.byte[page][unit & 0xFF] = static_cast<std::uint8_t>(byte);
  }
  constexpr void set_same(int first, int last) {
    for (int same = first; same <= last; ++same) set(static_cast<std::uint16_t>(same), same);
  }
  constexpr const byte_table& table() const { return table_; }

 private:
  byte_table table_{};
  std::uint8_t used_ = 0;
};

constexpr byte_table make_bytes() {
  byte_table_maker maker;
  for (int same : {0x07, 0x09, 0x0A, 0x0C, 0x0D}) maker.set_same(same, same);
  maker.set_same(0x20, 0x7F);
  maker.set_same(0xA0, 0xFF);
  for (int none : {0x27, 0xA4, 0xA6, 0xA8, 0xAC, 0xB4, 0xB8, 0xBC, 0xBD, 0xBE, 0xD8, 0xF7}) {
    maker.set(static_cast<std::uint16_t>(none), 0);
  }
  for (int byte : {0xA4, 0xA6, 0xA8, 0xB4, 0xB8, 0xBC, 0xBD, 0xBE}) {
    maker.set(units.unit[byte], byte);
  }
  for (const unit_byte& row : private_and_folded) maker.set(row.unit, row.byte);
  return maker.table();
}

// ---- UTF-8

constexpr std::uint16_t replacement_character = 0xFFFD;

constexpr int byte_at(const char* text) { return static_cast<unsigned char>(*text); }

constexpr bool is_continuation(int byte) { return byte >= 0x80 && byte <= 0xBF; }

constexpr utf8_char bad_sequence(std::uint8_t size) { return {false, replacement_character, size}; }

// Returns the character of a complete sequence of `size` bytes. The sequence is bad if its value is
// below `least`, because a shorter sequence has that value.
constexpr utf8_char whole_sequence(int value, int least, std::uint8_t size) {
  if (value < least) return bad_sequence(size);
  return {true, static_cast<std::uint16_t>(value), size};
}

}  // namespace

constexpr byte_table bytes = make_bytes();

utf8_char read_utf8(const char* text) {
  const int lead = byte_at(text);
  if (lead < 0x80) return whole_sequence(lead, 0, 1);
  if (lead < 0xC0 || lead > 0xEF) return bad_sequence(1);
  const int second = byte_at(text + 1);
  if (!is_continuation(second)) return bad_sequence(1);
  if (lead < 0xE0) return whole_sequence((lead & 0x1F) << 6 | (second & 0x3F), 0x80, 2);
  const int third = byte_at(text + 2);
  if (!is_continuation(third)) return bad_sequence(2);
  return whole_sequence((lead & 0x0F) << 12 | (second & 0x3F) << 6 | (third & 0x3F), 0x800, 3);
}

}  // namespace uc2

// ---- one character

int utf8_to_uc2(const char* text, std::size_t* index, std::uint16_t* unit) {
  if (text == nullptr || index == nullptr || unit == nullptr) return 0;
  const uc2::utf8_char read = uc2::read_utf8(text + *index);
  *unit = read.unit;
  *index += read.size;
  return read.good ? 1 : 0;
}

namespace {

int store_iso(const uc2::iso_char& from, char* iso, int* mod) {
  *iso = from.byte;
  *mod = from.mod;
  return 1;
}

}  // namespace

int uc2_to_iso(std::uint16_t unit, char* iso, int* mod) {
  return iso != nullptr && mod != nullptr ? store_iso(uc2::to_iso(unit), iso, mod) : 0;
}

int utf8_to_iso(const char* text, std::size_t* index, char* iso, int* mod) {
  if (text == nullptr || index == nullptr || iso == nullptr || mod == nullptr) return 0;
  const uc2::utf8_char read = uc2::read_utf8(text + *index);
  *index += read.size;
  return store_iso(uc2::to_iso(read), iso, mod);
}

int iso_to_uc2(char iso, std::uint16_t* unit) {
  if (unit == nullptr) return 0;
  *unit = uc2::to_uc2(iso);
  return 1;
}

int uc2_to_utf8(std::uint32_t value, char* buffer) {
  const int size = uc2::encode_utf8(value, buffer);
  if (size > 0) buffer[size] = '\0';
  return size;
}

int iso_to_utf8(const char* iso, char* buffer) {
  if (iso == nullptr || buffer == nullptr) return -1;
  return uc2_to_utf8(uc2::to_uc2(*iso), buffer);
}

}  // namespace kvrpc
