// The routines for single units, in all three directions.
#include <gtest/gtest.h>

#include <cstdint>

#include "rpc/xdr.h"
#include "rpc/xdr_support.h"

namespace kvrpc::test {
namespace {

TEST(xdr_primitives, write_one_big_endian_unit_each) {
  EXPECT_EQ(encoded(xdr_long, std::int32_t{-2}), hex("FF FF FF FE"));
  EXPECT_EQ(encoded(xdr_u_long, std::uint32_t{0x80000001u}), hex("80 00 00 01"));
  EXPECT_EQ(encoded(xdr_int, std::int32_t{0x01020304}), hex("01 02 03 04"));
  EXPECT_EQ(encoded(xdr_u_int, std::uint32_t{0xFFFFFFFFu}), hex("FF FF FF FF"));
  EXPECT_EQ(encoded(xdr_enum, enum_t{7}), hex("00 00 00 07"));
}

TEST(xdr_primitives, read_one_big_endian_unit_each) {
  decoding stream("FF FF FF FE  80 00 00 01  01 02 03 04  FF FF FF FF  00 00 00 07");
  std::int32_t signed_value = 0;
  std::uint32_t unsigned_value = 0;
  EXPECT_EQ(xdr_long(&stream.xdrs, &signed_value), TRUE);
  EXPECT_EQ(signed_value, -2);
  EXPECT_EQ(xdr_u_long(&stream.xdrs, &unsigned_value), TRUE);
  EXPECT_EQ(unsigned_value, 0x80000001u);
  EXPECT_EQ(xdr_int(&stream.xdrs, &signed_value), TRUE);
  EXPECT_EQ(signed_value, 0x01020304);
  EXPECT_EQ(xdr_u_int(&stream.xdrs, &unsigned_value), TRUE);
  EXPECT_EQ(unsigned_value, 0xFFFFFFFFu);
  EXPECT_EQ(xdr_enum(&stream.xdrs, &signed_value), TRUE);
  EXPECT_EQ(signed_value, 7);
  EXPECT_EQ(stream.xdrs.x_handy, 0);
}

TEST(xdr_primitives, void_touches_nothing_in_any_mode) {
  for (xdr_op op : {XDR_ENCODE, XDR_DECODE, XDR_FREE, no_such_op}) {
    XDR xdrs = untouchable(op);
    EXPECT_EQ(xdr_void(&xdrs, nullptr), TRUE);
  }
}

TEST(xdr_primitives, shorts_extend_by_their_sign_and_keep_the_low_sixteen_bits) {
  EXPECT_EQ(encoded(xdr_short, std::int16_t{-32768}), hex("FF FF 80 00"));
  EXPECT_EQ(encoded(xdr_short, std::int16_t{0x7FFF}), hex("00 00 7F FF"));
  EXPECT_EQ(encoded(xdr_u_short, std::uint16_t{0xFFFF}), hex("00 00 FF FF"));

  decoding stream("00 01 23 45  00 01 F0 00");
  std::uint16_t unsigned_value = 0;
  std::int16_t signed_value = 0;
  EXPECT_EQ(xdr_u_short(&stream.xdrs, &unsigned_value), TRUE);
  EXPECT_EQ(unsigned_value, 0x2345);
  EXPECT_EQ(xdr_short(&stream.xdrs, &signed_value), TRUE);
  EXPECT_EQ(signed_value, -0x1000);
}

TEST(xdr_primitives, bool_is_zero_or_one_in_both_directions) {
  EXPECT_EQ(encoded(xdr_bool, bool_t{-5}), hex("00 00 00 01"));
  EXPECT_EQ(encoded(xdr_bool, bool_t{0}), hex("00 00 00 00"));
  decoding stream("00 00 00 07  80 00 00 00  00 00 00 00");
  for (bool_t expected : {1, 1, 0}) {
    bool_t value = 9;
    EXPECT_EQ(xdr_bool(&stream.xdrs, &value), TRUE);
    EXPECT_EQ(value, expected);
  }
}

TEST(xdr_primitives, both_char_types_travel_sign_extended) {
  EXPECT_EQ(encoded(xdr_u_char, '\xFF'), hex("FF FF FF FF"));
  EXPECT_EQ(encoded(xdr_char, '\xFF'), hex("FF FF FF FF"));
  EXPECT_EQ(encoded(xdr_u_char, '\x80'), hex("FF FF FF 80"));
  EXPECT_EQ(encoded(xdr_char, 'A'), hex("00 00 00 41"));
}

TEST(xdr_primitives, chars_keep_the_low_eight_bits_of_their_unit) {
  for (xdrproc_t routine : {xdrproc_t{xdr_char}, xdrproc_t{xdr_u_char}}) {
    decoding stream("00 00 00 80  FF FF FF 80  12 34 56 41");
    for (char expected : {'\x80', '\x80', 'A'}) {
      char value = 'x';
      EXPECT_EQ(routine(&stream.xdrs, &value, LASTUNSIGNED), TRUE);
      EXPECT_EQ(value, expected);
    }
  }
}

// Each routine on an object of 4 bytes, which none of them may change here.
constexpr xdrproc_t single_items[] = {xdr_long,  xdr_u_long,  xdr_int,  xdr_u_int, xdr_enum,
                                      xdr_short, xdr_u_short, xdr_bool, xdr_char,  xdr_u_char};

TEST(xdr_primitives, free_succeeds_without_touching_the_stream) {
  for (xdrproc_t routine : single_items) {
    XDR xdrs = untouchable(XDR_FREE);
    std::int32_t object = 0x61626364;
    EXPECT_EQ(routine(&xdrs, &object, LASTUNSIGNED), TRUE);
    EXPECT_EQ(object, 0x61626364);
  }
}

TEST(xdr_primitives, an_unknown_direction_fails_and_touches_nothing) {
  for (xdrproc_t routine : single_items) {
    XDR xdrs = untouchable(no_such_op);
    std::int32_t object = 0x61626364;
    EXPECT_EQ(routine(&xdrs, &object, LASTUNSIGNED), FALSE);
    EXPECT_EQ(object, 0x61626364);
  }
}

TEST(xdr_primitives, a_failed_read_leaves_the_object) {
  for (xdrproc_t routine : single_items) {
    decoding stream("01 02 03");
    std::int32_t object = 0x61626364;
    EXPECT_EQ(routine(&stream.xdrs, &object, LASTUNSIGNED), FALSE);
    EXPECT_EQ(object, 0x61626364);
  }
}

TEST(xdr_primitives, units_are_read_and_written_at_any_address) {
  char place[7] = {};
  for (std::size_t at = 0; at < 4; ++at) {
    xdr_store_unit(place + at, 0x81020384u);
    EXPECT_EQ(bytes(place + at, place + at + 4), hex("81 02 03 84"));
    EXPECT_EQ(xdr_load_unit(place + at), 0x81020384u);
  }
}

}  // namespace
}  // namespace kvrpc::test
