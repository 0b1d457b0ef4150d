// Reads and writes the fields of a record in memory, and allocates what a record owns.
//
// All fields are copied with memcpy, because a record's table may put a pointer at any multiple of
// 4. Memory that a record owns comes from malloc or calloc. At least one zero byte must follow its
// contents, because texts are read up to their NUL.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace kvrpc {

template <class T>
T load(const void* place) {
  T value;
  std::memcpy(&value, place, sizeof value);
  return value;
}

template <class T>
void store(void* place, T value) {
  std::memcpy(place, &value, sizeof value);
}

// A counted block is a 32-bit count, then the pointer.
constexpr std::size_t block_pointer_offset = 4;

inline std::uint32_t load_block_count(const void* block) { return load<std::uint32_t>(block); }
inline char* load_block_pointer(const void* block) {
  return load<char*>(static_cast<const char*>(block) + block_pointer_offset);
}
inline void store_block(void* block, std::uint32_t count, char* bytes) {
  store(block, count);
  store(static_cast<char*>(block) + block_pointer_offset, bytes);
}

// Returns `size` + 1 zero bytes from the heap, or null if memory is out.
inline char* new_block(std::uint64_t size) {
  if (size >= SIZE_MAX) return nullptr;
  return static_cast<char*>(std::calloc(1, static_cast<std::size_t>(size) + 1));
}

// Owns memory from malloc or calloc, and frees it at the end of the scope.
struct free_memory {
  void operator()(char* memory) const { std::free(memory); }
};
using owned_block = std::unique_ptr<char, free_memory>;

}  // namespace kvrpc
