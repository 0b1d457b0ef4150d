// One JSON call text to one JSON reply text.
//
//   call   {"procedure":argument, ...}          only the first member counts
//   reply  {"status":S,"rpc_err":{...},"message":"...","result":...}
//
// `rpc_err` stands only with status 3, `result` only with status 0. The reply text is allocated
// and belongs to the caller, who releases it with free. Nothing here holds state between calls.
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

// Vets a call by its procedure name; 0 refuses it.
using verify_function = int (*)(const char* name, void* context);

// Runs one call of `text` on the server `which`. Null when memory ran out (status 7) or the name
// has no dispatcher (`status` stays as it was). `verify` may be null.
// Surface: the module passes a buffer of its own.
char* server_call(CLIENT* clnt, const char* which, const char* text, int* status,
                  verify_function verify, void* context);
// The same with the reply text in an empty buffer of the caller's; false where there is none.
bool server_call(CLIENT* clnt, const char* which, const char* text, int* status,
                 verify_function verify, void* context, text_buffer& reply);

}  // namespace kvrpc
