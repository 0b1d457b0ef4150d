// Output of a record stream: fragments, records that wait, and failed sends.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "rpc/xdrrec.h"
#include "rpc/xdrrec_support.h"

namespace kvrpc::test {
namespace {

std::size_t first_send(std::uint32_t send_size) {
  record_stream stream(XDR_ENCODE, send_size);
  EXPECT_EQ(stream.put(bytes(10000)), TRUE);
  return stream.other.sends.at(0).size();
}

TEST(xdrrec_output, adjusts_its_buffer_size) {
  EXPECT_EQ(first_send(0), 4000u);
  EXPECT_EQ(first_send(99), 4000u);
  EXPECT_EQ(first_send(100), 100u);
  EXPECT_EQ(first_send(101), 104u);
  EXPECT_EQ(first_send(4001), 4004u);
}

TEST(xdrrec_output, sends_a_short_record_as_one_fragment) {
  record_stream stream(XDR_ENCODE);
  EXPECT_EQ(stream.put(0x01020304), TRUE);
  EXPECT_EQ(stream.put(of("abcd")), TRUE);
  EXPECT_TRUE(stream.other.sends.empty());
  EXPECT_EQ(xdrrec_endofrecord(&stream.xdrs, TRUE), TRUE);
  EXPECT_EQ(stream.other.sends, std::vector<bytes>{hex("80 00 00 08 01 02 03 04 61 62 63 64")});
}

TEST(xdrrec_output, sends_an_empty_record) {
  record_stream stream(XDR_ENCODE);
  EXPECT_EQ(xdrrec_endofrecord(&stream.xdrs, TRUE), TRUE);
  EXPECT_EQ(stream.other.sends, std::vector<bytes>{hex("80 00 00 00")});
}

TEST(xdrrec_output, cuts_ten_thousand_bytes_into_three_fragments) {
  const bytes data = pattern(10000);
  record_stream stream(XDR_ENCODE);
  EXPECT_EQ(stream.put(data), TRUE);
  EXPECT_EQ(xdrrec_endofrecord(&stream.xdrs, TRUE), TRUE);
  const auto at = [&](std::ptrdiff_t from, std::ptrdiff_t to) {
    return bytes(data.begin() + from, data.begin() + to);
  };
  EXPECT_EQ(stream.other.sends,
            (std::vector<bytes>{fragment(at(0, 3996), false), fragment(at(3996, 7992), false),
                                fragment(at(7992, 10000), true)}));
}

TEST(xdrrec_output, cuts_units_and_bytes_at_the_same_places) {
  record_stream units(XDR_ENCODE);
  record_stream data(XDR_ENCODE);
  bytes all;
  for (std::int32_t i = 0; i < 2500; ++i) {
    EXPECT_EQ(units.put(i), TRUE);
    bytes unit(4);
    xdr_store_unit(unit.data(), static_cast<std::uint32_t>(i));
    all = std::move(all) + unit;
  }
  EXPECT_EQ(data.put(all), TRUE);
  EXPECT_EQ(xdrrec_endofrecord(&units.xdrs, TRUE), TRUE);
  EXPECT_EQ(xdrrec_endofrecord(&data.xdrs, TRUE), TRUE);
  EXPECT_EQ(units.other.sends, data.other.sends);
}

TEST(xdrrec_output, bytes_that_fill_the_buffer_leave_at_once) {
  record_stream stream(XDR_ENCODE);
  EXPECT_EQ(stream.put(bytes(3996, 'x')), TRUE);
  ASSERT_EQ(stream.other.sends.size(), 1u);
  EXPECT_EQ(stream.other.sends[0], fragment(bytes(3996, 'x'), false));
  EXPECT_EQ(xdrrec_endofrecord(&stream.xdrs, FALSE), TRUE);
  ASSERT_EQ(stream.other.sends.size(), 2u);
  EXPECT_EQ(stream.other.sends[1], hex("80 00 00 00"));
}

TEST(xdrrec_output, a_unit_that_fills_the_buffer_waits_and_is_the_last_fragment) {
  record_stream stream(XDR_ENCODE);
  EXPECT_EQ(stream.put(bytes(3992, 'x')), TRUE);
  EXPECT_EQ(stream.put(7), TRUE);
  EXPECT_TRUE(stream.other.sends.empty());
  EXPECT_EQ(xdrrec_endofrecord(&stream.xdrs, FALSE), TRUE);
  EXPECT_EQ(stream.other.sends,
            std::vector<bytes>{fragment(bytes(3992, 'x') + hex("00 00 00 07"), true)});
}

TEST(xdrrec_output, records_that_wait_leave_in_one_send) {
  record_stream stream(XDR_ENCODE);
  EXPECT_EQ(stream.put(1), TRUE);
  EXPECT_EQ(xdrrec_endofrecord(&stream.xdrs, FALSE), TRUE);
  EXPECT_TRUE(stream.other.sends.empty());
  EXPECT_EQ(stream.put(2), TRUE);
  EXPECT_EQ(xdrrec_endofrecord(&stream.xdrs, TRUE), TRUE);
  EXPECT_EQ(stream.other.sends,
            std::vector<bytes>{hex("80 00 00 04 00 00 00 01 80 00 00 04 00 00 00 02")});
}

TEST(xdrrec_output, a_record_without_room_for_the_next_header_does_not_wait) {
  struct {
    std::size_t size;
    std::size_t sends;
  } const cases[] = {{3988, 0}, {3991, 0}, {3992, 1}, {3995, 1}};
  for (const auto& one : cases) {
    record_stream stream(XDR_ENCODE);
    EXPECT_EQ(stream.put(bytes(one.size, 'x')), TRUE);
    EXPECT_EQ(xdrrec_endofrecord(&stream.xdrs, FALSE), TRUE);
    EXPECT_EQ(stream.other.sends.size(), one.sends) << one.size;
  }
}

TEST(xdrrec_output, a_record_after_a_waiting_one_is_cut_where_the_buffer_ends) {
  record_stream stream(XDR_ENCODE);
  EXPECT_EQ(stream.put(1), TRUE);
  EXPECT_EQ(xdrrec_endofrecord(&stream.xdrs, FALSE), TRUE);
  EXPECT_EQ(stream.put(bytes(4000, 'y')), TRUE);
  EXPECT_EQ(xdrrec_endofrecord(&stream.xdrs, FALSE), TRUE);
  EXPECT_EQ(stream.other.sends, (std::vector<bytes>{fragment(hex("00 00 00 01"), true) +
                                                        fragment(bytes(3988, 'y'), false),
                                                    fragment(bytes(12, 'y'), true)}));
}

TEST(xdrrec_output, unsent_bytes_leave_first_after_a_failed_end) {
  record_stream stream(XDR_ENCODE);
  stream.other.failing_sends = 1;
  EXPECT_EQ(stream.put(1), TRUE);
  EXPECT_EQ(xdrrec_endofrecord(&stream.xdrs, TRUE), FALSE);
  EXPECT_EQ(stream.put(2), TRUE);
  EXPECT_EQ(xdrrec_endofrecord(&stream.xdrs, TRUE), TRUE);
  EXPECT_EQ(stream.other.sends.back(), hex("80 00 00 08 00 00 00 01 00 00 00 02"));
}

TEST(xdrrec_output, a_unit_that_failed_is_not_in_the_buffer_and_the_record_stays_begun) {
  record_stream stream(XDR_ENCODE, 100);
  EXPECT_EQ(stream.put(bytes(92, 'x')), TRUE);
  EXPECT_EQ(stream.put(1), TRUE);
  stream.other.failing_sends = 1;
  EXPECT_EQ(stream.put(2), FALSE);
  // The record counts as begun, so its end flushes although nothing asks for it.
  EXPECT_EQ(xdrrec_endofrecord(&stream.xdrs, FALSE), TRUE);
  EXPECT_EQ(stream.other.sends.back(), fragment(bytes(92, 'x') + hex("00 00 00 01"), true));
  // That state ends with a flush that succeeds.
  EXPECT_EQ(stream.put(3), TRUE);
  EXPECT_EQ(xdrrec_endofrecord(&stream.xdrs, FALSE), TRUE);
  EXPECT_EQ(stream.other.sends.size(), 2u);
}

TEST(xdrrec_output, bytes_that_failed_stay_in_a_full_buffer) {
  record_stream stream(XDR_ENCODE, 100);
  stream.other.failing_sends = 2;
  EXPECT_EQ(stream.put(bytes(200, 'x')), FALSE);
  EXPECT_EQ(stream.put(bytes(1, 'y')), FALSE);
  EXPECT_EQ(stream.put(bytes(1, 'z')), TRUE);
  EXPECT_EQ(stream.other.sends.back(), fragment(bytes(96, 'x'), false));
  EXPECT_EQ(xdrrec_endofrecord(&stream.xdrs, TRUE), TRUE);
  EXPECT_EQ(stream.other.sends.back(), fragment(bytes(1, 'z'), true));
}

TEST(xdrrec_output, a_short_write_is_a_failure) {
  XDR xdrs{};
  xdrrec_create(&xdrs, 0, 0, nullptr, read_connection,
                [](void*, char*, std::int32_t length) { return length - 1; });
  xdrs.x_op = XDR_ENCODE;
  EXPECT_EQ(xdrrec_endofrecord(&xdrs, TRUE), FALSE);
  XDR_DESTROY(&xdrs);
}

TEST(xdrrec_output, gives_places_in_its_buffer) {
  record_stream stream(XDR_ENCODE, 100);
  EXPECT_EQ(XDR_INLINE(&stream.xdrs, 97), nullptr);
  EXPECT_EQ(XDR_INLINE(&stream.xdrs, -1), nullptr);
  char* place = XDR_INLINE(&stream.xdrs, 96);
  ASSERT_NE(place, nullptr);
  std::memset(place, 'x', 96);
  EXPECT_EQ(XDR_INLINE(&stream.xdrs, 1), nullptr);
  EXPECT_EQ(stream.put(1), TRUE);
  EXPECT_EQ(xdrrec_endofrecord(&stream.xdrs, TRUE), TRUE);
  EXPECT_EQ(stream.other.sends, (std::vector<bytes>{fragment(bytes(96, 'x'), false),
                                                    fragment(hex("00 00 00 01"), true)}));
  stream.xdrs.x_op = XDR_FREE;
  EXPECT_EQ(XDR_INLINE(&stream.xdrs, 4), nullptr);
}

TEST(xdrrec_output, has_no_positions) {
  record_stream stream(XDR_ENCODE);
  EXPECT_EQ(XDR_GETPOS(&stream.xdrs), 0xFFFFFFFFu);
  EXPECT_EQ(XDR_SETPOS(&stream.xdrs, 4), FALSE);
  EXPECT_EQ(stream.put(1), TRUE);
  EXPECT_EQ(xdrrec_endofrecord(&stream.xdrs, TRUE), TRUE);
  EXPECT_EQ(stream.other.sends, std::vector<bytes>{hex("80 00 00 04 00 00 00 01")});
}

}  // namespace
}  // namespace kvrpc::test
