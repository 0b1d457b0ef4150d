// One run of server_call on a client, from its start to its reply. Lives on the caller's stack, and
// nothing on the heap points to it.
//
// server_call gets a copy of the client's handle, because what the handle may be used for is known
// only after the vetting, and a copy can still become a closed handle then:
//
//   the client was closed while vetting   the call fails to send (RPC_CANTSEND, 10038)
//   another call waits for its reply      the same: to wait for it here would deadlock, because its
//                                         thread needs the GIL, which this one holds
//   this process is a child, forked       the same: the connection is the parent's
//   while vetting
//
// A call that begins while another one waits for its reply, from a signal handler, has no handle at
// all (RPC_FAILED). In each case RpcClient.call makes a second attempt on a connection of its own.
// A nested call from `verify_call` shares the handle, because no call uses its stream then.
#pragma once

#include "module/connection.h"
#include "module/rpc_client.h"

namespace kvrpc {

class running_call {
 public:
  // `verifier` is the script's object with `verify_call`, borrowed.
  running_call(rpc_client* client, PyObject* verifier);
  ~running_call();
  running_call(const running_call&) = delete;
  running_call& operator=(const running_call&) = delete;

  // Returns what server_call must use; null without a connection.
  CLIENT* handle() { return connection_ != nullptr ? &copy_ : nullptr; }
  PyObject* verifier() const { return verifier_; }

  // Takes the handle's stream, or makes the copy a closed handle. Must be called once, between the
  // vetting and anything that is sent.
  void end_vetting();

  // Closes the client's connection if it is still this call's. Must be called if a call ended in
  // the middle of a reply, because a later call would take the rest for its own reply.
  void drop_connection();

  // Makes what closed handles need. Returns false with an exception set on failure.
  static bool prepare();

 private:
  rpc_client* client_;
  PyObject* verifier_;
  connection* connection_;  // shared; null if the call has no handle
  CLIENT copy_;
  bool has_stream_ = false;
};

}  // namespace kvrpc
