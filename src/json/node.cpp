// Nodes: the allocation hooks, constructors, and the deletion and duplication of trees.
#include <cstdlib>
#include <cstring>

#include "json/growing_stack.h"
#include "json/json.h"
#include "json/tree.h"

namespace kvrpc {

namespace {

constexpr json_allocator standard_hooks = {std::malloc, std::realloc, std::free};

json_allocator hooks_in_force = {std::malloc, std::realloc, std::free};

void release_text(char* text) {
  if (text != nullptr) hooks_in_force.release(text);
}

json_node* new_of_type(json_type type) {
  json_node* node = json_new_node();
  if (node != nullptr) node->type = type;
  return node;
}

// Stores a fresh copy of `text` in `place`, unless it is null. Returns false if memory is out.
bool copy_text(char** place, const char* text) {
  if (text == nullptr) return true;
  *place = json_strdup(text);
  return *place != nullptr;
}

// Returns a copy of `source` without its children, or null.
json_node* copy_of(const json_node& source) {
  json_node* copy = json_new_node();
  if (copy == nullptr) return nullptr;
  copy->type = source.type;
  copy->is_integer = source.is_integer;
  copy->integer = source.integer;
  copy->number = source.number;
  if (copy_text(&copy->key, source.key) && copy_text(&copy->text, source.text)) return copy;
  json_delete(copy);
  return nullptr;
}

template <class Value, class Maker>
json_node* array_of(const Value* values, std::int32_t count, Maker maker) {
  json_tree tree;
  if (!tree.append(json_new_array())) return nullptr;
  tree.open();
  for (std::int32_t i = 0; i < count; ++i) {
    if (!tree.append(maker(values[i]))) return nullptr;
  }
  tree.close();
  return tree.release();
}

}  // namespace

void json_set_hooks(const json_allocator* hooks) {
  hooks_in_force = standard_hooks;
  if (hooks == nullptr) return;
  if (hooks->allocate != nullptr) hooks_in_force.allocate = hooks->allocate;
  if (hooks->resize != nullptr) hooks_in_force.resize = hooks->resize;
  if (hooks->release != nullptr) hooks_in_force.release = hooks->release;
}

const json_allocator& json_hooks() { return hooks_in_force; }

json_node* json_new_node() {
  void* block = hooks_in_force.allocate(sizeof(json_node));
  if (block == nullptr) return nullptr;
  return static_cast<json_node*>(std::memset(block, 0, sizeof(json_node)));
}

char* json_strdup(const char* text) {
  if (text == nullptr) return nullptr;
  const std::size_t size = std::strlen(text) + 1;
  void* block = hooks_in_force.allocate(size);
  if (block == nullptr) return nullptr;
  return static_cast<char*>(std::memcpy(block, text, size));
}

// Needs no stack, because a child is taken off its parent's list and its `prev` is then used as the
// link back to the parent.
void json_delete(json_node* node) {
  if (node == nullptr) return;
  node->prev = nullptr;
  while (node != nullptr) {
    if (json_node* child = node->child) {
      node->child = child->next;
      child->prev = node;
      node = child;
    } else {
      json_node* parent = node->prev;
      release_text(node->text);
      release_text(node->key);
      hooks_in_force.release(node);
      node = parent;
    }
  }
}

json_node* json_duplicate(const json_node* node) {
  json_tree tree;
  growing_stack<const json_node*> path;
  if (node == nullptr || !tree.append(copy_of(*node))) return nullptr;
  while (true) {
    if (node->child != nullptr) {
      if (!path.push(node)) return nullptr;
      tree.open();
      node = node->child;
    } else {
      while (path.depth() > 0 && node->next == nullptr) {
        node = path.pop();
        tree.close();
      }
      if (path.depth() == 0) return tree.release();
      node = node->next;
    }
    if (!tree.append(copy_of(*node))) return nullptr;
  }
}

json_node* json_new_null() { return new_of_type(JSON_NULL); }
json_node* json_new_true() { return new_of_type(JSON_TRUE); }
json_node* json_new_false() { return new_of_type(JSON_FALSE); }
json_node* json_new_array() { return new_of_type(JSON_ARRAY); }
json_node* json_new_object() { return new_of_type(JSON_OBJECT); }

json_node* json_new_double(double value) {
  json_node* node = new_of_type(JSON_NUMBER);
  if (node != nullptr) node->number = value;
  return node;
}

json_node* json_new_integer(std::int64_t value) {
  json_node* node = new_of_type(JSON_NUMBER);
  if (node == nullptr) return nullptr;
  node->integer = value;
  node->is_integer = 1;
  return node;
}

json_node* json_new_string(const char* text) {
  char* copy = json_strdup(text);
  json_node* node = json_new_string_owned(copy);
  if (node == nullptr) release_text(copy);
  return node;
}

json_node* json_new_string_owned(char* text) {
  if (text == nullptr) return nullptr;
  json_node* node = new_of_type(JSON_STRING);
  if (node != nullptr) node->text = text;
  return node;
}

json_node* json_new_integer_array(const std::int64_t* values, std::int32_t count) {
  return array_of(values, count, json_new_integer);
}

json_node* json_new_float_array(const float* values, std::int32_t count) {
  return array_of(values, count, [](float value) { return json_new_double(value); });
}

json_node* json_new_double_array(const double* values, std::int32_t count) {
  return array_of(values, count, json_new_double);
}

json_node* json_new_string_array(const char* const* values, std::int32_t count) {
  return array_of(values, count, json_new_string);
}

}  // namespace kvrpc
