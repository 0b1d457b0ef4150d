// Looks ahead on the wire for the bytes that follow a text in memory. Separate from the reader's
// loop and written byte by byte, because such texts are rare.
#include "bridge/run_on.h"

#include "base/words.h"
#include "bridge/json_forms.h"

namespace kvrpc {

namespace {

class run_on_text {
 public:
  run_on_text(text_buffer& out, wire_window& window, const char* wire)
      : out_(out), window_(window), next_(wire) {}

  // Writes the bytes that a value has in memory. Returns true if the text extends beyond them.
  bool value(const wire_type& type);
  void all_after(const trail& last);

 private:
  bool fields(const record_type& record, const record_field* field, std::uint32_t offset);
  bool arm(const record_type& record);
  bool items(const wire_type& item, std::uint32_t count);
  bool integer(std::uint32_t value, std::size_t size);
  bool bytes(const char* from, std::size_t count, std::size_t step);

  bool unit(std::uint32_t* value) {
    const char* const wire = take(4);
    if (wire != nullptr) *value = xdr_load_unit(wire);
    return wire != nullptr;
  }
  const char* take(std::size_t size) {
    if (!window_.reach(next_, size)) return nullptr;
    next_ += size;
    return next_ - size;
  }

  text_buffer& out_;
  wire_window& window_;
  const char* next_;
};

// Writes chars that are `step` bytes apart on the wire, up to a NUL. Returns true if there was none
// and all were written.
bool run_on_text::bytes(const char* from, std::size_t count, std::size_t step) {
  if (from == nullptr) return false;
  for (; count > 0; --count, from += step) {
    char* const place = *from != '\0' ? out_.reserve(escaped_room(1)) : nullptr;
    if (place == nullptr) return false;
    out_.commit_to(write_form(place, *from));
  }
  return true;
}

// Writes an integer as the home platform has it in memory, lowest byte first.
bool run_on_text::integer(std::uint32_t value, std::size_t size) {
  char memory[sizeof(std::uint64_t)];
  store_word(memory, value);
  return bytes(memory, size, 1);
}

bool run_on_text::items(const wire_type& item, std::uint32_t count) {
  for (; count > 0; --count) {
    if (!value(item)) return false;
  }
  return true;
}

// Writes the fields from `field` on; the record's fields before it end at `offset`. Alignment is
// zero in memory and so ends the text.
bool run_on_text::fields(const record_type& record, const record_field* field,
                         std::uint32_t offset) {
  for (; field != record.fields + record.field_count; ++field) {
    if (field->offset != offset || !value(field->type)) return false;
    offset += field->type.size;
  }
  return offset == record.size;
}

// Writes a union as it is in memory, where the bytes that its arm does not fill are zero.
bool run_on_text::arm(const record_type& record) {
  std::uint32_t selected = 0;
  if (!unit(&selected) || !integer(selected, 4)) return false;
  const record_field* const arm = arm_of(record, static_cast<std::int32_t>(selected));
  return arm != nullptr && value(arm->type) && arm->offset + arm->type.size == record.size;
}

bool run_on_text::value(const wire_type& type) {
  std::uint32_t number = 0;
  switch (type.kind) {
    case wire_kind::nothing:
      return true;
    case wire_kind::long_:
    case wire_kind::int_:
    case wire_kind::u_long_:
    case wire_kind::short_:
      return unit(&number) && integer(number, type.size);
    case wire_kind::bool_:
      return unit(&number) && integer(number != 0 ? 1 : 0, type.size);
    case wire_kind::chars:
    case wire_kind::schars: {
      const char* const wire = take(type.wire_size);
      return wire != nullptr && bytes(wire + 3, type.count, 4);
    }
    case wire_kind::fixed_text:
    case wire_kind::opaque:
      return bytes(take(type.wire_size), type.count, 1);
    case wire_kind::vector:
      return items(*type.item, type.count);
    case wire_kind::record:
      return type.target->is_union ? arm(*type.target)
                                   : fields(*type.target, type.target->fields, 0);
    case wire_kind::text:
    case wire_kind::counted_text:
    case wire_kind::blob:
    case wire_kind::array:  // a count, and then a pointer
      if (unit(&number)) integer(number, sizeof number);
      return false;
    case wire_kind::string:
    case wire_kind::pointer:
    case wire_kind::list_next:
    case wire_kind::unspecified:
      return false;
  }
  return false;
}

void run_on_text::all_after(const trail& last) {
  for (const trail* place = &last; place != nullptr; place = place->outer) {
    if (place->items_left > 0 && !items(*place->item, place->items_left)) return;
    if (place->record == nullptr) continue;
    const record_type& record = *place->record;
    const std::uint32_t offset = place->field->offset + place->field->type.size;
    if (record.is_union ? offset != record.size : !fields(record, place->field + 1, offset)) return;
  }
}

}  // namespace

bool write_run_on_text(text_buffer& out, wire_window& window, const char* wire,
                       const wire_type& type, const trail& after) {
  run_on_text text(out, window, wire);
  if (out.append('"') && text.value(type)) text.all_after(after);
  out.append('"');
  return !window.failed();
}

}  // namespace kvrpc
