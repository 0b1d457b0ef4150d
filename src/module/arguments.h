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

// `text.encode("utf-8")` as a bytes object, so that its bytes end in a NUL and stay as they are;
// empty with an exception pending when that is not to be had.
ref encode_utf_8(PyObject* text);

}  // namespace kvrpc
