// The fast road of a reply: plain members that stand side by side, scalars, chars(n) and structures
// of such, go from the wire to the text without a record between them, with one look at the
// buffer's room. It gives what the converters of decode.cpp give one by one, and leaves to them
// whatever is out of the ordinary.
#include <charconv>

#include "bridge/json_forms.h"
#include "bridge/text_sink.h"
#include "bridge/wire_chars.h"
#include "rpc/xdr.h"

namespace kvrpc {

namespace {

char* write_integer(char* place, std::int64_t value) {
  if (value >= 0 && value <= 9) {
    *place = static_cast<char>('0' + value);
    return place + 1;
  }
  return std::to_chars(place, place + 11, value).ptr;
}

char* write_bool(char* place, bool value) {
  std::memcpy(place, value ? "true" : "fals", 4);
  place[4] = 'e';
  return place + (value ? 4 : 5);
}

// Members in their wire form, up to `end`.
struct wire_reader {
  const char* next;
  const char* const end;

  const char* take(std::uint32_t size) {
    const char* const place = next;
    next += size;
    return place;
  }
};

// A text in a field of `size` chars, or null when no NUL ends it there.
char* write_fixed_text(char* place, wire_reader& wire, std::uint32_t size) {
  const char* next = wire.take(4 * size);
  *place++ = '"';
  for (std::uint32_t left = size; left > 0;) {
    const bool at_once = wire.end - next >= 4 * std::ptrdiff_t{chars_at_once};
    const std::uint32_t plain =
        at_once ? copy_plain_chars(next, place) : copy_plain_char(next, place);
    if (plain >= left) return nullptr;
    place += plain;
    next += std::size_t{4} * plain;
    left -= plain;
    if (plain == (at_once ? chars_at_once : 1)) continue;
    const auto special = static_cast<unsigned char>(next[3]);
    if (special == 0) {
      *place = '"';
      return place + 1;
    }
    place = write_form(place, json_forms()[special]);
    next += 4;
    --left;
  }
  return nullptr;
}

char* write_structure(char* place, wire_reader& wire, const record_type& record);

// The value of a plain field, or null when it is left to the converters.
char* write_plain(char* place, wire_reader& wire, const wire_type& type) {
  switch (type.kind) {
    case wire_kind::long_:
    case wire_kind::int_:
      return write_integer(place, static_cast<std::int32_t>(xdr_load_unit(wire.take(4))));
    case wire_kind::u_long_:
      return write_integer(place, xdr_load_unit(wire.take(4)));
    case wire_kind::short_:
      return write_integer(place, static_cast<std::int16_t>(xdr_load_unit(wire.take(4))));
    case wire_kind::bool_:
      return write_bool(place, xdr_load_unit(wire.take(4)) != 0);
    case wire_kind::chars:
    case wire_kind::schars:
      return write_fixed_text(place, wire, type.count);
    case wire_kind::record:
      return write_structure(place, wire, *type.target);
    default:
      return nullptr;
  }
}

// Writes members, each with a comma before it; the place behind them, or null. Of every label the
// same number of bytes is copied, which costs less than copying its size.
char* write_members(char* place, wire_reader& wire, const record_field* field,
                    const record_field* end) {
  for (; field != end; ++field) {
    std::memcpy(place, field->label, label_room);
    place = write_plain(place + field->label_size, wire, field->type);
    if (place == nullptr) return nullptr;
  }
  return place;
}

// The first member's comma is where the bracket has to stand.
char* write_structure(char* place, wire_reader& wire, const record_type& record) {
  char* const behind =
      write_members(place, wire, record.fields, record.fields + record.field_count);
  if (behind == nullptr) return nullptr;
  *place = '{';
  *behind = '}';
  return behind + 1;
}

}  // namespace

bool text_sink::wire_members(const char* wire, std::uint32_t size, const record_type& record,
                             std::uint32_t begin, std::uint32_t end) {
  char* const place = out_.reserve(record.fields[begin].run_text);
  if (place == nullptr) return false;
  wire_reader reader{wire, wire + size};
  char* const start = first_ ? place - 1 : place;  // the bracket is there, see write_structure
  char* const behind = write_members(start, reader, record.fields + begin, record.fields + end);
  if (first_) *start = '{';
  if (behind == nullptr) return false;
  out_.commit(static_cast<std::size_t>(behind - place));
  first_ = false;
  return true;
}

}  // namespace kvrpc
