#include <gtest/gtest.h>

#include <string>

#include "rpc/clnt_support.h"

namespace kvrpc::test {
namespace {

// Answers the call after this many milliseconds, and the next one at once.
std::function<void(descriptor&)> late_by(int milliseconds) {
  return [milliseconds](descriptor& connection) {
    const std::string call = read_record(connection.get());
    sleep_milliseconds(milliseconds);
    write_record(connection.get(), success(call, words({1})));
    const std::string second = read_record(connection.get());
    if (!second.empty()) write_record(connection.get(), success(second, words({2})));
  };
}

TEST(tcp_wait, is_the_timeout_of_the_call_until_control_sets_it) {
  tcp_peer peer(late_by(100));
  client clnt(tcp_handle(peer.port()));
  std::int32_t result;
  const stopwatch watch;
  EXPECT_EQ(clnt.call(1, &result, span(40)), RPC_TIMEDOUT);
  EXPECT_GE(watch.milliseconds(), 40);
  EXPECT_LT(watch.milliseconds(), 100);
}

TEST(tcp_wait, that_control_set_is_not_shortened_by_a_call) {
  tcp_peer peer(late_by(100));
  client clnt(tcp_handle(peer.port()));
  clnt.set_timeout({10, 0});
  std::int32_t result;
  EXPECT_EQ(clnt.call(1, &result, span(20)), RPC_SUCCESS);
}

TEST(tcp_wait, that_control_set_is_not_prolonged_by_a_call) {
  tcp_peer peer(late_by(200));
  client clnt(tcp_handle(peer.port()));
  clnt.set_timeout(span(30));
  std::int32_t result;
  EXPECT_EQ(clnt.call(1, &result, {10, 0}), RPC_TIMEDOUT);
}

TEST(tcp_wait, survives_a_signal_every_five_milliseconds) {
  tcp_peer peer(late_by(100));
  client clnt(tcp_handle(peer.port()));
  std::int32_t result = 0;
  const signal_storm storm;
  EXPECT_EQ(clnt.call(1, &result), RPC_SUCCESS);
  EXPECT_EQ(result, 1);
  EXPECT_EQ(clnt.call(1, &result), RPC_SUCCESS);
  EXPECT_EQ(result, 2);
  EXPECT_GE(signal_storm::arrived(), 5);
}

TEST(tcp_wait, is_not_prolonged_by_signals) {
  tcp_peer peer(late_by(400));
  client clnt(tcp_handle(peer.port()));
  std::int32_t result = 0;
  const signal_storm storm;
  const stopwatch watch;
  EXPECT_EQ(clnt.call(1, &result, span(150)), RPC_TIMEDOUT);
  EXPECT_GE(watch.milliseconds(), 150);
  EXPECT_LT(watch.milliseconds(), 350);
}

TEST(tcp_wait, ends_when_the_hook_says_so_and_leaves_the_handle_usable) {
  tcp_peer peer(late_by(300));
  client clnt(tcp_handle(peer.port()));
  std::int32_t result = 0;
  {
    const hook_guard hook([] { return 1; });
    const signal_storm storm;
    const stopwatch watch;
    EXPECT_EQ(clnt.call(1, &result), RPC_CANTRECV);
    EXPECT_LT(watch.milliseconds(), 100);
  }
  EXPECT_EQ(clnt.error().re_errno, RPC_EINTERRUPTED);
  EXPECT_EQ(clnt.call(2, &result), RPC_SUCCESS);
  EXPECT_EQ(result, 2);
}

TEST(tcp_send, ends_when_the_hook_says_so) {
  tcp_peer peer([](descriptor& connection) {
    char end;
    sleep_milliseconds(300);
    recv(connection.get(), &end, 1, 0);
  });
  client clnt(tcp_handle(peer.port()));
  const xdrproc_t routine = [](XDR* xdrs, void*, std::uint32_t) {
    for (std::int32_t word = 0; word < 4 << 20; ++word) {
      if (!XDR_PUTLONG(xdrs, &word)) return FALSE;
    }
    return TRUE;
  };
  const hook_guard hook([] { return 1; });
  const signal_storm storm;
  EXPECT_EQ(clnt_call(clnt.get(), 1, routine, nullptr, xdr_void, nullptr, 10, 0), RPC_CANTSEND);
  EXPECT_EQ(clnt.error().re_errno, RPC_EINTERRUPTED);
}

TEST(tcp_send, on_a_closed_descriptor_is_10038) {
  const descriptor listener(bound_socket(SOCK_STREAM));
  rpc_address address = loopback(port_of(listener.get()));
  rpc_socket sock = -1;
  client clnt(clnttcp_create(&address, test_program, 1, &sock, 0, 0));
  ::close(sock);
  std::int32_t result;
  EXPECT_EQ(clnt.call(1, &result), RPC_CANTSEND);
  EXPECT_EQ(clnt.error().re_errno, 10038);
  testing::internal::CaptureStderr();
  clnt.destroy();
  testing::internal::GetCapturedStderr();
}

}  // namespace
}  // namespace kvrpc::test
