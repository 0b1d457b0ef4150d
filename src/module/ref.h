// The owner of one reference to a Python object, or of none.
//
// The destructor releases the reference, so that no path forgets it. Pass new references straight
// to the constructor: a null result makes an empty ref, and the current exception says why. For
// example:
//
//   ref method(PyObject_GetAttr(object, name));
//   if (!method) return false;
//
// Must be used with the GIL held, like everything in this directory.
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

  // Returns a new reference to an object that somebody else owns, or an empty ref for null.
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
