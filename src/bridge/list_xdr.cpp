#include "bridge/list_xdr.h"

#include <algorithm>
#include <cstdio>

#include "bridge/field_memory.h"
#include "bridge/record_xdr.h"
#include "bridge/resume_stack.h"

namespace kvrpc {

namespace {

struct list_shape {
  explicit list_shape(const record_type& list)
      : record(list), link(static_cast<std::uint32_t>(list.next_field)) {}

  char* next(const char* node) const { return load<char*>(node + record.fields[link].offset); }
  void set_next(char* node, char* next) const { store(node + record.fields[link].offset, next); }

  // The fields before the link, and those behind it.
  bool_t head(XDR* xdrs, char* node) const { return xdr_fields(xdrs, node, record, 0, link); }
  bool_t tail(XDR* xdrs, char* node) const {
    return xdr_fields(xdrs, node, record, link + 1, record.field_count);
  }
  bool has_tail() const { return link + 1 < record.field_count; }

  const record_type& record;
  std::uint32_t link;
};

bool_t finish_tails(XDR* xdrs, const list_shape& list, resume_stack<char*>& nodes) {
  while (!nodes.empty()) {
    if (!list.tail(xdrs, nodes.pop())) return FALSE;
  }
  return TRUE;
}

bool_t encode_list(XDR* xdrs, char* node, const list_shape& list) {
  resume_stack<char*> nodes;
  for (;;) {
    char* const next = list.next(node);
    bool_t present = next != nullptr ? TRUE : FALSE;
    if (!list.head(xdrs, node) || !xdr_bool(xdrs, &present)) return FALSE;
    if (list.has_tail() && !nodes.push(node)) return FALSE;
    if (next == nullptr) return finish_tails(xdrs, list, nodes);
    node = next;
  }
}

bool_t decode_list(XDR* xdrs, char* node, const list_shape& list) {
  resume_stack<char*> nodes;
  for (;;) {
    bool_t present = FALSE;
    if (!list.head(xdrs, node) || !xdr_bool(xdrs, &present)) return FALSE;
    if (list.has_tail() && !nodes.push(node)) return FALSE;
    if (!present) return finish_tails(xdrs, list, nodes);
    char* const next = new_target(list.record);
    if (next == nullptr) return FALSE;
    list.set_next(node, next);
    node = next;
  }
}

// Where the link stands first all links come before the first data, so they are only counted; the
// nodes are made from the far end, each when its data is read.
bool_t decode_links_first(XDR* xdrs, char* first, const list_shape& list) {
  std::uint64_t behind = 0;
  for (;; ++behind) {
    bool_t present = FALSE;
    if (!xdr_bool(xdrs, &present)) return FALSE;
    if (!present) break;
  }
  char* chain = nullptr;
  bool_t done = TRUE;
  for (; done && behind > 0; --behind) {
    char* const node = new_target(list.record);
    if (node == nullptr) {
      done = FALSE;
      break;
    }
    list.set_next(node, chain);
    chain = node;
    done = list.tail(xdrs, node);
  }
  list.set_next(first, chain);
  return done ? list.tail(xdrs, first) : FALSE;
}

void free_fields(XDR* xdrs, char* node, const list_shape& list) {
  list.head(xdrs, node);
  list.tail(xdrs, node);
}

void free_list(XDR* xdrs, char* node, const list_shape& list) {
  while (node != nullptr) {
    char* const next = list.next(node);
    free_fields(xdrs, node, list);
    std::free(node);
    node = next;
  }
}

// The elements that a block of a counted array can take without looking far ahead.
std::uint32_t first_capacity(std::uint32_t count, std::uint32_t size) {
  constexpr std::uint32_t first_block = 64 * 1024;
  return std::min(count, std::max(1u, first_block / std::max(1u, size)));
}

// Grows a block from `used` to `capacity` elements, zero-filled and with a zero byte behind.
char* grow_array(char* block, std::uint32_t used, std::uint32_t capacity, std::uint32_t size) {
  const std::uint64_t bytes = std::uint64_t{capacity} * size;
  const std::uint64_t kept = std::uint64_t{used} * size;
  void* moved =
      bytes < SIZE_MAX ? std::realloc(block, static_cast<std::size_t>(bytes) + 1) : nullptr;
  if (moved == nullptr) {
    std::fputs("xdr_array: out of memory\n", stderr);
    return nullptr;
  }
  char* const grown = static_cast<char*>(moved);
  std::memset(grown + kept, 0, static_cast<std::size_t>(bytes - kept) + 1);
  return grown;
}

// Reads `count` elements into a block that grows as they arrive. The block's count covers what
// was read, also when a later element fails.
bool_t decode_array(XDR* xdrs, char* block, std::uint32_t count, const record_type& record) {
  std::uint32_t capacity = 0;
  for (std::uint32_t i = 0; i < count; ++i) {
    if (i == capacity) {
      capacity = i == 0 ? first_capacity(count, record.size)
                        : static_cast<std::uint32_t>(std::min<std::uint64_t>(count, 2ull * i));
      char* grown = grow_array(load_block_pointer(block), i, capacity, record.size);
      if (grown == nullptr) return FALSE;
      store_block(block, i, grown);
    }
    char* const elements = load_block_pointer(block);
    store_block(block, i + 1, elements);
    if (!xdr_record(xdrs, elements + std::size_t{i} * record.size, record)) return FALSE;
  }
  return TRUE;
}

// The low byte of each of 16 units.
inline void unpack_16_chars(const char* wire, char* data) {
  for (std::uint32_t i = 0; i < 16; ++i) data[i] = wire[4 * i + 3];
}

// The low byte of each unit, 16 at a time; the last 16 may overlap those before.
[[gnu::noinline]] void unpack_chars(const char* wire, char* data, std::uint32_t count) {
  constexpr std::uint32_t step = 16;
  std::uint32_t i = 0;
  for (; i + step <= count; i += step) unpack_16_chars(wire + std::size_t{4} * i, data + i);
  if (i == count) return;
  if (count >= step) {
    i = count - step;
    return unpack_16_chars(wire + std::size_t{4} * i, data + i);
  }
  for (; i < count; ++i) data[i] = wire[std::size_t{4} * i + 3];
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

char* new_target(const record_type& record) {
  char* target = new_block(record.size);
  if (target == nullptr) std::fputs("xdr_reference: out of memory\n", stderr);
  return target;
}

bool_t xdr_list(XDR* xdrs, char* base, const record_type& record) {
  const list_shape list(record);
  switch (xdrs->x_op) {
    case XDR_ENCODE:
      return encode_list(xdrs, base, list);
    case XDR_DECODE:
      return list.link == 0 ? decode_links_first(xdrs, base, list) : decode_list(xdrs, base, list);
    case XDR_FREE:
      free_list(xdrs, list.next(base), list);
      list.set_next(base, nullptr);
      free_fields(xdrs, base, list);
      return TRUE;
  }
  return FALSE;
}

void list_free(const record_type& record, char* node) {
  XDR xdrs{};
  xdrs.x_op = XDR_FREE;
  free_list(&xdrs, node, list_shape(record));
}

bool_t xdr_array_of(XDR* xdrs, char* block, const record_type& record) {
  std::uint32_t count = load_block_count(block);
  if (!xdr_u_int(xdrs, &count)) return FALSE;
  if (xdrs->x_op == XDR_DECODE) return decode_array(xdrs, block, count, record);
  char* const elements = load_block_pointer(block);
  const std::uint32_t present = elements != nullptr ? count : 0;
  for (std::uint32_t i = 0; i < present; ++i) {
    const bool_t done = xdr_record(xdrs, elements + std::size_t{i} * record.size, record);
    if (!done && xdrs->x_op == XDR_ENCODE) return FALSE;
  }
  if (xdrs->x_op == XDR_FREE) {
    std::free(elements);
    store_block(block, 0, nullptr);
  }
  return TRUE;
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
