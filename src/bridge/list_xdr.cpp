#include <cstdio>

#include "bridge/field_memory.h"
#include "bridge/record_walk.h"
#include "bridge/record_xdr.h"
#include "bridge/resume_stack.h"
#include "rpc/growing_block.h"

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

// Reads `count` elements into a block that grows as they arrive. The block's count covers what
// was read, also when a later element fails.
bool_t decode_array(XDR* xdrs, char* block, std::uint32_t count, const record_type& record) {
  std::uint32_t capacity = 0;
  for (std::uint32_t i = 0; i < count; ++i) {
    if (i == capacity) {
      capacity = next_room(i, first_block_elements(record.size), count);
      const std::uint64_t size = record.size;
      char* const grown =
          grow_block(load_block_pointer(block), i * size, capacity * size, "xdr_array");
      if (grown == nullptr) return FALSE;
      store_block(block, i, grown);
    }
    char* const elements = load_block_pointer(block);
    store_block(block, i + 1, elements);
    if (!xdr_record(xdrs, elements + std::size_t{i} * record.size, record)) return FALSE;
  }
  return TRUE;
}

}  // namespace

char* new_target(const record_type& record, const char* routine) {
  char* const target = new_block(record.size);
  if (target == nullptr) std::fprintf(stderr, "%s: out of memory\n", routine);
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
  const bool nothing_to_walk =
      elements == nullptr || (xdrs->x_op == XDR_FREE && record.wire_size != variable_size);
  const std::uint32_t present = nothing_to_walk ? 0 : count;
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

}  // namespace kvrpc
