#include "bridge/result_stream.h"

#include <algorithm>
#include <cstring>

#include "bridge/decode.h"
#include "bridge/field_memory.h"
#include "bridge/record_walk.h"
#include "bridge/text_end.h"
#include "bridge/text_sink.h"
#include "bridge/unpack.h"

namespace kvrpc {

namespace {

// Text crosses between the records' code and UTF-8 in every reply.
constexpr int converted_text = 0;

bool ends_with_link(const record_type& record) {
  return record.next_field + 1 == static_cast<std::int32_t>(record.field_count);
}

bool can_stream(const record_type& record) {
  return !record.is_union && (record.next_field <= 0 || ends_with_link(record));
}

bool can_stream(const wire_type& type) {
  return (type.kind == wire_kind::pointer || type.kind == wire_kind::record) &&
         can_stream(*type.target);
}

// The bytes on the wire of members that are all plain; 0 when one is not.
std::uint32_t plain_wire_size(const record_type& record, std::uint32_t begin, std::uint32_t end) {
  std::uint32_t size = 0;
  for (std::uint32_t i = begin; i < end; ++i) {
    if (record.fields[i].run_text == 0) return 0;
    size += record.fields[i].type.wire_size;
  }
  return size;
}

// The members of one structure, node or element, without a link.
struct member_range {
  member_range(char* place, const wire_type& type)
      : base(place), record(*type.target), block{place, &type} {
    if (record.next_field == 0) begin = 1;
    end = record.next_field > 0 ? record.field_count - 1 : record.field_count;
  }

  char* const base;
  const record_type& record;
  const record_block block;  // what their texts may run on in
  std::uint32_t begin = 0;
  std::uint32_t end;
  bool in_memory = false;  // whether one of them has been read into the record's memory
};

class result_stream {
 public:
  result_stream(XDR* xdrs, text_buffer& text) : xdrs_(xdrs), text_(text), out_(text) {}

  // Reads something and writes it, as all below; false when it cannot be read.
  bool_t value(char* data, const wire_type& type);

 private:
  bool_t record(char* base, const wire_type& type);
  bool_t structure(member_range& all);
  bool_t members(member_range& range);
  bool_t segment(member_range& range, std::uint32_t begin, std::uint32_t end);
  bool_t target(char* field, const record_type& record);
  bool_t array(char* block, const record_type& element);
  bool_t list_with_link_first(member_range& node);
  bool_t list_with_link_last(member_range& node);
  void reuse(member_range& node);

  // After a failure to write the text has failed, and nothing more is written.
  void check(int done) {
    if (!done) text_.fail();
  }

