// The memory of a record stream, and the stream for which there is none.
#include <gtest/gtest.h>

#include <cstdint>

#include "rpc/xdrrec.h"
#include "rpc/xdrrec_support.h"
#include "support/failing_heap.h"

namespace kvrpc::test {
namespace {

// Every operation on a stream that could not be created.
void expect_failing(XDR* xdrs) {
  std::int32_t value = 1;
  char byte = 0;
  for (xdr_op op : {XDR_ENCODE, XDR_DECODE}) {
    xdrs->x_op = op;
    EXPECT_EQ(XDR_GETLONG(xdrs, &value), FALSE);
    EXPECT_EQ(XDR_PUTLONG(xdrs, &value), FALSE);
    EXPECT_EQ(XDR_GETBYTES(xdrs, &byte, 1), FALSE);
    EXPECT_EQ(XDR_PUTBYTES(xdrs, &byte, 1), FALSE);
    EXPECT_EQ(XDR_GETPOS(xdrs), 0xFFFFFFFFu);
    EXPECT_EQ(XDR_SETPOS(xdrs, 0), FALSE);
    EXPECT_EQ(XDR_INLINE(xdrs, 4), nullptr);
    EXPECT_EQ(xdrrec_endofrecord(xdrs, TRUE), FALSE);
    EXPECT_EQ(xdrrec_skiprecord(xdrs), FALSE);
    EXPECT_EQ(xdrrec_eof(xdrs), TRUE);
  }
  XDR_DESTROY(xdrs);
}

TEST(xdrrec_memory, without_it_every_operation_fails) {
  for (std::int64_t number : {0, 1}) {
    connection other;
    XDR xdrs{};
    testing::internal::CaptureStderr();
    failing_heap heap(number);
    xdrrec_create(&xdrs, 0, 0, &other, read_connection, write_connection);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "xdrrec_create: out of memory\n");
    expect_failing(&xdrs);
    EXPECT_EQ(heap.live_blocks(), 0);
    EXPECT_TRUE(other.sends.empty());
  }
}

TEST(xdrrec_memory, for_sizes_that_no_callback_can_count_is_not_there) {
  for (std::uint32_t size : {0x7FFFFFFDu, 0x80000000u, 0xFFFFFFFFu}) {
    connection other;
    XDR xdrs{};
    testing::internal::CaptureStderr();
    xdrrec_create(&xdrs, 0, size, &other, read_connection, write_connection);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "xdrrec_create: out of memory\n");
    expect_failing(&xdrs);
  }
}

TEST(xdrrec_memory, is_two_blocks_and_no_more_for_records_of_any_size) {
  failing_heap heap(-1);
  {
    record_stream stream(XDR_ENCODE, 4000, 262144);
    EXPECT_EQ(stream.put(bytes(100000, 'x')), TRUE);
    EXPECT_EQ(xdrrec_endofrecord(&stream.xdrs, TRUE), TRUE);
    EXPECT_EQ(heap.allocations(), 2);
  }
  EXPECT_EQ(heap.live_blocks(), 0);
}

}  // namespace
}  // namespace kvrpc::test
