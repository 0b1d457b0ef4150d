// Whole calls of every procedure with random values, honest and broken off.
#include <gtest/gtest.h>

#include "bridge/server_call.h"
#include "bridge/stub.h"
#include "bridge/support/conversion.h"
#include "bridge/support/fake_client.h"
#include "bridge/support/procedures.h"
#include "bridge/support/random_values.h"
#include "support/failing_heap.h"

namespace kvrpc::test {
namespace {

struct stub_outcome {
  int status;
  std::string text;
};

stub_outcome run(fake_client& client, const procedure& target, const json_value& argument) {
  text_buffer result;
  const int status = run_stub(client.handle(), target, argument.node(), result);
  return {status, std::string(result.data() != nullptr ? result.data() : "", result.size())};
}

TEST(every_procedure, carries_random_values_through_its_stub) {
  random_values values(11);
  for (const procedure& target : specified_procedures()) {
    const random_value argument = values.value(target.argument);
    const random_value result = values.value(target.result);
    failing_heap heap(-1);
    {
      fake_client client;
      client.answer = result.wire;
      const stub_outcome outcome = run(client, target, json_value(argument.json));
      EXPECT_EQ(outcome.status, CALL_OK) << target.name;
      EXPECT_EQ(client.sent, argument.wire) << target.name;
      EXPECT_EQ(outcome.text, result.json) << target.name;
    }
    EXPECT_EQ(heap.live_blocks(), 0) << target.name;
  }
}

TEST(every_procedure, survives_a_result_that_breaks_off) {
  random_values values(12);
  for (const procedure& target : specified_procedures()) {
    const json_value argument(values.value(target.argument).json);
    const bytes whole = values.value(target.result).wire;
    const std::size_t step = 1 + whole.size() / 40;
    failing_heap heap(-1);
    {
      fake_client client;
      for (std::size_t size = 0; size < whole.size(); size += step) {
        client.answer.assign(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        client.failure = {};
        EXPECT_EQ(run(client, target, argument).status, CALL_RPC_FAILED) << target.name;
      }
    }
    EXPECT_EQ(heap.live_blocks(), 0) << target.name;
  }
}

TEST(every_procedure, survives_each_failing_allocation) {
  random_values values(13);
  testing::internal::CaptureStderr();
  for (const procedure& target : specified_procedures()) {
    const json_value argument(values.value(target.argument).json);
    fake_client client;
    client.answer = values.value(target.result).wire;
    fail_each_allocation([&](std::int64_t number) {
      client.failure = {};
      failing_heap heap(number);
      const int status = run(client, target, argument).status;
      EXPECT_EQ(heap.failed(), status != CALL_OK) << target.name;
      EXPECT_EQ(heap.live_blocks(), 0) << target.name;
      return heap.failed();
    });
  }
  testing::internal::GetCapturedStderr();
}

}  // namespace
}  // namespace kvrpc::test
