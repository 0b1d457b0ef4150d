// The nodes to which a walker of a linked list must return, in one growing array on the heap.
// Recursion would keep them on the stack, which a long list would overflow.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <type_traits>

namespace kvrpc {

template <class Place>
class resume_stack {
  static_assert(std::is_trivially_copyable<Place>::value, "moved by realloc");

 public:
  resume_stack() = default;
  ~resume_stack() { std::free(places_); }
  resume_stack(const resume_stack&) = delete;
  resume_stack& operator=(const resume_stack&) = delete;

  bool empty() const { return count_ == 0; }

  // Returns false if memory is out, and leaves the stack unchanged.
  bool push(const Place& place) {
    if (count_ == capacity_ && !grow()) return false;
    places_[count_++] = place;
    return true;
  }

  // Returns the place that was pushed last and removes it. The stack must not be empty.
  Place pop() { return places_[--count_]; }

 private:
  bool grow() {
    const std::size_t capacity = capacity_ == 0 ? 64 : 2 * capacity_;
    if (capacity > SIZE_MAX / sizeof(Place)) return false;
    void* moved = std::realloc(places_, capacity * sizeof(Place));
    if (moved == nullptr) return false;
    places_ = static_cast<Place*>(moved);
    capacity_ = capacity;
    return true;
  }

  Place* places_ = nullptr;
  std::size_t count_ = 0;
  std::size_t capacity_ = 0;
};

}  // namespace kvrpc
