// Structures and unions between JSON and memory.
#include <gtest/gtest.h>

#include "bridge/support/conversion.h"
#include "bridge/support/test_records.h"

namespace kvrpc::test {
namespace {

constexpr wire_type scalars = wire::inline_(shapes::scalars);
constexpr wire_type selected_type = wire::inline_(shapes::selected);
constexpr wire_type versioned = wire::inline_(shapes::versioned);

int encoded(const wire_type& type, const char* text) { return test_value(type).encode(text); }

// Returns the text that the record gives after `text` was encoded.
std::string round_trip(const wire_type& type, const char* text) {
  test_value value(type);
  EXPECT_EQ(value.encode(text), 1) << text;
  EXPECT_EQ(value.text(), value.reply());
  return value.text();
}

TEST(structure, an_empty_object_fills_nothing) {
  EXPECT_EQ(round_trip(scalars, "{}"),
            R"({"long":0,"int":0,"u_long":0,"short":0,"bool":false,"tail":0})");
}

TEST(structure, members_may_have_any_order_and_come_back_in_the_records) {
  EXPECT_EQ(round_trip(scalars, R"({"tail":6,"bool":true,"long":1})"),
            R"({"long":1,"int":0,"u_long":0,"short":0,"bool":true,"tail":6})");
}

TEST(structure, an_unknown_key_fails_at_any_depth) {
  EXPECT_EQ(encoded(scalars, R"({"long":1,"lang":2})"), 0);
  EXPECT_EQ(encoded(wire::inline_(shapes::nested), R"({"x":{"a":1}})"), 1);
  EXPECT_EQ(encoded(wire::inline_(shapes::nested), R"({"x":{"a":1,"z":1}})"), 0);
  EXPECT_EQ(encoded(wire::inline_(shapes::next_first), R"({"next":{"next":{"idx":1}}})"), 0);
  EXPECT_EQ(encoded(wire::array_of(shapes::entry), R"([{"slot":1},{"slat":1}])"), 0);
}

TEST(structure, keys_match_with_their_case) {
  EXPECT_EQ(encoded(scalars, R"({"Long":1})"), 0);
  EXPECT_EQ(encoded(scalars, R"({"lon":1})"), 0);
  EXPECT_EQ(encoded(scalars, R"({"long ":1})"), 0);
  EXPECT_EQ(encoded(scalars, R"({"":1})"), 0);
}

TEST(structure, takes_objects_alone) {
  for (const char* text : {"[]", "[1]", "1", "\"long\"", "null", "true"}) {
    EXPECT_EQ(encoded(scalars, text), 0) << text;
    EXPECT_EQ(encoded(selected_type, text), 0) << text;
    EXPECT_EQ(encoded(wire::inline_(shapes::next_first), text), 0) << text;
  }
}

TEST(structure, null_fits_no_member_but_a_pointer) {
  for (const char* text : {R"({"name":null})", R"({"signed":null})", R"({"dat":null})",
                           R"({"text":null})", R"({"comment":null})", R"({"file":null})"}) {
    EXPECT_EQ(encoded(wire::inline_(shapes::texts), text), 0) << text;
  }
  EXPECT_EQ(encoded(wire::inline_(shapes::pointers), R"({"first":null,"id":1})"), 1);
  EXPECT_EQ(encoded(wire::inline_(shapes::pointers), R"({"id":null})"), 0);
  EXPECT_EQ(encoded(wire::inline_(shapes::nested), R"({"x":null})"), 0);
  EXPECT_EQ(encoded(wire::inline_(shapes::vectors), R"({"hinterg":null})"), 0);
}

TEST(structure, an_absent_pointer_is_null) {
  EXPECT_EQ(round_trip(wire::inline_(shapes::pointers), R"({"id":4})"),
            R"({"first":null,"id":4,"second":null,"third":null})");
}

TEST(structure, a_pointer_takes_a_record_or_null_alone) {
  for (const char* text : {R"({"first":1})", R"({"first":[]})", R"({"first":"x"})",
                           R"({"first":true})", R"({"first":{"x":1}})"}) {
    EXPECT_EQ(encoded(wire::inline_(shapes::pointers), text), 0) << text;
  }
}

TEST(structure, a_null_text_fails_the_decode_of_the_whole) {
  EXPECT_EQ(encoded(wire::inline_(shapes::texts), R"({"text":"a","comment":"b","file":"c"})"), 1);
  for (const char* text : {R"({"text":"a","comment":"b"})", R"({"text":"a","file":"b"})",
                           R"({"comment":"a","file":"b"})"}) {
    test_value value(wire::inline_(shapes::texts));
    ASSERT_EQ(value.encode(text), 1);
    EXPECT_EQ(value.text(), no_text) << text;
  }
}

TEST(structure, a_value_of_another_kind_fails) {
  EXPECT_EQ(encoded(scalars, R"({"long":"1"})"), 0);
  EXPECT_EQ(encoded(scalars, R"({"bool":1})"), 0);
  EXPECT_EQ(encoded(scalars, R"({"short":65537})"), 1);
  EXPECT_EQ(encoded(wire::inline_(shapes::vectors), R"({"aktpar":["0"]})"), 0);
  EXPECT_EQ(encoded(wire::inline_(shapes::vectors), R"({"nested":[["a","b"],["c"]]})"), 0);
  EXPECT_EQ(encoded(wire::inline_(shapes::octets), R"({"permissions":"AA=="})"), 0);
}

TEST(structure, a_list_is_as_many_levels_of_nesting) {
  EXPECT_EQ(
      round_trip(wire::inline_(shapes::next_first), R"({"id":1,"next":{"id":2,"next":{"id":3}}})"),
      R"({"next":{"next":{"next":null,"id":3},"id":2},"id":1})");
}

TEST(structure, a_list_node_takes_its_members_on_both_sides_of_next) {
  EXPECT_EQ(round_trip(wire::inline_(shapes::next_middle),
                       R"({"name":"a","next":{"next":null,"name":"b","id":2},"id":1})"),
            R"({"id":1,"next":{"id":2,"next":null,"name":"b"},"name":"a"})");
}

TEST(structure, a_list_without_nodes_is_valid_in_both_directions) {
  test_value value(wire::inline_(shapes::list_head));
  EXPECT_EQ(value.encode(R"({"anz":0,"first":null})"), 1);
  bytes wire;
  ASSERT_TRUE(value.put(&wire));
  EXPECT_EQ(wire, bytes(16));
  test_value back(wire::inline_(shapes::list_head));
  ASSERT_TRUE(back.get(wire));
  EXPECT_EQ(back.text(), R"({"anz":0,"first":null,"other":null,"data":null})");
  EXPECT_EQ(back.reply(), back.text());
}

TEST(structure, a_failure_after_many_nodes_leaves_what_is_released) {
  test_value value(wire::inline_(shapes::next_middle));
  EXPECT_EQ(value.encode(R"({"next":{"next":{"next":{"name":7},"id":1},"id":1},"id":1})"), 0);
}

TEST(a_record_that_is_not_described, converts_to_nothing) {
  EXPECT_EQ(encoded(wire::unspecified, "{}"), 0);
  test_value value(wire::unspecified);
  EXPECT_EQ(value.text(), no_text);
  bytes wire;
  EXPECT_FALSE(value.put(&wire));
  EXPECT_FALSE(value.get(bytes(8)));
  EXPECT_EQ(reply_text(wire::unspecified, bytes(8)), "");
}

TEST(union_record, ignores_case_and_other_members) {
  EXPECT_EQ(round_trip(selected_type, R"({"x":[],"Selection":0,"V0":{"id":"a"},"v1":7})"),
            R"({"selection":0,"v0":{"id":"a"}})");
}

TEST(union_record, ignores_the_case_of_its_keys_but_not_inside_its_arm) {
  EXPECT_EQ(encoded(selected_type, R"({"SELECTION":0,"V0":{"id":"a"}})"), 1);
  EXPECT_EQ(encoded(selected_type, R"({"selection":0,"v0":{"ID":"a"}})"), 0);
}

TEST(union_record, takes_the_first_of_equal_keys) {
  EXPECT_EQ(round_trip(selected_type, R"({"selection":7,"selection":0,"errcode":5,"ERRCODE":6})"),
            R"({"selection":7,"errcode":5})");
}

TEST(union_record, needs_its_discriminant_as_a_number_of_its_table) {
  for (const char* text :
       {"{}", R"({"v0":{}})", R"({"selection":"0","v0":{}})", R"({"selection":true,"v0":{}})",
        R"({"selection":null,"v0":{}})", R"({"selection":5,"v0":{},"v5":{}})",
        R"({"selection":-1,"v0":{}})", R"({"vers":0,"v0":{}})"}) {
    EXPECT_EQ(encoded(selected_type, text), 0) << text;
  }
}

TEST(union_record, cuts_its_discriminant_like_any_int) {
  EXPECT_EQ(round_trip(selected_type, R"({"selection":4294967303,"errcode":1})"),
            R"({"selection":7,"errcode":1})");
  EXPECT_EQ(round_trip(selected_type, R"({"selection":7.5,"v0":{},"errcode":1})"),
            R"({"selection":0,"v0":{"id":""}})");
}

TEST(union_record, needs_the_arm_that_is_selected) {
  for (const char* text : {R"({"selection":0})", R"({"selection":0,"v1":{}})",
                           R"({"selection":7,"v7":1})", R"({"selection":0,"v0":null})",
                           R"({"selection":0,"v0":1})", R"({"selection":7,"errcode":"1"})"}) {
    EXPECT_EQ(encoded(selected_type, text), 0) << text;
  }
}

TEST(union_record, with_one_arm_of_value_1_refuses_0) {
  EXPECT_EQ(encoded(versioned, R"({"vers":0,"v0":{},"v1":{}})"), 0);
  EXPECT_EQ(encoded(versioned, R"({"vers":1,"v1":{}})"), 1);
}

TEST(union_record, refuses_a_value_outside_its_table_on_every_road) {
  for (std::int32_t value : {2, -1, 8, INT32_MIN}) {
    test_value record(selected_type);
    store(record.data(), value);
    EXPECT_EQ(record.text(), no_text) << value;
    bytes wire;
    EXPECT_FALSE(record.put(&wire)) << value;
    test_value other(selected_type);
    bytes unit(12);
    xdr_store_unit(unit.data(), static_cast<std::uint32_t>(value));
    EXPECT_FALSE(other.get(unit)) << value;
    EXPECT_EQ(reply_text(selected_type, unit), "") << value;
  }
}

TEST(samples, come_back_as_they_went) {
  for (const test_shape& shape : test_shapes) {
    EXPECT_EQ(round_trip(shape.type, shape.sample), shape.sample) << shape.name;
  }
}

}  // namespace
}  // namespace kvrpc::test
