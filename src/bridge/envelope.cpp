#include "bridge/envelope.h"

#include "bridge/server_call.h"

namespace kvrpc {

namespace {

template <std::size_t N>
int add_key(text_sink& out, const char (&key)[N]) {
  return out.key(key, N - 1);
}

template <std::size_t N>
int add_integer(text_sink& out, const char (&key)[N], std::int64_t value) {
  return add_key(out, key) && out.integer(value);
}

template <std::size_t N, std::size_t M>
int add_pair(text_sink& out, const char (&first_key)[N], std::int64_t first,
             const char (&second_key)[M], std::int64_t second) {
  return out.begin_object() && add_integer(out, first_key, first) &&
         add_integer(out, second_key, second) && out.end_object();
}

int add_failure_detail(text_sink& out, const rpc_err& error) {
  switch (error.re_status) {
    case RPC_CANTSEND:
    case RPC_CANTRECV:
      return add_integer(out, "re_errno", error.re_errno);
    case RPC_VERSMISMATCH:
    case RPC_PROGVERSMISMATCH:
      return add_key(out, "re_vers") &&
             add_pair(out, "low", error.re_vers.low, "high", error.re_vers.high);
    case RPC_AUTHERROR:
      return add_integer(out, "re_why", error.re_why);
    default:
      break;
  }
  if (error.re_status >= RPC_SUCCESS && error.re_status <= RPC_UNKNOWNPROTO) return 1;
  return add_key(out, "re_lb") && add_pair(out, "s1", error.re_lb.s1, "s2", error.re_lb.s2);
}

const char* message_of(CLIENT* clnt, int status) {
  switch (status) {
    case CALL_OK:
      return "ok";
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

int add_rpc_err(CLIENT* clnt, text_sink& root) {
  rpc_err error;
  clnt_geterr(clnt, &error);
  return add_key(root, "rpc_err") && root.begin_object() &&
         add_integer(root, "re_status", error.re_status) && add_failure_detail(root, error) &&
         root.end_object();
}

int fill_envelope(CLIENT* clnt, int status, text_buffer& root) {
  text_sink out(root);
  if (!out.begin_object() || !add_integer(out, "status", status)) return 0;
  const char* message = message_of(clnt, status);
  if (message == nullptr) return 0;
  if (status == CALL_RPC_FAILED && !add_rpc_err(clnt, out)) return 0;
  if (!add_key(out, "message") || !out.plain_text(message, std::strlen(message))) return 0;
  return status == CALL_OK ? add_key(out, "result") : out.end_object();
}

}  // namespace kvrpc
