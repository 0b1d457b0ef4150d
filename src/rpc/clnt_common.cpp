// What the two transports share. Separate from clnt.cpp, because it knows messages, authentication
// and the portmapper, which a handle does not.
#include "rpc/clnt_common.h"

#include <cerrno>
#include <cstdlib>

#include "rpc/auth_none.h"
#include "rpc/pmap.h"

namespace kvrpc {

CLIENT* clnt_allocate(const char* creator, const clnt_ops* operations, std::size_t private_size) {
  auto* clnt = static_cast<CLIENT*>(std::calloc(1, sizeof(CLIENT)));
  if (clnt != nullptr) clnt->cl_lock = rpc_create_lock();
  if (clnt != nullptr && clnt->cl_lock != nullptr) {
    clnt->cl_private = std::calloc(1, private_size);
  }
  if (clnt == nullptr || clnt->cl_private == nullptr) {
    const std::int32_t reason = errno;
    rpc_report("%s: out of memory\n", creator);
    if (clnt != nullptr) clnt_release(clnt);
    return clnt_create_failed(RPC_SYSTEMERROR, reason);
  }
  clnt->cl_ops = operations;
  clnt->cl_auth = authnone_create();
  clnt->cl_forks = rpc_fork_count();
  return clnt;
}

void clnt_release(CLIENT* clnt) {
  if (clnt->cl_lock != nullptr) rpc_destroy_lock(clnt->cl_lock);
  std::free(clnt->cl_private);
  std::free(clnt);
}

std::int32_t clnt_close_socket(const CLIENT* clnt, rpc_socket sock) {
  return clnt_is_inherited(clnt) ? 0 : rpc_socket_close(sock);
}

bool clnt_find_port(rpc_address* address, std::uint32_t program, std::uint32_t version,
                    rpc_protocol protocol) {
  if (address->port != 0) return true;
  const std::uint16_t port =
      pmap_getport(address, program, version, static_cast<std::uint32_t>(protocol));
  address->port = rpc_network_order(port);
  return port != 0;
}

bool clnt_write_header(char* buffer, std::uint32_t size, std::uint32_t program,
                       std::uint32_t version, std::uint32_t seconds) {
  rpc_msg message = {};
  message.rm_xid = rpc_process_id() ^ seconds;
  message.rm_call.cb_prog = program;
  message.rm_call.cb_vers = version;
  XDR stream;
  xdrmem_create(&stream, buffer, size, XDR_ENCODE);
  return xdr_callhdr(&stream, &message);
}

void clnt_expect_reply(rpc_msg* reply, xdrproc_t results, void* result_record) {
  *reply = {};
  reply->rm_reply = {};
  reply->rm_reply.rp_acpt.ar_verf = _null_auth;
  reply->rm_reply.rp_acpt.ar_results = {result_record, results};
}

// A denied reply overlays the verifier, so there is none to release. A reply whose decoding failed
// before its status still has the status and the empty verifier that clnt_expect_reply set.
void clnt_release_verifier(rpc_msg* reply) {
  if (reply->rm_reply.rp_stat == MSG_ACCEPTED) {
    xdr_free(xdr_opaque_auth, &reply->rm_reply.rp_acpt.ar_verf);
  }
}

}  // namespace kvrpc
