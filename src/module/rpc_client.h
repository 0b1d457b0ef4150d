// The class `RpcClient`: one connection to one server program.
//
// An instance owns its handle from `create` to `close`. Dropping the instance does not destroy the
// handle: its socket stays open for the life of the process, and that is meant. `which` and `host`
// are the objects of the constructor and never change; both are encoded anew whenever needed.
#pragma once

#include "module/ref.h"
#include "rpc/clnt.h"

namespace kvrpc {

class running_call;

struct rpc_client {
  PyObject ob_base;
  CLIENT* clnt;  // null while there is no connection
  PyObject* which;
  PyObject* host;
  running_call* calls;  // the calls of this client that are under way, the latest first
};

// The type, ready for use; null with an exception pending on failure.
PyTypeObject* rpc_client_type();

// Puts `clnt` (or null) in the place of the client's handle and destroys the old one, which for
// calls that are under way happens as running_call.h tells.
void replace_handle(rpc_client* client, CLIENT* clnt);

// The method `call`.
PyObject* rpc_client_call(PyObject* self, PyObject* arguments, PyObject* keywords);

}  // namespace kvrpc
