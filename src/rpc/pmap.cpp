// The portmapper query, which is an RPC itself: it makes a handle, calls GETPORT and destroys the
// handle.
#include "rpc/pmap.h"

#include <cerrno>

#include "rpc/clnt_tcp.h"
#include "rpc/clnt_udp.h"
#include "rpc/environment.h"

namespace kvrpc {

namespace {

constexpr std::uint16_t portmapper_port = 111;
constexpr std::uint32_t portmapper_program = 100000;
constexpr std::uint32_t portmapper_version = 2;
constexpr std::uint32_t procedure_getport = 3;
constexpr std::uint32_t buffer_size = 400;
constexpr rpc_timeval time_limit = {3, 0};

struct pmap {
  std::uint32_t program;
  std::uint32_t version;
  std::uint32_t protocol;
  std::uint32_t port;
};

bool_t xdr_pmap(XDR* xdrs, void* object, std::uint32_t) {
  auto* mapping = static_cast<pmap*>(object);
  return xdr_u_long(xdrs, &mapping->program) && xdr_u_long(xdrs, &mapping->version) &&
                 xdr_u_long(xdrs, &mapping->protocol) && xdr_u_long(xdrs, &mapping->port)
             ? TRUE
             : FALSE;
}

// Returns true if `name` is "tcp" in upper or lower case. In ASCII, the two cases of a letter
// differ in one bit.
bool wants_tcp(const char* name) {
  constexpr char case_bit = 'a' ^ 'A';
  return name != nullptr && (name[0] | case_bit) == 't' && (name[1] | case_bit) == 'c' &&
         (name[2] | case_bit) == 'p' && name[3] == '\0';
}

CLIENT* portmapper_client(rpc_address* address) {
  rpc_socket sock = -1;
  const environment_text transport(variable::transport);
  if (transport.failed()) return clnt_create_failed(RPC_SYSTEMERROR, ENOMEM);
  if (wants_tcp(transport.get())) {
    return clnttcp_create(address, portmapper_program, portmapper_version, &sock, buffer_size,
                          buffer_size);
  }
  return clntudp_bufcreate(address, portmapper_program, portmapper_version, time_limit, &sock,
                           buffer_size, buffer_size);
}

std::uint16_t ask(CLIENT* clnt, pmap* mapping) {
  std::uint16_t port = 0;
  const std::int32_t status = clnt_call(clnt, procedure_getport, xdr_pmap, mapping, xdr_u_short,
                                        &port, time_limit.tv_sec, time_limit.tv_usec);
  if (status != RPC_SUCCESS) {
    rpc_createerr.cf_stat = RPC_PMAPFAILURE;
    clnt->cl_ops->geterr(clnt, &rpc_createerr.cf_error);
  } else if (port == 0) {
    rpc_createerr.cf_stat = RPC_PROGNOTREGISTERED;
  }
  return port;
}

}  // namespace

// The handle opens and closes its socket by itself.
std::uint16_t pmap_getport(rpc_address* address, std::uint32_t program, std::uint32_t version,
                           std::uint32_t protocol) {
  address->port = rpc_network_order(portmapper_port);
  std::uint16_t port = 0;
  CLIENT* clnt = portmapper_client(address);
  if (clnt != nullptr) {
    pmap mapping = {program, version, protocol, 0};
    port = ask(clnt, &mapping);
    clnt->cl_ops->destroy(clnt);
  }
  address->port = 0;
  return port;
}

}  // namespace kvrpc
