// The envelope of a reply: {"status":S,"rpc_err":{...},"message":"...","result":...}.
//
//   re_status             further member of rpc_err
//   3, 4                  "re_errno": system error number
//   6, 9                  "re_vers": {"low":L,"high":H}, unsigned
//   7                     "re_why": authentication failure code
//   above 17, negative    "re_lb": {"s1":A,"s2":B}, the failure's two words as they are
//   anything else         none
#pragma once

#include "json/text_buffer.h"
#include "rpc/clnt.h"

namespace kvrpc {

// Appends the envelope to `root`. Returns non-zero on success. With status 0 the envelope is left
// open: the caller must append the JSON text of the result and a "}".
int fill_envelope(CLIENT* clnt, int status, text_buffer& root);

// Appends the member `rpc_err` for the last failure of `clnt`. Returns non-zero on success.
int add_rpc_err(CLIENT* clnt, text_buffer& root);

}  // namespace kvrpc
