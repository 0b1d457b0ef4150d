// Every procedure with its exact bytes: those that a call text puts on the wire, and the reply text
// of a server's bytes.
#include <gtest/gtest.h>

#include <fstream>

#include "bridge/support/call.h"
#include "json/json.h"

namespace kvrpc::test {
namespace {

bytes hex(const std::string& digits) {
  bytes result;
  for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
    result.push_back(static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16)));
  }
  return result;
}

TEST(vectors, every_procedure_sends_and_reads_its_exact_bytes) {
  std::ifstream file(KVRPC_SOURCE_DIR "/tests/vectors/procedures.jsonl");
  std::size_t lines = 0;
  for (std::string line; std::getline(file, line); ++lines) {
    json_node* row = json_parse(line.c_str());
    ASSERT_NE(row, nullptr) << line;
    const auto text = [row](const char* key) { return json_find(row, key)->text; };
    fake_client client;
    client.answer = hex(text("res_xdr"));
    const call_outcome outcome = call(client.handle(), text("program"), text("call"));
    EXPECT_EQ(client.procedure, json_find(row, "number")->integer) << line;
    EXPECT_EQ(client.sent, hex(text("arg_xdr"))) << line;
    EXPECT_EQ(outcome.reply, text("reply")) << line;
    EXPECT_EQ(outcome.status, 0) << line;
    json_delete(row);
  }
  EXPECT_EQ(lines, 640u);
}

}  // namespace
}  // namespace kvrpc::test
