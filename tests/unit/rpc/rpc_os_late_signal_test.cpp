// A signal that came when no system call was there to interrupt: the wait asks for it by itself.

#include <gtest/gtest.h>

#include <atomic>

#include "rpc/rpc_os.h"
#include "support/loopback_peer.h"

namespace kvrpc::test {
namespace {

std::atomic<bool> signal_came;

int ask() { return signal_came ? 1 : 0; }

void expect_ended_early(const descriptor& sock) {
  const stopwatch watch;
  EXPECT_EQ(rpc_socket_await(sock.get(), {5, 0}), -1);
  EXPECT_EQ(rpc_socket_errno(), RPC_EINTERRUPTED);
  EXPECT_LT(watch.milliseconds(), 4000);
}

TEST(late_signal, before_a_wait_ends_it) {
  const descriptor sock(bound_socket(SOCK_DGRAM));
  signal_came = true;
  const hook_guard hook(ask);
  expect_ended_early(sock);
}

TEST(late_signal, that_interrupted_nothing_ends_the_wait_soon) {
  const descriptor sock(bound_socket(SOCK_DGRAM));
  signal_came = false;
  const hook_guard hook(ask);
  script_thread other([] {
    sleep_milliseconds(120);
    signal_came = true;
  });
  expect_ended_early(sock);
}

TEST(late_signal, ends_a_wait_that_always_finds_something) {
  const descriptor sock(bound_socket(SOCK_DGRAM));
  const rpc_address self = loopback(port_of(sock.get()));
  ASSERT_EQ(rpc_socket_sendto(sock.get(), "x", 1, &self), 1);
  signal_came = true;
  const hook_guard hook(ask);
  expect_ended_early(sock);
}

}  // namespace
}  // namespace kvrpc::test
