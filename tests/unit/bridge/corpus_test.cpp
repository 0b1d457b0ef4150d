// Replays the fuzz targets' corpora.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "bridge/support/fuzz_entry.h"
#include "support/failing_heap.h"

namespace kvrpc::test {
namespace {

using entry_point = const char* (*)(const char* input, std::size_t size);

void replay(const char* name, entry_point run) {
  std::size_t files = 0;
  const std::string folder = std::string(KVRPC_SOURCE_DIR "/fuzz/corpus/") + name;
  for (const auto& file : std::filesystem::directory_iterator(folder)) {
    std::ifstream stream(file.path(), std::ios::binary);
    const std::string input((std::istreambuf_iterator<char>(stream)), {});
    ASSERT_FALSE(input.empty()) << file.path();
    failing_heap heap(-1);
    EXPECT_STREQ(run(input.data(), input.size()), nullptr) << file.path();
    EXPECT_EQ(heap.live_blocks(), 0) << file.path();
    ++files;
  }
  EXPECT_GE(files, sizeof test_shapes / sizeof *test_shapes);
}

TEST(corpus, of_texts_passes) { replay("records_json", fuzz_records_json); }
TEST(corpus, of_bytes_passes) { replay("records_xdr", fuzz_records_xdr); }

}  // namespace
}  // namespace kvrpc::test
