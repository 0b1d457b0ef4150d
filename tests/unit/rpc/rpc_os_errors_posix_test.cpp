// The table from errno values to Winsock's numbers.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>

#include "rpc/rpc_os_platform.h"

namespace kvrpc::test {
namespace {

TEST(error_numbers, every_name_that_winsock_has_keeps_its_number) {
  const std::int32_t table[][2] = {
      {EINTR, 4},
      {EACCES, 10013},
      {EFAULT, 10014},
      {EINVAL, 10022},
      {EMFILE, 10024},
      {EWOULDBLOCK, 10035},
      {EINPROGRESS, 10036},
      {EALREADY, 10037},
      {ENOTSOCK, 10038},
      {EDESTADDRREQ, 10039},
      {EMSGSIZE, 10040},
      {EPROTOTYPE, 10041},
      {ENOPROTOOPT, 10042},
      {EPROTONOSUPPORT, 10043},
      {ESOCKTNOSUPPORT, 10044},
      {EOPNOTSUPP, 10045},
      {EPFNOSUPPORT, 10046},
      {EAFNOSUPPORT, 10047},
      {EADDRINUSE, 10048},
      {EADDRNOTAVAIL, 10049},
      {ENETDOWN, 10050},
      {ENETUNREACH, 10051},
      {ENETRESET, 10052},
      {ECONNABORTED, 10053},
      {ECONNRESET, 10054},
      {ENOBUFS, 10055},
      {EISCONN, 10056},
      {ENOTCONN, 10057},
      {ESHUTDOWN, 10058},
      {ETOOMANYREFS, 10059},
      {ETIMEDOUT, 10060},
      {ECONNREFUSED, 10061},
      {ELOOP, 10062},
      {ENAMETOOLONG, 10063},
      {EHOSTDOWN, 10064},
      {EHOSTUNREACH, 10065},
      {ENOTEMPTY, 10066},
      {EUSERS, 10068},
      {EDQUOT, 10069},
      {ESTALE, 10070},
      {EREMOTE, 10071},
  };
  for (const auto& row : table) EXPECT_EQ(rpc_winsock_number(row[0]), row[1]) << row[0];
}

TEST(error_numbers, names_that_winsock_has_not_take_the_nearest_number) {
  EXPECT_EQ(rpc_winsock_number(EPIPE), 10054);
  EXPECT_EQ(rpc_winsock_number(EBADF), 10038);
  EXPECT_EQ(rpc_winsock_number(EPERM), 10013);
  EXPECT_EQ(rpc_winsock_number(ENFILE), 10024);
  EXPECT_EQ(rpc_winsock_number(ENOMEM), 10055);
  EXPECT_EQ(rpc_winsock_number(EIO), 10107);
  EXPECT_EQ(rpc_winsock_number(12345), 10107);
}

}  // namespace
}  // namespace kvrpc::test
