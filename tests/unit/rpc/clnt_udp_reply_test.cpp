// Datagrams that come as replies over UDP: which are accepted, and which are dropped.
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

TEST(udp_reply, leaks_no_verifier) {
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
    for (int i = 0; i < 1000 && !done; ++i) recv(sock, bytes, sizeof bytes, 0);
  });
  std::int32_t result = 0;
  EXPECT_EQ(clnt.call(1, &result), RPC_SUCCESS);
  done = true;
  EXPECT_EQ(result, 20);
}

}  // namespace
}  // namespace kvrpc::test
