// The time in the first transaction id of a UDP handle was read after the portmapper had answered,
// and not before it was asked.

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "rpc/clnt_support.h"
#include "support/portmapper_host.h"

namespace kvrpc::test {
namespace {

using seed_after_the_query = portmapper;

std::uint32_t wait_for_another_second() {
  const std::uint32_t second = rpc_time_seconds();
  while (rpc_time_seconds() == second) sleep_milliseconds(5);
  return second;
}

// The first two bytes of the id rise before the call, as a number of the client's byte order.
std::uint32_t seed_of(const std::string& call) {
  std::string id = call.substr(0, 4);
  if (id[0]-- == 0) --id[1];
  return word_at(id, 0);
}

TEST_F(seed_after_the_query, is_made_of_the_time_before_it) {
  std::string call;
  udp_peer server([&](int sock) { call = receive(sock).data; }, host_.c_str());
  std::uint32_t asked_at = 0;
  udp_peer mapper(
      [&](int sock) {
        const datagram query = receive(sock);
        asked_at = wait_for_another_second();
        answer(sock, query, success(query.data, words({server.port()})));
      },
      host_.c_str(), 111);
  const environment_guard transport("RPCTRANSPORT", nullptr);
  const std::uint32_t before = rpc_time_seconds();
  rpc_address address = loopback(0, host_.c_str());
  rpc_socket sock = -1;
  client clnt(clntudp_create(&address, test_program, test_version, {5, 0}, &sock));
  ASSERT_NE(clnt.get(), nullptr);
  std::int32_t result;
  EXPECT_EQ(clnt.call(0, &result, {0, 0}), RPC_TIMEDOUT);
  server.join();
  ASSERT_GE(call.size(), 4u);
  EXPECT_GE(seed_of(call) ^ rpc_process_id(), before);
  EXPECT_LE(seed_of(call) ^ rpc_process_id(), asked_at);
}

}  // namespace
}  // namespace kvrpc::test
