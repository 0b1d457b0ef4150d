// The bytes of calls and replies, and the rpc_err of each reply.
#include "rpc/rpc_msg.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "rpc/xdr_support.h"
#include "support/failing_heap.h"

namespace kvrpc::test {
namespace {

const std::string xid_and_reply = "00 00 12 34 00 00 00 01 ";
const std::string no_verifier = "00 00 00 00 00 00 00 00 ";

// A reply that was decoded, with its verifier, and what it becomes.
class reply {
 public:
  explicit reply(const std::string& body, xdrproc_t results = xdr_void, void* where = nullptr)
      : stream_(xid_and_reply + body) {
    message.rm_reply.rp_acpt.ar_results = {where, results};
    status = xdr_replymsg(&stream_.xdrs, &message);
    left = stream_.xdrs.x_handy;
  }
  ~reply() {
    if (message.rm_reply.rp_stat != MSG_ACCEPTED) return;
    xdr_free(xdr_opaque_auth, &message.rm_reply.rp_acpt.ar_verf);
  }
  reply(const reply&) = delete;
  reply& operator=(const reply&) = delete;

  rpc_err error() const {
    rpc_err result = {};
    result.re_lb = {77, 78};
    _seterr_reply(&message, &result);
    return result;
  }

  rpc_msg message{};
  bool_t status;
  std::int32_t left;

