// A client handle without a transport. It keeps the bytes of the last call's argument, and answers
// with bytes or a failure that the test has set.
#pragma once

#include "bridge/support/test_streams.h"
#include "rpc/clnt.h"
#include "rpc/rpc_os.h"

namespace kvrpc::test {

class fake_client {
 public:
  fake_client() {
    clnt_.cl_lock = rpc_create_lock();
    clnt_.cl_ops = operations();
    clnt_.cl_private = this;
  }
  ~fake_client() { rpc_destroy_lock(clnt_.cl_lock); }
  fake_client(const fake_client&) = delete;
  fake_client& operator=(const fake_client&) = delete;

  CLIENT* handle() { return &clnt_; }

  bytes answer;       // the result's XDR bytes
  rpc_err failure{};  // what the call ends with; its status 0 lets the answer through
  bytes sent;         // the XDR bytes of the last call's argument
  int calls = 0;
  std::uint32_t procedure = 0;
  rpc_timeval timeout{};

 private:
  static fake_client* of(CLIENT* clnt) { return static_cast<fake_client*>(clnt->cl_private); }

  std::int32_t run(xdrproc_t arguments, void* argument_record, xdrproc_t results,
                   void* result_record) {
    ++calls;
    sent.clear();
    sink_stream out(&sent);
    if (!arguments(&out.xdrs, argument_record, LASTUNSIGNED)) return end(RPC_CANTENCODEARGS);
    if (failure.re_status != RPC_SUCCESS) return failure.re_status;
    source_stream in(answer, inline_mode::sometimes);
    if (!results(&in.xdrs, result_record, LASTUNSIGNED)) return end(RPC_CANTDECODERES);
    return RPC_SUCCESS;
  }

  std::int32_t end(clnt_stat status) { return failure.re_status = status; }

  static const clnt_ops* operations() {
    static constexpr clnt_ops table = {
        [](CLIENT* clnt, std::uint32_t number, xdrproc_t arguments, void* argument_record,
           xdrproc_t results, void* result_record, rpc_timeval limit) {
          of(clnt)->procedure = number;
          of(clnt)->timeout = limit;
          return of(clnt)->run(arguments, argument_record, results, result_record);
        },
        nullptr,
        [](CLIENT* clnt, rpc_err* error) { *error = of(clnt)->failure; },
        nullptr,
        nullptr,
        nullptr,
    };
    return &table;
  }

  CLIENT clnt_{};
};

}  // namespace kvrpc::test
