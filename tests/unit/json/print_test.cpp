// The compact and the formatted text of trees.
#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstdio>
#include <limits>
#include <random>

#include "json_support.h"

namespace kvrpc::test {
namespace {

std::string print_double(double value) { return print(tree_ptr(json_new_double(value)).get()); }
std::string print_string(const char* text) { return print(tree_ptr(json_new_string(text)).get()); }

TEST(Print, PutsBlanksInArraysOnly) {
  const tree_ptr tree = parse(R"({ "a" : [1,2,3] , "b" : "x" })");
  EXPECT_EQ(print(tree.get()), R"({"a":[1, 2, 3],"b":"x"})");
}

TEST(Print, LeavesTheSiblingsOfTheRootOut) {
  const tree_ptr tree = parse(R"({"a":[1],"b":2})");
  EXPECT_EQ(print(tree->child), "[1]");
  EXPECT_EQ(print(tree->child->next), "2");
}

TEST(Print, DropsControlBytesWithoutAnEscape) {
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

TEST(Print, EscapesQuotesAndBackslashesAndNoSlash) {
  EXPECT_EQ(print_string(R"(a"b\c/d)"), R"("a\"b\\c/d")");
}

TEST(Print, EscapesKeysLikeStrings) {
  const tree_ptr tree(json_new_object());
  json_add_member(tree.get(), "a\"\n\x02", json_new_true());
  EXPECT_EQ(print(tree.get()), R"({"a\"\n":true})");
}

TEST(Print, ChoosesTheFormOfANumberByItsFlagAlone) {
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

TEST(Print, PrintsTheLimitsOfIntegers) {
  EXPECT_EQ(print(tree_ptr(json_new_integer(INT64_MIN)).get()), "-9223372036854775808");
  EXPECT_EQ(print(tree_ptr(json_new_integer(INT64_MAX)).get()), "9223372036854775807");
}

TEST(Print, UsesAnExponentForSmallAndGreatNumbers) {
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

TEST(Print, PrintsDoublesAsTheStandardFormatsDo) {
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
TEST(Print, AndParseKnowNoLocale) {
  const char* const german[] = {"de_DE.UTF-8", "de_DE.utf8", "de_DE", "German"};
  for (const char* name : german) std::setlocale(LC_ALL, name);
  EXPECT_EQ(print_double(2.5), "2.500000");
  EXPECT_EQ(describe(parse("1.5").get()), "g3FC00000");
  std::setlocale(LC_ALL, "C");
}

TEST(Print, PrintsAParsedFractionAsATinyNumber) {
  EXPECT_EQ(print(parse("1.5").get()), "5.284267e-315");
}

TEST(Print, FailsForATypeItDoesNotKnow) {
  for (const std::int32_t type : {7, 255, -1}) {
    const counting_hooks hooks;
    const tree_ptr tree = parse(R"({"a":[1,{"b":2}],"c":3})");
    tree->child->child->next->child->type = type;
    const std::int64_t before = hooks.live_blocks();
    EXPECT_EQ(json_print(tree.get()), nullptr);
    EXPECT_EQ(json_print_pretty(tree.get()), nullptr);
    EXPECT_EQ(hooks.live_blocks(), before);
  }
}

TEST(Print, FailsForNullAndForATextThatIsMissing) {
  EXPECT_EQ(json_print(nullptr), nullptr);
  const tree_ptr node(json_new_node());
  node->type = JSON_STRING;
  EXPECT_EQ(json_print(node.get()), nullptr);
  const tree_ptr object(json_new_object());
  json_add_item(object.get(), json_new_null());
  EXPECT_EQ(json_print(object.get()), nullptr);
}

TEST(PrintPretty, BreaksLinesInObjectsOnly) {
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

TEST(PrintPretty, BreaksTheLineOfAnEmptyObject) {
  EXPECT_EQ(pretty(parse("{}").get()), "{\n}");
  EXPECT_EQ(pretty(parse("[{}]").get()), "[{\n\t}]");
  EXPECT_EQ(pretty(parse("[]").get()), "[]");
  EXPECT_EQ(pretty(parse("[1,2]").get()), "[1, 2]");
}

TEST(PrintPretty, ReparsesToTheSameTree) {
  for (const std::string& text : valid_texts()) {
    const tree_ptr tree = parse(print(parse(text).get()));
    EXPECT_EQ(print(parse(pretty(tree.get())).get()), print(parse(print(tree.get())).get()));
  }
}

}  // namespace
}  // namespace kvrpc::test
