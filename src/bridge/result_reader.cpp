// The one place that knows how each wire kind becomes text: value().
//
// A record is read in runs (see schema/reply_plan.h): all fields of a run share one check of the
// wire and one of the text's room. A list node with fields of fixed size is one run with its link.
//
// Contracts
//   1. Reading and writing fail separately. If bytes cannot be read, reading ends, because the call
//      has failed. If a text cannot be written, the buffer is marked failed and reading continues.
//   2. A value of fixed size is written at a position that has its room, from bytes that are taken.
//      A value of variable size has its opening unit taken, and appends to the buffer.
//   3. No position in the buffer is kept across a call that may append, and none in the taken bytes
//      across take().
#include "bridge/result_reader.h"

#include <algorithm>

#include "bridge/run_on.h"
#include "bridge/value_text.h"
#include "bridge/wire_window.h"

// For the functions that run once for each field.
#define always_inline inline __attribute__((always_inline))

namespace kvrpc {

namespace {

// The current positions in the text and on the wire. `wire` is null if bytes could not be read.
// `place` is null if there is no position to write at, because the value was appended to the buffer
// or the buffer has failed.
struct cursor {
  char* place;
  const char* wire;
};

class result_reader {
 public:
  result_reader(XDR* xdrs, text_buffer& out) : window_(xdrs), out_(out) {}

  // Reads a value and writes its text. Returns false if it cannot be read, as all functions here do
  // that return bool.
  bool open(const wire_type& type, const trail& after);

 private:
  template <class Trail>
  cursor value(cursor at, const wire_type& type, Trail after);
  cursor fixed_fields(cursor at, const record_type& record, const record_field* field,
                      const record_field* end, const trail* outer);
  cursor structure(cursor at, const record_type& record, trail after);
  cursor fixed_items(cursor at, const wire_type& type, trail after);
  cursor run_on(cursor at, const wire_type& type, trail after);

  bool block(const record_type& record);
  bool record(const record_type& record, const trail& after);
  bool fields(const record_type& record, const record_field*& field, const trail& after);
  bool run(const record_type& record, const record_field*& field, const trail& after);
  bool arm(const record_type& record, std::uint32_t discriminant, const trail& after);
  template <class Read>
  bool elements(std::uint32_t count, Read read);
  bool items(const wire_type& type, const trail& after);
  template <class Write>
  bool quoted(std::uint32_t size, Write write);
  bool text(std::uint32_t size);
  bool base64(std::uint32_t size);

  bool literal(const char* text, std::size_t size) { return out_.append(text, size), true; }
  // The count fits, unless the buffer has failed, because the text of each open node is in memory.
  bool brackets(std::uint64_t count) {
    return out_.append(static_cast<std::size_t>(count), '}'), true;
  }
  bool no_text() { return out_.fail(), true; }

  // Begins the text of `size` taken bytes. Returns the position for it, or null.
  char* begin(const char* wire, std::uint32_t size, std::size_t room) {
    taken_end_ = wire + size;
    room_ = room;
    return out_.reserve(room);
  }
  bool end(cursor at) {
    if (at.place != nullptr) out_.commit_to(at.place);
    return at.wire != nullptr;
  }

