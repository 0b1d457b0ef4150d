// The compact and the formatted text of trees.
#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstdio>
#include <limits>
#include <random>

#include "json_support.h"
#include "support/failing_heap.h"

namespace kvrpc::test {
namespace {

std::string print_double(double value) { return print(tree_ptr(json_new_double(value)).get()); }
std::string print_string(const char* text) { return print(tree_ptr(json_new_string(text)).get()); }

TEST(print, puts_blanks_in_arrays_only) {
  const tree_ptr tree = parse(R"({ "a" : [1,2,3] , "b" : "x" })");
  EXPECT_EQ(print(tree.get()), R"({"a":[1, 2, 3],"b":"x"})");
}

TEST(print, leaves_the_siblings_of_the_root_out) {
  const tree_ptr tree = parse(R"({"a":[1],"b":2})");
  EXPECT_EQ(print(tree->child), "[1]");
  EXPECT_EQ(print(tree->child->next), "2");
}

TEST(print, drops_control_bytes_without_an_escape) {
  EXPECT_EQ(print_string("\x01\n\x7F"), "\"\\n\x7F\"");
  std::string all;
  for (int byte = 1; byte < 256; ++byte) all += static_cast<char>(byte);
  std::string expected = R"("\b\t\n\f\r)";
  for (int byte = 0x20; byte < 256; ++byte) {
    if (byte == '"' || byte == '\\') expected += '\\';
    expected += static_cast<char>(byte);
  }
  EXPECT_EQ(print_string(all.c_str()), expected + "\"");
}

TEST(print, escapes_quotes_and_backslashes_and_no_slash) {
  EXPECT_EQ(print_string(R"(a"b\c/d)"), R"("a\"b\\c/d")");
}

TEST(print, escapes_keys_like_strings) {
  const tree_ptr tree(json_new_object());
  json_add_member(tree.get(), "a\"\n\x02", json_new_true());
  EXPECT_EQ(print(tree.get()), R"({"a\"\n":true})");
}

TEST(print, chooses_the_form_of_a_number_by_its_flag_alone) {
  EXPECT_EQ(print_double(5.0), "5.000000");
  EXPECT_EQ(print(tree_ptr(json_new_integer(5)).get()), "5");
  const tree_ptr number(json_new_integer(5));
  number->number = 2.5;
  EXPECT_EQ(print(number.get()), "5");
  number->is_integer = 0;
  EXPECT_EQ(print(number.get()), "2.500000");
  number->is_integer = -1;
  EXPECT_EQ(print(number.get()), "5");
}

TEST(print, prints_the_limits_of_integers) {
  EXPECT_EQ(print(tree_ptr(json_new_integer(INT64_MIN)).get()), "-9223372036854775808");
  EXPECT_EQ(print(tree_ptr(json_new_integer(INT64_MAX)).get()), "9223372036854775807");
}

TEST(print, uses_an_exponent_for_small_and_great_numbers) {
  EXPECT_EQ(print_double(0.0), "0.000000e+00");
  EXPECT_EQ(print_double(-0.0), "-0.000000e+00");
  EXPECT_EQ(print_double(2.5), "2.500000");
  EXPECT_EQ(print_double(-2.5), "-2.500000");
  EXPECT_EQ(print_double(1e9), "1000000000.000000");
  EXPECT_EQ(print_double(-1e9), "-1000000000.000000");
  EXPECT_EQ(print_double(1000000000.1), "1.000000e+09");
  EXPECT_EQ(print_double(1e-6), "0.000001");
  EXPECT_EQ(print_double(9.99e-7), "9.990000e-07");
  EXPECT_EQ(print_double(std::numeric_limits<double>::max()), "1.797693e+308");
  EXPECT_EQ(print_double(-std::numeric_limits<double>::denorm_min()), "-4.940656e-324");
}

TEST(print, prints_doubles_as_the_standard_formats_do) {
  std::mt19937_64 random(11);
  for (int i = 0; i < 50'000; ++i) {
    const int exponent = static_cast<int>(random() % 80) - 40;
    const double value = std::ldexp(static_cast<double>(random()) - 0x1p63, exponent - 40);
    const double size = std::fabs(value);
    char expected[64];
    std::snprintf(expected, sizeof expected, size < 1e-6 || size > 1e9 ? "%e" : "%f", value);
    ASSERT_EQ(print_double(value), expected);
  }
}

// Only says something where the locale is installed.
TEST(print, and_parse_know_no_locale) {
  const char* const german[] = {"de_DE.UTF-8", "de_DE.utf8", "de_DE", "German"};
  for (const char* name : german) std::setlocale(LC_ALL, name);
  EXPECT_EQ(print_double(2.5), "2.500000");
  EXPECT_EQ(describe(parse("1.5").get()), "g3FC00000");
  std::setlocale(LC_ALL, "C");
}

TEST(print, prints_a_parsed_fraction_as_a_tiny_number) {
  EXPECT_EQ(print(parse("1.5").get()), "5.284267e-315");
}

TEST(print, fails_for_a_type_it_does_not_know) {
  for (const std::int32_t type : {7, 255, -1}) {
    const failing_heap heap(-1);
    const tree_ptr tree = parse(R"({"a":[1,{"b":2}],"c":3})");
    tree->child->child->next->child->type = type;
    const std::int64_t before = heap.live_blocks();
    EXPECT_EQ(json_print(tree.get()), nullptr);
    EXPECT_EQ(json_print_pretty(tree.get()), nullptr);
    EXPECT_EQ(heap.live_blocks(), before);
  }
}

TEST(print, fails_for_null_and_for_a_text_that_is_missing) {
  EXPECT_EQ(json_print(nullptr), nullptr);
  const tree_ptr node(json_new_node());
  node->type = JSON_STRING;
  EXPECT_EQ(json_print(node.get()), nullptr);
  const tree_ptr object(json_new_object());
  json_add_item(object.get(), json_new_null());
  EXPECT_EQ(json_print(object.get()), nullptr);
}

TEST(print_pretty, breaks_lines_in_objects_only) {
  const tree_ptr tree = parse(R"({"a":1,"b":[1,{"c":[]},[]],"d":{},"e":"x"})");
  EXPECT_EQ(pretty(tree.get()),
            "{\n"
            "\t\"a\":\t1,\n"
            "\t\"b\":\t[1, {\n"
            "\t\t\t\"c\":\t[]\n"
            "\t\t}, []],\n"
            "\t\"d\":\t{\n"
            "\t},\n"
            "\t\"e\":\t\"x\"\n"
            "}");
}

TEST(print_pretty, breaks_the_line_of_an_empty_object) {
  EXPECT_EQ(pretty(parse("{}").get()), "{\n}");
  EXPECT_EQ(pretty(parse("[{}]").get()), "[{\n\t}]");
  EXPECT_EQ(pretty(parse("[]").get()), "[]");
  EXPECT_EQ(pretty(parse("[1,2]").get()), "[1, 2]");
}

TEST(print_pretty, reparses_to_the_same_tree) {
  for (const std::string& text : valid_texts()) {
    const tree_ptr tree = parse(print(parse(text).get()));
    EXPECT_EQ(print(parse(pretty(tree.get())).get()), print(parse(print(tree.get())).get()));
  }
}

}  // namespace
}  // namespace kvrpc::test
