// The window's slow paths: bytes that are not in one piece in the stream's buffer, and look-ahead.
#include "bridge/wire_window.h"

namespace kvrpc {

// Reads `size` more bytes to the end of those in the window's memory.
bool wire_window::read(std::size_t size) {
  const auto room = static_cast<std::size_t>(bytes_ + window_room - end_);
  failed_ = failed_ || size > room ||
            (size > 0 && !XDR_GETBYTES(xdrs_, end_, static_cast<std::uint32_t>(size)));
  if (!failed_) end_ += size;
  return !failed_;
}

const char* wire_window::gather(std::uint32_t size) {
  const auto ready = static_cast<std::size_t>(end_ - next_);
  if (ready < size) {
    std::memmove(bytes_, next_, ready);
    next_ = bytes_;
    end_ = bytes_ + ready;
    if (!read(size - ready)) return nullptr;
  }
  const char* const wire = next_;
  next_ += size;
  return wire;
}

const char* wire_window::hold(const char* wire, std::size_t size) {
  if (wire >= bytes_ && wire <= bytes_ + window_room) return wire;
  std::memcpy(bytes_, wire, size);
  next_ = end_ = bytes_ + size;
  return bytes_;
}

bool wire_window::reach(const char* held, std::size_t size) {
  const auto ready = static_cast<std::size_t>(end_ - held);
  return ready >= size || read(size - ready);
}

}  // namespace kvrpc
