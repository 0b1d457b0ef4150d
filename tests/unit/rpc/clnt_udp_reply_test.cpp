#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <vector>

#include "rpc/clnt_support.h"
#include "support/failing_heap.h"

namespace kvrpc::test {
namespace {

struct outcome {
  std::int32_t status;
  rpc_err error;
  std::int32_t result;
};

// Makes a call that is answered with these datagrams, and checks that the next call works.
outcome answered_with(const std::function<std::vector<std::string>(const std::string&)>& replies,
                      xdrproc_t routine = xdr_long) {
  udp_peer peer([&](int sock) {
    const datagram first = receive(sock);
    for (const std::string& reply : replies(first.data)) answer(sock, first, reply);
    const datagram second = receive(sock);
    answer(sock, second, success(second.data, words({77})));
  });
  client clnt(udp_handle(peer.port()));
  outcome seen = {};
  std::int32_t argument = 1;
  seen.status =
      clnt_call(clnt.get(), test_procedure, xdr_long, &argument, routine, &seen.result, 10, 0);
  seen.error = clnt.error();
  std::int32_t next = 0;
  EXPECT_EQ(clnt.call(2, &next), RPC_SUCCESS);
  EXPECT_EQ(next, 77);
  return seen;
}

std::string with_id_of(const std::string& call, const std::string& rest) {
  return call.substr(0, 4) + rest;
}

// ---- what is dropped and what is not

TEST(udp_reply, that_is_short_or_foreign_is_dropped) {
  const outcome seen = answered_with([](const std::string& call) {
    std::string wrong = success(call, words({13}));
    wrong[3] = static_cast<char>(wrong[3] ^ 1);
    return std::vector<std::string>{"", "abc", call.substr(0, 3), wrong,
                                    success(call, words({14}))};
  });
  EXPECT_EQ(seen.status, RPC_SUCCESS);
  EXPECT_EQ(seen.result, 14);
}

TEST(udp_reply, from_a_stranger_with_the_right_id_is_accepted) {
  udp_peer peer([](int sock) {
    const datagram call = receive(sock);
    const descriptor stranger(bound_socket(SOCK_DGRAM));
    answer(stranger.get(), call, success(call.data, words({15})));
  });
  client clnt(udp_handle(peer.port()));
  std::int32_t result = 0;
  EXPECT_EQ(clnt.call(1, &result), RPC_SUCCESS);
  EXPECT_EQ(result, 15);
}

TEST(udp_reply, that_comes_twice_is_dropped_by_the_next_call) {
  udp_peer peer([](int sock) {
    const datagram first = receive(sock);
    answer(sock, first, success(first.data, words({1})));
    answer(sock, first, success(first.data, words({2})));
    const datagram second = receive(sock);
    answer(sock, second, success(second.data, words({3})));
  });
  client clnt(udp_handle(peer.port()));
  std::int32_t result = 0;
  EXPECT_EQ(clnt.call(1, &result), RPC_SUCCESS);
  EXPECT_EQ(result, 1);
  EXPECT_EQ(clnt.call(1, &result), RPC_SUCCESS);
  EXPECT_EQ(result, 3);
}

TEST(udp_reply, that_does_not_decode_ends_the_call) {
  const std::string rests[] = {"",
                               words({0}),
                               words({1, 2}),
                               words({1, 0, 0, 401}),
                               words({1, 0, 0, 8, 1}),
                               words({1, 1, 6, 2, 2}),
                               words({1, 0, 0, 0, 0})};
  for (const std::string& rest : rests) {
    const outcome seen = answered_with(
        [&](const std::string& call) { return std::vector<std::string>{with_id_of(call, rest)}; });
    EXPECT_EQ(seen.status, RPC_CANTDECODERES);
    EXPECT_EQ(seen.error.re_status, RPC_CANTDECODERES);
  }
}

TEST(udp_reply, of_refusal_gives_its_status_and_details) {
  const outcome versions = answered_with([](const std::string& call) {
    return std::vector<std::string>{with_id_of(call, words({1, 0, 0, 0, 2, 3, 4}))};
  });
  EXPECT_EQ(versions.status, RPC_PROGVERSMISMATCH);
  EXPECT_EQ(versions.error.re_vers.high, 4u);
  const outcome rpc_version = answered_with([](const std::string& call) {
    return std::vector<std::string>{with_id_of(call, words({1, 1, 0, 2, 2}))};
  });
  EXPECT_EQ(rpc_version.status, RPC_FAILED);
  EXPECT_EQ(rpc_version.error.re_lb.s1, 1);
  EXPECT_EQ(rpc_version.error.re_lb.s2, 0);
}

TEST(udp_reply, leaves_no_verifier_behind) {
  udp_peer peer([](int sock) {
    const std::string verifier = words({1, 0, 1, 8, 1, 2});
    for (const std::string& rest : {verifier + words({0, 9}), verifier + words({5}), verifier}) {
      const datagram call = receive(sock);
      answer(sock, call, with_id_of(call.data, rest));
    }
  });
  client clnt(udp_handle(peer.port()));
  std::int32_t result = 0;
  failing_heap heap(-1);
  EXPECT_EQ(clnt.call(1, &result), RPC_SUCCESS);
  EXPECT_EQ(result, 9);
  EXPECT_EQ(clnt.call(1, &result), RPC_SYSTEMERROR);
  EXPECT_EQ(clnt.call(1, &result), RPC_CANTDECODERES);
  EXPECT_EQ(heap.live_blocks(), 0);
  EXPECT_EQ(heap.allocations(), 3);
}

TEST(udp_reply, longer_than_the_buffer_is_10040) {
  const outcome seen = answered_with([](const std::string& call) {
    return std::vector<std::string>{success(call, std::string(UDPMSGSIZE, 'x'))};
  });
  EXPECT_EQ(seen.status, RPC_CANTRECV);
  EXPECT_EQ(seen.error.re_errno, 10040);
}

TEST(udp_reply, may_fill_the_buffer) {
  const outcome seen = answered_with([](const std::string& call) {
    return std::vector<std::string>{success(call, words({16}) + std::string(UDPMSGSIZE - 28, 'x'))};
  });
  EXPECT_EQ(seen.status, RPC_SUCCESS);
  EXPECT_EQ(seen.result, 16);
}

// ---- the times

// Takes what a client sends until it is silent for long, and tells when each datagram came.
struct silent_server {
  std::vector<std::int64_t> times;
  std::vector<std::string> calls;

