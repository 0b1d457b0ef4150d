// The record stream: an XDR handle over a byte stream without message boundaries (RFC 5531 record
// marking). A record is a chain of fragments:
//
//   byte 0    1    2    3     4 ...
//   +-+---------------------+-------------------+
//   |L|  length, 31 bits    |  `length` bytes   |   big-endian; L is set on the last fragment
//   +-+---------------------+-------------------+
//
// Both directions are buffered in one block that belongs to the stream and is released by
// XDR_DESTROY; the XDR handle itself is the caller's, who also sets x_op before each use. All
// input and output goes through two callbacks. Writing: put items, then xdrrec_endofrecord.
// Reading: xdrrec_skiprecord, then get items; reading past the end of a record fails.
#pragma once

#include <cstdint>

#include "rpc/xdr.h"

namespace kvrpc {

// Moves up to `length` bytes between the stream and `tcp_handle`. As input function it returns
// the bytes read, at least 1, or -1 (also at the end of the stream); as output function it returns
// `length`, and anything else is a failure.
using xdrrec_io = std::int32_t (*)(void* tcp_handle, char* bytes, std::int32_t length);

// Sets up the stream. A buffer size below 100 becomes 4000, any other is rounded up to a multiple
// of 4. Without memory it writes its message on the standard error stream and leaves a stream on
// which every operation fails.
void xdrrec_create(XDR* xdrs, std::uint32_t send_size, std::uint32_t receive_size, void* tcp_handle,
                   xdrrec_io readit, xdrrec_io writeit);

// Ends the record being written. It waits in the buffer for later ones when `send_now` is FALSE,
// none of it has left yet and there is room for the next header. After a failure the unsent bytes
// stay and leave first with the next flush.
bool_t xdrrec_endofrecord(XDR* xdrs, bool_t send_now);

// Drops what is left of the current record and stands at the start of the next.
bool_t xdrrec_skiprecord(XDR* xdrs);

// Whether no input is left: drops what is left of the current record and tells whether nothing
// is buffered behind it. An input failure counts as the end.
bool_t xdrrec_eof(XDR* xdrs);

}  // namespace kvrpc
