// The interface between rpc_os.cpp, rpc_os_waits.cpp and the platforms' sources. Nobody else
// includes this.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "rpc/rpc_os.h"

namespace kvrpc {

// Platform: start the socket layer, or end the process after its message; and stop it.
void rpc_start_sockets();
void rpc_stop_sockets();

// Platform: starts to count forks, once for the life of the process. Returns 0, or an errno value.
int rpc_watch_forks();

// Writes a start-up failure and a line end to stderr, and ends the process with exit code 1.
[[noreturn]] void rpc_startup_failed(const char* text);

// Asks the interrupt hook. Returns true if the call must end: the hook wants it, or it forked and
// this process is the child, whose parent waits for the same reply.
bool rpc_interrupt_wanted();

// A wait asks the hook before it begins and again after so many microseconds.
constexpr std::int64_t hook_interval = 50000;

// ---- the socket calls below the waits of rpc_os_waits.cpp; each returns -1 after a failure

void rpc_set_socket_errno(std::int32_t number);

enum class rpc_direction { input, output };
// Waits once. Returns 1 when the socket is ready, also for a failure, or 0 when the time is over.
std::int32_t rpc_poll_socket(rpc_socket sock, rpc_direction direction, std::int64_t microseconds);

// Begins to connect a non-blocking socket. Returns 0 when it is connected, 1 while the connection
// is under way.
std::int32_t rpc_begin_connect(rpc_socket sock, const rpc_address* address);
// Returns 0 unless the connect that was under way has failed.
std::int32_t rpc_connect_error(rpc_socket sock);
// Leaves the connected socket in the mode that the calls below need.
void rpc_end_connect(rpc_socket sock);

// Move what can be moved without a wait. A receive with `may_wait` waits for up to hook_interval,
// and a sendto on a blocking socket that a caller brought waits as the system does.
std::int32_t rpc_try_recv(rpc_socket sock, char* bytes, std::int32_t length, bool may_wait);
std::int32_t rpc_try_send(rpc_socket sock, const char* bytes, std::int32_t length);
std::int32_t rpc_try_sendto(rpc_socket sock, const char* bytes, std::int32_t length,
                            const rpc_address* address);

// ---- names

// Takes the first address of a hostent, or of null. Results as rpc_resolve.
template <class Hostent>
std::int32_t rpc_first_address(const Hostent* found, rpc_address* address, std::int32_t* number) {
  if (found == nullptr || found->h_addr_list[0] == nullptr) return RPC_UNKNOWNHOST;
  if (found->h_addrtype != RPC_IPV4) {
    *number = RPC_EAFNOSUPPORT;
    return RPC_SYSTEMERROR;
  }
  *address = {};
  address->family = RPC_IPV4;
  std::memcpy(&address->host, found->h_addr_list[0], sizeof address->host);
  return RPC_SUCCESS;
}

// ---- the stack

// The addresses of a thread's stack, which grows down. Both 0 if the system does not say.
struct rpc_stack_bounds {
  std::uintptr_t low;
  std::uintptr_t high;
};

// Returns true if `here` is in the part of the stack that rpc_stack_is_low keeps free.
inline bool rpc_is_low_in(const rpc_stack_bounds& stack, std::uintptr_t here) {
  constexpr std::uintptr_t least_kept_free = 16384;
  constexpr std::uintptr_t most_kept_free = 65536;
  const std::uintptr_t quarter = (stack.high - stack.low) / 4;
  return here - stack.low < std::clamp(quarter, least_kept_free, most_kept_free);
}

// ---- POSIX alone

// Adds a socket to those that a child process closes after a fork.
void rpc_track_socket(rpc_socket sock);
void rpc_untrack_socket(rpc_socket sock);

// Returns Winsock's number for an errno value.
std::int32_t rpc_winsock_number(std::int32_t error);
constexpr std::int32_t RPC_ESYSCALL = 10107;  // for an errno value that Winsock has no name for

}  // namespace kvrpc
