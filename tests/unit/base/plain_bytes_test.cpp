// The search for the end of plain text, and the copy: every byte at every position, every
// alignment, at the end of readable memory.
#include "base/plain_bytes.h"

#include <gtest/gtest.h>

#include <string>

#include "support/page_border.h"

namespace kvrpc::test {
namespace {

// The sets, written as a person would say them.
bool is_plain(json_plain, int byte) { return byte >= 0x20 && byte != '"' && byte != '\\'; }
bool is_plain(ascii_plain, int byte) { return is_plain(json_plain(), byte) && byte < 0x80; }
bool is_plain(iso_plain, int byte) {
  return byte >= 0x20 && byte < 0x80 && byte != '\'' && byte != '`';
}

template <class Set>
std::size_t plain_size(const std::string& text, std::size_t from) {
  std::size_t at = from;
  while (at < text.size() && is_plain(Set(), static_cast<unsigned char>(text[at]))) ++at;
  return at - from;
}

template <class Set>
class plain_bytes : public testing::Test {
 protected:
  // Search and copy find what a search by bytes finds, from each position of `text` on. Both the
  // text and the copy end at a border.
  void compare(const std::string& text) {
    char* const begin = text_.room(text.size());
    std::memcpy(begin, text.data(), text.size());
    for (std::size_t from = 0; from <= text.size(); ++from) {
      const std::size_t expected = plain_size<Set>(text, from);
      const char* const at = begin + from;
      const char* const end = begin + text.size();
      ASSERT_EQ(Set::find_end(at, end) - at, static_cast<std::ptrdiff_t>(expected))
          << testing::PrintToString(text) << " from " << from;
      char* const copy = copy_.room(text.size() - from);
      ASSERT_EQ(Set::copy(copy, at, end) - at, static_cast<std::ptrdiff_t>(expected));
      ASSERT_EQ(std::string(copy, expected), text.substr(from, expected));
    }
  }

 private:
  page_border text_;
  page_border copy_;
};
using sets = testing::Types<json_plain, ascii_plain, iso_plain>;
TYPED_TEST_SUITE(plain_bytes, sets);

TYPED_TEST(plain_bytes, end_at_each_byte_at_each_position) {
  for (const std::size_t length : {1u, 7u, 8u, 17u, 40u}) {
    for (std::size_t position = 0; position < length; ++position) {
      for (int byte = 0; byte < 256; ++byte) {
        std::string text(length, 'a');
        text[position] = static_cast<char>(byte);
        this->compare(text);
      }
    }
  }
}

TYPED_TEST(plain_bytes, end_at_each_position_of_a_long_text) {
  for (std::size_t length = 60; length <= 150; ++length) {
    this->compare(std::string(length, '~'));
    std::string text(150, '~');
    text[length - 1] = '\x1F';
    this->compare(text);
  }
}

TYPED_TEST(plain_bytes, end_at_each_byte_of_a_long_text) {
  for (const char filler : {'~', '\xF0'}) {
    for (const std::size_t position : {0u, 15u, 16u, 40u, 63u, 64u, 100u}) {
      for (int byte = 0; byte < 256; ++byte) {
        std::string text(130, filler);
        text[position] = static_cast<char>(byte);
        this->compare(text);
      }
    }
  }
}

TYPED_TEST(plain_bytes, end_at_the_first_of_two_bytes) {
  for (int first = 0; first < 256; ++first) {
    for (int second = 0; second < 256; ++second) {
      std::string text(20, '~');
      text[13] = static_cast<char>(first);
      text[14] = static_cast<char>(second);
      this->compare(text);
    }
  }
}

TYPED_TEST(plain_bytes, are_counted_in_a_word_as_one_by_one) {
  for (int first = 0; first < 256; ++first) {
    for (int second = 0; second < 256; ++second) {
      std::string text(8, 'a');
      text[4] = static_cast<char>(first);
      text[5] = static_cast<char>(second);
      ASSERT_EQ(TypeParam::count(load_word(text.data())), plain_size<TypeParam>(text, 0));
      ASSERT_EQ(TypeParam::contains(text[4]), is_plain(TypeParam(), first));
    }
  }
}

}  // namespace
}  // namespace kvrpc::test
