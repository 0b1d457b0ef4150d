#include "module/arguments.h"

#include "module/names.h"

namespace kvrpc {

namespace {

bool wrong_count(const signature& expected, Py_ssize_t given) {
  const bool exact = expected.required == most_parameters;
  const bool few = given < expected.required;
  const Py_ssize_t wanted = few ? expected.required : most_parameters;
  PyErr_Format(PyExc_TypeError, "%.200s() takes %.8s %zd positional argument%.1s (%zd given)",
               expected.function,
               exact ? "exactly"
               : few ? "at least"
                     : "at most",
               wanted, wanted == 1 ? "" : "s", given);
  return false;
}

// The slot of a keyword, or -1.
int slot_of(const signature& expected, PyObject* keyword) {
  for (int slot = 0; slot < most_parameters; ++slot) {
    if (PyUnicode_CompareWithASCIIString(keyword, expected.parameters[slot]) == 0) return slot;
  }
  return -1;
}

bool refuse_keyword(const signature& expected, PyObject* keyword) {
  if (!PyUnicode_Check(keyword)) {
    PyErr_Format(PyExc_TypeError, "%.200s() keywords must be strings", expected.function);
  } else if (slot_of(expected, keyword) < 0) {
    PyErr_Format(PyExc_TypeError, "%s() got an unexpected keyword argument '%U'", expected.function,
                 keyword);
  } else {
    PyErr_Format(PyExc_TypeError, "%s() got multiple values for keyword argument '%U'",
                 expected.function, keyword);
  }
  return false;
}

// Puts the keywords into the slots behind the positional arguments and returns the first keyword
// that has no place there, or null.
PyObject* place_keywords(const signature& expected, Py_ssize_t positional, PyObject* keywords,
                         PyObject* (&values)[most_parameters]) {
  PyObject* misplaced = nullptr;
  PyObject* keyword = nullptr;
  PyObject* value = nullptr;
  Py_ssize_t position = 0;
  while (keywords != nullptr && PyDict_Next(keywords, &position, &keyword, &value)) {
    const int slot = PyUnicode_Check(keyword) ? slot_of(expected, keyword) : -1;
    if (slot >= positional) {
      values[slot] = value;
    } else if (misplaced == nullptr) {
      misplaced = keyword;
    }
  }
  return misplaced;
}

// A copy of any bytes-like object.
ref bytes_of(PyObject* object) {
  Py_buffer view;
  if (PyObject_GetBuffer(object, &view, PyBUF_SIMPLE) < 0) return ref();
  ref bytes(PyBytes_FromStringAndSize(static_cast<const char*>(view.buf), view.len));
  PyBuffer_Release(&view);
  return bytes;
}

}  // namespace

bool unpack_arguments(const signature& expected, PyObject* arguments, PyObject* keywords,
                      PyObject* (&values)[most_parameters]) {
  const Py_ssize_t positional = PyTuple_GET_SIZE(arguments);
  if (positional > most_parameters) return wrong_count(expected, positional);
  for (Py_ssize_t slot = 0; slot < most_parameters; ++slot) {
    values[slot] = slot < positional ? PyTuple_GET_ITEM(arguments, slot) : nullptr;
  }
  PyObject* misplaced = place_keywords(expected, positional, keywords, values);
  for (Py_ssize_t slot = positional; slot < expected.required; ++slot) {
    if (values[slot] == nullptr) return wrong_count(expected, slot);
  }
  return misplaced == nullptr || refuse_keyword(expected, misplaced);
}

bool encoded_text::evaluate(PyObject* text) {
  result_ = ref(PyObject_CallMethodObjArgs(text, names.encode, names.utf_8, nullptr));
  return static_cast<bool>(result_);
}

bool encoded_text::take() {
  PyObject* result = result_.get();
  bytes_ = PyBytes_Check(result) ? ref::borrowed(result) : bytes_of(result);
  return static_cast<bool>(bytes_);
}

}  // namespace kvrpc
