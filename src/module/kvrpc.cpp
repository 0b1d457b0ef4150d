// The module's create and exec steps (multi-phase initialisation), and its entry point.
#include "module/kvrpc.h"

#include <cstdint>
#include <cstdio>
#include <cstring>

#include "module/exceptions.h"
#include "module/names.h"
#include "module/rpc_client.h"
#include "module/running_call.h"
#include "rpc/rpc_os.h"

#define KVRPC_TEXT(number) #number
#define KVRPC_RELEASE(major, minor) KVRPC_TEXT(major) "." KVRPC_TEXT(minor)

namespace kvrpc {

namespace {

// The release of CPython that this module is compiled for, for example "3.9".
constexpr char compiled_release[] = KVRPC_RELEASE(PY_MAJOR_VERSION, PY_MINOR_VERSION);

PyObject* the_module;  // owned; null before the exec step
std::int64_t the_interpreter = -1;

// ---- create step

bool in_the_interpreter() {
  const std::int64_t current = PyInterpreterState_GetID(PyInterpreterState_Get());
  if (current < 0) return false;
  if (the_interpreter < 0) the_interpreter = current;
  if (current == the_interpreter) return true;
  PyErr_SetString(PyExc_ImportError,
                  "Interpreter change detected - this module can only be loaded into one "
                  "interpreter per process.");
  return false;
}

// Copies an attribute of the import spec, if it exists. Returns false with an exception set.
bool copy_from_spec(PyObject* spec, const char* attribute, PyObject* module, const char* name) {
  ref value(PyObject_GetAttrString(spec, attribute));
  if (!value) {
    if (!PyErr_ExceptionMatches(PyExc_AttributeError)) return false;
    PyErr_Clear();
    return true;
  }
  const bool is_path = std::strcmp(name, "__path__") == 0;
  if (is_path && value.get() == Py_None) return true;
  return PyDict_SetItemString(PyModule_GetDict(module), name, value.get()) == 0;
}

PyObject* create_module(PyObject* spec, PyModuleDef*) {
  if (!in_the_interpreter()) return nullptr;
  if (the_module != nullptr) return ref::borrowed(the_module).release();
  ref name(PyObject_GetAttrString(spec, "name"));
  if (!name) return nullptr;
  ref module(PyModule_NewObject(name.get()));
  const bool made = module && copy_from_spec(spec, "loader", module.get(), "__loader__") &&
                    copy_from_spec(spec, "origin", module.get(), "__file__") &&
                    copy_from_spec(spec, "parent", module.get(), "__package__") &&
                    copy_from_spec(spec, "submodule_search_locations", module.get(), "__path__");
  return made ? module.release() : nullptr;
}

// ---- exec step

// Warns if the interpreter is of another release than the compiled one. Compares the beginning of
// the version only, because more follows the release ("3.9.18 (main, ..."). Returns false if the
// warning became an exception.
bool check_release() {
  const char* running = Py_GetVersion();
  if (std::strncmp(running, compiled_release, sizeof(compiled_release) - 1) == 0) return true;
  const char* minor = std::strchr(running, '.');
  const std::size_t length = minor == nullptr ? std::strlen(running)
                                              : static_cast<std::size_t>(minor - running) + 1 +
                                                    std::strspn(minor + 1, "0123456789");
  char message[200];
  std::snprintf(message, sizeof(message),
                "compiletime version %s of module '%.100s' does not match runtime version %.*s",
                compiled_release, "kvrpc", static_cast<int>(length < 20 ? length : 20), running);
  return PyErr_WarnEx(nullptr, message, 1) == 0;
}

bool add_to_sys_modules(PyObject* module) {
  PyObject* modules = PyImport_GetModuleDict();
  ref name(PyUnicode_FromString("kvrpc"));
  return name && PyDict_SetDefault(modules, name.get(), module) != nullptr;
}

bool add_rpc_client(PyObject* module) {
  PyTypeObject* type = rpc_client_type();
  return type != nullptr &&
         PyObject_SetAttrString(module, "RpcClient", reinterpret_cast<PyObject*>(type)) == 0;
}

// The interrupt hook of the runtime, which asks it in each wait. Runs the script's signal handlers.
// Returns 1 with an exception set if one raised, which ends the wait.
int run_signal_handlers() { return PyErr_Occurred() || PyErr_CheckSignals() != 0 ? 1 : 0; }

bool start_runtime() {
  rpc_startup();
  rpc_set_interrupt_hook(run_signal_handlers);
  return running_call::prepare();
}

bool add_test_dictionary(PyObject* module) {
  ref empty(PyDict_New());
  return empty && PyObject_SetAttrString(module, "__test__", empty.get()) == 0;
}

bool initialise(PyObject* module) {
  return check_release() && intern_names() && add_to_sys_modules(module) &&
         add_rpc_client(module) && add_exceptions(module) && start_runtime() &&
         add_test_dictionary(module);
}

int execute(PyObject* module) {
  if (the_module == module) return 0;
  if (the_module != nullptr) {
    PyErr_SetString(PyExc_RuntimeError,
                    "Module 'kvrpc' has already been imported. Re-initialisation is not "
                    "supported.");
    return -1;
  }
  the_module = ref::borrowed(module).release();
  if (initialise(module)) return 0;
  Py_CLEAR(the_module);
  if (!PyErr_Occurred()) PyErr_SetString(PyExc_ImportError, "init kvrpc");
  return -1;
}

PyModuleDef_Slot slots[] = {
    {Py_mod_create, reinterpret_cast<void*>(create_module)},
    {Py_mod_exec, reinterpret_cast<void*>(execute)},
    {0, nullptr},
};

PyModuleDef definition = {
    PyModuleDef_HEAD_INIT, "kvrpc", nullptr, 0, nullptr, slots, nullptr, nullptr, nullptr,
};

}  // namespace

PyObject* module_globals() { return PyModule_GetDict(the_module); }

}  // namespace kvrpc

PyMODINIT_FUNC PyInit_kvrpc() { return PyModuleDef_Init(&kvrpc::definition); }
