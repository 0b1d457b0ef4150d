// Signals while a call is on its way. Windows has none, and there a send cannot be interrupted.
#include <gtest/gtest.h>

#include <atomic>
#include <string>

#include "rpc/clnt_support.h"

namespace kvrpc::test {
namespace {

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
  tcp_peer peer(late_by(1500));
  client clnt(tcp_handle(peer.port()));
  std::int32_t result = 0;
  const signal_storm storm;
  const stopwatch watch;
  EXPECT_EQ(clnt.call(1, &result, span(150)), RPC_TIMEDOUT);
  EXPECT_GE(watch.milliseconds(), 150);
  EXPECT_LT(watch.milliseconds(), 1500);
}

TEST(tcp_send, ends_when_the_hook_says_so) {
  std::atomic<bool> ended{false};
  tcp_peer peer([&ended](descriptor&) {
    while (!ended) sleep_milliseconds(5);
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
  ended = true;
}

TEST(udp_time, is_not_prolonged_by_signals) {
  silent_server server;
  udp_peer peer(server.script(1500));
  client clnt(udp_handle(peer.port(), span(60)));
  clnt.set_timeout(span(180));
  std::int32_t result;
  const signal_storm storm;
  const stopwatch watch;
  EXPECT_EQ(clnt.call(1, &result), RPC_TIMEDOUT);
  EXPECT_GE(watch.milliseconds(), 180);
  EXPECT_LT(watch.milliseconds(), 2000);
  peer.join();
  EXPECT_EQ(server.calls.size(), 3u);
}

}  // namespace
}  // namespace kvrpc::test
