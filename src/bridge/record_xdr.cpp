#include "bridge/record_xdr.h"

#include <algorithm>

#include "bridge/field_memory.h"
#include "bridge/list_xdr.h"
#include "bridge/unpack.h"

namespace kvrpc {

namespace {

bool_t xdr_union_record(const record_walk& walk, char* base, const record_type& record) {
  if (!xdr_int(walk.xdrs, base)) return FALSE;
  const record_field* arm = arm_of(record, load<std::int32_t>(base));
  return arm != nullptr ? xdr_value(walk, base + arm->offset, arm->type) : FALSE;
}

bool_t xdr_block(const record_walk& walk, char* block, std::uint32_t maximum) {
  return xdr_bytes(walk.xdrs, reinterpret_cast<char**>(block + block_pointer_offset),
                   reinterpret_cast<std::uint32_t*>(block), maximum);
}

bool_t xdr_target(const record_walk& walk, char* field, const record_type& record) {
  bool_t present = load<char*>(field) != nullptr ? TRUE : FALSE;
  if (!xdr_bool(walk.xdrs, &present)) return FALSE;
  if (!present) {
    store<char*>(field, nullptr);
    return TRUE;
  }
  if (load<char*>(field) == nullptr) store(field, new_target(walk, record));
  char* const target = load<char*>(field);
  if (target == nullptr) return FALSE;
  const bool_t done = xdr_record(walk, target, record);
  if (walk.xdrs->x_op == XDR_FREE) {
    free_target(walk, target);
    store<char*>(field, nullptr);
  }
  return done;
}

// A release goes on behind a value that it cannot walk: the others hold memory all the same.
bool ends_walk(const record_walk& walk, bool_t done) {
  return !done && walk.xdrs->x_op != XDR_FREE;
}

bool_t xdr_items(const record_walk& walk, char* data, std::uint32_t count, const wire_type& item) {
  for (std::uint32_t i = 0; i < count; ++i, data += item.size) {
    if (ends_walk(walk, xdr_value(walk, data, item))) return FALSE;
  }
  return TRUE;
}

// Whether a value may hold a block that no arena has: a text, bytes, or a counted array.
bool holds_blocks(const wire_type& type) {
  switch (type.kind) {
    case wire_kind::text:
    case wire_kind::counted_text:
    case wire_kind::blob:
    case wire_kind::string:
    case wire_kind::array:
      return true;
    case wire_kind::vector:
      return holds_blocks(*type.item);
    case wire_kind::pointer:
    case wire_kind::record:
      break;
    default:
      return false;
  }
  const record_field* const fields = type.target->fields;
  return std::any_of(fields, fields + type.target->field_count,
                     [](const record_field& field) { return holds_blocks(field.type); });
}

}  // namespace

bool_t xdr_record(const record_walk& walk, char* base, const record_type& record) {
  if (record.is_union) return xdr_union_record(walk, base, record);
  if (record.next_field >= 0) return xdr_list(walk, base, record);
  return xdr_fields(walk, base, record, 0, record.field_count);
}

bool_t xdr_fields(const record_walk& walk, char* base, const record_type& record,
                  std::uint32_t begin, std::uint32_t end) {
  const record_field* const fields = record.fields;
  for (std::uint32_t i = begin; i < end;) {
    const std::uint32_t done = unpack_run(walk.xdrs, base, record, i, end);
    if (done == 0) {
      char* const data = base + fields[i].offset;
      if (ends_walk(walk, xdr_value(walk, data, fields[i].type))) return FALSE;
      ++i;
    }
    i += done;
  }
  return TRUE;
}

bool_t xdr_value(const record_walk& walk, char* data, const wire_type& type) {
  if (walk.xdrs->x_op == XDR_FREE && type.wire_size != variable_size)
    return TRUE;  // holds no pointer
  switch (type.kind) {
    case wire_kind::nothing:
      return xdr_void(walk.xdrs, data);
    case wire_kind::long_:
      return xdr_long(walk.xdrs, data);
    case wire_kind::int_:
      return xdr_int(walk.xdrs, data);
    case wire_kind::u_long_:
      return xdr_u_long(walk.xdrs, data);
    case wire_kind::short_:
      return xdr_short(walk.xdrs, data);
    case wire_kind::bool_:
      return xdr_bool(walk.xdrs, data);
    case wire_kind::chars:
      return xdr_vector(walk.xdrs, data, type.count, 1, xdr_u_char);
    case wire_kind::schars:
      return xdr_vector(walk.xdrs, data, type.count, 1, xdr_char);
    case wire_kind::fixed_text:
    case wire_kind::opaque:
      return xdr_opaque(walk.xdrs, data, type.count);
    case wire_kind::text:
    case wire_kind::blob:
      return xdr_block(walk, data, LASTUNSIGNED);
    case wire_kind::counted_text:
      return xdr_block(walk, data, type.count);
    case wire_kind::string:
      return xdr_wrapstring(walk.xdrs, data);
    case wire_kind::pointer:
      return xdr_target(walk, data, *type.target);
    case wire_kind::vector:
      return xdr_items(walk, data, type.count, *type.item);
    case wire_kind::array:
      return xdr_array_of(walk, data, *type.target);
    case wire_kind::record:
      return xdr_record(walk, data, *type.target);
    case wire_kind::list_next:    // only inside a record, which follows it itself
    case wire_kind::unspecified:  // nothing is known of it
      return FALSE;
  }
  return FALSE;
}

bool_t xdr_value(XDR* xdrs, char* data, const wire_type& type) {
  return xdr_value(record_walk{xdrs, nullptr}, data, type);
}

bool_t xdr_typed(XDR* xdrs, void* object, std::uint32_t) {
  const typed_value& value = *static_cast<typed_value*>(object);
  return xdr_value(record_walk{xdrs, value.arena}, value.data, *value.type);
}

void record_free(typed_value& value) {
  const bool all_in_arena = value.arena != nullptr && !holds_blocks(*value.type);
  if (!all_in_arena) xdr_free(xdr_typed, &value);
}

void record_free(const wire_type& type, void* data) {
  typed_value value{&type, static_cast<char*>(data), nullptr};
  record_free(value);
}

}  // namespace kvrpc
