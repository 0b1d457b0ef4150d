#include "bridge/stub.h"

#include "bridge/encode.h"
#include "bridge/record_xdr.h"
#include "bridge/result_reader.h"
#include "bridge/server_call.h"

namespace kvrpc {

namespace {

// Text crosses from UTF-8 to the records' code in every call.
constexpr int converted_text = 0;

// An argument or result while its call runs: zeroed at first, released at the end.
class call_record {
 public:
  explicit call_record(const wire_type& type) : value_{&type, bytes_} {
    if (fits()) std::memset(bytes_, 0, std::size_t{type.size} + 1);
  }
  ~call_record() {
    if (fits()) record_free(*value_.type, bytes_);
  }
  call_record(const call_record&) = delete;
  call_record& operator=(const call_record&) = delete;

  bool fits() const { return value_.type->size < record_room; }
  typed_value& value() { return value_; }
  char* data() { return bytes_; }

 private:
  alignas(8) char bytes_[record_room];
  typed_value value_;
};

}  // namespace

int run_stub(CLIENT* clnt, const procedure& target, const json_node* node, text_buffer& result) {
  call_record argument(target.argument);
  if (!argument.fits() || !json_encode(node, converted_text, argument.data(), target.argument)) {
    return CALL_CANNOT_ENCODE;
  }
  result_text text{target.result, result, result.size()};
  if (clnt_call(clnt, target.number, xdr_typed, &argument.value(), xdr_result, &text,
                call_timeout_seconds, 0) != RPC_SUCCESS) {
    return CALL_RPC_FAILED;
  }
  return text.written ? CALL_OK : CALL_CANNOT_DECODE;
}

}  // namespace kvrpc
