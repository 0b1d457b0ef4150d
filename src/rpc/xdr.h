// XDR (RFC 4506): the stream handle, the in-memory stream, and the routines for single values and
// for everything that has a length or a pointer.
//
// Every value occupies a multiple of 4 bytes, most significant byte first. One routine per type
// serves all three directions, selected by `x_op`: memory to stream, stream to memory, and the
// release of what an earlier decode allocated. In XDR_FREE, a routine never touches the stream.
//
// On decode, a routine fills the block that a pointer points to. If the pointer is null, it
// allocates a zero-filled block from the standard runtime. Each routine returns TRUE, or FALSE on
// failure. After a decode that failed half way, the caller must run xdr_free on the object. A
// handle belongs to one thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace kvrpc {

using bool_t = std::int32_t;
using enum_t = std::int32_t;
constexpr bool_t TRUE = 1;
constexpr bool_t FALSE = 0;

enum xdr_op : std::int32_t { XDR_ENCODE = 0, XDR_DECODE = 1, XDR_FREE = 2 };

// Read and write one unit at `at`, which need not be aligned, for code that works in place.
inline std::uint32_t xdr_load_unit(const char* at) {
  unsigned char bytes[4];
  std::memcpy(bytes, at, sizeof bytes);
  return static_cast<std::uint32_t>(bytes[0]) << 24 | static_cast<std::uint32_t>(bytes[1]) << 16 |
         static_cast<std::uint32_t>(bytes[2]) << 8 | static_cast<std::uint32_t>(bytes[3]);
}
inline void xdr_store_unit(char* at, std::uint32_t unit) {
  const unsigned char bytes[4] = {
      static_cast<unsigned char>(unit >> 24), static_cast<unsigned char>(unit >> 16),
      static_cast<unsigned char>(unit >> 8), static_cast<unsigned char>(unit)};
  std::memcpy(at, bytes, sizeof bytes);
}

struct xdr_ops;

struct XDR {
  xdr_op x_op;           // direction; callers change it freely between operations
  const xdr_ops* x_ops;  // the operations of this kind of stream
  char* x_private;       // memory stream: the cursor; record stream: its RECSTREAM
  char* x_base;          // memory stream: start of the buffer
  std::int32_t x_handy;  // memory stream: bytes left, may go negative
};

struct xdr_ops {
  bool_t (*x_getlong)(XDR* xdrs, std::int32_t* value);
  bool_t (*x_putlong)(XDR* xdrs, const std::int32_t* value);
  bool_t (*x_getbytes)(XDR* xdrs, char* destination, std::uint32_t length);
  bool_t (*x_putbytes)(XDR* xdrs, const char* source, std::uint32_t length);
  std::uint32_t (*x_getpostn)(XDR* xdrs);
  bool_t (*x_setpostn)(XDR* xdrs, std::uint32_t position);
  char* (*x_inline)(XDR* xdrs, std::int32_t length);  // a place in the buffer, or null
  void (*x_destroy)(XDR* xdrs);                       // may be null
};

inline bool_t XDR_GETLONG(XDR* xdrs, std::int32_t* value) {
  return xdrs->x_ops->x_getlong(xdrs, value);
}
inline bool_t XDR_PUTLONG(XDR* xdrs, const std::int32_t* value) {
  return xdrs->x_ops->x_putlong(xdrs, value);
}
inline bool_t XDR_GETBYTES(XDR* xdrs, char* destination, std::uint32_t length) {
  return xdrs->x_ops->x_getbytes(xdrs, destination, length);
}
inline bool_t XDR_PUTBYTES(XDR* xdrs, const char* source, std::uint32_t length) {
  return xdrs->x_ops->x_putbytes(xdrs, source, length);
}
inline std::uint32_t XDR_GETPOS(XDR* xdrs) { return xdrs->x_ops->x_getpostn(xdrs); }
inline bool_t XDR_SETPOS(XDR* xdrs, std::uint32_t position) {
  return xdrs->x_ops->x_setpostn(xdrs, position);
}
inline char* XDR_INLINE(XDR* xdrs, std::int32_t length) {
  return xdrs->x_ops->x_inline(xdrs, length);
}
inline void XDR_DESTROY(XDR* xdrs) {
  if (xdrs->x_ops->x_destroy != nullptr) xdrs->x_ops->x_destroy(xdrs);
}

