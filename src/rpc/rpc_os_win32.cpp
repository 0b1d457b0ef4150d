// Winsock 1.1 calls only; windows.h brings them along.
#include <windows.h>
#undef TRUE
#undef FALSE

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "rpc/rpc_os.h"
#include "rpc/rpc_os_platform.h"

namespace kvrpc {

struct rpc_lock_record {
  CRITICAL_SECTION section;
};

namespace {

SOCKET as_socket(rpc_socket sock) { return static_cast<SOCKET>(sock); }

sockaddr* as_sockaddr(rpc_address* address) { return reinterpret_cast<sockaddr*>(address); }

const sockaddr* as_sockaddr(const rpc_address* address) {
  return reinterpret_cast<const sockaddr*>(address);
}

static_assert(sizeof(sockaddr_in) == sizeof(rpc_address) &&
                  offsetof(sockaddr_in, sin_family) == offsetof(rpc_address, family) &&
                  offsetof(sockaddr_in, sin_port) == offsetof(rpc_address, port) &&
                  offsetof(sockaddr_in, sin_addr) == offsetof(rpc_address, host) &&
                  AF_INET == RPC_IPV4 && SOCK_STREAM == RPC_STREAM && SOCK_DGRAM == RPC_DATAGRAM,
              "rpc_address is the platform's IPv4 address");

std::int64_t performance_counter(BOOL(WINAPI* read)(LARGE_INTEGER*)) {
  LARGE_INTEGER value;
  read(&value);
  return value.QuadPart;
}

// The part of the time until the deadline that one select may take; never negative.
timeval next_slice(std::int64_t deadline) {
  std::int64_t left = deadline - rpc_clock();
  if (left > hook_interval) left = hook_interval;
  if (left < 0) left = 0;
  timeval slice;
  slice.tv_sec = 0;
  slice.tv_usec = static_cast<decltype(slice.tv_usec)>(left);
  return slice;
}

}  // namespace

void rpc_start_sockets() {
  WSADATA data;
  if (WSAStartup(0x0101, &data) == 0) return;
  char text[64];
  std::snprintf(text, sizeof text, "WSAStartUp() failed, error = %d\n", WSAGetLastError());
  MessageBoxA(GetActiveWindow(), text, "**TCP INIT ERROR**", MB_ICONSTOP);
  rpc_startup_failed(text);
}

void rpc_stop_sockets() { WSACleanup(); }

// Windows has no fork.
int rpc_watch_forks() { return 0; }
std::uint32_t rpc_fork_count() { return 0; }

rpc_lock_record* rpc_create_lock() {
  auto* lock = static_cast<rpc_lock_record*>(std::calloc(1, sizeof(rpc_lock_record)));
  if (lock != nullptr) InitializeCriticalSection(&lock->section);
  return lock;
}

void rpc_destroy_lock(rpc_lock_record* lock) {
  DeleteCriticalSection(&lock->section);
  std::free(lock);
}

void rpc_lock(rpc_lock_record* lock) { EnterCriticalSection(&lock->section); }
void rpc_unlock(rpc_lock_record* lock) { LeaveCriticalSection(&lock->section); }

std::int32_t rpc_socket_errno() { return WSAGetLastError(); }

rpc_socket rpc_socket_open(rpc_socket_type type, rpc_protocol protocol) {
  return static_cast<rpc_socket>(socket(AF_INET, type, protocol));
}

std::int32_t rpc_socket_connect(rpc_socket sock, const rpc_address* address) {
  return connect(as_socket(sock), as_sockaddr(address), sizeof *address);
}

std::int32_t rpc_socket_set_nonblocking(rpc_socket sock) {
  u_long on = 1;
  return ioctlsocket(as_socket(sock), static_cast<long>(FIONBIO), &on);
}

std::int32_t rpc_socket_close(rpc_socket sock) { return closesocket(as_socket(sock)); }

// select's count has no meaning here; a set is a list of sockets, whatever their values.
std::int32_t rpc_socket_wait(rpc_socket sock, std::int64_t deadline) {
  for (;;) {
    if (rpc_interrupt_wanted()) {
      WSASetLastError(RPC_EINTERRUPTED);
      return -1;
    }
    fd_set readable;
    readable.fd_count = 1;
    readable.fd_array[0] = as_socket(sock);
    timeval slice = next_slice(deadline);
    const int ready = select(0, &readable, nullptr, nullptr, &slice);
    if (ready != 0) return ready;
    if (rpc_clock() >= deadline) return 0;
  }
}

std::int32_t rpc_socket_send(rpc_socket sock, const char* bytes, std::int32_t length) {
  return send(as_socket(sock), bytes, length, 0);
}

std::int32_t rpc_socket_recv(rpc_socket sock, char* bytes, std::int32_t length) {
  return recv(as_socket(sock), bytes, length, 0);
}

std::int32_t rpc_socket_sendto(rpc_socket sock, const char* bytes, std::int32_t length,
                               const rpc_address* address) {
  return sendto(as_socket(sock), bytes, length, 0, as_sockaddr(address), sizeof *address);
}

std::int32_t rpc_socket_recvfrom(rpc_socket sock, char* bytes, std::int32_t length,
                                 rpc_address* address) {
  int size = sizeof *address;
  return recvfrom(as_socket(sock), bytes, length, 0, as_sockaddr(address), &size);
}

std::int32_t rpc_resolve(const char* host, rpc_address* address) {
  const hostent* found = gethostbyname(host);
  if (found == nullptr) return RPC_UNKNOWNHOST;
  if (found->h_addrtype != AF_INET) return RPC_SYSTEMERROR;
  *address = {};
  address->family = RPC_IPV4;
  std::memcpy(&address->host, found->h_addr_list[0], sizeof address->host);
  return 0;
}

std::int32_t rpc_protocol_number(const char* name) {
  const protoent* protocol = getprotobyname(name);
  return protocol == nullptr ? -1 : protocol->p_proto;
}

// From the process and not from the C runtime, which need not be the interpreter's. The variable
// may change between the question for its size and the copy; then both are done again.
char* rpc_environment(const char* name) {
  char* copy = nullptr;
  DWORD capacity = 0;
  for (;;) {
    SetLastError(ERROR_SUCCESS);
    const DWORD needed = GetEnvironmentVariableA(name, copy, capacity);
    if (needed == 0 && GetLastError() == ERROR_ENVVAR_NOT_FOUND) break;
    if (copy != nullptr && needed < capacity) {
      std::memset(copy + needed, 0, 2);
      return copy;
    }
    std::free(copy);
    capacity = needed + 1;
    copy = static_cast<char*>(std::malloc(capacity + 1));
    if (copy == nullptr) {
      errno = ENOMEM;
      return nullptr;
    }
  }
  std::free(copy);
  errno = 0;
  return nullptr;
}

std::uint32_t rpc_process_id() { return GetCurrentProcessId(); }
std::uint32_t rpc_time_seconds() { return static_cast<std::uint32_t>(std::time(nullptr)); }

bool rpc_use_large_pages(void*, std::size_t) { return false; }  // they take a privilege there

const bool rpc_cut_blocks_shrink = false;

std::int64_t rpc_clock() {
  static const std::int64_t frequency = performance_counter(QueryPerformanceFrequency);
  const std::int64_t count = performance_counter(QueryPerformanceCounter);
  return count / frequency * 1000000 + count % frequency * 1000000 / frequency;
}

}  // namespace kvrpc
