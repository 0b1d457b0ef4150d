// Vectors, arrays, references and pointers over a converter of one element.
#include <gtest/gtest.h>

#include "bridge/decode.h"
#include "bridge/support/conversion.h"

namespace kvrpc::test {
namespace {

constexpr json_encoder encode_long = json_encode_long;
constexpr json_decoder decode_long = json_decode_long;

struct long_array {
  alignas(8) char place[4 + sizeof(char*)] = {};

  ~long_array() { std::free(load_block_pointer(place)); }
  int encode(const char* text, std::uint32_t maximum) {
    return json_encode_array(json_value(text).node(), 0, place, maximum, 4, encode_long);
  }
};

int encode_vector(const char* text, std::int32_t* values, std::uint32_t count) {
  return json_encode_vector(json_value(text).node(), 0, reinterpret_cast<char*>(values), count, 4,
                            encode_long);
}

TEST(vector_converter, needs_the_exact_number_of_children) {
  std::int32_t values[10] = {};
  EXPECT_EQ(encode_vector("[1,2,3,4,5,6,7,8,9,10]", values, 10), 1);
  EXPECT_EQ(values[9], 10);
  EXPECT_EQ(encode_vector("[1,2,3,4,5,6,7,8,9]", values, 10), 0);
  EXPECT_EQ(encode_vector("[1,2,3,4,5,6,7,8,9,10,11]", values, 10), 0);
  EXPECT_EQ(encode_vector("[]", values, 0), 1);
}

TEST(vector_converter, takes_arrays_alone_and_stops_at_a_bad_element) {
  std::int32_t values[2] = {};
  for (const char* text : {"1", "\"ab\"", "{\"a\":1,\"b\":2}", "null", "[1,\"2\"]", "[null,2]"}) {
    EXPECT_EQ(encode_vector(text, values, 2), 0) << text;
  }
}

TEST(vector_converter, a_character_element_makes_it_a_text) {
  const json_value text("\"abc\"");
  const json_value array("[\"a\",\"b\"]");
  for (json_encoder elem : {json_encoder{json_encode_char}, json_encoder{json_encode_u_char}}) {
    char field[4] = {};
    EXPECT_EQ(json_encode_vector(text.node(), 0, field, 4, 1, elem), 1);
    EXPECT_STREQ(field, "abc");
    EXPECT_EQ(json_encode_vector(array.node(), 0, field, 2, 1, elem), 0);
  }
  const char field[] = "abc";
  for (json_decoder elem : {json_decode_char, json_decode_u_char}) {
    text_buffer buffer;
    EXPECT_EQ(json_decode_vector(buffer, 0, field, 2, 1, elem, field + 4), 1);
    EXPECT_EQ(std::string(buffer.data(), buffer.size()), "\"abc\"");
  }
}

TEST(vector_converter, comes_back_as_an_array) {
  const std::int32_t values[] = {1, -2, 3};
  text_buffer buffer;
  const char* base = reinterpret_cast<const char*>(values);
  EXPECT_EQ(json_decode_vector(buffer, 0, base, 3, 4, decode_long, base + 12), 1);
  EXPECT_EQ(std::string(buffer.data(), buffer.size()), "[1, -2, 3]");
}

TEST(array_converter, takes_its_count_from_the_children) {
  long_array array;
  EXPECT_EQ(array.encode("[5,6,7]", UINT32_MAX), 1);
  EXPECT_EQ(load_block_count(array.place), 3u);
  text_buffer buffer;
  EXPECT_EQ(json_decode_array(buffer, 0, array.place, 4, decode_long), 1);
  EXPECT_EQ(std::string(buffer.data(), buffer.size()), "[5, 6, 7]");
}

TEST(array_converter, refuses_more_than_its_maximum) {
  long_array array;
  EXPECT_EQ(array.encode("[1,2]", 2), 1);
  long_array other;
  EXPECT_EQ(other.encode("[1,2,3]", 2), 0);
}

TEST(array_converter, takes_arrays_alone_and_fails_with_its_element) {
  for (const char* text : {"1", "\"a\"", "null", "{\"a\":1}", "[1,null]"}) {
    long_array array;
    EXPECT_EQ(array.encode(text, UINT32_MAX), 0) << text;
  }
}

TEST(array_converter, warns_of_character_elements_and_refuses_them) {
  long_array array;
  const json_encoder elem = json_encode_char;
  testing::internal::CaptureStderr();
  EXPECT_EQ(json_encode_array(json_value("[]").node(), 0, array.place, 9, 1, elem), 1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "jsonxdr warning: char array\n");
  std::free(load_block_pointer(array.place));

  testing::internal::CaptureStderr();
  EXPECT_EQ(json_encode_array(json_value("[\"a\"]").node(), 0, array.place, 9, 1, elem), 0);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "jsonxdr warning: char array\n"
            "error:  <future feature> json_encode_char called.\n");
}

TEST(array_converter, warns_of_character_elements_on_the_way_back) {
  alignas(8) char block[4 + sizeof(char*)] = {};
  const json_decoder elem = json_decode_u_char;
  text_buffer empty;
  testing::internal::CaptureStderr();
  EXPECT_EQ(json_decode_array(empty, 0, block, 1, elem), 1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "jsonxdr warning: char array\n");

  char letter[] = "a";
  store_block(block, 1, letter);
  text_buffer one;
  testing::internal::CaptureStderr();
  EXPECT_EQ(json_decode_array(one, 0, block, 1, elem), 0);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "jsonxdr warning: char array\n"
            "error:  <future feature> json_decode_char called.\n");
}

TEST(pointer_converter, null_leaves_the_field_as_it_was) {
  std::int32_t target = 3;
  char* field = reinterpret_cast<char*>(&target);
  EXPECT_EQ(json_encode_pointer(json_value("null").node(), 0, &field, 4, encode_long), 1);
  EXPECT_EQ(field, reinterpret_cast<char*>(&target));
}

TEST(pointer_converter, makes_a_target) {
  char* field = nullptr;
  EXPECT_EQ(json_encode_pointer(json_value("-7").node(), 0, &field, 4, encode_long), 1);
  ASSERT_NE(field, nullptr);
  EXPECT_EQ(load<std::int32_t>(field), -7);
  text_buffer buffer;
  EXPECT_EQ(json_decode_pointer(buffer, 0, &field, decode_long), 1);
  std::free(field);
  field = nullptr;
  EXPECT_EQ(json_decode_pointer(buffer, 0, &field, decode_long), 1);
  EXPECT_EQ(std::string(buffer.data(), buffer.size()), "-7null");
}

TEST(pointer_converter, keeps_a_target_that_could_not_be_filled) {
  char* field = nullptr;
  EXPECT_EQ(json_encode_pointer(json_value("\"x\"").node(), 0, &field, 4, encode_long), 0);
  EXPECT_NE(field, nullptr);
  std::free(field);
}

TEST(reference_converter, gives_its_targets_form) {
  std::int32_t target = 12;
  char* field = reinterpret_cast<char*>(&target);
  text_buffer buffer;
  EXPECT_EQ(json_decode_reference(buffer, 0, &field, decode_long), 1);
  EXPECT_EQ(std::string(buffer.data(), buffer.size()), "12");
}

TEST(reference_converter, null_is_a_value_like_any_other) {
  char* field = nullptr;
  EXPECT_EQ(json_encode_reference(json_value("null").node(), 0, &field, 4, encode_long), 0);
  std::free(field);
}

}  // namespace
}  // namespace kvrpc::test
