// The table from errno values to Winsock's numbers, so that a script reads the same number on every
// platform. Values are matched by name. If a platform gives two names the same value, the first row
// counts. A value without a name in Winsock becomes RPC_ESYSCALL.

#include <cerrno>
#include <cstdint>

#include "rpc/rpc_os.h"
#include "rpc/rpc_os_platform.h"

namespace kvrpc {

namespace {

struct error_row {
  std::int32_t error;
  std::int32_t number;
};

constexpr error_row error_table[] = {
    {EINTR, RPC_EINTR},       {EBADF, 10038},  // a closed descriptor is no socket
    {EPIPE, 10054},  // a peer that went away is one, whether it is noticed by send or by recv
    {EPERM, 10013},  // a firewall's refusal
    {EACCES, 10013},          {EFAULT, 10014},       {EINVAL, 10022},
    {EMFILE, 10024},          {ENFILE, 10024},       {EWOULDBLOCK, 10035},
    {EAGAIN, 10035},          {EINPROGRESS, 10036},  {EALREADY, 10037},
    {ENOTSOCK, 10038},        {EDESTADDRREQ, 10039}, {EMSGSIZE, 10040},
    {EPROTOTYPE, 10041},      {ENOPROTOOPT, 10042},  {EPROTONOSUPPORT, 10043},
    {ESOCKTNOSUPPORT, 10044}, {EOPNOTSUPP, 10045},   {ENOTSUP, 10045},
    {EPFNOSUPPORT, 10046},    {EAFNOSUPPORT, 10047}, {EADDRINUSE, 10048},
    {EADDRNOTAVAIL, 10049},   {ENETDOWN, 10050},     {ENETUNREACH, 10051},
    {ENETRESET, 10052},       {ECONNABORTED, 10053}, {ECONNRESET, 10054},
    {ENOBUFS, 10055},         {ENOMEM, 10055},       {EISCONN, 10056},
    {ENOTCONN, 10057},        {ESHUTDOWN, 10058},    {ETOOMANYREFS, 10059},
    {ETIMEDOUT, 10060},       {ECONNREFUSED, 10061}, {ELOOP, 10062},
    {ENAMETOOLONG, 10063},    {EHOSTDOWN, 10064},    {EHOSTUNREACH, 10065},
    {ENOTEMPTY, 10066},       {EUSERS, 10068},       {EDQUOT, 10069},
    {ESTALE, 10070},          {EREMOTE, 10071},
};

}  // namespace

std::int32_t rpc_winsock_number(std::int32_t error) {
  for (const error_row& row : error_table) {
    if (row.error == error) return row.number;
  }
  return RPC_ESYSCALL;
}

}  // namespace kvrpc
