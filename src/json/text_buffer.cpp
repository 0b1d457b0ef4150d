#include "json/text_buffer.h"

#include <algorithm>
#include <cstdint>

namespace kvrpc {

namespace {

constexpr std::size_t smallest_block = 256;
constexpr std::size_t second_block = 4096;
constexpr std::size_t largest_block = PTRDIFF_MAX;

}  // namespace

text_buffer::~text_buffer() {
  if (begin_ != nullptr) memory_.release(begin_ - headroom_);
}

void text_buffer::clear() {
  end_ = begin_;
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
  if (failed_ || count >= largest_block - used - headroom_) {
    fail();
    return nullptr;
  }
  const std::size_t doubled = used > largest_block / 2 ? largest_block : used * 2;
  const std::size_t least = used == 0 ? smallest_block : second_block;
  const std::size_t block = std::max({used + count + 1, doubled, least});
  char* const before = begin_ != nullptr ? begin_ - headroom_ : nullptr;
  auto* const moved = static_cast<char*>(memory_.resize(before, headroom_ + block));
  if (moved == nullptr) {
    fail();
    return nullptr;
  }
  begin_ = moved + headroom_;
  end_ = begin_ + used;
  limit_ = block_end_ = begin_ + block;
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
