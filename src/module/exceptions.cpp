// Makes the two exception classes, without compiling any Python code: CPython 3.9 may crash when
// memory runs out in its parser.
#include "module/exceptions.h"

#include <cstring>

#include "directory/directory.h"
#include "module/arguments.h"
#include "module/kvrpc.h"
#include "module/names.h"
#include "rpc/rpc_os.h"

namespace kvrpc {

namespace {

// ---- methods

// Each method is a builtin function in an instancemethod. The function's own `self` is the class,
// which gives it its qualified name. The instancemethod makes it bind, so the instance comes as the
// first argument.

PyObject* store_message(PyObject* instance, PyObject* message) {
  if (PyObject_SetAttr(instance, names.message, message) < 0) return nullptr;
  Py_RETURN_NONE;
}

PyObject* clnt_create_error_init(PyObject*, PyObject* instance) {
  const char* text = server_clnt_create_error("clnt_create");
  if (text == nullptr) return PyErr_NoMemory();
  ref message(PyUnicode_DecodeUTF8(text, static_cast<Py_ssize_t>(std::strlen(text)), "strict"));
  return message ? store_message(instance, message.get()) : nullptr;
}

PyObject* clnt_rpc_error_init_self(PyObject*, PyObject* arguments, PyObject* keywords) {
  static const signature expected = {"__init__self", {"self", "message"}, 2};
  PyObject* values[most_parameters];
  if (!unpack_arguments(expected, arguments, keywords, values)) return nullptr;
  return store_message(values[0], values[1]);
}

PyMethodDef init = {"__init__", clnt_create_error_init, METH_O, "__init__($cls, self, /)\n--\n\n"};
PyMethodDef init_self = {"__init__self", with_keywords(clnt_rpc_error_init_self),
                         METH_VARARGS | METH_KEYWORDS, "__init__self($cls, self, message)\n--\n\n"};

bool add_method(PyObject* exception_class, const char* attribute, PyMethodDef* definition) {
  ref module_name(PyUnicode_FromString("kvrpc"));
  if (!module_name) return false;
  ref function(PyCFunction_NewEx(definition, exception_class, module_name.get()));
  if (!function) return false;
  ref method(PyInstanceMethod_New(function.get()));
  return method && PyObject_SetAttrString(exception_class, attribute, method.get()) == 0;
}

// ---- classes

// Fills what a class body would leave. Returns false with an exception set.
bool fill_namespace(PyObject* name_space, const char* name) {
  ref module_name(PyUnicode_FromString("kvrpc"));
  ref qualified_name(PyUnicode_FromString(name));
  return module_name && qualified_name &&
         PyMapping_SetItemString(name_space, "__module__", module_name.get()) == 0 &&
         PyMapping_SetItemString(name_space, "__qualname__", qualified_name.get()) == 0;
}

// Returns the class `name`, derived from Exception and made by calling its metaclass.
ref make_class(const char* name) {
  auto* metaclass = reinterpret_cast<PyObject*>(Py_TYPE(PyExc_Exception));
  ref bases(PyTuple_Pack(1, PyExc_Exception));
  if (!bases) return ref();
  ref name_space(PyObject_CallMethod(metaclass, "__prepare__", "sO", name, bases.get()));
  if (!name_space || !fill_namespace(name_space.get(), name)) return ref();
  return ref(PyObject_CallFunction(metaclass, "sOO", name, bases.get(), name_space.get()));
}

bool add_exception(PyObject* module, const char* name, const char* attribute, PyMethodDef* method) {
  ref exception_class = make_class(name);
  return exception_class && add_method(exception_class.get(), attribute, method) &&
         PyObject_SetAttrString(module, name, exception_class.get()) == 0;
}

}  // namespace

bool add_exceptions(PyObject* module) {
  return add_exception(module, "ClntCreateError", "__init__", &init) &&
         add_exception(module, "ClntRpcError", "_ClntRpcError__init__self", &init_self);
}

bool has_stack() {
  if (!rpc_stack_is_low()) return true;
  PyErr_SetString(PyExc_RecursionError, "calls are nested too deep for the stack of this thread");
  return false;
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
