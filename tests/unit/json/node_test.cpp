// The constructors of nodes, deletion, duplication, and the allocation hooks.
#include <gtest/gtest.h>

#include <cstring>

#include "json_support.h"

namespace kvrpc::test {
namespace {

TEST(NewNode, IsFilledWithZeros) {
  const tree_ptr node(json_new_node());
  const json_node zeros = {};
  EXPECT_EQ(std::memcmp(node.get(), &zeros, sizeof zeros), 0);
}

TEST(Constructors, GiveWordsTheirTypeAlone) {
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

TEST(Constructors, GiveANumberTheOneFieldItIsAskedFor) {
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

TEST(Constructors, CopyAString) {
  char text[] = "abc";
  const tree_ptr node(json_new_string(text));
  text[0] = 'x';
  EXPECT_EQ(node->type, JSON_STRING);
  EXPECT_STREQ(node->text, "abc");
  EXPECT_EQ(node->key, nullptr);
}

TEST(Constructors, TakeAnOwnedStringOver) {
  const counting_hooks hooks;
  char* text = json_strdup("abc");
  {
    const tree_ptr node(json_new_string_owned(text));
    EXPECT_EQ(node->type, JSON_STRING);
    EXPECT_EQ(node->text, text);
  }
  EXPECT_EQ(hooks.live_blocks(), 0);
}

TEST(Constructors, MakeNothingOfANullOwnedString) {
  const counting_hooks hooks;
  EXPECT_EQ(json_new_string_owned(nullptr), nullptr);
  EXPECT_EQ(hooks.allocations(), 0);
}

TEST(Constructors, LeaveAnOwnedStringWithTheCallerWithoutMemory) {
  const counting_hooks hooks(1);
  text_ptr text(json_strdup("abc"));
  EXPECT_EQ(json_new_string_owned(text.get()), nullptr);
  EXPECT_STREQ(text.get(), "abc");
  EXPECT_EQ(hooks.live_blocks(), 1);
  text.reset();
}

TEST(Constructors, MakeEmptyContainers) {
  const tree_ptr array(json_new_array());
  const tree_ptr object(json_new_object());
  EXPECT_EQ(array->type, JSON_ARRAY);
  EXPECT_EQ(array->child, nullptr);
  EXPECT_EQ(object->type, JSON_OBJECT);
  EXPECT_EQ(object->child, nullptr);
}

TEST(ArrayConstructors, MakeOneChildForEachElement) {
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

TEST(ArrayConstructors, MakeAnEmptyArrayOfNoElements) {
  EXPECT_EQ(print(tree_ptr(json_new_integer_array(nullptr, 0)).get()), "[]");
  EXPECT_EQ(print(tree_ptr(json_new_float_array(nullptr, -1)).get()), "[]");
  EXPECT_EQ(print(tree_ptr(json_new_double_array(nullptr, INT32_MIN)).get()), "[]");
  EXPECT_EQ(print(tree_ptr(json_new_string_array(nullptr, 0)).get()), "[]");
}

TEST(Delete, TakesNull) { json_delete(nullptr); }

TEST(Delete, TakesTheSubtreeAndLeavesTheSiblings) {
  const counting_hooks hooks;
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
  EXPECT_EQ(hooks.live_blocks(), 0);
}

// The siblings are not changed, so a child that was deleted without being taken off its list is
// still what they point at.
TEST(Delete, DoesNotTakeTheNodeOffItsParentsList) {
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

TEST(Delete, AllocatesNothing) {
  const counting_hooks hooks;
  tree_ptr tree = parse(R"([[[[{"a":{"b":[1,2,3]}}]]]])");
  const std::int64_t before = hooks.allocations() + hooks.resizes();
  tree.reset();
  EXPECT_EQ(hooks.allocations() + hooks.resizes(), before);
  EXPECT_EQ(hooks.live_blocks(), 0);
}

TEST(Duplicate, GivesNullForNull) { EXPECT_EQ(json_duplicate(nullptr), nullptr); }

TEST(Duplicate, CopiesEveryFieldDeep) {
  for (const std::string& text : valid_texts()) {
    const tree_ptr tree = parse(text);
    const std::string before = describe(tree.get());
    const tree_ptr copy(json_duplicate(tree.get()));
    EXPECT_EQ(describe(copy.get()), before);
    EXPECT_EQ(describe(tree.get()), before);
  }
}

TEST(Duplicate, LeavesTheSiblingsOfTheRootBehindAndKeepsItsKey) {
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

TEST(Duplicate, CopiesConstructedNumbersAsTheyAre) {
  const tree_ptr number(json_new_double(7.5));
  const tree_ptr copy(json_duplicate(number.get()));
  EXPECT_EQ(copy->number, 7.5);
  EXPECT_EQ(copy->integer, 0);
  EXPECT_EQ(copy->is_integer, 0);
}

int allocations_seen = 0;
void* seen_allocate(std::size_t size) {
  ++allocations_seen;
  return std::malloc(size);
}

TEST(Hooks, ReplaceTheFunctionsThatAreGiven) {
  json_allocator hooks = {seen_allocate, nullptr, nullptr};
  json_set_hooks(&hooks);
  hooks.allocate = nullptr;  // the library holds its own copy of the record
  allocations_seen = 0;
  EXPECT_EQ(json_hooks().allocate, seen_allocate);
  EXPECT_EQ(print(parse("[1]").get()), "[1]");
  EXPECT_EQ(allocations_seen, 2);
  json_set_hooks(nullptr);
}

TEST(Hooks, GoBackToTheStandardFunctions) {
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

TEST(Strdup, CopiesThroughTheHook) {
  const counting_hooks hooks;
  {
    const text_ptr copy(json_strdup("text"));
    EXPECT_STREQ(copy.get(), "text");
    EXPECT_EQ(hooks.live_blocks(), 1);
  }
  EXPECT_EQ(hooks.live_blocks(), 0);
}

}  // namespace
}  // namespace kvrpc::test
