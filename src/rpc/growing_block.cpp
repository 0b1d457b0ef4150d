// Blocks that grow by doubling, so that a large count costs nothing before its bytes arrive.
#include "rpc/growing_block.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "rpc/rpc_os.h"

namespace kvrpc {

std::uint32_t first_block_elements(std::uint32_t element_size) {
  return std::max(1u, first_block_bytes / std::max(1u, element_size));
}

std::uint32_t next_room(std::uint32_t arrived, std::uint32_t first, std::uint32_t all) {
  const std::uint64_t room = std::max<std::uint64_t>(2ull * arrived, first);
  return static_cast<std::uint32_t>(std::min<std::uint64_t>(all, room));
}

char* grow_block(char* block, std::uint64_t kept, std::uint64_t bytes, const char* routine) {
  void* const moved =
      bytes < SIZE_MAX ? std::realloc(block, static_cast<std::size_t>(bytes) + 1) : nullptr;
  if (moved == nullptr) {
    rpc_report("%s: out of memory\n", routine);
    return nullptr;
  }
  char* const grown = static_cast<char*>(moved);
  std::memset(grown + kept, 0, static_cast<std::size_t>(bytes - kept) + 1);
  return grown;
}

}  // namespace kvrpc
