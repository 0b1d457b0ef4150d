// Whole texts between UTF-8, ISO and UC2.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "bridge/uc2.h"
#include "support/failing_heap.h"

namespace kvrpc {
namespace {

using test::failing_heap;

struct freed {
  void operator()(void* block) const { std::free(block); }
};

std::string iso_of(const std::string& utf8, std::string replacement = "?") {
  const std::unique_ptr<char, freed> iso(utf8string_to_iso_alloc(utf8.c_str(), replacement.data()));
  return iso == nullptr ? "(null)" : iso.get();
}

std::string utf8_of_iso(const std::string& iso) {
  const std::unique_ptr<char, freed> utf8(isostring_to_utf8_alloc(iso.c_str()));
  return utf8 == nullptr ? "(null)" : utf8.get();
}

// Converts into exactly `size` bytes of the heap, so that a sanitizer finds a byte too many.
template <class Convert>
std::string into_buffer(std::size_t size, Convert convert) {
  const std::unique_ptr<char, freed> buffer(static_cast<char*>(std::malloc(size)));
  std::memset(buffer.get(), 'z', size);
  EXPECT_EQ(convert(buffer.get(), size), buffer.get());
  EXPECT_NE(std::memchr(buffer.get(), 0, size), nullptr);
  return buffer.get();
}

TEST(utf8string_to_iso, has_no_byte_for_the_apostrophe_but_for_the_typographic_quote) {
  EXPECT_EQ(iso_of("it's"), "it?s");
  EXPECT_EQ(iso_of("it\u2019s"), "it\x27s");
  EXPECT_EQ(utf8_of_iso("\x27"), "'");
}

TEST(utf8string_to_iso, sends_the_grave_accent_to_a_control_byte) {
  EXPECT_EQ(iso_of("`"), "\x80");
  EXPECT_EQ(utf8_of_iso("\x80"), "\u0080");
}

TEST(utf8string_to_iso, has_no_bytes_for_the_upper_controls) {
  for (int byte = 0x80; byte <= 0x9F; ++byte) {
    const std::string utf8 = {'\xC2', static_cast<char>(byte)};
    EXPECT_EQ(utf8_of_iso({static_cast<char>(byte)}), utf8);
    EXPECT_EQ(iso_of(utf8), "?");
  }
}

TEST(utf8string_to_iso, carries_letters_of_the_code) {
  EXPECT_EQ(iso_of("\u00C4"), "\xC4");
  EXPECT_EQ(utf8_of_iso("\xC4"), "\u00C4");
  EXPECT_EQ(iso_of("\u00D8"), "?");
  EXPECT_EQ(utf8_of_iso("\xD8"), "\u00D8");
  EXPECT_EQ(iso_of("\u20AC"), "\xA4");
  EXPECT_EQ(utf8_of_iso("\xA4"), "\u20AC");
  EXPECT_EQ(iso_of("\u00A4"), "?");
}

TEST(utf8string_to_iso, passes_tab_and_line_feed_only_among_low_controls) {
  EXPECT_EQ(iso_of("a\tb\nc"), "a\tb\nc");
  EXPECT_EQ(iso_of("a\x01"
                   "b"),
            "a?b");
}

TEST(utf8string_to_iso, lets_two_units_vanish) {
  EXPECT_EQ(iso_of("a\uFEFF\u080Cb"), "ab");
  EXPECT_EQ(iso_of("a\u200Bb"), "a?b");
}

TEST(utf8string_to_iso, replaces_each_byte_of_a_four_byte_form) {
  EXPECT_EQ(iso_of("a\U0001F600b"), "a????b");
}

TEST(utf8string_to_iso, replaces_bad_sequences) {
  EXPECT_EQ(iso_of("\xC0\x80"), "?");
  EXPECT_EQ(iso_of("\xED\xA0\x80"), "?");
  EXPECT_EQ(iso_of("\xE2\x82"), "?");
  EXPECT_EQ(iso_of("\xE2"), "?");
  EXPECT_EQ(iso_of("\xC3"), "?");
  EXPECT_EQ(iso_of("\xE2(x"), "?(x");
  EXPECT_EQ(iso_of("\xE2\x82(x"), "?(x");
}

TEST(utf8string_to_iso, drops_when_the_replacement_is_empty_or_null) {
  EXPECT_EQ(iso_of("it's", ""), "its");
  const std::unique_ptr<char, freed> iso(utf8string_to_iso_alloc("it's", nullptr));
  EXPECT_STREQ(iso.get(), "its");
}

TEST(utf8string_to_iso, cuts_the_replacement_only_where_it_allocates) {
  char replacement[] = "xyz";
  EXPECT_EQ(into_buffer(20,
                        [&](char* out, std::size_t size) {
                          return utf8string_to_iso("a'b", out, size, replacement);
                        }),
            "axyzb");
  EXPECT_STREQ(replacement, "xyz");
  const std::unique_ptr<char, freed> iso(utf8string_to_iso_alloc("a'b", replacement));
  EXPECT_STREQ(iso.get(), "axb");
  EXPECT_STREQ(replacement, "x");
}

TEST(utf8string_to_iso, ends_the_text_at_the_end_of_the_buffer) {
  const auto into = [](const char* text, const char* replacement, std::size_t size) {
    return into_buffer(size, [&](char* out, std::size_t room) {
      return utf8string_to_iso(text, out, room, replacement);
    });
  };
  EXPECT_EQ(into("abc", "?", 4), "abc");
  EXPECT_EQ(into("abc", "?", 3), "ab");
  EXPECT_EQ(into("abc", "?", 1), "");
  EXPECT_EQ(into("a'b", "xy", 4), "axy");
  EXPECT_EQ(into("a'b", "xy", 3), "ab");  // the replacement does not fit and is left out
  char untouched = 'k';
  EXPECT_EQ(utf8string_to_iso("abc", &untouched, 0, "?"), &untouched);
  EXPECT_EQ(untouched, 'k');
}

TEST(isostring_to_utf8, stops_before_a_character_that_does_not_fit) {
  const auto into = [](const char* text, std::size_t size) {
    return into_buffer(
        size, [&](char* out, std::size_t room) { return isostring_to_utf8(text, out, room); });
  };
  EXPECT_EQ(isostring_utf8_size("a\xC4\xA4"), 7u);
  EXPECT_EQ(into("a\xC4\xA4", 7), "a\u00C4\u20AC");
  EXPECT_EQ(into("a\xC4\xA4", 6), "a\u00C4");
  EXPECT_EQ(into("a\xC4\xA4z", 6), "a\u00C4");  // nothing after it is taken either
  EXPECT_EQ(into("a\xC4", 3), "a");
  EXPECT_EQ(into("a", 1), "");
  char untouched = 'k';
  EXPECT_EQ(isostring_to_utf8("a", &untouched, 0), &untouched);
  EXPECT_EQ(untouched, 'k');
}

TEST(isostring_to_uc2, ends_the_array_with_a_zero_unit) {
  std::uint16_t units[4] = {9, 9, 9, 9};
  EXPECT_EQ(isostring_to_uc2("a\xA4", units, 4), units);
  EXPECT_EQ(std::vector<std::uint16_t>(units, units + 4),
            (std::vector<std::uint16_t>{'a', 0x20AC, 0, 9}));
  EXPECT_EQ(isostring_to_uc2("abc", units, 2), units);
  EXPECT_EQ(units[0], 'a');
  EXPECT_EQ(units[1], 0);
  EXPECT_EQ(units[2], 0);
  units[0] = 9;
  EXPECT_EQ(isostring_to_uc2("abc", units, 0), units);
  EXPECT_EQ(units[0], 9);
  const std::unique_ptr<std::uint16_t, freed> block(isostring_to_uc2_alloc("\xC4\xA4"));
  EXPECT_EQ(std::vector<std::uint16_t>(block.get(), block.get() + 3),
            (std::vector<std::uint16_t>{0xC4, 0x20AC, 0}));
}

TEST(uc2array_to_iso, follows_the_rules_of_text) {
  const std::uint16_t units[] = {'a', 0x27, 0xFEFF, 0, 0x20AC};
  EXPECT_EQ(
      into_buffer(10, [&](char* out,
                          std::size_t size) { return uc2array_to_iso(units, 5, out, size, "--"); }),
      "a----\xA4");
  EXPECT_EQ(
      into_buffer(3, [&](char* out,
                         std::size_t size) { return uc2array_to_iso(units, 5, out, size, "--"); }),
      "a\xA4");
  char replacement[] = "xyz";
  const std::unique_ptr<char, freed> iso(uc2array_to_iso_alloc(units, 5, replacement));
  EXPECT_STREQ(iso.get(), "axx\xA4");
  EXPECT_STREQ(replacement, "x");
  const std::unique_ptr<char, freed> none(uc2array_to_iso_alloc(units, 0, nullptr));
  EXPECT_STREQ(none.get(), "");
}

TEST(whole_texts, are_null_for_null) {
  char buffer[4];
  std::uint16_t units[4] = {};
  EXPECT_EQ(utf8string_to_iso(nullptr, buffer, 4, "?"), nullptr);
  EXPECT_EQ(utf8string_to_iso("a", nullptr, 4, "?"), nullptr);
  EXPECT_EQ(utf8string_to_iso_alloc(nullptr, nullptr), nullptr);
  EXPECT_EQ(isostring_to_utf8(nullptr, buffer, 4), nullptr);
  EXPECT_EQ(isostring_to_utf8("a", nullptr, 4), nullptr);
  EXPECT_EQ(isostring_to_utf8_alloc(nullptr), nullptr);
  EXPECT_EQ(isostring_utf8_size(nullptr), 0u);
  EXPECT_EQ(isostring_to_uc2(nullptr, units, 4), nullptr);
  EXPECT_EQ(isostring_to_uc2("a", nullptr, 4), nullptr);
  EXPECT_EQ(isostring_to_uc2_alloc(nullptr), nullptr);
  EXPECT_EQ(uc2array_to_iso(nullptr, 1, buffer, 4, "?"), nullptr);
  EXPECT_EQ(uc2array_to_iso(units, 1, nullptr, 4, "?"), nullptr);
  EXPECT_EQ(uc2array_to_iso_alloc(nullptr, 1, nullptr), nullptr);
}

TEST(whole_texts, are_null_without_memory) {
  const std::uint16_t units[] = {'a'};
  failing_heap heap(0, true);
  const void* const results[] = {utf8string_to_iso_alloc("a", nullptr),
                                 isostring_to_utf8_alloc("a"), isostring_to_uc2_alloc("a"),
                                 uc2array_to_iso_alloc(units, 1, nullptr)};
  for (const void* result : results) EXPECT_EQ(result, nullptr);
  EXPECT_EQ(heap.allocations(), 4);
  EXPECT_EQ(heap.live_blocks(), 0);
}

TEST(whole_texts, come_back_where_each_character_has_its_own_byte) {
  std::string own_bytes;  // those whose unit leads back to them
  for (int byte = 1; byte < 256; ++byte) {
    const std::string text = {static_cast<char>(byte)};
    if (iso_of(utf8_of_iso(text)) == text) own_bytes += text;
  }
  EXPECT_EQ(own_bytes.size(), 5u + 94u + 93u);
  std::mt19937 random(4711);
  for (int round = 0; round < 2000; ++round) {
    std::string iso(random() % 200, ' ');
    for (char& c : iso) c = own_bytes[random() % own_bytes.size()];
    ASSERT_EQ(iso_of(utf8_of_iso(iso)), iso);
  }
}

TEST(whole_texts, never_grow_from_random_bytes) {
  std::mt19937 random(815);
  for (int round = 0; round < 5000; ++round) {
    std::string bytes(random() % 60, ' ');
    for (char& c : bytes) c = static_cast<char>(random() % 255 + 1);
    ASSERT_LE(iso_of(bytes).size(), bytes.size());
    ASSERT_EQ(utf8_of_iso(bytes).size() + 1, isostring_utf8_size(bytes.c_str()));
  }
}

TEST(whole_texts, take_time_linear_in_the_length) {
  const std::string text(8u << 20, '\'');
  const std::clock_t start = std::clock();  // not the time of day: the machine may be busy
  EXPECT_EQ(iso_of(text).size(), text.size());
  // One measuring of the length for each character would take hours.
  EXPECT_LT(std::clock() - start, 20 * CLOCKS_PER_SEC);
}

}  // namespace
}  // namespace kvrpc
