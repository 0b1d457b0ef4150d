// Lengths that the stream cannot fill, records cut anywhere, and memory that runs out.
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

constexpr std::uint32_t hostile_lengths[] = {0x3fffffffu, 0x40000000u, 0x7fffffffu,
                                             0x80000000u, 0xfffffffcu, 0xfffffffeu};
constexpr std::uint32_t first_piece = 64 * 1024;

// One of everything that allocates.
struct sample {
  char* text;
  std::uint32_t size;
  char* data;
  std::uint32_t count;
  char* array;  // of texts
  char* next;
};

bool_t xdr_sample(XDR* xdrs, void* object, std::uint32_t) {
  auto* at = static_cast<sample*>(object);
  return xdr_wrapstring(xdrs, &at->text) && xdr_bytes(xdrs, &at->data, &at->size, LASTUNSIGNED) &&
                 xdr_array(xdrs, &at->array, &at->count, LASTUNSIGNED, sizeof(char*),
                           xdr_wrapstring) &&
                 xdr_pointer(xdrs, &at->next, sizeof(sample), xdr_sample)
             ? TRUE
             : FALSE;
}

// Two samples, the first with two array elements and the second with none.
bytes two_samples() {
  return hex(
      "00 00 00 03 61 62 63 00  00 00 00 05 01 02 03 04 05 00 00 00"
      "00 00 00 02 00 00 00 01 78 00 00 00 00 00 00 00  00 00 00 01"
      "00 00 00 00  00 00 00 00  00 00 00 00  00 00 00 00");
}

bytes with_length(std::uint32_t length, std::size_t follow) {
  bytes content(4 + follow, 'x');
  xdr_store_unit(content.data(), length);
  return content;
}

// Decodes one item of `length` from a stream that holds `arrived` bytes of it, and returns the
// most memory that took.
template <class Decode>
std::size_t peak_of(std::uint32_t length, std::size_t arrived, Decode decode) {
  decoding stream(with_length(length, arrived));
  failing_heap heap(-1);
  decode(&stream.xdrs);
  EXPECT_EQ(heap.live_blocks(), 0);
  return heap.peak_bytes();
}

TEST(xdr_hostile, lengths_cost_no_more_than_a_small_multiple_of_what_arrived) {
  for (std::uint32_t length : hostile_lengths) {
    for (std::size_t arrived : {std::size_t{0}, std::size_t{64}, std::size_t{1000000}}) {
      const std::size_t bound = 2 * first_piece + 3 * arrived;
      EXPECT_LT(peak_of(length, arrived,
                        [&](XDR* xdrs) {
                          char* data = nullptr;
                          std::uint32_t size = 0;
                          EXPECT_EQ(xdr_bytes(xdrs, &data, &size, LASTUNSIGNED), FALSE);
                          EXPECT_EQ(size, length);
                          std::free(data);
                        }),
                bound);
      EXPECT_LT(peak_of(length, arrived,
                        [](XDR* xdrs) {
                          char* text = nullptr;
                          EXPECT_EQ(xdr_wrapstring(xdrs, &text), FALSE);
                          xdr_free(xdr_wrapstring, &text);
                        }),
                bound);
    }
  }
}

std::uint32_t walked = 0;

bool_t count_and_free(XDR* xdrs, void* object, std::uint32_t limit) {
  ++walked;
  return xdr_wrapstring(xdrs, object, limit);
}

TEST(xdr_hostile, counts_leave_an_array_that_can_be_released) {
  for (std::uint32_t count : hostile_lengths) {
    bytes content = with_length(count, 0);
    for (int i = 0; i < 20000; ++i) {
      const bytes text = hex("00 00 00 01 79 00 00 00");
      content.insert(content.end(), text.begin(), text.end());
    }
    decoding stream(content);
    failing_heap heap(-1);
    char* array = nullptr;
    std::uint32_t left = 0;
    EXPECT_EQ(xdr_array(&stream.xdrs, &array, &left, LASTUNSIGNED, sizeof(char*), xdr_wrapstring),
              FALSE);
    EXPECT_GE(left, 20000u);
    EXPECT_LE(left, 40000u);
    walked = 0;
    XDR freeing = untouchable(XDR_FREE);
    EXPECT_EQ(xdr_array(&freeing, &array, &left, LASTUNSIGNED, sizeof(char*), count_and_free),
              TRUE);
    EXPECT_EQ(walked, left);
    EXPECT_EQ(heap.live_blocks(), 0);
    EXPECT_LT(heap.peak_bytes(), 16 * content.size());
  }
}

