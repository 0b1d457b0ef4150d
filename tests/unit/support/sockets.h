// The operating system as the tests need it, under the same names on both platforms: the socket
// calls, the environment, and a few things that differ in more than their names. On Windows the
// socket layer is started before main.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <functional>
#include <string>
#include <thread>
#include <utility>

#ifdef _WIN32
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <winsock2.h>
#include <ws2tcpip.h>
// Must follow the headers of the socket layer:
#include <windows.h>
#undef TRUE
#undef FALSE
#else
#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/time.h>
#endif
#include <unistd.h>

namespace kvrpc::test {

#ifdef _WIN32

constexpr int MSG_NOSIGNAL = 0;

struct started_sockets {
  started_sockets() {
    WSADATA data;
    WSAStartup(MAKEWORD(2, 2), &data);
  }
};
inline const started_sockets sockets_are_started;

// What gethostbyname makes of the empty name.
constexpr bool empty_name_is_this_host = true;

inline int close_socket(int sock) { return closesocket(static_cast<SOCKET>(sock)); }

// The environment of the process, as a script's os.environ sets it; nullptr removes.
inline void set_environment(const char* name, const char* value) {
  SetEnvironmentVariableA(name, value);
}

inline std::pair<bool, std::string> get_environment(const char* name) {
  char value[1000];
  SetLastError(ERROR_SUCCESS);
  const DWORD length = GetEnvironmentVariableA(name, value, sizeof value);
  if (length == 0 && GetLastError() == ERROR_ENVVAR_NOT_FOUND) return {false, ""};
  return {true, std::string(value, length)};
}

// Returns true if something can be read within the time. The end of a stream counts.
inline bool readable(int sock, int milliseconds) {
  WSAPOLLFD entry = {static_cast<SOCKET>(sock), POLLIN, 0};
  return WSAPoll(&entry, 1, milliseconds) > 0;
}

inline void set_option(int sock, int option, const void* value, int size) {
  setsockopt(static_cast<SOCKET>(sock), SOL_SOCKET, option, static_cast<const char*>(value), size);
}

inline bool is_open(int sock) {
  int type;
  int size = sizeof type;
  return getsockopt(static_cast<SOCKET>(sock), SOL_SOCKET, SO_TYPE, reinterpret_cast<char*>(&type),
                    &size) == 0;
}

// No wait of a socket goes on for longer.
inline void limit_waits(int sock) {
  const DWORD ten_seconds = 10000;
  set_option(sock, SO_RCVTIMEO, &ten_seconds, sizeof ten_seconds);
  set_option(sock, SO_SNDTIMEO, &ten_seconds, sizeof ten_seconds);
}

inline std::thread thread_without_signals(std::function<void()> script) {
  return std::thread(std::move(script));
}

#else

constexpr bool empty_name_is_this_host = false;

inline int close_socket(int sock) { return close(sock); }

inline void set_environment(const char* name, const char* value) {
  value != nullptr ? setenv(name, value, 1) : unsetenv(name);
}

inline std::pair<bool, std::string> get_environment(const char* name) {
  const char* value = std::getenv(name);
  return {value != nullptr, value != nullptr ? value : ""};
}

inline bool readable(int sock, int milliseconds) {
  pollfd entry = {sock, POLLIN, 0};
  return poll(&entry, 1, milliseconds) > 0;
}

inline void set_option(int sock, int option, const void* value, socklen_t size) {
  setsockopt(sock, SOL_SOCKET, option, value, size);
}

inline bool is_open(int sock) {
  int type;
  socklen_t size = sizeof type;
  return getsockopt(sock, SOL_SOCKET, SO_TYPE, &type, &size) == 0;
}

inline void limit_waits(int sock) {
  const timeval ten_seconds = {10, 0};
  set_option(sock, SO_RCVTIMEO, &ten_seconds, sizeof ten_seconds);
  set_option(sock, SO_SNDTIMEO, &ten_seconds, sizeof ten_seconds);
}

inline std::thread thread_without_signals(std::function<void()> script) {
  sigset_t all, before;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  std::thread thread(std::move(script));
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  return thread;
}

#endif

}  // namespace kvrpc::test
