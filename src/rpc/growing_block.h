// Blocks on the heap whose content comes from a stream. They grow as it arrives, so that a count or
// a length that the stream cannot fill never takes more than twice what came, or one first block.
#pragma once

#include <cstdint>

namespace kvrpc {

// What a first block holds at most, in bytes and in elements of a size; at least one of these.
constexpr std::uint32_t first_block_bytes = 64 << 10;
std::uint32_t first_block_elements(std::uint32_t element_size);

// The number of bytes or elements to make room for when `arrived` are there, of `all` to come:
// twice as many, at least `first`, and never more than all.
std::uint32_t next_room(std::uint32_t arrived, std::uint32_t first, std::uint32_t all);

// The block, which may be null, `bytes` long, with one zero byte behind: the first `kept` bytes
// stay as they are, the others are zero. Null where there is no memory for it, after
// "<routine>: out of memory" on the standard error stream; the block then stays as it was.
char* grow_block(char* block, std::uint64_t kept, std::uint64_t bytes, const char* routine);

}  // namespace kvrpc
