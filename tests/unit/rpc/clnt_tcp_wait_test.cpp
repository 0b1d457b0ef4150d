// The time limit of a TCP read: the call's timeout, or the one that control has set.
#include <gtest/gtest.h>

#include <string>

#include "rpc/clnt_support.h"

namespace kvrpc::test {
namespace {

TEST(tcp_wait, is_the_timeout_of_the_call_until_control_sets_it) {
  tcp_peer peer(late_by(1500));
  client clnt(tcp_handle(peer.port()));
  std::int32_t result;
  const stopwatch watch;
  EXPECT_EQ(clnt.call(1, &result, span(40)), RPC_TIMEDOUT);
  EXPECT_GE(watch.milliseconds(), 40);
  EXPECT_LT(watch.milliseconds(), 1500);
}

TEST(tcp_wait, that_control_set_is_not_shortened_by_a_call) {
  tcp_peer peer(late_by(100));
  client clnt(tcp_handle(peer.port()));
  clnt.set_timeout({10, 0});
  std::int32_t result;
  EXPECT_EQ(clnt.call(1, &result, span(20)), RPC_SUCCESS);
}

TEST(tcp_wait, that_control_set_is_not_prolonged_by_a_call) {
  tcp_peer peer(late_by(1500));
  client clnt(tcp_handle(peer.port()));
  clnt.set_timeout(span(30));
  std::int32_t result;
  EXPECT_EQ(clnt.call(1, &result, {10, 0}), RPC_TIMEDOUT);
}

TEST(tcp_wait, ends_when_the_hook_says_so_and_leaves_the_handle_usable) {
  tcp_peer peer(late_by(300));
  client clnt(tcp_handle(peer.port()));
  expect_hook_ends_call(clnt);
  std::int32_t result = 0;
  EXPECT_EQ(clnt.call(2, &result), RPC_SUCCESS);
  EXPECT_EQ(result, 2);
}

TEST(tcp_send, on_a_closed_descriptor_is_10038) {
  const descriptor listener(bound_socket(SOCK_STREAM));
  rpc_address address = loopback(port_of(listener.get()));
  rpc_socket sock = -1;
  client clnt(clnttcp_create(&address, test_program, 1, &sock, 0, 0));
  close_socket(sock);
  std::int32_t result;
  EXPECT_EQ(clnt.call(1, &result), RPC_CANTSEND);
  EXPECT_EQ(clnt.error().re_errno, 10038);
  testing::internal::CaptureStderr();
  clnt.destroy();
  testing::internal::GetCapturedStderr();
}

}  // namespace
}  // namespace kvrpc::test
