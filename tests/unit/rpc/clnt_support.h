// Helpers for the transports' tests: clients that connect to a peer from loopback_peer.h, and calls
// through these clients.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "rpc/clnt.h"
#include "rpc/clnt_tcp.h"
#include "rpc/clnt_udp.h"
#include "rpc/rpc_os.h"
#include "rpc/xdr.h"
#include "support/loopback_peer.h"

namespace kvrpc::test {

constexpr std::uint32_t test_program = 26011932;
constexpr std::uint32_t test_version = 1;
constexpr std::uint32_t test_procedure = 7;

constexpr rpc_timeval span(std::int32_t milliseconds) {
  return {milliseconds / 1000, milliseconds % 1000 * 1000};
}

// Destroys the handle at the end of the block.
class client {
 public:
  explicit client(CLIENT* handle) : handle_(handle) {}
  ~client() { destroy(); }
  client(const client&) = delete;
  client& operator=(const client&) = delete;
  CLIENT* get() const { return handle_; }

  void destroy() {
    if (handle_ != nullptr) handle_->cl_ops->destroy(handle_);
    handle_ = nullptr;
  }
  bool_t control(std::uint32_t request, void* value) {
    return handle_->cl_ops->control(handle_, request, value);
  }
  void set_timeout(rpc_timeval value) { control(CLSET_TIMEOUT, &value); }
  void set_retry(rpc_timeval value) { control(CLSET_RETRY_TIMEOUT, &value); }
  rpc_err error() const {
    rpc_err error;
    handle_->cl_ops->geterr(handle_, &error);
    return error;
  }
  // A call with one 32-bit argument and one 32-bit result.
  std::int32_t call(std::int32_t argument, std::int32_t* result, rpc_timeval timeout = {10, 0}) {
    return clnt_call(handle_, test_procedure, xdr_long, &argument, xdr_long, result, timeout.tv_sec,
                     timeout.tv_usec);
  }

 private:
  CLIENT* handle_;
};

// Expects that an interrupt hook that returns 1 ends a call long before its timeout. The peer must
// not answer.
inline void expect_hook_ends_call(client& clnt) {
  const hook_guard hook([] { return 1; });
  const signal_storm storm;
  const stopwatch watch;
  std::int32_t result = 0;
  EXPECT_EQ(clnt.call(1, &result), RPC_CANTRECV);
  EXPECT_LT(watch.milliseconds(), 4000);
  EXPECT_EQ(clnt.error().re_errno, RPC_EINTERRUPTED);
}

inline CLIENT* tcp_handle(std::uint16_t port) {
  rpc_address address = loopback(port);
  rpc_socket sock = -1;
  return clnttcp_create(&address, test_program, test_version, &sock, 0, 0);
}

inline CLIENT* udp_handle(std::uint16_t port, rpc_timeval wait = {5, 0}) {
  rpc_address address = loopback(port);
  rpc_socket sock = -1;
  return clntudp_create(&address, test_program, test_version, wait, &sock);
}

// A script of tcp_peer: answers the call after this many milliseconds, and the next one at once.
inline std::function<void(descriptor&)> late_by(int milliseconds) {
  return [milliseconds](descriptor& connection) {
    const std::string call = read_record(connection.get());
    sleep_milliseconds(milliseconds);
    write_record(connection.get(), success(call, words({1})));
    const std::string second = read_record(connection.get());
    if (!second.empty()) write_record(connection.get(), success(second, words({2})));
  };
}

// Receives a client's datagrams, answers none, and ends when none has come for `silence`
// milliseconds. Keeps each one and its time.
struct silent_server {
  std::vector<std::int64_t> times;
  std::vector<std::string> calls;

  std::function<void(int)> script(int silence) {
    return [this, silence](int sock) {
      for (;;) {
        const datagram call = receive(sock, silence);
        if (call.data.empty()) return;
        times.push_back(rpc_clock() / 1000);
        calls.push_back(call.data);
      }
    };
  }
};

// Returns the bytes of a call after its id.
inline std::string call_after_id(const std::string& arguments) {
  return words({0, 2, test_program, test_version, test_procedure, 0, 0, 0, 0}) + arguments;
}

// An argument routine that writes one word and fails.
inline bool_t xdr_broken(XDR* xdrs, void*, std::uint32_t) {
  const std::int32_t word = 1;
  XDR_PUTLONG(xdrs, &word);
  return FALSE;
}

}  // namespace kvrpc::test
