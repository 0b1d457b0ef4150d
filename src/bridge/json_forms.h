// How the bytes of the record's ISO code are written in a JSON string. Most bytes are plain: they
// are copied as they are, a block at a time. Every other byte has a form of at most 3 bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "base/plain_bytes.h"
#include "bridge/uc2_code.h"
#include "json/escapes.h"

namespace kvrpc {

// What is written in a JSON string for one ISO byte. A size of 0 drops the byte.
struct json_form {
  char bytes[3];
  std::uint8_t size;
};

struct json_form_table {
  json_form form[256];
};

constexpr json_form form_of(char byte) {
  json_form form{};
  const char letter = json_escape_letter(byte);
  if (letter != '\0') return {{'\\', letter, '\0'}, 2};
  if (static_cast<unsigned char>(byte) >= 0x20) form.size = uc2::encode_iso(byte, form.bytes);
  return form;
}

constexpr json_form_table make_forms() {
  json_form_table table{};
  for (std::uint32_t byte = 0; byte < 256; ++byte) table.form[byte] = form_of(uc2::as_char(byte));
  return table;
}
inline constexpr json_form_table json_forms = make_forms();

// Writes the form of an ISO byte. Returns the position after it. Always touches 3 bytes, because a
// copy of fixed size is faster.
inline char* write_form(char* place, char byte) {
  const json_form& form = json_forms.form[static_cast<unsigned char>(byte)];
  std::memcpy(place, form.bytes, sizeof form.bytes);
  return place + form.size;
}

// Writes the forms of the ISO bytes from `bytes` on, and moves `bytes` to the NUL that ends them or
// to `end`. Returns the position after the forms. Touches at most escaped_room(end - bytes) bytes:
// every write begins at most escaped_room() of the bytes before it. Not inlined, because it would
// take the registers of the loop over a record's fields.
constexpr std::size_t escaped_room(std::size_t size) { return size * sizeof json_form::bytes; }
static_assert(escaped_room(1) == sizeof json_form::bytes, "");
__attribute__((noinline)) inline char* write_escaped(char* place, const char*& bytes,
                                                     const char* end) {
  while (true) {
    const char* const plain = ascii_plain::copy(place, bytes, end);
    place += plain - bytes;
    bytes = plain;
    if (bytes == end || *bytes == '\0') return place;
    place = write_form(place, *bytes++);
  }
}

}  // namespace kvrpc
