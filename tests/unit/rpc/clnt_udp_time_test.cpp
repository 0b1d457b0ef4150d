// The times of a UDP call: the interval between two transmissions, and the total.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "rpc/clnt_support.h"

namespace kvrpc::test {
namespace {

TEST(udp_time, sends_five_times_when_the_total_is_five_intervals) {
  silent_server server;
  udp_peer peer(server.script(1500));
  client clnt(udp_handle(peer.port(), span(50)));
  clnt.set_timeout(span(250));
  std::int32_t result;
  const std::int64_t start = rpc_clock() / 1000;
  const stopwatch watch;
  EXPECT_EQ(clnt.call(1, &result), RPC_TIMEDOUT);
  EXPECT_GE(watch.milliseconds(), 250);
  EXPECT_LT(watch.milliseconds(), 2000);
  peer.join();
  ASSERT_EQ(server.calls.size(), 5u);
  for (std::size_t i = 1; i < 5; ++i) {
    EXPECT_EQ(server.calls[i], server.calls[0]);
    EXPECT_GE(server.times[i] - start, static_cast<std::int64_t>(50 * i));
  }
}

TEST(udp_time, ends_only_with_an_interval) {
  silent_server server;
  udp_peer peer(server.script(1500));
  client clnt(udp_handle(peer.port(), span(100)));
  clnt.set_timeout(span(250));
  std::int32_t result;
  const stopwatch watch;
  EXPECT_EQ(clnt.call(1, &result), RPC_TIMEDOUT);
  EXPECT_GE(watch.milliseconds(), 300);
  peer.join();
  EXPECT_EQ(server.calls.size(), 3u);
}

TEST(udp_time, counts_intervals_over_the_second) {
  silent_server server;
  udp_peer peer(server.script(2000));
  client clnt(udp_handle(peer.port(), span(600)));
  clnt.set_timeout(span(1200));
  std::int32_t result;
  EXPECT_EQ(clnt.call(1, &result), RPC_TIMEDOUT);
  peer.join();
  EXPECT_EQ(server.calls.size(), 2u);
}

TEST(udp_time, of_zero_from_control_sends_once_and_does_not_wait) {
  silent_server server;
  udp_peer peer(server.script(200));
  client clnt(udp_handle(peer.port(), span(5000)));
  clnt.set_timeout({0, 0});
  std::int32_t result;
  const stopwatch watch;
  EXPECT_EQ(clnt.call(1, &result, {10, 0}), RPC_TIMEDOUT);
  EXPECT_LT(watch.milliseconds(), 4000);
  peer.join();
  EXPECT_EQ(server.calls.size(), 1u);
}

TEST(udp_time, of_a_call_counts_only_until_control_sets_it) {
  const descriptor silent(bound_socket(SOCK_DGRAM));
  client clnt(udp_handle(port_of(silent.get()), span(20)));
  std::int32_t result;
  const stopwatch first;
  EXPECT_EQ(clnt.call(1, &result, span(60)), RPC_TIMEDOUT);
  EXPECT_GE(first.milliseconds(), 60);
  clnt.set_timeout({5, -1});
  const stopwatch second;
  EXPECT_EQ(clnt.call(1, &result, span(40)), RPC_TIMEDOUT);
  EXPECT_LT(second.milliseconds(), 4000);
  clnt.set_timeout(span(20));
  const stopwatch third;
  EXPECT_EQ(clnt.call(1, &result, {10, 0}), RPC_TIMEDOUT);
  EXPECT_LT(third.milliseconds(), 4000);
}

TEST(udp_time, starts_the_interval_anew_after_a_dropped_datagram) {
  std::size_t further = 0;
  udp_peer peer([&](int sock) {
    const datagram call = receive(sock);
    for (int i = 0; i < 5; ++i) {
      sleep_milliseconds(300);
      answer(sock, call, "abc");
    }
    further = receive(sock, 0).data.size();
    answer(sock, call, success(call.data, words({18})));
  });
  client clnt(udp_handle(peer.port(), span(1000)));
  clnt.set_timeout(span(1000));
  std::int32_t result = 0;
  EXPECT_EQ(clnt.call(1, &result), RPC_SUCCESS);
  EXPECT_EQ(result, 18);
  EXPECT_EQ(further, 0u);
}

TEST(udp_time, ends_when_the_hook_says_so_and_leaves_the_handle_usable) {
  udp_peer peer([](int sock) {
    receive(sock);
    const datagram call = receive(sock);
    answer(sock, call, success(call.data, words({19})));
  });
  client clnt(udp_handle(peer.port()));
  expect_hook_ends_call(clnt);
  std::int32_t result = 0;
  EXPECT_EQ(clnt.call(1, &result), RPC_SUCCESS);
  EXPECT_EQ(result, 19);
}

}  // namespace
}  // namespace kvrpc::test
