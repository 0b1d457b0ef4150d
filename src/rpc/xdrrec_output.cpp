// Output of a record stream: records are cut into fragments, and full buffers either are sent or
// wait for the end of their record. xdrrec_stream.h draws the memory.

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "rpc/xdrrec_stream.h"

namespace kvrpc {

namespace {

// The most bytes that one call of the output function can take, and so the most that can wait.
constexpr std::size_t largest_send = 0x7FFFFFFC;
constexpr std::size_t smallest_held_block = std::size_t{64} << 10;
// A block of this size is kept for the next record, because fresh pages cost more than writing to
// them. A larger one is released when its bytes have been sent.
constexpr std::size_t kept_block = std::size_t{2} << 20;

void put_header(RECSTREAM* stream, std::uint32_t last) {
  const auto length =
      static_cast<std::uint32_t>(stream->out_finger - stream->frag_header) - fragment_header_size;
  xdr_store_unit(stream->frag_header, length | last);
}

// Begins a fragment at the start of the buffer.
void start_buffer(RECSTREAM* stream, char* base) {
  stream->out_base = base;
  stream->out_boundry = base + stream->sendsize;
  stream->frag_header = base;
  stream->out_finger = base + fragment_header_size;
}

// Empties the output after all of it has been sent.
void restart(RECSTREAM* stream) {
  if (stream->held_room > kept_block) release_output(stream);
  stream->out_start = stream->held_block != nullptr ? stream->held_block : stream->the_buffer;
  start_buffer(stream, stream->out_start);
}

// Moves the `used` bytes of output to a block with room for `needed`. Returns false without memory,
// and then leaves everything as it was.
bool grow(RECSTREAM* stream, std::size_t used, std::size_t needed) {
  if (needed > largest_send) return false;
  const std::size_t room = std::max(std::min(2 * needed, largest_send), smallest_held_block);
  auto* const block = static_cast<char*>(std::realloc(stream->held_block, room));
  if (block == nullptr) return false;
  if (stream->held_block == nullptr) std::memcpy(block, stream->out_start, used);
  stream->held_block = stream->out_start = block;
  stream->held_room = room;
  return true;
}

// Lets the full buffer wait and begins the next one after it. Returns false if the buffer must be
// sent now, because the stream does not hold its output, memory is out, or up to three bytes of the
// buffer are unused (keep_unsent counts whole buffers).
bool hold_buffer(RECSTREAM* stream) {
  if (!stream->holding || stream->out_finger != stream->out_boundry) return false;
  const auto used = static_cast<std::size_t>(stream->out_finger - stream->out_start);
  const std::size_t needed = used + stream->sendsize;
  const std::size_t room = stream->held_block != nullptr ? stream->held_room : stream->sendsize;
  if (needed > room && !grow(stream, used, needed)) return false;
  start_buffer(stream, stream->out_start + used);
  return true;
}

// Returns the header of the last fragment that begins in [at, end).
char* last_header(char* at, const char* end) {
  for (;;) {
    char* const next = at + fragment_header_size + (xdr_load_unit(at) & ~LAST_FRAG);
    if (next >= end) return at;
    at = next;
  }
}

// Changes the stream as if each buffer had been sent when it was full, and the one that contains
// byte number `sent` had failed. Drops the buffers before it, which were sent, and those after it,
// which would not have been written. If the buffer is a full one, sets frag_sent.
void keep_unsent(RECSTREAM* stream, std::size_t sent) {
  const auto waiting = static_cast<std::size_t>(stream->out_base - stream->out_start);
  const std::size_t from = std::min(sent / stream->sendsize * stream->sendsize, waiting);
  if (from < waiting) stream->frag_sent = true;
  const char* const end =
      from < waiting ? stream->out_start + from + stream->sendsize : stream->out_finger;
  const auto kept = static_cast<std::size_t>(end - (stream->out_start + from));
  std::memmove(stream->out_start, stream->out_start + from, kept);
  start_buffer(stream, stream->out_start);
  stream->out_finger = stream->out_start + kept;
  stream->frag_header = last_header(stream->out_start, stream->out_finger);
}

bool flush_out(RECSTREAM* stream, bool end_of_record) {
  put_header(stream, end_of_record ? LAST_FRAG : 0);
  if (!end_of_record && hold_buffer(stream)) return true;
  const auto length = static_cast<std::int32_t>(stream->out_finger - stream->out_start);
  const std::int32_t sent = stream->writeit(stream->tcp_handle, stream->out_start, length);
  if (sent == length) {
    restart(stream);
    return true;
  }
  keep_unsent(stream, static_cast<std::size_t>(std::max(sent, 0)));
  return false;
}

// Ends a fragment because the buffer is full.
bool flush_fragment(RECSTREAM* stream) {
  stream->frag_sent = true;
  return flush_out(stream, false);
}

}  // namespace

void start_output(RECSTREAM* stream) {
  restart(stream);
  stream->frag_sent = false;
}

void release_output(RECSTREAM* stream) {
  std::free(stream->held_block);
  stream->held_block = nullptr;
  stream->held_room = 0;
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

char* inline_output(RECSTREAM* stream, std::int32_t length) {
  if (stream->out_boundry - stream->out_finger < length) return nullptr;
  char* place = stream->out_finger;
  stream->out_finger += length;
  return place;
}

void xdrrec_hold_output(XDR* xdrs) {
  RECSTREAM* stream = stream_of(xdrs);
  if (stream != nullptr) stream->holding = true;
}

bool_t xdrrec_endofrecord(XDR* xdrs, bool_t send_now) {
  RECSTREAM* stream = stream_of(xdrs);
  if (stream == nullptr) return FALSE;
  if (send_now || stream->frag_sent || stream->out_boundry - stream->out_finger <= 4) {
    stream->frag_sent = false;
    if (flush_out(stream, true)) return TRUE;
    // A buffer that had waited was not sent. Without holding, its writer would have failed and
    // would have ended the record there, so the record ends there now.
    if (stream->frag_sent) {
      stream->frag_sent = false;
      flush_out(stream, true);
    }
    return FALSE;
  }
  put_header(stream, LAST_FRAG);
  stream->frag_header = stream->out_finger;
  stream->out_finger += fragment_header_size;
  return TRUE;
}

}  // namespace kvrpc
