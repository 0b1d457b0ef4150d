#include "bridge/field_memory.h"
#include "bridge/record_walk.h"
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

}  // namespace

bool_t xdr_list(XDR* xdrs, char* base, const record_type& record) {
  const list_shape list(record);
  switch (xdrs->x_op) {
    case XDR_ENCODE:
      return encode_list(xdrs, base, list);
    case XDR_DECODE:
      break;
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
