// Waits, sockets and connects on all platforms.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "rpc/rpc_os.h"
#include "support/loopback_peer.h"

namespace kvrpc::test {
namespace {

// ---- the wait

TEST(socket_wait, ends_with_the_time) {
  const descriptor sock(bound_socket(SOCK_DGRAM));
  const stopwatch watch;
  EXPECT_EQ(rpc_socket_await(sock.get(), milliseconds(60)), 0);
  EXPECT_GE(watch.milliseconds(), 60);
  EXPECT_LT(watch.milliseconds(), 4000);
}

TEST(socket_wait, looks_once_when_there_is_no_time) {
  const descriptor sock(bound_socket(SOCK_DGRAM));
  EXPECT_EQ(rpc_socket_await(sock.get(), {0, 0}), 0);
  const rpc_address self = loopback(port_of(sock.get()));
  ASSERT_EQ(rpc_socket_sendto(sock.get(), "x", 1, &self), 1);
  EXPECT_EQ(rpc_socket_await(sock.get(), {0, 0}), 1);
}

TEST(socket_wait, ends_when_the_hook_says_so) {
  const descriptor sock(bound_socket(SOCK_DGRAM));
  static int asked;
  asked = 0;
  const hook_guard hook([] { return ++asked == 3 ? 1 : 0; });
  const signal_storm storm;
  const stopwatch watch;
  EXPECT_EQ(rpc_socket_await(sock.get(), {5, 0}), -1);
  EXPECT_EQ(rpc_socket_errno(), RPC_EINTERRUPTED);
  EXPECT_EQ(asked, 3);
  EXPECT_LT(watch.milliseconds(), 4000);
}

// ---- sockets

TEST(closed_socket, is_no_socket_for_every_call) {
  const rpc_socket closed = rpc_socket_open(RPC_STREAM, RPC_TCP);
  ASSERT_EQ(rpc_socket_close(closed), 0);
  const rpc_address address = loopback(9);
  char byte = 'x';
  rpc_address sender;
  EXPECT_EQ(rpc_socket_recv(closed, &byte, 1, {1, 0}, false), -1);
  EXPECT_EQ(rpc_socket_errno(), 10038);
  EXPECT_EQ(rpc_socket_send(closed, &byte, 1), -1);
  EXPECT_EQ(rpc_socket_errno(), 10038);
  EXPECT_EQ(rpc_socket_sendto(closed, &byte, 1, &address), -1);
  EXPECT_EQ(rpc_socket_errno(), 10038);
  EXPECT_EQ(rpc_socket_recvfrom(closed, &byte, 1, &sender), -1);
  EXPECT_EQ(rpc_socket_errno(), 10038);
  EXPECT_EQ(rpc_socket_connect(closed, &address), -1);
  EXPECT_EQ(rpc_socket_errno(), 10038);
  EXPECT_EQ(rpc_socket_set_nonblocking(closed), -1);
  EXPECT_EQ(rpc_socket_errno(), 10038);
  EXPECT_EQ(rpc_socket_close(closed), -1);
  EXPECT_EQ(rpc_socket_errno(), 10038);
}

TEST(socket_recvfrom, refuses_a_datagram_longer_than_the_buffer) {
  const descriptor sock(bound_socket(SOCK_DGRAM));
  const rpc_address self = loopback(port_of(sock.get()));
  char bytes[8];
  rpc_address sender;
  ASSERT_EQ(rpc_socket_sendto(sock.get(), "123456789", 9, &self), 9);
  EXPECT_EQ(rpc_socket_recvfrom(sock.get(), bytes, 8, &sender), -1);
  EXPECT_EQ(rpc_socket_errno(), 10040);
  ASSERT_EQ(rpc_socket_sendto(sock.get(), "12345678", 8, &self), 8);
  EXPECT_EQ(rpc_socket_recvfrom(sock.get(), bytes, 8, &sender), 8);
  EXPECT_EQ(std::memcmp(&sender, &self, 8), 0);
}

TEST(socket_recvfrom, without_a_datagram_would_block) {
  const descriptor sock(bound_socket(SOCK_DGRAM));
  ASSERT_EQ(rpc_socket_set_nonblocking(sock.get()), 0);
  char byte;
  rpc_address sender;
  EXPECT_EQ(rpc_socket_recvfrom(sock.get(), &byte, 1, &sender), -1);
  EXPECT_EQ(rpc_socket_errno(), 10035);
}

// ---- connect

TEST(socket_connect, reports_a_refusal) {
  const descriptor sock(rpc_socket_open(RPC_STREAM, RPC_TCP));
  std::uint16_t free_port;
  {
    const descriptor listener(bound_socket(SOCK_STREAM));
    free_port = port_of(listener.get());
  }
  const rpc_address address = loopback(free_port);
  EXPECT_EQ(rpc_socket_connect(sock.get(), &address), -1);
  EXPECT_EQ(rpc_socket_errno(), 10061);
}

}  // namespace
}  // namespace kvrpc::test
