// What the two transports share: making and releasing a handle with its private record, finding
// the server's port, the call header, and the life of a reply's verifier. Nobody else includes
// this.
#pragma once

#include <cstddef>
#include <cstdint>

#include "rpc/clnt.h"
#include "rpc/rpc_msg.h"
#include "rpc/rpc_os.h"

namespace kvrpc {

constexpr std::uint32_t CALL_HEADER_SIZE = 20;

// Returns a handle with its lock, the shared AUTH and a zero-filled private record of
// `private_size` bytes. Without memory, writes "<creator>: out of memory" to stderr and returns
// null with the reason in rpc_createerr.
CLIENT* clnt_allocate(const char* creator, const clnt_ops* operations, std::size_t private_size);
// Releases what clnt_allocate made.
void clnt_release(CLIENT* clnt);
// Closes a socket that the handle made. Does nothing in a process that inherited the handle, where
// the number may be another file's by now. Returns 0 or -1.
std::int32_t clnt_close_socket(const CLIENT* clnt, rpc_socket sock);

// Asks the portmapper when the address has no port yet. Returns false with the reason in
// rpc_createerr.
bool clnt_find_port(rpc_address* address, std::uint32_t program, std::uint32_t version,
                    rpc_protocol protocol);

// Writes the header of every call of a handle, CALL_HEADER_SIZE bytes, into `buffer`. The first
// transaction id is made of the process id and of `seconds`, the time of the creation.
bool clnt_write_header(char* buffer, std::uint32_t size, std::uint32_t program,
                       std::uint32_t version, std::uint32_t seconds);

// Prepares a message for xdr_replymsg, which will run `results` on `result_record` for a success.
void clnt_expect_reply(rpc_msg* reply, xdrproc_t results, void* result_record);
// Releases the verifier of a decoded reply, even if decoding failed half way.
void clnt_release_verifier(rpc_msg* reply);

}  // namespace kvrpc
