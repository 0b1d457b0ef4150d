// The private record of a record stream, shared by the three sources of xdrrec.h. Nobody else
// includes this.
//
// Output. `out_base` is the buffer that is being filled; it has room for `sendsize` bytes. Normally
// it is sent when it is full. On a stream that holds its output, a full buffer waits instead, and
// the next one follows it in memory:
//
//   out_start                     out_base       frag_header          out_finger   out_boundry
//   |  full buffers that wait     |  records, fragments  |  open fragment  |  free      |
//   |<------ n * sendsize ------->|<------------------- sendsize ----------------------->|
//
// 1. out_base == out_start unless full buffers wait.
// 2. [out_start, out_boundry) is inside the output block. That is the first part of `the_buffer`
//    until output is held for the first time, and then a block of its own.
// 3. The header at `frag_header` is written when the fragment ends; all earlier ones are complete.
#pragma once

#include <cstddef>
#include <cstdint>

#include "rpc/xdrrec.h"

namespace kvrpc {

constexpr std::uint32_t LAST_FRAG = 0x80000000u;
constexpr std::uint32_t fragment_header_size = 4;

struct RECSTREAM {
  void* tcp_handle;
  char* the_buffer;  // both buffers, output first

  xdrrec_io writeit;
  char* out_base;
  char* out_finger;   // next free byte
  char* out_boundry;  // end of the buffer
  char* frag_header;  // where the header of the open fragment goes
  bool frag_sent;     // a buffer became full in the current record
  bool holding;       // full buffers wait for the end of the record
  char* out_start;    // the first byte that has not been sent
  char* held_block;   // the output block once output was held, or null
  std::size_t held_room;

  xdrrec_io readit;
  std::uint32_t in_size;
  char* in_base;
  char* in_finger;     // next unread byte
  char* in_boundry;    // end of what was read
  std::int32_t fbtbc;  // bytes of the fragment that are still to be consumed
  bool last_frag;      // the current fragment is the last of its record
  char in_header[fragment_header_size];
  std::uint32_t in_header_size;  // bytes of the next fragment's header that have arrived

  std::uint32_t sendsize;
  std::uint32_t recvsize;
};

// Returns the stream's record, or null if the stream could not be created.
inline RECSTREAM* stream_of(XDR* xdrs) {
  return static_cast<RECSTREAM*>(static_cast<void*>(xdrs->x_private));
}

// Output, in xdrrec_output.cpp.
void start_output(RECSTREAM* stream);
void release_output(RECSTREAM* stream);
bool_t xdrrec_putlong(XDR* xdrs, const std::int32_t* value);
bool_t xdrrec_putbytes(XDR* xdrs, const char* source, std::uint32_t length);
char* inline_output(RECSTREAM* stream, std::int32_t length);

// Input, in xdrrec_input.cpp.
void start_input(RECSTREAM* stream);
bool_t xdrrec_getlong(XDR* xdrs, std::int32_t* value);
bool_t xdrrec_getbytes(XDR* xdrs, char* destination, std::uint32_t length);
char* inline_input(RECSTREAM* stream, std::int32_t length);

}  // namespace kvrpc
