// What a script hands over: the unpacking of arguments, and texts as bytes.
//
// Positional and keyword arguments go to slots in the order of the signature. The values are
// borrowed from the tuple and dictionary of the call, an optional one that is missing stays null.
#pragma once

#include "module/ref.h"

namespace kvrpc {

constexpr int most_parameters = 2;

struct signature {
  const char* function;  // the name in error texts
  const char* parameters[most_parameters];
  Py_ssize_t required;  // the first so many must be given
};

// Fills `values`; false with a TypeError pending when the arguments do not fit the signature.
bool unpack_arguments(const signature& expected, PyObject* arguments, PyObject* keywords,
                      PyObject* (&values)[most_parameters]);

// A function with keyword arguments in the form that method tables hold.
inline PyCFunction with_keywords(PyCFunctionWithKeywords function) {
  return reinterpret_cast<PyCFunction>(reinterpret_cast<void (*)()>(function));
}

// The result of `text.encode("utf-8")` and its bytes, ended by a NUL.
//
// Encoding and taking the bytes are two steps, because an `encode` of the script may change what an
// earlier one returned, a bytearray for example: `call` encodes both its texts before it takes the
// bytes of either.
class encoded_text {
 public:
  // Both steps. Return false with an exception set on failure.
  bool encode(PyObject* text) { return evaluate(text) && take(); }
  bool evaluate(PyObject* text);
  bool take();

  // Null before the bytes are taken. They cannot change: those of a mutable object are a copy.
  const char* text() const { return bytes_ ? PyBytes_AS_STRING(bytes_.get()) : nullptr; }

 private:
  ref result_;
  ref bytes_;  // the result itself, or a copy
};

}  // namespace kvrpc