// No limit on a length or count.
constexpr std::uint32_t LASTUNSIGNED = 0xFFFFFFFFu;

// The type of a routine for an element, an argument or a result. The limit is always LASTUNSIGNED,
// so a routine that is passed as an xdrproc_t must not depend on it.
using xdrproc_t = bool_t (*)(XDR* xdrs, void* object, std::uint32_t limit);

// Sets up a stream over `size` bytes of the caller's `buffer`. Allocates nothing.
void xdrmem_create(XDR* xdrs, char* buffer, std::uint32_t size, xdr_op op);

// Single values, one 4-byte unit each (xdr_void: none). The comment of each is the object's type.
bool_t xdr_void(XDR* xdrs, void* object, std::uint32_t limit = LASTUNSIGNED);
bool_t xdr_long(XDR* xdrs, void* object, std::uint32_t limit = LASTUNSIGNED);     // int32_t
bool_t xdr_u_long(XDR* xdrs, void* object, std::uint32_t limit = LASTUNSIGNED);   // uint32_t
bool_t xdr_int(XDR* xdrs, void* object, std::uint32_t limit = LASTUNSIGNED);      // int32_t
bool_t xdr_u_int(XDR* xdrs, void* object, std::uint32_t limit = LASTUNSIGNED);    // uint32_t
bool_t xdr_enum(XDR* xdrs, void* object, std::uint32_t limit = LASTUNSIGNED);     // enum_t
bool_t xdr_short(XDR* xdrs, void* object, std::uint32_t limit = LASTUNSIGNED);    // int16_t
bool_t xdr_u_short(XDR* xdrs, void* object, std::uint32_t limit = LASTUNSIGNED);  // uint16_t
bool_t xdr_bool(XDR* xdrs, void* object, std::uint32_t limit = LASTUNSIGNED);     // bool_t
bool_t xdr_char(XDR* xdrs, void* object, std::uint32_t limit = LASTUNSIGNED);     // char
bool_t xdr_u_char(XDR* xdrs, void* object, std::uint32_t limit = LASTUNSIGNED);   // char

// What has a length or a pointer. Pointers are passed as `char**` whatever they point to. Their
// address must be a multiple of 4 and need not be aligned further.
struct netobj {
  std::uint32_t n_len;
  char* n_bytes;
};
constexpr std::uint32_t MAX_NETOBJ_SZ = 1024;

// One arm of a union; a table ends with an arm whose `proc` is null.
struct xdr_discrim {
  enum_t value;
  xdrproc_t proc;
};

// A block that is allocated here has the exact size, followed by one zero byte. It grows as its
// bytes or elements arrive, so that a length that the stream cannot fill costs little more than
// what has arrived. xdr_string sends a null text as an empty one. If xdr_array fails half way, it
// sets `*count` to the number of elements in the block; those that did not arrive are zero.
// Surface: the interface has no netobj, xdr_array or xdr_pointer; record_xdr walks its tables.
bool_t xdr_opaque(XDR* xdrs, char* data, std::uint32_t count);
bool_t xdr_bytes(XDR* xdrs, char** data, std::uint32_t* size, std::uint32_t maximum);
bool_t xdr_netobj(XDR* xdrs, void* object, std::uint32_t limit = LASTUNSIGNED);  // netobj
bool_t xdr_string(XDR* xdrs, char** text, std::uint32_t maximum);
bool_t xdr_wrapstring(XDR* xdrs, void* object, std::uint32_t limit = LASTUNSIGNED);  // char*
bool_t xdr_union(XDR* xdrs, enum_t* discriminant, void* unit, const xdr_discrim* table,
                 xdrproc_t fallback);
bool_t xdr_array(XDR* xdrs, char** array, std::uint32_t* count, std::uint32_t maximum,
                 std::uint32_t element_size, xdrproc_t element);
bool_t xdr_vector(XDR* xdrs, char* array, std::uint32_t count, std::uint32_t element_size,
                  xdrproc_t element);
bool_t xdr_reference(XDR* xdrs, char** object, std::uint32_t size, xdrproc_t routine);
bool_t xdr_pointer(XDR* xdrs, char** object, std::uint32_t size, xdrproc_t routine);

// Releases what `routine` decoded into `object` and leaves its pointers null.
void xdr_free(xdrproc_t routine, void* object);

}  // namespace kvrpc
