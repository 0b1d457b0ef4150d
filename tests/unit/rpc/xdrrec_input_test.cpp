// Input of a record stream: fragments of every size, skips, and failures in between.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include "rpc/xdrrec.h"
#include "rpc/xdrrec_support.h"

namespace kvrpc::test {
namespace {

class reading : public record_stream {
 public:
  explicit reading(bytes input, std::size_t piece = SIZE_MAX, std::uint32_t receive_size = 0)
      : record_stream(XDR_DECODE, 0, receive_size) {
    other.input = std::move(input);
    other.piece = piece;
  }

  std::int32_t unit() {
    std::int32_t value = -1;
    EXPECT_EQ(XDR_GETLONG(&xdrs, &value), TRUE);
    return value;
  }
  bool_t no_unit() {
    std::int32_t value = -1;
    return XDR_GETLONG(&xdrs, &value);
  }
  bytes take(std::size_t length) {
    bytes result(length);
    EXPECT_EQ(XDR_GETBYTES(&xdrs, result.data(), static_cast<std::uint32_t>(length)), TRUE);
    return result;
  }
  void give(const bytes& more) { other.input = other.input + more; }
};

TEST(xdrrec_input, begins_with_a_skip_that_reads_nothing) {
  reading stream(fragment(hex("00 00 00 2A"), true));
  EXPECT_EQ(stream.no_unit(), FALSE);
  EXPECT_EQ(xdrrec_skiprecord(&stream.xdrs), TRUE);
  EXPECT_TRUE(stream.other.read_lengths.empty());
  EXPECT_EQ(stream.unit(), 42);
}

TEST(xdrrec_input, never_reads_past_the_last_fragment) {
  reading stream(fragment(hex("00 00 00 01"), true) + fragment(hex("00 00 00 02"), true));
  EXPECT_EQ(xdrrec_skiprecord(&stream.xdrs), TRUE);
  EXPECT_EQ(stream.unit(), 1);
  EXPECT_EQ(stream.no_unit(), FALSE);
  EXPECT_EQ(stream.no_unit(), FALSE);
  EXPECT_EQ(xdrrec_skiprecord(&stream.xdrs), TRUE);
  EXPECT_EQ(stream.unit(), 2);
}

TEST(xdrrec_input, a_value_that_crosses_the_end_consumes_nothing_of_the_next_record) {
  reading stream(fragment(hex("00 00 00 01 05"), true) + fragment(hex("00 00 00 02"), true));
  EXPECT_EQ(xdrrec_skiprecord(&stream.xdrs), TRUE);
  EXPECT_EQ(stream.unit(), 1);
  EXPECT_EQ(stream.no_unit(), FALSE);
  EXPECT_EQ(xdrrec_skiprecord(&stream.xdrs), TRUE);
  EXPECT_EQ(stream.unit(), 2);
}

TEST(xdrrec_input, reads_a_unit_that_is_split_across_fragments) {
  for (std::size_t piece : {std::size_t{1}, std::size_t{3}, std::size_t{SIZE_MAX}}) {
    reading stream(fragment(hex("01"), false) + fragment(hex("02 03"), false) +
                       fragment(hex("04 05 06 07 08"), true),
                   piece);
    EXPECT_EQ(xdrrec_skiprecord(&stream.xdrs), TRUE);
    EXPECT_EQ(stream.unit(), 0x01020304);
    EXPECT_EQ(stream.unit(), 0x05060708);
    EXPECT_EQ(stream.no_unit(), FALSE);
  }
}

TEST(xdrrec_input, passes_over_empty_fragments) {
  reading stream(header(0, false) + header(0, false) + fragment(hex("00 00 00 07"), false) +
                 header(0, true) + fragment(hex("00 00 00 08"), true));
  EXPECT_EQ(xdrrec_skiprecord(&stream.xdrs), TRUE);
  EXPECT_EQ(stream.unit(), 7);
  EXPECT_EQ(stream.no_unit(), FALSE);
  EXPECT_EQ(xdrrec_skiprecord(&stream.xdrs), TRUE);
  EXPECT_EQ(stream.unit(), 8);
}

TEST(xdrrec_input, skips_the_rest_of_the_chain) {
  reading stream(fragment(hex("00 00 00 01 00 00 00 02"), false) +
                     fragment(bytes(9000, 'x'), false) + fragment(hex("61 62 63"), true) +
                     fragment(hex("00 00 00 09"), true),
                 100);
  EXPECT_EQ(xdrrec_skiprecord(&stream.xdrs), TRUE);
  EXPECT_EQ(stream.unit(), 1);
  EXPECT_EQ(xdrrec_skiprecord(&stream.xdrs), TRUE);
  EXPECT_EQ(stream.unit(), 9);
}

TEST(xdrrec_input, knows_if_anything_is_buffered) {
  reading stream(fragment(hex("00 00 00 01"), false) + fragment(hex("00 00 00 02"), true) +
                 fragment(hex("00 00 00 03"), true));
  EXPECT_EQ(xdrrec_eof(&stream.xdrs), TRUE);
  EXPECT_EQ(xdrrec_skiprecord(&stream.xdrs), TRUE);
  EXPECT_EQ(stream.unit(), 1);
  EXPECT_EQ(xdrrec_eof(&stream.xdrs), FALSE);
  EXPECT_EQ(stream.no_unit(), FALSE);  // the record is over until the next skip
  EXPECT_EQ(xdrrec_skiprecord(&stream.xdrs), TRUE);
  EXPECT_EQ(stream.unit(), 3);
  EXPECT_EQ(xdrrec_eof(&stream.xdrs), TRUE);
}

TEST(xdrrec_input, a_failure_is_the_end) {
  reading stream(header(8, true) + hex("00 00 00 01"));
  EXPECT_EQ(xdrrec_skiprecord(&stream.xdrs), TRUE);
  EXPECT_EQ(stream.unit(), 1);
  EXPECT_EQ(xdrrec_eof(&stream.xdrs), TRUE);
}

TEST(xdrrec_input, reads_what_is_asked_for_and_keeps_the_alignment) {
  reading stream(fragment(bytes(20, 'x'), true), 5);
  EXPECT_EQ(xdrrec_skiprecord(&stream.xdrs), TRUE);
  EXPECT_EQ(stream.take(20), bytes(20, 'x'));
  EXPECT_EQ(stream.other.read_lengths, (std::vector<std::int32_t>{4000, 3999, 3998, 3997, 4000}));
}

TEST(xdrrec_input, adjusts_its_buffer_size) {
  struct {
    std::uint32_t asked;
    std::int32_t given;
  } const cases[] = {{0, 4000}, {99, 4000}, {100, 100}, {101, 104}, {262144, 262144}};
  for (const auto& one : cases) {
    reading stream({}, SIZE_MAX, one.asked);
    EXPECT_EQ(xdrrec_skiprecord(&stream.xdrs), TRUE);
    EXPECT_EQ(stream.no_unit(), FALSE);
    EXPECT_EQ(stream.other.read_lengths, std::vector<std::int32_t>{one.given});
  }
}

TEST(xdrrec_input, bytes_taken_before_a_failure_count_as_consumed) {
  // Ten of the twenty bytes arrive and are taken, so the next skip drops the other ten.
  reading stream(header(20, true) + bytes(10, 'x'));
  EXPECT_EQ(xdrrec_skiprecord(&stream.xdrs), TRUE);
  bytes data(20);
  EXPECT_EQ(XDR_GETBYTES(&stream.xdrs, data.data(), 20), FALSE);
  stream.give(bytes(10, 'y') + fragment(hex("00 00 00 07"), true));
  EXPECT_EQ(xdrrec_skiprecord(&stream.xdrs), TRUE);
  EXPECT_EQ(stream.unit(), 7);
}

TEST(xdrrec_input, a_skip_that_failed_goes_on_where_it_stopped) {
  reading stream(header(20, true) + bytes(10, 'x'));
  EXPECT_EQ(xdrrec_skiprecord(&stream.xdrs), TRUE);
  EXPECT_EQ(stream.take(4), bytes(4, 'x'));
  EXPECT_EQ(xdrrec_skiprecord(&stream.xdrs), FALSE);
  stream.give(bytes(10, 'y') + fragment(hex("00 00 00 07"), true));
  EXPECT_EQ(xdrrec_skiprecord(&stream.xdrs), TRUE);
  EXPECT_EQ(stream.unit(), 7);
}

TEST(xdrrec_input, a_header_that_arrives_in_parts_between_failures_is_put_together) {
  reading stream(fragment(hex("00 00 00 01"), false) + hex("80 00"));
  EXPECT_EQ(xdrrec_skiprecord(&stream.xdrs), TRUE);
  EXPECT_EQ(stream.unit(), 1);
  EXPECT_EQ(stream.no_unit(), FALSE);
  stream.give(hex("00"));
  EXPECT_EQ(stream.no_unit(), FALSE);
  stream.give(hex("04 00 00 00 02"));
  EXPECT_EQ(stream.unit(), 2);
  EXPECT_EQ(stream.no_unit(), FALSE);
}

TEST(xdrrec_input, a_zero_from_the_input_function_is_a_failure) {
  XDR xdrs{};
  xdrrec_create(
      &xdrs, 0, 0, nullptr, [](void*, char*, std::int32_t) { return 0; }, write_connection);
  xdrs.x_op = XDR_DECODE;
  EXPECT_EQ(xdrrec_skiprecord(&xdrs), TRUE);
  std::int32_t value = 0;
  EXPECT_EQ(XDR_GETLONG(&xdrs, &value), FALSE);
  XDR_DESTROY(&xdrs);
}

TEST(xdrrec_input, gives_places_of_what_is_buffered) {
  reading stream(fragment(hex("01 02 03 04 05 06 07 08"), false) + fragment(hex("09"), true));
  EXPECT_EQ(xdrrec_skiprecord(&stream.xdrs), TRUE);
  EXPECT_EQ(XDR_INLINE(&stream.xdrs, 4), nullptr);  // no fragment is open yet
  EXPECT_EQ(stream.unit(), 0x01020304);
  EXPECT_EQ(XDR_INLINE(&stream.xdrs, 5), nullptr);
  EXPECT_EQ(XDR_INLINE(&stream.xdrs, -1), nullptr);
  char* place = XDR_INLINE(&stream.xdrs, 3);
  ASSERT_NE(place, nullptr);
  EXPECT_EQ(bytes(place, place + 3), hex("05 06 07"));
  EXPECT_EQ(stream.take(2), hex("08 09"));
}

TEST(xdrrec_input, gives_no_place_for_what_has_not_arrived) {
  reading stream(fragment(hex("01 02 03 04 05 06 07 08"), true), 10);
  EXPECT_EQ(xdrrec_skiprecord(&stream.xdrs), TRUE);
  EXPECT_EQ(stream.unit(), 0x01020304);
  EXPECT_EQ(XDR_INLINE(&stream.xdrs, 4), nullptr);
  EXPECT_NE(XDR_INLINE(&stream.xdrs, 2), nullptr);
  EXPECT_EQ(stream.take(2), hex("07 08"));
}

TEST(xdrrec_input, has_no_positions) {
  reading stream(fragment(hex("00 00 00 01"), true));
  EXPECT_EQ(xdrrec_skiprecord(&stream.xdrs), TRUE);
  EXPECT_EQ(XDR_GETPOS(&stream.xdrs), 0xFFFFFFFFu);
  EXPECT_EQ(XDR_SETPOS(&stream.xdrs, 0), FALSE);
  EXPECT_EQ(stream.unit(), 1);
}

// The same record, however it was cut by the sender and by the network.
TEST(xdrrec_input, decodes_any_fragments_in_any_pieces) {
  const bytes data = pattern(9001);
  for (std::size_t cut : {1u, 2u, 3u, 5u, 1000u, 3996u, 9001u}) {
    bytes wire;
    for (std::size_t at = 0; at < data.size(); at += cut) {
      const std::size_t end = std::min(at + cut, data.size());
      wire = std::move(wire) + fragment(bytes(data.begin() + static_cast<std::ptrdiff_t>(at),
                                              data.begin() + static_cast<std::ptrdiff_t>(end)),
                                        end == data.size());
    }
    for (std::size_t piece : {1u, 7u, 4000u}) {
      for (std::uint32_t size : {100u, 4000u, 262144u}) {
        reading stream(wire, piece, size);
        EXPECT_EQ(xdrrec_skiprecord(&stream.xdrs), TRUE);
        for (std::size_t at = 0; at < 9000; at += 4) {
          ASSERT_EQ(static_cast<std::uint32_t>(stream.unit()), xdr_load_unit(data.data() + at));
        }
        EXPECT_EQ(stream.take(1), bytes(1, data.back()));
        EXPECT_EQ(stream.no_unit(), FALSE);
      }
    }
  }
}

TEST(xdrrec_input, returns_what_its_output_wrote) {
  const bytes data = pattern(30000);
  record_stream writer(XDR_ENCODE, 256);
  EXPECT_EQ(writer.put(data), TRUE);
  EXPECT_EQ(xdrrec_endofrecord(&writer.xdrs, TRUE), TRUE);
  bytes wire;
  for (const bytes& sent : writer.other.sends) wire = std::move(wire) + sent;
  reading reader(wire, 300, 128);
  EXPECT_EQ(xdrrec_skiprecord(&reader.xdrs), TRUE);
  EXPECT_EQ(reader.take(30000), data);
}

}  // namespace
}  // namespace kvrpc::test
