// How a tree is built and walked without recursion; for the sources of this directory alone.
//
// json_tree builds in the order of the text. While a container is open its `next`, which is null
// for as long as it is the last of its siblings, holds the container around it: depth costs no
// memory, and a child is linked behind the last one without a walk. The tree belongs to the
// builder until release(); the destructor deletes what was not released, open containers included.
//
// json_path remembers the containers around a node of a tree that may not be written to.
#pragma once

#include <cstddef>

#include "json/json.h"

namespace kvrpc {

class json_tree {
 public:
  json_tree() = default;
  ~json_tree();
  json_tree(const json_tree&) = delete;
  json_tree& operator=(const json_tree&) = delete;

  // Takes `node` over as the root or the open container's next child; false when it is null.
  bool append(json_node* node);
  // Makes the last node the open container.
  void open();
  // Ends the open container, which is then the last node of the one around it.
  void close();

  // The open container, null outside of the root.
  json_node* container() const { return open_; }
  // The open container's last child so far, or null; outside of all containers the root.
  json_node* last() const { return last_; }

  // The root, now the caller's; every container must be closed.
  json_node* release();

 private:
  json_node* root_ = nullptr;
  json_node* open_ = nullptr;
  json_node* last_ = nullptr;
};

class json_path {
 public:
  json_path() = default;
  ~json_path();
  json_path(const json_path&) = delete;
  json_path& operator=(const json_path&) = delete;

  std::size_t depth() const { return depth_; }
  // Enters a container; false when memory is out.
  bool push(const json_node* container);
  // The innermost container.
  const json_node* top() const { return containers_[depth_ - 1]; }
  void pop() { --depth_; }

 private:
  const json_node** containers_ = nullptr;
  std::size_t depth_ = 0;
  std::size_t capacity_ = 0;
};

}  // namespace kvrpc