  XDR* const xdrs_;
  text_buffer& text_;
  text_sink out_;
};

bool_t result_stream::members(member_range& range) {
  const record_field* const fields = range.record.fields;
  for (std::uint32_t i = range.begin; i < range.end;) {
    const record_field* const pointer =
        std::find_if(fields + i, fields + range.end, [](const record_field& field) {
          return field.type.kind == wire_kind::pointer && can_stream(field.type);
        });
    const auto stop = static_cast<std::uint32_t>(pointer - fields);
    if (i < stop && !segment(range, i, stop)) return FALSE;
    i = stop;
    if (i == range.end) break;
    check(out_.key(*pointer));
    range.in_memory = true;
    if (!target(range.base + pointer->offset, *pointer->type.target)) return FALSE;
    ++i;
  }
  return TRUE;
}

// The members up to a pointer: straight from the stream's buffer, where they lie there and are
// plain.
bool_t result_stream::segment(member_range& range, std::uint32_t begin, std::uint32_t end) {
  const std::uint32_t size = plain_wire_size(range.record, begin, end);
  const char* const wire = size != 0 ? XDR_INLINE(xdrs_, static_cast<std::int32_t>(size)) : nullptr;
  if (wire != nullptr) {
    if (out_.wire_members(wire, size, range.record, begin, end)) return TRUE;
    range.in_memory = true;
    unpack_fields(wire, range.base, range.record, begin, end);
  } else {
    range.in_memory = true;
    if (!xdr_fields(xdrs_, range.base, range.record, begin, end)) return FALSE;
  }
  check(!text_.failed() && json_decode_members(out_, converted_text, range.block, range.base,
                                               range.record, begin, end));
  return TRUE;
}

bool_t result_stream::target(char* field, const record_type& target_record) {
  bool_t present = FALSE;
  if (!xdr_bool(xdrs_, &present)) return FALSE;
  if (!present) {
    check(out_.null());
    return TRUE;
  }
  char* const base = new_target(target_record);
  if (base == nullptr) return FALSE;
  store(field, base);
  const wire_type type = wire::inline_(target_record);
  return record(base, type);
}

// Makes the memory of a node that is written ready for the next one.
void result_stream::reuse(member_range& node) {
  if (!node.in_memory) return;
  node.in_memory = false;
  XDR xdrs{};
  xdrs.x_op = XDR_FREE;
  xdr_fields(&xdrs, node.base, node.record, node.begin, node.end);
  std::memset(node.base, 0, node.record.size);
}

// All the links come first, then the data of the nodes, the last one's first.
bool_t result_stream::list_with_link_first(member_range& node) {
  std::uint64_t count = 0;
  for (bool_t present = TRUE; present; ++count) {
    check(out_.begin_object() && out_.key(node.record.fields[0]));
    if (!xdr_bool(xdrs_, &present)) return FALSE;
  }
  check(out_.null());
  for (; count > 0; --count) {
    reuse(node);
    if (!members(node)) return FALSE;
    check(out_.end_object());
  }
  return TRUE;
}

bool_t result_stream::list_with_link_last(member_range& node) {
  std::uint64_t count = 0;
  for (bool_t present = TRUE; present; ++count) {
    reuse(node);
    check(out_.begin_object());
    if (!members(node)) return FALSE;
    check(out_.key(node.record.fields[node.end]));
    if (!xdr_bool(xdrs_, &present)) return FALSE;
  }
  check(out_.null());
  for (; count > 0; --count) check(out_.end_object());
  return TRUE;
}

bool_t result_stream::structure(member_range& all) {
  check(out_.begin_object());
  if (!members(all)) return FALSE;
  check(out_.end_object());
  return TRUE;
}

// `type` is a record's.
bool_t result_stream::record(char* base, const wire_type& type) {
  member_range range(base, type);
  if (range.record.next_field < 0) return structure(range);
  return range.begin > 0 ? list_with_link_first(range) : list_with_link_last(range);
}

// A counted array of structures.
bool_t result_stream::array(char* block, const record_type& element) {
  std::uint32_t count = 0;
  if (!xdr_u_int(xdrs_, &count)) return FALSE;
  check(out_.begin_array());
  if (count > 0) {
    char* const base = new_target(element, "xdr_array");
    if (base == nullptr) return FALSE;
    store_block(block, 1, base);
    const wire_type type = wire::inline_(element);
    member_range data(base, type);
    for (; count > 0; --count) {
      reuse(data);
      check(out_.item());
      if (!structure(data)) return FALSE;
    }
  }
  check(out_.end_array());
  return TRUE;
}

bool_t result_stream::value(char* data, const wire_type& type) {
  if (type.kind == wire_kind::record && can_stream(type)) return record(data, type);
  if (type.kind == wire_kind::array && can_stream(*type.target) && type.target->next_field < 0)
    return array(data, *type.target);
  if (!xdr_value(xdrs_, data, type)) return FALSE;
  check(json_decode(out_, converted_text, data, type));
  return TRUE;
}

}  // namespace

bool_t xdr_streamed(XDR* xdrs, void* object, std::uint32_t) {
  auto& result = *static_cast<streamed_result*>(object);
  if (xdrs->x_op != XDR_DECODE) return xdr_typed(xdrs, &result.value);
  const typed_value& value = result.value;
  record_free(*value.type, value.data);  // a transport may read again
  std::memset(value.data, 0, value.type->size);
  result.text.clear(result.kept);
  const bool_t read = result_stream(xdrs, result.text).value(value.data, *value.type);
  result.written = read && !result.text.failed();
  return read;
}

}  // namespace kvrpc
