// Separate from strtol, whose white space depends on the locale and whose long has 64 bits on
// Linux.
#include "rpc/decimal.h"

#include <cstring>

namespace kvrpc {

std::int32_t parse_decimal(const char* text, const char** end) {
  const char* p = text + std::strspn(text, " \t\n\v\f\r");
  const bool negative = *p == '-';
  if (*p == '-' || *p == '+') ++p;
  const char* digits = p;
  std::int64_t value = 0;
  for (; *p >= '0' && *p <= '9'; ++p) {
    if (value <= INT32_MAX) value = value * 10 + (*p - '0');
  }
  if (end != nullptr) *end = p == digits ? text : p;
  if (negative) return value > INT32_MAX ? INT32_MIN : static_cast<std::int32_t>(-value);
  return value > INT32_MAX ? INT32_MAX : static_cast<std::int32_t>(value);
}

}  // namespace kvrpc
