// Scripted servers on loopback for the transports' tests: raw sockets on ephemeral ports, one
// thread each, and the words of RPC messages. Every wait of a peer ends after ten seconds, and the
// peer's thread takes no signals, so that timers of a test hit the client.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "rpc/rpc_os.h"
#include "support/signal_storm.h"
#include "support/sockets.h"

namespace kvrpc::test {

// ---- bytes

inline std::string words(std::initializer_list<std::uint32_t> values) {
  std::string word;
  for (const std::uint32_t value : values) {
    for (int shift = 24; shift >= 0; shift -= 8) word += static_cast<char>(value >> shift & 0xFF);
  }
  return word;
}

inline std::uint32_t word_at(const std::string& data, std::size_t offset) {
  if (offset + 4 > data.size()) return 0;
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < 4; ++i) {
    value = value << 8 | static_cast<unsigned char>(data[offset + i]);
  }
  return value;
}

// A reply that carries `results` to the call with these first bytes.
inline std::string success(const std::string& call, const std::string& results) {
  return call.substr(0, 4) + words({1, 0, 0, 0, 0}) + results;
}

inline std::string fragment(const std::string& data, bool last) {
  const auto length = static_cast<std::uint32_t>(data.size());
  return words({last ? length | 0x80000000u : length}) + data;
}

// ---- sockets

