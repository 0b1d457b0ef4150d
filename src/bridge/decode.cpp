#include "bridge/decode.h"

#include <cstdio>

#include "bridge/resume_stack.h"
#include "bridge/text_sink.h"
#include "bridge/tree_sink.h"

namespace kvrpc {

namespace {

template <class Sink>
int write_text(Sink& out, int raw_text, const char* text, std::size_t size) {
  return raw_text == 0 ? out.iso_text(text, size) : out.plain_text(text, size);
}

std::size_t length_before(const char* text, const char* end) {
  const auto room = static_cast<std::size_t>(end - text);
  const void* nul = std::memchr(text, '\0', room);
  return nul != nullptr ? static_cast<std::size_t>(static_cast<const char*>(nul) - text) : room;
}

template <class Sink>
int write_owned_text(Sink& out, int raw_text, const char* text) {
  return text != nullptr ? write_text(out, raw_text, text, std::strlen(text)) : 0;
}

// One conversion of a block: what to write to, and the memory that its texts may run on in.
template <class Sink>
struct decoding {
  Sink& out;
  int raw_text;
  record_block block;

  int value(const char* data, const wire_type& type) const;
  int fixed_text(const char* text, std::uint32_t size) const;
  int record(const char* base, const record_type& type) const;
  int union_record(const char* base, const record_type& type) const;
  int structure(const char* base, const record_type& type) const;
  int list(const char* first, const record_type& type) const;
  int members(const char* base, const record_type& type, std::uint32_t begin,
              std::uint32_t end) const;
  int vector(const char* data, const wire_type& type) const;
  int array(const char* data, const wire_type& type) const;
  int target(const char* field, const wire_type& type) const;
};

template <class Sink>
int decoding<Sink>::fixed_text(const char* text, std::uint32_t size) const {
  const std::size_t length = length_before(text, text + size);
  if (length < size) return write_text(out, raw_text, text, length);
  return json_decode_char_vector(out, raw_text, text, text_end(block, text));
}

template <class Sink>
int decoding<Sink>::union_record(const char* base, const record_type& type) const {
  const std::int32_t selected = load<std::int32_t>(base);
  if (!out.begin_object() || !out.key(*type.selector)) return 0;
  if (!json_decode_int(out, raw_text, base)) return 0;
  const record_field* const arm = arm_of(type, selected);
  if (arm == nullptr) return 0;
  return out.key(*arm) && value(base + arm->offset, arm->type) && out.end_object();
}

// The members of a structure from `begin` up to `end`, none of them the link of a list.
template <class Sink>
int decoding<Sink>::members(const char* base, const record_type& type, std::uint32_t begin,
                            std::uint32_t end) const {
  for (std::uint32_t i = begin; i < end; ++i) {
    const record_field& field = type.fields[i];
    if (!out.key(field) || !value(base + field.offset, field.type)) return 0;
  }
  return 1;
}

template <class Sink>
int decoding<Sink>::structure(const char* base, const record_type& type) const {
  return out.begin_object() && members(base, type, 0, type.field_count) && out.end_object();
}

// A list: a node is opened, its members up to the link are written, and the node behind it comes as
// the link's value. The members behind the links, if there are any, follow from the far end.
template <class Sink>
int decoding<Sink>::list(const char* first, const record_type& type) const {
  const auto link = static_cast<std::uint32_t>(type.next_field);
  const bool has_tail = link + 1 < type.field_count;
  const wire_type node_type = wire::inline_(type);
  resume_stack<const char*> nodes;
  std::size_t open = 0;
  decoding node = *this;
  for (const char* base = first; base != nullptr; ++open) {
    if (base != first) node.block = {base, &node_type};
    if ((has_tail && !nodes.push(base)) || !out.begin_object()) return 0;
    if (!node.members(base, type, 0, link) || !out.key(type.fields[link])) return 0;
    base = load<const char*>(base + type.fields[link].offset);
  }
  if (!out.null()) return 0;
  for (; open > 0; --open) {
    if (has_tail) {
      const char* const base = nodes.pop();
      node.block = base == first ? block : record_block{base, &node_type};
      if (!node.members(base, type, link + 1, type.field_count)) return 0;
    }
    if (!out.end_object()) return 0;
  }
  return 1;
}

template <class Sink>
int decoding<Sink>::record(const char* base, const record_type& type) const {
  if (type.is_union) return union_record(base, type);
  return type.next_field >= 0 ? list(base, type) : structure(base, type);
}

template <class Sink>
int decoding<Sink>::vector(const char* data, const wire_type& type) const {
  const wire_type& item = *type.item;
  return json_decode_vector(out, raw_text, data, type.count, item.size,
                            [this, &item](Sink&, int, const void* element) {
                              return value(static_cast<const char*>(element), item);
                            });
}

template <class Sink>
int decoding<Sink>::array(const char* data, const wire_type& type) const {
  const wire_type element_type = wire::inline_(*type.target);
  return json_decode_array(out, raw_text, data, element_type.size,
                           [this, &element_type](Sink&, int, const void* element) {
                             const char* const base = static_cast<const char*>(element);
                             const decoding inner{out, raw_text, {base, &element_type}};
                             return inner.record(base, *element_type.target);
                           });
}

template <class Sink>
int decoding<Sink>::target(const char* field, const wire_type& type) const {
  const wire_type target_type = wire::inline_(*type.target);
  return json_decode_pointer(out, raw_text, field,
                             [this, &target_type](Sink&, int, const void* data) {
                               const char* const base = static_cast<const char*>(data);
                               const decoding inner{out, raw_text, {base, &target_type}};
                               return inner.record(base, *target_type.target);
                             });
}

template <class Sink>
int decoding<Sink>::value(const char* data, const wire_type& type) const {
  switch (type.kind) {
    case wire_kind::nothing:
      return json_decode_void(out, raw_text, data);
    case wire_kind::long_:
      return json_decode_long(out, raw_text, data);
    case wire_kind::int_:
      return json_decode_int(out, raw_text, data);
    case wire_kind::u_long_:
      return json_decode_u_long(out, raw_text, data);
    case wire_kind::short_:
      return json_decode_short(out, raw_text, data);
    case wire_kind::bool_:
      return json_decode_bool(out, raw_text, data);
    case wire_kind::chars:
    case wire_kind::schars:
    case wire_kind::fixed_text:
      return fixed_text(data, type.count);
    case wire_kind::opaque:
      return json_decode_opaque(out, raw_text, data, type.count);
    case wire_kind::text:
    case wire_kind::counted_text:
      return json_decode_text_block(out, raw_text, data);
    case wire_kind::blob:
      return json_decode_bytes(out, raw_text, data);
    case wire_kind::string:
      return json_decode_string(out, raw_text, data);
    case wire_kind::pointer:
      return target(data, type);
    case wire_kind::vector:
      return vector(data, type);
    case wire_kind::array:
      return array(data, type);
    case wire_kind::record:
      return record(data, *type.target);
    case wire_kind::list_next:    // only inside a record, which follows it itself
    case wire_kind::unspecified:  // nothing is known of it
      return 0;
  }
  return 0;
}

}  // namespace

template <class Sink>
int json_decode(Sink& out, int raw_text, const void* data, const wire_type& type) {
  const char* const base = static_cast<const char*>(data);
  return decoding<Sink>{out, raw_text, {base, &type}}.value(base, type);
}

template <class Sink>
int json_decode_members(Sink& out, int raw_text, const record_block& block, const char* base,
                        const record_type& record, std::uint32_t begin, std::uint32_t end) {
  return decoding<Sink>{out, raw_text, block}.members(base, record, begin, end);
}

template <class Sink>
int json_decode_void(Sink& out, int, const void*) {
  return out.null();
}
template <class Sink>
int json_decode_int(Sink& out, int, const void* field) {
  return out.integer(load<std::int32_t>(field));
}
template <class Sink>
int json_decode_u_int(Sink& out, int, const void* field) {
  return out.integer(load<std::uint32_t>(field));
}
template <class Sink>
int json_decode_long(Sink& out, int, const void* field) {
  return out.integer(load<std::int32_t>(field));
}
template <class Sink>
int json_decode_u_long(Sink& out, int, const void* field) {
  return out.integer(load<std::uint32_t>(field));
}
template <class Sink>
int json_decode_short(Sink& out, int, const void* field) {
  return out.integer(load<std::int16_t>(field));
}
template <class Sink>
int json_decode_u_short(Sink& out, int, const void* field) {
  return out.integer(load<std::uint16_t>(field));
}
template <class Sink>
int json_decode_enum(Sink& out, int, const void* field) {
  return out.integer(static_cast<std::int16_t>(load<std::uint32_t>(field)));
}
template <class Sink>
int json_decode_float(Sink& out, int, const void* field) {
  return out.number(static_cast<double>(load<float>(field)));
}
template <class Sink>
int json_decode_double(Sink& out, int, const void* field) {
  return out.number(load<double>(field));
}
template <class Sink>
int json_decode_bool(Sink& out, int, const void* field) {
  return out.boolean(load<std::int32_t>(field) != 0);
}

template <class Sink>
int json_decode_char(Sink&, int, const void*) {
  std::fputs("error:  <future feature> json_decode_char called.\n", stderr);
  return 0;
}
template <class Sink>
int json_decode_u_char(Sink& out, int raw_text, const void* field) {
  return json_decode_char(out, raw_text, field);
}

template <class Sink>
int json_decode_string(Sink& out, int raw_text, const void* field) {
  return write_owned_text(out, raw_text, load<char*>(field));
}
template <class Sink>
int json_decode_text_block(Sink& out, int raw_text, const void* block) {
  return write_owned_text(out, raw_text, load_block_pointer(block));
}
template <class Sink>
int json_decode_counted_text(Sink& out, int raw_text, const char* text, const char* end) {
  return text != nullptr ? write_text(out, raw_text, text, length_before(text, end)) : 0;
}
template <class Sink>
int json_decode_fixed_text(Sink& out, int raw_text, const char* buffer, const char* end) {
  return json_decode_counted_text(out, raw_text, buffer, end);
}
template <class Sink>
int json_decode_char_vector(Sink& out, int raw_text, const char* base, const char* end) {
  return json_decode_counted_text(out, raw_text, base, end);
}

template <class Sink>
int json_decode_bytes(Sink& out, int, const void* block) {
  return out.base64(load_block_pointer(block), load_block_count(block));
}
template <class Sink>
int json_decode_opaque(Sink& out, int, const void* buffer, std::uint32_t size) {
  return out.base64(buffer, size);
}

#define KVRPC_FOR_SINK(SINK)                                                          \
  template int json_decode(SINK&, int, const void*, const wire_type&);                \
  template int json_decode_members(SINK&, int, const record_block&, const char*,      \
                                   const record_type&, std::uint32_t, std::uint32_t); \
  template int json_decode_void(SINK&, int, const void*);                             \
  template int json_decode_int(SINK&, int, const void*);                              \
  template int json_decode_u_int(SINK&, int, const void*);                            \
  template int json_decode_long(SINK&, int, const void*);                             \
  template int json_decode_u_long(SINK&, int, const void*);                           \
  template int json_decode_short(SINK&, int, const void*);                            \
  template int json_decode_u_short(SINK&, int, const void*);                          \
  template int json_decode_float(SINK&, int, const void*);                            \
  template int json_decode_double(SINK&, int, const void*);                           \
  template int json_decode_bool(SINK&, int, const void*);                             \
  template int json_decode_enum(SINK&, int, const void*);                             \
  template int json_decode_char(SINK&, int, const void*);                             \
  template int json_decode_u_char(SINK&, int, const void*);                           \
  template int json_decode_string(SINK&, int, const void*);                           \
  template int json_decode_counted_text(SINK&, int, const char*, const char*);        \
  template int json_decode_text_block(SINK&, int, const void*);                       \
  template int json_decode_fixed_text(SINK&, int, const char*, const char*);          \
  template int json_decode_char_vector(SINK&, int, const char*, const char*);         \
  template int json_decode_bytes(SINK&, int, const void*);                            \
  template int json_decode_opaque(SINK&, int, const void*, std::uint32_t)

KVRPC_FOR_SINK(text_sink);
KVRPC_FOR_SINK(tree_sink);

}  // namespace kvrpc
