#include "module/reply_text.h"

namespace kvrpc {

namespace {

constexpr std::size_t header_size = offsetof(PyBytesObject, ob_sval);

// The memory that the interpreter gives back when a bytes object ends.
constexpr json_allocator object_memory = {PyObject_Malloc, PyObject_Realloc, PyObject_Free};

// Makes a bytes object of a block that has `size` bytes and a NUL behind room for the header.
PyObject* make_bytes(void* block, std::size_t size) {
  auto* const bytes = static_cast<PyBytesObject*>(block);
  PyObject_InitVar(reinterpret_cast<PyVarObject*>(bytes), &PyBytes_Type,
                   static_cast<Py_ssize_t>(size));
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"  // newer headers warn of the member
  bytes->ob_shash = -1;                                     // no hash is known yet
#pragma GCC diagnostic pop
  return reinterpret_cast<PyObject*>(bytes);
}

}  // namespace

reply_text::reply_text() : text_(object_memory, header_size) {}

PyObject* reply_text::release() {
  const std::size_t size = text_.size();
  char* const text = text_.release();
  if (text == nullptr) return PyErr_NoMemory();
  void* const block = text - header_size;
  void* const fitted = PyObject_Realloc(block, header_size + size + 1);
  return make_bytes(fitted != nullptr ? fitted : block, size);
}

}  // namespace kvrpc
