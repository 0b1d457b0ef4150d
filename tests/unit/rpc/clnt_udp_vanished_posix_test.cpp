// A datagram that is there for the wait and gone for the receive, as one with a wrong checksum is.
// On Linux, a socket that is shut down for reading behaves like this each time.
#include <gtest/gtest.h>

#include "rpc/clnt_support.h"

namespace kvrpc::test {
namespace {

std::int64_t end_of_wait;

int ask_until_end_of_wait() { return rpc_clock() < end_of_wait ? 0 : 1; }

// The wait finds something each time, so no interval ends: the call is not sent again, and it goes
// on beyond its total time, until the hook ends it.
TEST(udp_reply, that_vanished_starts_the_interval_anew) {
  const descriptor silent(bound_socket(SOCK_DGRAM));
  const descriptor own(bound_socket(SOCK_DGRAM));
  rpc_address address = loopback(port_of(silent.get()));
  ASSERT_EQ(connect(own.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  ASSERT_EQ(shutdown(own.get(), SHUT_RD), 0);
  rpc_socket sock = own.get();
  client clnt(clntudp_create(&address, test_program, test_version, span(10), &sock));
  end_of_wait = rpc_clock() + 100000;
  const hook_guard hook(ask_until_end_of_wait);
  std::int32_t result = 0;
  EXPECT_EQ(clnt.call(1, &result, span(30)), RPC_CANTRECV);
  EXPECT_EQ(clnt.error().re_errno, RPC_EINTERRUPTED);
  EXPECT_FALSE(receive(silent.get(), 0).data.empty());
  EXPECT_TRUE(receive(silent.get(), 0).data.empty());
}

}  // namespace
}  // namespace kvrpc::test
