// A text that grows at its end, and the JSON forms of single values written to it.
//
// The buffer comes from the allocation hooks, or from others, and doubles as it grows, so that
// appending costs time linear in the bytes. An append that finds no memory returns false, leaves
// the text as it was and marks the buffer failed; every later append fails as well, so that a
// writer may look once at the end. release() hands the NUL-terminated text over; otherwise the
// destructor gives it back.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "json/json.h"

namespace kvrpc {

class text_buffer {
 public:
  // With `headroom` its block has so many bytes in front of the text, for what its owner puts
  // there.
  explicit text_buffer(const json_allocator& memory = json_hooks(), std::size_t headroom = 0)
      : memory_(memory), headroom_(headroom) {}
  ~text_buffer();
  text_buffer(const text_buffer&) = delete;
  text_buffer& operator=(const text_buffer&) = delete;

  // The place for `count` bytes behind the text, or null; commit() makes them part of it.
  char* reserve(std::size_t count) {
    if (count < static_cast<std::size_t>(limit_ - end_)) return end_;
    return grow(count);
  }
  void commit(std::size_t count) { end_ += count; }

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

  // Forgets the text and an earlier failure; the memory stays.
  void clear();

  // Marks the buffer failed, for a writer that has no text for its value; false.
  bool fail();

  // The NUL-terminated text, now the caller's, or null when the buffer has failed. Its block begins
  // with the headroom.
  char* release();

 private:
  char* grow(std::size_t count);

  const json_allocator memory_;
  const std::size_t headroom_;
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
