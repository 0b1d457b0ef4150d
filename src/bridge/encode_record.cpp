// JSON to record by table: chooses the encoder of each type, and fills structures, lists and
// unions. A loop follows a list, so a list of any length needs the same stack.
#include "bridge/encode.h"
#include "bridge/record_xdr.h"
#include "json/growing_stack.h"

namespace kvrpc {

namespace {

constexpr std::uint32_t no_cap = UINT32_MAX;

// Returns the field that has this key, or null. Begins at the field `expected`, which may be the
// end, because most texts have their members in the order of the table.
const record_field* find_field(const record_type& record, const char* key,
                               const record_field* expected) {
  const record_field* const end = record.fields + record.field_count;
  for (std::uint32_t left = record.field_count; left > 0; --left, ++expected) {
    if (expected == end) expected = record.fields;
    if (std::strcmp(expected->key, key) == 0) return expected;
  }
  return nullptr;
}

// The encoder of one element of a composite.
struct element_encoder {
  const wire_type& type;

  int operator()(const json_node* node, int raw_text, void* field) const {
    return json_encode(node, raw_text, field, type);
  }
};

int encode_array(const json_node* node, int raw_text, void* block, const wire_type& type) {
  record_free(type, block);
  const wire_type element = wire::inline_(*type.target);
  return json_encode_array(node, raw_text, block, no_cap, element.size, element_encoder{element});
}

int encode_pointer(const json_node* node, int raw_text, void* field, const wire_type& type) {
  if (node->type != JSON_NULL) record_free(type, field);
  const wire_type target = wire::inline_(*type.target);
  return json_encode_pointer(node, raw_text, field, target.size, element_encoder{target});
}

// Fills a structure and, if it is a list node, all nodes after it.
class structure_encoder {
 public:
  structure_encoder(const record_type& record, int raw_text, const json_node* node, char* base)
      : record_(record), raw_text_(raw_text), at_{node->child, base}, expected_(record.fields) {}

  bool encode() {
    while (at_.member != nullptr || resume()) {
      if (!encode_member()) return false;
    }
    return true;
  }

 private:
  // A position in a list node: its member to encode next.
  struct position {
    const json_node* member;
    char* base;
  };

  // Goes back to the last node that has members left. Returns false if there is none.
  bool resume() {
    if (open_nodes_.depth() == 0) return false;
    at_ = open_nodes_.pop();
    expected_ = record_.fields + record_.next_field + 1;
    return true;
  }

  // Encodes the current member and advances to the next one.
  bool encode_member() {
    const json_node& member = *at_.member;
    const record_field* const field = find_field(record_, member.key, expected_);
    if (field == nullptr) return false;
    char* const place = at_.base + field->offset;
    at_.member = member.next;
    expected_ = field + 1;
    if (field->type.kind == wire_kind::list_next) return encode_next(member, place);
    return json_encode(&member, raw_text_, place, field->type) != 0;
  }

  // Continues in a new node of the list, unless the member is null. Releases the nodes that the
  // link `field` leads to. Remembers this node if it has members after the link.
  bool encode_next(const json_node& member, char* field) {
    if (member.type == JSON_NULL) return true;
    if (member.type != JSON_OBJECT) return false;
    if (at_.member != nullptr && !open_nodes_.push(at_)) return false;
    list_free(record_, load<char*>(field));
    at_ = {member.child, new_block(record_.size)};
    store(field, at_.base);
    expected_ = record_.fields;
    return at_.base != nullptr;
  }

  const record_type& record_;
  const int raw_text_;
  position at_;
  const record_field* expected_;
  growing_stack<position> open_nodes_;  // see resume()
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
    case wire_kind::int_:
      return json_encode_long(node, raw_text, field);
    case wire_kind::u_long_:
      return json_encode_u_long(node, raw_text, field);
    case wire_kind::short_:
      return json_encode_short(node, raw_text, field);
    case wire_kind::bool_:
      return json_encode_bool(node, raw_text, field);
    case wire_kind::chars:
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
      return json_encode_vector(node, raw_text, bytes, type.count, type.item->size,
                                element_encoder{*type.item});
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
  if (record.is_union) return encode_union(node, raw_text, bytes, record);
  return structure_encoder(record, raw_text, node, bytes).encode() ? 1 : 0;
}

}  // namespace kvrpc
