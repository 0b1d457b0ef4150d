#include "bridge/unpack.h"

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include "bridge/field_memory.h"

namespace kvrpc {

namespace {

#ifdef __SSE2__

// The low byte of each of 4 units, in the low bytes of 4 words.
inline __m128i low_bytes(const char* wire) {
  return _mm_srli_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(wire)), 24);
}

// The low byte of each of 8 units, in the low bytes of 8 half words.
inline __m128i low_bytes_of_8(const char* wire) {
  return _mm_packs_epi32(low_bytes(wire), low_bytes(wire + 16));
}

inline void unpack_8_chars(const char* wire, char* data) {
  const __m128i bytes = _mm_packus_epi16(low_bytes_of_8(wire), _mm_setzero_si128());
  _mm_storel_epi64(reinterpret_cast<__m128i*>(data), bytes);
}

inline void unpack_16_chars(const char* wire, char* data) {
  const __m128i bytes = _mm_packus_epi16(low_bytes_of_8(wire), low_bytes_of_8(wire + 32));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(data), bytes);
}

#else

inline void unpack_8_chars(const char* wire, char* data) {
  for (std::uint32_t i = 0; i < 8; ++i) data[i] = wire[4 * i + 3];
}

inline void unpack_16_chars(const char* wire, char* data) {
  unpack_8_chars(wire, data);
  unpack_8_chars(wire + 32, data + 8);
}

#endif

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

}  // namespace

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

const char* unpack_head(XDR* xdrs, char* base, const record_type& record, std::uint32_t count,
                        std::uint32_t wire_size) {
  const char* wire = XDR_INLINE(xdrs, static_cast<std::int32_t>(wire_size + 4));
  if (wire == nullptr) return nullptr;
  return unpack_fields(wire, base, record.fields, record.fields + count);
}

}  // namespace kvrpc
