// An environment variable for which there was no memory counted as unset: a client then called
// another program for the rest of the process, or connected to another host without a word.

#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "directory/directory.h"
#include "support/failing_heap.h"
#include "support/loopback_peer.h"

namespace kvrpc::test {
namespace {

constexpr std::uint32_t shifted_alpha = 16011967 + 1000;
constexpr int most_allocations = 20;

bool failed_for_memory() {
  return rpc_createerr.cf_stat == RPC_SYSTEMERROR && rpc_createerr.cf_error.re_errno == ENOMEM;
}

// Makes allocation number `number` of a creation fail, and then creates a client with memory.
// Returns true if the first creation failed for that reason, unless it did not need the memory, and
// the second one reaches the right host and program.
bool fails_and_leaves_nothing(std::int64_t number, const char* host) {
  const descriptor listener(bound_socket(SOCK_STREAM, 0, host));
  std::string call;
  script_thread server([&] {
    while (call.empty() && readable(listener.get(), 5000)) {
      const descriptor connection(static_cast<int>(accept(listener.get(), nullptr, nullptr)));
      call = read_record(connection.get());
    }
  });
  set_environment("KORVEXRPCPORT", std::to_string(port_of(listener.get())).c_str());
  set_environment("KORVEXRPCOFFSET", "1000");
  {
    failing_heap heap(number);
    CLIENT* clnt = server_clnt_create("alpha", nullptr);
    server_clnt_destroy(clnt);
    if (clnt == nullptr && !failed_for_memory()) return false;
  }
  CLIENT* clnt = server_clnt_create("alpha", nullptr);
  if (clnt == nullptr) return false;
  clnt_call(clnt, 0, xdr_void, nullptr, xdr_void, nullptr, 0, 0);
  server_clnt_destroy(clnt);
  server.join();
  return word_at(call, 12) == shifted_alpha;
}

// In a child of its own, because a process reads some variables once.
#define EXPECT_FAILS_AND_LEAVES_NOTHING(number, host)                     \
  EXPECT_EXIT(std::_Exit(fails_and_leaves_nothing(number, host) ? 0 : 1), \
              testing::ExitedWithCode(0), "")                             \
      << (number)

TEST(environment_without_memory, fails_the_creation_and_caches_nothing) {
  const environment_guard map("KORVEXRPCMAP", nullptr);
  const environment_guard transport("RPCTRANSPORT", "tcp");
  const environment_guard local("LOCALHOST", nullptr);
  const environment_guard alpha("ALPHAHOST", "127.0.0.5");
  for (int number = 0; number < most_allocations; ++number) {
    EXPECT_FAILS_AND_LEAVES_NOTHING(number, "127.0.0.5");
  }
}

TEST(environment_without_memory, does_not_make_localhost_the_local_host) {
  const environment_guard map("KORVEXRPCMAP", nullptr);
  const environment_guard transport("RPCTRANSPORT", "tcp");
  const environment_guard alpha("ALPHAHOST", nullptr);
  const environment_guard local("LOCALHOST", "127.0.0.6");
  for (int number = 0; number < most_allocations; ++number) {
    EXPECT_FAILS_AND_LEAVES_NOTHING(number, "127.0.0.6");
  }
}

}  // namespace
}  // namespace kvrpc::test
