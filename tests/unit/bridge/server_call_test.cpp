// Whole calls: the status of each kind of call text, the vetting, and the reply.
#include "bridge/server_call.h"

#include <gtest/gtest.h>

#include "bridge/support/call.h"

namespace kvrpc::test {
namespace {

constexpr char malformed[] =
    R"({"status":5,"message":"malformed json call: format is {\"function\":arg}"})";
constexpr char unparsable[] = R"({"status":6,"message":"can not parse json object"})";
constexpr char unknown[] = R"({"status":4,"message":"unknown function"})";
constexpr char refused[] = R"({"status":9,"message":"call is not allowed"})";

struct vetting {
  int answer = 1;
  int runs = 0;
  std::string name;

  static int run(const char* name, void* context) {
    auto* self = static_cast<vetting*>(context);
    ++self->runs;
    self->name = name;
    return self->answer;
  }
};

struct frame : testing::Test {
  // The reply to `text`; `status` must be what the reply says, and nothing may be called.
  std::string reply_without_traffic(const char* which, const char* text, int status) {
    const call_outcome outcome = call(client.handle(), which, text, vetting::run, &vet);
    EXPECT_EQ(outcome.status, status) << text;
    EXPECT_EQ(client.calls, 0) << text;
    return outcome.reply.value_or("(none)");
  }

