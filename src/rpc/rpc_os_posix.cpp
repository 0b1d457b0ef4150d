// Forks, locks, names, the environment and the clock on POSIX. The socket calls are in
// rpc_os_sockets_posix.cpp.
#include <netdb.h>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "rpc/rpc_os.h"
#include "rpc/rpc_os_platform.h"

namespace kvrpc {

struct rpc_lock_record {
  pthread_mutex_t mutex;
  std::uint32_t forks;  // rpc_fork_count() of the process for which `mutex` was initialised
};

namespace {

// ---- forks

std::uint32_t fork_count = 0;

// One bit for each descriptor that rpc_socket_open made, and the inode of its socket. Static, so
// that the fork handler below finds them whole whatever another thread was doing at the moment of
// the fork.
constexpr std::size_t tracked_sockets = 65536;
std::uint64_t open_sockets[tracked_sockets / 64];
ino_t socket_inodes[tracked_sockets];

bool is_trackable(rpc_socket sock) { return static_cast<std::size_t>(sock) < tracked_sockets; }

std::uint64_t socket_bit(rpc_socket sock) { return std::uint64_t{1} << (sock % 64); }

// Returns the inode of the socket, or 0 if the descriptor is no socket. fstat is async-signal-safe.
ino_t inode_of(int descriptor) {
  struct stat status;
  return fstat(descriptor, &status) == 0 && S_ISSOCK(status.st_mode) ? status.st_ino : 0;
}

// A script may have closed the descriptor, as os.closerange does when it becomes a daemon, and its
// number may belong to a file of the script by now.
void close_if_ours(std::size_t descriptor) {
  const ino_t inode = inode_of(static_cast<int>(descriptor));
  if (inode != 0 && inode == socket_inodes[descriptor]) close(static_cast<int>(descriptor));
}

// Runs in the child, before anything else does. close is async-signal-safe, as the child of a
// process with threads needs it.
void leave_parent() {
  ++fork_count;
  for (std::size_t i = 0; i < tracked_sockets / 64; ++i) {
    for (; open_sockets[i] != 0; open_sockets[i] &= open_sockets[i] - 1) {
      close_if_ours(i * 64 + static_cast<std::size_t>(__builtin_ctzll(open_sockets[i])));
    }
  }
}

// ---- locks

bool is_inherited(const rpc_lock_record* lock) { return lock->forks != fork_count; }

// Returns 0 or an errno value.
int initialise(rpc_lock_record* lock) {
  pthread_mutexattr_t attributes;
  int error = pthread_mutexattr_init(&attributes);
  if (error != 0) return error;
  pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
  error = pthread_mutex_init(&lock->mutex, &attributes);
  pthread_mutexattr_destroy(&attributes);
  lock->forks = fork_count;
  return error;
}

// ---- the stack

thread_local rpc_stack_bounds stack;

rpc_stack_bounds stack_of_this_thread() {
  pthread_attr_t attributes;
  void* low = nullptr;
  std::size_t size = 0;
  const int number = errno;
  if (pthread_getattr_np(pthread_self(), &attributes) == 0) {
    pthread_attr_getstack(&attributes, &low, &size);
    pthread_attr_destroy(&attributes);
  }
  errno = number;
  const auto address = reinterpret_cast<std::uintptr_t>(low);
  return {address, address + size};
}

}  // namespace

void rpc_track_socket(rpc_socket sock) {
  if (!is_trackable(sock)) return;
  socket_inodes[sock] = inode_of(sock);
  open_sockets[sock / 64] |= socket_bit(sock);
}

void rpc_untrack_socket(rpc_socket sock) {
  if (is_trackable(sock)) open_sockets[sock / 64] &= ~socket_bit(sock);
}

std::uint32_t rpc_fork_count() { return fork_count; }

int rpc_watch_forks() {
  static bool watching = false;
  const int error = watching ? 0 : pthread_atfork(nullptr, nullptr, leave_parent);
  if (error == 0) watching = true;
  return error;
}

rpc_lock_record* rpc_create_lock() {
  auto* lock = static_cast<rpc_lock_record*>(std::calloc(1, sizeof(rpc_lock_record)));
  if (lock == nullptr) return nullptr;
  const int error = initialise(lock);
  if (error == 0) return lock;
  std::free(lock);
  errno = error;
  return nullptr;
}

// POSIX leaves it undefined to destroy a mutex that is held, as an inherited one may be.
void rpc_destroy_lock(rpc_lock_record* lock) {
  if (!is_inherited(lock)) pthread_mutex_destroy(&lock->mutex);
  std::free(lock);
}

void rpc_lock(rpc_lock_record* lock) {
  if (is_inherited(lock)) initialise(lock);
  pthread_mutex_lock(&lock->mutex);
}

void rpc_unlock(rpc_lock_record* lock) {
  if (!is_inherited(lock)) pthread_mutex_unlock(&lock->mutex);
}

// Does not use getaddrinfo, because that sorts the addresses.
std::int32_t rpc_resolve(const char* host, rpc_address* address, std::int32_t* number) {
  hostent entry;
  hostent* found = nullptr;
  char* room = nullptr;
  int error = ERANGE;
  for (std::size_t size = 1024; error == ERANGE; size *= 2) {
    char* const larger = static_cast<char*>(std::realloc(room, size));
    if (larger != nullptr) room = larger;
    int reason;
    error = larger == nullptr ? ENOMEM : gethostbyname_r(host, &entry, room, size, &found, &reason);
  }
  *number = ENOMEM;
  const std::int32_t status =
      error == ENOMEM ? RPC_SYSTEMERROR : rpc_first_address(found, address, number);
  std::free(room);
  return status;
}

std::int32_t rpc_protocol_number(const char* name) {
  const protoent* protocol = getprotobyname(name);
  return protocol == nullptr ? -1 : protocol->p_proto;
}

char* rpc_environment(const char* name) {
  const char* value = std::getenv(name);
  errno = 0;
  if (value == nullptr) return nullptr;
  const std::size_t length = std::strlen(value);
  auto* copy = static_cast<char*>(std::malloc(length + 2));
  if (copy == nullptr) {
    errno = ENOMEM;
    return nullptr;
  }
  std::memcpy(copy, value, length);
  std::memset(copy + length, 0, 2);
  return copy;
}

void rpc_write_error(const char* text) {
  const int number = errno;
  std::fputs(text, stderr);
  errno = number;
}

// The bounds are kept for the thread once they are found, because those of the main thread are read
// from a file, for which there may be no descriptor. They are asked for again before the stack is
// called low, because a script may have raised its limit.
bool rpc_stack_is_low() {
  const auto here = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
  if (stack.high != 0 && !rpc_is_low_in(stack, here)) return false;
  stack = stack_of_this_thread();
  return rpc_is_low_in(stack, here);
}

std::uint32_t rpc_process_id() { return static_cast<std::uint32_t>(getpid()); }
std::uint32_t rpc_time_seconds() { return static_cast<std::uint32_t>(time(nullptr)); }

std::int64_t rpc_clock() {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return std::int64_t{now.tv_sec} * 1000000 + now.tv_nsec / 1000;
}

}  // namespace kvrpc
