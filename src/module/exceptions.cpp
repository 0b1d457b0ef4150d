#include "module/exceptions.h"

#include <cstring>

#include "directory/directory.h"
#include "module/kvrpc.h"
#include "module/names.h"

namespace kvrpc {

namespace {

// The class statements run with globals of their own, since the module has no functions in its.
// The interpreter itself does then what makes a class: metaclass, body, private names.
constexpr char class_statements[] = R"(
class ClntCreateError(Exception):
    def __init__(self):
        self.message = creation_failure()

class ClntRpcError(Exception):
    def __init__self(self, message):
        self.message = message
)";

PyObject* creation_failure(PyObject*, PyObject*) {
  const char* text = server_clnt_create_error("clnt_create");
  if (text == nullptr) return PyErr_NoMemory();
  return PyUnicode_DecodeUTF8(text, static_cast<Py_ssize_t>(std::strlen(text)), "strict");
}

PyMethodDef creation_failure_method = {"creation_failure", creation_failure, METH_NOARGS, nullptr};

ref class_globals() {
  ref globals(PyDict_New());
  ref name(PyUnicode_FromString("kvrpc"));
  ref function(PyCFunction_NewEx(&creation_failure_method, nullptr, name.get()));
  if (!globals || !name || !function) return ref();
  if (PyDict_SetItemString(globals.get(), "__builtins__", PyEval_GetBuiltins()) < 0 ||
      PyDict_SetItemString(globals.get(), "__name__", name.get()) < 0 ||
      PyDict_SetItemString(globals.get(), "creation_failure", function.get()) < 0) {
    return ref();
  }
  return globals;
}

bool publish(PyObject* module, PyObject* globals, const char* name) {
  PyObject* exception = PyDict_GetItemString(globals, name);
  return exception != nullptr && PyObject_SetAttrString(module, name, exception) == 0;
}

}  // namespace

bool add_exceptions(PyObject* module) {
  ref globals = class_globals();
  if (!globals) return false;
  ref code(Py_CompileString(class_statements, "kvrpc", Py_file_input));
  if (!code) return false;
  ref ran(PyEval_EvalCode(code.get(), globals.get(), globals.get()));
  return ran && publish(module, globals.get(), "ClntCreateError") &&
         publish(module, globals.get(), "ClntRpcError");
}

void raise_clnt_create_error() {
  PyObject* found = PyDict_GetItemWithError(module_globals(), names.clnt_create_error);
  if (found == nullptr) {
    if (!PyErr_Occurred()) {
      PyErr_Format(PyExc_NameError, "name '%U' is not defined", names.clnt_create_error);
    }
    return;
  }
  ref exception_class = ref::borrowed(found);
  ref exception(PyObject_CallObject(exception_class.get(), nullptr));
  if (!exception) return;
  if (PyExceptionInstance_Check(exception.get())) {
    PyErr_SetObject(PyExceptionInstance_Class(exception.get()), exception.get());
  } else {
    PyErr_SetString(PyExc_TypeError, "exceptions must derive from BaseException");
  }
}

}  // namespace kvrpc
