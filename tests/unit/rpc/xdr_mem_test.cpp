// The memory stream: its positions, and its failures at the end of the buffer.
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

#include "rpc/xdr.h"
#include "rpc/xdr_support.h"

namespace kvrpc::test {
namespace {

TEST(xdr_memory_stream, starts_at_its_buffer) {
  char buffer[12];
  XDR xdrs{};
  xdrmem_create(&xdrs, buffer, sizeof buffer, XDR_DECODE);
  EXPECT_EQ(xdrs.x_op, XDR_DECODE);
  EXPECT_EQ(xdrs.x_base, buffer);
  EXPECT_EQ(xdrs.x_private, buffer);
  EXPECT_EQ(xdrs.x_handy, 12);
  EXPECT_EQ(XDR_GETPOS(&xdrs), 0u);
}

TEST(xdr_memory_stream, of_size_zero_fails_at_once) {
  decoding stream("");
  std::int32_t value = 5;
  EXPECT_EQ(xdr_long(&stream.xdrs, &value), FALSE);
  EXPECT_EQ(stream.xdrs.x_handy, -4);
  EXPECT_EQ(value, 5);
}

TEST(xdr_memory_stream, never_gives_back_what_did_not_fit) {
  decoding stream("01 02 03");
  std::int32_t value = 0;
  EXPECT_EQ(XDR_GETLONG(&stream.xdrs, &value), FALSE);
  EXPECT_EQ(stream.xdrs.x_handy, -1);
  char two[2] = {};
  EXPECT_EQ(XDR_GETBYTES(&stream.xdrs, two, 2), FALSE);
  EXPECT_EQ(stream.xdrs.x_handy, -3);
  EXPECT_EQ(XDR_GETPOS(&stream.xdrs), 0u);
}

TEST(xdr_memory_stream, a_failed_write_changes_no_byte) {
  encoding stream(7);
  const std::int32_t value = 1;
  EXPECT_EQ(XDR_PUTLONG(&stream.xdrs, &value), TRUE);
  EXPECT_EQ(XDR_PUTLONG(&stream.xdrs, &value), FALSE);
  EXPECT_EQ(XDR_PUTBYTES(&stream.xdrs, "abcd", 4), FALSE);
  EXPECT_EQ(bytes(stream.xdrs.x_base, stream.xdrs.x_base + 7), hex("00 00 00 01 55 55 55"));
  EXPECT_EQ(stream.xdrs.x_handy, -5);
}

TEST(xdr_memory_stream, lengths_above_two_gigabytes_never_wrap_into_success) {
  for (std::uint32_t length : {0x7FFFFFFFu, 0x80000000u, 0x80000001u, 0xFFFFFFFCu, 0xFFFFFFFFu}) {
    char byte = 'x';
    decoding reading("01 02 03 04");
    EXPECT_EQ(XDR_GETBYTES(&reading.xdrs, &byte, length), FALSE) << length;
    EXPECT_LT(reading.xdrs.x_handy, 0);
    encoding writing(4);
    EXPECT_EQ(XDR_PUTBYTES(&writing.xdrs, &byte, length), FALSE) << length;
    EXPECT_LT(writing.xdrs.x_handy, 0);
  }
}

TEST(xdr_memory_stream, stays_failed_however_often_it_fails) {
  decoding stream("01 02 03 04");
  char byte = 'x';
  for (int i = 0; i < 5; ++i) EXPECT_EQ(XDR_GETBYTES(&stream.xdrs, &byte, 0x7FFFFFFFu), FALSE);
  EXPECT_EQ(stream.xdrs.x_handy, std::numeric_limits<std::int32_t>::min());
  std::int32_t value = 0;
  EXPECT_EQ(XDR_GETLONG(&stream.xdrs, &value), FALSE);
  EXPECT_EQ(XDR_INLINE(&stream.xdrs, 4), nullptr);
  EXPECT_EQ(XDR_SETPOS(&stream.xdrs, 0), FALSE);
}

TEST(xdr_memory_stream, sets_positions_up_to_its_last_address) {
  decoding stream("01 02 03 04 05 06 07 08");
  std::int32_t value = 0;
  ASSERT_EQ(XDR_GETLONG(&stream.xdrs, &value), TRUE);
  EXPECT_EQ(XDR_GETPOS(&stream.xdrs), 4u);

  EXPECT_EQ(XDR_SETPOS(&stream.xdrs, 8), TRUE);
  EXPECT_EQ(stream.xdrs.x_handy, 0);
  EXPECT_EQ(XDR_SETPOS(&stream.xdrs, 9), FALSE);
  EXPECT_EQ(XDR_SETPOS(&stream.xdrs, 0xFFFFFFFFu), FALSE);
  EXPECT_EQ(stream.xdrs.x_handy, 0);
  EXPECT_EQ(XDR_GETPOS(&stream.xdrs), 8u);

  EXPECT_EQ(XDR_SETPOS(&stream.xdrs, 2), TRUE);
  EXPECT_EQ(stream.xdrs.x_handy, 6);
  EXPECT_EQ(XDR_GETLONG(&stream.xdrs, &value), TRUE);
  EXPECT_EQ(value, 0x03040506);
}

TEST(xdr_memory_stream, gives_places_in_its_buffer) {
  decoding stream("01 02 03 04 05 06 07 08");
  EXPECT_EQ(XDR_INLINE(&stream.xdrs, 9), nullptr);
  EXPECT_EQ(XDR_INLINE(&stream.xdrs, -4), nullptr);
  EXPECT_EQ(stream.xdrs.x_handy, 8);
  EXPECT_EQ(XDR_INLINE(&stream.xdrs, 8), stream.xdrs.x_base);
  EXPECT_EQ(stream.xdrs.x_handy, 0);
  EXPECT_EQ(XDR_GETPOS(&stream.xdrs), 8u);
  EXPECT_EQ(XDR_INLINE(&stream.xdrs, 1), nullptr);
}

TEST(xdr_memory_stream, destroy_leaves_the_buffer) {
  encoding stream(4);
  ASSERT_NE(stream.xdrs.x_ops->x_destroy, nullptr);
  XDR_DESTROY(&stream.xdrs);
  const std::int32_t value = 1;
  EXPECT_EQ(XDR_PUTLONG(&stream.xdrs, &value), TRUE);
}

TEST(xdr_memory_stream, destroy_passes_over_an_empty_slot) {
  xdr_ops without = {};
  XDR xdrs{};
  xdrs.x_ops = &without;
  XDR_DESTROY(&xdrs);
  EXPECT_EQ(xdrs.x_ops, &without);
}

}  // namespace
}  // namespace kvrpc::test
