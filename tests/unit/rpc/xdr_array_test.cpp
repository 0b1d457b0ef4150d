// Arrays, vectors, references and pointers: their bytes, their limits and their release.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <vector>

#include "rpc/xdr.h"
#include "rpc/xdr_support.h"
#include "support/failing_heap.h"

namespace kvrpc::test {
namespace {

std::vector<void*> visited;
std::vector<std::uint32_t> limits;

bool_t remember(XDR*, void* object, std::uint32_t limit) {
  visited.push_back(object);
  limits.push_back(limit);
  return TRUE;
}

bool_t refuse(XDR*, void* object, std::uint32_t) {
  visited.push_back(object);
  return FALSE;
}

class element_walk : public ::testing::Test {
 protected:
  void SetUp() override {
    visited.clear();
    limits.clear();
  }
};

// A list node whose link is at an address that is a multiple of 4 and need not be one of 8.
struct node {
  std::int32_t number;
  char next[sizeof(char*)];
};

char** link_of(node* at) { return reinterpret_cast<char**>(at->next); }

bool_t xdr_node(XDR* xdrs, void* object, std::uint32_t) {
  auto* at = static_cast<node*>(object);
  if (!xdr_long(xdrs, &at->number)) return FALSE;
  return xdr_pointer(xdrs, link_of(at), sizeof(node), xdr_node);
}

using counted_array = element_walk;
using fixed_vector = element_walk;
using reference = element_walk;
using pointer = element_walk;

TEST_F(counted_array, follows_its_count) {
  std::int32_t values[] = {1, -1};
  auto* array = reinterpret_cast<char*>(values);
  std::uint32_t count = 2;
  encoding stream;
  EXPECT_EQ(xdr_array(&stream.xdrs, &array, &count, 2, 4, xdr_long), TRUE);
  EXPECT_EQ(stream.written(), hex("00 00 00 02 00 00 00 01 FF FF FF FF"));
  EXPECT_EQ(xdr_array(&stream.xdrs, &array, &count, 1, 4, xdr_long), FALSE);
}

TEST_F(counted_array, is_decoded_into_a_block_with_a_zero_after_it) {
  decoding stream("00 00 00 02 00 00 00 01 FF FF FF FF");
  failing_heap heap(-1);
  char* array = nullptr;
  std::uint32_t count = 0;
  EXPECT_EQ(xdr_array(&stream.xdrs, &array, &count, 2, 4, xdr_long), TRUE);
  EXPECT_EQ(count, 2u);
  EXPECT_EQ(reinterpret_cast<std::int32_t*>(array)[0], 1);
  EXPECT_EQ(reinterpret_cast<std::int32_t*>(array)[1], -1);
  EXPECT_EQ(array[8], '\0');
  EXPECT_EQ(heap.allocations(), 1);
  XDR freeing = untouchable(XDR_FREE);
  EXPECT_EQ(xdr_array(&freeing, &array, &count, 2, 4, xdr_long), TRUE);
  EXPECT_EQ(array, nullptr);
  EXPECT_EQ(heap.live_blocks(), 0);
}

TEST_F(counted_array, of_count_zero_stays_null) {
  decoding stream("00 00 00 00");
  char* array = nullptr;
  std::uint32_t count = 3;
  EXPECT_EQ(xdr_array(&stream.xdrs, &array, &count, 5, 4, refuse), TRUE);
  EXPECT_EQ(array, nullptr);
  EXPECT_EQ(count, 0u);
}

TEST_F(counted_array, above_the_maximum_fails_with_the_count_stored) {
  decoding stream("00 00 00 03");
  char* array = nullptr;
  std::uint32_t count = 0;
  EXPECT_EQ(xdr_array(&stream.xdrs, &array, &count, 2, 4, remember), FALSE);
  EXPECT_EQ(count, 3u);
  EXPECT_EQ(array, nullptr);
  EXPECT_TRUE(visited.empty());
}

TEST_F(counted_array, fills_a_callers_array) {
  decoding stream("00 00 00 01 00 00 00 2A");
  std::int32_t values[] = {0, 7};
  auto* array = reinterpret_cast<char*>(values);
  std::uint32_t count = 0;
  EXPECT_EQ(xdr_array(&stream.xdrs, &array, &count, 9, 4, xdr_long), TRUE);
  EXPECT_EQ(values[0], 42);
  EXPECT_EQ(values[1], 7);
}

TEST_F(counted_array, that_is_null_has_null_elements_on_encode) {
  char* array = nullptr;
  std::uint32_t count = 2;
  encoding stream;
  EXPECT_EQ(xdr_array(&stream.xdrs, &array, &count, 9, 4, remember), TRUE);
  EXPECT_EQ(visited, (std::vector<void*>{nullptr, nullptr}));
  EXPECT_EQ(limits, (std::vector<std::uint32_t>{LASTUNSIGNED, LASTUNSIGNED}));
}

TEST_F(counted_array, is_released_after_its_elements) {
  XDR freeing = untouchable(XDR_FREE);
  char* array = nullptr;
  std::uint32_t count = 2;
  EXPECT_EQ(xdr_array(&freeing, &array, &count, 1, 8, remember), TRUE);
  EXPECT_TRUE(visited.empty());

  array = static_cast<char*>(std::calloc(2, 8));
  char* const block = array;
  EXPECT_EQ(xdr_array(&freeing, &array, &count, 1, 8, remember), TRUE);
  EXPECT_EQ(visited, (std::vector<void*>{block, block + 8}));
  EXPECT_EQ(array, nullptr);
}

TEST_F(counted_array, is_released_though_its_count_is_zero_or_an_element_fails) {
  XDR freeing = untouchable(XDR_FREE);
  failing_heap heap(-1);
  auto* array = static_cast<char*>(std::malloc(8));
  std::uint32_t count = 0;
  EXPECT_EQ(xdr_array(&freeing, &array, &count, 9, 4, remember), TRUE);
  EXPECT_EQ(array, nullptr);

  array = static_cast<char*>(std::malloc(8));
  count = 2;
  EXPECT_EQ(xdr_array(&freeing, &array, &count, 9, 4, refuse), FALSE);
  EXPECT_EQ(visited.size(), 1u);
  EXPECT_EQ(array, nullptr);
  EXPECT_EQ(heap.live_blocks(), 0);
}

TEST_F(counted_array, stops_at_the_first_element_that_fails_and_leaves_zeros) {
  decoding stream("00 00 00 03 00 00 00 05 00 00");
  char* array = nullptr;
  std::uint32_t count = 0;
  EXPECT_EQ(xdr_array(&stream.xdrs, &array, &count, 9, 4, xdr_long), FALSE);
  EXPECT_EQ(count, 3u);
  EXPECT_EQ(bytes(array + 4, array + 13), bytes(9));
  XDR freeing = untouchable(XDR_FREE);
  EXPECT_EQ(xdr_array(&freeing, &array, &count, 9, 4, xdr_long), TRUE);
}

TEST_F(fixed_vector, carries_its_elements_alone) {
  char letters[] = {'a', '\xE9'};
  encoding stream;
  EXPECT_EQ(xdr_vector(&stream.xdrs, letters, 2, 1, xdr_u_char), TRUE);
  EXPECT_EQ(stream.written(), hex("00 00 00 61 FF FF FF E9"));

  decoding back("00 00 00 62 00 00 00 E8");
  EXPECT_EQ(xdr_vector(&back.xdrs, letters, 2, 1, xdr_char), TRUE);
  EXPECT_EQ(bytes(letters, letters + 2), hex("62 E8"));
  EXPECT_EQ(xdr_vector(&back.xdrs, letters, 1, 1, xdr_char), FALSE);
}

TEST_F(fixed_vector, of_count_zero_succeeds_and_a_failure_ends_it) {
  XDR xdrs = untouchable(XDR_ENCODE);
  EXPECT_EQ(xdr_vector(&xdrs, nullptr, 0, 4, refuse), TRUE);
  char letters[4] = {};
  EXPECT_EQ(xdr_vector(&xdrs, letters, 4, 1, refuse), FALSE);
  EXPECT_EQ(visited.size(), 1u);
  XDR freeing = untouchable(XDR_FREE);
  EXPECT_EQ(xdr_vector(&freeing, letters, 4, 1, xdr_char), TRUE);
}

TEST_F(reference, allocates_and_releases_its_object) {
  decoding stream("00 00 00 2A");
  failing_heap heap(-1);
  char* object = nullptr;
  EXPECT_EQ(xdr_reference(&stream.xdrs, &object, 8, xdr_long), TRUE);
  ASSERT_NE(object, nullptr);
  EXPECT_EQ(*reinterpret_cast<std::int32_t*>(object), 42);
  EXPECT_EQ(bytes(object + 4, object + 9), bytes(5));
  encoding back;
  EXPECT_EQ(xdr_reference(&back.xdrs, &object, 8, xdr_long), TRUE);
  EXPECT_EQ(back.written(), hex("00 00 00 2A"));
  XDR freeing = untouchable(XDR_FREE);
  EXPECT_EQ(xdr_reference(&freeing, &object, 8, refuse), FALSE);
  EXPECT_EQ(object, nullptr);
  EXPECT_EQ(xdr_reference(&freeing, &object, 8, refuse), TRUE);
  EXPECT_EQ(heap.live_blocks(), 0);
}

TEST_F(reference, to_null_is_handed_on_when_encoding) {
  encoding stream;
  char* object = nullptr;
  EXPECT_EQ(xdr_reference(&stream.xdrs, &object, 8, remember), TRUE);
  EXPECT_EQ(visited, std::vector<void*>{nullptr});
  EXPECT_EQ(limits, std::vector<std::uint32_t>{LASTUNSIGNED});
}

TEST_F(pointer, writes_whether_there_is_an_object) {
  char* object = nullptr;
  encoding stream;
  EXPECT_EQ(xdr_pointer(&stream.xdrs, &object, 4, refuse), TRUE);
  std::int32_t value = 9;
  object = reinterpret_cast<char*>(&value);
  EXPECT_EQ(xdr_pointer(&stream.xdrs, &object, 4, xdr_long), TRUE);
  EXPECT_EQ(stream.written(), hex("00 00 00 00 00 00 00 01 00 00 00 09"));
}

TEST_F(pointer, takes_any_non_zero_unit_for_an_object) {
  decoding stream("80 00 00 00 00 00 00 09 00 00 00 00");
  char* object = nullptr;
  EXPECT_EQ(xdr_pointer(&stream.xdrs, &object, 4, xdr_long), TRUE);
  ASSERT_NE(object, nullptr);
  char* const first = object;
  EXPECT_EQ(xdr_pointer(&stream.xdrs, &object, 4, xdr_long), TRUE);
  EXPECT_EQ(object, nullptr);  // overwritten, not released
  std::free(first);
  EXPECT_EQ(xdr_pointer(&stream.xdrs, &object, 4, xdr_long), FALSE);
}

TEST_F(pointer, links_lists_at_any_multiple_of_four) {
  const bytes wire = hex("00 00 00 01 00 00 00 01 00 00 00 02 00 00 00 01 00 00 00 03 00 00 00 00");
  decoding stream(wire);
  failing_heap heap(-1);
  node first = {};
  EXPECT_EQ(xdr_node(&stream.xdrs, &first, LASTUNSIGNED), TRUE);
  EXPECT_EQ(heap.live_blocks(), 2);
  encoding back;
  EXPECT_EQ(xdr_node(&back.xdrs, &first, LASTUNSIGNED), TRUE);
  EXPECT_EQ(back.written(), wire);
  xdr_free(xdr_node, &first);
  EXPECT_EQ(heap.live_blocks(), 0);
  EXPECT_EQ(bytes(first.next, first.next + sizeof first.next), bytes(sizeof first.next));
}

TEST_F(pointer, free_of_an_empty_list_touches_nothing) {
  decoding stream("00 00 00 01 00 00 00 00");
  node first = {};
  EXPECT_EQ(xdr_node(&stream.xdrs, &first, LASTUNSIGNED), TRUE);
  xdr_free(xdr_node, &first);
  EXPECT_EQ(first.number, 1);
}

}  // namespace
}  // namespace kvrpc::test
