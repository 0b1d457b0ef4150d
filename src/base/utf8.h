// Writes characters as UTF-8.
#pragma once

#include <cstdint>

namespace kvrpc {

// Writes the sequence of a value below 0x110000, at most 4 bytes. Returns the position after it.
// The halves of a surrogate pair have sequences of their own.
constexpr char* write_utf8(char* place, std::uint32_t value) {
  const int size = value < 0x80 ? 1 : value < 0x800 ? 2 : value < 0x10000 ? 3 : 4;
  const std::uint32_t lead[] = {0x00, 0xC0, 0xE0, 0xF0};
  for (int i = size - 1; i > 0; --i, value >>= 6) {
    place[i] = static_cast<char>(0x80 | (value & 0x3F));
  }
  place[0] = static_cast<char>(lead[size - 1] | value);
  return place + size;
}

}  // namespace kvrpc
