// What every handle shares, whatever its transport: the wrapper of a call, and the record of the
// last failed creation.
#include "rpc/clnt.h"

#include "rpc/rpc_os.h"

namespace kvrpc {

rpc_createerr_record rpc_createerr;

CLIENT* clnt_create_failed(std::int32_t status, std::int32_t number) {
  rpc_createerr.cf_stat = status;
  rpc_createerr.cf_error.re_errno = number;
  return nullptr;
}

bool clnt_is_inherited(const CLIENT* clnt) { return clnt->cl_forks != rpc_fork_count(); }

std::int32_t clnt_call(CLIENT* clnt, std::uint32_t procedure, xdrproc_t arguments,
                       void* argument_record, xdrproc_t results, void* result_record,
                       std::int32_t timeout_seconds, std::int32_t timeout_microseconds) {
  if (clnt == nullptr) return RPC_FAILED;
  rpc_lock(clnt->cl_lock);
  const std::int32_t status =
      clnt->cl_ops->call(clnt, procedure, arguments, argument_record, results, result_record,
                         {timeout_seconds, timeout_microseconds});
  rpc_unlock(clnt->cl_lock);
  return status;
}

}  // namespace kvrpc