  fake_client client;
  vetting vet;
};

TEST_F(frame, text_that_does_not_parse_is_status_6_without_vetting) {
  for (const char* text : {"", " ", "{", R"({"l_exit_1")", R"({"l_exit_1":})", "nul", "\x7f"}) {
    EXPECT_EQ(reply_without_traffic("lambda", text, 6), unparsable) << text;
  }
  EXPECT_EQ(reply_without_traffic("lambda", nullptr, 6), unparsable);
  EXPECT_EQ(vet.runs, 0);
}

TEST_F(frame, anything_but_an_object_with_a_member_is_status_5_without_vetting) {
  for (const char* text : {"[]", "42", "{}", R"("l_exit_1")", "null", "true", "[{}]", "{ }"}) {
    EXPECT_EQ(reply_without_traffic("lambda", text, 5), malformed) << text;
  }
  EXPECT_EQ(vet.runs, 0);
}

TEST_F(frame, an_unknown_name_is_status_4_after_vetting) {
  EXPECT_EQ(reply_without_traffic("lambda", R"({"nonsense":1})", 4), unknown);
  EXPECT_EQ(vet.name, "nonsense");
}

TEST_F(frame, a_name_of_another_server_is_unknown) {
  EXPECT_EQ(reply_without_traffic("alpha", R"({"l_exit_1":null})", 4), unknown);
  EXPECT_EQ(reply_without_traffic("omega", R"({"a_exit_1":null})", 4), unknown);
  EXPECT_EQ(vet.runs, 2);
}

TEST_F(frame, names_are_compared_exactly) {
  for (const char* text : {R"({"L_exit_1":null})", R"({"l_exit_1 ":null})", R"({"l_exit":null})",
                           R"({"":null})", R"({"l_exit_11":null})"}) {
    EXPECT_EQ(reply_without_traffic("lambda", text, 4), unknown) << text;
  }
}

TEST_F(frame, a_refused_name_is_status_9_whether_it_exists_or_not) {
  vet.answer = 0;
  EXPECT_EQ(reply_without_traffic("lambda", R"({"nonsense":1})", 9), refused);
  EXPECT_EQ(reply_without_traffic("lambda", R"({"l_exit_1":1})", 9), refused);
  EXPECT_EQ(vet.runs, 2);
}

TEST_F(frame, any_other_answer_of_vetting_lets_the_call_through) {
  for (int answer : {1, -1, 2, 0x10000}) {
    vet.answer = answer;
    EXPECT_EQ(call(client.handle(), "lambda", R"({"l_exit_1":1})", vetting::run, &vet).status, 0);
  }
  EXPECT_EQ(client.calls, 4);
}

TEST_F(frame, the_status_is_0_while_vetting) {
  int status = 3;  // of an earlier call
  const auto status_is_0 = [](const char*, void* context) {
    return *static_cast<int*>(context) == 0 ? 1 : 0;
  };
  std::free(
      server_call(client.handle(), "lambda", R"({"nonsense":1})", &status, status_is_0, &status));
  EXPECT_EQ(status, 4);
}

TEST_F(frame, vetting_sees_the_name_cut_at_its_nul) {
  reply_without_traffic("lambda", "{\"l_\\u0000exit_1\":1}", 4);
  EXPECT_EQ(vet.name, "l_");
}

TEST_F(frame, only_the_first_member_counts) {
  const call_outcome outcome =
      call(client.handle(), "lambda", R"({"l_exit_1":null,"ignored":1,"l_exit_1":2})", vetting::run,
           &vet);
  EXPECT_EQ(outcome.reply, R"({"status":0,"message":"ok","result":null})");
  EXPECT_EQ(client.calls, 1);
  EXPECT_EQ(vet.runs, 1);
  EXPECT_EQ(call(client.handle(), "lambda", R"({"ignored":1,"l_exit_1":null})").status, 4);
}

TEST_F(frame, a_time_call_ignores_its_argument_and_a_second_member) {
  client.answer = units({5});
  EXPECT_EQ(call(client.handle(), "alpha", R"({"a_get_jetzt_1":null,"ignored":1})").reply,
            R"({"status":0,"message":"ok","result":5})");
}

TEST_F(frame, a_syntax_error_in_a_later_member_is_status_6) {
  EXPECT_EQ(reply_without_traffic("lambda", R"({"l_exit_1":null,"ignored":})", 6), unparsable);
  EXPECT_EQ(reply_without_traffic("lambda", R"({"l_exit_1":null,)", 6), unparsable);
}

TEST_F(frame, a_name_without_dispatcher_gives_nothing_and_leaves_the_status) {
  for (const char* which : {"gamma", "", "Alpha", "alpha ", "lambd", "delta"}) {
    const call_outcome outcome =
        call(client.handle(), which, R"({"l_exit_1":null})", vetting::run, &vet);
    EXPECT_FALSE(outcome.reply.has_value()) << which;
    EXPECT_EQ(outcome.status, status_unwritten) << which;
  }
  EXPECT_EQ(vet.runs, 0);
  EXPECT_EQ(client.calls, 0);
}

TEST_F(frame, a_reply_goes_to_a_buffer_of_the_caller_as_well) {
  int status = status_unwritten;
  text_buffer reply;
  EXPECT_TRUE(server_call(client.handle(), "lambda", "[]", &status, nullptr, nullptr, reply));
  EXPECT_EQ(status, 5);
  EXPECT_EQ(std::string(reply.data(), reply.size()), *call(client.handle(), "lambda", "[]").reply);
  text_buffer none;
  EXPECT_FALSE(server_call(client.handle(), "gamma", "[]", &status, nullptr, nullptr, none));
  EXPECT_EQ(none.size(), 0U);
}

TEST_F(frame, each_of_the_six_servers_has_its_dispatcher) {
  for (const char* which : {"alpha", "lambda", "nue", "omega", "sigma", "theta"}) {
    EXPECT_EQ(call(client.handle(), which, "{\"x\":1}").reply, unknown) << which;
  }
}

TEST_F(frame, a_call_without_vetting_goes_through) {
  EXPECT_EQ(call(client.handle(), "lambda", R"({"l_exit_1":[]})").status, 0);
}

TEST_F(frame, a_call_without_a_handle_is_a_failed_rpc) {
  EXPECT_EQ(call(nullptr, "lambda", R"({"l_exit_1":null})").reply,
            R"({"status":3,"rpc_err":{"re_status":16},)"
            R"("message":"rpc_call: RPC: Failed (unspecified error)\n"})");
}

}  // namespace
}  // namespace kvrpc::test
