// Huge pages by madvise.
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>

#include "module/large_pages.h"

namespace kvrpc {

// Advises whole pages, from the first byte's to the last byte's. To advise only a part of a mapping
// would split it, and the whole could no longer grow in place.
bool use_large_pages([[maybe_unused]] void* block, [[maybe_unused]] std::size_t size) {
#ifdef MADV_HUGEPAGE
  const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  const std::size_t before = reinterpret_cast<std::uintptr_t>(block) % page;
  const int number = errno;
  const bool done = madvise(static_cast<char*>(block) - before,
                            (before + size + page - 1) / page * page, MADV_HUGEPAGE) == 0;
  errno = number;
  return done;
#else
  return false;
#endif
}

const bool cut_blocks_shrink = true;

}  // namespace kvrpc
