// The conversion by words compared with one character at a time: every byte at every place of a
// word, every alignment and length, and texts and buffers that end at the border of a page.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>

#include "bridge/uc2.h"
#include "support/page_border.h"

namespace kvrpc {
namespace {

using test::page_border;

// What utf8string_to_iso leaves in a buffer of `size` bytes, one character after the other.
std::string one_by_one(const std::string& text, std::size_t size, const std::string& replacement) {
  std::string out;
  for (std::size_t i = 0; i < text.size() && out.size() < size;) {
    char iso = 0;
    int mod = 0;
    if (utf8_to_iso(text.c_str(), &i, &iso, &mod) != 1) return "(refused)";
    if (mod == iso_good) out += iso;
    const bool replaced = mod == iso_no_byte || mod == iso_bad_utf8;
    if (replaced && replacement.size() < size - out.size()) out += replacement;
  }
  if (out.size() == size) out.pop_back();
  return out;
}

class words : public testing::Test {
 protected:
  // Converts with text and buffer at the borders of their pages.
  std::string convert(const std::string& text, std::size_t size, const std::string& replacement) {
    char* const out = buffer_.room(size);
    std::memset(out, 'z', size);
    EXPECT_EQ(utf8string_to_iso(text_.text(text), out, size, replacement.c_str()), out);
    return out;
  }
  void compare(const std::string& text, std::size_t size, const std::string& replacement = "?") {
    ASSERT_EQ(convert(text, size, replacement), one_by_one(text, size, replacement))
        << testing::PrintToString(text) << " into " << size;
  }

  page_border text_;
  page_border buffer_;
};

TEST_F(words, take_each_byte_at_each_place) {
  for (std::size_t length = 1; length <= 17; ++length) {
    for (std::size_t place = 0; place < length; ++place) {
      for (int byte = 1; byte < 256; ++byte) {
        std::string text(length, 'a');
        text[place] = static_cast<char>(byte);
        compare(text, length + 1);
      }
    }
  }
}

TEST_F(words, take_each_two_bytes_beside_each_other) {
  for (int first = 1; first < 256; ++first) {
    for (int second = 1; second < 256; ++second) {
      std::string text = "0123456789abcdef";
      text[6] = static_cast<char>(first);
      text[7] = static_cast<char>(second);
      compare(text, text.size() + 1);
    }
  }
}

TEST_F(words, fill_a_buffer_of_any_size) {
  const std::string text = "Angebot 'Winter' f\u00FCr M\u00FCller, 20 \u20AC, bis 31.12.";
  for (std::size_t length = 0; length <= text.size(); ++length) {
    for (std::size_t size = 1; size <= text.size() + 2; ++size) {
      compare(text.substr(0, length), size, "");
      compare(text.substr(0, length), size, "?");
      compare(text.substr(0, length), size, "<none>");
    }
  }
}

TEST_F(words, take_random_texts_of_any_alignment) {
  std::mt19937 random(20260);
  const std::string common = "abcdefghij KLMNOP 0123456789'`\"\\/.,-";
  for (int round = 0; round < 5000; ++round) {
    std::string text(random() % 80, ' ');
    for (char& c : text) {
      c = random() % 16 != 0 ? common[random() % common.size()]
                             : static_cast<char>(random() % 255 + 1);
    }
    compare(text, random() % (text.size() + 2) + 1);
  }
}

}  // namespace
}  // namespace kvrpc
