// A read that timed out in the middle of a unit, of opaque bytes or of a fragment's header lost the
// count of what it had taken. The next call skipped too much, and the handle never got back in
// step.

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "rpc/clnt_support.h"

namespace kvrpc::test {
namespace {

const std::string body = "eight by";

// Three fragments, so that each kind of item is divided by one of their borders.
std::string reply_to(const std::string& call) {
  const std::string data =
      call.substr(0, 4) + words({1, 0, 0, 0, 0, 7}) + words({8}) + body + words({9});
  return fragment(data.substr(0, 26), false) + fragment(data.substr(26, 10), false) +
         fragment(data.substr(36), true);
}

bool_t xdr_items(XDR* xdrs, void* object, std::uint32_t) {
  char bytes[8];
  auto* text = static_cast<std::string*>(object);
  std::int32_t unit;
  std::int32_t length;
  const bool done = XDR_GETLONG(xdrs, &unit) && XDR_GETLONG(xdrs, &length) && length == 8 &&
                    xdr_opaque(xdrs, bytes, 8) && XDR_GETLONG(xdrs, &unit) && unit == 9;
  if (done) text->assign(bytes, sizeof bytes);
  return done ? TRUE : FALSE;
}

std::int32_t call(client* clnt, std::string* text) {
  std::int32_t argument = 1;
  return clnt_call(clnt->get(), test_procedure, xdr_long, &argument, xdr_items, text, 25, 0);
}

TEST(timeout_inside_a_value, at_any_byte_leaves_the_handle_in_step) {
  const std::size_t length = reply_to("0123").size();
  for (std::size_t cut = 0; cut < length; ++cut) {
    tcp_peer peer([cut](descriptor& connection) {
      const std::string late = reply_to(read_record(connection.get()));
      write_bytes(connection.get(), late.substr(0, cut));
      const std::string second = read_record(connection.get());
      write_bytes(connection.get(), late.substr(cut) + reply_to(second));
    });
    client clnt(tcp_handle(peer.port()));
    clnt.set_timeout(span(30));
    std::string text;
    EXPECT_EQ(call(&clnt, &text), RPC_TIMEDOUT) << cut;
    clnt.set_timeout({10, 0});
    EXPECT_EQ(call(&clnt, &text), RPC_SUCCESS) << cut;
    EXPECT_EQ(text, body) << cut;
  }
}

}  // namespace
}  // namespace kvrpc::test
