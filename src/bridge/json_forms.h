// How the bytes of the record's ISO code are written in a JSON string. Most bytes are plain: they
// are copied as they are, up to eight at a time. Every other byte has a form of at most 3 bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace kvrpc {

// What is written in a JSON string for one ISO byte. A size of 0 drops the byte.
struct json_form {
  char bytes[3];
  std::uint8_t size;
};

struct json_form_table {
  json_form form[256];
};
extern const json_form_table json_forms;

// Writes the form of an ISO byte. Returns the position after it. Always touches 3 bytes, because a
// copy of fixed size is faster.
inline char* write_form(char* place, char byte) {
  const json_form& form = json_forms.form[static_cast<unsigned char>(byte)];
  std::memcpy(place, form.bytes, sizeof form.bytes);
  return place + form.size;
}

// Writes the forms of the ISO bytes from `bytes` on, and moves `bytes` to the NUL that ends them or
// to `end`. Returns the position after the forms. Touches at most escaped_room(end - bytes) bytes:
// every write begins at most escaped_room() of the bytes before it.
constexpr std::size_t escaped_room(std::size_t size) { return size * sizeof json_form::bytes; }
char* write_escaped(char* place, const char*& bytes, const char* end);

}  // namespace kvrpc
