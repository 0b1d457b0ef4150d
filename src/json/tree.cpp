// The parts of json_tree and json_path that need no speed: their destructors, and the growth of a
// path.
#include "json/tree.h"

#include <cstdint>

namespace kvrpc {

json_tree::~json_tree() { json_delete(release()); }

json_node* json_tree::release() {
  while (open_ != nullptr) close();
  json_node* root = root_;
  root_ = last_ = nullptr;
  return root;
}

json_path::~json_path() {
  if (containers_ != nullptr) json_hooks().release(containers_);
}

bool json_path::push(const json_node* container) {
  if (depth_ == capacity_) {
    if (capacity_ > SIZE_MAX / 2 / sizeof *containers_) return false;
    const std::size_t capacity = capacity_ == 0 ? 16 : capacity_ * 2;
    void* moved = json_hooks().resize(containers_, capacity * sizeof *containers_);
    if (moved == nullptr) return false;
    containers_ = static_cast<const json_node**>(moved);
    capacity_ = capacity;
  }
  containers_[depth_++] = container;
  return true;
}

}  // namespace kvrpc
