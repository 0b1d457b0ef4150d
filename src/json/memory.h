// Where the parser takes its nodes and texts from: json_arena for a call's tree, json_blocks for
// json_parse. Both have the same members, because the parser is a template over them.
//
// A call's tree is built once, read once and dropped as a whole, so its nodes are side by side in a
// few large allocations. The tree of json_parse may be taken apart node by node, so each of its
// nodes and texts is allocated separately by the hooks. On a call text of small nodes the arena is
// four times as fast.
#pragma once

#include <cstddef>
#include <cstring>

#include "json/json.h"

namespace kvrpc {

class json_arena {
 public:
  json_arena() = default;
  ~json_arena();
  json_arena(const json_arena&) = delete;
  json_arena& operator=(const json_arena&) = delete;

  // Makes room for the strings of a text of `size` bytes; must be called once, first. They fit
  // because a string takes at most the bytes that it has in the text: its NUL takes the place of
  // the opening quote. Returns false if memory is out.
  bool start(std::size_t size);

  // Returns a zero-filled node, or null if memory is out.
  json_node* node() {
    if (next_node_ == node_limit_ && !grow()) return nullptr;
    *next_node_ = json_node{};
    return next_node_++;
  }

  // Returns room for a string of `size` bytes, its NUL included. start() has reserved it.
  char* text(std::size_t size) {
    char* const place = next_text_;
    next_text_ += size;
    return place;
  }

  // Does nothing, because the nodes live as long as the arena.
  void drop(json_node*) {}

  // True because a write at a string's position may be as long as the rest of the call's text.
  static constexpr bool room_for_blocks = true;

 private:
  struct chunk {
    chunk* next;
  };

  bool grow();

  // Enough for most calls, so that these need no memory from the heap.
  static constexpr std::size_t first_nodes = 16;
  static constexpr std::size_t first_text = 256;

  json_node* next_node_ = nodes_;
  json_node* node_limit_ = nodes_ + first_nodes;
  char* next_text_ = nullptr;
  char* text_block_ = nullptr;
  chunk* chunks_ = nullptr;
  std::size_t chunk_size_ = 0;
  json_node nodes_[first_nodes];
  char short_text_[first_text];
};

class json_blocks {
 public:
  bool start(std::size_t) { return true; }
  json_node* node() { return json_new_node(); }
  char* text(std::size_t size) { return static_cast<char*>(json_hooks().allocate(size)); }
  void drop(json_node* root) { json_delete(root); }
  static constexpr bool room_for_blocks = false;  // each block has exactly its string's size
};

}  // namespace kvrpc
