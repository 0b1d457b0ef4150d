// Reads a value into memory with the routines of rpc/xdr.h, one field or element after the other.
#include "bridge/reference/read_value.h"

#include <cstdio>

#include "bridge/field_memory.h"
#include "json/growing_stack.h"
#include "rpc/growing_block.h"

namespace kvrpc::test {

namespace {

bool_t read_record(XDR* xdrs, char* base, const record_type& record);

char* new_target(const record_type& record, const char* routine = "xdr_reference") {
  char* const target = new_block(record.size);
  if (target == nullptr) std::fprintf(stderr, "%s: out of memory\n", routine);
  return target;
}

bool_t read_fields(XDR* xdrs, char* base, const record_type& record, std::uint32_t begin,
                   std::uint32_t end) {
  for (std::uint32_t i = begin; i < end; ++i) {
    if (!read_value(xdrs, base + record.fields[i].offset, record.fields[i].type)) return FALSE;
  }
  return TRUE;
}

struct list_shape {
  explicit list_shape(const record_type& list)
      : record(list), link(static_cast<std::uint32_t>(list.next_field)) {}

  void set_next(char* node, char* next) const { store(node + record.fields[link].offset, next); }
  bool_t head(XDR* xdrs, char* node) const { return read_fields(xdrs, node, record, 0, link); }
  bool_t tail(XDR* xdrs, char* node) const {
    return read_fields(xdrs, node, record, link + 1, record.field_count);
  }
  bool has_tail() const { return link + 1 < record.field_count; }

  const record_type& record;
  std::uint32_t link;
};

bool_t finish_tails(XDR* xdrs, const list_shape& list, growing_stack<char*>& nodes) {
  while (nodes.depth() > 0) {
    if (!list.tail(xdrs, nodes.pop())) return FALSE;
  }
  return TRUE;
}

bool_t decode_list(XDR* xdrs, char* node, const list_shape& list) {
  growing_stack<char*> nodes;
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

// If the link is the first field, all links precede the data. So they are only counted, and each
// node is made when its data is read, the last node first.
bool_t decode_links_first(XDR* xdrs, char* first, const list_shape& list) {
  std::uint64_t later = 0;
  for (;; ++later) {
    bool_t present = FALSE;
    if (!xdr_bool(xdrs, &present)) return FALSE;
    if (!present) break;
  }
  char* chain = nullptr;
  bool_t done = TRUE;
  for (; done && later > 0; --later) {
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

// Reads `count` elements into a block that grows as they arrive. If one fails, the block's count is
// that of the elements it holds.
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
    if (!read_record(xdrs, elements + std::size_t{i} * record.size, record)) return FALSE;
  }
  return TRUE;
}

bool_t read_array(XDR* xdrs, char* block, const record_type& record) {
  std::uint32_t count = 0;
  return xdr_u_int(xdrs, &count) ? decode_array(xdrs, block, count, record) : FALSE;
}

bool_t read_target(XDR* xdrs, char* field, const record_type& record) {
  bool_t present = FALSE;
  if (!xdr_bool(xdrs, &present)) return FALSE;
  if (!present) return TRUE;
  store(field, new_target(record));
  return load<char*>(field) != nullptr ? read_record(xdrs, load<char*>(field), record) : FALSE;
}

bool_t read_items(XDR* xdrs, char* data, std::uint32_t count, const wire_type& item) {
  for (; count > 0; --count, data += item.size) {
    if (!read_value(xdrs, data, item)) return FALSE;
  }
  return TRUE;
}

bool_t read_record(XDR* xdrs, char* base, const record_type& record) {
  if (record.is_union) {
    if (!xdr_int(xdrs, base)) return FALSE;
    const record_field* arm = arm_of(record, load<std::int32_t>(base));
    return arm != nullptr ? read_value(xdrs, base + arm->offset, arm->type) : FALSE;
  }
  if (record.next_field < 0) return read_fields(xdrs, base, record, 0, record.field_count);
  const list_shape list(record);
  return list.link == 0 ? decode_links_first(xdrs, base, list) : decode_list(xdrs, base, list);
}

}  // namespace

bool_t read_value(XDR* xdrs, char* data, const wire_type& type) {
  switch (type.kind) {
    case wire_kind::nothing:
      return xdr_void(xdrs, data);
    case wire_kind::long_:
      return xdr_long(xdrs, data);
    case wire_kind::int_:
      return xdr_int(xdrs, data);
    case wire_kind::u_long_:
      return xdr_u_long(xdrs, data);
    case wire_kind::short_:
      return xdr_short(xdrs, data);
    case wire_kind::bool_:
      return xdr_bool(xdrs, data);
    case wire_kind::chars:
      return xdr_vector(xdrs, data, type.count, 1, xdr_u_char);
    case wire_kind::schars:
      return xdr_vector(xdrs, data, type.count, 1, xdr_char);
    case wire_kind::fixed_text:
    case wire_kind::opaque:
      return xdr_opaque(xdrs, data, type.count);
    case wire_kind::text:
    case wire_kind::blob:
      return xdr_bytes(xdrs, reinterpret_cast<char**>(data + block_pointer_offset),
                       reinterpret_cast<std::uint32_t*>(data), LASTUNSIGNED);
    case wire_kind::counted_text:
      return xdr_bytes(xdrs, reinterpret_cast<char**>(data + block_pointer_offset),
                       reinterpret_cast<std::uint32_t*>(data), type.count);
    case wire_kind::string:
      return xdr_wrapstring(xdrs, data);
    case wire_kind::pointer:
      return read_target(xdrs, data, *type.target);
    case wire_kind::vector:
      return read_items(xdrs, data, type.count, *type.item);
    case wire_kind::array:
      return read_array(xdrs, data, *type.target);
    case wire_kind::record:
      return read_record(xdrs, data, *type.target);
    case wire_kind::list_next:  // read_record() follows it
    case wire_kind::unspecified:
      return FALSE;
  }
  return FALSE;
}

}  // namespace kvrpc::test
