// The scanners of the parser, for the sources of this directory and their tests alone.
//
// Each takes the position of what it reads and `end`, the position of the text's NUL, and returns
// the position after what it consumed. None of them writes to the text or reads after `end`.
#pragma once

#include <cstddef>
#include <cstdint>

#include "json/json.h"

namespace kvrpc {

// Skips all bytes that are at most 32 as signed numbers, which includes those from 0x80 on. `at`
// must not be after `end`.
inline const char* json_skip(const char* at, const char* end) {
  while (static_cast<signed char>(*at) <= 32 && at < end) ++at;
  return at;
}

// Returns the value of a digit, and more than 9 for any other byte.
inline std::uint32_t json_digit(char byte) {
  return static_cast<std::uint32_t>(static_cast<unsigned char>(byte)) - '0';
}
inline bool json_is_digit(char byte) { return json_digit(byte) < 10; }

// An integer of so many digits fits in 64 bits.
constexpr std::ptrdiff_t json_safe_digits = 18;

// Makes `node` the integer number `value`, with both fields as the parser leaves them.
inline void json_set_integer(json_node* node, std::int64_t value) {
  node->type = JSON_NUMBER;
  node->integer = value;
  node->number = static_cast<double>(value);
  node->is_integer = 1;
}

// Fills `node` with the number at `at`, which cannot fail. Returns end + 1 if a point at the end of
// the text has swallowed the NUL: such a number can only be the whole text. For example, "1." is a
// number, and "[1." is no value.
const char* json_parse_number(json_node* node, const char* at, const char* end);

// Returns the '"' or the byte below 0x20 that ends the string whose bytes begin at `at`, or null if
// a backslash steps over the text's NUL.
const char* json_string_end(const char* at, const char* end);

// Copies the string [at, stop) to `out`, resolving escapes, and adds a NUL. `out` must have room
// for one byte more than the string has in the text. `stop` must come from json_string_end.
void json_copy_string(char* out, const char* at, const char* stop);

// Reads up to four hexadecimal digits, as many as there are. Returns the position after the last.
const char* json_parse_hex4(const char* at, std::uint32_t* out);

}  // namespace kvrpc
