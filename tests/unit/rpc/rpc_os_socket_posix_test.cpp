// What POSIX alone has: signals in every wait, descriptors that a program runs out of or inherits.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <string>
#include <vector>

#include "rpc/rpc_os.h"
#include "support/full_listener.h"
#include "support/loopback_peer.h"

namespace kvrpc::test {
namespace {

// ---- the wait

TEST(socket_wait, is_not_prolonged_by_signals) {
  const descriptor sock(bound_socket(SOCK_DGRAM));
  const signal_storm storm;
  const stopwatch watch;
  EXPECT_EQ(rpc_socket_await(sock.get(), milliseconds(200)), 0);
  EXPECT_GE(watch.milliseconds(), 200);
  EXPECT_LT(watch.milliseconds(), 4000);
  EXPECT_GE(signal_storm::arrived(), 5);
}

TEST(socket_wait, takes_descriptors_above_a_thousand) {
  rlimit limit;
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
  if (limit.rlim_max < 2000) GTEST_SKIP() << "the hard limit of open files is below 2000";
  const rlimit wide = {2000, limit.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &wide), 0);
  {
    const descriptor low(bound_socket(SOCK_DGRAM));
    const descriptor high(fcntl(low.get(), F_DUPFD, 1500));
    ASSERT_GE(high.get(), 1500);
    EXPECT_EQ(rpc_socket_await(high.get(), milliseconds(10)), 0);
    const rpc_address self = loopback(port_of(low.get()));
    ASSERT_EQ(rpc_socket_sendto(high.get(), "x", 1, &self), 1);
    EXPECT_EQ(rpc_socket_await(high.get(), {5, 0}), 1);
  }
  setrlimit(RLIMIT_NOFILE, &limit);
}

// ---- sockets

TEST(socket_open, is_closed_on_exec_and_of_the_type_asked_for) {
  const descriptor stream(rpc_socket_open(RPC_STREAM, RPC_TCP));
  const descriptor datagrams(rpc_socket_open(RPC_DATAGRAM, RPC_UDP));
  EXPECT_NE(fcntl(stream.get(), F_GETFD) & FD_CLOEXEC, 0);
  EXPECT_NE(fcntl(datagrams.get(), F_GETFD) & FD_CLOEXEC, 0);
  int type;
  socklen_t size = sizeof type;
  getsockopt(datagrams.get(), SOL_SOCKET, SO_TYPE, &type, &size);
  EXPECT_EQ(type, SOCK_DGRAM);
}

TEST(socket_open, reports_that_no_descriptor_is_left) {
  rlimit limit;
  getrlimit(RLIMIT_NOFILE, &limit);
  const rlimit none = {0, limit.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
  const rpc_socket sock = rpc_socket_open(RPC_STREAM, RPC_TCP);
  const std::int32_t error = rpc_socket_errno();
  setrlimit(RLIMIT_NOFILE, &limit);
  EXPECT_LT(sock, 0);
  EXPECT_EQ(error, 10024);
}

TEST(socket_send, to_a_peer_that_went_away_is_10054_and_no_signal) {
  int pair[2];
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, pair), 0);
  const descriptor sock(pair[0]);
  close(pair[1]);
  EXPECT_EQ(rpc_socket_send(sock.get(), "x", 1), -1);
  EXPECT_EQ(rpc_socket_errno(), 10054);
}

TEST(socket_send, moves_what_fits_and_waits_for_room) {
  int pair[2];
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, pair), 0);
  const descriptor sock(pair[0]);
  descriptor other(pair[1]);
  const std::vector<char> much(4 << 20);
  std::int32_t sent = rpc_socket_send(sock.get(), much.data(), 4 << 20);
  EXPECT_GT(sent, 0);
  EXPECT_LT(sent, 4 << 20);
  const signal_storm storm;
  const script_thread late([&] {
    sleep_milliseconds(300);
    std::vector<char> room(4 << 20);
    read_exactly(other.get(), room.data(), static_cast<std::size_t>(sent));
  });
  EXPECT_GT(rpc_socket_send(sock.get(), much.data(), 4 << 20), 0);
  EXPECT_GE(signal_storm::arrived(), 3);
}

// ---- connect

TEST(socket_connect, survives_signals) {
  full_listener listener;
  const rpc_address address = listener.address();
  const descriptor sock(rpc_socket_open(RPC_STREAM, RPC_TCP));
  script_thread late([&] {
    sleep_milliseconds(50);
    listener.accept_all();
  });
  std::int32_t result;
  {
    const signal_storm storm;
    result = rpc_socket_connect(sock.get(), &address);
    EXPECT_GE(signal_storm::arrived(), 5);
  }
  EXPECT_EQ(result, 0) << rpc_socket_errno();
  sockaddr_in peer;
  socklen_t size = sizeof peer;
  EXPECT_EQ(getpeername(sock.get(), reinterpret_cast<sockaddr*>(&peer), &size), 0);
}

TEST(socket_connect, ends_when_the_hook_says_so) {
  const full_listener listener;
  const rpc_address address = listener.address();
  const descriptor sock(rpc_socket_open(RPC_STREAM, RPC_TCP));
  const hook_guard hook([] { return 1; });
  const signal_storm storm;
  const stopwatch watch;
  EXPECT_EQ(rpc_socket_connect(sock.get(), &address), -1);
  EXPECT_EQ(rpc_socket_errno(), RPC_EINTERRUPTED);
  EXPECT_LT(watch.milliseconds(), 4000);
}

}  // namespace
}  // namespace kvrpc::test
