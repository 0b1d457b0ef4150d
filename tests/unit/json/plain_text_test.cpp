// The search for the end of plain text, and strings about as long as its steps: every byte at every
// position, every alignment, and texts whose NUL is the last byte before a border.
#include "json/plain_text.h"

#include <gtest/gtest.h>

#include <random>

#include "json/document.h"
#include "json_support.h"
#include "support/page_border.h"

namespace kvrpc::test {
namespace {

const char* plain_end_by_bytes(const char* at, const char* end) {
  while (at < end && json_is_plain(*at)) ++at;
  return at;
}

// Both searches find what a search by bytes finds, from each place of `text` on.
void compare_searches(page_border& memory, const std::string& text) {
  const char* const begin = memory.room(text.size());
  std::memcpy(memory.room(text.size()), text.data(), text.size());
  const char* const end = begin + text.size();
  for (const char* at = begin; at <= end; ++at) {
    const char* const expected = plain_end_by_bytes(at, end);
    ASSERT_EQ(json_plain_end(at, end) - begin, expected - begin) << testing::PrintToString(text);
    ASSERT_EQ(json_plain_end_by_words(at, end) - begin, expected - begin)
        << testing::PrintToString(text);
  }
}

TEST(plain_end, finds_each_byte_at_each_place) {
  page_border memory;
  for (std::size_t length = 1; length <= 40; length += 3) {
    for (std::size_t place = 0; place < length; ++place) {
      for (int byte = 0; byte < 256; ++byte) {
        std::string text(length, 'a');
        text[place] = static_cast<char>(byte);
        compare_searches(memory, text);
      }
    }
  }
}

TEST(plain_end, finds_the_first_of_two_bytes) {
  page_border memory;
  for (int first = 0; first < 256; ++first) {
    for (int second = 0; second < 256; ++second) {
      std::string text(20, '~');
      text[13] = static_cast<char>(first);
      text[14] = static_cast<char>(second);
      compare_searches(memory, text);
    }
  }
}

// Returns the tree of `text` by both parsers, from memory that ends at a border.
void compare_roads(page_border& memory, const std::string& text, const std::string& expected) {
  const char* const bordered = memory.text(text);
  ASSERT_EQ(describe(tree_ptr(json_parse(bordered)).get()), expected) << text;
  json_document document;
  ASSERT_EQ(describe(document.parse(bordered)), expected) << text;
}

TEST(strings, of_every_length_are_read_to_the_border) {
  page_border memory;
  for (int length = 0; length <= 70; ++length) {
    const std::string plain = repeated("x", length);
    for (int rest = 0; rest <= 20; ++rest) {
      const std::string behind = repeated(" ", rest);
      compare_roads(memory, "\"" + plain + "\"" + behind, "'" + plain + "'");
      compare_roads(memory, "[\"" + plain + "\n" + behind + "]", "['" + plain + "']");
      compare_roads(memory, "{\"" + plain + "\":\"" + plain + "\\t" + plain + "\"}" + behind,
                    "{'" + plain + "':'" + plain + "\\x09" + plain + "'}");
    }
    compare_roads(memory, "\"" + plain, "'" + plain + "'");
    compare_roads(memory, "\"" + plain + "\\", "fail");
    compare_roads(memory, "\"" + plain + "\\u00e", "fail");
  }
}

}  // namespace
}  // namespace kvrpc::test
