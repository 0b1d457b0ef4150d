#include "module/reply_text.h"

#include <cstddef>
#include <cstring>

#include "rpc/rpc_os.h"

namespace kvrpc {

namespace {

constexpr std::size_t header_size = offsetof(PyBytesObject, ob_sval);

// The sizes of blocks up to the largest that a heap keeps. Few of them, since growing copies the
// text; a block is cut to fit in the end.
constexpr std::size_t block_sizes[] = {std::size_t{512}, std::size_t{4} << 10,
                                       std::size_t{64} << 10, std::size_t{1} << 20};
constexpr std::size_t most_in_heap = std::size_t{1} << 20;

// A text that outgrows them gets so much at once where there are large pages and it can be cut to
// fit: what is not touched of it costs nothing, and growing in small steps would move pages time
// and again.
constexpr std::size_t large_block = std::size_t{64} << 20;

std::size_t block_size(std::size_t least) {
  for (const std::size_t size : block_sizes) {
    if (size >= least) return size;
  }
  return least;
}

// A large block with the text of `block`, which is given back; null when there is none. Large pages
// have to be asked for before the first is touched.
char* move_to_large_pages(char* block, std::size_t used) {
  auto* const large = static_cast<char*>(PyObject_Malloc(large_block));
  if (large == nullptr || !rpc_use_large_pages(large, large_block)) {
    PyObject_Free(large);
    return nullptr;
  }
  if (used > 0) std::memcpy(large, block, used);
  PyObject_Free(block);
  return large;
}

// A heap may hand blocks from some size on to the system and back, so that each is fresh pages
// again, until it has been given one back that was as large. Cut to fit, those of replies never
// are.
void keep_blocks_in_heap() {
  static bool kept = false;
  if (!kept) PyObject_Free(PyObject_Malloc(2 * most_in_heap));
  kept = true;
}

text_block resize_reply(char* block, std::size_t used, std::size_t, std::size_t size) {
  keep_blocks_in_heap();
  const bool outgrows_heap = used <= most_in_heap && size > most_in_heap && size <= large_block;
  if (outgrows_heap && rpc_cut_blocks_shrink) {
    char* const large = move_to_large_pages(block, used);
    if (large != nullptr) return {large, large_block};
  }
  const std::size_t step = block_size(size);
  void* const moved = PyObject_Realloc(block, step);
  if (moved != nullptr || step == size) return {static_cast<char*>(moved), step};
  return {static_cast<char*>(PyObject_Realloc(block, size)), size};  // memory is short
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
  if (!rpc_cut_blocks_shrink) {
    return PyBytes_FromStringAndSize(text.data(), static_cast<Py_ssize_t>(size));
  }
  char* const bytes = text.release();
  if (bytes == nullptr) return PyErr_NoMemory();
  char* const block = bytes - header_size;
  void* const fitted = PyObject_Realloc(block, header_size + size + 1);
  return make_bytes(fitted != nullptr ? static_cast<char*>(fitted) : block, size);
}

}  // namespace kvrpc
