// Deeply nested trees on a small stack: nothing may recurse over the depth.
#include <gtest/gtest.h>

#include <cstring>

#include "json_support.h"
#include "support/small_stack.h"

namespace kvrpc::test {
namespace {

// Parses, duplicates, prints and deletes `text`, which must print unchanged.
void round_trip(const std::string& text) {
  tree_ptr tree(json_parse(text.c_str()));
  ASSERT_NE(tree, nullptr);
  const tree_ptr copy(json_duplicate(tree.get()));
  tree.reset();
  ASSERT_NE(copy, nullptr);
  const text_ptr printed(json_print(copy.get()));
  ASSERT_NE(printed, nullptr);
  ASSERT_EQ(std::strlen(printed.get()), text.size());
  ASSERT_EQ(std::memcmp(printed.get(), text.c_str(), text.size()), 0);
}

void deep_objects() {
  round_trip(repeated(R"({"a":)", great_depth) + "1" + repeated("}", great_depth));
}

void deep_arrays() { round_trip(repeated("[", great_depth) + repeated("]", great_depth)); }

void open_brackets() { EXPECT_EQ(json_parse(repeated("[", great_depth).c_str()), nullptr); }

void open_objects() { EXPECT_EQ(json_parse(repeated(R"({"a":)", great_depth).c_str()), nullptr); }

void deep_pretty_print() {
  const std::int32_t depth = 5000;
  const tree_ptr tree(
      json_parse((repeated(R"({"a":)", depth) + "1" + repeated("}", depth)).c_str()));
  const text_ptr printed(json_print_pretty(tree.get()));
  const tree_ptr again(json_parse(printed.get()));
  EXPECT_EQ(print(again.get()), print(tree.get()));
}

TEST(depth, takes_nested_objects_on_a_small_stack) { run_on_small_stack(deep_objects); }
TEST(depth, takes_nested_arrays_on_a_small_stack) { run_on_small_stack(deep_arrays); }
TEST(depth, fails_open_brackets_on_a_small_stack) { run_on_small_stack(open_brackets); }
TEST(depth, fails_open_objects_on_a_small_stack) { run_on_small_stack(open_objects); }
TEST(depth, prints_the_formatted_form_on_a_small_stack) { run_on_small_stack(deep_pretty_print); }

}  // namespace
}  // namespace kvrpc::test
