// Replies over TCP: dropped, refused, undecodable, truncated and delayed ones.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "rpc/clnt_support.h"
#include "support/failing_heap.h"

namespace kvrpc::test {
namespace {

// What a peer writes in answer to a call.
using replies = std::function<std::string(const std::string& call)>;

struct outcome {
  std::int32_t status;
  rpc_err error;
  std::int32_t result;
  std::int32_t next_status;  // of a second call, answered with 77
  std::int32_t next_result;
};

// Makes a call that is answered with `bytes`, and a second one that is answered well.
outcome answered_with(const replies& bytes, xdrproc_t routine = xdr_long,
                      rpc_timeval wait = {10, 0}) {
  tcp_peer peer([&](descriptor& connection) {
    write_bytes(connection.get(), bytes(read_record(connection.get())));
    const std::string second = read_record(connection.get());
    write_record(connection.get(), success(second, words({77})));
  });
  client clnt(tcp_handle(peer.port()));
  clnt.set_timeout(wait);
  outcome seen = {};
  std::int32_t argument = 1;
  seen.status =
      clnt_call(clnt.get(), test_procedure, xdr_long, &argument, routine, &seen.result, 25, 0);
  seen.error = clnt.error();
  seen.next_status = clnt.call(2, &seen.next_result);
  return seen;
}

std::string record(const std::string& data) { return fragment(data, true); }

std::string wrong_id(const std::string& call) {
  std::string id = call.substr(0, 4);
  id[3] = static_cast<char>(id[3] ^ 1);
  return id;
}

void expect_good(const outcome& seen, std::int32_t result) {
  EXPECT_EQ(seen.status, RPC_SUCCESS);
  EXPECT_EQ(seen.result, result);
  EXPECT_EQ(seen.next_status, RPC_SUCCESS);
  EXPECT_EQ(seen.next_result, 77);
}

void expect_refused(const outcome& seen, std::int32_t status) {
  EXPECT_EQ(seen.status, status);
  EXPECT_EQ(seen.error.re_status, status);
  EXPECT_EQ(seen.next_status, RPC_SUCCESS);
  EXPECT_EQ(seen.next_result, 77);
}

// ---- dropped replies

TEST(tcp_reply, with_a_wrong_id_is_dropped) {
  expect_good(answered_with([](const std::string& call) {
                return record(success(wrong_id(call), words({13}))) +
                       record(success(call, words({14})));
              }),
              14);
}

TEST(tcp_reply, of_rejection_with_a_wrong_id_is_dropped) {
  expect_good(answered_with([](const std::string& call) {
                const std::string rejection = wrong_id(call) + words({1, 1, 1, 5});
                return record(rejection) + record(success(call, words({14})));
              }),
              14);
}

TEST(tcp_reply, that_does_not_decode_is_dropped) {
  expect_good(answered_with([](const std::string& call) {
                const std::string id = call.substr(0, 4);
                return record("") + record("abc") + record(id + words({0})) +
                       record(id + words({1, 2})) +
                       record(id + words({1, 0, 0, 401}) + std::string(404, 'v') + words({0, 13})) +
                       record(id + words({1, 1, 6, 2, 2})) + record(id + words({1, 0, 1, 8, 1})) +
                       record(success(call, words({15})));
              }),
              15);
}

TEST(tcp_reply, that_is_dropped_leaks_no_verifier) {
  tcp_peer peer([](descriptor& connection) {
    const std::string call = read_record(connection.get());
    const std::string verifier = words({1, 0, 1, 8, 1, 2});
    write_record(connection.get(), wrong_id(call) + verifier + words({0, 1}));
    write_record(connection.get(), call.substr(0, 4) + words({1, 0, 1, 8, 1}));
    write_record(connection.get(), call.substr(0, 4) + verifier + words({5}));
  });
  client clnt(tcp_handle(peer.port()));
  std::int32_t result;
  failing_heap heap(-1);
  EXPECT_EQ(clnt.call(1, &result), RPC_SYSTEMERROR);
  EXPECT_EQ(heap.live_blocks(), 0);
  EXPECT_EQ(heap.allocations(), 3);
}

TEST(tcp_reply, that_comes_late_is_skipped_by_the_next_call) {
  std::string first;
  tcp_peer peer([&](descriptor& connection) {
    first = read_record(connection.get());
    const std::string second = read_record(connection.get());
    write_record(connection.get(), success(first, words({1})));
    write_record(connection.get(), success(second, words({2})));
  });
  client clnt(tcp_handle(peer.port()));
  clnt.set_timeout(span(50));
  std::int32_t result = 0;
  EXPECT_EQ(clnt.call(1, &result), RPC_TIMEDOUT);
  clnt.set_timeout({10, 0});
  EXPECT_EQ(clnt.call(2, &result), RPC_SUCCESS);
  EXPECT_EQ(result, 2);
}

// ---- refusals

TEST(tcp_reply, of_refusal_gives_its_status) {
  const std::int32_t accepted[][2] = {
      {1, RPC_PROGUNAVAIL}, {3, RPC_PROCUNAVAIL}, {4, RPC_CANTDECODEARGS}, {5, RPC_SYSTEMERROR}};
  for (const auto& row : accepted) {
    const auto stat = static_cast<std::uint32_t>(row[0]);
    expect_refused(answered_with([&](const std::string& call) {
                     return record(call.substr(0, 4) + words({1, 0, 0, 0, stat}));
                   }),
                   row[1]);
  }
}

TEST(tcp_reply, of_refusal_carries_its_details) {
  const outcome versions = answered_with([](const std::string& call) {
    return record(call.substr(0, 4) + words({1, 0, 0, 0, 2, 3, 4}));
  });
  expect_refused(versions, RPC_PROGVERSMISMATCH);
  EXPECT_EQ(versions.error.re_vers.low, 3u);
  EXPECT_EQ(versions.error.re_vers.high, 4u);
  const auto refuse_credential = [](const std::string& call) {
    return record(call.substr(0, 4) + words({1, 1, 1, 5}));
  };
  const outcome authentication = answered_with(refuse_credential);
  expect_refused(authentication, RPC_AUTHERROR);
  EXPECT_EQ(authentication.error.re_why, AUTH_TOOWEAK);
  const auto refuse_version = [](const std::string& call) {
    return record(call.substr(0, 4) + words({1, 1, 0, 2, 2}));
  };
  const outcome rpc_version = answered_with(refuse_version);
  expect_refused(rpc_version, RPC_FAILED);
  EXPECT_EQ(rpc_version.error.re_lb.s1, 1);
  EXPECT_EQ(rpc_version.error.re_lb.s2, 0);
}

TEST(tcp_reply, whose_results_do_not_decode_is_reported_and_skipped) {
  expect_refused(answered_with([](const std::string& call) { return record(success(call, "")); }),
                 RPC_CANTDECODERES);
}

TEST(tcp_reply, may_carry_more_than_is_read) {
  expect_good(answered_with([](const std::string& call) {
                return record(success(call, words({3, 4, 5, 6})));
              }),
              3);
}

// ---- arguments that fail

TEST(tcp_arguments, that_fail_send_the_incomplete_record) {
  std::string calls[2];
  tcp_peer peer([&](descriptor& connection) {
    for (std::string& call : calls) call = read_record(connection.get());
    write_record(connection.get(), success(calls[1], words({8})));
  });
  client clnt(tcp_handle(peer.port()));
  std::int32_t result = 0;
  EXPECT_EQ(clnt_call(clnt.get(), test_procedure, xdr_broken, nullptr, xdr_long, &result, 10, 0),
            RPC_CANTENCODEARGS);
  EXPECT_EQ(clnt.error().re_status, RPC_CANTENCODEARGS);
  EXPECT_EQ(clnt.call(2, &result), RPC_SUCCESS);
  EXPECT_EQ(result, 8);
  EXPECT_EQ(calls[0].substr(4), call_after_id(words({1})));
}

// ---- cuts and stalls

// A call whose answer breaks off after `bytes` of it: by close, by reset, or by silence.
enum class cut { close, reset, silence };

outcome cut_off(std::size_t bytes, cut kind) {
  tcp_peer peer([&](descriptor& connection) {
    const std::string call = read_record(connection.get());
    const std::string whole = record(success(call, words({6})));
    write_bytes(connection.get(), whole.substr(0, bytes));
    if (kind == cut::silence) {
      const std::string second = read_record(connection.get());
      write_bytes(connection.get(), whole.substr(bytes));
      write_record(connection.get(), success(second, words({77})));
    } else if (kind == cut::reset) {
      sleep_milliseconds(5);  // the bytes are read before the reset discards them
      connection.reset();
    }
  });
  client clnt(tcp_handle(peer.port()));
  clnt.set_timeout(kind == cut::silence ? span(15) : span(10000));
  outcome seen = {};
  seen.status = clnt.call(1, &seen.result);
  seen.error = clnt.error();
  clnt.set_timeout({10, 0});
  seen.next_status = clnt.call(2, &seen.next_result);
  return seen;
}

constexpr std::size_t whole_reply = 32;

TEST(tcp_cut, by_a_close_at_each_byte_is_10054_and_stays) {
  for (std::size_t bytes = 0; bytes < whole_reply; ++bytes) {
    const outcome seen = cut_off(bytes, cut::close);
    EXPECT_EQ(seen.status, RPC_CANTRECV) << bytes;
    EXPECT_EQ(seen.error.re_errno, 10054) << bytes;
    EXPECT_TRUE(seen.next_status == RPC_CANTRECV || seen.next_status == RPC_CANTSEND) << bytes;
  }
}

TEST(tcp_cut, by_a_reset_at_each_byte_is_10054_and_stays) {
  for (std::size_t bytes = 0; bytes < whole_reply; ++bytes) {
    const outcome seen = cut_off(bytes, cut::reset);
    EXPECT_EQ(seen.status, RPC_CANTRECV) << bytes;
    EXPECT_EQ(seen.error.re_errno, 10054) << bytes;
    EXPECT_TRUE(seen.next_status == RPC_CANTRECV || seen.next_status == RPC_CANTSEND) << bytes;
  }
}

TEST(tcp_cut, by_silence_at_each_word_times_out_and_the_next_call_works) {
  for (std::size_t bytes = 0; bytes < whole_reply; bytes += 4) {
    const outcome seen = cut_off(bytes, cut::silence);
    EXPECT_EQ(seen.status, RPC_TIMEDOUT) << bytes;
    EXPECT_EQ(seen.next_status, RPC_SUCCESS) << bytes;
    EXPECT_EQ(seen.next_result, 77) << bytes;
  }
}

TEST(tcp_reply, may_come_in_fragments_of_one_byte) {
  expect_good(answered_with([](const std::string& call) {
                const std::string data = success(call, words({16}));
                std::string bytes = fragment("", false);
                for (std::size_t i = 0; i < data.size(); ++i) {
                  bytes += fragment(data.substr(i, 1), i + 1 == data.size());
                }
                return bytes;
              }),
              16);
}

TEST(tcp_reply, may_come_byte_by_byte_over_any_time) {
  tcp_peer peer([](descriptor& connection) {
    const std::string reply = record(success(read_record(connection.get()), words({17})));
    for (const char byte : reply) {
      sleep_milliseconds(10);
      write_bytes(connection.get(), std::string(1, byte));
    }
  });
  client clnt(tcp_handle(peer.port()));
  clnt.set_timeout(span(200));
  std::int32_t result = 0;
  const stopwatch watch;
  EXPECT_EQ(clnt.call(1, &result), RPC_SUCCESS);
  EXPECT_EQ(result, 17);
  EXPECT_GE(watch.milliseconds(), 300);
}

}  // namespace
}  // namespace kvrpc::test
