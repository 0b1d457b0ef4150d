#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>

#include "json_support.h"

namespace kvrpc::test {
namespace {

double seconds_of(const std::string& text) {
  const auto start = std::chrono::steady_clock::now();
  const tree_ptr tree(json_parse(text.c_str()));
  const tree_ptr copy(json_duplicate(tree.get()));
  const text_ptr printed(json_print(copy.get()));
  EXPECT_NE(printed, nullptr);
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double best_of_five(const std::string& text) {
  double best = seconds_of(text);
  for (int i = 0; i < 4; ++i) best = std::min(best, seconds_of(text));
  return best;
}

// Sixteen times the text must take far less than the 256 times of a cost that grows with the
// square; the bound leaves room for caches and a busy machine.
void expect_linear(std::string (*text_of)(std::int32_t)) {
  const double small = best_of_five(text_of(2'000));
  const double large = best_of_five(text_of(32'000));
  EXPECT_LT(large, small * 100);
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

TEST(Scaling, IsLinearInAnArraysLength) { expect_linear(flat_array); }
TEST(Scaling, IsLinearInAnObjectsLength) { expect_linear(flat_object); }
TEST(Scaling, IsLinearInDepth) { expect_linear(nest); }
TEST(Scaling, IsLinearInDepthAlone) { expect_linear(open_brackets); }
TEST(Scaling, IsLinearInStringsThatSwallowTheirEnd) { expect_linear(swallowing_strings); }
TEST(Scaling, IsLinearInAStringsLength) { expect_linear(one_string); }

TEST(Scaling, PrintsIntoOneBufferThatDoubles) {
  const tree_ptr tree = parse(flat_array(1'000'000));
  const counting_hooks hooks;
  {
    const text_ptr printed(json_print(tree.get()));
    EXPECT_NE(printed, nullptr);
  }
  EXPECT_EQ(hooks.allocations(), 0);
  EXPECT_LE(hooks.resizes(), 20);
}

TEST(Scaling, ParsesWithOneAllocationForEachNode) {
  const counting_hooks hooks;
  const tree_ptr tree = parse(flat_array(1'000));
  EXPECT_EQ(hooks.allocations(), 1'002);
  EXPECT_EQ(hooks.resizes(), 0);
}

}  // namespace
}  // namespace kvrpc::test
