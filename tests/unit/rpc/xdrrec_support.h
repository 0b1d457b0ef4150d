// A scripted other end for record streams: it records what is written and supplies the bytes that a
// test has set.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "rpc/xdr_support.h"
#include "rpc/xdrrec.h"

namespace kvrpc::test {

struct connection {
  std::vector<bytes> sends;  // each call of the output function, failed ones included
  int failing_sends = 0;     // how many of the next sends fail
  bytes input;
  std::size_t taken = 0;
  std::size_t piece = SIZE_MAX;            // the most that one read gives
  std::vector<std::int32_t> read_lengths;  // what each read was asked for
};

inline std::int32_t write_connection(void* handle, char* data, std::int32_t length) {
  auto* other = static_cast<connection*>(handle);
  other->sends.emplace_back(data, data + length);
  if (other->failing_sends == 0) return length;
  --other->failing_sends;
  return -1;
}

inline std::int32_t read_connection(void* handle, char* data, std::int32_t length) {
  auto* other = static_cast<connection*>(handle);
  other->read_lengths.push_back(length);
  const std::size_t given = std::min(
      {static_cast<std::size_t>(length), other->piece, other->input.size() - other->taken});
  if (given == 0) return -1;
  std::memcpy(data, other->input.data() + other->taken, given);
  other->taken += given;
  return static_cast<std::int32_t>(given);
}

class record_stream {
 public:
  explicit record_stream(xdr_op op, std::uint32_t send_size = 0, std::uint32_t receive_size = 0) {
    xdrrec_create(&xdrs, send_size, receive_size, &other, read_connection, write_connection);
    xdrs.x_op = op;
  }
  ~record_stream() { XDR_DESTROY(&xdrs); }
  record_stream(const record_stream&) = delete;
  record_stream& operator=(const record_stream&) = delete;

  bool_t put(std::int32_t value) { return XDR_PUTLONG(&xdrs, &value); }
  bool_t put(const bytes& data) {
    return XDR_PUTBYTES(&xdrs, data.data(), static_cast<std::uint32_t>(data.size()));
  }

  connection other;
  XDR xdrs{};
};

inline bytes header(std::uint32_t length, bool last) {
  bytes result(4);
  xdr_store_unit(result.data(), length | (last ? 0x80000000u : 0));
  return result;
}

inline bytes fragment(const bytes& data, bool last) {
  bytes result = header(static_cast<std::uint32_t>(data.size()), last);
  result.insert(result.end(), data.begin(), data.end());
  return result;
}

inline bytes operator+(bytes left, const bytes& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

// Bytes that differ from their neighbours near and far.
inline bytes pattern(std::size_t size) {
  bytes result(size);
  for (std::size_t i = 0; i < size; ++i) result[i] = static_cast<char>(i * 7 + i / 251 + 1);
  return result;
}

}  // namespace kvrpc::test
