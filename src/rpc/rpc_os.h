// The one place that knows the operating system: start-up, locks, sockets and the wait for them,
// the last socket error, the clock, the stack, and the environment.
//
// rpc_os_posix.cpp and rpc_os_win32.cpp implement it; rpc_os.cpp holds what both share. Socket
// error numbers are Winsock's on both. An interrupted call is the value 4 on POSIX. SIGPIPE never
// arises, sockets are close-on-exec, and no wait depends on how many files a process has open.
// Addresses are 16 bytes as the socket calls take them: family, port and address in network order.
#pragma once

#include <cstddef>
#include <cstdint>

#include "rpc/rpc_types.h"

namespace kvrpc {

// ---- start-up and locks

// Starts the socket layer and makes the process's locks, once. A failure ends the process with
// exit code 1 after its message.
void rpc_startup();
// Surface: the module never stops the socket layer, because it is never unloaded.
void rpc_shutdown();

// Guards name resolution; both do nothing before rpc_startup.
void rpc_resolver_enter();
void rpc_resolver_leave();

struct rpc_lock_record;

// Returns a recursive lock, or null with the reason in errno. In a process that inherits it through
// fork, a lock is free, because the thread that held it does not exist there or has left its call.
rpc_lock_record* rpc_create_lock();
void rpc_destroy_lock(rpc_lock_record* lock);
void rpc_lock(rpc_lock_record* lock);
void rpc_unlock(rpc_lock_record* lock);

// ---- forks

// Returns the number of forks from the process that ran rpc_startup to this one. Two values differ
// exactly if a fork happened in between and this process is the child. Always 0 on Windows.
std::uint32_t rpc_fork_count();

// ---- sockets

#ifdef _WIN32
using rpc_socket = std::intptr_t;
#else
using rpc_socket = std::int32_t;
#endif

constexpr std::uint16_t RPC_IPV4 = 2;
enum rpc_socket_type : std::int32_t { RPC_STREAM = 1, RPC_DATAGRAM = 2 };
enum rpc_protocol : std::int32_t { RPC_IP = 0, RPC_TCP = 6, RPC_UDP = 17 };

// An IPv4 socket address in the form of the socket calls, 16 bytes.
struct rpc_address {
  std::uint16_t family;  // RPC_IPV4
  std::uint16_t port;    // network order
  std::uint32_t host;    // network order
  std::uint8_t zero[8];
};
static_assert(sizeof(rpc_address) == 16, "the address of the socket calls");

// Converts a port between the host's order and the network's, in both directions.
std::uint16_t rpc_network_order(std::uint16_t port);

// Winsock's numbers, on every platform. rpc_os_errors_posix.cpp has the whole table.
enum rpc_socket_error : std::int32_t {
  RPC_EINTR = 4,             // interrupted; the caller goes on
  RPC_EINTERRUPTED = 10004,  // interrupted, and the interrupt hook ended the call
  RPC_EWOULDBLOCK = 10035,
  RPC_ENOTSOCK = 10038,
  RPC_EMSGSIZE = 10040,
  RPC_EPFNOSUPPORT = 10046,
  RPC_EAFNOSUPPORT = 10047,
  RPC_ECONNRESET = 10054,
  RPC_EISCONN = 10056,
};

// Returns the error number of this thread's last failed socket call.
std::int32_t rpc_socket_errno();

// Returns a new socket, negative on failure. A child process closes its copy at the moment of the
// fork, because two processes on one connection would take each other's replies. (Sockets numbered
// 65536 and above stay open in the child.) A program that a process starts does not inherit it.
rpc_socket rpc_socket_open(rpc_socket_type type, rpc_protocol protocol);
std::int32_t rpc_socket_set_nonblocking(rpc_socket sock);  // 0 or -1
std::int32_t rpc_socket_close(rpc_socket sock);            // 0 or -1; closed in any case

// Every wait below asks the interrupt hook before it begins and twenty times a second while it
// lasts, also the wait of a connect or a send. A function that does not mention RPC_EINTR goes on
// after a signal.

// Connects, without a time limit of its own. Returns 0 or -1.
std::int32_t rpc_socket_connect(rpc_socket sock, const rpc_address* address);

// Waits for up to `span`. Returns 1 when a read will not block (it may fail), 0 at the deadline, or
// -1.
std::int32_t rpc_socket_await(rpc_socket sock, rpc_timeval span);

// Prepares a stream socket so that a receive can also wait, which saves a system call. Returns
// false if that is not possible: on Windows it would need a socket option, and none is set there.
bool rpc_socket_wait_in_receive(rpc_socket sock);

// Waits for up to `span` and receives once. Returns the number of bytes, 0 at the end of the
// connection, RPC_NOTHING_CAME or -1. `waits_in_receive` must be true only if
// rpc_socket_wait_in_receive was.
constexpr std::int32_t RPC_NOTHING_CAME = -2;
std::int32_t rpc_socket_recv(rpc_socket sock, char* bytes, std::int32_t length, rpc_timeval span,
                             bool waits_in_receive);

// Sends as much as there is room for, at least one byte. Returns the number of bytes or -1.
std::int32_t rpc_socket_send(rpc_socket sock, const char* bytes, std::int32_t length);

// Send or receive a datagram, on a non-blocking socket without a wait. Return the number of bytes
// or -1. A recvfrom may fail with RPC_EINTR, and fails with RPC_EMSGSIZE if the datagram is longer
// than `length`.
std::int32_t rpc_socket_sendto(rpc_socket sock, const char* bytes, std::int32_t length,
                               const rpc_address* address);
std::int32_t rpc_socket_recvfrom(rpc_socket sock, char* bytes, std::int32_t length,
                                 rpc_address* address);

// Sets the hook by which the script's signal handlers run. If it returns a value other than zero,
// the wait or the socket call fails with RPC_EINTERRUPTED. Null, the default, lets everything go
// on.
void rpc_set_interrupt_hook(int (*hook)());

// Finds the first address of `host`, as the resolver orders them, with port 0. Returns 0, or the
// cf_stat of the failure: RPC_UNKNOWNHOST, or RPC_SYSTEMERROR with the reason in `*number`, a
// socket error number or ENOMEM. Must be called between rpc_resolver_enter and rpc_resolver_leave.
std::int32_t rpc_resolve(const char* host, rpc_address* address, std::int32_t* number);
// Returns the number of the protocol `name`, or -1.
std::int32_t rpc_protocol_number(const char* name);

// ---- messages

// Writes to the standard error stream as it is at this moment, also after the script has redirected
// its descriptor. Changes neither errno nor the last socket error.
void rpc_write_error(const char* text);
// The same with a format. A message must be shorter than 256 bytes.
[[gnu::format(printf, 1, 2)]] void rpc_report(const char* format, ...);

// ---- process

// Returns a copy of the environment variable as the script sees it at this moment, ended by two NUL
// bytes, to be released with free. Returns null with errno 0 if it does not exist, or with ENOMEM.
char* rpc_environment(const char* name);

// Owns such a copy until the end of the scope. If get() returns null, the caller must test
// failed(), because the variable may exist without memory for its copy.
class environment_text {
 public:
  explicit environment_text(const char* name);
  ~environment_text();
  environment_text(environment_text&& other) noexcept : text_(other.text_), failed_(other.failed_) {
    other.text_ = nullptr;
  }
  environment_text& operator=(environment_text&&) = delete;

  char* get() const { return text_; }      // null if the variable does not exist
  bool failed() const { return failed_; }  // there was no memory for it

 private:
  char* text_;
  bool failed_;
};

// Returns true if the caller's thread has little stack left: less than a quarter of it, but 16 KiB
// at least and 64 KiB at most. Returns false on a stack that the system does not know, such as a
// coroutine's.
bool rpc_stack_is_low();

std::uint32_t rpc_process_id();
std::uint32_t rpc_time_seconds();
// Returns the time of the monotonic clock, in microseconds.
std::int64_t rpc_clock();

}  // namespace kvrpc
