// A contiguous view of the next bytes of a result, wherever a fragment or a receive buffer ends.
//
// take() returns bytes in place if the stream's buffer holds them all; otherwise it gathers them in
// the window's own memory. A reader that must look beyond the bytes it has taken calls hold()
// first, which moves them to the window's memory, and then reach() for what follows. Bytes that
// were only inspected are what the next take() returns. After one failure, every call fails.
#pragma once

#include <cstdint>
#include <cstring>

#include "rpc/xdr.h"

namespace kvrpc {

// Must hold the widest run of the interface and, if a text has no NUL, the fields that follow it up
// to a pointer: 4,008 bytes, as a unit test computes from the tables.
constexpr std::uint32_t window_room = 8192;

class wire_window {
 public:
  explicit wire_window(XDR* xdrs) : xdrs_(xdrs) {}
  wire_window(const wire_window&) = delete;
  wire_window& operator=(const wire_window&) = delete;

  // Returns the next `size` bytes, valid until the next call of take(), or null if they cannot be
  // read.
  const char* take(std::uint32_t size) {
    if (next_ == end_) {
      const char* const wire = XDR_INLINE(xdrs_, static_cast<std::int32_t>(size));
      if (wire != nullptr) return wire;
    }
    return gather(size);
  }

  // Moves the last `size` bytes taken, which are at `wire`, to the window's memory. Returns their
  // new position.
  const char* hold(const char* wire, std::size_t size);
  // Returns true if `size` bytes can be read at `held`, a position in the bytes that hold()
  // returned or after them.
  bool reach(const char* held, std::size_t size);

  bool failed() const { return failed_; }

 private:
  const char* gather(std::uint32_t size);
  bool read(std::size_t size);

  XDR* const xdrs_;
  bool failed_ = false;
  char* next_ = bytes_;  // [next_, end_) was inspected and not taken
  char* end_ = bytes_;
  char bytes_[window_room];
};

}  // namespace kvrpc
