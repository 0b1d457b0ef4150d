// Truncated and mutated call texts: every text of a script gets a complete reply with a status.
#include <gtest/gtest.h>

#include <fstream>
#include <map>

#include "bridge/support/call.h"
#include "bridge/support/conversion.h"
#include "bridge/support/random_values.h"
#include "support/failing_heap.h"

namespace kvrpc::test {
namespace {

struct sample {
  std::string which;
  std::string text;
  bytes answer;
};

bytes hex(const std::string& digits) {
  bytes result;
  for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
    result.push_back(static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16)));
  }
  return result;
}

// Fifty calls that succeed, spread over the 640 of the file.
std::vector<sample> samples() {
  std::ifstream file(KVRPC_SOURCE_DIR "/tests/vectors/procedures.jsonl");
  std::vector<sample> result;
  int number = 0;
  for (std::string line; std::getline(file, line); ++number) {
    if (number * 50 % 640 >= 50) continue;
    const json_value row(line);
    const auto text = [&](const char* key) { return json_find(row.node(), key)->text; };
    result.push_back({text("program"), text("call"), hex(text("res_xdr"))});
  }
  return result;
}

// Runs one call and checks what holds for every text. Returns its status, or -1 without a reply.
int status_of(const sample& from, const std::string& text) {
  fake_client client;
  client.answer = from.answer;
  call_outcome outcome;
  {
    failing_heap heap(-1);
    outcome = call(client.handle(), from.which.c_str(), text.c_str());
    EXPECT_EQ(heap.live_blocks(), 0) << text;
  }
  if (!outcome.reply.has_value()) return -1;
  const json_value reply(*outcome.reply);
  EXPECT_NE(reply.node(), nullptr) << text;
  const json_node* status = json_child_at(reply.node(), 0);
  EXPECT_EQ(status->integer, outcome.status) << text;
  EXPECT_EQ(json_find(reply.node(), "result") != nullptr, outcome.status == CALL_OK) << text;
  EXPECT_EQ(json_find(reply.node(), "rpc_err") != nullptr, outcome.status == CALL_RPC_FAILED);
  EXPECT_EQ(client.calls, outcome.status == CALL_OK || outcome.status == CALL_RPC_FAILED) << text;
  return outcome.status;
}

std::string mutated(std::string text, const std::string& other, random_source& random) {
  static const char pieces[] = "\"\"\\\\u{}[]:,.-+eE0123456789abfnrtx \n\x01\x7F\x80\xFF";
  for (std::uint32_t left = random.below(4) + 1; left > 0; --left) {
    const std::size_t place = random.below(static_cast<std::uint32_t>(text.size()) + 1);
    const char piece = pieces[random.below(sizeof pieces - 1)];
    switch (random.below(4)) {
      case 0:
        text.insert(place, 1, piece);
        break;
      case 1:
        text.erase(place, 1 + random.below(3));
        break;
      case 2:
        text.insert(place, other, random.below(static_cast<std::uint32_t>(other.size())), 8);
        break;
      default:
        if (place < text.size()) text[place] = piece;
    }
  }
  return text;
}

TEST(call_text, every_cut_of_one_does_not_parse) {
  std::size_t count = 0;
  for (const sample& one : samples()) {
    ++count;
    ASSERT_EQ(status_of(one, one.text), CALL_OK) << one.text;
    for (std::size_t length = 0; length < one.text.size(); ++length) {
      ASSERT_EQ(status_of(one, one.text.substr(0, length)), CALL_UNPARSABLE) << one.text << length;
    }
  }
  EXPECT_EQ(count, 50u);
}

TEST(call_text, mutations_of_one_give_a_whole_reply) {
  clnt_sperror(nullptr, "");  // its buffer stays for the life of the process
  const std::vector<sample> all = samples();
  random_source random(2101);
  const auto any = [&]() -> const sample& {
    return all[random.below(static_cast<std::uint32_t>(all.size()))];
  };
  std::map<int, int> statuses;
  for (int i = 0; i < 100'000; ++i) {
    const sample& one = any();
    const std::string text = mutated(one.text, any().text, random);
    ++statuses[status_of(one, text)];
    if (HasFailure()) FAIL() << text;
  }
  for (int status : {CALL_OK, CALL_CANNOT_ENCODE, CALL_UNKNOWN, CALL_UNPARSABLE}) {
    EXPECT_GT(statuses[status], 1000) << status;
    statuses.erase(status);
  }
  statuses.erase(CALL_MALFORMED);
  statuses.erase(CALL_RPC_FAILED);  // a name that became that of another procedure
  EXPECT_TRUE(statuses.empty()) << statuses.begin()->first;
}

}  // namespace
}  // namespace kvrpc::test
