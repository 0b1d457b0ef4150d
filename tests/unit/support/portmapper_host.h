// A place for a test's own portmapper: a loopback address that no other test uses.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <string>

#include "support/loopback_peer.h"

namespace kvrpc::test {

// A random loopback address, so that parallel tests do not meet at port 111. Under Wine they meet
// all the same, because its datagram sockets take the port for all addresses, and ctest keeps them
// apart.
inline std::string own_host() {
  std::random_device draw;
  const auto part = [&draw](unsigned count) { return std::to_string(1 + draw() % count); };
  return "127." + part(200) + "." + part(250) + "." + part(250);
}

// Skips its tests where port 111 cannot be bound, or fails them if every peer is required.
class portmapper : public testing::Test {
 protected:
  void SetUp() override {
    const descriptor sock(bound_socket(SOCK_DGRAM, 111, host_.c_str()));
    if (sock.get() >= 0) return;
    const char* const reason = "port 111 cannot be bound: no permission, or it is taken";
    if (std::getenv("KVRPC_REQUIRE_PEERS") != nullptr) FAIL() << reason;
    GTEST_SKIP() << reason;
  }

  const std::string host_ = own_host();
};

}  // namespace kvrpc::test
