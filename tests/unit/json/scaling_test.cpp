// Time linear in the length and in the depth of a text, and the number of allocations.
#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>

#include "json_support.h"
#include "support/failing_heap.h"

namespace kvrpc::test {
namespace {

// Returns the processor time, in seconds, of parsing, copying and printing a text `times` times.
double seconds_of(const std::string& text, int times) {
  const std::clock_t start = std::clock();
  for (int i = 0; i < times; ++i) {
    const tree_ptr tree(json_parse(text.c_str()));
    const tree_ptr copy(json_duplicate(tree.get()));
    const text_ptr printed(json_print(copy.get()));
    EXPECT_NE(printed, nullptr);
  }
  return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

// Compares one text with sixteen texts of a sixteenth of its length. If the cost grew with the
// square of the length, the one text would take sixteen times as long. The bound is lower than that
// and leaves room for caches. A busy machine can only make a measurement slower, so each side
// counts with its best time, and the test makes more attempts if the two are too far apart.
void expect_linear(std::string (*text_of)(std::int32_t)) {
  constexpr double bound = 6;
  const std::string short_text = text_of(2'000);
  const std::string long_text = text_of(32'000);
  double small = 1e9;
  double large = 1e9;
  for (int attempt = 0; attempt == 0 || (attempt < 10 && large >= bound * small); ++attempt) {
    small = std::min(small, seconds_of(short_text, 16));
    large = std::min(large, seconds_of(long_text, 1));
  }
  EXPECT_LT(large, bound * small);
}

std::string flat_array(std::int32_t count) { return "[" + repeated("1,", count) + "1]"; }
std::string flat_object(std::int32_t count) {
  return "{" + repeated(R"("k":"v",)", count) + R"("k":1})";
}
std::string nest(std::int32_t count) {
  return repeated(R"([1,{"a":)", count) + "0" + repeated("}]", count);
}
std::string open_brackets(std::int32_t count) {
  return repeated("[", count) + "1" + repeated("]", count);
}
std::string swallowing_strings(std::int32_t count) {
  return "[" + repeated(R"("\u123\",)", count) + "1]";
}
std::string one_string(std::int32_t count) {
  return "\"" + repeated(R"(plain text\n\u00e9)", count) + "\"";
}

TEST(scaling, is_linear_in_an_arrays_length) { expect_linear(flat_array); }
TEST(scaling, is_linear_in_an_objects_length) { expect_linear(flat_object); }
TEST(scaling, is_linear_in_depth) { expect_linear(nest); }
TEST(scaling, is_linear_in_depth_alone) { expect_linear(open_brackets); }
TEST(scaling, is_linear_in_strings_that_swallow_their_end) { expect_linear(swallowing_strings); }
TEST(scaling, is_linear_in_a_strings_length) { expect_linear(one_string); }

TEST(scaling, prints_into_one_buffer_that_doubles) {
  const tree_ptr tree = parse(flat_array(1'000'000));
  const failing_heap heap(-1);
  {
    const text_ptr printed(json_print(tree.get()));
    EXPECT_NE(printed, nullptr);
  }
  EXPECT_LE(heap.allocations(), 20);
}

TEST(scaling, parses_with_one_allocation_for_each_node) {
  const failing_heap heap(-1);
  const tree_ptr tree = parse(flat_array(1'000));
  EXPECT_EQ(heap.allocations(), 1'002);
}

}  // namespace
}  // namespace kvrpc::test
