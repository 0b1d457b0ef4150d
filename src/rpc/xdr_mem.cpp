// The XDR stream over a buffer of the caller. It only moves a position; it owns nothing.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>

#include "rpc/xdr.h"

namespace kvrpc {
namespace {

// Subtracts `length` from the bytes that are left. Returns false if there are fewer. Subtracts even
// then, so that a stream that failed once fails for every later transfer. The count stops at its
// lowest value, because it would overflow to a positive one.
bool take(XDR* xdrs, std::uint32_t length) {
  const std::int64_t left = std::int64_t{xdrs->x_handy} - std::int64_t{length};
  constexpr std::int64_t lowest = std::numeric_limits<std::int32_t>::min();
  xdrs->x_handy = static_cast<std::int32_t>(std::max(left, lowest));
  return left >= 0;
}

bool_t xdrmem_getlong(XDR* xdrs, std::int32_t* value) {
  if (!take(xdrs, 4)) return FALSE;
  *value = static_cast<std::int32_t>(xdr_load_unit(xdrs->x_private));
  xdrs->x_private += 4;
  return TRUE;
}

bool_t xdrmem_putlong(XDR* xdrs, const std::int32_t* value) {
  if (!take(xdrs, 4)) return FALSE;
  xdr_store_unit(xdrs->x_private, static_cast<std::uint32_t>(*value));
  xdrs->x_private += 4;
  return TRUE;
}

bool_t xdrmem_getbytes(XDR* xdrs, char* destination, std::uint32_t length) {
  if (!take(xdrs, length)) return FALSE;
  if (length == 0) return TRUE;
  std::memcpy(destination, xdrs->x_private, length);
  xdrs->x_private += length;
  return TRUE;
}

bool_t xdrmem_putbytes(XDR* xdrs, const char* source, std::uint32_t length) {
  if (!take(xdrs, length)) return FALSE;
  if (length == 0) return TRUE;
  std::memcpy(xdrs->x_private, source, length);
  xdrs->x_private += length;
  return TRUE;
}

std::uint32_t xdrmem_getpos(XDR* xdrs) {
  return static_cast<std::uint32_t>(xdrs->x_private - xdrs->x_base);
}

bool_t xdrmem_setpos(XDR* xdrs, std::uint32_t position) {
  const std::int64_t last = std::int64_t{xdrs->x_private - xdrs->x_base} + xdrs->x_handy;
  if (position > last) return FALSE;
  xdrs->x_private = xdrs->x_base + position;
  xdrs->x_handy = static_cast<std::int32_t>(last - position);
  return TRUE;
}

char* xdrmem_inline(XDR* xdrs, std::int32_t length) {
  if (length < 0 || xdrs->x_handy < length) return nullptr;
  char* place = xdrs->x_private;
  xdrs->x_handy -= length;
  xdrs->x_private += length;
  return place;
}

void xdrmem_destroy(XDR*) {}

constexpr xdr_ops xdrmem = {
    xdrmem_getlong, xdrmem_putlong, xdrmem_getbytes, xdrmem_putbytes,
    xdrmem_getpos,  xdrmem_setpos,  xdrmem_inline,   xdrmem_destroy,
};

}  // namespace

void xdrmem_create(XDR* xdrs, char* buffer, std::uint32_t size, xdr_op op) {
  xdrs->x_op = op;
  xdrs->x_ops = &xdrmem;
  xdrs->x_private = buffer;
  xdrs->x_base = buffer;
  xdrs->x_handy = static_cast<std::int32_t>(size);
}

}  // namespace kvrpc
