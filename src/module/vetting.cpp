// Runs verify_call of the script and turns its result, or its exception, into a verdict.
#include "module/vetting.h"

#include <climits>
#include <cstring>

#include "module/names.h"
#include "module/running_call.h"

namespace kvrpc {

namespace {

// Returns an int as it is, and any other object converted by its `__int__`. Strings and `__index__`
// do not count. For example, 0.5 gives 0, and "1" raises TypeError.
ref as_integer(PyObject* object) {
  if (PyLong_Check(object)) return ref::borrowed(object);
  const PyNumberMethods* number = Py_TYPE(object)->tp_as_number;
  if (number != nullptr && number->nb_int != nullptr) return ref(PyNumber_Long(object));
  PyErr_SetString(PyExc_TypeError, "an integer is required");
  return ref();
}

// Returns false with an exception set if the object is no integer or does not fit an int.
bool to_int(PyObject* object, int* value) {
  ref integer = as_integer(object);
  if (!integer) return false;
  int overflow = 0;
  const long long wide = PyLong_AsLongLongAndOverflow(integer.get(), &overflow);
  if (overflow != 0 || wide < INT_MIN || wide > INT_MAX) {
    PyErr_SetString(PyExc_OverflowError, "value too large to convert to int");
    return false;
  }
  *value = static_cast<int>(wide);
  return true;
}

ref decoded(const char* name) {
  return ref(PyUnicode_DecodeUTF8(name, static_cast<Py_ssize_t>(std::strlen(name)), "strict"));
}

// Reports a name that is not UTF-8, unless the verifier has no method, which is reported first.
// Keeps any other exception: after a failed allocation, decoding again may succeed. Returns false.
bool refuse_name(const char* name, PyObject* verifier) {
  if (!PyErr_ExceptionMatches(PyExc_UnicodeDecodeError)) return false;
  PyErr_Clear();
  if (ref(PyObject_GetAttr(verifier, names.verify_call))) decoded(name);
  return false;
}

// Calls the method without an object for it, which would cost as much as the call.
bool verify(const char* name, PyObject* verifier, int* verdict) {
  const ref text = decoded(name);
  if (!text) return refuse_name(name, verifier);
  ref result(PyObject_CallMethodOneArg(verifier, names.verify_call, text.get()));
  return result && to_int(result.get(), verdict);
}

// Adds the script's calling line to the traceback of the current exception. An exception that is
// raised in C code has no traceback yet, so the report would not say where it happened.
void add_calling_line() {
  ref frame(reinterpret_cast<PyObject*>(PyThreadState_GetFrame(PyThreadState_Get())));
  if (frame) PyTraceBack_Here(reinterpret_cast<PyFrameObject*>(frame.get()));
}

// Prints the current exception with its traceback, then reports it as unraisable. Clears it.
// PyErr_PrintEx takes the exception, so a copy is kept for the second report.
void report_failure() {
  add_calling_line();
  PyObject* type = nullptr;
  PyObject* value = nullptr;
  PyObject* traceback = nullptr;
  PyErr_Fetch(&type, &value, &traceback);
  PyErr_Restore(ref::borrowed(type).release(), ref::borrowed(value).release(),
                ref::borrowed(traceback).release());
  PyErr_PrintEx(1);
  ref context(PyUnicode_FromString("kvrpc.eval_verify"));
  PyErr_Restore(type, value, traceback);
  PyErr_WriteUnraisable(context.get());
}

}  // namespace

int eval_verify(const char* name, void* context) {
  auto* call = static_cast<running_call*>(context);
  ref verifier = ref::borrowed(call->verifier());
  int verdict = 0;
  if (!verify(name, verifier.get(), &verdict)) {
    report_failure();
    verdict = 0;
  }
  call->end_vetting();
  return verdict;
}

}  // namespace kvrpc
