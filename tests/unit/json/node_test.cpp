// The constructors of nodes, deletion, duplication, and the allocation hooks.
#include <gtest/gtest.h>

#include <cstring>

#include "json/document.h"
#include "json_support.h"
#include "support/failing_heap.h"

namespace kvrpc::test {
namespace {

TEST(new_node, is_filled_with_zeros) {
  const tree_ptr node(json_new_node());
  const json_node zeros = {};
  EXPECT_EQ(std::memcmp(node.get(), &zeros, sizeof zeros), 0);
}

TEST(constructors, give_words_their_type_alone) {
  const tree_ptr null(json_new_null());
  const tree_ptr yes(json_new_true());
  const tree_ptr no(json_new_false());
  EXPECT_EQ(null->type, JSON_NULL);
  EXPECT_EQ(yes->type, JSON_TRUE);
  EXPECT_EQ(yes->integer, 0);
  EXPECT_EQ(yes->is_integer, 0);
  EXPECT_EQ(no->type, JSON_FALSE);
  EXPECT_EQ(no->is_integer, 0);
  EXPECT_EQ(parse("true")->integer, 1);
}

TEST(constructors, give_a_number_the_one_field_it_is_asked_for) {
  const tree_ptr five(json_new_integer(5));
  EXPECT_EQ(five->type, JSON_NUMBER);
  EXPECT_EQ(five->is_integer, 1);
  EXPECT_EQ(five->integer, 5);
  EXPECT_EQ(five->number, 0.0);
  EXPECT_EQ(parse("5")->number, 5.0);
  const tree_ptr half(json_new_double(2.5));
  EXPECT_EQ(half->type, JSON_NUMBER);
  EXPECT_EQ(half->is_integer, 0);
  EXPECT_EQ(half->integer, 0);
  EXPECT_EQ(half->number, 2.5);
}

TEST(constructors, copy_a_string) {
  char text[] = "abc";
  const tree_ptr node(json_new_string(text));
  text[0] = 'x';
  EXPECT_EQ(node->type, JSON_STRING);
  EXPECT_STREQ(node->text, "abc");
  EXPECT_EQ(node->key, nullptr);
}

TEST(constructors, take_an_owned_string_over) {
  const failing_heap heap(-1);
  char* text = json_strdup("abc");
  {
    const tree_ptr node(json_new_string_owned(text));
    EXPECT_EQ(node->type, JSON_STRING);
    EXPECT_EQ(node->text, text);
  }
  EXPECT_EQ(heap.live_blocks(), 0);
}

TEST(constructors, make_nothing_of_a_null_owned_string) {
  const failing_heap heap(-1);
  EXPECT_EQ(json_new_string_owned(nullptr), nullptr);
  EXPECT_EQ(heap.allocations(), 0);
}

TEST(constructors, leave_an_owned_string_with_the_caller_without_memory) {
  const failing_heap heap(1);
  text_ptr text(json_strdup("abc"));
  EXPECT_EQ(json_new_string_owned(text.get()), nullptr);
  EXPECT_STREQ(text.get(), "abc");
  EXPECT_EQ(heap.live_blocks(), 1);
  text.reset();
}

TEST(constructors, make_empty_containers) {
  const tree_ptr array(json_new_array());
  const tree_ptr object(json_new_object());
  EXPECT_EQ(array->type, JSON_ARRAY);
  EXPECT_EQ(array->child, nullptr);
  EXPECT_EQ(object->type, JSON_OBJECT);
  EXPECT_EQ(object->child, nullptr);
}

TEST(array_constructors, make_one_child_for_each_element) {
  const std::int64_t integers[] = {1, -2, INT64_MIN};
  const float floats[] = {0.5F, 0.1F};
  const double doubles[] = {0.5, 2.25};
  const char* const texts[] = {"a", "", "c\n"};
  EXPECT_EQ(print(tree_ptr(json_new_integer_array(integers, 3)).get()),
            "[1, -2, -9223372036854775808]");
  const tree_ptr widened(json_new_float_array(floats, 2));
  EXPECT_EQ(json_child_at(widened.get(), 1)->number, static_cast<double>(0.1F));
  EXPECT_EQ(print(tree_ptr(json_new_double_array(doubles, 2)).get()), "[0.500000, 2.250000]");
  EXPECT_EQ(print(tree_ptr(json_new_string_array(texts, 3)).get()), R"(["a", "", "c\n"])");
}

TEST(array_constructors, make_an_empty_array_of_no_elements) {
  EXPECT_EQ(print(tree_ptr(json_new_integer_array(nullptr, 0)).get()), "[]");
  EXPECT_EQ(print(tree_ptr(json_new_float_array(nullptr, -1)).get()), "[]");
  EXPECT_EQ(print(tree_ptr(json_new_double_array(nullptr, INT32_MIN)).get()), "[]");
  EXPECT_EQ(print(tree_ptr(json_new_string_array(nullptr, 0)).get()), "[]");
}

TEST(delete, takes_null) { json_delete(nullptr); }

TEST(delete, takes_the_subtree_and_leaves_the_siblings) {
  const failing_heap heap(-1);
  {
    const tree_ptr tree = parse(R"({"a":[1,["x"]],"b":2})");
    json_node* first = json_detach_at(tree.get(), 0);
    json_node* sibling = tree->child;
    json_link(first, sibling);
    json_delete(first);
    EXPECT_EQ(sibling->integer, 2);
    EXPECT_STREQ(sibling->key, "b");
    sibling->prev = nullptr;
    EXPECT_EQ(describe(tree.get()), "{'b':2}");
  }
  EXPECT_EQ(heap.live_blocks(), 0);
}

// The siblings are not changed, so a child that was deleted without being taken off its list is
// still what they point at.
TEST(delete, does_not_take_the_node_off_its_parents_list) {
  const tree_ptr tree = parse("[1,2,3]");
  json_node* head = tree->child;
  json_node* tail = head->next->next;
  const auto middle = reinterpret_cast<std::uintptr_t>(head->next);
  json_delete(head->next);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(head->next), middle);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(tail->prev), middle);
  json_link(head, tail);
  EXPECT_EQ(describe(tree.get()), "[1 3]");
}

