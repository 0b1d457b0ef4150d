// The routines for single values. Each is one 4-byte unit, whatever the size of its object.
#include "rpc/xdr.h"

namespace kvrpc {

bool_t xdr_void(XDR*, void*, std::uint32_t) { return TRUE; }

bool_t xdr_long(XDR* xdrs, void* object, std::uint32_t) {
  switch (xdrs->x_op) {
    case XDR_ENCODE:
      return XDR_PUTLONG(xdrs, static_cast<const std::int32_t*>(object));
    case XDR_DECODE:
      return XDR_GETLONG(xdrs, static_cast<std::int32_t*>(object));
    case XDR_FREE:
      return TRUE;
  }
  return FALSE;
}

// A unit has the same four bytes whether it is read as signed or as unsigned.
bool_t xdr_u_long(XDR* xdrs, void* object, std::uint32_t limit) {
  return xdr_long(xdrs, object, limit);
}

bool_t xdr_int(XDR* xdrs, void* object, std::uint32_t limit) {
  return xdr_long(xdrs, object, limit);
}

bool_t xdr_u_int(XDR* xdrs, void* object, std::uint32_t limit) {
  return xdr_u_long(xdrs, object, limit);
}

bool_t xdr_enum(XDR* xdrs, void* object, std::uint32_t limit) {
  return xdr_long(xdrs, object, limit);
}

namespace {

// Decoding keeps the low 16 bits and ignores the rest. For example, 0x12345678 becomes 0x5678.
template <class short_type>
bool_t short_item(XDR* xdrs, short_type* object) {
  std::int32_t unit = xdrs->x_op == XDR_ENCODE ? *object : 0;
  if (!xdr_long(xdrs, &unit)) return FALSE;
  if (xdrs->x_op == XDR_DECODE) *object = static_cast<short_type>(unit);
  return TRUE;
}

// Signed for both character types: the byte 0x80 travels as the unit 0xFFFFFF80. Stores the byte
// back in every direction.
bool_t char_item(XDR* xdrs, signed char* object, xdrproc_t whole) {
  std::int32_t unit = *object;  // NOLINT(bugprone-signed-char-misuse): the sign is meant
  if (!whole(xdrs, &unit, LASTUNSIGNED)) return FALSE;
  *object = static_cast<signed char>(unit);
  return TRUE;
}

}  // namespace

bool_t xdr_short(XDR* xdrs, void* object, std::uint32_t) {
  return short_item(xdrs, static_cast<std::int16_t*>(object));
}

bool_t xdr_u_short(XDR* xdrs, void* object, std::uint32_t) {
  return short_item(xdrs, static_cast<std::uint16_t*>(object));
}

bool_t xdr_bool(XDR* xdrs, void* object, std::uint32_t) {
  auto* flag = static_cast<bool_t*>(object);
  std::int32_t unit = xdrs->x_op == XDR_ENCODE && *flag != 0 ? TRUE : FALSE;
  if (!xdr_long(xdrs, &unit)) return FALSE;
  if (xdrs->x_op == XDR_DECODE) *flag = unit != 0 ? TRUE : FALSE;
  return TRUE;
}

bool_t xdr_char(XDR* xdrs, void* object, std::uint32_t) {
  return char_item(xdrs, static_cast<signed char*>(object), xdr_int);
}

bool_t xdr_u_char(XDR* xdrs, void* object, std::uint32_t) {
  return char_item(xdrs, static_cast<signed char*>(object), xdr_u_int);
}

}  // namespace kvrpc