 private:
  decoding stream_;
};

TEST(rpc_call_header, is_twenty_bytes) {
  rpc_msg message{};
  message.rm_xid = 0xDEADBEEFu;
  message.rm_call.cb_prog = 0x20000001u;
  message.rm_call.cb_vers = 1;
  encoding stream;
  EXPECT_EQ(xdr_callhdr(&stream.xdrs, &message), TRUE);
  EXPECT_EQ(stream.written(), hex("DE AD BE EF 00 00 00 00 00 00 00 02 20 00 00 01 00 00 00 01"));
}

TEST(rpc_call_header, fails_where_it_does_not_fit) {
  for (std::size_t room = 0; room < 20; room += 4) {
    rpc_msg message{};
    encoding stream(room);
    EXPECT_EQ(xdr_callhdr(&stream.xdrs, &message), FALSE);
  }
}

TEST(rpc_call_header, is_only_encoded_but_its_fields_are_set_first) {
  for (xdr_op op : {XDR_DECODE, XDR_FREE}) {
    XDR xdrs = untouchable(op);
    rpc_msg message{};
    message.rm_direction = REPLY;
    EXPECT_EQ(xdr_callhdr(&xdrs, &message), FALSE);
    EXPECT_EQ(message.rm_direction, CALL);
    EXPECT_EQ(message.rm_call.cb_rpcvers, 2u);
  }
}

TEST(rpc_auth, travels_as_flavour_and_bytes) {
  opaque_auth empty = _null_auth;
  encoding stream;
  EXPECT_EQ(xdr_opaque_auth(&stream.xdrs, &empty), TRUE);
  EXPECT_EQ(stream.written(), hex(no_verifier));
}

TEST(rpc_auth, takes_four_hundred_bytes_and_no_more) {
  bytes content = hex("00 00 00 01 00 00 01 90");
  content.resize(8 + 404);
  decoding stream(content);
  opaque_auth auth{};
  EXPECT_EQ(xdr_opaque_auth(&stream.xdrs, &auth), TRUE);
  EXPECT_EQ(auth.oa_length, 400u);
  xdr_free(xdr_opaque_auth, &auth);
  EXPECT_EQ(auth.oa_base, nullptr);

  xdr_store_unit(content.data() + 4, 401);
  decoding longer(content);
  EXPECT_EQ(xdr_opaque_auth(&longer.xdrs, &auth), FALSE);
  EXPECT_EQ(auth.oa_base, nullptr);
}

TEST(rpc_reply, of_the_direction_call_fails) {
  decoding stream("00 00 12 34 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00");
  rpc_msg message{};
  EXPECT_EQ(xdr_replymsg(&stream.xdrs, &message), FALSE);
  EXPECT_EQ(message.rm_xid, 0x1234u);
}

TEST(rpc_reply, neither_accepted_nor_denied_fails) {
  reply one("00 00 00 02 00 00 00 00 00 00 00 00");
  EXPECT_EQ(one.status, FALSE);
  EXPECT_EQ(one.message.rm_reply.rp_stat, 2);
  EXPECT_EQ(one.error().re_status, RPC_FAILED);
  EXPECT_EQ(one.error().re_lb.s1, 2);
  EXPECT_EQ(one.error().re_lb.s2, 78);
}

TEST(rpc_reply, of_success_decodes_its_results) {
  std::int32_t result = 0;
  reply one("00 00 00 00 " + no_verifier + "00 00 00 00 00 00 00 2A", xdr_long, &result);
  EXPECT_EQ(one.status, TRUE);
  EXPECT_EQ(one.message.rm_xid, 0x1234u);
  EXPECT_EQ(result, 42);
  EXPECT_EQ(one.error().re_status, RPC_SUCCESS);
  EXPECT_EQ(one.error().re_lb.s1, 77);
}

TEST(rpc_reply, whose_results_fail_fails) {
  std::int32_t result = 0;
  reply one("00 00 00 00 " + no_verifier + "00 00 00 00 00 00", xdr_long, &result);
  EXPECT_EQ(one.status, FALSE);
}

TEST(rpc_reply, leaves_results_to_a_later_routine) {
  reply one("00 00 00 00 " + no_verifier + "00 00 00 00 00 00 00 2A");
  EXPECT_EQ(one.status, TRUE);
  EXPECT_EQ(one.left, 4);
}

TEST(rpc_reply, accepted_with_another_status_becomes_its_call_status) {
  struct {
    const char* accept;
    std::int32_t status;
  } const cases[] = {{"00 00 00 01", RPC_PROGUNAVAIL},
                     {"00 00 00 03", RPC_PROCUNAVAIL},
                     {"00 00 00 04", RPC_CANTDECODEARGS},
                     {"00 00 00 05", RPC_SYSTEMERROR}};
  for (const auto& one : cases) {
    reply accepted("00 00 00 00 " + no_verifier + one.accept + " 00 00 00 07");
    EXPECT_EQ(accepted.status, TRUE);
    EXPECT_EQ(accepted.left, 4);
    EXPECT_EQ(accepted.error().re_status, one.status);
    EXPECT_EQ(accepted.error().re_lb.s1, 77);
  }
}

TEST(rpc_reply, accepted_with_an_unknown_status_is_a_failure_with_its_number) {
  reply one("00 00 00 00 " + no_verifier + "00 00 00 09");
  EXPECT_EQ(one.status, TRUE);
  EXPECT_EQ(one.error().re_status, RPC_FAILED);
  EXPECT_EQ(one.error().re_lb.s1, 0);
  EXPECT_EQ(one.error().re_lb.s2, 9);
}

TEST(rpc_reply, of_a_program_mismatch_carries_the_versions) {
  reply one("00 00 00 00 " + no_verifier + "00 00 00 02 00 00 00 01 00 00 00 03");
  EXPECT_EQ(one.status, TRUE);
  EXPECT_EQ(one.error().re_status, RPC_PROGVERSMISMATCH);
  EXPECT_EQ(one.error().re_vers.low, 1u);
  EXPECT_EQ(one.error().re_vers.high, 3u);
  reply cut("00 00 00 00 " + no_verifier + "00 00 00 02 00 00 00 01");
  EXPECT_EQ(cut.status, FALSE);
}

TEST(rpc_reply, denied_for_the_rpc_version_is_a_failure_with_one_and_zero) {
  reply one("00 00 00 01 00 00 00 00 00 00 00 02 00 00 00 02");
  EXPECT_EQ(one.status, TRUE);
  EXPECT_EQ(one.error().re_status, RPC_FAILED);
  EXPECT_EQ(one.error().re_lb.s1, 1);
  EXPECT_EQ(one.error().re_lb.s2, 0);
}

TEST(rpc_reply, denied_for_its_authentication_says_why) {
  reply one("00 00 00 01 00 00 00 01 00 00 00 05");
  EXPECT_EQ(one.status, TRUE);
  EXPECT_EQ(one.error().re_status, RPC_AUTHERROR);
  EXPECT_EQ(one.error().re_why, 5);
}

TEST(rpc_reply, denied_otherwise_fails) {
  for (const char* reject : {"00 00 00 02", "00 00 00 06", "FF FF FF FF"}) {
    reply one(std::string("00 00 00 01 ") + reject + " 00 00 00 01 00 00 00 02");
    EXPECT_EQ(one.status, FALSE);
  }
}

TEST(rpc_reply, rejections_that_no_wire_brings_are_mapped_too) {
  rpc_msg message{};
  message.rm_reply.rp_stat = MSG_DENIED;
  message.rm_reply.rp_rjct.rj_stat = RPC_VERSMISMATCH;
  message.rm_reply.rp_rjct.rj_vers = {2, 3};
  rpc_err error{};
  _seterr_reply(&message, &error);
  EXPECT_EQ(error.re_status, RPC_VERSMISMATCH);
  EXPECT_EQ(error.re_vers.low, 2u);
  EXPECT_EQ(error.re_vers.high, 3u);

  message.rm_reply.rp_rjct.rj_stat = 4;
  _seterr_reply(&message, &error);
  EXPECT_EQ(error.re_status, RPC_FAILED);
  EXPECT_EQ(error.re_lb.s1, 1);
  EXPECT_EQ(error.re_lb.s2, 4);
}

TEST(rpc_reply, cut_anywhere_fails_and_leaks_nothing) {
  const bytes whole = hex(xid_and_reply +
                          "00 00 00 00 00 00 00 01 00 00 00 05 61 62 63 64 65 00 00 00 00 00 00 00 "
                          "00 00 00 2A");
  for (std::size_t length = 0; length <= whole.size(); ++length) {
    decoding stream(bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)));
    failing_heap heap(-1);
    rpc_msg message{};
    std::int32_t result = 0;
    message.rm_reply.rp_acpt.ar_results = {&result, xdr_long};
    EXPECT_EQ(xdr_replymsg(&stream.xdrs, &message), length == whole.size() ? TRUE : FALSE);
    xdr_free(xdr_opaque_auth, &message.rm_reply.rp_acpt.ar_verf);
    EXPECT_EQ(heap.live_blocks(), 0);
  }
}

}  // namespace
}  // namespace kvrpc::test
