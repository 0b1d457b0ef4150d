// Writes and releases records by their tables. xdr_value() is the one place that knows how each
// wire kind is written and what it owns.
#include "bridge/record_xdr.h"

#include "bridge/field_memory.h"
#include "json/growing_stack.h"

namespace kvrpc {

namespace {

// XDR_FREE continues past a value that it cannot walk, because later values may own memory.
bool ends_walk(XDR* xdrs, bool_t done) { return !done && xdrs->x_op != XDR_FREE; }

bool_t xdr_items(XDR* xdrs, char* data, std::uint32_t count, const wire_type& item) {
  for (std::uint32_t i = 0; i < count; ++i, data += item.size) {
    if (ends_walk(xdrs, xdr_value(xdrs, data, item))) return FALSE;
  }
  return TRUE;
}

// Walks the fields from `begin` up to `end`. A list's link must not be among them, unless they are
// released.
bool_t xdr_fields(XDR* xdrs, char* base, const record_type& record, std::uint32_t begin,
                  std::uint32_t end) {
  for (std::uint32_t i = begin; i < end; ++i) {
    const record_field& field = record.fields[i];
    if (ends_walk(xdrs, xdr_value(xdrs, base + field.offset, field.type))) return FALSE;
  }
  return TRUE;
}

// ---- lists

std::uint32_t link_index(const record_type& list) {
  return static_cast<std::uint32_t>(list.next_field);
}
char* link_of(char* node, const record_type& list) {
  return node + list.fields[link_index(list)].offset;
}

// Writes a list. The nodes are nested on the wire, so the fields after a node's link follow all
// later nodes.
bool_t write_list(XDR* xdrs, char* node, const record_type& list) {
  const std::uint32_t link = link_index(list);
  growing_stack<char*> nodes;  // those that have fields after their link
  while (node != nullptr) {
    char* const next = load<char*>(link_of(node, list));
    bool_t present = next != nullptr ? TRUE : FALSE;
    if (!xdr_fields(xdrs, node, list, 0, link) || !xdr_bool(xdrs, &present)) return FALSE;
    if (link + 1 < list.field_count && !nodes.push(node)) return FALSE;
    node = next;
  }
  while (nodes.depth() > 0) {
    if (!xdr_fields(xdrs, nodes.pop(), list, link + 1, list.field_count)) return FALSE;
  }
  return TRUE;
}

// Releases what a list owns. Keeps the memory of the first node, because it belongs to the caller.
bool_t free_list(XDR* xdrs, char* first, const record_type& list) {
  for (char* node = first; node != nullptr;) {
    char* const next = load<char*>(link_of(node, list));
    xdr_fields(xdrs, node, list, 0, list.field_count);
    if (node != first) std::free(node);
    node = next;
  }
  store<char*>(link_of(first, list), nullptr);
  return TRUE;
}

// ---- records and what contains them

bool_t xdr_union_record(XDR* xdrs, char* base, const record_type& record) {
  if (!xdr_int(xdrs, base)) return FALSE;
  const record_field* arm = arm_of(record, load<std::int32_t>(base));
  return arm != nullptr ? xdr_value(xdrs, base + arm->offset, arm->type) : FALSE;
}

bool_t xdr_record(XDR* xdrs, char* base, const record_type& record) {
  if (record.is_union) return xdr_union_record(xdrs, base, record);
  if (record.next_field >= 0) {
    return xdrs->x_op == XDR_FREE ? free_list(xdrs, base, record) : write_list(xdrs, base, record);
  }
  return xdr_fields(xdrs, base, record, 0, record.field_count);
}

bool_t xdr_target(XDR* xdrs, char* field, const record_type& record) {
  char* const target = load<char*>(field);
  bool_t present = target != nullptr ? TRUE : FALSE;
  if (!xdr_bool(xdrs, &present)) return FALSE;
  if (!present) return TRUE;
  const bool_t done = xdr_record(xdrs, target, record);
  if (xdrs->x_op == XDR_FREE) {
    std::free(target);
    store<char*>(field, nullptr);
  }
  return done;
}

// `block` is a count and a pointer.
bool_t xdr_array_of(XDR* xdrs, char* block, const record_type& record) {
  std::uint32_t count = load_block_count(block);
  if (!xdr_u_int(xdrs, &count)) return FALSE;
  char* const elements = load_block_pointer(block);
  const std::uint32_t present = elements != nullptr ? count : 0;
  const bool_t done = xdr_items(xdrs, elements, present, wire::inline_(record));
  if (xdrs->x_op == XDR_FREE) {
    std::free(elements);
    store_block(block, 0, nullptr);
  }
  return done;
}

bool_t xdr_block(XDR* xdrs, char* block, std::uint32_t maximum) {
  return xdr_bytes(xdrs, reinterpret_cast<char**>(block + block_pointer_offset),
                   reinterpret_cast<std::uint32_t*>(block), maximum);
}

}  // namespace

bool_t xdr_value(XDR* xdrs, char* data, const wire_type& type) {
  if (xdrs->x_op == XDR_DECODE) return FALSE;  // see result_reader.h
  if (xdrs->x_op == XDR_FREE && type.wire_size != variable_size) return TRUE;  // owns nothing
  switch (type.kind) {
    case wire_kind::nothing:
      return xdr_void(xdrs, data);
    case wire_kind::long_:
    case wire_kind::int_:
      return xdr_long(xdrs, data);
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
      return xdr_block(xdrs, data, LASTUNSIGNED);
    case wire_kind::counted_text:
      return xdr_block(xdrs, data, type.count);
    case wire_kind::string:
      return xdr_wrapstring(xdrs, data);
    case wire_kind::pointer:
      return xdr_target(xdrs, data, *type.target);
    case wire_kind::vector:
      return xdr_items(xdrs, data, type.count, *type.item);
    case wire_kind::array:
      return xdr_array_of(xdrs, data, *type.target);
    case wire_kind::record:
      return xdr_record(xdrs, data, *type.target);
    case wire_kind::list_next:    // write_list and free_list follow it
    case wire_kind::unspecified:  // not described
      return FALSE;
  }
  return FALSE;
}

bool_t xdr_typed(XDR* xdrs, void* object, std::uint32_t) {
  const typed_value& value = *static_cast<typed_value*>(object);
  return xdr_value(xdrs, value.data, *value.type);
}

void record_free(const wire_type& type, void* data) {
  typed_value value{&type, static_cast<char*>(data)};
  xdr_free(xdr_typed, &value);
}

void list_free(const record_type& record, char* node) {
  if (node != nullptr) record_free(wire::inline_(record), node);
  std::free(node);
}

}  // namespace kvrpc
