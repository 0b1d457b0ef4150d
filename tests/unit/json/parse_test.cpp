// The parser and its scanners, one at a time.
#include "json/parse.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <random>

#include "json_support.h"
#include "support/failing_heap.h"

namespace kvrpc::test {
namespace {

TEST(parse, fails_without_a_text) {
  EXPECT_EQ(json_parse(nullptr), nullptr);
  EXPECT_EQ(json_parse(""), nullptr);
}

TEST(parse, reads_a_text_that_is_constant) {
  static const char text[] = R"({"a":[1.5,15,"x"]})";
  EXPECT_EQ(describe(tree_ptr(json_parse(text)).get()), "{'a':[g3FC00000 15 'x']}");
}

TEST(parse, leaks_nothing_when_it_fails) {
  const failing_heap heap(-1);
  for (const char* text :
       {R"({"a":[1,{"b":"c"},)", R"([[[["x",1],{"k":[)", R"({"a":"b\)", "[1.]"}) {
    EXPECT_EQ(parse(text), nullptr) << text;
    EXPECT_EQ(heap.live_blocks(), 0) << text;
  }
}

TEST(parse, allocates_nodes_and_texts_alone) {
  const failing_heap heap(-1);
  const tree_ptr tree = parse(R"({"a":[[[1,2],[3]]],"b":"text"})");
  EXPECT_EQ(heap.allocations(), 9 + 3);
}

TEST(skip, stops_at_the_end) {
  const char text[] = " \x80\xFF\x01\n";
  const char* end = text + sizeof text - 1;
  EXPECT_EQ(json_skip(text, end), end);
  EXPECT_EQ(json_skip(end, end), end);
}

TEST(hex4, stops_at_the_first_other_byte) {
  const struct {
    const char* text;
    std::uint32_t value;
    int length;
  } cases[] = {{"12aF9", 0x12AF, 4}, {"1g", 1, 1}, {"", 0, 0}, {"x", 0, 0}, {"00e\"", 0xE, 3}};
  for (const auto& each : cases) {
    std::uint32_t value = 99;
    EXPECT_EQ(json_parse_hex4(each.text, &value), each.text + each.length) << each.text;
    EXPECT_EQ(value, each.value) << each.text;
  }
}

TEST(parse_string, takes_every_unit_to_its_utf8) {
  for (unsigned unit = 1; unit < 0x10000; ++unit) {
    char text[16];
    std::snprintf(text, sizeof text, "\"\\u%04x\"", unit);
    const auto byte = [](unsigned value) { return static_cast<char>(value); };
    std::string expected;
    if (unit < 0x80) {
      expected = {byte(unit)};
    } else if (unit < 0x800) {
      expected = {byte(0xC0 + unit / 64), byte(0x80 + unit % 64)};
    } else {
      expected = {byte(0xE0 + unit / 4096), byte(0x80 + unit / 64 % 64), byte(0x80 + unit % 64)};
    }
    const tree_ptr tree(json_parse(text));
    ASSERT_EQ(tree->text, expected) << text;
  }
}

TEST(parse_string, copies_stretches_of_every_length) {
  for (int length = 0; length < 40; ++length) {
    const std::string plain = repeated("x", length);
    for (const char* special : {"", "\\n", "\\\"", "\\\\"}) {
      const tree_ptr tree = parse("\"" + plain + special + plain + "\"");
      const std::string expected = plain +
                                   (*special == '\0'    ? ""
                                    : special[1] == 'n' ? "\n"
                                                        : special + 1) +
                                   plain;
      ASSERT_EQ(tree->text, expected);
      const tree_ptr cut = parse("\"" + plain + "\x1F" + plain);
      ASSERT_EQ(cut->text, plain);
    }
  }
}

TEST(parse_number, goes_one_after_the_end_for_a_point_at_the_end) {
  const char text[] = "-7.";
  const tree_ptr node(json_new_node());
  EXPECT_EQ(json_parse_number(node.get(), text, text + 3), text + 4);
  EXPECT_EQ(describe(node.get()), "gC0E00000");
}

TEST(parse_number, takes_spans_of_millions_of_digits) {
  const std::string digits = repeated("7", 3'000'000);
  EXPECT_EQ(describe(parse(digits).get()), "9223372036854775807");
  EXPECT_EQ(describe(parse("-" + digits).get()), "-9223372036854775808");
  EXPECT_EQ(describe(parse(digits + ".5").get()), "g7F800000");
  EXPECT_EQ(describe(parse("-0." + repeated("0", 3'000'000) + "1").get()), "g80000000");
  EXPECT_EQ(describe(parse("0." + repeated("0", 3'000'000) + "1e3000001").get()), "g3F800000");
  EXPECT_EQ(describe(parse("0." + digits).get()), "g3F471C72");
  EXPECT_EQ(describe(parse("1e" + digits).get()), "g7F800000");
  EXPECT_EQ(describe(parse("1e-" + digits).get()), "g00000000");
}

// A number of every shape the scan takes, with what the standard runtime's "%g" stores for it.
TEST(parse_number, stores_what_the_scan_format_stores) {
  std::mt19937 random(20240501);
  const char alphabet[] = "0123456789.eE+-";
  int floating = 0;
  for (int i = 0; i < 200'000; ++i) {
    std::string text(1, random() % 3 == 0 ? '-' : static_cast<char>('0' + random() % 10));
    const auto length = random() % 14;
    for (unsigned k = 0; k < length; ++k) text += alphabet[random() % 15];
    const tree_ptr node(json_new_node());
    const char* end = text.c_str() + text.size();
    const char* behind = json_parse_number(node.get(), text.c_str(), end);
    if (node->is_integer != 0) continue;
    ++floating;
    float value = 0;
    const std::string span(text.c_str(), std::min(behind, end));
    std::sscanf(span.c_str(), "%g", &value);
    std::uint32_t low = 0;
    std::memcpy(&low, &value, sizeof low);
    ASSERT_EQ(bits_of(node->number), low) << span;
  }
  EXPECT_GT(floating, 50'000);
}

TEST(parse_number, rounds_every_floats_text_back_to_it) {
  std::mt19937 random(7);
  for (int i = 0; i < 100'000; ++i) {
    const auto bits = static_cast<std::uint32_t>(random());
    float value = 0;
    std::memcpy(&value, &bits, sizeof value);
    if (!std::isfinite(value)) continue;
    char text[64];
    std::snprintf(text, sizeof text, "%.9e", static_cast<double>(value));
    const tree_ptr tree(json_parse(text));
    ASSERT_EQ(bits_of(tree->number), bits) << text;
  }
}

}  // namespace
}  // namespace kvrpc::test
