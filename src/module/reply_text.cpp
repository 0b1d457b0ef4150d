// The blocks of reply texts, and how a block becomes a bytes object. The block sizes and the use of
// huge pages are tuned to glibc, and harmless elsewhere.
#include "module/reply_text.h"

#include <cstddef>
#include <cstring>

#include "module/large_pages.h"

namespace kvrpc {

namespace {

constexpr std::size_t header_size = offsetof(PyBytesObject, ob_sval);

// The block sizes up to the largest that the heap keeps. They are few, because each growth copies
// the text. At the end, the block is cut to the text's size.
constexpr std::size_t block_sizes[] = {std::size_t{512}, std::size_t{4} << 10,
                                       std::size_t{64} << 10, std::size_t{1} << 20};
constexpr std::size_t most_in_heap = std::size_t{1} << 20;

// A text that outgrows them gets this much at once, if huge pages are available and a cut block
// shrinks. Untouched pages cost nothing, and growing in small steps would move pages again and
// again.
constexpr std::size_t large_block = std::size_t{64} << 20;

std::size_t block_size(std::size_t least) {
  for (const std::size_t size : block_sizes) {
    if (size >= least) return size;
  }
  return least;
}

// Moves the text of `block` to a large block and releases `block`. Returns null, with `block` as it
// was, if there is no large block. Huge pages must be requested before the first page is touched.
char* move_to_large_pages(char* block, std::size_t used) {
  auto* const large = static_cast<char*>(PyObject_Malloc(large_block));
  if (large == nullptr || !use_large_pages(large, large_block)) {
    PyObject_Free(large);
    return nullptr;
  }
  if (used > 0) std::memcpy(large, block, used);
  PyObject_Free(block);
  return large;
}

// glibc raises M_MMAP_THRESHOLD to the size of the largest mmapped block that is released. Releases
// one, so that the blocks of replies come from the heap and not as fresh pages each time. Replies
// would not do so by themselves, because they are cut to fit before they are released.
void keep_blocks_in_heap() {
  static bool kept = false;
  if (!kept) PyObject_Free(PyObject_Malloc(2 * most_in_heap));
  kept = true;
}

text_block resize_reply(char* block, std::size_t used, std::size_t, std::size_t size) {
  keep_blocks_in_heap();
  const bool outgrows_heap = used <= most_in_heap && size > most_in_heap && size <= large_block;
  if (outgrows_heap && cut_blocks_shrink) {
    char* const large = move_to_large_pages(block, used);
    if (large != nullptr) return {large, large_block};
  }
  const std::size_t step = block_size(size);
  void* const moved = PyObject_Realloc(block, step);
  if (moved != nullptr || step == size) return {static_cast<char*>(moved), step};
  return {static_cast<char*>(PyObject_Realloc(block, size)), size};  // memory is short
}

void release_reply(char* block) { PyObject_Free(block); }

// Returns the block as a bytes object. The block must have room for the header, then `size` bytes,
// then a NUL.
PyObject* make_bytes(char* block, std::size_t size) {
  auto* const bytes = reinterpret_cast<PyBytesObject*>(block);
  PyObject_InitVar(reinterpret_cast<PyVarObject*>(bytes), &PyBytes_Type,
                   static_cast<Py_ssize_t>(size));
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"  // ob_shash, in newer headers
  bytes->ob_shash = -1;                                     // no hash is known yet
#pragma GCC diagnostic pop
  return reinterpret_cast<PyObject*>(bytes);
}

}  // namespace

const text_memory reply_memory = {header_size, resize_reply, release_reply};

PyObject* take_reply(text_buffer& text) {
  const std::size_t size = text.size();
  if (!cut_blocks_shrink) {
    return PyBytes_FromStringAndSize(text.data(), static_cast<Py_ssize_t>(size));
  }
  char* const bytes = text.release();
  if (bytes == nullptr) return PyErr_NoMemory();
  char* const block = bytes - header_size;
  void* const fitted = PyObject_Realloc(block, header_size + size + 1);
  return make_bytes(fitted != nullptr ? static_cast<char*>(fitted) : block, size);
}

}  // namespace kvrpc
