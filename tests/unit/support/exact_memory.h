// Memory for a text_buffer that grants exactly the bytes asked for, so that each byte which a
// writer touches beyond its room is seen: by the sanitizer, or else by a guard after the block,
// which ends the program. Longer texts grow like any other, because copying them for each value
// would take too long.
#pragma once

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "json/text_buffer.h"

namespace kvrpc::test {

namespace exact {

constexpr std::size_t most_exact = 32 << 10;
// The block's size is kept in the headroom.
constexpr std::size_t headroom = 16;
#ifdef __SANITIZE_ADDRESS__
constexpr std::size_t guard_size = 0;
#else
constexpr std::size_t guard_size = 32;
#endif
constexpr char guard = 0x5A;

inline void check(const char* block) {
  std::size_t size;
  std::memcpy(&size, block, sizeof size);
  for (std::size_t i = 0; i < guard_size; ++i) {
    if (block[size + i] == guard) continue;
    std::fprintf(stderr, "byte %zu after a text's room was overwritten\n", i);
    std::abort();
  }
}

inline text_block resize(char* block, std::size_t, std::size_t least, std::size_t wanted) {
  if (block != nullptr) check(block);
  const std::size_t size = least <= most_exact ? least : wanted;
  auto* const grown = static_cast<char*>(std::realloc(block, size + guard_size));
  if (grown == nullptr) return {nullptr, 0};
  std::memcpy(grown, &size, sizeof size);
  std::memset(grown + size, guard, guard_size);
  return {grown, size};
}

inline void release(char* block) {
  check(block);
  std::free(block);
}

}  // namespace exact

constexpr text_memory exact_memory = {exact::headroom, exact::resize, exact::release};

}  // namespace kvrpc::test
