// What a script passes to the module: the unpacking of arguments, and texts as UTF-8 bytes.
//
// Positional and keyword arguments go to slots in the order of the signature. The values are
// borrowed from the caller; an optional one that is missing is null.
#pragma once

#include "module/ref.h"

namespace kvrpc {

constexpr int most_parameters = 2;

struct signature {
  const char* function;  // the name in error texts
  const char* parameters[most_parameters];
  Py_ssize_t required;  // the first so many must be given
};

// Fills `values`. Returns false with a TypeError set if the arguments do not fit the signature.
bool unpack_arguments(const signature& expected, PyObject* arguments, PyObject* keywords,
                      PyObject* (&values)[most_parameters]);

// The same for a vectorcall: `arguments` holds `count` positional ones, then one for each name in
// the tuple `keywords`, which may be null.
bool unpack_arguments(const signature& expected, PyObject* const* arguments, Py_ssize_t count,
                      PyObject* keywords, PyObject* (&values)[most_parameters]);

// Returns a function with keyword arguments in the form that method tables hold.
template <class Function>
PyCFunction with_keywords(Function* function) {
  return reinterpret_cast<PyCFunction>(reinterpret_cast<void (*)()>(function));
}

// The result of `text.encode("utf-8")` and its bytes, ended by a NUL.
//
// The bytes of an ASCII `str` are read in place: encoding would copy them. Any other object, also
// one of a class derived from `str`, has its `encode` called.
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

  // Must be called only after take(). The bytes cannot change: those of a mutable object are a
  // copy. Null if nothing was encoded.
  const char* text() const { return bytes_; }

 private:
  ref result_;  // kept until the end, as scripts that count on its life may see
  ref copy_;    // if the result is no bytes object
  const char* bytes_ = nullptr;
};

}  // namespace kvrpc
