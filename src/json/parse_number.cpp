#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

#include "json/parse.h"

namespace kvrpc {

namespace {

bool is_digit(char byte) { return byte >= '0' && byte <= '9'; }

const char* digits_end(const char* at, const char* end) {
  while (at < end && is_digit(*at)) ++at;
  return at;
}

// The end of the number at `at`; end + 1 when its point swallows the text's NUL.
const char* number_end(const char* at, const char* end, bool* floating) {
  if (*at == '-') ++at;
  if (*at == '0') ++at;
  if (*at != '0') at = digits_end(at, end);
  if (*at == '.') {
    *floating = true;
    if (at + 1 == end) return end + 1;
    at = digits_end(at + 2, end);
  }
  if (*at == 'e' || *at == 'E') {
    *floating = true;
    ++at;
    if (*at == '+' || *at == '-') ++at;
    at = digits_end(at, end);
  }
  return at;
}

// Decimal, held at the limit of its sign; 0 without a digit.
std::int64_t saturated_integer(const char* at, const char* end) {
  std::int64_t value = 0;
  if (std::from_chars(at, end, value).ec != std::errc::result_out_of_range) return value;
  return *at == '-' ? INT64_MIN : INT64_MAX;
}

// Whether a decimal number that no float can hold is too large and not too small.
bool is_large(const char* at, const char* end) {
  if (*at == '-') ++at;
  while (*at == '0') ++at;
  const char* point = digits_end(at, end);
  std::int64_t magnitude = point - at;
  at = point;
  if (at < end && *at == '.') {
    const char* fraction = ++at;
    while (magnitude == 0 && at < end && *at == '0') ++at;
    if (magnitude == 0) magnitude = fraction - at;
    at = digits_end(at, end);
  }
  std::int64_t exponent = 0;
  if (at < end && (*at == 'e' || *at == 'E')) {
    ++at;
    if (at < end && *at == '+') ++at;
    exponent = saturated_integer(at, end);
  }
  return exponent > -magnitude;
}

// What the format "%g" stores for the span: a float, infinite or zero when out of range. False
// when the span does not begin with a number.
bool scan_float(const char* at, const char* end, float* out) {
  const std::errc error = std::from_chars(at, end, *out).ec;
  if (error == std::errc::result_out_of_range) {
    *out = std::copysign(is_large(at, end) ? HUGE_VALF : 0.0F, *at == '-' ? -1.0F : 1.0F);
    return true;
  }
  return error == std::errc();
}

// A number with a fraction or an exponent keeps no value: the float's bits become the low half of
// the double, the high half stays zero, and `integer`, the whole part of such a double, stays 0.
void store_floating(json_node* node, const char* at, const char* end) {
  float value = 0;
  if (!scan_float(at, end, &value)) return;
  std::uint32_t low = 0;
  std::memcpy(&low, &value, sizeof low);
  const std::uint64_t bits = low;
  std::memcpy(&node->number, &bits, sizeof bits);
}

}  // namespace

const char* json_parse_number(json_node* node, const char* at, const char* end) {
  bool floating = false;
  const char* behind = number_end(at, end, &floating);
  const char* span_end = std::min(behind, end);
  node->type = JSON_NUMBER;
  if (floating) {
    store_floating(node, at, span_end);
    return behind;
  }
  node->integer = saturated_integer(at, span_end);
  node->number = static_cast<double>(node->integer);
  node->is_integer = 1;
  return behind;
}

}  // namespace kvrpc
