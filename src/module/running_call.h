// One run of server_call on a client, from its start to its reply.
//
// While it lasts, code of the script runs in two places: in `verify_call`, before anything is
// sent, and in signal handlers, while the transport waits. Either may close or re-create the very
// client that is calling, or call on it again. So server_call gets a copy of the handle:
//
//   closed while vetting    the handle is destroyed at once and the copy becomes a closed one,
//                           which fails to send (RPC_CANTSEND, 10038)
//   closed while waiting    the handle is destroyed when the run is over
//   called while waiting    the new run gets no handle and fails; its second attempt has a new one
//   vetted while waiting    by another thread's call, which goes on as if closed while vetting: to
//                           wait for the first one, it would keep the interpreter lock from it
//
// A nested call out of `verify_call` shares the handle, on which nothing is under way then.
#pragma once

#include "module/rpc_client.h"

namespace kvrpc {

class running_call {
 public:
  // `verifier` is the script's object with `verify_call`, borrowed.
  running_call(rpc_client* client, PyObject* verifier);
  ~running_call();
  running_call(const running_call&) = delete;
  running_call& operator=(const running_call&) = delete;

  // What server_call is to use; null without a connection.
  CLIENT* handle() { return handle_ != nullptr ? &copy_ : nullptr; }
  PyObject* verifier() const { return verifier_; }
  void begin_vetting() { vetting_ = true; }
  void end_vetting();

  // Takes the handle away from the client, unless it has another one by now. For a call that was
  // ended in the middle of a reply, which a later call on the handle would have to wait out.
  void drop_handle();

  // Takes the handle `clnt` away from the runs in the list `calls`. True when one of them waits on
  // it and will destroy it; otherwise the caller is to.
  static bool close_handle(running_call* calls, CLIENT* clnt);

  // Makes what closed handles need. False with an exception pending.
  static bool prepare();

 private:
  static bool waits_on(const running_call* calls, const CLIENT* clnt);
  void use_closed_handle();

  rpc_client* client_;
  PyObject* verifier_;
  running_call* next_;
  CLIENT* handle_;  // the client's handle, or the copy when that is closed
  CLIENT copy_;
  bool vetting_ = false;
  bool destroys_ = false;  // the handle is this run's to destroy
};

}  // namespace kvrpc
