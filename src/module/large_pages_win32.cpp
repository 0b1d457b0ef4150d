// No huge pages on Windows: they need a privilege there.
#include "module/large_pages.h"

namespace kvrpc {

bool use_large_pages(void*, std::size_t) { return false; }

const bool cut_blocks_shrink = false;

}  // namespace kvrpc
