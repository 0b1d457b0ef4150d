// The routines for values with a length or a pointer: bytes, texts, unions, arrays, references.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "rpc/growing_block.h"
#include "rpc/xdr.h"

namespace kvrpc {
namespace {

constexpr std::uint32_t unit_bytes = 4;

// The pointers of a record are at multiples of 4, which may be less than a pointer's alignment, so
// they are copied with memcpy.
char* load_pointer(char* const* place) {
  char* pointer;
  std::memcpy(&pointer, static_cast<const void*>(place), sizeof pointer);
  return pointer;
}

void store_pointer(char** place, char* pointer) {
  std::memcpy(static_cast<void*>(place), &pointer, sizeof pointer);
}

void release(char** place) {
  std::free(load_pointer(place));
  store_pointer(place, nullptr);
}

// Grows the block that `*place` points to. Returns false without memory and leaves it as it was.
bool grow(char** place, std::uint64_t kept, std::uint64_t bytes, const char* routine) {
  char* const grown = grow_block(load_pointer(place), kept, bytes, routine);
  if (grown != nullptr) store_pointer(place, grown);
  return grown != nullptr;
}

// Decodes `size` bytes and their padding to a new block, piece by piece. Only the last piece has
// padding, because all others are whole numbers of units.
bool decode_block(XDR* xdrs, char** data, std::uint32_t size, const char* routine) {
  std::uint32_t arrived = 0;
  do {
    const std::uint32_t room = next_room(arrived, first_block_bytes, size);
    if (!grow(data, arrived, room, routine)) return false;
    if (!xdr_opaque(xdrs, load_pointer(data) + arrived, room - arrived)) return false;
    arrived = room;
  } while (arrived < size);
  return true;
}

// Runs `element` on the elements [from, to). A null array has null elements.
bool walk_elements(XDR* xdrs, char* array, std::uint32_t from, std::uint32_t to,
                   std::size_t element_size, xdrproc_t element) {
  for (std::uint32_t i = from; i < to; ++i) {
    char* at = array == nullptr ? nullptr : array + i * element_size;
    if (!element(xdrs, at, LASTUNSIGNED)) return false;
  }
  return true;
}

// Decodes `*count` elements into a new block. If it fails half way, lowers `*count` to the number
// of elements in the block, because a release of the record walks that many.
bool decode_elements(XDR* xdrs, char** array, std::uint32_t* count, std::uint32_t element_size,
                     xdrproc_t element) {
  const std::uint32_t wanted = *count;
  const std::uint32_t first = first_block_elements(element_size);
  std::uint32_t arrived = 0;
  while (arrived < wanted) {
    const std::uint32_t room = next_room(arrived, first, wanted);
    const std::uint64_t size = element_size;
    if (!grow(array, arrived * size, room * size, "xdr_array")) return false;
    *count = room;
    if (!walk_elements(xdrs, load_pointer(array), arrived, room, element_size, element)) {
      return false;
    }
    arrived = room;
  }
  return true;
}

bool get_opaque(XDR* xdrs, char* data, std::uint32_t count, std::uint32_t fill) {
  char scratch[unit_bytes];
  if (!XDR_GETBYTES(xdrs, data, count)) return false;
  return fill == 0 ? TRUE : XDR_GETBYTES(xdrs, scratch, fill);
}

bool put_opaque(XDR* xdrs, const char* data, std::uint32_t count, std::uint32_t fill) {
  constexpr char zeros[unit_bytes] = {};
  if (!XDR_PUTBYTES(xdrs, data, count)) return false;
  return fill == 0 ? TRUE : XDR_PUTBYTES(xdrs, zeros, fill);
}

}  // namespace

bool_t xdr_opaque(XDR* xdrs, char* data, std::uint32_t count) {
  if (count == 0) return TRUE;
  const std::uint32_t over = count % unit_bytes;
  const std::uint32_t fill = over == 0 ? 0 : unit_bytes - over;
  switch (xdrs->x_op) {
    case XDR_ENCODE:
      return put_opaque(xdrs, data, count, fill);
    case XDR_DECODE:
      return get_opaque(xdrs, data, count, fill);
    case XDR_FREE:
      return TRUE;
  }
  return FALSE;
}

bool_t xdr_bytes(XDR* xdrs, char** data, std::uint32_t* size, std::uint32_t maximum) {
  char* block = load_pointer(data);
  if (!xdr_u_int(xdrs, size)) return FALSE;
  if (*size > maximum && xdrs->x_op != XDR_FREE) return FALSE;
  switch (xdrs->x_op) {
    case XDR_ENCODE:
      return xdr_opaque(xdrs, block, *size);
    case XDR_DECODE:
      if (*size == 0) return TRUE;
      if (block == nullptr) return decode_block(xdrs, data, *size, "xdr_bytes");
      return xdr_opaque(xdrs, block, *size);
    case XDR_FREE:
      release(data);
      return TRUE;
  }
  return FALSE;
}

bool_t xdr_netobj(XDR* xdrs, void* object, std::uint32_t) {
  auto* netobject = static_cast<netobj*>(object);
  return xdr_bytes(xdrs, &netobject->n_bytes, &netobject->n_len, MAX_NETOBJ_SZ);
}

namespace {

bool decode_string(XDR* xdrs, char** text, std::uint32_t size) {
  if (size == LASTUNSIGNED) return true;  // with its terminator, its length would be 0
  char* block = load_pointer(text);
  if (block == nullptr) return decode_block(xdrs, text, size, "xdr_string");
  block[size] = '\0';
  return xdr_opaque(xdrs, block, size);
}

}  // namespace

bool_t xdr_string(XDR* xdrs, char** text, std::uint32_t maximum) {
  char* block = load_pointer(text);
  if (xdrs->x_op == XDR_FREE && block == nullptr) return TRUE;
  std::uint32_t size = 0;
  if (xdrs->x_op != XDR_DECODE && block != nullptr) {
    size = static_cast<std::uint32_t>(std::strlen(block));
  }
  if (!xdr_u_int(xdrs, &size)) return FALSE;
  // In every direction: a text above the maximum is not released either.
  if (size > maximum) return FALSE;
  switch (xdrs->x_op) {
    case XDR_ENCODE:
      return xdr_opaque(xdrs, block, size);
    case XDR_DECODE:
      return decode_string(xdrs, text, size);
    case XDR_FREE:
      release(text);
      return TRUE;
  }
  return FALSE;
}

bool_t xdr_wrapstring(XDR* xdrs, void* object, std::uint32_t) {
  return xdr_string(xdrs, static_cast<char**>(object), LASTUNSIGNED) ? TRUE : FALSE;
}

bool_t xdr_union(XDR* xdrs, enum_t* discriminant, void* unit, const xdr_discrim* table,
                 xdrproc_t fallback) {
  if (!xdr_enum(xdrs, discriminant)) return FALSE;
  for (const xdr_discrim* arm = table; arm->proc != nullptr; ++arm) {
    if (arm->value == *discriminant) return arm->proc(xdrs, unit, LASTUNSIGNED);
  }
  return fallback == nullptr ? FALSE : fallback(xdrs, unit, LASTUNSIGNED);
}

bool_t xdr_array(XDR* xdrs, char** array, std::uint32_t* count, std::uint32_t maximum,
                 std::uint32_t element_size, xdrproc_t element) {
  char* block = load_pointer(array);
  if (!xdr_u_int(xdrs, count)) return FALSE;
  if (*count > maximum && xdrs->x_op != XDR_FREE) return FALSE;
  if (block == nullptr) {
    if (xdrs->x_op == XDR_FREE) return TRUE;
    if (xdrs->x_op == XDR_DECODE) {
      return decode_elements(xdrs, array, count, element_size, element);
    }
  }
  const bool status = walk_elements(xdrs, block, 0, *count, element_size, element);
  if (xdrs->x_op == XDR_FREE) release(array);
  return status;
}

bool_t xdr_vector(XDR* xdrs, char* array, std::uint32_t count, std::uint32_t element_size,
                  xdrproc_t element) {
  return walk_elements(xdrs, array, 0, count, element_size, element);
}

bool_t xdr_reference(XDR* xdrs, char** object, std::uint32_t size, xdrproc_t routine) {
  if (load_pointer(object) == nullptr) {
    if (xdrs->x_op == XDR_FREE) return TRUE;
    if (xdrs->x_op == XDR_DECODE && !grow(object, 0, size, "xdr_reference")) return FALSE;
  }
  const bool_t status = routine(xdrs, load_pointer(object), LASTUNSIGNED);
  if (xdrs->x_op == XDR_FREE) release(object);
  return status;
}

bool_t xdr_pointer(XDR* xdrs, char** object, std::uint32_t size, xdrproc_t routine) {
  bool_t present = load_pointer(object) != nullptr ? TRUE : FALSE;
  if (!xdr_bool(xdrs, &present)) return FALSE;
  if (!present) {
    store_pointer(object, nullptr);
    return TRUE;
  }
  return xdr_reference(xdrs, object, size, routine);
}

void xdr_free(xdrproc_t routine, void* object) {
  XDR stream = {};
  stream.x_op = XDR_FREE;
  routine(&stream, object, LASTUNSIGNED);
}

}  // namespace kvrpc
