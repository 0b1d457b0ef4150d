// Huge pages are requested for the whole block, and nothing else changes.
#include "module/large_pages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

namespace kvrpc::test {
namespace {

bool large_pages_are_there() {
#ifdef __linux__
  return std::ifstream("/sys/kernel/mm/transparent_hugepage/enabled").good();
#else
  return false;
#endif
}

#ifdef __linux__
// The flags of the mapping that holds a byte, as the system shows them.
std::string mapping_flags(const void* byte) {
  std::ifstream maps("/proc/self/smaps");
  const auto place = reinterpret_cast<std::uintptr_t>(byte);
  bool inside = false;
  for (std::string line; std::getline(maps, line);) {
    std::uintptr_t begin = 0;
    std::uintptr_t end = 0;
    if (std::sscanf(line.c_str(), "%" SCNxPTR "-%" SCNxPTR " ", &begin, &end) == 2) {
      inside = begin <= place && place < end;
    }
    if (inside && line.rfind("VmFlags:", 0) == 0) return line + " ";
  }
  return "";
}

TEST(large_pages, are_asked_for_from_the_first_byte_to_the_last) {
  constexpr std::size_t size = std::size_t{9} << 20;
  std::vector<char> block(size, 'x');
  if (!use_large_pages(block.data(), size)) return;  // as the next test has it
  EXPECT_NE(mapping_flags(&block.front()).find(" hg "), std::string::npos);
  EXPECT_NE(mapping_flags(&block.back()).find(" hg "), std::string::npos);
}
#endif

TEST(large_pages, leave_a_block_and_the_error_number_as_they_are) {
  for (const std::size_t size : {std::size_t{1}, std::size_t{5000}, std::size_t{9} << 20}) {
    std::vector<char> block(size + 1, 'x');
    errno = EDOM;
    EXPECT_EQ(use_large_pages(block.data() + 1, size), large_pages_are_there());
    EXPECT_EQ(errno, EDOM);
    EXPECT_EQ(std::count(block.begin(), block.end(), 'x'), static_cast<std::ptrdiff_t>(size) + 1);
  }
}

}  // namespace
}  // namespace kvrpc::test
