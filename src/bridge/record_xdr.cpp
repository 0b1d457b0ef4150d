#include "bridge/record_xdr.h"

#include "bridge/field_memory.h"
#include "bridge/record_walk.h"

namespace kvrpc {

namespace {

bool_t xdr_union_record(XDR* xdrs, char* base, const record_type& record) {
  if (!xdr_int(xdrs, base)) return FALSE;
  const record_field* arm = arm_of(record, load<std::int32_t>(base));
  return arm != nullptr ? xdr_value(xdrs, base + arm->offset, arm->type) : FALSE;
}

bool_t xdr_block(XDR* xdrs, char* block, std::uint32_t maximum) {
  return xdr_bytes(xdrs, reinterpret_cast<char**>(block + block_pointer_offset),
                   reinterpret_cast<std::uint32_t*>(block), maximum);
}

bool_t xdr_target(XDR* xdrs, char* field, const record_type& record) {
  char* const target = load<char*>(field);
  bool_t present = target != nullptr ? TRUE : FALSE;
  if (!xdr_bool(xdrs, &present)) return FALSE;
  if (!present) return TRUE;
  const bool_t done = xdr_record(xdrs, target, record);
  if (xdrs->x_op == XDR_FREE) {
    std::free(target);
    store<char*>(field, nullptr);
  }
  return done;
}

// A release goes on behind a value that it cannot walk: the others hold memory all the same.
bool ends_walk(XDR* xdrs, bool_t done) { return !done && xdrs->x_op != XDR_FREE; }

bool_t xdr_items(XDR* xdrs, char* data, std::uint32_t count, const wire_type& item) {
  for (std::uint32_t i = 0; i < count; ++i, data += item.size) {
    if (ends_walk(xdrs, xdr_value(xdrs, data, item))) return FALSE;
  }
  return TRUE;
}

}  // namespace

bool_t xdr_record(XDR* xdrs, char* base, const record_type& record) {
  if (record.is_union) return xdr_union_record(xdrs, base, record);
  if (record.next_field >= 0) return xdr_list(xdrs, base, record);
  return xdr_fields(xdrs, base, record, 0, record.field_count);
}

bool_t xdr_fields(XDR* xdrs, char* base, const record_type& record, std::uint32_t begin,
                  std::uint32_t end) {
  for (std::uint32_t i = begin; i < end; ++i) {
    const record_field& field = record.fields[i];
    if (ends_walk(xdrs, xdr_value(xdrs, base + field.offset, field.type))) return FALSE;
  }
  return TRUE;
}

bool_t xdr_value(XDR* xdrs, char* data, const wire_type& type) {
  if (xdrs->x_op == XDR_DECODE) return FALSE;  // see result_reader.h
  if (xdrs->x_op == XDR_FREE && type.wire_size != variable_size) return TRUE;  // holds no pointer
  switch (type.kind) {
    case wire_kind::nothing:
      return xdr_void(xdrs, data);
    case wire_kind::long_:
      return xdr_long(xdrs, data);
    case wire_kind::int_:
      return xdr_int(xdrs, data);
    case wire_kind::u_long_:
      return xdr_u_long(xdrs, data);
    case wire_kind::short_:
      return xdr_short(xdrs, data);
    case wire_kind::bool_:
      return xdr_bool(xdrs, data);
    case wire_kind::chars:
      return xdr_vector(xdrs, data, type.count, 1, xdr_u_char);
    case wire_kind::schars:
      return xdr_vector(xdrs, data, type.count, 1, xdr_char);
    case wire_kind::fixed_text:
    case wire_kind::opaque:
      return xdr_opaque(xdrs, data, type.count);
    case wire_kind::text:
    case wire_kind::blob:
      return xdr_block(xdrs, data, LASTUNSIGNED);
    case wire_kind::counted_text:
      return xdr_block(xdrs, data, type.count);
    case wire_kind::string:
      return xdr_wrapstring(xdrs, data);
    case wire_kind::pointer:
      return xdr_target(xdrs, data, *type.target);
    case wire_kind::vector:
      return xdr_items(xdrs, data, type.count, *type.item);
    case wire_kind::array:
      return xdr_array_of(xdrs, data, *type.target);
    case wire_kind::record:
      return xdr_record(xdrs, data, *type.target);
    case wire_kind::list_next:    // only inside a record, which follows it itself
    case wire_kind::unspecified:  // nothing is known of it
      return FALSE;
  }
  return FALSE;
}

bool_t xdr_typed(XDR* xdrs, void* object, std::uint32_t) {
  const typed_value& value = *static_cast<typed_value*>(object);
  return xdr_value(xdrs, value.data, *value.type);
}

void record_free(const wire_type& type, void* data) {
  typed_value value{&type, static_cast<char*>(data)};
  xdr_free(xdr_typed, &value);
}

}  // namespace kvrpc
