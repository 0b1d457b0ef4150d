// Opaque bytes, counted bytes, texts and unions: their bytes, their limits and their release.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "rpc/xdr.h"
#include "rpc/xdr_support.h"
#include "support/failing_heap.h"

namespace kvrpc::test {
namespace {

char* heap_text(const char* text) {
  const std::size_t size = std::strlen(text) + 1;
  auto* copy = static_cast<char*>(std::malloc(size));
  std::memcpy(copy, text, size);
  return copy;
}

TEST(xdr_opaque, is_filled_up_with_zeros_to_a_unit) {
  char data[] = "abcde";
  encoding stream;
  EXPECT_EQ(xdr_opaque(&stream.xdrs, data, 5), TRUE);
  EXPECT_EQ(stream.written(), hex("61 62 63 64 65 00 00 00"));
  EXPECT_EQ(xdr_opaque(&stream.xdrs, data, 4), TRUE);
  EXPECT_EQ(XDR_GETPOS(&stream.xdrs), 12u);
}

TEST(xdr_opaque, accepts_any_fill) {
  decoding stream("61 62 63 64 65 FF FE FD 66");
  char data[6] = {};
  EXPECT_EQ(xdr_opaque(&stream.xdrs, data, 5), TRUE);
  EXPECT_STREQ(data, "abcde");
  EXPECT_EQ(stream.xdrs.x_handy, 1);
}

TEST(xdr_opaque, fails_without_its_bytes_or_its_fill) {
  char data[8] = {};
  for (const char* content : {"61 62 63", "61 62 63 64 65 00 00"}) {
    decoding stream(content);
    EXPECT_EQ(xdr_opaque(&stream.xdrs, data, 5), FALSE);
  }
  for (std::size_t room : {4u, 7u}) {
    encoding stream(room);
    EXPECT_EQ(xdr_opaque(&stream.xdrs, data, 5), FALSE);
  }
}

TEST(xdr_opaque, of_count_zero_succeeds_in_every_mode) {
  for (xdr_op op : {XDR_ENCODE, XDR_DECODE, XDR_FREE, no_such_op}) {
    XDR xdrs = untouchable(op);
    EXPECT_EQ(xdr_opaque(&xdrs, nullptr, 0), TRUE);
  }
  XDR freeing = untouchable(XDR_FREE);
  EXPECT_EQ(xdr_opaque(&freeing, nullptr, 5), TRUE);
  XDR unknown = untouchable(no_such_op);
  EXPECT_EQ(xdr_opaque(&unknown, nullptr, 5), FALSE);
}

TEST(xdr_bytes, follow_their_length) {
  char content[] = "abc";
  char* data = content;
  std::uint32_t size = 3;
  encoding stream;
  EXPECT_EQ(xdr_bytes(&stream.xdrs, &data, &size, 3), TRUE);
  EXPECT_EQ(stream.written(), hex("00 00 00 03 61 62 63 00"));
}

TEST(xdr_bytes, are_decoded_into_a_block_with_a_zero_after_it) {
  failing_heap heap(-1);
  {
    decoding stream("00 00 00 03 61 62 63 FF");
    char* data = nullptr;
    std::uint32_t size = 0;
    EXPECT_EQ(xdr_bytes(&stream.xdrs, &data, &size, LASTUNSIGNED), TRUE);
    EXPECT_EQ(size, 3u);
    EXPECT_STREQ(data, "abc");
    EXPECT_EQ(heap.live_blocks(), 1);
    XDR freeing = untouchable(XDR_FREE);
    EXPECT_EQ(xdr_bytes(&freeing, &data, &size, LASTUNSIGNED), TRUE);
    EXPECT_EQ(data, nullptr);
  }
  EXPECT_EQ(heap.live_blocks(), 0);
}

TEST(xdr_bytes, of_length_zero_leave_the_pointer) {
  decoding stream("00 00 00 00 00 00 00 00 11");
  char* data = nullptr;
  std::uint32_t size = 7;
  EXPECT_EQ(xdr_bytes(&stream.xdrs, &data, &size, 9), TRUE);
  EXPECT_EQ(data, nullptr);
  EXPECT_EQ(size, 0u);
  EXPECT_EQ(stream.xdrs.x_handy, 5);
  char own[] = "own";
  data = own;
  EXPECT_EQ(xdr_bytes(&stream.xdrs, &data, &size, 9), TRUE);
  EXPECT_EQ(data, own);
  EXPECT_STREQ(own, "own");
}

TEST(xdr_bytes, go_into_a_callers_block) {
  decoding stream("00 00 00 03 61 62 63 00");
  char own[] = "zzzzz";
  char* data = own;
  std::uint32_t size = 0;
  EXPECT_EQ(xdr_bytes(&stream.xdrs, &data, &size, 3), TRUE);
  EXPECT_EQ(data, own);
  EXPECT_STREQ(own, "abczz");
}

TEST(xdr_bytes, above_the_maximum_fail_with_the_length_stored) {
  decoding stream("00 00 00 04 61 62 63 64");
  char* data = nullptr;
  std::uint32_t size = 0;
  EXPECT_EQ(xdr_bytes(&stream.xdrs, &data, &size, 3), FALSE);
  EXPECT_EQ(size, 4u);
  EXPECT_EQ(data, nullptr);
  EXPECT_EQ(stream.xdrs.x_handy, 4);

  encoding writing;
  EXPECT_EQ(xdr_bytes(&writing.xdrs, &data, &size, 3), FALSE);
}

TEST(xdr_bytes, above_the_maximum_are_still_released) {
  char* data = heap_text("abcd");
  std::uint32_t size = 4;
  XDR freeing = untouchable(XDR_FREE);
  EXPECT_EQ(xdr_bytes(&freeing, &data, &size, 3), TRUE);
  EXPECT_EQ(data, nullptr);
  EXPECT_EQ(xdr_bytes(&freeing, &data, &size, 3), TRUE);
  XDR unknown = untouchable(no_such_op);
  EXPECT_EQ(xdr_bytes(&unknown, &data, &size, 3), FALSE);
}

TEST(xdr_netobj, is_bytes_of_at_most_a_thousand_and_twenty_four) {
  bytes content = hex("00 00 04 00");
  content.resize(4 + 1024, 'x');
  netobj object{};
  decoding stream(content);
  EXPECT_EQ(xdr_netobj(&stream.xdrs, &object), TRUE);
  EXPECT_EQ(object.n_len, 1024u);
  EXPECT_EQ(std::string(object.n_bytes), std::string(1024, 'x'));
  encoding back(2000);
  EXPECT_EQ(xdr_netobj(&back.xdrs, &object), TRUE);
  EXPECT_EQ(back.written(), content);
  xdr_free(xdr_netobj, &object);
  EXPECT_EQ(object.n_bytes, nullptr);

  decoding longer("00 00 04 01");
  EXPECT_EQ(xdr_netobj(&longer.xdrs, &object), FALSE);
}

TEST(xdr_string, travels_without_its_terminator) {
  char content[] = "abc";
  EXPECT_EQ(encoded(xdr_wrapstring, static_cast<char*>(content)), hex("00 00 00 03 61 62 63 00"));
}

TEST(xdr_string, that_is_null_travels_as_an_empty_one) {
  EXPECT_EQ(encoded(xdr_wrapstring, static_cast<char*>(nullptr)), hex("00 00 00 00"));
}

TEST(xdr_string, is_decoded_into_a_block_of_its_length_and_one) {
  decoding stream("00 00 00 03 61 62 63 FF 77");
  failing_heap heap(-1);
  char* text = nullptr;
  EXPECT_EQ(xdr_string(&stream.xdrs, &text, 3), TRUE);
  EXPECT_EQ(heap.allocations(), 1);
  EXPECT_STREQ(text, "abc");
  EXPECT_EQ(stream.xdrs.x_handy, 1);
  xdr_free(xdr_wrapstring, &text);
  EXPECT_EQ(text, nullptr);
  EXPECT_EQ(heap.live_blocks(), 0);
}

TEST(xdr_string, that_is_empty_allocates_its_terminator) {
  decoding stream("00 00 00 00");
  char* text = nullptr;
  EXPECT_EQ(xdr_string(&stream.xdrs, &text, 0), TRUE);
  ASSERT_NE(text, nullptr);
  EXPECT_STREQ(text, "");
  xdr_free(xdr_wrapstring, &text);
}

TEST(xdr_string, goes_into_a_callers_buffer_with_its_terminator_first) {
  char own[8] = "zzzzzzz";
  char* text = own;
  decoding stream("00 00 00 05 61 62 63 64 65 00 00 00");
  EXPECT_EQ(xdr_string(&stream.xdrs, &text, 100), TRUE);
  EXPECT_EQ(bytes(own, own + 8), hex("61 62 63 64 65 00 7A 00"));

  decoding cut("00 00 00 02 61");
  EXPECT_EQ(xdr_string(&cut.xdrs, &text, 100), FALSE);
  EXPECT_EQ(bytes(own, own + 8), hex("61 62 00 64 65 00 7A 00"));
}

TEST(xdr_string, above_the_maximum_fails_in_every_mode) {
  decoding stream("00 00 00 04 61 62 63 64");
  char* text = nullptr;
  EXPECT_EQ(xdr_string(&stream.xdrs, &text, 3), FALSE);
  EXPECT_EQ(text, nullptr);

  text = heap_text("abcd");
  char* const block = text;
  encoding writing;
  EXPECT_EQ(xdr_string(&writing.xdrs, &text, 3), FALSE);
  XDR freeing = untouchable(XDR_FREE);
  EXPECT_EQ(xdr_string(&freeing, &text, 3), FALSE);
  EXPECT_EQ(text, block);
  EXPECT_EQ(xdr_string(&freeing, &text, 4), TRUE);
  EXPECT_EQ(text, nullptr);
  EXPECT_EQ(xdr_string(&freeing, &text, 4), TRUE);
}

TEST(xdr_string, of_the_length_that_wraps_reads_nothing) {
  decoding stream("FF FF FF FF 61 62 63 64");
  char* text = nullptr;
  EXPECT_EQ(xdr_string(&stream.xdrs, &text, LASTUNSIGNED), TRUE);
  EXPECT_EQ(text, nullptr);
  EXPECT_EQ(stream.xdrs.x_handy, 4);
}

TEST(xdr_string, keeps_bytes_after_an_inner_zero) {
  decoding stream("00 00 00 03 61 00 63 00");
  char* text = nullptr;
  EXPECT_EQ(xdr_wrapstring(&stream.xdrs, &text), TRUE);
  EXPECT_EQ(bytes(text, text + 4), hex("61 00 63 00"));
  xdr_free(xdr_wrapstring, &text);
}

bool_t any_number(XDR*, void*, std::uint32_t) { return 7; }

constexpr xdr_discrim arms[] = {{1, xdr_long}, {2, xdr_void}, {1, xdr_void}, {-1, nullptr}};

TEST(xdr_union, runs_the_first_arm_of_its_value) {
  decoding stream("00 00 00 01 00 00 00 2A");
  enum_t discriminant = 0;
  std::int32_t value = 0;
  EXPECT_EQ(xdr_union(&stream.xdrs, &discriminant, &value, arms, nullptr), TRUE);
  EXPECT_EQ(discriminant, 1);
  EXPECT_EQ(value, 42);
  encoding back;
  EXPECT_EQ(xdr_union(&back.xdrs, &discriminant, &value, arms, nullptr), TRUE);
  EXPECT_EQ(back.written(), hex("00 00 00 01 00 00 00 2A"));
}

TEST(xdr_union, without_a_match_fails_or_takes_the_default) {
  decoding stream("00 00 00 09 00 00 00 09");
  enum_t discriminant = 0;
  std::int32_t value = 0;
  EXPECT_EQ(xdr_union(&stream.xdrs, &discriminant, &value, arms, nullptr), FALSE);
  EXPECT_EQ(discriminant, 9);
  EXPECT_EQ(stream.xdrs.x_handy, 4);
  EXPECT_EQ(xdr_union(&stream.xdrs, &discriminant, &value, arms, any_number), 7);
  EXPECT_EQ(xdr_union(&stream.xdrs, &discriminant, &value, arms, any_number), FALSE);
  XDR freeing = untouchable(XDR_FREE);
  EXPECT_EQ(xdr_union(&freeing, &discriminant, &value, arms, nullptr), FALSE);
}

}  // namespace
}  // namespace kvrpc::test
