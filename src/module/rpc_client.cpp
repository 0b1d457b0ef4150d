// The class RpcClient without its `call`: construction, `create`, `close`, and its type object.
#include "module/rpc_client.h"

#include "directory/directory.h"
#include "module/arguments.h"
#include "module/connection.h"
#include "module/exceptions.h"
#include "module/names.h"
#include "rpc/rpc_os.h"

namespace kvrpc {

namespace {

rpc_client* client_of(PyObject* self) { return reinterpret_cast<rpc_client*>(self); }

// ---- methods

bool is_connected(const rpc_client* client) {
  return client->conn != nullptr && client->conn->is_open();
}

// Returns 1 if `host == None`, 0 if not, -1 with an exception set.
int is_none(PyObject* host) {
  ref equal(PyObject_RichCompare(host, Py_None, Py_EQ));
  return equal ? PyObject_IsTrue(equal.get()) : -1;
}

// Encodes the host, or leaves `host` empty if there is none. Returns false with an exception set.
bool encode_host(const rpc_client* client, encoded_text& host) {
  const int none = is_none(client->host);
  return none >= 0 && (none != 0 || host.encode(client->host));
}

// Returns a handle for the server, or null. Starts again in a child process that a signal handler
// of the script forked meanwhile, because the first attempt is its parent's.
CLIENT* create_handle(const char* which, const char* host) {
  for (;;) {
    const std::uint32_t forks = rpc_fork_count();
    CLIENT* clnt = server_clnt_create(which, host);
    if (forks == rpc_fork_count() || PyErr_Occurred()) return clnt;
    server_clnt_destroy(clnt);
  }
}

// Gives the client a new connection, which is closed if the server could not be reached. Returns
// false with an exception set if no attempt was made.
bool connect(rpc_client* client, const encoded_text& host) {
  encoded_text which;
  if (!which.encode(client->which)) return false;
  connection* made = connection::make();
  if (made == nullptr) return false;
  made->open(create_handle(which.text(), host.text()));
  replace_connection(client, made);
  return true;
}

PyObject* create(PyObject* self, PyObject*) {
  rpc_client* client = client_of(self);
  if (is_connected(client)) Py_RETURN_NONE;
  if (!has_stack()) return nullptr;
  encoded_text host;
  if (!encode_host(client, host) || !connect(client, host)) return nullptr;
  // A signal handler of the script may have raised while the connection was made.
  if (PyErr_Occurred()) return nullptr;
  if (!is_connected(client)) {
    raise_clnt_create_error();
    return nullptr;
  }
  Py_RETURN_NONE;
}

PyObject* close(PyObject* self, PyObject*) {
  replace_connection(client_of(self), nullptr);
  Py_RETURN_NONE;
}

PyObject* refuse_pickling(PyObject*, PyObject*) {
  PyErr_SetString(PyExc_TypeError, "no default __reduce__ due to non-trivial __cinit__");
  return nullptr;
}

PyMethodDef methods[] = {
    {"create", create, METH_NOARGS,
     "create($self, /)\n--\n\nConnect, unless connected. Raises ClntCreateError."},
    {"close", close, METH_NOARGS,
     "close($self, /)\n--\n\nDestroy the connection, if there is one."},
    {"call", with_keywords(rpc_client_call), METH_FASTCALL | METH_KEYWORDS,
     "call($self, /, str, obj)\n--\n\n"
     "Run the call text str, vetted by obj.verify_call(name); returns the reply text as bytes."},
    {"__reduce__", refuse_pickling, METH_NOARGS, "__reduce__($self, /)\n--\n\nRaises TypeError."},
    {"__setstate__", refuse_pickling, METH_O,
     "__setstate__($self, state, /)\n--\n\nRaises TypeError."},
    {nullptr, nullptr, 0, nullptr},
};

// ---- life

// Returns a new object without a connection, or an empty ref with an exception set. Uses
// object.__new__, because that refuses abstract subclasses.
ref allocate(PyTypeObject* type, PyObject* which, PyObject* host) {
  ref no_arguments(PyTuple_New(0));
  if (!no_arguments) return ref();
  ref self(PyBaseObject_Type.tp_new(type, no_arguments.get(), nullptr));
  if (!self) return ref();
  rpc_client* client = client_of(self.get());
  client->which = ref::borrowed(which).release();
  client->host = ref::borrowed(host).release();
  return self;
}

// tp_new does the whole construction, so that a subclass may define any `__init__`.
PyObject* construct(PyTypeObject* type, PyObject* arguments, PyObject* keywords) {
  static const signature constructor = {"__cinit__", {"which", "host"}, 1};
  PyObject* values[most_parameters];
  if (!unpack_arguments(constructor, arguments, keywords, values)) return nullptr;
  ref self = allocate(type, values[0], values[1] != nullptr ? values[1] : Py_None);
  if (!self) return nullptr;
  return rpc_client_create(self.get()) ? self.release() : nullptr;
}

int traverse(PyObject* self, visitproc visit, void* arg) {
  rpc_client* client = client_of(self);
  Py_VISIT(client->which);
  Py_VISIT(client->host);
  return 0;
}

int clear(PyObject* self) {
  rpc_client* client = client_of(self);
  ref which(client->which);
  ref host(client->host);
  client->which = ref::borrowed(Py_None).release();
  client->host = ref::borrowed(Py_None).release();
  return 0;
}

void deallocate(PyObject* self) {
  PyTypeObject* type = Py_TYPE(self);
  if (type->tp_finalize != nullptr && PyObject_CallFinalizerFromDealloc(self) != 0) return;
  PyObject_GC_UnTrack(self);
  rpc_client* client = client_of(self);
  if (client->conn != nullptr) client->conn->leave();
  Py_CLEAR(client->which);
  Py_CLEAR(client->host);
  type->tp_free(self);
}

}  // namespace

void replace_connection(rpc_client* client, connection* conn) {
  connection* old = client->conn;
  client->conn = conn;
  if (old == nullptr) return;
  old->close();
  old->leave();
}

// The search for a method costs a hundredth of a small call, and the type is static, so that nobody
// can replace its own method.
bool rpc_client_create(PyObject* self) {
  const bool is_own = Py_TYPE(self) == rpc_client_type();
  return static_cast<bool>(
      ref(is_own ? create(self, nullptr) : PyObject_CallMethodNoArgs(self, names.create)));
}

PyTypeObject* rpc_client_type() {
  static PyTypeObject type;
  if ((type.tp_flags & Py_TPFLAGS_READY) != 0) return &type;
  static const PyVarObject head = {PyObject_HEAD_INIT(nullptr) 0};
  type.ob_base = head;
  type.tp_name = "kvrpc.RpcClient";
  type.tp_basicsize = sizeof(rpc_client);
  // NOLINTNEXTLINE(misc-redundant-expression): the zeros are in the interpreter's macros
  type.tp_flags = Py_TPFLAGS_DEFAULT | Py_TPFLAGS_BASETYPE | Py_TPFLAGS_HAVE_GC;
  type.tp_doc =
      "RpcClient(which, host=None)\n--\n\n"
      "A connection to the server program which, on host or where the environment says.";
  type.tp_methods = methods;
  type.tp_new = construct;
  type.tp_traverse = traverse;
  type.tp_clear = clear;
  type.tp_dealloc = deallocate;
  return PyType_Ready(&type) < 0 ? nullptr : &type;
}

}  // namespace kvrpc
