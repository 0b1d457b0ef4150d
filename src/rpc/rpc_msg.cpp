// Encodes the header of a call, decodes a reply, and turns a reply's status into an rpc_err.
#include "rpc/rpc_msg.h"

namespace kvrpc {

const opaque_auth _null_auth = {AUTH_NONE, nullptr, 0};

bool_t xdr_callhdr(XDR* xdrs, rpc_msg* message) {
  call_body* call = &message->rm_call;
  message->rm_direction = CALL;
  call->cb_rpcvers = RPC_MSG_VERSION;
  if (xdrs->x_op != XDR_ENCODE) return FALSE;
  return xdr_u_long(xdrs, &message->rm_xid) && xdr_enum(xdrs, &message->rm_direction) &&
                 xdr_u_long(xdrs, &call->cb_rpcvers) && xdr_u_long(xdrs, &call->cb_prog) &&
                 xdr_u_long(xdrs, &call->cb_vers)
             ? TRUE
             : FALSE;
}

bool_t xdr_opaque_auth(XDR* xdrs, void* auth, std::uint32_t) {
  auto* opaque = static_cast<opaque_auth*>(auth);
  if (!xdr_enum(xdrs, &opaque->oa_flavor)) return FALSE;
  return xdr_bytes(xdrs, &opaque->oa_base, &opaque->oa_length, MAX_AUTH_BYTES);
}

namespace {

bool_t xdr_versions(XDR* xdrs, rpc_versions* versions) {
  return xdr_u_long(xdrs, &versions->low) && xdr_u_long(xdrs, &versions->high) ? TRUE : FALSE;
}

constexpr xdr_discrim reply_dscm[] = {
    {MSG_ACCEPTED, xdr_accepted_reply},
    {MSG_DENIED, xdr_rejected_reply},
    {-1, nullptr},
};

}  // namespace

bool_t xdr_accepted_reply(XDR* xdrs, void* accepted_reply_body, std::uint32_t) {
  auto* reply = static_cast<accepted_reply*>(accepted_reply_body);
  if (!xdr_opaque_auth(xdrs, &reply->ar_verf)) return FALSE;
  if (!xdr_enum(xdrs, &reply->ar_stat)) return FALSE;
  switch (reply->ar_stat) {
    case SUCCESS:
      return reply->ar_results.proc(xdrs, reply->ar_results.where, LASTUNSIGNED);
    case PROG_MISMATCH:
      return xdr_versions(xdrs, &reply->ar_vers);
    default:
      return TRUE;
  }
}

bool_t xdr_rejected_reply(XDR* xdrs, void* rejected_reply_body, std::uint32_t) {
  auto* reply = static_cast<rejected_reply*>(rejected_reply_body);
  if (!xdr_enum(xdrs, &reply->rj_stat)) return FALSE;
  switch (reply->rj_stat) {
    case RPC_MISMATCH:
      return xdr_versions(xdrs, &reply->rj_vers);
    case AUTH_ERROR:
      return xdr_enum(xdrs, &reply->rj_why);
    default:
      return FALSE;
  }
}

bool_t xdr_replymsg(XDR* xdrs, rpc_msg* message) {
  if (!xdr_u_long(xdrs, &message->rm_xid)) return FALSE;
  if (!xdr_enum(xdrs, &message->rm_direction)) return FALSE;
  if (message->rm_direction != REPLY) return FALSE;
  reply_body* reply = &message->rm_reply;
  return xdr_union(xdrs, &reply->rp_stat, &reply->rp_acpt, reply_dscm, nullptr);
}

namespace {

void set_failed(rpc_err* error, std::int32_t s1, std::int32_t s2) {
  error->re_status = RPC_FAILED;
  error->re_lb.s1 = s1;
  error->re_lb.s2 = s2;
}

void accepted_error(enum_t status, rpc_err* error) {
  switch (status) {
    case SUCCESS:
      error->re_status = RPC_SUCCESS;
      return;
    case PROG_UNAVAIL:
      error->re_status = RPC_PROGUNAVAIL;
      return;
    case PROG_MISMATCH:
      error->re_status = RPC_PROGVERSMISMATCH;
      return;
    case PROC_UNAVAIL:
      error->re_status = RPC_PROCUNAVAIL;
      return;
    case GARBAGE_ARGS:
      error->re_status = RPC_CANTDECODEARGS;
      return;
    case SYSTEM_ERR:
      error->re_status = RPC_SYSTEMERROR;
      return;
    default:
      set_failed(error, MSG_ACCEPTED, status);
  }
}

// Compatibility: compares the rejection with RPC_VERSMISMATCH, which is a call status, so that a
// server's RPC_MISMATCH becomes RPC_FAILED with 1 and 0. Callers depend on it. Do not fix.
void rejected_error(enum_t status, rpc_err* error) {
  switch (status) {
    case RPC_VERSMISMATCH:
      error->re_status = RPC_VERSMISMATCH;
      return;
    case AUTH_ERROR:
      error->re_status = RPC_AUTHERROR;
      return;
    default:
      set_failed(error, MSG_DENIED, status);
  }
}

}  // namespace

void _seterr_reply(const rpc_msg* message, rpc_err* error) {
  const reply_body* reply = &message->rm_reply;
  switch (reply->rp_stat) {
    case MSG_ACCEPTED:
      accepted_error(reply->rp_acpt.ar_stat, error);
      break;
    case MSG_DENIED:
      rejected_error(reply->rp_rjct.rj_stat, error);
      break;
    default:
      error->re_status = RPC_FAILED;
      error->re_lb.s1 = reply->rp_stat;
  }
  switch (error->re_status) {
    case RPC_VERSMISMATCH:
      error->re_vers = reply->rp_rjct.rj_vers;
      break;
    case RPC_AUTHERROR:
      error->re_why = reply->rp_rjct.rj_why;
      break;
    case RPC_PROGVERSMISMATCH:
      error->re_vers = reply->rp_acpt.ar_vers;
      break;
    default:
      break;
  }
}

}  // namespace kvrpc
