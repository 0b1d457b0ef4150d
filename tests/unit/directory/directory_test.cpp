// From a server's name to its program number, host and transport, under each variable.
#include "directory/directory.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "support/loopback_peer.h"

// The offset and the local host name are settled once per process, so whatever touches them runs
// in a child of its own: a death test that ends well.
#define EXPECT_IN_CHILD(condition) \
  EXPECT_EXIT(std::_Exit((condition) ? 0 : 1), testing::ExitedWithCode(0), "")

namespace kvrpc::test {
namespace {

// Starts from an environment in which none of the variables exists.
class directory : public testing::Test {
 protected:
  static void set(const char* name, const std::string& value) {
    set_environment(name, value.c_str());
  }

  // Returns true if a client for `which` at `host` reaches the loopback address and asks for the
  // program.
  static bool reaches(const char* which, const char* host, const char* address,
                      std::uint32_t program, std::uint16_t slot) {
    std::string call;
    tcp_peer peer(
        [&](descriptor& connection) {
          if (readable(connection.get(), 5000)) call = read_record(connection.get());
        },
        address);
    set("KORVEXRPCPORT", std::to_string(peer.port() - slot));
    CLIENT* clnt = server_clnt_create(which, host);
    if (clnt == nullptr) {
      std::fputs(server_clnt_create_error("create"), stderr);
      std::_Exit(2);
    }
    clnt_call(clnt, 0, xdr_void, nullptr, xdr_void, nullptr, 0, 0);
    clnt_call(clnt, 0, xdr_void, nullptr, nullptr, nullptr, 0, 0);
    server_clnt_destroy(clnt);
    peer.join();
    return word_at(call, 12) == program && word_at(call, 16) == 1;
  }

