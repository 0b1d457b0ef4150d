// A signal that came just before a connect or a send began to wait was lost: its handler ran when
// the kernel gave up, after two minutes, or never. On Windows no signal ended one at all.

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <string>

#include "rpc/rpc_os.h"
#include "support/full_listener.h"
#include "support/loopback_peer.h"

namespace kvrpc::test {
namespace {

std::atomic<bool> signal_came;

int ask() { return signal_came ? 1 : 0; }

// Lets the signal come before the wait, or in the middle of it.
template <class Wait>
void expect_the_signal_to_end(bool before, Wait wait) {
  signal_came = before;
  const hook_guard hook(ask);
  const script_thread late([before] {
    if (before) return;
    sleep_milliseconds(120);
    signal_came = true;
  });
  const stopwatch watch;
  EXPECT_EQ(wait(), -1) << before;
  EXPECT_EQ(rpc_socket_errno(), RPC_EINTERRUPTED) << before;
  EXPECT_LT(watch.milliseconds(), 4000) << before;
}

// Runs `let_go` after ten seconds, or when the object goes, so that a wait that nothing ends fails.
class rescue {
 public:
  explicit rescue(std::function<void()> let_go)
      : thread_([this, let_go] {
          for (int i = 0; i < 500 && !over_; ++i) sleep_milliseconds(20);
          let_go();
        }) {}
  ~rescue() { over_ = true; }

 private:
  std::atomic<bool> over_{false};
  script_thread thread_;
};

TEST(lost_signal, ends_a_connect) {
  for (const bool before : {true, false}) {
    full_listener listener;
    const rpc_address address = listener.address();
    const descriptor sock(static_cast<int>(rpc_socket_open(RPC_STREAM, RPC_TCP)));
    const rescue late([&listener] { listener.close(); });
    expect_the_signal_to_end(before, [&] { return rpc_socket_connect(sock.get(), &address); });
  }
}

TEST(lost_signal, ends_a_send_that_nobody_reads) {
  const std::string much(16 << 20, 'x');
  const auto length = static_cast<std::int32_t>(much.size());
  for (const bool before : {true, false}) {
    descriptor listener(bound_socket(SOCK_STREAM));
    const rpc_address address = loopback(port_of(listener.get()));
    const descriptor sock(static_cast<int>(rpc_socket_open(RPC_STREAM, RPC_TCP)));
    ASSERT_EQ(rpc_socket_connect(sock.get(), &address), 0);
    const rescue late([&listener] { listener.close(); });
    expect_the_signal_to_end(before, [&] {
      std::int32_t sent;
      do {
        sent = rpc_socket_send(sock.get(), much.data(), length);
      } while (sent > 0);
      return sent;
    });
  }
}

}  // namespace
}  // namespace kvrpc::test
