#include "rpc/xdrrec.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace kvrpc {
namespace {

constexpr std::uint32_t LAST_FRAG = 0x80000000u;
constexpr std::uint32_t header_bytes = 4;
constexpr std::uint32_t smallest_size = 100;
constexpr std::uint32_t default_size = 4000;
// The callbacks count in signed 32 bits.
constexpr std::uint32_t largest_size = 0x7FFFFFFCu;

struct RECSTREAM {
  void* tcp_handle;
  char* the_buffer;  // both buffers, output first

  xdrrec_io writeit;
  char* out_base;
  char* out_finger;   // next free byte
  char* out_boundry;  // end of the buffer
  char* frag_header;  // where the header of the fragment being built goes
  bool_t frag_sent;   // a fragment of this record left because the buffer was full

  xdrrec_io readit;
  std::uint32_t in_size;
  char* in_base;
  char* in_finger;     // next unread byte
  char* in_boundry;    // end of what was read
  std::int32_t fbtbc;  // fragment bytes to be consumed
  bool_t last_frag;    // the current fragment is the last of its record

  std::uint32_t sendsize;
  std::uint32_t recvsize;
};

// Null for a stream that could not be created.
RECSTREAM* stream_of(XDR* xdrs) {
  return static_cast<RECSTREAM*>(static_cast<void*>(xdrs->x_private));
}

// ---- output

void put_header(RECSTREAM* stream, std::uint32_t last) {
  const auto length =
      static_cast<std::uint32_t>(stream->out_finger - stream->frag_header) - header_bytes;
  xdr_store_unit(stream->frag_header, length | last);
}

bool_t flush_out(RECSTREAM* stream, bool_t end_of_record) {
  put_header(stream, end_of_record ? LAST_FRAG : 0);
  const auto length = static_cast<std::int32_t>(stream->out_finger - stream->out_base);
  if (stream->writeit(stream->tcp_handle, stream->out_base, length) != length) return FALSE;
  stream->frag_header = stream->out_base;
  stream->out_finger = stream->out_base + header_bytes;
  return TRUE;
}

// The buffer is full in the middle of a record.
bool_t flush_fragment(RECSTREAM* stream) {
  stream->frag_sent = TRUE;
  return flush_out(stream, FALSE);
}

bool_t xdrrec_putlong(XDR* xdrs, const std::int32_t* value) {
  RECSTREAM* stream = stream_of(xdrs);
  if (stream->out_boundry - stream->out_finger < 4 && !flush_fragment(stream)) return FALSE;
  xdr_store_unit(stream->out_finger, static_cast<std::uint32_t>(*value));
  stream->out_finger += 4;
  return TRUE;
}

bool_t xdrrec_putbytes(XDR* xdrs, const char* source, std::uint32_t length) {
  RECSTREAM* stream = stream_of(xdrs);
  while (length > 0) {
    const auto room = static_cast<std::uint32_t>(stream->out_boundry - stream->out_finger);
    const std::uint32_t piece = std::min(length, room);
    std::memcpy(stream->out_finger, source, piece);
    stream->out_finger += piece;
    source += piece;
    length -= piece;
    if (stream->out_finger == stream->out_boundry && !flush_fragment(stream)) return FALSE;
  }
  return TRUE;
}

// ---- input

std::uint32_t buffered(const RECSTREAM* stream) {
  return static_cast<std::uint32_t>(stream->in_boundry - stream->in_finger);
}

// Starts at the alignment at which the last piece ended, so that units stay aligned.
bool_t fill_input_buf(RECSTREAM* stream) {
  const auto ended = static_cast<std::uint32_t>(stream->in_boundry - stream->in_base) % 4;
  char* start = stream->in_base + ended;
  const auto room = static_cast<std::int32_t>(stream->in_size - ended);
  const std::int32_t length = stream->readit(stream->tcp_handle, start, room);
  if (length <= 0) return FALSE;
  stream->in_finger = start;
  stream->in_boundry = start + length;
  return TRUE;
}

// Takes `length` bytes of the connection, fragment headers included; a null destination skips.
bool_t take_input_bytes(RECSTREAM* stream, char* destination, std::uint32_t length) {
  while (length > 0) {
    if (buffered(stream) == 0) {
      if (!fill_input_buf(stream)) return FALSE;
      continue;
    }
    const std::uint32_t piece = std::min(length, buffered(stream));
    if (destination != nullptr) {
      std::memcpy(destination, stream->in_finger, piece);
      destination += piece;
    }
    stream->in_finger += piece;
    length -= piece;
  }
  return TRUE;
}

bool_t get_input_bytes(RECSTREAM* stream, char* destination, std::uint32_t length) {
  return take_input_bytes(stream, destination, length);
}

bool_t skip_input_bytes(RECSTREAM* stream, std::uint32_t length) {
  return take_input_bytes(stream, nullptr, length);
}

bool_t set_input_fragment(RECSTREAM* stream) {
  char bytes[header_bytes];
  if (!get_input_bytes(stream, bytes, header_bytes)) return FALSE;
  const std::uint32_t header = xdr_load_unit(bytes);
  stream->last_frag = (header & LAST_FRAG) != 0 ? TRUE : FALSE;
  stream->fbtbc = static_cast<std::int32_t>(header & ~LAST_FRAG);
  return TRUE;
}

// The rest of the record, up to the end of its last fragment. A fragment counts as unread until
// all of it was skipped.
bool_t skip_to_end(RECSTREAM* stream) {
  while (stream->fbtbc > 0 || !stream->last_frag) {
    if (!skip_input_bytes(stream, static_cast<std::uint32_t>(stream->fbtbc))) return FALSE;
    stream->fbtbc = 0;
    if (!stream->last_frag && !set_input_fragment(stream)) return FALSE;
  }
  return TRUE;
}

bool_t xdrrec_getbytes(XDR* xdrs, char* destination, std::uint32_t length) {
  RECSTREAM* stream = stream_of(xdrs);
  while (length > 0) {
    if (stream->fbtbc == 0) {
      if (stream->last_frag || !set_input_fragment(stream)) return FALSE;
      continue;
    }
    const std::uint32_t piece = std::min(length, static_cast<std::uint32_t>(stream->fbtbc));
    // Bytes taken before a failure still count as unread.
    if (!get_input_bytes(stream, destination, piece)) return FALSE;
    stream->fbtbc -= static_cast<std::int32_t>(piece);
    destination += piece;
    length -= piece;
  }
  return TRUE;
}

bool_t xdrrec_getlong(XDR* xdrs, std::int32_t* value) {
  RECSTREAM* stream = stream_of(xdrs);
  if (stream->fbtbc >= 4 && stream->in_boundry - stream->in_finger >= 4) {
    *value = static_cast<std::int32_t>(xdr_load_unit(stream->in_finger));
    stream->fbtbc -= 4;
    stream->in_finger += 4;
    return TRUE;
  }
  char bytes[4];
  if (!xdrrec_getbytes(xdrs, bytes, sizeof bytes)) return FALSE;
  *value = static_cast<std::int32_t>(xdr_load_unit(bytes));
  return TRUE;
}

// ---- the other operations

// A position would be the one of a file descriptor, which `tcp_handle` is not.
std::uint32_t xdrrec_getpos(XDR*) { return 0xFFFFFFFFu; }
bool_t xdrrec_setpos(XDR*, std::uint32_t) { return FALSE; }

char* inline_output(RECSTREAM* stream, std::int32_t length) {
  if (stream->out_boundry - stream->out_finger < length) return nullptr;
  char* place = stream->out_finger;
  stream->out_finger += length;
  return place;
}

char* inline_input(RECSTREAM* stream, std::int32_t length) {
  if (length > stream->fbtbc || stream->in_boundry - stream->in_finger < length) return nullptr;
  char* place = stream->in_finger;
  stream->in_finger += length;
  stream->fbtbc -= length;
  return place;
}

char* xdrrec_inline(XDR* xdrs, std::int32_t length) {
  if (length < 0) return nullptr;
  if (xdrs->x_op == XDR_ENCODE) return inline_output(stream_of(xdrs), length);
  if (xdrs->x_op == XDR_DECODE) return inline_input(stream_of(xdrs), length);
  return nullptr;
}

void xdrrec_destroy(XDR* xdrs) {
  RECSTREAM* stream = stream_of(xdrs);
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

// The stream with its buffers, or null. Sizes beyond the callbacks' count have no memory either.
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

void start_output(RECSTREAM* stream) {
  stream->out_base = stream->the_buffer;
  stream->out_boundry = stream->out_base + stream->sendsize;
  stream->frag_header = stream->out_base;
  stream->out_finger = stream->out_base + header_bytes;
  stream->frag_sent = FALSE;
}

// Nothing is read yet, and no record is open: the first skip reads nothing.
void start_input(RECSTREAM* stream) {
  stream->in_size = stream->recvsize;
  stream->in_base = stream->out_boundry;
  stream->in_boundry = stream->in_base + stream->recvsize;
  stream->in_finger = stream->in_boundry;
  stream->fbtbc = 0;
  stream->last_frag = TRUE;
}

}  // namespace

void xdrrec_create(XDR* xdrs, std::uint32_t send_size, std::uint32_t receive_size, void* tcp_handle,
                   xdrrec_io readit, xdrrec_io writeit) {
  RECSTREAM* stream = allocate_stream(adjusted_size(send_size), adjusted_size(receive_size));
  xdrs->x_private = static_cast<char*>(static_cast<void*>(stream));
  if (stream == nullptr) {
    std::fputs("xdrrec_create: out of memory\n", stderr);
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

bool_t xdrrec_endofrecord(XDR* xdrs, bool_t send_now) {
  RECSTREAM* stream = stream_of(xdrs);
  if (stream == nullptr) return FALSE;
  if (send_now || stream->frag_sent || stream->out_boundry - stream->out_finger <= 4) {
    stream->frag_sent = FALSE;
    return flush_out(stream, TRUE);
  }
  put_header(stream, LAST_FRAG);
  stream->frag_header = stream->out_finger;
  stream->out_finger += header_bytes;
  return TRUE;
}

bool_t xdrrec_skiprecord(XDR* xdrs) {
  RECSTREAM* stream = stream_of(xdrs);
  if (stream == nullptr || !skip_to_end(stream)) return FALSE;
  stream->last_frag = FALSE;
  return TRUE;
}

bool_t xdrrec_eof(XDR* xdrs) {
  RECSTREAM* stream = stream_of(xdrs);
  if (stream == nullptr || !skip_to_end(stream)) return TRUE;
  return buffered(stream) == 0 ? TRUE : FALSE;
}

}  // namespace kvrpc
