// Ports from the environment: base port, map and offset, well-formed or not.
#include "rpc/port_lookup.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "rpc/clnt.h"
#include "rpc/decimal.h"
#include "support/failing_heap.h"
#include "support/loopback_peer.h"

namespace kvrpc::test {
namespace {

constexpr std::uint32_t alpha = 16011967;
constexpr std::uint32_t gamma_server = 1481537;
constexpr std::uint32_t theta = 1102104009;
constexpr std::uint32_t lambda = 26011932;
constexpr std::uint32_t nue = 302095104;
constexpr std::uint32_t omega = 16011931;
constexpr std::uint32_t sigma = 9081975;

struct lookup_result {
  std::int32_t port;
  std::string said;
};

bool operator==(const lookup_result& a, const lookup_result& b) {
  return a.port == b.port && a.said == b.said;
}

void PrintTo(const lookup_result& result, std::ostream* out) {
  *out << result.port << " \"" << result.said << '"';
}

struct environment {
  const char* port;
  const char* map;
  const char* offset;
};

lookup_result lookup(const environment& set, const char* host, std::uint32_t program) {
  const environment_guard port("KORVEXRPCPORT", set.port);
  const environment_guard map("KORVEXRPCMAP", set.map);
  const environment_guard offset("KORVEXRPCOFFSET", set.offset);
  testing::internal::CaptureStderr();
  const std::int32_t found = rpc_port_lookup(host, program, 1);
  return {found, testing::internal::GetCapturedStderr()};
}

// With a map alone.
lookup_result mapped(const char* map, const char* host, std::uint32_t program = alpha) {
  return lookup({nullptr, map, nullptr}, host, program);
}

std::string syntax_error(int place) {
  return "bad KORVEXRPCMAP: syntax error near character " + std::to_string(place) + "\n";
}

std::string number_expected(int place) {
  return "bad KORVEXRPCMAP: number expected near character " + std::to_string(place) + "\n";
}

// ---- base port, slot and offset

TEST(port_lookup, gives_nothing_without_the_environment) {
  EXPECT_EQ(lookup({}, "a", omega), (lookup_result{0, ""}));
}

TEST(port_lookup, adds_the_slot_of_each_server) {
  const std::uint32_t by_slot[] = {alpha, gamma_server, theta, lambda, nue, omega, sigma};
  for (std::int32_t slot = 0; slot < 7; ++slot) {
    EXPECT_EQ(port_slot(by_slot[slot]), slot);
    EXPECT_EQ(lookup({"7000", nullptr, nullptr}, "a", by_slot[slot]),
              (lookup_result{7000 + slot, ""}));
  }
  EXPECT_EQ(port_slot(alpha + 1), -1);
}

TEST(port_lookup, undoes_the_offset_to_find_the_slot) {
  EXPECT_EQ(lookup({"7000", nullptr, "5"}, "a", theta + 5).port, 7002u);
  EXPECT_EQ(lookup({"7000", nullptr, "-5"}, "a", theta - 5).port, 7002u);
  EXPECT_EQ(lookup({"7000", nullptr, "99999999999"}, "a", theta + 2147483647u).port, 7002u);
}

TEST(port_lookup, of_an_unknown_program_is_the_base_port_itself_and_reads_no_map) {
  EXPECT_EQ(lookup({"7000", nullptr, nullptr}, "a", theta + 5), (lookup_result{7000, ""}));
  EXPECT_EQ(lookup({"7000", "a", nullptr}, "a", 1), (lookup_result{7000, ""}));
  EXPECT_EQ(lookup({"7000", "a:8000", nullptr}, "a", 1), (lookup_result{7000, ""}));
}

TEST(port_lookup, wraps_at_16_bits) {
  EXPECT_EQ(lookup({"65535", nullptr, nullptr}, "a", omega).port, 4u);
  EXPECT_EQ(lookup({"65536", nullptr, nullptr}, "a", omega).port, 0u);
  EXPECT_EQ(lookup({"72536", nullptr, nullptr}, "a", alpha).port, 7000u);
}

TEST(port_lookup, reads_the_base_port_as_a_number_at_the_start) {
  EXPECT_EQ(lookup({" \t+70x", nullptr, nullptr}, "a", alpha).port, 70u);
  EXPECT_EQ(lookup({"-1", nullptr, nullptr}, "a", alpha).port, 65535u);
  EXPECT_EQ(lookup({"x", nullptr, nullptr}, "a", omega).port, 0u);
  EXPECT_EQ(lookup({"", nullptr, nullptr}, "a", omega).port, 0u);
  EXPECT_EQ(lookup({"99999999999", nullptr, nullptr}, "a", alpha).port, 65535u);
  EXPECT_EQ(lookup({"-99999999999", nullptr, nullptr}, "a", alpha).port, 0u);
}

// ---- the map

TEST(port_map, gives_the_base_port_of_the_host) {
  EXPECT_EQ(mapped("a:7000;b:7100", "b", lambda), (lookup_result{7103, ""}));
  EXPECT_EQ(mapped("a:7000;b:7100;", "a"), (lookup_result{7000, ""}));
  EXPECT_EQ(mapped("pc1:7000; pc2:7100", "pc2"), (lookup_result{7100, ""}));
  EXPECT_EQ(mapped(" p c 1 : 7 0 0 0 ", "pc1"), (lookup_result{7000, ""}));
}

TEST(port_map, without_the_host_gives_nothing_and_says_nothing) {
  EXPECT_EQ(mapped("a:7000;b:7100", "c"), (lookup_result{0, ""}));
  EXPECT_EQ(mapped("a:7000;b:7100;", "c"), (lookup_result{0, ""}));
  EXPECT_EQ(mapped("a:7000", "A"), (lookup_result{0, ""}));
  EXPECT_EQ(mapped("", "a"), (lookup_result{0, ""}));
  EXPECT_EQ(mapped("   ", "a"), (lookup_result{0, ""}));
  EXPECT_EQ(mapped(":::", "a"), (lookup_result{0, ""}));
}

TEST(port_map, wins_over_the_common_base_port) {
  EXPECT_EQ(lookup({"7000", "a:8000", nullptr}, "a", omega).port, 8005u);
  EXPECT_EQ(lookup({"7000", "a:8000", nullptr}, "b", omega).port, 7005u);
  EXPECT_EQ(lookup({"7000", "a:0", nullptr}, "a", omega), (lookup_result{0, ""}));
}

TEST(port_map, is_split_with_both_separators_in_turn) {
  EXPECT_EQ(mapped("::a:7", "a"), (lookup_result{7, ""}));
  EXPECT_EQ(mapped("a:;;7", "a"), (lookup_result{7, ""}));
  EXPECT_EQ(mapped("x:1;a;b:7", "a;b"), (lookup_result{7, ""}));
  EXPECT_EQ(mapped("x:1;;a:7", ";a"), (lookup_result{7, ""}));
  EXPECT_EQ(mapped("x:no number;a:7", "a"), (lookup_result{7, ""}));
  EXPECT_EQ(mapped("x:1:2;a:7", "a"), (lookup_result{7, ""}));
}

TEST(port_map, that_ends_in_a_name_is_reported_with_its_place) {
  EXPECT_EQ(mapped("a", "a"), (lookup_result{0, syntax_error(3)}));
  EXPECT_EQ(mapped(" a ", "a"), (lookup_result{0, syntax_error(3)}));
  EXPECT_EQ(mapped("a:", "a"), (lookup_result{0, syntax_error(3)}));
  EXPECT_EQ(mapped("a:;;", "a"), (lookup_result{0, syntax_error(3)}));
  EXPECT_EQ(mapped("a:1;bc", "bc"), (lookup_result{0, syntax_error(8)}));
  EXPECT_EQ(mapped("a:1;;;", "b"), (lookup_result{0, syntax_error(8)}));
  EXPECT_EQ(lookup({"7000", "b", nullptr}, "a", omega), (lookup_result{7005, syntax_error(3)}));
}

TEST(port_map, with_a_faulty_number_is_reported_with_its_place_and_counts) {
  EXPECT_EQ(mapped("a:7x", "a"), (lookup_result{7, number_expected(3)}));
  EXPECT_EQ(mapped("b:1;a:x", "a"), (lookup_result{0, number_expected(7)}));
  EXPECT_EQ(mapped("a:;;7x", "a"), (lookup_result{7, number_expected(5)}));
  EXPECT_EQ(mapped("a:-", "a"), (lookup_result{0, number_expected(3)}));
  EXPECT_EQ(mapped("a:\t7", "a"), (lookup_result{7, ""}));
  EXPECT_EQ(mapped("a:99999999999", "a"), (lookup_result{65535, ""}));
}

TEST(port_map, is_not_read_after_the_match) {
  EXPECT_EQ(mapped("a:7;b", "a"), (lookup_result{7, ""}));
  EXPECT_EQ(mapped("a:7;a:x", "a"), (lookup_result{7, ""}));
}

TEST(port_map, without_memory_leaves_the_common_base_port_alone) {
  const environment_guard port("KORVEXRPCPORT", nullptr);
  const environment_guard map("KORVEXRPCMAP", "a:8000");
  const environment_guard offset("KORVEXRPCOFFSET", nullptr);
  testing::internal::CaptureStderr();
  failing_heap heap(0);
  EXPECT_EQ(rpc_port_lookup("a", omega, 1), 0);
  EXPECT_EQ(heap.live_blocks(), 0);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "rpclib: out of memory\n");
}

TEST(port_map, without_memory_gives_no_slot) {
  const environment_guard port("KORVEXRPCPORT", "7000");
  const environment_guard map("KORVEXRPCMAP", "a:8000");
  testing::internal::CaptureStderr();
  failing_heap heap(1);
  EXPECT_EQ(rpc_port_lookup("a", omega, 1), 7000);
  EXPECT_EQ(heap.live_blocks(), 0);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "rpclib: out of memory\n");
}

