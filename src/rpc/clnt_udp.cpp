// The UDP transport. A call is one datagram, which is sent again until its reply has come.
#include "rpc/clnt_udp.h"

#include <cstring>

#include "rpc/auth_none.h"
#include "rpc/clnt_common.h"
#include "rpc/rpc_msg.h"

namespace kvrpc {

namespace {

constexpr std::int32_t id_size = 4;

// The handle's private record. One allocation holds this record, the input buffer and the output
// buffer, in this order.
struct cu_data {
  rpc_socket cu_sock;
  bool cu_closeit;  // the socket is the handle's own
  rpc_address cu_raddr;
  std::int32_t cu_rlen;
  rpc_timeval cu_wait;   // interval between two transmissions
  rpc_timeval cu_total;  // if tv_usec is -1, it is not set and the timeout of a call counts
  rpc_err cu_error;      // outcome of the last call
  XDR cu_outxdrs;
  std::uint32_t cu_xdrpos;  // size of the header
  std::uint32_t cu_sendsz;
  char* cu_outbuf;
  std::uint32_t cu_recvsz;
  char* cu_inbuf;
};

cu_data* data_of(CLIENT* clnt) { return static_cast<cu_data*>(clnt->cl_private); }

std::int32_t fail(cu_data* cu, clnt_stat status) { return cu->cu_error.re_status = status; }

std::int32_t socket_failed(cu_data* cu, clnt_stat status) {
  cu->cu_error.re_errno = rpc_socket_errno();
  return fail(cu, status);
}

// ---- a call

void next_id(char* header) {
  auto* bytes = reinterpret_cast<unsigned char*>(header);
  if (++bytes[0] == 0) ++bytes[1];
}

// Writes the call after the header. Returns the length of both, or 0 if they do not fit. Sets up
// the stream anew, because a put that failed has reduced its room.
std::uint32_t write_call(CLIENT* clnt, std::uint32_t procedure, xdrproc_t arguments,
                         void* argument_record) {
  cu_data* cu = data_of(clnt);
  XDR* xdrs = &cu->cu_outxdrs;
  xdrmem_create(xdrs, cu->cu_outbuf, cu->cu_sendsz, XDR_ENCODE);
  XDR_SETPOS(xdrs, cu->cu_xdrpos);
  next_id(cu->cu_outbuf);
  const auto number = static_cast<std::int32_t>(procedure);
  if (!XDR_PUTLONG(xdrs, &number) || !AUTH_MARSHALL(clnt->cl_auth, xdrs) ||
      !arguments(xdrs, argument_record, LASTUNSIGNED)) {
    return 0;
  }
  return XDR_GETPOS(xdrs);
}

// Waits for one interval. Returns 1 with the length of the reply in `*length`, 0 when the interval
// is over, or -1.
std::int32_t await_datagram(cu_data* cu, std::int32_t* length) {
  for (;;) {
    const std::int32_t ready = rpc_socket_await(cu->cu_sock, cu->cu_wait);
    if (ready <= 0) return ready;
    rpc_address sender;
    do {
      *length = rpc_socket_recvfrom(cu->cu_sock, cu->cu_inbuf,
                                    static_cast<std::int32_t>(cu->cu_recvsz), &sender);
    } while (*length < 0 && rpc_socket_errno() == RPC_EINTR);
    if (*length < 0 && rpc_socket_errno() != RPC_EWOULDBLOCK) return -1;
    if (*length >= id_size && std::memcmp(cu->cu_inbuf, cu->cu_outbuf, id_size) == 0) return 1;
  }
}

void add_time(rpc_timeval* sum, rpc_timeval span) {
  sum->tv_sec += span.tv_sec;
  sum->tv_usec += span.tv_usec;
  for (; sum->tv_usec >= 1000000; sum->tv_usec -= 1000000) ++sum->tv_sec;
}

bool is_below(rpc_timeval a, rpc_timeval b) {
  return a.tv_sec != b.tv_sec ? a.tv_sec < b.tv_sec : a.tv_usec < b.tv_usec;
}

// Sends the call until its reply has come. Returns RPC_SUCCESS, or the failure, which it records.
std::int32_t exchange(cu_data* cu, std::uint32_t call_length, rpc_timeval total,
                      std::int32_t* reply_length) {
  rpc_timeval waited = {0, 0};
  const auto length = static_cast<std::int32_t>(call_length);
  do {
    if (rpc_socket_sendto(cu->cu_sock, cu->cu_outbuf, length, &cu->cu_raddr) != length) {
      return socket_failed(cu, RPC_CANTSEND);
    }
    if (total.tv_sec == 0 && total.tv_usec == 0) return fail(cu, RPC_TIMEDOUT);
    const std::int32_t arrived = await_datagram(cu, reply_length);
    if (arrived > 0) return RPC_SUCCESS;
    if (arrived < 0) return socket_failed(cu, RPC_CANTRECV);
    add_time(&waited, cu->cu_wait);
  } while (is_below(waited, total));
  return fail(cu, RPC_TIMEDOUT);
}

// Decodes the reply, results included, and records its outcome. Returns true if the server refused
// the call, because another try with a renewed credential might then succeed.
bool take_reply(CLIENT* clnt, std::int32_t length, xdrproc_t results, void* result_record) {
  cu_data* cu = data_of(clnt);
  XDR stream;
  xdrmem_create(&stream, cu->cu_inbuf, static_cast<std::uint32_t>(length), XDR_DECODE);
  rpc_msg reply;
  clnt_expect_reply(&reply, results, result_record);
  bool refused = false;
  if (!xdr_replymsg(&stream, &reply)) {
    cu->cu_error.re_status = RPC_CANTDECODERES;
  } else {
    _seterr_reply(&reply, &cu->cu_error);
    refused = cu->cu_error.re_status != RPC_SUCCESS;
    if (!refused && !AUTH_VALIDATE(clnt->cl_auth, &reply.rm_reply.rp_acpt.ar_verf)) {
      cu->cu_error.re_status = RPC_AUTHERROR;
      cu->cu_error.re_why = AUTH_INVALIDRESP;
    }
  }
  clnt_release_verifier(&reply);
  return refused;
}

std::int32_t clntudp_call(CLIENT* clnt, std::uint32_t procedure, xdrproc_t arguments,
                          void* argument_record, xdrproc_t results, void* result_record,
                          rpc_timeval timeout) {
  cu_data* cu = data_of(clnt);
  const rpc_timeval total = cu->cu_total.tv_usec == -1 ? timeout : cu->cu_total;
  for (std::int32_t refreshes = 2;; --refreshes) {
    const std::uint32_t length = write_call(clnt, procedure, arguments, argument_record);
    if (length == 0) return fail(cu, RPC_CANTENCODEARGS);
    std::int32_t reply_length = 0;
    if (exchange(cu, length, total, &reply_length) != RPC_SUCCESS) break;
    if (!take_reply(clnt, reply_length, results, result_record)) break;
    if (refreshes == 0 || !AUTH_REFRESH(clnt->cl_auth)) break;
  }
  return cu->cu_error.re_status;
}

// ---- the other operations

void clntudp_abort(CLIENT*) {}

void clntudp_geterr(CLIENT* clnt, rpc_err* error) { *error = data_of(clnt)->cu_error; }

bool_t clntudp_freeres(CLIENT* clnt, xdrproc_t results, void* result_record) {
  XDR* xdrs = &data_of(clnt)->cu_outxdrs;
  xdrs->x_op = XDR_FREE;
  return results(xdrs, result_record, LASTUNSIGNED);
}

void clntudp_destroy(CLIENT* clnt) {
  cu_data* cu = data_of(clnt);
  if (cu->cu_closeit) clnt_close_socket(clnt, cu->cu_sock);
  XDR_DESTROY(&cu->cu_outxdrs);
  clnt_release(clnt);
}

bool_t clntudp_control(CLIENT* clnt, std::uint32_t request, void* value) {
  cu_data* cu = data_of(clnt);
  switch (request) {
    case CLSET_TIMEOUT:
      std::memcpy(&cu->cu_total, value, sizeof cu->cu_total);
      return TRUE;
    case CLGET_TIMEOUT:
      std::memcpy(value, &cu->cu_total, sizeof cu->cu_total);
      return TRUE;
    case CLGET_SERVER_ADDR:
      std::memcpy(value, &cu->cu_raddr, sizeof cu->cu_raddr);
      return TRUE;
    case CLSET_RETRY_TIMEOUT:
      std::memcpy(&cu->cu_wait, value, sizeof cu->cu_wait);
      return TRUE;
    case CLGET_RETRY_TIMEOUT:
      std::memcpy(value, &cu->cu_wait, sizeof cu->cu_wait);
      return TRUE;
    default:
      return FALSE;
  }
}

constexpr clnt_ops udp_ops = {clntudp_call,    clntudp_abort,   clntudp_geterr,
                              clntudp_freeres, clntudp_destroy, clntudp_control};

// ---- creation

std::uint32_t rounded_up(std::uint32_t size) { return (size + 3) & ~std::uint32_t{3}; }

// Opens a socket if the caller gave none. Returns false with the reason in rpc_createerr.
bool open_socket(cu_data* cu, rpc_socket* sock) {
  if (*sock < 0) {
    *sock = rpc_socket_open(RPC_DATAGRAM, RPC_UDP);
    if (*sock < 0) {
      clnt_create_failed(RPC_SYSTEMERROR, rpc_socket_errno());
      return false;
    }
    rpc_socket_set_nonblocking(*sock);
    cu->cu_closeit = true;
  }
  cu->cu_sock = *sock;
  return true;
}

}  // namespace

CLIENT* clntudp_bufcreate(rpc_address* address, std::uint32_t program, std::uint32_t version,
                          rpc_timeval wait, rpc_socket* sock, std::uint32_t send_size,
                          std::uint32_t receive_size) {
  const std::uint32_t sendsz = rounded_up(send_size);
  const std::uint32_t recvsz = rounded_up(receive_size);
  CLIENT* clnt = clnt_allocate("clntudp_create", &udp_ops,
                               sizeof(cu_data) + std::size_t{sendsz} + std::size_t{recvsz});
  if (clnt == nullptr) return nullptr;
  cu_data* cu = data_of(clnt);
  cu->cu_inbuf = reinterpret_cast<char*>(cu + 1);
  cu->cu_outbuf = cu->cu_inbuf + recvsz;
  cu->cu_wait = wait;
  cu->cu_total = {-1, -1};
  cu->cu_sendsz = sendsz;
  cu->cu_recvsz = recvsz;
  cu->cu_xdrpos = CALL_HEADER_SIZE;
  const std::uint32_t seconds = rpc_time_seconds();  // before the query, which may take seconds
  if (!clnt_find_port(address, program, version, RPC_UDP) ||
      !clnt_write_header(cu->cu_outbuf, sendsz, program, version, seconds) ||
      !open_socket(cu, sock)) {
    clnt_release(clnt);
    return nullptr;
  }
  cu->cu_raddr = *address;
  cu->cu_rlen = sizeof cu->cu_raddr;
  xdrmem_create(&cu->cu_outxdrs, cu->cu_outbuf, sendsz, XDR_ENCODE);
  return clnt;
}

CLIENT* clntudp_create(rpc_address* address, std::uint32_t program, std::uint32_t version,
                       rpc_timeval wait, rpc_socket* sock) {
  return clntudp_bufcreate(address, program, version, wait, sock, UDPMSGSIZE, UDPMSGSIZE);
}

}  // namespace kvrpc
