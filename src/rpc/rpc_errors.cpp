// The texts of failures. Every builder writes to one buffer of 256 bytes, which is allocated at
// first use and never released.
#include <algorithm>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "rpc/clnt.h"
#include "rpc/rpc_os.h"

namespace kvrpc {

namespace {

struct status_text {
  std::int32_t status;
  const char* text;
};

constexpr status_text clnt_texts[] = {
    {RPC_SUCCESS, "RPC: Success"},
    {RPC_CANTENCODEARGS, "RPC: Can't encode arguments"},
    {RPC_CANTDECODERES, "RPC: Can't decode result"},
    {RPC_CANTSEND, "RPC: Unable to send"},
    {RPC_CANTRECV, "RPC: Unable to receive"},
    {RPC_TIMEDOUT, "RPC: Timed out"},
    {RPC_VERSMISMATCH, "RPC: Incompatible versions of RPC"},
    {RPC_AUTHERROR, "RPC: Authentication error"},
    {RPC_PROGUNAVAIL, "RPC: Program unavailable"},
    {RPC_PROGVERSMISMATCH, "RPC: Program/version mismatch"},
    {RPC_PROCUNAVAIL, "RPC: Procedure unavailable"},
    {RPC_CANTDECODEARGS, "RPC: Server can't decode arguments"},
    {RPC_SYSTEMERROR, "RPC: Remote system error"},
    {RPC_UNKNOWNHOST, "RPC: Unknown host"},
    {RPC_UNKNOWNPROTO, "RPC: Unknown protocol"},
    {RPC_PMAPFAILURE, "RPC: Port mapper failure"},
    {RPC_PROGNOTREGISTERED, "RPC: Program not registered"},
    {RPC_FAILED, "RPC: Failed (unspecified error)"},
};

constexpr status_text auth_texts[] = {
    {AUTH_OK, "Authentication OK"},
    {AUTH_BADCRED, "Invalid client credential"},
    {AUTH_REJECTEDCRED, "Server rejected credential"},
    {AUTH_BADVERF, "Invalid client verifier"},
    {AUTH_REJECTEDVERF, "Server rejected verifier"},
    {AUTH_TOOWEAK, "Client credential too weak"},
    {AUTH_INVALIDRESP, "Invalid server verifier"},
    {AUTH_FAILED, "Failed (unspecified error)"},
};

template <std::size_t count>
const char* find_text(const status_text (&texts)[count], std::int32_t status,
                      const char* otherwise) {
  for (const status_text& entry : texts) {
    if (entry.status == status) return entry.text;
  }
  return otherwise;
}

constexpr std::size_t errbuf_bytes = 256;
char* rpc_errbuf = nullptr;

// Builds one text in rpc_errbuf. Truncates what does not fit, and keeps room for the line end.
class error_text {
 public:
  error_text() {
    if (rpc_errbuf == nullptr) rpc_errbuf = static_cast<char*>(std::malloc(errbuf_bytes));
  }

  explicit operator bool() const { return rpc_errbuf != nullptr; }

  [[gnu::format(printf, 2, 3)]] void append(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    const std::size_t room = errbuf_bytes - 1 - used_;
    const int length = std::vsnprintf(rpc_errbuf + used_, room, format, arguments);
    va_end(arguments);
    if (length > 0) used_ += std::min(static_cast<std::size_t>(length), room - 1);
  }

  char* finished() const {
    rpc_errbuf[used_] = '\n';
    rpc_errbuf[used_ + 1] = '\0';
    return rpc_errbuf;
  }

 private:
  std::size_t used_ = 0;
};

std::uint32_t unsigned_word(std::int32_t word) { return static_cast<std::uint32_t>(word); }

void append_why(error_text* text, std::int32_t why) {
  text->append("; why = ");
  if (const char* message = auth_errmsg(why)) {
    text->append("%s", message);
  } else {
    text->append("(unknown authentication error - %d)", why);
  }
}

void append_detail(error_text* text, const rpc_err& error) {
  switch (error.re_status) {
    case RPC_SUCCESS:
    case RPC_CANTENCODEARGS:
    case RPC_CANTDECODERES:
    case RPC_TIMEDOUT:
    case RPC_PROGUNAVAIL:
    case RPC_PROCUNAVAIL:
    case RPC_CANTDECODEARGS:
    case RPC_SYSTEMERROR:
    case RPC_UNKNOWNHOST:
    case RPC_UNKNOWNPROTO:
    case RPC_PMAPFAILURE:
    case RPC_PROGNOTREGISTERED:
    case RPC_FAILED:
      break;
    case RPC_CANTSEND:
    case RPC_CANTRECV:
      text->append("- Error %d", error.re_errno);
      break;
    case RPC_VERSMISMATCH:
    case RPC_PROGVERSMISMATCH:
      text->append("; low version = %u, high version = %u", error.re_vers.low, error.re_vers.high);
      break;
    case RPC_AUTHERROR:
      append_why(text, error.re_why);
      break;
    default:
      text->append("; s1 = %u, s2 = %u", unsigned_word(error.re_lb.s1),
                   unsigned_word(error.re_lb.s2));
      break;
  }
}

// Prints "(null)" for a text that could not be built, because printf's %s would.
void print(const char* text) { rpc_write_error(text == nullptr ? "(null)" : text); }

}  // namespace

const char* clnt_sperrno(std::int32_t status) {
  return find_text(clnt_texts, status, "RPC: (unknown error code)");
}

const char* auth_errmsg(std::int32_t why) { return find_text(auth_texts, why, nullptr); }

const char* clnt_sperror(CLIENT* clnt, const char* prefix) {
  error_text text;
  if (!text) return nullptr;
  rpc_err error = {};
  clnt_geterr(clnt, &error);
  text.append("%s: ", prefix);
  text.append("%s", clnt_sperrno(error.re_status));
  append_detail(&text, error);
  return text.finished();
}

const char* clnt_spcreateerror(const char* prefix) {
  error_text text;
  if (!text) return nullptr;
  text.append("%s: ", prefix);
  text.append("%s", clnt_sperrno(rpc_createerr.cf_stat));
  if (rpc_createerr.cf_stat == RPC_PMAPFAILURE) {
    text.append(" - %s", clnt_sperrno(rpc_createerr.cf_error.re_status));
  }
  if (rpc_createerr.cf_stat == RPC_SYSTEMERROR) {
    text.append(" - Error %d", rpc_createerr.cf_error.re_errno);
  }
  return text.finished();
}

void clnt_perrno(std::int32_t status) { print(clnt_sperrno(status)); }

void clnt_perror(CLIENT* clnt, const char* prefix) { print(clnt_sperror(clnt, prefix)); }

void clnt_pcreateerror(const char* prefix) { print(clnt_spcreateerror(prefix)); }

}  // namespace kvrpc
