// Makes the allocations of the code under test fail, and counts the blocks it holds.
//
// The test programs are linked with the linker's --wrap for malloc, calloc, realloc and free, so
// that every call from this project's object files comes here; the C++ library and GoogleTest
// keep their own. Counting is per process: use it on one thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kvrpc::test {

class failing_heap {
 public:
  // From now on the allocation with this number (0 is the next one) fails, and, with
  // `all_later`, every later one as well. A negative number fails none and only counts.
  explicit failing_heap(std::int64_t fail_at, bool all_later = false);
  ~failing_heap();
  failing_heap(const failing_heap&) = delete;
  failing_heap& operator=(const failing_heap&) = delete;

  std::int64_t allocations() const;  // asked for since construction, failed ones included
  std::int64_t live_blocks() const;  // allocated less released since construction
  std::size_t peak_bytes() const;    // the most bytes held at one time since construction
  bool failed() const;               // true if an allocation was made to fail
};

// Runs `body(number)` for 0, 1, 2, ... until a run in which no allocation failed, and returns the
// number of failing runs. `body` makes its own failing_heap with the number it is given and
// returns whether that heap failed an allocation.
template <class Body>
std::int64_t fail_each_allocation(Body body) {
  std::int64_t number = 0;
  while (body(number)) ++number;
  return number;
}

}  // namespace kvrpc::test
