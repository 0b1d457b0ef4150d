// Creates a handle by host name: resolves the host, finds the port, chooses the transport. Separate
// from clnt.cpp, because only this part knows the transports.
#include <cstring>

#include "rpc/clnt.h"
#include "rpc/clnt_tcp.h"
#include "rpc/clnt_udp.h"
#include "rpc/port_lookup.h"
#include "rpc/rpc_os.h"

namespace kvrpc {

namespace {

constexpr rpc_timeval retransmission = {5, 0};
constexpr rpc_timeval total_time = {25, 0};

// Returns the protocol number of a transport name, or -1.
std::int32_t protocol_of(const char* transport) {
  if (std::strcmp(transport, "ip") == 0) return RPC_IP;
  if (std::strcmp(transport, "tcp") == 0) return RPC_TCP;
  if (std::strcmp(transport, "udp") == 0) return RPC_UDP;
  return rpc_protocol_number(transport);
}

// Finds the host's address. Returns false with the reason in rpc_createerr.
bool resolve(const char* host, rpc_address* address) {
  rpc_resolver_enter();
  std::int32_t number = 0;
  const std::int32_t status = rpc_resolve(host, address, &number);
  rpc_resolver_leave();
  if (status == RPC_UNKNOWNHOST) rpc_createerr.cf_stat = status;
  if (status == RPC_SYSTEMERROR) clnt_create_failed(status, number);
  return status == RPC_SUCCESS;
}

}  // namespace

CLIENT* clnt_create(const char* host, std::uint32_t program, std::uint32_t version,
                    const char* transport) {
  const std::int32_t protocol = protocol_of(transport);
  if (protocol == -1) return clnt_create_failed(RPC_UNKNOWNPROTO, RPC_EPFNOSUPPORT);
  rpc_address address;
  if (!resolve(host, &address)) return nullptr;
  const std::int32_t port = rpc_port_lookup(host, program, version);
  if (port < 0) return nullptr;
  address.port = rpc_network_order(static_cast<std::uint16_t>(port));

  CLIENT* clnt = nullptr;
  rpc_socket sock = -1;
  if (protocol == RPC_TCP) {
    clnt = clnttcp_create(&address, program, version, &sock, 0, 0);
  } else if (protocol == RPC_UDP) {
    clnt = clntudp_create(&address, program, version, retransmission, &sock);
  } else {
    return clnt_create_failed(RPC_SYSTEMERROR, RPC_EPFNOSUPPORT);
  }
  if (clnt == nullptr) return nullptr;
  rpc_timeval total = total_time;
  clnt->cl_ops->control(clnt, CLSET_TIMEOUT, &total);
  return clnt;
}

}  // namespace kvrpc
