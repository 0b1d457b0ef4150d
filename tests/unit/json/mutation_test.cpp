// Truncated and mutated texts: the parser must not crash or leak.
#include <gtest/gtest.h>

#include <random>

#include "json_support.h"
#include "support/failing_heap.h"

namespace kvrpc::test {
namespace {

// Checks what holds for every text: parsing it leaks nothing, a document is the same tree, and a
// tree prints to a text that parses. A printed fraction parses to zero, so the first print may
// differ from the second, but all later prints must equal the second.
void check_text(const std::string& text) {
  const tree_ptr tree = parse(text);
  ASSERT_EQ(describe_document(text), describe(tree.get())) << text;
  if (tree == nullptr) return;
  const std::string first = print(tree.get());
  ASSERT_NE(first, "(null)");
  const tree_ptr copy(json_duplicate(tree.get()));
  ASSERT_EQ(print(copy.get()), first);
  const std::string second = print(parse(first).get());
  ASSERT_EQ(print(parse(second).get()), second) << text;
  ASSERT_EQ(print(parse(pretty(tree.get())).get()), second) << text;
}

void mutate(std::string& text, std::mt19937& random) {
  static const char bytes[] = "\"\"\\\\u{}[]:,.-+eE0123456789abfnrtx \n\x01\x7F\x80\xFF";
  const std::size_t place = random() % (text.size() + 1);
  const char byte = bytes[random() % (sizeof bytes - 1)];
  switch (random() % 5) {
    case 0:
      text.insert(place, 1, byte);
      break;
    case 1:
      if (place < text.size()) text.erase(place, 1 + random() % 3);
      break;
    case 2:
      if (place < text.size()) text[place] = byte;
      break;
    case 3:
      if (place < text.size()) text[place] = static_cast<char>(random() % 255 + 1);
      break;
    default: {
      const auto& texts = valid_texts();
      const std::string& other = texts[random() % texts.size()];
      text.insert(place, other.substr(random() % other.size(), random() % 8));
    }
  }
}

TEST(valid_texts, are_fifty_that_parse) {
  EXPECT_EQ(valid_texts().size(), 50U);
  for (const std::string& text : valid_texts()) {
    EXPECT_NE(parse(text), nullptr) << text;
    check_text(text);
  }
}

TEST(valid_texts, give_a_result_for_every_prefix) {
  const failing_heap heap(-1);
  std::int64_t failed = 0;
  for (const std::string& text : valid_texts()) {
    for (std::size_t length = 0; length < text.size(); ++length) {
      const std::string prefix = text.substr(0, length);
      failed += parse(prefix) == nullptr ? 1 : 0;
      check_text(prefix);
      ASSERT_EQ(heap.live_blocks(), 0) << prefix;
    }
  }
  EXPECT_GT(failed, 500);
}

TEST(valid_texts, fail_for_every_prefix_of_a_container) {
  for (const std::string text :
       {R"({"a":1,"b":[1,2,{"c":"x"}],"d":"\u00e9"})", R"([[1,[true]],{"k":null},"\\",-5])"}) {
    for (std::size_t length = 0; length < text.size(); ++length) {
      EXPECT_EQ(parse(text.substr(0, length)), nullptr) << text.substr(0, length);
    }
    EXPECT_NE(parse(text), nullptr);
  }
}

TEST(mutations, harm_nothing) {
  const failing_heap heap(-1);
  std::mt19937 random(3101);
  std::int32_t parsed = 0;
  for (int i = 0; i < 100'000; ++i) {
    std::string text = valid_texts()[random() % valid_texts().size()];
    for (auto count = random() % 6 + 1; count > 0; --count) mutate(text, random);
    parsed += parse(text) != nullptr ? 1 : 0;
    check_text(text);
    ASSERT_EQ(heap.live_blocks(), 0) << text;
  }
  EXPECT_GT(parsed, 10'000);
  EXPECT_LT(parsed, 90'000);
}

}  // namespace
}  // namespace kvrpc::test
