#include "bridge/tree_sink.h"

#include <cstring>

#include "bridge/base64.h"
#include "bridge/uc2.h"

namespace kvrpc {

namespace {

char* new_text(std::size_t size) {
  return size == SIZE_MAX ? nullptr : static_cast<char*>(json_hooks().allocate(size + 1));
}

// A string node that owns `text`; the text goes when the node cannot be made.
json_node* string_of(char* text) {
  json_node* node = json_new_string_owned(text);
  if (node == nullptr && text != nullptr) json_hooks().release(text);
  return node;
}

std::size_t utf8_size(const char* bytes, std::size_t size) {
  std::size_t total = 0;
  for (std::size_t i = 0; i < size; ++i)
    total += iso_utf8[static_cast<unsigned char>(bytes[i])].size;
  return total;
}

}  // namespace

int tree_sink::iso_text(const char* bytes, std::size_t size) {
  char* text = new_text(utf8_size(bytes, size));
  if (text == nullptr) return 0;
  char* place = text;
  for (std::size_t i = 0; i < size; ++i) {
    const utf8_form& form = iso_utf8[static_cast<unsigned char>(bytes[i])];
    std::memcpy(place, form.bytes, form.size);
    place += form.size;
  }
  *place = '\0';
  return add(string_of(text));
}

int tree_sink::plain_text(const char* bytes, std::size_t size) {
  char* text = new_text(size);
  if (text == nullptr) return 0;
  std::memcpy(text, bytes, size);
  text[size] = '\0';
  return add(string_of(text));
}

int tree_sink::base64(const void* bytes, std::size_t size) {
  if (size > SIZE_MAX / 2 - 8) return 0;
  char* text = new_text(base64_text_size(size));
  if (text == nullptr) return 0;
  *base64_encode_to(text, bytes, size) = '\0';
  return add(string_of(text));
}

int tree_sink::add(json_node* node) {
  if (node == nullptr) return 0;
  if (key_ != nullptr) {
    node->key = json_strdup(key_);
    key_ = nullptr;
    if (node->key == nullptr) {
      json_delete(node);
      return 0;
    }
  }
  if (open_.container == nullptr) {
    root_ = node;
  } else if (open_.tail == nullptr) {
    open_.container->child = node;
  } else {
    json_link(open_.tail, node);
  }
  open_.tail = node;
  return 1;
}

int tree_sink::begin(json_node* container) {
  if (!add(container)) return 0;
  if (!outer_.push(open_)) return 0;
  open_ = {container, nullptr};
  return 1;
}

int tree_sink::end() {
  open_ = outer_.pop();
  return 1;
}

json_node* tree_sink::release() {
  json_node* tree = root_;
  root_ = nullptr;
  return tree;
}

}  // namespace kvrpc