TEST(port, without_memory_for_a_number_is_a_failure) {
  const environment_guard port("KORVEXRPCPORT", "7000");
  const environment_guard map("KORVEXRPCMAP", nullptr);
  const environment_guard offset("KORVEXRPCOFFSET", "5");
  for (const int number : {0, 1}) {
    rpc_createerr = {};
    failing_heap heap(number);
    EXPECT_EQ(rpc_port_lookup("a", omega, 1), -1);
    EXPECT_EQ(rpc_createerr.cf_stat, RPC_SYSTEMERROR);
    EXPECT_EQ(rpc_createerr.cf_error.re_errno, ENOMEM);
    EXPECT_EQ(heap.live_blocks(), 0);
  }
}

// ---- decimal numbers

TEST(decimal, stops_after_the_last_digit) {
  const char* text = " -12x";
  const char* end;
  EXPECT_EQ(parse_decimal(text, &end), -12);
  EXPECT_EQ(end, text + 4);
}

TEST(decimal, without_digits_stops_at_the_start) {
  const char* text = " +x";
  const char* end;
  EXPECT_EQ(parse_decimal(text, &end), 0);
  EXPECT_EQ(end, text);
}

TEST(decimal, is_clamped_to_32_bits) {
  EXPECT_EQ(parse_decimal("2147483647"), INT32_MAX);
  EXPECT_EQ(parse_decimal("2147483648"), INT32_MAX);
  EXPECT_EQ(parse_decimal("-2147483648"), INT32_MIN);
  EXPECT_EQ(parse_decimal("-2147483649"), INT32_MIN);
  EXPECT_EQ(parse_decimal(std::string(1000, '9').c_str()), INT32_MAX);
  EXPECT_EQ(parse_decimal(("-" + std::string(1000, '9')).c_str()), INT32_MIN);
}

}  // namespace
}  // namespace kvrpc::test
