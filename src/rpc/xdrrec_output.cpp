// Output of a record stream: records are cut into fragments of the buffer's size.

#include <algorithm>
#include <cstring>

#include "rpc/xdrrec_stream.h"

namespace kvrpc {

namespace {

void put_header(RECSTREAM* stream, std::uint32_t last) {
  const auto length =
      static_cast<std::uint32_t>(stream->out_finger - stream->frag_header) - fragment_header_size;
  xdr_store_unit(stream->frag_header, length | last);
}

bool_t flush_out(RECSTREAM* stream, bool_t end_of_record) {
  put_header(stream, end_of_record ? LAST_FRAG : 0);
  const auto length = static_cast<std::int32_t>(stream->out_finger - stream->out_base);
  if (stream->writeit(stream->tcp_handle, stream->out_base, length) != length) return FALSE;
  stream->frag_header = stream->out_base;
  stream->out_finger = stream->out_base + fragment_header_size;
  return TRUE;
}

// The buffer is full in the middle of a record.
bool_t flush_fragment(RECSTREAM* stream) {
  stream->frag_sent = TRUE;
  return flush_out(stream, FALSE);
}

}  // namespace

void start_output(RECSTREAM* stream) {
  stream->out_base = stream->the_buffer;
  stream->out_boundry = stream->out_base + stream->sendsize;
  stream->frag_header = stream->out_base;
  stream->out_finger = stream->out_base + fragment_header_size;
  stream->frag_sent = FALSE;
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

bool_t xdrrec_endofrecord(XDR* xdrs, bool_t send_now) {
  RECSTREAM* stream = stream_of(xdrs);
  if (stream == nullptr) return FALSE;
  if (send_now || stream->frag_sent || stream->out_boundry - stream->out_finger <= 4) {
    stream->frag_sent = FALSE;
    return flush_out(stream, TRUE);
  }
  put_header(stream, LAST_FRAG);
  stream->frag_header = stream->out_finger;
  stream->out_finger += fragment_header_size;
  return TRUE;
}

}  // namespace kvrpc
