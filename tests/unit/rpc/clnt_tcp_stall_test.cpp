// TCP replies that stall: the call times out, and the late rest must not disturb later calls.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "rpc/clnt_support.h"
#include "support/failing_heap.h"

namespace kvrpc::test {
namespace {

// A result with everything that allocates: a counted text and a list of texts.
struct texts {
  char* title;
  std::uint32_t count;
  char* lines;
};

bool_t xdr_texts(XDR* xdrs, void* object, std::uint32_t) {
  auto* result = static_cast<texts*>(object);
  return xdr_string(xdrs, &result->title, 100) &&
                 xdr_array(xdrs, &result->lines, &result->count, 100, sizeof(char*), xdr_wrapstring)
             ? TRUE
             : FALSE;
}

std::string text(const std::string& value) {
  return words({static_cast<std::uint32_t>(value.size())}) + value +
         std::string((4 - value.size() % 4) % 4, '\0');
}

std::string texts_reply(const std::string& call) {
  const std::string data = call.substr(0, 4) + words({1, 0, 1, 8, 1, 2, 0}) + text("a title") +
                           words({3}) + text("one") + text("") + text("three lines");
  // Three fragments, so that stalls also fall on marks.
  return fragment(data.substr(0, 24), false) + fragment(data.substr(24, 20), false) +
         fragment(data.substr(44), true);
}

std::int32_t call_texts(client* clnt, texts* result) {
  std::int32_t argument = 1;
  return clnt_call(clnt->get(), test_procedure, xdr_long, &argument, xdr_texts, result, 25, 0);
}

// Returns true if the call brought all texts. Releases them in any case.
bool brings_texts(client* clnt, std::int32_t* status) {
  texts result = {};
  *status = call_texts(clnt, &result);
  const bool whole = *status == RPC_SUCCESS && std::string(result.title) == "a title" &&
                     result.count == 3 &&
                     std::string(reinterpret_cast<char**>(result.lines)[2]) == "three lines";
  xdr_free(xdr_texts, &result);
  return whole;
}

std::size_t reply_length() { return texts_reply("0123").size(); }

TEST(tcp_stall, at_each_byte_times_out_and_the_late_rest_is_skipped) {
  for (std::size_t bytes = 0; bytes < reply_length(); ++bytes) {
    tcp_peer peer([&](descriptor& connection) {
      const std::string whole = texts_reply(read_record(connection.get()));
      write_bytes(connection.get(), whole.substr(0, bytes));
      const std::string second = read_record(connection.get());
      write_bytes(connection.get(), whole.substr(bytes) + texts_reply(second));
    });
    client clnt(tcp_handle(peer.port()));
    clnt.set_timeout(span(15));
    failing_heap heap(-1);
    std::int32_t status;
    EXPECT_FALSE(brings_texts(&clnt, &status)) << bytes;
    EXPECT_EQ(status, RPC_TIMEDOUT) << bytes;
    EXPECT_EQ(clnt.error().re_status, RPC_TIMEDOUT) << bytes;
    clnt.set_timeout({10, 0});
    EXPECT_TRUE(brings_texts(&clnt, &status)) << bytes;
    EXPECT_EQ(heap.live_blocks(), 0) << bytes;
  }
}

// The stream waits for the rest of the record, and takes the next reply for that rest. So a caller
// that wants an answer must make a new handle.
TEST(tcp_stall, for_good_costs_the_next_reply_on_that_handle) {
  tcp_peer peer([&](descriptor& connection) {
    read_record(connection.get());
    write_bytes(connection.get(), texts_reply(read_record(connection.get())));
    read_record(connection.get());
  });
  client clnt(tcp_handle(peer.port()));
  clnt.set_timeout(span(50));
  for (std::int32_t i = 0; i < 2; ++i) {
    std::int32_t status;
    EXPECT_FALSE(brings_texts(&clnt, &status));
    EXPECT_EQ(status, RPC_TIMEDOUT);
  }
  clnt.destroy();
}

TEST(tcp_cut, of_a_result_half_decoded_leaves_nothing) {
  for (std::size_t bytes = 0; bytes < reply_length(); ++bytes) {
    tcp_peer peer([&](descriptor& connection) {
      write_bytes(connection.get(), texts_reply(read_record(connection.get())).substr(0, bytes));
    });
    client clnt(tcp_handle(peer.port()));
    failing_heap heap(-1);
    std::int32_t status;
    EXPECT_FALSE(brings_texts(&clnt, &status)) << bytes;
    EXPECT_EQ(status, RPC_CANTRECV) << bytes;
    EXPECT_EQ(clnt.error().re_errno, 10054) << bytes;
    EXPECT_EQ(heap.live_blocks(), 0) << bytes;
  }
}

}  // namespace
}  // namespace kvrpc::test
