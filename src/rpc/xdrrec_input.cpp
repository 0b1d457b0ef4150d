// Input of a record stream: joins fragments to records. Bytes that were taken from the connection
// count as consumed even if the rest did not arrive, so that a reader that gave up in the middle of
// a record can still skip to its end.

#include <algorithm>
#include <cstring>

#include "rpc/xdrrec_stream.h"

namespace kvrpc {

namespace {

std::uint32_t buffered(const RECSTREAM* stream) {
  return static_cast<std::uint32_t>(stream->in_boundry - stream->in_finger);
}

// Starts at the alignment at which the last piece ended, so that units stay aligned.
bool fill_input_buf(RECSTREAM* stream) {
  const auto ended = static_cast<std::uint32_t>(stream->in_boundry - stream->in_base) % 4;
  char* start = stream->in_base + ended;
  const auto room = static_cast<std::int32_t>(stream->in_size - ended);
  const std::int32_t length = stream->readit(stream->tcp_handle, start, room);
  if (length <= 0) return false;
  stream->in_finger = start;
  stream->in_boundry = start + length;
  return true;
}

// Takes `length` bytes of the connection, fragment headers included; a null destination skips.
// Returns the number of bytes taken, which is smaller only after an input failure.
std::uint32_t take_input_bytes(RECSTREAM* stream, char* destination, std::uint32_t length) {
  std::uint32_t taken = 0;
  while (taken < length) {
    if (buffered(stream) == 0) {
      if (!fill_input_buf(stream)) break;
      continue;
    }
    const std::uint32_t piece = std::min(length - taken, buffered(stream));
    if (destination != nullptr) std::memcpy(destination + taken, stream->in_finger, piece);
    stream->in_finger += piece;
    taken += piece;
  }
  return taken;
}

// Takes `length` bytes of the current fragment. Returns true if all of them arrived.
bool take_of_fragment(RECSTREAM* stream, char* destination, std::uint32_t length) {
  const std::uint32_t taken = take_input_bytes(stream, destination, length);
  stream->fbtbc -= static_cast<std::int32_t>(taken);
  return taken == length;
}

bool set_input_fragment(RECSTREAM* stream) {
  stream->in_header_size += take_input_bytes(stream, stream->in_header + stream->in_header_size,
                                             fragment_header_size - stream->in_header_size);
  if (stream->in_header_size < fragment_header_size) return false;
  stream->in_header_size = 0;
  const std::uint32_t header = xdr_load_unit(stream->in_header);
  stream->last_frag = (header & LAST_FRAG) != 0 ? TRUE : FALSE;
  stream->fbtbc = static_cast<std::int32_t>(header & ~LAST_FRAG);
  return true;
}

// Skips the rest of the record, up to the end of its last fragment.
bool skip_to_end(RECSTREAM* stream) {
  while (stream->fbtbc > 0 || !stream->last_frag) {
    if (!take_of_fragment(stream, nullptr, static_cast<std::uint32_t>(stream->fbtbc))) return false;
    if (!stream->last_frag && !set_input_fragment(stream)) return false;
  }
  return true;
}

}  // namespace

// The stream begins with nothing read and no record open, so the first skip reads nothing.
void start_input(RECSTREAM* stream) {
  stream->in_size = stream->recvsize;
  stream->in_base = stream->the_buffer + stream->sendsize;
  stream->in_boundry = stream->in_base + stream->recvsize;
  stream->in_finger = stream->in_boundry;
  stream->fbtbc = 0;
  stream->last_frag = true;
}

bool_t xdrrec_getbytes(XDR* xdrs, char* destination, std::uint32_t length) {
  RECSTREAM* stream = stream_of(xdrs);
  while (length > 0) {
    if (stream->fbtbc == 0) {
      if (stream->last_frag || !set_input_fragment(stream)) return FALSE;
      continue;
    }
    const std::uint32_t piece = std::min(length, static_cast<std::uint32_t>(stream->fbtbc));
    if (!take_of_fragment(stream, destination, piece)) return FALSE;
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

char* inline_input(RECSTREAM* stream, std::int32_t length) {
  if (length > stream->fbtbc || stream->in_boundry - stream->in_finger < length) return nullptr;
  char* place = stream->in_finger;
  stream->in_finger += length;
  stream->fbtbc -= length;
  return place;
}

bool_t xdrrec_skiprecord(XDR* xdrs) {
  RECSTREAM* stream = stream_of(xdrs);
  if (stream == nullptr || !skip_to_end(stream)) return FALSE;
  stream->last_frag = false;
  return TRUE;
}

bool_t xdrrec_eof(XDR* xdrs) {
  RECSTREAM* stream = stream_of(xdrs);
  if (stream == nullptr || !skip_to_end(stream)) return TRUE;
  return buffered(stream) == 0 ? TRUE : FALSE;
}

}  // namespace kvrpc
