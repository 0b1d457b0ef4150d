// The wrapped allocation functions, which count and fail for failing_heap.h.
#include "support/failing_heap.h"

#include <malloc.h>

#include <algorithm>
#include <cerrno>

extern "C" {
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* block, std::size_t size);
void __real_free(void* block);
}

namespace {

struct {
  bool active = false;
  std::int64_t fail_at = -1;
  bool all_later = false;
  std::int64_t allocations = 0;
  std::int64_t live_blocks = 0;
  std::int64_t bytes = 0;
  std::int64_t peak_bytes = 0;
  bool failed = false;
} heap;

std::int64_t size_of(void* block) {
#ifdef _WIN32
  return static_cast<std::int64_t>(_msize(block));
#else
  return static_cast<std::int64_t>(malloc_usable_size(block));
#endif
}

bool must_fail() {
  if (!heap.active) return false;
  const std::int64_t number = heap.allocations++;
  const bool fails =
      heap.fail_at >= 0 && (number == heap.fail_at || (heap.all_later && number > heap.fail_at));
  heap.failed = heap.failed || fails;
  if (fails) errno = ENOMEM;
  return fails;
}

void* taken(void* block) {
  if (heap.active && block != nullptr) {
    ++heap.live_blocks;
    heap.bytes += size_of(block);
    heap.peak_bytes = std::max(heap.peak_bytes, heap.bytes);
  }
  return block;
}

void given_back(void* block) {
  if (heap.active && block != nullptr) {
    --heap.live_blocks;
    heap.bytes -= size_of(block);
  }
}

}  // namespace

extern "C" {

void* __wrap_malloc(std::size_t size) { return must_fail() ? nullptr : taken(__real_malloc(size)); }

void* __wrap_calloc(std::size_t count, std::size_t size) {
  return must_fail() ? nullptr : taken(__real_calloc(count, size));
}

void* __wrap_realloc(void* block, std::size_t size) {
  if (must_fail()) return nullptr;
  const std::int64_t before = heap.active && block != nullptr ? size_of(block) : 0;
  void* moved = __real_realloc(block, size);
  if (heap.active && moved != nullptr) {
    if (block != nullptr) {
      --heap.live_blocks;
      heap.bytes -= before;
    }
    taken(moved);
  }
  return moved;
}

void __wrap_free(void* block) {
  given_back(block);
  __real_free(block);
}

}  // extern "C"

namespace kvrpc::test {

failing_heap::failing_heap(std::int64_t fail_at, bool all_later) {
  heap = {};
  heap.fail_at = fail_at;
  heap.all_later = all_later;
  heap.active = true;
}

failing_heap::~failing_heap() { heap.active = false; }

std::int64_t failing_heap::allocations() const { return heap.allocations; }
std::int64_t failing_heap::live_blocks() const { return heap.live_blocks; }
std::size_t failing_heap::peak_bytes() const { return static_cast<std::size_t>(heap.peak_bytes); }
bool failing_heap::failed() const { return heap.failed; }

}  // namespace kvrpc::test
