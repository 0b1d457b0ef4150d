// Allocates the chunks of an arena, each three times as large as the one before it, up to a limit.
#include "json/memory.h"

#include <algorithm>

namespace kvrpc {

namespace {

// After freeing a mapped block of at most 32 MiB, glibc keeps blocks of its size in the heap, and
// up to twice its size unused at the heap's end. The largest chunk of an arena outweighs all others
// together, so the next long call finds its memory there. Fresh pages would cost it as much time as
// the parsing.
constexpr std::size_t smallest_chunk = std::size_t{8} << 10;
constexpr std::size_t largest_chunk = std::size_t{24} << 20;

}  // namespace

json_arena::~json_arena() {
  for (chunk* each = chunks_; each != nullptr;) {
    chunk* const next = each->next;
    json_hooks().release(each);
    each = next;
  }
  if (text_block_ != nullptr) json_hooks().release(text_block_);
}

bool json_arena::start(std::size_t size) {
  next_text_ = short_text_;
  if (size <= first_text) return true;
  text_block_ = static_cast<char*>(json_hooks().allocate(size));
  next_text_ = text_block_;
  return text_block_ != nullptr;
}

bool json_arena::grow() {
  const std::size_t size = std::clamp(3 * chunk_size_, smallest_chunk, largest_chunk);
  auto* const added = static_cast<chunk*>(json_hooks().allocate(size));
  if (added == nullptr) return false;
  added->next = chunks_;
  chunks_ = added;
  chunk_size_ = size;
  next_node_ = reinterpret_cast<json_node*>(added + 1);
  node_limit_ = next_node_ + (size - sizeof(chunk)) / sizeof(json_node);
  return true;
}

}  // namespace kvrpc
