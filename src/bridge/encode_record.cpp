#include "bridge/encode.h"
#include "bridge/record_xdr.h"
#include "bridge/resume_stack.h"

namespace kvrpc {

namespace {

constexpr std::uint32_t no_cap = UINT32_MAX;

const record_field* find_member(const record_type& record, const char* key) {
  for (std::uint32_t i = 0; i < record.field_count; ++i) {
    if (std::strcmp(record.fields[i].key, key) == 0) return &record.fields[i];
  }
  return nullptr;
}

int encode_vector(const json_node* node, int raw_text, char* base, const wire_type& type) {
  const wire_type& item = *type.item;
  return json_encode_vector(node, raw_text, base, type.count, item.size,
                            [&item](const json_node* child, int raw, void* field) {
                              return json_encode(child, raw, field, item);
                            });
}

int encode_array(const json_node* node, int raw_text, void* block, const wire_type& type) {
  record_free(type, block);
  const record_type& record = *type.target;
  return json_encode_array(node, raw_text, block, no_cap, record.size,
                           [&record](const json_node* child, int raw, void* base) {
                             return json_encode_record(child, raw, base, record);
                           });
}

int encode_pointer(const json_node* node, int raw_text, void* field, const wire_type& type) {
  if (node->type != JSON_NULL) record_free(type, field);
  const record_type& record = *type.target;
  return json_encode_pointer(node, raw_text, field, record.size,
                             [&record](const json_node* child, int raw, void* base) {
                               return json_encode_record(child, raw, base, record);
                             });
}

// Where to go on in a node of a list once the nodes behind it are done.
struct list_place {
  const json_node* member;
  char* base;
};

// A fresh node behind `field`; what was there before is released.
char* fresh_next(const record_type& record, char* field) {
  list_free(record, load<char*>(field));
  char* target = new_block(record.size);
  store(field, target);
  return target;
}

// A structure, and by loop all the nodes that hang from it when it is a list node.
int encode_structure(const json_node* node, int raw_text, char* base, const record_type& record) {
  resume_stack<list_place> places;
  const json_node* member = node->child;
  for (;;) {
    if (member == nullptr) {
      if (places.empty()) return 1;
      const list_place place = places.pop();
      member = place.member;
      base = place.base;
      continue;
    }
    const record_field* field = find_member(record, member->key);
    if (field == nullptr) return 0;
    char* const place = base + field->offset;
    const json_node* const behind = member->next;
    if (field->type.kind != wire_kind::list_next) {
      if (!json_encode(member, raw_text, place, field->type)) return 0;
    } else if (member->type != JSON_NULL) {
      if (member->type != JSON_OBJECT) return 0;
      if (behind != nullptr && !places.push({behind, base})) return 0;
      base = fresh_next(record, place);
      if (base == nullptr) return 0;
      member = member->child;
      continue;
    }
    member = behind;
  }
}

// A union that is filled again with another arm starts from a released and zeroed one.
void select_arm(char* base, const record_type& record, std::int32_t value) {
  const std::int32_t before = load<std::int32_t>(base);
  if (before == value) return;
  record_free(wire::inline_(record), base);
  std::memset(base, 0, record.size);
  store(base, value);
}

int encode_union(const json_node* node, int raw_text, char* base, const record_type& record) {
  const json_node* discriminant = json_find(node, record.discriminant);
  std::int32_t value = 0;
  if (discriminant == nullptr || !json_encode_int(discriminant, raw_text, &value)) return 0;
  select_arm(base, record, value);
  const record_field* arm = arm_of(record, value);
  if (arm == nullptr) return 0;
  const json_node* member = json_find(node, arm->key);
  if (member == nullptr) return 0;
  return json_encode(member, raw_text, base + arm->offset, arm->type);
}

}  // namespace

int json_encode(const json_node* node, int raw_text, void* field, const wire_type& type) {
  char* const bytes = static_cast<char*>(field);
  switch (type.kind) {
    case wire_kind::nothing:
      return json_encode_void(node, raw_text, field);
    case wire_kind::long_:
      return json_encode_long(node, raw_text, field);
    case wire_kind::int_:
      return json_encode_int(node, raw_text, field);
    case wire_kind::u_long_:
      return json_encode_u_long(node, raw_text, field);
    case wire_kind::short_:
      return json_encode_short(node, raw_text, field);
    case wire_kind::bool_:
      return json_encode_bool(node, raw_text, field);
    case wire_kind::chars:
      return json_encode_vector(node, raw_text, bytes, type.count, 1, json_encode_u_char);
    case wire_kind::schars:
      return json_encode_vector(node, raw_text, bytes, type.count, 1, json_encode_char);
    case wire_kind::text:
      return json_encode_text_block(node, raw_text, field);
    case wire_kind::counted_text:
      return json_encode_counted_text(node, raw_text, field, type.count);
    case wire_kind::fixed_text:
      return json_encode_fixed_text(node, raw_text, bytes, type.count);
    case wire_kind::opaque:
      return json_encode_opaque(node, raw_text, bytes, type.count);
    case wire_kind::blob:
      return json_encode_bytes(node, raw_text, field);
    case wire_kind::string:
      return json_encode_string(node, raw_text, field, no_cap);
    case wire_kind::pointer:
      return encode_pointer(node, raw_text, field, type);
    case wire_kind::vector:
      return encode_vector(node, raw_text, bytes, type);
    case wire_kind::array:
      return encode_array(node, raw_text, field, type);
    case wire_kind::record:
      return json_encode_record(node, raw_text, field, *type.target);
    case wire_kind::list_next:    // only inside a record, which follows it itself
    case wire_kind::unspecified:  // nothing is known of it
      return 0;
  }
  return 0;
}

int json_encode_record(const json_node* node, int raw_text, void* base, const record_type& record) {
  if (node->type != JSON_OBJECT) return 0;
  char* const bytes = static_cast<char*>(base);
  return record.is_union ? encode_union(node, raw_text, bytes, record)
                         : encode_structure(node, raw_text, bytes, record);
}

}  // namespace kvrpc
