// The receive with a time limit, with the wait in front of it and with the wait inside.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "rpc/rpc_os.h"
#include "support/loopback_peer.h"

namespace kvrpc::test {
namespace {

// A connected socket, prepared for both ways, and the peer's end of it.
class connection {
 public:
  connection() : sock_(static_cast<int>(rpc_socket_open(RPC_STREAM, RPC_TCP))) {
    const descriptor listener(bound_socket(SOCK_STREAM));
    const rpc_address address = loopback(port_of(listener.get()));
    EXPECT_EQ(rpc_socket_connect(sock_.get(), &address), 0);
    other_ = descriptor(static_cast<int>(accept(listener.get(), nullptr, nullptr)));
    waits_in_receive_ = rpc_socket_wait_in_receive(sock_.get());
  }
  bool waits_in_receive() const { return waits_in_receive_; }
  descriptor& other() { return other_; }
  std::int32_t receive(rpc_timeval span, bool waits_in_receive) {
    char bytes[8];
    const std::int32_t got =
        rpc_socket_recv(sock_.get(), bytes, sizeof bytes, span, waits_in_receive);
    if (got > 0) text.assign(bytes, static_cast<std::size_t>(got));
    return got;
  }

  std::string text;

 private:
  descriptor sock_;
  descriptor other_;
  bool waits_in_receive_ = false;
};

class socket_recv : public testing::TestWithParam<bool> {
 protected:
  void SetUp() override { inside_ = GetParam() && both_.waits_in_receive(); }
  std::int32_t receive(rpc_timeval span) { return both_.receive(span, inside_); }

  connection both_;
  bool inside_ = false;
};

TEST_P(socket_recv, takes_what_is_there) {
  write_bytes(both_.other().get(), "abc");
  EXPECT_EQ(receive({5, 0}), 3);
  EXPECT_EQ(both_.text, "abc");
  write_bytes(both_.other().get(), "0123456789");
  EXPECT_EQ(receive({5, 0}), 8);
  EXPECT_EQ(receive({5, 0}), 2);
  EXPECT_EQ(both_.text, "89");
}

TEST_P(socket_recv, waits_for_what_comes_late) {
  for (const int late : {20, 70, 160}) {
    const stopwatch watch;
    const script_thread peer([&] {
      sleep_milliseconds(late);
      write_bytes(both_.other().get(), "x");
    });
    EXPECT_EQ(receive({5, 0}), 1);
    EXPECT_GE(watch.milliseconds(), late - 1);
    EXPECT_LT(watch.milliseconds(), late + 4000);
  }
}

TEST_P(socket_recv, ends_with_the_time) {
  for (const std::int32_t span : {0, 10, 50, 99, 100, 130, 260}) {
    const stopwatch watch;
    EXPECT_EQ(receive(milliseconds(span)), RPC_NOTHING_CAME);
    EXPECT_GE(watch.milliseconds(), span) << span;
    EXPECT_LT(watch.milliseconds(), span + 4000) << span;
  }
}

// A busy machine prolongs some waits; one that is longer by design prolongs all.
TEST_P(socket_recv, ends_at_its_time_and_not_a_slice_later) {
  std::int64_t least = 1000;
  for (int attempt = 0; attempt < 20 && least >= 150; ++attempt) {
    const stopwatch watch;
    EXPECT_EQ(receive(milliseconds(120)), RPC_NOTHING_CAME);
    least = std::min(least, watch.milliseconds());
  }
  EXPECT_LT(least, 150);
}

TEST_P(socket_recv, is_not_prolonged_by_signals) {
  const signal_storm storm;
  const stopwatch watch;
  EXPECT_EQ(receive(milliseconds(300)), RPC_NOTHING_CAME);
  EXPECT_GE(watch.milliseconds(), 300);
  EXPECT_LT(watch.milliseconds(), 4000);
}

TEST_P(socket_recv, reports_the_end) {
  both_.other().close();
  EXPECT_EQ(receive({5, 0}), 0);
}

#ifndef _WIN32  // a peer under Wine closes in order, even with SO_LINGER; see tcp_cut for a reset
TEST_P(socket_recv, reports_a_reset) {
  both_.other().reset();
  EXPECT_EQ(receive({5, 0}), -1);
  EXPECT_EQ(rpc_socket_errno(), RPC_ECONNRESET);
}
#endif

TEST_P(socket_recv, asks_the_hook_before_it_begins) {
  write_bytes(both_.other().get(), "x");
  const hook_guard hook([] { return 1; });
  EXPECT_EQ(receive({5, 0}), -1);
  EXPECT_EQ(rpc_socket_errno(), RPC_EINTERRUPTED);
}

TEST_P(socket_recv, asks_the_hook_twenty_times_a_second) {
  static int asked;
  asked = 0;
  const hook_guard hook([] { return ++asked == 10 ? 1 : 0; });
  const stopwatch watch;
  EXPECT_EQ(receive({5, 0}), -1);
  EXPECT_EQ(rpc_socket_errno(), RPC_EINTERRUPTED);
  EXPECT_GE(watch.milliseconds(), 400);
  EXPECT_LT(watch.milliseconds(), 4000);
}

TEST_P(socket_recv, on_a_socket_that_does_not_block_waits_as_well) {
  const descriptor listener(bound_socket(SOCK_STREAM));
  const rpc_address address = loopback(port_of(listener.get()));
  const descriptor sock(static_cast<int>(rpc_socket_open(RPC_STREAM, RPC_TCP)));
  ASSERT_EQ(rpc_socket_connect(sock.get(), &address), 0);
  const bool inside = rpc_socket_wait_in_receive(sock.get());
  ASSERT_EQ(rpc_socket_set_nonblocking(sock.get()), 0);
  char byte;
  const stopwatch watch;
  EXPECT_EQ(rpc_socket_recv(sock.get(), &byte, 1, milliseconds(120), GetParam() && inside),
            RPC_NOTHING_CAME);
  EXPECT_GE(watch.milliseconds(), 120);
}

INSTANTIATE_TEST_SUITE_P(wait, socket_recv, testing::Bool(), [](const auto& each) {
  return each.param ? "inside_the_receive" : "in_front_of_it";
});

}  // namespace
}  // namespace kvrpc::test
