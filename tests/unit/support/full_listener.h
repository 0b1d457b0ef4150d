// A listener whose queue is full: a new connection waits until one of the queue is accepted.
#pragma once

#include "rpc/rpc_os.h"
#include "support/loopback_peer.h"

namespace kvrpc::test {

class full_listener {
 public:
  full_listener() : listener_(bound_socket(SOCK_STREAM)) {
    listen(listener_.get(), 0);
    const rpc_address to = address();
    for (descriptor& filler : fillers_) {
      filler = descriptor(static_cast<int>(socket(AF_INET, SOCK_STREAM, 0)));
      rpc_socket_set_nonblocking(filler.get());
      connect(filler.get(), reinterpret_cast<const sockaddr*>(&to), sizeof to);
    }
    sleep_milliseconds(20);
  }
  rpc_address address() const { return loopback(port_of(listener_.get())); }
  void close() { listener_.close(); }
  // Makes room for the fillers and for one connection more.
  void accept_all() {
    for (descriptor& connection : accepted_) {
      if (!readable(listener_.get(), 3000)) return;
      connection = descriptor(static_cast<int>(accept(listener_.get(), nullptr, nullptr)));
    }
  }

 private:
  descriptor listener_;
  descriptor fillers_[2];
  descriptor accepted_[3];
};

}  // namespace kvrpc::test
