// The TCP transport. A call is one record; a reply is read from the stream of records, and records
// that are no reply to this call are skipped.
#include "rpc/clnt_tcp.h"

#include <cstring>

#include "rpc/auth_none.h"
#include "rpc/clnt_common.h"
#include "rpc/rpc_msg.h"
#include "rpc/xdrrec.h"

namespace kvrpc {

namespace {

constexpr std::uint32_t MCALL_MSG_SIZE = 24;
// With a buffer of 4,000 bytes, reading a long list takes four times as long.
constexpr std::uint32_t fast_receive_size = 256 * 1024;

struct ct_data {
  rpc_socket ct_sock;
  bool ct_closeit;      // the socket is the handle's own
  rpc_timeval ct_wait;  // for one read
  bool ct_waitset;      // set by control, so the timeout of a call does not replace it
  rpc_address ct_addr;
  rpc_err ct_error;  // outcome of the last call
  char ct_mcall[MCALL_MSG_SIZE];
  std::uint32_t ct_mpos;  // valid bytes of ct_mcall
  XDR ct_xdrs;
  bool ct_waits_in_receive;
  const CLIENT* ct_clnt;  // the handle of this record
};

ct_data* data_of(CLIENT* clnt) { return static_cast<ct_data*>(clnt->cl_private); }

// ---- the stream's input and output

std::int32_t io_failed(ct_data* ct, clnt_stat status, std::int32_t number) {
  ct->ct_error.re_status = status;
  ct->ct_error.re_errno = number;
  return -1;
}

std::int32_t readtcp(void* tcp_handle, char* bytes, std::int32_t length) {
  auto* ct = static_cast<ct_data*>(tcp_handle);
  if (length == 0) return 0;
  const std::int32_t got =
      rpc_socket_recv(ct->ct_sock, bytes, length, ct->ct_wait, ct->ct_waits_in_receive);
  if (got > 0) return got;
  if (got == 0) return io_failed(ct, RPC_CANTRECV, RPC_ECONNRESET);
  if (got != RPC_NOTHING_CAME) return io_failed(ct, RPC_CANTRECV, rpc_socket_errno());
  ct->ct_error.re_status = RPC_TIMEDOUT;
  return -1;
}

// Returns the number of bytes sent, which is smaller than `length` after a failure. Sends nothing
// in a child that a signal handler forked during the call, because the connection is its parent's.
std::int32_t writetcp(void* tcp_handle, char* bytes, std::int32_t length) {
  auto* ct = static_cast<ct_data*>(tcp_handle);
  if (clnt_is_inherited(ct->ct_clnt)) {
    io_failed(ct, RPC_CANTSEND, RPC_EINTERRUPTED);
    return 0;
  }
  for (std::int32_t sent = 0; sent < length;) {
    const std::int32_t part = rpc_socket_send(ct->ct_sock, bytes + sent, length - sent);
    if (part < 0) {
      io_failed(ct, RPC_CANTSEND, rpc_socket_errno());
      return sent;
    }
    sent += part;
  }
  return length;
}

// ---- a call

// Advances the transaction id. Returns it in the host's order.
std::uint32_t next_id(char* header) {
  auto* bytes = reinterpret_cast<unsigned char*>(header);
  for (std::int32_t i = 0; i < 4; ++i) {
    if (bytes[i]-- != 0) break;
  }
  return std::uint32_t{bytes[0]} << 24 | std::uint32_t{bytes[1]} << 16 |
         std::uint32_t{bytes[2]} << 8 | bytes[3];
}

// Writes the call and ends its record. Ends an incomplete record as well, because the next call
// must start with a record of its own.
bool send_call(CLIENT* clnt, std::uint32_t procedure, xdrproc_t arguments, void* argument_record,
               bool send_now) {
  ct_data* ct = data_of(clnt);
  XDR* xdrs = &ct->ct_xdrs;
  const auto number = static_cast<std::int32_t>(procedure);
  if (!XDR_PUTBYTES(xdrs, ct->ct_mcall, ct->ct_mpos) || !XDR_PUTLONG(xdrs, &number) ||
      !AUTH_MARSHALL(clnt->cl_auth, xdrs) || !arguments(xdrs, argument_record, LASTUNSIGNED)) {
    if (ct->ct_error.re_status == RPC_SUCCESS) ct->ct_error.re_status = RPC_CANTENCODEARGS;
    xdrrec_endofrecord(xdrs, TRUE);
    return false;
  }
  if (xdrrec_endofrecord(xdrs, send_now)) return true;
  ct->ct_error.re_status = RPC_CANTSEND;
  return false;
}

// Reads replies until the one with this id has come, and decodes it to `reply`, up to its results.
// Drops every other reply and every one that does not decode. Returns false after an input failure.
bool await_reply(ct_data* ct, std::uint32_t id, rpc_msg* reply) {
  for (;;) {
    clnt_expect_reply(reply, xdr_void, nullptr);
    if (!xdrrec_skiprecord(&ct->ct_xdrs)) return false;
    const bool decoded = xdr_replymsg(&ct->ct_xdrs, reply);
    if (decoded && reply->rm_xid == id) return true;
    clnt_release_verifier(reply);
    if (!decoded && ct->ct_error.re_status != RPC_SUCCESS) return false;
  }
}

void take_results(CLIENT* clnt, const rpc_msg* reply, xdrproc_t results, void* result_record) {
  ct_data* ct = data_of(clnt);
  if (!AUTH_VALIDATE(clnt->cl_auth, &reply->rm_reply.rp_acpt.ar_verf)) {
    ct->ct_error.re_status = RPC_AUTHERROR;
    ct->ct_error.re_why = AUTH_INVALIDRESP;
  } else if (!results(&ct->ct_xdrs, result_record, LASTUNSIGNED) &&
             ct->ct_error.re_status == RPC_SUCCESS) {
    ct->ct_error.re_status = RPC_CANTDECODERES;
  }
}

// Waits for the reply and records its outcome. Returns false if none came.
bool receive_reply(CLIENT* clnt, std::uint32_t id, xdrproc_t results, void* result_record) {
  ct_data* ct = data_of(clnt);
  ct->ct_xdrs.x_op = XDR_DECODE;
  rpc_msg reply;
  if (!await_reply(ct, id, &reply)) return false;
  _seterr_reply(&reply, &ct->ct_error);
  if (ct->ct_error.re_status == RPC_SUCCESS) take_results(clnt, &reply, results, result_record);
  clnt_release_verifier(&reply);
  return true;
}

std::int32_t clnttcp_call(CLIENT* clnt, std::uint32_t procedure, xdrproc_t arguments,
                          void* argument_record, xdrproc_t results, void* result_record,
                          rpc_timeval timeout) {
  ct_data* ct = data_of(clnt);
  const bool no_wait = timeout.tv_sec == 0 && timeout.tv_usec == 0;
  const bool send_now = results != nullptr || !no_wait;
  if (!ct->ct_waitset) ct->ct_wait = timeout;
  for (std::int32_t refreshes = 2;; --refreshes) {
    ct->ct_xdrs.x_op = XDR_ENCODE;
    ct->ct_error.re_status = RPC_SUCCESS;
    const std::uint32_t id = next_id(ct->ct_mcall);
    if (!send_call(clnt, procedure, arguments, argument_record, send_now)) break;
    if (!send_now) break;
    if (no_wait) return ct->ct_error.re_status = RPC_TIMEDOUT;
    if (!receive_reply(clnt, id, results, result_record)) break;
    if (ct->ct_error.re_status == RPC_SUCCESS) break;
    if (refreshes == 0 || !AUTH_REFRESH(clnt->cl_auth)) break;
  }
  return ct->ct_error.re_status;
}

// ---- the other operations

void clnttcp_abort(CLIENT*) {}

void clnttcp_geterr(CLIENT* clnt, rpc_err* error) { *error = data_of(clnt)->ct_error; }

bool_t clnttcp_freeres(CLIENT* clnt, xdrproc_t results, void* result_record) {
  XDR* xdrs = &data_of(clnt)->ct_xdrs;
  xdrs->x_op = XDR_FREE;
  return results(xdrs, result_record, LASTUNSIGNED);
}

void clnttcp_destroy(CLIENT* clnt) {
  ct_data* ct = data_of(clnt);
  if (ct->ct_closeit && clnt_close_socket(clnt, ct->ct_sock) != 0) {
    rpc_report("clnttcp_destroy: closesocket(%d) returned %d\n", static_cast<int>(ct->ct_sock),
               rpc_socket_errno());
  }
  XDR_DESTROY(&ct->ct_xdrs);
  clnt_release(clnt);
}

bool_t clnttcp_control(CLIENT* clnt, std::uint32_t request, void* value) {
  ct_data* ct = data_of(clnt);
  switch (request) {
    case CLSET_TIMEOUT:
      std::memcpy(&ct->ct_wait, value, sizeof ct->ct_wait);
      ct->ct_waitset = true;
      return TRUE;
    case CLGET_TIMEOUT:
      std::memcpy(value, &ct->ct_wait, sizeof ct->ct_wait);
      return TRUE;
    case CLGET_SERVER_ADDR:
      std::memcpy(value, &ct->ct_addr, sizeof ct->ct_addr);
      return TRUE;
    default:
      return FALSE;
  }
}

constexpr clnt_ops tcp_ops = {clnttcp_call,    clnttcp_abort,   clnttcp_geterr,
                              clnttcp_freeres, clnttcp_destroy, clnttcp_control};

// ---- creation

// Connects a new socket if the caller gave none. Returns false with the reason in rpc_createerr.
bool open_connection(CLIENT* clnt, const rpc_address* address, rpc_socket* sock) {
  if (*sock >= 0) return true;
  *sock = rpc_socket_open(RPC_STREAM, RPC_TCP);
  if (*sock >= 0 && rpc_socket_connect(*sock, address) == 0) {
    data_of(clnt)->ct_closeit = true;
    data_of(clnt)->ct_waits_in_receive = rpc_socket_wait_in_receive(*sock);
    return true;
  }
  clnt_create_failed(RPC_SYSTEMERROR, rpc_socket_errno());
  if (*sock >= 0) clnt_close_socket(clnt, *sock);
  return false;
}

}  // namespace

CLIENT* clnttcp_create(rpc_address* address, std::uint32_t program, std::uint32_t version,
                       rpc_socket* sock, std::uint32_t send_size, std::uint32_t receive_size) {
  CLIENT* clnt = clnt_allocate("clnttcp_create", &tcp_ops, sizeof(ct_data));
  if (clnt == nullptr) return nullptr;
  ct_data* ct = data_of(clnt);
  if (!clnt_find_port(address, program, version, RPC_TCP) ||
      !open_connection(clnt, address, sock)) {
    clnt_release(clnt);
    return nullptr;
  }
  ct->ct_clnt = clnt;
  ct->ct_sock = *sock;
  ct->ct_addr = *address;
  clnt_write_header(ct->ct_mcall, MCALL_MSG_SIZE, program, version, rpc_time_seconds());  // fits
  ct->ct_mpos = CALL_HEADER_SIZE;
  xdrrec_create(&ct->ct_xdrs, send_size, receive_size == 0 ? fast_receive_size : receive_size, ct,
                readtcp, writetcp);
  xdrrec_hold_output(&ct->ct_xdrs);
  return clnt;
}

}  // namespace kvrpc
