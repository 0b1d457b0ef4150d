// One JSON call text to one JSON reply text.
//
//   call   {"procedure":argument, ...}          only the first member counts
//   reply  {"status":S,"rpc_err":{...},"message":"...","result":...}
//
// A reply has `rpc_err` only with status 3, and `result` only with status 0. The caller owns the
// reply text and must release it with free. Nothing here holds state between calls.
#pragma once

#include "json/text_buffer.h"
#include "rpc/clnt.h"

namespace kvrpc {

enum call_status : int {
  CALL_OK = 0,
  CALL_CANNOT_ENCODE = 1,  // the argument does not fit its record
  CALL_CANNOT_DECODE = 2,  // the result record does not convert
  CALL_RPC_FAILED = 3,
  CALL_UNKNOWN = 4,    // no such procedure in this server
  CALL_MALFORMED = 5,  // not an object with a member
  CALL_UNPARSABLE = 6,
  CALL_NO_MEMORY = 7,
  CALL_UNUSED = 8,
  CALL_REFUSED = 9,  // by the vetting function
};

// Vets a call by its procedure's name. Returns 0 to refuse it.
using verify_function = int (*)(const char* name, void* context);

// Runs the call `text` on the server `which`. Returns the reply text, or null if memory is out
// (status 7) or no program has that name (`status` is left unchanged). `verify` may be null, which
// allows every call. While it runs, the status is 0.
// Surface: the module passes a buffer of its own.
char* server_call(CLIENT* clnt, const char* which, const char* text, int* status,
                  verify_function verify, void* context);
// The same, but writes the reply text to `reply`, which must be empty. Returns false if there is
// none.
bool server_call(CLIENT* clnt, const char* which, const char* text, int* status,
                 verify_function verify, void* context, text_buffer& reply);

}  // namespace kvrpc
