// The floor under a call: a server that answers with prepared bytes, and a client that sends and
// receives the same bytes as a real call and decodes nothing.
//
//   bench_floor serve RESULTS [SIZE]
//     Answers every call with the results in the file RESULTS, in fragments of at most SIZE bytes,
//     marks included, or in one. Prints its port and the size of a reply record. Ends when its
//     standard input does.
//   bench_floor call PORT CALL REPLY
//     Reads numbers of calls from standard input. For each, prints the nanoseconds that so many
//     calls took. CALL is the file of one call record in hex, marks included, which is sent in one
//     piece. REPLY is the size of a reply record.
//
// RESULTS holds pieces in hex, each followed by `*COUNT` if it occurs more than once, for example
// "00000001 000000050000000a*1000 00000000".
//
// The server's sockets use the congestion control `reno`, because a default that paces what it
// sends (bbr) gives long replies two speeds, and which one a run gets is chance. Loopback only.
// bench/calls.py drives both.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace {

using bytes = std::vector<unsigned char>;

constexpr std::size_t mark_size = 4;
constexpr std::uint32_t last_fragment = 0x80000000u;
constexpr std::size_t reply_header_size = 24;
constexpr std::size_t receive_size = 256 * 1024;
constexpr std::size_t one_fragment = last_fragment;  // no fragment is longer

[[noreturn]] void fail(const char* what) {
  std::perror(what);
  std::exit(1);
}

bytes from_hex(const std::string& text) {
  bytes out;
  for (std::size_t i = 0; i + 1 < text.size(); i += 2) {
    out.push_back(static_cast<unsigned char>(std::stoi(text.substr(i, 2), nullptr, 16)));
  }
  return out;
}

std::vector<std::string> lines_of(const char* path) {
  std::ifstream file(path);
  std::vector<std::string> lines;
  for (std::string line; std::getline(file, line);) lines.push_back(line);
  return lines;
}

std::uint32_t unit_at(const unsigned char* place) {
  std::uint32_t unit;
  std::memcpy(&unit, place, sizeof unit);
  return ntohl(unit);
}

void put_unit(unsigned char* place, std::uint32_t value) {
  const std::uint32_t unit = htonl(value);
  std::memcpy(place, &unit, sizeof unit);
}

void send_all(int sock, const bytes& record) {
  for (std::size_t sent = 0; sent < record.size();) {
    const ssize_t part = send(sock, record.data() + sent, record.size() - sent, MSG_NOSIGNAL);
    if (part <= 0) fail("send");
    sent += static_cast<std::size_t>(part);
  }
}

// Reads pieces of hex, "HEX" or "HEX*COUNT", from a file.
bytes results_of(const char* path) {
  std::istringstream pieces(lines_of(path).at(0));
  bytes results;
  for (std::string piece; pieces >> piece;) {
    const std::size_t star = piece.find('*');
    const bytes once = from_hex(piece.substr(0, star));
    const long count = star == std::string::npos ? 1 : std::stol(piece.substr(star + 1));
    for (long i = 0; i < count; ++i) results.insert(results.end(), once.begin(), once.end());
  }
  return results;
}

// Makes the reply record of the results: accepted, no verifier, success. Its fragments have at most
// `size` bytes, marks included.
bytes reply_record(const bytes& results, std::size_t size) {
  bytes body(reply_header_size, 0);
  put_unit(body.data() + 4, 1);
  body.insert(body.end(), results.begin(), results.end());
  bytes record;
  for (std::size_t at = 0; at < body.size();) {
    const std::size_t part = std::min(size - mark_size, body.size() - at);
    const bool last = at + part == body.size();
    unsigned char mark[mark_size];
    put_unit(mark, static_cast<std::uint32_t>(part) | (last ? last_fragment : 0));
    record.insert(record.end(), mark, mark + mark_size);
    record.insert(record.end(), body.data() + at, body.data() + at + part);
    at += part;
  }
  return record;
}

