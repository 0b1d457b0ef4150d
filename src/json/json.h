// The JSON value tree: one node record for every value, constructors, lookup, containers, the
// lenient parser and the printer in both forms.
//
// A node has exactly one owner: its parent's child list, or whoever holds the root. `key` and
// `text` belong to the node. Every node, key, text and printed buffer comes from the allocation
// hooks, the library's only global state. Failure is a null or zero result and nothing more.
// Nothing here recurses over the tree: parsing, printing, duplicating and deleting take the
// deepest nesting on a small stack, in time linear in the bytes. A tree belongs to one thread.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kvrpc {

enum json_type : std::int32_t {
  JSON_FALSE = 0,
  JSON_TRUE = 1,
  JSON_NULL = 2,
  JSON_NUMBER = 3,
  JSON_STRING = 4,
  JSON_ARRAY = 5,
  JSON_OBJECT = 6,
};

struct json_node {
  json_node* next;          // next sibling, null at the tail
  json_node* prev;          // previous sibling, null at the head
  json_node* child;         // first child of an array or object
  char* key;                // name of this member in an object, else null
  std::int32_t type;        // a json_type
  std::int32_t is_integer;  // for a number: whether `integer` or `number` is authoritative
  char* text;               // the bytes of a string up to their NUL, else null
  std::int64_t integer;
  double number;
};

// The three functions that all memory of this library comes from.
struct json_allocator {
  void* (*allocate)(std::size_t size);
  void* (*resize)(void* block, std::size_t size);
  void (*release)(void* block);
};

// Replaces the hooks; null, or a null member, selects the standard runtime's function.
void json_set_hooks(const json_allocator* hooks);
// The hooks in force.
const json_allocator& json_hooks();

// A zero-filled node, or null.
json_node* json_new_node();
// A copy of `text` through the allocate hook, or null.
char* json_strdup(const char* text);
// Releases `node` and all below it; its siblings stay, and a parent is not told. Null is allowed.
void json_delete(json_node* node);
// A deep copy with no siblings, or null.
json_node* json_duplicate(const json_node* node);

// Constructors: a node without parent, or null. A number gets the one field it is asked for.
json_node* json_new_null();
json_node* json_new_true();
json_node* json_new_false();
json_node* json_new_double(double value);
json_node* json_new_integer(std::int64_t value);
json_node* json_new_string(const char* text);
// Takes `text` (from the allocate hook) over. On a null result the text stays the caller's.
json_node* json_new_string_owned(char* text);
json_node* json_new_array();
json_node* json_new_object();
json_node* json_new_integer_array(const std::int64_t* values, std::int32_t count);
json_node* json_new_float_array(const float* values, std::int32_t count);
json_node* json_new_double_array(const double* values, std::int32_t count);
json_node* json_new_string_array(const char* const* values, std::int32_t count);

// Lookup. json_find ignores ASCII case, takes the first match and ends at a child without a key.
std::uint32_t json_child_count(const json_node* container);
json_node* json_child_at(const json_node* container, std::uint32_t index);
json_node* json_find(const json_node* container, const char* key);

// Changing a container; 1 on success. An item whose add failed remains the caller's.
int json_add_item(json_node* container, json_node* item);
int json_add_member(json_node* object, const char* key, json_node* item);
int json_delete_at(json_node* container, std::uint32_t index);
int json_delete_member(json_node* object, const char* key);
json_node* json_detach_at(json_node* container, std::uint32_t index);
json_node* json_detach_member(json_node* object, const char* key);
int json_replace_member(json_node* object, const char* key, json_node* item);

// The list primitives behind these.
void json_unlink(json_node* container, json_node* node);
json_node* json_link(json_node* earlier, json_node* later);

// The root of the first value in `text`, or null; what follows that value is ignored.
json_node* json_parse(const char* text);

// The text of a tree, released through the release hook, or null. json_print is compact.
char* json_print(const json_node* node);
char* json_print_pretty(const json_node* node);

}  // namespace kvrpc