 private:
  environment_guard alpha_{"ALPHAHOST", nullptr};
  environment_guard omega_{"OMEGAHOST", nullptr};
  environment_guard local_{"LOCALHOST", nullptr};
  environment_guard others_{"ZOLMHOST", nullptr};
  environment_guard offset_{"KORVEXRPCOFFSET", nullptr};
  environment_guard transport_{"RPCTRANSPORT", nullptr};
  environment_guard port_{"KORVEXRPCPORT", nullptr};
  environment_guard map_{"KORVEXRPCMAP", nullptr};
};

// ---- hosts

TEST_F(directory, gives_alpha_the_local_host_when_its_variable_is_empty) {
  set("ALPHAHOST", "");
  EXPECT_IN_CHILD(std::strcmp(alpha_host().text(), "localhost") == 0);
  set("ZOLMHOST", "elsewhere");
  EXPECT_IN_CHILD(std::strcmp(alpha_host().text(), "localhost") == 0);
  set("LOCALHOST", "here");
  EXPECT_IN_CHILD(std::strcmp(alpha_host().text(), "here") == 0);
}

TEST_F(directory, gives_alpha_and_omega_their_own_variables) {
  set("ALPHAHOST", "a");
  set("OMEGAHOST", "o");
  EXPECT_STREQ(alpha_host().text(), "a");
  EXPECT_STREQ(omega_host().text(), "o");
}

TEST_F(directory, gives_the_others_their_host_even_if_empty) {
  EXPECT_STREQ(default_host().text(), "localhost");
  set("ZOLMHOST", "z");
  EXPECT_STREQ(default_host().text(), "z");
  set("ZOLMHOST", "");
  EXPECT_STREQ(default_host().text(), "");
}

TEST_F(directory, cuts_the_local_host_name_at_35_characters) {
  set("LOCALHOST", "1234567890123456789012345678901234567890");
  EXPECT_IN_CHILD(std::strcmp(local_host(), "12345678901234567890123456789012345") == 0);
  set("LOCALHOST", "12345678901234567890123456789012345");
  EXPECT_IN_CHILD(std::strcmp(local_host(), "12345678901234567890123456789012345") == 0);
}

TEST_F(directory, calls_the_local_host_localhost_when_its_variable_is_empty) {
  set("LOCALHOST", "");
  EXPECT_IN_CHILD(std::strcmp(local_host(), "localhost") == 0);
}

bool settles_the_local_host_at_its_first_use() {
  set_environment("ALPHAHOST", "a");
  set_environment("LOCALHOST", "early");
  if (std::strcmp(alpha_host().text(), "a") != 0) return false;  // needs no local host yet
  set_environment("LOCALHOST", "first");
  if (std::strcmp(omega_host().text(), "first") != 0) return false;
  set_environment("LOCALHOST", "second");
  return std::strcmp(omega_host().text(), "first") == 0 && std::strcmp(local_host(), "first") == 0;
}

TEST_F(directory, settles_the_local_host_at_its_first_use) {
  EXPECT_IN_CHILD(settles_the_local_host_at_its_first_use());
}

// ---- programs

std::uint32_t shifted(std::uint32_t program) {
  std::uint32_t number = 0;
  EXPECT_TRUE(rpc_prog_number(program, &number));
  return number;
}

bool settles_the_offset_at_its_first_use() {
  set_environment("KORVEXRPCOFFSET", "1000");
  if (shifted(16011931) != 16012931) return false;
  set_environment("KORVEXRPCOFFSET", "5");
  return shifted(16011931) == 16012931;
}

bool settles_the_missing_offset() {
  if (shifted(16011931) != 16011931) return false;
  set_environment("KORVEXRPCOFFSET", "5");
  return shifted(16011931) == 16011931;
}

TEST_F(directory, settles_the_offset_at_its_first_use) {
  EXPECT_IN_CHILD(settles_the_offset_at_its_first_use());
  EXPECT_IN_CHILD(settles_the_missing_offset());
}

TEST_F(directory, reads_the_offset_as_a_number_at_the_start) {
  const struct {
    const char* text;
    std::uint32_t shifted;
  } rows[] = {{"-31", 16011900},         {" \t+9x", 16011940},
              {"x9", 16011931},          {"", 16011931},
              {"-", 16011931},           {"99999999999", 16011931u + 2147483647u},
              {"-16011932", 0xFFFFFFFF}, {"-99999999999", 16011931u + 2147483648u}};
  for (const auto& row : rows) {
    set("KORVEXRPCOFFSET", row.text);
    EXPECT_IN_CHILD(shifted(16011931) == row.shifted) << row.text;
  }
}

TEST_F(directory, holds_the_seven_servers_in_their_order) {
  const struct {
    const char* name;
    std::uint32_t program;
  } rows[] = {{"alpha", 0x00F452BF}, {"gamma", 0x00169B41}, {"lambda", 0x018CE91C},
              {"nue", 0x12019B00},   {"omega", 0x00F4529B}, {"sigma", 0x008A9477},
              {"theta", 0x41B0C5C9}};
  std::size_t i = 0;
  for (const auto& row : rows) {
    EXPECT_STREQ(server_directory[i].name, row.name);
    EXPECT_EQ(server_directory[i].program, row.program);
    ++i;
  }
  EXPECT_EQ(i, sizeof server_directory / sizeof server_directory[0]);
}

// ---- transport

TEST_F(directory, takes_tcp_unless_the_variable_exists) {
  EXPECT_STREQ(rpc_transport().text(), "tcp");
  set("RPCTRANSPORT", "udp");
  EXPECT_STREQ(rpc_transport().text(), "udp");
  set("RPCTRANSPORT", "");
  EXPECT_STREQ(rpc_transport().text(), "");
}

bool fails_with(const char* which, std::int32_t status) {
  rpc_createerr = {};
  return server_clnt_create(which, nullptr) == nullptr && rpc_createerr.cf_stat == status;
}

TEST_F(directory, passes_the_transport_on_unchanged) {
  set("RPCTRANSPORT", "");
  EXPECT_IN_CHILD(fails_with("lambda", RPC_UNKNOWNPROTO));
  set("RPCTRANSPORT", "ip");
  EXPECT_IN_CHILD(fails_with("lambda", RPC_SYSTEMERROR));
}

bool is_reached_over_udp() {
  udp_peer peer([](int sock) {
    const datagram call = receive(sock);
    if (word_at(call.data, 12) == 26011932) answer(sock, call, success(call.data, ""));
  });
  set_environment("KORVEXRPCPORT", std::to_string(peer.port() - 3).c_str());
  CLIENT* clnt = server_clnt_create("lambda", "127.0.0.1");
  const std::int32_t status = clnt_call(clnt, 0, xdr_void, nullptr, xdr_void, nullptr, 25, 0);
  server_clnt_destroy(clnt);
  return status == RPC_SUCCESS;
}

TEST_F(directory, reaches_a_server_over_udp) {
  set("RPCTRANSPORT", "udp");
  EXPECT_IN_CHILD(is_reached_over_udp());
}

// ---- handles

TEST_F(directory, records_nothing_for_an_unknown_server) {
  rpc_createerr = {RPC_PMAPFAILURE, {}};
  for (const char* name : {"", "Alpha", "alpha ", "pi", "alph"}) {
    EXPECT_EQ(server_clnt_create(name, nullptr), nullptr) << name;
  }
  EXPECT_EQ(rpc_createerr.cf_stat, RPC_PMAPFAILURE);
}

TEST_F(directory, ignores_the_end_of_no_handle) { server_clnt_destroy(nullptr); }

TEST_F(directory, hands_an_empty_host_on) {
  set("ZOLMHOST", "");
  set("KORVEXRPCPORT", "1");
  EXPECT_IN_CHILD(
      fails_with("lambda", empty_name_is_this_host ? RPC_SYSTEMERROR : RPC_UNKNOWNHOST));
}

TEST_F(directory, connects_each_server_to_its_host) {
  set("ALPHAHOST", "127.0.0.2");
  EXPECT_IN_CHILD(reaches("alpha", nullptr, "127.0.0.2", 16011967, 0));
  set("ZOLMHOST", "127.0.0.4");
  set("KORVEXRPCOFFSET", "1");
  EXPECT_IN_CHILD(reaches("theta", nullptr, "127.0.0.4", 1102104010, 2));
  EXPECT_IN_CHILD(reaches("gamma", nullptr, "127.0.0.4", 1481538, 1));
}

TEST_F(directory, lets_the_caller_choose_the_host) {
  set("ALPHAHOST", "");
  set("ZOLMHOST", "");
  EXPECT_IN_CHILD(reaches("alpha", "127.0.0.3", "127.0.0.3", 16011967, 0));
}

TEST_F(directory, reports_the_last_failure) {
  rpc_createerr = {};
  rpc_createerr.cf_stat = RPC_SYSTEMERROR;
  rpc_createerr.cf_error.re_errno = 10061;
  EXPECT_STREQ(server_clnt_create_error("clnt_create"),
               "clnt_create: RPC: Remote system error - Error 10061\n");
}

}  // namespace
}  // namespace kvrpc::test
