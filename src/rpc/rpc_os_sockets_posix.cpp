// The socket calls on POSIX systems. Each is one system call that does not wait, except for a
// receive that may; the waits are in rpc_os_waits.cpp.

#include <netinet/in.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>

#include "rpc/rpc_os.h"
#include "rpc/rpc_os_platform.h"

namespace kvrpc {

namespace {

thread_local std::int32_t last_error = 0;

std::int32_t failed() {
  last_error = rpc_winsock_number(errno);
  return -1;
}

// Returns the result of a system call that moved bytes, or -1.
std::int32_t moved(ssize_t result) {
  return result < 0 ? failed() : static_cast<std::int32_t>(result);
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

}  // namespace

void rpc_start_sockets() {}
void rpc_stop_sockets() {}

std::int32_t rpc_socket_errno() { return last_error; }
void rpc_set_socket_errno(std::int32_t number) { last_error = number; }

rpc_socket rpc_socket_open(rpc_socket_type type, rpc_protocol protocol) {
  const int kind = type == RPC_STREAM ? SOCK_STREAM : SOCK_DGRAM;
  const int sock = socket(AF_INET, kind | SOCK_CLOEXEC, protocol);
  if (sock < 0) return failed();
  rpc_track_socket(sock);
  return sock;
}

// Does not retry an interrupted close, because it has closed the descriptor, and a second close
// might close one that another thread has opened since.
std::int32_t rpc_socket_close(rpc_socket sock) {
  rpc_untrack_socket(sock);
  return close(sock) < 0 && errno != EINTR ? failed() : 0;
}

std::int32_t rpc_socket_set_nonblocking(rpc_socket sock) {
  int on = 1;
  return ioctl(sock, FIONBIO, &on) < 0 ? failed() : 0;
}

std::int32_t rpc_begin_connect(rpc_socket sock, const rpc_address* address) {
  if (connect(sock, as_sockaddr(address), sizeof *address) == 0) return 0;
  const bool under_way = errno == EINPROGRESS || errno == EALREADY || errno == EINTR;
  return under_way ? 1 : failed();
}

std::int32_t rpc_connect_error(rpc_socket sock) {
  int error = 0;
  socklen_t size = sizeof error;
  if (getsockopt(sock, SOL_SOCKET, SO_ERROR, &error, &size) < 0) return failed();
  return error == 0 ? 0 : (errno = error, failed());
}

// A receive can wait only on a blocking socket.
void rpc_end_connect(rpc_socket sock) {
  int off = 0;
  ioctl(sock, FIONBIO, &off);
}

// Milliseconds are rounded up, so that a wait never ends before its deadline.
std::int32_t rpc_poll_socket(rpc_socket sock, rpc_direction direction, std::int64_t microseconds) {
  pollfd entry = {sock, direction == rpc_direction::input ? short{POLLIN} : short{POLLOUT}, 0};
  const int ready = poll(&entry, 1, static_cast<int>((microseconds + 999) / 1000));
  return ready < 0 ? failed() : ready;
}

bool rpc_socket_wait_in_receive(rpc_socket sock) {
  timeval slice = {};
  slice.tv_usec = hook_interval;
  return setsockopt(sock, SOL_SOCKET, SO_RCVTIMEO, &slice, sizeof slice) == 0;
}

std::int32_t rpc_try_recv(rpc_socket sock, char* bytes, std::int32_t length, bool may_wait) {
  return moved(recv(sock, bytes, static_cast<std::size_t>(length), may_wait ? 0 : MSG_DONTWAIT));
}

std::int32_t rpc_try_send(rpc_socket sock, const char* bytes, std::int32_t length) {
  return moved(send(sock, bytes, static_cast<std::size_t>(length), MSG_NOSIGNAL | MSG_DONTWAIT));
}

std::int32_t rpc_try_sendto(rpc_socket sock, const char* bytes, std::int32_t length,
                            const rpc_address* address) {
  return moved(sendto(sock, bytes, static_cast<std::size_t>(length), MSG_NOSIGNAL,
                      as_sockaddr(address), sizeof *address));
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
  const std::int32_t got = moved(recvmsg(sock, &message, MSG_DONTWAIT));
  if (got < 0 || (message.msg_flags & MSG_TRUNC) == 0) return got;
  last_error = RPC_EMSGSIZE;
  return -1;
}

}  // namespace kvrpc
