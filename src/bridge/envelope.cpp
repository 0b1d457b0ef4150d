// Writes the envelope of a reply member by member. rpc_err has members of its own for some
// failures, which envelope.h lists.
#include "bridge/envelope.h"

#include "bridge/server_call.h"

namespace kvrpc {

namespace {

template <std::size_t N>
bool add(text_buffer& out, const char (&text)[N]) {
  return out.append(text, N - 1);
}

// Appends the text `before` and then a number.
template <std::size_t N>
bool add(text_buffer& out, const char (&before)[N], std::int64_t value) {
  return add(out, before) && json_write_integer(out, value);
}

bool add_failure_detail(text_buffer& out, const rpc_err& error) {
  switch (error.re_status) {
    case RPC_CANTSEND:
    case RPC_CANTRECV:
      return add(out, R"(,"re_errno":)", error.re_errno);
    case RPC_VERSMISMATCH:
    case RPC_PROGVERSMISMATCH:
      return add(out, R"(,"re_vers":{"low":)", error.re_vers.low) &&
             add(out, R"(,"high":)", error.re_vers.high) && add(out, "}");
    case RPC_AUTHERROR:
      return add(out, R"(,"re_why":)", error.re_why);
    default:
      break;
  }
  if (error.re_status >= RPC_SUCCESS && error.re_status <= RPC_UNKNOWNPROTO) return true;
  return add(out, R"(,"re_lb":{"s1":)", error.re_lb.s1) && add(out, R"(,"s2":)", error.re_lb.s2) &&
         add(out, "}");
}

const char* message_of(CLIENT* clnt, int status) {
  switch (status) {
    case CALL_CANNOT_ENCODE:
      return "can not json encode arg";
    case CALL_CANNOT_DECODE:
      return "can not json decode result";
    case CALL_RPC_FAILED:
      return clnt_sperror(clnt, "rpc_call");
    case CALL_UNKNOWN:
      return "unknown function";
    case CALL_MALFORMED:
      return "malformed json call: format is {\"function\":arg}";
    case CALL_UNPARSABLE:
      return "can not parse json object";
    case CALL_NO_MEMORY:
      return "out of memory";
    case CALL_REFUSED:
      return "call is not allowed";
    default:
      return "unknown error";
  }
}

}  // namespace

int add_rpc_err(CLIENT* clnt, text_buffer& root) {
  rpc_err error;
  clnt_geterr(clnt, &error);
  return add(root, R"("rpc_err":{"re_status":)", error.re_status) &&
         add_failure_detail(root, error) && add(root, "}");
}

int fill_envelope(CLIENT* clnt, int status, text_buffer& root) {
  if (status == CALL_OK) return add(root, R"({"status":0,"message":"ok","result":)");
  const char* const message = message_of(clnt, status);
  if (message == nullptr || !add(root, R"({"status":)", status)) return 0;
  if (status == CALL_RPC_FAILED && !(add(root, ",") && add_rpc_err(clnt, root))) return 0;
  return add(root, R"(,"message":)") && json_write_text(root, message, std::strlen(message)) &&
         add(root, "}");
}

}  // namespace kvrpc
