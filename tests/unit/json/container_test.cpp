// Lookup in arrays and objects, and changes to them.
#include <gtest/gtest.h>

#include "json_support.h"
#include "support/failing_heap.h"

namespace kvrpc::test {
namespace {

TEST(find, ignores_ascii_case_alone) {
  const tree_ptr tree = parse("{\"Name\":1,\"@[\":2,\"\xC3\xA4\":3}");
  EXPECT_EQ(json_find(tree.get(), "nAME")->integer, 1);
  EXPECT_EQ(json_find(tree.get(), "Nam"), nullptr);
  EXPECT_EQ(json_find(tree.get(), "Names"), nullptr);
  EXPECT_EQ(json_find(tree.get(), "`{"), nullptr);
  EXPECT_EQ(json_find(tree.get(), "\xC3\x84"), nullptr);
  EXPECT_EQ(json_find(tree.get(), "\xC3\xA4")->integer, 3);
}

TEST(find, gives_the_earlier_of_two_spellings) {
  const tree_ptr lower_first = parse(R"({"x":1,"X":2})");
  EXPECT_EQ(json_find(lower_first.get(), "X")->integer, 1);
  const tree_ptr upper_first = parse(R"({"X":2,"x":1})");
  EXPECT_EQ(json_find(upper_first.get(), "x")->integer, 2);
}

TEST(find, finds_nothing_in_an_array_or_in_nothing) {
  const tree_ptr array = parse("[1,2]");
  EXPECT_EQ(json_find(array.get(), "a"), nullptr);
  EXPECT_EQ(json_find(array.get(), ""), nullptr);
  EXPECT_EQ(json_find(nullptr, "a"), nullptr);
  EXPECT_EQ(json_find(parse("{}").get(), "a"), nullptr);
}

TEST(find, ends_at_a_child_without_a_key) {
  const tree_ptr object(json_new_object());
  json_add_member(object.get(), "a", json_new_integer(1));
  json_add_item(object.get(), json_new_integer(2));
  json_add_member(object.get(), "b", json_new_integer(3));
  EXPECT_EQ(json_find(object.get(), "a")->integer, 1);
  EXPECT_EQ(json_find(object.get(), "b"), nullptr);
}

TEST(children, are_counted_and_indexed) {
  const tree_ptr tree = parse("[10,20,30]");
  EXPECT_EQ(json_child_count(tree.get()), 3U);
  EXPECT_EQ(json_child_at(tree.get(), 0)->integer, 10);
  EXPECT_EQ(json_child_at(tree.get(), 2)->integer, 30);
  EXPECT_EQ(json_child_at(tree.get(), 3), nullptr);
  EXPECT_EQ(json_child_at(tree.get(), UINT32_MAX), nullptr);
  EXPECT_EQ(json_child_count(parse("[]").get()), 0U);
}

TEST(add_item, appends_at_the_tail) {
  const tree_ptr tree = parse("[1]");
  EXPECT_EQ(json_add_item(tree.get(), json_new_integer(2)), 1);
  EXPECT_EQ(json_add_item(tree.get(), json_new_integer(3)), 1);
  EXPECT_EQ(print(tree.get()), "[1, 2, 3]");
  EXPECT_EQ(tree->child->next->next->prev, tree->child->next);
  EXPECT_EQ(json_add_item(tree.get(), nullptr), 0);
}

TEST(add_member, gives_the_child_a_copy_of_the_key) {
  const failing_heap heap(-1);
  {
    const tree_ptr tree(json_new_object());
    char key[] = "a";
    EXPECT_EQ(json_add_member(tree.get(), key, json_new_integer(1)), 1);
    key[0] = 'x';
    json_node* item = json_detach_at(tree.get(), 0);
    EXPECT_EQ(json_add_member(tree.get(), "b", item), 1);
    EXPECT_EQ(print(tree.get()), R"({"b":1})");
    EXPECT_EQ(json_add_member(tree.get(), "c", nullptr), 0);
  }
  EXPECT_EQ(heap.live_blocks(), 0);
}

TEST(add_member, leaves_the_child_with_the_caller_without_memory) {
  const failing_heap heap(3);
  tree_ptr tree(json_new_object());
  tree_ptr item(json_new_integer(1));
  item->key = json_strdup("old");
  EXPECT_EQ(json_add_member(tree.get(), "new", item.get()), 0);
  EXPECT_TRUE(heap.failed());
  EXPECT_EQ(item->key, nullptr);
  EXPECT_EQ(tree->child, nullptr);
  EXPECT_EQ(heap.live_blocks(), 2);
  item.reset();
  tree.reset();
}

TEST(removal, deletes_by_index_and_by_key) {
  const failing_heap heap(-1);
  {
    const tree_ptr tree = parse(R"({"a":1,"b":[2],"c":3,"d":4})");
    EXPECT_EQ(json_delete_at(tree.get(), 1), 1);
    EXPECT_EQ(describe(tree.get()), "{'a':1 'c':3 'd':4}");
    EXPECT_EQ(json_delete_at(tree.get(), 3), 0);
    EXPECT_EQ(json_delete_member(tree.get(), "A"), 1);
    EXPECT_EQ(json_delete_member(tree.get(), "a"), 0);
    EXPECT_EQ(describe(tree.get()), "{'c':3 'd':4}");
    EXPECT_EQ(json_delete_at(tree.get(), 1), 1);
    EXPECT_EQ(json_delete_at(tree.get(), 0), 1);
    EXPECT_EQ(describe(tree.get()), "{}");
  }
  EXPECT_EQ(heap.live_blocks(), 0);
}

TEST(removal, detaches_by_index_and_by_key) {
  const tree_ptr tree = parse(R"({"a":1,"b":2,"c":3})");
  const tree_ptr middle(json_detach_member(tree.get(), "B"));
  EXPECT_EQ(middle->integer, 2);
  EXPECT_EQ(middle->next, nullptr);
  EXPECT_EQ(middle->prev, nullptr);
  const tree_ptr head(json_detach_at(tree.get(), 0));
  EXPECT_STREQ(head->key, "a");
  EXPECT_EQ(describe(tree.get()), "{'c':3}");
  EXPECT_EQ(json_detach_at(tree.get(), 1), nullptr);
  EXPECT_EQ(json_detach_member(tree.get(), "b"), nullptr);
}

TEST(replace_member, puts_the_new_one_at_the_tail) {
  const tree_ptr tree = parse(R"({"a":1,"b":2})");
  EXPECT_EQ(json_replace_member(tree.get(), "A", json_new_integer(3)), 1);
  EXPECT_EQ(describe(tree.get()).substr(0, 10), "{'b':2 'A'");
  EXPECT_EQ(print(tree.get()), R"({"b":2,"A":3})");
}

TEST(replace_member, appends_under_an_absent_key) {
  const tree_ptr tree = parse(R"({"a":1})");
  EXPECT_EQ(json_replace_member(tree.get(), "b", json_new_null()), 1);
  EXPECT_EQ(print(tree.get()), R"({"a":1,"b":null})");
}

TEST(replace_member, has_deleted_the_old_one_when_there_is_no_new_one) {
  const tree_ptr tree = parse(R"({"a":1,"b":2})");
  EXPECT_EQ(json_replace_member(tree.get(), "a", nullptr), 0);
  EXPECT_EQ(print(tree.get()), R"({"b":2})");
}

TEST(unlink, clears_the_links_of_the_node_in_every_case) {
  const tree_ptr tree = parse("[1,2]");
  json_node* tail = tree->child->next;
  json_unlink(nullptr, tail);
  EXPECT_EQ(tail->prev, nullptr);
  json_link(tree->child, tail);
  const tree_ptr head(tree->child);
  json_unlink(tree.get(), head.get());
  EXPECT_EQ(tree->child, tail);
  EXPECT_EQ(tail->prev, nullptr);
  json_unlink(tree.get(), nullptr);
  EXPECT_EQ(describe(tree.get()), "[2]");
}

TEST(link, gives_the_earlier_node_back) {
  const tree_ptr earlier(json_new_null());
  const tree_ptr later(json_new_null());
  EXPECT_EQ(json_link(earlier.get(), later.get()), earlier.get());
  EXPECT_EQ(earlier->next, later.get());
  EXPECT_EQ(later->prev, earlier.get());
}

}  // namespace
}  // namespace kvrpc::test
