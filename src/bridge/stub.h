// What a dispatcher runs once it has found a procedure: JSON argument to record, the remote call,
// result record to JSON.
#pragma once

#include <cstddef>
#include <cstdint>

#include "json/json.h"
#include "json/text_buffer.h"
#include "rpc/clnt.h"
#include "schema/types.h"

namespace kvrpc {

// The time limit of every call, in seconds.
constexpr std::int32_t call_timeout_seconds = 25;

// No argument or result record of the interface is larger than this, a NUL behind it included.
constexpr std::size_t record_room = 4096;

// Calls `target` with the argument `node` and appends the result's JSON text to `result`. Returns
// CALL_OK, CALL_CANNOT_ENCODE, CALL_RPC_FAILED or CALL_CANNOT_DECODE; the text counts with CALL_OK
// alone. An argument that does not convert causes no traffic.
int run_stub(CLIENT* clnt, const procedure& target, const json_node* node, text_buffer& result);

}  // namespace kvrpc
