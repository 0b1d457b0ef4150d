// The record stream as a whole: its creation, its end and its table of operations. Output and input
// are in xdrrec_output.cpp and xdrrec_input.cpp.

#include "rpc/xdrrec.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "rpc/rpc_os.h"
#include "rpc/xdrrec_stream.h"

namespace kvrpc {

namespace {

constexpr std::uint32_t smallest_size = 100;
constexpr std::uint32_t default_size = 4000;
// The callbacks count in signed 32 bits.
constexpr std::uint32_t largest_size = 0x7FFFFFFCu;

// Returns no position: it would be that of a file descriptor, and `tcp_handle` is none.
std::uint32_t xdrrec_getpos(XDR*) { return 0xFFFFFFFFu; }
bool_t xdrrec_setpos(XDR*, std::uint32_t) { return FALSE; }

char* xdrrec_inline(XDR* xdrs, std::int32_t length) {
  if (length < 0) return nullptr;
  if (xdrs->x_op == XDR_ENCODE) return inline_output(stream_of(xdrs), length);
  if (xdrs->x_op == XDR_DECODE) return inline_input(stream_of(xdrs), length);
  return nullptr;
}

void xdrrec_destroy(XDR* xdrs) {
  RECSTREAM* stream = stream_of(xdrs);
  release_output(stream);
  std::free(stream->the_buffer);
  std::free(stream);
}

constexpr xdr_ops xdrrec = {
    xdrrec_getlong, xdrrec_putlong, xdrrec_getbytes, xdrrec_putbytes,
    xdrrec_getpos,  xdrrec_setpos,  xdrrec_inline,   xdrrec_destroy,
};

// A stream for which there was no memory.
constexpr xdr_ops xdrrec_broken = {
    [](XDR*, std::int32_t*) { return FALSE; },
    [](XDR*, const std::int32_t*) { return FALSE; },
    [](XDR*, char*, std::uint32_t) { return FALSE; },
    [](XDR*, const char*, std::uint32_t) { return FALSE; },
    xdrrec_getpos,
    xdrrec_setpos,
    [](XDR*, std::int32_t) -> char* { return nullptr; },
    [](XDR*) {},
};

std::uint32_t adjusted_size(std::uint32_t size) {
  if (size < smallest_size) return default_size;
  return size > largest_size ? size : (size + 3) / 4 * 4;
}

// Returns a stream with its buffers, or null if memory is out or a size is above largest_size.
RECSTREAM* allocate_stream(std::uint32_t sendsize, std::uint32_t recvsize) {
  const std::uint64_t bytes = std::uint64_t{sendsize} + recvsize + 4;
  if (sendsize > largest_size || recvsize > largest_size || bytes > SIZE_MAX) return nullptr;
  auto* stream = static_cast<RECSTREAM*>(std::calloc(1, sizeof(RECSTREAM)));
  if (stream == nullptr) return nullptr;
  stream->the_buffer = static_cast<char*>(std::malloc(static_cast<std::size_t>(bytes)));
  if (stream->the_buffer == nullptr) {
    std::free(stream);
    return nullptr;
  }
  stream->sendsize = sendsize;
  stream->recvsize = recvsize;
  return stream;
}

}  // namespace

void xdrrec_create(XDR* xdrs, std::uint32_t send_size, std::uint32_t receive_size, void* tcp_handle,
                   xdrrec_io readit, xdrrec_io writeit) {
  RECSTREAM* stream = allocate_stream(adjusted_size(send_size), adjusted_size(receive_size));
  xdrs->x_private = static_cast<char*>(static_cast<void*>(stream));
  if (stream == nullptr) {
    rpc_write_error("xdrrec_create: out of memory\n");
    xdrs->x_ops = &xdrrec_broken;
    return;
  }
  stream->tcp_handle = tcp_handle;
  stream->readit = readit;
  stream->writeit = writeit;
  start_output(stream);
  start_input(stream);
  xdrs->x_ops = &xdrrec;
}

}  // namespace kvrpc
