// Replays the corpus of the fuzz target json_parse.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "json_support.h"

namespace kvrpc::test {
namespace {

// Checks on the fuzzer's seeds what the fuzzer checks, also on machines without a fuzzer.
TEST(corpus, prints_and_reparses_to_itself) {
  int files = 0;
  int parsed = 0;
  const auto folder = std::filesystem::path(KVRPC_SOURCE_DIR) / "fuzz" / "corpus" / "json_parse";
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    std::ostringstream bytes;
    bytes << std::ifstream(entry.path(), std::ios::binary).rdbuf();
    ++files;
    const tree_ptr tree = parse(bytes.str());
    EXPECT_EQ(describe_document(bytes.str()), describe(tree.get())) << entry.path();
    if (tree == nullptr) continue;
    ++parsed;
    const std::string second = print(parse(print(tree.get())).get());
    EXPECT_EQ(print(parse(second).get()), second) << entry.path();
    EXPECT_EQ(print(parse(pretty(tree.get())).get()), second) << entry.path();
  }
  EXPECT_GE(files, 20);
  EXPECT_GE(parsed, 15);
}

}  // namespace
}  // namespace kvrpc::test