TEST(xdr_hostile, element_sizes_multiply_without_wrapping) {
  // 0x40000001 elements of 4 bytes are 4 bytes in a product of 32 bits.
  decoding stream("40 00 00 01 00 00 00 01 00 00 00 02");
  char* array = nullptr;
  std::uint32_t count = 0;
  EXPECT_EQ(xdr_array(&stream.xdrs, &array, &count, LASTUNSIGNED, 4, xdr_long), FALSE);
  EXPECT_EQ(count, first_piece / 4);
  EXPECT_EQ(reinterpret_cast<std::int32_t*>(array)[1], 2);
  std::free(array);
}

TEST(xdr_hostile, big_blocks_arrive_whole) {
  for (std::uint32_t size :
       {first_piece - 1, first_piece, first_piece + 1, 3 * first_piece + 3, 1000001u}) {
    bytes content = with_length(size, 0);
    for (std::uint32_t i = 0; i < size; ++i) content.push_back(static_cast<char>(i * 7 + 1));
    content.resize((content.size() + 3) / 4 * 4);
    decoding stream(content);
    char* data = nullptr;
    std::uint32_t arrived = 0;
    ASSERT_EQ(xdr_bytes(&stream.xdrs, &data, &arrived, LASTUNSIGNED), TRUE);
    EXPECT_EQ(arrived, size);
    EXPECT_EQ(std::memcmp(data, content.data() + 4, size), 0);
    EXPECT_EQ(data[size], '\0');
    EXPECT_EQ(stream.xdrs.x_handy, 0);
    std::free(data);
  }
}

TEST(xdr_hostile, big_arrays_arrive_whole) {
  constexpr std::uint32_t count = 100003;
  bytes content = with_length(count, 0);
  content.resize(4 + 4 * count);
  for (std::uint32_t i = 0; i < count; ++i) xdr_store_unit(content.data() + 4 + 4 * i, i);
  decoding stream(content);
  char* array = nullptr;
  std::uint32_t arrived = 0;
  ASSERT_EQ(xdr_array(&stream.xdrs, &array, &arrived, LASTUNSIGNED, 4, xdr_u_long), TRUE);
  ASSERT_EQ(arrived, count);
  for (std::uint32_t i = 0; i < count; ++i) {
    ASSERT_EQ(reinterpret_cast<std::uint32_t*>(array)[i], i);
  }
  EXPECT_EQ(array[4 * count], '\0');
  std::free(array);
}

TEST(xdr_hostile, records_cut_anywhere_are_released_whole) {
  const bytes whole = two_samples();
  for (std::size_t length = 0; length <= whole.size(); ++length) {
    decoding stream(bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)));
    failing_heap heap(-1);
    sample first = {};
    EXPECT_EQ(xdr_sample(&stream.xdrs, &first, LASTUNSIGNED),
              length == whole.size() ? TRUE : FALSE);
    xdr_free(xdr_sample, &first);
    EXPECT_EQ(heap.live_blocks(), 0) << length;
  }
}

TEST(xdr_hostile, words_replaced_anywhere_leak_nothing) {
  const bytes whole = two_samples();
  for (std::size_t at = 0; at < whole.size(); at += 4) {
    for (std::uint32_t word : {0u, 1u, 2u, 0x3fffffffu, 0x40000000u, 0x7fffffffu, 0x80000000u,
                               0xfffffffcu, 0xffffffffu}) {
      bytes content = whole;
      xdr_store_unit(content.data() + at, word);
      decoding stream(content);
      failing_heap heap(-1);
      sample first = {};
      xdr_sample(&stream.xdrs, &first, LASTUNSIGNED);
      xdr_free(xdr_sample, &first);
      EXPECT_EQ(heap.live_blocks(), 0) << at << " " << word;
      EXPECT_LT(heap.peak_bytes(), 8 * first_piece);
    }
  }
}

