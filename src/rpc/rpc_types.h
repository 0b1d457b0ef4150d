// The types that every part of the runtime uses: the status words, the reason of a failure, and a
// span of time. Contains only data, and includes nothing else of the runtime.
#pragma once

#include <cstdint>

namespace kvrpc {

// The outcome of a call or of a creation.
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

// Why a server refused a credential, or a client a verifier.
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

// Why a call failed: three 32-bit words. Only the field that belongs to re_status has a meaning.
// The status is a plain integer, because a reply may carry a value outside clnt_stat.
struct rpc_err {
  std::int32_t re_status;
  union {
    std::int32_t re_errno;  // RPC_CANTSEND, RPC_CANTRECV: socket error number
    std::int32_t re_why;    // RPC_AUTHERROR: an auth_stat
    rpc_versions re_vers;   // RPC_VERSMISMATCH, RPC_PROGVERSMISMATCH
    struct {
      std::int32_t s1;
      std::int32_t s2;
    } re_lb;  // any other status
  };
};
static_assert(sizeof(rpc_err) == 12, "three words");

struct rpc_timeval {
  std::int32_t tv_sec;
  std::int32_t tv_usec;
};

}  // namespace kvrpc
