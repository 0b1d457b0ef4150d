// Every wait for a socket, for all platforms: it asks the interrupt hook before it begins, and
// again after each slice of time. So a signal that came between two system calls is never lost, and
// a wait ends on systems where signals interrupt nothing.

#include <algorithm>
#include <cstdint>
#include <limits>

#include "rpc/rpc_os.h"
#include "rpc/rpc_os_platform.h"

namespace kvrpc {

namespace {

constexpr std::int64_t no_deadline = std::numeric_limits<std::int64_t>::max();

std::int64_t microseconds(rpc_timeval span) {
  return std::int64_t{span.tv_sec} * 1000000 + span.tv_usec;
}

bool goes_on() {
  if (!rpc_interrupt_wanted()) return true;
  rpc_set_socket_errno(RPC_EINTERRUPTED);
  return false;
}

// Returns 1 when the socket is ready, 0 at the deadline, or -1. A signal ends it with RPC_EINTR.
std::int32_t wait(rpc_socket sock, rpc_direction direction, std::int64_t deadline) {
  for (;;) {
    if (!goes_on()) return -1;
    const std::int64_t left = deadline - rpc_clock();
    const std::int64_t slice = std::clamp<std::int64_t>(left, 0, hook_interval);
    const std::int32_t ready = rpc_poll_socket(sock, direction, slice);
    if (ready != 0) return ready;
    if (rpc_clock() >= deadline) return 0;
  }
}

std::int32_t wait_through_signals(rpc_socket sock, rpc_direction direction, std::int64_t deadline) {
  std::int32_t ready;
  do {
    ready = wait(sock, direction, deadline);
  } while (ready == -1 && rpc_socket_errno() == RPC_EINTR);
  return ready;
}

// Waits without a time limit until something can be sent.
bool await_room(rpc_socket sock) {
  return wait_through_signals(sock, rpc_direction::output, no_deadline) > 0;
}

// Returns true if a call that failed is to be made again when the socket is ready.
bool must_wait() {
  const std::int32_t error = rpc_socket_errno();
  return error == RPC_EWOULDBLOCK || error == RPC_EINTR;
}

// Connects on a non-blocking socket. After a wait, the same call confirms the connection.
std::int32_t connect_in_slices(rpc_socket sock, const rpc_address* address) {
  for (bool begun = false;; begun = true) {
    const std::int32_t under_way = rpc_begin_connect(sock, address);
    if (under_way == 0 || (begun && rpc_socket_errno() == RPC_EISCONN)) return 0;
    if (under_way < 0 || !await_room(sock) || rpc_connect_error(sock) != 0) return -1;
  }
}

}  // namespace

std::int32_t rpc_socket_connect(rpc_socket sock, const rpc_address* address) {
  rpc_socket_set_nonblocking(sock);
  if (connect_in_slices(sock, address) != 0) return -1;
  rpc_end_connect(sock);
  return 0;
}

std::int32_t rpc_socket_await(rpc_socket sock, rpc_timeval span) {
  return wait_through_signals(sock, rpc_direction::input, rpc_clock() + microseconds(span));
}

std::int32_t rpc_socket_recv(rpc_socket sock, char* bytes, std::int32_t length, rpc_timeval span,
                             bool waits_in_receive) {
  const std::int64_t deadline = rpc_clock() + microseconds(span);
  if (waits_in_receive && microseconds(span) >= 2 * hook_interval) {
    if (!goes_on()) return -1;
    const std::int32_t got = rpc_try_recv(sock, bytes, length, true);
    if (got >= 0 || !must_wait()) return got;
  }
  for (;;) {
    const std::int32_t ready = wait_through_signals(sock, rpc_direction::input, deadline);
    if (ready <= 0) return ready == 0 ? RPC_NOTHING_CAME : -1;
    const std::int32_t got = rpc_try_recv(sock, bytes, length, false);
    if (got >= 0 || !must_wait()) return got;
  }
}

std::int32_t rpc_socket_send(rpc_socket sock, const char* bytes, std::int32_t length) {
  for (;;) {
    const std::int32_t sent = rpc_try_send(sock, bytes, length);
    if (sent >= 0 || !must_wait() || !await_room(sock)) return sent;
  }
}

std::int32_t rpc_socket_sendto(rpc_socket sock, const char* bytes, std::int32_t length,
                               const rpc_address* address) {
  std::int32_t sent;
  do {
    sent = rpc_try_sendto(sock, bytes, length, address);
  } while (sent < 0 && rpc_socket_errno() == RPC_EINTR && goes_on());
  return sent;
}

}  // namespace kvrpc
