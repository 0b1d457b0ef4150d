// Strings about as long as the steps of the search for their end, in texts whose NUL is the last
// byte before a border.
#include <gtest/gtest.h>

#include "json/document.h"
#include "json_support.h"
#include "support/page_border.h"

namespace kvrpc::test {
namespace {

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
