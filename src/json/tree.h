// Building a tree without recursion, for the sources of this directory alone.
//
// json_tree builds in the order of the text. While a container is open, its `next` holds the
// container around it. This link is free then, because an open container is the last of its
// siblings. So depth costs no memory, and a child is linked after the last one without a walk. The
// builder owns the tree until release(), and its destructor deletes what was not released.
#pragma once

#include "json/json.h"

namespace kvrpc {

class json_tree {
 public:
  json_tree() = default;
  ~json_tree();
  json_tree(const json_tree&) = delete;
  json_tree& operator=(const json_tree&) = delete;

  // Appends `node` as the root or as the open container's next child, and then owns it. Returns
  // false if it is null.
  bool append(json_node* node) {
    if (node == nullptr) return false;
    if (last_ != nullptr) {
      json_link(last_, node);
    } else {
      (open_ != nullptr ? open_->child : root_) = node;
    }
    last_ = node;
    return true;
  }
  // Makes the last node the open container.
  void open() {
    last_->next = open_;
    open_ = last_;
    last_ = nullptr;
  }
  // Ends the open container, which is then the last node of the one around it.
  void close() {
    last_ = open_;
    open_ = last_->next;
    last_->next = nullptr;
  }

  // Returns the open container, or null outside of the root.
  json_node* container() const { return open_; }
  // Returns the open container's last child so far, or null. Outside of all containers, returns the
  // root.
  json_node* last() const { return last_; }

  // Closes all containers and returns the root, which is now the caller's.
  json_node* release();

 private:
  json_node* root_ = nullptr;
  json_node* open_ = nullptr;
  json_node* last_ = nullptr;
};

}  // namespace kvrpc
