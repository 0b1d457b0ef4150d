// Lookup in containers and changes to them. All of these walk the child list, so nothing that must
// be linear in a container's length uses them in a loop.
#include "json/json.h"

namespace kvrpc {

namespace {

char lower(char byte) {
  return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte;
}

bool equal_but_for_case(const char* a, const char* b) {
  while (*a != '\0' && lower(*a) == lower(*b)) ++a, ++b;
  return lower(*a) == lower(*b);
}

json_node* detached(json_node* container, json_node* node) {
  json_unlink(container, node);
  return node;
}

int deleted(json_node* container, json_node* node) {
  if (node == nullptr) return 0;
  json_delete(detached(container, node));
  return 1;
}

}  // namespace

std::uint32_t json_child_count(const json_node* container) {
  std::uint32_t count = 0;
  for (const json_node* child = container->child; child != nullptr; child = child->next) ++count;
  return count;
}

json_node* json_child_at(const json_node* container, std::uint32_t index) {
  json_node* child = container->child;
  while (child != nullptr && index-- > 0) child = child->next;
  return child;
}

json_node* json_find(const json_node* container, const char* key) {
  if (container == nullptr) return nullptr;
  json_node* child = container->child;
  for (; child != nullptr && child->key != nullptr; child = child->next) {
    if (equal_but_for_case(child->key, key)) return child;
  }
  return nullptr;
}

int json_add_item(json_node* container, json_node* child) {
  if (child == nullptr) return 0;
  if (container->child == nullptr) {
    container->child = child;
    return 1;
  }
  json_node* tail = container->child;
  while (tail->next != nullptr) tail = tail->next;
  json_link(tail, child);
  return 1;
}

int json_add_member(json_node* object, const char* key, json_node* child) {
  if (child == nullptr) return 0;
  if (child->key != nullptr) json_hooks().release(child->key);
  child->key = json_strdup(key);
  return child->key == nullptr ? 0 : json_add_item(object, child);
}

int json_delete_at(json_node* container, std::uint32_t index) {
  return deleted(container, json_child_at(container, index));
}

int json_delete_member(json_node* object, const char* key) {
  return deleted(object, json_find(object, key));
}

json_node* json_detach_at(json_node* container, std::uint32_t index) {
  return detached(container, json_child_at(container, index));
}

json_node* json_detach_member(json_node* object, const char* key) {
  return detached(object, json_find(object, key));
}

int json_replace_member(json_node* object, const char* key, json_node* child) {
  json_delete_member(object, key);
  return json_add_member(object, key, child);
}

void json_unlink(json_node* container, json_node* node) {
  if (node == nullptr) return;
  if (container != nullptr) {
    (node->prev != nullptr ? node->prev->next : container->child) = node->next;
    if (node->next != nullptr) node->next->prev = node->prev;
  }
  node->prev = node->next = nullptr;
}

json_node* json_link(json_node* earlier, json_node* later) {
  earlier->next = later;
  later->prev = earlier;
  return earlier;
}

}  // namespace kvrpc
