#include "bridge/list_xdr.h"

#include <algorithm>
#include <cstdio>

#include "bridge/field_memory.h"
#include "bridge/record_xdr.h"
#include "bridge/resume_stack.h"
#include "bridge/unpack.h"

namespace kvrpc {

namespace {

struct list_shape {
  explicit list_shape(const record_type& list)
      : record(list), link(static_cast<std::uint32_t>(list.next_field)) {
    for (std::uint32_t i = 0; i < link; ++i) {
      const std::uint32_t size = list.fields[i].type.wire_size;
      head_wire =
          head_wire > INT32_MAX / 2 || size > INT32_MAX / 2 ? variable_size : head_wire + size;
    }
  }

  char* next(const char* node) const { return load<char*>(node + record.fields[link].offset); }
  void set_next(char* node, char* next) const { store(node + record.fields[link].offset, next); }

  // The fields before the link, and those behind it.
  bool_t head(const record_walk& walk, char* node) const {
    return xdr_fields(walk, node, record, 0, link);
  }
  bool_t tail(const record_walk& walk, char* node) const {
    return xdr_fields(walk, node, record, link + 1, record.field_count);
  }
  bool has_tail() const { return link + 1 < record.field_count; }

  // Decodes the fields before the link and whether a node is behind it.
  bool_t head_and_link(const record_walk& walk, char* node, bool_t* present) const {
    const char* unit = head_wire != variable_size
                           ? unpack_head(walk.xdrs, node, record, link, head_wire)
                           : nullptr;
    if (unit == nullptr) return head(walk, node) && xdr_bool(walk.xdrs, present);
    *present = xdr_load_unit(unit) != 0 ? TRUE : FALSE;
    return TRUE;
  }

  const record_type& record;
  std::uint32_t link;
  std::uint32_t head_wire = 0;  // or variable_size
};

bool_t finish_tails(const record_walk& walk, const list_shape& list, resume_stack<char*>& nodes) {
  while (!nodes.empty()) {
    if (!list.tail(walk, nodes.pop())) return FALSE;
  }
  return TRUE;
}

bool_t encode_list(const record_walk& walk, char* node, const list_shape& list) {
  resume_stack<char*> nodes;
  for (;;) {
    char* const next = list.next(node);
    bool_t present = next != nullptr ? TRUE : FALSE;
    if (!list.head(walk, node) || !xdr_bool(walk.xdrs, &present)) return FALSE;
    if (list.has_tail() && !nodes.push(node)) return FALSE;
    if (next == nullptr) return finish_tails(walk, list, nodes);
    node = next;
  }
}

bool_t decode_list(const record_walk& walk, char* node, const list_shape& list) {
  resume_stack<char*> nodes;
  for (;;) {
    bool_t present = FALSE;
    if (!list.head_and_link(walk, node, &present)) return FALSE;
    if (list.has_tail() && !nodes.push(node)) return FALSE;
    if (!present) return finish_tails(walk, list, nodes);
    char* const next = new_target(walk, list.record);
    if (next == nullptr) return FALSE;
    list.set_next(node, next);
    node = next;
  }
}

// Where the link stands first all links come before the first data, so they are only counted; the
// nodes are made from the far end, each when its data is read.
bool_t decode_links_first(const record_walk& walk, char* first, const list_shape& list) {
  std::uint64_t behind = 0;
  for (;; ++behind) {
    bool_t present = FALSE;
    if (!xdr_bool(walk.xdrs, &present)) return FALSE;
    if (!present) break;
  }
  char* chain = nullptr;
  bool_t done = TRUE;
  for (; done && behind > 0; --behind) {
    char* const node = new_target(walk, list.record);
    if (node == nullptr) {
      done = FALSE;
      break;
    }
    list.set_next(node, chain);
    chain = node;
    done = list.tail(walk, node);
  }
  list.set_next(first, chain);
  return done ? list.tail(walk, first) : FALSE;
}

void free_fields(const record_walk& walk, char* node, const list_shape& list) {
  list.head(walk, node);
  list.tail(walk, node);
}

void free_list(const record_walk& walk, char* node, const list_shape& list) {
  while (node != nullptr) {
    char* const next = list.next(node);
    free_fields(walk, node, list);
    free_target(walk, node);
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
bool_t decode_array(const record_walk& walk, char* block, std::uint32_t count,
                    const record_type& record) {
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
    if (!xdr_record(walk, elements + std::size_t{i} * record.size, record)) return FALSE;
  }
  return TRUE;
}

}  // namespace

char* new_target(const record_walk& walk, const record_type& record) {
  char* target = walk.arena != nullptr ? walk.arena->take(record.size) : new_block(record.size);
  if (target == nullptr) std::fputs("xdr_reference: out of memory\n", stderr);
  return target;
}

void free_target(const record_walk& walk, char* target) {
  if (walk.arena == nullptr) std::free(target);
}

bool_t xdr_list(const record_walk& walk, char* base, const record_type& record) {
  const list_shape list(record);
  switch (walk.xdrs->x_op) {
    case XDR_ENCODE:
      return encode_list(walk, base, list);
    case XDR_DECODE:
      return list.link == 0 ? decode_links_first(walk, base, list) : decode_list(walk, base, list);
    case XDR_FREE:
      free_list(walk, list.next(base), list);
      list.set_next(base, nullptr);
      free_fields(walk, base, list);
      return TRUE;
  }
  return FALSE;
}

void list_free(const record_type& record, char* node) {
  XDR xdrs{};
  xdrs.x_op = XDR_FREE;
  free_list({&xdrs, nullptr}, node, list_shape(record));
}

bool_t xdr_array_of(const record_walk& walk, char* block, const record_type& record) {
  std::uint32_t count = load_block_count(block);
  if (!xdr_u_int(walk.xdrs, &count)) return FALSE;
  if (walk.xdrs->x_op == XDR_DECODE) return decode_array(walk, block, count, record);
  char* const elements = load_block_pointer(block);
  const bool nothing_to_walk =
      elements == nullptr || (walk.xdrs->x_op == XDR_FREE && record.wire_size != variable_size);
  const std::uint32_t present = nothing_to_walk ? 0 : count;
  for (std::uint32_t i = 0; i < present; ++i) {
    const bool_t done = xdr_record(walk, elements + std::size_t{i} * record.size, record);
    if (!done && walk.xdrs->x_op == XDR_ENCODE) return FALSE;
  }
  if (walk.xdrs->x_op == XDR_FREE) {
    std::free(elements);
    store_block(block, 0, nullptr);
  }
  return TRUE;
}

}  // namespace kvrpc
