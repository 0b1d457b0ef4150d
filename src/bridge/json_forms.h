// How the bytes of the record's ISO code look inside a JSON string. Most stand for themselves and
// are found eight at a time; each of the others has a form of up to 3 bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "json/words.h"

namespace kvrpc {

// The bytes that stand for one ISO byte inside a JSON string. A size of 0 drops the byte.
struct json_form {
  char bytes[3];
  std::uint8_t size;
};

struct json_form_table {
  json_form form[256];
};
extern const json_form_table json_forms;

// Writes the form of an ISO byte. Returns the position after it; touches all bytes of a form.
inline char* write_form(char* place, char byte) {
  const json_form& form = json_forms.form[static_cast<unsigned char>(byte)];
  std::memcpy(place, form.bytes, sizeof form.bytes);
  return place + form.size;
}

// Writes the forms of `size` ISO bytes. Returns the position after them. Touches at most
// escaped_room(size) bytes: every write begins at most escaped_room() of the bytes before it.
constexpr std::size_t escaped_room(std::size_t size) { return size * sizeof json_form::bytes; }
static_assert(escaped_room(8) == 8 * sizeof json_form::bytes, "");
char* write_escaped(char* place, const char* bytes, std::size_t size);

// Returns how many of a word's bytes, from the lowest on, stand for themselves: all but those below
// 0x20, above 0x7F, the quote and the backslash.
inline std::uint32_t plain_bytes(std::uint64_t word) {
  constexpr std::uint64_t ones = 0x0101010101010101u;
  const std::uint64_t quote = word ^ ones * '"';
  const std::uint64_t backslash = word ^ ones * '\\';
  const std::uint64_t special =
      ((word - ones * 0x20) | (quote - ones) | (backslash - ones) | word) & ones * 0x80;
  return special == 0 ? 8 : static_cast<std::uint32_t>(__builtin_ctzll(special)) / 8;
}

}  // namespace kvrpc
