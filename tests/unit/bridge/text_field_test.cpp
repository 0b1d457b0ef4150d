// Texts and bytes between a node and a field.
#include <gtest/gtest.h>

#include "bridge/decode.h"
#include "bridge/support/conversion.h"

namespace kvrpc::test {
namespace {

// A value that a converter filled, with the memory that it owns.
struct counted_block {
  alignas(8) char place[4 + sizeof(char*)] = {};

  ~counted_block() { std::free(load_block_pointer(place)); }
  std::uint32_t count() const { return load_block_count(place); }
  const char* bytes() const { return load_block_pointer(place); }
};

int encode_fixed(const char* text, char* buffer, std::uint32_t count, int raw_text = 0) {
  return json_encode_char_vector(json_value(text).node(), raw_text, buffer, count);
}

TEST(text_encoders, take_strings_alone) {
  for (const wire_type& type : {wire::chars(11), wire::schars(11), wire::text, wire::text_of(80),
                                wire::opaque(101), wire::string, wire::opaque64(3), wire::blob}) {
    for (const char* text : {"1", "true", "null", "[\"a\"]", "{\"a\":\"b\"}"}) {
      test_value value(type);
      EXPECT_EQ(value.encode(std::string(text)), 0) << text;
    }
  }
}

TEST(fixed_text, takes_one_character_less_than_its_bytes) {
  char field[12] = "..........!";
  EXPECT_EQ(encode_fixed("\"0123456789\"", field, 11), 1);
  EXPECT_STREQ(field, "0123456789");
}

TEST(fixed_text, a_longer_text_is_dropped_without_a_word) {
  char field[12] = {};
  EXPECT_EQ(encode_fixed("\"01234567890\"", field, 11), 1);
  EXPECT_EQ(std::string(field, 12), std::string(12, '\0'));
  EXPECT_EQ(encode_fixed("\"abc\"", field, 11), 1);
  EXPECT_EQ(encode_fixed("\"01234567890\"", field, 11), 1);
  EXPECT_STREQ(field, "abc");
}

// A short text is converted on the stack, and a long one in memory of its own.
TEST(texts, of_every_length_are_converted_alike) {
  for (std::size_t length = 0; length < 600; ++length) {
    std::string iso(length, 'a');
    std::string json = "\"";
    for (std::size_t i = 0; i < length; ++i) {
      if (i % 7 == 3) iso[i] = '\xE4';
      json += i % 7 == 3 ? "\u00e4" : "a";
    }
    counted_block block;
    ASSERT_EQ(json_encode_text_block(json_value(json + "\"").node(), 0, block.place), 1);
    ASSERT_EQ(block.count(), length + 1);
    ASSERT_EQ(block.bytes(), iso);
    std::vector<char> field(length + 1, '!');
    ASSERT_EQ(
        encode_fixed((json + "\"").c_str(), field.data(), static_cast<std::uint32_t>(length + 1)),
        1);
    ASSERT_EQ(std::string(field.data()), iso);
  }
}

TEST(fixed_text, its_length_is_that_of_the_iso_form) {
  char field[5] = {};
  EXPECT_EQ(encode_fixed("\"\u00e4\u00f6\u00fc\u20ac\"", field, 5), 1);
  EXPECT_STREQ(field, "\xE4\xF6\xFC\xA4");
}

TEST(fixed_text, what_the_code_lacks_becomes_a_question_mark) {
  char field[11] = {};
  EXPECT_EQ(encode_fixed("\"it's \u4e2d\"", field, 11), 1);
  EXPECT_STREQ(field, "it?s ?");
}

TEST(fixed_text, a_raw_text_passes_as_it_is) {
  char field[11] = {};
  EXPECT_EQ(encode_fixed("\"it's \u00e4\"", field, 11, 1), 1);
  EXPECT_STREQ(field, "it's \u00e4");
}

TEST(fixed_text, the_servers_bytes_come_back_as_utf8) {
  test_value value(wire::chars(8));
  std::strcpy(value.data(), "\xA4'\xFF\"");
  EXPECT_EQ(value.text(), "\"\u20ac'\u00ff\\\"\"");
  EXPECT_EQ(value.reply(), value.text());
  EXPECT_EQ(value.text(1), "\"\xA4'\xFF\\\"\"");
}

TEST(fixed_text, in_a_record_passes_raw_as_well) {
  static constexpr structure record{"record", {{"n", wire::long_}, {"name", wire::chars(8)}}};
  test_value value(wire::inline_(record));
  std::strcpy(value.data() + 4, "\xA4'");
  EXPECT_EQ(value.text(), "{\"n\":0,\"name\":\"\u20ac'\"}");
  EXPECT_EQ(value.reply(), value.text());
  EXPECT_EQ(value.text(1), "{\"n\":0,\"name\":\"\xA4'\"}");
}

TEST(raw_text, passes_through_every_kind_of_text_as_it_is) {
  const std::string apostrophe_and_umlaut = "\"'\u00e4\"";
  const json_value text(apostrophe_and_umlaut);
  for (const wire_type& type : {wire::chars(8), wire::schars(8), wire::opaque(8), wire::text,
                                wire::text_of(8), wire::string}) {
    test_value value(type);
    EXPECT_EQ(value.encode(text.node(), 1), 1);
    EXPECT_EQ(value.text(1), apostrophe_and_umlaut);
    EXPECT_EQ(value.text(), "\"'\u00c3\u20ac\"");  // C3 A4, each a character of its own
  }
}

TEST(raw_text, changes_nothing_for_bytes) {
  for (const wire_type& type : {wire::opaque64(3), wire::blob}) {
    test_value value(type);
    EXPECT_EQ(value.encode(json_value("\"abcd\"").node(), 1), 1);
    EXPECT_EQ(value.text(1), "\"abcd\"");
    EXPECT_EQ(value.text(), "\"abcd\"");
  }
}

TEST(raw_text, is_passed_on_to_the_members_of_records) {
  static constexpr structure inner{"inner", {{"t", wire::text}}};
  static constexpr wire_type chars_8 = wire::chars(8);
  static constexpr structure record{"record",
                                    {
                                        {"p", wire::pointer_to(inner)},
                                        {"v", wire::vector_of(chars_8, 1)},
                                        {"a", wire::array_of(inner)},
                                        {"r", wire::inline_(inner)},
                                    }};
  const std::string json = R"({"p":{"t":"'"},"v":["'"],"a":[{"t":"'"}],"r":{"t":"'"}})";
  test_value raw(wire::inline_(record));
  EXPECT_EQ(raw.encode(json_value(json).node(), 1), 1);
  EXPECT_EQ(raw.text(1), json);
  test_value converted(wire::inline_(record));
  EXPECT_EQ(converted.encode(json), 1);
  EXPECT_EQ(converted.text(), R"({"p":{"t":"?"},"v":["?"],"a":[{"t":"?"}],"r":{"t":"?"}})");
}

TEST(fixed_text_decoders, end_at_the_nul_or_at_the_given_end) {
  const char field[] = "ab\xA4\0c";
  for (auto decode : {json_decode_fixed_text, json_decode_char_vector, json_decode_counted_text}) {
    text_buffer out(exact_memory);
    EXPECT_EQ(decode(out, 0, field, field + 5), 1);
    EXPECT_EQ(decode(out, 0, field, field + 2), 1);
    EXPECT_EQ(decode(out, 1, field, field + 3), 1);
    EXPECT_EQ(decode(out, 0, field, field), 1);
    EXPECT_EQ(std::string(out.data(), out.size()), "\"ab\u20ac\"\"ab\"\"ab\xA4\"\"\"");
    EXPECT_EQ(decode(out, 0, nullptr, nullptr), 0);
  }
}

TEST(opaque_text, a_text_that_reaches_the_cap_fills_the_bytes) {
  test_value value(wire::opaque(5));
  EXPECT_EQ(value.encode("\"abcdefgh\""), 1);
  EXPECT_EQ(std::string(value.data(), 6), std::string("abcde\0", 6));
  EXPECT_EQ(value.text(), "\"abcde\"");
}

TEST(opaque_text, a_shorter_text_ends_in_the_field) {
  test_value value(wire::opaque(5));
  value.encode("\"abcde\"");
  EXPECT_EQ(value.encode("\"xy\""), 1);
  EXPECT_EQ(std::string(value.data(), 5), std::string("xy\0de", 5));
  EXPECT_EQ(value.text(), "\"xy\"");
}

TEST(counted_text, its_count_includes_the_terminator) {
  counted_block block;
  EXPECT_EQ(json_encode_counted_text(json_value("\"abc\"").node(), 0, block.place, 80), 1);
  EXPECT_EQ(block.count(), 4u);
  EXPECT_STREQ(block.bytes(), "abc");
}

TEST(counted_text, an_empty_text_has_count_1) {
  for (const wire_type& type : {wire::text, wire::text_of(80)}) {
    test_value value(type);
    EXPECT_EQ(value.encode("\"\""), 1);
    EXPECT_EQ(load_block_count(value.data()), 1u);
    EXPECT_STREQ(load_block_pointer(value.data()), "");
    EXPECT_EQ(value.text(), "\"\"");
  }
}

TEST(counted_text, is_cut_by_its_cap_and_then_has_no_terminator) {
  test_value value(wire::text_of(4));
  EXPECT_EQ(value.encode("\"abcdefgh\""), 1);
  EXPECT_EQ(load_block_count(value.data()), 4u);
  EXPECT_EQ(std::memcmp(load_block_pointer(value.data()), "abcd", 4), 0);
  EXPECT_EQ(value.text(), "\"abcd\"");
  EXPECT_EQ(value.reply(), "\"abcd\"");
}

TEST(counted_text, is_read_to_its_nul_whatever_the_count) {
  bytes wire = {0, 0, 0, 5, 'a', 'b', 0, 'd', 'e', 0, 0, 0};
  test_value value(wire::text);
  ASSERT_TRUE(value.get(wire));
  EXPECT_EQ(value.text(), "\"ab\"");
  EXPECT_EQ(reply_text(wire::text, wire), value.text());
  bytes unterminated = {0, 0, 0, 3, 'a', 'b', 'c', 'x'};
  test_value other(wire::text);
  ASSERT_TRUE(other.get(unterminated));
  EXPECT_EQ(other.text(), "\"abc\"");
  EXPECT_EQ(reply_text(wire::text, unterminated), other.text());
}

TEST(texts_without_pointer, fail_the_decode) {
  for (const wire_type& type : {wire::text, wire::text_of(80), wire::string}) {
    test_value value(type);
    EXPECT_EQ(value.text(), no_text);
    EXPECT_EQ(value.text(1), no_text);
  }
}

TEST(texts_without_pointer, an_empty_text_of_the_server_is_one) {
  test_value value(wire::text);
  ASSERT_TRUE(value.get(bytes{0, 0, 0, 0}));
  EXPECT_EQ(value.text(), no_text);
  EXPECT_EQ(value.reply(), no_text);
  test_value string(wire::string);
  ASSERT_TRUE(string.get(bytes{0, 0, 0, 0}));
  EXPECT_EQ(string.text(), "\"\"");
  EXPECT_EQ(string.reply(), "\"\"");
}

TEST(string_text, an_absent_one_is_sent_as_empty) {
  test_value value(wire::string);
  bytes wire;
  ASSERT_TRUE(value.put(&wire));
  EXPECT_EQ(wire, (bytes{0, 0, 0, 0}));
}

TEST(string_text, ends_within_its_cap) {
  char* field = nullptr;
  EXPECT_EQ(json_encode_string(json_value("\"abcdef\"").node(), 0, &field, 4), 1);
  EXPECT_STREQ(field, "abc");
  EXPECT_EQ(json_encode_string(json_value("\"abc\"").node(), 0, &field, 4), 1);
  EXPECT_STREQ(field, "abc");
  EXPECT_EQ(json_encode_string(json_value("\"abc\"").node(), 0, &field, 1), 1);
  EXPECT_STREQ(field, "");
  EXPECT_EQ(json_encode_string(json_value("\"\"").node(), 0, &field, UINT32_MAX), 1);
  EXPECT_STREQ(field, "");
  std::free(field);
}

TEST(opaque_bytes, need_their_exact_number) {
  test_value value(wire::opaque64(3));
  EXPECT_EQ(value.encode("\"abcd\""), 1);
  EXPECT_EQ(std::string(value.data(), 3), "\x69\xB7\x1D");
  for (const char* text : {"\"\"", "\"AA==\"", "\"AAA=\"", "\"AAAAAA==\"", "\"TQ=\""}) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(value.encode(text), 0) << text;
    testing::internal::GetCapturedStderr();
  }
  EXPECT_EQ(std::string(value.data(), 3), "\x69\xB7\x1D");
  EXPECT_EQ(value.text(), "\"abcd\"");
}

TEST(blobs, come_back_as_they_went) {
  test_value value(wire::blob);
  EXPECT_EQ(value.encode("\"AAECAw==\""), 1);
  EXPECT_EQ(load_block_count(value.data()), 4u);
  EXPECT_EQ(value.text(), "\"AAECAw==\"");
  EXPECT_EQ(value.reply(), "\"AAECAw==\"");
}

TEST(blobs, an_empty_one_is_an_empty_text) {
  test_value value(wire::blob);
  EXPECT_EQ(value.text(), "\"\"");
  EXPECT_EQ(value.encode("\"\""), 1);
  EXPECT_EQ(load_block_count(value.data()), 0u);
  EXPECT_EQ(value.text(), "\"\"");
  ASSERT_TRUE(value.get(bytes{0, 0, 0, 0}));
  EXPECT_EQ(value.reply(), "\"\"");
}

}  // namespace
}  // namespace kvrpc::test
