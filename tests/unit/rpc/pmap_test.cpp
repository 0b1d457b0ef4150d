// The portmapper query over both transports, with each answer and each failure.
#include "rpc/pmap.h"

#include <gtest/gtest.h>

#include <string>

#include "rpc/clnt_support.h"
#include "support/portmapper_host.h"

namespace kvrpc::test {
namespace {

class portmapper_query : public portmapper {
 protected:
  // Asks a portmapper that answers the one query with `results`.
  std::uint16_t ask_udp(const std::string& results, const char* transport) {
    const environment_guard guard("RPCTRANSPORT", transport);
    udp_peer peer(
        [&](int sock) {
          const datagram call = receive(sock);
          query_ = call.data;
          answer(sock, call, success(call.data, results));
        },
        host_.c_str(), 111);
    return ask();
  }

  std::uint16_t ask_tcp(const std::string& results, const char* transport) {
    const environment_guard guard("RPCTRANSPORT", transport);
    tcp_peer peer(
        [&](descriptor& connection) {
          query_ = read_record(connection.get());
          write_record(connection.get(), success(query_, results));
        },
        host_.c_str(), 111);
    return ask();
  }

  std::uint16_t ask() {
    address_ = loopback(0, host_.c_str());
    return pmap_getport(&address_, test_program, 1, 6);
  }

