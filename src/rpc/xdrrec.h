// The record stream: an XDR handle over a byte stream without message boundaries (RFC 5531 record
// marking). A record is a chain of fragments:
//
//   byte 0    1    2    3     4 ...
//   +-+---------------------+-------------------+
//   |L|  length, 31 bits    |  `length` bytes   |   big-endian; L is set on the last fragment
//   +-+---------------------+-------------------+
//
// Both directions are buffered in one block. It belongs to the stream and is released by
// XDR_DESTROY; the XDR handle itself belongs to the caller, who also sets x_op before each use. All
// input and output goes through two callbacks. To write, put values and call xdrrec_endofrecord. To
// read, call xdrrec_skiprecord and get values; reading past the end of a record fails.
#pragma once

#include <cstdint>

#include "rpc/xdr.h"

namespace kvrpc {

// Moves up to `length` bytes between the stream and `tcp_handle`. An input function returns the
// number of bytes read, at least 1, or -1 on failure; the end of the connection is a failure. An
// output function returns `length`; any other value is a failure. If it is positive, it must be the
// number of bytes that were sent.
using xdrrec_io = std::int32_t (*)(void* tcp_handle, char* bytes, std::int32_t length);

// Sets up the stream. A buffer size below 100 becomes 4000, any other is rounded up to a multiple
// of 4. Without memory, writes a message to standard error and leaves a stream on which every
// operation fails.
void xdrrec_create(XDR* xdrs, std::uint32_t send_size, std::uint32_t receive_size, void* tcp_handle,
                   xdrrec_io readit, xdrrec_io writeit);

// From now on, full output buffers wait for the end of their record and are sent with it in one
// call of the output function, because a peer may delay the acknowledgement that a second send
// waits for. The bytes are the same. If there is no memory to keep them in, they are sent at once
// as before. After a failure, the stream is as if each buffer had been sent when it was full: the
// buffer that failed is kept, the record ends with it, and later buffers are dropped.
void xdrrec_hold_output(XDR* xdrs);

// Ends the record being written. If `send_now` is FALSE, the record waits in the buffer for later
// ones, provided that no buffer became full and there is room for the next header. After a failure,
// the unsent bytes stay and are sent first with the next flush.
bool_t xdrrec_endofrecord(XDR* xdrs, bool_t send_now);

// Skips to the start of the next record.
bool_t xdrrec_skiprecord(XDR* xdrs);

// Skips to the end of the current record. Returns TRUE if nothing is buffered after it, or if the
// input failed.
// Surface: no transport asks.
bool_t xdrrec_eof(XDR* xdrs);

}  // namespace kvrpc