  std::function<void(int)> script(int silence) {
    return [this, silence](int sock) {
      for (const stopwatch watch;;) {
        const datagram call = receive(sock, silence);
        if (call.data.empty()) return;
        times.push_back(watch.milliseconds());
        calls.push_back(call.data);
      }
    };
  }
};

TEST(udp_time, sends_five_times_when_the_total_is_five_intervals) {
  silent_server server;
  udp_peer peer(server.script(400));
  client clnt(udp_handle(peer.port(), span(50)));
  clnt.set_timeout(span(250));
  std::int32_t result;
  const stopwatch watch;
  EXPECT_EQ(clnt.call(1, &result), RPC_TIMEDOUT);
  EXPECT_GE(watch.milliseconds(), 250);
  EXPECT_LT(watch.milliseconds(), 400);
  peer.join();
  ASSERT_EQ(server.calls.size(), 5u);
  for (std::size_t i = 1; i < 5; ++i) {
    EXPECT_EQ(server.calls[i], server.calls[0]);
    EXPECT_GE(server.times[i] - server.times[0], static_cast<std::int64_t>(50 * i) - 5);
  }
}

TEST(udp_time, ends_only_with_an_interval) {
  silent_server server;
  udp_peer peer(server.script(400));
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
  udp_peer peer(server.script(700));
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
  EXPECT_LT(watch.milliseconds(), 1000);
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
  EXPECT_LT(second.milliseconds(), 1000);
  clnt.set_timeout(span(20));
  const stopwatch third;
  EXPECT_EQ(clnt.call(1, &result, {10, 0}), RPC_TIMEDOUT);
  EXPECT_LT(third.milliseconds(), 1000);
}

TEST(udp_time, starts_the_interval_anew_after_a_dropped_datagram) {
  std::size_t further = 0;
  udp_peer peer([&](int sock) {
    const datagram call = receive(sock);
    for (int i = 0; i < 8; ++i) {
      sleep_milliseconds(50);
      answer(sock, call, "abc");
    }
    further = receive(sock, 0).data.size();
    answer(sock, call, success(call.data, words({18})));
  });
  client clnt(udp_handle(peer.port(), span(200)));
  clnt.set_timeout(span(200));
  std::int32_t result = 0;
  EXPECT_EQ(clnt.call(1, &result), RPC_SUCCESS);
  EXPECT_EQ(result, 18);
  EXPECT_EQ(further, 0u);
}

TEST(udp_time, is_not_prolonged_by_signals) {
  silent_server server;
  udp_peer peer(server.script(400));
  client clnt(udp_handle(peer.port(), span(60)));
  clnt.set_timeout(span(180));
  std::int32_t result;
  const signal_storm storm;
  const stopwatch watch;
  EXPECT_EQ(clnt.call(1, &result), RPC_TIMEDOUT);
  EXPECT_GE(watch.milliseconds(), 180);
  EXPECT_LT(watch.milliseconds(), 400);
  peer.join();
  EXPECT_EQ(server.calls.size(), 3u);
}

TEST(udp_time, ends_when_the_hook_says_so_and_leaves_the_handle_usable) {
  udp_peer peer([](int sock) {
    receive(sock);
    const datagram call = receive(sock);
    answer(sock, call, success(call.data, words({19})));
  });
  client clnt(udp_handle(peer.port()));
  std::int32_t result = 0;
  {
    const hook_guard hook([] { return 1; });
    const signal_storm storm;
    const stopwatch watch;
    EXPECT_EQ(clnt.call(1, &result), RPC_CANTRECV);
    EXPECT_LT(watch.milliseconds(), 100);
  }
  EXPECT_EQ(clnt.error().re_errno, RPC_EINTERRUPTED);
  EXPECT_EQ(clnt.call(1, &result), RPC_SUCCESS);
  EXPECT_EQ(result, 19);
}

// A datagram whose checksum is wrong wakes the wait and is then not there. Loopback makes none, so
// another reader of the same socket takes the datagram away instead.
TEST(udp_reply, that_would_block_after_all_returns_to_the_wait) {
  std::atomic<bool> done = false;
  rpc_socket sock = -1;
  udp_peer peer([&](int server) {
    const datagram call = receive(server);
    for (int i = 0; i < 2000 && !done; ++i) {
      answer(server, call, "abc");
      if (i == 1999) answer(server, call, success(call.data, words({20})));
    }
    for (int i = 0; i < 20 && !done; ++i) {
      answer(server, call, success(call.data, words({20})));
      sleep_milliseconds(20);
    }
  });
  rpc_address address = loopback(peer.port());
  client clnt(clntudp_create(&address, test_program, 1, {5, 0}, &sock));
  script_thread thief([&] {
    char bytes[4];
    for (int i = 0; i < 1000 && !done; ++i) recv(sock, bytes, sizeof bytes, MSG_DONTWAIT);
  });
  std::int32_t result = 0;
  EXPECT_EQ(clnt.call(1, &result), RPC_SUCCESS);
  done = true;
  EXPECT_EQ(result, 20);
}

}  // namespace
}  // namespace kvrpc::test
