// Makes each allocation fail in turn, in every conversion and in whole calls.
#include <gtest/gtest.h>

#include "bridge/stub.h"
#include "bridge/support/call.h"
#include "bridge/support/conversion.h"
#include "bridge/support/test_records.h"
#include "support/failing_heap.h"

namespace kvrpc::test {
namespace {

// The messages that may be on stderr when memory runs out.
bool only_stated_messages(std::string text) {
  for (const char* message : {"xdr_bytes: out of memory\n", "xdr_string: out of memory\n",
                              "xdr_array: out of memory\n", "xdr_reference: out of memory\n"}) {
    for (std::size_t at; (at = text.find(message)) != std::string::npos;) {
      text.erase(at, std::strlen(message));
    }
  }
  return text.empty();
}

TEST(failing_allocation, in_an_encode_fails_it_and_leaks_nothing) {
  for (const test_shape& shape : test_shapes) {
    const json_value json(shape.sample);
    fail_each_allocation([&](std::int64_t number) {
      failing_heap heap(number);
      {
        test_value value(shape.type);
        const int done = value.encode(json.node());
        EXPECT_EQ(done, heap.failed() ? 0 : 1) << shape.name << number;
      }
      EXPECT_EQ(heap.live_blocks(), 0) << shape.name << number;
      return heap.failed();
    });
  }
}

TEST(failing_allocation, in_a_write_to_the_wire_fails_it) {
  for (const test_shape& shape : test_shapes) {
    test_value value(shape.type);
    ASSERT_EQ(value.encode(shape.sample), 1);
    fail_each_allocation([&](std::int64_t number) {
      failing_heap heap(number);
      bytes wire;
      const bool_t done = value.put(&wire);
      EXPECT_EQ(done, heap.failed() ? FALSE : TRUE) << shape.name << number;
      EXPECT_EQ(heap.live_blocks(), 0) << shape.name << number;
      return heap.failed();
    });
  }
}

TEST(failing_allocation, in_a_result_fails_it_and_leaks_nothing) {
  for (const inline_mode mode : {inline_mode::always, inline_mode::never}) {
    std::int64_t failures = 0;
    for (const test_shape& shape : test_shapes) {
      bytes wire;
      {
        test_value value(shape.type);
        ASSERT_EQ(value.encode(shape.sample), 1);
        ASSERT_TRUE(value.put(&wire));
      }
      testing::internal::CaptureStderr();
      failures += fail_each_allocation([&](std::int64_t number) {
        failing_heap heap(number);
        const std::string text = reply_text(shape.type, wire, mode);
        if (heap.failed()) {
          EXPECT_TRUE(text.empty() || text == no_text) << shape.name << number;
        } else {
          EXPECT_EQ(text, shape.sample);
        }
        EXPECT_EQ(heap.live_blocks(), 0) << shape.name << number;
        return heap.failed();
      });
      testing::internal::GetCapturedStderr();
    }
    EXPECT_GT(failures, 20);
  }
}

TEST(failing_allocation, in_a_release_does_not_arise) {
  for (const test_shape& shape : test_shapes) {
    test_value value(shape.type);
    ASSERT_EQ(value.encode(shape.sample), 1);
    failing_heap heap(0, true);
    value.release();
    EXPECT_EQ(heap.allocations(), 0) << shape.name;
  }
}

// ---- whole calls

struct call_case {
  const char* name;
  int status;
  const char* which;
  const char* text;
  bytes answer;
  std::int32_t failure;
};

std::vector<call_case> call_cases() {
  const bytes process = [] {
    bytes result = units({1, 4, 5, 6});
    result.resize(result.size() + 128 * 4);
    return result;
  }();
  const bytes status = units({1, 2, 3, 4});
  const char* statfile = R"({"l_statfile_1":{"filename":"a name"}})";
  return {
      {"none", 0, "lambda", R"({"l_exit_1":null})", {}, 0},
      {"record", 0, "lambda", R"({"l_get_status_1":0})", status, 0},
      {"array", 0, "lambda", R"({"l_ps_1":0})", process, 0},
      {"text argument", 0, "lambda", statfile, units({1, 2}), 0},
      {"bad argument", 1, "lambda", R"({"l_statfile_1":{"filename":"a","x":1}})", {}, 0},
      {"short result", 3, "lambda", R"({"l_ps_1":0})", units({2, 1}), 0},
      {"lost peer", 3, "lambda", statfile, {}, RPC_CANTRECV},
      {"unknown", 4, "lambda", R"({"l_nothing_1":null})", {}, 0},
      {"malformed", 5, "lambda", "[1,2]", {}, 0},
      {"unparsable", 6, "lambda", R"({"l_exit_1")", {}, 0},
      {"refused", 9, "lambda", R"({"l_exit_1":1})", {}, 0},
  };
}

int refuse(const char*, void*) { return 0; }

// Expects status 7 without a reply, or a complete reply with the status of the step that had no
// memory. That status must not be a success.
void expect_stated(const call_case& one, const call_outcome& outcome, bool failed) {
  if (!outcome.reply.has_value()) {
    EXPECT_TRUE(failed);
    EXPECT_EQ(outcome.status, CALL_NO_MEMORY) << one.name;
    return;
  }
  const std::string begin = "{\"status\":" + std::to_string(outcome.status) + ",";
  EXPECT_EQ(outcome.reply->substr(0, begin.size()), begin) << one.name;
  EXPECT_NE(json_value(*outcome.reply).node(), nullptr) << one.name;
  const int status = outcome.status;
  if (failed) {
    EXPECT_TRUE(status == CALL_UNPARSABLE || status == CALL_CANNOT_ENCODE ||
                status == CALL_RPC_FAILED || status == CALL_CANNOT_DECODE)
        << one.name << status;
  } else {
    EXPECT_EQ(status, one.status) << one.name;
  }
}

TEST(failing_allocation, in_a_call_of_each_status_gives_the_stated_result) {
  clnt_sperror(nullptr, "");  // its buffer stays for the life of the process
  testing::internal::CaptureStderr();
  for (const call_case& one : call_cases()) {
    for (bool all_later : {false, true}) {
      fail_each_allocation([&](std::int64_t number) {
        fake_client client;
        client.answer = one.answer;
        client.failure.re_status = one.failure;
        call_outcome outcome;
        bool failed = false;
        {
          failing_heap heap(number, all_later);
          outcome = call(client.handle(), one.which, one.text,
                         one.status == CALL_REFUSED ? refuse : nullptr);
          failed = heap.failed();
          EXPECT_EQ(heap.live_blocks(), 0) << one.name << number;
        }
        expect_stated(one, outcome, failed);
        return failed;
      });
    }
  }
  EXPECT_TRUE(only_stated_messages(testing::internal::GetCapturedStderr()));
}

// If there is no memory for a result's text, the reply says that the result does not convert.
TEST(failing_allocation, in_a_long_result_is_status_2) {
  fake_client client;
  client.answer = units({100});
  client.answer.resize(4 + 100 * 131 * 4);
  int not_converted = 0;
  testing::internal::CaptureStderr();
  fail_each_allocation([&](std::int64_t number) {
    client.failure = {};
    failing_heap heap(number);
    const call_outcome outcome = call(client.handle(), "lambda", R"({"l_ps_1":0})");
    if (outcome.status == CALL_CANNOT_DECODE) {
      EXPECT_EQ(outcome.reply, R"({"status":2,"message":"can not json decode result"})");
      ++not_converted;
    }
    return heap.failed();
  });
  EXPECT_GT(not_converted, 0);
  EXPECT_TRUE(only_stated_messages(testing::internal::GetCapturedStderr()));
}

TEST(failing_allocation, of_a_result_that_does_not_convert_gives_its_status) {
  fake_client client;
  client.answer = units({0});
  const procedure target = {1, "p", wire::nothing, wire::text};
  const json_node null{};
  fail_each_allocation([&](std::int64_t number) {
    failing_heap heap(number);
    text_buffer result;
    EXPECT_EQ(run_stub(client.handle(), target, &null, result), CALL_CANNOT_DECODE);
    return heap.failed();
  });
}

}  // namespace
}  // namespace kvrpc::test
