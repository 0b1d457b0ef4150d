// Builds the tree of a record with the constructors of json/json.h. Only lists are walked with
// loops.
#include "bridge/reference/value_tree.h"

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "bridge/base64.h"
#include "bridge/field_memory.h"
#include "bridge/reference/text_end.h"
#include "bridge/uc2.h"
#include "support/json_owners.h"

namespace kvrpc::test {

namespace {

json_node* owned_string(char* text) {
  json_node* const node = text != nullptr ? json_new_string(text) : nullptr;
  std::free(text);
  return node;
}

json_node* base64(const char* bytes, std::size_t size) {
  return owned_string(base64_encode(bytes, size, nullptr));
}

// Makes the tree of one block, which is the memory that a text may extend in (see text_end.h).
class tree_maker {
 public:
  tree_maker(const char* base, const wire_type& type, int raw_text)
      : block_{base, &type}, raw_text_(raw_text) {}

  json_node* value(const char* data, const wire_type& type) const;

 private:
  json_node* text(const char* bytes) const;
  json_node* fixed_text(const char* bytes) const;
  json_node* union_value(const char* base, const record_type& record) const;
  json_node* list(const char* first, const record_type& record) const;
  json_node* record(const char* base, const record_type& record) const;
  json_node* items(const char* base, const wire_type& item, std::uint32_t count, bool blocks) const;
  json_node* block(const char* base, const record_type& record) const {
    const wire_type type = wire::inline_(record);
    return tree_maker(base, type, raw_text_).value(base, type);
  }
  bool add_fields(json_node* object, const char* base, const record_type& record,
                  std::uint32_t begin, std::uint32_t end) const;

  record_block block_;
  int raw_text_;
};

json_node* tree_maker::text(const char* bytes) const {
  if (bytes == nullptr) return nullptr;
  return raw_text_ != 0 ? json_new_string(bytes) : owned_string(isostring_to_utf8_alloc(bytes));
}

json_node* tree_maker::fixed_text(const char* bytes) const {
  const std::string whole(bytes, text_end(block_, bytes));
  return text(whole.c_str());
}

bool tree_maker::add_fields(json_node* object, const char* base, const record_type& record,
                            std::uint32_t begin, std::uint32_t end) const {
  for (std::uint32_t i = begin; i < end; ++i) {
    const record_field& field = record.fields[i];
    if (!json_add_member(object, field.key, value(base + field.offset, field.type))) return false;
  }
  return true;
}

json_node* tree_maker::union_value(const char* base, const record_type& record) const {
  const std::int32_t selected = load<std::int32_t>(base);
  const record_field* const arm = arm_of(record, selected);
  if (arm == nullptr) return nullptr;
  tree_ptr object(json_new_object());
  json_add_member(object.get(), record.selector->key, json_new_integer(selected));
  const bool done =
      json_add_member(object.get(), arm->key, value(base + arm->offset, arm->type)) != 0;
  return done ? object.release() : nullptr;
}

// Each node becomes the member `next` of the node before it; then the fields after the links
// follow.
json_node* tree_maker::list(const char* first, const record_type& record) const {
  const auto link = static_cast<std::uint32_t>(record.next_field);
  const wire_type type = wire::inline_(record);
  std::vector<std::pair<const char*, json_node*>> nodes;
  tree_ptr root;
  bool done = true;
  for (const char* base = first; base != nullptr;
       base = load<const char*>(base + record.fields[link].offset)) {
    json_node* const node = json_new_object();
    if (root == nullptr) {
      root.reset(node);
    } else {
      json_add_member(nodes.back().second, record.fields[link].key, node);
    }
    nodes.emplace_back(base, node);
    const tree_maker maker = base == first ? *this : tree_maker(base, type, raw_text_);
    done = done && maker.add_fields(node, base, record, 0, link);
  }
  json_add_member(nodes.back().second, record.fields[link].key, json_new_null());
  for (; done && !nodes.empty(); nodes.pop_back()) {
    const auto [base, node] = nodes.back();
    const tree_maker maker = base == first ? *this : tree_maker(base, type, raw_text_);
    done = maker.add_fields(node, base, record, link + 1, record.field_count);
  }
  return done ? root.release() : nullptr;
}

json_node* tree_maker::record(const char* base, const record_type& record) const {
  if (record.is_union) return union_value(base, record);
  if (record.next_field >= 0) return list(base, record);
  tree_ptr object(json_new_object());
  return add_fields(object.get(), base, record, 0, record.field_count) ? object.release() : nullptr;
}

// Makes the array of a vector or of an array. A vector's elements are parts of its block; each
// element of an array is a block of its own.
json_node* tree_maker::items(const char* base, const wire_type& item, std::uint32_t count,
                             bool blocks) const {
  tree_ptr array(json_new_array());
  json_node* last = nullptr;
  for (std::uint32_t i = 0; i < count; ++i, base += item.size) {
    json_node* const node = blocks ? block(base, *item.target) : value(base, item);
    if (node == nullptr) return nullptr;
    if (last == nullptr) {
      array->child = node;
    } else {
      json_link(last, node);
    }
    last = node;
  }
  return array.release();
}

json_node* tree_maker::value(const char* data, const wire_type& type) const {
  switch (type.kind) {
    case wire_kind::nothing:
      return json_new_null();
    case wire_kind::long_:
    case wire_kind::int_:
      return json_new_integer(load<std::int32_t>(data));
    case wire_kind::u_long_:
      return json_new_integer(load<std::uint32_t>(data));
    case wire_kind::short_:
      return json_new_integer(load<std::int16_t>(data));
    case wire_kind::bool_:
      return load<std::int32_t>(data) != 0 ? json_new_true() : json_new_false();
    case wire_kind::chars:
    case wire_kind::schars:
    case wire_kind::fixed_text:
      return fixed_text(data);
    case wire_kind::opaque:
      return base64(data, type.count);
    case wire_kind::text:
    case wire_kind::counted_text:
      return text(load_block_pointer(data));
    case wire_kind::blob:
      return base64(load_block_pointer(data), load_block_count(data));
    case wire_kind::string:
      return text(load<char*>(data));
    case wire_kind::pointer:
      return load<char*>(data) != nullptr ? block(load<char*>(data), *type.target)
                                          : json_new_null();
    case wire_kind::vector:
      return items(data, *type.item, type.count, false);
    case wire_kind::array:
      return items(load_block_pointer(data), wire::inline_(*type.target), load_block_count(data),
                   true);
    case wire_kind::record:
      return record(data, *type.target);
    case wire_kind::list_next:  // list() follows it
    case wire_kind::unspecified:
      return nullptr;
  }
  return nullptr;
}

}  // namespace

json_node* value_tree(const char* data, const wire_type& type, int raw_text) {
  return tree_maker(data, type, raw_text).value(data, type);
}

}  // namespace kvrpc::test
