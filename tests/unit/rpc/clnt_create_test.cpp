// Creation of a handle by host and transport name, with the port from the environment.
#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "rpc/clnt_support.h"

namespace kvrpc::test {
namespace {

// The environment of one creation: this port for every server.
struct base_port {
  explicit base_port(std::uint16_t port)
      : port_("KORVEXRPCPORT", std::to_string(port).c_str()),
        map_("KORVEXRPCMAP", nullptr),
        offset_("KORVEXRPCOFFSET", nullptr) {}

 private:
  environment_guard port_;
  environment_guard map_;
  environment_guard offset_;
};

constexpr std::uint32_t slot_less = 4711;  // a program without a slot

std::int32_t seconds_of_timeout(const client& clnt) {
  rpc_timeval value = {};
  EXPECT_EQ(clnt.get()->cl_ops->control(clnt.get(), CLGET_TIMEOUT, &value), TRUE);
  EXPECT_EQ(value.tv_usec, 0);
  return value.tv_sec;
}

TEST(clnt_create, connects_over_tcp_to_the_port_of_the_environment) {
  tcp_peer peer([](descriptor& connection) {
    const std::string call = read_record(connection.get());
    write_record(connection.get(), success(call, words({5})));
  });
  const base_port environment(peer.port());
  client clnt(clnt_create("127.0.0.1", slot_less, 1, "tcp"));
  ASSERT_NE(clnt.get(), nullptr);
  EXPECT_EQ(seconds_of_timeout(clnt), 25);
  std::int32_t result = 0;
  EXPECT_EQ(clnt.call(1, &result), RPC_SUCCESS);
  EXPECT_EQ(result, 5);
}

TEST(clnt_create, takes_udp_when_it_is_asked_for) {
  udp_peer peer([](int sock) {
    const datagram call = receive(sock);
    answer(sock, call, success(call.data, words({5})));
  });
  const base_port environment(peer.port());
  client clnt(clnt_create("127.0.0.1", slot_less, 1, "udp"));
  ASSERT_NE(clnt.get(), nullptr);
  EXPECT_EQ(seconds_of_timeout(clnt), 25);
  rpc_timeval retry = {};
  clnt.control(CLGET_RETRY_TIMEOUT, &retry);
  EXPECT_EQ(retry.tv_sec, 5);
  std::int32_t result = 0;
  EXPECT_EQ(clnt.call(1, &result), RPC_SUCCESS);
}

TEST(clnt_create, refuses_the_transport_ip) {
  const base_port environment(9);
  EXPECT_EQ(clnt_create("127.0.0.1", slot_less, 1, "ip"), nullptr);
  EXPECT_EQ(rpc_createerr.cf_stat, RPC_SYSTEMERROR);
  EXPECT_EQ(rpc_createerr.cf_error.re_errno, 10046);
}

TEST(clnt_create, does_not_know_other_transports) {
  for (const char* transport : {"", "TCP ", "no such protocol"}) {
    rpc_createerr = {};
    EXPECT_EQ(clnt_create("127.0.0.1", slot_less, 1, transport), nullptr) << transport;
    EXPECT_EQ(rpc_createerr.cf_stat, RPC_UNKNOWNPROTO) << transport;
    EXPECT_EQ(rpc_createerr.cf_error.re_errno, 10046) << transport;
  }
}

// Where the system keeps no list of protocols it knows neither of the two.
TEST(clnt_create, asks_the_system_for_every_other_name) {
  tcp_peer peer([](descriptor&) {});
  const base_port environment(peer.port());
  client clnt(clnt_create("127.0.0.1", slot_less, 1, "TCP"));
  EXPECT_EQ(clnt.get() != nullptr, rpc_protocol_number("TCP") == RPC_TCP);
  rpc_createerr = {};
  EXPECT_EQ(clnt_create("127.0.0.1", slot_less, 1, "icmp"), nullptr);
  EXPECT_EQ(rpc_createerr.cf_stat,
            rpc_protocol_number("icmp") == -1 ? RPC_UNKNOWNPROTO : RPC_SYSTEMERROR);
  EXPECT_EQ(rpc_createerr.cf_error.re_errno, 10046);
}

const std::string no_host(300, 'x');

TEST(clnt_create, does_not_know_a_host_that_can_be_none) {
  rpc_createerr.cf_error.re_errno = 123;
  EXPECT_EQ(clnt_create(no_host.c_str(), slot_less, 1, "tcp"), nullptr);
  EXPECT_EQ(rpc_createerr.cf_stat, RPC_UNKNOWNHOST);
  EXPECT_EQ(rpc_createerr.cf_error.re_errno, 123);
}

TEST(clnt_create, does_not_fall_back_to_the_other_transport) {
  udp_peer peer([](int sock) { EXPECT_TRUE(receive(sock, 50).data.empty()); });
  const base_port environment(peer.port());
  EXPECT_EQ(clnt_create("127.0.0.1", slot_less, 1, "tcp"), nullptr);
  EXPECT_EQ(rpc_createerr.cf_stat, RPC_SYSTEMERROR);
  EXPECT_EQ(rpc_createerr.cf_error.re_errno, 10061);
}

TEST(clnt_create, matches_the_map_against_the_host_as_it_was_given) {
  tcp_peer peer([](descriptor&) {});
  const base_port environment(9);
  const std::string map = "127.0.0.1:9;localhost:" + std::to_string(peer.port());
  const environment_guard guard("KORVEXRPCMAP", map.c_str());
  // lambda has slot 3, which the offset moves to alpha's slot 0.
  const environment_guard offset("KORVEXRPCOFFSET", std::to_string(26011932 - 16011967).c_str());
  client clnt(clnt_create("localhost", 26011932, 1, "tcp"));
  EXPECT_NE(clnt.get(), nullptr);
}

TEST(clnt_create, works_after_the_start_of_the_runtime) {
  EXPECT_EXIT(
      {
        rpc_startup();
        const base_port environment(9);
        client first(clnt_create("localhost", slot_less, 1, "udp"));
        client second(clnt_create(no_host.c_str(), slot_less, 1, "udp"));
        client third(clnt_create("localhost", slot_less, 1, "udp"));
        std::_Exit(first.get() != nullptr && second.get() == nullptr && third.get() != nullptr ? 0
                                                                                               : 1);
      },
      testing::ExitedWithCode(0), "");
}

TEST(clnt_call, keeps_a_second_thread_out_until_the_call_is_over) {
  udp_peer peer([](int sock) {
    for (int i = 0; i < 2; ++i) {
      const datagram call = receive(sock);
      EXPECT_TRUE(receive(sock, 60).data.empty());  // the other call waits for this one's end
      answer(sock, call, success(call.data, words({1})));
    }
  });
  client clnt(udp_handle(peer.port()));
  std::int32_t results[2] = {};
  std::thread other([&] { EXPECT_EQ(clnt.call(1, &results[0]), RPC_SUCCESS); });
  EXPECT_EQ(clnt.call(2, &results[1]), RPC_SUCCESS);
  other.join();
}

}  // namespace
}  // namespace kvrpc::test
