// Records on the wire: each type's bytes, and what a failed or hostile read leaves.
#include <gtest/gtest.h>

#include "bridge/support/call.h"
#include "bridge/support/conversion.h"
#include "bridge/support/test_records.h"
#include "support/failing_heap.h"

namespace kvrpc::test {
namespace {

bytes wire_of(const wire_type& type, const char* text) {
  test_value value(type);
  bytes wire;
  EXPECT_EQ(value.encode(text), 1) << text;
  EXPECT_TRUE(value.put(&wire)) << text;
  return wire;
}

std::string text_of_wire(const wire_type& type, const bytes& wire) {
  test_value value(type);
  EXPECT_TRUE(value.get(wire));
  EXPECT_EQ(value.text(), reply_text(type, wire));
  return value.text();
}

bytes of(const char* text, std::size_t size) { return bytes(text, text + size); }

TEST(record_wire, scalars_take_a_unit_each) {
  EXPECT_EQ(wire_of(wire::inline_(shapes::scalars),
                    R"({"long":-1,"int":2,"u_long":4294967295,"short":-2,"bool":true,"tail":3})"),
            units({0xFFFFFFFF, 2, 0xFFFFFFFF, 0xFFFFFFFE, 1, 3}));
}

TEST(record_wire, a_short_keeps_the_low_half_and_a_bool_any_unit) {
  EXPECT_EQ(text_of_wire(wire::inline_(shapes::scalars), units({0, 0, 0, 0x1FFFF, 9, 0x18000})),
            R"({"long":0,"int":0,"u_long":0,"short":-1,"bool":true,"tail":-32768})");
}

TEST(record_wire, a_bool_is_0_or_1_in_memory_however_it_is_read) {
  static constexpr structure flags{"flags", {{"a", wire::bool_}, {"b", wire::bool_}}};
  for (inline_mode mode : {inline_mode::always, inline_mode::never}) {
    test_value value(wire::inline_(flags));
    ASSERT_TRUE(value.get(units({0x44434241, 0}), mode));
    EXPECT_EQ(load<std::int32_t>(value.data()), 1);
    EXPECT_EQ(load<std::int32_t>(value.data() + 4), 0);
  }
}

TEST(record_wire, characters_take_a_unit_each_with_their_sign) {
  for (const wire_type& type : {wire::chars(3), wire::schars(3)}) {
    EXPECT_EQ(wire_of(type, "\"a\u00e4\""), units({'a', 0xFFFFFFE4, 0}));
    EXPECT_EQ(text_of_wire(type, units({'a', 0xFFFFFFE4, 0})), "\"a\u00e4\"");
    EXPECT_EQ(text_of_wire(type, units({'a', 0x123456E4, 0xFFFFFF00})), "\"a\u00e4\"");
  }
}

TEST(record_wire, a_text_too_long_for_its_field_goes_out_as_zeros) {
  EXPECT_EQ(wire_of(wire::chars(3), "\"abc\""), units({0, 0, 0}));
}

TEST(record_wire, counted_texts_carry_their_nul) {
  EXPECT_EQ(wire_of(wire::text, "\"abc\""), of("\0\0\0\4abc\0", 8));
  EXPECT_EQ(wire_of(wire::text_of(80), "\"abcd\""), of("\0\0\0\5abcd\0\0\0\0", 12));
  EXPECT_EQ(wire_of(wire::string, "\"abcd\""), of("\0\0\0\4abcd", 8));
}

TEST(record_wire, a_counted_text_is_bounded_in_both_directions) {
  test_value value(wire::text_of(4));
  EXPECT_TRUE(value.get(of("\0\0\0\4abcd", 8)));
  EXPECT_EQ(value.text(), value.reply());
  test_value longer(wire::text_of(4));
  EXPECT_FALSE(longer.get(of("\0\0\0\5abcde\0\0\0", 12)));
  EXPECT_EQ(reply_text(wire::text_of(4), of("\0\0\0\5abcde\0\0\0", 12)), "");
  EXPECT_EQ(wire_of(wire::text_of(4), "\"abcdef\""), of("\0\0\0\4abcd", 8));
}

TEST(record_wire, fixed_opaques_are_padded) {
  EXPECT_EQ(wire_of(wire::opaque(5), "\"abc\""), of("abc\0\0\0\0\0", 8));
  EXPECT_EQ(wire_of(wire::opaque64(3), "\"abcd\""), of("\x69\xB7\x1D\0", 4));
  EXPECT_EQ(text_of_wire(wire::opaque64(3), of("\x69\xB7\x1D\xFF", 4)), "\"abcd\"");
}

TEST(record_wire, a_list_carries_its_links_where_next_is) {
  EXPECT_EQ(
      wire_of(wire::inline_(shapes::next_first), R"({"id":1,"next":{"id":2,"next":{"id":3}}})"),
      units({1, 1, 0, 3, 2, 1}));
  EXPECT_EQ(wire_of(wire::inline_(shapes::next_last), R"({"next":{"text":"b"},"text":"a"})").size(),
            2 * (4 + 20) + 2 * 8 + 2 * 4u);
  const std::string text = R"({"next":{"next":{"next":null,"id":3},"id":2},"id":1})";
  EXPECT_EQ(text_of_wire(wire::inline_(shapes::next_first), units({1, 1, 0, 3, 2, 1})), text);
}

TEST(record_wire, an_optional_record_follows_its_flag) {
  EXPECT_EQ(wire_of(wire::inline_(shapes::list_head), R"({"anz":2,"first":{"id":5}})"),
            units({2, 1, 0, 5, 0, 0}));
}

TEST(record_wire, an_array_follows_its_count) {
  const bytes wire = wire_of(wire::array_of(shapes::entry), R"([{"slot":1},{"slot":2}])");
  ASSERT_EQ(wire.size(), 4 + 2 * 17 * 4u);
  EXPECT_EQ(xdr_load_unit(wire.data()), 2u);
  EXPECT_EQ(xdr_load_unit(wire.data() + 4 + 17 * 4), 2u);
}

TEST(record_wire, a_union_is_its_discriminant_and_one_arm) {
  EXPECT_EQ(wire_of(wire::inline_(shapes::selected), R"({"selection":7,"errcode":-1})"),
            units({7, 0xFFFFFFFF}));
}

TEST(record_release, gives_every_block_back_and_may_run_twice) {
  for (const test_shape& shape : test_shapes) {
    failing_heap heap(-1);
    test_value value(shape.type);
    ASSERT_EQ(value.encode(shape.sample), 1) << shape.name;
    value.release();
    EXPECT_EQ(heap.live_blocks(), 0) << shape.name;
    value.release();
    EXPECT_EQ(heap.live_blocks(), 0) << shape.name;
  }
}

TEST(record_release, an_array_with_count_0_gives_back_its_block) {
  failing_heap heap(-1);
  {
    test_value value(wire::array_of(shapes::entry));
    ASSERT_EQ(value.encode("[]"), 1);
    EXPECT_NE(load_block_pointer(value.data()), nullptr);
  }
  EXPECT_EQ(heap.live_blocks(), 0);
}

TEST(record_release, goes_on_after_a_union_of_unknown_value) {
  static constexpr structure both{"both",
                                  {
                                      {"which", wire::inline_(shapes::selected)},
                                      {"text", wire::text},
                                  }};
  failing_heap heap(-1);
  {
    test_value value(wire::inline_(both));
    ASSERT_EQ(value.encode(R"({"text":"abc"})"), 1);
    store<std::int32_t>(value.data(), 99);
  }
  EXPECT_EQ(heap.live_blocks(), 0);
}

TEST(record_decode, a_failure_leaves_what_can_be_released) {
  failing_heap heap(-1);
  for (const test_shape& shape : test_shapes) {
    const bytes wire = wire_of(shape.type, shape.sample);
    for (std::size_t size = 0; size < wire.size(); ++size) {
      test_value value(shape.type);
      EXPECT_FALSE(
          value.get(bytes(wire.begin(), wire.begin() + static_cast<std::ptrdiff_t>(size))));
    }
  }
  EXPECT_EQ(heap.live_blocks(), 0);
}

}  // namespace
}  // namespace kvrpc::test
