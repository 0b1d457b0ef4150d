// The places to which a walk over nested values must return, in one growing array from the
// allocation hooks. Recursion would keep them on the stack, which deep or long data would overflow.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "json/json.h"

namespace kvrpc {

template <class Place>
class growing_stack {
  static_assert(std::is_trivially_copyable<Place>::value, "moved by the resize hook");

 public:
  growing_stack() = default;
  ~growing_stack() {
    if (places_ != nullptr) json_hooks().release(places_);
  }
  growing_stack(const growing_stack&) = delete;
  growing_stack& operator=(const growing_stack&) = delete;

  std::size_t depth() const { return depth_; }

  // Returns false if memory is out, and leaves the stack unchanged.
  bool push(const Place& place) {
    if (depth_ == capacity_ && !grow()) return false;
    places_[depth_++] = place;
    return true;
  }

  // Return the place that was pushed last. pop() also removes it. The stack must not be empty.
  const Place& top() const { return places_[depth_ - 1]; }
  Place pop() { return places_[--depth_]; }

 private:
  bool grow() {
    if (capacity_ > SIZE_MAX / 2 / sizeof(Place)) return false;
    const std::size_t capacity = capacity_ == 0 ? 16 : 2 * capacity_;
    void* moved = json_hooks().resize(places_, capacity * sizeof(Place));
    if (moved == nullptr) return false;
    places_ = static_cast<Place*>(moved);
    capacity_ = capacity;
    return true;
  }

  Place* places_ = nullptr;
  std::size_t depth_ = 0;
  std::size_t capacity_ = 0;
};

}  // namespace kvrpc
