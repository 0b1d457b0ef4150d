// A key that occurs twice: the later value replaces the earlier one in place, and nothing leaks.
#include <gtest/gtest.h>

#include "bridge/support/conversion.h"
#include "bridge/support/test_records.h"
#include "support/failing_heap.h"

namespace kvrpc::test {
namespace {

std::string result_of(const wire_type& type, const char* text) {
  failing_heap heap(-1);
  std::string result;
  {
    test_value value(type);
    EXPECT_EQ(value.encode(text), 1) << text;
    result = value.text();
  }
  EXPECT_EQ(heap.live_blocks(), 0) << text;
  return result;
}

TEST(duplicate_keys, the_later_scalar_wins) {
  EXPECT_EQ(result_of(wire::inline_(shapes::octets),
                      R"({"id":1,"permissions":"AAAA","permissions":"abcd","id":2})"),
            R"({"permissions":"abcd","data":"","id":2})");
}

TEST(duplicate_keys, the_later_text_wins) {
  EXPECT_EQ(result_of(wire::inline_(shapes::texts),
                      R"({"name":"abcdef","name":"x","text":"first","text":"2","comment":"1",)"
                      R"("comment":"second","file":"1","file":"second","dat":"123","dat":"4"})"),
            R"({"name":"x","signed":"","dat":"4","text":"2","comment":"second","file":"second"})");
}

TEST(duplicate_keys, a_text_that_is_too_long_leaves_the_earlier_one) {
  EXPECT_EQ(result_of(wire::chars(4), "\"abc\""), "\"abc\"");
  static constexpr structure name{"name", {{"name", wire::chars(4)}}};
  EXPECT_EQ(result_of(wire::inline_(name), R"({"name":"abc","name":"abcd"})"), R"({"name":"abc"})");
}

TEST(duplicate_keys, blobs_and_arrays_are_replaced) {
  EXPECT_EQ(result_of(wire::inline_(shapes::octets),
                      R"({"permissions":"abcd","data":"AAAA","data":"","data":"/w=="})"),
            R"({"permissions":"abcd","data":"/w==","id":0})");
  EXPECT_EQ(result_of(wire::inline_(shapes::rich_node),
                      R"({"which":{"selection":7,"errcode":1},"items":[{"name":"a"},{"name":"b"}],)"
                      R"("items":[{"name":"c","list":{"id":1}}]})"),
            R"({"next":null,"which":{"selection":7,"errcode":1},)"
            R"("items":[{"name":"c","list":{"next":null,"id":1}}],"inner":null,"data":""})");
}

TEST(duplicate_keys, nested_records_merge) {
  static constexpr structure outer{"outer", {{"x", wire::inline_(shapes::scalars)}}};
  EXPECT_EQ(result_of(wire::inline_(outer), R"({"x":{"long":1,"int":2},"x":{"int":3,"tail":4}})"),
            R"({"x":{"long":1,"int":3,"u_long":0,"short":0,"bool":false,"tail":4}})");
}

TEST(duplicate_keys, vectors_are_filled_again) {
  static constexpr wire_type item = wire::chars(3);
  static constexpr structure outer{"outer", {{"v", wire::vector_of(item, 2)}}};
  EXPECT_EQ(result_of(wire::inline_(outer), R"({"v":["a","b"],"v":["ccc","d"]})"),
            R"({"v":["a", "d"]})");
}

TEST(duplicate_keys, an_object_after_an_object_is_a_fresh_target) {
  EXPECT_EQ(result_of(wire::inline_(shapes::pointers),
                      R"({"first":{"long":1,"int":2},"first":{"int":3}})"),
            R"({"first":{"long":0,"int":3,"u_long":0,"short":0,"bool":false,"tail":0},"id":0,)"
            R"("second":null,"third":null})");
}

TEST(duplicate_keys, null_leaves_the_earlier_target) {
  EXPECT_EQ(result_of(wire::inline_(shapes::list_head), R"({"first":{"id":1},"first":null})"),
            R"({"anz":0,"first":{"next":null,"id":1},"other":null,"data":null})");
  EXPECT_EQ(result_of(wire::inline_(shapes::next_first), R"({"next":{"id":2},"next":null})"),
            R"({"next":{"next":null,"id":2},"id":0})");
}

TEST(duplicate_keys, a_list_after_a_list_is_a_fresh_one) {
  EXPECT_EQ(result_of(wire::inline_(shapes::next_middle),
                      R"({"next":{"next":{"id":3},"name":"x"},"id":1,"next":{"id":4}})"),
            R"({"id":1,"next":{"id":4,"next":null,"name":""},"name":""})");
  EXPECT_EQ(result_of(wire::inline_(shapes::next_last),
                      R"({"text":"a","next":{"text":"b","next":{"text":"c"}},)"
                      R"("next":{"text":"d","text":"e","next":null,"next":{"text":"f"}}})"),
            R"({"data":{"a":0,"b":""},"text":"a","next":{"data":{"a":0,"b":""},"text":"e",)"
            R"("next":{"data":{"a":0,"b":""},"text":"f","next":null}}})");
}

constexpr structure one_union{"one_union", {{"u", wire::inline_(shapes::selected)}}};

TEST(duplicate_keys, a_union_with_the_same_arm_merges) {
  EXPECT_EQ(
      result_of(wire::inline_(one_union), R"({"u":{"selection":1,"v1":{"id":"a","text":"t"}},)"
                                          R"("u":{"selection":1,"v1":{"id":"b"}}})"),
      R"({"u":{"selection":1,"v1":{"id":"b","text":"t","more":null}}})");
}

TEST(duplicate_keys, a_union_with_another_arm_is_released_and_zeroed) {
  EXPECT_EQ(result_of(wire::inline_(one_union),
                      R"({"u":{"selection":1,"v1":{"id":"abcde","text":"t","more":{}}},)"
                      R"("u":{"selection":0,"v0":{}}})"),
            R"({"u":{"selection":0,"v0":{"id":""}}})");
  EXPECT_EQ(result_of(wire::inline_(one_union),
                      R"({"u":{"selection":7,"errcode":-1},"u":{"selection":1,"v1":{"text":""}}})"),
            R"({"u":{"selection":1,"v1":{"id":"","text":"","more":null}}})");
}

TEST(duplicate_keys, a_union_of_unknown_value_after_a_filled_one_leaks_nothing) {
  failing_heap heap(-1);
  {
    test_value value(wire::inline_(one_union));
    EXPECT_EQ(value.encode(R"({"u":{"selection":1,"v1":{"text":"t","more":{"text":"x"}}},)"
                           R"("u":{"selection":2,"v1":{}}})"),
              0);
  }
  EXPECT_EQ(heap.live_blocks(), 0);
}

TEST(duplicate_keys, a_later_value_of_a_wrong_kind_fails_and_leaks_nothing) {
  failing_heap heap(-1);
  for (const char* text : {R"({"first":{"id":1},"first":1})", R"({"data":{"text":"a"},"data":[]})",
                           R"({"other":{"next":{}},"other":{"next":{},"next":7}})"}) {
    test_value value(wire::inline_(shapes::list_head));
    EXPECT_EQ(value.encode(std::string(text)), 0) << text;
  }
  EXPECT_EQ(heap.live_blocks(), 0);
}

}  // namespace
}  // namespace kvrpc::test
