// A stream that holds its output sends the same bytes as one that does not, in one piece a record.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <vector>

#include "rpc/xdrrec.h"
#include "rpc/xdrrec_support.h"
#include "support/failing_heap.h"

namespace kvrpc::test {
namespace {

bytes joined(const std::vector<bytes>& sends) {
  return std::accumulate(sends.begin(), sends.end(), bytes(),
                         [](bytes all, const bytes& one) { return std::move(all) + one; });
}

class held_stream : public record_stream {
 public:
  explicit held_stream(std::uint32_t send_size = 0) : record_stream(XDR_ENCODE, send_size) {
    xdrrec_hold_output(&xdrs);
  }
};

TEST(xdrrec_held_output, leaves_in_one_send) {
  for (std::size_t size : {0u, 4u, 3992u, 3996u, 4000u, 10000u, 100000u, 3000000u}) {
    const bytes data = pattern(size);
    record_stream plain(XDR_ENCODE);
    held_stream held;
    for (record_stream* stream : {&plain, static_cast<record_stream*>(&held)}) {
      for (int record = 0; record < 2; ++record) {
        EXPECT_EQ(stream->put(data), TRUE);
        EXPECT_EQ(xdrrec_endofrecord(&stream->xdrs, TRUE), TRUE);
      }
    }
    EXPECT_EQ(held.other.sends.size(), 2u) << size;
    EXPECT_EQ(joined(held.other.sends), joined(plain.other.sends)) << size;
  }
}

TEST(xdrrec_held_output, cuts_units_and_bytes_at_the_same_places) {
  held_stream units(100);
  held_stream data(100);
  for (std::int32_t i = 0; i < 250; ++i) {
    EXPECT_EQ(units.put(i), TRUE);
    bytes unit(4);
    xdr_store_unit(unit.data(), static_cast<std::uint32_t>(i));
    EXPECT_EQ(data.put(unit), TRUE);
  }
  EXPECT_EQ(xdrrec_endofrecord(&units.xdrs, TRUE), TRUE);
  EXPECT_EQ(xdrrec_endofrecord(&data.xdrs, TRUE), TRUE);
  EXPECT_EQ(units.other.sends.size(), 1u);
  EXPECT_EQ(units.other.sends, data.other.sends);
}

TEST(xdrrec_held_output, leaves_in_front_of_a_long_record_that_follows_waiting_ones) {
  held_stream stream;
  EXPECT_EQ(stream.put(1), TRUE);
  EXPECT_EQ(xdrrec_endofrecord(&stream.xdrs, FALSE), TRUE);
  EXPECT_EQ(stream.put(bytes(4000, 'y')), TRUE);
  EXPECT_TRUE(stream.other.sends.empty());
  EXPECT_EQ(xdrrec_endofrecord(&stream.xdrs, FALSE), TRUE);
  EXPECT_EQ(stream.other.sends,
            std::vector<bytes>{fragment(hex("00 00 00 01"), true) +
                               fragment(bytes(3988, 'y'), false) + fragment(bytes(12, 'y'), true)});
}

TEST(xdrrec_held_output, leaves_at_once_where_three_bytes_of_a_buffer_are_unused) {
  held_stream stream(100);
  EXPECT_EQ(stream.put(bytes(93, 'x')), TRUE);
  EXPECT_EQ(stream.put(1), TRUE);
  EXPECT_EQ(xdrrec_endofrecord(&stream.xdrs, TRUE), TRUE);
  EXPECT_EQ(stream.other.sends, (std::vector<bytes>{fragment(bytes(93, 'x'), false),
                                                    fragment(hex("00 00 00 01"), true)}));
}

// ---- failures

// Takes bytes until `fail_at` of them have left, then fails so many times, then takes all.
struct faulty_connection {
  std::size_t fail_at;
  int failures;
  bytes wire;
};

std::int32_t write_until_failure(void* handle, char* data, std::int32_t length) {
  auto* other = static_cast<faulty_connection*>(handle);
  auto taken = static_cast<std::size_t>(length);
  if (other->failures > 0 && other->wire.size() + taken > other->fail_at) {
    --other->failures;
    taken = other->fail_at > other->wire.size() ? other->fail_at - other->wire.size() : 0;
  }
  other->wire.insert(other->wire.end(), data, data + taken);
  return static_cast<std::int32_t>(taken);
}

struct outcome {
  bytes wire;
  std::vector<bool> sent;
  bool operator==(const outcome& other) const { return wire == other.wire && sent == other.sent; }
};

// Writes records as the TCP transport writes calls: one that fails is ended all the same.
outcome write_records(bool hold, std::size_t fail_at, int failures) {
  faulty_connection other = {fail_at, failures, {}};
  outcome result;
  XDR xdrs{};
  xdrrec_create(&xdrs, 100, 100, &other, read_connection, write_until_failure);
  if (hold) xdrrec_hold_output(&xdrs);
  xdrs.x_op = XDR_ENCODE;
  const std::size_t sizes[] = {8, 40, 384, 12, 700, 4, 96};
  for (std::size_t size : sizes) {
    const bytes data = pattern(size);
    bool put = true;
    for (std::size_t at = 0; put && at < size; at += 4) {
      const auto unit = static_cast<std::int32_t>(xdr_load_unit(data.data() + at));
      put = at % 8 == 0 ? XDR_PUTLONG(&xdrs, &unit) : XDR_PUTBYTES(&xdrs, data.data() + at, 4);
    }
    const bool_t now = size == 8 && put ? FALSE : TRUE;
    result.sent.push_back(xdrrec_endofrecord(&xdrs, now) && put);
  }
  XDR_DESTROY(&xdrs);
  result.wire = other.wire;
  return result;
}

TEST(xdrrec_held_output, keeps_after_a_failure_at_any_byte_what_a_plain_stream_keeps) {
  const std::size_t whole = write_records(false, SIZE_MAX, 0).wire.size();
  for (int failures = 1; failures < 4; ++failures) {
    for (std::size_t fail_at = 0; fail_at < whole; ++fail_at) {
      const outcome plain = write_records(false, fail_at, failures);
      EXPECT_EQ(std::count(plain.sent.begin(), plain.sent.end(), false) > 0, true);
      EXPECT_TRUE(write_records(true, fail_at, failures) == plain) << fail_at << " " << failures;
    }
  }
}

TEST(xdrrec_held_output, keeps_at_most_one_buffer_after_a_failure) {
  held_stream stream;
  stream.other.failing_sends = 2;
  EXPECT_EQ(stream.put(bytes(100000, 'x')), TRUE);
  EXPECT_EQ(xdrrec_endofrecord(&stream.xdrs, TRUE), FALSE);
  EXPECT_EQ(stream.other.sends.back(), fragment(bytes(3996, 'x'), true));
  EXPECT_EQ(xdrrec_endofrecord(&stream.xdrs, TRUE), TRUE);
  EXPECT_EQ(stream.other.sends.size(), 3u);
}

// ---- memory

TEST(xdrrec_held_output, without_memory_leaves_in_several_sends) {
  const bytes data = pattern(300000);
  held_stream whole;
  EXPECT_EQ(whole.put(data), TRUE);
  EXPECT_EQ(xdrrec_endofrecord(&whole.xdrs, TRUE), TRUE);
  const std::int64_t runs = fail_each_allocation([&](std::int64_t number) {
    held_stream stream;
    failing_heap heap(number, true);
    EXPECT_EQ(stream.put(data), TRUE);
    EXPECT_EQ(xdrrec_endofrecord(&stream.xdrs, TRUE), TRUE);
    EXPECT_EQ(stream.other.sends.size() > 1, heap.failed());
    EXPECT_EQ(joined(stream.other.sends), whole.other.sends.front());
    return heap.failed();
  });
  EXPECT_GE(runs, 3);
}

std::int64_t blocks_after(std::size_t size) {
  failing_heap heap(-1);
  std::int64_t blocks;
  {
    held_stream stream;
    EXPECT_EQ(stream.put(bytes(size, 'x')), TRUE);
    EXPECT_EQ(xdrrec_endofrecord(&stream.xdrs, TRUE), TRUE);
    blocks = heap.live_blocks();
  }
  EXPECT_EQ(heap.live_blocks(), 0);
  return blocks;
}

TEST(xdrrec_held_output, is_kept_for_the_next_record_unless_it_is_large) {
  EXPECT_EQ(blocks_after(3000), 2);
  EXPECT_EQ(blocks_after(300000), 3);
  EXPECT_EQ(blocks_after(3000000), 2);
}

}  // namespace
}  // namespace kvrpc::test
