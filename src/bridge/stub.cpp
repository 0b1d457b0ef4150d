// One call of a procedure of the tables. The argument record is on the stack, so that no allocation
// can fail between the vetting and the call.
#include "bridge/stub.h"

#include <cstddef>
#include <cstring>

#include "bridge/encode.h"
#include "bridge/record_xdr.h"
#include "bridge/result_reader.h"
#include "bridge/server_call.h"

namespace kvrpc {

namespace {

// The `raw_text` of every call: text is converted from UTF-8 to the records' code.
constexpr int converted_text = 0;

// An argument while its call runs. Zeroed at first, because an absent member is zero; released at
// the end.
struct call_record {
  explicit call_record(const wire_type& type) : value{&type, bytes} {
    std::memset(bytes, 0, std::size_t{type.size} + 1);
  }
  ~call_record() { record_free(*value.type, bytes); }
  call_record(const call_record&) = delete;
  call_record& operator=(const call_record&) = delete;

  alignas(8) char bytes[argument_room];
  typed_value value;
};

}  // namespace

int run_stub(CLIENT* clnt, const procedure& target, const json_node* node, text_buffer& result) {
  call_record argument(target.argument);
  if (!json_encode(node, converted_text, argument.bytes, target.argument)) {
    return CALL_CANNOT_ENCODE;
  }
  result_text text{target.result, result, result.size()};
  if (clnt_call(clnt, target.number, xdr_typed, &argument.value, xdr_result, &text,
                call_timeout_seconds, 0) != RPC_SUCCESS) {
    return CALL_RPC_FAILED;
  }
  return text.written ? CALL_OK : CALL_CANNOT_DECODE;
}

}  // namespace kvrpc