class descriptor {
 public:
  explicit descriptor(int number = -1) : number_(number) {}
  ~descriptor() { close(); }
  descriptor(descriptor&& other) noexcept : number_(other.number_) { other.number_ = -1; }
  descriptor& operator=(descriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  int get() const { return number_; }
  void close() {
    if (number_ >= 0) close_socket(number_);
    number_ = -1;
  }
  // Closes with a reset instead of an orderly end.
  void reset() {
    const linger at_once = {1, 0};
    set_option(number_, SO_LINGER, &at_once, sizeof at_once);
    close();
  }

 private:
  int number_;
};

inline rpc_address loopback(std::uint16_t port, const char* host = "127.0.0.1") {
  rpc_address address = {};
  address.family = RPC_IPV4;
  address.port = rpc_network_order(port);
  address.host = inet_addr(host);
  return address;
}

// Returns a socket bound to `port` of `host`, or -1 if it cannot be bound. Port 0 means any port.
inline int bound_socket(int type, std::uint16_t port = 0, const char* host = "127.0.0.1") {
  const int sock = socket(AF_INET, type, 0);
  const int on = 1;
  if (type == SOCK_STREAM) set_option(sock, SO_REUSEADDR, &on, sizeof on);
  const rpc_address address = loopback(port, host);
  limit_waits(sock);
  if (bind(sock, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
      (type != SOCK_STREAM || listen(sock, 16) == 0)) {
    return sock;
  }
  close_socket(sock);
  return -1;
}

inline std::uint16_t port_of(int sock) {
  sockaddr_in address = {};
  socklen_t size = sizeof address;
  getsockname(sock, reinterpret_cast<sockaddr*>(&address), &size);
  return ntohs(address.sin_port);
}

inline bool read_exactly(int sock, char* place, std::size_t length) {
  while (length > 0) {
    const ssize_t got = recv(sock, place, length, 0);
    if (got <= 0) return false;
    place += got;
    length -= static_cast<std::size_t>(got);
  }
  return true;
}

// Returns the data of the next record, or an empty text at the end of the stream. Stores the
// fragments' lengths in `lengths`.
inline std::string read_record(int sock, std::vector<std::uint32_t>* lengths = nullptr) {
  std::string record;
  for (bool last = false; !last;) {
    std::string mark(4, '\0');
    if (!read_exactly(sock, mark.data(), 4)) return "";
    last = (word_at(mark, 0) & 0x80000000u) != 0;
    const std::uint32_t length = word_at(mark, 0) & 0x7FFFFFFFu;
    if (lengths != nullptr) lengths->push_back(length);
    std::string data(length, '\0');
    if (!read_exactly(sock, data.data(), length)) return "";
    record += data;
  }
  return record;
}

inline void write_bytes(int sock, const std::string& data) {
  send(sock, data.data(), data.size(), MSG_NOSIGNAL);
}

inline void write_record(int sock, const std::string& data) {
  write_bytes(sock, fragment(data, true));
}

inline void sleep_milliseconds(int milliseconds) {
  std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

// ---- peers

// Runs a script in a thread that takes no signals; the destructor waits for its end.
class script_thread {
 public:
  explicit script_thread(std::function<void()> script)
      : thread_(thread_without_signals(std::move(script))) {}
  ~script_thread() { join(); }
  void join() {
    if (thread_.joinable()) thread_.join();
  }

 private:
  std::thread thread_;
};

// Accepts one connection and hands it to the script.
class tcp_peer {
 public:
  explicit tcp_peer(std::function<void(descriptor&)> script, const char* host = "127.0.0.1",
                    std::uint16_t port = 0)
      : listener_(bound_socket(SOCK_STREAM, port, host)), thread_([this, script] {
          descriptor connection(accept(listener_.get(), nullptr, nullptr));
          if (connection.get() < 0) return;
          limit_waits(connection.get());
          script(connection);
        }) {}
  std::uint16_t port() const { return port_of(listener_.get()); }
  void join() { thread_.join(); }

 private:
  descriptor listener_;
  script_thread thread_;
};

struct datagram {
  std::string data;
  sockaddr_in sender;
};

// A datagram socket for the script, which gets it bound.
class udp_peer {
 public:
  explicit udp_peer(std::function<void(int sock)> script, const char* host = "127.0.0.1",
                    std::uint16_t port = 0)
      : socket_(bound_socket(SOCK_DGRAM, port, host)),
        thread_([this, script] { script(socket_.get()); }) {}
  std::uint16_t port() const { return port_of(socket_.get()); }
  void join() { thread_.join(); }

 private:
  descriptor socket_;
  script_thread thread_;
};

// Returns the next datagram, or an empty text if none comes within the time.
inline datagram receive(int sock, int milliseconds = 10000) {
  datagram got = {std::string(65536, '\0'), {}};
  if (!readable(sock, milliseconds)) return {"", {}};
  socklen_t size = sizeof got.sender;
  const ssize_t length = recvfrom(sock, got.data.data(), got.data.size(), 0,
                                  reinterpret_cast<sockaddr*>(&got.sender), &size);
  got.data.resize(length < 0 ? 0 : static_cast<std::size_t>(length));
  return got;
}

inline void answer(int sock, const datagram& to, const std::string& data) {
  sendto(sock, data.data(), data.size(), 0, reinterpret_cast<const sockaddr*>(&to.sender),
         sizeof to.sender);
}

// ---- the process around the client

// Sets an environment variable, or removes it, until the end of the scope.
class environment_guard {
 public:
  environment_guard(const char* name, const char* value)
      : name_(name), before_(get_environment(name)) {
    set_environment(name, value);
  }
  ~environment_guard() { set_environment(name_, before_.first ? before_.second.c_str() : nullptr); }
  environment_guard(const environment_guard&) = delete;
  environment_guard& operator=(const environment_guard&) = delete;

 private:
  const char* name_;
  std::pair<bool, std::string> before_;
};

// Installs an interrupt hook until the end of the scope.
class hook_guard {
 public:
  explicit hook_guard(int (*hook)()) { rpc_set_interrupt_hook(hook); }
  ~hook_guard() { rpc_set_interrupt_hook(nullptr); }
  hook_guard(const hook_guard&) = delete;
  hook_guard& operator=(const hook_guard&) = delete;
};

constexpr rpc_timeval milliseconds(std::int32_t count) {
  return {count / 1000, count % 1000 * 1000};
}

class stopwatch {
 public:
  std::int64_t milliseconds() const { return (rpc_clock() - start_) / 1000; }

 private:
  std::int64_t start_ = rpc_clock();
};

}  // namespace kvrpc::test
