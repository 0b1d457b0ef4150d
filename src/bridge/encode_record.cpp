// JSON to record by table: chooses the encoder of each type, and fills structures, lists and
// unions. A loop follows a list, so a list of any length needs the same stack.
#include "bridge/encode.h"
#include "bridge/record_xdr.h"
#include "bridge/resume_stack.h"

namespace kvrpc {

namespace {

constexpr std::uint32_t no_cap = UINT32_MAX;

// Returns the index of the first field from `begin` to `end` that has this key, or `end`.
std::uint32_t find_key(const record_type& record, const char* key, std::uint32_t begin,
                       std::uint32_t end) {
  while (begin < end && std::strcmp(record.fields[begin].key, key) != 0) ++begin;
  return begin;
}

// Returns the index of the field that has this key, or the number of fields if there is none.
// Begins at the field `expected`, because most texts have their members in the order of the table.
std::uint32_t find_member(const record_type& record, const char* key, std::uint32_t expected) {
  const std::uint32_t found = find_key(record, key, expected, record.field_count);
  if (found < record.field_count) return found;
  const std::uint32_t earlier = find_key(record, key, 0, expected);
  return earlier < expected ? earlier : record.field_count;
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

// Where to resume in a list node after all later nodes have been filled.
struct list_place {
  const json_node* member;
  char* base;
};

// Releases the nodes that the link `field` leads to and stores a zero-filled node there. Returns
// that node, or null if memory is out.
char* fresh_next(const record_type& record, char* field) {
  list_free(record, load<char*>(field));
  char* target = new_block(record.size);
  store(field, target);
  return target;
}

// Fills a structure and, if it is a list node, all nodes after it.
class structure_encoder {
 public:
  structure_encoder(const record_type& record, int raw_text, const json_node* node, char* base)
      : record_(record), raw_text_(raw_text), member_(node->child), base_(base) {}

  int encode() {
    while (member_ != nullptr || resume()) {
      if (!encode_member()) return 0;
    }
    return 1;
  }

 private:
  // Goes back to the last node that has members left. Returns false if there is none.
  bool resume() {
    if (places_.empty()) return false;
    const list_place place = places_.pop();
    member_ = place.member;
    base_ = place.base;
    expected_ = static_cast<std::uint32_t>(record_.next_field) + 1;
    return true;
  }

  // Encodes the current member and advances to the next one.
  int encode_member() {
    const json_node& member = *member_;
    const std::uint32_t index = find_member(record_, member.key, expected_);
    if (index == record_.field_count) return 0;
    const record_field& field = record_.fields[index];
    char* const place = base_ + field.offset;
    member_ = member.next;
    expected_ = index + 1;
    if (field.type.kind == wire_kind::list_next) return encode_next(member, place);
    return json_encode(&member, raw_text_, place, field.type);
  }

  // Continues in the next node of the list, unless the member is null. Remembers this node if it
  // has members after the link.
  int encode_next(const json_node& member, char* field) {
    if (member.type == JSON_NULL) return 1;
    if (member.type != JSON_OBJECT) return 0;
    if (member_ != nullptr && !places_.push({member_, base_})) return 0;
    base_ = fresh_next(record_, field);
    member_ = member.child;
    expected_ = 0;
    return base_ != nullptr ? 1 : 0;
  }

  const record_type& record_;
  const int raw_text_;
  const json_node* member_;  // the one to encode next
  char* base_;
  std::uint32_t expected_ = 0;
  resume_stack<list_place> places_;
};

// Stores the discriminant. If it selects another arm than before, releases and zeroes the union
// first.
void select_arm(char* base, const record_type& record, std::int32_t value) {
  const std::int32_t before = load<std::int32_t>(base);
  if (before == value) return;
  record_free(wire::inline_(record), base);
  std::memset(base, 0, record.size);
  store(base, value);
}

int encode_union(const json_node* node, int raw_text, char* base, const record_type& record) {
  const json_node* discriminant = json_find(node, record.selector->key);
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
    case wire_kind::list_next:    // structure_encoder follows it
    case wire_kind::unspecified:  // not described
      return 0;
  }
  return 0;
}

int json_encode_record(const json_node* node, int raw_text, void* base, const record_type& record) {
  if (node->type != JSON_OBJECT) return 0;
  char* const bytes = static_cast<char*>(base);
  return record.is_union ? encode_union(node, raw_text, bytes, record)
                         : structure_encoder(record, raw_text, node, bytes).encode();
}

}  // namespace kvrpc
