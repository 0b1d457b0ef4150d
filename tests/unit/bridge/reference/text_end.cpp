// Finds the first pointer after a text, by the offsets of the tables.
#include "bridge/reference/text_end.h"

#include "bridge/field_memory.h"

namespace kvrpc::test {

namespace {

std::uint64_t first_pointer(const char* base, const wire_type& type, std::uint64_t from);

std::uint64_t first_pointer_in_field(const char* base, const record_field& field,
                                     std::uint64_t from) {
  const std::uint64_t inner = from > field.offset ? from - field.offset : 0;
  return field.offset + first_pointer(base + field.offset, field.type, inner);
}

// A union has only the arm that its discriminant selects.
std::uint64_t first_pointer_in_record(const char* base, const record_type& record,
                                      std::uint64_t from) {
  for (std::uint32_t i = 0; i < record.field_count; ++i) {
    const record_field& field = record.fields[i];
    if (record.is_union && field.value != load<std::int32_t>(base)) continue;
    const std::uint64_t end = std::uint64_t{field.offset} + field.type.size;
    if (end <= from) continue;
    const std::uint64_t place = first_pointer_in_field(base, field, from);
    if (place < end) return place;
  }
  return record.size;
}

std::uint64_t first_pointer_in_row(const char* base, const wire_type& item, std::uint64_t count,
                                   std::uint64_t from) {
  if (item.size == 0) return 0;
  for (std::uint64_t i = from / item.size; i < count; ++i) {
    const std::uint64_t start = i * item.size;
    const std::uint64_t inner = from > start ? from - start : 0;
    const std::uint64_t place = first_pointer(base + start, item, inner);
    if (place < item.size) return start + place;
    if (item.wire_size != variable_size) break;  // no element holds a pointer
  }
  return count * item.size;
}

// Returns the offset of the first pointer at or after `from` in a value, or the value's size.
std::uint64_t first_pointer(const char* base, const wire_type& type, std::uint64_t from) {
  switch (type.kind) {
    case wire_kind::string:
    case wire_kind::pointer:
    case wire_kind::list_next:
      return from == 0 ? 0 : type.size;
    case wire_kind::text:
    case wire_kind::counted_text:
    case wire_kind::blob:
    case wire_kind::array:
      return from <= block_pointer_offset ? block_pointer_offset : type.size;
    case wire_kind::vector:
      return first_pointer_in_row(base, *type.item, type.count, from);
    case wire_kind::record:
      return first_pointer_in_record(base, *type.target, from);
    case wire_kind::nothing:
    case wire_kind::long_:
    case wire_kind::int_:
    case wire_kind::u_long_:
    case wire_kind::short_:
    case wire_kind::bool_:
    case wire_kind::chars:
    case wire_kind::schars:
    case wire_kind::fixed_text:
    case wire_kind::opaque:
    case wire_kind::unspecified:
      return type.size;
  }
  return type.size;
}

}  // namespace

const char* text_end(const record_block& block, const char* text) {
  const auto from = static_cast<std::uint64_t>(text - block.base);
  return block.base + first_pointer(block.base, *block.type, from);
}

}  // namespace kvrpc::test
