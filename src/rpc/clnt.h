// The client handle, the wrapper through which every call passes, the reason of the last failed
// creation, and the texts of all failures.
//
// A CLIENT comes from a transport's create function and lives until its `destroy`. clnt_call holds
// `cl_lock` for the whole call; the other operations run without it. rpc_createerr and the text
// buffer of clnt_sperror and clnt_spcreateerror belong to the process and are unlocked, because the
// GIL serialises their users. A text is valid until the next of the two runs.
#pragma once

#include <cstdint>

#include "rpc/rpc_types.h"
#include "rpc/xdr.h"

namespace kvrpc {

// The last failed creation of a handle. Written only on failure, never cleared.
struct rpc_createerr_record {
  std::int32_t cf_stat;
  rpc_err cf_error;
};
extern rpc_createerr_record rpc_createerr;

// Records in rpc_createerr why a handle was not created. Returns null.
struct CLIENT* clnt_create_failed(std::int32_t status, std::int32_t number);

struct AUTH;
struct CLIENT;
struct rpc_lock_record;

// Control requests. The value is an rpc_timeval; for CLGET_SERVER_ADDR, a 16-byte IPv4 address.
enum clnt_request : std::uint32_t {
  CLSET_TIMEOUT = 1,
  CLGET_TIMEOUT = 2,
  CLGET_SERVER_ADDR = 3,
  CLSET_RETRY_TIMEOUT = 4,
  CLGET_RETRY_TIMEOUT = 5,
};

struct clnt_ops {
  std::int32_t (*call)(CLIENT* clnt, std::uint32_t procedure, xdrproc_t arguments,
                       void* argument_record, xdrproc_t results, void* result_record,
                       rpc_timeval timeout);
  void (*abort)(CLIENT* clnt);
  void (*geterr)(CLIENT* clnt, rpc_err* error);
  bool_t (*freeres)(CLIENT* clnt, xdrproc_t results, void* result_record);
  void (*destroy)(CLIENT* clnt);
  bool_t (*control)(CLIENT* clnt, std::uint32_t request, void* value);
};

struct CLIENT {
  AUTH* cl_auth;
  rpc_lock_record* cl_lock;
  const clnt_ops* cl_ops;
  void* cl_private;
  std::uint32_t cl_forks;  // rpc_fork_count() of the process that made the handle
};

// Returns true in a process that inherited the handle through fork. There the handle must only be
// destroyed: the connection is the parent's, and the child's descriptor is closed already.
bool clnt_is_inherited(const CLIENT* clnt);

// Copies the outcome of the handle's last call to `*error`. That of a null handle is RPC_FAILED,
// because every call on it fails so.
inline void clnt_geterr(CLIENT* clnt, rpc_err* error) {
  *error = {};
  error->re_status = RPC_FAILED;
  if (clnt != nullptr) clnt->cl_ops->geterr(clnt, error);
}

// Runs one call under the handle's lock. Returns its clnt_stat; RPC_FAILED for a null handle.
std::int32_t clnt_call(CLIENT* clnt, std::uint32_t procedure, xdrproc_t arguments,
                       void* argument_record, xdrproc_t results, void* result_record,
                       std::int32_t timeout_seconds, std::int32_t timeout_microseconds);

// Returns a handle for `program` at `host` over `transport` ("tcp", "udp", ...), or null with the
// reason in rpc_createerr.
CLIENT* clnt_create(const char* host, std::uint32_t program, std::uint32_t version,
                    const char* transport);

// Return a status word as a constant text without a line end. For a value outside its table,
// auth_errmsg returns null, and clnt_sperrno a text that says so.
const char* clnt_sperrno(std::int32_t status);
const char* auth_errmsg(std::int32_t why);
// Return the shared buffer with the text `<prefix>: <status><details>` and a line end, or null
// without memory. For example, clnt_sperror(clnt, "rpc_call") may return
// "rpc_call: RPC: Unable to send- Error 10054\n".
const char* clnt_sperror(CLIENT* clnt, const char* prefix);
const char* clnt_spcreateerror(const char* prefix);
// Surface: the module prints none of them. They print the same texts on stderr.
void clnt_perrno(std::int32_t status);
void clnt_perror(CLIENT* clnt, const char* prefix);
void clnt_pcreateerror(const char* prefix);

}  // namespace kvrpc