  wire_window window_;
  text_buffer& out_;
  const char* taken_end_ = nullptr;  // the end of the last run, or of another value's bytes
  std::size_t room_ = 0;             // the room that all of their text needs
};

cursor appended(bool read, cursor at) { return {nullptr, read ? at.wire : nullptr}; }

std::uint32_t unit_at(cursor at) { return xdr_load_unit(at.wire); }

// ---- every kind

// `after` is a function that returns the trail, because the trail is rarely needed: built for each
// field, it would take a tenth of a long reply's instructions.
template <class Trail>
always_inline cursor result_reader::value(cursor at, const wire_type& type, Trail after) {
  switch (type.kind) {
    case wire_kind::nothing:
      return {write_null(at.place), at.wire};
    case wire_kind::long_:
    case wire_kind::int_:
      return {write_decimal(at.place, static_cast<std::int32_t>(unit_at(at))), at.wire + 4};
    case wire_kind::u_long_:
      return {write_decimal(at.place, unit_at(at)), at.wire + 4};
    case wire_kind::short_:
      return {write_decimal(at.place, std::int32_t{static_cast<std::int16_t>(unit_at(at))}),
              at.wire + 4};
    case wire_kind::bool_:
      return {write_bool(at.place, unit_at(at) != 0), at.wire + 4};
    case wire_kind::chars:
    case wire_kind::schars: {
      char* const next = write_chars(at.place, at.wire, type.count, taken_end_);
      return next != nullptr ? cursor{next, at.wire + type.wire_size} : run_on(at, type, after());
    }
    case wire_kind::fixed_text: {
      char* const next = write_fixed_text(at.place, at.wire, type.count);
      return next != nullptr ? cursor{next, at.wire + type.wire_size} : run_on(at, type, after());
    }
    case wire_kind::opaque:
      return {write_base64(at.place, at.wire, type.count), at.wire + type.wire_size};
    case wire_kind::text:
      return appended(unit_at(at) != 0 ? text(unit_at(at)) : no_text(), at);
    case wire_kind::counted_text:
      if (unit_at(at) > type.count) return {nullptr, nullptr};
      return appended(unit_at(at) != 0 ? text(unit_at(at)) : no_text(), at);
    case wire_kind::string:
      return appended(unit_at(at) != LASTUNSIGNED ? text(unit_at(at)) : no_text(), at);
    case wire_kind::blob:
      return appended(base64(unit_at(at)), at);
    case wire_kind::pointer:
      return appended(unit_at(at) != 0 ? block(*type.target) : literal("null", 4), at);
    case wire_kind::array:
      return appended(elements(unit_at(at), [&](auto) { return block(*type.target); }), at);
    case wire_kind::vector:
      return type.wire_size != variable_size ? fixed_items(at, type, after())
                                             : appended(items(type, after()), at);
    case wire_kind::record:
      if (type.wire_size != variable_size) return structure(at, *type.target, after());
      return appended(type.target->is_union ? arm(*type.target, unit_at(at), after())
                                            : record(*type.target, after()),
                      at);
    case wire_kind::list_next:    // record() follows it
    case wire_kind::unspecified:  // not described
      return {nullptr, nullptr};
  }
  __builtin_unreachable();  // spares each field a test of its kind
}

// ---- values of fixed size

// Writes the fields from `field` up to `end`, at least one.
cursor result_reader::fixed_fields(cursor at, const record_type& record, const record_field* field,
                                   const record_field* end, const trail* outer) {
  do {
    std::memcpy(at.place, field->reply.label, reply_room::label);
    at.place += field->reply.label_size;
    at = value(at, field->type, [&] { return trail{&record, field, nullptr, 0, outer}; });
  } while (++field != end && at.place != nullptr);
  return at;
}

cursor result_reader::structure(cursor at, const record_type& record, trail after) {
  at = fixed_fields(at, record, record.fields, record.fields + record.field_count, &after);
  if (at.place != nullptr) *at.place++ = '}';
  return at;
}

cursor result_reader::fixed_items(cursor at, const wire_type& type, trail after) {
  *at.place++ = '[';
  for (std::uint32_t left = type.count; left > 0 && at.place != nullptr; --left) {
    if (left < type.count) {
      std::memcpy(at.place, ", ", reply_room::separator);
      at.place += reply_room::separator;
    }
    const auto rest = [&] { return trail{nullptr, nullptr, type.item, left - 1, &after}; };
    at = value(at, *type.item, rest);
  }
  if (at.place != nullptr) *at.place++ = ']';
  return at;
}

// Writes a text that fills its field. Moves the rest of its run to the window's memory, so that the
// bytes after it can be inspected, and reserves the run's room again.
cursor result_reader::run_on(cursor at, const wire_type& type, trail after) {
  out_.commit_to(at.place);
  const auto rest = static_cast<std::size_t>(taken_end_ - at.wire);
  const char* const wire = window_.hold(at.wire, rest);
  taken_end_ = wire + rest;
  if (!write_run_on_text(out_, window_, wire, type, after)) return {nullptr, nullptr};
  return {out_.reserve(room_), wire + type.wire_size};
}

// ---- records

// Reads the run that begins at `field`, which becomes the field that ends it, and writes its fields
// and the label of the last one, or the record's closing bracket.
always_inline bool result_reader::run(const record_type& record, const record_field*& field,
                                      const trail& after) {
  const record_field* const first = field;
  const record_field* const last = field = record.fields + first->reply.run_end;
  const std::uint32_t size = first->reply.run_wire;
  const char* const wire = window_.take(size);
  if (wire == nullptr) return false;
  cursor at{begin(wire, size, first->reply.run_room), wire};
  if (at.place != nullptr && first != last) at = fixed_fields(at, record, first, last, &after);
  if (at.wire == nullptr) return false;
  if (at.place == nullptr) return true;
  if (last == record.fields + record.field_count) {
    *at.place++ = '}';
  } else {
    std::memcpy(at.place, last->reply.label, reply_room::label);
    at.place += last->reply.label_size;
  }
  return end(at);
}

// Reads the fields from `field` up to the record's end or its link, which `field` becomes.
always_inline bool result_reader::fields(const record_type& record, const record_field*& field,
                                         const trail& after) {
  const record_field* const end = record.fields + record.field_count;
  while (field != end) {
    if (!run(record, field, after)) return false;
    if (field == end || field->type.kind == wire_kind::list_next) return true;
    const cursor opened{nullptr, taken_end_ - field->type.opening};
    const auto outer = [&] { return trail{&record, field, nullptr, 0, &after}; };
    if (value(opened, field->type, outer).wire == nullptr) return false;
    ++field;
  }
  return literal("}", 1);
}

// Reads a record that is an allocation of its own, so that nothing follows it.
bool result_reader::block(const record_type& record) {
  return record.is_union ? open(wire::inline_(record), {}) : this->record(record, {});
}

// Reads a structure or a list. A list's nodes are nested on the wire, as in the text. So the fields
// after the links come after the last node, and the last node's come first. A text of a node
// extends to its link at most, so only the first node's last fields have something after them.
bool result_reader::record(const record_type& record, const trail& after) {
  std::uint64_t open_nodes = 0;
  do {
    const record_field* field = record.fields;
    if (!fields(record, field, after)) return false;
    if (field == record.fields + record.field_count) return true;
    ++open_nodes;
  } while (xdr_load_unit(taken_end_ - 4) != 0);
  literal("null", 4);
  const record_field* const behind_link = record.fields + record.next_field + 1;
  if (behind_link == record.fields + record.field_count) return brackets(open_nodes);
  for (; open_nodes > 0; --open_nodes) {
    const record_field* field = behind_link;
    if (!fields(record, field, open_nodes == 1 ? after : trail{})) return false;
  }
  return true;
}

bool result_reader::arm(const record_type& record, std::uint32_t discriminant, const trail& after) {
  const auto selected = static_cast<std::int32_t>(discriminant);
  const record_field* const arm = arm_of(record, selected);
  if (arm == nullptr) return false;
  out_.append(record.selector->reply.label, record.selector->reply.label_size);
  json_write_integer(out_, selected);
  out_.append(arm->reply.label, arm->reply.label_size);
  return open(arm->type, {&record, arm, nullptr, 0, &after}) && literal("}", 1);
}

// ---- values that begin with a count

// Reads `count` values, each with `read`, which gets the number of values after it.
template <class Read>
bool result_reader::elements(std::uint32_t count, Read read) {
  out_.append('[');
  for (std::uint32_t left = count; left > 0; --left) {
    if (left < count) out_.append(", ", reply_room::separator);
    if (!read(left - 1)) return false;
  }
  return literal("]", 1);
}

bool result_reader::items(const wire_type& type, const trail& after) {
  return elements(type.count, [&](std::uint32_t left) {
    return open(*type.item, {nullptr, nullptr, type.item, left, &after});
  });
}

// Counted bytes are read in pieces: whole units, and whole groups of Base64.
constexpr std::uint32_t piece_bytes = 6144;
static_assert(piece_bytes <= window_room && piece_bytes % 12 == 0, "");

// Reads `size` bytes with their padding, and passes each piece of them to `write`.
template <class Write>
bool result_reader::quoted(std::uint32_t size, Write write) {
  out_.append('"');
  for (std::uint64_t left = (std::uint64_t{size} + 3) / 4 * 4; left > 0;) {
    const auto taken = static_cast<std::uint32_t>(std::min<std::uint64_t>(left, piece_bytes));
    const std::uint32_t count = std::min(taken, size);
    const char* const bytes = window_.take(taken);
    if (bytes == nullptr) return false;
    write(bytes, count);
    left -= taken;
    size -= count;
  }
  return literal("\"", 1);
}

// Writes counted bytes up to their NUL. What follows it is only read.
bool result_reader::text(std::uint32_t size) {
  bool ended = false;
  return quoted(size, [&](const char* bytes, std::uint32_t count) {
    char* const place = ended ? nullptr : out_.reserve(escaped_room(count));
    if (place == nullptr) return;
    const char* const end = bytes + count;
    out_.commit_to(write_escaped(place, bytes, end));
    ended = bytes != end;
  });
}

bool result_reader::base64(std::uint32_t size) {
  return quoted(size, [&](const char* bytes, std::uint32_t count) {
    char* const place = out_.reserve(base64_text_size(count));
    if (place != nullptr) out_.commit_to(base64_encode_to(place, bytes, count));
  });
}

bool result_reader::open(const wire_type& type, const trail& after) {
  const bool fixed = type.wire_size != variable_size;
  const std::uint32_t size = fixed ? type.wire_size : type.opening;
  const char* const wire = window_.take(size);
  if (wire == nullptr) return false;
  char* const place = begin(wire, size, type.reply_room);
  if (fixed && place == nullptr) return true;
  return end(value({place, wire}, type, [&] { return after; }));
}

}  // namespace

bool_t xdr_result(XDR* xdrs, void* object, std::uint32_t) {
  auto& result = *static_cast<result_text*>(object);
  if (xdrs->x_op != XDR_DECODE) return TRUE;  // it owns no memory
  result.text.clear(result.kept);             // a transport may read again
  const bool read = result_reader(xdrs, result.text).open(result.type, {});
  result.written = read && !result.text.failed();
  return read ? TRUE : FALSE;
}

}  // namespace kvrpc
