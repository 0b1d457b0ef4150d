// One character at a time, over every byte and every unit.
#include "bridge/uc2.h"

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <string>

namespace kvrpc {
namespace {

// The server's code, derived again without the product's table.
std::map<unsigned, unsigned> units_with_a_byte() {
  std::map<unsigned, unsigned> byte;
  for (unsigned u : {7u, 9u, 10u, 12u, 13u}) byte[u] = u;
  for (unsigned u = 0x20; u <= 0x7F; ++u) {
    if (u != 0x27) byte[u] = u;
  }
  const std::string none = "\xA4\xA6\xA8\xAC\xB4\xB8\xBC\xBD\xBE\xD8\xF7";
  for (unsigned u = 0xA0; u <= 0xFF; ++u) {
    if (none.find(static_cast<char>(u)) == std::string::npos) byte[u] = u;
  }
  const char16_t letters[] = u"\u20AC\u0160\u0161\u017D\u017E\u0152\u0153\u0178";
  const unsigned letter_bytes[] = {0xA4, 0xA6, 0xA8, 0xB4, 0xB8, 0xBC, 0xBD, 0xBE};
  for (int i = 0; i < 8; ++i) byte[letters[i]] = letter_bytes[i];
  // 0x80, 0x81, ... 0x93 in their order.
  const char16_t own[] =
      u"`\u02C6\u02DC\u0131\u0192\u201C\u201D\u2039\u203A\uFB01\uFB02\u2020\u2021\u2013\u2022"
      u"\u02D8\u201E\u2026\u2030\u2122";
  for (unsigned i = 0; own[i] != 0; ++i) byte[own[i]] = 0x80 + i;
  const std::map<unsigned, unsigned> folds = {
      {0x2018, 0x60}, {0x2019, 0x27}, {0x2212, 0x2D}, {0x2215, 0x2F}, {0x2219, 0xB7},
      {0x02C9, 0xAF}, {0x03BC, 0xB5}, {0x0110, 0xD0}, {0x0189, 0xD0}, {0x2010, 0xAD},
      {0x2011, 0xAD}, {0x2009, 0x20}, {0x200A, 0x20}};
  byte.insert(folds.begin(), folds.end());
  for (unsigned u = 0x2000; u <= 0x2006; ++u) byte[u] = 0x20;
  return byte;
}

unsigned unit_of_byte(unsigned byte) {
  switch (byte) {
    case 0xA4:
      return 0x20AC;
    case 0xA6:
      return 0x160;
    case 0xA8:
      return 0x161;
    case 0xB4:
      return 0x17D;
    case 0xB8:
      return 0x17E;
    case 0xBC:
      return 0x152;
    case 0xBD:
      return 0x153;
    case 0xBE:
      return 0x178;
    default:
      return byte;
  }
}

std::string utf8_of(unsigned value) {
  const auto tail = [value](int shift) {
    return static_cast<char>(0x80 | (value >> shift & 0x3F));
  };
  if (value < 0x80) return {static_cast<char>(value)};
  if (value < 0x800) return {static_cast<char>(0xC0 | value >> 6), tail(0)};
  if (value < 0x10000) return {static_cast<char>(0xE0 | value >> 12), tail(6), tail(0)};
  return {static_cast<char>(0xF0 | value >> 18), tail(12), tail(6), tail(0)};
}

struct sequence {
  int result;
  unsigned unit;
  std::size_t moved;
  bool operator==(const sequence& other) const {
    return result == other.result && unit == other.unit && moved == other.moved;
  }
};

sequence read(const char* text) {
  std::size_t index = 0;
  std::uint16_t unit = 0;
  const int result = utf8_to_uc2(text, &index, &unit);
  return {result, unit, index};
}

constexpr unsigned bad = 0xFFFD;

TEST(uc2_to_iso, gives_each_unit_its_byte_or_modifier) {
  const std::map<unsigned, unsigned> expected = units_with_a_byte();
  EXPECT_EQ(expected.size(), 232u);
  std::size_t with_byte = 0;
  for (unsigned unit = 0; unit < 0x10000; ++unit) {
    char iso = 'x';
    int mod = -1;
    ASSERT_EQ(uc2_to_iso(static_cast<std::uint16_t>(unit), &iso, &mod), 1);
    const auto found = expected.find(unit);
    const unsigned byte = found == expected.end() ? 0 : found->second;
    ASSERT_EQ(static_cast<unsigned char>(iso), byte) << std::hex << unit;
    ASSERT_EQ(mod, byte != 0 ? 0 : unit == 2060 || unit == 0xFEFF ? 1 : 2) << std::hex << unit;
    if (iso != 0) ++with_byte;
  }
  EXPECT_EQ(with_byte, 232u);
}

TEST(uc2_to_iso, takes_the_word_joiner_for_an_unknown_unit) {
  char iso = 'x';
  int mod = -1;
  EXPECT_EQ(uc2_to_iso(0x2060, &iso, &mod), 1);
  EXPECT_EQ(mod, iso_no_byte);
}

TEST(iso_to_uc2, is_iso_8859_15) {
  for (unsigned byte = 0; byte < 256; ++byte) {
    std::uint16_t unit = 0xABCD;
    ASSERT_EQ(iso_to_uc2(static_cast<char>(byte), &unit), 1);
    ASSERT_EQ(unit, unit_of_byte(byte)) << std::hex << byte;
  }
}

TEST(iso_to_utf8, agrees_with_the_unit) {
  for (unsigned byte = 0; byte < 256; ++byte) {
    const std::string expected = utf8_of(unit_of_byte(byte));
    const char iso = static_cast<char>(byte);
    char buffer[5] = {1, 1, 1, 1, 1};
    ASSERT_EQ(iso_to_utf8(&iso, buffer), static_cast<int>(expected.size()));
    ASSERT_EQ(std::string(buffer, expected.size()), expected);
    ASSERT_EQ(buffer[expected.size()], '\0');
  }
}

TEST(uc2_to_utf8, writes_every_value_below_its_odd_bounds) {
  for (unsigned value = 0; value < 0x10FFFF; ++value) {
    if (value == 0xFFFF || (value >= 0xD800 && value <= 0xDFFF)) continue;
    const std::string expected = utf8_of(value);
    char buffer[5] = {1, 1, 1, 1, 1};
    ASSERT_EQ(uc2_to_utf8(value, buffer), static_cast<int>(expected.size())) << std::hex << value;
    ASSERT_EQ(std::memcmp(buffer, expected.c_str(), expected.size() + 1), 0) << std::hex << value;
  }
}

TEST(uc2_to_utf8, refuses_surrogates_and_the_two_bounds) {
  char buffer[5] = {'k'};
  for (unsigned value = 0xD800; value <= 0xDFFF; ++value) {
    ASSERT_EQ(uc2_to_utf8(value, buffer), -2);
  }
  EXPECT_EQ(uc2_to_utf8(0xFFFF, buffer), -1);
  EXPECT_EQ(uc2_to_utf8(0x10FFFF, buffer), -1);
  EXPECT_EQ(uc2_to_utf8(0x110000, buffer), -1);
  EXPECT_EQ(uc2_to_utf8(0xFFFFFFFF, buffer), -1);
  EXPECT_EQ(buffer[0], 'k');
}

TEST(utf8_to_uc2, reads_back_every_unit) {
  for (unsigned unit = 0; unit < 0x10000; ++unit) {
    const std::string text = utf8_of(unit);
    ASSERT_TRUE((read(text.c_str()) == sequence{1, unit, text.size()})) << std::hex << unit;
  }
}

TEST(utf8_to_uc2, moves_one_byte_over_what_cannot_lead) {
  for (unsigned byte = 0x80; byte <= 0xFF; ++byte) {
    if (byte >= 0xC0 && byte <= 0xEF) continue;
    const std::string text = {static_cast<char>(byte), '\x80', '\x80', '\x80'};
    ASSERT_TRUE((read(text.c_str()) == sequence{0, bad, 1})) << std::hex << byte;
  }
}

TEST(utf8_to_uc2, passes_an_overlong_form_whole) {
  EXPECT_TRUE((read("\xC0\x80") == sequence{0, bad, 2}));
  EXPECT_TRUE((read("\xC1\xBF") == sequence{0, bad, 2}));
  EXPECT_TRUE((read("\xC2\x80") == sequence{1, 0x80, 2}));
  EXPECT_TRUE((read("\xE0\x80\x80") == sequence{0, bad, 3}));
  EXPECT_TRUE((read("\xE0\x9F\xBF") == sequence{0, bad, 3}));
  EXPECT_TRUE((read("\xE0\xA0\x80") == sequence{1, 0x800, 3}));
}

TEST(utf8_to_uc2, reads_an_offending_byte_again) {
  for (unsigned byte = 0; byte <= 0xFF; ++byte) {
    if (byte >= 0x80 && byte <= 0xBF) continue;
    const char c = static_cast<char>(byte);
    const std::string second_of_two = {'\xC3', c};
    ASSERT_TRUE((read(second_of_two.c_str()) == sequence{0, bad, 1}));
    const std::string second_of_three = {'\xE2', c, '\x80'};
    ASSERT_TRUE((read(second_of_three.c_str()) == sequence{0, bad, 1}));
    const std::string third = {'\xE2', '\x82', c};
    ASSERT_TRUE((read(third.c_str()) == sequence{0, bad, 2}));
  }
}

TEST(utf8_to_iso, marks_bad_utf8_apart_from_a_missing_byte) {
  char iso = 'x';
  int mod = -1;
  std::size_t index = 0;
  EXPECT_EQ(utf8_to_iso("\xC0\x80", &index, &iso, &mod), 1);
  EXPECT_EQ(index, 2u);
  EXPECT_EQ(iso, 0);
  EXPECT_EQ(mod, iso_bad_utf8);
  index = 1;
  EXPECT_EQ(utf8_to_iso("x\xED\xA0\x80", &index, &iso, &mod), 1);
  EXPECT_EQ(index, 4u);
  EXPECT_EQ(mod, iso_no_byte);
  index = 0;
  EXPECT_EQ(utf8_to_iso("\xE2\x82\xAC", &index, &iso, &mod), 1);
  EXPECT_EQ(iso, '\xA4');
  EXPECT_EQ(mod, iso_good);
}

TEST(one_character, refuses_null_addresses) {
  char iso = 0;
  int mod = 0;
  std::size_t index = 0;
  std::uint16_t unit = 0;
  char buffer[5];
  EXPECT_EQ(uc2_to_iso(65, nullptr, &mod), 0);
  EXPECT_EQ(uc2_to_iso(65, &iso, nullptr), 0);
  EXPECT_EQ(iso_to_uc2('a', nullptr), 0);
  EXPECT_EQ(utf8_to_iso(nullptr, &index, &iso, &mod), 0);
  EXPECT_EQ(utf8_to_iso("a", nullptr, &iso, &mod), 0);
  EXPECT_EQ(utf8_to_iso("a", &index, nullptr, &mod), 0);
  EXPECT_EQ(utf8_to_iso("a", &index, &iso, nullptr), 0);
  EXPECT_EQ(index, 0u);
  EXPECT_EQ(utf8_to_uc2(nullptr, &index, &unit), 0);
  EXPECT_EQ(iso_to_utf8(nullptr, buffer), -1);
  EXPECT_EQ(iso_to_utf8("a", nullptr), -1);
}

}  // namespace
}  // namespace kvrpc
