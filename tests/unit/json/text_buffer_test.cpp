// The growth of a text_buffer, its failures, and the writers of values.
#include "json/text_buffer.h"

#include <gtest/gtest.h>

#include "json_support.h"
#include "support/failing_heap.h"

namespace kvrpc::test {
namespace {

std::string released(text_buffer& out) {
  const text_ptr text(out.release());
  return text == nullptr ? "(null)" : text.get();
}

std::string written(const std::string& bytes) {
  text_buffer out;
  EXPECT_TRUE(json_write_text(out, bytes.data(), bytes.size()));
  return std::string(out.data(), out.size());
}

TEST(text_buffer, hands_the_text_over_and_starts_anew) {
  text_buffer out;
  EXPECT_TRUE(out.append("abc", 3));
  EXPECT_TRUE(out.append('d'));
  EXPECT_EQ(out.size(), 4U);
  EXPECT_EQ(released(out), "abcd");
  EXPECT_EQ(out.size(), 0U);
  EXPECT_TRUE(out.append('x'));
  EXPECT_EQ(released(out), "x");
}

TEST(text_buffer, gives_an_empty_text_when_nothing_was_appended) {
  text_buffer out;
  EXPECT_TRUE(out.append("", 0));
  EXPECT_FALSE(out.failed());
  EXPECT_EQ(released(out), "");
  EXPECT_EQ(released(out), "");
}

TEST(text_buffer, leaves_room_for_the_nul_at_every_length) {
  for (std::int32_t length = 0; length < 3000; ++length) {
    text_buffer out;
    const std::string bytes = repeated("x", length);
    ASSERT_TRUE(out.append(bytes.data(), bytes.size()));
    ASSERT_EQ(released(out), bytes);
  }
}

TEST(text_buffer, appends_a_byte_many_times) {
  text_buffer out;
  EXPECT_TRUE(out.append("ab", 2));
  EXPECT_TRUE(out.append(std::size_t{3000}, '}'));
  EXPECT_TRUE(out.append(std::size_t{0}, 'x'));
  EXPECT_EQ(released(out), "ab" + repeated("}", 3000));
}

TEST(text_buffer, grows_geometrically) {
  const failing_heap heap(-1);
  {
    text_buffer out;
    for (int i = 0; i < 10'000'000; ++i) out.append('x');
    EXPECT_EQ(out.size(), 10'000'000U);
  }
  EXPECT_LE(heap.allocations(), 24);
  EXPECT_EQ(heap.live_blocks(), 0);
}

TEST(text_buffer, commits_what_was_written_in_place) {
  text_buffer out;
  char* place = out.reserve(1000);
  place[0] = 'a';
  place[1] = 'b';
  out.commit(2);
  EXPECT_EQ(released(out), "ab");
}

TEST(text_buffer, keeps_the_text_and_fails_for_good_without_memory) {
  const failing_heap heap(1);
  {
    text_buffer out;
    ASSERT_TRUE(out.append("abc", 3));
    const std::string big = repeated("x", 100'000);
    EXPECT_FALSE(out.append(big.data(), big.size()));
    EXPECT_TRUE(out.failed());
    EXPECT_EQ(std::string(out.data(), out.size()), "abc");
    EXPECT_FALSE(out.append('d'));
    EXPECT_FALSE(out.append("", 0));
    EXPECT_EQ(out.reserve(0), nullptr);
    EXPECT_EQ(out.size(), 3U);
    EXPECT_EQ(out.release(), nullptr);
  }
  EXPECT_EQ(heap.live_blocks(), 0);
}

// Memory with room in front of the text, in blocks of half as much again as is asked for.
constexpr text_memory roomy_memory = {
    32,
    [](char* block, std::size_t used, std::size_t least, std::size_t size) {
      EXPECT_LT(used, least);
      EXPECT_LE(least, size);
      size += size / 2;
      return text_block{static_cast<char*>(json_hooks().resize(block, size)), size};
    },
    [](char* block) { json_hooks().release(block); },
};

TEST(text_buffer, uses_the_blocks_of_its_memory_whole) {
  const failing_heap heap(-1);
  for (std::int32_t length = 0; length < 100'000; length = 2 * length + 1) {
    text_buffer out(roomy_memory);
    const std::string bytes = repeated("x", length);
    for (const char byte : bytes) ASSERT_TRUE(out.append(byte));
    ASSERT_EQ(out.size(), bytes.size());
    char* const text = out.release();
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(text, bytes);
    char* const block = text - roomy_memory.headroom;
    std::memset(block, 0, roomy_memory.headroom);
    roomy_memory.release(block);
  }
  {
    text_buffer unreleased(roomy_memory);
    text_buffer unused(roomy_memory);
    EXPECT_TRUE(unreleased.append('x'));
  }
  EXPECT_EQ(heap.live_blocks(), 0);
}

TEST(text_buffer, forgets_its_end) {
  text_buffer out;
  out.clear();
  EXPECT_EQ(out.size(), 0U);
  ASSERT_TRUE(out.append("abcdef", 6));
  out.fail();
  out.clear(2);
  EXPECT_TRUE(out.append('x'));
  EXPECT_EQ(released(out), "abx");
}

TEST(text_buffer, refuses_sizes_that_no_block_can_have) {
  text_buffer out;
  ASSERT_TRUE(out.append('x'));
  EXPECT_EQ(out.reserve(SIZE_MAX), nullptr);
  EXPECT_TRUE(out.failed());
}

TEST(text_buffer, fails_when_a_writer_says_so) {
  text_buffer out;
  ASSERT_TRUE(out.append("abc", 3));
  EXPECT_FALSE(out.fail());
  EXPECT_FALSE(out.append('d'));
  EXPECT_EQ(out.release(), nullptr);
}

TEST(write_integer, writes_decimal_digits) {
  text_buffer out;
  EXPECT_TRUE(json_write_integer(out, 0));
  EXPECT_TRUE(json_write_integer(out, INT64_MIN));
  EXPECT_TRUE(json_write_integer(out, INT64_MAX));
  EXPECT_EQ(released(out), "0-92233720368547758089223372036854775807");
}

TEST(write_text, takes_counted_bytes_a_nul_included) {
  EXPECT_EQ(written(std::string("a\0b", 3)), "\"ab\"");
  EXPECT_EQ(written(""), "\"\"");
}

TEST(write_text, finds_the_special_byte_at_every_place) {
  for (std::int32_t before = 0; before < 20; ++before) {
    for (std::int32_t behind = 0; behind < 20; ++behind) {
      for (int byte = 0; byte < 256; ++byte) {
        const std::string head = repeated("\xFF", before);
        const std::string tail = repeated("\x80", behind);
        const char special = static_cast<char>(byte);
        std::string expected(1, special);
        if (byte < 0x20) {
          const std::size_t place = std::string("\b\t\n\f\r").find(special);
          expected = place == std::string::npos ? "" : std::string("\\") + "btnfr"[place];
        } else if (special == '"' || special == '\\') {
          expected = std::string("\\") + special;
        }
        ASSERT_EQ(written(head + special + tail), "\"" + head + expected + tail + "\"");
      }
    }
  }
}

TEST(write, appends_a_tree_and_marks_the_buffer_when_it_cannot) {
  text_buffer out;
  const tree_ptr tree = parse(R"([1,{"a":"x"}])");
  EXPECT_TRUE(out.append("reply: ", 7));
  EXPECT_TRUE(json_write(out, tree.get()));
  EXPECT_EQ(std::string(out.data(), out.size()), R"(reply: [1, {"a":"x"}])");
  tree->child->type = 7;
  EXPECT_FALSE(json_write(out, tree.get()));
  EXPECT_TRUE(out.failed());
}

}  // namespace
}  // namespace kvrpc::test
