#include "bridge/stub.h"

#include "bridge/decode.h"
#include "bridge/encode.h"
#include "bridge/record_arena.h"
#include "bridge/record_xdr.h"
#include "bridge/server_call.h"
#include "bridge/text_sink.h"

namespace kvrpc {

namespace {

// Text crosses between UTF-8 and the records' code in every call.
constexpr int converted_text = 0;

// The JSON text of a node is about twice as long as the node is in memory.
constexpr std::size_t text_per_byte = 2;

// An argument or result while its call runs: zeroed at first, released at the end. `arena` (may be
// null) has what a decode makes.
class call_record {
 public:
  call_record(const wire_type& type, record_arena* arena) : value_{&type, bytes_, arena} {
    if (fits()) std::memset(bytes_, 0, std::size_t{type.size} + 1);
  }
  ~call_record() {
    if (fits()) record_free(value_);
  }
  call_record(const call_record&) = delete;
  call_record& operator=(const call_record&) = delete;

  bool fits() const { return value_.type->size < record_room; }
  typed_value* value() { return &value_; }
  char* data() { return bytes_; }

 private:
  alignas(8) char bytes_[record_room];
  typed_value value_;
};

}  // namespace

int run_stub(CLIENT* clnt, const procedure& target, const json_node* node, text_buffer& result) {
  record_arena arena;
  call_record results(target.result, &arena);
  call_record argument(target.argument, nullptr);
  if (!argument.fits() || !results.fits() ||
      !json_encode(node, converted_text, argument.data(), target.argument)) {
    return CALL_CANNOT_ENCODE;
  }
  if (clnt_call(clnt, target.number, xdr_typed, argument.value(), xdr_typed, results.value(),
                call_timeout_seconds, 0) != RPC_SUCCESS) {
    return CALL_RPC_FAILED;
  }
  result.reserve(text_per_byte * arena.used());  // once, where many nodes would make it grow often
  text_sink sink(result);
  const bool decoded = json_decode(sink, converted_text, results.data(), target.result) != 0;
  return decoded && !result.failed() ? CALL_OK : CALL_CANNOT_DECODE;
}

}  // namespace kvrpc
