#include "module/reply_text.h"

#include <cstddef>
#include <cstring>

#include "rpc/rpc_os.h"

namespace kvrpc {

namespace {

constexpr std::size_t header_size = offsetof(PyBytesObject, ob_sval);

// The sizes of blocks. What is not touched of a block costs nothing, and growing in small steps
// would copy the text, or move its pages, time and again. The largest step is one of large pages.
constexpr std::size_t block_sizes[] = {256, std::size_t{4} << 10, std::size_t{64} << 10,
                                       std::size_t{1} << 20, std::size_t{64} << 20};
constexpr std::size_t most_without_large_pages = std::size_t{1} << 20;

std::size_t block_size(std::size_t least) {
  for (const std::size_t size : block_sizes) {
    if (size >= least) return size;
  }
  return least;
}

// Moves a text to a block of large pages, which have to be asked for before the first is touched;
// null when there is no memory for it.
char* move_to_large_pages(char* block, std::size_t used, std::size_t size) {
  auto* const large = static_cast<char*>(PyObject_Malloc(size));
  if (large == nullptr) return nullptr;
  rpc_use_large_pages(large, size);
  std::memcpy(large, block, used);
  PyObject_Free(block);
  return large;
}

// A heap may hand blocks from some size on to the system and back, so that each is fresh pages
// again, until it has been given one back that was as large. Cut to fit, those of replies never
// are.
void keep_blocks_in_heap() {
  static bool kept = false;
  if (!kept) PyObject_Free(PyObject_Malloc(2 * most_without_large_pages));
  kept = true;
}

// The size of the step, or no more than what is asked for when memory is short.
text_block resize_reply(char* block, std::size_t used, std::size_t size) {
  keep_blocks_in_heap();
  const std::size_t attempts[] = {block_size(size), size};
  for (const std::size_t attempt : attempts) {
    const bool first_large = used <= most_without_large_pages && attempt > most_without_large_pages;
    char* const moved = first_large && block != nullptr
                            ? move_to_large_pages(block, used, attempt)
                            : static_cast<char*>(PyObject_Realloc(block, attempt));
    if (moved != nullptr) return {moved, attempt};
  }
  return {nullptr, 0};
}

void release_reply(char* block) { PyObject_Free(block); }

// Makes a bytes object of a block that has `size` bytes and a NUL behind room for the header.
PyObject* make_bytes(char* block, std::size_t size) {
  auto* const bytes = reinterpret_cast<PyBytesObject*>(block);
  PyObject_InitVar(reinterpret_cast<PyVarObject*>(bytes), &PyBytes_Type,
                   static_cast<Py_ssize_t>(size));
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"  // newer headers warn of the member
  bytes->ob_shash = -1;                                     // no hash is known yet
#pragma GCC diagnostic pop
  return reinterpret_cast<PyObject*>(bytes);
}

}  // namespace

const text_memory reply_memory = {header_size, resize_reply, release_reply};

PyObject* take_reply(text_buffer& text) {
  const std::size_t size = text.size();
  char* const bytes = text.release();
  if (bytes == nullptr) return PyErr_NoMemory();
  char* const block = bytes - header_size;
  void* const fitted = PyObject_Realloc(block, header_size + size + 1);
  return make_bytes(fitted != nullptr ? static_cast<char*>(fitted) : block, size);
}

}  // namespace kvrpc
