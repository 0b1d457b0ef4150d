// The sizes of growing blocks, and what grow_block keeps and clears.
#include "rpc/growing_block.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <string>

#include "support/failing_heap.h"

namespace kvrpc::test {
namespace {

constexpr std::uint32_t most = 0xFFFFFFFF;

TEST(growing_block, has_a_first_block_of_at_least_one_element) {
  EXPECT_EQ(first_block_elements(0), 65536u);
  EXPECT_EQ(first_block_elements(1), 65536u);
  EXPECT_EQ(first_block_elements(3), 21845u);
  EXPECT_EQ(first_block_elements(65536), 1u);
  EXPECT_EQ(first_block_elements(65537), 1u);
  EXPECT_EQ(first_block_elements(most), 1u);
}

TEST(growing_block, makes_room_for_twice_what_arrived_and_never_beyond_all) {
  EXPECT_EQ(next_room(0, 100, 1000), 100u);
  EXPECT_EQ(next_room(0, 100, 7), 7u);
  EXPECT_EQ(next_room(40, 100, 1000), 100u);
  EXPECT_EQ(next_room(100, 100, 1000), 200u);
  EXPECT_EQ(next_room(800, 100, 1000), 1000u);
  EXPECT_EQ(next_room(0x80000000, 100, most), most);
  EXPECT_EQ(next_room(0x7FFFFFFF, 100, most), 0xFFFFFFFEu);
  EXPECT_EQ(next_room(0, 100, 0), 0u);
}

TEST(growing_block, keeps_the_front_and_clears_the_rest_and_the_byte_after_it) {
  char* block = grow_block(nullptr, 0, 3, "routine");
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(std::string(block, 4), std::string(4, '\0'));
  std::string("abc").copy(block, 3);
  block = grow_block(block, 2, 6, "routine");
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(std::string(block, 7), std::string("ab\0\0\0\0\0", 7));
  std::free(block);
}

TEST(growing_block, stays_as_it_was_where_there_is_no_memory_and_says_whose_it_was) {
  char* const block = grow_block(nullptr, 0, 3, "routine");
  ASSERT_NE(block, nullptr);
  std::string("abc").copy(block, 3);
  testing::internal::CaptureStderr();
  {
    failing_heap heap(0);
    EXPECT_EQ(grow_block(block, 3, 8, "xdr_one"), nullptr);
    EXPECT_TRUE(heap.failed());
  }
  EXPECT_EQ(grow_block(block, 3, UINT64_MAX, "xdr_two"), nullptr);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "xdr_one: out of memory\nxdr_two: out of memory\n");
  EXPECT_EQ(std::string(block, 4), std::string("abc\0", 4));
  std::free(block);
}

}  // namespace
}  // namespace kvrpc::test
