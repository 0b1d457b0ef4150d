// RPC messages (RFC 5531, version 2), the client's half: encodes the header of a call, decodes a
// reply, and turns its status into an rpc_err. A decoded reply owns one allocation, the verifier in
// ar_verf. The transport must release it with xdr_opaque_auth in XDR_FREE.
//
//   call:   xid | CALL 0 | RPC version 2 | program | version | procedure | credential | verifier |
//           arguments                                               (each word 4 bytes, big-endian)
//   reply:  xid | REPLY 1 | MSG_ACCEPTED 0 | verifier | accept_stat |
//                             SUCCESS: results; PROG_MISMATCH: low | high; otherwise nothing
//           xid | REPLY 1 | MSG_DENIED 1 | RPC_MISMATCH 0 | low | high
//           xid | REPLY 1 | MSG_DENIED 1 | AUTH_ERROR 1 | auth_stat
//   credential and verifier: flavour | length (at most 400) | that many bytes, filled up to 4
#pragma once

#include <cstdint>

#include "rpc/rpc_types.h"
#include "rpc/xdr.h"

namespace kvrpc {

enum msg_type : std::int32_t { CALL = 0, REPLY = 1 };
enum reply_stat : std::int32_t { MSG_ACCEPTED = 0, MSG_DENIED = 1 };
enum accept_stat : std::int32_t {
  SUCCESS = 0,
  PROG_UNAVAIL = 1,
  PROG_MISMATCH = 2,
  PROC_UNAVAIL = 3,
  GARBAGE_ARGS = 4,
  SYSTEM_ERR = 5,
};
enum reject_stat : std::int32_t { RPC_MISMATCH = 0, AUTH_ERROR = 1 };

constexpr std::uint32_t RPC_MSG_VERSION = 2;
constexpr enum_t AUTH_NONE = 0;
constexpr std::uint32_t MAX_AUTH_BYTES = 400;

struct opaque_auth {
  enum_t oa_flavor;
  char* oa_base;
  std::uint32_t oa_length;
};

// All zero: the credential and the verifier of AUTH_NONE.
extern const opaque_auth _null_auth;

// Status words are plain integers below, because a reply may carry values outside the enumerations.

struct call_body {
  std::uint32_t cb_rpcvers;
  std::uint32_t cb_prog;
  std::uint32_t cb_vers;
};

// Set before a reply is decoded: where a successful reply's results go, and their routine.
struct reply_results {
  void* where;
  xdrproc_t proc;
};

struct accepted_reply {
  opaque_auth ar_verf;
  enum_t ar_stat;  // an accept_stat
  union {
    reply_results ar_results;  // SUCCESS
    rpc_versions ar_vers;      // PROG_MISMATCH
  };
};

struct rejected_reply {
  enum_t rj_stat;  // a reject_stat
  union {
    rpc_versions rj_vers;  // RPC_MISMATCH
    enum_t rj_why;         // AUTH_ERROR: an auth_stat
  };
};

struct reply_body {
  enum_t rp_stat;  // a reply_stat
  union {
    accepted_reply rp_acpt;
    rejected_reply rp_rjct;
  };
};

struct rpc_msg {
  std::uint32_t rm_xid;
  enum_t rm_direction;  // a msg_type
  union {
    call_body rm_call;
    reply_body rm_reply;
  };
};

// Writes the first 20 bytes of a call: xid, direction, RPC version, program and version. Fails on a
// stream that does not encode, but even then sets direction and RPC version in the message.
bool_t xdr_callhdr(XDR* xdrs, rpc_msg* message);

// Reads a reply up to its results and, for SUCCESS, runs ar_results.proc on ar_results.where.
bool_t xdr_replymsg(XDR* xdrs, rpc_msg* message);

// The two bodies of a reply and a credential or verifier, as element routines.
bool_t xdr_accepted_reply(XDR* xdrs, void* accepted_reply_body, std::uint32_t limit = LASTUNSIGNED);
bool_t xdr_rejected_reply(XDR* xdrs, void* rejected_reply_body, std::uint32_t limit = LASTUNSIGNED);
bool_t xdr_opaque_auth(XDR* xdrs, void* auth, std::uint32_t limit = LASTUNSIGNED);

// Stores the outcome of a decoded reply in `*error`. Fields that do not belong to the status keep
// their values.
void _seterr_reply(const rpc_msg* message, rpc_err* error);

}  // namespace kvrpc
