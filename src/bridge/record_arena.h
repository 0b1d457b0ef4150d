// The memory of the records that one result holds: nodes of lists and targets of pointers, taken
// one behind the other from a few large chunks, and given back all at once.
//
// A record of a thousand nodes so costs a few allocations, and its nodes lie in the order in which
// they are read again. Chunks double up to 64 KiB, so that little is taken ahead of need.
#pragma once

#include <cstddef>

namespace kvrpc {

class record_arena {
 public:
  record_arena() = default;
  ~record_arena();
  record_arena(const record_arena&) = delete;
  record_arena& operator=(const record_arena&) = delete;

  // `size` zero-filled bytes and one more, at a multiple of 8; null when memory is out.
  char* take(std::size_t size);

  // The bytes taken so far.
  std::size_t used() const { return used_; }

 private:
  struct chunk;
  bool grow(std::size_t size);

  chunk* last_ = nullptr;
  char* free_ = nullptr;
  std::size_t left_ = 0;
  std::size_t used_ = 0;
  std::size_t next_size_ = 2048;
};

}  // namespace kvrpc
