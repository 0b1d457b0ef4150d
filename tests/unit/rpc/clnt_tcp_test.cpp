// The TCP transport: calls, transaction ids, creation and control requests.
#include "rpc/clnt_tcp.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

#include "rpc/clnt_support.h"
#include "support/failing_heap.h"

namespace kvrpc::test {
namespace {

// Answers every call with its argument plus one.
void count_up(descriptor& connection) {
  for (std::string call; !(call = read_record(connection.get())).empty();) {
    write_record(connection.get(), success(call, words({word_at(call, 40) + 1})));
  }
}

// ---- a good call

TEST(tcp_call, goes_from_argument_to_result) {
  tcp_peer peer(count_up);
  client clnt(tcp_handle(peer.port()));
  std::int32_t result = 0;
  EXPECT_EQ(clnt.call(41, &result), RPC_SUCCESS);
  EXPECT_EQ(result, 42);
  EXPECT_EQ(clnt.call(-1, &result), RPC_SUCCESS);
  EXPECT_EQ(result, 0);
  EXPECT_EQ(clnt.error().re_status, RPC_SUCCESS);
}

TEST(tcp_call, sends_the_call_in_one_record) {
  std::string call;
  tcp_peer peer([&](descriptor& connection) {
    call = read_record(connection.get());
    write_record(connection.get(), success(call, words({0})));
  });
  client clnt(tcp_handle(peer.port()));
  std::int32_t result;
  EXPECT_EQ(clnt.call(0x01020304, &result), RPC_SUCCESS);
  EXPECT_EQ(call.substr(4), call_after_id(words({0x01020304})));
}

TEST(tcp_call, cuts_long_arguments_into_fragments_of_3996_bytes) {
  std::vector<std::uint32_t> lengths;
  std::string call;
  tcp_peer peer([&](descriptor& connection) {
    call = read_record(connection.get(), &lengths);
    write_record(connection.get(), success(call, ""));
  });
  client clnt(tcp_handle(peer.port()));
  static char text[10000];
  std::memset(text, 'x', sizeof text);
  const xdrproc_t routine = [](XDR* xdrs, void* data, std::uint32_t) {
    return xdr_opaque(xdrs, static_cast<char*>(data), sizeof text);
  };
  EXPECT_EQ(clnt_call(clnt.get(), 1, routine, text, xdr_void, nullptr, 10, 0), RPC_SUCCESS);
  EXPECT_EQ(lengths, (std::vector<std::uint32_t>{3996, 3996, 10040 - 2 * 3996}));
  EXPECT_EQ(call.substr(40), std::string(10000, 'x'));
}

TEST(tcp_call, on_no_handle_fails) {
  EXPECT_EQ(clnt_call(nullptr, 1, xdr_void, nullptr, xdr_void, nullptr, 25, 0), RPC_FAILED);
}

// ---- transaction ids

std::string decremented(std::string id) {
  std::uint32_t value = 0;
  for (std::size_t i = 4; i-- > 0;) value = value << 8 | static_cast<unsigned char>(id[i]);
  --value;
  for (std::size_t i = 0; i < 4; ++i) id[i] = static_cast<char>(value >> (8 * i) & 0xFF);
  return id;
}

TEST(tcp_id, begins_one_below_the_process_and_the_time) {
  std::string call;
  tcp_peer peer([&](descriptor& connection) { call = read_record(connection.get()); });
  const auto before = static_cast<std::uint32_t>(time(nullptr));
  client clnt(tcp_handle(peer.port()));
  const auto after = static_cast<std::uint32_t>(time(nullptr));
  std::int32_t result;
  EXPECT_EQ(clnt.call(0, &result, {0, 0}), RPC_TIMEDOUT);
  peer.join();
  bool found = false;
  for (std::uint32_t second = before; second <= after; ++second) {
    const std::string seed = words({static_cast<std::uint32_t>(getpid()) ^ second});
    found = found || call.substr(0, 4) == decremented(seed);
  }
  EXPECT_TRUE(found);
}

TEST(tcp_id, is_lowered_in_the_stored_word_with_its_borrow) {
  std::vector<std::string> ids;
  tcp_peer peer([&](descriptor& connection) {
    for (int i = 0; i < 300; ++i) ids.push_back(read_record(connection.get()).substr(0, 4));
  });
  client clnt(tcp_handle(peer.port()));
  std::int32_t result;
  for (int i = 0; i < 300; ++i) ASSERT_EQ(clnt.call(0, &result, {0, 0}), RPC_TIMEDOUT);
  peer.join();
  ASSERT_EQ(ids.size(), 300u);
  for (std::size_t i = 1; i < ids.size(); ++i) EXPECT_EQ(ids[i], decremented(ids[i - 1])) << i;
}

TEST(tcp_id, is_the_same_for_two_handles_of_one_second) {
  for (int attempt = 0; attempt < 3; ++attempt) {
    std::string calls[2];
    tcp_peer first([&](descriptor& connection) { calls[0] = read_record(connection.get()); });
    tcp_peer second([&](descriptor& connection) { calls[1] = read_record(connection.get()); });
    const std::uint32_t start = rpc_time_seconds();
    client clients[] = {client(tcp_handle(first.port())), client(tcp_handle(second.port()))};
    const bool one_second = rpc_time_seconds() == start;
    std::int32_t result;
    for (client& clnt : clients) clnt.call(0, &result, {0, 0});
    first.join();
    second.join();
    if (!one_second) continue;
    EXPECT_EQ(calls[0].substr(0, 4), calls[1].substr(0, 4));
    return;
  }
  FAIL() << "three pairs of handles, each over the turn of a second";
}

// ---- no time

TEST(tcp_no_time, with_a_result_sends_the_call_and_times_out_at_once) {
  std::string call;
  tcp_peer peer([&](descriptor& connection) { call = read_record(connection.get()); });
  client clnt(tcp_handle(peer.port()));
  std::int32_t result = 5;
  const stopwatch watch;
  EXPECT_EQ(clnt.call(1, &result, {0, 0}), RPC_TIMEDOUT);
  EXPECT_LT(watch.milliseconds(), 4000);
  peer.join();
  EXPECT_EQ(call.substr(4), call_after_id(words({1})));
  EXPECT_EQ(result, 5);
}

TEST(tcp_no_time, without_a_result_leaves_the_record_for_a_later_flush) {
  std::vector<std::uint32_t> lengths;
  std::string calls[2];
  tcp_peer peer([&](descriptor& connection) {
    char early;
    sleep_milliseconds(50);
    if (readable(connection.get(), 0) && recv(connection.get(), &early, 1, MSG_PEEK) > 0) return;
    for (std::string& call : calls) call = read_record(connection.get(), &lengths);
    write_record(connection.get(), success(calls[1], words({9})));
  });
  client clnt(tcp_handle(peer.port()));
  std::int32_t argument = 1;
  EXPECT_EQ(clnt_call(clnt.get(), test_procedure, xdr_long, &argument, nullptr, nullptr, 0, 0),
            RPC_SUCCESS);
  sleep_milliseconds(100);
  std::int32_t result = 0;
  EXPECT_EQ(clnt.call(2, &result), RPC_SUCCESS);
  EXPECT_EQ(result, 9);
  EXPECT_EQ(calls[0].substr(4), call_after_id(words({1})));
  EXPECT_EQ(calls[1].substr(4), call_after_id(words({2})));
}

// ---- creation and end

TEST(tcp_create, gives_the_caller_the_socket_and_closes_it_at_the_end) {
  const descriptor listener(bound_socket(SOCK_STREAM));
  rpc_address address = loopback(port_of(listener.get()));
  rpc_socket sock = -1;
  client clnt(clnttcp_create(&address, test_program, 1, &sock, 0, 0));
  ASSERT_NE(clnt.get(), nullptr);
  EXPECT_TRUE(is_open(sock));
  clnt.destroy();
  EXPECT_FALSE(is_open(sock));
}

TEST(tcp_create, takes_a_socket_as_it_is_and_leaves_it_open) {
  const descriptor unconnected(socket(AF_INET, SOCK_STREAM, 0));
  rpc_address address = loopback(9);
  rpc_socket sock = unconnected.get();
  client clnt(clnttcp_create(&address, test_program, 1, &sock, 0, 0));
  ASSERT_NE(clnt.get(), nullptr);
  EXPECT_EQ(sock, unconnected.get());
  sockaddr_in peer;
  socklen_t size = sizeof peer;
  EXPECT_EQ(getpeername(sock, reinterpret_cast<sockaddr*>(&peer), &size), -1);
  clnt.destroy();
  EXPECT_TRUE(is_open(sock));
}

TEST(tcp_create, reports_a_refused_connection_and_closes_its_socket_once) {
  const descriptor unused(bound_socket(SOCK_DGRAM));
  rpc_address address = loopback(port_of(unused.get()));
  rpc_socket sock = -1;
  EXPECT_EQ(clnttcp_create(&address, test_program, 1, &sock, 0, 0), nullptr);
  EXPECT_EQ(rpc_createerr.cf_stat, RPC_SYSTEMERROR);
  EXPECT_EQ(rpc_createerr.cf_error.re_errno, 10061);
  EXPECT_FALSE(is_open(sock));
}

TEST(tcp_create, and_a_call_survive_every_failing_allocation) {
  const descriptor listener(bound_socket(SOCK_STREAM));
  const std::int64_t failures = fail_each_allocation([&](std::int64_t number) {
    rpc_address address = loopback(port_of(listener.get()));
    rpc_socket sock = -1;
    testing::internal::CaptureStderr();
    bool failed;
    std::int64_t live;
    {
      failing_heap heap(number);
      errno = ENOMEM;
      client clnt(clnttcp_create(&address, test_program, 1, &sock, 0, 0));
      failed = heap.failed();
      std::int32_t result;
      if (clnt.get() != nullptr) {
        EXPECT_EQ(clnt.call(1, &result, {0, 0}), failed ? RPC_CANTENCODEARGS : RPC_TIMEDOUT);
        EXPECT_EQ(clnt.call(1, &result, {0, 0}), failed ? RPC_CANTENCODEARGS : RPC_TIMEDOUT);
      } else {
        EXPECT_EQ(rpc_createerr.cf_stat, RPC_SYSTEMERROR);
        EXPECT_EQ(rpc_createerr.cf_error.re_errno, ENOMEM);
      }
      clnt.destroy();
      live = heap.live_blocks();
    }
    const std::string said = testing::internal::GetCapturedStderr();
    if (number < 3) {
      EXPECT_EQ(said, "clnttcp_create: out of memory\n");
    }
    EXPECT_LE(live, 1);  // the AUTH that all handles share stays
    EXPECT_TRUE(sock < 0 || !is_open(sock));
    return failed;
  });
  EXPECT_GE(failures, 5);
}

TEST(tcp_destroy, reports_a_socket_that_cannot_be_closed) {
  const descriptor listener(bound_socket(SOCK_STREAM));
  rpc_address address = loopback(port_of(listener.get()));
  rpc_socket sock = -1;
  client clnt(clnttcp_create(&address, test_program, 1, &sock, 0, 0));
  testing::internal::CaptureStderr();
  close_socket(sock);
  clnt.destroy();
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "clnttcp_destroy: closesocket(" + std::to_string(sock) + ") returned 10038\n");
}

// ---- control and the results' release

TEST(tcp_control, sets_and_gives_the_wait_and_gives_the_address) {
  const descriptor listener(bound_socket(SOCK_STREAM));
  const rpc_address address = loopback(port_of(listener.get()));
  client clnt(tcp_handle(port_of(listener.get())));
  rpc_timeval value = {7, 8};
  EXPECT_EQ(clnt.control(CLSET_TIMEOUT, &value), TRUE);
  value = {0, 0};
  EXPECT_EQ(clnt.control(CLGET_TIMEOUT, &value), TRUE);
  EXPECT_EQ(value.tv_sec, 7);
  EXPECT_EQ(value.tv_usec, 8);
  rpc_address server = {};
  EXPECT_EQ(clnt.control(CLGET_SERVER_ADDR, &server), TRUE);
  EXPECT_EQ(std::memcmp(&server, &address, sizeof server), 0);
}

TEST(tcp_control, knows_no_other_request) {
  const descriptor listener(bound_socket(SOCK_STREAM));
  client clnt(tcp_handle(port_of(listener.get())));
  rpc_timeval value = {1, 1};
  for (const std::uint32_t request : {0u, 4u, 5u, 6u}) {
    EXPECT_EQ(clnt.control(request, &value), FALSE) << request;
  }
}

TEST(tcp_freeres, runs_the_routine_in_free_mode) {
  const descriptor listener(bound_socket(SOCK_STREAM));
  client clnt(tcp_handle(port_of(listener.get())));
  char* text = static_cast<char*>(std::calloc(1, 4));
  EXPECT_EQ(clnt.get()->cl_ops->freeres(clnt.get(), xdr_wrapstring, &text), TRUE);
  EXPECT_EQ(text, nullptr);
  clnt.get()->cl_ops->abort(clnt.get());
}

}  // namespace
}  // namespace kvrpc::test
