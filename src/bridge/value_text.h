// Writes single values as JSON text. Each function writes at `place` and returns the position after
// the value. It may touch bytes after that position, but none beyond the value's room: the bounds
// of schema/reply_plan.h, each of which is derived and asserted here, beside its writer.
#pragma once

#include <cstdint>
#include <cstring>

#include "bridge/base64.h"
#include "bridge/json_forms.h"
#include "bridge/wire_chars.h"
#include "json/decimal_text.h"
#include "schema/reply_plan.h"

namespace kvrpc {

static_assert(decimal_room <= reply_room::number, "");

inline char* write_null(char* place) {
  constexpr char text[] = {'n', 'u', 'l', 'l'};
  static_assert(sizeof text <= reply_room::null, "");
  std::memcpy(place, text, sizeof text);
  return place + sizeof text;
}

inline char* write_bool(char* place, bool value) {
  constexpr std::size_t room = sizeof "false" - 1;
  static_assert(room <= reply_room::boolean, "");
  std::memcpy(place, value ? "true" : "fals", room - 1);
  place[room - 1] = 'e';
  return place + (value ? room - 1 : room);
}

// Each char takes one form at most, and the last write begins at a char that is left. So n chars
// touch at most: the quote, n - 1 forms, and the larger of a step and a form with the quote.
constexpr std::size_t chars_room(std::size_t n) {
  return 1 + escaped_room(n) - escaped_room(1) +
         (chars_at_once > escaped_room(1) + 1 ? chars_at_once : escaped_room(1) + 1);
}
static_assert(chars_room(1) <= reply_room::text(1), "");
static_assert(chars_room(2) - chars_room(1) <= reply_room::text(2) - reply_room::text(1), "");

// Writes a text of `size` units at `wire`. Returns null if no NUL ends it there. Reads beyond the
// text, but nothing at or after `end`.
inline char* write_chars(char* place, const char* wire, std::uint32_t size, const char* end) {
  *place++ = '"';
  for (std::uint32_t left = size; left > 0; --left, wire += 4) {
    if (end - wire >= 4 * std::ptrdiff_t{chars_at_once}) {
      const std::uint32_t plain = copy_plain_chars(wire, place);
      if (plain >= left) return nullptr;
      place += plain;
      wire += std::size_t{4} * plain;
      left -= plain;
    }
    if (wire[3] == '\0') {
      *place = '"';
      return place + 1;
    }
    place = write_form(place, wire[3]);
  }
  return nullptr;
}

// The same for a text of `size` bytes, one for each char.
inline char* write_fixed_text(char* place, const char* bytes, std::uint32_t size) {
  static_assert(escaped_room(1) + 2 <= reply_room::text(1), "");
  static_assert(escaped_room(1) <= reply_room::text(2) - reply_room::text(1), "");
  const char* const end = bytes + size;
  *place = '"';
  place = write_escaped(place + 1, bytes, end);
  *place = '"';
  return bytes != end ? place + 1 : nullptr;
}

inline char* write_base64(char* place, const char* bytes, std::uint32_t size) {
  static_assert(base64_text_size(1) + 2 <= reply_room::base64(1), "");
  static_assert(base64_text_size(3) + 2 <= reply_room::base64(3), "");
  static_assert(base64_text_size(4) + 2 <= reply_room::base64(4), "");
  *place = '"';
  place = base64_encode_to(place + 1, bytes, size);
  *place = '"';
  return place + 1;
}

}  // namespace kvrpc
