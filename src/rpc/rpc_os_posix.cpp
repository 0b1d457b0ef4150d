#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
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

thread_local std::int32_t last_error = 0;

// ---- forks

std::uint32_t fork_count = 0;

// One bit for each descriptor that rpc_socket_open made. Static, so that the fork handler below
// finds it whole whatever another thread was doing at the moment of the fork.
constexpr std::size_t tracked_sockets = 65536;
std::uint64_t open_sockets[tracked_sockets / 64];

bool is_tracked(rpc_socket sock) { return static_cast<std::size_t>(sock) < tracked_sockets; }

std::uint64_t socket_bit(rpc_socket sock) { return std::uint64_t{1} << (sock % 64); }

void track(rpc_socket sock) {
  if (is_tracked(sock)) open_sockets[sock / 64] |= socket_bit(sock);
}

void untrack(rpc_socket sock) {
  if (is_tracked(sock)) open_sockets[sock / 64] &= ~socket_bit(sock);
}

// Runs in the child, before anything else does. close is async-signal-safe, as the child of a
// process with threads needs it.
void leave_parent() {
  ++fork_count;
  for (std::size_t i = 0; i < tracked_sockets / 64; ++i) {
    for (; open_sockets[i] != 0; open_sockets[i] &= open_sockets[i] - 1) {
      close(static_cast<int>(i * 64) + __builtin_ctzll(open_sockets[i]));
    }
  }
}

// ---- failures

std::int32_t failed_with(std::int32_t number) {
  last_error = number;
  return -1;
}

std::int32_t failed() { return failed_with(rpc_winsock_number(errno)); }

// After EINTR: whether the call is to be repeated; otherwise the last error says why not.
bool goes_on() {
  if (!rpc_interrupt_wanted()) return true;
  failed_with(RPC_EINTERRUPTED);
  return false;
}

// Runs one socket call until no signal gets in its way.
template <class Call>
std::int32_t through_signals(Call call) {
  for (;;) {
    const ssize_t moved = call();
    if (moved >= 0) return static_cast<std::int32_t>(moved);
    if (errno != EINTR) return failed();
    if (!goes_on()) return -1;
  }
}

sockaddr* as_sockaddr(rpc_address* address) { return reinterpret_cast<sockaddr*>(address); }

const sockaddr* as_sockaddr(const rpc_address* address) {
  return reinterpret_cast<const sockaddr*>(address);
}

static_assert(sizeof(sockaddr_in) == sizeof(rpc_address) &&
                  offsetof(sockaddr_in, sin_family) == offsetof(rpc_address, family) &&
                  sizeof(sockaddr_in::sin_family) == sizeof(rpc_address::family) &&
                  offsetof(sockaddr_in, sin_port) == offsetof(rpc_address, port) &&
                  offsetof(sockaddr_in, sin_addr) == offsetof(rpc_address, host) &&
                  AF_INET == RPC_IPV4,
              "rpc_address is the platform's IPv4 address");

// The part of the time until the deadline that one poll may take: its milliseconds are rounded up
// so that it never wakes before the deadline.
int next_slice(std::int64_t deadline) {
  const std::int64_t left = std::min(deadline - rpc_clock(), hook_interval);
  return left <= 0 ? 0 : static_cast<int>((left + 999) / 1000);
}

// Waits until an interrupted connect has come to its end. 0 or -1.
std::int32_t await_connection(rpc_socket sock) {
  pollfd entry = {sock, POLLOUT, 0};
  if (through_signals([&] { return poll(&entry, 1, -1); }) < 0) return -1;
  int error = 0;
  socklen_t size = sizeof error;
  if (getsockopt(sock, SOL_SOCKET, SO_ERROR, &error, &size) < 0) return failed();
  return error == 0 ? 0 : failed_with(rpc_winsock_number(error));
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

}  // namespace

void rpc_start_sockets() {}
void rpc_stop_sockets() {}

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

std::int32_t rpc_socket_errno() { return last_error; }

rpc_socket rpc_socket_open(rpc_socket_type type, rpc_protocol protocol) {
  const int kind = type == RPC_STREAM ? SOCK_STREAM : SOCK_DGRAM;
  const int sock = socket(AF_INET, kind | SOCK_CLOEXEC, protocol);
  if (sock < 0) return failed();
  track(sock);
  return sock;
}

// An interrupted connect goes on in the kernel. The call that is made again when it has come to
// its end confirms it, and starts it where the signal came before the kernel had.
std::int32_t rpc_socket_connect(rpc_socket sock, const rpc_address* address) {
  for (bool interrupted = false;; interrupted = true) {
    if (connect(sock, as_sockaddr(address), sizeof *address) == 0) return 0;
    if (errno == EISCONN && interrupted) return 0;
    if (errno != EINTR) return failed();
    if (!goes_on() || await_connection(sock) < 0) return -1;
  }
}

