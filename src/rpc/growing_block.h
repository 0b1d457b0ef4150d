// Blocks on the heap that are filled from a stream. They grow as bytes arrive, so that a count or
// length that the stream cannot fill allocates at most twice what has arrived, or one first block.
#pragma once

#include <cstdint>

namespace kvrpc {

// The size of a first block, in bytes, and the number of elements of a size in it, at least 1.
constexpr std::uint32_t first_block_bytes = 64 << 10;
std::uint32_t first_block_elements(std::uint32_t element_size);

// Returns the number of bytes or elements to make room for when `arrived` of `all` have arrived:
// twice as many, at least `first` and at most `all`. For example, next_room(100, 64, 150) is 150.
std::uint32_t next_room(std::uint32_t arrived, std::uint32_t first, std::uint32_t all);

// Resizes `block`, which may be null, to `bytes` and one more. Keeps the first `kept` bytes and
// sets all bytes after them to zero. Returns the block. Without memory, writes "<routine>: out of
// memory" to stderr, returns null and leaves the block as it was.
char* grow_block(char* block, std::uint64_t kept, std::uint64_t bytes, const char* routine);

}  // namespace kvrpc
