// The socket calls on Windows, Winsock 1.1 only. Each is one call; the waits are in
// rpc_os_waits.cpp. A stream socket stays non-blocking after its connection, because a blocking
// send cannot be ended by Ctrl-C. No socket option is set.

#include <windows.h>
#undef TRUE
#undef FALSE

#include <cstddef>
#include <cstdio>

#include "rpc/rpc_os.h"
#include "rpc/rpc_os_platform.h"

namespace kvrpc {

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

fd_set only(rpc_socket sock) {
  fd_set set;
  set.fd_count = 1;
  set.fd_array[0] = as_socket(sock);
  return set;
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

std::int32_t rpc_socket_errno() { return WSAGetLastError(); }
void rpc_set_socket_errno(std::int32_t number) { WSASetLastError(number); }

// Child processes must not inherit the socket: they would keep the connection open.
rpc_socket rpc_socket_open(rpc_socket_type type, rpc_protocol protocol) {
  const SOCKET sock = socket(AF_INET, type, protocol);
  if (sock != INVALID_SOCKET) {
    SetHandleInformation(reinterpret_cast<HANDLE>(sock), HANDLE_FLAG_INHERIT, 0);
  }
  return static_cast<rpc_socket>(sock);
}

std::int32_t rpc_socket_close(rpc_socket sock) { return closesocket(as_socket(sock)); }

std::int32_t rpc_socket_set_nonblocking(rpc_socket sock) {
  u_long on = 1;
  return ioctlsocket(as_socket(sock), static_cast<long>(FIONBIO), &on);
}

std::int32_t rpc_begin_connect(rpc_socket sock, const rpc_address* address) {
  if (connect(as_socket(sock), as_sockaddr(address), sizeof *address) == 0) return 0;
  const int error = WSAGetLastError();
  return error == WSAEWOULDBLOCK || error == WSAEALREADY ? 1 : -1;
}

std::int32_t rpc_connect_error(rpc_socket sock) {
  int error = 0;
  int size = sizeof error;
  if (getsockopt(as_socket(sock), SOL_SOCKET, SO_ERROR, reinterpret_cast<char*>(&error), &size) !=
      0) {
    return -1;
  }
  if (error != 0) WSASetLastError(error);
  return error == 0 ? 0 : -1;
}

void rpc_end_connect(rpc_socket) {}

// select's count has no meaning here: a set is a list of sockets, whatever their values. A
// connection that failed is reported in the third set.
std::int32_t rpc_poll_socket(rpc_socket sock, rpc_direction direction, std::int64_t microseconds) {
  const bool input = direction == rpc_direction::input;
  fd_set ready = only(sock);
  fd_set failed = only(sock);
  timeval time;
  time.tv_sec = 0;
  time.tv_usec = static_cast<decltype(time.tv_usec)>(microseconds);
  return select(0, input ? &ready : nullptr, input ? nullptr : &ready, input ? nullptr : &failed,
                &time);
}

bool rpc_socket_wait_in_receive(rpc_socket) { return false; }

std::int32_t rpc_try_recv(rpc_socket sock, char* bytes, std::int32_t length, bool) {
  return recv(as_socket(sock), bytes, length, 0);
}

std::int32_t rpc_try_send(rpc_socket sock, const char* bytes, std::int32_t length) {
  return send(as_socket(sock), bytes, length, 0);
}

std::int32_t rpc_try_sendto(rpc_socket sock, const char* bytes, std::int32_t length,
                            const rpc_address* address) {
  return sendto(as_socket(sock), bytes, length, 0, as_sockaddr(address), sizeof *address);
}

std::int32_t rpc_socket_recvfrom(rpc_socket sock, char* bytes, std::int32_t length,
                                 rpc_address* address) {
  int size = sizeof *address;
  return recvfrom(as_socket(sock), bytes, length, 0, as_sockaddr(address), &size);
}

}  // namespace kvrpc
