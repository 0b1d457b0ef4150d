#include "bridge/server_call.h"
#include "module/arguments.h"
#include "module/names.h"
#include "module/reply_text.h"
#include "module/rpc_client.h"
#include "module/running_call.h"
#include "module/vetting.h"

namespace kvrpc {

namespace {

constexpr int max_tries = 2;

bool run_method(PyObject* self, PyObject* name) {
  return static_cast<bool>(ref(PyObject_CallMethodObjArgs(self, name, nullptr)));
}

// One attempt; false with an exception pending when there is no reply to return.
bool attempt(PyObject* self, PyObject* text, PyObject* verifier, int* status, text_buffer& reply) {
  auto* client = reinterpret_cast<rpc_client*>(self);
  if (!run_method(self, names.create)) return false;
  ref which_bytes = encode_utf_8(client->which);
  if (!which_bytes) return false;
  ref text_bytes = encode_utf_8(text);
  if (!text_bytes) return false;
  running_call call(client, verifier);
  const bool replied =
      server_call(call.handle(), PyBytes_AS_STRING(which_bytes.get()),
                  PyBytes_AS_STRING(text_bytes.get()), status, eval_verify, &call, reply);
  // A signal handler of the script may have raised while the call waited; that ends the call.
  if (PyErr_Occurred()) {
    call.drop_handle();
    return false;
  }
  if (!replied) PyErr_NoMemory();
  return replied;
}

}  // namespace

PyObject* rpc_client_call(PyObject* self, PyObject* arguments, PyObject* keywords) {
  static const signature call = {"call", {"str", "obj"}, 2};
  PyObject* values[most_parameters];
  if (!unpack_arguments(call, arguments, keywords, values)) return nullptr;
  const ref text = ref::borrowed(values[0]);
  const ref verifier = ref::borrowed(values[1]);
  for (int tries = 1;; ++tries) {
    text_buffer reply(reply_memory);
    int status = CALL_OK;
    if (!attempt(self, text.get(), verifier.get(), &status, reply)) return nullptr;
    if (status != CALL_RPC_FAILED || tries == max_tries) return take_reply(reply);
    if (!run_method(self, names.close)) return nullptr;
  }
}

}  // namespace kvrpc
