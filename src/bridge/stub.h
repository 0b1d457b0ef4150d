// What a dispatcher runs once it has found a procedure: JSON argument to record, then the remote
// call, whose result is converted from the wire to JSON.
#pragma once

#include <cstdint>

#include "json/json.h"
#include "json/text_buffer.h"
#include "rpc/clnt.h"
#include "schema/types.h"

namespace kvrpc {

// The time limit of every call, in seconds.
constexpr std::int32_t call_timeout_seconds = 25;

// Calls `target` with the argument `node` and appends the result's JSON text to `result`. Returns
// CALL_OK, CALL_CANNOT_ENCODE, CALL_RPC_FAILED or CALL_CANNOT_DECODE. What was appended is valid
// only after CALL_OK. If the argument does not convert, nothing is sent.
//
// `target` must be a row of a list that list_of made, because only their arguments are
// known to fit in argument_room.
int run_stub(CLIENT* clnt, const procedure& target, const json_node* node, text_buffer& result);

}  // namespace kvrpc
