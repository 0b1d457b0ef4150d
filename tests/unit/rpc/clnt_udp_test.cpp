// The UDP transport: calls, transaction ids, creation and control requests.
#include "rpc/clnt_udp.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "rpc/clnt_support.h"
#include "support/failing_heap.h"

namespace kvrpc::test {
namespace {

// Answers this many calls with their argument plus one.
std::function<void(int)> count_up(int calls) {
  return [calls](int sock) {
    for (int i = 0; i < calls; ++i) {
      const datagram call = receive(sock);
      answer(sock, call, success(call.data, words({word_at(call.data, 40) + 1})));
    }
  };
}

// ---- a good call

TEST(udp_call, goes_from_argument_to_result) {
  udp_peer peer(count_up(2));
  client clnt(udp_handle(peer.port()));
  std::int32_t result = 0;
  EXPECT_EQ(clnt.call(41, &result), RPC_SUCCESS);
  EXPECT_EQ(result, 42);
  EXPECT_EQ(clnt.call(-1, &result), RPC_SUCCESS);
  EXPECT_EQ(result, 0);
}

TEST(udp_call, is_one_datagram) {
  std::string call;
  udp_peer peer([&](int sock) {
    const datagram got = receive(sock);
    call = got.data;
    answer(sock, got, success(call, words({0})));
  });
  client clnt(udp_handle(peer.port()));
  std::int32_t result;
  EXPECT_EQ(clnt.call(0x01020304, &result), RPC_SUCCESS);
  EXPECT_EQ(call.substr(4), call_after_id(words({0x01020304})));
}

TEST(udp_id, rises_in_its_first_two_bytes_only) {
  constexpr int many = 300;
  std::vector<std::string> ids;
  std::atomic<int> arrived{0};
  udp_peer peer([&](int sock) {
    while (arrived < many) {
      const std::string call = receive(sock).data;
      if (call.empty()) break;  // lost
      ids.push_back(call.substr(0, 4));
      ++arrived;
    }
    arrived = many;
  });
  client clnt(udp_handle(peer.port()));
  std::int32_t result;
  for (int i = 0; i < many; ++i) {
    ASSERT_EQ(clnt.call(0, &result, {0, 0}), RPC_TIMEDOUT);
    // The peer's socket has room for a few hundred, and the peer may be slow.
    while (i % 50 == 49 && arrived <= i) sleep_milliseconds(1);
  }
  peer.join();
  ASSERT_EQ(ids.size(), 300u);
  for (std::size_t i = 1; i < ids.size(); ++i) {
    std::string expected = ids[i - 1];
    if (++expected[0] == 0) ++expected[1];
    EXPECT_EQ(ids[i], expected) << i;
  }
  EXPECT_EQ(ids[0].substr(2), ids[299].substr(2));
}

// ---- control

TEST(udp_control, sets_and_gives_both_times_and_gives_the_address) {
  client clnt(udp_handle(9, {3, 4}));
  rpc_timeval value = {};
  EXPECT_EQ(clnt.control(CLGET_TIMEOUT, &value), TRUE);
  EXPECT_EQ(value.tv_sec, -1);
  EXPECT_EQ(value.tv_usec, -1);
  EXPECT_EQ(clnt.control(CLGET_RETRY_TIMEOUT, &value), TRUE);
  EXPECT_EQ(value.tv_sec, 3);
  EXPECT_EQ(value.tv_usec, 4);
  value = {5, 6};
  EXPECT_EQ(clnt.control(CLSET_TIMEOUT, &value), TRUE);
  value = {7, 8};
  EXPECT_EQ(clnt.control(CLSET_RETRY_TIMEOUT, &value), TRUE);
  EXPECT_EQ(clnt.control(CLGET_TIMEOUT, &value), TRUE);
  EXPECT_EQ(value.tv_sec, 5);
  EXPECT_EQ(clnt.control(CLGET_RETRY_TIMEOUT, &value), TRUE);
  EXPECT_EQ(value.tv_sec, 7);
  rpc_address server = {};
  const rpc_address expected = loopback(9);
  EXPECT_EQ(clnt.control(CLGET_SERVER_ADDR, &server), TRUE);
  EXPECT_EQ(std::memcmp(&server, &expected, sizeof server), 0);
  EXPECT_EQ(clnt.control(0, &value), FALSE);
  EXPECT_EQ(clnt.control(6, &value), FALSE);
}

TEST(udp_freeres, runs_the_routine_in_free_mode) {
  client clnt(udp_handle(9));
  char* text = static_cast<char*>(std::calloc(1, 4));
  EXPECT_EQ(clnt.get()->cl_ops->freeres(clnt.get(), xdr_wrapstring, &text), TRUE);
  EXPECT_EQ(text, nullptr);
  clnt.get()->cl_ops->abort(clnt.get());
}

// ---- creation and end

TEST(udp_create, makes_a_socket_that_does_not_block_and_closes_it) {
  rpc_address address = loopback(9);
  rpc_socket sock = -1;
  client clnt(clntudp_create(&address, test_program, 1, {5, 0}, &sock));
  char byte;
  rpc_address sender;
  EXPECT_EQ(rpc_socket_recvfrom(sock, &byte, 1, &sender), -1);
  EXPECT_EQ(rpc_socket_errno(), 10035);
  clnt.destroy();
  EXPECT_FALSE(is_open(sock));
}

TEST(udp_create, takes_a_socket_as_it_is_and_leaves_it_open) {
  const descriptor own(bound_socket(SOCK_DGRAM));
  udp_peer peer(count_up(1));
  rpc_address address = loopback(peer.port());
  rpc_socket sock = own.get();
  client clnt(clntudp_create(&address, test_program, 1, {5, 0}, &sock));
  std::int32_t result = 0;
  EXPECT_EQ(clnt.call(1, &result), RPC_SUCCESS);
  EXPECT_EQ(result, 2);
  clnt.destroy();
  EXPECT_TRUE(is_open(own.get()));
}

TEST(udp_create, fails_when_the_header_does_not_fit) {
  rpc_address address = loopback(9);
  rpc_socket sock = -1;
  EXPECT_EQ(clntudp_bufcreate(&address, test_program, 1, {5, 0}, &sock, 16, 400), nullptr);
  EXPECT_EQ(sock, -1);
}

TEST(udp_create, rounds_its_buffers_up) {
  udp_peer peer(count_up(1));
  rpc_address address = loopback(peer.port());
  rpc_socket sock = -1;
  client clnt(clntudp_bufcreate(&address, test_program, 1, {5, 0}, &sock, 41, 25));
  std::int32_t result = 0;
  EXPECT_EQ(clnt.call(1, &result), RPC_SUCCESS);
  EXPECT_EQ(result, 2);
}

TEST(udp_create, survives_every_failing_allocation) {
  const std::int64_t failures = fail_each_allocation([&](std::int64_t number) {
    rpc_address address = loopback(9);
    rpc_socket sock = -1;
    testing::internal::CaptureStderr();
    bool failed;
    {
      failing_heap heap(number);
      errno = ENOMEM;
      client clnt(clntudp_create(&address, test_program, 1, {5, 0}, &sock));
      failed = heap.failed();
      std::int32_t result;
      if (clnt.get() != nullptr) {
        EXPECT_EQ(clnt.call(1, &result, {0, 0}), failed ? RPC_CANTENCODEARGS : RPC_TIMEDOUT);
      } else {
        EXPECT_EQ(rpc_createerr.cf_stat, RPC_SYSTEMERROR);
        EXPECT_EQ(rpc_createerr.cf_error.re_errno, ENOMEM);
      }
      clnt.destroy();
      EXPECT_LE(heap.live_blocks(), 1);  // the AUTH that all handles share stays
    }
    const std::string said = testing::internal::GetCapturedStderr();
    EXPECT_EQ(said, number < 3 ? "clntudp_create: out of memory\n" : "");
    EXPECT_TRUE(sock < 0 || !is_open(sock));
    return failed;
  });
  EXPECT_GE(failures, 3);
}

// ---- arguments that fail

bool_t xdr_9000_bytes(XDR* xdrs, void*, std::uint32_t) {
  static char bytes[9000];
  return xdr_opaque(xdrs, bytes, sizeof bytes);
}

bool_t xdr_8760_bytes(XDR* xdrs, void*, std::uint32_t) {
  static char bytes[UDPMSGSIZE - 40];
  return xdr_opaque(xdrs, bytes, sizeof bytes);
}

TEST(udp_arguments, that_fail_send_nothing_and_leave_the_whole_buffer) {
  std::size_t length = 0;
  udp_peer peer([&](int sock) {
    const datagram call = receive(sock);
    length = call.data.size();
    answer(sock, call, success(call.data, ""));
  });
  client clnt(udp_handle(peer.port()));
  for (const xdrproc_t routine : {xdr_9000_bytes, xdr_broken}) {
    EXPECT_EQ(clnt_call(clnt.get(), 1, routine, nullptr, xdr_void, nullptr, 10, 0),
              RPC_CANTENCODEARGS);
    EXPECT_EQ(clnt.error().re_status, RPC_CANTENCODEARGS);
  }
  EXPECT_EQ(clnt_call(clnt.get(), 1, xdr_8760_bytes, nullptr, xdr_void, nullptr, 10, 0),
            RPC_SUCCESS);
  EXPECT_EQ(length, UDPMSGSIZE);
}

TEST(udp_send, on_a_closed_descriptor_is_10038) {
  rpc_address address = loopback(9);
  rpc_socket sock = -1;
  client clnt(clntudp_create(&address, test_program, 1, {5, 0}, &sock));
  testing::internal::CaptureStderr();
  close_socket(sock);
  std::int32_t result;
  EXPECT_EQ(clnt.call(1, &result), RPC_CANTSEND);
  EXPECT_EQ(clnt.error().re_errno, 10038);
  clnt.destroy();
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

}  // namespace
}  // namespace kvrpc::test
