// The JSON value tree: one record for every value, constructors, lookup, containers, the lenient
// parser and the printer in both forms.
//
// A node has exactly one owner: its parent's child list, or whoever holds the root. `key` and
// `text` belong to the node. Every node, key, text and printed buffer comes from the allocation
// hooks, which are the only global state here. A failure is a null or zero result without a
// message.
//
// Nothing here recurses over the tree: parsing, printing, duplicating and deleting handle any
// nesting on a small stack, in time linear in the bytes. A tree belongs to one thread.
//
// A call's text is parsed to a json_document instead (json/document.h), which is faster because its
// nodes are never changed one by one.
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
  std::int32_t is_integer;  // of a number: 1 if `integer` is its value, 0 if `number` is
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

// Surface: the module keeps the standard runtime's functions.
//
// Replaces the hooks. Null, or a null member, selects the standard runtime's function.
void json_set_hooks(const json_allocator* hooks);
// Returns the hooks in force.
const json_allocator& json_hooks();

// Returns a zero-filled node, or null if memory is out.
json_node* json_new_node();
// Returns a copy of `text` from the allocate hook, or null.
char* json_strdup(const char* text);
// Releases `node` and everything below it. Leaves its siblings alone and does not unlink it from a
// parent: use json_delete_at or json_delete_member for a child. Null is allowed.
void json_delete(json_node* node);
// Surface: the module copies no tree. Returns a deep copy without siblings, or null.
json_node* json_duplicate(const json_node* node);

// Constructors. Each returns a node without a parent, or null if memory is out. A number sets only
// the value that it is made from: json_new_integer(5) has `number` 0, but a parsed 5 has both.
// Surface: the module makes no tree of its own.
json_node* json_new_null();
json_node* json_new_true();
json_node* json_new_false();
json_node* json_new_double(double value);
json_node* json_new_integer(std::int64_t value);
json_node* json_new_string(const char* text);
// Takes over `text`, which must come from the allocate hook. If the result is null, `text` is still
// the caller's.
json_node* json_new_string_owned(char* text);
json_node* json_new_array();
json_node* json_new_object();
json_node* json_new_integer_array(const std::int64_t* values, std::int32_t count);
json_node* json_new_float_array(const float* values, std::int32_t count);
json_node* json_new_double_array(const double* values, std::int32_t count);
json_node* json_new_string_array(const char* const* values, std::int32_t count);

// Lookup. json_find ignores ASCII case, returns the first match and stops at a child without a key.
std::uint32_t json_child_count(const json_node* container);
json_node* json_child_at(const json_node* container, std::uint32_t index);
json_node* json_find(const json_node* container, const char* key);

// Changes to a container. Each int is 1 on success and 0 on failure. A child that could not be
// added is still the caller's.
int json_add_item(json_node* container, json_node* child);
int json_add_member(json_node* object, const char* key, json_node* child);
// Surface: the module changes no tree.
int json_delete_at(json_node* container, std::uint32_t index);
int json_delete_member(json_node* object, const char* key);
json_node* json_detach_at(json_node* container, std::uint32_t index);
json_node* json_detach_member(json_node* object, const char* key);
int json_replace_member(json_node* object, const char* key, json_node* child);

// The list operations that these are made of. json_unlink ignores a null node. json_link returns
// `earlier`.
void json_unlink(json_node* container, json_node* node);
json_node* json_link(json_node* earlier, json_node* later);

// Surface: the module parses to a json_document. Returns the root of the first value in `text`, or
// null. Ignores what follows that value. For example, `{"a":1} tail` gives the object.
json_node* json_parse(const char* text);

// Return the text of a tree, or null. The caller must pass the text to the release hook. json_print
// writes the compact form.
// Surface: the module writes its replies without a tree.
char* json_print(const json_node* node);
char* json_print_pretty(const json_node* node);

}  // namespace kvrpc
