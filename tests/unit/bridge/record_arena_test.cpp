#include "bridge/record_arena.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

#include "support/failing_heap.h"

namespace kvrpc::test {
namespace {

TEST(record_arena, gives_zeroed_places_with_a_zero_byte_behind_each) {
  failing_heap heap(-1);
  {
    record_arena arena;
    std::vector<std::pair<char*, std::size_t>> places;
    for (std::size_t size = 1; size < 1000; size += 3) {
      char* const place = arena.take(size);
      ASSERT_NE(place, nullptr);
      EXPECT_EQ(reinterpret_cast<std::uintptr_t>(place) % 8, 0u);
      EXPECT_TRUE(std::all_of(place, place + size + 1, [](char byte) { return byte == '\0'; }));
      std::memset(place, 'x', size);
      places.emplace_back(place, size);
    }
    for (const auto& [place, size] : places) {
      EXPECT_TRUE(std::all_of(place, place + size, [](char byte) { return byte == 'x'; })) << size;
      EXPECT_EQ(place[size], '\0') << size;
    }
  }
  EXPECT_EQ(heap.live_blocks(), 0);
}

TEST(record_arena, takes_few_blocks_and_little_ahead) {
  failing_heap heap(-1);
  record_arena arena;
  EXPECT_EQ(heap.allocations(), 0);
  for (int i = 0; i < 10000; ++i) arena.take(31);
  EXPECT_EQ(arena.used(), 320000u);
  EXPECT_LT(heap.allocations(), 12);
  EXPECT_LT(heap.peak_bytes(), 320000u + 2 * 64 * 1024);
}

TEST(record_arena, has_room_for_a_place_larger_than_its_chunks) {
  record_arena arena;
  char* const place = arena.take(1000000);
  ASSERT_NE(place, nullptr);
  place[999999] = 'x';
  EXPECT_EQ(place[1000000], '\0');
}

TEST(record_arena, without_memory_gives_null_and_keeps_what_it_has) {
  failing_heap heap(1);
  {
    record_arena arena;
    char* const first = arena.take(2000);
    ASSERT_NE(first, nullptr);
    std::memset(first, 'x', 2000);
    EXPECT_EQ(arena.take(2000), nullptr);
    EXPECT_EQ(first[1999], 'x');
    EXPECT_NE(arena.take(2000), nullptr);
  }
  EXPECT_EQ(heap.live_blocks(), 0);
}

}  // namespace
}  // namespace kvrpc::test