TEST(delete, allocates_nothing) {
  const failing_heap heap(-1);
  tree_ptr tree = parse(R"([[[[{"a":{"b":[1,2,3]}}]]]])");
  const std::int64_t before = heap.allocations();
  tree.reset();
  EXPECT_EQ(heap.allocations(), before);
  EXPECT_EQ(heap.live_blocks(), 0);
}

TEST(duplicate, gives_null_for_null) { EXPECT_EQ(json_duplicate(nullptr), nullptr); }

TEST(duplicate, copies_every_field_deep) {
  for (const std::string& text : valid_texts()) {
    const tree_ptr tree = parse(text);
    const std::string before = describe(tree.get());
    const tree_ptr copy(json_duplicate(tree.get()));
    EXPECT_EQ(describe(copy.get()), before);
    EXPECT_EQ(describe(tree.get()), before);
  }
}

TEST(duplicate, leaves_out_the_siblings_of_the_root_and_keeps_its_key) {
  const tree_ptr tree = parse(R"({"a":1,"b":["x"],"c":3})");
  const json_node* middle = tree->child->next;
  const tree_ptr copy(json_duplicate(middle));
  EXPECT_EQ(copy->next, nullptr);
  EXPECT_EQ(copy->prev, nullptr);
  EXPECT_STREQ(copy->key, "b");
  EXPECT_NE(copy->key, middle->key);
  EXPECT_NE(copy->child->text, middle->child->text);
  EXPECT_EQ(print(copy.get()), R"(["x"])");
}

TEST(duplicate, copies_constructed_numbers_as_they_are) {
  const tree_ptr number(json_new_double(7.5));
  const tree_ptr copy(json_duplicate(number.get()));
  EXPECT_EQ(copy->number, 7.5);
  EXPECT_EQ(copy->integer, 0);
  EXPECT_EQ(copy->is_integer, 0);
}

int allocations_seen = 0;
int blocks_seen = 0;  // allocated less released
void* seen_allocate(std::size_t size) {
  ++allocations_seen;
  ++blocks_seen;
  return std::malloc(size);
}
void* seen_resize(void* block, std::size_t size) {
  ++allocations_seen;
  if (block == nullptr) ++blocks_seen;
  return std::realloc(block, size);
}
void seen_release(void* block) {
  EXPECT_NE(block, nullptr);
  --blocks_seen;
  std::free(block);
}

TEST(hooks, replace_the_functions_that_are_given) {
  json_allocator hooks = {seen_allocate, nullptr, nullptr};
  json_set_hooks(&hooks);
  hooks.allocate = nullptr;  // the library holds its own copy of the record
  allocations_seen = 0;
  EXPECT_EQ(json_hooks().allocate, seen_allocate);
  EXPECT_EQ(print(parse("[1]").get()), "[1]");
  EXPECT_EQ(allocations_seen, 2);
  json_set_hooks(nullptr);
}

TEST(hooks, go_back_to_the_standard_functions) {
  const json_allocator standard = json_hooks();
  const json_allocator hooks = {seen_allocate, nullptr, nullptr};
  json_set_hooks(&hooks);
  EXPECT_EQ(json_hooks().resize, standard.resize);
  EXPECT_EQ(json_hooks().release, standard.release);
  json_set_hooks(nullptr);
  EXPECT_EQ(json_hooks().allocate, standard.allocate);
  json_set_hooks(&hooks);
  const json_allocator none = {nullptr, nullptr, nullptr};
  json_set_hooks(&none);
  EXPECT_EQ(json_hooks().allocate, standard.allocate);
}

TEST(hooks, see_every_allocation_and_every_release) {
  const json_allocator hooks = {seen_allocate, seen_resize, seen_release};
  json_set_hooks(&hooks);
  allocations_seen = blocks_seen = 0;
  const failing_heap heap(-1);
  {
    const tree_ptr tree = parse(R"({"a":[[[1,2.5]]],"b":"text","c":{"d":null}})");
    const tree_ptr copy(json_duplicate(tree.get()));
    json_delete_member(copy.get(), "a");
    const text_ptr text(json_strdup("text"));
    const text_ptr compact(json_print(copy.get()));
    const text_ptr formatted(json_print_pretty(tree.get()));
    EXPECT_NE(json_document().parse("[1,2,3]"), nullptr);
    EXPECT_EQ(blocks_seen, heap.live_blocks());
    EXPECT_GT(blocks_seen, 10);
  }
  EXPECT_EQ(allocations_seen, heap.allocations());
  EXPECT_EQ(blocks_seen, 0);
  json_set_hooks(nullptr);
}

TEST(strdup, copies_into_a_block_of_its_own) {
  const failing_heap heap(-1);
  {
    const text_ptr copy(json_strdup("text"));
    EXPECT_STREQ(copy.get(), "text");
    EXPECT_EQ(heap.live_blocks(), 1);
  }
  EXPECT_EQ(heap.live_blocks(), 0);
}

}  // namespace
}  // namespace kvrpc::test
