// The client handle, the failure records, the status words and their texts, and the wrapper
// through which every call passes.
//
// A CLIENT comes from a transport's create function and lives until its `destroy`. `cl_lock` is
// held by clnt_call for the whole call; the other operations run without it. rpc_createerr and the
// text buffer of clnt_sperror and clnt_spcreateerror are process-global and unlocked: the
// interpreter lock keeps their users apart, and a text stands until the next routine here runs.
#pragma once

#include <cstdint>

#include "rpc/xdr.h"

namespace kvrpc {

enum clnt_stat : std::int32_t {
  RPC_SUCCESS = 0,
  RPC_CANTENCODEARGS = 1,
  RPC_CANTDECODERES = 2,
  RPC_CANTSEND = 3,
  RPC_CANTRECV = 4,
  RPC_TIMEDOUT = 5,
  RPC_VERSMISMATCH = 6,
  RPC_AUTHERROR = 7,
  RPC_PROGUNAVAIL = 8,
  RPC_PROGVERSMISMATCH = 9,
  RPC_PROCUNAVAIL = 10,
  RPC_CANTDECODEARGS = 11,
  RPC_SYSTEMERROR = 12,
  RPC_UNKNOWNHOST = 13,
  RPC_PMAPFAILURE = 14,
  RPC_PROGNOTREGISTERED = 15,
  RPC_FAILED = 16,
  RPC_UNKNOWNPROTO = 17,
};

enum auth_stat : std::int32_t {
  AUTH_OK = 0,
  AUTH_BADCRED = 1,
  AUTH_REJECTEDCRED = 2,
  AUTH_BADVERF = 3,
  AUTH_REJECTEDVERF = 4,
  AUTH_TOOWEAK = 5,
  AUTH_INVALIDRESP = 6,
  AUTH_FAILED = 7,
};

struct rpc_versions {
  std::uint32_t low;
  std::uint32_t high;
};

// Why a call failed: three 32-bit words. Only the member that belongs to re_status has meaning.
// The status is a plain integer, since a reply may carry a value outside clnt_stat.
struct rpc_err {
  std::int32_t re_status;
  union {
    std::int32_t re_errno;  // RPC_CANTSEND, RPC_CANTRECV: socket error number
    std::int32_t re_why;    // RPC_AUTHERROR: an auth_stat
    rpc_versions re_vers;   // RPC_VERSMISMATCH, RPC_PROGVERSMISMATCH
    struct {
      std::int32_t s1;
      std::int32_t s2;
    } re_lb;  // anything else
  };
};
static_assert(sizeof(rpc_err) == 12, "three words");

struct rpc_timeval {
  std::int32_t tv_sec;
  std::int32_t tv_usec;
};

// The last failed creation of a handle; written only on failure, never cleared.
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

// Control requests. The value is an rpc_timeval, for CLGET_SERVER_ADDR a 16-byte IPv4 address.
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

// The outcome of the handle's last call; RPC_FAILED for a null handle, on which every call fails
// so.
inline void clnt_geterr(CLIENT* clnt, rpc_err* error) {
  *error = {};
  error->re_status = RPC_FAILED;
  if (clnt != nullptr) clnt->cl_ops->geterr(clnt, error);
}

// Runs one call under the handle's lock. A null handle gives RPC_FAILED.
std::int32_t clnt_call(CLIENT* clnt, std::uint32_t procedure, xdrproc_t arguments,
                       void* argument_record, xdrproc_t results, void* result_record,
                       std::int32_t timeout_seconds, std::int32_t timeout_microseconds);

// A handle for `program` at `host` over `transport` ("tcp", "udp", ...), or null with the reason
// in rpc_createerr.
CLIENT* clnt_create(const char* host, std::uint32_t program, std::uint32_t version,
                    const char* transport);

// Status words as texts. The constant ones have no line end; auth_errmsg gives null for a value
// outside its table. The two builders return the shared buffer, or null when it has no memory.
const char* clnt_sperrno(std::int32_t status);
const char* auth_errmsg(std::int32_t why);
const char* clnt_sperror(CLIENT* clnt, const char* prefix);
const char* clnt_spcreateerror(const char* prefix);
void clnt_perrno(std::int32_t status);
void clnt_perror(CLIENT* clnt, const char* prefix);
void clnt_pcreateerror(const char* prefix);

}  // namespace kvrpc