std::int32_t rpc_socket_set_nonblocking(rpc_socket sock) {
  const int flags = fcntl(sock, F_GETFL);
  return flags < 0 || fcntl(sock, F_SETFL, flags | O_NONBLOCK) < 0 ? failed() : 0;
}

// An interrupted close has closed, and a second one might hit another thread's descriptor.
std::int32_t rpc_socket_close(rpc_socket sock) {
  untrack(sock);
  return close(sock) < 0 && errno != EINTR ? failed() : 0;
}

std::int32_t rpc_socket_wait(rpc_socket sock, std::int64_t deadline) {
  pollfd entry = {sock, POLLIN, 0};
  for (;;) {
    if (!goes_on()) return -1;
    const int ready = poll(&entry, 1, next_slice(deadline));
    if (ready > 0) return 1;
    if (ready < 0) return errno == EINTR ? failed_with(RPC_EINTR) : failed();
    if (rpc_clock() >= deadline) return 0;
  }
}

// A blocking socket sends short only when a signal came in between.
std::int32_t rpc_socket_send(rpc_socket sock, const char* bytes, std::int32_t length) {
  const auto size = static_cast<std::size_t>(length);
  const std::int32_t sent = through_signals([=] { return send(sock, bytes, size, MSG_NOSIGNAL); });
  return sent >= 0 && sent < length && !goes_on() ? -1 : sent;
}

std::int32_t rpc_socket_recv(rpc_socket sock, char* bytes, std::int32_t length) {
  const auto size = static_cast<std::size_t>(length);
  return through_signals([=] { return recv(sock, bytes, size, 0); });
}

std::int32_t rpc_socket_sendto(rpc_socket sock, const char* bytes, std::int32_t length,
                               const rpc_address* address) {
  const auto size = static_cast<std::size_t>(length);
  return through_signals([=] {
    return sendto(sock, bytes, size, MSG_NOSIGNAL, as_sockaddr(address), sizeof *address);
  });
}

std::int32_t rpc_socket_recvfrom(rpc_socket sock, char* bytes, std::int32_t length,
                                 rpc_address* address) {
  iovec part = {};
  part.iov_base = bytes;
  part.iov_len = static_cast<std::size_t>(length);
  msghdr message = {};
  message.msg_name = as_sockaddr(address);
  message.msg_namelen = sizeof *address;
  message.msg_iov = &part;
  message.msg_iovlen = 1;
  const ssize_t got = recvmsg(sock, &message, 0);
  if (got < 0 && errno == EINTR) return goes_on() ? failed_with(RPC_EINTR) : -1;
  if (got < 0) return failed();
  if ((message.msg_flags & MSG_TRUNC) != 0) return failed_with(RPC_EMSGSIZE);
  return static_cast<std::int32_t>(got);
}

std::int32_t rpc_resolve(const char* host, rpc_address* address) {
  addrinfo hints = {};
  hints.ai_family = AF_INET;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  if (getaddrinfo(host, nullptr, &hints, &found) != 0) return RPC_UNKNOWNHOST;
  *address = {};
  address->family = RPC_IPV4;
  std::memcpy(&address->host, &reinterpret_cast<sockaddr_in*>(found->ai_addr)->sin_addr,
              sizeof address->host);
  freeaddrinfo(found);
  return 0;
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

std::uint32_t rpc_process_id() { return static_cast<std::uint32_t>(getpid()); }
std::uint32_t rpc_time_seconds() { return static_cast<std::uint32_t>(time(nullptr)); }

// From the first byte's page to the last one's: a part of a mapping alone would be a mapping of its
// own from then on, and the whole could no longer grow in place.
bool rpc_use_large_pages([[maybe_unused]] void* block, [[maybe_unused]] std::size_t size) {
#ifdef MADV_HUGEPAGE
  const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  const std::size_t before = reinterpret_cast<std::uintptr_t>(block) % page;
  const int number = errno;
  const bool done = madvise(static_cast<char*>(block) - before,
                            (before + size + page - 1) / page * page, MADV_HUGEPAGE) == 0;
  errno = number;
  return done;
#else
  return false;
#endif
}

const bool rpc_cut_blocks_shrink = true;

std::int64_t rpc_clock() {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return std::int64_t{now.tv_sec} * 1000000 + now.tv_nsec / 1000;
}

}  // namespace kvrpc
