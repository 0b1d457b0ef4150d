// The fast road of a reply: the scalar and text members of a record that stand side by side are
// written behind one another with one look at the buffer's room. It gives what the converters of
// decode.cpp give one by one, and leaves to them whatever is out of the ordinary.
#include <charconv>

#include "bridge/field_memory.h"
#include "bridge/json_forms.h"
#include "bridge/text_sink.h"

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

// The bytes of a field from `from` on in one word; zero behind the field's end.
std::uint64_t load_field_word(const char* text, std::uint32_t size, std::uint32_t from) {
  const std::uint32_t left = size - from;
  if (left >= 8) return load_word(text + from);
  if (size >= 8) return load_word(text + size - 8) >> (64 - 8 * left);
  std::uint64_t word = 0;
  for (std::uint32_t i = left; i-- > 0;) {
    word = word << 8 | static_cast<unsigned char>(text[from + i]);
  }
  return word;
}

// A text in a field of `size` bytes, or null when no NUL ends it there.
char* write_fixed_text(char* place, const char* text, std::uint32_t size) {
  *place++ = '"';
  for (std::uint32_t from = 0; from < size;) {
    const std::uint64_t word = load_field_word(text, size, from);
    const std::uint32_t plain = plain_bytes(word);
    store_word(place, word);
    place += plain;
    from += plain;
    if (plain == 8) continue;
    if (from >= size) return nullptr;
    const auto special = static_cast<unsigned char>(text[from]);
    if (special == 0) {
      *place = '"';
      return place + 1;
    }
    place = write_form(place, json_forms()[special]);
    ++from;
  }
  return nullptr;
}

// The value of a plain field, or null when it is left to the converters.
char* write_plain(char* place, const char* data, const wire_type& type) {
  switch (type.kind) {
    case wire_kind::long_:
    case wire_kind::int_:
      return write_integer(place, load<std::int32_t>(data));
    case wire_kind::u_long_:
      return write_integer(place, load<std::uint32_t>(data));
    case wire_kind::short_:
      return write_integer(place, load<std::int16_t>(data));
    case wire_kind::bool_:
      return write_bool(place, load<std::int32_t>(data) != 0);
    case wire_kind::chars:
    case wire_kind::schars:
      return write_fixed_text(place, data, type.count);
    default:
      return nullptr;
  }
}

// A whole member. Of every label the same number of bytes is copied, which costs less than copying
// its size.
char* write_member(char* place, const char* base, const record_field& field, bool first) {
  const std::uint32_t skipped = first ? 1 : 0;
  std::memcpy(place, field.label + skipped, label_room);
  place += field.label_size - skipped;
  return write_plain(place, base + field.offset, field.type);
}

}  // namespace

std::uint32_t text_sink::plain_members(const char* base, const record_type& record,
                                       std::uint32_t begin) {
  const record_field* field = record.fields + begin;
  if (field->run_text == 0) return begin;
  char* const start = out_.reserve(field->run_text);
  if (start == nullptr) return begin;
  const record_field* const end = record.fields + record.field_count;
  char* place = start;
  bool first = first_;
  for (; field != end && field->run_text != 0; ++field) {
    char* const behind = write_member(place, base, *field, first);
    if (behind == nullptr) break;
    place = behind;
    first = false;
  }
  first_ = first;
  out_.commit(static_cast<std::size_t>(place - start));
  return static_cast<std::uint32_t>(field - record.fields);
}

}  // namespace kvrpc
