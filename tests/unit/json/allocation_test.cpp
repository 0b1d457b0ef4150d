// Makes each allocation of the JSON library fail in turn: the result is null, and nothing leaks.
#include <gtest/gtest.h>

#include "json_support.h"
#include "support/failing_heap.h"

namespace kvrpc::test {
namespace {

const char rich_text[] =
    R"({"a":[1,2.5,"x\u00e9",{"k":"v","n":null}],"b":{"c":{"d":[[[[[[[[[[[[[[[[[[1]]]]]]]]]]]]]]]]]]}},)"
    R"("long":"0123456789012345678901234567890123456789012345678901234567890123456789012345678901)"
    R"(2345678901234567890123456789012345678901234567890123456789012345678901234567890123456789"})";

// Runs `make`, which gives something that `drop` releases or null, with each allocation failing in
// turn: each failure must show as null and leak nothing. Returns the number of failing runs.
template <class Make, class Drop>
std::int64_t fail_each(Make make, Drop drop) {
  return fail_each_allocation([&](std::int64_t number) {
    const failing_heap heap(number);
    auto* made = make();
    EXPECT_EQ(made == nullptr, heap.failed()) << "allocation " << number;
    if (made != nullptr) drop(made);
    EXPECT_EQ(heap.live_blocks(), 0) << "allocation " << number;
    return heap.failed();
  });
}

std::int64_t fail_each_node(json_node* (*make)()) { return fail_each(make, json_delete); }

template <class Make>
std::int64_t fail_each_text(Make make) {
  return fail_each(make, [](char* text) { json_hooks().release(text); });
}

TEST(failing_allocation, fails_a_parse_without_a_leak) {
  EXPECT_EQ(fail_each_node([] { return json_parse(rich_text); }), 40);
}

TEST(failing_allocation, fails_a_duplicate_without_a_leak) {
  const tree_ptr tree = parse(rich_text);
  const auto duplicate = [&] { return json_duplicate(tree.get()); };
  // The path to the deepest node takes one block and one resize of it.
  EXPECT_EQ(fail_each(duplicate, json_delete), 40 + 2);
}

TEST(failing_allocation, fails_a_print_without_a_leak) {
  const tree_ptr tree = parse(rich_text);
  // Two blocks for the path and two for the text as it grows.
  EXPECT_EQ(fail_each_text([&] { return json_print(tree.get()); }), 4);
  EXPECT_GE(fail_each_text([&] { return json_print_pretty(tree.get()); }), 4);
}

TEST(failing_allocation, fails_every_constructor_without_a_leak) {
  EXPECT_EQ(fail_each_node(json_new_node), 1);
  EXPECT_EQ(fail_each_node(json_new_null), 1);
  EXPECT_EQ(fail_each_node(json_new_true), 1);
  EXPECT_EQ(fail_each_node(json_new_false), 1);
  EXPECT_EQ(fail_each_node(json_new_array), 1);
  EXPECT_EQ(fail_each_node(json_new_object), 1);
  EXPECT_EQ(fail_each_node([] { return json_new_double(1.5); }), 1);
  EXPECT_EQ(fail_each_node([] { return json_new_integer(1); }), 1);
  EXPECT_EQ(fail_each_node([] { return json_new_string("text"); }), 2);
  EXPECT_EQ(fail_each_text([] { return json_strdup("text"); }), 1);
}

TEST(failing_allocation, fails_every_array_constructor_without_a_leak) {
  static const std::int64_t integers[] = {1, 2, 3};
  static const float floats[] = {1, 2, 3};
  static const double doubles[] = {1, 2, 3};
  static const char* const texts[] = {"a", "b", "c"};
  EXPECT_EQ(fail_each_node([] { return json_new_integer_array(integers, 3); }), 4);
  EXPECT_EQ(fail_each_node([] { return json_new_float_array(floats, 3); }), 4);
  EXPECT_EQ(fail_each_node([] { return json_new_double_array(doubles, 3); }), 4);
  EXPECT_EQ(fail_each_node([] { return json_new_string_array(texts, 3); }), 7);
}

TEST(failing_allocation, fails_an_add_and_a_replace_without_a_leak) {
  const std::int64_t failures = fail_each_node([]() -> json_node* {
    tree_ptr tree(json_new_object());
    if (tree == nullptr) return nullptr;
    for (int i = 0; i < 2; ++i) {
      tree_ptr item(json_new_integer(i));
      if (json_replace_member(tree.get(), "a", item.get()) == 0) return nullptr;
      item.release();
    }
    return tree.release();
  });
  EXPECT_EQ(failures, 5);
}

}  // namespace
}  // namespace kvrpc::test
