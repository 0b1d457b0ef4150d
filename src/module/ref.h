// The owner of one reference to a script object.
//
// A `ref` holds the reference that it was given and drops it at the end of its life, so no path
// forgets one. Interpreter calls that return a new reference go straight into the constructor; a
// null result makes an empty `ref`, and the interpreter's pending exception says why. To be used
// with the interpreter lock held, as everything in this directory.
#pragma once

#define PY_SSIZE_T_CLEAN
#include <Python.h>

namespace kvrpc {

class ref {
 public:
  ref() = default;
  explicit ref(PyObject* owned) : object_(owned) {}
  ref(ref&& other) noexcept : object_(other.release()) {}
  ref& operator=(ref&& other) noexcept {
    PyObject* old = object_;
    object_ = other.release();
    Py_XDECREF(old);
    return *this;
  }
  ref(const ref&) = delete;
  ref& operator=(const ref&) = delete;
  ~ref() { Py_XDECREF(object_); }

  // One more reference to an object that somebody else owns; null stays null.
  static ref borrowed(PyObject* object) {
    Py_XINCREF(object);
    return ref(object);
  }

  PyObject* get() const { return object_; }
  explicit operator bool() const { return object_ != nullptr; }

  PyObject* release() {
    PyObject* object = object_;
    object_ = nullptr;
    return object;
  }

 private:
  PyObject* object_ = nullptr;
};

}  // namespace kvrpc
