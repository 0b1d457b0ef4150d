// The one AUTH of the process: its bytes, and what holds without memory for it.
#include "rpc/auth_none.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "rpc/xdr_support.h"
#include "support/failing_heap.h"

namespace kvrpc::test {
namespace {

TEST(auth_none, is_one_for_the_whole_process) {
  AUTH* first = authnone_create();
  ASSERT_NE(first, nullptr);
  failing_heap heap(-1);
  EXPECT_EQ(authnone_create(), first);
  EXPECT_EQ(heap.allocations(), 0);
}

TEST(auth_none, is_built_once) {
  AUTH* auth = authnone_create();
  auth->ah_cred.oa_flavor = 9;
  EXPECT_EQ(authnone_create()->ah_cred.oa_flavor, 9);
  encoding stream;
  EXPECT_EQ(AUTH_MARSHALL(auth, &stream.xdrs), TRUE);
  EXPECT_EQ(stream.written(), bytes(16));
  auth->ah_cred.oa_flavor = AUTH_NONE;
}

TEST(auth_none, marshals_sixteen_zero_bytes) {
  encoding stream;
  EXPECT_EQ(AUTH_MARSHALL(authnone_create(), &stream.xdrs), TRUE);
  EXPECT_EQ(stream.written(), bytes(16));
  EXPECT_EQ(AUTH_MARSHALL(authnone_create(), &stream.xdrs), TRUE);
  EXPECT_EQ(stream.written(), bytes(32));
  encoding small(15);
  EXPECT_EQ(AUTH_MARSHALL(authnone_create(), &small.xdrs), FALSE);
}

TEST(auth_none, takes_any_verifier_and_never_refreshes) {
  char eight[8] = {};
  const opaque_auth verifier = {1, eight, 8};
  EXPECT_EQ(AUTH_VALIDATE(authnone_create(), &verifier), TRUE);
  EXPECT_EQ(AUTH_REFRESH(authnone_create()), FALSE);
}

TEST(auth_none, has_every_slot_of_its_table) {
  AUTH* auth = authnone_create();
  auth->ah_ops->ah_nextverf(auth);
  auth->ah_ops->ah_destroy(auth);
  EXPECT_EQ(authnone_create(), auth);
  EXPECT_EQ(auth->ah_cred.oa_flavor, AUTH_NONE);
  EXPECT_EQ(auth->ah_cred.oa_length, 0u);
  EXPECT_EQ(auth->ah_verf.oa_base, nullptr);
}

TEST(auth_none, that_is_null_fails_every_operation) {
  encoding stream;
  EXPECT_EQ(AUTH_MARSHALL(nullptr, &stream.xdrs), FALSE);
  EXPECT_EQ(stream.written(), bytes());
  EXPECT_EQ(AUTH_VALIDATE(nullptr, &_null_auth), FALSE);
  EXPECT_EQ(AUTH_REFRESH(nullptr), FALSE);
}

// Runs in a process of its own, where no AUTH has been made. Returns 0 if all checks hold.
int create_without_memory() {
  AUTH* without = nullptr;
  {
    failing_heap heap(0);
    without = authnone_create();
    if (!heap.failed()) return 2;
  }
  if (without != nullptr) return 3;
  return authnone_create() == nullptr ? 4 : 0;
}

TEST(auth_none_DeathTest, without_memory_is_null_until_there_is_some) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_EXIT(std::exit(create_without_memory()), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace kvrpc::test
