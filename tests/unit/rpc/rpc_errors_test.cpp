// The texts of all statuses, failed calls and failed creations.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "rpc/clnt.h"
#include "support/failing_heap.h"

namespace kvrpc::test {
namespace {

rpc_err reported;

constexpr clnt_ops reporting = {
    nullptr, nullptr, [](CLIENT*, rpc_err* error) { *error = reported; }, nullptr, nullptr, nullptr,
};

CLIENT client = {nullptr, nullptr, &reporting, nullptr, 0};

// Returns the text for a status with its two words.
std::string text_of(std::int32_t status, std::int32_t first = 0, std::int32_t second = 0,
                    const char* prefix = "rpc_call") {
  reported.re_status = status;
  reported.re_lb = {first, second};
  return clnt_sperror(&client, prefix);
}

std::string create_text(std::int32_t status, std::int32_t error, std::int32_t number) {
  rpc_createerr.cf_stat = status;
  rpc_createerr.cf_error.re_status = error;
  rpc_createerr.cf_error.re_errno = number;
  return clnt_spcreateerror("clnt_create");
}

template <class Print>
std::string printed(Print print) {
  testing::internal::CaptureStderr();
  print();
  return testing::internal::GetCapturedStderr();
}

TEST(rpc_status, has_its_text) {
  const char* const texts[] = {
      "RPC: Success",
      "RPC: Can't encode arguments",
      "RPC: Can't decode result",
      "RPC: Unable to send",
      "RPC: Unable to receive",
      "RPC: Timed out",
      "RPC: Incompatible versions of RPC",
      "RPC: Authentication error",
      "RPC: Program unavailable",
      "RPC: Program/version mismatch",
      "RPC: Procedure unavailable",
      "RPC: Server can't decode arguments",
      "RPC: Remote system error",
      "RPC: Unknown host",
      "RPC: Port mapper failure",
      "RPC: Program not registered",
      "RPC: Failed (unspecified error)",
      "RPC: Unknown protocol",
  };
  std::int32_t status = 0;
  for (const char* text : texts) EXPECT_STREQ(clnt_sperrno(status++), text);
  EXPECT_STREQ(clnt_sperrno(18), "RPC: (unknown error code)");
  EXPECT_STREQ(clnt_sperrno(-1), "RPC: (unknown error code)");
}

TEST(rpc_auth_status, has_its_text_or_none) {
  const char* const texts[] = {
      "Authentication OK",       "Invalid client credential",  "Server rejected credential",
      "Invalid client verifier", "Server rejected verifier",   "Client credential too weak",
      "Invalid server verifier", "Failed (unspecified error)",
  };
  std::int32_t why = 0;
  for (const char* text : texts) EXPECT_STREQ(auth_errmsg(why++), text);
  EXPECT_EQ(auth_errmsg(8), nullptr);
  EXPECT_EQ(auth_errmsg(-1), nullptr);
}

TEST(rpc_call_error, of_most_statuses_is_the_text_alone) {
  for (std::int32_t status : {0, 1, 2, 5, 8, 10, 11, 12, 13, 14, 15, 16, 17}) {
    EXPECT_EQ(text_of(status, 3, 4), std::string("rpc_call: ") + clnt_sperrno(status) + "\n");
  }
}

TEST(rpc_call_error, of_the_socket_carries_its_number) {
  EXPECT_EQ(text_of(RPC_CANTRECV, 10054), "rpc_call: RPC: Unable to receive- Error 10054\n");
  EXPECT_EQ(text_of(RPC_CANTSEND, -1), "rpc_call: RPC: Unable to send- Error -1\n");
}

TEST(rpc_call_error, of_versions_carries_them) {
  EXPECT_EQ(text_of(RPC_VERSMISMATCH, 2, 3),
            "rpc_call: RPC: Incompatible versions of RPC; low version = 2, high version = 3\n");
  EXPECT_EQ(text_of(RPC_PROGVERSMISMATCH, 1, -1),
            "rpc_call: RPC: Program/version mismatch; low version = 1, high version = "
            "4294967295\n");
}

TEST(rpc_call_error, of_authentication_says_why) {
  EXPECT_EQ(text_of(RPC_AUTHERROR, 0),
            "rpc_call: RPC: Authentication error; why = Authentication OK\n");
  EXPECT_EQ(text_of(RPC_AUTHERROR, 9),
            "rpc_call: RPC: Authentication error; why = (unknown authentication error - 9)\n");
  EXPECT_EQ(text_of(RPC_AUTHERROR, -2),
            "rpc_call: RPC: Authentication error; why = (unknown authentication error - -2)\n");
}

TEST(rpc_call_error, of_an_unknown_status_shows_both_words) {
  EXPECT_EQ(text_of(18, 1, -1), "rpc_call: RPC: (unknown error code); s1 = 1, s2 = 4294967295\n");
  EXPECT_EQ(text_of(-1, 5, 6), "rpc_call: RPC: (unknown error code); s1 = 5, s2 = 6\n");
}

TEST(rpc_call_error, comes_in_one_buffer) {
  reported = {};
  const char* first = clnt_sperror(&client, "one");
  EXPECT_EQ(clnt_sperror(&client, "two"), first);
  EXPECT_EQ(clnt_spcreateerror("three"), first);
}

TEST(rpc_call_error, is_cut_at_the_buffer_and_keeps_its_line_end) {
  for (std::size_t length = 200; length < 600; ++length) {
    const std::string prefix(length, 'p');
    const std::string whole = prefix + ": RPC: Unable to receive- Error 10054";
    EXPECT_EQ(text_of(RPC_CANTRECV, 10054, 0, prefix.c_str()), whole.substr(0, 254) + "\n");
  }
}

TEST(rpc_create_error, of_most_statuses_is_the_text_alone) {
  EXPECT_EQ(create_text(RPC_UNKNOWNHOST, RPC_CANTRECV, 10054), "clnt_create: RPC: Unknown host\n");
  EXPECT_EQ(create_text(RPC_PROGNOTREGISTERED, 0, 0), "clnt_create: RPC: Program not registered\n");
}

TEST(rpc_create_error, of_the_port_mapper_names_the_status_that_caused_it) {
  EXPECT_EQ(create_text(RPC_PMAPFAILURE, RPC_TIMEDOUT, 0),
            "clnt_create: RPC: Port mapper failure - RPC: Timed out\n");
}

TEST(rpc_create_error, of_the_system_carries_its_number) {
  EXPECT_EQ(create_text(RPC_SYSTEMERROR, 0, 10054),
            "clnt_create: RPC: Remote system error - Error 10054\n");
}

TEST(rpc_printing, adds_no_line_end_of_its_own) {
  EXPECT_EQ(printed([] { clnt_perrno(RPC_TIMEDOUT); }), "RPC: Timed out");
  reported.re_status = RPC_TIMEDOUT;
  EXPECT_EQ(printed([] { clnt_perror(&client, "100% call"); }), "100% call: RPC: Timed out\n");
  create_text(RPC_UNKNOWNHOST, 0, 0);
  EXPECT_EQ(printed([] { clnt_pcreateerror("create"); }), "create: RPC: Unknown host\n");
}

// Runs in a process of its own, where no text has been built. Returns 0 if all checks hold.
int texts_without_memory() {
  failing_heap heap(0, true);
  if (clnt_sperror(&client, "call") != nullptr) return 2;
  if (clnt_spcreateerror("create") != nullptr) return 3;
  clnt_perror(&client, "call");
  clnt_pcreateerror("create");
  return 0;
}

TEST(rpc_errors_DeathTest, without_memory_there_is_no_text) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_EXIT(std::exit(texts_without_memory()), testing::ExitedWithCode(0), "");
}

TEST(rpc_errors_DeathTest, a_text_comes_once_there_is_memory) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_EXIT(
      {
        {
          failing_heap heap(0);
          if (clnt_spcreateerror("create") != nullptr) std::exit(2);
        }
        std::exit(text_of(RPC_TIMEDOUT) == "rpc_call: RPC: Timed out\n" ? 0 : 3);
      },
      testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace kvrpc::test