// Reads one call record with its marks, the first bytes of which go to `call`. Returns false at the
// end of the connection.
bool read_call(int sock, bytes& call) {
  std::size_t got = 0;
  std::size_t mark = 0;  // where the next fragment's mark is
  for (bool last = false; !last || got < mark;) {
    if (call.size() == got) call.resize(2 * got);
    const ssize_t part = recv(sock, call.data() + got, call.size() - got, 0);
    if (part <= 0) return false;
    for (got += static_cast<std::size_t>(part); !last && mark + mark_size <= got;) {
      const std::uint32_t header = unit_at(call.data() + mark);
      last = (header & last_fragment) != 0;
      mark += mark_size + (header & ~last_fragment);
    }
  }
  if (got != mark) fail("two calls at once");
  return true;
}

void serve_connection(int sock, bytes reply) {
  bytes call(receive_size);
  while (read_call(sock, call)) {
    std::memcpy(reply.data() + mark_size, call.data() + mark_size, 4);
    send_all(sock, reply);
  }
}

// Accepted connections inherit the choice.
void use_reno(int sock) {
  static const char name[] = "reno";
  if (setsockopt(sock, IPPROTO_TCP, TCP_CONGESTION, name, sizeof name - 1) != 0) fail("reno");
}

int listen_on_loopback() {
  const int sock = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  auto* any = reinterpret_cast<sockaddr*>(&address);
  use_reno(sock);
  if (bind(sock, any, sizeof address) != 0 || listen(sock, 8) != 0) fail("listen");
  return sock;
}

int port_of(int sock) {
  sockaddr_in address{};
  socklen_t size = sizeof address;
  if (getsockname(sock, reinterpret_cast<sockaddr*>(&address), &size) != 0) fail("getsockname");
  return ntohs(address.sin_port);
}

// One process a connection, until standard input ends.
int serve(const char* path, std::size_t fragment) {
  const bytes reply = reply_record(results_of(path), fragment);
  const int listener = listen_on_loopback();
  std::printf("%d %zu\n", port_of(listener), reply.size());
  std::fflush(stdout);
  pollfd waits[] = {{STDIN_FILENO, POLLIN, 0}, {listener, POLLIN, 0}};
  while (poll(waits, 2, -1) > 0 && waits[0].revents == 0) {
    const int sock = accept(listener, nullptr, nullptr);
    const pid_t child = fork();
    if (child == 0) {
      serve_connection(sock, reply);
      _exit(0);
    }
    close(sock);
  }
  return 0;
}

void call_once(int sock, bytes& call, bytes& room, std::size_t reply_size, std::uint32_t id) {
  put_unit(call.data() + mark_size, id);
  send_all(sock, call);
  for (std::size_t got = 0; got < reply_size;) {
    pollfd wait = {sock, POLLIN, 0};
    if (poll(&wait, 1, 25000) != 1) fail("poll");
    const ssize_t part = recv(sock, room.data(), room.size(), 0);
    if (part <= 0) fail("recv");
    got += static_cast<std::size_t>(part);
  }
}

int call(const char* port, const char* call_path, const char* reply_size_text) {
  const int sock = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(std::atoi(port)));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (connect(sock, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) fail("connect");
  bytes record = from_hex(lines_of(call_path).at(0));
  bytes room(receive_size);
  const auto reply_size = static_cast<std::size_t>(std::atoll(reply_size_text));
  std::uint32_t id = 0;
  for (int count = 0; std::scanf("%d", &count) == 1;) {
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < count; ++i) call_once(sock, record, room, reply_size, ++id);
    const auto took = std::chrono::steady_clock::now() - start;
    std::printf("%lld\n", static_cast<long long>(
                              std::chrono::duration_cast<std::chrono::nanoseconds>(took).count()));
    std::fflush(stdout);
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 3 && std::strcmp(argv[1], "serve") == 0) return serve(argv[2], one_fragment);
  if (argc == 4 && std::strcmp(argv[1], "serve") == 0) {
    return serve(argv[2], static_cast<std::size_t>(std::atol(argv[3])));
  }
  if (argc == 5 && std::strcmp(argv[1], "call") == 0) return call(argv[2], argv[3], argv[4]);
  std::puts("bench_floor: driven by bench/calls.py");
  return 0;
}
