// Scalars between a node and a field: type tests, low bits, signs.
#include <gtest/gtest.h>

#include <cmath>

#include "bridge/decode.h"
#include "bridge/support/conversion.h"

namespace kvrpc::test {
namespace {

using encoder = int (*)(const json_node*, int, void*);

// Returns the number that a field holds after the text was encoded. refused() returns true if the
// text was refused and the field kept its value.
template <class Field>
Field encoded(encoder encode, const char* text, Field before = 0) {
  const json_value value(text);
  EXPECT_EQ(encode(value.node(), 0, &before), 1) << text;
  return before;
}

bool refused(encoder encode, const char* text) {
  const json_value value(text);
  std::uint64_t field = 0x1122334455667788;
  const int result = encode(value.node(), 0, &field);
  return result == 0 && field == 0x1122334455667788;
}

template <class Field>
std::string decoded(json_decoder decode, Field field) {
  text_buffer out(exact_memory);
  EXPECT_EQ(decode(out, 0, &field), 1);
  return std::string(out.data(), out.size());
}

TEST(scalar_encoders, take_numbers_alone) {
  for (encoder encode :
       {json_encode_int, json_encode_u_int, json_encode_long, json_encode_u_long, json_encode_short,
        json_encode_u_short, json_encode_float, json_encode_double, json_encode_enum}) {
    for (const char* text : {"\"12\"", "true", "false", "null", "[1]", "{\"a\":1}", "\"\""}) {
      EXPECT_TRUE(refused(encode, text)) << text;
    }
  }
}

TEST(scalar_encoders, bool_takes_true_and_false_alone) {
  for (const char* text : {"1", "0", "\"true\"", "null", "[]", "{}"}) {
    EXPECT_TRUE(refused(json_encode_bool, text)) << text;
  }
  EXPECT_EQ(encoded<std::int32_t>(json_encode_bool, "true", 9), 1);
  EXPECT_EQ(encoded<std::int32_t>(json_encode_bool, "false", 9), 0);
}

TEST(scalar_encoders, void_takes_anything_and_reads_nothing) {
  for (const char* text : {"null", "1", "\"x\"", "[1]", "{\"a\":{}}"}) {
    EXPECT_EQ(json_encode_void(json_value(text).node(), 0, nullptr), 1) << text;
  }
  EXPECT_EQ(json_encode_void(nullptr, 0, nullptr), 1);
}

TEST(scalar_encoders, store_the_low_bits) {
  EXPECT_EQ(encoded<std::int32_t>(json_encode_long, "4294967296", 9), 0);
  EXPECT_EQ(encoded<std::int32_t>(json_encode_int, "4294967297"), 1);
  EXPECT_EQ(encoded<std::int32_t>(json_encode_enum, "-4294967297"), -1);
  EXPECT_EQ(encoded<std::uint32_t>(json_encode_u_long, "-1"), 0xFFFFFFFFu);
  EXPECT_EQ(encoded<std::uint32_t>(json_encode_u_int, "-1"), 0xFFFFFFFFu);
  EXPECT_EQ(encoded<std::int16_t>(json_encode_short, "65537"), 1);
  EXPECT_EQ(encoded<std::int16_t>(json_encode_short, "32768"), -32768);
  EXPECT_EQ(encoded<std::uint16_t>(json_encode_u_short, "-1"), 0xFFFF);
}

TEST(scalar_encoders, take_saturated_numbers) {
  EXPECT_EQ(encoded<std::int32_t>(json_encode_long, "99999999999999999999"), -1);
  EXPECT_EQ(encoded<std::int32_t>(json_encode_long, "-99999999999999999999", 9), 0);
}

TEST(scalar_encoders, a_fraction_stores_0_in_an_integer_field) {
  EXPECT_EQ(encoded<std::int32_t>(json_encode_long, "12.7", 9), 0);
  EXPECT_EQ(encoded<std::int32_t>(json_encode_long, "12.0", 9), 0);
  EXPECT_EQ(encoded<std::int16_t>(json_encode_short, "1e2", 9), 0);
}

TEST(scalar_encoders, floating_fields_take_the_floating_side) {
  json_node* node = json_new_double(-0.75);
  double wide = 0;
  float narrow = 0;
  EXPECT_EQ(json_encode_double(node, 0, &wide), 1);
  EXPECT_EQ(json_encode_float(node, 0, &narrow), 1);
  EXPECT_EQ(wide, -0.75);
  EXPECT_EQ(narrow, -0.75f);
  json_delete(node);
}

TEST(scalar_encoders, write_no_byte_after_their_field) {
  std::int16_t pair[2] = {0, 0x5555};
  const json_value value("-1");
  EXPECT_EQ(json_encode_short(value.node(), 0, pair), 1);
  EXPECT_EQ(pair[1], 0x5555);
}

TEST(scalar_decoders, extend_by_their_sign) {
  EXPECT_EQ(decoded(json_decode_int, std::int32_t{-1}), "-1");
  EXPECT_EQ(decoded(json_decode_long, INT32_MIN), "-2147483648");
  EXPECT_EQ(decoded(json_decode_u_int, UINT32_MAX), "4294967295");
  EXPECT_EQ(decoded(json_decode_u_long, UINT32_MAX), "4294967295");
  EXPECT_EQ(decoded(json_decode_short, std::uint16_t{0xFFFF}), "-1");
  EXPECT_EQ(decoded(json_decode_u_short, std::uint16_t{0xFFFF}), "65535");
}

TEST(scalar_decoders, enum_takes_the_low_half_of_its_word) {
  EXPECT_EQ(decoded(json_decode_enum, std::int32_t{0x12345}), "9029");
  EXPECT_EQ(decoded(json_decode_enum, std::int32_t{0x1FFFF}), "-1");
}

TEST(scalar_decoders, bool_takes_any_value_but_0_for_true) {
  EXPECT_EQ(decoded(json_decode_bool, std::int32_t{0}), "false");
  for (std::int32_t value : {1, 2, -1, 0x10000, INT32_MIN}) {
    EXPECT_EQ(decoded(json_decode_bool, value), "true") << value;
  }
}

TEST(scalar_decoders, floating_fields_have_six_digits) {
  EXPECT_EQ(decoded(json_decode_float, 0.5f), "0.500000");
  EXPECT_EQ(decoded(json_decode_double, -12.75), "-12.750000");
}

TEST(scalar_decoders, void_makes_null) { EXPECT_EQ(decoded(json_decode_void, 0), "null"); }

TEST(single_characters, are_refused_with_a_line) {
  const json_value value("\"x\"");
  char field = 'y';
  testing::internal::CaptureStderr();
  EXPECT_EQ(json_encode_char(value.node(), 0, &field), 0);
  EXPECT_EQ(json_encode_u_char(value.node(), 0, &field), 0);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "error:  <future feature> json_encode_char called.\n"
            "error:  <future feature> json_encode_char called.\n");
  EXPECT_EQ(field, 'y');

  text_buffer out;
  testing::internal::CaptureStderr();
  EXPECT_EQ(json_decode_char(out, 0, &field), 0);
  EXPECT_EQ(json_decode_u_char(out, 0, &field), 0);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "error:  <future feature> json_decode_char called.\n"
            "error:  <future feature> json_decode_char called.\n");
}

}  // namespace
}  // namespace kvrpc::test
