// What holds for every table and every value.
#include <gtest/gtest.h>

#include "bridge/support/conversion.h"
#include "bridge/support/procedures.h"
#include "bridge/support/random_values.h"
#include "bridge/support/test_records.h"
#include "support/failing_heap.h"

namespace kvrpc::test {
namespace {

constexpr inline_mode modes[] = {inline_mode::always, inline_mode::never, inline_mode::sometimes};

// JSON -> record -> XDR -> record -> JSON, each form the one that the rules give.
void expect_round_trip(const wire_type& type, const random_value& sample) {
  failing_heap heap(-1);
  {
    test_value value(type);
    bytes wire;
    ASSERT_EQ(value.encode(sample.json), 1) << sample.json;
    ASSERT_TRUE(value.put(&wire)) << sample.json;
    ASSERT_EQ(wire, sample.wire) << sample.json;
    ASSERT_EQ(value.text(), sample.json);
  }
  for (inline_mode mode : modes) {
    test_value value(type);
    bytes wire;
    ASSERT_TRUE(value.get(sample.wire, mode)) << sample.json;
    ASSERT_TRUE(value.put(&wire)) << sample.json;
    ASSERT_EQ(wire, sample.wire) << sample.json;
    ASSERT_EQ(value.text(), sample.json);
    ASSERT_EQ(reply_text(type, sample.wire, mode), sample.json);
  }
  ASSERT_EQ(heap.live_blocks(), 0) << sample.json;
}

TEST(every_table, gives_its_values_back_by_every_road) {
  for (std::uint32_t seed = 0; seed < 600; ++seed) {
    random_tables tables(seed);
    random_values values(seed);
    const wire_type type = wire::inline_(tables.record(3));
    for (int i = 0; i < 5; ++i) expect_round_trip(type, values.value(type));
    if (HasFatalFailure()) FAIL() << "seed " << seed;
  }
}

TEST(every_shape, gives_its_values_back_by_every_road) {
  random_values values(1);
  for (const test_shape& shape : test_shapes) {
    for (int i = 0; i < 100; ++i) expect_round_trip(shape.type, values.value(shape.type));
    if (HasFatalFailure()) FAIL() << shape.name;
  }
}

TEST(every_procedure, gives_the_values_of_its_records_back_by_every_road) {
  random_values values(2);
  const std::vector<procedure> procedures = specified_procedures();
  EXPECT_GT(procedures.size(), 317u);
  for (const procedure& one : procedures) {
    for (const wire_type& type : {one.argument, one.result}) {
      expect_round_trip(type, values.value(type));
      if (HasFatalFailure()) FAIL() << one.name;
    }
  }
}

// Bytes that no record writes, such as texts with control characters or without a NUL: the reader
// and the reference give the same text, however the stream is read, and the record's own bytes are
// stable.
TEST(every_table, reads_random_bytes_alike_by_every_road) {
  random_source random(3);
  int read = 0;
  for (std::uint32_t seed = 0; seed < 600; ++seed) {
    random_tables tables(seed);
    random_values values(seed + 1000);
    const wire_type type = wire::inline_(tables.record(2));
    for (int i = 0; i < 10; ++i) {
      bytes wire = values.value(type).wire;
      for (std::uint32_t change = random.below(6); change > 0 && !wire.empty(); --change) {
        wire[random.below(static_cast<std::uint32_t>(wire.size()))] ^=
            static_cast<char>(1u << random.below(8));
      }
      test_value in_place(type);
      test_value by_unit(type);
      const bool_t done = in_place.get(wire, inline_mode::always);
      ASSERT_EQ(by_unit.get(wire, inline_mode::never), done) << seed;
      for (inline_mode mode : modes) {
        ASSERT_EQ(reply_text(type, wire, mode), done ? in_place.text() : "") << seed;
      }
      if (!done) continue;
      ++read;
      bytes once;
      bytes twice;
      ASSERT_TRUE(in_place.put(&once));
      ASSERT_TRUE(by_unit.put(&twice));
      ASSERT_EQ(once, twice) << seed;
      ASSERT_EQ(in_place.text(), by_unit.text()) << seed;
    }
  }
  EXPECT_GT(read, 3000);
}

}  // namespace
}  // namespace kvrpc::test
