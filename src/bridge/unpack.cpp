#include "bridge/unpack.h"

#include "bridge/field_memory.h"
#include "bridge/wire_chars.h"

namespace kvrpc {

namespace {

// The low byte of each unit, 16 or 8 at a time; the last step may overlap the one before.
void unpack_chars(const char* wire, char* data, std::uint32_t count) {
  if (count < 8) {
    for (std::uint32_t i = 0; i < count; ++i) data[i] = wire[std::size_t{4} * i + 3];
    return;
  }
  std::uint32_t i = 0;
  for (; i + 16 <= count; i += 16) unpack_16_chars(wire + std::size_t{4} * i, data + i);
  if (i + 8 <= count) unpack_8_chars(wire + std::size_t{4} * i, data + i);
  i = count - 8;
  unpack_8_chars(wire + std::size_t{4} * i, data + i);
}

// Reads a value of fixed wire size; the place behind it.
const char* unpack(const char* wire, char* data, const wire_type& type);

const char* unpack_items(const char* wire, char* data, const wire_type& type) {
  for (std::uint32_t i = 0; i < type.count; ++i, data += type.item->size) {
    wire = unpack(wire, data, *type.item);
  }
  return wire;
}

// A scalar; false for any other type.
inline bool unpack_scalar(const char* wire, char* data, wire_kind kind) {
  switch (kind) {
    case wire_kind::long_:
    case wire_kind::int_:
    case wire_kind::u_long_:
      store(data, xdr_load_unit(wire));
      return true;
    case wire_kind::short_:
      store(data, static_cast<std::uint16_t>(xdr_load_unit(wire)));
      return true;
    case wire_kind::bool_:
      store<std::int32_t>(data, xdr_load_unit(wire) != 0 ? 1 : 0);
      return true;
    default:
      return false;
  }
}

const char* unpack_fields(const char* wire, char* base, const record_field* field,
                          const record_field* end) {
  for (; field != end && field->type.wire_size != variable_size; ++field) {
    char* const data = base + field->offset;
    if (unpack_scalar(wire, data, field->type.kind)) {
      wire += 4;
    } else {
      wire = unpack(wire, data, field->type);
    }
  }
  return wire;
}

const char* unpack(const char* wire, char* data, const wire_type& type) {
  switch (type.kind) {
    case wire_kind::chars:
    case wire_kind::schars:
      unpack_chars(wire, data, type.count);
      break;
    case wire_kind::fixed_text:
    case wire_kind::opaque:
      std::memcpy(data, wire, type.count);
      break;
    case wire_kind::vector:
      return unpack_items(wire, data, type);
    case wire_kind::record:
      return unpack_fields(wire, data, type.target->fields,
                           type.target->fields + type.target->field_count);
    default:
      unpack_scalar(wire, data, type.kind);
      break;
  }
  return wire + type.wire_size;
}

}  // namespace

void unpack_fields(const char* wire, char* base, const record_type& record, std::uint32_t begin,
                   std::uint32_t end) {
  unpack_fields(wire, base, record.fields + begin, record.fields + end);
}

std::uint32_t unpack_run(XDR* xdrs, char* base, const record_type& record, std::uint32_t begin,
                         std::uint32_t end) {
  if (xdrs->x_op != XDR_DECODE) return 0;
  const std::uint32_t size = record.fields[begin].run_wire;
  if (size == 0 || size > INT32_MAX) return 0;
  const char* wire = XDR_INLINE(xdrs, static_cast<std::int32_t>(size));
  if (wire == nullptr) return 0;
  unpack_fields(wire, base, record.fields + begin, record.fields + end);
  std::uint32_t behind = begin;
  while (behind < end && record.fields[behind].run_wire != 0) ++behind;
  return behind - begin;
}

}  // namespace kvrpc
