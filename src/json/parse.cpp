#include "json/parse.h"

#include <cstring>

namespace kvrpc {

namespace {

// The keyword at `at`, which needs no end of word behind it, or null.
const char* parse_keyword(json_node* node, const char* at) {
  if (std::strncmp(at, "null", 4) == 0) {
    node->type = JSON_NULL;
    return at + 4;
  }
  if (std::strncmp(at, "false", 5) == 0) {
    node->type = JSON_FALSE;
    node->is_integer = 1;
    return at + 5;
  }
  if (std::strncmp(at, "true", 4) == 0) {
    node->type = JSON_TRUE;
    node->integer = 1;
    node->is_integer = 1;
    return at + 4;
  }
  return nullptr;
}

// Reads the opening bracket of the tree's last node, whose children come next.
const char* open_container(json_tree& tree, const char* at) {
  tree.last()->type = *at == '[' ? JSON_ARRAY : JSON_OBJECT;
  tree.open();
  return at + 1;
}

// Reads the value of the tree's last node, of a container only the beginning.
const char* begin_value(json_tree& tree, const char* at, const char* end) {
  if (at == nullptr) return nullptr;
  if (*at == '"') return json_parse_string(tree.last(), at, end);
  if (*at == '[' || *at == '{') return open_container(tree, at);
  if (*at == '-' || (*at >= '0' && *at <= '9')) return json_parse_number(tree.last(), at, end);
  return parse_keyword(tree.last(), at);
}

// Reads a member's name and the colon.
const char* parse_key(json_node* node, const char* at, const char* end) {
  at = json_skip(json_parse_string(node, at, end), end);
  if (at == nullptr || *at != ':') return nullptr;
  node->key = node->text;
  node->text = nullptr;
  return at + 1;
}

// Makes the open container's next child and goes to the place of its value.
const char* begin_child(json_tree& tree, const char* at, const char* end) {
  if (!tree.append(json_new_node())) return nullptr;
  at = json_skip(at, end);
  if (tree.container()->type == JSON_ARRAY) return at;
  return json_skip(parse_key(tree.last(), at, end), end);
}

// Goes from behind a value or an opening bracket to the place of the next value, closing the
// containers that end before it; behind the root when that has ended.
const char* end_value(json_tree& tree, const char* at, const char* end) {
  while (const json_node* container = tree.container()) {
    at = json_skip(at, end);
    if (at == nullptr) return nullptr;
    if (*at == (container->type == JSON_ARRAY ? ']' : '}')) {
      tree.close();
      ++at;
    } else if (tree.last() == nullptr) {
      return begin_child(tree, at, end);
    } else {
      return *at == ',' ? begin_child(tree, at + 1, end) : nullptr;
    }
  }
  return at;
}

}  // namespace

const char* json_skip(const char* at, const char* end) {
  if (at == nullptr || at > end) return nullptr;
  while (at < end && static_cast<signed char>(*at) <= 32) ++at;
  return at;
}

const char* json_parse_value(json_tree& tree, const char* at, const char* end) {
  if (!tree.append(json_new_node())) return nullptr;
  do {
    at = begin_value(tree, at, end);
    if (at == nullptr) return nullptr;
    at = end_value(tree, at, end);
  } while (at != nullptr && tree.container() != nullptr);
  return at;
}

json_node* json_parse(const char* text) {
  if (text == nullptr || *text == '\0') return nullptr;
  const char* end = text + std::strlen(text);
  json_tree tree;
  if (json_parse_value(tree, json_skip(text, end), end) == nullptr) return nullptr;
  return tree.release();
}

}  // namespace kvrpc
