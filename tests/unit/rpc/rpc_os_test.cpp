// Start-up, locks, names, the stack and the environment on all platforms.
#include "rpc/rpc_os.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>

#include "support/failing_heap.h"
#include "support/loopback_peer.h"

namespace kvrpc::test {
namespace {

// ---- start-up and locks

TEST(lock, may_be_taken_again_by_its_holder) {
  rpc_lock_record* lock = rpc_create_lock();
  ASSERT_NE(lock, nullptr);
  rpc_lock(lock);
  rpc_lock(lock);
  rpc_unlock(lock);
  rpc_unlock(lock);
  rpc_destroy_lock(lock);
}

TEST(lock, keeps_others_out_until_its_last_release) {
  rpc_lock_record* lock = rpc_create_lock();
  int order = 0;
  int other_saw = -1;
  rpc_lock(lock);
  rpc_lock(lock);
  std::thread other([&] {
    rpc_lock(lock);
    other_saw = order;
    rpc_unlock(lock);
  });
  sleep_milliseconds(30);
  order = 1;
  rpc_unlock(lock);
  sleep_milliseconds(30);
  order = 2;
  rpc_unlock(lock);
  other.join();
  EXPECT_EQ(other_saw, 2);
  rpc_destroy_lock(lock);
}

TEST(lock, is_null_without_memory) {
  failing_heap heap(0);
  EXPECT_EQ(rpc_create_lock(), nullptr);
  EXPECT_EQ(heap.live_blocks(), 0);
}

void expect_lock_failure(std::int64_t number) {
  EXPECT_EXIT(
      {
        failing_heap heap(number);
        rpc_startup();
        std::_Exit(0);
      },
      testing::ExitedWithCode(1), "^rpc_create_lock\\(\\) failed, error = 12\n\n$");
}

TEST(startup, ends_the_process_when_the_first_lock_cannot_be_made) { expect_lock_failure(0); }
TEST(startup, ends_the_process_when_the_second_lock_cannot_be_made) { expect_lock_failure(1); }

TEST(startup, runs_once_until_a_shutdown) {
  EXPECT_EXIT(
      {
        failing_heap heap(-1);
        rpc_startup();
        rpc_startup();
        const bool once = heap.live_blocks() == 2;
        rpc_shutdown();
        rpc_shutdown();
        const bool released = heap.live_blocks() == 0;
        rpc_startup();
        std::_Exit(once && released && heap.live_blocks() == 2 ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

// Returns true if a second thread enters the resolver within that time while this one is in it.
bool resolver_admits_two(int milliseconds) {
  rpc_resolver_enter();
  std::atomic<bool> inside{false};
  std::thread other([&] {
    rpc_resolver_enter();
    inside = true;
    rpc_resolver_leave();
  });
  for (int i = 0; i < milliseconds && !inside; ++i) sleep_milliseconds(1);
  const bool admitted = inside;
  rpc_resolver_leave();
  other.join();
  return admitted;
}

TEST(resolver_lock, does_nothing_before_the_start) {
  EXPECT_EXIT(std::_Exit(resolver_admits_two(20000) ? 0 : 1), testing::ExitedWithCode(0), "");
}

TEST(resolver_lock, keeps_a_second_thread_out_after_the_start) {
  EXPECT_EXIT(
      {
        rpc_startup();
        std::_Exit(resolver_admits_two(50) ? 1 : 0);
      },
      testing::ExitedWithCode(0), "");
}

// ---- names

std::int32_t resolve(const char* host, rpc_address* address) {
  std::int32_t number;
  return rpc_resolve(host, address, &number);
}

TEST(resolve, gives_the_address_with_no_port) {
  rpc_address address;
  std::memset(&address, 0xFF, sizeof address);
  EXPECT_EQ(resolve("127.0.0.9", &address), 0);
  const rpc_address expected = loopback(0, "127.0.0.9");
  EXPECT_EQ(std::memcmp(&address, &expected, sizeof address), 0);
}

TEST(resolve, knows_the_local_host) {
  rpc_address address;
  EXPECT_EQ(resolve("localhost", &address), 0);
  EXPECT_EQ(ntohl(address.host) >> 24, 127u);
}

TEST(resolve, refuses_what_can_be_no_name) {
  rpc_address address;
  EXPECT_EQ(resolve("", &address), empty_name_is_this_host ? 0 : RPC_UNKNOWNHOST);
  EXPECT_EQ(resolve(std::string(300, 'x').c_str(), &address), RPC_UNKNOWNHOST);
}

TEST(resolve, without_memory_says_so) {
  rpc_address address;
  std::int32_t number = 0;
  failing_heap heap(0);
  const std::int32_t status = rpc_resolve("localhost", &address, &number);
  EXPECT_EQ(heap.live_blocks(), 0);
  if (!heap.failed()) return;  // Windows has its own
  EXPECT_EQ(status, RPC_SYSTEMERROR);
  EXPECT_EQ(number, ENOMEM);
}

TEST(protocol_number, is_negative_for_an_unknown_name) {
  EXPECT_EQ(rpc_protocol_number("no such protocol"), -1);
  EXPECT_EQ(rpc_protocol_number(""), -1);
}

TEST(network_order, puts_the_high_byte_first) {
  const std::uint16_t ordered = rpc_network_order(0x1234);
  EXPECT_EQ(std::memcmp(&ordered, "\x12\x34", 2), 0);
  EXPECT_EQ(rpc_network_order(ordered), 0x1234);
}

// ---- the stack

// Descends until the stack is low. Returns the number of frames, each of a kibibyte at least.
std::size_t frames_until_low() {
  volatile std::uint8_t frame[1024];
  frame[0] = 1;
  return rpc_stack_is_low() ? 0 : frames_until_low() + frame[0];
}

TEST(stack, is_low_before_its_end) {
  std::size_t frames = 0;
  std::thread([&] { frames = frames_until_low(); }).join();
  EXPECT_GT(frames, 100u);
  EXPECT_FALSE(rpc_stack_is_low());
}

// ---- environment

TEST(environment, is_read_as_it_is_at_that_moment) {
  const environment_guard guard("KVRPC_TEST", "first");
  const environment_text first("KVRPC_TEST");
  set_environment("KVRPC_TEST", "second");
  const environment_text second("KVRPC_TEST");
  EXPECT_STREQ(first.get(), "first");
  EXPECT_STREQ(second.get(), "second");
}

TEST(environment, distinguishes_an_empty_variable_from_a_missing_one) {
  const environment_guard guard("KVRPC_TEST", "");
  const environment_text empty("KVRPC_TEST");
  ASSERT_NE(empty.get(), nullptr);
  EXPECT_EQ(std::memcmp(empty.get(), "\0\0", 2), 0);
  set_environment("KVRPC_TEST", nullptr);
  errno = EINVAL;
  EXPECT_EQ(rpc_environment("KVRPC_TEST"), nullptr);
  EXPECT_EQ(errno, 0);
}

TEST(environment, distinguishes_missing_memory_from_a_missing_variable) {
  const environment_guard guard("KVRPC_TEST", "value");
  failing_heap heap(0);
  EXPECT_EQ(rpc_environment("KVRPC_TEST"), nullptr);
  EXPECT_EQ(errno, ENOMEM);
}

}  // namespace
}  // namespace kvrpc::test
