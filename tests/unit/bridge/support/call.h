// Makes one call through server_call and keeps its reply and status.
#pragma once

#include <cstdlib>
#include <optional>
#include <string>

#include "bridge/server_call.h"
#include "bridge/support/fake_client.h"

namespace kvrpc::test {

constexpr int status_unwritten = -77;

struct call_outcome {
  std::optional<std::string> reply;
  int status = status_unwritten;
};

inline call_outcome call(CLIENT* clnt, const char* which, const char* text,
                         verify_function verify = nullptr, void* context = nullptr) {
  call_outcome outcome;
  char* reply = server_call(clnt, which, text, &outcome.status, verify, context);
  if (reply != nullptr) outcome.reply = reply;
  std::free(reply);
  return outcome;
}

inline bytes units(std::initializer_list<std::uint32_t> values) {
  bytes result;
  for (std::uint32_t value : values) {
    char unit[4];
    xdr_store_unit(unit, value);
    result.insert(result.end(), unit, unit + 4);
  }
  return result;
}

}  // namespace kvrpc::test
