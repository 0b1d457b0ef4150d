// The growth and the release of a text_buffer. The first block has at least 256 bytes, the second
// one at least 4096; later ones double.
#include "json/text_buffer.h"

#include <algorithm>
#include <cstdint>

namespace kvrpc {

namespace {

constexpr std::size_t smallest_block = 256;
constexpr std::size_t second_block = 4096;
constexpr std::size_t largest_block = PTRDIFF_MAX;

text_block resize_by_hook(char* block, std::size_t, std::size_t, std::size_t wanted) {
  return {static_cast<char*>(json_hooks().resize(block, wanted)), wanted};
}

void release_by_hook(char* block) { json_hooks().release(block); }

}  // namespace

const text_memory hook_memory = {0, resize_by_hook, release_by_hook};

text_buffer::~text_buffer() {
  if (begin_ != nullptr) memory_.release(begin_ - memory_.headroom);
}

void text_buffer::clear(std::size_t kept) {
  end_ = begin_ + kept;
  limit_ = block_end_;
  failed_ = false;
}

bool text_buffer::fail() {
  failed_ = true;
  limit_ = end_;  // sends every later reserve() to grow()
  return false;
}

char* text_buffer::grow(std::size_t count) {
  const std::size_t used = size();
  const std::size_t headroom = memory_.headroom;
  const std::size_t most = largest_block - headroom;
  if (failed_ || count >= most - used) {
    fail();
    return nullptr;
  }
  const std::size_t least = headroom + used + count + 1;
  const std::size_t doubled = headroom + (used > most / 2 ? most : used * 2);
  const std::size_t first = headroom + (used == 0 ? smallest_block : second_block);
  const std::size_t wanted = std::max({least, doubled, first});
  const bool fresh = begin_ == nullptr;
  const text_block moved = memory_.resize(fresh ? nullptr : begin_ - headroom,
                                          fresh ? 0 : headroom + used, least, wanted);
  if (moved.bytes == nullptr) {
    fail();
    return nullptr;
  }
  begin_ = moved.bytes + headroom;
  end_ = begin_ + used;
  limit_ = block_end_ = moved.bytes + moved.size;
  return end_;
}

char* text_buffer::release() {
  if (reserve(0) == nullptr || failed_) return nullptr;
  *end_ = '\0';
  char* text = begin_;
  begin_ = end_ = limit_ = block_end_ = nullptr;
  return text;
}

}  // namespace kvrpc