// What `decode` prints when its first allocation fails.
template <class Decode>
std::string message_of(const char* content, Decode decode) {
  decoding stream(content);
  testing::internal::CaptureStderr();
  {
    failing_heap heap(0);
    EXPECT_EQ(decode(&stream.xdrs), FALSE);
    EXPECT_TRUE(heap.failed());
    EXPECT_EQ(heap.live_blocks(), 0);
  }
  return testing::internal::GetCapturedStderr();
}

TEST(xdr_out_of_memory, says_which_routine_had_none) {
  char* object = nullptr;
  std::uint32_t size = 0;
  EXPECT_EQ(message_of("00 00 00 01 61 00 00 00",
                       [&](XDR* xdrs) { return xdr_bytes(xdrs, &object, &size, LASTUNSIGNED); }),
            "xdr_bytes: out of memory\n");
  EXPECT_EQ(message_of("00 00 00 01 61 00 00 00",
                       [&](XDR* xdrs) { return xdr_string(xdrs, &object, LASTUNSIGNED); }),
            "xdr_string: out of memory\n");
  EXPECT_EQ(message_of("00 00 00 01 61 00 00 00",
                       [&](XDR* xdrs) {
                         return xdr_array(xdrs, &object, &size, LASTUNSIGNED, 4, xdr_long);
                       }),
            "xdr_array: out of memory\n");
  EXPECT_EQ(message_of("00 00 00 01",
                       [&](XDR* xdrs) { return xdr_reference(xdrs, &object, 4, xdr_long); }),
            "xdr_reference: out of memory\n");
  EXPECT_EQ(object, nullptr);
}

TEST(xdr_out_of_memory, at_each_allocation_leaks_nothing) {
  testing::internal::CaptureStderr();
  const std::int64_t failures = fail_each_allocation([](std::int64_t number) {
    decoding stream(two_samples());
    failing_heap heap(number);
    sample first = {};
    const bool_t status = xdr_sample(&stream.xdrs, &first, LASTUNSIGNED);
    EXPECT_EQ(status, heap.failed() ? FALSE : TRUE);
    xdr_free(xdr_sample, &first);
    EXPECT_EQ(heap.live_blocks(), 0);
    return heap.failed();
  });
  testing::internal::GetCapturedStderr();
  EXPECT_EQ(failures, 7);  // text, bytes, array and its two texts, node, the node's text
}

TEST(xdr_out_of_memory, while_a_block_grows_keeps_what_arrived) {
  bytes content = with_length(8 * first_piece, 8 * first_piece);
  for (std::int64_t number : {1, 2, 3}) {
    decoding stream(content);
    testing::internal::CaptureStderr();
    failing_heap heap(number);
    char* data = nullptr;
    std::uint32_t size = 0;
    EXPECT_EQ(xdr_bytes(&stream.xdrs, &data, &size, LASTUNSIGNED), FALSE);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "xdr_bytes: out of memory\n");
    ASSERT_NE(data, nullptr);
    EXPECT_EQ(data[first_piece - 1], 'x');
    std::free(data);
    EXPECT_EQ(heap.live_blocks(), 0);
  }
}

TEST(xdr_out_of_memory, while_an_array_grows_leaves_the_count_of_its_block) {
  bytes content = with_length(50000, 200000);
  decoding stream(content);
  testing::internal::CaptureStderr();
  failing_heap heap(1);
  char* array = nullptr;
  std::uint32_t count = 0;
  EXPECT_EQ(xdr_array(&stream.xdrs, &array, &count, LASTUNSIGNED, 4, xdr_long), FALSE);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "xdr_array: out of memory\n");
  EXPECT_EQ(count, first_piece / 4);
  XDR freeing = untouchable(XDR_FREE);
  EXPECT_EQ(xdr_array(&freeing, &array, &count, LASTUNSIGNED, 4, xdr_long), TRUE);
  EXPECT_EQ(heap.live_blocks(), 0);
}

}  // namespace
}  // namespace kvrpc::test
