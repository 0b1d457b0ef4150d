// A text that grows at its end, and the JSON forms of single values written to it.
//
// The buffer comes from the allocation hooks, or from the memory that it is given, and doubles as
// it grows, so that appending costs time linear in the bytes. An append that finds no memory
// returns false, leaves the text as it was and marks the buffer failed; every later append fails as
// well, so that a writer may look once at the end. release() hands the NUL-terminated text over;
// otherwise the destructor gives it back.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "json/json.h"

namespace kvrpc {

struct text_block {
  char* bytes;  // null when memory is out
  std::size_t size;
};

// Where a text_buffer gets its block from.
struct text_memory {
  std::size_t headroom;  // bytes in front of the text, for what the block's owner puts there
  // Moves a block (null at first) with its first `used` bytes to one of `least` bytes or more. With
  // `wanted` bytes or more, appending costs time linear in the bytes. On failure the block stays.
  text_block (*resize)(char* block, std::size_t used, std::size_t least, std::size_t wanted);
  void (*release)(char* block);
};

// That of the allocation hooks.
extern const text_memory hook_memory;

class text_buffer {
 public:
  // `memory` has to outlive the buffer.
  explicit text_buffer(const text_memory& memory = hook_memory) : memory_(memory) {}
  ~text_buffer();
  text_buffer(const text_buffer&) = delete;
  text_buffer& operator=(const text_buffer&) = delete;

  // Returns the position of `count` bytes after the text, or null. commit() makes bytes part of it.
  char* reserve(std::size_t count) {
    if (count < static_cast<std::size_t>(limit_ - end_)) return end_;
    return grow(count);
  }
  void commit(std::size_t count) { end_ += count; }
  // The same up to `end`, a position in the bytes that reserve() returned.
  void commit_to(char* end) { end_ = end; }

  bool append(const char* bytes, std::size_t count) {
    char* place = reserve(count);
    if (place == nullptr) return false;
    std::memcpy(place, bytes, count);
    commit(count);
    return true;
  }
  bool append(char byte) { return append(&byte, 1); }

  std::size_t size() const { return static_cast<std::size_t>(end_ - begin_); }
  const char* data() const { return begin_; }
  bool failed() const { return failed_; }

  // Truncates the text to `kept` bytes and clears any failure. Keeps the memory.
  void clear(std::size_t kept = 0);

  // Marks the buffer failed. Returns false, so that a writer can `return out.fail()`.
  bool fail();

  // The NUL-terminated text, now the caller's, or null when the buffer has failed. Its block begins
  // with the headroom.
  char* release();

 private:
  char* grow(std::size_t count);

  const text_memory& memory_;
  char* begin_ = nullptr;
  char* end_ = nullptr;
  char* limit_ = nullptr;      // behind the block; the text always ends before it, for the NUL
  char* block_end_ = nullptr;  // where limit_ stands unless the buffer has failed
  bool failed_ = false;
};

// Decimal digits of `value`.
bool json_write_integer(text_buffer& out, std::int64_t value);
// A quoted string of `count` bytes: '"' and '\' and five control bytes escaped, the other control
// bytes dropped, everything else as it stands.
bool json_write_text(text_buffer& out, const char* bytes, std::size_t count);
// The compact text of a tree.
bool json_write(text_buffer& out, const json_node* node);

}  // namespace kvrpc
