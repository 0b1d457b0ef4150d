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

// The protocol number of a transport name, or -1.
std::int32_t protocol_of(const char* transport) {
  if (std::strcmp(transport, "ip") == 0) return RPC_IP;
  if (std::strcmp(transport, "tcp") == 0) return RPC_TCP;
  if (std::strcmp(transport, "udp") == 0) return RPC_UDP;
  return rpc_protocol_number(transport);
}

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

CLIENT* clnt_create_failed(std::int32_t status, std::int32_t number) {
  rpc_createerr.cf_stat = status;
  rpc_createerr.cf_error.re_errno = number;
  return nullptr;
}

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

bool clnt_is_inherited(const CLIENT* clnt) { return clnt->cl_forks != rpc_fork_count(); }

std::int32_t clnt_call(CLIENT* clnt, std::uint32_t procedure, xdrproc_t arguments,
                       void* argument_record, xdrproc_t results, void* result_record,
                       std::int32_t timeout_seconds, std::int32_t timeout_microseconds) {
  if (clnt == nullptr) return RPC_FAILED;
  rpc_lock(clnt->cl_lock);
  const std::int32_t status =
      clnt->cl_ops->call(clnt, procedure, arguments, argument_record, results, result_record,
                         {timeout_seconds, timeout_microseconds});
  rpc_unlock(clnt->cl_lock);
  return status;
}

}  // namespace kvrpc
