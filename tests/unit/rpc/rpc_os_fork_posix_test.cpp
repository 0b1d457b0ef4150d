// Forks: the count, and the sockets and locks that a child inherits.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "rpc/rpc_os.h"

namespace kvrpc::test {
namespace {

// Runs `body` in a child process. Returns true if it returned true there.
template <class Body>
bool in_child(Body body) {
  const pid_t child = fork();
  if (child == 0) _exit(body() ? 0 : 1);
  int status = -1;
  return waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

bool is_open(rpc_socket sock) { return fcntl(sock, F_GETFD) != -1; }

class fork_count : public ::testing::Test {
 protected:
  void SetUp() override { rpc_startup(); }
  void TearDown() override { rpc_shutdown(); }
};

TEST_F(fork_count, differs_in_the_child_and_in_its_child) {
  const std::uint32_t parents = rpc_fork_count();
  EXPECT_TRUE(in_child([=] {
    const std::uint32_t own = rpc_fork_count();
    return own != parents && in_child([=] { return rpc_fork_count() != own; });
  }));
  EXPECT_EQ(rpc_fork_count(), parents);
}

TEST_F(fork_count, is_counted_once_after_a_second_startup) {
  rpc_shutdown();
  rpc_startup();
  const std::uint32_t parents = rpc_fork_count();
  EXPECT_TRUE(in_child([=] { return rpc_fork_count() == parents + 1; }));
}

TEST_F(fork_count, sockets_are_closed_in_the_child_only) {
  const rpc_socket stream = rpc_socket_open(RPC_STREAM, RPC_TCP);
  const rpc_socket datagrams = rpc_socket_open(RPC_DATAGRAM, RPC_UDP);
  EXPECT_TRUE(in_child([=] { return !is_open(stream) && !is_open(datagrams); }));
  EXPECT_TRUE(is_open(stream) && is_open(datagrams));
  EXPECT_EQ(rpc_socket_close(stream), 0);
  EXPECT_EQ(rpc_socket_close(datagrams), 0);
}

TEST_F(fork_count, a_number_that_is_no_socket_any_more_stays_open_in_the_child) {
  const rpc_socket sock = rpc_socket_open(RPC_STREAM, RPC_TCP);
  EXPECT_EQ(rpc_socket_close(sock), 0);
  const int file = open("/dev/null", O_RDONLY | O_CLOEXEC);
  ASSERT_EQ(file, sock);
  EXPECT_TRUE(in_child([=] { return is_open(file); }));
  close(file);
}

TEST_F(fork_count, a_held_lock_is_free_in_the_child) {
  rpc_lock_record* lock = rpc_create_lock();
  rpc_lock(lock);
  EXPECT_TRUE(in_child([=] {
    alarm(10);  // ends a child that waits for ever
    rpc_lock(lock);
    rpc_unlock(lock);
    rpc_unlock(lock);  // of the call that the fork interrupted
    rpc_destroy_lock(lock);
    return true;
  }));
  rpc_unlock(lock);
  rpc_destroy_lock(lock);
}

}  // namespace
}  // namespace kvrpc::test
