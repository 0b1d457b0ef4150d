// One call of a procedure: argument to record, the transport's part, and the result's text.
#include "bridge/stub.h"

#include <gtest/gtest.h>

#include "bridge/support/call.h"

namespace kvrpc::test {
namespace {

TEST(stub, an_argument_of_the_wrong_type_is_status_1_without_traffic) {
  fake_client client;
  for (const char* text :
       {R"({"l_get_rec_1":"1"})", R"({"l_get_rec_1":null})", R"({"l_get_rec_1":true})",
        R"({"l_startserver_1":1})", R"({"l_set_stat_1":[]})", R"({"l_set_stat_1":{"SLOT":1}})",
        R"({"l_set_stat_1":{"slot":1,"extra":1}})"}) {
    const call_outcome outcome = call(client.handle(), "lambda", text);
    EXPECT_EQ(outcome.reply, R"({"status":1,"message":"can not json encode arg"})") << text;
    EXPECT_EQ(outcome.status, 1);
  }
  EXPECT_EQ(client.calls, 0);
}

TEST(stub, a_procedure_without_result_has_a_null_result) {
  fake_client client;
  EXPECT_EQ(call(client.handle(), "lambda", R"({"l_set_stat_1":{"pid":2}})").reply,
            R"({"status":0,"message":"ok","result":null})");
  EXPECT_EQ(client.sent, units({0, 2, 0}));
}

TEST(stub, number_and_time_limit_reach_the_transport) {
  fake_client client;
  call(client.handle(), "lambda", R"({"l_set_stat_1":{}})");
  EXPECT_EQ(client.procedure, 5u);
  EXPECT_EQ(client.timeout.tv_sec, 25);
  EXPECT_EQ(client.timeout.tv_usec, 0);
}

TEST(stub, a_record_comes_back_in_its_own_order) {
  fake_client client;
  client.answer = units({1, 0xFFFFFFFF, 3, 4});
  EXPECT_EQ(call(client.handle(), "lambda", R"({"l_get_status_1":0})").reply,
            R"({"status":0,"message":"ok","result":{"state_fax":1,"state_gateways":-1,)"
            R"("state_daemons":3,"state_drivers":4}})");
}

TEST(stub, an_argument_of_fixed_text_crosses_to_the_servers_code) {
  fake_client client;
  client.answer = units({2});
  EXPECT_EQ(call(client.handle(), "lambda", "{\"l_startserver_1\":\"\u20ac'\"}").reply,
            R"({"status":0,"message":"ok","result":true})");
  EXPECT_EQ(client.sent, units({0xFFFFFFA4, '?', 0, 0, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(stub, an_array_of_processes_comes_back) {
  fake_client client;
  client.answer = units({0});
  EXPECT_EQ(call(client.handle(), "lambda", R"({"l_ps_1":0})").reply,
            R"({"status":0,"message":"ok","result":[]})");
  client.answer = units({1, 2, 3, 4, 'c'});
  client.answer.resize(4 * (4 + 128));
  EXPECT_EQ(call(client.handle(), "lambda", R"({"l_ps_1":0})").reply,
            R"({"status":0,"message":"ok","result":[{"slot":2,"pid":3,"status":4,"cmd":"c",)"
            R"("dir":""}]})");
}

TEST(stub, a_result_that_does_not_convert_is_status_2) {
  fake_client client;
  // An empty text of the server leaves no pointer and so has no JSON form.
  client.answer = units({0});
  const procedure target = {1, "p", wire::nothing, wire::text};
  const json_node null{};
  text_buffer result;
  EXPECT_EQ(run_stub(client.handle(), target, &null, result), CALL_CANNOT_DECODE);
}

TEST(stub, a_result_that_does_not_decode_is_a_failed_rpc) {
  fake_client client;
  client.answer = units({0, 0, 0});
  EXPECT_EQ(call(client.handle(), "lambda", R"({"l_get_status_1":0})").reply,
            R"({"status":3,"rpc_err":{"re_status":2},)"
            R"("message":"rpc_call: RPC: Can't decode result\n"})");
}

TEST(stub, an_argument_outside_its_unions_table_is_status_1) {
  fake_client client;
  EXPECT_EQ(call(client.handle(), "alpha", R"({"a_bif_new_1":{"vers":99,"v1":{}}})").status, 1);
  EXPECT_EQ(client.calls, 0);
}

// The wire comes before the converter, which would say status 2.
TEST(stub, a_result_outside_its_unions_table_is_a_failed_rpc) {
  fake_client client;
  client.answer = units({0, 5, 1});
  EXPECT_EQ(call(client.handle(), "alpha", R"({"a_bif_new_1":{"vers":0,"v0":{}}})").reply,
            R"({"status":0,"message":"ok","result":{"vers":0,"v0":{"err":5,"out":true}}})");
  client.answer = units({1, 5, 1});
  EXPECT_EQ(call(client.handle(), "alpha", R"({"a_bif_new_1":{"vers":0,"v0":{}}})").reply,
            R"({"status":3,"rpc_err":{"re_status":2},)"
            R"("message":"rpc_call: RPC: Can't decode result\n"})");
  EXPECT_EQ(client.calls, 2);
}

}  // namespace
}  // namespace kvrpc::test
