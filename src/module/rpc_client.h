// The class `RpcClient`: one connection to one server program.
//
// An instance owns its handle from `create` to `close`. Compatibility: dropping the instance does
// not destroy the handle, so its socket stays open for the life of the process. In a process that
// inherited the instance through fork, it counts as not connected. `which` and `host` are the
// objects of the constructor and never change; each use encodes them again.
#pragma once

#include "module/ref.h"

namespace kvrpc {

class connection;

struct rpc_client {
  PyObject ob_base;
  connection* conn;  // null while there is none; holds the handle
  PyObject* which;
  PyObject* host;
};

// Returns the type, ready for use, or null with an exception set.
PyTypeObject* rpc_client_type();

// Closes the client's connection and takes `conn` (or null) in its place.
void replace_connection(rpc_client* client, connection* conn);

// Runs the method `create`, which a subclass may have replaced. Returns false with an exception
// set.
bool rpc_client_create(PyObject* self);

// The method `call`. Vectorcall: positional arguments first, then the values of `keywords`.
PyObject* rpc_client_call(PyObject* self, PyObject* const* arguments, Py_ssize_t count,
                          PyObject* keywords);

}  // namespace kvrpc
