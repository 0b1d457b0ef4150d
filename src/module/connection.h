// A connection of a client, shared by the client and by the calls that began on it.
//
// While a call is under way, code of the script runs in two places: in `verify_call`, before
// anything is sent, and in signal handlers, while the transport waits. Either may close, re-create
// or call the client that is calling, switch to another thread or greenlet, or fork. So the handle
// has a state, and each change of it asks the state first:
//
//   state     handle  meaning                              | open   begin_call    end_call  close
//   --------  ------  -------------------------------------+---------------------------------------
//   closed    none    not yet open, or destroyed           | idle   false         -         closed
//   idle      open    connected; calls may be vetting      | -      busy, true    -         closed
//   busy      open    one call has the stream              | -      false         idle      closing
//   closing   open    busy, and the client has let it go   | -      false         closed    closing
//
// A dash is a transition that must not be asked for. The handle is destroyed on the way to
// `closed`.
//
// In a child process every state but `closed` counts as closed for begin_call and is_open, because
// the connection is the parent's (see clnt_is_inherited). The handle's memory must stay there until
// end_call, because the thread that forked may be the one in the middle of the call.
//
// The connection is a heap object with a count of its users, and has no pointer to any of them. So
// a thread that vanishes in a fork or at the interpreter's exit, or a greenlet that is never
// resumed, leaves no pointer into its stack. What such a user held is never released.
//
// Must be used with the GIL held.
#pragma once

#include <cstdint>

#include "rpc/clnt.h"

namespace kvrpc {

class connection {
 public:
  // Returns a closed connection with one user, or null with MemoryError set.
  static connection* make();
  // Adds a user. Returns this connection.
  connection* share();
  // Removes a user. The last one releases the object but not the handle. Compatibility: the socket
  // of a client that is dropped without `close` stays open for the life of the process.
  void leave();

  // Gives a closed connection its handle, which may be null. Owns it from then on.
  void open(CLIENT* clnt);
  // Returns true if the connection has a handle that this process may use.
  bool is_open() const { return state_ != state::closed && !clnt_is_inherited(clnt_); }
  // Returns true if is_open() and no call has the stream.
  bool is_idle() const { return state_ == state::idle && is_open(); }
  CLIENT* handle() const { return clnt_; }

  // Gives the stream to a call. Returns false if the call must not use the handle.
  bool begin_call();
  void end_call();
  // Destroys the handle, now or at the end of the call that has the stream.
  void close();

 private:
  enum class state : std::uint8_t { idle, busy, closing, closed };

  void destroy();

  CLIENT* clnt_;
  std::uint32_t users_;
  state state_;
};

}  // namespace kvrpc
