// What the system says about large blocks of memory, for the blocks of reply texts. Separate from
// reply_text.cpp, because this is the part that depends on the system.
#pragma once

#include <cstddef>

namespace kvrpc {

// Asks the system to back a large block with huge pages (Linux: MADV_HUGEPAGE), because faulting in
// small pages can take longer than filling them. Must be called before the block is written to.
// Returns false where there are no such pages. Keeps errno.
bool use_large_pages(void* block, std::size_t size);

// True if realloc gives back what it cuts off a block. Otherwise a block that was cut still takes
// the address space of the whole.
extern const bool cut_blocks_shrink;

}  // namespace kvrpc
