// A text that grows at its end, and the functions that append the JSON text of a value.
//
// The memory comes from the allocation hooks, or from the text_memory of the constructor. The
// buffer doubles as it grows, so appending takes time linear in the bytes. If memory is out, an
// append returns false, leaves the text unchanged and marks the buffer failed. Every later append
// then fails too, so a writer may test for failure once, at the end. release() passes the
// NUL-terminated text to the caller; otherwise the destructor releases it.
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

// The allocator of a text_buffer. A block here is its one allocation.
struct text_memory {
  std::size_t headroom;  // bytes before the text, for the use of the block's owner
  // Moves the first `used` bytes of `block`, which is null at first, to a new block. That must have
  // `least` bytes and should have `wanted`, so that appending takes time linear in the bytes. On
  // failure, returns null bytes and keeps the old block.
  text_block (*resize)(char* block, std::size_t used, std::size_t least, std::size_t wanted);
  void (*release)(char* block);
};

// Allocates with the allocation hooks.
extern const text_memory hook_memory;

class text_buffer {
 public:
  // `memory` must outlive the buffer.
  explicit text_buffer(const text_memory& memory = hook_memory) : memory_(memory) {}
  ~text_buffer();
  text_buffer(const text_buffer&) = delete;
  text_buffer& operator=(const text_buffer&) = delete;

  // Returns a position after the text with room for `count` bytes, or null if memory is out.
  // commit() makes the bytes written there part of the text.
  char* reserve(std::size_t count) {
    if (count < static_cast<std::size_t>(limit_ - end_)) return end_;
    return grow(count);
  }
  void commit(std::size_t count) { end_ += count; }
  // The same for all bytes up to `end`, a position in the room that reserve() returned.
  void commit_to(char* end) { end_ = end; }

  bool append(const char* bytes, std::size_t count) {
    char* place = reserve(count);
    if (place == nullptr) return false;
    std::memcpy(place, bytes, count);
    commit(count);
    return true;
  }
  bool append(char byte) { return append(&byte, 1); }
  bool append(std::size_t count, char byte) {
    char* place = reserve(count);
    if (place == nullptr) return false;
    std::memset(place, byte, count);
    commit(count);
    return true;
  }

  std::size_t size() const { return static_cast<std::size_t>(end_ - begin_); }
  const char* data() const { return begin_; }
  bool failed() const { return failed_; }

  // Truncates the text to `kept` bytes and clears any failure. Keeps the memory.
  void clear(std::size_t kept = 0);

  // Marks the buffer failed. Returns false, so that a writer can `return out.fail()`.
  bool fail();

  // Returns the NUL-terminated text, which then belongs to the caller, or null if the buffer has
  // failed. Its block begins with the headroom.
  char* release();

 private:
  char* grow(std::size_t count);

  const text_memory& memory_;
  char* begin_ = nullptr;
  char* end_ = nullptr;
  char* limit_ = nullptr;      // the text ends before it, so that its NUL has room
  char* block_end_ = nullptr;  // the value of limit_ unless the buffer has failed
  bool failed_ = false;
};

// Each returns false, and marks the buffer failed, if memory is out.

// Appends the decimal digits of `value`.
bool json_write_integer(text_buffer& out, std::int64_t value);
// Appends a quoted string of `count` bytes. Escapes '"', '\' and five control bytes, drops the
// other control bytes and copies all other bytes.
bool json_write_text(text_buffer& out, const char* bytes, std::size_t count);
// Appends the compact text of a tree.
bool json_write(text_buffer& out, const json_node* node);

}  // namespace kvrpc
