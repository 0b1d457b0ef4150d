// Base64 in both directions: the texts of all sizes, and lenient or misplaced padding.
#include "bridge/base64.h"

#include <gtest/gtest.h>

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <random>
#include <string>

#include "support/failing_heap.h"

namespace kvrpc {
namespace {

using test::failing_heap;

struct freed {
  void operator()(void* block) const { std::free(block); }
};

std::string encoded(const std::string& bytes) {
  const std::unique_ptr<char, freed> text(base64_encode(bytes.data(), bytes.size(), nullptr));
  return text.get();
}

// Returns the bytes, or nothing if decoding fails. The text is copied to a buffer of its exact
// size, so that a sanitizer finds a read after its NUL.
std::optional<std::string> decoded(const std::string& text) {
  const std::unique_ptr<char, freed> copy(static_cast<char*>(std::malloc(text.size() + 1)));
  std::memcpy(copy.get(), text.c_str(), text.size() + 1);
  std::size_t length = 12345;
  const std::unique_ptr<std::uint8_t, freed> bytes(base64_decode(copy.get(), text.size(), &length));
  if (bytes == nullptr) return std::nullopt;
  return std::string(bytes.get(), bytes.get() + length);
}

std::string random_bytes(std::mt19937& random, std::size_t size) {
  std::string bytes(size, '\0');
  for (char& c : bytes) c = static_cast<char>(random());
  return bytes;
}

TEST(base64_encode, pads_the_last_group) {
  EXPECT_EQ(encoded("M"), "TQ==");
  EXPECT_EQ(encoded("Ma"), "TWE=");
  EXPECT_EQ(encoded("Man"), "TWFu");
  EXPECT_EQ(encoded(""), "");
  EXPECT_EQ(encoded("\xFF\xEF\xBE\xFB\xFF"),
            "/+++"
            "+/8=");
}

TEST(base64_encode, writes_one_unbroken_line) {
  const std::string text = encoded(std::string(100, '\xA5'));
  EXPECT_EQ(text.size(), 136u);
  EXPECT_EQ(text.find_first_of("\r\n"), std::string::npos);
}

TEST(base64_encode, returns_the_reserved_size) {
  for (std::size_t size : {0u, 1u, 3u, 44u, 45u, 46u, 100u, 1000u}) {
    const std::string bytes(size, 'x');
    std::size_t reserved = 0;
    const std::unique_ptr<char, freed> text(base64_encode(bytes.data(), size, &reserved));
    const std::size_t n = (size + 2) / 3 * 4;
    EXPECT_EQ(reserved, n + n / 60 * 2 + 2);
    EXPECT_EQ(std::strlen(text.get()), n);
    EXPECT_EQ(base64_text_size(size), n);
  }
}

TEST(base64_encode_to, fills_the_callers_place_to_its_end) {
  char place[8];
  std::memset(place, 'k', sizeof place);
  EXPECT_EQ(base64_encode_to(place, "Ma", 2), place + 4);
  EXPECT_EQ(std::string(place, 8), "TWE=kkkk");
  EXPECT_EQ(base64_encode_to(place, nullptr, 0), place);
}

TEST(base64_decode, skips_what_is_not_in_the_alphabet) {
  EXPECT_EQ(decoded("TWFu"), "Man");
  for (int byte = 1; byte < 256; ++byte) {
    const char c = static_cast<char>(byte);
    if (std::isalnum(byte) != 0 || c == '+' || c == '/' || c == '=') continue;
    const std::string text = {c, 'T', 'W', c, c, 'F', c, 'u', c};
    EXPECT_EQ(decoded(text), "Man") << byte;
  }
}

TEST(base64_decode, needs_no_padding_at_the_end) {
  EXPECT_EQ(decoded("TQ=="), "M");
  EXPECT_EQ(decoded("TQ"), "M");
  EXPECT_EQ(decoded("T"), "");
  EXPECT_EQ(decoded("TWE="), "Ma");
  EXPECT_EQ(decoded("TWE"), "Ma");
  EXPECT_EQ(decoded(""), "");
}

TEST(base64_decode, goes_on_after_padding) {
  EXPECT_EQ(decoded("TQ==TQ=="), "MM");
  EXPECT_EQ(decoded("TWE=TWFuTQ=="), "MaManM");
}

TEST(base64_decode, refuses_padding_where_none_can_be) {
  for (const char* text : {"TQ=", "TQ=x", "=", "T=", "TWFu=", "TWE==", "TQ===", "TQ= ="}) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(decoded(text), std::nullopt) << text;
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "impossible quantum position.\n") << text;
  }
}

TEST(base64_decode, looks_one_byte_past_the_size_for_the_second_padding) {
  std::size_t length = 0;
  const std::unique_ptr<std::uint8_t, freed> bytes(base64_decode("TQ==", 3, &length));
  EXPECT_NE(bytes, nullptr);
  EXPECT_EQ(length, 1u);
}

TEST(base64, comes_back_from_random_bytes) {
  std::mt19937 random(20);
  for (std::size_t size = 0; size < 400; ++size) {
    const std::string bytes = random_bytes(random, size);
    std::string text = encoded(bytes);
    ASSERT_EQ(decoded(text), bytes);
    ASSERT_EQ(text.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"
                                     "0123456789+/="),
              std::string::npos);
    text.insert(random() % (text.size() + 1), text.find('=') == std::string::npos ? "\r\n" : "");
    ASSERT_EQ(decoded(text), bytes);
  }
}

TEST(base64, stays_in_its_blocks_for_any_text) {
  std::mt19937 random(21);
  const std::string some = "AZaz09+/== -\x80";
  testing::internal::CaptureStderr();
  for (int round = 0; round < 20000; ++round) {
    std::string text(random() % 24, ' ');
    for (char& c : text) c = some[random() % some.size()];
    const std::optional<std::string> bytes = decoded(text);
    ASSERT_LE(bytes.value_or("").size(), text.size() * 3 / 4);
  }
  testing::internal::GetCapturedStderr();
}

TEST(base64, is_null_without_memory_and_frees_what_fails) {
  std::size_t length = 0;
  {
    failing_heap heap(0, true);
    const void* const text = base64_encode("Man", 3, nullptr);
    const void* const bytes = base64_decode("TWFu", 4, &length);
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(bytes, nullptr);
    EXPECT_EQ(heap.allocations(), 2);
  }
  failing_heap heap(-1);
  testing::internal::CaptureStderr();
  EXPECT_EQ(base64_decode("T=", 2, &length), nullptr);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "impossible quantum position.\n");
  EXPECT_EQ(heap.live_blocks(), 0);
}

TEST(base64_encode, refuses_a_size_beyond_memory) {
  EXPECT_EQ(base64_encode("", SIZE_MAX, nullptr), nullptr);
}

}  // namespace
}  // namespace kvrpc