  rpc_address address_ = {};
  std::string query_;
};

std::string getport_query() {
  return words({0, 2, 100000, 2, 3, 0, 0, 0, 0, test_program, 1, 6, 0});
}

TEST_F(portmapper_query, is_asked_over_udp_by_default) {
  EXPECT_EQ(ask_udp(words({7003}), nullptr), 7003);
  EXPECT_EQ(query_.substr(4), getport_query());
  EXPECT_EQ(address_.port, 0);
}

TEST_F(portmapper_query, is_asked_over_tcp_when_the_transport_is_tcp_in_any_case) {
  for (const char* transport : {"tcp", "TCP", "tCp"}) {
    query_.clear();
    EXPECT_EQ(ask_tcp(words({7003}), transport), 7003);
    EXPECT_EQ(query_.substr(4), getport_query());
  }
}

TEST_F(portmapper_query, is_asked_over_udp_for_every_other_transport) {
  for (const char* transport : {"", "udp", "tc", "tcpx", " tcp"}) {
    EXPECT_EQ(ask_udp(words({7003}), transport), 7003) << transport;
  }
}

TEST_F(portmapper_query, that_knows_no_port_means_not_registered) {
  rpc_createerr.cf_error.re_errno = 123;
  EXPECT_EQ(ask_udp(words({0}), nullptr), 0);
  EXPECT_EQ(rpc_createerr.cf_stat, RPC_PROGNOTREGISTERED);
  EXPECT_EQ(rpc_createerr.cf_error.re_errno, 123);
}

TEST_F(portmapper_query, that_gives_more_than_16_bits_means_the_lower_ones) {
  EXPECT_EQ(ask_udp(words({0x10000 + 7003}), nullptr), 7003);
  EXPECT_EQ(ask_udp(words({0x10000}), nullptr), 0);
  EXPECT_EQ(rpc_createerr.cf_stat, RPC_PROGNOTREGISTERED);
}

TEST_F(portmapper_query, is_given_room_for_400_bytes) {
  const std::string filling = words({7003}) + std::string(400 - 28, 'x');
  EXPECT_EQ(ask_udp(filling, nullptr), 7003);
  EXPECT_EQ(ask_udp(filling + "x", nullptr), 0);
  EXPECT_EQ(rpc_createerr.cf_stat, RPC_PMAPFAILURE);
  EXPECT_EQ(rpc_createerr.cf_error.re_status, RPC_CANTRECV);
  EXPECT_EQ(rpc_createerr.cf_error.re_errno, 10040);
}

TEST_F(portmapper_query, whose_reply_fails_gives_the_reason_of_the_query) {
  EXPECT_EQ(ask_udp("", nullptr), 0);
  EXPECT_EQ(rpc_createerr.cf_stat, RPC_PMAPFAILURE);
  EXPECT_EQ(rpc_createerr.cf_error.re_status, RPC_CANTDECODERES);
}

TEST_F(portmapper_query, that_is_silent_times_out_after_three_seconds_and_one_query) {
  const environment_guard guard("RPCTRANSPORT", nullptr);
  const descriptor silent(bound_socket(SOCK_DGRAM, 111, host_.c_str()));
  const stopwatch watch;
  EXPECT_EQ(ask(), 0);
  EXPECT_GE(watch.milliseconds(), 3000);
  EXPECT_LT(watch.milliseconds(), 5900);
  EXPECT_EQ(rpc_createerr.cf_stat, RPC_PMAPFAILURE);
  EXPECT_EQ(rpc_createerr.cf_error.re_status, RPC_TIMEDOUT);
  EXPECT_FALSE(receive(silent.get(), 0).data.empty());
  EXPECT_TRUE(receive(silent.get(), 0).data.empty());
}

TEST_F(portmapper_query, that_refuses_the_connection_leaves_the_reason_of_the_connection) {
  const environment_guard guard("RPCTRANSPORT", "tcp");
  EXPECT_EQ(ask(), 0);
  EXPECT_EQ(rpc_createerr.cf_stat, RPC_SYSTEMERROR);
  EXPECT_EQ(rpc_createerr.cf_error.re_errno, 10061);
}

#ifndef _WIN32  // where sockets have no numbers in order
TEST_F(portmapper_query, closes_each_socket_once) {
  const descriptor before(socket(AF_INET, SOCK_DGRAM, 0));
  const int next = before.get() + 1;
  for (int i = 0; i < 3; ++i) EXPECT_EQ(ask_udp(words({7003}), nullptr), 7003);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(ask_tcp(words({7003}), "tcp"), 7003);
  const descriptor after(socket(AF_INET, SOCK_DGRAM, 0));
  EXPECT_EQ(after.get(), next);
}
#endif

TEST_F(portmapper_query, fills_the_port_of_a_tcp_client) {
  tcp_peer server(
      [](descriptor& connection) {
        const std::string call = read_record(connection.get());
        write_record(connection.get(), success(call, words({5})));
      },
      host_.c_str());
  const environment_guard guard("RPCTRANSPORT", nullptr);
  udp_peer mapper(
      [&](int sock) {
        const datagram call = receive(sock);
        answer(sock, call, success(call.data, words({server.port()})));
      },
      host_.c_str(), 111);
  rpc_address address = loopback(0, host_.c_str());
  rpc_socket sock = -1;
  client clnt(clnttcp_create(&address, test_program, 1, &sock, 0, 0));
  ASSERT_NE(clnt.get(), nullptr);
  EXPECT_EQ(address.port, rpc_network_order(server.port()));
  std::int32_t result = 0;
  EXPECT_EQ(clnt.call(1, &result), RPC_SUCCESS);
  EXPECT_EQ(result, 5);
}

TEST_F(portmapper_query, that_knows_no_port_fails_the_creation_of_both_clients) {
  const environment_guard guard("RPCTRANSPORT", nullptr);
  std::string protocols;
  udp_peer mapper(
      [&](int sock) {
        for (int i = 0; i < 2; ++i) {
          const datagram call = receive(sock);
          protocols += call.data.substr(48, 4);
          answer(sock, call, success(call.data, words({0})));
        }
      },
      host_.c_str(), 111);
  rpc_address address = loopback(0, host_.c_str());
  rpc_socket sock = -1;
  EXPECT_EQ(clnttcp_create(&address, test_program, 1, &sock, 0, 0), nullptr);
  EXPECT_EQ(rpc_createerr.cf_stat, RPC_PROGNOTREGISTERED);
  rpc_createerr.cf_stat = 0;
  EXPECT_EQ(clntudp_create(&address, test_program, 1, {5, 0}, &sock), nullptr);
  EXPECT_EQ(rpc_createerr.cf_stat, RPC_PROGNOTREGISTERED);
  EXPECT_EQ(sock, -1);
  mapper.join();
  EXPECT_EQ(protocols, words({6, 17}));
}

}  // namespace
}  // namespace kvrpc::test
