// The tree of a call: the same as that of json_parse, in a few allocations that are released
// together.
#include "json/document.h"

#include <gtest/gtest.h>

#include "json_support.h"
#include "support/failing_heap.h"
#include "support/small_stack.h"

namespace kvrpc::test {
namespace {

std::string list_of(int nodes) {
  std::string text;
  for (int i = 0; i < nodes; ++i) text += R"({"name":"node )" + std::to_string(i) + R"(","next":)";
  return text + "null" + repeated("}", nodes);
}

TEST(document, needs_no_heap_for_a_small_call) {
  const failing_heap heap(-1);
  json_document document;
  ASSERT_NE(document.parse(R"({"a_login_1":{"userid":"MEIER","passwor":"secret"}})"), nullptr);
  EXPECT_EQ(heap.allocations(), 0);
}

TEST(document, takes_few_blocks_for_a_long_text) {
  const failing_heap heap(-1);
  {
    json_document document;
    ASSERT_NE(document.parse(list_of(100'000).c_str()), nullptr);
    EXPECT_LE(heap.allocations(), 10);
  }
  EXPECT_EQ(heap.live_blocks(), 0);
}

TEST(document, is_null_without_a_text) {
  json_document document;
  EXPECT_EQ(document.parse(nullptr), nullptr);
  EXPECT_EQ(document.parse(""), nullptr);
}

TEST(document, fails_without_memory_and_leaves_nothing) {
  const std::string text = list_of(2'000);
  const std::int64_t failures = fail_each_allocation([&](std::int64_t number) {
    const failing_heap heap(number);
    {
      json_document document;
      const bool parsed = document.parse(text.c_str()) != nullptr;
      EXPECT_NE(parsed, heap.failed());
    }
    EXPECT_EQ(heap.live_blocks(), 0);
    return heap.failed();
  });
  EXPECT_GE(failures, 3);
}

// The strings here take all of their room, so that a sanitizer finds a byte too many.
TEST(document, has_room_for_texts_that_are_all_strings) {
  for (int size = 1; size < 600; ++size) {
    const std::string one = "\"" + repeated("y", size);
    ASSERT_EQ(describe_document(one), describe(parse(one).get()));
  }
  for (int strings = 1; strings < 200; ++strings) {
    std::string text = "[" + repeated(R"("",)", strings);
    text.back() = ']';
    ASSERT_EQ(describe_document(text), describe(parse(text).get()));
    const std::string broken = "[\"" + repeated("\n,\"", strings);
    ASSERT_EQ(describe_document(broken), describe(parse(broken).get()));
  }
}

void deep_document() {
  const std::string text =
      repeated(R"([{"a":)", great_depth / 2) + "1" + repeated("}]", great_depth / 2);
  json_document document;
  EXPECT_NE(document.parse(text.c_str()), nullptr);
}

TEST(document, takes_any_depth_on_a_small_stack) { run_on_small_stack(deep_document); }

}  // namespace
}  // namespace kvrpc::test
