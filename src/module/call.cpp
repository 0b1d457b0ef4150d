// The method `call`: up to two attempts, with a new connection for the second.
#include "bridge/server_call.h"
#include "module/arguments.h"
#include "module/exceptions.h"
#include "module/names.h"
#include "module/reply_text.h"
#include "module/rpc_client.h"
#include "module/running_call.h"
#include "module/vetting.h"

namespace kvrpc {

namespace {

constexpr int max_tries = 2;

// Runs server_call on the client's connection. Returns true with a reply; false without one, with
// an exception set or not.
bool run(rpc_client* client, PyObject* text, PyObject* verifier, int* status, text_buffer& reply) {
  encoded_text which_bytes;
  encoded_text text_bytes;
  if (!which_bytes.evaluate(client->which) || !text_bytes.evaluate(text)) return false;
  if (!which_bytes.take() || !text_bytes.take()) return false;
  running_call call(client, verifier);
  const bool replied = server_call(call.handle(), which_bytes.text(), text_bytes.text(), status,
                                   eval_verify, &call, reply);
  // If a signal handler of the script raised while the call waited, that ends the call.
  if (!PyErr_Occurred()) return replied;
  call.drop_connection();
  return false;
}

// Makes one attempt. Returns false with an exception set if there is no reply.
bool attempt(PyObject* self, PyObject* text, PyObject* verifier, int* status, text_buffer& reply) {
  if (!rpc_client_create(self)) return false;
  if (run(reinterpret_cast<rpc_client*>(self), text, verifier, status, reply)) return true;
  if (!PyErr_Occurred()) PyErr_NoMemory();
  return false;
}

}  // namespace

PyObject* rpc_client_call(PyObject* self, PyObject* const* arguments, Py_ssize_t count,
                          PyObject* keywords) {
  static const signature call = {"call", {"str", "obj"}, 2};
  PyObject* values[most_parameters];
  if (!unpack_arguments(call, arguments, count, keywords, values) || !has_stack()) return nullptr;
  const ref text = ref::borrowed(values[0]);
  const ref verifier = ref::borrowed(values[1]);
  for (int tries = 1;; ++tries) {
    text_buffer reply(reply_memory);
    int status = CALL_OK;
    if (!attempt(self, text.get(), verifier.get(), &status, reply)) return nullptr;
    if (status != CALL_RPC_FAILED || tries == max_tries) return take_reply(reply);
    if (!ref(PyObject_CallMethodNoArgs(self, names.close))) return nullptr;
  }
}

}  // namespace kvrpc
