// Bytes that no honest server sends: the reader must not crash, and must not allocate more than
// such bytes can fill.
#include <gtest/gtest.h>

#include "bridge/support/conversion.h"
#include "bridge/support/random_values.h"
#include "bridge/support/test_records.h"
#include "support/failing_heap.h"

namespace kvrpc::test {
namespace {

constexpr std::uint32_t hostile_units[] = {
    0, 1, 2, 0x3fffffff, 0x40000000, 0x7fffffff, 0x80000000, 0xfffffffc, 0xffffffff};

constexpr std::size_t allowance = 64u << 20;

// A table with one valid encoding.
struct valid_encoding {
  wire_type type;
  bytes wire;
};

void read(const wire_type& type, const bytes& wire, inline_mode mode) {
  failing_heap heap(-1);
  {
    test_value value(type);
    const std::string expected = value.get(wire, mode) ? value.text() : "";
    EXPECT_EQ(reply_text(type, wire, mode), expected);
  }
  EXPECT_EQ(heap.live_blocks(), 0);
  EXPECT_LT(heap.peak_bytes(), allowance + 16 * wire.size());
}

void read_with_each_word_replaced(const valid_encoding& valid) {
  for (std::size_t at = 0; at + 4 <= valid.wire.size(); at += 4) {
    for (std::uint32_t unit : hostile_units) {
      bytes wire = valid.wire;
      xdr_store_unit(wire.data() + at, unit);
      read(valid.type, wire, unit % 2 == 0 ? inline_mode::always : inline_mode::never);
    }
  }
}

void read_each_truncation(const valid_encoding& valid) {
  for (std::size_t size = 0; size < valid.wire.size(); ++size) {
    const bytes wire(valid.wire.begin(), valid.wire.begin() + static_cast<std::ptrdiff_t>(size));
    read(valid.type, wire, size % 2 == 0 ? inline_mode::always : inline_mode::sometimes);
  }
}

TEST(hostile_bytes, in_each_word_of_a_hundred_valid_encodings) {
  testing::internal::CaptureStderr();
  int encodings = 0;
  random_values values(7);
  for (const test_shape& shape : test_shapes) {
    const valid_encoding valid = {shape.type, values.value(shape.type).wire};
    read_with_each_word_replaced(valid);
    read_each_truncation(valid);
    ++encodings;
  }
  for (std::uint32_t seed = 0; encodings < 130; ++seed) {
    random_tables tables(seed);
    const wire_type type = wire::inline_(tables.record(2));
    const valid_encoding valid = {type, values.value(type).wire};
    if (valid.wire.empty() || valid.wire.size() > 2000) continue;
    read_with_each_word_replaced(valid);
    read_each_truncation(valid);
    ++encodings;
  }
  // Bytes that do not arrive are not allocated for, so memory does not run out.
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(hostile_bytes, a_chain_of_links_without_data_takes_no_memory) {
  bytes wire;
  for (int i = 0; i < 1000000; ++i) wire.insert(wire.end(), {0, 0, 0, 1});
  failing_heap heap(-1);
  {
    test_value value(wire::inline_(shapes::next_first));
    EXPECT_FALSE(value.get(wire));
  }
  EXPECT_EQ(heap.live_blocks(), 0);
  EXPECT_LT(heap.peak_bytes(), 1u << 20);
}

TEST(hostile_bytes, a_chain_of_links_without_data_takes_the_memory_of_its_text) {
  bytes wire;
  for (int i = 0; i < 1000000; ++i) wire.insert(wire.end(), {0, 0, 0, 1});
  failing_heap heap(-1);
  EXPECT_EQ(reply_text(wire::inline_(shapes::next_first), wire), "");
  EXPECT_EQ(heap.live_blocks(), 0);
  EXPECT_LT(heap.peak_bytes(), 8 * wire.size());
}

TEST(hostile_bytes, a_long_list_takes_a_small_multiple_of_its_bytes) {
  // 4 bytes of link and 4 of data a node, the least that a node of the interface takes.
  bytes wire;
  for (int i = 0; i < 1000000; ++i) wire.insert(wire.end(), {0, 0, 0, 1});
  wire.insert(wire.end(), 4, '\0');
  wire.resize(wire.size() + 4 * 1000001);
  failing_heap heap(-1);
  {
    test_value value(wire::inline_(shapes::next_first));
    EXPECT_TRUE(value.get(wire));
  }
  EXPECT_LT(heap.peak_bytes(), 16 * wire.size());
  const failing_heap streaming(-1);
  EXPECT_NE(reply_text(wire::inline_(shapes::next_first), wire), "");
  EXPECT_LT(streaming.peak_bytes(), 16 * wire.size());
}

TEST(hostile_bytes, a_count_far_beyond_the_bytes_takes_little_memory) {
  for (std::uint32_t count : hostile_units) {
    for (const wire_type& type : {wire::array_of(shapes::entry), wire::array_of(shapes::item),
                                  wire::text, wire::blob, wire::string}) {
      bytes wire(100000, '\x7F');
      xdr_store_unit(wire.data(), count);
      failing_heap heap(-1);
      {
        test_value value(type);
        value.get(wire);
      }
      EXPECT_LT(heap.peak_bytes(), 1u << 20) << count;
    }
  }
}

}  // namespace
}  // namespace kvrpc::test
