#include "bridge/record_arena.h"

#include <algorithm>
#include <cstdlib>

namespace kvrpc {

namespace {

constexpr std::size_t largest_chunk = std::size_t{64} * 1024;

}  // namespace

struct alignas(8) record_arena::chunk {
  chunk* before;
};

record_arena::~record_arena() {
  while (last_ != nullptr) {
    chunk* const before = last_->before;
    std::free(last_);
    last_ = before;
  }
}

char* record_arena::take(std::size_t size) {
  const std::size_t rounded = (size + 8) / 8 * 8;
  if (rounded > left_ && !grow(rounded)) return nullptr;
  char* const place = free_;
  free_ += rounded;
  left_ -= rounded;
  used_ += rounded;
  return place;
}

bool record_arena::grow(std::size_t size) {
  const std::size_t room = std::max(size, next_size_);
  auto* fresh = static_cast<chunk*>(std::calloc(1, sizeof(chunk) + room));
  if (fresh == nullptr) return false;
  fresh->before = last_;
  last_ = fresh;
  free_ = reinterpret_cast<char*>(fresh + 1);
  left_ = room;
  next_size_ = std::min(2 * next_size_, largest_chunk);
  return true;
}

}  // namespace kvrpc
