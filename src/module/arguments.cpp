// Assigns the arguments of a call to their slots, with the interpreter's usual error texts for what
// does not fit, and encodes texts.
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

// Returns the slot of a keyword, or -1.
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

// Stores the keywords' values in the slots after the positional arguments. Returns the first
// keyword that has no slot there, or null.
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

ref tuple_of(PyObject* const* values, Py_ssize_t count) {
  ref tuple(PyTuple_New(count));
  for (Py_ssize_t i = 0; tuple && i < count; ++i) {
    PyTuple_SET_ITEM(tuple.get(), i, ref::borrowed(values[i]).release());
  }
  return tuple;
}

// Returns a dictionary of the values by the names in the tuple `keywords`, which may be null.
ref dictionary_of(PyObject* keywords, PyObject* const* values) {
  ref dictionary(PyDict_New());
  const Py_ssize_t count = keywords != nullptr ? PyTuple_GET_SIZE(keywords) : 0;
  for (Py_ssize_t i = 0; dictionary && i < count; ++i) {
    if (PyDict_SetItem(dictionary.get(), PyTuple_GET_ITEM(keywords, i), values[i]) < 0)
      return ref();
  }
  return dictionary;
}

// Returns true for an exact `str` whose characters are all ASCII. They end in a NUL.
bool is_plain_ascii(PyObject* object) {
  return PyUnicode_CheckExact(object) && PyUnicode_IS_COMPACT_ASCII(object);
}

// Returns a copy of any bytes-like object.
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

bool unpack_arguments(const signature& expected, PyObject* const* arguments, Py_ssize_t count,
                      PyObject* keywords, PyObject* (&values)[most_parameters]) {
  if (keywords == nullptr && count == most_parameters) {
    for (Py_ssize_t slot = 0; slot < most_parameters; ++slot) values[slot] = arguments[slot];
    return true;
  }
  // Any other form is rare or an error, so it may cost a tuple and a dictionary.
  const ref positional = tuple_of(arguments, count);
  const ref by_name = dictionary_of(keywords, arguments + count);
  return positional && by_name &&
         unpack_arguments(expected, positional.get(), by_name.get(), values);
}

bool encoded_text::evaluate(PyObject* text) {
  if (is_plain_ascii(text)) {
    result_ = ref::borrowed(text);
    bytes_ = static_cast<const char*>(PyUnicode_DATA(text));
  } else {
    result_ = ref(PyObject_CallMethodObjArgs(text, names.encode, names.utf_8, nullptr));
    bytes_ = nullptr;
  }
  return static_cast<bool>(result_);
}

bool encoded_text::take() {
  if (bytes_ != nullptr) return true;  // in place
  PyObject* bytes = result_.get();
  if (!PyBytes_Check(bytes)) {
    copy_ = bytes_of(bytes);
    bytes = copy_.get();
  }
  if (bytes != nullptr) bytes_ = PyBytes_AS_STRING(bytes);
  return bytes_ != nullptr;
}

}  // namespace kvrpc
