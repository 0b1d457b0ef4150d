// The envelope of a reply: the members of rpc_err for each failure, and the message of each status.
#include "bridge/envelope.h"

#include <gtest/gtest.h>

#include "bridge/server_call.h"
#include "bridge/support/fake_client.h"

namespace kvrpc::test {
namespace {

std::string rpc_err_of(const rpc_err& failure) {
  fake_client client;
  client.failure = failure;
  text_buffer buffer;
  EXPECT_NE(add_rpc_err(client.handle(), buffer), 0);
  return std::string(buffer.data(), buffer.size());
}

// The second and third word are set as the two words of the union.
rpc_err failure_of(std::int32_t status, std::int32_t first = 77, std::int32_t second = 88) {
  rpc_err failure{};
  failure.re_status = status;
  failure.re_lb.s1 = first;
  failure.re_lb.s2 = second;
  return failure;
}

std::string envelope_of(int status, const rpc_err& failure = {}, const char* result = "[1, 2]") {
  fake_client client;
  client.failure = failure;
  text_buffer root;
  EXPECT_NE(fill_envelope(client.handle(), status, root), 0);
  if (status == CALL_OK) root.append((std::string(result) + "}").c_str(), std::strlen(result) + 1);
  return std::string(root.data(), root.size());
}

TEST(rpc_err_object, most_failures_have_their_status_alone) {
  for (int status : {0, 1, 2, 5, 8, 10, 11, 12, 13, 14, 15, 16, 17}) {
    EXPECT_EQ(rpc_err_of(failure_of(status)),
              "\"rpc_err\":{\"re_status\":" + std::to_string(status) + "}");
  }
}

TEST(rpc_err_object, a_failed_transfer_has_its_error_number) {
  EXPECT_EQ(rpc_err_of(failure_of(3, 10054)), R"("rpc_err":{"re_status":3,"re_errno":10054})");
  EXPECT_EQ(rpc_err_of(failure_of(4, -1)), R"("rpc_err":{"re_status":4,"re_errno":-1})");
}

TEST(rpc_err_object, a_version_mismatch_has_unsigned_bounds) {
  EXPECT_EQ(rpc_err_of(failure_of(6, 2, -1)),
            R"("rpc_err":{"re_status":6,"re_vers":{"low":2,"high":4294967295}})");
  EXPECT_EQ(rpc_err_of(failure_of(9, -2, 3)),
            R"("rpc_err":{"re_status":9,"re_vers":{"low":4294967294,"high":3}})");
}

TEST(rpc_err_object, an_authentication_failure_has_its_reason) {
  EXPECT_EQ(rpc_err_of(failure_of(7, -6)), R"("rpc_err":{"re_status":7,"re_why":-6})");
}

TEST(rpc_err_object, an_unknown_failure_has_both_words_signed) {
  for (int status : {18, 100, -1, INT32_MAX, INT32_MIN}) {
    EXPECT_EQ(rpc_err_of(failure_of(status, -5, INT32_MIN)),
              "\"rpc_err\":{\"re_status\":" + std::to_string(status) +
                  ",\"re_lb\":{\"s1\":-5,\"s2\":-2147483648}}");
  }
}

TEST(envelope, each_status_has_its_message) {
  EXPECT_EQ(envelope_of(0), R"({"status":0,"message":"ok","result":[1, 2]})");
  EXPECT_EQ(envelope_of(1), R"({"status":1,"message":"can not json encode arg"})");
  EXPECT_EQ(envelope_of(2), R"({"status":2,"message":"can not json decode result"})");
  EXPECT_EQ(envelope_of(4), R"({"status":4,"message":"unknown function"})");
  EXPECT_EQ(envelope_of(5),
            R"({"status":5,"message":"malformed json call: format is {\"function\":arg}"})");
  EXPECT_EQ(envelope_of(6), R"({"status":6,"message":"can not parse json object"})");
  EXPECT_EQ(envelope_of(7), R"({"status":7,"message":"out of memory"})");
  EXPECT_EQ(envelope_of(9), R"({"status":9,"message":"call is not allowed"})");
  for (int status : {8, 10, -1}) {
    EXPECT_EQ(envelope_of(status),
              "{\"status\":" + std::to_string(status) + ",\"message\":\"unknown error\"}");
  }
}

TEST(envelope, a_failed_rpc_has_its_object_before_the_message_and_no_result) {
  EXPECT_EQ(envelope_of(3, failure_of(4, 10054)),
            R"({"status":3,"rpc_err":{"re_status":4,"re_errno":10054},)"
            R"("message":"rpc_call: RPC: Unable to receive- Error 10054\n"})");
  EXPECT_EQ(envelope_of(3, failure_of(5)),
            R"({"status":3,"rpc_err":{"re_status":5},"message":"rpc_call: RPC: Timed out\n"})");
}

}  // namespace
}  // namespace kvrpc::test
