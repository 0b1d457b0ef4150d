// The parts of json_tree that need no speed.
#include "json/tree.h"

namespace kvrpc {

json_tree::~json_tree() { json_delete(release()); }

json_node* json_tree::release() {
  while (open_ != nullptr) close();
  json_node* root = root_;
  root_ = last_ = nullptr;
  return root;
}

}  // namespace kvrpc
